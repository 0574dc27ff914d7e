// AVX2 packed10 line kernels, behind the _avx names. Each does what the
// 128-bit blocks do, two or four blocks to a 256-bit step (the byte shuffles
// work within each 128-bit half, so each half takes its own block), and hands
// the rest of the line to the SSE-class kernel. Every one converts the same
// pairs and groups as its SSE-class twin, with the same bytes, and reads and
// writes nothing beyond them.
#include <cstddef>

#include "cconvert/packed10.h"
#include "frame/simd.h"
#include "packed10/packed10_layout.h"
#include "packed10/packed10_vector.h"

using namespace cconvert::detail;
using namespace cconvert::detail::packed10_vector;

namespace {

CCNVT_TARGET_AVX2
inline __m256i both_halves(const void* table) {
    return _mm256_broadcastsi128_si256(load128(table));
}

// A table whose low half is low and high half is high.
CCNVT_TARGET_AVX2
inline __m256i table_halves(const void* low, const void* high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load128(low)), load128(high), 1);
}

// Stores the halves of v 16 bytes each at low and high (either may carry
// spare bytes that a later store overwrites).
CCNVT_TARGET_AVX2
inline void store_halves(unsigned char* low, unsigned char* high, __m256i v) {
    storeu128(low, _mm256_castsi256_si128(v));
    storeu128(high, _mm256_extracti128_si256(v, 1));
}

// uyvy_to_pairs on each half: the low half takes the pairs at bytes 0-7 of
// its 16, the high half those at bytes 8-15.
CCNVT_TARGET_AVX2
inline __m256i uyvy_to_pairs256(__m256i in) {
    const __m256i to_lanes = table_halves(kUyvyPairsToLanes, kUyvyUpperPairsToLanes);
    const __m256i halves = _mm256_madd_epi16(_mm256_shuffle_epi8(in, to_lanes), both_halves(kUyvyLaneScale));
    return _mm256_or_si256(_mm256_shuffle_epi8(halves, both_halves(kPackHighBytes)),
                           _mm256_shuffle_epi8(halves, both_halves(kPackLowBytes)));
}

// group_to_v210 on each half: the group one byte into the low half and the
// one at the start of the high half (two neighbouring groups, loaded together
// from the byte before the first).
CCNVT_TARGET_AVX2
inline __m256i groups_to_v210(__m256i in) {
    static constexpr ByteTable low_outer_bytes = skewed(kGroupOuterBytes, 1);
    static constexpr ByteTable low_middle_bytes = skewed(kGroupMiddleBytes, 1);
    const __m256i outer_bytes = table_halves(low_outer_bytes.bytes, kGroupOuterBytes);
    const __m256i middle_bytes = table_halves(low_middle_bytes.bytes, kGroupMiddleBytes);
    __m256i outer = _mm256_mullo_epi16(_mm256_shuffle_epi8(in, outer_bytes), both_halves(kGroupOuterScale));
    outer = _mm256_and_si256(_mm256_mulhi_epu16(outer, both_halves(kGroupOuterDown)),
                             both_halves(kGroupOuterMask));
    __m256i middle = _mm256_sllv_epi32(_mm256_shuffle_epi8(in, middle_bytes), both_halves(kGroupMiddleShift));
    middle = _mm256_and_si256(middle, _mm256_set1_epi32(kMiddleFieldMask));
    return _mm256_or_si256(outer, middle);
}

// v210_group_to_pairs on each half.
CCNVT_TARGET_AVX2
inline __m256i v210_groups_to_pairs(__m256i words) {
    const __m256i outer = _mm256_and_si256(_mm256_or_si256(_mm256_slli_epi32(words, 20), _mm256_srli_epi32(words, 20)),
                                           _mm256_set1_epi32(kOuterFieldsOfChunk));
    const __m256i chunks = _mm256_or_si256(outer, _mm256_and_si256(words, _mm256_set1_epi32(kMiddleFieldOfChunk)));
    const __m256i even = _mm256_mul_epu32(chunks, both_halves(kEvenChunkScale));
    const __m256i odd = _mm256_mul_epu32(_mm256_srli_epi64(chunks, 32), both_halves(kOddChunkScale));
    return _mm256_or_si256(_mm256_shuffle_epi8(even, both_halves(kEvenChunkBytes)),
                           _mm256_shuffle_epi8(odd, both_halves(kOddChunkBytes)));
}

