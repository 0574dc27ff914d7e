// 8- and 16-bit RGB converters against an independent model.
//
// The model is written once, as data: for each converter the bytes per pixel
// on both sides, what each destination byte is (source byte p[k], the fill
// alpha, or a 16-bit formula), and how it walks the frame (row order, pixel
// order, where rows start). Simulating that walk pixel by pixel on the same
// memory gives the expected bytes for separate frames, for frames in place
// and for any overlap; every converter must match it under every feature
// word, bytes outside the frame included.
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/test_support.h"

using cconvert::test::ScopedCpuFeatures;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSampled = true;  // instrumented builds sweep fewer sizes
#else
constexpr bool kSampled = false;
#endif

using FrameFn = void (*)(void*, long, void*, long, long, long);

// One destination pixel from one source pixel, at pixel x of row y (rows
// counted in the order of work), with the fill alpha.
using PixelModel = std::function<void(const unsigned char* in, unsigned char* out, long x, long y,
                                      unsigned char alpha)>;

constexpr int F = -1;  // "the fill alpha" in a permutation

PixelModel permutation(std::array<int, 4> p, int out_bytes) {
    return [p, out_bytes](const unsigned char* in, unsigned char* out, long, long, unsigned char alpha) {
        for (int k = 0; k < out_bytes; ++k) out[k] = p[k] == F ? alpha : in[p[k]];
    };
}

// ---- the 16-bit formulas ----

const unsigned char kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

