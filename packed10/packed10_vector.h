// Vector building blocks of the packed10 kernels, for the SSE-class and the
// AVX2 kernel files only (each function carries the SSE-class target; AVX2
// functions may call them). The byte tables follow from the packed10 and v210
// layouts:
//   - packed10 sample i (counting Cb, Y, Cr, Y, ... from 0) starts at byte
//     i + i / 4, bit 2 * (i % 4) from the top; bytes (B, B + 1) read as the
//     big-endian 16-bit value b[B] << 8 | b[B + 1] hold it at bits
//     6 - 2k .. 15 - 2k, k = i % 4. Multiplying by 4^k moves it to bits 6-15.
//   - v210 sample i is field i % 3 of word i / 3: the little-endian 16-bit
//     value at byte 4 (i / 3) + {0, 1, 2} holds it at bits {0, 2, 4}.
#ifndef CCONVERT_PACKED10_PACKED10_VECTOR_H
#define CCONVERT_PACKED10_PACKED10_VECTOR_H

#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "frame/simd.h"

namespace cconvert::detail::packed10_vector {

constexpr char Z = static_cast<char>(0x80);  // pshufb: a zero byte

// ---- packed10 to 16-bit lanes: two pairs (10 bytes) per 128 bits ----
// Lane j: the big-endian bytes of sample j, then multiplied by 4^(j % 4).
alignas(16) inline constexpr char kPairBytesToLanes[16] = {1, 0, 2, 1, 3, 2, 4, 3,
                                                           6, 5, 7, 6, 8, 7, 9, 8};
alignas(16) inline constexpr std::int16_t kPairLaneScale[8] = {1, 4, 16, 64, 1, 4, 16, 64};

// ---- packed10 group (15 bytes) to v210 words ----
// Outer fields: each word's field 0 (sample 3j) in its low half and field 2
// (sample 3j + 2) in its high half: samples 0 2 | 3 5 | 6 8 | 9 11.
alignas(16) inline constexpr char kGroupOuterBytes[16] = {1, 0, 3, 2, 4, 3, 7, 6,
                                                          8, 7, 11, 10, 12, 11, 14, 13};
alignas(16) inline constexpr std::int16_t kGroupOuterScale[8] = {1, 16, 64, 4, 16, 1, 4, 64};
// After the scale the sample sits at bits 6-15: a high multiply by 2^10
// takes field 0 down to bits 0-9, one by 2^14 takes field 2 to bits 4-13
// (bits 20-29 of the word) over four bits that the mask clears.
alignas(16) inline constexpr std::uint16_t kGroupOuterDown[8] = {1 << 10, 1 << 14, 1 << 10, 1 << 14,
                                                                 1 << 10, 1 << 14, 1 << 10, 1 << 14};
alignas(16) inline constexpr std::uint16_t kGroupOuterMask[8] = {0x03FF, 0x3FF0, 0x03FF, 0x3FF0,
                                                                 0x03FF, 0x3FF0, 0x03FF, 0x3FF0};
// Middle fields (samples 1 4 7 10) in the low half of each word, then shifted
// left to bits 10-19: the sample sits at bits 6 - 2k of the half, so by 4 + 2k.
alignas(16) inline constexpr char kGroupMiddleBytes[16] = {2, 1, Z, Z, 6, 5, Z, Z,
                                                           9, 8, Z, Z, 13, 12, Z, Z};
alignas(16) inline constexpr std::int32_t kGroupMiddleShift[4] = {6, 4, 10, 8};
alignas(16) inline constexpr std::int32_t kGroupMiddleScale[4] = {1 << 6, 1 << 4, 1 << 10, 1 << 8};
inline constexpr std::int32_t kMiddleFieldMask = 0x3FF << 10;

// ---- v210 to 16-bit lanes: eight samples from a 16-byte window ----
// Two v210 groups (32 bytes, 24 samples) are read as three windows at byte 0,
// 8 and 16 holding samples 0-7, 8-15 and 16-23. Lane j: the little-endian
// bytes that hold the sample; the scale 2^(6 - 2f) moves field f's bits to
// bits 6-15 (a shift right by 6 finishes).
alignas(16) inline constexpr char kV210Window0Bytes[16] = {0, 1, 1, 2, 2, 3, 4, 5,
                                                           5, 6, 6, 7, 8, 9, 9, 10};
alignas(16) inline constexpr std::int16_t kV210Window0Scale[8] = {64, 16, 4, 64, 16, 4, 64, 16};
alignas(16) inline constexpr char kV210Window1Bytes[16] = {2, 3, 4, 5, 5, 6, 6, 7,
                                                           8, 9, 9, 10, 10, 11, 12, 13};
alignas(16) inline constexpr std::int16_t kV210Window1Scale[8] = {4, 64, 16, 4, 64, 16, 4, 64};
alignas(16) inline constexpr char kV210Window2Bytes[16] = {5, 6, 6, 7, 8, 9, 9, 10,
                                                           10, 11, 12, 13, 13, 14, 14, 15};
alignas(16) inline constexpr std::int16_t kV210Window2Scale[8] = {16, 4, 64, 16, 4, 64, 16, 4};
// One group alone: samples 8-11 from the group's own 16 bytes (window 1's
// lanes moved 8 bytes on), the rest zero.
alignas(16) inline constexpr char kV210GroupTailBytes[16] = {10, 11, 12, 13, 13, 14, 14, 15,
                                                             Z, Z, Z, Z, Z, Z, Z, Z};

// ---- 16-bit lanes to packed10: two pairs (eight samples) to 10 bytes ----
// A pair's 40 bits are E << 20 | O with E = Cb << 10 | Y0 and O = Cr << 10 | Y1.
// A multiply-add makes the words E << 4 (24 bits) and O (20 bits); the pair's
// bytes are then E<<4 bytes 2, 1, 0 and O bytes 2, 1, 0, the middle ones
// sharing output byte 2.
alignas(16) inline constexpr std::int16_t kPackScale[8] = {1 << 14, 1 << 4, 1 << 10, 1,
                                                           1 << 14, 1 << 4, 1 << 10, 1};
alignas(16) inline constexpr char kPackHighBytes[16] = {2, 1, 0, Z, Z, 10, 9, 8,
                                                        Z, Z, Z, Z, Z, Z, Z, Z};
alignas(16) inline constexpr char kPackLowBytes[16] = {Z, Z, 6, 5, 4, Z, Z, 14,
                                                       13, 12, Z, Z, Z, Z, Z, Z};

// ---- 128-bit helpers ----

CCNVT_TARGET_SSE
inline __m128i load128(const void* table) { return _mm_load_si128(static_cast<const __m128i*>(table)); }

CCNVT_TARGET_SSE
inline __m128i loadu128(const unsigned char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Loads count (at most 16) bytes, the rest of the vector zero: for the last
// block of a line, whose full-width load would run past the line's data.
CCNVT_TARGET_SSE
inline __m128i load_partial128(const unsigned char* bytes, std::size_t count) {
    alignas(16) unsigned char buffer[16] = {};
    std::memcpy(buffer, bytes, count);
    return _mm_load_si128(reinterpret_cast<const __m128i*>(buffer));
}

CCNVT_TARGET_SSE
inline void storeu128(unsigned char* bytes, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), v);
}

