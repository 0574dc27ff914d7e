// SSE-class kernels of the alpha <-> 2vuy operations: 8 pairs (16 pixels)
// per step.
#include <immintrin.h>

#include "alpha/alpha_kernels.h"
#include "frame/simd.h"
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

namespace {
// Cb and Cr (bytes 0 and 2 of a group) neutral, Y0 and Y1 zero.
CCNVT_TARGET_SSE
inline __m128i neutral_chroma() { return _mm_set1_epi16(0x80); }
}  // namespace

// Back to front: 8 alpha bytes per 16-byte store, interleaved under 0x80.
CCNVT_TARGET_SSE
void alpha_to_2vuy_sse(unsigned char* uyvy, const unsigned char* alpha, std::size_t pairs) {
    const __m128i chroma = _mm_set1_epi8(static_cast<char>(0x80));
    std::size_t k = pairs;
    for (; k >= 8; k -= 8) {
        const __m128i keys = load(alpha + 2 * (k - 8));
        store(uyvy + 4 * (k - 8) + 16, _mm_unpackhi_epi8(chroma, keys));
        store(uyvy + 4 * (k - 8), _mm_unpacklo_epi8(chroma, keys));
    }
    alpha_to_2vuy_pairs(uyvy, alpha, k);
}

CCNVT_TARGET_SSE
void luma_of_2vuy_sse(unsigned char* alpha, const unsigned char* uyvy, std::size_t pairs) {
    std::size_t k = 0;
    for (; k + 8 <= pairs; k += 8) {
        const __m128i low = _mm_srli_epi16(load(uyvy + 4 * k), 8);
        const __m128i high = _mm_srli_epi16(load(uyvy + 4 * k + 16), 8);
        store(alpha + 2 * k, _mm_packus_epi16(low, high));
    }
    luma_of_2vuy_pairs(alpha, uyvy, k, pairs);
}

CCNVT_TARGET_SSE
void strip_chroma_sse(unsigned char* to, const unsigned char* from, std::size_t pairs) {
    const __m128i luma = _mm_set1_epi16(static_cast<short>(0xFF00));
    auto strip = [&](std::size_t at) CCNVT_TARGET_SSE {
        store(to + at, _mm_or_si128(_mm_and_si128(load(from + at), luma), neutral_chroma()));
    };
    std::size_t k = 0;
    for (; k + 8 <= pairs; k += 8) {
        strip(4 * k);
        strip(4 * k + 16);
    }
    for (; k + 4 <= pairs; k += 4) strip(4 * k);
    strip_chroma_pairs(to, from, k, pairs);
}

}  // namespace cconvert::detail
