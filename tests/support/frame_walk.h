// Converters that walk a frame unit by unit (a pixel or a pixel pair), checked
// against a simulation of that walk on the very memory they are given:
// separate frames, pitches of any sign, destination anywhere over the source.
// Whole arenas are compared, so the bytes around the frames must stay.
// CCNVT_FRAME_WALK_SWEEPS(Suite, walks()) runs the sweeps under every feature word.
#ifndef CCONVERT_TESTS_SUPPORT_FRAME_WALK_H
#define CCONVERT_TESTS_SUPPORT_FRAME_WALK_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/test_support.h"

namespace cconvert::test::walk {

enum class Rows {
    first_to_last,              // destination row k from source row k
    last_to_first,              // the same rows, last first
    by_height_sign,             // last to first for a positive height, first to last for a negative one
    end_aligned_last_to_first,  // last to first; row k is the span that ends at (k + 1) * pitch
    inverted_signed,            // source row k to destination row (height - 1 - k), height as passed
    inverted,                   // source row k to destination row (|height| - 1 - k)
};
enum class Pixels { front_to_back, back_to_front };
// Nothing is converted when: height == 0 or no unit fits; height == 0; height < 1 or no unit fits.
enum class Guard { height_zero_or_narrow, height_zero, below_one };

using FrameFn = std::function<void(void* destination, long destination_pitch, void* source, long source_pitch,
                                   long width, long height)>;
// One destination unit from one source unit, at unit x of frame row y.
using UnitModel = std::function<void(const unsigned char* in, unsigned char* out, long x, long y)>;

enum Flags : unsigned {
    kTightSource = 1,       // the source rows are width units apart whatever pitch is passed
    kTightDestination = 2,  // the same for the destination
    kPlainCopy = 4,         // a memory copy: frames must not overlap, the width must not be negative
};

struct Walk {
    std::string name;
    FrameFn convert;
    int in_bytes, out_bytes;  // per unit
    Rows rows;
    Pixels pixels;
    Guard guard;
    UnitModel unit;
    unsigned flags = 0;
    int unit_pixels = 1;  // 2: pairs, an odd last pixel left as it is
};
struct Geometry { long width, height, destination_pitch, source_pitch; };  // width in pixels

inline long units_in(const Walk& c, long width) { return std::max(width, 0L) / c.unit_pixels; }
inline long rows_in(long height) { return height < 0 ? -height : height; }

inline bool converts_nothing(const Walk& c, const Geometry& g) {
    const long units = units_in(c, g.width);
    switch (c.guard) {
        case Guard::height_zero_or_narrow: return g.height == 0 || units < 1;
        case Guard::height_zero: return g.height == 0;
        case Guard::below_one: return g.height < 1 || units < 1;
    }
    return true;
}

// Row k in the order of work: frame row y and the offsets of its two spans.
struct RowSpan { long y, destination, source; };

inline RowSpan row_span(const Walk& c, const Geometry& g, long k) {
    const long n = rows_in(g.height), units = units_in(c, g.width);
    const bool backwards = c.rows == Rows::last_to_first || c.rows == Rows::end_aligned_last_to_first ||
                           (c.rows == Rows::by_height_sign && g.height > 0);
    const long y = backwards ? n - 1 - k : k;
    switch (c.rows) {
        case Rows::end_aligned_last_to_first:
            return {y, (y + 1) * g.destination_pitch - c.out_bytes * units,
                    (y + 1) * g.source_pitch - c.in_bytes * units};
        case Rows::inverted_signed: return {y, (g.height - 1 - y) * g.destination_pitch, y * g.source_pitch};
        case Rows::inverted: return {y, (n - 1 - y) * g.destination_pitch, y * g.source_pitch};
        default: return {y, y * g.destination_pitch, y * g.source_pitch};
    }
}

// The walk, unit by unit, on memory the two pointers may share.
inline void simulate(const Walk& c, const Geometry& g, unsigned char* destination, const unsigned char* source) {
    if (converts_nothing(c, g)) return;
    const long units = units_in(c, g.width);
    for (long k = 0; k < rows_in(g.height); ++k) {
        const RowSpan row = row_span(c, g, k);
        for (long i = 0; i < units; ++i) {
            const long x = c.pixels == Pixels::front_to_back ? i : units - 1 - i;
            unsigned char in[8], out[8];
            std::memcpy(in, source + row.source + c.in_bytes * x, c.in_bytes);
            c.unit(in, out, x, row.y);
            std::memcpy(destination + row.destination + c.out_bytes * x, out, c.out_bytes);
        }
    }
}

// The lowest and one past the highest byte offset that one side's rows cover.
inline std::pair<long, long> extent(const Walk& c, const Geometry& g, bool destination_side) {
    const long bytes = (destination_side ? c.out_bytes : c.in_bytes) * units_in(c, g.width);
    long low = 0, high = 0;
    for (long k = 0; k < std::max(rows_in(g.height), 1L); ++k) {
        const RowSpan row = row_span(c, g, k);
        const long start = destination_side ? row.destination : row.source;
        low = std::min(low, start);
        high = std::max(high, start + bytes);
    }
    return {low, high};
}

inline std::vector<unsigned char> bytes_of(std::initializer_list<int> values) { return {values.begin(), values.end()}; }

constexpr long kMargin = 40;  // bytes around every frame that must stay untouched

struct Arena {
    std::vector<unsigned char> bytes;
    long origin;  // where the frame pointer goes
    Arena(std::pair<long, long> span, std::uint32_t seed)
        : bytes(span.second - span.first + 2 * kMargin), origin(kMargin - span.first) {
        fill_random(bytes.data(), bytes.size(), seed);
    }
    unsigned char* at(long offset = 0) { return bytes.data() + origin + offset; }
};

inline std::string describe(const Walk& c, const Geometry& g) {
    return c.name + ", " + std::to_string(g.width) + "x" + std::to_string(g.height) + " pitches " +
           std::to_string(g.destination_pitch) + "/" + std::to_string(g.source_pitch);
}

// Two separate frames: converter and model must leave identical arenas.
inline void expect_matches_model(const Walk& c, const Geometry& g, std::uint32_t seed) {
    Arena source(extent(c, g, false), seed), destination(extent(c, g, true), seed + 1);
    Arena expected = destination;
    const auto source_before = source.bytes;
    simulate(c, g, expected.at(), source.at());
    c.convert(destination.at(), g.destination_pitch, source.at(), g.source_pitch, g.width, g.height);
    ASSERT_EQ(destination.bytes, expected.bytes) << describe(c, g);
    ASSERT_EQ(source.bytes, source_before) << describe(c, g) << ": the source changed";
}

// One arena, the destination at source + shift (in place for 0).
inline void expect_overlap_matches_model(const Walk& c, const Geometry& g, long shift, std::uint32_t seed) {
    const auto s = extent(c, g, false), d = extent(c, g, true);
    Arena arena({std::min(s.first, d.first + shift), std::max(s.second, d.second + shift)}, seed);
    Arena expected = arena;
    simulate(c, g, expected.at(shift), expected.at());
    c.convert(arena.at(shift), g.destination_pitch, arena.at(), g.source_pitch, g.width, g.height);
    ASSERT_EQ(arena.bytes, expected.bytes) << describe(c, g) << ", destination at source + " << shift;
}

// Pitches of padded rows; a tight side keeps its rows' bytes.
inline Geometry padded(const Walk& c, long width, long height, long destination_pad, long source_pad) {
    const long units = units_in(c, width);
    return {width, height, c.out_bytes * units + (c.flags & kTightDestination ? 0 : destination_pad),
            c.in_bytes * units + (c.flags & kTightSource ? 0 : source_pad)};
}

// Widths 0 to 40 leave every tail of the vector blocks (gapless rows merge
// up to 120), 64/65 repeat the widest block, 1921 runs long rows; a few
// widths take the height's edge cases and pitches of every sign.
inline void sweep_separate_frames(const std::vector<Walk>& walks) {
    std::vector<long> widths = {64, 65, 1921, -1};
    for (long w = 0; w <= 40; ++w) widths.push_back(w);
    std::uint32_t seed = 1;
    for (const Walk& c : walks)
        for (long w : widths) {
            if (w < 0 && (c.flags & kPlainCopy)) continue;  // a huge copy, by definition
            // height; sign and padding of the destination pitch, then of the source pitch
            std::vector<std::array<long, 5>> shapes = {{3, 1, 0, 1, 0}, {3, 1, 3, 1, 4}};
            if (w <= 1 || w == 5 || w == 33)
                shapes.insert(shapes.end(), {{1, 1, 37, 1, 0}, {-2, 1, 3, 1, 4}, {-2, 1, 0, 1, 0}, {0, 1, 3, 1, 4}});
            if (w == 1 || w == 17 || w == 40)
                for (long h : {3L, -3L})
                    for (auto [d, s] : {std::pair{-1L, 1L}, {1L, -1L}, {-1L, -1L}, {0L, 0L}, {1L, 0L}})
                        shapes.push_back({h, d, w & 3, s, 1});
            for (const auto& [h, dsign, dpad, ssign, spad] : shapes) {
                Geometry g = padded(c, w, h, dpad, spad);
                if (!(c.flags & kTightDestination)) g.destination_pitch *= dsign;
                if (!(c.flags & kTightSource)) g.source_pitch *= ssign;
                expect_matches_model(c, g, seed += 2);
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
}

// Every shift near 0 and near the ends of the overlap, a spread of the rest.
inline std::vector<long> shifts_between(long low, long high) {
    std::vector<long> shifts;
    const long step = std::max(1L, (high - low) / 48) | 1;
    for (long s = low; s <= high; s += step) shifts.push_back(s);
    for (auto [from, to] : {std::pair{-16L, 16L}, {low, low + 6}, {high - 6, high}})
        for (long s = std::max(from, low); s <= std::min(to, high); ++s) shifts.push_back(s);
    std::sort(shifts.begin(), shifts.end());
    shifts.erase(std::unique(shifts.begin(), shifts.end()), shifts.end());
    return shifts;
}

// The destination over the source at every distance where they meet, and just beyond.
inline void sweep_overlaps(const std::vector<Walk>& walks) {
    std::uint32_t seed = 10000;
    for (const Walk& c : walks) {
        if (c.flags & kPlainCopy) continue;
        for (auto [w, h] : {std::pair{1L, 1L}, {7L, 3L}, {16L, -2L}, {35L, 2L}, {131L, 1L}})
            for (long pad : {0L, 4L}) {
                const Geometry g = padded(c, w * c.unit_pixels, h, pad, pad);
                const auto s = extent(c, g, false), d = extent(c, g, true);
                for (long shift : shifts_between(s.first - d.second - 3, s.second - d.first + 3)) {
                    expect_overlap_matches_model(c, g, shift, seed++);
                    if (::testing::Test::HasFatalFailure()) return;
                }
            }
    }
}

}  // namespace cconvert::test::walk

#define CCNVT_FRAME_WALK_SWEEPS(Suite, walks)                                                              \
    class Suite : public ::testing::TestWithParam<unsigned int> {};                                        \
    TEST_P(Suite, SeparateFramesMatchTheModel) {                                                           \
        const ::cconvert::test::ScopedCpuFeatures features(GetParam());                                    \
        ::cconvert::test::walk::sweep_separate_frames(walks);                                              \
    }                                                                                                      \
    TEST_P(Suite, OverlappingAndInPlaceFramesMatchTheModel) {                                              \
        const ::cconvert::test::ScopedCpuFeatures features(GetParam());                                    \
        ::cconvert::test::walk::sweep_overlaps(walks);                                                     \
    }                                                                                                      \
    INSTANTIATE_TEST_SUITE_P(FeatureWords, Suite, ::testing::ValuesIn(::cconvert::test::feature_words_to_test()), \
                             [](const auto& info) { return ::cconvert::test::feature_word_name(info.param); })

#endif
