// Alpha operations: hand-worked bytes, and each operation against a model of
// its per-pixel walk (written here from the rules) on random frames of many
// widths and row sizes, in separate, in-place and overlapping buffers, under
// every feature word; bytes around the frames must stay as they were.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/alpha.h"
#include "support/test_support.h"

using cconvert::test::ScopedCpuFeatures;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr long kWidthStep = 9;  // instrumented builds sweep fewer sizes
#else
constexpr long kWidthStep = 1;
#endif

std::vector<unsigned char> bytes_of(std::initializer_list<int> values) {
    std::vector<unsigned char> out;
    for (int v : values) out.push_back(static_cast<unsigned char>(v));
    return out;
}

std::vector<long> widths_to_sweep() {
    std::vector<long> widths;
    for (long w = 0; w <= 130; w += kWidthStep) widths.push_back(w);
    for (long w : {-3L, 1L, 2L, 31L, 32L, 33L, 65L, 1000L, 1923L}) widths.push_back(w);
    return widths;
}

// Memory holding both sides of an operation, with bytes before and after
// that must stay as they are. Offsets are from `origin`.
struct Arena {
    std::vector<unsigned char> bytes;
    long origin;
    Arena(long low, long high, std::uint32_t seed) : bytes(high - low + 128), origin(64 - low) {
        cconvert::test::fill_random(bytes.data(), bytes.size(), seed);
    }
    unsigned char* at(long offset) { return bytes.data() + origin + offset; }
};

// ---- the models: each walks as its operation is specified to ----

void model_alpha_to_rgba(unsigned char* d, long dp, const unsigned char* alpha, long w, long h) {
    if (w < 1 || h < 1) return;
    for (long y = 0; y < h; ++y)
        for (long x = 0; x < w; ++x) std::memset(d + y * dp + 4 * x, alpha[y * w + x], 4);
}

void model_rgba_to_alpha(unsigned char* alpha, const unsigned char* s, long sp, long w, long h) {
    if (w < 1 || h < 1) return;
    for (long y = 0; y < h; ++y)
        for (long x = 0; x < w; ++x) alpha[y * w + x] = s[y * sp + 4 * x];
}

void model_setalpha(unsigned char* p, long pitch, int value, long w, long h) {
    if (w < 1 || h < 1) return;
    for (long y = 0; y < h; ++y)
        for (long x = 0; x < w; ++x) p[y * pitch + 4 * x + 3] = static_cast<unsigned char>(value);
}

void model_addalpha(const unsigned char* s, unsigned char* d, long sp, long dp, int value, long w, long h) {
    if (w < 1 || h < 1) return;
    for (long y = h - 1; y >= 0; --y)
        for (long x = w - 1; x >= 0; --x) {
            unsigned char in[3];
            std::memcpy(in, s + y * sp + 3 * x, 3);
            const unsigned char out[4] = {in[0], in[1], in[2], static_cast<unsigned char>(value)};
            std::memcpy(d + y * dp + 4 * x, out, 4);
        }
}

void model_alphay_to_2yuv(unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
    if (h < 1 || w < 2) return;
    const long pairs = w / 2;
    for (long y = h - 1; y >= 0; --y)
        for (long j = 1; j <= pairs; ++j) {  // j = 1: the last pair of the row
            const unsigned char a0 = s[y * sp + sp - 2 * j], a1 = s[y * sp + sp - 2 * j + 1];
            const unsigned char out[4] = {0x80, a0, 0x80, a1};
            std::memcpy(d + y * dp + dp - 4 * j, out, 4);
        }
}

void model_2yuv_to_alphay(unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
    if (h < 1 || w < 2) return;
    for (long y = 0; y < h; ++y)
        for (long k = 0; k < w / 2; ++k) {
            const unsigned char y0 = s[y * sp + 4 * k + 1], y1 = s[y * sp + 4 * k + 3];
            d[y * dp + 2 * k] = y0;
            d[y * dp + 2 * k + 1] = y1;
        }
}

void model_strip_chroma(unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
    if (h < 1 || w < 2) return;
    for (long y = 0; y < h; ++y)
        for (long k = 0; k < w / 2; ++k) {
            std::uint32_t word;
            std::memcpy(&word, s + y * sp + 4 * k, 4);
            word = (word & ~0x00FF00FFu) | 0x00800080u;
            std::memcpy(d + y * dp + 4 * k, &word, 4);
        }
}

// ---- one table for the operations with two row sizes ----

using PitchedFn = std::function<void(unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h)>;

