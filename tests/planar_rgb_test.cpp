// Planar RGB splits and ccnvt_rgba_full against models written from the
// rules: channel c of every pixel to plane c, planes left out where their
// pointer is null, and the pitch-quotient dispatch of ccnvt_rgba_full.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/test_support.h"

using cconvert::test::ScopedCpuFeatures;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSampled = true;
#else
constexpr bool kSampled = false;
#endif

using SplitFn = void (*)(std::array<void*, 4> planes, long plane_pitch, const void* source, long source_pitch,
                         long width, long height);

struct Splitter {
    std::string name;
    SplitFn split;
    int channels, sample_bytes;
};

std::vector<Splitter> splitters() {
    return {
        {"rgba32_rgba_planar",
         +[](std::array<void*, 4> p, long pp, const void* s, long sp, long w, long h) {
             ccnvt_rgba32_rgba_planar(p[0], p[1], p[2], p[3], pp, s, sp, w, h);
         },
         4, 1},
        {"rgb24_rgb_planar",
         +[](std::array<void*, 4> p, long pp, const void* s, long sp, long w, long h) {
             ccnvt_rgb24_rgb_planar(p[0], p[1], p[2], pp, s, sp, w, h);
         },
         3, 1},
        {"rgba64_rgba_planar16",
         +[](std::array<void*, 4> p, long pp, const void* s, long sp, long w, long h) {
             ccnvt_rgba64_rgba_planar16(p[0], p[1], p[2], p[3], pp, s, sp, w, h);
         },
         4, 2},
        {"rgb48_rgb_planar16",
         +[](std::array<void*, 4> p, long pp, const void* s, long sp, long w, long h) {
             ccnvt_rgb48_rgb_planar16(p[0], p[1], p[2], pp, s, sp, w, h);
         },
         3, 2},
    };
}

struct Split {
    long width, height, plane_pitch, source_pitch;
    unsigned present;  // bit c: plane c is given
};

// The rows the split writes: none for height 0 or width below 1; with every
// plane given, the copy's region of int height rows (none when negative);
// with a plane left out, |height| rows.
long rows_split(const Splitter& s, const Split& g) {
    if (g.height == 0 || g.width < 1) return 0;
    const bool all = g.present == (1u << s.channels) - 1;
    if (all) return std::max(static_cast<long>(static_cast<int>(g.height)), 0L);
    return std::labs(g.height);
}

// Memory for one side: rows 0..rows-1, pitch of either sign, a margin around.
struct Arena {
    static constexpr long kMargin = 48;
    std::vector<unsigned char> bytes;
    long origin;

    Arena(long pitch, long rows, long row_bytes, std::uint32_t seed) {
        const long low = std::min(0L, (rows - 1) * pitch), high = std::max(0L, (rows - 1) * pitch) + row_bytes;
        bytes.resize(high - low + 2 * kMargin);
        origin = kMargin - low;
        cconvert::test::fill_random(bytes.data(), bytes.size(), seed);
    }
    unsigned char* at() { return bytes.data() + origin; }
};

void expect_split_matches_model(const Splitter& s, const Split& g, std::uint32_t seed) {
    const long rows = std::max(std::labs(g.height), 1L), w = std::max(g.width, 0L);
    const long sample_row = s.sample_bytes * w, pixel_row = s.channels * sample_row;
    Arena source(g.source_pitch, rows, pixel_row, seed);
    std::vector<Arena> planes, expected;
    for (int c = 0; c < s.channels; ++c) planes.emplace_back(g.plane_pitch, rows, sample_row, seed + 1 + c);
    expected = planes;
    const long split_rows = rows_split(s, g);
    for (long k = 0; k < split_rows; ++k)
        for (long x = 0; x < w; ++x)
            for (int c = 0; c < s.channels; ++c)
                if (g.present >> c & 1)
                    std::memcpy(expected[c].at() + k * g.plane_pitch + s.sample_bytes * x,
                                source.at() + k * g.source_pitch + (s.channels * x + c) * s.sample_bytes,
                                s.sample_bytes);
    std::array<void*, 4> pointers{};
    for (int c = 0; c < s.channels; ++c) pointers[c] = g.present >> c & 1 ? planes[c].at() : nullptr;
    const auto source_before = source.bytes;
    s.split(pointers, g.plane_pitch, source.at(), g.source_pitch, g.width, g.height);
    for (int c = 0; c < s.channels; ++c)
        ASSERT_EQ(planes[c].bytes, expected[c].bytes)
            << s.name << " plane " << c << " width " << g.width << " height " << g.height << " pitches "
            << g.plane_pitch << "/" << g.source_pitch << " planes given " << g.present;
    ASSERT_EQ(source.bytes, source_before) << s.name;
}

class PlanarRgb : public ::testing::TestWithParam<unsigned int> {};

