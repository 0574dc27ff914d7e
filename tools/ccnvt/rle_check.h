// Checks a bitmap's RLE4 / RLE8 stream before the library decodes it.
//
// The library's decoders trust their stream: they know neither its length
// nor the palette's size, and the rgba32 RLE8 decoder writes runs past the
// row's end. The check walks the stream as the decoders do and refuses
// anything that would read past the stream or write outside the frame, so
// that the decoders only ever see streams they handle within bounds.
//
// The decoders stop at a delta code (0 2). A bitmap's delta moves the
// position right and up by its next two bytes, so the check hands back the
// stream in pieces: each piece is decoded by one decoder call that starts at
// the piece's position and stops at the piece's delta, end of bitmap, or
// last row.
#ifndef CCNVT_TOOL_RLE_CHECK_H
#define CCNVT_TOOL_RLE_CHECK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ccnvt {

// Where one decoder call starts. Rows count from the bottom of the picture,
// as the stream goes. A piece that starts at column 0 runs up to the
// remaining rows; one that starts inside a row (after a delta) covers the
// rest of that row only, as the decoder would start every later row at the
// same column.
struct RlePiece {
    std::size_t offset = 0;  // of the piece's first code in the stream
    std::uint32_t row = 0;
    std::uint32_t column = 0;

    // The height to give the decoder for this piece of a picture of `height` rows.
    std::uint32_t rows(std::uint32_t height) const { return column == 0 ? height - row : 1; }
};

struct RleCheck {
    bool ok = false;
    std::string error;         // what is wrong, when not ok
    std::size_t error_offset = 0;  // the byte of the stream it is at
    std::vector<RlePiece> pieces;  // the decoder calls, when ok
};

// The stream of bytes[0, length) for a width x height picture of `bits`
// (4 or 8) bits per index and a palette of palette_entries colours. Refused:
// a code, an absolute run's indices or padding, or a delta's two bytes that
// do not fit in the stream; a run that goes past the end of its row; a delta
// that moves past the end of the row or above the top row; an index at or
// beyond palette_entries; a stream that ends before an end of bitmap or the
// last row's end of line.
RleCheck check_rle_stream(const unsigned char* bytes, std::size_t length, std::uint32_t width,
                          std::uint32_t height, unsigned bits, std::size_t palette_entries);

}  // namespace ccnvt

#endif
