// 48- and 64-bit RGB converters against an independent model.
//
// Each converter is described once, as data: the shape of its input and
// output pixels, which input unit each output unit comes from, which way the
// depth shift goes, what is or-ed in, and how it walks the frame. Simulating
// that walk pixel by pixel on the same memory gives the expected bytes for
// separate frames, in-place calls and any overlap, under every feature word.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
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

// ---- the model ----

struct Shape {
    int units, unit_bytes;
    bool big_endian = false;
    int bytes() const { return units * unit_bytes; }
};
const Shape kRgb48{3, 2}, kRgba64{4, 2}, kArgb64be{4, 2, true}, kRgb24{3, 1}, kRgba32{4, 1};

enum class Shift { none, right, left };  // by (bits - 8) mod 32
enum class Rows { first_to_last, last_to_first, by_height_sign, end_aligned_last_to_first };
enum class Pixels { front_to_back, back_to_front };
enum class Guard { height_zero_or_narrow, height_zero, below_one, always /* writes nothing */ };

constexpr int X = -1;  // an output unit that reads nothing

using DeepFn = void (*)(void* d, long dp, const void* s, long sp, long w, long h, int bits);

struct Converter {
    std::string name;
    DeepFn convert;
    Shape in, out;
    std::array<int, 4> from;
    Shift shift;
    std::array<unsigned, 4> fill;
    Rows rows;
    Pixels pixels;
    Guard guard;
};

#define WITH_BITS(f) (+[](void* d, long dp, const void* s, long sp, long w, long h, int bits) { f(d, dp, s, sp, w, h, bits); })
#define NO_BITS(f) (+[](void* d, long dp, const void* s, long sp, long w, long h, int) { f(d, dp, s, sp, w, h); })
#define MODE(f, m) (+[](void* d, long dp, const void* s, long sp, long w, long h, int bits) { f(d, dp, s, sp, w, h, bits, m); })