PixelModel rgb16_reduction(bool six_bit_green, bool dithered) {
    return [=](const unsigned char* in, unsigned char* out, long x, long y, unsigned char) {
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

PixelModel rgb16_expansion(int out_bytes) {
    return [=](const unsigned char* in, unsigned char* out, long, long, unsigned char alpha) {
        const int word = in[0] | in[1] << 8;
        out[0] = static_cast<unsigned char>((word & 0x1F) << 3);
        out[1] = static_cast<unsigned char>(((word >> 5) & 0x1F) << 3);
        out[2] = static_cast<unsigned char>(((word >> 10) & 0x1F) << 3);
        if (out_bytes == 4) out[3] = alpha;
    };
}

// ---- how each converter walks a frame ----

enum class Rows {
    first_to_last,             // destination row k at k * pitch
    last_to_first,             // the same rows, last first
    end_aligned_last_to_first, // row k is the span that ends at (k + 1) * pitch
    inverted_signed,           // destination row (height - 1 - k), height as passed
    inverted,                  // destination row (|height| - 1 - k)
};
enum class Pixels { front_to_back, back_to_front };
enum class Guard {
    height_zero_or_narrow,  // nothing when height == 0 or width < 1
    height_zero,            // nothing when height == 0 (narrow rows convert nothing)
    below_one,              // nothing when height < 1 or width < 1
};

struct Converter {
    std::string name;
    FrameFn convert;
    int in_bytes, out_bytes;
    PixelModel pixel;
    Rows rows;
    Pixels pixels;
    Guard guard;
    bool may_overlap = true;  // false: a plain memory copy
};

#define FRAME_FN(f) (+[](void* d, long dp, void* s, long sp, long w, long h) { f(d, dp, s, sp, w, h); })

std::vector<Converter> converters() {
    using R = Rows;
    using P = Pixels;
    using G = Guard;
    return {
        {"rgba32_rgb24_inplace", FRAME_FN(ccnvt_rgba32_rgb24_inplace), 4, 3, permutation({0, 1, 2}, 3), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgba32_rgb24_invert", FRAME_FN(ccnvt_rgba32_rgb24_invert), 4, 3, permutation({0, 1, 2}, 3), R::inverted_signed, P::front_to_back, G::height_zero_or_narrow},
        {"rgba24_rgb32_invert", FRAME_FN(ccnvt_rgba24_rgb32_invert), 3, 4, permutation({0, 1, 2, F}, 4), R::inverted, P::front_to_back, G::height_zero_or_narrow},
        {"rgb24_rgba32_inplace", FRAME_FN(ccnvt_rgb24_rgba32_inplace), 3, 4, permutation({0, 1, 2, F}, 4), R::last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"rgb24_bgra32_inplace", FRAME_FN(ccnvt_rgb24_bgra32_inplace), 3, 4, permutation({2, 1, 0, F}, 4), R::last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"rgba32_bgr24_inplace", FRAME_FN(ccnvt_rgba32_bgr24_inplace), 4, 3, permutation({2, 1, 0}, 3), R::first_to_last, P::front_to_back, G::height_zero},
        {"rgba32_bgra32_inplace", FRAME_FN(ccnvt_rgba32_bgra32_inplace), 4, 4, permutation({2, 1, 0, 3}, 4), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgba32_abgr32_inplace", FRAME_FN(ccnvt_rgba32_abgr32_inplace), 4, 4, permutation({3, 2, 1, 0}, 4), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgba32_argb32", FRAME_FN(ccnvt_rgba32_argb32), 4, 4, permutation({1, 2, 3, 0}, 4), R::first_to_last, P::front_to_back, G::height_zero},
        {"argb32_rgba32", FRAME_FN(ccnvt_argb32_rgba32), 4, 4, permutation({3, 0, 1, 2}, 4), R::first_to_last, P::front_to_back, G::height_zero},
        {"macbgr24_macargb32_inplace", FRAME_FN(ccnvt_macbgr24_macargb32_inplace), 3, 4, permutation({F, 0, 1, 2}, 4), R::end_aligned_last_to_first, P::back_to_front, G::below_one},
        {"rgba32_rgba32", FRAME_FN(ccnvt_rgba32_rgba32), 4, 4, permutation({0, 1, 2, 3}, 4), R::first_to_last, P::front_to_back, G::height_zero, false},
        {"rgba32_rgb16", FRAME_FN(ccnvt_rgba32_rgb16), 4, 2, rgb16_reduction(false, false), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgba32_rgb16_565", FRAME_FN(ccnvt_rgba32_rgb16_565), 4, 2, rgb16_reduction(true, false), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgba32_rgb16_dithered", FRAME_FN(ccnvt_rgba32_rgb16_dithered), 4, 2, rgb16_reduction(false, true), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgba32_rgb16_565_dithered", FRAME_FN(ccnvt_rgba32_rgb16_565_dithered), 4, 2, rgb16_reduction(true, true), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgb16_rgb24", FRAME_FN(ccnvt_rgb16_rgb24), 2, 3, rgb16_expansion(3), R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgb16_rgba32_inplace", FRAME_FN(ccnvt_rgb16_rgba32_inplace), 2, 4, rgb16_expansion(4), R::end_aligned_last_to_first, P::back_to_front, G::height_zero_or_narrow},
    };
}

struct Alias {
    std::string name;
    FrameFn alias, target;
};

std::vector<Alias> aliases() {
    return {
        {"rgb32_rgb24_inplace", FRAME_FN(ccnvt_rgb32_rgb24_inplace), FRAME_FN(ccnvt_rgba32_rgb24_inplace)},
        {"rgb32_rgb24", FRAME_FN(ccnvt_rgb32_rgb24), FRAME_FN(ccnvt_rgba32_rgb24_inplace)},
        {"rgba32_rgb24", FRAME_FN(ccnvt_rgba32_rgb24), FRAME_FN(ccnvt_rgba32_rgb24_inplace)},
        {"rgb24_rgb32_inplace", FRAME_FN(ccnvt_rgb24_rgb32_inplace), FRAME_FN(ccnvt_rgb24_rgba32_inplace)},
        {"rgb24_rgb32", FRAME_FN(ccnvt_rgb24_rgb32), FRAME_FN(ccnvt_rgb24_rgba32_inplace)},
        {"rgb24_rgba32", FRAME_FN(ccnvt_rgb24_rgba32), FRAME_FN(ccnvt_rgb24_rgba32_inplace)},
        {"rgb24_bgr32_inplace", FRAME_FN(ccnvt_rgb24_bgr32_inplace), FRAME_FN(ccnvt_rgb24_bgra32_inplace)},
        {"rgb32_bgr24_inplace", FRAME_FN(ccnvt_rgb32_bgr24_inplace), FRAME_FN(ccnvt_rgba32_bgr24_inplace)},
        {"rgb32_bgr32_inplace", FRAME_FN(ccnvt_rgb32_bgr32_inplace), FRAME_FN(ccnvt_rgba32_bgra32_inplace)},
        {"rgb32_rgb32", FRAME_FN(ccnvt_rgb32_rgb32), FRAME_FN(ccnvt_rgba32_rgba32)},
        {"rgb16_rgb32_inplace", FRAME_FN(ccnvt_rgb16_rgb32_inplace), FRAME_FN(ccnvt_rgb16_rgba32_inplace)},
        {"rgb16_rgb32", FRAME_FN(ccnvt_rgb16_rgb32), FRAME_FN(ccnvt_rgb16_rgba32_inplace)},
        {"rgb16_rgba32", FRAME_FN(ccnvt_rgb16_rgba32), FRAME_FN(ccnvt_rgb16_rgba32_inplace)},
        {"rgb32_rgb16", FRAME_FN(ccnvt_rgb32_rgb16), FRAME_FN(ccnvt_rgba32_rgb16)},
        {"rgb32_rgb16_565", FRAME_FN(ccnvt_rgb32_rgb16_565), FRAME_FN(ccnvt_rgba32_rgb16_565)},
        {"rgb32_rgb16_dithered", FRAME_FN(ccnvt_rgb32_rgb16_dithered), FRAME_FN(ccnvt_rgba32_rgb16_dithered)},
        {"rgb32_rgb16_565_dithered", FRAME_FN(ccnvt_rgb32_rgb16_565_dithered), FRAME_FN(ccnvt_rgba32_rgb16_565_dithered)},
    };
}

// ---- frames in one or two arenas ----

struct Geometry {
    long width, height, destination_pitch, source_pitch;
};

bool does_nothing(const Converter& c, const Geometry& g) {
    switch (c.guard) {
        case Guard::height_zero_or_narrow: return g.height == 0 || g.width < 1;
        case Guard::height_zero: return g.height == 0;
        case Guard::below_one: return g.height < 1 || g.width < 1;
    }
    return true;
}

long rows_of(const Geometry& g) { return g.height < 0 ? -g.height : g.height; }

// Byte offsets, from each side's pointer, of destination and source row k
// (k counted in the order of work).
std::pair<long, long> row_offsets(const Converter& c, const Geometry& g, long k) {
    const long n = rows_of(g);
    const long w = std::max(g.width, 0L);
    switch (c.rows) {
        case Rows::first_to_last: return {k * g.destination_pitch, k * g.source_pitch};
        case Rows::last_to_first: {
            const long r = n - 1 - k;
            return {r * g.destination_pitch, r * g.source_pitch};
        }
        case Rows::end_aligned_last_to_first: {
            const long r = n - 1 - k;
            return {(r + 1) * g.destination_pitch - c.out_bytes * w, (r + 1) * g.source_pitch - c.in_bytes * w};
        }
        case Rows::inverted_signed: return {(g.height - 1 - k) * g.destination_pitch, k * g.source_pitch};
        case Rows::inverted: return {(n - 1 - k) * g.destination_pitch, k * g.source_pitch};
    }
    return {0, 0};
}

// The walk the converter is specified to make, pixel by pixel, on memory
// that the two pointers may share.
void simulate(const Converter& c, const Geometry& g, unsigned char* destination,
              const unsigned char* source, unsigned char alpha) {
    if (does_nothing(c, g)) return;
    const long w = std::max(g.width, 0L);
    for (long k = 0; k < rows_of(g); ++k) {
        const auto [d, s] = row_offsets(c, g, k);
        const long y = c.rows == Rows::last_to_first || c.rows == Rows::end_aligned_last_to_first ? rows_of(g) - 1 - k : k;
        for (long i = 0; i < w; ++i) {
            const long x = c.pixels == Pixels::front_to_back ? i : w - 1 - i;
            unsigned char in[4], out[4];
            std::memcpy(in, source + s + c.in_bytes * x, c.in_bytes);
            c.pixel(in, out, x, y, alpha);
            std::memcpy(destination + d + c.out_bytes * x, out, c.out_bytes);
        }
    }
}

// The lowest and one past the highest byte offset a side's rows cover.
std::pair<long, long> extent(const Converter& c, const Geometry& g, bool destination_side) {
    const long w = std::max(g.width, 0L);
    const long bytes = (destination_side ? c.out_bytes : c.in_bytes) * w;
    long low = 0, high = 0;
    for (long k = 0; k < std::max(rows_of(g), 1L); ++k) {
        const auto offsets = row_offsets(c, g, k);
        const long start = destination_side ? offsets.first : offsets.second;
        low = std::min(low, start);
        high = std::max(high, start + bytes);
    }
    return {low, high};
}

constexpr long kMargin = 40;  // bytes around every frame that must stay untouched

struct Arena {
    std::vector<unsigned char> bytes;
    long origin;  // where the frame pointer goes

    Arena(std::pair<long, long> span, std::uint32_t seed)
        : bytes(span.second - span.first + 2 * kMargin), origin(kMargin - span.first) {
        cconvert::test::fill_random(bytes.data(), bytes.size(), seed);
    }
    unsigned char* at(long offset = 0) { return bytes.data() + origin + offset; }
};

std::string describe(const Geometry& g) {
    return "width " + std::to_string(g.width) + " height " + std::to_string(g.height) + " pitches " +
           std::to_string(g.destination_pitch) + "/" + std::to_string(g.source_pitch);
}

// Two separate frames: converter and model must leave identical arenas.
void expect_matches_model(const Converter& c, const Geometry& g, std::uint32_t seed) {
    Arena source(extent(c, g, false), seed), destination(extent(c, g, true), seed + 1);
    Arena expected = destination;
    const auto source_before = source.bytes;
    simulate(c, g, expected.at(), source.at(), a);
    c.convert(destination.at(), g.destination_pitch, source.at(), g.source_pitch, g.width, g.height);
    ASSERT_EQ(destination.bytes, expected.bytes) << c.name << ", " << describe(g);
    ASSERT_EQ(source.bytes, source_before) << c.name << " wrote its source, " << describe(g);
}

// One arena, the destination pointer `shift` bytes from the source pointer.
void expect_overlap_matches_model(const Converter& c, const Geometry& g, long shift, std::uint32_t seed) {
    const auto s = extent(c, g, false), d = extent(c, g, true);
    Arena arena({std::min(s.first, d.first + shift), std::max(s.second, d.second + shift)}, seed);
    Arena expected = arena;
    simulate(c, g, expected.at(shift), expected.at(), a);
    c.convert(arena.at(shift), g.destination_pitch, arena.at(), g.source_pitch, g.width, g.height);
    ASSERT_EQ(arena.bytes, expected.bytes) << c.name << ", destination at source + " << shift << ", "
                                           << describe(g);
}

std::vector<long> widths_to_sweep() {
    std::vector<long> widths;
    for (long w = 0; w <= 130; w += kSampled ? 7 : 1) widths.push_back(w);
    for (long w : {-1L, 1L, 15L, 16L, 17L, 31L, 32L, 33L, 1000L, 1921L}) widths.push_back(w);
    return widths;
}

class RgbConverters : public ::testing::TestWithParam<unsigned int> {};

TEST_P(RgbConverters, SeparateFramesMatchTheModel) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 1;
    for (const Converter& c : converters())
        for (long w : widths_to_sweep())
            for (long h : {1L, 3L, -2L, 0L})
                for (long pad : {0L, 3L, 37L}) {
                    if (w < 0 && !c.may_overlap) continue;  // a huge copy, by definition
                    if ((w > 200 || w < 0) && pad != 3) continue;
                    const long tight_in = c.in_bytes * std::max(w, 0L), tight_out = c.out_bytes * std::max(w, 0L);
                    expect_matches_model(c, {w, h, tight_out + pad, tight_in + (pad ? pad + 1 : 0)}, seed++);
                    if (HasFatalFailure()) return;
                }
}

TEST_P(RgbConverters, PitchesOfEverySignAndSizeMatchTheModel) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 100;
    for (const Converter& c : converters())
        for (long w : {1L, 5L, 17L, 40L})
            for (long h : {2L, 3L, -3L})
                for (auto [dp, sp] : {std::pair{-1L, 1L}, {1L, -1L}, {-1L, -1L}, {0L, 0L}, {1L, 0L}}) {
                    // 0: every row over the first; +-1: tight or padded, either direction
                    const long dpitch = dp * (c.out_bytes * w + (w & 3));
                    const long spitch = sp * (c.in_bytes * w + 1);
                    expect_matches_model(c, {w, h, dpitch, spitch}, seed++);
                    if (HasFatalFailure()) return;
                }
}

// Overlapping frames take the vector paths only where they give the bytes of
// the per-pixel walk: every shift of the destination against the source.
TEST_P(RgbConverters, OverlappingFramesMatchThePerPixelWalk) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 200;
    for (const Converter& c : converters()) {
        if (!c.may_overlap) continue;
        for (long w : {1L, 7L, 16L, 35L, 64L, 131L})
            for (long h : {1L, 3L})
                for (bool tight : {false, true})  // tight: rows without gaps on both sides
                    for (long shift = -2 * c.in_bytes * w * h - 9; shift <= 2 * c.out_bytes * w * h + 9;
                         shift += (kSampled ? 5 : 1) * (w > 40 ? 7 : 1) * h) {
                        const long pitch = std::max(c.in_bytes, c.out_bytes) * w + 4;
                        const Geometry g = tight ? Geometry{w, h, c.out_bytes * w, c.in_bytes * w}
                                                 : Geometry{w, h, pitch, pitch};
                        expect_overlap_matches_model(c, g, shift, seed++);
                        if (HasFatalFailure()) return;
                    }
    }
}

// The in-place calls the converters are made for give what two buffers give.
TEST_P(RgbConverters, InPlaceCallsEqualSeparateFrames) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 300;
    for (const Converter& c : converters()) {
        if (!c.may_overlap || c.rows == Rows::inverted || c.rows == Rows::inverted_signed ||
            c.name == "rgb16_rgb24")
            continue;
        for (long w : {1L, 3L, 16L, 29L, 64L, 333L})
            for (long extra : {0L, 4L, 12L})
                for (long h : {1L, 4L, -4L}) {
                    // Each pitch holds the wider of the two rows, narrowing needs the
                    // destination pitch not above the source one, widening the reverse.
                    const long in_pitch = c.in_bytes * w + extra, out_pitch = c.out_bytes * w + extra;
                    const Geometry g{w, h, out_pitch, in_pitch};
                    Arena frame({0, std::max(in_pitch, out_pitch) * rows_of(g)}, seed);
                    Arena separate_source = frame, separate_destination = frame;
                    c.convert(separate_destination.at(), g.destination_pitch, separate_source.at(),
                              g.source_pitch, w, h);
                    c.convert(frame.at(), g.destination_pitch, frame.at(), g.source_pitch, w, h);
                    ASSERT_EQ(frame.bytes, separate_destination.bytes)
                        << c.name << " in place, " << describe(g);
                    ++seed;
                }
    }
}

