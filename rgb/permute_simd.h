// Byte-shuffle pieces shared by the SSE-class and AVX2 permutation kernels.
// Only kernel files include this header; every function carries the target
// attribute of the SSE class, which the AVX2 class contains.
#ifndef CCONVERT_RGB_PERMUTE_SIMD_H
#define CCONVERT_RGB_PERMUTE_SIMD_H

#include <immintrin.h>

#include "frame/simd.h"
#include "rgb/permute_kernels.h"

namespace cconvert::detail::simd {

// The pattern's index of byte k added to the first byte of pixel i of the
// source, for the four pixels of a vector. A fill index keeps its high bit,
// so the shuffle writes zero there.
CCNVT_TARGET_SSE
inline __m128i pattern_indices(const PixelPattern& pattern, std::uint8_t source_pixel_bytes) {
    const char b = static_cast<char>(source_pixel_bytes);
    const __m128i offsets = _mm_setr_epi8(0, 0, 0, 0, b, b, b, b, 2 * b, 2 * b, 2 * b, 2 * b,
                                          3 * b, 3 * b, 3 * b, 3 * b);
    return _mm_add_epi8(_mm_set1_epi32(static_cast<int>(pattern.word())), offsets);
}

// Reorders four 4-byte pixels.
CCNVT_TARGET_SSE
inline __m128i reorder_indices(const PixelPattern& pattern) { return pattern_indices(pattern, 4); }

// Spreads four 3-byte pixels (the vector's low 12 bytes) to four 4-byte ones.
CCNVT_TARGET_SSE
inline __m128i widen_indices(const PixelPattern& pattern) { return pattern_indices(pattern, 3); }

// Packs the first three output bytes of four 4-byte pixels into the low 12
// bytes; the high 4 bytes become zero.
CCNVT_TARGET_SSE
inline __m128i narrow_indices(const PixelPattern& pattern) {
    const __m128i keep_three = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m128i zero_top = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -128, -128, -128, -128);
    return _mm_or_si128(_mm_shuffle_epi8(reorder_indices(pattern), keep_three), zero_top);
}

// The fill alpha in the bytes the pattern fills, zero elsewhere: or-ed into
// the shuffled pixels.
CCNVT_TARGET_SSE
inline __m128i fill_bytes(const PixelPattern& pattern) {
    const __m128i indices = _mm_set1_epi32(static_cast<int>(pattern.word()));
    const __m128i fill = _mm_cmpeq_epi8(indices, _mm_set1_epi8(static_cast<char>(kFillAlpha)));
    return _mm_and_si128(fill, _mm_set1_epi8(static_cast<char>(pattern.alpha)));
}

CCNVT_TARGET_SSE
inline __m128i load(const unsigned char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

CCNVT_TARGET_SSE
inline void store(unsigned char* bytes, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value);
}

// Stores the low 12 bytes.
CCNVT_TARGET_SSE
inline void store12(unsigned char* bytes, __m128i value) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), value);
    const int high = _mm_cvtsi128_si32(_mm_srli_si128(value, 8));
    std::memcpy(bytes + 8, &high, 4);
}

// Four rows of 12 bytes (the low bytes of a, b, c, d) as 48 contiguous bytes.
CCNVT_TARGET_SSE
inline void store_4x12(unsigned char* bytes, __m128i a, __m128i b, __m128i c, __m128i d) {
    store(bytes, _mm_or_si128(a, _mm_slli_si128(b, 12)));
    store(bytes + 16, _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)));
    store(bytes + 32, _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(d, 4)));
}

// ---- AVX2 ----

CCNVT_TARGET_AVX2
inline __m256i load256(const unsigned char* bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

CCNVT_TARGET_AVX2
inline void store256(unsigned char* bytes, __m256i value) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), value);
}

CCNVT_TARGET_AVX2
inline __m256i both_lanes(__m128i value) { return _mm256_broadcastsi128_si256(value); }

// Four vectors that each hold 12 bytes in the low three dwords of each lane
// (dwords 0 1 2 4 5 6, in that order) as 96 contiguous bytes: dword permutes
// and blends lay them end to end in three 32-byte stores.
CCNVT_TARGET_AVX2
inline void store_4x24(unsigned char* bytes, __m256i a, __m256i b, __m256i c, __m256i d) {
    const __m256i first_six = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 1);
    const __m256i last_four_then_first_four = _mm256_setr_epi32(2, 4, 5, 6, 0, 1, 2, 4);
    const __m256i last_two_then_six = _mm256_setr_epi32(5, 6, 0, 1, 2, 4, 5, 6);
    store256(bytes, _mm256_blend_epi32(_mm256_permutevar8x32_epi32(a, first_six),
                                       _mm256_permutevar8x32_epi32(b, first_six), 0xC0));
    store256(bytes + 32, _mm256_blend_epi32(_mm256_permutevar8x32_epi32(b, last_four_then_first_four),
                                            _mm256_permutevar8x32_epi32(c, last_four_then_first_four),
                                            0xF0));
    store256(bytes + 64, _mm256_blend_epi32(_mm256_permutevar8x32_epi32(c, last_two_then_six),
                                            _mm256_permutevar8x32_epi32(d, last_two_then_six), 0xFC));
}

// Widens pixels [first, last) back to front, four at a time while the block's
// 16-byte load stays inside the row of row_pixels pixels, then one at a time.
CCNVT_TARGET_SSE
inline void widen24_head(unsigned char* destination, const unsigned char* source, std::size_t last,
                         std::size_t row_pixels, const PixelPattern& pattern) {
    const __m128i indices = widen_indices(pattern), fill = fill_bytes(pattern);
    std::size_t x = last;
    while (x >= 4 && 3 * (x - 4) + 16 <= 3 * row_pixels) {
        x -= 4;
        const __m128i in = load(source + 3 * x);
        store(destination + 4 * x, _mm_or_si128(_mm_shuffle_epi8(in, indices), fill));
    }
    widen24_pixels_back_to_front(destination, source, 0, x, pattern);
}

}  // namespace cconvert::detail::simd

#endif