std::vector<Converter> converters() {
    using R = Rows;
    using P = Pixels;
    using G = Guard;
    const std::array<unsigned, 4> none{0, 0, 0, 0}, opaque{0, 0, 0, 0xFFFF};
    return {
        {"rgb48_rgba32", WITH_BITS(ccnvt_rgb48_rgba32), kRgb48, kRgba32, {0, 1, 2, X}, Shift::right, none, R::by_height_sign, P::back_to_front, G::height_zero},
        {"bgr48_rgba32", WITH_BITS(ccnvt_bgr48_rgba32), kRgb48, kRgba32, {2, 1, 0, X}, Shift::right, none, R::by_height_sign, P::back_to_front, G::height_zero},
        {"rgba64_rgba32", WITH_BITS(ccnvt_rgba64_rgba32), kRgba64, kRgba32, {0, 1, 2, 3}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64_rgba32", WITH_BITS(ccnvt_argb64_rgba32), kRgba64, kRgba32, {1, 2, 3, 0}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"abgr64_rgba32", WITH_BITS(ccnvt_abgr64_rgba32), kRgba64, kRgba32, {3, 2, 1, 0}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"bgra64_rgba32", WITH_BITS(ccnvt_bgra64_rgba32), kRgba64, kRgba32, {2, 1, 0, 3}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"rgba32_rgb48", WITH_BITS(ccnvt_rgba32_rgb48), kRgba32, kRgb48, {0, 1, 2, X}, Shift::left, none, R::last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"rgba32_bgr48", WITH_BITS(ccnvt_rgba32_bgr48), kRgba32, kRgb48, {2, 1, 0, X}, Shift::left, none, R::last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"rgba32_rgba64", WITH_BITS(ccnvt_rgba32_rgba64), kRgba32, kRgba64, {0, 1, 2, 3}, Shift::left, none, R::last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"rgba32_argb64", WITH_BITS(ccnvt_rgba32_argb64), kRgba32, kRgba64, {3, 0, 1, 2}, Shift::left, none, R::last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"bgra32_rgba64", WITH_BITS(ccnvt_bgra32_rgba64), kRgba32, kRgba64, {2, 1, 0, 3}, Shift::left, none, R::last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"rgb48_rgba64", NO_BITS(ccnvt_rgb48_rgba64), kRgb48, kRgba64, {0, 1, 2, X}, Shift::none, opaque, R::end_aligned_last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"bgr48_rgba64", NO_BITS(ccnvt_bgr48_rgba64), kRgb48, kRgba64, {2, 1, 0, X}, Shift::none, opaque, R::end_aligned_last_to_first, P::back_to_front, G::height_zero_or_narrow},
        {"argb64be_rgb48 mode 0", MODE(ccnvt_argb64be_rgb48, 0), kArgb64be, kRgb48, {3, 2, 1, X}, Shift::none, none, R::last_to_first, P::back_to_front, G::below_one},
        {"argb64be_rgb48 mode 2", MODE(ccnvt_argb64be_rgb48, 2), kArgb64be, kRgb48, {1, 2, 3, X}, Shift::none, none, R::last_to_first, P::back_to_front, G::below_one},
        {"argb64be_rgb48 mode 1", MODE(ccnvt_argb64be_rgb48, 1), kArgb64be, kRgb48, {}, Shift::none, none, R::last_to_first, P::back_to_front, G::always},
        {"argb64be_rgb48 mode 3", MODE(ccnvt_argb64be_rgb48, 3), kArgb64be, kRgb48, {}, Shift::none, none, R::last_to_first, P::back_to_front, G::always},
        {"argb64be_rgb24 mode 0", MODE(ccnvt_argb64be_rgb24, 0), kArgb64be, kRgb24, {3, 2, 1, X}, Shift::right, none, R::by_height_sign, P::back_to_front, G::height_zero},
        {"argb64be_rgb24 mode 2", MODE(ccnvt_argb64be_rgb24, 2), kArgb64be, kRgb24, {1, 2, 3, X}, Shift::right, none, R::by_height_sign, P::back_to_front, G::height_zero},
        {"argb64be_rgb24 mode 1", MODE(ccnvt_argb64be_rgb24, 1), kArgb64be, kRgb24, {}, Shift::right, none, R::by_height_sign, P::back_to_front, G::always},
        {"argb64be_rgb24 mode 5", MODE(ccnvt_argb64be_rgb24, 5), kArgb64be, kRgb24, {}, Shift::right, none, R::by_height_sign, P::back_to_front, G::always},
        {"argb64be_rgba64 mode 0", MODE(ccnvt_argb64be_rgba64, 0), kArgb64be, kRgba64, {3, 2, 1, 0}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba64 mode 1", MODE(ccnvt_argb64be_rgba64, 1), kArgb64be, kRgba64, {2, 1, 0, 3}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba64 mode 2", MODE(ccnvt_argb64be_rgba64, 2), kArgb64be, kRgba64, {1, 2, 3, 0}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba64 mode 3", MODE(ccnvt_argb64be_rgba64, 3), kArgb64be, kRgba64, {0, 1, 2, 3}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba64 mode 4", MODE(ccnvt_argb64be_rgba64, 4), kArgb64be, kRgba64, {}, Shift::none, none, R::first_to_last, P::front_to_back, G::always},
        {"argb64be_rgba32 mode 0", MODE(ccnvt_argb64be_rgba32, 0), kArgb64be, kRgba32, {3, 2, 1, 0}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode 1", MODE(ccnvt_argb64be_rgba32, 1), kArgb64be, kRgba32, {2, 1, 0, 3}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode 2", MODE(ccnvt_argb64be_rgba32, 2), kArgb64be, kRgba32, {1, 2, 3, 0}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode 3", MODE(ccnvt_argb64be_rgba32, 3), kArgb64be, kRgba32, {0, 1, 2, 3}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode -1", MODE(ccnvt_argb64be_rgba32, -1), kArgb64be, kRgba32, {}, Shift::right, none, R::first_to_last, P::front_to_back, G::always},
    };
}

unsigned read_unit(const Shape& shape, const unsigned char* pixel, int unit) {
    if (shape.unit_bytes == 1) return pixel[unit];
    const unsigned first = pixel[2 * unit], second = pixel[2 * unit + 1];
    return shape.big_endian ? first << 8 | second : second << 8 | first;
}

void write_unit(const Shape& shape, std::array<unsigned char, 8>& pixel, int unit, unsigned value) {
    const unsigned char low = static_cast<unsigned char>(value & 0xFF), high = static_cast<unsigned char>(value >> 8 & 0xFF);
    if (shape.unit_bytes == 1) {
        pixel.at(unit) = low;
    } else {
        pixel.at(2 * unit) = low;
        pixel.at(2 * unit + 1) = high;
    }
}

void model_pixel(const Converter& c, const unsigned char* in, std::array<unsigned char, 8>& out, int bits) {
    const unsigned s = static_cast<unsigned>(bits - 8) % 32;
    for (int k = 0; k < c.out.units; ++k) {
        unsigned v = c.from[k] == X ? 0 : read_unit(c.in, in, c.from[k]);
        if (c.shift == Shift::right) v = v >> s;
        if (c.shift == Shift::left) v = static_cast<unsigned>(static_cast<unsigned long long>(v) << s) & 0xFFFF;
        write_unit(c.out, out, k, v | c.fill[k]);
    }
}

struct Geometry {
    long width, height, destination_pitch, source_pitch;
};

long rows_of(const Geometry& g) { return g.height < 0 ? -g.height : g.height; }

bool does_nothing(const Converter& c, const Geometry& g) {
    switch (c.guard) {
        case Guard::height_zero_or_narrow: return g.height == 0 || g.width < 1;
        case Guard::height_zero: return g.height == 0;
        case Guard::below_one: return g.height < 1 || g.width < 1;
        case Guard::always: return true;
    }
    return true;
}

// Byte offsets of destination and source row number k in the order of work.
std::pair<long, long> row_offsets(const Converter& c, const Geometry& g, long k) {
    const long n = rows_of(g), w = std::max(g.width, 0L);
    long r = k;
    if (c.rows == Rows::last_to_first || c.rows == Rows::end_aligned_last_to_first ||
        (c.rows == Rows::by_height_sign && g.height > 0))
        r = n - 1 - k;
    if (c.rows == Rows::end_aligned_last_to_first)
        return {(r + 1) * g.destination_pitch - c.out.bytes() * w, (r + 1) * g.source_pitch - c.in.bytes() * w};
    return {r * g.destination_pitch, r * g.source_pitch};
}

void simulate(const Converter& c, const Geometry& g, int bits, unsigned char* destination,
              const unsigned char* source) {
    if (does_nothing(c, g)) return;
    const long w = std::max(g.width, 0L);
    for (long k = 0; k < rows_of(g); ++k) {
        const auto [d, s] = row_offsets(c, g, k);
        for (long i = 0; i < w; ++i) {
            const long x = c.pixels == Pixels::front_to_back ? i : w - 1 - i;
            unsigned char in[8];
            std::array<unsigned char, 8> out{};
            std::memcpy(in, source + s + c.in.bytes() * x, c.in.bytes());
            model_pixel(c, in, out, bits);
            std::memcpy(destination + d + c.out.bytes() * x, out.data(), c.out.bytes());
        }
    }
}

// ---- frames ----

std::pair<long, long> extent(const Converter& c, const Geometry& g, bool destination_side) {
    const long w = std::max(g.width, 0L);
    const long bytes = (destination_side ? c.out : c.in).bytes() * w;
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
    long origin;

    Arena(std::pair<long, long> span, std::uint32_t seed)
        : bytes(span.second - span.first + 2 * kMargin), origin(kMargin - span.first) {
        cconvert::test::fill_random(bytes.data(), bytes.size(), seed);
    }
    unsigned char* at(long offset = 0) { return bytes.data() + origin + offset; }
};

std::string describe(const Geometry& g, int bits) {
    return "width " + std::to_string(g.width) + " height " + std::to_string(g.height) + " pitches " +
           std::to_string(g.destination_pitch) + "/" + std::to_string(g.source_pitch) + " bits " +
           std::to_string(bits);
}

void expect_matches_model(const Converter& c, const Geometry& g, int bits, std::uint32_t seed) {
    Arena source(extent(c, g, false), seed), destination(extent(c, g, true), seed + 1);
    Arena expected = destination;
    const auto source_before = source.bytes;
    simulate(c, g, bits, expected.at(), source.at());
    c.convert(destination.at(), g.destination_pitch, source.at(), g.source_pitch, g.width, g.height, bits);
    ASSERT_EQ(destination.bytes, expected.bytes) << c.name << ", " << describe(g, bits);
    ASSERT_EQ(source.bytes, source_before) << c.name << " wrote its source, " << describe(g, bits);
}

void expect_overlap_matches_model(const Converter& c, const Geometry& g, long shift, int bits, std::uint32_t seed) {
    const auto s = extent(c, g, false), d = extent(c, g, true);
    Arena arena({std::min(s.first, d.first + shift), std::max(s.second, d.second + shift)}, seed);
    Arena expected = arena;
    simulate(c, g, bits, expected.at(shift), expected.at());
    c.convert(arena.at(shift), g.destination_pitch, arena.at(), g.source_pitch, g.width, g.height, bits);
    ASSERT_EQ(arena.bytes, expected.bytes) << c.name << ", destination at source + " << shift << ", "
                                           << describe(g, bits);
}

std::vector<long> widths_to_sweep() {
    std::vector<long> widths;
    for (long w = 0; w <= 130; w += kSampled ? 7 : 1) widths.push_back(w);
    for (long w : {-1L, 1L, 7L, 8L, 9L, 15L, 16L, 17L, 1000L, 1921L}) widths.push_back(w);
    return widths;
}

class DeepRgb : public ::testing::TestWithParam<unsigned int> {};

TEST_P(DeepRgb, SeparateFramesMatchTheModel) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 1;
    for (const Converter& c : converters())
        for (long w : widths_to_sweep())
            for (long h : {1L, 3L, -2L, 0L})
                for (long pad : {0L, 6L}) {
                    if ((w > 200 || w < 0) && h == 3) continue;
                    const int bits = (w & 1) ? 10 : 16;
                    const long out_row = c.out.bytes() * std::max(w, 0L), in_row = c.in.bytes() * std::max(w, 0L);
                    expect_matches_model(c, {w, h, out_row + pad, in_row + (pad ? pad + 3 : 0)}, bits, seed++);
                    if (HasFatalFailure()) return;
                }
}

