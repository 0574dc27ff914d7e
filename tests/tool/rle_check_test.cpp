// The tool's RLE stream check: what it refuses and where, the decoder calls it hands
// back, and that what it passes decodes inside the frame with every library decoder.
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/test_support.h"
#include "rle_check.h"

namespace {

using ccnvt::RleCheck;
using Bytes = std::vector<unsigned char>;

// Exactly the stream's bytes on the heap, for ASan.
std::unique_ptr<unsigned char[]> exact_copy(const Bytes& stream) {
    std::unique_ptr<unsigned char[]> exact(new unsigned char[stream.size()]);
    std::copy(stream.begin(), stream.end(), exact.get());
    return exact;
}

RleCheck check(const Bytes& stream, std::uint32_t width, std::uint32_t height, unsigned bits,
               std::size_t entries = 256) {
    return ccnvt::check_rle_stream(exact_copy(stream).get(), stream.size(), width, height, bits, entries);
}

TEST(RleCheck, RefusesWhatWouldReadOrWriteOutOfBoundsAndSaysWhere) {
    const struct {
        Bytes stream;
        std::uint32_t width, bits, entries;
        const char* message;
        std::size_t offset;
    } cases[] = {  // two rows each
        {{}, 4, 8, 256, "ends in row 0 from the bottom without an end of bitmap", 0},
        {{0x02, 0x01, 0x00}, 4, 8, 256, "ends inside a code", 2},
        {{0x04, 0x01, 0x00, 0x00}, 4, 8, 256, "ends in row 1 from the bottom without an end of bitmap", 4},
        {{0x03, 0x01, 0x02, 0x01}, 4, 8, 256,
         "an encoded run of 2 pixels from pixel 3 goes past the end of row 0 from the bottom (4 pixels)", 2},
        {{0x00, 0x00, 0x05, 0x11}, 4, 4, 16, "an encoded run of 5 pixels from pixel 0 goes past the end of row 1", 2},
        {{0x01, 0x01, 0x00, 0x04, 1, 1, 1, 1}, 4, 8, 256,
         "an absolute run of 4 pixels from pixel 1 goes past the end of row 0", 2},
        {{0x00, 0x03, 1, 1, 1}, 4, 8, 256,
         "an absolute run of 3 indices takes 4 bytes with its padding; the stream has 3 left", 0},
        {{0x00, 0x00, 0x00, 0x05, 0x11, 0x11}, 8, 4, 16,
         "an absolute run of 5 indices takes 4 bytes with its padding; the stream has 2 left", 2},
        {{0x00, 0x02, 0x01}, 4, 8, 256, "a delta's two bytes are missing", 0},
        {{0x02, 0x01, 0x00, 0x02, 0x03, 0x00}, 4, 8, 256,
         "a delta of 3 right and 0 up from pixel 2 of row 0 from the bottom goes past the end of the row (4 pixels)", 2},
        {{0x00, 0x00, 0x00, 0x02, 0x00, 0x01}, 4, 8, 256,
         "a delta of 0 right and 1 up from row 1 from the bottom goes above the top row (2 rows)", 2},
        {{0x02, 0x05}, 4, 8, 5, "index 5 is beyond the palette's 5 entries", 1},
        {{0x02, 0x13}, 4, 4, 2, "index 3 is beyond the palette's 2 entries", 1},  // the second nibble
        {{0x00, 0x03, 1, 0, 9, 0}, 4, 8, 4, "index 9 is beyond the palette's 4 entries", 4},
        {{0x00, 0x03, 0x10, 0x70}, 4, 4, 4, "index 7 is beyond the palette's 4 entries", 3},
        {{0x00, 0x01}, 4, 2, 4, "4- or 8-bit indices, not 2-bit", 0},
    };
    for (const auto& c : cases) {
        const RleCheck result = check(c.stream, c.width, 2, c.bits, c.entries);
        EXPECT_FALSE(result.ok) << c.message;
        EXPECT_NE(result.error.find(c.message), std::string::npos) << result.error;
        EXPECT_EQ(result.error_offset, c.offset) << c.message;
        EXPECT_TRUE(result.pieces.empty()) << c.message;
    }
}

TEST(RleCheck, PassesStreamsThatStayInside) {
    // Undrawn nibbles are not checked: the low one of a 1-pixel run, the last of an odd absolute run.
    EXPECT_TRUE(check({0x01, 0x1F, 0x00, 0x03, 0x11, 0x1F, 0x00, 0x01}, 4, 1, 4, 2).ok);
    EXPECT_TRUE(check({0x02, 0x01, 0x00, 0x01}, 2, 2, 8).ok);  // rows left as they are
    EXPECT_TRUE(check({}, 2, 0, 8).ok);                        // no rows: the decoders read nothing
    EXPECT_TRUE(check({0x04, 0x01, 0x00, 0x00, 0x00, 0x01}, 4, 2, 8).ok);  // a run up to the row's end
    // The last row's end of line ends the decoding: what follows is not read.
    const RleCheck lines = check({0x02, 0x01, 0x00, 0x00, 0x02, 0x02, 0x00, 0x00, 0xFF}, 2, 2, 8);
    ASSERT_TRUE(lines.ok) << lines.error;
    ASSERT_EQ(lines.pieces.size(), 1u);
    EXPECT_EQ(lines.pieces[0].rows(2), 2u);
}

TEST(RleCheck, DeltasSplitTheStreamIntoDecoderCalls) {
    // Row 0: 3 pixels; delta to row 1 pixel 4; 2 pixels; end of line; row 2: 1 pixel;
    // delta up to row 3 pixel 1; end of bitmap.
    const Bytes stream = {3, 1, 0, 2, 1, 1, 2, 2, 0, 0, 1, 3, 0, 2, 0, 1, 0, 1};
    const RleCheck result = check(stream, 6, 5, 8);
    ASSERT_TRUE(result.ok) << result.error;
    // offset, row, column, rows: every row from the start, row 1 to its end of
    // line, row 2 on over the rows left, inside row 3.
    const std::uint32_t expected[][4] = {{0, 0, 0, 5}, {6, 1, 4, 1}, {10, 2, 0, 3}, {16, 3, 1, 1}};
    ASSERT_EQ(result.pieces.size(), 4u);
    for (int i = 0; i < 4; ++i) {
        const ccnvt::RlePiece& p = result.pieces[i];
        EXPECT_EQ((std::vector<std::uint32_t>{std::uint32_t(p.offset), p.row, p.column, p.rows(5)}),
                  (std::vector<std::uint32_t>(expected[i], expected[i] + 4)))
            << "piece " << i;
    }
}

// ---- random streams: whatever passes decodes inside the frame ----

#if defined(__SANITIZE_ADDRESS__)
constexpr int kRandomStreams = 300;
#else
constexpr int kRandomStreams = 3000;
#endif

// Mostly well-formed codes that now and then go too far; some streams cut.
Bytes random_stream(std::mt19937& random, std::uint32_t width, std::uint32_t height, unsigned bits) {
    auto below = [&](unsigned n) { return static_cast<unsigned char>(random() % n); };
    auto index_byte = [&] { return bits == 8 ? below(12) : static_cast<unsigned char>(below(16) << 4 | below(16)); };
    Bytes s;
    for (unsigned c = 0, codes = 1 + random() % (3 * height + 4); c < codes; ++c) {
        switch (below(9)) {
            case 0: case 1: case 2: s.insert(s.end(), {static_cast<unsigned char>(1 + below(width + 2)), index_byte()}); break;
            case 3: case 4: {
                const unsigned n = 3 + below(width + 1);
                s.insert(s.end(), {0, static_cast<unsigned char>(n)});
                const std::size_t data = bits == 8 ? n : (n + 1) / 2;
                for (std::size_t i = 0; i < data + (data & 1); ++i) s.push_back(index_byte());
                break;
            }
            case 5: case 6: s.insert(s.end(), {0, 0}); break;
            case 7: s.insert(s.end(), {0, 2, below(width / 2 + 2), below(2)}); break;
            default: s.push_back(below(256)); break;
        }
    }
    if (below(3) != 0) s.insert(s.end(), {0, 1});
    if (below(8) == 0) s.resize(random() % (s.size() + 1));
    return s;
}

// A bitmap reader's indices by (row from the bottom, pixel), -1 where nothing is drawn.
std::vector<int> model_picture(const Bytes& s, std::uint32_t width, std::uint32_t height, unsigned bits) {
    std::vector<int> picture(std::size_t{width} * height, -1);
    std::size_t at = 0, row = 0, x = 0;
    auto put = [&](int index) { picture.at(row * width + x++) = index; };
    auto nibble = [](unsigned byte, unsigned i) { return i % 2 == 0 ? byte >> 4 : byte & 15; };
    while (true) {
        const unsigned first = s.at(at), second = s.at(at + 1);
        at += 2;
        if (first != 0) {
            for (unsigned i = 0; i < first; ++i) put(bits == 8 ? second : nibble(second, i));
        } else if (second == 0) {
            if (++row == height) break;
            x = 0;
        } else if (second == 1) {
            break;
        } else if (second == 2) {  // right and up
            x += s.at(at);
            row += s.at(at + 1);
            at += 2;
        } else {
            for (unsigned i = 0; i < second; ++i) put(bits == 8 ? s.at(at + i) : nibble(s.at(at + i / 2), i));
            const std::size_t data = bits == 8 ? second : (second + 1) / 2;
            at += data + (data & 1);
        }
    }
    return picture;
}

TEST(RleCheck, StreamsItPassesDecodeInsideTheFrame) {
    const struct {
        const char* name;
        void (*decode)(void*, long, const void*, long, long, long, const void*);
        unsigned bits;
        std::size_t pixel_bytes;  // and palette entry bytes
    } decoders[] = {
        {"rle8_rgb24", ccnvt_rle8_rgb24, 8, 3},
        {"rle8_rgba32 (unclipped)", ccnvt_rle8_rgba32, 8, 4},
        {"rle4_rgb24", ccnvt_rle4_rgb24, 4, 3},
    };
    constexpr std::size_t kEntries = 10;
    std::mt19937 random(2024);
    for (const auto& decoder : decoders) {
        SCOPED_TRACE(decoder.name);
        // Entry k is k + 1 in every byte; 0xEE marks what nothing wrote.
        Bytes palette(kEntries * decoder.pixel_bytes);
        for (std::size_t i = 0; i < palette.size(); ++i) palette[i] = static_cast<unsigned char>(i / decoder.pixel_bytes + 1);
        int passed = 0;
        for (int n = 0; n < kRandomStreams; ++n) {
            const std::uint32_t width = 1 + random() % 9, height = 1 + random() % 5;
            const Bytes stream = random_stream(random, width, height, decoder.bits);
            const RleCheck result = check(stream, width, height, decoder.bits, kEntries);
            if (!result.ok) continue;
            ++passed;
            const long pitch = static_cast<long>(width * decoder.pixel_bytes);
            cconvert::test::GuardedBuffer frame(height * static_cast<std::size_t>(pitch), 0xEE);
            const auto exact = exact_copy(stream);
            for (const ccnvt::RlePiece& piece : result.pieces) {
                const std::uint32_t rows = piece.rows(height);
                decoder.decode(frame.data() + (height - piece.row - rows) * pitch + piece.column * decoder.pixel_bytes,
                               pitch, exact.get() + piece.offset, 0, width - piece.column, rows, palette.data());
            }
            ASSERT_TRUE(frame.guards_intact()) << "stream " << n;
            const std::vector<int> expected = model_picture(stream, width, height, decoder.bits);
            for (std::uint32_t row = 0; row < height; ++row)
                for (std::uint32_t x = 0; x < width; ++x) {
                    const int index = expected[row * width + x];
                    const unsigned char* pixel = frame.data() + (height - 1 - row) * pitch + x * decoder.pixel_bytes;
                    const unsigned char colour = index < 0 ? 0xEE : static_cast<unsigned char>(index + 1);
                    ASSERT_EQ(pixel[0], colour) << "stream " << n << ", row " << row << ", pixel " << x;
                    ASSERT_EQ(pixel[2], colour);
                    if (decoder.pixel_bytes == 4) { ASSERT_EQ(pixel[3], index < 0 ? 0xEE : 0); }
                }
        }
        EXPECT_GT(passed, kRandomStreams / 20);
        EXPECT_LT(passed, kRandomStreams * 19 / 20);
    }
}

}  // namespace
