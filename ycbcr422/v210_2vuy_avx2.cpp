// AVX2 kernels of the 2vuy <-> v210 repackers: two v210 groups per 256-bit
// vector, one in each 128-bit lane, with the arithmetic of the SSE kernels.
#include <immintrin.h>

#include "frame/simd.h"
#include "ycbcr422/v210_2vuy_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

namespace {
constexpr char Z = static_cast<char>(0x80);  // vpshufb: write a zero byte

CCNVT_TARGET_AVX2
inline __m256i broadcast_lanes(__m128i lane) { return _mm256_broadcastsi128_si256(lane); }
}  // namespace

CCNVT_TARGET_AVX2
void pack_2vuy_to_v210_avx2(unsigned char* v210, const unsigned char* uyvy, std::uint32_t groups) {
    const __m256i outer = broadcast_lanes(
        _mm_setr_epi8(0, Z, 2, Z, 3, Z, 5, Z, 6, Z, 8, Z, 9, Z, 11, Z));
    const __m256i middle = broadcast_lanes(
        _mm_setr_epi8(Z, 1, Z, Z, Z, 4, Z, Z, Z, 7, Z, Z, Z, 10, Z, Z));
    const __m256i scale = broadcast_lanes(_mm_setr_epi16(4, 64, 4, 64, 4, 64, 4, 64));

    // The second group's 16-byte load ends 4 bytes past its own 12: keep a
    // third group behind it.
    std::uint32_t g = 0;
    for (; g + 3 <= groups; g += 2) {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(uyvy));
        const __m128i second = _mm_loadu_si128(
            reinterpret_cast<const __m128i*>(uyvy + k2vuyBytesPerV210Group));
        const __m256i in = _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
        const __m256i low_high = _mm256_mullo_epi16(_mm256_shuffle_epi8(in, outer), scale);
        const __m256i mid = _mm256_slli_epi32(_mm256_shuffle_epi8(in, middle), 4);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(v210), _mm256_or_si256(low_high, mid));
        uyvy += 2 * k2vuyBytesPerV210Group;
        v210 += 2 * kV210BytesPerGroup;
    }
    pack_2vuy_to_v210_portable(v210, uyvy, groups - g);
}

CCNVT_TARGET_AVX2
void unpack_v210_to_2vuy_avx2(unsigned char* uyvy, const unsigned char* v210, std::uint32_t groups) {
    const __m256i shift_2_and_6 = broadcast_lanes(_mm_setr_epi16(
        1 << 14, 1 << 10, 1 << 14, 1 << 10, 1 << 14, 1 << 10, 1 << 14, 1 << 10));
    const __m256i outer = broadcast_lanes(
        _mm_setr_epi8(0, Z, 2, 4, Z, 6, 8, Z, 10, 12, Z, 14, Z, Z, Z, Z));
    const __m256i middle = broadcast_lanes(
        _mm_setr_epi8(Z, 1, Z, Z, 5, Z, Z, 9, Z, Z, 13, Z, Z, Z, Z, Z));
    // Each lane holds 12 bytes in dwords 0-2: close the gap between them.
    const __m256i close_gap = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);

    // The 32-byte store owns 24 bytes: keep a third group behind it.
    std::uint32_t g = 0;
    for (; g + 3 <= groups; g += 2) {
        const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(v210));
        const __m256i outer_bytes =
            _mm256_shuffle_epi8(_mm256_mulhi_epu16(in, shift_2_and_6), outer);
        const __m256i middle_bytes = _mm256_shuffle_epi8(_mm256_srli_epi32(in, 4), middle);
        const __m256i packed = _mm256_permutevar8x32_epi32(
            _mm256_or_si256(outer_bytes, middle_bytes), close_gap);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(uyvy), packed);
        uyvy += 2 * k2vuyBytesPerV210Group;
        v210 += 2 * kV210BytesPerGroup;
    }
    unpack_v210_to_2vuy_portable(uyvy, v210, groups - g);
}

}  // namespace cconvert::detail