// Every depth shift, including those of 16 and more that clear a word.
TEST_P(DeepRgb, EveryDepthMatchesTheModel) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 50;
    for (const Converter& c : converters())
        for (int bits = -2; bits <= 42; bits += kSampled ? 3 : 1)
            for (long w : {5L, 21L}) {
                expect_matches_model(c, {w, 2, c.out.bytes() * w + 2, c.in.bytes() * w}, bits, seed++);
                if (HasFatalFailure()) return;
            }
}

TEST_P(DeepRgb, PitchesOfEverySignAndSizeMatchTheModel) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 100;
    for (const Converter& c : converters())
        for (long w : {1L, 5L, 17L, 40L})
            for (long h : {2L, 3L, -3L})
                for (auto [dp, sp] : {std::pair{-1L, 1L}, {1L, -1L}, {-1L, -1L}, {0L, 0L}, {1L, 0L}}) {
                    const long dpitch = dp * (c.out.bytes() * w + (w & 3));
                    const long spitch = sp * (c.in.bytes() * w + 1);
                    expect_matches_model(c, {w, h, dpitch, spitch}, 12, seed++);
                    if (HasFatalFailure()) return;
                }
}

// The vector paths run only where they give the bytes of the per-pixel walk:
// every shift of the destination against the source.
TEST_P(DeepRgb, OverlappingFramesMatchThePerPixelWalk) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 200;
    for (const Converter& c : converters())
        for (long w : {1L, 9L, 16L, 35L, 131L})
            for (long h : {1L, 2L})
                for (bool tight : {false, true}) {
                    const long pitch = std::max(c.in.bytes(), c.out.bytes()) * w + 4;
                    const Geometry g = tight ? Geometry{w, h, c.out.bytes() * w, c.in.bytes() * w}
                                             : Geometry{w, h, pitch, pitch};
                    const long span = 2 * std::max(c.in.bytes(), c.out.bytes()) * w * h + 9;
                    for (long shift = -span; shift <= span; shift += (kSampled ? 5 : 1) * (w > 40 ? 7 : 1) * h) {
                        expect_overlap_matches_model(c, g, shift, 16, seed++);
                        if (HasFatalFailure()) return;
                    }
                }
}

