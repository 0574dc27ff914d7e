// The 16-bit RGB words: 5-5-5 (bit 15 zero, red 14-10, green 9-5, blue 4-0)
// and 5-6-5 (red 15-11, green 10-5, blue 4-0), and the ordered dither of the
// reducers.
#ifndef CCONVERT_RGB_RGB16_LAYOUT_H
#define CCONVERT_RGB_RGB16_LAYOUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace cconvert::detail {

inline std::uint16_t pack_555(unsigned blue, unsigned green, unsigned red) {
    return static_cast<std::uint16_t>((red >> 3) << 10 | (green >> 3) << 5 | blue >> 3);
}

inline std::uint16_t pack_565(unsigned blue, unsigned green, unsigned red) {
    return static_cast<std::uint16_t>((red >> 3) << 11 | (green >> 2) << 5 | blue >> 3);
}

// Fields shifted left by 3 with zero low bits (31 becomes 248); bit 15 is
// ignored.
inline std::uint8_t blue_of_555(std::uint16_t word) { return static_cast<std::uint8_t>((word & 0x1F) << 3); }
inline std::uint8_t green_of_555(std::uint16_t word) { return static_cast<std::uint8_t>((word >> 5 & 0x1F) << 3); }
inline std::uint8_t red_of_555(std::uint16_t word) { return static_cast<std::uint8_t>((word >> 10 & 0x1F) << 3); }

// The fields as bit ranges of an rgba32 pixel read as the little-endian
// value 0xAARRGGBB: (value >> shift) & mask puts each field in its place in
// the word. Vector kernels pack this way; the results equal pack_555/565.
struct Rgb16Fields {
    unsigned blue_shift, green_shift, red_shift;
    std::uint32_t blue_mask, green_mask, red_mask;
};
inline constexpr Rgb16Fields kFields555{3, 6, 9, 0x001F, 0x03E0, 0x7C00};
inline constexpr Rgb16Fields kFields565{3, 5, 8, 0x001F, 0x07E0, 0xF800};

// A 5-5-5 word as an rgba32 value with alpha 0: (word << shift) & mask for
// each channel.
struct Rgb16Expansion {
    unsigned blue_shift, green_shift, red_shift;
    std::uint32_t blue_mask, green_mask, red_mask;
};
inline constexpr Rgb16Expansion kExpand555{3, 6, 9, 0x0000F8, 0x00F800, 0xF80000};

// How a reducer packs one row: 5-5-5 or 5-6-5, and what the ordered dither
// adds to each channel. With D the dither entry of the pixel (row index & 3,
// pixel index & 3), blue and red get D >> 1 and green D >> 1, or D >> 2 in
// 5-6-5; each sum is clamped to 255.
struct Rgb16Packing {
    bool green_6_bits;
    bool dithered;
    // Byte 4 * (x & 3) + c is added to channel c (0 blue, 1 green, 2 red,
    // 3 alpha: always 0) of pixel x: the 16 bytes of four rgba32 pixels.
    alignas(16) unsigned char offsets[16];

    // dither_row: the four entries of the dither matrix for the row, or null.
    static Rgb16Packing for_row(bool green_6_bits, const unsigned char* dither_row) {
        Rgb16Packing packing{green_6_bits, dither_row != nullptr, {}};
        if (dither_row)
            for (unsigned column = 0; column < 4; ++column) {
                const unsigned d = dither_row[column];
                packing.offsets[4 * column + 0] = static_cast<unsigned char>(d >> 1);
                packing.offsets[4 * column + 1] = static_cast<unsigned char>(d >> (green_6_bits ? 2 : 1));
                packing.offsets[4 * column + 2] = static_cast<unsigned char>(d >> 1);
            }
        return packing;
    }

    const Rgb16Fields& fields() const { return green_6_bits ? kFields565 : kFields555; }

    // The word of pixel x of the row from its blue, green and red bytes.
    std::uint16_t pack(std::size_t x, unsigned blue, unsigned green, unsigned red) const {
        const unsigned char* add = offsets + 4 * (x & 3);
        blue = std::min(blue + add[0], 255u);
        green = std::min(green + add[1], 255u);
        red = std::min(red + add[2], 255u);
        return green_6_bits ? pack_565(blue, green, red) : pack_555(blue, green, red);
    }
};

}  // namespace cconvert::detail

#endif
