#include "formats.h"

#include <algorithm>
#include <cctype>

#include "errors.h"

namespace ccnvt {

std::size_t v210_row_bytes(std::uint32_t width) { return 128 * ((std::size_t{width} + 47) / 48); }

namespace {

std::size_t tight(std::size_t row_pitch, std::size_t row) { return row_pitch != 0 ? row_pitch : row; }

// kBytes bytes for every kPixels pixels.
template <std::size_t kBytes, std::size_t kPixels = 1>
std::size_t packed_row(std::uint32_t width) { return kBytes * std::size_t{width} / kPixels; }

template <std::size_t kBytes, std::size_t kPixels = 1>
std::size_t packed_frame(std::uint32_t width, std::uint32_t height, std::size_t row_pitch) {
    return tight(row_pitch, packed_row<kBytes, kPixels>(width)) * height;
}

std::size_t v210_frame(std::uint32_t width, std::uint32_t height, std::size_t row_pitch) {
    return tight(row_pitch, v210_row_bytes(width)) * height;
}

std::size_t no_row(std::uint32_t) { return 0; }

// Planar 4:2:0: a luma plane and chroma of a quarter of it, in samples of kBytes.
template <std::size_t kBytes>
std::size_t planar420_frame(std::uint32_t width, std::uint32_t height, std::size_t) {
    const std::size_t luma = std::size_t{width} * height;
    return kBytes * (luma + luma / 2);
}

std::string lower(std::string word) {
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return word;
}

}  // namespace

const std::vector<Format>& all_formats() {
    static const std::vector<Format> formats = {
        {"2vuy", {"uyvy", "yuv422_8"}, "8-bit 4:2:2, bytes Cb Y0 Cr Y1", 2, 1, packed_row<2>, packed_frame<2>},
        {"v210", {"yuv422_10"}, "10-bit 4:2:2, 6 pixels in four 32-bit words, rows of 128 bytes per 48 pixels",
         2, 1, v210_row_bytes, v210_frame},
        {"yuy2", {"yuyv"}, "8-bit 4:2:2, bytes Y0 Cb Y1 Cr", 2, 1, packed_row<2>, packed_frame<2>},
        {"i420", {}, "8-bit planar 4:2:0: Y, Cb, Cr planes", 2, 2, no_row, planar420_frame<1>},
        {"yv12", {}, "8-bit planar 4:2:0: Y, Cr, Cb planes", 2, 2, no_row, planar420_frame<1>},
        {"nv12", {}, "8-bit 4:2:0: Y plane, then interleaved Cb Cr", 2, 2, no_row, planar420_frame<1>},
        {"nv10", {}, "10-bit 4:2:0 in 16-bit words (value in the high bits): Y plane, then interleaved Cb Cr",
         2, 2, no_row, planar420_frame<2>},
        {"420p10", {}, "10-bit planar 4:2:0 in 16-bit words (value in the low bits)", 2, 2, no_row, planar420_frame<2>},
        {"420p12", {}, "12-bit planar 4:2:0 in 16-bit words (value in the low bits)", 2, 2, no_row, planar420_frame<2>},
        {"420p16", {}, "16-bit planar 4:2:0 in 16-bit words", 2, 2, no_row, planar420_frame<2>},
        {"nv12p16", {}, "4:2:0 in 16-bit words scaled to 16 bits: Y plane, then interleaved Cb Cr", 2, 2, no_row,
         planar420_frame<2>},
        {"y210", {}, "10-bit 4:2:2 in 16-bit words Y0 Cb Y1 Cr (value in the high bits)", 2, 1, packed_row<4>,
         packed_frame<4>},
        {"yuv2", {"yuvu"}, "8-bit 4:2:2, bytes Y0 Cb Y1 Cr, full-range luma, chroma signed around 0", 2, 1,
         packed_row<2>, packed_frame<2>},
        {"yuvs", {}, "8-bit 4:2:2, bytes Y0 Cb Y1 Cr, full-range luma, chroma around 128", 2, 1, packed_row<2>,
         packed_frame<2>},
        {"yuv444", {}, "8-bit 4:4:4, bytes Y Cb Cr per pixel", 2, 1, packed_row<3>, packed_frame<3>},
        {"packed10", {"ycbcr10packed"},
         "10-bit 4:2:2, two pixels in five bytes, Cb Y0 Cr Y1 most significant bit first (ST 2110-20)", 2, 1,
         packed_row<5, 2>, packed_frame<5, 2>},
        {"rgba32", {"rgb32"}, "8-bit RGB with alpha, bytes B G R A (the value 0xAARRGGBB)", 1, 1, packed_row<4>,
         packed_frame<4>},
        {"bgra32", {}, "8-bit RGB with alpha, bytes R G B A", 1, 1, packed_row<4>, packed_frame<4>},
        {"rgb24", {}, "8-bit RGB, bytes B G R", 1, 1, packed_row<3>, packed_frame<3>},
        {"rgb48", {}, "16-bit RGB, little-endian words B G R", 1, 1, packed_row<6>, packed_frame<6>},
        {"rgba64", {}, "16-bit RGB with alpha, little-endian words B G R A", 1, 1, packed_row<8>, packed_frame<8>},
        {"rgb16", {"rgb555"}, "5-5-5 RGB in little-endian 16-bit words, red in bits 14-10", 1, 1, packed_row<2>,
         packed_frame<2>},
        {"rgb565", {"rgb16_565"}, "5-6-5 RGB in little-endian 16-bit words, red in bits 15-11", 1, 1,
         packed_row<2>, packed_frame<2>},
        {"rgbaf16", {}, "RGBA of IEEE half floats (little-endian binary16), R G B A, alpha 1.0; from 2vuy or v210, "
         "video range, BT.709 matrix above 1279x576, else BT.601", 1, 1, packed_row<8>, packed_frame<8>},
        {"rgbaf16pq", {}, "half-float RGBA from BT.709 video-range v210 (SDR) moved to BT.2020 and coded with "
         "ST 2084 (PQ), reference white 203 cd/m2 at about 0.58", 1, 1, packed_row<8>, packed_frame<8>},
        {"rgbaf16hlg", {}, "half-float RGBA from BT.709 video-range v210 (SDR) moved to BT.2020 and coded with HLG, "
         "reference white at about 0.75", 1, 1, packed_row<8>, packed_frame<8>},
        {"rgb24pq", {}, "rgb24 with every byte through the 8-bit ST 2084 (PQ) table; back to rgb24 through the "
         "8-bit PQ-to-video table (a curve onto 16..235)", 1, 1, packed_row<3>, packed_frame<3>},
        {"2vuypq", {}, "2vuy with the luma bytes through the 8-bit ST 2084 (PQ) table, chroma kept; back through "
         "the 8-bit PQ-to-video table", 2, 1, packed_row<2>, packed_frame<2>},
        {"v210pq", {}, "v210 re-coded by the library's 8-bit ST 2084 converters: three 10-bit positions of each "
         "word, taken one byte into the row (not the v210 samples)", 2, 1, v210_row_bytes, v210_frame},
        {"key8", {}, "8-bit key (alpha), one byte per pixel; to 2vuy as luma with chroma 128, to rgba32 as "
         "grey pixels with the key as alpha; from rgba32 it takes byte 0 (a grey pixel's level)", 1, 1,
         packed_row<1>, packed_frame<1>},
    };
    return formats;
}

const Format& format_named(const std::string& word) {
    const std::string wanted = lower(word);
    for (const Format& format : all_formats()) {
        if (format.name == wanted) return format;
        for (const std::string& alias : format.aliases)
            if (lower(alias) == wanted) return format;
    }
    throw UserError("unknown format '" + word + "' (see 'ccnvt formats')");
}

void check_size(const Format& format, std::uint32_t width, std::uint32_t height) {
    constexpr std::uint32_t kLargest = 16384;
    if (width == 0 || height == 0) throw UserError("the frame size must not be zero");
    if (width > kLargest || height > kLargest)
        throw UserError("the frame size " + std::to_string(width) + "x" + std::to_string(height) +
                        " is too large (at most " + std::to_string(kLargest) + " a side)");
    if (width % format.width_multiple != 0)
        throw UserError(format.name + " needs a width that is a multiple of " +
                        std::to_string(format.width_multiple) + ", not " + std::to_string(width));
    if (height % format.height_multiple != 0)
        throw UserError(format.name + " needs a height that is a multiple of " +
                        std::to_string(format.height_multiple) + ", not " + std::to_string(height));
}

}  // namespace ccnvt
