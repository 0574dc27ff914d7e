// Palette and run-length decoding.
//
// The tests carry their own encoder (streams with every code type) and their
// own scalar decoder written from the rules; random streams, including runs
// that cross the row end, early ends of line, deltas and odd absolute runs,
// must decode to the same memory, bytes around the frame included.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/test_support.h"

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr int kRandomStreams = 60;
#else
constexpr int kRandomStreams = 600;
#endif

using Decoder = void (*)(void*, long, const void*, long, long, long, const void*);

struct DecoderCase {
    std::string name;
    Decoder decode;
    int index_bits;   // 4 or 8
    int pixel_bytes;  // 3 (rgb24, 3-byte palette entries) or 4 (rgba32, 4-byte entries)
    bool clips;       // pixels beyond the width are dropped
    bool start_from_signed_height;
};

std::vector<DecoderCase> decoders() {
    return {
        {"rle8_rgb24", ccnvt_rle8_rgb24, 8, 3, true, false},
        {"rle4_rgb24", ccnvt_rle4_rgb24, 4, 3, true, false},
        {"rle4_rgba32", ccnvt_rle4_rgba32, 4, 4, true, false},
        {"rle8_rgba32", ccnvt_rle8_rgba32, 8, 4, false, true},
        {"rle4_rgb32", ccnvt_rle4_rgb32, 4, 4, true, false},
        {"rle8_rgb32", ccnvt_rle8_rgb32, 8, 4, false, true},
    };
}

// ---- streams ----

class Stream {
public:
    Stream& encoded(unsigned count, unsigned value) { return code(count, value); }
    Stream& end_of_line() { return code(0, 0); }
    Stream& end_of_bitmap() { return code(0, 1); }
    Stream& delta(unsigned right, unsigned up) { return code(0, 2).code(right, up); }
    // n >= 3 indices, bytes or nibbles high first, padded to an even length.
    Stream& absolute(const std::vector<unsigned>& indices, int bits) {
        code(0, static_cast<unsigned>(indices.size()));
        std::vector<unsigned char> literal;
        for (std::size_t i = 0; i < indices.size(); ++i) {
            if (bits == 8)
                literal.push_back(static_cast<unsigned char>(indices[i]));
            else if (i % 2 == 0)
                literal.push_back(static_cast<unsigned char>(indices[i] << 4));
            else
                literal.back() = static_cast<unsigned char>(literal.back() | indices[i]);
        }
        if (literal.size() % 2) literal.push_back(0xEE);  // the pad byte is never read as a code
        bytes_.insert(bytes_.end(), literal.begin(), literal.end());
        return *this;
    }
    const std::vector<unsigned char>& bytes() const { return bytes_; }

private:
    Stream& code(unsigned first, unsigned second) {
        bytes_.push_back(static_cast<unsigned char>(first));
        bytes_.push_back(static_cast<unsigned char>(second));
        return *this;
    }
    std::vector<unsigned char> bytes_;
};

// The index of pixel i of an encoded run.
unsigned run_index(int bits, unsigned value, unsigned i) {
    if (bits == 8) return value;
    return i % 2 ? value & 15 : value >> 4;
}

// Encodes rows of indices, first row of the vector first (the bottom row of
// the bitmap): repeats as encoded runs, the rest as absolute runs, each row
// ended by an end of line, the last by an end of line or an end of bitmap.
std::vector<unsigned char> encode(const std::vector<std::vector<unsigned>>& rows, int bits, bool end_of_bitmap) {
    Stream stream;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const auto& row = rows[r];
        std::size_t i = 0;
        // The length of the run at i that one code byte can repeat.
        auto repeat_at = [&](std::size_t at) {
            std::size_t n = 1;
            while (at + n < row.size() && n < 255 && row[at + n] == row[at + n % 2 * (bits == 4 ? 1 : 0)]) ++n;
            if (bits == 4 && n == 1 && at + 1 < row.size()) n = 2;  // any two nibbles make a run
            return n;
        };
        while (i < row.size()) {
            std::size_t n = repeat_at(i);
            if (n >= 3 || row.size() - i < 3) {
                const unsigned value = bits == 8 ? row[i] : row[i] << 4 | (n > 1 ? row[i + 1] : 0);
                stream.encoded(static_cast<unsigned>(n), value);
                i += n;
                continue;
            }
            // Literal indices up to the next repeat of 3 or more, at least 3 of them.
            std::size_t end = i + 3;
            while (end < row.size() && end - i < 255 && repeat_at(end) < 3) ++end;
            stream.absolute(std::vector<unsigned>(row.begin() + i, row.begin() + end), bits);
            i = end;
        }
        if (r + 1 < rows.size() || !end_of_bitmap)
            stream.end_of_line();
        else
            stream.end_of_bitmap();
    }
    return stream.bytes();
}

