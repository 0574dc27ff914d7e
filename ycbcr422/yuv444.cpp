// 8-bit 4:4:4 (Y Cb Cr per pixel) to and from 2vuy, and the subsampling
// entry points that exist in the interface but do nothing.
#include <cstddef>

#include "cconvert/ycbcr422.h"
#include "ycbcr422/yuv422_layout.h"

using namespace cconvert::detail;

namespace {
// Byte offsets of a 4:4:4 pixel.
constexpr std::size_t k444Y = 0, k444Cb = 1, k444Cr = 2, k444BytesPerPixel = 3;
constexpr std::size_t k444BytesPerPair = 2 * k444BytesPerPixel;
}  // namespace

// Each pair keeps the first pixel's chroma; the second pixel's is dropped.
// An odd pixel count reads one byte past 3 * count and writes a whole pair.
void ccnvt_yuv444_yuv422_8(unsigned char* destination, const unsigned char* source,
                           unsigned int width, unsigned int height) {
    const std::size_t bytes_444 = k444BytesPerPixel * width * height;
    for (std::size_t s = 0, d = 0; s < bytes_444; s += k444BytesPerPair, d += k2vuyBytesPerPair) {
        destination[d + k2vuyCb] = source[s + k444Cb];
        destination[d + k2vuyY0] = source[s + k444Y];
        destination[d + k2vuyCr] = source[s + k444Cr];
        destination[d + k2vuyY1] = source[s + k444BytesPerPixel + k444Y];
    }
}

// Both pixels of a pair take its chroma. An odd pixel count writes a whole
// pair: three bytes past 3 * count.
void ccnvt_yuv422_yuv444_8(unsigned char* destination, const unsigned char* source,
                           unsigned int width, unsigned int height) {
    const std::size_t bytes_444 = k444BytesPerPixel * width * height;
    for (std::size_t a = 0, d = 0; a < bytes_444; a += k444BytesPerPair, d += k2vuyBytesPerPair) {
        for (std::size_t pixel = 0; pixel < 2; ++pixel) {
            unsigned char* out = destination + a + k444BytesPerPixel * pixel;
            out[k444Y] = source[d + (pixel == 0 ? k2vuyY0 : k2vuyY1)];
            out[k444Cb] = source[d + k2vuyCb];
            out[k444Cr] = source[d + k2vuyCr];
        }
    }
}

// Conversions among 4:1:1, 4:2:0 and 4:2:2 that hosts may link but that
// have never converted anything: they return at once and touch nothing.
void ccnvt_yuv411_yuv422_8(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int) {}
void ccnvt_yuv422_yuv411_8(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int) {}
void ccnvt_yuv420_yuv422_8(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int) {}
void ccnvt_yuv422_yuv420_8(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int) {}
void ccnvt_yuv420_yuv411_8(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int) {}
void ccnvt_yuv411_yuv420_8(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int) {}