TEST_P(RgbConverters, EveryAliasIsItsTarget) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 400;
    for (const Alias& alias : aliases())
        for (long w : {1L, 9L, 50L, 130L}) {
            const long bytes = 4 * w * 3 + 64;
            Arena source({0, bytes}, seed), by_alias({0, bytes}, seed + 1);
            Arena by_target = by_alias;
            alias.alias(by_alias.at(), 4 * w + 4, source.at(), 4 * w + 4, w, 3);
            alias.target(by_target.at(), 4 * w + 4, source.at(), 4 * w + 4, w, 3);
            ASSERT_EQ(by_alias.bytes, by_target.bytes) << alias.name << " width " << w;
            seed += 2;
        }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, RgbConverters,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// ---- spans ----

using SpanFn = void (*)(unsigned int*, const unsigned int*, unsigned int);

struct Span {
    std::string name;
    SpanFn reorder;
    std::array<int, 4> from;
};

std::vector<Span> spans() {
    return {
        {"rgba2argb", rgba2argb, {1, 2, 3, 0}},    {"argb2rgba", argb2rgba, {3, 1, 2, 0}},
        {"bgra2argb", bgra2argb, {3, 2, 1, 0}},    {"argb2bgra", argb2bgra, {3, 2, 1, 0}},
        {"abgr2argb", abgr2argb, {2, 1, 0, 3}},    {"argb2abgr", argb2abgr, {2, 1, 0, 3}},
        {"bgra2rgba", bgra2rgba, {2, 1, 0, 3}},    {"bgra2abgr", bgra2abgr, {1, 2, 3, 0}},
        {"abgr2bgra", abgr2bgra, {3, 0, 1, 2}},    {"bgra2abgrMMX", bgra2abgrMMX, {1, 2, 3, 0}},
        {"abgr2bgraMMX", abgr2bgraMMX, {3, 0, 1, 2}},
    };
}

