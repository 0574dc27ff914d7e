// Indexed colour: 8-bit indices through a palette, and the run-length
// streams of 4-bit and 8-bit indices of bottom-up bitmaps.
//
// A stream is a run of two-byte codes (first, second):
//   first n >= 1      encoded run of n pixels: colour second (8-bit
//                     indices), or the high and low nibbles of second by
//                     turns, high first (4-bit indices);
//   0, 0              end of line: on at the start of the row above;
//   0, 1              end of bitmap;
//   0, 2              delta, which these decoders do not take: it ends the
//                     decoding as end of bitmap does;
//   0, n >= 3         absolute run: n indices follow (bytes, or nibbles high
//                     first), padded so that the next code starts at an even
//                     offset from the start of the indices.
// The streams come from files and are trusted as they stand: the decoders
// check neither the indices against the palette nor the stream's length.
#include <cstdint>
#include <cstring>

#include "cconvert/rgb.h"
#include "frame/shim_protocol.h"
#include "rgb/row_walk.h"

namespace cconvert::detail {

namespace {

enum class IndexBits { four, eight };

constexpr unsigned char kEndOfLine = 0, kEndOfBitmap = 1, kDelta = 2;

// Index i of an encoded run of 4-bit indices with code byte v.
unsigned encoded_nibble(unsigned v, unsigned i) { return i % 2 == 0 ? v >> 4 : v & 0x0F; }

// Index i of the literal data of an absolute run.
template <IndexBits Bits>
unsigned literal_index(const unsigned char* literal, unsigned i) {
    if constexpr (Bits == IndexBits::eight) return literal[i];
    return i % 2 == 0 ? literal[i / 2] >> 4 : literal[i / 2] & 0x0F;
}

// The bytes an absolute run of n indices takes, padding included.
template <IndexBits Bits>
std::size_t literal_bytes(unsigned n) {
    const std::size_t bytes = Bits == IndexBits::eight ? n : (n + 1) / 2;
    return bytes + (bytes & 1);
}

// The position in the current output row; rows go upwards from the bottom one.
struct RowCursor {
    unsigned char* row;
    long pitch;
    long x = 0;

    void next_row() {
        row -= pitch;
        x = 0;
    }
};

// Writes palette colours into rows of width pixels, dropping those that fall
// beyond the row's end. EntryBytes: 3 (rgb24 palette) or 4 (rgba32 palette:
// its bytes 0 to 2 are copied and the alpha is 0).
template <std::size_t PixelBytes, std::size_t EntryBytes>
class ClippedRows {
public:
    ClippedRows(unsigned char* bottom_row, long pitch, long width, const unsigned char* palette)
        : cursor_{bottom_row, pitch}, width_(width), palette_(palette) {}

    void next_row() { cursor_.next_row(); }

    template <class IndexOf>
    void run(unsigned count, IndexOf index_of) {
        for (unsigned i = 0; i < count; ++i, ++cursor_.x)
            if (cursor_.x < width_) put(cursor_.row + PixelBytes * cursor_.x, index_of(i));
    }

    void fill(unsigned count, unsigned index) {
        run(count, [index](unsigned) { return index; });
    }

private:
    void put(unsigned char* pixel, unsigned index) const {
        std::memcpy(pixel, palette_ + EntryBytes * index, 3);
        if constexpr (PixelBytes == 4) pixel[3] = 0;
    }

    RowCursor cursor_;
    long width_;
    const unsigned char* palette_;
};

// rgba32 without clipping: every run is written whole, an encoded run of
// 8-bit indices as one fill of its colour offered to the fill shims.
class UnclippedRgba32Rows {
public:
    UnclippedRgba32Rows(unsigned char* bottom_row, long pitch, const unsigned char* palette)
        : cursor_{bottom_row, pitch}, palette_(palette) {}

    void next_row() { cursor_.next_row(); }

    template <class IndexOf>
    void run(unsigned count, IndexOf index_of) {
        for (unsigned i = 0; i < count; ++i, ++cursor_.x) store(cursor_.x, colour(index_of(i)));
    }

    void fill(unsigned count, unsigned index) {
        const std::uint32_t value = colour(index);
        unsigned char* at = cursor_.row + 4 * cursor_.x;
        if (!offered_to_shims(cconvert_fill_dword_arm, cconvert_fill_dword_intel, static_cast<void*>(at), value, count))
            for (unsigned i = 0; i < count; ++i) store(cursor_.x + i, value);
        cursor_.x += count;
    }

private:
    // The palette entry's bytes 0 to 2 with alpha 0, as a little-endian value.
    std::uint32_t colour(unsigned index) const {
        const unsigned char* entry = palette_ + 4 * index;
        return std::uint32_t{entry[0]} | std::uint32_t{entry[1]} << 8 | std::uint32_t{entry[2]} << 16;
    }

