// AVX2 kernels of the RGB encoders, in two passes.
//
// The single-precision pass takes eight pairs (sixteen 4-byte pixels) a step,
// eight floats to a vector. Its values lie within a few ten-thousandths of the
// double-precision ones, so truncating them gives the same integers unless an
// integer lies within a margin of a value; then the step is done again by
// the double-precision pass. Steps on grey pixels always come back (their
// chroma is exactly 128 or 512 in real arithmetic and only the double
// rounding decides which side the result falls); few others do.
//
// The double-precision pass takes four pairs a step, four doubles to a
// vector (the first pixels of the pairs in one vector, the second pixels in
// another), every operation the portable code does, in its order, so the
// bytes are the same. It multiplies by the weights times the scale instead of
// scaling the weighted sum: the scale is a power of two, and multiplying by a
// power of two commutes with every rounding, so both give the same doubles.
#include <immintrin.h>

#include <algorithm>

#include "frame/simd.h"
#include "ycbcr422/rgb_to_yuv422_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {
namespace {

constexpr char Z = static_cast<char>(0x80);  // vpshufb: write a zero byte
constexpr long kPixelBytes = 4;

// Picks the byte at offset of each dword, zero-extended, in both halves.
CCNVT_TARGET_AVX2
inline __m256i channel_selection(std::size_t offset) {
    const char o = static_cast<char>(offset);
    const __m128i half = _mm_setr_epi8(o, Z, Z, Z, static_cast<char>(o + 4), Z, Z, Z, static_cast<char>(o + 8), Z, Z,
                                       Z, static_cast<char>(o + 12), Z, Z, Z);
    return _mm256_broadcastsi128_si256(half);
}

// Where the pixels' channels are: the dword order that puts the first
// pixels of pairs before the second ones, and the byte selections of R, G, B.
struct ChannelSelections {
    __m256i firsts_then_seconds, red, green, blue;
};

CCNVT_TARGET_AVX2
inline ChannelSelections channel_selections(const PixelLayout& layout) {
    return {_mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7), channel_selection(layout.r), channel_selection(layout.g),
            channel_selection(layout.b)};
}

// ---- the double-precision pass ----

// One channel of the four first pixels and of the four second pixels.
struct PairChannel {
    __m256d first, second;
};

// pixels: the first pixels' dwords in the low half, the second pixels' in
// the high half.
CCNVT_TARGET_AVX2
inline PairChannel channel(__m256i pixels, __m256i selection) {
    const __m256i values = _mm256_shuffle_epi8(pixels, selection);
    return {_mm256_cvtepi32_pd(_mm256_castsi256_si128(values)),
            _mm256_cvtepi32_pd(_mm256_extracti128_si256(values, 1))};
}

// One of Y, Cb, Cr: its weights times the scale, offset and rounding,
// broadcast.
struct Component {
    __m256d w0, w1, w2, offset, rounding;
};

CCNVT_TARGET_AVX2
inline Component component_of(const double weights[3], double scale, double offset, double rounding) {
    return {_mm256_set1_pd(weights[0] * scale), _mm256_set1_pd(weights[1] * scale),
            _mm256_set1_pd(weights[2] * scale), _mm256_set1_pd(offset), _mm256_set1_pd(rounding)};
}

// ((w0 * R + w1 * G) + w2 * B) + offset, then + rounding.
CCNVT_TARGET_AVX2
inline __m256d evaluate(const Component& c, __m256d r, __m256d g, __m256d b) {
    __m256d sum = _mm256_add_pd(_mm256_mul_pd(c.w0, r), _mm256_mul_pd(c.w1, g));
    sum = _mm256_add_pd(sum, _mm256_mul_pd(c.w2, b));
    return _mm256_add_pd(_mm256_add_pd(sum, c.offset), c.rounding);
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

// What a step needs: the channel selections and the components.
struct StepConstants {
    ChannelSelections pick;
    Component luma, blue_difference, red_difference;
};

CCNVT_TARGET_AVX2
inline StepConstants step_constants(const PairEncoding& encoding) {
    const CoefficientSet& set = *encoding.set;
    return {channel_selections(*encoding.layout),
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
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source)), k.pick.firsts_then_seconds);
    const PairChannel r = channel(pixels, k.pick.red), g = channel(pixels, k.pick.green),
                      b = channel(pixels, k.pick.blue);
    return {evaluate(k.luma, r.first, g.first, b.first), evaluate(k.luma, r.second, g.second, b.second),
            filter(evaluate(k.blue_difference, r.first, g.first, b.first),
                   evaluate(k.blue_difference, r.second, g.second, b.second), history_cb),
            filter(evaluate(k.red_difference, r.first, g.first, b.first),
                   evaluate(k.red_difference, r.second, g.second, b.second), history_cr)};
}

