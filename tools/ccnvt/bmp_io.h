// Windows BMP pictures with a palette (BITMAPFILEHEADER + BITMAPINFOHEADER
// or its longer versions): 1-, 4- and 8-bit indices uncompressed, and the
// RLE8 and RLE4 encodings, decoded by the library's palette and RLE decoders.
#ifndef CCNVT_TOOL_BMP_IO_H
#define CCNVT_TOOL_BMP_IO_H

#include <cstddef>
#include <string>

#include "frames.h"

namespace ccnvt {

struct BmpPicture {
    // Uncompressed pictures come out as rgba32 with alpha 255, RLE pictures
    // as rgb24. Pixels an RLE stream skips take palette entry 0.
    Frame frame;
    // How it was decoded, for -v: "bmp (RLE8) -> rgb24 (ccnvt_rle8_rgb24)".
    std::string decoding;
};

// The picture of a BMP file held in memory; UserError saying what is wrong
// (the header, the palette, the pixel data or the RLE stream, with the byte
// offset in the file).
BmpPicture decode_bmp(const unsigned char* bytes, std::size_t size);

// Reads and decodes a file; errors name it.
BmpPicture read_bmp(const std::string& path);

}  // namespace ccnvt

#endif
