// Run-length decoding: random streams against a model decoder; hand-worked streams; the palette lookup.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/frame_walk.h"
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
    int index_bits, pixel_bytes;  // 4 or 8; 3 or 4, as the palette entries
    bool clips;                   // pixels beyond the width are dropped
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

struct Stream {
    std::vector<unsigned char> codes;
    Stream& code(unsigned first, unsigned second) {
        codes.push_back(static_cast<unsigned char>(first));
        codes.push_back(static_cast<unsigned char>(second));
        return *this;
    }
    Stream& end_of_line() { return code(0, 0); }
    Stream& end_of_bitmap() { return code(0, 1); }
    Stream& delta(unsigned right, unsigned up) { return code(0, 2).code(right, up); }
    // n >= 3 indices, bytes or nibbles high first, padded to an even length (the pad is never read).
    Stream& absolute(const std::vector<unsigned>& indices, int bits) {
        code(0, static_cast<unsigned>(indices.size()));
        const std::size_t start = codes.size();
        for (std::size_t i = 0; i < indices.size(); ++i)
            if (bits == 8 || i % 2 == 0)
                codes.push_back(static_cast<unsigned char>(bits == 8 ? indices[i] : indices[i] << 4));
            else
                codes.back() = static_cast<unsigned char>(codes.back() | indices[i]);
        if ((codes.size() - start) % 2) codes.push_back(0xEE);
        return *this;
    }
    const std::vector<unsigned char>& bytes() const { return codes; }
};

// The index of pixel i of an encoded run.
unsigned run_index(int bits, unsigned value, unsigned i) { return bits == 8 ? value : i % 2 ? value & 15 : value >> 4; }

// Random codes over `rows` rows: each row filled exactly, left short or overrun (runs crossing the row end);
// ended by the last end of line, or an end of bitmap or a delta anywhere.
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
            const bool literal = left >= 3 && pick(0, 1);
            const long n = pick(literal ? 3 : 1, std::min(left, 255L));
            std::vector<unsigned> indices(literal ? n : 0);
            for (auto& index : indices) index = static_cast<unsigned>(pick(0, max_index));
            literal ? stream.absolute(indices, bits) : stream.code(static_cast<unsigned>(n), static_cast<unsigned>(pick(0, 255)));
            x += n;
        }
        if (stop_here) {
            if (ending == 1) return stream.end_of_bitmap().bytes();
            const auto right = static_cast<unsigned>(pick(0, 255));  // drawn in order: the stream is the same on every compiler
            return stream.delta(right, static_cast<unsigned>(pick(0, 255))).bytes();
        }
        stream.end_of_line();
    }
    return stream.bytes();
}

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
            if (n % 50 == 3) height = 0;                     // nothing at all
            const long overrun = 40, span = (std::labs(height) + 1) * std::labs(pitch) + 4 * (overrun + 8);
            const auto stream = random_stream(d.index_bits, width, std::max(std::labs(height), 1L), overrun, rng);
            const auto palette = palette_of(seed++);
            cconvert::test::walk::Arena decoded({-span, span}, seed++);
            auto expected = decoded;
            model_decode(d, stream, expected.at(), pitch, width, height, palette.data());
            d.decode(decoded.at(), pitch, stream.data(), 12345, width, height, palette.data());
            ASSERT_EQ(decoded.bytes, expected.bytes)
                << d.name << " stream " << n << " width " << width << " height " << height << " pitch " << pitch;
        }
}

using Bytes = std::vector<unsigned char>;

// Entry i is i, i + 1, i + 2 (and 0x99 in 4-byte entries).
Bytes counting_palette(int entry_bytes) {
    Bytes p(entry_bytes * 256, 0x99);
    for (int i = 0; i < 256; ++i)
        for (int c = 0; c < 3; ++c) p[entry_bytes * i + c] = static_cast<unsigned char>(i + c);
    return p;
}
const Bytes kPalette3 = counting_palette(3), kPalette4 = counting_palette(4);

