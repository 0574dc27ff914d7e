// SSE-class kernels of the 2vuy <-> v210 repackers: one v210 group (six
// pixels) per 128-bit vector, four groups per step.
#include <immintrin.h>

#include "frame/simd.h"
#include "ycbcr422/v210_2vuy_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

namespace {

constexpr char Z = static_cast<char>(0x80);  // pshufb: write a zero byte

// Twelve 2vuy bytes s0..s11 make v210 word w from s[3w], s[3w+1], s[3w+2]:
// s[3w] << 2 | s[3w+1] << 12 | s[3w+2] << 22. The outer two samples are
// placed as 16-bit lanes and multiplied (by 4 and by 64: the upper lane's
// << 6 becomes << 22 of the word); the middle one goes to bits 8-15 and is
// shifted by 4. Reads 16 bytes for the 12 it uses.
CCNVT_TARGET_SSE
inline void pack_group(unsigned char* v210, const unsigned char* uyvy) {
    const __m128i outer = _mm_setr_epi8(0, Z, 2, Z, 3, Z, 5, Z, 6, Z, 8, Z, 9, Z, 11, Z);
    const __m128i middle = _mm_setr_epi8(Z, 1, Z, Z, Z, 4, Z, Z, Z, 7, Z, Z, Z, 10, Z, Z);
    const __m128i scale = _mm_setr_epi16(4, 64, 4, 64, 4, 64, 4, 64);
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(uyvy));
    const __m128i low_high = _mm_mullo_epi16(_mm_shuffle_epi8(in, outer), scale);
    const __m128i mid = _mm_slli_epi32(_mm_shuffle_epi8(in, middle), 4);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(v210), _mm_or_si128(low_high, mid));
}

// Word w gives bytes (w >> 2), (w >> 12), (w >> 22), each taken to 8 bits.
// A 16-bit high multiply shifts the word's low half right by 2 and its high
// half right by 6 (bytes 0 and 2 of the lane); a 32-bit shift by 4 puts
// w >> 12 in byte 1. Two byte shuffles gather the twelve bytes. Writes 16
// bytes for the 12 it owns; the next group's store covers the rest.
CCNVT_TARGET_SSE
inline void unpack_group(unsigned char* uyvy, const unsigned char* v210) {
    const __m128i shift_2_and_6 = _mm_setr_epi16(1 << 14, 1 << 10, 1 << 14, 1 << 10, 1 << 14,
                                                 1 << 10, 1 << 14, 1 << 10);
    const __m128i outer = _mm_setr_epi8(0, Z, 2, 4, Z, 6, 8, Z, 10, 12, Z, 14, Z, Z, Z, Z);
    const __m128i middle = _mm_setr_epi8(Z, 1, Z, Z, 5, Z, Z, 9, Z, Z, 13, Z, Z, Z, Z, Z);
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(v210));
    const __m128i outer_bytes = _mm_shuffle_epi8(_mm_mulhi_epu16(in, shift_2_and_6), outer);
    const __m128i middle_bytes = _mm_shuffle_epi8(_mm_srli_epi32(in, 4), middle);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(uyvy), _mm_or_si128(outer_bytes, middle_bytes));
}

}  // namespace

// Each group's 16-byte access on the 2vuy side runs 4 bytes into the next
// group, so a group takes the vector path only when another follows it.
CCNVT_TARGET_SSE
void pack_2vuy_to_v210_sse(unsigned char* v210, const unsigned char* uyvy, std::uint32_t groups) {
    std::uint32_t g = 0;
    for (; g + 5 <= groups; g += 4) {
        for (std::uint32_t k = 0; k < 4; ++k)
            pack_group(v210 + k * kV210BytesPerGroup, uyvy + k * k2vuyBytesPerV210Group);
        uyvy += 4 * k2vuyBytesPerV210Group;
        v210 += 4 * kV210BytesPerGroup;
    }
    for (; g + 2 <= groups; ++g) {
        pack_group(v210, uyvy);
        uyvy += k2vuyBytesPerV210Group;
        v210 += kV210BytesPerGroup;
    }
    pack_2vuy_to_v210_portable(v210, uyvy, groups - g);
}

CCNVT_TARGET_SSE
void unpack_v210_to_2vuy_sse(unsigned char* uyvy, const unsigned char* v210, std::uint32_t groups) {
    std::uint32_t g = 0;
    for (; g + 5 <= groups; g += 4) {
        for (std::uint32_t k = 0; k < 4; ++k)
            unpack_group(uyvy + k * k2vuyBytesPerV210Group, v210 + k * kV210BytesPerGroup);
        uyvy += 4 * k2vuyBytesPerV210Group;
        v210 += 4 * kV210BytesPerGroup;
    }
    for (; g + 2 <= groups; ++g) {
        unpack_group(uyvy, v210);
        uyvy += k2vuyBytesPerV210Group;
        v210 += kV210BytesPerGroup;
    }
    unpack_v210_to_2vuy_portable(uyvy, v210, groups - g);
}

}  // namespace cconvert::detail
