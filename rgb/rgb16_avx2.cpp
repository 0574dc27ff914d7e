// AVX2 kernels of the 16-bit RGB converters: eight pixels per 256-bit vector
// of 32-bit lanes.
#include "rgb/permute_simd.h"
#include "rgb/rgb16_kernels.h"

namespace cconvert::detail {

using namespace simd;

namespace {

// The fields of an rgba32 pixel put in place in each 32-bit lane.
struct FieldPacker {
    __m256i offsets, blue_mask, green_mask, red_mask;
    __m128i green_shift, red_shift;
    bool dithered;

    CCNVT_TARGET_AVX2
    explicit FieldPacker(const Rgb16Packing& packing) {
        const Rgb16Fields& f = packing.fields();
        offsets = both_lanes(_mm_load_si128(reinterpret_cast<const __m128i*>(packing.offsets)));
        dithered = packing.dithered;
        blue_mask = _mm256_set1_epi32(static_cast<int>(f.blue_mask));
        green_mask = _mm256_set1_epi32(static_cast<int>(f.green_mask));
        red_mask = _mm256_set1_epi32(static_cast<int>(f.red_mask));
        green_shift = _mm_cvtsi32_si128(static_cast<int>(f.green_shift));
        red_shift = _mm_cvtsi32_si128(static_cast<int>(f.red_shift));
    }

    // Eight pixels (from a multiple of 4 in the row) to eight words in 32-bit lanes.
    CCNVT_TARGET_AVX2
    __m256i operator()(__m256i pixels) const {
        if (dithered) pixels = _mm256_adds_epu8(pixels, offsets);
        const __m256i blue = _mm256_and_si256(_mm256_srli_epi32(pixels, 3), blue_mask);
        const __m256i green = _mm256_and_si256(_mm256_srl_epi32(pixels, green_shift), green_mask);
        const __m256i red = _mm256_and_si256(_mm256_srl_epi32(pixels, red_shift), red_mask);
        return _mm256_or_si256(_mm256_or_si256(blue, green), red);
    }
};

// Sixteen words of two vectors in lane order, packed to 16 bits in pixel order.
CCNVT_TARGET_AVX2
inline __m256i pack_words(__m256i low, __m256i high) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), 0xD8);
}

// Eight 5-5-5 words as rgba32 pixels with alpha 0.
CCNVT_TARGET_AVX2
inline __m256i expand_555(__m128i eight_words) {
    static_assert(kExpand555.blue_shift == 3 && kExpand555.green_shift == 6 && kExpand555.red_shift == 9);
    const __m256i words = _mm256_cvtepu16_epi32(eight_words);
    const __m256i blue = _mm256_and_si256(_mm256_slli_epi32(words, 3), _mm256_set1_epi32(kExpand555.blue_mask));
    const __m256i green = _mm256_and_si256(_mm256_slli_epi32(words, 6), _mm256_set1_epi32(kExpand555.green_mask));
    const __m256i red = _mm256_and_si256(_mm256_slli_epi32(words, 9), _mm256_set1_epi32(kExpand555.red_mask));
    return _mm256_or_si256(_mm256_or_si256(blue, green), red);
}

}  // namespace

CCNVT_TARGET_AVX2
void reduce_to_rgb16_avx2(unsigned char* destination, const unsigned char* source,
                          std::size_t pixels, const Rgb16Packing& packing) {
    static_assert(kFields555.blue_shift == 3 && kFields565.blue_shift == 3);
    const FieldPacker pack(packing);
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const unsigned char* in = source + 4 * x;
        const __m256i a = load256(in), b = load256(in + 32), c = load256(in + 64), d = load256(in + 96);
        unsigned char* out = destination + 2 * x;
        store256(out, pack_words(pack(a), pack(b)));
        store256(out + 32, pack_words(pack(c), pack(d)));
    }
    for (; x + 8 <= pixels; x += 8) {
        const __m256i words = pack_words(pack(load256(source + 4 * x)), _mm256_setzero_si256());
        store(destination + 2 * x, _mm256_castsi256_si128(words));
    }
    reduce_pixels_to_rgb16(destination, source, x, pixels, packing);
}

CCNVT_TARGET_AVX2
void expand_rgb16_to_rgb24_avx2(unsigned char* destination, const unsigned char* source,
                                std::size_t pixels) {
    const __m256i indices = both_lanes(narrow_indices(pattern::kKeepRgb));
    auto rgb24 = [&](const unsigned char* words) CCNVT_TARGET_AVX2 { return _mm256_shuffle_epi8(expand_555(load(words)), indices); };
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const unsigned char* in = source + 2 * x;
        store_4x24(destination + 3 * x, rgb24(in), rgb24(in + 16), rgb24(in + 32), rgb24(in + 48));
    }
    const __m128i indices128 = _mm256_castsi256_si128(indices);
    for (; x + 4 <= pixels; x += 4) {
        const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source + 2 * x));
        store12(destination + 3 * x, _mm_shuffle_epi8(_mm256_castsi256_si128(expand_555(words)), indices128));
    }
    expand_pixels_to_rgb24(destination, source, x, pixels);
}

// Sixteen pixels per step from the end of the row, then the head.
CCNVT_TARGET_AVX2
void expand_rgb16_to_rgba32_avx2(unsigned char* destination, const unsigned char* source,
                                 std::size_t pixels, std::uint8_t alpha) {
    const __m256i alpha_byte = _mm256_set1_epi32(static_cast<int>(std::uint32_t{alpha} << 24));
    auto rgba32 = [&](__m128i words) CCNVT_TARGET_AVX2 { return _mm256_or_si256(expand_555(words), alpha_byte); };
    std::size_t x = pixels;
    for (; x >= 16; x -= 16) {
        const __m128i a = load(source + 2 * (x - 16)), b = load(source + 2 * (x - 16) + 16);
        unsigned char* out = destination + 4 * (x - 16);
        store256(out + 32, rgba32(b));
        store256(out, rgba32(a));
    }
    for (; x >= 4; x -= 4) {
        const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source + 2 * (x - 4)));
        store(destination + 4 * (x - 4), _mm256_castsi256_si128(rgba32(words)));
    }
    expand_pixels_to_rgba32(destination, source, x, alpha);
}

}  // namespace cconvert::detail
