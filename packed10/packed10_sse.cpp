// SSE-class packed10 line kernels. Each converts a run of whole vector blocks
// and hands the rest of the line to the portable kernel of its direction. A
// block whose full 16-byte load or store would reach past the line's data
// (the last one or two of a line) is loaded or stored through a small
// buffer, so no kernel touches a byte outside the pairs and groups it
// converts.
#include <cstddef>

#include "cconvert/packed10.h"
#include "frame/simd.h"
#include "packed10/packed10_layout.h"
#include "packed10/packed10_vector.h"

using namespace cconvert::detail;
using namespace cconvert::detail::packed10_vector;

// packed10 to 2vuy. Block: 4 pixels (two pairs, 10 of 16 loaded bytes) to 8
// bytes. Used when width > 5, for ((P - 3) >> 1) + 1 blocks of the P =
// width / 2 pairs; the P - 2 * blocks pairs left go to the portable kernel.
// Narrower lines go to the portable kernel whole, the width rounded down to
// even, so every variant converts width / 2 pairs.
CCNVT_TARGET_SSE
void kv_ycbcr422_packed10_to_uyvy_line_sse(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 5) {
        kv_ycbcr422_packed10_to_uyvy_line_c(source, destination, width & ~1);
        return;
    }
    const int pairs = width / 2;
    const int blocks = ((pairs - 3) >> 1) + 1;
    const std::size_t readable = std::size_t{kPacked10BytesPerPair} * pairs;
    int b = 0;
    // Two blocks per step: 16 bytes of 2vuy.
    for (; b + 2 <= blocks && 10 * std::size_t(b + 1) + 16 <= readable; b += 2) {
        const __m128i first = pairs_to_high8(loadu128(source + 10 * b));
        const __m128i second = pairs_to_high8(loadu128(source + 10 * (b + 1)));
        storeu128(destination + 8 * b, _mm_packus_epi16(first, second));
    }
    for (; b < blocks; ++b) {
        const __m128i lanes = pairs_to_high8(load_within(source, 10 * std::size_t(b), readable));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(destination + 8 * b), _mm_packus_epi16(lanes, lanes));
    }
    kv_ycbcr422_packed10_to_uyvy_line_c(source + 10 * blocks, destination + 8 * blocks,
                                        2 * (pairs - 2 * blocks));
}

// 2vuy to packed10. Block: 8 pixels, 16 bytes in, 20 out. Used when
// width > 9, for ((P - 5) >> 2) + 1 blocks of the P = width / 2 pairs; the
// P - 4 * blocks pairs left go to the portable kernel.
CCNVT_TARGET_SSE
void kv_ycbcr422_uyvy_to_packed10_line_sse(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 9) {
        kv_ycbcr422_uyvy_to_packed10_line_c(source, destination, width);
        return;
    }
    const int pairs = width / 2;
    const int blocks = ((pairs - 5) >> 2) + 1;
    const std::size_t writable = std::size_t{kPacked10BytesPerPair} * pairs;
    for (int b = 0; b < blocks; ++b) {
        const __m128i in = loadu128(source + 16 * b);
        const __m128i low = uyvy_to_pairs(in, kUyvyPairsToLanes);
        const __m128i high = uyvy_to_pairs(in, kUyvyUpperPairsToLanes);
        unsigned char* out = destination + 20 * b;
        // Each 16-byte store carries 10 bytes; the spare ones are overwritten
        // by the next store, or not stored at the end of the line.
        storeu128(out, low);
        if (20 * std::size_t(b) + 26 <= writable)
            storeu128(out + 10, high);
        else
            store_partial128(out + 10, high, 10);
    }
    kv_ycbcr422_uyvy_to_packed10_line_c(source + 16 * blocks, destination + 20 * blocks,
                                        2 * (pairs - 4 * blocks));
}

// packed10 to v210. Block: one group, 15 bytes in, 16 out. Used when
// width > 5 for width / 6 groups; the width - 6 * groups pixels left go to
// the portable kernel, which writes one more whole group.
CCNVT_TARGET_SSE
void kv_ycbcr422_packed10_to_v210_line_sse(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 5) {
        kv_ycbcr422_packed10_to_v210_line_c(source, destination, width);
        return;
    }
    const int groups = width / 6;
    const int rest = width - 6 * groups;
    // The portable kernel reads a whole group for a partial one.
    const std::size_t readable = std::size_t{kPacked10BytesPerV210Group} * (groups + (rest != 0 ? 1 : 0));
    for (int g = 0; g < groups; ++g)
        storeu128(destination + 16 * g, group_to_v210(load_within(source, 15 * std::size_t(g), readable)));
    kv_ycbcr422_packed10_to_v210_line_c(source + 15 * groups, destination + 16 * groups, rest);
}

// v210 to packed10. Block: one group, 16 bytes in, 15 out. Used when
// width > 5 for width / 6 groups; the width - 6 * groups pixels left go to
// the portable kernel.
CCNVT_TARGET_SSE
void kv_ycbcr422_v210_to_packed10_line_sse(const unsigned char* source, unsigned char* destination,
                                           int width) {
    if (width <= 5) {
        kv_ycbcr422_v210_to_packed10_line_c(source, destination, width);
        return;
    }
    const int groups = width / 6;
    const int rest = width - 6 * groups;
    const std::size_t writable = std::size_t{kPacked10BytesPerV210Group} * groups;
    // Each 16-byte store carries 15 bytes; the next group's store covers the
    // spare one, and the last group's store stops at its 15.
    for (int g = 0; g < groups; ++g)
        store_within(destination, 15 * std::size_t(g), v210_group_to_pairs(loadu128(source + 16 * g)), writable);
    kv_ycbcr422_v210_to_packed10_line_c(source + 16 * groups, destination + 15 * groups, rest);
}

// Lanes 0 and 1 of a, each shifted right by the same lane of b modulo 32.
__m128i sse_variable_shift_right(__m128i a, __m128i b) {
    const __m128i count0 = _mm_cvtsi32_si128(_mm_cvtsi128_si32(b) & 31);
    const __m128i count1 = _mm_cvtsi32_si128(_mm_cvtsi128_si32(_mm_srli_si128(b, 4)) & 31);
    const __m128i lane0 = _mm_srl_epi32(a, count0);                   // lane 0 wanted
    const __m128i lane1 = _mm_srli_si128(_mm_srl_epi32(a, count1), 4);  // lane 1 now in lane 0
    return _mm_move_epi64(_mm_unpacklo_epi32(lane0, lane1));
}
