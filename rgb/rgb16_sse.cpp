// SSE-class kernels of the 16-bit RGB converters: four pixels per 128-bit
// vector of 32-bit lanes.
#include "rgb/permute_simd.h"
#include "rgb/rgb16_kernels.h"

namespace cconvert::detail {

using namespace simd;

namespace {

// The fields of an rgba32 pixel put in place in each 32-bit lane.
struct FieldPacker {
    __m128i offsets, blue_mask, green_mask, red_mask, green_shift, red_shift;
    bool dithered;
    unsigned blue_shift;

    CCNVT_TARGET_SSE
    explicit FieldPacker(const Rgb16Packing& packing) {
        const Rgb16Fields& f = packing.fields();
        offsets = _mm_load_si128(reinterpret_cast<const __m128i*>(packing.offsets));
        dithered = packing.dithered;
        blue_shift = f.blue_shift;
        blue_mask = _mm_set1_epi32(static_cast<int>(f.blue_mask));
        green_mask = _mm_set1_epi32(static_cast<int>(f.green_mask));
        red_mask = _mm_set1_epi32(static_cast<int>(f.red_mask));
        green_shift = _mm_cvtsi32_si128(static_cast<int>(f.green_shift));
        red_shift = _mm_cvtsi32_si128(static_cast<int>(f.red_shift));
    }

    // Four pixels (from a multiple of 4 in the row) to four words in 32-bit lanes.
    CCNVT_TARGET_SSE
    __m128i operator()(__m128i pixels) const {
        if (dithered) pixels = _mm_adds_epu8(pixels, offsets);
        const __m128i blue = _mm_and_si128(_mm_srli_epi32(pixels, 3), blue_mask);
        const __m128i green = _mm_and_si128(_mm_srl_epi32(pixels, green_shift), green_mask);
        const __m128i red = _mm_and_si128(_mm_srl_epi32(pixels, red_shift), red_mask);
        return _mm_or_si128(_mm_or_si128(blue, green), red);
    }
};

// Four 5-5-5 words in 32-bit lanes as rgba32 pixels with alpha 0.
CCNVT_TARGET_SSE
inline __m128i expand_555(__m128i words) {
    static_assert(kExpand555.blue_shift == 3 && kExpand555.green_shift == 6 && kExpand555.red_shift == 9);
    const __m128i blue = _mm_and_si128(_mm_slli_epi32(words, 3), _mm_set1_epi32(kExpand555.blue_mask));
    const __m128i green = _mm_and_si128(_mm_slli_epi32(words, 6), _mm_set1_epi32(kExpand555.green_mask));
    const __m128i red = _mm_and_si128(_mm_slli_epi32(words, 9), _mm_set1_epi32(kExpand555.red_mask));
    return _mm_or_si128(_mm_or_si128(blue, green), red);
}

CCNVT_TARGET_SSE
inline __m128i low_words(__m128i words) { return _mm_unpacklo_epi16(words, _mm_setzero_si128()); }
CCNVT_TARGET_SSE
inline __m128i high_words(__m128i words) { return _mm_unpackhi_epi16(words, _mm_setzero_si128()); }

}  // namespace

CCNVT_TARGET_SSE
void reduce_to_rgb16_sse(unsigned char* destination, const unsigned char* source,
                         std::size_t pixels, const Rgb16Packing& packing) {
    static_assert(kFields555.blue_shift == 3 && kFields565.blue_shift == 3);
    const FieldPacker pack(packing);
    std::size_t x = 0;
    for (; x + 16 <= pixels; x += 16) {
        const unsigned char* in = source + 4 * x;
        const __m128i a = load(in), b = load(in + 16), c = load(in + 32), d = load(in + 48);
        unsigned char* out = destination + 2 * x;
        store(out, _mm_packus_epi32(pack(a), pack(b)));
        store(out + 16, _mm_packus_epi32(pack(c), pack(d)));
    }
    for (; x + 4 <= pixels; x += 4) {
        const __m128i words = pack(load(source + 4 * x));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(destination + 2 * x), _mm_packus_epi32(words, words));
    }
    reduce_pixels_to_rgb16(destination, source, x, pixels, packing);
}

CCNVT_TARGET_SSE
void expand_rgb16_to_rgb24_sse(unsigned char* destination, const unsigned char* source,
                               std::size_t pixels) {
    const __m128i indices = narrow_indices(pattern::kKeepRgb);
    auto rgb24 = [&](__m128i words) CCNVT_TARGET_SSE { return _mm_shuffle_epi8(expand_555(words), indices); };
    std::size_t x = 0;
    for (; x + 16 <= pixels; x += 16) {
        const __m128i a = load(source + 2 * x), b = load(source + 2 * x + 16);
        store_4x12(destination + 3 * x, rgb24(low_words(a)), rgb24(high_words(a)), rgb24(low_words(b)),
                   rgb24(high_words(b)));
    }
    for (; x + 4 <= pixels; x += 4) {
        const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source + 2 * x));
        store12(destination + 3 * x, rgb24(low_words(words)));
    }
    expand_pixels_to_rgb24(destination, source, x, pixels);
}

// Sixteen pixels per step from the end of the row, then the head.
CCNVT_TARGET_SSE
void expand_rgb16_to_rgba32_sse(unsigned char* destination, const unsigned char* source,
                                std::size_t pixels, std::uint8_t alpha) {
    const __m128i alpha_byte = _mm_set1_epi32(static_cast<int>(std::uint32_t{alpha} << 24));
    auto rgba32 = [&](__m128i words) CCNVT_TARGET_SSE { return _mm_or_si128(expand_555(words), alpha_byte); };
    std::size_t x = pixels;
    for (; x >= 16; x -= 16) {
        const __m128i a = load(source + 2 * (x - 16)), b = load(source + 2 * (x - 16) + 16);
        unsigned char* out = destination + 4 * (x - 16);
        store(out + 48, rgba32(high_words(b)));
        store(out + 32, rgba32(low_words(b)));
        store(out + 16, rgba32(high_words(a)));
        store(out, rgba32(low_words(a)));
    }
    for (; x >= 4; x -= 4) {
        const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source + 2 * (x - 4)));
        store(destination + 4 * (x - 4), rgba32(low_words(words)));
    }
    expand_pixels_to_rgba32(destination, source, x, alpha);
}

}  // namespace cconvert::detail
