// Row kernels of the interleaved-to-planar copies: Channels samples of
// SampleBytes bytes per pixel, sample i to plane i.
#ifndef CCONVERT_PLATFORM_IPP_COPY_KERNELS_H
#define CCONVERT_PLATFORM_IPP_COPY_KERNELS_H

#include <cstddef>
#include <cstring>

#include "frame/simd.h"

namespace cconvert::detail {

using SplitRow = void (*)(unsigned char* const* planes, const unsigned char* source, std::size_t pixels);

// Pixels [first, last), front to back, each read whole before its samples
// are written.
template <int Channels, int SampleBytes>
inline void split_pixels(unsigned char* const* planes, const unsigned char* source, std::size_t first,
                         std::size_t last) {
    constexpr std::size_t pixel_bytes = Channels * SampleBytes;
    for (std::size_t x = first; x < last; ++x) {
        unsigned char pixel[pixel_bytes];
        std::memcpy(pixel, source + pixel_bytes * x, pixel_bytes);
        for (int c = 0; c < Channels; ++c) std::memcpy(planes[c] + SampleBytes * x, pixel + SampleBytes * c, SampleBytes);
    }
}

template <int Channels, int SampleBytes>
void split_portable(unsigned char* const* planes, const unsigned char* source, std::size_t pixels) {
    split_pixels<Channels, SampleBytes>(planes, source, 0, pixels);
}

// The vector kernels load each block before storing it and finish the row
// with split_pixels; they run only on rows whose planes do not overlap the
// source. Declared with their processor targets, so that the definitions'
// targets hold for the whole template.
template <int Channels, int SampleBytes>
CCNVT_TARGET_SSE void split_sse(unsigned char* const* planes, const unsigned char* source, std::size_t pixels);
template <int Channels, int SampleBytes>
CCNVT_TARGET_AVX2 void split_avx2(unsigned char* const* planes, const unsigned char* source, std::size_t pixels);

// The byte-shuffle indices that take the samples of channel c found in the
// 16 source bytes of vector v (of three, 48 contiguous bytes) to their places
// among the 16 bytes of the plane; other bytes are zeroed.
template <int SampleBytes>
struct ThreeChannelGather {
    unsigned char indices[3][3][16];  // [channel][source vector][plane byte]

    constexpr ThreeChannelGather() : indices{} {
        for (int c = 0; c < 3; ++c)
            for (int v = 0; v < 3; ++v)
                for (int i = 0; i < 16; ++i) {
                    const int from = (i / SampleBytes * 3 + c) * SampleBytes + i % SampleBytes;
                    indices[c][v][i] = static_cast<unsigned char>(from / 16 == v ? from % 16 : 0x80);
                }
    }
};

}  // namespace cconvert::detail

#endif