// Inside a line a step's last 16-byte load or store is a plain one; at the
// end of the line it covers only the bytes the step owns.
enum class LastAccess { Full, Bounded };

// Eight pairs (40 bytes) to 32 bytes of 2vuy. The halves take pairs p, p+1 |
// p+4, p+5 and p+2, p+3 | p+6, p+7, so that the per-half pack puts the eight
// pairs in order. Each set of four pairs comes from one 32-byte load (at pair
// p and p+2), the high half's pairs four bytes into their half; at the end of
// the line the second load stops at the step's last pair.
template <LastAccess last>
CCNVT_TARGET_AVX2 inline void packed10_to_uyvy_step(const unsigned char* in, unsigned char* out) {
    static constexpr ByteTable high_to_lanes = skewed(kPairBytesToLanes, 4);
    const __m256i to_lanes = table_halves(kPairBytesToLanes, high_to_lanes.bytes);
    const __m256i scale = both_halves(kPairLaneScale);
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
    const __m256i second = last == LastAccess::Full
                               ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 10))
                               : _mm256_inserti128_si256(_mm256_castsi128_si256(loadu128(in + 10)),
                                                         load_partial128(in + 26, 14), 1);
    const __m256i even = _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_shuffle_epi8(first, to_lanes), scale), 8);
    const __m256i odd = _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_shuffle_epi8(second, to_lanes), scale), 8);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_packus_epi16(even, odd));
}

// 32 bytes of 2vuy (eight pairs) to 40 bytes of packed10. Each 16-byte store
// carries 10 bytes; the next store covers the spare ones.
template <LastAccess last>
CCNVT_TARGET_AVX2 inline void uyvy_to_packed10_step(const unsigned char* in, unsigned char* out) {
    const __m256i first = uyvy_to_pairs256(_mm256_broadcastsi128_si256(loadu128(in)));
    const __m256i second = uyvy_to_pairs256(_mm256_broadcastsi128_si256(loadu128(in + 16)));
    store_halves(out, out + 10, first);
    storeu128(out + 20, _mm256_castsi256_si128(second));
    if constexpr (last == LastAccess::Full)
        storeu128(out + 30, _mm256_extracti128_si256(second, 1));
    else
        store_partial128(out + 30, _mm256_extracti128_si256(second, 1), 10);
}

// Four packed10 groups (60 bytes) to four v210 groups (64 bytes), two groups
// to a 32-byte load that starts a byte before them. The first step of a line
// may not read the byte before the line: its low half is loaded from the
// line's start and moved up a byte. The last step reads nothing past its
// groups.
enum class FirstAccess { Plain, LineStart };

template <FirstAccess first, LastAccess last>
CCNVT_TARGET_AVX2 inline void packed10_to_v210_step(const unsigned char* in, unsigned char* out) {
    const __m256i first_two =
        first == FirstAccess::Plain
            ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in - 1))
            : _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_slli_si128(loadu128(in), 1)),
                                      loadu128(in + 15), 1);
    const __m256i last_two = last == LastAccess::Full
                                 ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 29))
                                 : _mm256_inserti128_si256(_mm256_castsi128_si256(loadu128(in + 29)),
                                                           load_partial128(in + 45, 15), 1);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), groups_to_v210(first_two));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32), groups_to_v210(last_two));
}

// Four v210 groups (64 bytes) to 60 bytes of packed10. Each 16-byte store
// carries 15 bytes; the next store covers the spare one.
template <LastAccess last>
CCNVT_TARGET_AVX2 inline void v210_to_packed10_step(const unsigned char* in, unsigned char* out) {
    const __m256i first = v210_groups_to_pairs(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in)));
    const __m256i second = v210_groups_to_pairs(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 32)));
    store_halves(out, out + 15, first);
    storeu128(out + 30, _mm256_castsi256_si128(second));
    if constexpr (last == LastAccess::Full)
        storeu128(out + 45, _mm256_extracti128_si256(second, 1));
    else
        store_partial128(out + 45, _mm256_extracti128_si256(second, 1), 15);
}

}  // namespace

