// A model of the 10-bit layouts written from the rules: packed10 is an MSB-first
// stream of 10-bit samples in 2vuy order; v210 keeps three samples per
// little-endian word at bits 0, 10, 20; 2vuy is that stream at eight bits.
#ifndef CCONVERT_TESTS_PACKED10_MODEL_H
#define CCONVERT_TESTS_PACKED10_MODEL_H

#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "support/test_support.h"

namespace cconvert::test::model {

using Samples = std::vector<std::uint16_t>;
using Bytes = std::vector<unsigned char>;

inline Bytes pack_stream(const Samples& samples) {
    Bytes bytes((samples.size() * 10 + 7) / 8, 0);
    std::size_t bit = 0;
    for (std::uint16_t sample : samples)
        for (int b = 9; b >= 0; --b, ++bit)
            if ((sample >> b) & 1) bytes[bit / 8] |= static_cast<unsigned char>(0x80 >> (bit % 8));
    return bytes;
}

// count samples from the stream at bytes, starting at bit first_bit; bits
// at or past available_bytes (when given) read as 0.
inline Samples unpack_stream(const unsigned char* bytes, std::size_t count, std::size_t first_bit = 0,
                             std::size_t available_bytes = SIZE_MAX) {
    Samples samples(count, 0);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t b = 0; b < 10; ++b) {
            const std::size_t bit = first_bit + 10 * i + b;
            const int value = bit / 8 < available_bytes ? (bytes[bit / 8] >> (7 - bit % 8)) & 1 : 0;
            samples[i] = static_cast<std::uint16_t>(samples[i] << 1 | value);
        }
    return samples;
}

// 2vuy bytes as 10-bit samples (two zero bits below) and back (top eight bits).
inline Samples widen(const unsigned char* bytes, std::size_t count) {
    Samples samples(count);
    for (std::size_t i = 0; i < count; ++i) samples[i] = static_cast<std::uint16_t>(bytes[i] * 4);
    return samples;
}

inline Bytes narrow(const Samples& samples) {
    Bytes bytes(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) bytes[i] = static_cast<unsigned char>(samples[i] >> 2);
    return bytes;
}

inline std::uint32_t word_at(const unsigned char* bytes, std::size_t index) {
    std::uint32_t word;
    std::memcpy(&word, bytes + 4 * index, 4);
    return word;
}

// Little-endian bytes of 32-bit words.
inline Bytes le_words(const std::vector<std::uint32_t>& words) {
    Bytes bytes(4 * words.size());
    if (!words.empty()) std::memcpy(bytes.data(), words.data(), bytes.size());
    return bytes;
}

// Sample s (stream order Cb0 Y0 Cr0 Y1 ...) of a v210 line.
inline std::uint16_t v210_sample(const unsigned char* line, std::size_t s) {
    return static_cast<std::uint16_t>((word_at(line, s / 3) >> (10 * (s % 3))) & 0x3FF);
}

inline Bytes v210_from_samples(const Samples& samples) {
    std::vector<std::uint32_t> words(samples.size() / 3);
    for (std::size_t w = 0; w < words.size(); ++w)
        words[w] = samples[3 * w] | samples[3 * w + 1] << 10 | samples[3 * w + 2] << 20;
    return le_words(words);
}

inline Samples samples_from_v210(const unsigned char* bytes, std::size_t groups) {
    Samples samples;
    for (std::size_t s = 0; s < 12 * groups; ++s) samples.push_back(v210_sample(bytes, s));
    return samples;
}

inline std::size_t groups_of(long width) { return width > 0 ? static_cast<std::size_t>(width + 5) / 6 : 0; }

// The default v210 row: 128 bytes for every 48 pixels or part of 48.
inline std::size_t v210_pitch(std::size_t width) { return 128 * ((width + 47) / 48); }

inline std::uint32_t be16(const unsigned char* p) { return static_cast<std::uint32_t>(p[0] << 8 | p[1]); }

// The row of line `line` of a frame: the same row, or for separate fields the
// first height / 2 lines on the odd rows and the rest on the even rows.
inline std::size_t row_of_line(std::size_t line, std::size_t height, bool fields) {
    if (!fields) return line;
    return line < height / 2 ? 2 * line + 1 : 2 * (line - height / 2);
}

// A test run once under each feature word this processor has.
class FeatureWordTest : public ::testing::TestWithParam<unsigned int> {
    ScopedCpuFeatures features_{GetParam()};
};

}  // namespace cconvert::test::model

#define CCNVT_UNDER_EVERY_FEATURE_WORD(suite)                                                       \
    INSTANTIATE_TEST_SUITE_P(FeatureWords, suite, ::testing::ValuesIn(cconvert::test::feature_words_to_test()), \
                             [](const auto& info) { return cconvert::test::feature_word_name(info.param); })

#endif
