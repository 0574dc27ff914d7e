// The ccnvt tool's check of RLE4 / RLE8 streams: what it refuses and where,
// the decoder calls it hands back, and that every stream it passes decodes
// inside the frame, with every library RLE decoder (the unclipped rle8 to
// rgba32 one included), to the picture a bitmap reader shows.
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/test_support.h"
// The unit under test lives in the tool; it has no dependencies of its own.
#include "rle_check.h"

namespace {

using ccnvt::check_rle_stream;
using ccnvt::RleCheck;
using Bytes = std::vector<unsigned char>;

RleCheck check(const Bytes& stream, std::uint32_t width, std::uint32_t height, unsigned bits,
               std::size_t entries = 256) {
    // Exactly the stream's bytes on the heap: a read past them is caught under ASan.
    std::unique_ptr<unsigned char[]> exact(new unsigned char[stream.size()]);
    std::copy(stream.begin(), stream.end(), exact.get());
    return check_rle_stream(exact.get(), stream.size(), width, height, bits, entries);
}

// ---- refused streams: the message and the byte it points at ----

struct Refused {
    const char* name;
    Bytes stream;
    std::uint32_t width, height;
    unsigned bits;
    std::size_t entries;
    const char* message;
    std::size_t offset;
};

std::vector<Refused> refused_streams() {
    return {
        {"empty", {}, 4, 2, 8, 256, "ends in row 0 from the bottom without an end of bitmap", 0},
        {"ends inside a code", {0x02, 0x01, 0x00}, 4, 2, 8, 256, "ends inside a code", 2},
        {"ends after a row", {0x04, 0x01, 0x00, 0x00}, 4, 2, 8, 256,
         "ends in row 1 from the bottom without an end of bitmap", 4},
        {"encoded run past the row", {0x03, 0x01, 0x02, 0x01}, 4, 2, 8, 256,
         "an encoded run of 2 pixels from pixel 3 goes past the end of row 0 from the bottom (4 pixels)", 2},
        {"encoded run past the row, 4-bit", {0x00, 0x00, 0x05, 0x11}, 4, 2, 4, 16,
         "an encoded run of 5 pixels from pixel 0 goes past the end of row 1", 2},
        {"absolute run past the row", {0x01, 0x01, 0x00, 0x04, 1, 1, 1, 1}, 4, 2, 8, 256,
         "an absolute run of 4 pixels from pixel 1 goes past the end of row 0", 2},
        {"absolute run without its padding", {0x00, 0x03, 1, 1, 1}, 4, 2, 8, 256,
         "an absolute run of 3 indices takes 4 bytes with its padding; the stream has 3 left", 0},
        {"absolute run cut short, 4-bit", {0x00, 0x00, 0x00, 0x05, 0x11, 0x11}, 8, 2, 4, 16,
         "an absolute run of 5 indices takes 4 bytes with its padding; the stream has 2 left", 2},
        {"delta without its bytes", {0x00, 0x02, 0x01}, 4, 2, 8, 256, "a delta's two bytes are missing", 0},
        {"delta past the row", {0x02, 0x01, 0x00, 0x02, 0x03, 0x00}, 4, 2, 8, 256,
         "a delta of 3 right and 0 up from pixel 2 of row 0 from the bottom goes past the end of the row (4 pixels)",
         2},
        {"delta above the frame", {0x00, 0x00, 0x00, 0x02, 0x00, 0x01}, 4, 2, 8, 256,
         "a delta of 0 right and 1 up from row 1 from the bottom goes above the top row (2 rows)", 2},
        {"encoded index beyond the palette", {0x02, 0x05}, 4, 2, 8, 5, "index 5 is beyond the palette's 5 entries", 1},
        {"second nibble beyond the palette", {0x02, 0x13}, 4, 2, 4, 2, "index 3 is beyond the palette's 2 entries", 1},
        {"absolute index beyond the palette", {0x00, 0x03, 1, 0, 9, 0}, 4, 2, 8, 4,
         "index 9 is beyond the palette's 4 entries", 4},
        {"absolute nibble beyond the palette", {0x00, 0x03, 0x10, 0x70}, 4, 2, 4, 4,
         "index 7 is beyond the palette's 4 entries", 3},
        {"not 4 or 8 bits", {0x00, 0x01}, 4, 2, 2, 4, "4- or 8-bit indices, not 2-bit", 0},
    };
}

TEST(RleCheck, RefusesWhatWouldReadOrWriteOutOfBounds) {
    for (const Refused& c : refused_streams()) {
        SCOPED_TRACE(c.name);
        const RleCheck result = check(c.stream, c.width, c.height, c.bits, c.entries);
        EXPECT_FALSE(result.ok);
        EXPECT_NE(result.error.find(c.message), std::string::npos) << result.error;
        EXPECT_EQ(result.error_offset, c.offset);
        EXPECT_TRUE(result.pieces.empty());
    }
}

// ---- accepted streams and their decoder calls ----

TEST(RleCheck, IndicesThatAreNotDrawnAreNotChecked) {
    // One pixel of 0x1F: the low nibble 15 is never drawn. An absolute run of
    // 3 nibbles leaves the low nibble of its second byte unused.
    EXPECT_TRUE(check({0x01, 0x1F, 0x00, 0x03, 0x11, 0x1F, 0x00, 0x01}, 4, 1, 4, 2).ok);
}

TEST(RleCheck, EndsAtTheLastRowsEndOfLineOrAnEndOfBitmap) {
    // The last row's end of line ends the decoding: what follows is never read.
    const RleCheck lines = check({0x02, 0x01, 0x00, 0x00, 0x02, 0x02, 0x00, 0x00, 0xFF}, 2, 2, 8);
    ASSERT_TRUE(lines.ok) << lines.error;
    ASSERT_EQ(lines.pieces.size(), 1u);
    EXPECT_EQ(lines.pieces[0].rows(2), 2u);
    EXPECT_TRUE(check({0x02, 0x01, 0x00, 0x01}, 2, 2, 8).ok);  // rows left as they are
    EXPECT_TRUE(check({0x00, 0x00, 0x00, 0x01}, 2, 2, 8).ok);
    EXPECT_TRUE(check({}, 2, 0, 8).ok);  // no rows: the decoders read nothing
    EXPECT_TRUE(check({0x04, 0x01, 0x00, 0x00, 0x00, 0x01}, 4, 2, 8).ok);  // a run up to the row's end
}

TEST(RleCheck, DeltasSplitTheStreamIntoDecoderCalls) {
    const Bytes stream = {0x03, 0x01,              // row 0: three pixels
                          0x00, 0x02, 0x01, 0x01,  // delta to pixel 4 of row 1
                          0x02, 0x02,              // two pixels
                          0x00, 0x00,              // end of row 1
                          0x01, 0x03,              // row 2
                          0x00, 0x02, 0x00, 0x01,  // delta straight up to row 3, pixel 1
                          0x00, 0x01};
    const RleCheck result = check(stream, 6, 5, 8);
    ASSERT_TRUE(result.ok) << result.error;
    ASSERT_EQ(result.pieces.size(), 4u);
    // From the start up to the first delta, over every row.
    EXPECT_EQ(result.pieces[0].offset, 0u);
    EXPECT_EQ(result.pieces[0].row, 0u);
    EXPECT_EQ(result.pieces[0].column, 0u);
    EXPECT_EQ(result.pieces[0].rows(5), 5u);
    // Inside row 1: one row only, up to its end of line.
    EXPECT_EQ(result.pieces[1].offset, 6u);
    EXPECT_EQ(result.pieces[1].row, 1u);
    EXPECT_EQ(result.pieces[1].column, 4u);
    EXPECT_EQ(result.pieces[1].rows(5), 1u);
    // Row 2 from its start, over the rows left.
    EXPECT_EQ(result.pieces[2].offset, 10u);
    EXPECT_EQ(result.pieces[2].row, 2u);
    EXPECT_EQ(result.pieces[2].column, 0u);
    EXPECT_EQ(result.pieces[2].rows(5), 3u);
    EXPECT_EQ(result.pieces[3].offset, 16u);
    EXPECT_EQ(result.pieces[3].row, 3u);
    EXPECT_EQ(result.pieces[3].column, 1u);
}

// ---- random streams: whatever passes decodes inside the frame ----

#if defined(__SANITIZE_ADDRESS__)
constexpr int kRandomStreams = 300;
#else
constexpr int kRandomStreams = 3000;
#endif

// Mostly well-formed codes, with runs, deltas and indices that now and then
// go too far, and streams cut at random.
Bytes random_stream(std::mt19937& random, std::uint32_t width, std::uint32_t height, unsigned bits) {
    auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    const unsigned index_limit = bits == 8 ? 12 : 16;
    auto index_byte = [&] { return bits == 8 ? below(index_limit) : below(index_limit) << 4 | below(index_limit); };
    Bytes stream;
    const unsigned codes = 1 + below(3 * height + 4);
    for (unsigned c = 0; c < codes; ++c) {
        switch (below(9)) {
            case 0: case 1: case 2:
                stream.insert(stream.end(), {static_cast<unsigned char>(1 + below(width + 2)),
                                             static_cast<unsigned char>(index_byte())});
                break;
            case 3: case 4: {
                const unsigned n = 3 + below(width + 1);
                stream.insert(stream.end(), {0, static_cast<unsigned char>(n)});
                std::size_t data = bits == 8 ? n : (n + 1) / 2;
                data += data & 1;
                for (std::size_t i = 0; i < data; ++i) stream.push_back(static_cast<unsigned char>(index_byte()));
                break;
            }
            case 5: case 6: stream.insert(stream.end(), {0, 0}); break;
            case 7:
                stream.insert(stream.end(), {0, 2, static_cast<unsigned char>(below(width / 2 + 2)),
                                             static_cast<unsigned char>(below(2))});
                break;
            default: stream.push_back(static_cast<unsigned char>(below(256))); break;
        }
    }
    if (below(3) != 0) stream.insert(stream.end(), {0, 1});
    if (below(8) == 0) stream.resize(below(static_cast<unsigned>(stream.size()) + 1));
    return stream;
}

// A bitmap reader's picture: indices by (row from the bottom, pixel), -1
// where the stream draws nothing. Delta moves right and up.
std::vector<int> model_picture(const Bytes& s, std::uint32_t width, std::uint32_t height, unsigned bits) {
    std::vector<int> picture(std::size_t{width} * height, -1);
    std::size_t at = 0, row = 0, x = 0;
    auto put = [&](int index) { picture.at(row * width + x++) = index; };
    while (true) {
        const unsigned first = s.at(at), second = s.at(at + 1);
        at += 2;
        if (first != 0) {
            for (unsigned i = 0; i < first; ++i)
                put(bits == 8 ? second : i % 2 == 0 ? second >> 4 : second & 15);
        } else if (second == 0) {
            if (++row == height) break;
            x = 0;
        } else if (second == 1) {
            break;
        } else if (second == 2) {
            x += s.at(at);
            row += s.at(at + 1);
            at += 2;
        } else {
            for (unsigned i = 0; i < second; ++i)
                put(bits == 8 ? s.at(at + i) : i % 2 == 0 ? s.at(at + i / 2) >> 4 : s.at(at + i / 2) & 15);
            std::size_t data = bits == 8 ? second : (second + 1) / 2;
            at += data + (data & 1);
        }
    }
    return picture;
}

struct LibraryDecoder {
    const char* name;
    void (*decode)(void*, long, const void*, long, long, long, const void*);
    unsigned bits;
    std::size_t pixel_bytes;  // and palette entry bytes
};

TEST(RleCheck, StreamsItPassesDecodeInsideTheFrame) {
    const LibraryDecoder decoders[] = {
        {"rle8_rgb24", ccnvt_rle8_rgb24, 8, 3},
        {"rle8_rgba32 (unclipped)", ccnvt_rle8_rgba32, 8, 4},
        {"rle4_rgb24", ccnvt_rle4_rgb24, 4, 3},
        {"rle4_rgba32", ccnvt_rle4_rgba32, 4, 4},
    };
    constexpr std::size_t kEntries = 10;
    std::mt19937 random(2024);
    for (const LibraryDecoder& decoder : decoders) {
        SCOPED_TRACE(decoder.name);
        // Entry k is k + 1 in every byte; 0xEE marks the pixels nothing wrote.
        Bytes palette(kEntries * decoder.pixel_bytes);
        for (std::size_t i = 0; i < palette.size(); ++i)
            palette[i] = static_cast<unsigned char>(i / decoder.pixel_bytes + 1);
        int passed = 0;
        for (int n = 0; n < kRandomStreams; ++n) {
            const std::uint32_t width = 1 + random() % 9, height = 1 + random() % 5;
            const Bytes stream = random_stream(random, width, height, decoder.bits);
            const RleCheck result = check(stream, width, height, decoder.bits, kEntries);
            if (!result.ok) continue;
            ++passed;
            const long pitch = static_cast<long>(width * decoder.pixel_bytes);
            cconvert::test::GuardedBuffer frame(height * static_cast<std::size_t>(pitch), 0xEE);
            std::unique_ptr<unsigned char[]> exact(new unsigned char[stream.size()]);
            std::copy(stream.begin(), stream.end(), exact.get());
            for (const ccnvt::RlePiece& piece : result.pieces) {
                const std::uint32_t rows = piece.rows(height);
                unsigned char* destination =
                    frame.data() + (height - piece.row - rows) * pitch + piece.column * decoder.pixel_bytes;
                decoder.decode(destination, pitch, exact.get() + piece.offset, 0, width - piece.column, rows,
                               palette.data());
            }
            ASSERT_TRUE(frame.guards_intact()) << "stream " << n;
            const std::vector<int> expected = model_picture(stream, width, height, decoder.bits);
            for (std::uint32_t row = 0; row < height; ++row)
                for (std::uint32_t x = 0; x < width; ++x) {
                    const int index = expected[row * width + x];
                    // Rows from the bottom land from the end of the frame upwards.
                    const unsigned char* pixel = frame.data() + (height - 1 - row) * pitch + x * decoder.pixel_bytes;
                    const unsigned char colour = index < 0 ? 0xEE : static_cast<unsigned char>(index + 1);
                    ASSERT_EQ(pixel[0], colour) << "stream " << n << ", row " << row << ", pixel " << x;
                    ASSERT_EQ(pixel[2], colour);
                    if (decoder.pixel_bytes == 4) {
                        ASSERT_EQ(pixel[3], index < 0 ? 0xEE : 0);
                    }
                }
        }
        // The generator gives both kinds in fair numbers.
        EXPECT_GT(passed, kRandomStreams / 20);
        EXPECT_LT(passed, kRandomStreams * 19 / 20);
    }
}

}  // namespace