// A stream of random codes over `rows` rows of `width`: rows filled exactly,
// left short, or overrun by up to `overrun` pixels by runs that cross the
// row end; encoded and absolute runs of every length; ended by the last end
// of line, an end of bitmap or a delta somewhere.
std::vector<unsigned char> random_stream(int bits, long width, long rows, long overrun, std::mt19937& rng) {
    auto pick = [&](long low, long high) { return std::uniform_int_distribution<long>(low, high)(rng); };
    const unsigned max_index = bits == 8 ? 255 : 15;
    Stream stream;
    const int ending = static_cast<int>(pick(0, 2));  // 0: ends of line, 1: end of bitmap, 2: delta
    const long stop_row = pick(0, rows - 1);
    for (long r = 0; r < rows; ++r) {
        const long kind = pick(0, 2);
        const long target = kind == 0 ? width : kind == 1 ? pick(0, width) : width + pick(1, overrun);
        const bool stop_here = ending != 0 && r == stop_row;
        const long stop_at = stop_here ? pick(0, target) : -1;
        long x = 0;
        while (x < target) {
            if (stop_here && x >= stop_at) break;
            const long left = target - x;
            if (left >= 3 && pick(0, 1)) {
                const long n = pick(3, std::min(left, 255L));
                std::vector<unsigned> indices(n);
                for (auto& index : indices) index = static_cast<unsigned>(pick(0, max_index));
                stream.absolute(indices, bits);
                x += n;
            } else {
                const long n = pick(1, std::min(left, 255L));
                stream.encoded(static_cast<unsigned>(n), static_cast<unsigned>(pick(0, 255)));
                x += n;
            }
        }
        if (stop_here) {
            if (ending == 1)
                stream.end_of_bitmap();
            else
                stream.delta(static_cast<unsigned>(pick(0, 255)), static_cast<unsigned>(pick(0, 255)));
            return stream.bytes();
        }
        stream.end_of_line();
    }
    return stream.bytes();
}

// ---- the model decoder ----

void model_decode(const DecoderCase& d, const std::vector<unsigned char>& stream, unsigned char* destination,
                  long pitch, long width, long height, const unsigned char* palette) {
    if (height == 0) return;
    const long rows = std::labs(height);
    long row = d.start_from_signed_height ? height - 1 : rows - 1;
    long x = 0, ends_of_line = 0;
    std::size_t at = 0;
    auto put = [&](unsigned index) {
        if (!d.clips || x < width) {
            unsigned char* pixel = destination + row * pitch + d.pixel_bytes * x;
            for (int c = 0; c < 3; ++c) pixel[c] = palette[d.pixel_bytes * index + c];
            if (d.pixel_bytes == 4) pixel[3] = 0;
        }
        ++x;
    };
    for (;;) {
        const unsigned first = stream.at(at), second = stream.at(at + 1);
        at += 2;
        if (first > 0) {
            for (unsigned i = 0; i < first; ++i) put(run_index(d.index_bits, second, i));
        } else if (second == 0) {
            if (++ends_of_line == rows) return;
            --row;
            x = 0;
        } else if (second == 1 || second == 2) {
            return;
        } else {
            for (unsigned i = 0; i < second; ++i)
                put(d.index_bits == 8 ? stream.at(at + i) : run_index(4, stream.at(at + i / 2), i));
            const std::size_t used = d.index_bits == 8 ? second : (second + 1) / 2;
            at += used + used % 2;
        }
    }
}

// Memory around a frame of |height| rows, for pitches and heights of either
// sign and for overruns past any row.
struct Arena {
    std::vector<unsigned char> bytes;
    long origin;

    Arena(long pitch, long height, long slack, std::uint32_t seed) {
        const long span = (std::labs(height) + 1) * std::labs(pitch) + slack;
        bytes.resize(2 * span);
        origin = span;
        cconvert::test::fill_random(bytes.data(), bytes.size(), seed);
    }
    unsigned char* frame() { return bytes.data() + origin; }
};

std::vector<unsigned char> palette_of(std::uint32_t seed) { return cconvert::test::random_bytes(4 * 256, seed); }

