// Two-buffer fields of 4-byte pixels to and from frames, and the copy between pitches.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/geometry.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;

TEST(Fields, FiveRowsInterleaveFromTwoFields) {
    const unsigned int width = 3, rows = 5;
    const long field_pitch = 16, frame_pitch = 20;  // both wider than 12 bytes of pixels
    GuardedBuffer field0(3 * field_pitch), field1(2 * field_pitch);
    for (int r = 0; r < 3; ++r) std::memset(field0.data() + r * field_pitch, 0x10 + r, field_pitch);
    for (int r = 0; r < 2; ++r) std::memset(field1.data() + r * field_pitch, 0x20 + r, field_pitch);
    GuardedBuffer frame(rows * frame_pitch, 0xEE);
    EXPECT_NE(0, ccnvt_fld_sep_to_mix32(frame.data(), frame_pitch, field0.data(), field1.data(), field_pitch, width, rows));
    const unsigned char tags[rows] = {0x10, 0x20, 0x11, 0x21, 0x12};
    for (unsigned int k = 0; k < rows; ++k)
        for (long i = 0; i < frame_pitch; ++i)
            ASSERT_EQ(frame[k * frame_pitch + i], i < 12 ? tags[k] : 0xEE) << "frame row " << k << " byte " << i;
    EXPECT_TRUE(frame.guards_intact());
}

TEST(Fields, SplitAfterMergeGivesBackBothFields) {
    for (unsigned int rows : {1u, 7u, 8u}) {
        const unsigned int width = 33;
        const long field_pitch = 4 * width + 8, frame_pitch = 4 * width + 4;
        GuardedBuffer fields[2] = {GuardedBuffer((rows + 1) / 2 * field_pitch), GuardedBuffer(rows / 2 * field_pitch + 1)};
        GuardedBuffer back[2] = {GuardedBuffer(fields[0].size(), 0), GuardedBuffer(fields[1].size(), 0)};
        GuardedBuffer frame(rows * frame_pitch);
        fields[0].fill_random(rows);
        fields[1].fill_random(rows + 100);
        ccnvt_fld_sep_to_mix32(frame.data(), frame_pitch, fields[0].data(), fields[1].data(), field_pitch, width, rows);
        EXPECT_NE(0, ccnvt_fld_mix_to_sep32(back[0].data(), back[1].data(), field_pitch, frame.data(), frame_pitch,
                                            width, rows));
        for (unsigned int r = 0; r < rows; ++r)
            EXPECT_EQ(0, std::memcmp(back[r % 2].data() + r / 2 * field_pitch, fields[r % 2].data() + r / 2 * field_pitch,
                                     4 * width)) << rows << " row " << r;
        EXPECT_TRUE(back[0].guards_intact() && back[1].guards_intact() && frame.guards_intact());
    }
    // No rows: nothing copied, 0 returned.
    GuardedBuffer frame(64, 0xEE), field(64, 0x11);
    EXPECT_EQ(0, ccnvt_fld_sep_to_mix32(frame.data(), 16, field.data(), field.data(), 16, 4, 0));
    EXPECT_EQ(0, ccnvt_fld_mix_to_sep32(frame.data(), frame.data(), 16, field.data(), 16, 4, 0));
    EXPECT_EQ(frame.contents(), std::vector<unsigned char>(64, 0xEE));
}

TEST(CopyInterleaved, RowsOfTheShorterPitchOrWholePitchesWhenEqual) {
    const struct {
        long destination_pitch, source_pitch, copied;
    } cases[] = {{4096, 3840, 3840}, {3840, 4096, 3840}, {24, 24, 24}};  // equal: the padding too
    for (const auto& c : cases) {
        const long rows = 3;
        GuardedBuffer source(rows * c.source_pitch), destination(rows * c.destination_pitch, 0xEE);
        source.fill_random(7);
        ccnvt_copy_interleaved(destination.data(), c.destination_pitch, source.data(), c.source_pitch, 99, rows);
        for (long r = 0; r < rows; ++r)
            for (long i = 0; i < c.destination_pitch; ++i)
                ASSERT_EQ(destination[r * c.destination_pitch + i], i < c.copied ? source[r * c.source_pitch + i] : 0xEE)
                    << c.destination_pitch << " row " << r << " byte " << i;
        EXPECT_TRUE(destination.guards_intact());
    }
    // Nothing to do: the same buffer at equal pitches, whatever the rows; no or negative rows.
    GuardedBuffer frame(64, 0x11), other(64, 0xEE);
    ccnvt_copy_interleaved(frame.data(), 16, frame.data(), 16, 0, 1000000);
    ccnvt_copy_interleaved(other.data(), 16, frame.data(), 8, 0, 0);
    ccnvt_copy_interleaved(other.data(), 16, frame.data(), 8, 0, -4);
    EXPECT_EQ(frame.contents(), std::vector<unsigned char>(64, 0x11));
    EXPECT_EQ(other.contents(), std::vector<unsigned char>(64, 0xEE));
}
