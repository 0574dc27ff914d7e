// Span kernels of the YUY2-ordered 8-bit 4:2:2 to 2vuy conversions. Each
// converts a number of pixels (two bytes each); chroma_flip is 0x80 for
// signed chroma (yuv2), 0 for unsigned (yuvs).
#ifndef CCONVERT_YCBCR422_YUV2_2VUY_KERNELS_H
#define CCONVERT_YCBCR422_YUV2_2VUY_KERNELS_H

#include <cstdint>

namespace cconvert::detail {

using Yuy2To2vuySpan = void (*)(const unsigned char* source, unsigned char* destination, long pixels,
                                std::uint8_t chroma_flip);

// Reads each two-byte unit whole before writing it: works in place.
void yuy2_order_to_2vuy_portable(const unsigned char* source, unsigned char* destination, long pixels,
                                 std::uint8_t chroma_flip);
// Sixteen pixels per step, the rest by the portable kernel. Source and
// destination must not overlap.
void yuy2_order_to_2vuy_avx2(const unsigned char* source, unsigned char* destination, long pixels,
                             std::uint8_t chroma_flip);

}  // namespace cconvert::detail

#endif