// A span is one front-to-back row of count pixels.
Converter as_converter(const Span& span) {
    return {span.name, nullptr, 4, 4, permutation(span.from, 4), Rows::first_to_last, Pixels::front_to_back,
            Guard::height_zero_or_narrow};
}

class SpanReorders : public ::testing::TestWithParam<unsigned int> {};

TEST_P(SpanReorders, SeparateInPlaceAndOverlappingSpansMatchThePerPixelWalk) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 500;
    for (const Span& span : spans()) {
        const Converter model = as_converter(span);
        std::vector<long> counts = widths_to_sweep();
        counts.erase(std::remove(counts.begin(), counts.end(), -1L), counts.end());
        for (long count : counts)
            for (long shift : {-5L, -4L, -1L, 0L, 1L, 4L, 9L, 100000L}) {
                const Geometry g{count, 1, 0, 0};
                const long bytes = 4 * count;
                const bool separate = shift == 100000;
                Arena arena({std::min(0L, shift), std::max(bytes, bytes + (separate ? 0 : shift))}, seed++);
                Arena other({0, bytes}, seed++);
                unsigned char* destination = separate ? other.at() : arena.at(shift);
                Arena expected = arena, expected_other = other;
                simulate(model, g, separate ? expected_other.at() : expected.at(shift), expected.at(), 0);
                span.reorder(reinterpret_cast<unsigned int*>(destination),
                             reinterpret_cast<const unsigned int*>(arena.at()), static_cast<unsigned int>(count));
                ASSERT_EQ(arena.bytes, expected.bytes) << span.name << " count " << count << " shift " << shift;
                ASSERT_EQ(other.bytes, expected_other.bytes) << span.name << " count " << count;
            }
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, SpanReorders,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

std::vector<unsigned char> bytes_of(std::initializer_list<int> values) {
    std::vector<unsigned char> out;
    for (int v : values) out.push_back(static_cast<unsigned char>(v));
    return out;
}

std::vector<unsigned char> after_span(SpanFn reorder, std::vector<unsigned char> pixels, int times = 1) {
    for (int i = 0; i < times; ++i)
        reorder(reinterpret_cast<unsigned int*>(pixels.data()),
                reinterpret_cast<const unsigned int*>(pixels.data()), static_cast<unsigned int>(pixels.size() / 4));
    return pixels;
}

TEST(SpanReorders, HandWorkedPixels) {
    const auto p = bytes_of({0x11, 0x22, 0x33, 0x44});
    EXPECT_EQ(after_span(rgba2argb, p), bytes_of({0x22, 0x33, 0x44, 0x11}));
    EXPECT_EQ(after_span(argb2rgba, p), bytes_of({0x44, 0x22, 0x33, 0x11}));
    EXPECT_EQ(after_span(bgra2argb, p), bytes_of({0x44, 0x33, 0x22, 0x11}));
    EXPECT_EQ(after_span(abgr2bgra, p), bytes_of({0x44, 0x11, 0x22, 0x33}));
    EXPECT_EQ(after_span(bgra2rgba, p), bytes_of({0x33, 0x22, 0x11, 0x44}));
}

TEST(SpanReorders, IdentitiesAndTheOneThatIsNot) {
    const auto p = cconvert::test::random_bytes(4 * 37, 9);
    EXPECT_EQ(after_span(argb2rgba, p, 2), p);
    EXPECT_EQ(after_span(rgba2argb, p, 4), p);
    EXPECT_EQ(after_span(bgra2argb, p, 2), p);
    EXPECT_NE(after_span(argb2rgba, after_span(rgba2argb, p)), p);
    EXPECT_EQ(after_span(abgr2bgra, after_span(bgra2abgr, p)), p);
    EXPECT_EQ(after_span(bgra2abgrMMX, p), after_span(bgra2abgr, p));
    EXPECT_EQ(after_span(abgr2bgraMMX, p), after_span(abgr2bgra, p));
}

// ---- the fill alpha and hand-worked frames ----

class FillAlpha : public ::testing::Test {
protected:
    void TearDown() override { a = 0xFF; }
};

TEST_F(FillAlpha, IsFFAtLoadAndHonouredByEveryWidening) {
    EXPECT_EQ(a, 0xFF);
    for (unsigned char value : {0x00, 0x42, 0xFF}) {
        a = value;
        const auto rgb = bytes_of({1, 2, 3, 4, 5, 6});
        std::vector<unsigned char> out(8, 0xEE);
        ccnvt_rgb24_rgba32_inplace(out.data(), 8, rgb.data(), 6, 2, 1);
        EXPECT_EQ(out, bytes_of({1, 2, 3, value, 4, 5, 6, value}));
        ccnvt_rgb24_bgra32_inplace(out.data(), 8, rgb.data(), 6, 2, 1);
        EXPECT_EQ(out, bytes_of({3, 2, 1, value, 6, 5, 4, value}));
        ccnvt_macbgr24_macargb32_inplace(out.data(), 8, rgb.data(), 6, 2, 1);
        EXPECT_EQ(out, bytes_of({value, 1, 2, 3, value, 4, 5, 6}));
        ccnvt_rgba24_rgb32_invert(out.data(), 8, rgb.data(), 6, 2, 1);
        EXPECT_EQ(out, bytes_of({1, 2, 3, value, 4, 5, 6, value}));
        const auto rgb16 = bytes_of({0xFF, 0x7F});
        std::vector<unsigned char> one(4);
        ccnvt_rgb16_rgba32_inplace(one.data(), 4, rgb16.data(), 2, 1, 1);
        EXPECT_EQ(one, bytes_of({248, 248, 248, value}));
    }
}

TEST_F(FillAlpha, PackedRgb24FrameWidensInPlace) {
    a = 0x5A;
    const long w = 21, h = 5;
    std::vector<unsigned char> frame(4 * w * h);
    cconvert::test::fill_random(frame.data(), 3 * w * h, 3);
    const std::vector<unsigned char> rgb(frame.begin(), frame.begin() + 3 * w * h);
    ccnvt_rgb24_rgba32_inplace(frame.data(), 4 * w, frame.data(), 3 * w, w, h);
    for (long i = 0; i < w * h; ++i) {
        ASSERT_EQ(0, std::memcmp(&frame[4 * i], &rgb[3 * i], 3)) << "pixel " << i;
        ASSERT_EQ(frame[4 * i + 3], 0x5A) << "pixel " << i;
    }
}

TEST(MacWidening, WiderPitchesPutPixelsAtTheEndOfEachSpan) {
    // Two pixels per row, source rows of 8 bytes, destination rows of 11.
    const auto source = bytes_of({9, 9, 1, 2, 3, 4, 5, 6, 9, 9, 7, 8, 9, 10, 11, 12});
    std::vector<unsigned char> destination(22, 0xEE);
    ccnvt_macbgr24_macargb32_inplace(destination.data(), 11, source.data(), 8, 2, 2);
    EXPECT_EQ(destination, bytes_of({0xEE, 0xEE, 0xEE, 0xFF, 1, 2, 3, 0xFF, 4, 5, 6,  //
                                     0xEE, 0xEE, 0xEE, 0xFF, 7, 8, 9, 0xFF, 10, 11, 12}));
}

TEST(InvertingNarrowing, NegativeHeightStartsAboveTheDestination) {
    // Height -2: destination rows at (height - 1 - k) * pitch = -3 and -4 pitches.
    const auto source = bytes_of({1, 2, 3, 4, 5, 6, 7, 8});
    std::vector<unsigned char> frame(5 * 3, 0xEE);
    ccnvt_rgba32_rgb24_invert(frame.data() + 4 * 3, 3, source.data(), 4, 1, -2);
    EXPECT_EQ(frame, bytes_of({5, 6, 7, 1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
}

TEST(FrameCopy, CopiesWidthTimesFourBytesPerRow) {
    const auto source = cconvert::test::random_bytes(40, 4);
    std::vector<unsigned char> destination(40, 0);
    ccnvt_rgba32_rgba32(destination.data(), 20, const_cast<unsigned char*>(source.data()), 20, 3, -2);
    for (int r = 0; r < 2; ++r) {
        EXPECT_EQ(0, std::memcmp(&destination[20 * r], &source[20 * r], 12));
        EXPECT_EQ(std::vector<unsigned char>(&destination[20 * r + 12], &destination[20 * r + 20]),
                  std::vector<unsigned char>(8, 0));
    }
    std::vector<unsigned char> untouched(40, 0);
    ccnvt_rgba32_rgba32(untouched.data(), 20, const_cast<unsigned char*>(source.data()), 20, 0, 2);
    EXPECT_EQ(untouched, std::vector<unsigned char>(40, 0));
}

// Row offsets beyond 32 bits: rows 2^31 + 64 bytes apart in a sparse mapping.
TEST(RgbFrames, RowOffsetsAreComputedIn64Bits) {
    const long pitch = (1L << 31) + 64, w = 16;
    const std::size_t mapped = 2 * pitch + 4 * w;
    void* map = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (map == MAP_FAILED) GTEST_SKIP() << "no room for a sparse 4 GiB mapping";
    auto* frame = static_cast<unsigned char*>(map);
    for (long r = 0; r < 3; ++r)
        for (long i = 0; i < 3 * w; ++i) frame[r * pitch + i] = static_cast<unsigned char>(r * 64 + i);
    // Widening in place, last row first: each row of 3w bytes becomes 4w bytes.
    ccnvt_rgb24_rgba32_inplace(frame, pitch, frame, pitch, w, 3);
    for (long r = 0; r < 3; ++r)
        for (long x = 0; x < w; ++x) {
            const unsigned char* p = frame + r * pitch + 4 * x;
            ASSERT_EQ(p[0], static_cast<unsigned char>(r * 64 + 3 * x)) << r << "," << x;
            ASSERT_EQ(p[2], static_cast<unsigned char>(r * 64 + 3 * x + 2)) << r << "," << x;
            ASSERT_EQ(p[3], 0xFF) << r << "," << x;
        }
    // Reducing back, first row first.
    ccnvt_rgba32_rgb16(frame, pitch, frame, pitch, w, 3);
    const int word = frame[2 * pitch] | frame[2 * pitch + 1] << 8;
    EXPECT_EQ(word, ((128 + 2) >> 3) << 10 | ((128 + 1) >> 3) << 5 | (128 >> 3));
    munmap(map, mapped);
}

// ---- 16-bit: the hand-worked values ----

std::uint16_t reduce_one(FrameFn reduce, std::array<int, 4> pixel, long x = 0, long y = 0) {
    // A frame of (x + 1) x (y + 1) pixels, all equal; returns the word at (x, y).
    std::vector<unsigned char> source(4 * (x + 1) * (y + 1));
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(pixel[i % 4]);
    std::vector<unsigned char> destination(2 * (x + 1) * (y + 1));
    reduce(destination.data(), 2 * (x + 1), source.data(), 4 * (x + 1), x + 1, y + 1);
    const std::size_t at = 2 * ((x + 1) * y + x);
    return static_cast<std::uint16_t>(destination[at] | destination[at + 1] << 8);
}

TEST(Rgb16, WhiteSaturatesWithOrWithoutDither) {
    for (long x : {0L, 1L, 3L})
        for (long y : {0L, 2L, 3L}) {
            EXPECT_EQ(reduce_one(FRAME_FN(ccnvt_rgba32_rgb16), {255, 255, 255, 0}, x, y), 0x7FFF);
            EXPECT_EQ(reduce_one(FRAME_FN(ccnvt_rgba32_rgb16_dithered), {255, 255, 255, 0}, x, y), 0x7FFF);
            EXPECT_EQ(reduce_one(FRAME_FN(ccnvt_rgba32_rgb16_565), {255, 255, 255, 0}, x, y), 0xFFFF);
            EXPECT_EQ(reduce_one(FRAME_FN(ccnvt_rgba32_rgb16_565_dithered), {255, 255, 255, 0}, x, y), 0xFFFF);
        }
}

TEST(Rgb16, MidGreyDitherExamples) {
    const FrameFn dithered = FRAME_FN(ccnvt_rgba32_rgb16_dithered);
    const int grey16 = 16 << 10 | 16 << 5 | 16;
    EXPECT_EQ(reduce_one(dithered, {0x80, 0x80, 0x80, 0}, 0, 0), grey16);
    EXPECT_EQ(reduce_one(dithered, {0x80, 0x80, 0x80, 0}, 1, 0), grey16);  // D = 8 adds 4
    EXPECT_EQ(reduce_one(dithered, {0x80, 0x80, 0x80, 0}, 3, 3), grey16);  // D = 5 adds 2
    EXPECT_EQ(reduce_one(dithered, {0x87, 0x87, 0x87, 0}, 1, 0), 17 << 10 | 17 << 5 | 17);
    // 5-6-5: (0x7E + D >> 2) >> 2 for green, D = 15 at (0, 3) adds 3 -> 0x81 >> 2 = 32.
    EXPECT_EQ(reduce_one(FRAME_FN(ccnvt_rgba32_rgb16_565_dithered), {0, 0x7E, 0, 0}, 0, 3), 32 << 5);
    EXPECT_EQ(reduce_one(FRAME_FN(ccnvt_rgba32_rgb16_565), {0, 0x7E, 0, 0}, 0, 3), 31 << 5);
}

TEST(Rgb16, DitherMatrixIsTheBayerMatrix) {
    for (int i = 0; i < 16; ++i) EXPECT_EQ(g_bDither4x4[i], kBayer[i / 4][i % 4]) << i;
}

TEST(Rgb16, DitherRestartsEachRowAndCountsRowsConvertedWhateverTheSign) {
    // Pixel value 6 in every channel: + D >> 1 crosses 8 exactly where D >= 4.
    const long w = 9, h = 6;
    std::vector<unsigned char> source(4 * w * h, 6);
    std::vector<unsigned char> up(2 * w * h), down(2 * w * h);
    ccnvt_rgba32_rgb16_dithered(up.data(), 2 * w, source.data(), 4 * w, w, h);
    ccnvt_rgba32_rgb16_dithered(down.data(), 2 * w, source.data(), 4 * w, w, -h);
    EXPECT_EQ(up, down);
    for (long y = 0; y < h; ++y)
        for (long x = 0; x < w; ++x) {
            const int field = kBayer[y & 3][x & 3] >= 4 ? 1 : 0;
            EXPECT_EQ(up[2 * (w * y + x)] | up[2 * (w * y + x) + 1] << 8, field << 10 | field << 5 | field)
                << x << "," << y;
        }
}

TEST(Rgb16, ExpansionShiftsWithoutReplicatingAndIgnoresBit15) {
    const auto words = bytes_of({0xFF, 0x7F, 0x00, 0x80, 0x1F, 0x00, 0xE0, 0x83});
    std::vector<unsigned char> rgb24(12);
    ccnvt_rgb16_rgb24(rgb24.data(), 12, const_cast<unsigned char*>(words.data()), 8, 4, 1);
    EXPECT_EQ(rgb24, bytes_of({248, 248, 248, 0, 0, 0, 248, 0, 0, 0, 248, 0}));
}

}  // namespace
