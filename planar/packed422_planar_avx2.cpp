// AVX2 kernels splitting packed 4:2:2 rows into planes: sixteen pixel pairs
// (64 bytes) per step, sorted within 128-bit lanes as the SSE kernels do and
// put back in order by cross-lane permutes.
#include <immintrin.h>

#include "frame/simd.h"
#include "planar/packed422_planar_kernels.h"

namespace cconvert::detail {

namespace {

struct Sorted {
    __m256i luma;    // 32 Y bytes
    __m256i chroma;  // 16 bytes of the first chroma, then 16 of the second
};

CCNVT_TARGET_AVX2
inline Sorted sort_64_bytes(const unsigned char* pairs, __m128i lane_order) {
    const __m256i order = _mm256_broadcastsi128_si256(lane_order);
    const __m256i a =
        _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs)), order);
    const __m256i b =
        _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs + 32)), order);
    // unpacklo_epi64 gives the luma quarters in the order 0, 2, 1, 3;
    // unpackhi_epi32 gives dwords Cb0 Cb2 Cr0 Cr2 | Cb1 Cb3 Cr1 Cr3.
    const __m256i luma = _mm256_permute4x64_epi64(_mm256_unpacklo_epi64(a, b), _MM_SHUFFLE(3, 1, 2, 0));
    const __m256i chroma = _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi32(a, b),
                                                       _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    return {luma, chroma};
}

CCNVT_TARGET_AVX2
inline void store_chroma(unsigned char* first, unsigned char* second, __m256i chroma) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(first), _mm256_castsi256_si128(chroma));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(second), _mm256_extracti128_si256(chroma, 1));
}

CCNVT_TARGET_AVX2
inline void store_luma(unsigned char* y, __m256i luma) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(y), luma);
}

}  // namespace

CCNVT_TARGET_AVX2
void split_2vuy_row_avx2(const unsigned char* uyvy, std::uint32_t groups, unsigned char* y,
                         unsigned char* cb, unsigned char* cr) {
    const __m128i order = _mm_setr_epi8(1, 3, 5, 7, 9, 11, 13, 15, 0, 4, 8, 12, 2, 6, 10, 14);
    std::uint32_t g = 0;
    for (; g + 16 <= groups; g += 16) {
        const Sorted sorted = sort_64_bytes(uyvy + 4 * g, order);
        store_luma(y + 2 * g, sorted.luma);
        if (cb != nullptr) store_chroma(cb + g, cr + g, sorted.chroma);
    }
    split_2vuy_row_portable(uyvy + 4 * g, groups - g, y + 2 * g, cb ? cb + g : nullptr,
                            cr ? cr + g : nullptr);
}

CCNVT_TARGET_AVX2
void split_yuy2_row_pair_avx2(const unsigned char* upper, const unsigned char* lower,
                              std::uint32_t pairs, unsigned char* y_upper, unsigned char* y_lower,
                              unsigned char* cb, unsigned char* cr) {
    const __m128i order = _mm_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 5, 9, 13, 3, 7, 11, 15);
    std::uint32_t k = 0;
    for (; k + 16 <= pairs; k += 16) {
        const Sorted up = sort_64_bytes(upper + 4 * k, order);
        const Sorted low = sort_64_bytes(lower + 4 * k, order);
        store_luma(y_upper + 2 * k, up.luma);
        store_luma(y_lower + 2 * k, low.luma);
        store_chroma(cb + k, cr + k, _mm256_avg_epu8(up.chroma, low.chroma));
    }
    split_yuy2_row_pair_portable(upper + 4 * k, lower + 4 * k, pairs - k, y_upper + 2 * k,
                                 y_lower + 2 * k, cb + k, cr + k);
}

}  // namespace cconvert::detail
