// The 16-bit-per-channel RGB pixels and how the deep converters move their
// channels.
//
// A pixel is three or four units, each a 16-bit word (little-endian, or
// big-endian in the argb64be layout) or a byte (the 8-bit layouts rgb24 and
// rgba32). Every deep converter makes output unit k of a pixel from input
// unit from[k] (kNoUnit: from 0), the bytes of a big-endian word exchanged
// first. What happens to the unit follows from the two shapes:
//   words to bytes (reduction):  byte = (word >> shift) cut to 8 bits;
//   bytes to words (widening):   word = (byte << shift) cut to 16 bits;
//   words to words (move):       word = word OR fill[k].
// No rounding, no clamping, no bit replication.
#ifndef CCONVERT_RGB_DEEP_RGB_LAYOUT_H
#define CCONVERT_RGB_DEEP_RGB_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace cconvert::detail {

enum class DeepShape : std::uint8_t { words3, words4, bytes3, bytes4 };

constexpr std::size_t units_of(DeepShape shape) {
    return shape == DeepShape::words3 || shape == DeepShape::bytes3 ? 3 : 4;
}
constexpr bool holds_words(DeepShape shape) {
    return shape == DeepShape::words3 || shape == DeepShape::words4;
}
constexpr std::size_t bytes_of(DeepShape shape) { return units_of(shape) * (holds_words(shape) ? 2 : 1); }

// from[k] for an output unit that reads nothing (and is 0 before its fill).
constexpr std::int8_t kNoUnit = -1;

enum class DeepOp { reduce, widen, move };

constexpr DeepOp op_of(DeepShape in, DeepShape out) {
    return holds_words(in) ? (holds_words(out) ? DeepOp::move : DeepOp::reduce) : DeepOp::widen;
}

struct DeepPattern {
    std::int8_t from[4];  // kNoUnit beyond the output's units
    bool big_endian_source;
    std::uint8_t shift;     // reductions and widenings: 0 to 31
    std::uint16_t fill[4];  // moves
};

// The shift between 8-bit samples and words holding `bits` significant bits:
// bits - 8, taken modulo 32 (a word shifted by 16 or more becomes 0).
inline std::uint8_t depth_shift(int bits) {
    return static_cast<std::uint8_t>((static_cast<unsigned int>(bits) - 8u) & 31u);
}

template <DeepShape In>
inline std::uint32_t read_unit(const unsigned char* pixel, int unit, bool big_endian) {
    if constexpr (holds_words(In)) {
        const unsigned char* word = pixel + 2 * unit;
        return big_endian ? std::uint32_t{word[0]} << 8 | word[1] : std::uint32_t{word[1]} << 8 | word[0];
    } else {
        return pixel[unit];
    }
}

template <DeepShape Out>
inline void write_unit(unsigned char* pixel, std::size_t unit, std::uint32_t value) {
    if constexpr (holds_words(Out)) {
        pixel[2 * unit] = static_cast<unsigned char>(value);
        pixel[2 * unit + 1] = static_cast<unsigned char>(value >> 8);
    } else {
        pixel[unit] = static_cast<unsigned char>(value);
    }
}

// One pixel. The whole source pixel is read before anything is written, so
// an output pixel that overlays its own input is made from the input as it was.
template <DeepShape In, DeepShape Out>
inline void convert_deep_pixel(unsigned char* out, const unsigned char* in, const DeepPattern& pattern) {
    unsigned char source[bytes_of(In)];
    std::memcpy(source, in, sizeof source);
    unsigned char result[bytes_of(Out)];
    for (std::size_t k = 0; k < units_of(Out); ++k) {
        const std::uint32_t unit =
            pattern.from[k] == kNoUnit ? 0 : read_unit<In>(source, pattern.from[k], pattern.big_endian_source);
        switch (op_of(In, Out)) {
            case DeepOp::reduce: write_unit<Out>(result, k, unit >> pattern.shift); break;
            case DeepOp::widen: write_unit<Out>(result, k, unit << pattern.shift); break;
            case DeepOp::move: write_unit<Out>(result, k, unit | pattern.fill[k]); break;
        }
    }
    std::memcpy(out, result, sizeof result);
}

// Pixels [first, last) of a row, in either direction.
template <DeepShape In, DeepShape Out>
inline void deep_pixels_front_to_back(unsigned char* destination, const unsigned char* source,
                                      std::size_t first, std::size_t last, const DeepPattern& pattern) {
    for (std::size_t x = first; x < last; ++x)
        convert_deep_pixel<In, Out>(destination + bytes_of(Out) * x, source + bytes_of(In) * x, pattern);
}

template <DeepShape In, DeepShape Out>
inline void deep_pixels_back_to_front(unsigned char* destination, const unsigned char* source,
                                      std::size_t first, std::size_t last, const DeepPattern& pattern) {
    for (std::size_t x = last; x-- > first;)
        convert_deep_pixel<In, Out>(destination + bytes_of(Out) * x, source + bytes_of(In) * x, pattern);
}

}  // namespace cconvert::detail

#endif
