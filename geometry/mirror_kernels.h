// Row kernels of the horizontal flip: 4-byte pixels in reverse order.
#ifndef CCONVERT_GEOMETRY_MIRROR_KERNELS_H
#define CCONVERT_GEOMETRY_MIRROR_KERNELS_H

#include <cstdint>

namespace cconvert::detail {

// Pixel k of to = pixel width - 1 - k of from; the rows must not overlap
// (the portable kernel goes front to back and so defines what an overlap gives).
using MirrorRow = void (*)(unsigned char* to, const unsigned char* from, std::uint32_t width);
// Swaps pixel k with pixel width - 1 - k.
using MirrorRowInPlace = void (*)(unsigned char* row, std::uint32_t width);

void mirror_row_portable(unsigned char* to, const unsigned char* from, std::uint32_t width);
// The portable loop from pixel first on: the vector kernels' tail.
void mirror_pixels_from(unsigned char* to, const unsigned char* from, std::uint32_t width,
                        std::uint32_t first);
void mirror_row_sse(unsigned char* to, const unsigned char* from, std::uint32_t width);
void mirror_row_avx2(unsigned char* to, const unsigned char* from, std::uint32_t width);

void mirror_row_in_place_portable(unsigned char* row, std::uint32_t width);
// The portable swaps of pixel pairs (k, width - 1 - k) from k = first on: the
// middle of the row that the vector kernels leave.
void swap_pixels_from(unsigned char* row, std::uint32_t width, std::uint32_t first);
void mirror_row_in_place_sse(unsigned char* row, std::uint32_t width);
void mirror_row_in_place_avx2(unsigned char* row, std::uint32_t width);

}  // namespace cconvert::detail

#endif
