#include "rle_check.h"

namespace ccnvt {

namespace {

constexpr unsigned char kEndOfLine = 0, kEndOfBitmap = 1, kDelta = 2;

// Walks the codes as the decoders read them, keeping the position they
// would write at: the row (from the bottom) and the pixel in it.
class StreamWalk {
public:
    StreamWalk(const unsigned char* bytes, std::size_t length, std::uint32_t width, std::uint32_t height,
               unsigned bits, std::size_t palette_entries)
        : bytes_(bytes), length_(length), width_(width), height_(height), bits_(bits),
          palette_entries_(palette_entries) {}

    RleCheck run() {
        if (bits_ != 4 && bits_ != 8) {
            refuse(0, "RLE streams hold 4- or 8-bit indices, not " + std::to_string(bits_) + "-bit");
            return result_;
        }
        if (height_ == 0) return done();  // the decoders do nothing
        start_piece(0);
        while (true) {
            if (at_ == length_)
                return refuse(at_, "the stream ends in " + row_text() + " without an end of bitmap");
            if (length_ - at_ < 2) return refuse(at_, "the stream ends inside a code");
            const std::size_t code = at_;
            const unsigned first = bytes_[code], second = bytes_[code + 1];
            at_ += 2;
            if (first != 0) {
                if (!encoded_run(code, first, second)) return result_;
            } else if (second == kEndOfLine) {
                if (row_ + 1 == height_) return done();  // the last row's end of line ends the decoding
                ++row_;
                x_ = 0;
                // A piece that started inside a row has been decoded as one row.
                if (piece_column_ != 0) start_piece(at_);
            } else if (second == kEndOfBitmap) {
                return done();
            } else if (second == kDelta) {
                if (!delta(code)) return result_;
            } else if (!absolute_run(code, second)) {
                return result_;
            }
        }
    }

private:
    RleCheck& refuse(std::size_t at, const std::string& what) {
        result_.ok = false;
        result_.error = what;
        result_.error_offset = at;
        result_.pieces.clear();
        return result_;
    }

    RleCheck& done() {
        result_.ok = true;
        return result_;
    }

    void start_piece(std::size_t offset) {
        RlePiece piece;
        piece.offset = offset;
        piece.row = static_cast<std::uint32_t>(row_);
        piece.column = static_cast<std::uint32_t>(x_);
        piece_column_ = piece.column;
        result_.pieces.push_back(piece);
    }

    std::string row_text() const { return "row " + std::to_string(row_) + " from the bottom"; }

    // Runs never reach past the row's end: the clipped decoders would drop
    // the pixels, the unclipped one would write them into the next row.
    bool fits_in_row(std::size_t code, unsigned count, const char* what) {
        if (x_ + count <= width_) return true;
        refuse(code, std::string(what) + " of " + std::to_string(count) + " pixels from pixel " +
                         std::to_string(x_) + " goes past the end of " + row_text() + " (" +
                         std::to_string(width_) + " pixels)");
        return false;
    }

    bool index_in_palette(std::size_t at, unsigned index) {
        if (index < palette_entries_) return true;
        refuse(at, "index " + std::to_string(index) + " is beyond the palette's " +
                       std::to_string(palette_entries_) + " entries");
        return false;
    }

    // n pixels of colour v (8 bits), or of v's high and low nibbles by turns.
    bool encoded_run(std::size_t code, unsigned n, unsigned v) {
        if (!fits_in_row(code, n, "an encoded run")) return false;
        if (bits_ == 8) {
            if (!index_in_palette(code + 1, v)) return false;
        } else {
            if (!index_in_palette(code + 1, v >> 4)) return false;
            if (n > 1 && !index_in_palette(code + 1, v & 0x0F)) return false;
        }
        x_ += n;
        return true;
    }

    // n literal indices, padded to an even number of bytes.
    bool absolute_run(std::size_t code, unsigned n) {
        const std::size_t data = bits_ == 8 ? n : (n + 1) / 2;
        const std::size_t padded = data + (data & 1);
        if (length_ - at_ < padded) {
            refuse(code, "an absolute run of " + std::to_string(n) + " indices takes " + std::to_string(padded) +
                             " bytes with its padding; the stream has " + std::to_string(length_ - at_) +
                             " left");
            return false;
        }
        if (!fits_in_row(code, n, "an absolute run")) return false;
        for (unsigned i = 0; i < n; ++i) {
            const std::size_t byte = at_ + (bits_ == 8 ? i : i / 2);
            const unsigned index = bits_ == 8 ? bytes_[byte] : (i % 2 == 0 ? bytes_[byte] >> 4 : bytes_[byte] & 0x0F);
            if (!index_in_palette(byte, index)) return false;
        }
        at_ += padded;
        x_ += n;
        return true;
    }

    // The decoder stops at the delta; the next piece starts dx right and dy up.
    bool delta(std::size_t code) {
        if (length_ - at_ < 2) {
            refuse(code, "a delta's two bytes are missing");
            return false;
        }
        const unsigned dx = bytes_[at_], dy = bytes_[at_ + 1];
        at_ += 2;
        const std::string move = "a delta of " + std::to_string(dx) + " right and " + std::to_string(dy) + " up";
        if (x_ + dx > width_) {
            refuse(code, move + " from pixel " + std::to_string(x_) + " of " + row_text() +
                             " goes past the end of the row (" + std::to_string(width_) + " pixels)");
            return false;
        }
        if (row_ + dy >= height_) {
            refuse(code, move + " from " + row_text() + " goes above the top row (" + std::to_string(height_) +
                             " rows)");
            return false;
        }
        x_ += dx;
        row_ += dy;
        start_piece(at_);
        return true;
    }

    const unsigned char* bytes_;
    std::size_t length_;
    std::uint64_t width_, height_;
    unsigned bits_;
    std::size_t palette_entries_;

    std::size_t at_ = 0;  // the next code
    std::uint64_t row_ = 0, x_ = 0;
    std::uint32_t piece_column_ = 0;
    RleCheck result_;
};

}  // namespace

RleCheck check_rle_stream(const unsigned char* bytes, std::size_t length, std::uint32_t width,
                          std::uint32_t height, unsigned bits, std::size_t palette_entries) {
    return StreamWalk(bytes, length, width, height, bits, palette_entries).run();
}

}  // namespace ccnvt
