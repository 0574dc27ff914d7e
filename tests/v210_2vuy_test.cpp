// 2vuy <-> v210 repacking: hand-worked bytes, the model under every feature
// word, default pitches, guards, row order (rows past 4 GiB: large_frames_test.cpp).
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "support/test_support.h"
#include "tests/packed10_model.h"

using cconvert::test::GuardedBuffer;
using namespace cconvert::test::model;

namespace {

// 2vuy bytes are the v210 sample stream at eight bits.
Bytes model_2vuy_to_v210(const unsigned char* uyvy, std::size_t groups) { return v210_from_samples(widen(uyvy, 12 * groups)); }
Bytes model_v210_to_2vuy(const unsigned char* v210, std::size_t groups) { return narrow(samples_from_v210(v210, groups)); }

// Up to ten groups (two four-group vector steps and tails), and a few long rows.
std::vector<std::uint32_t> repack_widths() {
    std::vector<std::uint32_t> widths;
    for (std::uint32_t w = 0; w <= 60; ++w) widths.push_back(w);
    for (std::uint32_t w : {95u, 96u, 97u, 1919u, 1920u, 4097u}) widths.push_back(w);
    return widths;
}

class RepackKernels : public FeatureWordTest {};

}  // namespace

// ---- hand-worked bytes ----

TEST(V210Layout, StudioPairsPackAndTenBitSamplesLoseTheirLowBits) {
    GuardedBuffer v210(16);
    const unsigned char pairs[12] = {0x80, 0x10, 0x80, 0xEB, 0x00, 0xFF, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
    ccnvt_2vuy_v210(v210.data(), pairs, 6, 1, 16);
    EXPECT_EQ(v210.contents(), le_words({0x20010200u,                        // Cb 0x200, Y0 0x040, Cr 0x200
                                         0x3ACu | 0x000u << 10 | 0x3FCu << 20,  // Y1, Cb2, Y2
                                         0x004u | 0x008u << 10 | 0x00Cu << 20,  // Cr2, Y3, Cb4
                                         0x010u | 0x014u << 10 | 0x018u << 20}));  // Y4, Cr4, Y5
    EXPECT_TRUE(v210.guards_intact());

    // Bits 30-31 set in two words are ignored.
    const Bytes words = le_words({0x3FFu | 0x3FCu << 10 | 0x003u << 20 | 0xC0000000u, 514u | 0x200u << 10 | 0x1FFu << 20,
                                  0x001u | 0x002u << 10 | 0x3FEu << 20 | 0x40000000u, 0x100u | 0x0FFu << 10 | 0x040u << 20});
    GuardedBuffer uyvy(12);
    ccnvt_v210_2vuy(uyvy.data(), words.data(), 6, 1, 16);
    EXPECT_EQ(uyvy.contents(), (Bytes{0xFF, 0xFF, 0x00, 128, 0x80, 0x7F, 0x00, 0x00, 0xFF, 0x40, 0x3F, 0x10}));
    EXPECT_TRUE(uyvy.guards_intact());
}

TEST(V210Layout, GetNext4WordsUnpacksOneGroupInStreamOrder) {
    unsigned int words[5] = {1u | 2u << 10 | 3u << 20 | 0xC0000000u, 4u | 5u << 10 | 6u << 20,
                             7u | 8u << 10 | 1023u << 20, 10u | 11u << 10 | 12u << 20, 0xDEAD};
    v210FourWords group{};
    EXPECT_EQ(_v210_get_next_4words(words, &group), words + 4);
    EXPECT_EQ(std::vector<unsigned short>(group.sample, group.sample + 12),
              (std::vector<unsigned short>{1, 2, 3, 4, 5, 6, 7, 8, 1023, 10, 11, 12}));
}

// ---- every kernel against the model ----

TEST_P(RepackKernels, BothWaysMatchTheModelAlsoInPlace) {
    for (std::uint32_t width : repack_widths()) {
        const std::uint32_t height = width > 1000 ? 2 : 3;
        const std::size_t groups = groups_of(width), frame_bytes = 2 * std::size_t{width} * height;
        // 2vuy to v210 reads whole groups (past the last row's end) and leaves the padding of each row.
        const std::size_t pitch = 16 * groups + 32;
        GuardedBuffer uyvy(frame_bytes + 12), v210(pitch * height, 0x5A);
        uyvy.fill_random(width);
        ccnvt_2vuy_v210(v210.data(), uyvy.data(), width, height, static_cast<unsigned>(pitch));
        Bytes expected(pitch * height, 0x5A);
        for (std::uint32_t row = 0; row < height && width > 0; ++row) {
            const Bytes converted = model_2vuy_to_v210(uyvy.data() + 2 * width * row, groups);
            std::copy(converted.begin(), converted.end(), expected.begin() + static_cast<long>(pitch * row));
        }
        ASSERT_EQ(v210.contents(), expected) << "to v210, width " << width;
        ASSERT_TRUE(v210.guards_intact()) << "width " << width;

        // Random v210 (bits 30-31 too) back: each row's last group spills whole (the last row's past the frame).
        v210.fill_random(width + 7);
        GuardedBuffer back(frame_bytes + 12, 0x5A);
        ccnvt_v210_2vuy(back.data(), v210.data(), width, height, static_cast<unsigned>(pitch));
        expected.assign(back.size(), 0x5A);
        for (std::uint32_t row = 0; row < height && width > 0; ++row) {
            const Bytes converted = model_v210_to_2vuy(v210.data() + pitch * row, groups);
            std::copy(converted.begin(), converted.end(), expected.begin() + 2 * width * row);
        }
        ASSERT_EQ(back.contents(), expected) << "to 2vuy, width " << width;
        ASSERT_TRUE(back.guards_intact()) << "width " << width;

        ccnvt_v210_2vuy(v210.data(), v210.data(), width, height, static_cast<unsigned>(pitch));
        ASSERT_EQ(0, std::memcmp(v210.data(), back.data(), frame_bytes)) << "in place, width " << width;
        ASSERT_TRUE(v210.guards_intact()) << "in place, width " << width;
    }
}

CCNVT_UNDER_EVERY_FEATURE_WORD(RepackKernels);

// ---- pitches, guards and row order ----

TEST(V210Pitch, ZeroTakesEachDirectionsDefault) {
    // Writing v210: (16 * width) / 6 rounded up to 64; reading: not rounded.
    const struct {
        std::uint32_t width;
        std::size_t writing, reading;
    } defaults[] = {{1280, 3456, 3413}, {1920, 5120, 5120}};
    for (const auto& d : defaults) {
        GuardedBuffer uyvy(2 * d.width * 2 + 8), v210(d.writing * 2, 0x5A);
        uyvy.fill_random(d.width);
        ccnvt_2vuy_v210(v210.data(), uyvy.data(), d.width, 2, 0);
        const Bytes row1 = model_2vuy_to_v210(uyvy.data() + 2 * d.width, groups_of(d.width));
        EXPECT_EQ(Bytes(v210.data() + d.writing, v210.data() + d.writing + row1.size()), row1) << d.width;
        EXPECT_EQ(Bytes(v210.data() + row1.size(), v210.data() + d.writing), Bytes(d.writing - row1.size(), 0x5A));

        GuardedBuffer source(d.reading + 16 * groups_of(d.width)), back(2 * d.width * 2 + 8);
        source.fill_random(d.width + 1);
        ccnvt_v210_2vuy(back.data(), source.data(), d.width, 2, 0);
        const Bytes back1 = model_v210_to_2vuy(source.data() + d.reading, groups_of(d.width));
        EXPECT_EQ(0, std::memcmp(back.data() + 2 * d.width, back1.data(), 2 * d.width)) << d.width;
        EXPECT_TRUE(v210.guards_intact() && back.guards_intact());
    }
}

TEST(V210Guards, ZeroWidthOrHeightWritesNothing) {
    GuardedBuffer uyvy(64), v210(64, 0x5A);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 0, 0xFFFFFFFFu, 0);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 0, 1, 16);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 6, 0, 16);
    EXPECT_EQ(v210.contents(), Bytes(64, 0x5A));
    ccnvt_v210_2vuy(uyvy.data(), v210.data(), 0, 4, 0);
    ccnvt_v210_2vuy(uyvy.data(), v210.data(), 6, 0, 0);
    EXPECT_EQ(uyvy.contents(), Bytes(64, GuardedBuffer::kGuardValue));
    EXPECT_TRUE(uyvy.guards_intact() && v210.guards_intact());
}

