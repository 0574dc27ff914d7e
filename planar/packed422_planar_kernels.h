// Row kernels that split packed 4:2:2 rows into Y, Cb and Cr planes.
#ifndef CCONVERT_PLANAR_PACKED422_PLANAR_KERNELS_H
#define CCONVERT_PLANAR_PACKED422_PLANAR_KERNELS_H

#include <cstdint>

namespace cconvert::detail {

// 2vuy groups (Cb Y0 Cr Y1) to planes: two Y bytes per group, and one Cb
// and one Cr when cb is not null (cr is then not null either).
using Split2vuyRow = void (*)(const unsigned char* uyvy, std::uint32_t groups, unsigned char* y,
                              unsigned char* cb, unsigned char* cr);

void split_2vuy_row_portable(const unsigned char* uyvy, std::uint32_t groups, unsigned char* y,
                             unsigned char* cb, unsigned char* cr);
void split_2vuy_row_sse(const unsigned char* uyvy, std::uint32_t groups, unsigned char* y,
                        unsigned char* cb, unsigned char* cr);
void split_2vuy_row_avx2(const unsigned char* uyvy, std::uint32_t groups, unsigned char* y,
                         unsigned char* cb, unsigned char* cr);

// Two YUY2-ordered rows (Y0 Cb Y1 Cr) to planes: each row's Y bytes to its
// own Y row, the two rows' chroma averaged, (a + b + 1) >> 1.
using SplitYuy2RowPair = void (*)(const unsigned char* upper, const unsigned char* lower,
                                  std::uint32_t pairs, unsigned char* y_upper,
                                  unsigned char* y_lower, unsigned char* cb, unsigned char* cr);

void split_yuy2_row_pair_portable(const unsigned char* upper, const unsigned char* lower,
                                  std::uint32_t pairs, unsigned char* y_upper,
                                  unsigned char* y_lower, unsigned char* cb, unsigned char* cr);
void split_yuy2_row_pair_sse(const unsigned char* upper, const unsigned char* lower,
                             std::uint32_t pairs, unsigned char* y_upper, unsigned char* y_lower,
                             unsigned char* cb, unsigned char* cr);
void split_yuy2_row_pair_avx2(const unsigned char* upper, const unsigned char* lower,
                              std::uint32_t pairs, unsigned char* y_upper, unsigned char* y_lower,
                              unsigned char* cb, unsigned char* cr);

}  // namespace cconvert::detail

#endif
