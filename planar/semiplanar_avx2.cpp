// AVX2 kernels of the semi-planar and 16-bit-container converters.
#include <immintrin.h>

#include <cstddef>

#include "frame/simd.h"
#include "planar/semiplanar_kernels.h"

namespace cconvert::detail {

namespace {

template <class T>
CCNVT_TARGET_AVX2 inline __m256i load(const T* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

template <class T>
CCNVT_TARGET_AVX2 inline void store(T* p, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// 32 chroma and 32 luma bytes (16 pixel pairs) to 64 bytes of 2vuy. The
// in-lane unpacks are fed lanes put in order first.
CCNVT_TARGET_AVX2
inline void interleave_32(__m256i y, __m256i c, unsigned char* uyvy) {
    y = _mm256_permute4x64_epi64(y, _MM_SHUFFLE(3, 1, 2, 0));
    c = _mm256_permute4x64_epi64(c, _MM_SHUFFLE(3, 1, 2, 0));
    store(uyvy, _mm256_unpacklo_epi8(c, y));
    store(uyvy + 32, _mm256_unpackhi_epi8(c, y));
}

// 32 words to their 32 high bytes, in order.
CCNVT_TARGET_AVX2
inline __m256i high_bytes_of(__m256i first16, __m256i second16) {
    const __m256i packed = _mm256_packus_epi16(_mm256_srli_epi16(first16, 8), _mm256_srli_epi16(second16, 8));
    return _mm256_permute4x64_epi64(packed, _MM_SHUFFLE(3, 1, 2, 0));
}

}  // namespace

CCNVT_TARGET_AVX2
void interleave_nv12_avx2(const unsigned char* luma, const unsigned char* chroma,
                          std::uint32_t pairs, unsigned char* uyvy) {
    std::uint32_t i = 0;
    for (; i + 16 <= pairs; i += 16) interleave_32(load(luma + 2 * i), load(chroma + 2 * i), uyvy + 4 * i);
    interleave_nv12_portable(luma + 2 * i, chroma + 2 * i, pairs - i, uyvy + 4 * i);
}

CCNVT_TARGET_AVX2
void interleave_nv10_avx2(const std::uint16_t* luma, const std::uint16_t* chroma,
                          std::uint32_t pairs, unsigned char* uyvy) {
    std::uint32_t i = 0;
    for (; i + 16 <= pairs; i += 16) {
        const __m256i y = high_bytes_of(load(luma + 2 * i), load(luma + 2 * i + 16));
        const __m256i c = high_bytes_of(load(chroma + 2 * i), load(chroma + 2 * i + 16));
        interleave_32(y, c, uyvy + 4 * i);
    }
    interleave_nv10_portable(luma + 2 * i, chroma + 2 * i, pairs - i, uyvy + 4 * i);
}

CCNVT_TARGET_AVX2
void shift_words_avx2(std::uint16_t* destination, const std::uint16_t* source, std::uint32_t count,
                      unsigned int shift) {
    const __m128i amount = _mm_cvtsi32_si128(static_cast<int>(shift));
    std::uint32_t i = 0;
    for (; i + 16 <= count; i += 16) store(destination + i, _mm256_sll_epi16(load(source + i), amount));
    shift_words_portable(destination + i, source + i, count - i, shift);
}

CCNVT_TARGET_AVX2
void interleave_words_avx2(std::uint16_t* destination, const std::uint16_t* first,
                           const std::uint16_t* second, std::uint32_t count, unsigned int shift) {
    const __m128i amount = _mm_cvtsi32_si128(static_cast<int>(shift));
    std::uint32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m256i a = _mm256_permute4x64_epi64(_mm256_sll_epi16(load(first + i), amount),
                                                   _MM_SHUFFLE(3, 1, 2, 0));
        const __m256i b = _mm256_permute4x64_epi64(_mm256_sll_epi16(load(second + i), amount),
                                                   _MM_SHUFFLE(3, 1, 2, 0));
        store(destination + 2 * std::size_t{i}, _mm256_unpacklo_epi16(a, b));
        store(destination + 2 * std::size_t{i} + 16, _mm256_unpackhi_epi16(a, b));
    }
    interleave_words_portable(destination + 2 * std::size_t{i}, first + i, second + i, count - i, shift);
}

// One v210 group from 12 Y210 words (Y0 Cb Y1 Cr ...): output word w is
// (a >> 6) | b << 4 | c << 14 of stream samples a, b, c. The words of output
// words 0-1 lie in bytes 0-11 of the group and those of words 2-3 in bytes
// 12-23: a dword permutation gives the low lane bytes 0-15 and the high lane
// bytes 8-23, and per-lane byte shuffles gather a, b and c as 32-bit values.
CCNVT_TARGET_AVX2
void y210_groups_to_v210_avx2(const unsigned char* y210, std::uint32_t groups, unsigned char* v210) {
    constexpr char Z = static_cast<char>(0x80);
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 2, 3, 4, 5);
    // Low lane (group bytes 0-15): words 0 (Cb0=2, Y0=0, Cr0=6) and 1 (Y1=4, Cb2=10, Y2=8).
    // High lane (group bytes 8-23, so byte b is group byte b + 8): words 2
    // (Cr2=14, Y3=12, Cb4=18) and 3 (Y4=16, Cr4=22, Y5=20), into dwords 2-3.
    const __m256i pick_a = _mm256_setr_epi8(2, 3, Z, Z, 4, 5, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z,
                                            Z, Z, Z, Z, Z, Z, Z, Z, 6, 7, Z, Z, 8, 9, Z, Z);
    const __m256i pick_b = _mm256_setr_epi8(0, 1, Z, Z, 10, 11, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z,
                                            Z, Z, Z, Z, Z, Z, Z, Z, 4, 5, Z, Z, 14, 15, Z, Z);
    const __m256i pick_c = _mm256_setr_epi8(6, 7, Z, Z, 8, 9, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z,
                                            Z, Z, Z, Z, Z, Z, Z, Z, 10, 11, Z, Z, 12, 13, Z, Z);
    const __m256i gather = _mm256_setr_epi32(0, 1, 6, 7, 0, 0, 0, 0);
    // The 32-byte load reads 8 bytes into the next group: keep one behind it.
    std::uint32_t g = 0;
    for (; g + 2 <= groups; ++g) {
        const __m256i in = _mm256_permutevar8x32_epi32(load(y210 + 24 * std::size_t{g}), lanes);
        const __m256i a = _mm256_srli_epi32(_mm256_shuffle_epi8(in, pick_a), 6);
        const __m256i b = _mm256_slli_epi32(_mm256_shuffle_epi8(in, pick_b), 4);
        const __m256i c = _mm256_slli_epi32(_mm256_shuffle_epi8(in, pick_c), 14);
        const __m256i words = _mm256_permutevar8x32_epi32(_mm256_or_si256(_mm256_or_si256(a, b), c), gather);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(v210 + 16 * std::size_t{g}), _mm256_castsi256_si128(words));
    }
    y210_groups_to_v210_portable(y210 + 24 * std::size_t{g}, groups - g, v210 + 16 * std::size_t{g});
}

CCNVT_TARGET_AVX2
void high_bytes_avx2(const unsigned char* words, std::uint32_t count, unsigned char* bytes) {
    std::uint32_t i = 0;
    for (; i + 32 <= count; i += 32)
        store(bytes + i, high_bytes_of(load(words + 2 * std::size_t{i}), load(words + 2 * std::size_t{i} + 32)));
    high_bytes_portable(words + 2 * std::size_t{i}, count - i, bytes + i);
}

}  // namespace cconvert::detail
