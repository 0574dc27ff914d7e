// AVX2 kernels of the interleaved-to-planar copies: 128 or 96 source bytes
// per block, 32 bytes to each plane.
#include <immintrin.h>

#include "frame/simd.h"
#include "platform/ipp/ipp_copy_kernels.h"

namespace cconvert::detail {

namespace {

CCNVT_TARGET_AVX2
inline __m128i load(const unsigned char* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }

CCNVT_TARGET_AVX2
inline __m256i load256(const unsigned char* bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

CCNVT_TARGET_AVX2
inline void store256(unsigned char* bytes, __m256i value) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), value);
}

// Four channels: the transpose of the SSE-class kernel in each lane, then a
// dword permute that puts the lanes' pieces in pixel order.
template <int SampleBytes>
CCNVT_TARGET_AVX2 void split4_block(unsigned char* const* planes, std::size_t at, const unsigned char* in) {
    const __m256i by_channel = SampleBytes == 1
                                   ? _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15,  //
                                                      0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15)
                                   : _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15,  //
                                                      0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    const __m256i v0 = _mm256_shuffle_epi8(load256(in), by_channel);
    const __m256i v1 = _mm256_shuffle_epi8(load256(in + 32), by_channel);
    const __m256i v2 = _mm256_shuffle_epi8(load256(in + 64), by_channel);
    const __m256i v3 = _mm256_shuffle_epi8(load256(in + 96), by_channel);
    const __m256i t0 = _mm256_unpacklo_epi32(v0, v1), t1 = _mm256_unpackhi_epi32(v0, v1);
    const __m256i t2 = _mm256_unpacklo_epi32(v2, v3), t3 = _mm256_unpackhi_epi32(v2, v3);
    const __m256i in_order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    store256(planes[0] + at, _mm256_permutevar8x32_epi32(_mm256_unpacklo_epi64(t0, t2), in_order));
    store256(planes[1] + at, _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi64(t0, t2), in_order));
    store256(planes[2] + at, _mm256_permutevar8x32_epi32(_mm256_unpacklo_epi64(t1, t3), in_order));
    store256(planes[3] + at, _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi64(t1, t3), in_order));
}

// Three channels: the first 48 source bytes in the low lanes, the next 48 in
// the high lanes, each gathered as the SSE-class kernel does.
template <int SampleBytes>
CCNVT_TARGET_AVX2 void split3_block(unsigned char* const* planes, std::size_t at, const unsigned char* in) {
    static constexpr ThreeChannelGather<SampleBytes> kGather;
    __m256i v[3];
    for (int i = 0; i < 3; ++i) v[i] = _mm256_setr_m128i(load(in + 16 * i), load(in + 48 + 16 * i));
    __m256i out[3];
    for (int c = 0; c < 3; ++c) {
        out[c] = _mm256_setzero_si256();
        for (int i = 0; i < 3; ++i)
            out[c] = _mm256_or_si256(out[c], _mm256_shuffle_epi8(v[i], _mm256_broadcastsi128_si256(load(kGather.indices[c][i]))));
    }
    for (int c = 0; c < 3; ++c) store256(planes[c] + at, out[c]);
}

}  // namespace

template <int Channels, int SampleBytes>
CCNVT_TARGET_AVX2 void split_avx2(unsigned char* const* planes, const unsigned char* source, std::size_t pixels) {
    constexpr std::size_t block = 32 / SampleBytes;  // pixels: 32 bytes to each plane
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

template void split_avx2<4, 1>(unsigned char* const*, const unsigned char*, std::size_t);
template void split_avx2<3, 1>(unsigned char* const*, const unsigned char*, std::size_t);
template void split_avx2<4, 2>(unsigned char* const*, const unsigned char*, std::size_t);
template void split_avx2<3, 2>(unsigned char* const*, const unsigned char*, std::size_t);

}  // namespace cconvert::detail