struct Operation {
    std::string name;
    PitchedFn run, model;
    int in_bytes, out_bytes;  // per pixel, for the sizes of the rows
    bool end_aligned;         // rows end at (y + 1) * pitch
    bool tight_alpha_in, tight_alpha_out;  // the side is the tight alpha plane of width bytes per row
};

std::vector<Operation> operations() {
    return {
        {"alpha_to_rgba",
         [](unsigned char* d, long dp, const unsigned char* s, long, long w, long h) {
             EXPECT_EQ(0, ccnvt_alpha_to_rgba(d, dp, s, 12345, w, h));
         },
         [](unsigned char* d, long dp, const unsigned char* s, long, long w, long h) { model_alpha_to_rgba(d, dp, s, w, h); },
         1, 4, false, true, false},
        {"rgba_to_alpha",
         [](unsigned char* d, long, const unsigned char* s, long sp, long w, long h) {
             EXPECT_EQ(0, ccnvt_rgba_to_alpha(d, -777, s, sp, w, h));
         },
         [](unsigned char* d, long, const unsigned char* s, long sp, long w, long h) { model_rgba_to_alpha(d, s, sp, w, h); },
         4, 1, false, false, true},
        {"rgba_addalpha",
         [](unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
             EXPECT_EQ(0, ccnvt_rgba_addalpha(s, d, sp, dp, 0x17F, w, h));  // low 8 bits: 0x7F
         },
         [](unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) { model_addalpha(s, d, sp, dp, 0x7F, w, h); },
         3, 4, false, false, false},
        {"alphay_to_2yuv",
         [](unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
             EXPECT_EQ(0, ccnvt_alphay_to_2yuv(d, dp, s, sp, w, static_cast<int>(h)));
         },
         model_alphay_to_2yuv, 1, 2, true, false, false},
        {"2yuv_to_alphay",
         [](unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
             EXPECT_EQ(0, ccnvt_2yuv_to_alphay(d, dp, s, sp, w, h));
         },
         model_2yuv_to_alphay, 2, 1, false, false, false},
        {"2yuv_strip_chroma",
         [](unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
             EXPECT_EQ(0, ccnvt_2yuv_strip_chroma(d, dp, s, sp, w, h));
         },
         model_strip_chroma, 2, 2, false, false, false},
    };
}

// The offsets [low, high) that rows 0..h-1 of a side cover.
std::pair<long, long> extent(long row_bytes, long pitch, long h, bool end_aligned) {
    long low = 0, high = row_bytes;
    for (long y = 0; y < std::max(h, 1L); ++y) {
        const long start = end_aligned ? (y + 1) * pitch - row_bytes : y * pitch;
        low = std::min(low, start);
        high = std::max(high, start + row_bytes);
    }
    return {low, high};
}

struct Sides {
    long in_row, out_row, in_pitch, out_pitch;
};

Sides sides_of(const Operation& op, long w, long pad_in, long pad_out) {
    const long pixels = std::max(w, 0L);
    const long in_row = op.in_bytes * pixels, out_row = op.out_bytes * pixels;
    return {in_row, out_row, op.tight_alpha_in ? in_row : in_row + pad_in,
            op.tight_alpha_out ? out_row : out_row + pad_out};
}

std::string describe(const Operation& op, long w, long h, const Sides& s) {
    return op.name + " width " + std::to_string(w) + " height " + std::to_string(h) + " row bytes " +
           std::to_string(s.out_pitch) + "/" + std::to_string(s.in_pitch);
}

class AlphaOperations : public ::testing::TestWithParam<unsigned int> {};

TEST_P(AlphaOperations, SeparateBuffersMatchTheModel) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 1;
    for (const Operation& op : operations())
        for (long w : widths_to_sweep())
            for (long h : {1L, 3L, 0L, -2L})
                for (long pad : {0L, 5L, 32L}) {
                    if ((w > 200 || w < 0) && pad != 5) continue;
                    const Sides s = sides_of(op, w, pad, pad + 3);
                    const auto in = extent(s.in_row, s.in_pitch, h, op.end_aligned);
                    const auto out = extent(s.out_row, s.out_pitch, h, op.end_aligned);
                    Arena source(in.first, in.second, seed++), destination(out.first, out.second, seed++);
                    Arena expected = destination;
                    const auto source_before = source.bytes;
                    op.model(expected.at(0), s.out_pitch, source.at(0), s.in_pitch, w, h);
                    op.run(destination.at(0), s.out_pitch, source.at(0), s.in_pitch, w, h);
                    ASSERT_EQ(destination.bytes, expected.bytes) << describe(op, w, h, s);
                    ASSERT_EQ(source.bytes, source_before) << describe(op, w, h, s);
                }
}

