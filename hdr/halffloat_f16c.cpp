// Half-float rows eight pixels at a time: AVX2 arithmetic and F16C
// conversion. Every operation is the one the portable code does, in the same
// order (no fused multiply-add: FMA is not enabled here and contraction is
// off), and F16C rounds to nearest even exactly as the portable conversion
// does for every value in [0, 1]; the clamp comes first, so the bits match.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "hdr/halffloat.h"
#include "ycbcr422/yuv422_layout.h"

#define CCNVT_TARGET_AVX2_F16C __attribute__((target("avx2,f16c")))

namespace cconvert::detail {
namespace {

constexpr std::size_t kLanes = 8;

struct Rgb8 {
    __m256 r, g, b;
};

CCNVT_TARGET_AVX2_F16C inline __m256 load_samples(const std::int32_t* samples) {
    return _mm256_cvtepi32_ps(_mm256_load_si256(reinterpret_cast<const __m256i*>(samples)));
}

// The decoding's constants in every lane, set once per chunk: the output
// bytes could alias the decoding, so the compiler would load them again for
// every eight pixels.
struct Decoding8 {
    __m256 luma_offset, luma_scale, chroma_centre, chroma_scale, kr, kgb, kgr, kb;
};

CCNVT_TARGET_AVX2_F16C inline Decoding8 broadcast(const YCbCrDecoding& d) {
    const SampleRange& s = d.range;
    const MatrixCoefficients& m = d.matrix;
    return {_mm256_set1_ps(s.luma_offset),   _mm256_set1_ps(s.luma_scale), _mm256_set1_ps(s.chroma_centre),
            _mm256_set1_ps(s.chroma_scale), _mm256_set1_ps(m.kr),         _mm256_set1_ps(m.kgb),
            _mm256_set1_ps(m.kgr),          _mm256_set1_ps(m.kb)};
}

// (sample - offset) * scale.
CCNVT_TARGET_AVX2_F16C inline __m256 normalise(__m256 sample, __m256 offset, __m256 scale) {
    return _mm256_mul_ps(_mm256_sub_ps(sample, offset), scale);
}

CCNVT_TARGET_AVX2_F16C inline Rgb8 decode8(const Decoding8& d, const SampleChunk& samples, std::size_t i) {
    const __m256 y = normalise(load_samples(samples.y + i), d.luma_offset, d.luma_scale);
    const __m256 cb = normalise(load_samples(samples.cb + i), d.chroma_centre, d.chroma_scale);
    const __m256 cr = normalise(load_samples(samples.cr + i), d.chroma_centre, d.chroma_scale);
    const __m256 r = _mm256_add_ps(y, _mm256_mul_ps(d.kr, cr));
    const __m256 g = _mm256_add_ps(_mm256_add_ps(y, _mm256_mul_ps(d.kgb, cb)), _mm256_mul_ps(d.kgr, cr));
    const __m256 b = _mm256_add_ps(y, _mm256_mul_ps(d.kb, cb));
    return {r, g, b};
}

// Decoded values are never NaN or -0, so min/max is the channel clamp.
CCNVT_TARGET_AVX2_F16C inline __m256 clamp_unit8(__m256 v) {
    return _mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(1.0f));
}

// Clamps, converts and writes eight RGBA pixels (64 bytes).
CCNVT_TARGET_AVX2_F16C inline void store8(unsigned char* rgba, const Rgb8& c) {
    const __m128i r = _mm256_cvtps_ph(clamp_unit8(c.r), _MM_FROUND_TO_NEAREST_INT);
    const __m128i g = _mm256_cvtps_ph(clamp_unit8(c.g), _MM_FROUND_TO_NEAREST_INT);
    const __m128i b = _mm256_cvtps_ph(clamp_unit8(c.b), _MM_FROUND_TO_NEAREST_INT);
    const __m128i a = _mm_set1_epi16(static_cast<short>(kHalfOne));
    const __m128i rg_low = _mm_unpacklo_epi16(r, g), rg_high = _mm_unpackhi_epi16(r, g);
    const __m128i ba_low = _mm_unpacklo_epi16(b, a), ba_high = _mm_unpackhi_epi16(b, a);
    auto* out = reinterpret_cast<__m128i*>(rgba);
    _mm_storeu_si128(out + 0, _mm_unpacklo_epi32(rg_low, ba_low));
    _mm_storeu_si128(out + 1, _mm_unpackhi_epi32(rg_low, ba_low));
    _mm_storeu_si128(out + 2, _mm_unpacklo_epi32(rg_high, ba_high));
    _mm_storeu_si128(out + 3, _mm_unpackhi_epi32(rg_high, ba_high));
}

// Floats in lane order 0 1 4 5 2 3 6 7 (two four-lane halves shuffled
// together) back in order 0 .. 7.
CCNVT_TARGET_AVX2_F16C inline __m256 in_order(__m256 x) {
    return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(x), _MM_SHUFFLE(3, 1, 2, 0)));
}