TEST_P(PlanarRgb, EveryWidthSplitsIntoItsPlanes) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 1;
    std::vector<long> widths;
    for (long w = 0; w <= 130; w += kSampled ? 5 : 1) widths.push_back(w);
    for (long w : {-1L, 31L, 32L, 33L, 1000L, 1921L}) widths.push_back(w);
    for (const Splitter& s : splitters()) {
        const unsigned all = (1u << s.channels) - 1;
        for (long w : widths)
            for (long h : {1L, 3L, 0L})
                for (long pad : {0L, 5L}) {
                    const long ww = std::max(w, 0L);
                    expect_split_matches_model(
                        s, {w, h, s.sample_bytes * ww + pad, s.channels * s.sample_bytes * ww + 2 * pad, all}, seed++);
                    if (HasFatalFailure()) return;
                }
    }
}

TEST_P(PlanarRgb, PlanesLeftOutAndPitchesOfEitherSign) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 500;
    for (const Splitter& s : splitters())
        for (unsigned present = 0; present < (1u << s.channels); ++present)
            for (long w : {1L, 13L, 40L})
                for (long h : {2L, -3L})
                    for (auto [pp, sp] : {std::pair{1L, 1L}, {-1L, 1L}, {1L, -1L}, {0L, 1L}}) {
                        const long plane_pitch = pp * (s.sample_bytes * w + 3);
                        const long source_pitch = sp * (s.channels * s.sample_bytes * w + 1);
                        expect_split_matches_model(s, {w, h, plane_pitch, source_pitch, present}, seed++);
                        if (HasFatalFailure()) return;
                    }
}

