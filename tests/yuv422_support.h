// Helpers of the 4:2:2, planar and YCbCr-to-RGB suites: the feature words
// that select distinct kernels, and v210 words read and written by hand.
#ifndef CCONVERT_TESTS_YUV422_SUPPORT_H
#define CCONVERT_TESTS_YUV422_SUPPORT_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "support/test_support.h"

namespace cconvert::test {

// Sanitized builds sample the longest sweeps.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

// One word per kernel a converter can pick: portable, SSE (if the family has it), AVX2.
inline std::vector<unsigned int> kernel_choices(bool with_sse = true) {
    std::vector<unsigned int> words;
    for (unsigned int word : feature_words_to_test())
        if (word == 0 || word == 0x800000 || (with_sse && word == 0x8000)) words.push_back(word);
    return words;
}

// Widths 1 to 40, around the 16/32/64-pixel vector blocks, and one wide row.
inline std::vector<std::uint32_t> widths_to_test(std::uint32_t wide = 1920) {
    std::vector<std::uint32_t> widths = {47, 48, 49, 63, 64, 65, 95, 96, 97, wide};
    for (std::uint32_t w = 1; w <= 40; ++w) widths.push_back(w);
    return widths;
}

inline std::uint32_t load32(const unsigned char* bytes, std::size_t index) {
    std::uint32_t word;
    std::memcpy(&word, bytes + 4 * index, 4);
    return word;
}
inline void store32(unsigned char* bytes, std::size_t index, std::uint32_t word) {
    std::memcpy(bytes + 4 * index, &word, 4);
}

// Sample k of a v210 row, in stream order Cb0 Y0 Cr0 Y1 Cb2 ...
inline int v210_sample(const unsigned char* row, long k) {
    return (load32(row + 16 * (k / 12), k % 12 / 3) >> (10 * (k % 3))) & 0x3FF;
}

// Three 10-bit fields in a v210 word (ORed in, unmasked).
inline std::uint32_t v210_word(int a, int b, int c) { return std::uint32_t(a | b << 10 | c << 20); }

// Packs samples in stream order (12 a group) as v210 words.
inline void pack_v210(const std::vector<int>& samples, unsigned char* out) {
    for (std::size_t w = 0; w < samples.size() / 3; ++w)
        store32(out, w, v210_word(samples[3 * w], samples[3 * w + 1], samples[3 * w + 2]));
}

}  // namespace cconvert::test

#endif
