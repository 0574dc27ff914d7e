// 8- and 16-bit RGB converters and span reorders as frame walks, the older
// names, and hand-worked frames.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/frame_walk.h"
#include "support/test_support.h"

using namespace cconvert::test::walk;

namespace {

constexpr int F = -1;  // "the fill alpha" in a permutation

// The fill alpha is read when the pixel is made, as each call reads it.
UnitModel permutation(std::array<int, 4> p, int out_bytes) {
    return [p, out_bytes](const unsigned char* in, unsigned char* out, long, long) {
        for (int k = 0; k < out_bytes; ++k) out[k] = p[k] == F ? a : in[p[k]];
    };
}

const unsigned char kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

UnitModel rgb16_reduction(bool six_bit_green, bool dithered) {
    return [=](const unsigned char* in, unsigned char* out, long x, long y) {
        const int d = dithered ? kBayer[y & 3][x & 3] : 0;
        const int b = std::min(in[0] + (d >> 1), 255);
        const int g = std::min(in[1] + (six_bit_green ? d >> 2 : d >> 1), 255);
        const int r = std::min(in[2] + (d >> 1), 255);
        const int word = six_bit_green ? (r >> 3) << 11 | (g >> 2) << 5 | b >> 3
                                       : (r >> 3) << 10 | (g >> 3) << 5 | b >> 3;
        out[0] = static_cast<unsigned char>(word);
        out[1] = static_cast<unsigned char>(word >> 8);
    };
}

UnitModel rgb16_expansion(int out_bytes) {
    return [=](const unsigned char* in, unsigned char* out, long, long) {
        const int word = in[0] | in[1] << 8;
        out[0] = static_cast<unsigned char>((word & 0x1F) << 3);
        out[1] = static_cast<unsigned char>(((word >> 5) & 0x1F) << 3);
        out[2] = static_cast<unsigned char>(((word >> 10) & 0x1F) << 3);
        if (out_bytes == 4) out[3] = a;
    };
}

#define FRAME_FN(f) [](void* d, long dp, void* s, long sp, long w, long h) { f(d, dp, s, sp, w, h); }

std::vector<Walk> converters() {
    using R = Rows;
    using P = Pixels;
    using G = Guard;
    return {
        {"rgba32_rgb24_inplace", FRAME_FN(ccnvt_rgba32_rgb24_inplace), 4, 3, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, permutation({0, 1, 2}, 3)},
        {"rgba32_rgb24_invert", FRAME_FN(ccnvt_rgba32_rgb24_invert), 4, 3, R::inverted_signed, P::front_to_back, G::height_zero_or_narrow, permutation({0, 1, 2}, 3)},
        {"rgba24_rgb32_invert", FRAME_FN(ccnvt_rgba24_rgb32_invert), 3, 4, R::inverted, P::front_to_back, G::height_zero_or_narrow, permutation({0, 1, 2, F}, 4)},
        {"rgb24_rgba32_inplace", FRAME_FN(ccnvt_rgb24_rgba32_inplace), 3, 4, R::last_to_first, P::back_to_front, G::height_zero_or_narrow, permutation({0, 1, 2, F}, 4)},
        {"rgb24_bgra32_inplace", FRAME_FN(ccnvt_rgb24_bgra32_inplace), 3, 4, R::last_to_first, P::back_to_front, G::height_zero_or_narrow, permutation({2, 1, 0, F}, 4)},
        {"rgba32_bgr24_inplace", FRAME_FN(ccnvt_rgba32_bgr24_inplace), 4, 3, R::first_to_last, P::front_to_back, G::height_zero, permutation({2, 1, 0}, 3)},
        {"rgba32_bgra32_inplace", FRAME_FN(ccnvt_rgba32_bgra32_inplace), 4, 4, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, permutation({2, 1, 0, 3}, 4)},
        {"rgba32_abgr32_inplace", FRAME_FN(ccnvt_rgba32_abgr32_inplace), 4, 4, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, permutation({3, 2, 1, 0}, 4)},
        {"rgba32_argb32", FRAME_FN(ccnvt_rgba32_argb32), 4, 4, R::first_to_last, P::front_to_back, G::height_zero, permutation({1, 2, 3, 0}, 4)},
        {"argb32_rgba32", FRAME_FN(ccnvt_argb32_rgba32), 4, 4, R::first_to_last, P::front_to_back, G::height_zero, permutation({3, 0, 1, 2}, 4)},
        {"macbgr24_macargb32_inplace", FRAME_FN(ccnvt_macbgr24_macargb32_inplace), 3, 4, R::end_aligned_last_to_first, P::back_to_front, G::below_one, permutation({F, 0, 1, 2}, 4)},
        {"rgba32_rgba32", FRAME_FN(ccnvt_rgba32_rgba32), 4, 4, R::first_to_last, P::front_to_back, G::height_zero, permutation({0, 1, 2, 3}, 4), kPlainCopy},
        {"rgba32_rgb16", FRAME_FN(ccnvt_rgba32_rgb16), 4, 2, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, rgb16_reduction(false, false)},
        {"rgba32_rgb16_565", FRAME_FN(ccnvt_rgba32_rgb16_565), 4, 2, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, rgb16_reduction(true, false)},
        {"rgba32_rgb16_dithered", FRAME_FN(ccnvt_rgba32_rgb16_dithered), 4, 2, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, rgb16_reduction(false, true)},
        {"rgba32_rgb16_565_dithered", FRAME_FN(ccnvt_rgba32_rgb16_565_dithered), 4, 2, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, rgb16_reduction(true, true)},
        {"rgb16_rgb24", FRAME_FN(ccnvt_rgb16_rgb24), 2, 3, R::first_to_last, P::front_to_back, G::height_zero_or_narrow, rgb16_expansion(3)},
        {"rgb16_rgba32_inplace", FRAME_FN(ccnvt_rgb16_rgba32_inplace), 2, 4, R::end_aligned_last_to_first, P::back_to_front, G::height_zero_or_narrow, rgb16_expansion(4)},
    };
}

CCNVT_FRAME_WALK_SWEEPS(RgbConverters, converters());

#define OLDER(name, target) {#name, FRAME_FN(ccnvt_##name), FRAME_FN(ccnvt_##target)}

TEST(RgbOlderNames, EachConvertsAsItsTarget) {
    const std::vector<std::tuple<const char*, FrameFn, FrameFn>> names = {
        OLDER(rgb32_rgb24_inplace, rgba32_rgb24_inplace), OLDER(rgb32_rgb24, rgba32_rgb24_inplace),
        OLDER(rgba32_rgb24, rgba32_rgb24_inplace),        OLDER(rgb24_rgb32_inplace, rgb24_rgba32_inplace),
        OLDER(rgb24_rgb32, rgb24_rgba32_inplace),         OLDER(rgb24_rgba32, rgb24_rgba32_inplace),
        OLDER(rgb24_bgr32_inplace, rgb24_bgra32_inplace), OLDER(rgb32_bgr24_inplace, rgba32_bgr24_inplace),
        OLDER(rgb32_bgr32_inplace, rgba32_bgra32_inplace), OLDER(rgb32_rgb32, rgba32_rgba32),
        OLDER(rgb16_rgb32_inplace, rgb16_rgba32_inplace), OLDER(rgb16_rgb32, rgb16_rgba32_inplace),
        OLDER(rgb16_rgba32, rgb16_rgba32_inplace),        OLDER(rgb32_rgb16, rgba32_rgb16),
        OLDER(rgb32_rgb16_565, rgba32_rgb16_565),         OLDER(rgb32_rgb16_dithered, rgba32_rgb16_dithered),
        OLDER(rgb32_rgb16_565_dithered, rgba32_rgb16_565_dithered),
    };
    auto source = cconvert::test::random_bytes(4 * 40 * 3, 4);
    for (const auto& [name, older, target] : names) {
        std::vector<unsigned char> by_name(source.size()), by_target(source.size());
        older(by_name.data(), 4 * 40, source.data(), 4 * 40, 37, 3);
        target(by_target.data(), 4 * 40, source.data(), 4 * 40, 37, 3);
        EXPECT_EQ(by_name, by_target) << name;
    }
}

// ---- spans: one row of count pixels, front to back ----

using SpanFn = void (*)(unsigned int*, const unsigned int*, unsigned int);

Walk span(const char* name, SpanFn reorder, std::array<int, 4> from) {
    return {name,
            [reorder](void* d, long, void* s, long, long w, long) {
                reorder(static_cast<unsigned int*>(d), static_cast<const unsigned int*>(s), static_cast<unsigned int>(w));
            },
            4, 4, Rows::first_to_last, Pixels::front_to_back, Guard::height_zero_or_narrow, permutation(from, 4)};
}

class SpanReorders : public ::testing::TestWithParam<unsigned int> {};

TEST_P(SpanReorders, SeparateInPlaceAndOverlappingSpansMatchTheWalk) {
    const cconvert::test::ScopedCpuFeatures features(GetParam());
    const Walk spans[] = {
        span("rgba2argb", rgba2argb, {1, 2, 3, 0}),       span("argb2rgba", argb2rgba, {3, 1, 2, 0}),
        span("bgra2argb", bgra2argb, {3, 2, 1, 0}),       span("argb2bgra", argb2bgra, {3, 2, 1, 0}),
        span("abgr2argb", abgr2argb, {2, 1, 0, 3}),       span("argb2abgr", argb2abgr, {2, 1, 0, 3}),
        span("bgra2rgba", bgra2rgba, {2, 1, 0, 3}),       span("bgra2abgr", bgra2abgr, {1, 2, 3, 0}),
        span("abgr2bgra", abgr2bgra, {3, 0, 1, 2}),       span("bgra2abgrMMX", bgra2abgrMMX, {1, 2, 3, 0}),
        span("abgr2bgraMMX", abgr2bgraMMX, {3, 0, 1, 2}),
    };
    std::uint32_t seed = 1;
    for (const Walk& s : spans)
        for (long count : {0L, 1L, 3L, 13L, 45L, 1921L})
            for (long shift : {-5L, -4L, -1L, 0L, 1L, 9L}) {
                if (shift == -5) expect_matches_model(s, {count, 1, 0, 0}, seed++);
                expect_overlap_matches_model(s, {count, 1, 0, 0}, shift, seed++);
                if (HasFatalFailure()) return;
            }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, SpanReorders, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// ---- the fill alpha and hand-worked frames ----

// The models read the fill alpha as each call does.
TEST(FillAlpha, IsFFAtLoadAndHonouredByEveryWidening) {
    EXPECT_EQ(a, 0xFF);
    std::uint32_t seed = 900;
    for (int value : {0x00, 0x42, 0xFF}) {
        a = static_cast<unsigned char>(value);
        for (const Walk& c : converters())
            if (c.out_bytes == 4) expect_matches_model(c, padded(c, 37, 2, 4, 0), seed++);
    }
}

// Mac widening: two pixels per row, source rows of 8 bytes, destination rows of 11, pixels at the end of each.
// Inverting narrowing, height -2: destination rows at (height - 1 - k) * pitch = -3 and -4 pitches.
TEST(RgbValues, MacWideningEndsEachSpanAndANegativeHeightStartsAboveTheDestination) {
    const auto source = bytes_of({9, 9, 1, 2, 3, 4, 5, 6, 9, 9, 7, 8, 9, 10, 11, 12});
    std::vector<unsigned char> destination(22, 0xEE), frame(5 * 3, 0xEE);
    ccnvt_macbgr24_macargb32_inplace(destination.data(), 11, source.data(), 8, 2, 2);
    EXPECT_EQ(destination, bytes_of({0xEE, 0xEE, 0xEE, 0xFF, 1, 2, 3, 0xFF, 4, 5, 6,  //
                                     0xEE, 0xEE, 0xEE, 0xFF, 7, 8, 9, 0xFF, 10, 11, 12}));
    ccnvt_rgba32_rgb24_invert(frame.data() + 4 * 3, 3, source.data() + 2, 4, 1, -2);
    EXPECT_EQ(frame, bytes_of({5, 6, 9, 1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
}

// The word at (x, y) of a frame of (x + 1) x (y + 1) equal pixels; D is the dither at (x, y).
int reduce_one(const FrameFn& reduce, std::array<int, 4> pixel, long x = 0, long y = 0) {
    std::vector<unsigned char> source(4 * (x + 1) * (y + 1));
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(pixel[i % 4]);
    std::vector<unsigned char> destination(2 * (x + 1) * (y + 1));
    reduce(destination.data(), 2 * (x + 1), source.data(), 4 * (x + 1), x + 1, y + 1);
    const std::size_t at = 2 * ((x + 1) * y + x);
    return destination[at] | destination[at + 1] << 8;
}

TEST(Rgb16, DitherAndExpansionExamples) {
    const FrameFn dithered = FRAME_FN(ccnvt_rgba32_rgb16_dithered), dithered565 = FRAME_FN(ccnvt_rgba32_rgb16_565_dithered);
    EXPECT_EQ(reduce_one(dithered, {255, 255, 255, 0}, 0, 3), 0x7FFF);  // D = 15 saturates
    EXPECT_EQ(reduce_one(dithered, {0x84, 0x84, 0x84, 0}, 1, 0), 17 << 10 | 17 << 5 | 17);  // D = 8 adds 4
    EXPECT_EQ(reduce_one(dithered565, {0, 0x7E, 0, 0}, 0, 3), 32 << 5);  // green adds D >> 2: 0x7E to 0x81
    // Expansion shifts without replicating and ignores bit 15.
    auto words = bytes_of({0xFF, 0x7F, 0x00, 0x80, 0x1F, 0x00, 0xE0, 0x83});
    std::vector<unsigned char> rgb24(12);
    ccnvt_rgb16_rgb24(rgb24.data(), 12, words.data(), 8, 4, 1);
    EXPECT_EQ(rgb24, bytes_of({248, 248, 248, 0, 0, 0, 248, 0, 0, 0, 248, 0}));
}

}  // namespace