// One buffer, the destination `shift` bytes from the source: the vector paths
// run only where they give the bytes of the per-pixel walk.
TEST_P(AlphaOperations, OverlappingBuffersMatchThePerPixelWalk) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 1000;
    for (const Operation& op : operations())
        for (long w : {2L, 9L, 32L, 47L, 100L})
            for (long h : {1L, 3L})
                for (long pad : {6L, 0L}) {  // 0: rows without gaps on both sides
                const Sides s = sides_of(op, w, pad, pad);
                const auto in = extent(s.in_row, s.in_pitch, h, op.end_aligned);
                const auto out = extent(s.out_row, s.out_pitch, h, op.end_aligned);
                for (long shift = in.first - out.second - 3; shift <= in.second - out.first + 3;
                     shift += kWidthStep * (w > 40 ? 5 : 1)) {
                    Arena arena(std::min(in.first, out.first + shift), std::max(in.second, out.second + shift), seed++);
                    Arena expected = arena;
                    op.model(expected.at(shift), s.out_pitch, expected.at(0), s.in_pitch, w, h);
                    op.run(arena.at(shift), s.out_pitch, arena.at(0), s.in_pitch, w, h);
                    ASSERT_EQ(arena.bytes, expected.bytes) << describe(op, w, h, s) << " shift " << shift;
                }
            }
}

TEST_P(AlphaOperations, SetAlphaWritesByte3OfTheFirstWidthPixelsOnly) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 2000;
    for (long w : widths_to_sweep())
        for (long h : {1L, 2L, -1L, 0L})
            for (long pad : {0L, 7L}) {
                const long pitch = 4 * std::max(w, 0L) + pad;
                Arena frame(0, pitch * std::max(h, 1L), seed++);
                Arena expected = frame;
                model_setalpha(expected.at(0), pitch, 0xC3, w, h);
                EXPECT_EQ(0, ccnvt_rgba_setalpha(frame.at(0), pitch, 0x1C3, w, h));
                ASSERT_EQ(frame.bytes, expected.bytes) << "width " << w << " height " << h << " pad " << pad;
            }
}

TEST_P(AlphaOperations, InPlaceCallsGiveWhatSeparateBuffersGive) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 3000;
    for (long w : {1L, 2L, 5L, 16L, 33L, 64L, 250L})
        for (long h : {1L, 4L})
            for (long pad : {0L, 8L}) {
                // addalpha: one buffer, destination rows 4w (+pad) against source rows 3w (+pad).
                {
                    const long sp = 3 * w + pad, dp = 4 * w + pad;
                    Arena frame(0, dp * h, seed++);
                    Arena source = frame, destination = frame;
                    ccnvt_rgba_addalpha(source.at(0), destination.at(0), sp, dp, 0x7F, w, h);
                    ccnvt_rgba_addalpha(frame.at(0), frame.at(0), sp, dp, 0x7F, w, h);
                    ASSERT_EQ(frame.bytes, destination.bytes) << "addalpha width " << w << " pad " << pad;
                }
                // alphay_to_2yuv: destination row bytes twice the source's.
                {
                    const long sp = w + pad, dp = 2 * sp;
                    Arena frame(0, dp * h, seed++);
                    Arena source = frame, destination = frame;
                    ccnvt_alphay_to_2yuv(destination.at(0), dp, source.at(0), sp, w, static_cast<int>(h));
                    ccnvt_alphay_to_2yuv(frame.at(0), dp, frame.at(0), sp, w, static_cast<int>(h));
                    ASSERT_EQ(frame.bytes, destination.bytes) << "alphay_to_2yuv width " << w << " pad " << pad;
                }
                // strip_chroma and 2yuv_to_alphay on one buffer.
                {
                    const long pitch = 2 * w + pad;
                    Arena frame(0, pitch * h, seed++);
                    Arena source = frame, destination = frame;
                    ccnvt_2yuv_strip_chroma(destination.at(0), pitch, source.at(0), pitch, w, h);
                    ccnvt_2yuv_strip_chroma(frame.at(0), pitch, frame.at(0), pitch, w, h);
                    ASSERT_EQ(frame.bytes, destination.bytes) << "strip_chroma width " << w;
                }
            }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, AlphaOperations,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// ---- hand-worked bytes ----

TEST(AlphaBytes, KeyBecomesAGreyPixelWithThatAlpha) {
    const auto keys = bytes_of({0x80, 0x01});
    std::vector<unsigned char> pixels(8);
    EXPECT_EQ(0, ccnvt_alpha_to_rgba(pixels.data(), 8, keys.data(), 0, 2, 1));
    EXPECT_EQ(pixels, bytes_of({0x80, 0x80, 0x80, 0x80, 1, 1, 1, 1}));
}