// A plane laid over the source: the per-pixel walk (each pixel read whole,
// then its samples written to planes 0, 1, ...) decides the bytes.
TEST_P(PlanarRgb, PlanesOverTheSourceFollowThePerPixelWalk) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 1200;
    for (const Splitter& s : splitters())
        for (long w : {5L, 40L, 70L})
            for (long shift = -w * s.sample_bytes; shift <= w * s.channels * s.sample_bytes; shift += 3) {
                const long pixel_bytes = s.channels * s.sample_bytes, row = pixel_bytes * w;
                const long margin = w * s.sample_bytes + 16;
                std::vector<unsigned char> memory(row + 2 * margin);
                cconvert::test::fill_random(memory.data(), memory.size(), seed++);
                std::vector<unsigned char> others(3 * s.sample_bytes * w);
                auto expected = memory;
                auto expected_others = others;
                // Plane 1 over the source; the others apart.
                auto plane = [&](std::vector<unsigned char>& m, std::vector<unsigned char>& o, int c) {
                    return c == 1 ? m.data() + margin + shift
                                  : o.data() + s.sample_bytes * w * (c == 0 ? 0 : c - 1);
                };
                for (long x = 0; x < w; ++x) {
                    unsigned char pixel[8];
                    std::memcpy(pixel, expected.data() + margin + pixel_bytes * x, pixel_bytes);
                    for (int c = 0; c < s.channels; ++c)
                        std::memcpy(plane(expected, expected_others, c) + s.sample_bytes * x,
                                    pixel + s.sample_bytes * c, s.sample_bytes);
                }
                std::array<void*, 4> p{};
                for (int c = 0; c < s.channels; ++c) p[c] = plane(memory, others, c);
                s.split(p, 0, memory.data() + margin, 0, w, 1);
                ASSERT_EQ(memory, expected) << s.name << " width " << w << " shift " << shift;
                ASSERT_EQ(others, expected_others) << s.name << " width " << w << " shift " << shift;
            }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, PlanarRgb, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(PlanarRgbValues, ChannelIGoesToPlaneI) {
    const unsigned char rgba[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    unsigned char b[2], g[2], r[2], alpha[2];
    ccnvt_rgba32_rgba_planar(b, g, r, alpha, 2, rgba, 8, 2, 1);
    EXPECT_EQ(std::vector<unsigned char>({b[0], b[1], g[0], g[1], r[0], r[1], alpha[0], alpha[1]}),
              (std::vector<unsigned char>{1, 5, 2, 6, 3, 7, 4, 8}));
    // The alpha plane alone.
    unsigned char only_alpha[2] = {};
    ccnvt_rgba32_rgba_planar(nullptr, nullptr, nullptr, only_alpha, 2, rgba, 8, 2, 1);
    EXPECT_EQ(only_alpha[1], 8);
    const std::uint16_t rgb48[3] = {0x1111, 0x2222, 0x3333};
    std::uint16_t p0 = 0, p1 = 0, p2 = 0;
    ccnvt_rgb48_rgb_planar16(&p0, &p1, &p2, 2, rgb48, 6, 1, 1);
    EXPECT_EQ(p0, 0x1111);
    EXPECT_EQ(p1, 0x2222);
    EXPECT_EQ(p2, 0x3333);
}

// ---- ccnvt_rgba_full ----

struct FullCase {
    std::string name;
    long width, height, destination_pitch, source_pitch;
};

// The bytes every dispatch case gives, worked out from the rules.
void model_full(unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
    if (w == 0) return;
    const long sb = sp / w, db = dp / w, rows = std::labs(h);
    if (sb == 4 && db == 3) {
        if (h == 0 || w < 1) return;
        for (long k = 0; k < rows; ++k)
            for (long x = 0; x < w; ++x) std::memcpy(d + k * dp + 3 * x, s + k * sp + 4 * x, 3);
    } else if (sb == 3 && db == 4) {
        if (h == 0 || w < 1) return;
        for (long k = 0; k < rows; ++k)
            for (long x = 0; x < w; ++x) {
                std::memcpy(d + k * dp + 4 * x, s + k * sp + 3 * x, 3);
                d[k * dp + 4 * x + 3] = 0xFF;
            }
    } else if (sb == 3 && db == 3) {
        if (h == 0 || w < 1) return;
        for (long k = 0; k < rows; ++k) std::memcpy(d + k * dp, s + k * sp, 3 * w);
    } else if (sp == dp) {
        std::memcpy(d, s, static_cast<unsigned>(w) * static_cast<unsigned>(h) * static_cast<unsigned>(sb));
    } else if (h >= 1 && w >= 1) {
        const long ssize = std::labs(sb), dsize = std::labs(db), keep = std::min(ssize, dsize);
        for (long k = 0; k < rows; ++k)
            for (long x = 0; x < w; ++x) std::memcpy(d + k * dp + dsize * x, s + k * sp + ssize * x, keep);
    }
}

TEST(RgbaFull, EveryDispatchCaseGivesTheModelsBytes) {
    const std::vector<FullCase> cases = {
        {"4 to 3", 10, 3, 30, 40},
        {"4 to 3, source pitch 4w + 2 truncates to 4", 10, 3, 30, 42},
        {"4 to 3, negative height", 7, -2, 21, 28},
        {"3 to 4, always opaque", 10, 3, 40, 30},
        {"3 to 4, padded", 33, 2, 4 * 33 + 5, 3 * 33 + 1},
        {"3 to 3", 9, 3, 27 + 2, 27},
        {"4 to 4, equal pitches: one copy", 8, 3, 32, 32},
        {"4 to 4, equal padded pitches: the copy ends short", 10, 3, 42, 42},
        {"2 to 2, equal pitches", 6, 2, 12, 12},
        {"4 to 4, pitches differ", 10, 3, 44, 40},
        {"8 to 4: the first 4 bytes of each pixel", 5, 2, 20, 40},
        {"2 to 4: 2 bytes of each pixel, the rest kept", 5, 2, 20, 10},
        {"bottom-up 4-byte source", 6, 3, 24, -24},
        {"pitches below the width: nothing per pixel", 10, 2, 5, 7},
        {"width 0", 0, 3, 40, 30},
        {"height 0", 5, 0, 20, 12},
        {"negative width, equal pitches", -5, 2, 20, 20},
    };
    std::uint32_t seed = 1;
    for (const FullCase& c : cases) {
        const long rows = std::max(std::labs(c.height), 1L);
        const long span_d = rows * std::labs(c.destination_pitch) + 64, span_s = rows * std::labs(c.source_pitch) + 64;
        // Pointers in the middle of their buffers, so that negative pitches stay inside.
        std::vector<unsigned char> destination(2 * span_d), source(2 * span_s);
        cconvert::test::fill_random(destination.data(), destination.size(), seed++);
        cconvert::test::fill_random(source.data(), source.size(), seed++);
        auto expected = destination;
        model_full(expected.data() + span_d, c.destination_pitch, source.data() + span_s, c.source_pitch, c.width,
                   c.height);
        ccnvt_rgba_full(destination.data() + span_d, c.destination_pitch, source.data() + span_s, c.source_pitch,
                        c.width, c.height);
        EXPECT_EQ(destination, expected) << c.name;
    }
}

TEST(RgbaFull, NullPointersAndTheSameFrameTouchNothing) {
    std::vector<unsigned char> frame(120, 0x5A);
    const auto before = frame;
    ccnvt_rgba_full(nullptr, 30, frame.data(), 40, 10, 3);
    ccnvt_rgba_full(frame.data(), 30, nullptr, 40, 10, 3);
    ccnvt_rgba_full(frame.data(), 40, frame.data(), 40, 10, 3);
    EXPECT_EQ(frame, before);
}

TEST(RgbaFull, InPlaceNarrowingAndWideningOfPackedFrames) {
    const long w = 37, h = 4;
    std::vector<unsigned char> frame(4 * w * h);
    cconvert::test::fill_random(frame.data(), frame.size(), 7);
    const auto rgba = frame;
    ccnvt_rgba_full(frame.data(), 3 * w, frame.data(), 4 * w, w, h);
    for (long i = 0; i < w * h; ++i) ASSERT_EQ(0, std::memcmp(&frame[3 * i], &rgba[4 * i], 3)) << i;
    ccnvt_rgba_full(frame.data(), 4 * w, frame.data(), 3 * w, w, h);
    for (long i = 0; i < w * h; ++i) {
        ASSERT_EQ(0, std::memcmp(&frame[4 * i], &rgba[4 * i], 3)) << i;
        ASSERT_EQ(frame[4 * i + 3], 0xFF) << i;
    }
}

}  // namespace