// The in-place calls the walks are made for give what two buffers give.
TEST_P(DeepRgb, InPlaceCallsEqualSeparateFrames) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 300;
    for (const Converter& c : converters()) {
        const bool narrowing = c.rows == Rows::first_to_last && c.pixels == Pixels::front_to_back;
        const bool widening = c.rows != Rows::first_to_last && c.rows != Rows::by_height_sign &&
                              c.pixels == Pixels::back_to_front && c.out.bytes() > c.in.bytes();
        if (!narrowing && !widening) continue;
        for (long w : {1L, 3L, 8L, 29L, 64L, 333L})
            for (long extra : {0L, 4L})
                for (long h : {1L, 4L}) {
                    const long in_pitch = c.in.bytes() * w + extra, out_pitch = c.out.bytes() * w + extra;
                    Arena frame({0, std::max(in_pitch, out_pitch) * h}, seed++);
                    Arena separate_source = frame, separate_destination = frame;
                    c.convert(separate_destination.at(), out_pitch, separate_source.at(), in_pitch, w, h, 10);
                    c.convert(frame.at(), out_pitch, frame.at(), in_pitch, w, h, 10);
                    ASSERT_EQ(frame.bytes, separate_destination.bytes) << c.name << " in place, width " << w;
                }
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, DeepRgb, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// ---- hand-worked values ----

std::vector<unsigned char> words_le(std::initializer_list<unsigned> words) {
    std::vector<unsigned char> bytes;
    for (unsigned w : words) {
        bytes.push_back(static_cast<unsigned char>(w));
        bytes.push_back(static_cast<unsigned char>(w >> 8));
    }
    return bytes;
}

std::vector<unsigned char> bytes_of(std::initializer_list<unsigned> values) {
    std::vector<unsigned char> bytes;
    for (unsigned v : values) bytes.push_back(static_cast<unsigned char>(v));
    return bytes;
}

TEST(DeepRgbValues, ReductionKeepsTheHighByteOrWrapsAboveTheDepth) {
    const auto words = words_le({0x1234, 0xABCD, 0x00FF, 0xFF00});
    std::vector<unsigned char> out(4, 0xEE);
    ccnvt_rgba64_rgba32(out.data(), 4, words.data(), 8, 1, 1, 16);
    EXPECT_EQ(out, bytes_of({0x12, 0xAB, 0x00, 0xFF}));
    const auto ten = words_le({0x3FF, 0x400, 0x200, 0x003});
    ccnvt_rgba64_rgba32(out.data(), 4, ten.data(), 8, 1, 1, 10);
    EXPECT_EQ(out, bytes_of({0xFF, 0x00, 0x80, 0x00}));
}

TEST(DeepRgbValues, Rgb48ToRgba32WritesAlphaZeroAndRgb48ToRgba64WritesOpaque) {
    const auto rgb48 = words_le({0x1100, 0x2200, 0x3300});
    std::vector<unsigned char> out32(4, 0xEE), out64(8, 0xEE);
    ccnvt_rgb48_rgba32(out32.data(), 4, rgb48.data(), 6, 1, 1, 16);
    EXPECT_EQ(out32, bytes_of({0x11, 0x22, 0x33, 0x00}));
    ccnvt_bgr48_rgba32(out32.data(), 4, rgb48.data(), 6, 1, 1, 16);
    EXPECT_EQ(out32, bytes_of({0x33, 0x22, 0x11, 0x00}));
    ccnvt_rgb48_rgba64(out64.data(), 8, rgb48.data(), 6, 1, 1);
    EXPECT_EQ(out64, words_le({0x1100, 0x2200, 0x3300, 0xFFFF}));
    ccnvt_bgr48_rgba64(out64.data(), 8, rgb48.data(), 6, 1, 1);
    EXPECT_EQ(out64, words_le({0x3300, 0x2200, 0x1100, 0xFFFF}));
}

TEST(DeepRgbValues, WideningShiftsWithZeroLowBits) {
    const auto white = bytes_of({0xFF, 0xFF, 0xFF, 0x80});
    std::vector<unsigned char> out(8);
    ccnvt_rgba32_rgba64(out.data(), 8, white.data(), 4, 1, 1, 16);
    EXPECT_EQ(out, words_le({0xFF00, 0xFF00, 0xFF00, 0x8000}));
    ccnvt_rgba32_rgba64(out.data(), 8, white.data(), 4, 1, 1, 10);
    EXPECT_EQ(out, words_le({0x3FC, 0x3FC, 0x3FC, 0x200}));
    const auto pixel = bytes_of({1, 2, 3, 4});
    ccnvt_rgba32_argb64(out.data(), 8, pixel.data(), 4, 1, 1, 8);
    EXPECT_EQ(out, words_le({4, 1, 2, 3}));
    ccnvt_bgra32_rgba64(out.data(), 8, pixel.data(), 4, 1, 1, 8);
    EXPECT_EQ(out, words_le({3, 2, 1, 4}));
    std::vector<unsigned char> out48(6);
    ccnvt_rgba32_bgr48(out48.data(), 6, pixel.data(), 4, 1, 1, 12);
    EXPECT_EQ(out48, words_le({0x30, 0x20, 0x10}));
}

TEST(DeepRgbValues, WideningThenReducingWithTheSameBitsGivesTheBytesBack) {
    const auto frame = cconvert::test::random_bytes(4 * 37 * 3, 5);
    for (int bits : {8, 10, 12, 16}) {
        std::vector<unsigned char> deep(8 * 37 * 3), back(frame.size());
        ccnvt_rgba32_rgba64(deep.data(), 8 * 37, frame.data(), 4 * 37, 37, 3, bits);
        ccnvt_rgba64_rgba32(back.data(), 4 * 37, deep.data(), 8 * 37, 37, 3, bits);
        EXPECT_EQ(back, frame) << bits;
        ccnvt_rgba32_argb64(deep.data(), 8 * 37, frame.data(), 4 * 37, 37, 3, bits);
        ccnvt_argb64_rgba32(back.data(), 4 * 37, deep.data(), 8 * 37, 37, 3, bits);
        EXPECT_EQ(back, frame) << bits;
    }
}

TEST(DeepRgbValues, BigEndianModes) {
    // Big-endian words p0..p3 = 0xA0A1, 0xB0B1, 0xC0C1, 0xD0D1.
    const auto be = bytes_of({0xA0, 0xA1, 0xB0, 0xB1, 0xC0, 0xC1, 0xD0, 0xD1});
    std::vector<unsigned char> out48(6, 0xEE);
    ccnvt_argb64be_rgb48(out48.data(), 6, be.data(), 8, 1, 1, 0, 0);
    EXPECT_EQ(out48, words_le({0xD0D1, 0xC0C1, 0xB0B1}));
    ccnvt_argb64be_rgb48(out48.data(), 6, be.data(), 8, 1, 1, 0, 2);
    EXPECT_EQ(out48, words_le({0xB0B1, 0xC0C1, 0xD0D1}));
    std::vector<unsigned char> untouched(6, 0xEE);
    for (int mode : {1, 3, 4, -1}) {
        ccnvt_argb64be_rgb48(untouched.data(), 6, be.data(), 8, 1, 1, 0, mode);
        EXPECT_EQ(untouched, std::vector<unsigned char>(6, 0xEE)) << mode;
    }
    std::vector<unsigned char> out24(3);
    ccnvt_argb64be_rgb24(out24.data(), 3, be.data(), 8, 1, 1, 16, 0);
    EXPECT_EQ(out24, bytes_of({0xD0, 0xC0, 0xB0}));
    ccnvt_argb64be_rgb24(out24.data(), 3, be.data(), 8, 1, 1, 12, 2);
    EXPECT_EQ(out24, bytes_of({0x0B, 0x0C, 0x0D}));
    std::vector<unsigned char> out64(8);
    ccnvt_argb64be_rgba64(out64.data(), 8, be.data(), 8, 1, 1, 0, 0);
    EXPECT_EQ(out64, words_le({0xD0D1, 0xC0C1, 0xB0B1, 0xA0A1}));
    ccnvt_argb64be_rgba64(out64.data(), 8, be.data(), 8, 1, 1, 0, 1);
    EXPECT_EQ(out64, words_le({0xC0C1, 0xB0B1, 0xA0A1, 0xD0D1}));
    std::vector<unsigned char> out32(4);
    ccnvt_argb64be_rgba32(out32.data(), 4, be.data(), 8, 1, 1, 16, 3);
    EXPECT_EQ(out32, bytes_of({0xA0, 0xB0, 0xC0, 0xD0}));
}

// ---- the span reorder ----

// The source slots as the three tables indexed by source order, with
// i0 = source order; three-word sources have no fourth slot.
const int kI1[4] = {1, 2, 1, 2}, kI2[4] = {2, 3, 0, 1}, kI3[4] = {3, 0, 3, 0};

std::array<int, 4> reorder_slots(int source_order, int destination_order, bool four_word_source) {
    std::array<int, 4> i;
    if (four_word_source)
        i = {source_order, kI1[source_order], kI2[source_order], kI3[source_order]};
    else
        i = source_order < 2 ? std::array<int, 4>{0, 1, 2, X} : std::array<int, 4>{2, 1, 0, X};
    switch (destination_order) {
        case 1: return {i[3], i[0], i[1], i[2]};
        case 2: return {i[2], i[1], i[0], i[3]};
        case 3: return {i[3], i[2], i[1], i[0]};
        default: return i;
    }
}

void model_reorder(std::vector<std::uint16_t>& destination, const std::vector<std::uint16_t>& source, long count,
                   int source_order, int destination_order, unsigned source_bits, unsigned destination_bits) {
    const int in = source_bits == 64 ? 4 : 3, out = destination_bits == 64 ? 4 : 3;
    const auto slots = reorder_slots(source_order, destination_order, in == 4);
    for (long p = 0; p < count; ++p)
        for (int k = 0; k < out; ++k)
            destination[out * p + k] = slots[k] == X ? 0 : source[in * p + slots[k]];
}

class ArgbReorder : public ::testing::TestWithParam<unsigned int> {};

TEST_P(ArgbReorder, EveryOrderPairAndWordCountMatchesTheTables) {
    const ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 700;
    for (unsigned source_bits : {64u, 48u})
        for (unsigned destination_bits : {64u, 32u})
            for (int source_order = 0; source_order < 4; ++source_order)
                for (int destination_order = 0; destination_order < 4; ++destination_order)
                    for (long count = 0; count <= 70; count += kSampled ? 5 : 1) {
                        const std::size_t guard = 16;
                        std::vector<std::uint16_t> source(4 * count + guard), destination(4 * count + guard);
                        cconvert::test::fill_random(reinterpret_cast<unsigned char*>(source.data()), 2 * source.size(), seed++);
                        cconvert::test::fill_random(reinterpret_cast<unsigned char*>(destination.data()), 2 * destination.size(), seed++);
                        auto expected = destination;
                        model_reorder(expected, source, count, source_order, destination_order, source_bits,
                                      destination_bits);
                        // Height 1 and width count, or the other way round.
                        if (count & 1)
                            ccnvt_argb64_reorder(destination.data(), source.data(), count, 1, source_order,
                                                 destination_order, source_bits, destination_bits);
                        else
                            ccnvt_argb64_reorder(destination.data(), source.data(), 1, count, source_order,
                                                 destination_order, source_bits, destination_bits);
                        ASSERT_EQ(destination, expected) << source_bits << "/" << destination_bits << " orders "
                                                         << source_order << "/" << destination_order << " count " << count;
                    }
}

TEST_P(ArgbReorder, InPlaceAndLargeRunsMatchTheTables) {
    const ScopedCpuFeatures features(GetParam());
    for (unsigned source_bits : {64u, 48u})
        for (unsigned destination_bits : {64u, 48u}) {
            if (destination_bits > source_bits) continue;  // in place needs a pixel no wider
            for (long count : {1L, 7L, 33L, 1921L}) {
                std::vector<std::uint16_t> frame(4 * count);
                cconvert::test::fill_random(reinterpret_cast<unsigned char*>(frame.data()), 2 * frame.size(), 9);
                auto expected = frame;
                const auto source = frame;
                model_reorder(expected, source, count, 3, 1, source_bits, destination_bits);
                ccnvt_argb64_reorder(frame.data(), frame.data(), count, 1, 3, 1, source_bits, destination_bits);
                ASSERT_EQ(frame, expected) << source_bits << "/" << destination_bits << " count " << count;
            }
        }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, ArgbReorder, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(ArgbReorderValues, ThreeWordSourceGetsAZeroFourthWord) {
    const std::uint16_t source[3] = {0x1111, 0x2222, 0x3333};
    std::uint16_t destination[4] = {0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE};
    ccnvt_argb64_reorder(destination, source, 1, 1, 0, 0, 48, 64);
    EXPECT_EQ(std::vector<std::uint16_t>(destination, destination + 4),
              (std::vector<std::uint16_t>{0x1111, 0x2222, 0x3333, 0}));
    ccnvt_argb64_reorder(destination, source, 1, 1, 2, 1, 48, 64);
    EXPECT_EQ(std::vector<std::uint16_t>(destination, destination + 4),
              (std::vector<std::uint16_t>{0, 0x3333, 0x2222, 0x1111}));
}

TEST(ArgbReorderValues, OrdersOutsideTheTablesAndEmptyRunsWriteNothing) {
    const std::uint16_t source[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint16_t destination[8] = {};
    for (auto [so, dso, w, h] : {std::array{4, 0, 2, 1}, {0, 4, 2, 1}, {-1, 0, 2, 1}, {0, -1, 2, 1}, {0, 0, 0, 5},
                                 {0, 0, 3, 0}, {0, 0, -2, 1}}) {
        ccnvt_argb64_reorder(destination, source, w, h, so, dso, 64, 64);
        EXPECT_EQ(std::vector<std::uint16_t>(destination, destination + 8), std::vector<std::uint16_t>(8, 0))
            << so << " " << dso << " " << w << "x" << h;
    }
    ccnvt_argb64_reorder(destination, source, 1, 1, 0, 3, 64, 64);
    EXPECT_EQ(std::vector<std::uint16_t>(destination, destination + 4), (std::vector<std::uint16_t>{4, 3, 2, 1}));
}

}  // namespace
