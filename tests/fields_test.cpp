// Two-buffer fields of 4-byte pixels to and from interleaved frames, and the
// copy between pitches.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/geometry.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;

namespace {

// A picture whose every row is filled with one tag byte.
void tag_rows(GuardedBuffer& buffer, long pitch, unsigned int rows, unsigned char first_tag) {
    for (unsigned int r = 0; r < rows; ++r)
        std::memset(buffer.data() + r * pitch, first_tag + r, static_cast<std::size_t>(pitch));
}

}  // namespace

TEST(Fields, FiveRowsInterleaveFromTwoFields) {
    const unsigned int width = 3, rows = 5;
    const long field_pitch = 16, frame_pitch = 20;  // both wider than 12 bytes of pixels
    GuardedBuffer field0(3 * field_pitch), field1(2 * field_pitch);
    tag_rows(field0, field_pitch, 3, 0x10);  // rows 0x10, 0x11, 0x12
    tag_rows(field1, field_pitch, 2, 0x20);  // rows 0x20, 0x21
    GuardedBuffer frame(rows * frame_pitch, 0xEE);
    EXPECT_NE(0, ccnvt_fld_sep_to_mix32(frame.data(), frame_pitch, field0.data(), field1.data(),
                                        field_pitch, width, rows));
    const unsigned char expected_tags[rows] = {0x10, 0x20, 0x11, 0x21, 0x12};
    for (unsigned int k = 0; k < rows; ++k) {
        for (long i = 0; i < frame_pitch; ++i)
            ASSERT_EQ(frame[k * frame_pitch + i], i < 12 ? expected_tags[k] : 0xEE)
                << "frame row " << k << " byte " << i;
    }
    EXPECT_TRUE(frame.guards_intact());
}

TEST(Fields, SplitAfterMergeGivesBackBothFields) {
    for (unsigned int rows : {1u, 2u, 7u, 8u}) {
        const unsigned int width = 33;
        const long field_pitch = 4 * width + 8, frame_pitch = 4 * width + 4;
        const unsigned int field0_rows = (rows + 1) / 2, field1_rows = rows / 2;
        GuardedBuffer field0(field0_rows * field_pitch), field1(field1_rows * field_pitch + 1);
        field0.fill_random(rows);
        field1.fill_random(rows + 100);
        GuardedBuffer frame(rows * frame_pitch);
        ccnvt_fld_sep_to_mix32(frame.data(), frame_pitch, field0.data(), field1.data(), field_pitch,
                               width, rows);
        GuardedBuffer back0(field0.size(), 0), back1(field1.size(), 0);
        ccnvt_fld_mix_to_sep32(back0.data(), back1.data(), field_pitch, frame.data(), frame_pitch,
                               width, rows);
        for (unsigned int r = 0; r < field0_rows; ++r)
            EXPECT_EQ(0, std::memcmp(back0.data() + r * field_pitch, field0.data() + r * field_pitch, 4 * width));
        for (unsigned int r = 0; r < field1_rows; ++r)
            EXPECT_EQ(0, std::memcmp(back1.data() + r * field_pitch, field1.data() + r * field_pitch, 4 * width));
        EXPECT_TRUE(back0.guards_intact() && back1.guards_intact() && frame.guards_intact());
    }
}

TEST(Fields, ZeroRowsCopyNothingAndReturnZero) {
    GuardedBuffer frame(64, 0xEE), field(64, 0x11);
    EXPECT_EQ(0, ccnvt_fld_sep_to_mix32(frame.data(), 16, field.data(), field.data(), 16, 4, 0));
    EXPECT_EQ(0, ccnvt_fld_mix_to_sep32(frame.data(), frame.data(), 16, field.data(), 16, 4, 0));
    EXPECT_EQ(frame.contents(), std::vector<unsigned char>(64, 0xEE));
}

TEST(CopyInterleaved, UnequalPitchesCopyTheShorterPitchPerRow) {
    for (auto [destination_pitch, source_pitch] : {std::pair<long, long>{4096, 3840}, {3840, 4096}}) {
        const long rows = 3;
        GuardedBuffer source(rows * source_pitch);
        source.fill_random(7);
        GuardedBuffer destination(rows * destination_pitch, 0xEE);
        ccnvt_copy_interleaved(destination.data(), destination_pitch, source.data(), source_pitch, 99, rows);
        for (long r = 0; r < rows; ++r) {
            EXPECT_EQ(0, std::memcmp(destination.data() + r * destination_pitch,
                                     source.data() + r * source_pitch, 3840));
            for (long i = 3840; i < destination_pitch; ++i)
                ASSERT_EQ(destination[r * destination_pitch + i], 0xEE);
        }
        EXPECT_TRUE(destination.guards_intact());
    }
}

TEST(CopyInterleaved, EqualPitchesCopyWholePitchesPaddingIncluded) {
    GuardedBuffer source(3 * 24), destination(3 * 24, 0);
    source.fill_random(3);
    ccnvt_copy_interleaved(destination.data(), 24, source.data(), 24, 0, 3);
    EXPECT_EQ(destination.contents(), source.contents());
    EXPECT_TRUE(destination.guards_intact());
}

TEST(CopyInterleaved, NothingToDo) {
    GuardedBuffer frame(64, 0x11), other(64, 0xEE);
    // Same buffer, equal pitches: nothing, whatever the row count.
    ccnvt_copy_interleaved(frame.data(), 16, frame.data(), 16, 0, 1000000);
    // Unequal pitches and no rows, or a negative count.
    ccnvt_copy_interleaved(other.data(), 16, frame.data(), 8, 0, 0);
    ccnvt_copy_interleaved(other.data(), 16, frame.data(), 8, 0, -4);
    EXPECT_EQ(frame.contents(), std::vector<unsigned char>(64, 0x11));
    EXPECT_EQ(other.contents(), std::vector<unsigned char>(64, 0xEE));
}