// Stores the first count (at most 16) bytes of v.
CCNVT_TARGET_SSE
inline void store_partial128(unsigned char* bytes, __m128i v, std::size_t count) {
    alignas(16) unsigned char buffer[16];
    _mm_store_si128(reinterpret_cast<__m128i*>(buffer), v);
    std::memcpy(bytes, buffer, count);
}

// Two packed10 pairs (the first 10 bytes of in) to their eight samples'
// top 8 bits, one per 16-bit lane.
CCNVT_TARGET_SSE
inline __m128i pairs_to_high8(__m128i in) {
    const __m128i lanes = _mm_shuffle_epi8(in, load128(kPairBytesToLanes));
    return _mm_srli_epi16(_mm_mullo_epi16(lanes, load128(kPairLaneScale)), 8);
}

// One packed10 group (the first 15 bytes of in) to its v210 group.
CCNVT_TARGET_SSE
inline __m128i group_to_v210(__m128i in) {
    __m128i outer = _mm_mullo_epi16(_mm_shuffle_epi8(in, load128(kGroupOuterBytes)),
                                    load128(kGroupOuterScale));
    outer = _mm_and_si128(_mm_mulhi_epu16(outer, load128(kGroupOuterDown)), load128(kGroupOuterMask));
    __m128i middle = _mm_mullo_epi32(_mm_shuffle_epi8(in, load128(kGroupMiddleBytes)),
                                     load128(kGroupMiddleScale));
    middle = _mm_and_si128(middle, _mm_set1_epi32(kMiddleFieldMask));
    return _mm_or_si128(outer, middle);
}

// Eight v210 samples from a window (bytes and scale tables above).
CCNVT_TARGET_SSE
inline __m128i v210_window_samples(__m128i window, const char* bytes, const std::int16_t* scale) {
    const __m128i lanes = _mm_shuffle_epi8(window, load128(bytes));
    return _mm_srli_epi16(_mm_mullo_epi16(lanes, load128(scale)), 6);
}

// Eight samples (two pairs, 0..1023 in 16-bit lanes) to their 10 packed10
// bytes, at bytes 0-9 of the result (bytes 10-15 zero).
CCNVT_TARGET_SSE
inline __m128i samples_to_pairs(__m128i samples) {
    const __m128i halves = _mm_madd_epi16(samples, load128(kPackScale));
    return _mm_or_si128(_mm_shuffle_epi8(halves, load128(kPackHighBytes)),
                        _mm_shuffle_epi8(halves, load128(kPackLowBytes)));
}

}  // namespace cconvert::detail::packed10_vector

#endif