// Interpolated look-up of v in [0, 1]: t[i] + (t[i + 1] - t[i]) * (p - i)
// with p = 4096 v, i = trunc(p). Each lane's two points are one 8-byte
// load, so two gathers of four lanes read them all. At v = 1 (i = 4096) the
// second point is the curve's copy of t[4096] and the sum is t[4096] + 0,
// as the portable code returns.
CCNVT_TARGET_AVX2_F16C inline __m256 interpolate8(const float* t, __m256 v) {
    const __m256 p = _mm256_mul_ps(v, _mm256_set1_ps(static_cast<float>(kCurveIntervals)));
    const __m256i i = _mm256_cvttps_epi32(p);
    const auto* pairs = reinterpret_cast<const long long*>(t);
    // Lanes 0-3 and 4-7: (t[i], t[i + 1]) per lane.
    const __m256 a = _mm256_castsi256_ps(_mm256_i32gather_epi64(pairs, _mm256_castsi256_si128(i), 4));
    const __m256 b = _mm256_castsi256_ps(_mm256_i32gather_epi64(pairs, _mm256_extracti128_si256(i, 1), 4));
    // Even floats are the first points, odd the second.
    const __m256 low = in_order(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)));
    const __m256 high = in_order(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
    return _mm256_add_ps(low, _mm256_mul_ps(_mm256_sub_ps(high, low),
                                            _mm256_sub_ps(p, _mm256_cvtepi32_ps(i))));
}

// One output channel of the BT.2020 conversion: (k0 r + k1 g) + k2 b.
CCNVT_TARGET_AVX2_F16C inline __m256 to_bt2020(const float (&k)[3], const Rgb8& c) {
    return _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(k[0]), c.r),
                                       _mm256_mul_ps(_mm256_set1_ps(k[1]), c.g)),
                         _mm256_mul_ps(_mm256_set1_ps(k[2]), c.b));
}

// v210: the four words of a group in both halves; each sample row takes
// six words by index and shifts them to its field (lanes 6 and 7 are
// spare). Pixel n: Y from stream position 2n + 1, Cb and Cr of pair n / 2.
//   Y:  words 0 1 1 2 3 3, fields 1 0 2 1 0 2
//   Cb: words 0 0 1 1 2 2, fields 0 0 1 1 2 2
//   Cr: words 0 0 2 2 3 3, fields 2 2 0 0 1 1
CCNVT_TARGET_AVX2_F16C inline void store_v210_fields(std::int32_t* samples, __m256i words,
                                                     __m256i index, __m256i shift) {
    const __m256i fields = _mm256_srlv_epi32(_mm256_permutevar8x32_epi32(words, index), shift);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples),
                        _mm256_and_si256(fields, _mm256_set1_epi32(static_cast<int>(kV210FieldMask))));
}

CCNVT_TARGET_AVX2_F16C inline void unpack_v210_group(const unsigned char* group, std::int32_t* y,
                                                     std::int32_t* cb, std::int32_t* cr) {
    const __m256i words =
        _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(group)));
    store_v210_fields(y, words, _mm256_setr_epi32(0, 1, 1, 2, 3, 3, 0, 0),
                      _mm256_setr_epi32(10, 0, 20, 10, 0, 20, 0, 0));
    store_v210_fields(cb, words, _mm256_setr_epi32(0, 0, 1, 1, 2, 2, 0, 0),
                      _mm256_setr_epi32(0, 0, 10, 10, 20, 20, 0, 0));
    store_v210_fields(cr, words, _mm256_setr_epi32(0, 0, 2, 2, 3, 3, 0, 0),
                      _mm256_setr_epi32(20, 20, 0, 0, 10, 10, 0, 0));
}

}  // namespace