constexpr long kDoublePairs = 4;

CCNVT_TARGET_AVX2
void encode_exact(const unsigned char* source, unsigned char* destination, long pairs,
                  const PairEncoding& encoding, ChromaHistory& history) {
    const StepConstants k = step_constants(encoding);
    __m256d history_cb = _mm256_set1_pd(history.cb), history_cr = _mm256_set1_pd(history.cr);
    long p = 0;
    for (; p + kDoublePairs <= pairs; p += kDoublePairs) {
        const PairValues v = encode_step(source, k, history_cb, history_cr);
        const __m128i words = _mm_or_si128(_mm_or_si128(byte_at<k2vuyCb>(v.cb), byte_at<k2vuyY0>(v.y0)),
                                           _mm_or_si128(byte_at<k2vuyCr>(v.cr), byte_at<k2vuyY1>(v.y1)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), words);
        source += 2 * kDoublePairs * kPixelBytes;
        destination += kDoublePairs * k2vuyBytesPerPair;
    }
    history = {_mm256_cvtsd_f64(history_cb), _mm256_cvtsd_f64(history_cr)};
    encode_pairs_portable(source, destination, pairs - p, encoding, history);
}

// Stream order per pair: Cb Y0 Cr Y1; four pairs from four vectors.
CCNVT_TARGET_AVX2
inline void store_samples(int* samples, __m128i cb, __m128i y0, __m128i cr, __m128i y1) {
    const __m128i cb_y0_low = _mm_unpacklo_epi32(cb, y0), cb_y0_high = _mm_unpackhi_epi32(cb, y0);
    const __m128i cr_y1_low = _mm_unpacklo_epi32(cr, y1), cr_y1_high = _mm_unpackhi_epi32(cr, y1);
    auto* out = reinterpret_cast<__m128i*>(samples);
    _mm_storeu_si128(out + 0, _mm_unpacklo_epi64(cb_y0_low, cr_y1_low));
    _mm_storeu_si128(out + 1, _mm_unpackhi_epi64(cb_y0_low, cr_y1_low));
    _mm_storeu_si128(out + 2, _mm_unpacklo_epi64(cb_y0_high, cr_y1_high));
    _mm_storeu_si128(out + 3, _mm_unpackhi_epi64(cb_y0_high, cr_y1_high));
}

CCNVT_TARGET_AVX2
void encode_exact(const unsigned char* source, int* samples, long pairs, const PairEncoding& encoding,
                  ChromaHistory& history) {
    const StepConstants k = step_constants(encoding);
    const __m256d luma_gain = _mm256_set1_pd(encoding.luma_gain);
    const __m256d chroma_rounding = _mm256_set1_pd(encoding.chroma_rounding);
    __m256d history_cb = _mm256_set1_pd(history.cb), history_cr = _mm256_set1_pd(history.cr);
    long p = 0;
    for (; p + kDoublePairs <= pairs; p += kDoublePairs) {
        const PairValues v = encode_step(source, k, history_cb, history_cr);
        store_samples(samples, _mm256_cvttpd_epi32(_mm256_add_pd(v.cb, chroma_rounding)),
                      _mm256_cvttpd_epi32(_mm256_mul_pd(v.y0, luma_gain)),
                      _mm256_cvttpd_epi32(_mm256_add_pd(v.cr, chroma_rounding)),
                      _mm256_cvttpd_epi32(_mm256_mul_pd(v.y1, luma_gain)));
        source += 2 * kDoublePairs * kPixelBytes;
        samples += kSamplesPerPair * kDoublePairs;
    }
    history = {_mm256_cvtsd_f64(history_cb), _mm256_cvtsd_f64(history_cr)};
    encode_samples_portable(source, samples, pairs - p, encoding, history);
}

