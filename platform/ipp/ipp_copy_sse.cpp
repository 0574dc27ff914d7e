// SSE-class kernels of the interleaved-to-planar copies: 64 or 48 source
// bytes per block, 16 bytes to each plane.
#include <immintrin.h>

#include "frame/simd.h"
#include "platform/ipp/ipp_copy_kernels.h"

namespace cconvert::detail {

namespace {

CCNVT_TARGET_SSE
inline __m128i load(const unsigned char* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }

CCNVT_TARGET_SSE
inline void store(unsigned char* bytes, __m128i value) { _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value); }

// Four channels: each vector's samples grouped by channel into its four
// dwords, then a 4 x 4 dword transpose.
template <int SampleBytes>
CCNVT_TARGET_SSE void split4_block(unsigned char* const* planes, std::size_t at, const unsigned char* in) {
    const __m128i by_channel = SampleBytes == 1
                                   ? _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15)
                                   : _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    const __m128i v0 = _mm_shuffle_epi8(load(in), by_channel), v1 = _mm_shuffle_epi8(load(in + 16), by_channel);
    const __m128i v2 = _mm_shuffle_epi8(load(in + 32), by_channel), v3 = _mm_shuffle_epi8(load(in + 48), by_channel);
    const __m128i t0 = _mm_unpacklo_epi32(v0, v1), t1 = _mm_unpackhi_epi32(v0, v1);
    const __m128i t2 = _mm_unpacklo_epi32(v2, v3), t3 = _mm_unpackhi_epi32(v2, v3);
    store(planes[0] + at, _mm_unpacklo_epi64(t0, t2));
    store(planes[1] + at, _mm_unpackhi_epi64(t0, t2));
    store(planes[2] + at, _mm_unpacklo_epi64(t1, t3));
    store(planes[3] + at, _mm_unpackhi_epi64(t1, t3));
}

// Three channels: each plane's 16 bytes gathered from the three vectors.
template <int SampleBytes>
CCNVT_TARGET_SSE void split3_block(unsigned char* const* planes, std::size_t at, const unsigned char* in) {
    static constexpr ThreeChannelGather<SampleBytes> kGather;
    const __m128i v[3] = {load(in), load(in + 16), load(in + 32)};
    __m128i out[3];
    for (int c = 0; c < 3; ++c) {
        out[c] = _mm_setzero_si128();
        for (int i = 0; i < 3; ++i)
            out[c] = _mm_or_si128(out[c], _mm_shuffle_epi8(v[i], load(kGather.indices[c][i])));
    }
    for (int c = 0; c < 3; ++c) store(planes[c] + at, out[c]);
}

}  // namespace

template <int Channels, int SampleBytes>
CCNVT_TARGET_SSE void split_sse(unsigned char* const* planes, const unsigned char* source, std::size_t pixels) {
    constexpr std::size_t block = 16 / SampleBytes;  // pixels: 16 bytes to each plane
    std::size_t x = 0;
    for (; x + block <= pixels; x += block) {
        const unsigned char* in = source + Channels * SampleBytes * x;
        if constexpr (Channels == 4)
            split4_block<SampleBytes>(planes, SampleBytes * x, in);
        else
            split3_block<SampleBytes>(planes, SampleBytes * x, in);
    }
    split_pixels<Channels, SampleBytes>(planes, source, x, pixels);
}

template void split_sse<4, 1>(unsigned char* const*, const unsigned char*, std::size_t);
template void split_sse<3, 1>(unsigned char* const*, const unsigned char*, std::size_t);
template void split_sse<4, 2>(unsigned char* const*, const unsigned char*, std::size_t);
template void split_sse<3, 2>(unsigned char* const*, const unsigned char*, std::size_t);

}  // namespace cconvert::detail
