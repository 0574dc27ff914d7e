// SSE-class permutation kernels: one byte shuffle per four pixels.
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

CCNVT_TARGET_SSE
void reorder32_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                   const PixelPattern& pattern) {
    const __m128i indices = reorder_indices(pattern), fill = fill_bytes(pattern);
    auto reorder = [&](__m128i in) CCNVT_TARGET_SSE { return _mm_or_si128(_mm_shuffle_epi8(in, indices), fill); };
    std::size_t x = 0;
    for (; x + 16 <= pixels; x += 16) {
        const unsigned char* in = source + 4 * x;
        const __m128i a = load(in), b = load(in + 16), c = load(in + 32), d = load(in + 48);
        unsigned char* out = destination + 4 * x;
        store(out, reorder(a));
        store(out + 16, reorder(b));
        store(out + 32, reorder(c));
        store(out + 48, reorder(d));
    }
    for (; x + 4 <= pixels; x += 4) store(destination + 4 * x, reorder(load(source + 4 * x)));
    reorder32_pixels(destination, source, x, pixels, pattern);
}

CCNVT_TARGET_SSE
void narrow32_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                  const PixelPattern& pattern) {
    const __m128i indices = narrow_indices(pattern);
    std::size_t x = 0;
    for (; x + 16 <= pixels; x += 16) {
        const unsigned char* in = source + 4 * x;
        const __m128i a = load(in), b = load(in + 16), c = load(in + 32), d = load(in + 48);
        store_4x12(destination + 3 * x, _mm_shuffle_epi8(a, indices), _mm_shuffle_epi8(b, indices),
                   _mm_shuffle_epi8(c, indices), _mm_shuffle_epi8(d, indices));
    }
    for (; x + 4 <= pixels; x += 4)
        store12(destination + 3 * x, _mm_shuffle_epi8(load(source + 4 * x), indices));
    narrow32_pixels(destination, source, x, pixels, pattern);
}

// Sixteen pixels (48 source bytes in three loads) per step from the end of
// the row; the head goes four at a time, then one at a time.
CCNVT_TARGET_SSE
void widen24_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                 const PixelPattern& pattern) {
    const __m128i indices = widen_indices(pattern), fill = fill_bytes(pattern);
    auto widen = [&](__m128i in) CCNVT_TARGET_SSE { return _mm_or_si128(_mm_shuffle_epi8(in, indices), fill); };
    std::size_t x = pixels;
    for (; x >= 16; x -= 16) {
        const unsigned char* in = source + 3 * (x - 16);
        const __m128i a = load(in), b = load(in + 16), c = load(in + 32);
        unsigned char* out = destination + 4 * (x - 16);
        store(out + 48, widen(_mm_srli_si128(c, 4)));
        store(out + 32, widen(_mm_alignr_epi8(c, b, 8)));
        store(out + 16, widen(_mm_alignr_epi8(b, a, 12)));
        store(out, widen(a));
    }
    widen24_head(destination, source, x, pixels, pattern);
}

}  // namespace cconvert::detail