// ---- the single-precision pass ----

// How far an integer must lie from a float value for its truncation to be
// the double's. The pass rounds the weights and then about a dozen
// operations once each, every rounding off by at most 2^-24 of a sum of
// magnitudes. Added up over the sets, that bounds the error (the margin
// check's own rounding included) by 2^-13.2 for 2vuy values, which stay
// below 257, and by 2^-11.6 for v210 samples (below 1024; the worst is
// argb_to_v210's luma times 4). Every colour through every routine stays
// under 2^-13, measured. The margins leave more than a factor of two.
constexpr float kMargin2vuy = 1.0f / 4096;
constexpr float kMarginV210 = 1.0f / 1024;
constexpr long kFloatPairs = 8;

// One of Y, Cb, Cr in single precision: weights times the scale, and the
// offset plus the rounding.
struct FloatComponent {
    __m256 w0, w1, w2, offset;
};

CCNVT_TARGET_AVX2
inline FloatComponent float_component_of(const double weights[3], double scale, double offset, double rounding) {
    return {_mm256_set1_ps(static_cast<float>(weights[0] * scale)),
            _mm256_set1_ps(static_cast<float>(weights[1] * scale)),
            _mm256_set1_ps(static_cast<float>(weights[2] * scale)),
            _mm256_set1_ps(static_cast<float>(offset + rounding))};
}

CCNVT_TARGET_AVX2
inline __m256 evaluate(const FloatComponent& c, __m256 r, __m256 g, __m256 b) {
    const __m256 sum = _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(c.w0, r), _mm256_mul_ps(c.w1, g)),
                                     _mm256_mul_ps(c.w2, b));
    return _mm256_add_ps(sum, c.offset);
}

struct FloatConstants {
    ChannelSelections pick;
    FloatComponent luma, blue_difference, red_difference;
    __m256 luma_gain, chroma_rounding, margin;
};

CCNVT_TARGET_AVX2
inline FloatConstants float_constants(const PairEncoding& encoding, float margin) {
    const CoefficientSet& set = *encoding.set;
    return {channel_selections(*encoding.layout),
            float_component_of(set.luma, set.scale, set.luma_offset, encoding.rounding),
            float_component_of(set.cb, set.scale, set.chroma_offset, encoding.rounding),
            float_component_of(set.cr, set.scale, set.chroma_offset, encoding.rounding),
            _mm256_set1_ps(static_cast<float>(encoding.luma_gain)),
            _mm256_set1_ps(static_cast<float>(encoding.chroma_rounding)),
            _mm256_set1_ps(margin)};
}

// The previous pair's second-pixel Cb and Cr, broadcast.
struct FloatHistory {
    __m256 cb, cr;
};

CCNVT_TARGET_AVX2
inline FloatHistory float_history(const ChromaHistory& history) {
    return {_mm256_set1_ps(static_cast<float>(history.cb)), _mm256_set1_ps(static_cast<float>(history.cr))};
}

// The [1 2 1] / 4 filter over eight pairs, as the double pass does it.
CCNVT_TARGET_AVX2
inline __m256 filter(__m256 first, __m256 second, __m256& history) {
    const __m256 before =
        _mm256_blend_ps(_mm256_permutevar8x32_ps(second, _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6)), history, 0x01);
    history = _mm256_permutevar8x32_ps(second, _mm256_set1_epi32(7));
    return _mm256_mul_ps(_mm256_add_ps(_mm256_add_ps(before, _mm256_add_ps(first, first)), second),
                         _mm256_set1_ps(0.25f));
}

// Truncates value (positive); clears the lanes of sure where an integer lies
// within the margin, so that the truncation might differ from the double's.
CCNVT_TARGET_AVX2
inline __m256i truncate_checked(__m256 value, __m256 margin, __m256i& sure) {
    const __m256i below = _mm256_cvttps_epi32(_mm256_sub_ps(value, margin));
    const __m256i above = _mm256_cvttps_epi32(_mm256_add_ps(value, margin));
    sure = _mm256_and_si256(sure, _mm256_cmpeq_epi32(below, above));
    return below;
}

