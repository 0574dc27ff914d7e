// Row kernels of the 16-bit RGB converters.
#ifndef CCONVERT_RGB_RGB16_KERNELS_H
#define CCONVERT_RGB_RGB16_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "rgb/rgb16_layout.h"
#include "rgb/row_walk.h"

namespace cconvert::detail {

// rgba32 to 16-bit words, front to back. The vector kernels start their
// blocks at multiples of 4 pixels, where the dither pattern repeats.
using ReduceRow = void (*)(unsigned char* destination, const unsigned char* source,
                           std::size_t pixels, const Rgb16Packing& packing);
void reduce_to_rgb16_portable(unsigned char* destination, const unsigned char* source,
                              std::size_t pixels, const Rgb16Packing& packing);
void reduce_to_rgb16_sse(unsigned char* destination, const unsigned char* source,
                         std::size_t pixels, const Rgb16Packing& packing);
void reduce_to_rgb16_avx2(unsigned char* destination, const unsigned char* source,
                          std::size_t pixels, const Rgb16Packing& packing);
void reduce_pixels_to_rgb16(unsigned char* destination, const unsigned char* source,
                            std::size_t first, std::size_t last, const Rgb16Packing& packing);

// 5-5-5 to rgb24, front to back.
using ExpandRgb24Row = void (*)(unsigned char* destination, const unsigned char* source,
                                std::size_t pixels);
void expand_rgb16_to_rgb24_portable(unsigned char* destination, const unsigned char* source,
                                    std::size_t pixels);
void expand_rgb16_to_rgb24_sse(unsigned char* destination, const unsigned char* source,
                               std::size_t pixels);
void expand_rgb16_to_rgb24_avx2(unsigned char* destination, const unsigned char* source,
                                std::size_t pixels);
void expand_pixels_to_rgb24(unsigned char* destination, const unsigned char* source,
                            std::size_t first, std::size_t last);

// 5-5-5 to rgba32 with the given alpha, back to front.
using ExpandRgba32Row = void (*)(unsigned char* destination, const unsigned char* source,
                                 std::size_t pixels, std::uint8_t alpha);
void expand_rgb16_to_rgba32_portable(unsigned char* destination, const unsigned char* source,
                                     std::size_t pixels, std::uint8_t alpha);
void expand_rgb16_to_rgba32_sse(unsigned char* destination, const unsigned char* source,
                                std::size_t pixels, std::uint8_t alpha);
void expand_rgb16_to_rgba32_avx2(unsigned char* destination, const unsigned char* source,
                                 std::size_t pixels, std::uint8_t alpha);
// Pixels [0, last), back to front.
void expand_pixels_to_rgba32(unsigned char* destination, const unsigned char* source,
                             std::size_t last, std::uint8_t alpha);

inline constexpr RowKernels<ReduceRow> kReduceToRgb16{
    reduce_to_rgb16_portable, reduce_to_rgb16_sse, reduce_to_rgb16_avx2,
    RowWalk::front_to_back_narrowing, 4, 2};
inline constexpr RowKernels<ExpandRgb24Row> kExpandRgb16ToRgb24{
    expand_rgb16_to_rgb24_portable, expand_rgb16_to_rgb24_sse, expand_rgb16_to_rgb24_avx2,
    RowWalk::separate_rows_only, 2, 3};
inline constexpr RowKernels<ExpandRgba32Row> kExpandRgb16ToRgba32{
    expand_rgb16_to_rgba32_portable, expand_rgb16_to_rgba32_sse, expand_rgb16_to_rgba32_avx2,
    RowWalk::back_to_front_widening, 2, 4};

}  // namespace cconvert::detail

#endif