// Each kernel runs plain steps while a step's last 16-byte access stays within
// the line's data, then one bounded step if a whole step remains, and hands
// the rest to the SSE-class kernel.

CCNVT_TARGET_AVX2
void kv_ycbcr422_packed10_to_uyvy_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    const int pairs = width > 0 ? width / 2 : 0;
    const std::size_t readable = std::size_t{kPacked10BytesPerPair} * pairs;
    int p = 0;
    for (; p + 8 <= pairs && 5 * std::size_t(p) + 42 <= readable; p += 8)
        packed10_to_uyvy_step<LastAccess::Full>(source + 5 * p, destination + 4 * p);
    if (p + 8 <= pairs) {
        packed10_to_uyvy_step<LastAccess::Bounded>(source + 5 * p, destination + 4 * p);
        p += 8;
    }
    kv_ycbcr422_packed10_to_uyvy_line_sse(source + 5 * p, destination + 4 * p, 2 * (pairs - p));
}

CCNVT_TARGET_AVX2
void kv_ycbcr422_uyvy_to_packed10_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    const int pairs = width > 0 ? width / 2 : 0;
    const std::size_t writable = std::size_t{kPacked10BytesPerPair} * pairs;
    int p = 0;
    for (; p + 8 <= pairs && 5 * std::size_t(p) + 46 <= writable; p += 8)
        uyvy_to_packed10_step<LastAccess::Full>(source + 4 * p, destination + 5 * p);
    if (p + 8 <= pairs) {
        uyvy_to_packed10_step<LastAccess::Bounded>(source + 4 * p, destination + 5 * p);
        p += 8;
    }
    kv_ycbcr422_uyvy_to_packed10_line_sse(source + 4 * p, destination + 5 * p, 2 * (pairs - p));
}

CCNVT_TARGET_AVX2
void kv_ycbcr422_packed10_to_v210_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 0) return;
    const int groups = width / 6;
    const int rest = width - 6 * groups;
    // The portable kernel reads a whole group for a partial one.
    const std::size_t readable = std::size_t{kPacked10BytesPerV210Group} * (groups + (rest != 0 ? 1 : 0));
    int g = 0;
    if (g + 4 <= groups) {
        if (61 <= readable)
            packed10_to_v210_step<FirstAccess::LineStart, LastAccess::Full>(source, destination);
        else
            packed10_to_v210_step<FirstAccess::LineStart, LastAccess::Bounded>(source, destination);
        g += 4;
    }
    for (; g + 4 <= groups && 15 * std::size_t(g) + 61 <= readable; g += 4)
        packed10_to_v210_step<FirstAccess::Plain, LastAccess::Full>(source + 15 * g, destination + 16 * g);
    if (g + 4 <= groups) {
        packed10_to_v210_step<FirstAccess::Plain, LastAccess::Bounded>(source + 15 * g, destination + 16 * g);
        g += 4;
    }
    kv_ycbcr422_packed10_to_v210_line_sse(source + 15 * g, destination + 16 * g, width - 6 * g);
}

CCNVT_TARGET_AVX2
void kv_ycbcr422_v210_to_packed10_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 0) return;
    const int groups = width / 6;
    // The line's output runs to its last whole group (the pairs of a partial
    // group follow in the portable kernel).
    const std::size_t writable = std::size_t{kPacked10BytesPerV210Group} * groups;
    int g = 0;
    for (; g + 4 <= groups && 15 * std::size_t(g) + 61 <= writable; g += 4)
        v210_to_packed10_step<LastAccess::Full>(source + 16 * g, destination + 15 * g);
    if (g + 4 <= groups) {
        v210_to_packed10_step<LastAccess::Bounded>(source + 16 * g, destination + 15 * g);
        g += 4;
    }
    kv_ycbcr422_v210_to_packed10_line_sse(source + 16 * g, destination + 15 * g, width - 6 * g);
}