// Eight pairs' truncated results; lane k belongs to pair k.
struct Truncated {
    __m256i cb, y0, cr, y1;
};

CCNVT_TARGET_AVX2
inline __m256 float_channel(__m256i pixels, __m256i selection) {
    return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(pixels, selection));
}

// Encodes eight pairs in single precision; false when any result needs the
// double pass. history moves on either way.
CCNVT_TARGET_AVX2
inline bool float_step(const unsigned char* source, const FloatConstants& k, FloatHistory& history,
                       Truncated& out) {
    const __m256i low = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source)),
                                                    k.pick.firsts_then_seconds);
    const __m256i high = _mm256_permutevar8x32_epi32(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + 32)), k.pick.firsts_then_seconds);
    const __m256i firsts = _mm256_permute2x128_si256(low, high, 0x20);
    const __m256i seconds = _mm256_permute2x128_si256(low, high, 0x31);
    const __m256 r0 = float_channel(firsts, k.pick.red), g0 = float_channel(firsts, k.pick.green),
                 b0 = float_channel(firsts, k.pick.blue);
    const __m256 r1 = float_channel(seconds, k.pick.red), g1 = float_channel(seconds, k.pick.green),
                 b1 = float_channel(seconds, k.pick.blue);
    const __m256 cb = filter(evaluate(k.blue_difference, r0, g0, b0), evaluate(k.blue_difference, r1, g1, b1),
                             history.cb);
    const __m256 cr = filter(evaluate(k.red_difference, r0, g0, b0), evaluate(k.red_difference, r1, g1, b1),
                             history.cr);
    __m256i sure = _mm256_set1_epi32(-1);
    out = {truncate_checked(_mm256_add_ps(cb, k.chroma_rounding), k.margin, sure),
           truncate_checked(_mm256_mul_ps(evaluate(k.luma, r0, g0, b0), k.luma_gain), k.margin, sure),
           truncate_checked(_mm256_add_ps(cr, k.chroma_rounding), k.margin, sure),
           truncate_checked(_mm256_mul_ps(evaluate(k.luma, r1, g1, b1), k.luma_gain), k.margin, sure)};
    return _mm256_movemask_epi8(sure) == -1;
}

// The low 8 bits of value at byte Byte of the 2vuy word.
template <int Byte>
CCNVT_TARGET_AVX2 inline __m256i byte_at(__m256i value) {
    return _mm256_slli_epi32(_mm256_and_si256(value, _mm256_set1_epi32(0xFF)), 8 * Byte);
}

CCNVT_TARGET_AVX2
inline void store_step(unsigned char* destination, const Truncated& t) {
    const __m256i words = _mm256_or_si256(_mm256_or_si256(byte_at<k2vuyCb>(t.cb), byte_at<k2vuyY0>(t.y0)),
                                          _mm256_or_si256(byte_at<k2vuyCr>(t.cr), byte_at<k2vuyY1>(t.y1)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), words);
}

CCNVT_TARGET_AVX2
inline void store_step(int* samples, const Truncated& t) {
    store_samples(samples, _mm256_castsi256_si128(t.cb), _mm256_castsi256_si128(t.y0),
                  _mm256_castsi256_si128(t.cr), _mm256_castsi256_si128(t.y1));
    store_samples(samples + kSamplesPerPair * kDoublePairs, _mm256_extracti128_si256(t.cb, 1),
                  _mm256_extracti128_si256(t.y0, 1), _mm256_extracti128_si256(t.cr, 1),
                  _mm256_extracti128_si256(t.y1, 1));
}

// The running chroma of the double pass at source: the call's own history
// before the first pair, else recomputed from the pixel before.
inline ChromaHistory exact_history_at(const unsigned char* source, long pair, const ChromaHistory& at_start,
                                      const PairEncoding& encoding) {
    return pair == 0 ? at_start : chroma_of(source - kPixelBytes, encoding);
}

