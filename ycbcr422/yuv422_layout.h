// The two packed 4:2:2 layouts the library is built on, written once.
//
// 2vuy: two pixels in four bytes, Cb Y0 Cr Y1 (Cb and Cr belong to both
// pixels). As a little-endian word: Cb bits 0-7, Y0 8-15, Cr 16-23, Y1 24-31.
//
// v210: six pixels in four little-endian 32-bit words, three 10-bit fields
// per word at bits 0-9, 10-19, 20-29 (bits 30-31 written 0, ignored on read):
//     word 0: Cb0 Y0  Cr0
//     word 1: Y1  Cb2 Y2
//     word 2: Cr2 Y3  Cb4
//     word 3: Y4  Cr4 Y5
// Read in order the twelve fields are the 2vuy sample sequence, so a group is
// "twelve samples in stream order" on both sides.
#ifndef CCONVERT_YCBCR422_YUV422_LAYOUT_H
#define CCONVERT_YCBCR422_YUV422_LAYOUT_H

#include <cstdint>
#include <cstring>

namespace cconvert::detail {

// ---- 2vuy ----
constexpr std::uint32_t k2vuyBytesPerPixel = 2;
constexpr std::uint32_t k2vuyBytesPerPair = 4;
// Byte offsets within a pair.
constexpr std::uint32_t k2vuyCb = 0, k2vuyY0 = 1, k2vuyCr = 2, k2vuyY1 = 3;

// ---- v210 ----
constexpr std::uint32_t kV210PixelsPerGroup = 6;
constexpr std::uint32_t kV210SamplesPerGroup = 12;
constexpr std::uint32_t kV210BytesPerGroup = 16;
constexpr std::uint32_t kV210FieldsPerWord = 3;
constexpr std::uint32_t kV210FieldBits = 10;
constexpr std::uint32_t kV210FieldMask = 0x3FF;
// The 2vuy bytes of one v210 group: its twelve samples at 8 bits.
constexpr std::uint32_t k2vuyBytesPerV210Group = kV210SamplesPerGroup;

inline std::uint32_t load_le32(const unsigned char* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);  // x86-64 is little-endian
    return word;
}

inline void store_le32(unsigned char* bytes, std::uint32_t word) {
    std::memcpy(bytes, &word, sizeof word);
}

// Groups in a row of width pixels: ceil(width / 6), without overflow.
inline std::uint32_t v210_groups(std::uint32_t width) {
    return width / kV210PixelsPerGroup + (width % kV210PixelsPerGroup != 0 ? 1 : 0);
}

// Field index (0, 1, 2) of a v210 word.
inline std::uint32_t v210_field(std::uint32_t word, std::uint32_t index) {
    return (word >> (kV210FieldBits * index)) & kV210FieldMask;
}

inline std::uint32_t v210_word(std::uint32_t field0, std::uint32_t field1, std::uint32_t field2) {
    return field0 | field1 << kV210FieldBits | field2 << (2 * kV210FieldBits);
}

// Unpacks the group at group_bytes into its twelve samples, in stream order.
inline void v210_read_group(const unsigned char* group_bytes,
                            std::uint16_t samples[kV210SamplesPerGroup]) {
    for (std::uint32_t w = 0; w < kV210SamplesPerGroup / kV210FieldsPerWord; ++w) {
        const std::uint32_t word = load_le32(group_bytes + 4 * w);
        for (std::uint32_t f = 0; f < kV210FieldsPerWord; ++f)
            samples[kV210FieldsPerWord * w + f] = static_cast<std::uint16_t>(v210_field(word, f));
    }
}

// Packs twelve samples (0..1023, stream order) into the group at group_bytes.
inline void v210_write_group(unsigned char* group_bytes,
                             const std::uint16_t samples[kV210SamplesPerGroup]) {
    for (std::uint32_t w = 0; w < kV210SamplesPerGroup / kV210FieldsPerWord; ++w) {
        const std::uint16_t* s = samples + kV210FieldsPerWord * w;
        store_le32(group_bytes + 4 * w, v210_word(s[0], s[1], s[2]));
    }
}

// ---- default v210 row pitches ----
// Three rules, each tied to its entry points; they disagree for some widths
// (1280: 3456, 3413 and 3456 bytes). All are 32-bit unsigned arithmetic.

// Writing v210 from 2vuy: (16 * w) / 6 rounded up to a multiple of 64.
inline std::uint32_t v210_default_pitch_for_writing(std::uint32_t width) {
    return ((16u * width) / 6u + 63u) & ~63u;
}

// Reading v210 into 2vuy: (16 * w) / 6, not rounded.
inline std::uint32_t v210_default_pitch_for_reading(std::uint32_t width) {
    return (16u * width) / 6u;
}

// The v210 side of a pitched (destination, pitch, source, pitch, ...) frame:
// 128 bytes for every 48 pixels or part of 48.
inline std::uint32_t v210_default_pitch_pitched(std::uint32_t width) {
    return 128u * (width / 48u + (width % 48u != 0 ? 1u : 0u));
}

}  // namespace cconvert::detail

#endif
