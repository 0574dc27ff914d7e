// SSE-class kernels splitting packed 4:2:2 rows into planes: eight pixel
// pairs (32 bytes) per step. A byte shuffle sorts each 16 bytes into eight
// Y bytes, four of the first chroma and four of the second; 64-bit and 32-bit
// unpacks join two such halves.
#include <immintrin.h>

#include "frame/simd.h"
#include "planar/packed422_planar_kernels.h"

namespace cconvert::detail {

namespace {

struct Sorted {
    __m128i luma;    // 16 Y bytes
    __m128i chroma;  // 8 bytes of the first chroma, then 8 of the second
};

CCNVT_TARGET_SSE
inline Sorted sort_32_bytes(const unsigned char* pairs, __m128i order) {
    const __m128i a = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs)), order);
    const __m128i b =
        _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs + 16)), order);
    return {_mm_unpacklo_epi64(a, b), _mm_unpackhi_epi32(a, b)};
}

CCNVT_TARGET_SSE
inline void store_chroma(unsigned char* first, unsigned char* second, __m128i chroma) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(first), chroma);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(second), _mm_unpackhi_epi64(chroma, chroma));
}

CCNVT_TARGET_SSE
inline void store_luma(unsigned char* y, __m128i luma) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(y), luma);
}

}  // namespace

CCNVT_TARGET_SSE
void split_2vuy_row_sse(const unsigned char* uyvy, std::uint32_t groups, unsigned char* y,
                        unsigned char* cb, unsigned char* cr) {
    // Cb Y0 Cr Y1: Y at the odd bytes, Cb at 0, 4, 8, 12, Cr at 2, 6, 10, 14.
    const __m128i order = _mm_setr_epi8(1, 3, 5, 7, 9, 11, 13, 15, 0, 4, 8, 12, 2, 6, 10, 14);
    std::uint32_t g = 0;
    for (; g + 8 <= groups; g += 8) {
        const Sorted sorted = sort_32_bytes(uyvy + 4 * g, order);
        store_luma(y + 2 * g, sorted.luma);
        if (cb != nullptr) store_chroma(cb + g, cr + g, sorted.chroma);
    }
    split_2vuy_row_portable(uyvy + 4 * g, groups - g, y + 2 * g, cb ? cb + g : nullptr,
                            cr ? cr + g : nullptr);
}

CCNVT_TARGET_SSE
void split_yuy2_row_pair_sse(const unsigned char* upper, const unsigned char* lower,
                             std::uint32_t pairs, unsigned char* y_upper, unsigned char* y_lower,
                             unsigned char* cb, unsigned char* cr) {
    // Y0 Cb Y1 Cr: Y at the even bytes, Cb at 1, 5, 9, 13, Cr at 3, 7, 11, 15.
    const __m128i order = _mm_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 5, 9, 13, 3, 7, 11, 15);
    std::uint32_t k = 0;
    for (; k + 8 <= pairs; k += 8) {
        const Sorted up = sort_32_bytes(upper + 4 * k, order);
        const Sorted low = sort_32_bytes(lower + 4 * k, order);
        store_luma(y_upper + 2 * k, up.luma);
        store_luma(y_lower + 2 * k, low.luma);
        // pavgb is (a + b + 1) >> 1: the rounding the portable code uses.
        store_chroma(cb + k, cr + k, _mm_avg_epu8(up.chroma, low.chroma));
    }
    split_yuy2_row_pair_portable(upper + 4 * k, lower + 4 * k, pairs - k, y_upper + 2 * k,
                                 y_lower + 2 * k, cb + k, cr + k);
}

}  // namespace cconvert::detail
