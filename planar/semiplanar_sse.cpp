// SSE-class kernel of the NV12 interleave: 16 pixels per step.
#include <immintrin.h>

#include "frame/simd.h"
#include "planar/semiplanar_kernels.h"

namespace cconvert::detail {

// Chroma pairs (Cb, Cr) and luma pairs (Y0, Y1) interleaved byte by byte
// give Cb Y0 Cr Y1.
CCNVT_TARGET_SSE
void interleave_nv12_sse(const unsigned char* luma, const unsigned char* chroma,
                         std::uint32_t pairs, unsigned char* uyvy) {
    std::uint32_t i = 0;
    for (; i + 8 <= pairs; i += 8) {
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(luma + 2 * i));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(chroma + 2 * i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(uyvy + 4 * i), _mm_unpacklo_epi8(c, y));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(uyvy + 4 * i + 16), _mm_unpackhi_epi8(c, y));
    }
    interleave_nv12_portable(luma + 2 * i, chroma + 2 * i, pairs - i, uyvy + 4 * i);
}

}  // namespace cconvert::detail
