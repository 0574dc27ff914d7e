// Row kernels of the semi-planar and 16-bit-container converters.
#ifndef CCONVERT_PLANAR_SEMIPLANAR_KERNELS_H
#define CCONVERT_PLANAR_SEMIPLANAR_KERNELS_H

#include <cstdint>

namespace cconvert::detail {

// A 4:2:0 line (its luma row and its chroma row of Cb, Cr pairs) to 2vuy,
// `pairs` pixel pairs. The 8-bit form reads bytes; the 16-bit form reads
// words and keeps their high bytes.
using InterleaveNv12 = void (*)(const unsigned char* luma, const unsigned char* chroma,
                                std::uint32_t pairs, unsigned char* uyvy);
using InterleaveNv10 = void (*)(const std::uint16_t* luma, const std::uint16_t* chroma,
                                std::uint32_t pairs, unsigned char* uyvy);

void interleave_nv12_portable(const unsigned char* luma, const unsigned char* chroma,
                              std::uint32_t pairs, unsigned char* uyvy);
void interleave_nv12_sse(const unsigned char* luma, const unsigned char* chroma,
                         std::uint32_t pairs, unsigned char* uyvy);
void interleave_nv12_avx2(const unsigned char* luma, const unsigned char* chroma,
                          std::uint32_t pairs, unsigned char* uyvy);
void interleave_nv10_portable(const std::uint16_t* luma, const std::uint16_t* chroma,
                              std::uint32_t pairs, unsigned char* uyvy);
void interleave_nv10_avx2(const std::uint16_t* luma, const std::uint16_t* chroma,
                          std::uint32_t pairs, unsigned char* uyvy);

// Words shifted left: destination[i] = source[i] << shift.
using ShiftWords = void (*)(std::uint16_t* destination, const std::uint16_t* source,
                            std::uint32_t count, unsigned int shift);
// destination = first[0], second[0], first[1], second[1], ... (count pairs),
// each shifted left.
using InterleaveWords = void (*)(std::uint16_t* destination, const std::uint16_t* first,
                                 const std::uint16_t* second, std::uint32_t count,
                                 unsigned int shift);

void shift_words_portable(std::uint16_t* destination, const std::uint16_t* source,
                          std::uint32_t count, unsigned int shift);
void shift_words_avx2(std::uint16_t* destination, const std::uint16_t* source, std::uint32_t count,
                      unsigned int shift);
void interleave_words_portable(std::uint16_t* destination, const std::uint16_t* first,
                               const std::uint16_t* second, std::uint32_t count, unsigned int shift);
void interleave_words_avx2(std::uint16_t* destination, const std::uint16_t* first,
                           const std::uint16_t* second, std::uint32_t count, unsigned int shift);

// A Y210 line (little-endian words at any byte address) to v210: `groups`
// whole groups of six pixels, twelve words each.
using Y210Groups = void (*)(const unsigned char* y210, std::uint32_t groups, unsigned char* v210);
void y210_groups_to_v210_portable(const unsigned char* y210, std::uint32_t groups, unsigned char* v210);
void y210_groups_to_v210_avx2(const unsigned char* y210, std::uint32_t groups, unsigned char* v210);

// Little-endian words to their high bytes, in order.
using HighBytes = void (*)(const unsigned char* words, std::uint32_t count, unsigned char* bytes);
void high_bytes_portable(const unsigned char* words, std::uint32_t count, unsigned char* bytes);
void high_bytes_avx2(const unsigned char* words, std::uint32_t count, unsigned char* bytes);

}  // namespace cconvert::detail

#endif