TEST(RleDecoders, RandomStreamsMatchTheModel) {
    std::mt19937 rng(11);
    std::uint32_t seed = 1;
    for (const DecoderCase& d : decoders())
        for (int n = 0; n < kRandomStreams; ++n) {
            const long width = std::uniform_int_distribution<long>(1, n % 10 == 0 ? 700 : 40)(rng);
            long height = std::uniform_int_distribution<long>(1, 6)(rng);
            long pitch = d.pixel_bytes * width + std::uniform_int_distribution<long>(0, 9)(rng);
            if (n % 5 == 1 && d.clips) height = -height;  // the same rows, from the bottom one
            if (n % 7 == 2) pitch = -pitch;                  // rows upwards in memory
            const long overrun = 40;
            const auto stream = random_stream(d.index_bits, width, std::labs(height), overrun, rng);
            const auto palette = palette_of(seed++);
            Arena decoded(pitch, height, 4 * (overrun + 8), seed++);
            Arena expected = decoded;
            model_decode(d, stream, expected.frame(), pitch, width, height, palette.data());
            d.decode(decoded.frame(), pitch, stream.data(), 12345, width, height, palette.data());
            ASSERT_EQ(decoded.bytes, expected.bytes)
                << d.name << " stream " << n << " width " << width << " height " << height << " pitch " << pitch;
        }
}

// What the encoder writes, every decoder gives back, bytes beyond the width
// untouched.
TEST(RleDecoders, EncodedFramesDecodeToTheirPixels) {
    std::mt19937 rng(5);
    std::uint32_t seed = 100;
    for (const DecoderCase& d : decoders())
        for (long width : {1L, 2L, 3L, 4L, 5L, 7L, 16L, 31L, 64L, 300L, 641L})
            for (long height : {1L, 2L, 5L})
                for (bool end_of_bitmap : {false, true}) {
                    // Rows of repeats, alternating nibbles and noise.
                    const unsigned max_index = d.index_bits == 8 ? 255 : 15;
                    std::vector<std::vector<unsigned>> bottom_up(height);
                    for (auto& row : bottom_up) {
                        while (static_cast<long>(row.size()) < width) {
                            const long n = std::uniform_int_distribution<long>(1, 300)(rng);
                            const unsigned a = rng() % (max_index + 1), b = rng() % (max_index + 1);
                            for (long i = 0; i < n && static_cast<long>(row.size()) < width; ++i)
                                row.push_back(rng() % 3 == 0 ? a : rng() % 3 == 0 ? b : rng() % (max_index + 1));
                        }
                    }
                    const auto stream = encode(bottom_up, d.index_bits, end_of_bitmap);
                    const long pitch = d.pixel_bytes * width + 5;
                    const auto palette = palette_of(seed++);
                    cconvert::test::GuardedBuffer frame(pitch * height);
                    const auto before = frame.contents();
                    d.decode(frame.data(), pitch, stream.data(), 0, width, height, palette.data());
                    ASSERT_TRUE(frame.guards_intact()) << d.name;
                    for (long y = 0; y < height; ++y) {
                        const auto& row = bottom_up[height - 1 - y];
                        for (long x = 0; x < width; ++x)
                            for (int c = 0; c < d.pixel_bytes; ++c) {
                                const unsigned char want = c == 3 ? 0 : palette[d.pixel_bytes * row[x] + c];
                                ASSERT_EQ(frame[y * pitch + d.pixel_bytes * x + c], want)
                                    << d.name << " width " << width << " pixel " << x << "," << y;
                            }
                        for (long i = d.pixel_bytes * width; i < pitch; ++i)
                            ASSERT_EQ(frame[y * pitch + i], before[y * pitch + i]) << d.name << " padding";
                    }
                }
}

// ---- hand-worked streams ----

// Entry i is i, i + 1, i + 2 (and 0x99 in 4-byte entries).
std::vector<unsigned char> counting_palette(int entry_bytes) {
    std::vector<unsigned char> p(entry_bytes * 256);
    for (int i = 0; i < 256; ++i) {
        p[entry_bytes * i] = static_cast<unsigned char>(i);
        p[entry_bytes * i + 1] = static_cast<unsigned char>(i + 1);
        p[entry_bytes * i + 2] = static_cast<unsigned char>(i + 2);
        if (entry_bytes == 4) p[entry_bytes * i + 3] = 0x99;
    }
    return p;
}
const std::vector<unsigned char> kPalette3 = counting_palette(3), kPalette4 = counting_palette(4);

