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

std::vector<unsigned char> bytes(std::initializer_list<int> values) {
    std::vector<unsigned char> out;
    for (int v : values) out.push_back(static_cast<unsigned char>(v));
    return out;
}

std::vector<unsigned char> row_of(const GuardedBuffer& frame, std::size_t offset, std::size_t n) {
    return std::vector<unsigned char>(frame.data() + offset, frame.data() + offset + n);
}

}  // namespace

// ---- ccnvt_flip_vert ----

TEST(FlipVert, TwoBuffersReverseTheRows) {
    for (int rows : {1, 2, 3, 4, 7}) {
        const std::size_t row_bytes = 37;
        GuardedBuffer source(rows * row_bytes);
        source.fill_random(rows);
        GuardedBuffer destination(rows * row_bytes, 0);
        ccnvt_flip_vert(destination.data(), source.data(), 0, rows, row_bytes);
        for (int i = 0; i < rows; ++i)
            EXPECT_EQ(0, std::memcmp(destination.data() + i * row_bytes,
                                     source.data() + (rows - 1 - i) * row_bytes, row_bytes))
                << rows << " rows, row " << i;
        EXPECT_TRUE(destination.guards_intact());
    }
}

TEST(FlipVert, InPlaceSwapsRowPairsAndKeepsTheMiddleRow) {
    GuardedBuffer frame = numbered_rows(3, 5);
    ccnvt_flip_vert(frame.data(), frame.data(), 0, 3, 5);
    EXPECT_EQ(frame.contents(), bytes({0x12, 0x12, 0x12, 0x12, 0x12, 0x11, 0x11, 0x11, 0x11, 0x11,
                                       0x10, 0x10, 0x10, 0x10, 0x10}));
    GuardedBuffer even = numbered_rows(4, 3);
    ccnvt_flip_vert(even.data(), even.data(), 0, 4, 3);
    EXPECT_EQ(even.contents(), bytes({0x13, 0x13, 0x13, 0x12, 0x12, 0x12, 0x11, 0x11, 0x11, 0x10,
                                      0x10, 0x10}));
    EXPECT_TRUE(frame.guards_intact() && even.guards_intact());
}

TEST(FlipVert, FewerThanTwoRowsInPlaceOrNoneAtAllChangeNothing) {
    GuardedBuffer frame = numbered_rows(2, 8);
    const auto before = frame.contents();
    ccnvt_flip_vert(frame.data(), frame.data(), 0, 1, 8);
    ccnvt_flip_vert(frame.data(), frame.data(), 0, 0, 8);
    ccnvt_flip_vert(frame.data(), frame.data(), 0, -3, 8);
    GuardedBuffer other(16, 0x77);
    ccnvt_flip_vert(other.data(), frame.data(), 0, 0, 8);
    ccnvt_flip_vert(other.data(), frame.data(), 0, -1, 8);
    EXPECT_EQ(frame.contents(), before);
    EXPECT_EQ(other.contents(), std::vector<unsigned char>(16, 0x77));
}

// ---- ccnvt_flip_vert_flags ----

struct MarginCase {
    unsigned int code;
    std::size_t left, right;
};

class FlipVertFlagsMargins : public ::testing::TestWithParam<MarginCase> {};

TEST_P(FlipVertFlagsMargins, SourceRowsOf7InDestinationRowsOf10) {
    const MarginCase c = GetParam();
    const int rows = 3;
    GuardedBuffer source = numbered_rows(rows, 7);
    GuardedBuffer destination(rows * 10, 0xEE);
    EXPECT_EQ(0, ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, rows, 10, 7,
                                       c.code | 0x00FF00FFu, 0));
    for (int i = 0; i < rows; ++i) {
        std::vector<unsigned char> expected(c.left, 0x00);
        expected.insert(expected.end(), 7, static_cast<unsigned char>(0x10 + rows - 1 - i));
        expected.insert(expected.end(), c.right, 0x00);
        if (c.left + c.right == 0) expected.insert(expected.end(), 3, 0xEE);  // not cleared
        EXPECT_EQ(row_of(destination, i * 10, 10), expected) << "row " << i;
    }
    EXPECT_TRUE(destination.guards_intact());
}