TEST(AlphaBytes, ExtractionReadsByte0) {
    const auto pixels = bytes_of({0x11, 0x22, 0x33, 0x44});
    unsigned char key = 0;
    ccnvt_rgba_to_alpha(&key, 0, pixels.data(), 4, 1, 1);
    EXPECT_EQ(key, 0x11);
}

TEST(AlphaBytes, SetAndAddWriteByte3) {
    auto pixels = bytes_of({0x11, 0x22, 0x33, 0x44});
    ccnvt_rgba_setalpha(pixels.data(), 4, 0xFF, 1, 1);
    EXPECT_EQ(pixels, bytes_of({0x11, 0x22, 0x33, 0xFF}));
    const auto rgb = bytes_of({0x11, 0x22, 0x33});
    ccnvt_rgba_addalpha(rgb.data(), pixels.data(), 3, 4, 0x7F, 1, 1);
    EXPECT_EQ(pixels, bytes_of({0x11, 0x22, 0x33, 0x7F}));
}

TEST(AlphaBytes, AlphaPlaneRowsAreWidthBytesWhateverTheCallerPasses) {
    const auto keys = bytes_of({1, 2, 3, 4, 5, 6});  // three rows of two
    std::vector<unsigned char> pixels(3 * 12, 0xEE);
    ccnvt_alpha_to_rgba(pixels.data(), 12, keys.data(), 100, 2, 3);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(pixels[12 * y], keys[2 * y]);
        EXPECT_EQ(pixels[12 * y + 4], keys[2 * y + 1]);
        EXPECT_EQ(pixels[12 * y + 8], 0xEE);
    }
    std::vector<unsigned char> back(6, 0);
    ccnvt_rgba_to_alpha(back.data(), 100, pixels.data(), 12, 2, 3);
    EXPECT_EQ(back, keys);
}

TEST(AlphaBytes, TwoVuyPairs) {
    std::vector<unsigned char> group(4);
    ccnvt_alphay_to_2yuv(group.data(), 4, bytes_of({0x10, 0x20}).data(), 2, 2, 1);
    EXPECT_EQ(group, bytes_of({0x80, 0x10, 0x80, 0x20}));
    std::vector<unsigned char> keys(2);
    ccnvt_2yuv_to_alphay(keys.data(), 2, group.data(), 4, 2, 1);
    EXPECT_EQ(keys, bytes_of({0x10, 0x20}));
    ccnvt_2yuv_to_alphay(keys.data(), 2, bytes_of({0x33, 0x44, 0x55, 0x66}).data(), 4, 2, 1);
    EXPECT_EQ(keys, bytes_of({0x44, 0x66}));
    std::vector<unsigned char> stripped(4);
    ccnvt_2yuv_strip_chroma(stripped.data(), 4, bytes_of({0x33, 0x44, 0x55, 0x66}).data(), 4, 2, 1);
    EXPECT_EQ(stripped, bytes_of({0x80, 0x44, 0x80, 0x66}));
}

TEST(AlphaBytes, AlphaTo2vuyTakesAndPutsPairsAtTheEndsOfTheRows) {
    // Width 4, source rows of 6 bytes, destination rows of 12: alpha offsets
    // 2-5 become destination offsets 4-11.
    const auto keys = bytes_of({9, 9, 1, 2, 3, 4});
    std::vector<unsigned char> row(12, 0xEE);
    ccnvt_alphay_to_2yuv(row.data(), 12, keys.data(), 6, 4, 1);
    EXPECT_EQ(row, bytes_of({0xEE, 0xEE, 0xEE, 0xEE, 0x80, 1, 0x80, 2, 0x80, 3, 0x80, 4}));
}

TEST(AlphaBytes, OddWidthsLeaveTheLastPixel) {
    std::vector<unsigned char> out(12, 0xEE);
    ccnvt_alphay_to_2yuv(out.data(), 4, bytes_of({1, 2}).data(), 2, 1, 1);  // width 1: nothing
    EXPECT_EQ(out, std::vector<unsigned char>(12, 0xEE));
    const auto uyvy = bytes_of({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    ccnvt_2yuv_strip_chroma(out.data(), 12, uyvy.data(), 12, 5, 1);
    EXPECT_EQ(out, bytes_of({0x80, 2, 0x80, 4, 0x80, 6, 0x80, 8, 0xEE, 0xEE, 0xEE, 0xEE}));
}

}  // namespace