// Runs the single-precision pass over whole steps of out (a 2vuy destination
// or a samples array) and the double pass where it is unsure and over the
// pairs left. Unsure steps come in runs on grey areas, so each unsure step
// in a row doubles the steps the double pass then takes before the next try.
template <class Out>
CCNVT_TARGET_AVX2 void encode_in_two_passes(const unsigned char* source, Out* out, long pairs,
                                            const PairEncoding& encoding, ChromaHistory& history, float margin) {
    constexpr long kOutPerPair = 4;  // bytes of a 2vuy pair, samples of a v210 pair
    constexpr long kLongestDoubleRun = 32;
    const FloatConstants k = float_constants(encoding, margin);
    FloatHistory running = float_history(history);
    long p = 0, double_run = 1;
    while (p + kFloatPairs <= pairs) {
        Truncated step;
        long steps = 1;
        if (float_step(source, k, running, step)) {
            store_step(out, step);
            double_run = 1;
        } else {
            steps = std::min(double_run, (pairs - p) / kFloatPairs);
            ChromaHistory exact_history = exact_history_at(source, p, history, encoding);
            encode_exact(source, out, steps * kFloatPairs, encoding, exact_history);
            running = float_history(exact_history);
            double_run = std::min(2 * double_run, kLongestDoubleRun);
        }
        p += steps * kFloatPairs;
        source += steps * 2 * kFloatPairs * kPixelBytes;
        out += steps * kOutPerPair * kFloatPairs;
    }
    history = exact_history_at(source, p, history, encoding);
    encode_exact(source, out, pairs - p, encoding, history);
}

}  // namespace

CCNVT_TARGET_AVX2
void encode_pairs_avx2(const unsigned char* source, unsigned char* destination, long pairs,
                       const PairEncoding& encoding, ChromaHistory& history) {
    encode_in_two_passes(source, destination, pairs, encoding, history, kMargin2vuy);
}

CCNVT_TARGET_AVX2
void encode_samples_avx2(const unsigned char* source, int* samples, long pairs, const PairEncoding& encoding,
                         ChromaHistory& history) {
    encode_in_two_passes(source, samples, pairs, encoding, history, kMarginV210);
}

namespace {

// The eight samples of one field position of eight words, from 24 samples
// in a, b and c. Sample 3w + k of word w lies in lane (3w + k) mod 8 of one
// of the three, and the eight of one k take eight different lanes: two
// blends gather them, a permutation puts them in word order.
template <int kFromB, int kFromC>
CCNVT_TARGET_AVX2 inline __m256i field_of_words(__m256i a, __m256i b, __m256i c, __m256i word_order) {
    return _mm256_permutevar8x32_epi32(_mm256_blend_epi32(_mm256_blend_epi32(a, b, kFromB), c, kFromC),
                                       word_order);
}

}  // namespace

CCNVT_TARGET_AVX2
void pack_v210_avx2(const int* samples, unsigned char* destination, long groups) {
    constexpr long kGroupsPerStep = 2;  // 24 samples, eight words
    long g = 0;
    for (; g + kGroupsPerStep <= groups; g += kGroupsPerStep) {
        const auto* in = reinterpret_cast<const __m256i*>(samples);
        const __m256i a = _mm256_loadu_si256(in), b = _mm256_loadu_si256(in + 1), c = _mm256_loadu_si256(in + 2);
        const __m256i first = field_of_words<0b10010010, 0b00100100>(a, b, c, _mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5));
        const __m256i second = field_of_words<0b00100100, 0b01001001>(a, b, c, _mm256_setr_epi32(1, 4, 7, 2, 5, 0, 3, 6));
        const __m256i third = field_of_words<0b01001001, 0b10010010>(a, b, c, _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7));
        const __m256i words = _mm256_or_si256(_mm256_or_si256(first, _mm256_slli_epi32(second, kV210FieldBits)),
                                              _mm256_slli_epi32(third, 2 * kV210FieldBits));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), words);
        samples += kGroupsPerStep * kV210SamplesPerGroup;
        destination += kGroupsPerStep * kV210BytesPerGroup;
    }
    pack_v210_portable(samples, destination, groups - g);
}

}  // namespace cconvert::detail
