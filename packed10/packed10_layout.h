// The packed10 layout, written once: 10-bit 4:2:2 as one continuous stream of
// samples in 2vuy order (Cb0 Y0 Cr0 Y1 Cb2 Y2 ...), most significant bit
// first, cut into bytes from the top. Four samples (two pixels) make 40 bits,
// so every pixel pair owns exactly five bytes:
//
//     byte 0: Cb[9:2]
//     byte 1: Cb[1:0] Y0[9:4]
//     byte 2: Y0[3:0] Cr[9:6]
//     byte 3: Cr[5:0] Y1[9:8]
//     byte 4: Y1[7:0]
//
// This is the 10-bit 4:2:2 pixel group of SMPTE ST 2110-20. Three pairs (15
// bytes) hold the twelve samples of one v210 group in the same stream order.
//
// Also here: how one pair sits inside a v210 group, the partial-word writes
// that place a pair without disturbing its neighbours, and the default row
// sizes of the packed10 family.
#ifndef CCONVERT_PACKED10_PACKED10_LAYOUT_H
#define CCONVERT_PACKED10_PACKED10_LAYOUT_H

#include <cstdint>
#include <cstring>

#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

constexpr std::uint32_t kPacked10SampleBits = 10;
constexpr std::uint32_t kPacked10SamplesPerPair = 4;
constexpr std::uint32_t kPacked10PixelsPerPair = 2;
constexpr std::uint32_t kPacked10BytesPerPair = 5;
constexpr std::uint32_t kPacked10PairsPerV210Group = 3;
constexpr std::uint32_t kPacked10BytesPerV210Group = 15;

// Sample k (0..3) of a pair with bytes b is
//     (b[k] & GET_IN1_MASK[k]) << GET_IN1_INDICES[k]
//   | (b[k + 1] & GET_IN2_MASK[k]) >> GET_IN2_INDICES[k]:
// its high bits end byte k, its low bits start byte k + 1.
constexpr unsigned char GET_IN1_MASK[4] = {0xFF, 0x3F, 0x0F, 0x03};
constexpr unsigned char GET_IN1_INDICES[4] = {2, 4, 6, 8};
constexpr unsigned char GET_IN2_MASK[4] = {0xC0, 0xF0, 0xFC, 0xFF};
constexpr unsigned char GET_IN2_INDICES[4] = {6, 4, 2, 0};

inline std::uint16_t packed10_sample(const unsigned char* pair, std::uint32_t k) {
    return static_cast<std::uint16_t>(((pair[k] & GET_IN1_MASK[k]) << GET_IN1_INDICES[k]) |
                                      ((pair[k + 1] & GET_IN2_MASK[k]) >> GET_IN2_INDICES[k]));
}

// The four samples Cb, Y0, Cr, Y1 of the pair at pair.
inline void packed10_read_pair(const unsigned char* pair,
                               std::uint16_t samples[kPacked10SamplesPerPair]) {
    for (std::uint32_t k = 0; k < kPacked10SamplesPerPair; ++k) samples[k] = packed10_sample(pair, k);
}

// Writes the five bytes of a pair (samples 0..1023), the tables above run
// backwards. Every pair owns its five bytes, so writing them whole gives what
// merging each sample's bits into the bytes would.
inline void packed10_write_pair(unsigned char* pair,
                                const std::uint16_t samples[kPacked10SamplesPerPair]) {
    unsigned char bytes[kPacked10BytesPerPair] = {};
    for (std::uint32_t k = 0; k < kPacked10SamplesPerPair; ++k) {
        bytes[k] = static_cast<unsigned char>(bytes[k] |
                                              ((samples[k] >> GET_IN1_INDICES[k]) & GET_IN1_MASK[k]));
        bytes[k + 1] = static_cast<unsigned char>(
            bytes[k + 1] | ((samples[k] << GET_IN2_INDICES[k]) & GET_IN2_MASK[k]));
    }
    std::memcpy(pair, bytes, kPacked10BytesPerPair);
}

// ---- pairs inside v210 groups ----
// The pair whose first pixel is at position 0, 2 or 4 of a v210 group holds
// the group's stream samples 2 * position .. 2 * position + 3.

// Places one pair into a v210 group, touching only the pair's own fields, so
// that a group can be completed by later calls (segments whose boundaries fall
// inside a group). Bits 30-31 are cleared in each word written, except in
// word 1 when only its field 0 is written:
//   position 0: word 0 whole; word 1 bits 0-9 (the rest kept)
//   position 2: word 1 bits 10-29 (0-9 kept); word 2 bits 0-19 (20-29 kept)
//   position 4: word 2 bits 20-29 (0-19 kept); word 3 whole
inline void v210_merge_pair(unsigned char* group, std::uint32_t position,
                            const std::uint16_t s[kPacked10SamplesPerPair]) {
    unsigned char* word0 = group;
    unsigned char* word1 = group + 4;
    unsigned char* word2 = group + 8;
    unsigned char* word3 = group + 12;
    const std::uint32_t field0 = kV210FieldMask;
    const std::uint32_t fields01 = kV210FieldMask | kV210FieldMask << kV210FieldBits;
    const std::uint32_t field2 = kV210FieldMask << (2 * kV210FieldBits);
    switch (position) {
    case 0:
        store_le32(word0, v210_word(s[0], s[1], s[2]));
        store_le32(word1, (load_le32(word1) & ~field0) | s[3]);
        break;
    case 2:
        store_le32(word1, (load_le32(word1) & field0) | v210_word(0, s[0], s[1]));
        store_le32(word2, (load_le32(word2) & field2) | v210_word(s[2], s[3], 0));
        break;
    case 4:
        store_le32(word2, (load_le32(word2) & fields01) | v210_word(0, 0, s[0]));
        store_le32(word3, v210_word(s[1], s[2], s[3]));
        break;
    default:
        break;
    }
}

// ---- default row sizes of the packed10 family ----

// A packed10 row: (width * 5) / 2 bytes in signed 32-bit arithmetic,
// truncated; for an odd width this leaves out the last half pair.
inline int packed10_default_pitch(int width) {
    return static_cast<int>(static_cast<std::int32_t>(static_cast<std::uint32_t>(width) * 5u) / 2);
}

inline int uyvy_default_pitch(int width) {
    return static_cast<int>(static_cast<std::uint32_t>(width) * k2vuyBytesPerPixel);
}

// A v210 row: width * 8 / 3 when width is a multiple of 48, else
// (width / 48 + 1) * 128; that is 128 bytes for every 48 pixels or part of
// 48. Signed 32-bit arithmetic, as the drivers take their sizes.
inline int v210_default_pitch_of_packed10_family(int width) {
    const std::uint32_t bytes = width % 48 == 0
                                    ? static_cast<std::uint32_t>(
                                          static_cast<std::int32_t>(static_cast<std::uint32_t>(width) * 8u) / 3)
                                    : static_cast<std::uint32_t>(width / 48 + 1) * 128u;
    return static_cast<int>(bytes);
}

// The tight packed10 line of the whole-frame entry points: width * 20 / 8
// bytes in 32-bit unsigned arithmetic.
inline std::uint32_t packed10_line_bytes(std::uint32_t width) { return width * 20u / 8u; }

}  // namespace cconvert::detail

#endif
