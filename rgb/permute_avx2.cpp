// AVX2 permutation kernels: byte shuffles within 128-bit lanes, and 32-bit
// permutes to move 3-byte pixels across the lanes.
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

namespace {

// The 32- and 8-pixel blocks of a reorder; returns the pixels done. Without
// a fill byte in the pattern the or is left out.
template <bool Fill>
CCNVT_TARGET_AVX2 inline std::size_t reorder32_blocks(unsigned char* destination, const unsigned char* source,
                                                      std::size_t pixels, const PixelPattern& pattern) {
    const __m256i indices = both_lanes(reorder_indices(pattern)), fill = both_lanes(fill_bytes(pattern));
    auto reorder = [&](__m256i in) CCNVT_TARGET_AVX2 {
        const __m256i out = _mm256_shuffle_epi8(in, indices);
        return Fill ? _mm256_or_si256(out, fill) : out;
    };
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const unsigned char* in = source + 4 * x;
        const __m256i a = load256(in), b = load256(in + 32), c = load256(in + 64), d = load256(in + 96);
        unsigned char* out = destination + 4 * x;
        store256(out, reorder(a));
        store256(out + 32, reorder(b));
        store256(out + 64, reorder(c));
        store256(out + 96, reorder(d));
    }
    for (; x + 8 <= pixels; x += 8) store256(destination + 4 * x, reorder(load256(source + 4 * x)));
    return x;
}

}  // namespace

CCNVT_TARGET_AVX2
void reorder32_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                    const PixelPattern& pattern) {
    std::size_t x = has_fill(pattern) ? reorder32_blocks<true>(destination, source, pixels, pattern)
                                      : reorder32_blocks<false>(destination, source, pixels, pattern);
    const __m128i indices128 = reorder_indices(pattern), fill128 = fill_bytes(pattern);
    for (; x + 4 <= pixels; x += 4)
        store(destination + 4 * x, _mm_or_si128(_mm_shuffle_epi8(load(source + 4 * x), indices128), fill128));
    if (x < pixels) reorder32_pixels(destination, source, x, pixels, pattern);
}

// Thirty-two pixels per step: each 8-pixel load is shuffled to 12 bytes per
// lane, and the four results are laid end to end.
CCNVT_TARGET_AVX2
void narrow32_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                   const PixelPattern& pattern) {
    const __m128i indices128 = narrow_indices(pattern);
    const __m256i indices = both_lanes(indices128);
    auto narrow = [&](__m256i in) CCNVT_TARGET_AVX2 { return _mm256_shuffle_epi8(in, indices); };
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const unsigned char* in = source + 4 * x;
        const __m256i a = narrow(load256(in)), b = narrow(load256(in + 32));
        const __m256i c = narrow(load256(in + 64)), d = narrow(load256(in + 96));
        store_4x24(destination + 3 * x, a, b, c, d);
    }
    for (; x + 4 <= pixels; x += 4)
        store12(destination + 3 * x, _mm_shuffle_epi8(load(source + 4 * x), indices128));
    narrow32_pixels(destination, source, x, pixels, pattern);
}

// Sixteen pixels per step from the end of the row: two 32-byte loads cover
// the 48 source bytes, and dword permutes give each lane its 12 bytes.
CCNVT_TARGET_AVX2
void widen24_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                  const PixelPattern& pattern) {
    const __m256i indices = both_lanes(widen_indices(pattern)), fill = both_lanes(fill_bytes(pattern));
    const __m256i low_24_bytes = _mm256_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0);
    const __m256i high_24_bytes = _mm256_setr_epi32(2, 3, 4, 0, 5, 6, 7, 0);
    auto widen = [&](__m256i in, __m256i spread) CCNVT_TARGET_AVX2 {
        return _mm256_or_si256(_mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(in, spread), indices), fill);
    };
    std::size_t x = pixels;
    for (; x >= 16; x -= 16) {
        const unsigned char* in = source + 3 * (x - 16);
        const __m256i low = load256(in), high = load256(in + 16);
        unsigned char* out = destination + 4 * (x - 16);
        store256(out + 32, widen(high, high_24_bytes));
        store256(out, widen(low, low_24_bytes));
    }
    widen24_head(destination, source, x, pixels, pattern);
}

}  // namespace cconvert::detail
