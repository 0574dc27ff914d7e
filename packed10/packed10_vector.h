// Vector building blocks of the packed10 kernels, for the SSE-class and the
// AVX2 kernel files only (each function carries the SSE-class target; AVX2
// functions may call them). The byte tables follow from the packed10 and v210
// layouts:
//   - packed10 sample i (counting Cb, Y, Cr, Y, ... from 0) starts at byte
//     i + i / 4, bit 2 * (i % 4) from the top; bytes (B, B + 1) read as the
//     big-endian 16-bit value b[B] << 8 | b[B + 1] hold it at bits
//     6 - 2k .. 15 - 2k, k = i % 4. Multiplying by 4^k moves it to bits 6-15.
#ifndef CCONVERT_PACKED10_PACKED10_VECTOR_H
#define CCONVERT_PACKED10_PACKED10_VECTOR_H

#include <immintrin.h>

#include <cstddef>
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

// ---- 2vuy to packed10: two pairs (8 bytes) to 10 bytes ----
// A pair's 40 bits are E << 20 | O with E = Cb << 10 | Y0 and O = Cr << 10 | Y1,
// each 10-bit sample being the 2vuy byte * 4. One multiply-add over 16-bit
// lanes (Y0, Cb << 8, Y1, Cr) makes the words E << 4 = Cb << 16 | Y0 << 6
// (its top byte, unused, may carry the sign of Cb << 8 as a signed lane) and
// O = Cr << 12 | Y1 << 2. The pair's bytes are then E<<4 bytes 2, 1, 0 and
// O bytes 2, 1, 0, output byte 2 shared.
alignas(16) inline constexpr char kUyvyPairsToLanes[16] = {1, Z, Z, 0, 3, Z, 2, Z,
                                                           5, Z, Z, 4, 7, Z, 6, Z};
// The same for the two pairs at bytes 8-15.
alignas(16) inline constexpr char kUyvyUpperPairsToLanes[16] = {9, Z, Z, 8, 11, Z, 10, Z,
                                                                13, Z, Z, 12, 15, Z, 14, Z};
alignas(16) inline constexpr std::int16_t kUyvyLaneScale[8] = {1 << 6, 1 << 8, 1 << 2, 1 << 12,
                                                               1 << 6, 1 << 8, 1 << 2, 1 << 12};
alignas(16) inline constexpr char kPackHighBytes[16] = {2, 1, 0, Z, Z, 10, 9, 8,
                                                        Z, Z, Z, Z, Z, Z, Z, Z};
alignas(16) inline constexpr char kPackLowBytes[16] = {Z, Z, 6, 5, 4, Z, Z, 14,
                                                       13, 12, Z, Z, Z, Z, Z, Z};

// ---- v210 group (16 bytes) to packed10 (15 bytes) ----
// Each v210 word f0 | f1 << 10 | f2 << 20 holds three samples whose stream
// order puts f0 first: as 30 stream bits ("chunk") it is f0 << 20 | f1 << 10 | f2.
// The group's 120 stream bits are chunks c0 c1 c2 c3, and its 15 bytes are
//   bytes 0-7:  (c0 << 34 | c1 << 4) read from the top byte down
//   bytes 7-14: (c2 << 30 | c3) from byte 7 down (byte 7 shared).
// Per 64-bit lane a multiply forms the even chunk's part (c0 << 26, one byte
// short of c0 << 34, and c2 << 30) and another the odd chunk's (c1 << 4, c3);
// the byte shuffles place both, adding the missing byte of c0's shift.
inline constexpr std::int32_t kOuterFieldsOfChunk = 0x3FF003FF;
inline constexpr std::int32_t kMiddleFieldOfChunk = 0x000FFC00;
alignas(16) inline constexpr std::uint32_t kEvenChunkScale[4] = {1u << 26, 0, 1u << 30, 0};
alignas(16) inline constexpr std::uint32_t kOddChunkScale[4] = {1u << 4, 0, 1, 0};
alignas(16) inline constexpr char kEvenChunkBytes[16] = {6, 5, 4, 3, Z, Z, Z, 15,
                                                         14, 13, 12, 11, 10, 9, 8, Z};
alignas(16) inline constexpr char kOddChunkBytes[16] = {Z, Z, Z, 4, 3, 2, 1, 0,
                                                        Z, Z, Z, 11, 10, 9, 8, Z};

// A byte table that picks the same bytes from data starting k bytes later in
// the vector (zero entries stay zero).
struct ByteTable {
    alignas(16) char bytes[16];
};
constexpr ByteTable skewed(const char (&table)[16], int k) {
    ByteTable result{};
    for (int i = 0; i < 16; ++i) result.bytes[i] = table[i] == Z ? Z : static_cast<char>(table[i] + k);
    return result;
}

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

// 16 bytes at line + offset, or only those before readable_end when the
// full load would pass it (the rest of the vector zero).
CCNVT_TARGET_SSE
inline __m128i load_within(const unsigned char* line, std::size_t offset, std::size_t readable_end) {
    if (offset + 16 <= readable_end) return loadu128(line + offset);
    return load_partial128(line + offset, readable_end - offset);
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

// Stores v at line + offset, all 16 bytes or only those before writable_end.
CCNVT_TARGET_SSE
inline void store_within(unsigned char* line, std::size_t offset, __m128i v, std::size_t writable_end) {
    if (offset + 16 <= writable_end)
        storeu128(line + offset, v);
    else
        store_partial128(line + offset, v, writable_end - offset);
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

// One v210 group (16 bytes) to its 15 packed10 bytes (byte 15 zero).
CCNVT_TARGET_SSE
inline __m128i v210_group_to_pairs(__m128i words) {
    const __m128i outer = _mm_and_si128(_mm_or_si128(_mm_slli_epi32(words, 20), _mm_srli_epi32(words, 20)),
                                        _mm_set1_epi32(kOuterFieldsOfChunk));
    const __m128i chunks = _mm_or_si128(outer, _mm_and_si128(words, _mm_set1_epi32(kMiddleFieldOfChunk)));
    const __m128i even = _mm_mul_epu32(chunks, load128(kEvenChunkScale));
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(chunks, 32), load128(kOddChunkScale));
    return _mm_or_si128(_mm_shuffle_epi8(even, load128(kEvenChunkBytes)),
                        _mm_shuffle_epi8(odd, load128(kOddChunkBytes)));
}

// Two 2vuy pairs of in (the bytes that to_lanes picks) to their 10 packed10
// bytes, at bytes 0-9 of the result (bytes 10-15 zero).
CCNVT_TARGET_SSE
inline __m128i uyvy_to_pairs(__m128i in, const char* to_lanes) {
    const __m128i halves = _mm_madd_epi16(_mm_shuffle_epi8(in, load128(to_lanes)), load128(kUyvyLaneScale));
    return _mm_or_si128(_mm_shuffle_epi8(halves, load128(kPackHighBytes)),
                        _mm_shuffle_epi8(halves, load128(kPackLowBytes)));
}

}  // namespace cconvert::detail::packed10_vector

#endif