TEST_P(FlipVertFlagsMargins, KeepMarginsSwitchLeavesThemButStillPlacesRows) {
    const MarginCase c = GetParam();
    GuardedBuffer source = numbered_rows(2, 7);
    GuardedBuffer destination(2 * 10, 0xEE);
    ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 2, 10, 7, c.code, 1);
    for (int i = 0; i < 2; ++i) {
        std::vector<unsigned char> expected(c.left, 0xEE);
        expected.insert(expected.end(), 7, static_cast<unsigned char>(0x11 - i));
        expected.resize(10, 0xEE);
        EXPECT_EQ(row_of(destination, i * 10, 10), expected) << "row " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(AlignmentCodes, FlipVertFlagsMargins,
                         ::testing::Values(MarginCase{0x1000000, 3, 0}, MarginCase{0x2000000, 0, 3},
                                           MarginCase{0x4000000, 2, 1}, MarginCase{0x8000000, 1, 2},
                                           MarginCase{0x0000000, 0, 0}, MarginCase{0x3000000, 0, 0},
                                           MarginCase{0xF000000, 0, 0}));

TEST(FlipVertFlags, LongerSourceRowsRunIntoTheNextRow) {
    // Source rows of 6 bytes into destination rows of 4: each copy moves 6
    // bytes, the next row overwrites the overrun, the last one runs 2 past.
    GuardedBuffer source = numbered_rows(3, 6);
    GuardedBuffer destination(3 * 4 + 2, 0xEE);
    ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 3, 4, 6, 0x4000000, 0);
    EXPECT_EQ(destination.contents(), bytes({0x12, 0x12, 0x12, 0x12, 0x11, 0x11, 0x11, 0x11, 0x10,
                                             0x10, 0x10, 0x10, 0x10, 0x10}));
    EXPECT_TRUE(destination.guards_intact());
}

TEST(FlipVertFlags, InPlaceMovesContentToOffsetZeroAndClearsMargins) {
    // Rows 10 bytes apart holding 7 bytes of picture and 3 of old margin;
    // centred code 0x4000000: L = 2, R = 1 (offset 9).
    GuardedBuffer frame(3 * 10);
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 10; ++k) frame[r * 10 + k] = static_cast<unsigned char>(0x10 * (r + 1) + k);
    ccnvt_flip_vert_flags(frame.data(), frame.data(), 0, 0, 3, 10, 7, 0x4000000, 0);
    // Row 0: margins of old row 0 cleared, then it takes row 2's first 7 bytes at offset 0.
    EXPECT_EQ(row_of(frame, 0, 10),
              bytes({0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x17, 0x18, 0x00}));
    // Row 2: the whole of old row 0 with its margins cleared.
    EXPECT_EQ(row_of(frame, 20, 10),
              bytes({0x00, 0x00, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x00}));
    // Row 1, the middle, is untouched.
    EXPECT_EQ(row_of(frame, 10, 10),
              bytes({0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x29}));
}

TEST(FlipVertFlags, NoRowsOrOneRowInPlaceDoNothing) {
    GuardedBuffer frame = numbered_rows(2, 10);
    const auto before = frame.contents();
    EXPECT_EQ(0, ccnvt_flip_vert_flags(frame.data(), frame.data(), 0, 0, 1, 10, 7, 0x1000000, 0));
    GuardedBuffer destination(20, 0xEE);
    EXPECT_EQ(0, ccnvt_flip_vert_flags(destination.data(), frame.data(), 0, 0, 0, 10, 7, 0x1000000, 0));
    EXPECT_EQ(frame.contents(), before);
    EXPECT_EQ(destination.contents(), std::vector<unsigned char>(20, 0xEE));
}

// ---- ccnvt_flip_horz ----

class FlipHorzKernels : public ::testing::TestWithParam<unsigned int> {};