CCNVT_TARGET_AVX2_F16C void unpack_v210_avx2(const unsigned char* row, std::size_t first,
                                             std::size_t pixels, SampleChunk& chunk) {
    const unsigned char* group = row + first / kV210PixelsPerGroup * kV210BytesPerGroup;
    for (std::size_t x = 0; x < pixels; x += kV210PixelsPerGroup, group += kV210BytesPerGroup)
        unpack_v210_group(group, chunk.y + x, chunk.cb + x, chunk.cr + x);
}

// 2vuy: 16 bytes hold eight pixels; Y is every odd byte, Cb and Cr the
// bytes 4k and 4k + 2, each twice. Pairs past the last eight-pixel block
// are read one by one, so no byte beyond the row's last pair is read.
CCNVT_TARGET_AVX2_F16C void unpack_2vuy_avx2(const unsigned char* row, std::size_t first,
                                             std::size_t pixels, SampleChunk& chunk) {
    const unsigned char* pairs = row + first * k2vuyBytesPerPixel;
    const __m128i y_bytes = _mm_setr_epi8(1, 3, 5, 7, 9, 11, 13, 15, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m128i cb_bytes = _mm_setr_epi8(0, 0, 4, 4, 8, 8, 12, 12, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m128i cr_bytes = _mm_setr_epi8(2, 2, 6, 6, 10, 10, 14, 14, 0, 0, 0, 0, 0, 0, 0, 0);
    std::size_t x = 0;
    for (; x + kLanes <= pixels; x += kLanes) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs + 2 * x));
        _mm256_store_si256(reinterpret_cast<__m256i*>(chunk.y + x), _mm256_cvtepu8_epi32(_mm_shuffle_epi8(bytes, y_bytes)));
        _mm256_store_si256(reinterpret_cast<__m256i*>(chunk.cb + x), _mm256_cvtepu8_epi32(_mm_shuffle_epi8(bytes, cb_bytes)));
        _mm256_store_si256(reinterpret_cast<__m256i*>(chunk.cr + x), _mm256_cvtepu8_epi32(_mm_shuffle_epi8(bytes, cr_bytes)));
    }
    put_2vuy_pairs(pairs, x, pixels, chunk);
}

CCNVT_TARGET_AVX2_F16C void decode_chunk_f16c(const YCbCrDecoding& decoding,
                                              const SampleChunk& samples, std::size_t pixels,
                                              unsigned char* rgba) {
    const Decoding8 lanes = broadcast(decoding);
    std::size_t i = 0;
    for (; i + kLanes <= pixels; i += kLanes)
        store8(rgba + kBytesPerRgbaHalfPixel * i, decode8(lanes, samples, i));
    decode_pixels_portable(decoding, samples, i, pixels, rgba);
}

CCNVT_TARGET_AVX2_F16C void sdr_to_hdr_chunk_f16c(const HdrCurves& curves, const float* encode,
                                                  const SampleChunk& samples, std::size_t pixels,
                                                  unsigned char* rgba) {
    const Decoding8 sdr = broadcast(kSdrDecoding);
    std::size_t i = 0;
    for (; i + kLanes <= pixels; i += kLanes) {
        const Rgb8 video = decode8(sdr, samples, i);
        const Rgb8 linear{interpolate8(curves.linear, clamp_unit8(video.r)),
                          interpolate8(curves.linear, clamp_unit8(video.g)),
                          interpolate8(curves.linear, clamp_unit8(video.b))};
        store8(rgba + kBytesPerRgbaHalfPixel * i,
               {interpolate8(encode, clamp_unit8(to_bt2020(kToBt2020[0], linear))),
                interpolate8(encode, clamp_unit8(to_bt2020(kToBt2020[1], linear))),
                interpolate8(encode, clamp_unit8(to_bt2020(kToBt2020[2], linear)))});
    }
    sdr_to_hdr_pixels_portable(curves, encode, samples, i, pixels, rgba);
}

}  // namespace cconvert::detail
