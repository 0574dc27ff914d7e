// AVX2 kernels of the 2vuy <-> v210 repackers: two v210 groups per 256-bit
// vector, one in each 128-bit lane, with the arithmetic of the SSE kernels,
// and four groups per step. Loads and stores stay inside the four groups.
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

// Two groups per vector, one in the low twelve bytes of each lane, packed as
// the SSE kernel packs one.
CCNVT_TARGET_AVX2
inline __m256i pack_two_groups(__m256i in) {
    const __m256i outer = broadcast_lanes(
        _mm_setr_epi8(0, Z, 2, Z, 3, Z, 5, Z, 6, Z, 8, Z, 9, Z, 11, Z));
    const __m256i middle = broadcast_lanes(
        _mm_setr_epi8(Z, 1, Z, Z, Z, 4, Z, Z, Z, 7, Z, Z, Z, 10, Z, Z));
    const __m256i scale = broadcast_lanes(_mm_setr_epi16(4, 64, 4, 64, 4, 64, 4, 64));
    const __m256i low_high = _mm256_mullo_epi16(_mm256_shuffle_epi8(in, outer), scale);
    const __m256i mid = _mm256_slli_epi32(_mm256_shuffle_epi8(in, middle), 4);
    return _mm256_or_si256(low_high, mid);
}

// Four groups (48 bytes of 2vuy) per step make 64 bytes of v210. Two 32-byte
// loads at offsets 0 and 16 cover the 48 bytes; a dword permutation gives
// each group a lane.
CCNVT_TARGET_AVX2
void pack_2vuy_to_v210_avx2(unsigned char* v210, const unsigned char* uyvy, std::uint32_t groups) {
    const __m256i first_order = _mm256_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5);   // bytes 0-23
    const __m256i second_order = _mm256_setr_epi32(2, 3, 4, 4, 5, 6, 7, 7);  // bytes 24-47

    std::uint32_t g = 0;
    for (; g + 4 <= groups; g += 4) {
        const __m256i first = _mm256_permutevar8x32_epi32(
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(uyvy)), first_order);
        const __m256i second = _mm256_permutevar8x32_epi32(
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(uyvy + 16)), second_order);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(v210), pack_two_groups(first));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(v210 + 32), pack_two_groups(second));
        uyvy += 4 * k2vuyBytesPerV210Group;
        v210 += 4 * kV210BytesPerGroup;
    }
    pack_2vuy_to_v210_portable(v210, uyvy, groups - g);
}

// Two groups per vector, as the SSE kernel does them: the twelve bytes of
// each lane end up in its dwords 0-2.
CCNVT_TARGET_AVX2
inline __m256i unpack_two_groups(__m256i in) {
    const __m256i shift_2_and_6 = broadcast_lanes(_mm_setr_epi16(
        1 << 14, 1 << 10, 1 << 14, 1 << 10, 1 << 14, 1 << 10, 1 << 14, 1 << 10));
    const __m256i outer = broadcast_lanes(
        _mm_setr_epi8(0, Z, 2, 4, Z, 6, 8, Z, 10, 12, Z, 14, Z, Z, Z, Z));
    const __m256i middle = broadcast_lanes(
        _mm_setr_epi8(Z, 1, Z, Z, 5, Z, Z, 9, Z, Z, 13, Z, Z, Z, Z, Z));
    const __m256i outer_bytes = _mm256_shuffle_epi8(_mm256_mulhi_epu16(in, shift_2_and_6), outer);
    const __m256i middle_bytes = _mm256_shuffle_epi8(_mm256_srli_epi32(in, 4), middle);
    return _mm256_or_si256(outer_bytes, middle_bytes);
}

// Four groups (64 bytes) per step make 48 bytes of 2vuy, stored as 32 + 16.
CCNVT_TARGET_AVX2
void unpack_v210_to_2vuy_avx2(unsigned char* uyvy, const unsigned char* v210, std::uint32_t groups) {
    // First pair: dwords 0-2 and 4-6 close up to 0-5. Second pair: its dwords
    // 2, 4, 5, 6 go to the low lane (bytes 32-47 of the output) and 0, 1 to
    // the top (bytes 24-31, blended over the first pair's unused dwords).
    const __m256i first_order = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    const __m256i second_order = _mm256_setr_epi32(2, 4, 5, 6, 3, 3, 0, 1);

    std::uint32_t g = 0;
    for (; g + 4 <= groups; g += 4) {
        const __m256i first = _mm256_permutevar8x32_epi32(
            unpack_two_groups(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(v210))), first_order);
        const __m256i second = _mm256_permutevar8x32_epi32(
            unpack_two_groups(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(v210 + 32))),
            second_order);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(uyvy), _mm256_blend_epi32(first, second, 0xC0));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(uyvy + 32), _mm256_castsi256_si128(second));
        uyvy += 4 * k2vuyBytesPerV210Group;
        v210 += 4 * kV210BytesPerGroup;
    }
    unpack_v210_to_2vuy_portable(uyvy, v210, groups - g);
}

}  // namespace cconvert::detail