// Each frame of `size` bytes starts as 0xEE and is decoded from `offset` on; past `written` it stays 0xEE.
TEST(RleValues, HandWorkedStreams) {
    constexpr int E = 0xEE;
    const struct {
        const char* what;
        Decoder decode;
        int entry_bytes;
        long width, rows, pitch, offset;
        std::size_t size;
        Bytes stream, written;
    } cases[] = {
        {"rle4 runs alternate nibbles; decoding stops after height ends of line", ccnvt_rle4_rgb24, 3, 3, 2, 9, 0, 26,
         Stream().code(3, 0x7C).end_of_line().code(1, 0x20).end_of_line().code(1, 0x30).bytes(),
         {2, 3, 4, E, E, E, E, E, E, 7, 8, 9, 12, 13, 14, 7, 8, 9}},
        {"a run past the row end is clipped and the next code follows it", ccnvt_rle8_rgb24, 3, 5, 2, 16, 0, 40,
         Stream().code(2, 1).code(10, 3).end_of_line().code(1, 4).end_of_line().bytes(),
         {4, 5, 6, E, E, E, E, E, E, E, E, E, E, E, E, E, 1, 2, 3, 1, 2, 3, 3, 4, 5, 3, 4, 5, 3, 4, 5}},
        {"rle8 absolute runs: 3 indices take 4 bytes, 4 take 4", ccnvt_rle8_rgba32, 4, 8, 1, 32, 0, 40,
         {0, 3, 10, 11, 12, 0xFF, 0, 4, 20, 21, 22, 23, 1, 30, 0, 1},
         {10, 11, 12, 0, 11, 12, 13, 0, 12, 13, 14, 0, 20, 21, 22, 0, 21, 22, 23, 0, 22, 23, 24, 0, 23, 24, 25, 0,
          30, 31, 32, 0}},
        {"rle4 absolute runs: 5 nibbles take 3 bytes and a pad", ccnvt_rle4_rgb24, 3, 7, 1, 21, 0, 29,
         {0, 5, 0x12, 0x34, 0x5F, 0xFF, 2, 0x9A, 0, 1}, {1, 2, 3, 2, 3, 4, 3, 4, 5, 4, 5, 6, 5, 6, 7, 9, 10, 11, 10, 11, 12}},
        {"rle8_rgba32 writes runs whole", ccnvt_rle8_rgba32, 4, 1, 1, 4, 0, 20, Stream().code(3, 2).end_of_bitmap().bytes(),
         {2, 3, 4, 0, 2, 3, 4, 0, 2, 3, 4, 0}},
        {"rle8_rgba32 starts at row height - 1 as passed: -3 and -4 for -2", ccnvt_rle8_rgba32, 4, 1, -2, 4, 16, 20,
         Stream().code(1, 1).end_of_line().code(1, 2).end_of_line().bytes(), {2, 3, 4, 0, 1, 2, 3, 0}},
    };
    for (const auto& c : cases) {
        Bytes frame(c.size, E), expected = c.written;
        expected.resize(c.size, E);
        c.decode(frame.data() + c.offset, c.pitch, c.stream.data(), 0, c.width, c.rows,
                 (c.entry_bytes == 3 ? kPalette3 : kPalette4).data());
        EXPECT_EQ(frame, expected) << c.what;
    }
}

TEST(PaletteDecoding, EachIndexTakesItsWholeEntryAlphaIncluded) {
    using namespace cconvert::test::walk;
    const auto palette = palette_of(7);
    for (auto decode : {ccnvt_rgb8_rgba32, ccnvt_rgb8_rgb32}) {
        const Walk walk{"rgb8_rgba32",
                        [&](void* d, long dp, void* s, long sp, long w, long h) { decode(d, dp, s, sp, w, h, palette.data()); },
                        1, 4, Rows::first_to_last, Pixels::front_to_back, Guard::height_zero_or_narrow,
                        [&](const unsigned char* in, unsigned char* out, long, long) { std::memcpy(out, &palette[4 * in[0]], 4); }};
        sweep_separate_frames({walk});
    }
}

}  // namespace