TEST_P(FlipHorzKernels, MirrorPixelsOfEveryRowInPlaceOrNot) {
    ScopedCpuFeatures features(GetParam());
    std::vector<std::uint32_t> widths;
    for (std::uint32_t w = 1; w <= 130; ++w) widths.push_back(w);
    for (std::uint32_t w : {1919u, 1920u, 3841u}) widths.push_back(w);
    for (std::uint32_t width : widths) {
        const int rows = 3;
        const int row_bytes = static_cast<int>(4 * width + 6);  // not a multiple of 4
        GuardedBuffer source(rows * row_bytes);
        source.fill_random(width);
        GuardedBuffer mirrored(rows * row_bytes, 0xEE);
        GuardedBuffer in_place(rows * row_bytes);
        std::memcpy(in_place.data(), source.data(), source.size());
        ccnvt_flip_horz(reinterpret_cast<unsigned int*>(mirrored.data()),
                        reinterpret_cast<unsigned int*>(source.data()), width, rows, row_bytes);
        ccnvt_flip_horz(reinterpret_cast<unsigned int*>(in_place.data()),
                        reinterpret_cast<unsigned int*>(in_place.data()), width, rows, row_bytes);
        for (int r = 0; r < rows; ++r) {
            for (std::uint32_t k = 0; k < width; ++k) {
                const std::size_t to = r * row_bytes + 4 * k, from = r * row_bytes + 4 * (width - 1 - k);
                ASSERT_EQ(0, std::memcmp(mirrored.data() + to, source.data() + from, 4))
                    << "width " << width << " row " << r << " pixel " << k;
                ASSERT_EQ(0, std::memcmp(in_place.data() + to, source.data() + from, 4))
                    << "in place, width " << width << " row " << r << " pixel " << k;
            }
            for (int pad = 4 * width; pad < row_bytes; ++pad) {
                ASSERT_EQ(mirrored[r * row_bytes + pad], 0xEE);
                ASSERT_EQ(in_place[r * row_bytes + pad], source[r * row_bytes + pad]);
            }
        }
        ASSERT_TRUE(mirrored.guards_intact() && in_place.guards_intact());
    }
}

TEST_P(FlipHorzKernels, OverlappingRowsGoFrontToBack) {
    // Destination one pixel after the source: each pixel written is read
    // again later, as the front-to-back loop defines.
    ScopedCpuFeatures features(GetParam());
    const std::uint32_t width = 40;
    GuardedBuffer buffer(4 * (width + 1));
    buffer.fill_random(4);
    std::vector<std::uint32_t> model(width + 1);
    std::memcpy(model.data(), buffer.data(), buffer.size());
    for (std::uint32_t k = 0; k < width; ++k) model[1 + k] = model[width - 1 - k];
    ccnvt_flip_horz(reinterpret_cast<unsigned int*>(buffer.data() + 4),
                    reinterpret_cast<unsigned int*>(buffer.data()), width, 1, 0);
    EXPECT_EQ(0, std::memcmp(buffer.data(), model.data(), buffer.size()));
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, FlipHorzKernels,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(FlipHorz, WidthOneInPlaceReturnsAndOutOfPlaceCopies) {
    GuardedBuffer frame(8), destination(8, 0);
    frame.fill_random(3);
    const auto before = frame.contents();
    ccnvt_flip_horz(reinterpret_cast<unsigned int*>(frame.data()),
                    reinterpret_cast<unsigned int*>(frame.data()), 1, 2, 4);
    EXPECT_EQ(frame.contents(), before);
    ccnvt_flip_horz(reinterpret_cast<unsigned int*>(destination.data()),
                    reinterpret_cast<unsigned int*>(frame.data()), 1, 2, 4);
    EXPECT_EQ(destination.contents(), before);
    ccnvt_flip_horz(reinterpret_cast<unsigned int*>(destination.data()),
                    reinterpret_cast<unsigned int*>(frame.data()), 0, 2, 4);
    ccnvt_flip_horz(reinterpret_cast<unsigned int*>(destination.data()),
                    reinterpret_cast<unsigned int*>(frame.data()), 4, 0, 4);
    EXPECT_EQ(destination.contents(), before);
}

TEST(FlipHorz, NegativeRowBytesWalkUpwards) {
    // Start at the last row with a negative pitch: rows are visited bottom-up.
    GuardedBuffer source(2 * 8), destination(2 * 8, 0);
    source.fill_random(11);
    ccnvt_flip_horz(reinterpret_cast<unsigned int*>(destination.data() + 8),
                    reinterpret_cast<unsigned int*>(source.data() + 8), 2, 2, -8);
    for (int r = 0; r < 2; ++r) {
        EXPECT_EQ(0, std::memcmp(destination.data() + 8 * r, source.data() + 8 * r + 4, 4));
        EXPECT_EQ(0, std::memcmp(destination.data() + 8 * r + 4, source.data() + 8 * r, 4));
    }
    EXPECT_TRUE(destination.guards_intact());
}
