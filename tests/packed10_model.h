// An independent model of the 10-bit transport layouts for the tests, written
// from the rules rather than from the library's code: packed10 is a most-
// significant-bit-first stream of 10-bit samples in 2vuy order; v210 keeps
// three samples per little-endian word at bits 0, 10 and 20.
#ifndef CCONVERT_TESTS_PACKED10_MODEL_H
#define CCONVERT_TESTS_PACKED10_MODEL_H

#include <cstdint>
#include <cstring>
#include <vector>

namespace cconvert::test::model {

inline std::vector<unsigned char> pack_stream(const std::vector<std::uint16_t>& samples) {
    std::vector<unsigned char> bytes((samples.size() * 10 + 7) / 8, 0);
    std::size_t bit = 0;
    for (std::uint16_t sample : samples)
        for (int b = 9; b >= 0; --b, ++bit)
            if ((sample >> b) & 1) bytes[bit / 8] |= static_cast<unsigned char>(0x80 >> (bit % 8));
    return bytes;
}

// count samples from the stream at bytes, starting at bit first_bit; bits
// at or past available_bytes (when given) read as 0.
inline std::vector<std::uint16_t> unpack_stream(const unsigned char* bytes, std::size_t count,
                                                std::size_t first_bit = 0,
                                                std::size_t available_bytes = SIZE_MAX) {
    std::vector<std::uint16_t> samples(count, 0);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t b = 0; b < 10; ++b) {
            const std::size_t bit = first_bit + 10 * i + b;
            const int value = bit / 8 < available_bytes ? (bytes[bit / 8] >> (7 - bit % 8)) & 1 : 0;
            samples[i] = static_cast<std::uint16_t>(samples[i] << 1 | value);
        }
    return samples;
}

inline std::uint32_t word_at(const unsigned char* bytes, std::size_t index) {
    std::uint32_t word;
    std::memcpy(&word, bytes + 4 * index, 4);
    return word;
}

// Sample s (stream order Cb0 Y0 Cr0 Y1 ...) of a v210 line.
inline std::uint16_t v210_sample(const unsigned char* line, std::size_t s) {
    return static_cast<std::uint16_t>((word_at(line, s / 3) >> (10 * (s % 3))) & 0x3FF);
}

inline std::vector<unsigned char> v210_from_samples(const std::vector<std::uint16_t>& samples) {
    std::vector<unsigned char> bytes(samples.size() / 3 * 4);
    for (std::size_t w = 0; w < samples.size() / 3; ++w) {
        const std::uint32_t word = samples[3 * w] | samples[3 * w + 1] << 10 | samples[3 * w + 2] << 20;
        std::memcpy(bytes.data() + 4 * w, &word, 4);
    }
    return bytes;
}

inline std::vector<std::uint16_t> samples_from_v210(const unsigned char* bytes, std::size_t groups) {
    std::vector<std::uint16_t> samples;
    for (std::size_t s = 0; s < 12 * groups; ++s) samples.push_back(v210_sample(bytes, s));
    return samples;
}

// The default v210 row: 128 bytes for every 48 pixels or part of 48.
inline std::size_t v210_pitch(std::size_t width) { return 128 * ((width + 47) / 48); }

}  // namespace cconvert::test::model

#endif
