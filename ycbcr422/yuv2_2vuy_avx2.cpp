// AVX2 kernel of the YUY2-ordered to 2vuy conversions: sixteen pixels (one
// 32-byte vector) per step, each two-byte unit in a 16-bit lane.
//
// The two integer divisions become multiplications by fixed-point
// reciprocals, exact for every byte value (the tests check all of them):
//   y * 219 / 255       == (y * 56285) >> 16          for y = 0..255
//   x * 224 / 254 + 16  == ((x * 57797) >> 16) + 16   for x = c - 1 = 0..254
#include <immintrin.h>

#include "frame/simd.h"
#include "ycbcr422/yuv2_2vuy_kernels.h"

namespace cconvert::detail {

CCNVT_TARGET_AVX2
void yuy2_order_to_2vuy_avx2(const unsigned char* source, unsigned char* destination, long pixels,
                             std::uint8_t chroma_flip) {
    const __m256i low_byte = _mm256_set1_epi16(0x00FF);
    const __m256i flip = _mm256_set1_epi16(chroma_flip);
    const __m256i one = _mm256_set1_epi16(1);
    const __m256i luma_scale = _mm256_set1_epi16(static_cast<short>(56285));
    const __m256i chroma_scale = _mm256_set1_epi16(static_cast<short>(57797));
    const __m256i studio_black = _mm256_set1_epi16(16);

    long p = 0;
    for (; p + 16 <= pixels; p += 16) {
        const __m256i units = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + 2 * p));
        const __m256i luma = _mm256_and_si256(units, low_byte);
        const __m256i chroma = _mm256_xor_si256(_mm256_srli_epi16(units, 8), flip);
        const __m256i chroma_less_one = _mm256_sub_epi16(_mm256_max_epu16(chroma, one), one);
        const __m256i studio_luma = _mm256_add_epi16(_mm256_mulhi_epu16(luma, luma_scale), studio_black);
        const __m256i studio_chroma =
            _mm256_add_epi16(_mm256_mulhi_epu16(chroma_less_one, chroma_scale), studio_black);
        // (chroma, luma) units: chroma in the low byte.
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + 2 * p),
                            _mm256_or_si256(studio_chroma, _mm256_slli_epi16(studio_luma, 8)));
    }
    yuy2_order_to_2vuy_portable(source + 2 * p, destination + 2 * p, pixels - p, chroma_flip);
}

}  // namespace cconvert::detail
