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

CCNVT_TARGET_AVX2
inline __m256i halves(const void* low_table, const void* high_table) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load128(low_table)), load128(high_table), 1);
}

// 16 bytes at low in the low half, 16 bytes at high in the high half.
CCNVT_TARGET_AVX2
inline __m256i load_halves(const unsigned char* low, const unsigned char* high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(loadu128(low)), loadu128(high), 1);
}

// Stores the halves of v 16 bytes each at low and high (either may carry
// spare bytes that a later store overwrites).
CCNVT_TARGET_AVX2
inline void store_halves(unsigned char* low, unsigned char* high, __m256i v) {
    storeu128(low, _mm256_castsi256_si128(v));
    storeu128(high, _mm256_extracti128_si256(v, 1));
}

// samples_to_pairs on each half: two pairs to 10 bytes per half.
CCNVT_TARGET_AVX2
inline __m256i samples_to_pairs256(__m256i samples) {
    const __m256i halves_of_pairs = _mm256_madd_epi16(samples, both_halves(kPackScale));
    return _mm256_or_si256(_mm256_shuffle_epi8(halves_of_pairs, both_halves(kPackHighBytes)),
                           _mm256_shuffle_epi8(halves_of_pairs, both_halves(kPackLowBytes)));
}

// group_to_v210 on each half: one packed10 group to one v210 group per half.
CCNVT_TARGET_AVX2
inline __m256i groups_to_v210(__m256i in) {
    __m256i outer = _mm256_mullo_epi16(_mm256_shuffle_epi8(in, both_halves(kGroupOuterBytes)),
                                       both_halves(kGroupOuterScale));
    outer = _mm256_and_si256(_mm256_mulhi_epu16(outer, both_halves(kGroupOuterDown)),
                             both_halves(kGroupOuterMask));
    __m256i middle = _mm256_sllv_epi32(_mm256_shuffle_epi8(in, both_halves(kGroupMiddleBytes)),
                                       both_halves(kGroupMiddleShift));
    middle = _mm256_and_si256(middle, _mm256_set1_epi32(kMiddleFieldMask));
    return _mm256_or_si256(outer, middle);
}

// v210_window_samples on each half.
CCNVT_TARGET_AVX2
inline __m256i samples(__m256i windows, __m256i bytes, __m256i scale) {
    return _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_shuffle_epi8(windows, bytes), scale), 6);
}

}  // namespace

// 16 pixels (eight pairs, 40 bytes) to 32 bytes of 2vuy per step.
CCNVT_TARGET_AVX2
void kv_ycbcr422_packed10_to_uyvy_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    const int pairs = width > 0 ? width / 2 : 0;
    const std::size_t readable = std::size_t{kPacked10BytesPerPair} * pairs;
    const __m256i to_lanes = both_halves(kPairBytesToLanes);
    const __m256i scale = both_halves(kPairLaneScale);
    int p = 0;
    // The step's last load (pairs p + 6, p + 7) reads 16 bytes from byte 5p + 30.
    for (; p + 8 <= pairs && 5 * std::size_t(p) + 46 <= readable; p += 8) {
        const unsigned char* in = source + 5 * p;
        // Halves: pairs p, p+1 | p+4, p+5 and p+2, p+3 | p+6, p+7, so that the
        // per-half pack below puts the eight pairs in order.
        __m256i even = _mm256_shuffle_epi8(load_halves(in, in + 20), to_lanes);
        __m256i odd = _mm256_shuffle_epi8(load_halves(in + 10, in + 30), to_lanes);
        even = _mm256_srli_epi16(_mm256_mullo_epi16(even, scale), 8);
        odd = _mm256_srli_epi16(_mm256_mullo_epi16(odd, scale), 8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + 4 * p), _mm256_packus_epi16(even, odd));
    }
    kv_ycbcr422_packed10_to_uyvy_line_sse(source + 5 * p, destination + 4 * p, 2 * (pairs - p));
}

