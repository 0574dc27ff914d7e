// AVX2 kernels of the RGB encoders: four pairs (eight 4-byte pixels) a step,
// four doubles to a vector (the first pixels of the pairs in one vector, the
// second pixels in another), every operation the portable code does, in its
// order, so the bytes are the same.
#include <immintrin.h>

#include "frame/simd.h"
#include "ycbcr422/rgb_to_yuv422_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {
namespace {

constexpr char Z = static_cast<char>(0x80);  // vpshufb: write a zero byte

// One channel of the four first pixels and of the four second pixels.
struct PairChannel {
    __m256d first, second;
};

// Picks the byte at offset of each dword, zero-extended, in both halves.
CCNVT_TARGET_AVX2
inline __m256i channel_selection(std::size_t offset) {
    const char o = static_cast<char>(offset);
    const __m128i half = _mm_setr_epi8(o, Z, Z, Z, static_cast<char>(o + 4), Z, Z, Z, static_cast<char>(o + 8), Z, Z,
                                       Z, static_cast<char>(o + 12), Z, Z, Z);
    return _mm256_broadcastsi128_si256(half);
}

// pixels: the first pixels' dwords in the low half, the second pixels' in
// the high half.
CCNVT_TARGET_AVX2
inline PairChannel channel(__m256i pixels, __m256i selection) {
    const __m256i values = _mm256_shuffle_epi8(pixels, selection);
    return {_mm256_cvtepi32_pd(_mm256_castsi256_si128(values)),
            _mm256_cvtepi32_pd(_mm256_extracti128_si256(values, 1))};
}

// One of Y, Cb, Cr: its weights, scale, offset and rounding, broadcast.
struct Component {
    __m256d w0, w1, w2, scale, offset, rounding;
};

CCNVT_TARGET_AVX2
inline Component component_of(const double weights[3], double scale, double offset, double rounding) {
    return {_mm256_set1_pd(weights[0]), _mm256_set1_pd(weights[1]), _mm256_set1_pd(weights[2]),
            _mm256_set1_pd(scale),      _mm256_set1_pd(offset),     _mm256_set1_pd(rounding)};
}

// ((w0 * R + w1 * G) + w2 * B) * scale + offset, then + rounding.
CCNVT_TARGET_AVX2
inline __m256d evaluate(const Component& c, __m256d r, __m256d g, __m256d b) {
    __m256d sum = _mm256_add_pd(_mm256_mul_pd(c.w0, r), _mm256_mul_pd(c.w1, g));
    sum = _mm256_add_pd(sum, _mm256_mul_pd(c.w2, b));
    return _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(sum, c.scale), c.offset), c.rounding);
}

// ((previous + 2 * first) + second) * 0.25 for four pairs, the previous of
// each pair being the second pixel of the pair before; history carries the
// last second pixel from step to step.
CCNVT_TARGET_AVX2
inline __m256d filter(__m256d first, __m256d second, __m256d& history) {
    const __m256d before = _mm256_blend_pd(_mm256_permute4x64_pd(second, 0x93), history, 0x1);
    history = _mm256_permute4x64_pd(second, 0xFF);
    const __m256d sum = _mm256_add_pd(_mm256_add_pd(before, _mm256_mul_pd(_mm256_set1_pd(2.0), first)), second);
    return _mm256_mul_pd(sum, _mm256_set1_pd(0.25));
}

// Truncated toward zero; the low 8 bits placed at byte Byte of the 2vuy word.
template <int Byte>
CCNVT_TARGET_AVX2 inline __m128i byte_at(__m256d value) {
    const __m128i low_bits = _mm_and_si128(_mm256_cvttpd_epi32(value), _mm_set1_epi32(0xFF));
    return _mm_slli_epi32(low_bits, 8 * Byte);
}

// What a step needs: the byte selections of R, G, B and the components.
struct StepConstants {
    __m256i firsts_then_seconds, red, green, blue;
    Component luma, blue_difference, red_difference;
};

CCNVT_TARGET_AVX2
inline StepConstants step_constants(const PairEncoding& encoding) {
    const PixelLayout& layout = *encoding.layout;
    const CoefficientSet& set = *encoding.set;
    return {_mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7),
            channel_selection(layout.r),
            channel_selection(layout.g),
            channel_selection(layout.b),
            component_of(set.luma, set.scale, set.luma_offset, encoding.rounding),
            component_of(set.cb, set.scale, set.chroma_offset, encoding.rounding),
            component_of(set.cr, set.scale, set.chroma_offset, encoding.rounding)};
}

// Four pairs: the Y of their first and second pixels and their filtered Cb
// and Cr.
struct PairValues {
    __m256d y0, y1, cb, cr;
};

