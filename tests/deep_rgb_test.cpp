// 48- and 64-bit RGB converters and the span reorder as frame walks; hand-worked values.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"
#include "support/frame_walk.h"
#include "support/test_support.h"

using namespace cconvert::test::walk;

namespace {

struct Shape {
    int units, unit_bytes;
    bool big_endian = false;
    int bytes() const { return units * unit_bytes; }
};
const Shape kRgb48{3, 2}, kRgba64{4, 2}, kArgb64be{4, 2, true}, kRgb24{3, 1}, kRgba32{4, 1};

enum class Shift { none, right, left };  // by (bits - 8) mod 32

constexpr int X = -1;  // an output unit that reads nothing

using DeepFn = void (*)(void* d, long dp, void* s, long sp, long w, long h, int bits);

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

#define WITH_BITS(f) [](void* d, long dp, void* s, long sp, long w, long h, int bits) { f(d, dp, s, sp, w, h, bits); }
#define NO_BITS(f) [](void* d, long dp, void* s, long sp, long w, long h, int) { f(d, dp, s, sp, w, h); }
#define MODE(f, m) [](void* d, long dp, void* s, long sp, long w, long h, int bits) { f(d, dp, s, sp, w, h, bits, m); }

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
        {"argb64be_rgb24 mode 0", MODE(ccnvt_argb64be_rgb24, 0), kArgb64be, kRgb24, {3, 2, 1, X}, Shift::right, none, R::by_height_sign, P::back_to_front, G::height_zero},
        {"argb64be_rgb24 mode 2", MODE(ccnvt_argb64be_rgb24, 2), kArgb64be, kRgb24, {1, 2, 3, X}, Shift::right, none, R::by_height_sign, P::back_to_front, G::height_zero},
        {"argb64be_rgba64 mode 0", MODE(ccnvt_argb64be_rgba64, 0), kArgb64be, kRgba64, {3, 2, 1, 0}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba64 mode 1", MODE(ccnvt_argb64be_rgba64, 1), kArgb64be, kRgba64, {2, 1, 0, 3}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba64 mode 2", MODE(ccnvt_argb64be_rgba64, 2), kArgb64be, kRgba64, {1, 2, 3, 0}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba64 mode 3", MODE(ccnvt_argb64be_rgba64, 3), kArgb64be, kRgba64, {0, 1, 2, 3}, Shift::none, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode 0", MODE(ccnvt_argb64be_rgba32, 0), kArgb64be, kRgba32, {3, 2, 1, 0}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode 1", MODE(ccnvt_argb64be_rgba32, 1), kArgb64be, kRgba32, {2, 1, 0, 3}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode 2", MODE(ccnvt_argb64be_rgba32, 2), kArgb64be, kRgba32, {1, 2, 3, 0}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
        {"argb64be_rgba32 mode 3", MODE(ccnvt_argb64be_rgba32, 3), kArgb64be, kRgba32, {0, 1, 2, 3}, Shift::right, none, R::first_to_last, P::front_to_back, G::height_zero_or_narrow},
    };
}

unsigned read_unit(const Shape& shape, const unsigned char* pixel, int unit) {
    if (shape.unit_bytes == 1) return pixel[unit];
    const unsigned first = pixel[2 * unit], second = pixel[2 * unit + 1];
    return shape.big_endian ? first << 8 | second : second << 8 | first;
}

void write_unit(const Shape& shape, unsigned char* pixel, int unit, unsigned value) {
    pixel[shape.unit_bytes * unit] = static_cast<unsigned char>(value);
    if (shape.unit_bytes == 2) pixel[2 * unit + 1] = static_cast<unsigned char>(value >> 8);
}

Walk walk_of(const Converter& c, int bits) {
    const auto pixel = [c, bits](const unsigned char* in, unsigned char* out, long, long) {
        const unsigned s = static_cast<unsigned>(bits - 8) % 32;
        for (int k = 0; k < c.out.units; ++k) {
            unsigned v = c.from[k] == X ? 0 : read_unit(c.in, in, c.from[k]);
            if (c.shift == Shift::right) v = v >> s;
            if (c.shift == Shift::left) v = static_cast<unsigned>(static_cast<unsigned long long>(v) << s) & 0xFFFF;
            write_unit(c.out, out, k, v | c.fill[k]);
        }
    };
    const DeepFn convert = c.convert;
    return {c.name + " bits " + std::to_string(bits),
            [convert, bits](void* d, long dp, void* s, long sp, long w, long h) { convert(d, dp, s, sp, w, h, bits); },
            c.in.bytes(), c.out.bytes(), c.rows, c.pixels, c.guard, pixel};
}

