// Planar RGB splits, each plane a frame walk of its own (the other planes
// elsewhere or left out); ccnvt_rgba_full against a model of its dispatch.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/frame_walk.h"
#include "support/test_support.h"

using namespace cconvert::test::walk;

namespace {

using SplitFn = void (*)(std::array<void*, 4> planes, long plane_pitch, const void* source, long source_pitch,
                         long width, long height);

struct Splitter {
    const char* name;
    SplitFn split;
    int channels, sample_bytes;
};

#define SPLIT4(f) [](std::array<void*, 4> p, long pp, const void* s, long sp, long w, long h) { f(p[0], p[1], p[2], p[3], pp, s, sp, w, h); }
#define SPLIT3(f) [](std::array<void*, 4> p, long pp, const void* s, long sp, long w, long h) { f(p[0], p[1], p[2], pp, s, sp, w, h); }

const Splitter kSplitters[] = {
    {"rgba32_rgba_planar", SPLIT4(ccnvt_rgba32_rgba_planar), 4, 1},
    {"rgb24_rgb_planar", SPLIT3(ccnvt_rgb24_rgb_planar), 3, 1},
    {"rgba64_rgba_planar16", SPLIT4(ccnvt_rgba64_rgba_planar16), 4, 2},
    {"rgb48_rgb_planar16", SPLIT3(ccnvt_rgb48_rgb_planar16), 3, 2},
};

// Plane c of a split, the other planes in memory of their own (all given:
// int height rows, none for a negative height) or left out (|height| rows).
Walk plane_walk(const Splitter& s, int c, bool all_given) {
    return {std::string(s.name) + " plane " + std::to_string(c) + (all_given ? "" : " alone"),
            [s, c, all_given](void* d, long dp, void* source, long sp, long w, long h) {
                const long rows = std::max(rows_in(h), 1L), row = s.sample_bytes * std::max(w, 0L);
                std::vector<unsigned char> others(rows * std::labs(dp) + row);
                unsigned char* other = others.data() + (dp < 0 ? (rows - 1) * -dp : 0);
                std::array<void*, 4> planes{};
                for (int k = 0; k < s.channels; ++k) planes[k] = k == c ? d : all_given ? other : nullptr;
                s.split(planes, dp, source, sp, w, h);
            },
            s.channels * s.sample_bytes, s.sample_bytes, Rows::first_to_last, Pixels::front_to_back,
            all_given ? Guard::below_one : Guard::height_zero_or_narrow,
            [s, c](const unsigned char* in, unsigned char* out, long, long) {
                std::memcpy(out, in + c * s.sample_bytes, s.sample_bytes);
            }};
}

std::vector<Walk> walks() {
    std::vector<Walk> walks;
    for (const Splitter& s : kSplitters)
        for (int c = 0; c < s.channels; ++c)
            for (bool all_given : {true, false}) walks.push_back(plane_walk(s, c, all_given));
    return walks;
}

CCNVT_FRAME_WALK_SWEEPS(PlanarRgb, walks());

TEST(PlanarRgbValues, ChannelIGoesToPlaneI) {
    const unsigned char rgba[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    unsigned char p[4][2] = {};
    ccnvt_rgba32_rgba_planar(p[0], nullptr, p[2], p[3], 2, rgba, 8, 2, 1);
    EXPECT_EQ(std::vector<unsigned char>(&p[0][0], &p[0][0] + 8), (std::vector<unsigned char>{1, 5, 0, 0, 3, 7, 4, 8}));
    const std::uint16_t rgb48[3] = {0x1111, 0x2222, 0x3333};
    std::uint16_t q0 = 0, q1 = 0, q2 = 0;
    ccnvt_rgb48_rgb_planar16(&q0, &q1, &q2, 2, rgb48, 6, 1, 1);
    EXPECT_EQ(std::vector<std::uint16_t>({q0, q1, q2}), (std::vector<std::uint16_t>{0x1111, 0x2222, 0x3333}));
}

// ---- ccnvt_rgba_full ----

// Dispatch on the pitch quotients: the packed 4/3-byte pairs, one copy for equal pitches, else per pixel.
void model_full(unsigned char* d, long dp, const unsigned char* s, long sp, long w, long h) {
    if (w == 0) return;
    const long sb = sp / w, db = dp / w, rows = std::labs(h);
    const bool packed = (sb == 4 && db == 3) || (sb == 3 && (db == 4 || db == 3));
    if (!packed && sp == dp)
        return (void)std::memcpy(d, s, static_cast<unsigned>(w) * static_cast<unsigned>(h) * static_cast<unsigned>(sb));
    if (h == 0 || w < 1 || (!packed && h < 1)) return;
    const long ssize = std::labs(sb), dsize = std::labs(db), keep = std::min(ssize, dsize);
    for (long k = 0; k < rows; ++k)
        for (long x = 0; x < w; ++x) {
            std::memcpy(d + k * dp + dsize * x, s + k * sp + ssize * x, keep);
            if (sb == 3 && db == 4) d[k * dp + 4 * x + 3] = 0xFF;
        }
}

TEST(RgbaFull, EveryDispatchCaseGivesTheModelsBytes) {
    struct Case {
        const char* name;
        long width, height, destination_pitch, source_pitch;
    };
    const Case cases[] = {
        {"4 to 3, source pitch 4w + 2 truncates to 4", 10, 3, 30, 42},
        {"4 to 3, negative height", 7, -2, 21, 28},
        {"3 to 4, padded", 33, 2, 4 * 33 + 5, 3 * 33 + 1},
        {"3 to 3", 9, 3, 27 + 2, 27},
        {"4 to 4, equal padded pitches: the copy ends short", 10, 3, 42, 42},
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
    for (const Case& c : cases) {
        const long rows = std::max(std::labs(c.height), 1L);
        const long span_d = rows * std::labs(c.destination_pitch) + 64, span_s = rows * std::labs(c.source_pitch) + 64;
        auto destination = cconvert::test::random_bytes(2 * span_d, seed++);
        const auto source = cconvert::test::random_bytes(2 * span_s, seed++);
        auto expected = destination;
        model_full(&expected[span_d], c.destination_pitch, &source[span_s], c.source_pitch, c.width, c.height);
        ccnvt_rgba_full(&destination[span_d], c.destination_pitch, &source[span_s], c.source_pitch, c.width, c.height);
        EXPECT_EQ(destination, expected) << c.name;
    }
}

TEST(RgbaFull, NullPointersAndTheSameFrameTouchNothing) {
    std::vector<unsigned char> frame(120, 0x5A);
    ccnvt_rgba_full(nullptr, 30, frame.data(), 40, 10, 3);
    ccnvt_rgba_full(frame.data(), 30, nullptr, 40, 10, 3);
    ccnvt_rgba_full(frame.data(), 40, frame.data(), 40, 10, 3);
    EXPECT_EQ(frame, std::vector<unsigned char>(120, 0x5A));
}

TEST(RgbaFull, InPlaceNarrowingAndWideningOfPackedFrames) {
    const long w = 37, h = 4;
    const auto rgba = cconvert::test::random_bytes(4 * w * h, 7);
    auto frame = rgba;
    ccnvt_rgba_full(frame.data(), 3 * w, frame.data(), 4 * w, w, h);
    ccnvt_rgba_full(frame.data(), 4 * w, frame.data(), 3 * w, w, h);
    for (long i = 0; i < w * h; ++i) {
        ASSERT_EQ(0, std::memcmp(&frame[4 * i], &rgba[4 * i], 3)) << i;
        ASSERT_EQ(frame[4 * i + 3], 0xFF) << i;
    }
}

}  // namespace
