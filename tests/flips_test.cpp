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

namespace {

// A frame whose row r is filled with the byte 0x10 + r.
GuardedBuffer numbered_rows(int rows, std::size_t row_bytes) {
    GuardedBuffer frame(rows * row_bytes);
    for (int r = 0; r < rows; ++r) std::memset(frame.data() + r * row_bytes, 0x10 + r, row_bytes);
    return frame;
}

// Rows of the given bytes each repeated n times.
std::vector<unsigned char> rows_of(std::initializer_list<int> values, std::size_t n) {
    std::vector<unsigned char> out;
    for (int v : values) out.insert(out.end(), n, static_cast<unsigned char>(v));
    return out;
}

std::vector<unsigned char> row_of(const GuardedBuffer& frame, std::size_t offset, std::size_t n) {
    return std::vector<unsigned char>(frame.data() + offset, frame.data() + offset + n);
}

unsigned int* words(GuardedBuffer& frame, std::size_t offset = 0) {
    return reinterpret_cast<unsigned int*>(frame.data() + offset);
}

// ---- ccnvt_flip_vert ----

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

// ---- ccnvt_flip_vert_flags ----

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
                std::vector<unsigned char> expected(c.left, margin);
                expected.insert(expected.end(), 7, static_cast<unsigned char>(0x12 - i));
                expected.resize(10, margin);
                EXPECT_EQ(row_of(destination, i * 10, 10), expected)
                    << "code " << std::hex << c.code << " keep " << keep_margins << " row " << i;
            }
            EXPECT_TRUE(destination.guards_intact());
        }
}

// Source rows of 6 into destination rows of 4: each copy moves 6 bytes, the last runs 2 past.
TEST(FlipVertFlags, LongerSourceRowsRunIntoTheNextRow) {
    GuardedBuffer source = numbered_rows(3, 6), destination(3 * 4 + 2, 0xEE);
    ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 3, 4, 6, 0x4000000, 0);
    auto expected = rows_of({0x12, 0x11, 0x10, 0x10}, 4);
    expected.resize(14);
    EXPECT_EQ(destination.contents(), expected);
    EXPECT_TRUE(destination.guards_intact());
}

// Rows of 10 bytes, 7 of picture; centred code: L = 2, R = 1. Row 0 gets
// its margins cleared, then row 2's first 7 bytes; the middle row stays.
TEST(FlipVertFlags, InPlaceMovesContentToOffsetZeroAndClearsMargins) {
    GuardedBuffer frame(3 * 10);
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 10; ++k) frame[r * 10 + k] = static_cast<unsigned char>(0x10 * (r + 1) + k);
    ccnvt_flip_vert_flags(frame.data(), frame.data(), 0, 0, 3, 10, 7, 0x4000000, 0);
    EXPECT_EQ(row_of(frame, 0, 10), rows_of({0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x17, 0x18, 0x00}, 1));
    EXPECT_EQ(row_of(frame, 10, 10), rows_of({0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x29}, 1));
    EXPECT_EQ(row_of(frame, 20, 10), rows_of({0x00, 0x00, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x00}, 1));
}

TEST(FlipVertFlags, NoRowsOrOneRowInPlaceDoNothing) {
    GuardedBuffer frame = numbered_rows(2, 10), destination(20, 0xEE);
    EXPECT_EQ(0, ccnvt_flip_vert_flags(frame.data(), frame.data(), 0, 0, 1, 10, 7, 0x1000000, 0));
    EXPECT_EQ(0, ccnvt_flip_vert_flags(destination.data(), frame.data(), 0, 0, 0, 10, 7, 0x1000000, 0));
    EXPECT_EQ(frame.contents(), rows_of({0x10, 0x11}, 10));
    EXPECT_EQ(destination.contents(), std::vector<unsigned char>(20, 0xEE));
}

// ---- ccnvt_flip_horz ----

class FlipHorzKernels : public ::testing::TestWithParam<unsigned int> {};

// Widths 1 to 40: every tail of the blocks and of the two ends meeting in place.
TEST_P(FlipHorzKernels, MirrorPixelsOfEveryRowInPlaceOrNot) {
    const ScopedCpuFeatures features(GetParam());
    std::vector<std::uint32_t> widths = {64, 65, 1921};
    for (std::uint32_t w = 1; w <= 40; ++w) widths.push_back(w);
    for (std::uint32_t width : widths) {
        const int rows = 3, row_bytes = static_cast<int>(4 * width + 6);  // not a multiple of 4
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
}

// Destination one pixel after the source: pixels written are read again later.
TEST_P(FlipHorzKernels, OverlappingRowsGoFrontToBack) {
    const ScopedCpuFeatures features(GetParam());
    const std::uint32_t width = 40;
    GuardedBuffer buffer(4 * (width + 1));
    buffer.fill_random(4);
    std::vector<std::uint32_t> model(width + 1);
    std::memcpy(model.data(), buffer.data(), buffer.size());
    for (std::uint32_t k = 0; k < width; ++k) model[1 + k] = model[width - 1 - k];
    ccnvt_flip_horz(words(buffer, 4), words(buffer), width, 1, 0);
    EXPECT_EQ(0, std::memcmp(buffer.data(), model.data(), buffer.size()));
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, FlipHorzKernels, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(FlipHorz, WidthOneInPlaceReturnsAndOutOfPlaceCopies) {
    GuardedBuffer frame(8), destination(8, 0);
    frame.fill_random(3);
    const auto before = frame.contents();
    ccnvt_flip_horz(words(frame), words(frame), 1, 2, 4);
    EXPECT_EQ(frame.contents(), before);
    ccnvt_flip_horz(words(destination), words(frame), 1, 2, 4);
    EXPECT_EQ(destination.contents(), before);
    ccnvt_flip_horz(words(destination), words(frame), 0, 2, 4);
    ccnvt_flip_horz(words(destination), words(frame), 4, 0, 4);
    EXPECT_EQ(destination.contents(), before);
}

TEST(FlipHorz, NegativeRowBytesWalkUpwards) {
    GuardedBuffer source(2 * 8), destination(2 * 8, 0);
    source.fill_random(11);
    ccnvt_flip_horz(words(destination, 8), words(source, 8), 2, 2, -8);
    for (int r = 0; r < 2; ++r) {
        EXPECT_EQ(row_of(destination, 8 * r, 4), row_of(source, 8 * r + 4, 4));
        EXPECT_EQ(row_of(destination, 8 * r + 4, 4), row_of(source, 8 * r, 4));
    }
    EXPECT_TRUE(destination.guards_intact());
}

}  // namespace