// Depths 10 and 16 by turns; the depth sweep below takes the rest.
std::vector<Walk> walks() {
    std::vector<Walk> walks;
    for (const Converter& c : converters()) walks.push_back(walk_of(c, walks.size() % 2 ? 16 : 10));
    return walks;
}

CCNVT_FRAME_WALK_SWEEPS(DeepRgb, walks());

// Shifts 0 to 17 (16 and more clear a word), depths that wrap around 32; 29 pixels: every block and a tail.
TEST_P(DeepRgb, EveryDepthMatchesTheModel) {
    const cconvert::test::ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 50;
    for (const Converter& c : converters())
        for (int bits : {-2, 7, 8, 9, 11, 12, 15, 16, 17, 24, 25, 40}) {
            expect_matches_model(walk_of(c, bits), {29, 2, c.out.bytes() * 29 + 2, c.in.bytes() * 29}, seed++);
            if (HasFatalFailure()) return;
        }
}

// ---- hand-worked values ----

std::vector<unsigned char> words_le(std::initializer_list<unsigned> words) {
    std::vector<unsigned char> bytes;
    for (unsigned w : words) bytes.insert(bytes.end(), {static_cast<unsigned char>(w), static_cast<unsigned char>(w >> 8)});
    return bytes;
}

// Reduction keeps the high byte, or wraps above the depth; the alpha fills; widening leaves zero low bits.
TEST(DeepRgbValues, ReductionAlphaFillAndWidening) {
    const auto rgb48 = words_le({0x1100, 0x2200, 0x3300}), white = bytes_of({0xFF, 0xFF, 0xFF, 0x80});
    std::vector<unsigned char> out32(4, 0xEE), out64(8, 0xEE);
    ccnvt_rgba64_rgba32(out32.data(), 4, words_le({0x1234, 0xABCD, 0x00FF, 0xFF00}).data(), 8, 1, 1, 16);
    EXPECT_EQ(out32, bytes_of({0x12, 0xAB, 0x00, 0xFF}));
    ccnvt_rgba64_rgba32(out32.data(), 4, words_le({0x3FF, 0x400, 0x200, 0x003}).data(), 8, 1, 1, 10);
    EXPECT_EQ(out32, bytes_of({0xFF, 0x00, 0x80, 0x00}));
    ccnvt_bgr48_rgba32(out32.data(), 4, rgb48.data(), 6, 1, 1, 16);  // alpha 0
    EXPECT_EQ(out32, bytes_of({0x33, 0x22, 0x11, 0x00}));
    ccnvt_rgb48_rgba64(out64.data(), 8, rgb48.data(), 6, 1, 1);  // alpha opaque
    EXPECT_EQ(out64, words_le({0x1100, 0x2200, 0x3300, 0xFFFF}));
    ccnvt_rgba32_rgba64(out64.data(), 8, white.data(), 4, 1, 1, 10);
    EXPECT_EQ(out64, words_le({0x3FC, 0x3FC, 0x3FC, 0x200}));
}

// Modes outside each converter's set write nothing.
TEST(DeepRgbValues, BigEndianModes) {
    const auto be = bytes_of({0xA0, 0xA1, 0xB0, 0xB1, 0xC0, 0xC1, 0xD0, 0xD1});
    std::vector<unsigned char> out48(6), out24(3), out64(8), out32(4);
    ccnvt_argb64be_rgb48(out48.data(), 6, be.data(), 8, 1, 1, 0, 2);
    EXPECT_EQ(out48, words_le({0xB0B1, 0xC0C1, 0xD0D1}));
    ccnvt_argb64be_rgb24(out24.data(), 3, be.data(), 8, 1, 1, 16, 0);
    EXPECT_EQ(out24, bytes_of({0xD0, 0xC0, 0xB0}));
    ccnvt_argb64be_rgb24(out24.data(), 3, be.data(), 8, 1, 1, 12, 2);
    EXPECT_EQ(out24, bytes_of({0x0B, 0x0C, 0x0D}));
    ccnvt_argb64be_rgba64(out64.data(), 8, be.data(), 8, 1, 1, 0, 1);
    EXPECT_EQ(out64, words_le({0xC0C1, 0xB0B1, 0xA0A1, 0xD0D1}));
    ccnvt_argb64be_rgba32(out32.data(), 4, be.data(), 8, 1, 1, 16, 3);
    EXPECT_EQ(out32, bytes_of({0xA0, 0xB0, 0xC0, 0xD0}));
    const auto frame = cconvert::test::random_bytes(8 * 9 * 2, 3);
    std::vector<unsigned char> out(8 * 9 * 2, 0xEE);
    for (int mode : {1, 3, 4, -1}) ccnvt_argb64be_rgb48(out.data(), 6 * 9, frame.data(), 8 * 9, 9, 2, 0, mode);
    for (int mode : {1, 3, 5}) ccnvt_argb64be_rgb24(out.data(), 3 * 9, frame.data(), 8 * 9, 9, 2, 16, mode);
    for (int mode : {4, -1}) ccnvt_argb64be_rgba64(out.data(), 8 * 9, frame.data(), 8 * 9, 9, 2, 0, mode);
    for (int mode : {4, -1}) ccnvt_argb64be_rgba32(out.data(), 4 * 9, frame.data(), 8 * 9, 9, 2, 16, mode);
    EXPECT_EQ(out, std::vector<unsigned char>(out.size(), 0xEE));
}