std::vector<unsigned char> decode_one_row(Decoder decode, int pixel_bytes, long width,
                                          const std::vector<unsigned char>& stream) {
    std::vector<unsigned char> row(pixel_bytes * width + 8, 0xEE);
    decode(row.data(), pixel_bytes * width, stream.data(), 0, width, 1,
           (pixel_bytes == 3 ? kPalette3 : kPalette4).data());
    return row;
}

TEST(RleValues, DeltaEndsTheDecodeAndLeavesTheRestAsItWas) {
    const auto stream = Stream().encoded(2, 7).delta(1, 0).encoded(2, 9).end_of_line().bytes();
    std::vector<unsigned char> frame(2 * 12, 0xEE);
    ccnvt_rle8_rgb24(frame.data(), 12, stream.data(), 0, 4, 2, kPalette3.data());
    const std::vector<unsigned char> bottom(frame.begin() + 12, frame.end());
    EXPECT_EQ(bottom, (std::vector<unsigned char>{7, 8, 9, 7, 8, 9, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(std::vector<unsigned char>(frame.begin(), frame.begin() + 12), std::vector<unsigned char>(12, 0xEE));
}

TEST(RleValues, ARunPastTheRowEndIsClippedAndTheNextCodeFollowsIt) {
    // Width 5: two pixels, then 10 of colour 3 of which 3 fit; the next row follows.
    const auto stream = Stream().encoded(2, 1).encoded(10, 3).end_of_line().encoded(1, 4).end_of_line().bytes();
    std::vector<unsigned char> frame(2 * 16, 0xEE);
    ccnvt_rle8_rgb24(frame.data(), 16, stream.data(), 0, 5, 2, kPalette3.data());
    EXPECT_EQ(std::vector<unsigned char>(frame.begin() + 16, frame.end()),
              (std::vector<unsigned char>{1, 2, 3, 1, 2, 3, 3, 4, 5, 3, 4, 5, 3, 4, 5, 0xEE}));
    EXPECT_EQ(std::vector<unsigned char>(frame.begin(), frame.begin() + 4), (std::vector<unsigned char>{4, 5, 6, 0xEE}));
}

TEST(RleValues, AbsoluteRunsArePaddedToAnEvenLength) {
    // rle8: 3 indices take 4 bytes, 4 take 4.
    auto rle8 = std::vector<unsigned char>{0, 3, 10, 11, 12, 0xFF, 0, 4, 20, 21, 22, 23, 1, 30, 0, 1};
    auto row = decode_one_row(ccnvt_rle8_rgba32, 4, 8, rle8);
    for (int x = 0; x < 8; ++x) {
        const int want[] = {10, 11, 12, 20, 21, 22, 23, 30};
        EXPECT_EQ(row[4 * x], want[x]) << x;
        EXPECT_EQ(row[4 * x + 3], 0) << x;
    }
    // rle4: 5 nibbles take 3 bytes and a pad byte.
    auto rle4 = std::vector<unsigned char>{0, 5, 0x12, 0x34, 0x5F, 0xFF, 2, 0x9A, 0, 1};
    row = decode_one_row(ccnvt_rle4_rgb24, 3, 7, rle4);
    const int want4[] = {1, 2, 3, 4, 5, 9, 10};
    for (int x = 0; x < 7; ++x) EXPECT_EQ(row[3 * x], want4[x]) << x;
    EXPECT_EQ(row[21], 0xEE);
}

TEST(RleValues, Rle8Rgba32WritesRunsWholePastTheRowEnd) {
    const auto stream = Stream().encoded(5, 2).end_of_bitmap().bytes();
    const auto row = decode_one_row(ccnvt_rle8_rgba32, 4, 3, stream);
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(std::vector<unsigned char>(row.begin() + 4 * x, row.begin() + 4 * x + 4),
                  (std::vector<unsigned char>{2, 3, 4, 0}));
    // The clipping decoder of the same output keeps to the width.
    const auto clipped = decode_one_row(ccnvt_rle4_rgba32, 4, 3, Stream().encoded(5, 0x22).end_of_bitmap().bytes());
    EXPECT_EQ(clipped[12], 0xEE);
}

TEST(RleValues, TheDecoderStopsAfterHeightEndsOfLineAndWritesBottomUp) {
    // Three rows, three ends of line; what follows is never read.
    const auto stream = Stream().encoded(1, 1).end_of_line().encoded(1, 2).end_of_line().encoded(1, 3)
                            .end_of_line().encoded(1, 4).bytes();
    std::vector<unsigned char> frame(3 * 3, 0xEE);
    ccnvt_rle8_rgb24(frame.data(), 3, stream.data(), 0, 1, 3, kPalette3.data());
    EXPECT_EQ(frame, (std::vector<unsigned char>{3, 4, 5, 2, 3, 4, 1, 2, 3}));
}

TEST(RleValues, Rle8Rgba32FindsTheBottomRowFromTheSignedHeight) {
    // Height -2 from row 4 of a five-row frame: rows (-2 - 1) and one above that.
    const auto stream = Stream().encoded(1, 1).end_of_line().encoded(1, 2).end_of_line().bytes();
    std::vector<unsigned char> frame(5 * 4, 0xEE);
    ccnvt_rle8_rgba32(frame.data() + 4 * 4, 4, stream.data(), 0, 1, -2, kPalette4.data());
    std::vector<unsigned char> expected(5 * 4, 0xEE);
    const unsigned char top[4] = {2, 3, 4, 0}, below[4] = {1, 2, 3, 0};
    std::copy(top, top + 4, expected.begin());
    std::copy(below, below + 4, expected.begin() + 4);
    EXPECT_EQ(frame, expected);
    // The clipping decoders start at row |height| - 1 whatever the sign.
    std::vector<unsigned char> clipped(2 * 4, 0xEE);
    ccnvt_rle4_rgba32(clipped.data(), 4, Stream().encoded(1, 0x10).end_of_line().encoded(1, 0x20).end_of_line().bytes().data(),
                      0, 1, -2, kPalette4.data());
    EXPECT_EQ(clipped, (std::vector<unsigned char>{2, 3, 4, 0, 1, 2, 3, 0}));
}

TEST(RleValues, NothingIsWrittenForHeightZero) {
    const auto stream = Stream().encoded(4, 1).end_of_bitmap().bytes();
    for (const DecoderCase& d : decoders()) {
        std::vector<unsigned char> frame(32, 0xEE);
        d.decode(frame.data(), 16, stream.data(), 0, 4, 0, kPalette4.data());
        EXPECT_EQ(frame, std::vector<unsigned char>(32, 0xEE)) << d.name;
    }
}

TEST(RleValues, Rle4RunsAlternateHighAndLowNibbles) {
    const auto row = decode_one_row(ccnvt_rle4_rgb24, 3, 5, Stream().encoded(5, 0x7C).end_of_bitmap().bytes());
    const int want[] = {7, 12, 7, 12, 7};
    for (int x = 0; x < 5; ++x) EXPECT_EQ(row[3 * x], want[x]) << x;
}

// ---- palette ----

TEST(PaletteDecoding, EachIndexTakesItsWholeEntryAlphaIncluded) {
    std::mt19937 rng(3);
    for (long width : {1L, 2L, 7L, 64L, 129L})
        for (long height : {1L, 3L, -2L}) {
            const long rows = std::labs(height), in_pitch = width + 3, out_pitch = 4 * width + 4;
            const auto indices = cconvert::test::random_bytes(in_pitch * rows, static_cast<std::uint32_t>(width));
            const auto palette = palette_of(static_cast<std::uint32_t>(width + 1000));
            cconvert::test::GuardedBuffer frame(out_pitch * rows), by_alias(out_pitch * rows);
            const auto before = frame.contents();
            ccnvt_rgb8_rgba32(frame.data(), out_pitch, indices.data(), in_pitch, width, height, palette.data());
            ccnvt_rgb8_rgb32(by_alias.data(), out_pitch, indices.data(), in_pitch, width, height, palette.data());
            ASSERT_TRUE(frame.guards_intact());
            EXPECT_EQ(frame.contents(), by_alias.contents());
            for (long y = 0; y < rows; ++y) {
                for (long x = 0; x < width; ++x)
                    for (int c = 0; c < 4; ++c)
                        ASSERT_EQ(frame[y * out_pitch + 4 * x + c], palette[4 * indices[y * in_pitch + x] + c]);
                for (long i = 4 * width; i < out_pitch; ++i) ASSERT_EQ(frame[y * out_pitch + i], before[y * out_pitch + i]);
            }
        }
}

TEST(PaletteDecoding, HeightZeroOrNarrowWidthWritesNothing) {
    const std::vector<unsigned char> indices(16, 1);
    for (auto [w, h] : {std::pair{4L, 0L}, {0L, 2L}, {-3L, 2L}}) {
        std::vector<unsigned char> frame(64, 0xEE);
        ccnvt_rgb8_rgba32(frame.data(), 16, indices.data(), 4, w, h, kPalette4.data());
        EXPECT_EQ(frame, std::vector<unsigned char>(64, 0xEE)) << w << "x" << h;
    }
}

}  // namespace