// 16 pixels (32 bytes of 2vuy) to 40 bytes of packed10 per step.
CCNVT_TARGET_AVX2
void kv_ycbcr422_uyvy_to_packed10_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    const int pairs = width > 0 ? width / 2 : 0;
    const std::size_t writable = std::size_t{kPacked10BytesPerPair} * pairs;
    int p = 0;
    // The step's last 16-byte store starts at byte 5p + 30.
    for (; p + 8 <= pairs && 5 * std::size_t(p) + 46 <= writable; p += 8) {
        const unsigned char* in = source + 4 * p;
        unsigned char* out = destination + 5 * p;
        const __m256i first = _mm256_slli_epi16(_mm256_cvtepu8_epi16(loadu128(in)), 2);
        const __m256i second = _mm256_slli_epi16(_mm256_cvtepu8_epi16(loadu128(in + 16)), 2);
        store_halves(out, out + 10, samples_to_pairs256(first));
        store_halves(out + 20, out + 30, samples_to_pairs256(second));
    }
    kv_ycbcr422_uyvy_to_packed10_line_sse(source + 4 * p, destination + 5 * p, 2 * (pairs - p));
}

// Four groups (60 bytes) to four v210 groups (64 bytes) per step.
CCNVT_TARGET_AVX2
void kv_ycbcr422_packed10_to_v210_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 0) return;
    const int groups = width / 6;
    const int rest = width - 6 * groups;
    const std::size_t readable = std::size_t{kPacked10BytesPerV210Group} * (groups + (rest != 0 ? 1 : 0));
    int g = 0;
    // The step's last load (group g + 3) reads 16 bytes from byte 15g + 45.
    for (; g + 4 <= groups && 15 * std::size_t(g) + 61 <= readable; g += 4) {
        const unsigned char* in = source + 15 * g;
        unsigned char* out = destination + 16 * g;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), groups_to_v210(load_halves(in, in + 15)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32), groups_to_v210(load_halves(in + 30, in + 45)));
    }
    kv_ycbcr422_packed10_to_v210_line_sse(source + 15 * g, destination + 16 * g, width - 6 * g);
}

// Four v210 groups (64 bytes, six windows of eight samples) to 60 bytes of
// packed10 per step, while a fifth group follows to take the spare bytes of
// the last 16-byte store.
CCNVT_TARGET_AVX2
void kv_ycbcr422_v210_to_packed10_line_avx(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 0) return;
    const int groups = width / 6;
    // Windows at bytes 0, 8 | 16, 32 | 40, 48 of the four groups.
    const __m256i bytes01 = halves(kV210Window0Bytes, kV210Window1Bytes);
    const __m256i scale01 = halves(kV210Window0Scale, kV210Window1Scale);
    const __m256i bytes20 = halves(kV210Window2Bytes, kV210Window0Bytes);
    const __m256i scale20 = halves(kV210Window2Scale, kV210Window0Scale);
    const __m256i bytes12 = halves(kV210Window1Bytes, kV210Window2Bytes);
    const __m256i scale12 = halves(kV210Window1Scale, kV210Window2Scale);
    int g = 0;
    for (; g + 5 <= groups; g += 4) {
        const unsigned char* in = source + 16 * g;
        unsigned char* out = destination + 15 * g;
        store_halves(out, out + 10, samples_to_pairs256(samples(load_halves(in, in + 8), bytes01, scale01)));
        store_halves(out + 20, out + 30,
                     samples_to_pairs256(samples(load_halves(in + 16, in + 32), bytes20, scale20)));
        store_halves(out + 40, out + 50,
                     samples_to_pairs256(samples(load_halves(in + 40, in + 48), bytes12, scale12)));
    }
    kv_ycbcr422_v210_to_packed10_line_sse(source + 16 * g, destination + 15 * g, width - 6 * g);
}