// ---- the span reorder ----

// The source slots, by source order, from the three tables indexed by it
// (i0 = source order); three-word sources have no fourth slot.
const int kI1[4] = {1, 2, 1, 2}, kI2[4] = {2, 3, 0, 1}, kI3[4] = {3, 0, 3, 0};

// A run of count pixels, passed as count x 1, or 1 x count for even counts.
Walk reorder_walk(int source_order, int destination_order, unsigned source_bits, unsigned destination_bits) {
    const int in = source_bits == 64 ? 4 : 3, out = destination_bits == 64 ? 4 : 3;
    std::array<int, 4> i = {source_order, kI1[source_order], kI2[source_order], kI3[source_order]};
    if (in == 3) i = source_order < 2 ? std::array{0, 1, 2, X} : std::array{2, 1, 0, X};
    const std::array<int, 4> slots = destination_order == 1   ? std::array{i[3], i[0], i[1], i[2]}
                                     : destination_order == 2 ? std::array{i[2], i[1], i[0], i[3]}
                                     : destination_order == 3 ? std::array{i[3], i[2], i[1], i[0]}
                                                              : i;
    return {"argb64_reorder " + std::to_string(source_bits) + "/" + std::to_string(destination_bits) + " orders " +
                std::to_string(source_order) + "/" + std::to_string(destination_order),
            [=](void* d, long, void* s, long, long count, long) {
                ccnvt_argb64_reorder(d, s, count & 1 ? count : 1, count & 1 ? 1 : count, source_order,
                                     destination_order, source_bits, destination_bits);
            },
            2 * in, 2 * out, Rows::first_to_last, Pixels::front_to_back, Guard::height_zero_or_narrow,
            [=](const unsigned char* p, unsigned char* q, long, long) {
                for (int k = 0; k < out; ++k) {
                    q[2 * k] = slots[k] == X ? 0 : p[2 * slots[k]];
                    q[2 * k + 1] = slots[k] == X ? 0 : p[2 * slots[k] + 1];
                }
            }};
}

class ArgbReorder : public ::testing::TestWithParam<unsigned int> {};

// Every pair of orders for three- and four-word runs (any destination bits
// but 64 give three words) apart, in place and overlapping.
TEST_P(ArgbReorder, EveryOrderPairAndWordCountMatchesTheTables) {
    const cconvert::test::ScopedCpuFeatures features(GetParam());
    std::uint32_t seed = 700;
    for (unsigned source_bits : {64u, 48u})
        for (unsigned destination_bits : {64u, 32u})
            for (int source_order = 0; source_order < 4; ++source_order)
                for (int destination_order = 0; destination_order < 4; ++destination_order) {
                    const Walk walk = reorder_walk(source_order, destination_order, source_bits, destination_bits);
                    for (long count : {1L, 6L, 7L, 21L, 1921L}) {
                        expect_matches_model(walk, {count, 1, 0, 0}, seed += 2);
                        for (long shift : {-10L, -2L, 0L, 2L, 10L})
                            expect_overlap_matches_model(walk, {count, 1, 0, 0}, shift, seed++);
                        if (HasFatalFailure()) return;
                    }
                }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, ArgbReorder, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// Orders outside the tables and empty runs write nothing.
TEST(ArgbReorderValues, OrdersOutsideTheTablesWriteNothing) {
    const std::uint16_t source[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<std::uint16_t> destination(8, 0xEEEE);
    for (auto [so, dso, w, h] : {std::array{4, 0, 2, 1}, {0, 4, 2, 1}, {-1, 0, 2, 1}, {0, -1, 2, 1}, {0, 0, 0, 5},
                                 {0, 0, 3, 0}, {0, 0, -2, 1}})
        ccnvt_argb64_reorder(destination.data(), source, w, h, so, dso, 64, 64);
    ccnvt_argb64_reorder(destination.data() + 4, source, 1, 1, 0, 3, 64, 64);
    EXPECT_EQ(destination, (std::vector<std::uint16_t>{0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE, 4, 3, 2, 1}));
}

}  // namespace
