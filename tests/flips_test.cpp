// Vertical and horizontal flips: row order, margins and alignment codes,
// in-place calls, guards.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/geometry.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;
using Bytes = std::vector<unsigned char>;

namespace {

// A frame whose row r is filled with the byte 0x10 + r.
GuardedBuffer numbered_rows(int rows, std::size_t row_bytes) {
    GuardedBuffer frame(rows * row_bytes);
    for (int r = 0; r < rows; ++r) std::memset(frame.data() + r * row_bytes, 0x10 + r, row_bytes);
    return frame;
}

Bytes row_of(const GuardedBuffer& frame, std::size_t offset, std::size_t n) {
    return Bytes(frame.data() + offset, frame.data() + offset + n);
}

unsigned int* words(GuardedBuffer& frame, std::size_t offset = 0) {
    return reinterpret_cast<unsigned int*>(frame.data() + offset);
}

// Row i from row rows - 1 - i, in place or not; nothing below one row (two in place).
TEST(FlipVert, ReversesTheRowsInPlaceOrNot) {
    for (int rows : {-1, 0, 1, 2, 3, 4, 7})
        for (bool in_place : {false, true}) {
            const std::size_t row_bytes = 37, n = rows > 0 ? rows : 1;
            GuardedBuffer source(n * row_bytes), destination(n * row_bytes, 0x77);
            source.fill_random(rows + 10);
            GuardedBuffer& frame = in_place ? source : destination;
            auto expected = frame.contents();
            for (int i = 0; i < rows; ++i)
                std::memcpy(&expected[i * row_bytes], source.data() + (rows - 1 - i) * row_bytes, row_bytes);
            ccnvt_flip_vert(frame.data(), source.data(), 0, rows, row_bytes);
            EXPECT_EQ(frame.contents(), expected) << rows << " rows" << (in_place ? " in place" : "");
            EXPECT_TRUE(frame.guards_intact());
        }
}

TEST(FlipVertFlags, AlignmentCodesPlaceSourceRowsOf7InDestinationRowsOf10) {
    struct Margins {
        unsigned int code;
        std::size_t left, right;
    };
    for (const Margins c : {Margins{0x1000000, 3, 0}, {0x2000000, 0, 3}, {0x4000000, 2, 1}, {0x8000000, 1, 2},
                            {0x0000000, 0, 0}, {0x3000000, 0, 0}})
        for (unsigned int keep_margins : {0u, 1u}) {
            GuardedBuffer source = numbered_rows(3, 7), destination(3 * 10, 0xEE);
            // Bits outside 24-27 do not count.
            EXPECT_EQ(0, ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 3, 10, 7,
                                               c.code | 0x00FF00FFu, keep_margins));
            for (int i = 0; i < 3; ++i) {
                const unsigned char margin = keep_margins || c.left + c.right == 0 ? 0xEE : 0x00;
                Bytes expected(c.left, margin);
                expected.insert(expected.end(), 7, static_cast<unsigned char>(0x12 - i));
                expected.resize(10, margin);
                EXPECT_EQ(row_of(destination, i * 10, 10), expected)
                    << "code " << std::hex << c.code << " keep " << keep_margins << " row " << i;
            }
            EXPECT_TRUE(destination.guards_intact());
        }
}

// Source rows of 6 into destination rows of 4: each copy moves 6 bytes, the last runs 2 past.
// No rows, or one row in place, do nothing.
TEST(FlipVertFlags, LongerSourceRowsRunIntoTheNextRowAndEmptyCallsDoNothing) {
    GuardedBuffer source = numbered_rows(3, 6), destination(3 * 4 + 2, 0xEE);
    ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 3, 4, 6, 0x4000000, 0);
    const Bytes expected = {0x12, 0x12, 0x12, 0x12, 0x11, 0x11, 0x11, 0x11, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
    EXPECT_EQ(destination.contents(), expected);
    EXPECT_TRUE(destination.guards_intact());
    GuardedBuffer one = numbered_rows(1, 10);
    EXPECT_EQ(0, ccnvt_flip_vert_flags(one.data(), one.data(), 0, 0, 1, 10, 7, 0x1000000, 0));
    EXPECT_EQ(0, ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 0, 4, 6, 0x1000000, 0));
    EXPECT_EQ(one.contents(), Bytes(10, 0x10));
    EXPECT_EQ(destination.contents(), expected);
}