CCNVT_TARGET_AVX2
inline PairValues encode_step(const unsigned char* source, const StepConstants& k, __m256d& history_cb,
                              __m256d& history_cr) {
    const __m256i pixels = _mm256_permutevar8x32_epi32(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source)), k.firsts_then_seconds);
    const PairChannel r = channel(pixels, k.red), g = channel(pixels, k.green), b = channel(pixels, k.blue);
    return {evaluate(k.luma, r.first, g.first, b.first), evaluate(k.luma, r.second, g.second, b.second),
            filter(evaluate(k.blue_difference, r.first, g.first, b.first),
                   evaluate(k.blue_difference, r.second, g.second, b.second), history_cb),
            filter(evaluate(k.red_difference, r.first, g.first, b.first),
                   evaluate(k.red_difference, r.second, g.second, b.second), history_cr)};
}

constexpr long kPairsPerStep = 4;
constexpr long kPixelBytes = 4;

}  // namespace

CCNVT_TARGET_AVX2
void encode_pairs_avx2(const unsigned char* source, unsigned char* destination, long pairs,
                       const PairEncoding& encoding, ChromaHistory& history) {
    const StepConstants k = step_constants(encoding);
    __m256d history_cb = _mm256_set1_pd(history.cb), history_cr = _mm256_set1_pd(history.cr);
    long p = 0;
    for (; p + kPairsPerStep <= pairs; p += kPairsPerStep) {
        const PairValues v = encode_step(source, k, history_cb, history_cr);
        const __m128i words = _mm_or_si128(_mm_or_si128(byte_at<k2vuyCb>(v.cb), byte_at<k2vuyY0>(v.y0)),
                                           _mm_or_si128(byte_at<k2vuyCr>(v.cr), byte_at<k2vuyY1>(v.y1)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), words);
        source += 2 * kPairsPerStep * kPixelBytes;
        destination += kPairsPerStep * k2vuyBytesPerPair;
    }
    history = {_mm256_cvtsd_f64(history_cb), _mm256_cvtsd_f64(history_cr)};
    encode_pairs_portable(source, destination, pairs - p, encoding, history);
}

CCNVT_TARGET_AVX2
void encode_samples_avx2(const unsigned char* source, int* samples, long pairs, const PairEncoding& encoding,
                         ChromaHistory& history) {
    const StepConstants k = step_constants(encoding);
    const __m256d luma_gain = _mm256_set1_pd(encoding.luma_gain);
    const __m256d chroma_rounding = _mm256_set1_pd(encoding.chroma_rounding);
    __m256d history_cb = _mm256_set1_pd(history.cb), history_cr = _mm256_set1_pd(history.cr);
    long p = 0;
    for (; p + kPairsPerStep <= pairs; p += kPairsPerStep) {
        const PairValues v = encode_step(source, k, history_cb, history_cr);
        const __m128i cb = _mm256_cvttpd_epi32(_mm256_add_pd(v.cb, chroma_rounding));
        const __m128i y0 = _mm256_cvttpd_epi32(_mm256_mul_pd(v.y0, luma_gain));
        const __m128i cr = _mm256_cvttpd_epi32(_mm256_add_pd(v.cr, chroma_rounding));
        const __m128i y1 = _mm256_cvttpd_epi32(_mm256_mul_pd(v.y1, luma_gain));
        // Stream order per pair: Cb Y0 Cr Y1.
        const __m128i cb_y0_low = _mm_unpacklo_epi32(cb, y0), cb_y0_high = _mm_unpackhi_epi32(cb, y0);
        const __m128i cr_y1_low = _mm_unpacklo_epi32(cr, y1), cr_y1_high = _mm_unpackhi_epi32(cr, y1);
        auto* out = reinterpret_cast<__m128i*>(samples);
        _mm_storeu_si128(out + 0, _mm_unpacklo_epi64(cb_y0_low, cr_y1_low));
        _mm_storeu_si128(out + 1, _mm_unpackhi_epi64(cb_y0_low, cr_y1_low));
        _mm_storeu_si128(out + 2, _mm_unpacklo_epi64(cb_y0_high, cr_y1_high));
        _mm_storeu_si128(out + 3, _mm_unpackhi_epi64(cb_y0_high, cr_y1_high));
        source += 2 * kPairsPerStep * kPixelBytes;
        samples += 4 * kPairsPerStep;
    }
    history = {_mm256_cvtsd_f64(history_cb), _mm256_cvtsd_f64(history_cr)};
    encode_samples_portable(source, samples, pairs - p, encoding, history);
}

}  // namespace cconvert::detail