    void store(long x, std::uint32_t value) const {
        const unsigned char bytes[4] = {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                                        static_cast<unsigned char>(value >> 16), 0};
        std::memcpy(cursor_.row + 4 * x, bytes, 4);
    }

    RowCursor cursor_;
    const unsigned char* palette_;
};

// Decodes codes until `rows` ends of line, an end of bitmap or a delta.
template <IndexBits Bits, class Rows>
void decode(const unsigned char* stream, long rows, Rows& out) {
    long lines_ended = 0;
    for (;;) {
        const unsigned first = stream[0], second = stream[1];
        stream += 2;
        if (first != 0) {
            if constexpr (Bits == IndexBits::eight)
                out.fill(first, second);
            else
                out.run(first, [second](unsigned i) { return encoded_nibble(second, i); });
        } else if (second == kEndOfLine) {
            if (++lines_ended >= rows) return;
            out.next_row();
        } else if (second == kEndOfBitmap || second == kDelta) {
            return;
        } else {
            const unsigned char* literal = stream;
            out.run(second, [literal](unsigned i) { return literal_index<Bits>(literal, i); });
            stream += literal_bytes<Bits>(second);
        }
    }
}

template <IndexBits Bits, std::size_t PixelBytes, std::size_t EntryBytes>
void decode_clipped(void* destination, long destination_pitch, const void* stream, long width, long height,
                    const void* palette) {
    if (height == 0) return;
    const long rows = rows_in(height);
    ClippedRows<PixelBytes, EntryBytes> out(row_start(destination, destination_pitch, rows - 1), destination_pitch,
                                            width, static_cast<const unsigned char*>(palette));
    decode<Bits>(static_cast<const unsigned char*>(stream), rows, out);
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

void ccnvt_rgb8_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                       long width, long height, const void* palette) {
    if (height == 0 || width < 1) return;
    const auto* entries = static_cast<const unsigned char*>(palette);
    for (long k = 0; k < rows_in(height); ++k) {
        unsigned char* out = row_start(destination, destination_pitch, k);
        const unsigned char* indices = row_start(source, source_pitch, k);
        for (long x = 0; x < width; ++x) std::memcpy(out + 4 * x, entries + 4 * indices[x], 4);
    }
}

void ccnvt_rle8_rgb24(void* destination, long destination_pitch, const void* source, long, long width, long height,
                      const void* palette) {
    decode_clipped<IndexBits::eight, 3, 3>(destination, destination_pitch, source, width, height, palette);
}

void ccnvt_rle4_rgb24(void* destination, long destination_pitch, const void* source, long, long width, long height,
                      const void* palette) {
    decode_clipped<IndexBits::four, 3, 3>(destination, destination_pitch, source, width, height, palette);
}

void ccnvt_rle4_rgba32(void* destination, long destination_pitch, const void* source, long, long width, long height,
                       const void* palette) {
    decode_clipped<IndexBits::four, 4, 4>(destination, destination_pitch, source, width, height, palette);
}

// No clipping, and the bottom row is found from the height as passed.
void ccnvt_rle8_rgba32(void* destination, long destination_pitch, const void* source, long, long, long height,
                       const void* palette) {
    if (height == 0) return;
    UnclippedRgba32Rows out(row_start(destination, destination_pitch, height - 1), destination_pitch,
                            static_cast<const unsigned char*>(palette));
    decode<IndexBits::eight>(static_cast<const unsigned char*>(source), rows_in(height), out);
}

// ---- older names ----

void ccnvt_rgb8_rgb32(void* d, long dp, const void* s, long sp, long w, long h, const void* palette) { ccnvt_rgb8_rgba32(d, dp, s, sp, w, h, palette); }
void ccnvt_rle8_rgb32(void* d, long dp, const void* s, long sp, long w, long h, const void* palette) { ccnvt_rle8_rgba32(d, dp, s, sp, w, h, palette); }
void ccnvt_rle4_rgb32(void* d, long dp, const void* s, long sp, long w, long h, const void* palette) { ccnvt_rle4_rgba32(d, dp, s, sp, w, h, palette); }
