// AVX2 kernels of the alpha <-> 2vuy operations: 16 pairs (32 pixels) per
// step.
#include <immintrin.h>

#include "alpha/alpha_kernels.h"
#include "frame/simd.h"
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

// Back to front: 32 alpha bytes, their quarters put so that the in-lane
// interleave under 0x80 gives the groups in order.
CCNVT_TARGET_AVX2
void alpha_to_2vuy_avx2(unsigned char* uyvy, const unsigned char* alpha, std::size_t pairs) {
    const __m256i chroma = _mm256_set1_epi8(static_cast<char>(0x80));
    std::size_t k = pairs;
    for (; k >= 16; k -= 16) {
        const __m256i keys = _mm256_permute4x64_epi64(load256(alpha + 2 * (k - 16)), 0xD8);
        store256(uyvy + 4 * (k - 16) + 32, _mm256_unpackhi_epi8(chroma, keys));
        store256(uyvy + 4 * (k - 16), _mm256_unpacklo_epi8(chroma, keys));
    }
    alpha_to_2vuy_sse(uyvy, alpha, k);
}

CCNVT_TARGET_AVX2
void luma_of_2vuy_avx2(unsigned char* alpha, const unsigned char* uyvy, std::size_t pairs) {
    std::size_t k = 0;
    for (; k + 16 <= pairs; k += 16) {
        const __m256i low = _mm256_srli_epi16(load256(uyvy + 4 * k), 8);
        const __m256i high = _mm256_srli_epi16(load256(uyvy + 4 * k + 32), 8);
        store256(alpha + 2 * k, _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8));
    }
    luma_of_2vuy_sse(alpha + 2 * k, uyvy + 4 * k, pairs - k);
}

CCNVT_TARGET_AVX2
void strip_chroma_avx2(unsigned char* to, const unsigned char* from, std::size_t pairs) {
    const __m256i luma = _mm256_set1_epi16(static_cast<short>(0xFF00));
    const __m256i chroma = _mm256_set1_epi16(0x80);
    auto strip = [&](std::size_t at) CCNVT_TARGET_AVX2 {
        store256(to + at, _mm256_or_si256(_mm256_and_si256(load256(from + at), luma), chroma));
    };
    std::size_t k = 0;
    for (; k + 16 <= pairs; k += 16) {
        strip(4 * k);
        strip(4 * k + 32);
    }
    for (; k + 8 <= pairs; k += 8) strip(4 * k);
    strip_chroma_pairs(to, from, k, pairs);
}

}  // namespace cconvert::detail