// Rows of 10 bytes, 7 of picture; centred code: L = 2, R = 1. Row 0 gets
// its margins cleared, then row 2's first 7 bytes; the middle row stays.
TEST(FlipVertFlags, InPlaceMovesContentToOffsetZeroAndClearsMargins) {
    GuardedBuffer frame(3 * 10);
    for (int k = 0; k < 30; ++k) frame[k] = static_cast<unsigned char>(0x10 * (k / 10 + 1) + k % 10);
    ccnvt_flip_vert_flags(frame.data(), frame.data(), 0, 0, 3, 10, 7, 0x4000000, 0);
    EXPECT_EQ(frame.contents(), Bytes({0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x17, 0x18, 0x00,  //
                                       0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x29,  //
                                       0x00, 0x00, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x00}));
}

class FlipHorzKernels : public ::testing::TestWithParam<unsigned int> {};

// Padded rows (not a multiple of 4) in place or not; the registry test sweeps tight rows.
TEST_P(FlipHorzKernels, MirrorPixelsOfEveryRowInPlaceOrNot) {
    const ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 33u, 64u, 65u, 1921u}) {
        const int rows = 3, row_bytes = static_cast<int>(4 * width + 6);
        GuardedBuffer source(rows * row_bytes), mirrored(rows * row_bytes, 0xEE), in_place(rows * row_bytes);
        source.fill_random(width);
        std::memcpy(in_place.data(), source.data(), source.size());
        ccnvt_flip_horz(words(mirrored), words(source), width, rows, row_bytes);
        ccnvt_flip_horz(words(in_place), words(in_place), width, rows, row_bytes);
        auto expected = source.contents();
        for (int r = 0; r < rows; ++r)
            for (std::uint32_t k = 0; k < width; ++k)
                std::memcpy(&expected[r * row_bytes + 4 * k], source.data() + r * row_bytes + 4 * (width - 1 - k), 4);
        ASSERT_EQ(in_place.contents(), expected) << "in place, width " << width;
        for (int r = 0; r < rows; ++r) std::memset(&expected[r * row_bytes + 4 * width], 0xEE, 6);
        ASSERT_EQ(mirrored.contents(), expected) << "width " << width;
        ASSERT_TRUE(mirrored.guards_intact() && in_place.guards_intact());
    }
    // Destination one pixel after the source: pixels written are read again later.
    GuardedBuffer buffer(4 * 41);
    buffer.fill_random(4);
    std::vector<std::uint32_t> model(41);
    std::memcpy(model.data(), buffer.data(), buffer.size());
    for (std::uint32_t k = 0; k < 40; ++k) model[1 + k] = model[39 - k];
    ccnvt_flip_horz(words(buffer, 4), words(buffer), 40, 1, 0);
    EXPECT_EQ(0, std::memcmp(buffer.data(), model.data(), buffer.size()));
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, FlipHorzKernels, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// Width one in place returns, out of place copies; no width or rows: nothing; negative row bytes walk up.
TEST(FlipHorz, WidthOneEmptyCallsAndNegativeRowBytes) {
    GuardedBuffer frame(16), destination(16, 0);
    frame.fill_random(3);
    const auto before = frame.contents();
    ccnvt_flip_horz(words(frame), words(frame), 1, 2, 4);
    EXPECT_EQ(frame.contents(), before);
    ccnvt_flip_horz(words(destination), words(frame), 1, 4, 4);
    ccnvt_flip_horz(words(destination), words(frame), 0, 2, 4);
    ccnvt_flip_horz(words(destination), words(frame), 4, 0, 4);
    EXPECT_EQ(destination.contents(), before);
    ccnvt_flip_horz(words(destination, 8), words(frame, 8), 2, 2, -8);
    for (int r = 0; r < 2; ++r) {
        EXPECT_EQ(row_of(destination, 8 * r, 4), row_of(frame, 8 * r + 4, 4));
        EXPECT_EQ(row_of(destination, 8 * r + 4, 4), row_of(frame, 8 * r, 4));
    }
    EXPECT_TRUE(destination.guards_intact());
}

}  // namespace
