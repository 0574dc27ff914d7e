// Kernels of the alpha operations.
#ifndef CCONVERT_ALPHA_ALPHA_KERNELS_H
#define CCONVERT_ALPHA_ALPHA_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "rgb/row_walk.h"

namespace cconvert::detail {

// ---- 32-bit pixels: whole frames (width and height at least 1). The
// portable kernels go pixel by pixel; the AVX2 ones take wide blocks and
// finish each row with the per-pixel steps below. ----

using AlphaToRgbaFrame = void (*)(unsigned char* destination, long destination_row_bytes,
                                  const unsigned char* alpha, long width, long height);
void alpha_to_rgba_portable(unsigned char* destination, long destination_row_bytes,
                            const unsigned char* alpha, long width, long height);
void ccnvt_alpha_to_rgba_avx2(unsigned char* destination, long destination_row_bytes,
                              const unsigned char* alpha, long width, long height);

using RgbaToAlphaFrame = void (*)(unsigned char* alpha, const unsigned char* source,
                                  long source_row_bytes, long width, long height);
void rgba_to_alpha_portable(unsigned char* alpha, const unsigned char* source,
                            long source_row_bytes, long width, long height);
void ccnvt_rgba_to_alpha_avx2(unsigned char* alpha, const unsigned char* source,
                              long source_row_bytes, long width, long height);

using SetAlphaFrame = void (*)(unsigned char* pixels, long row_bytes, std::uint8_t alpha,
                               long width, long height);
void rgba_setalpha_portable(unsigned char* pixels, long row_bytes, std::uint8_t alpha, long width,
                            long height);
void ccnvt_rgba_setalpha_avx2(unsigned char* pixels, long row_bytes, std::uint8_t alpha,
                              long width, long height);

using AddAlphaFrame = void (*)(const unsigned char* source, unsigned char* destination,
                               long source_row_bytes, long destination_row_bytes,
                               std::uint8_t alpha, long width, long height);
void rgba_addalpha_portable(const unsigned char* source, unsigned char* destination,
                            long source_row_bytes, long destination_row_bytes, std::uint8_t alpha,
                            long width, long height);
void ccnvt_rgba_addalpha_avx2(const unsigned char* source, unsigned char* destination,
                              long source_row_bytes, long destination_row_bytes,
                              std::uint8_t alpha, long width, long height);

// Per-pixel steps over pixels [first, last) of one row.
void alpha_to_rgba_pixels(unsigned char* destination, const unsigned char* alpha,
                          std::size_t first, std::size_t last);
void rgba_to_alpha_pixels(unsigned char* alpha, const unsigned char* source, std::size_t first,
                          std::size_t last);
void set_alpha_pixels(unsigned char* pixels, std::uint8_t alpha, std::size_t first,
                      std::size_t last);

// ---- 2vuy rows, in pixel pairs ----

// A row of pixel pairs: destination, source, number of pairs.
using PairsRow = void (*)(unsigned char* destination, const unsigned char* source, std::size_t pairs);

// Alpha pairs to 2vuy groups, back to front.
void alpha_to_2vuy_portable(unsigned char* uyvy, const unsigned char* alpha, std::size_t pairs);
void alpha_to_2vuy_sse(unsigned char* uyvy, const unsigned char* alpha, std::size_t pairs);
void alpha_to_2vuy_avx2(unsigned char* uyvy, const unsigned char* alpha, std::size_t pairs);
// Pairs [0, last), back to front.
void alpha_to_2vuy_pairs(unsigned char* uyvy, const unsigned char* alpha, std::size_t last);

// 2vuy groups to their luma pairs, front to back.
void luma_of_2vuy_portable(unsigned char* alpha, const unsigned char* uyvy, std::size_t pairs);
void luma_of_2vuy_sse(unsigned char* alpha, const unsigned char* uyvy, std::size_t pairs);
void luma_of_2vuy_avx2(unsigned char* alpha, const unsigned char* uyvy, std::size_t pairs);
void luma_of_2vuy_pairs(unsigned char* alpha, const unsigned char* uyvy, std::size_t first,
                        std::size_t last);

// 2vuy groups with neutral chroma, front to back.
void strip_chroma_portable(unsigned char* to, const unsigned char* from, std::size_t pairs);
void strip_chroma_sse(unsigned char* to, const unsigned char* from, std::size_t pairs);
void strip_chroma_avx2(unsigned char* to, const unsigned char* from, std::size_t pairs);
void strip_chroma_pairs(unsigned char* to, const unsigned char* from, std::size_t first,
                        std::size_t last);

inline constexpr RowKernels<PairsRow> kAlphaTo2vuy{
    alpha_to_2vuy_portable, alpha_to_2vuy_sse, alpha_to_2vuy_avx2, RowWalk::back_to_front_widening, 2, 4};
inline constexpr RowKernels<PairsRow> kLumaOf2vuy{
    luma_of_2vuy_portable, luma_of_2vuy_sse, luma_of_2vuy_avx2, RowWalk::front_to_back_narrowing, 4, 2};
inline constexpr RowKernels<PairsRow> kStripChroma{
    strip_chroma_portable, strip_chroma_sse, strip_chroma_avx2, RowWalk::front_to_back_narrowing, 4, 4};

}  // namespace cconvert::detail

#endif