TEST(V210Order, TwoVuyToV210WritesTheLastRowFirst) {
    // Rows 8 bytes apart: row 0, written last, covers half of row 1.
    GuardedBuffer uyvy(24);
    uyvy.fill_random(77);
    GuardedBuffer v210(8 + 16, 0);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 6, 2, 8);
    const Bytes row0 = model_2vuy_to_v210(uyvy.data(), 1), row1 = model_2vuy_to_v210(uyvy.data() + 12, 1);
    EXPECT_EQ(Bytes(v210.data(), v210.data() + 16), row0);
    EXPECT_EQ(Bytes(v210.data() + 16, v210.data() + 24), Bytes(row1.begin() + 8, row1.end()));
}

TEST(V210Aliases, OlderNamesDoTheSameWork) {
    const Bytes uyvy = cconvert::test::random_bytes(2 * 50 * 3 + 12, 5);
    Bytes a(448 * 3), b(a.size()), c(uyvy.size()), d(uyvy.size());
    ccnvt_2vuy_v210(a.data(), uyvy.data(), 50, 3, 0);
    ccnvt_yuv422_8_yuv422_10(b.data(), const_cast<unsigned char*>(uyvy.data()), 50, 3, 0);
    ccnvt_v210_2vuy(c.data(), a.data(), 50, 3, 192);
    ccnvt_yuv422_10_yuv422_8(d.data(), a.data(), 50, 3, 192);
    EXPECT_EQ(a, b);
    EXPECT_EQ(c, d);
}
