// 2vuy <-> v210 repacking: hand-worked bytes, an independent model of both
// layouts, round trips, every kernel against the model under every feature
// word, guard bytes, pitch defaults and in-place calls.
#include <sys/mman.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;

namespace {

std::uint32_t word_at(const unsigned char* bytes, std::size_t index) {
    std::uint32_t word;
    std::memcpy(&word, bytes + 4 * index, 4);
    return word;
}

void put_word(unsigned char* bytes, std::size_t index, std::uint32_t word) {
    std::memcpy(bytes + 4 * index, &word, 4);
}

std::size_t groups_of(std::uint32_t width) { return (width + 5) / 6; }

// The layouts, modelled from their tables. A 2vuy pair is Cb Y0 Cr Y1; a v210
// group holds, word by word, (Cb0 Y0 Cr0) (Y1 Cb2 Y2) (Cr2 Y3 Cb4) (Y4 Cr4 Y5)
// at bits 0, 10 and 20.
struct Group {
    std::uint32_t cb[3], cr[3], y[6];  // cb[k], cr[k] belong to pixels 2k, 2k+1
};

Group group_from_2vuy(const unsigned char* pairs) {
    Group g{};
    for (int k = 0; k < 3; ++k) {
        g.cb[k] = pairs[4 * k];
        g.y[2 * k] = pairs[4 * k + 1];
        g.cr[k] = pairs[4 * k + 2];
        g.y[2 * k + 1] = pairs[4 * k + 3];
    }
    return g;
}

std::array<std::uint32_t, 4> v210_words(const Group& g) {
    auto word = [](std::uint32_t a, std::uint32_t b, std::uint32_t c) { return a | b << 10 | c << 20; };
    return {word(g.cb[0], g.y[0], g.cr[0]), word(g.y[1], g.cb[1], g.y[2]),
            word(g.cr[1], g.y[3], g.cb[2]), word(g.y[4], g.cr[2], g.y[5])};
}

Group group_from_v210(const unsigned char* words) {
    auto field = [&](int w, int f) { return (word_at(words, w) >> (10 * f)) & 0x3FF; };
    Group g{};
    g.cb[0] = field(0, 0), g.y[0] = field(0, 1), g.cr[0] = field(0, 2);
    g.y[1] = field(1, 0), g.cb[1] = field(1, 1), g.y[2] = field(1, 2);
    g.cr[1] = field(2, 0), g.y[3] = field(2, 1), g.cb[2] = field(2, 2);
    g.y[4] = field(3, 0), g.cr[2] = field(3, 1), g.y[5] = field(3, 2);
    return g;
}

// Expected v210 row (whole groups) for a 2vuy row of whole groups.
std::vector<unsigned char> model_2vuy_to_v210(const unsigned char* uyvy, std::size_t groups) {
    std::vector<unsigned char> out(16 * groups);
    for (std::size_t i = 0; i < groups; ++i) {
        Group g = group_from_2vuy(uyvy + 12 * i);
        for (auto* s : {g.cb, g.cr}) for (int k = 0; k < 3; ++k) s[k] <<= 2;
        for (auto& y : g.y) y <<= 2;
        const auto words = v210_words(g);
        for (int w = 0; w < 4; ++w) put_word(out.data() + 16 * i, w, words[w]);
    }
    return out;
}

// Expected 2vuy bytes (whole groups) for a v210 row.
std::vector<unsigned char> model_v210_to_2vuy(const unsigned char* v210, std::size_t groups) {
    std::vector<unsigned char> out(12 * groups);
    for (std::size_t i = 0; i < groups; ++i) {
        const Group g = group_from_v210(v210 + 16 * i);
        for (int k = 0; k < 3; ++k) {
            unsigned char* pair = out.data() + 12 * i + 4 * k;
            pair[0] = static_cast<unsigned char>(g.cb[k] >> 2);
            pair[1] = static_cast<unsigned char>(g.y[2 * k] >> 2);
            pair[2] = static_cast<unsigned char>(g.cr[k] >> 2);
            pair[3] = static_cast<unsigned char>(g.y[2 * k + 1] >> 2);
        }
    }
    return out;
}

// Widths 0..130 and a few large ones, with tails for every vector block.
std::vector<std::uint32_t> widths_to_test() {
    std::vector<std::uint32_t> widths;
    for (std::uint32_t w = 0; w <= 130; ++w) widths.push_back(w);
    for (std::uint32_t w : {720u, 1280u, 1919u, 1920u, 3840u, 3845u, 4097u}) widths.push_back(w);
    return widths;
}

}  // namespace

// ---- hand-worked bytes ----

TEST(V210Layout, PairOfStudioLevelsPacksAsWorkedByHand) {
    // Cb 0x80, Y0 0x10, Cr 0x80, Y1 0xEB and two more pairs.
    GuardedBuffer uyvy(12), v210(16);
    const unsigned char pairs[12] = {0x80, 0x10, 0x80, 0xEB, 0x00, 0xFF, 0x01, 0x02,
                                     0x03, 0x04, 0x05, 0x06};
    std::memcpy(uyvy.data(), pairs, 12);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 6, 1, 16);
    EXPECT_EQ(word_at(v210.data(), 0), 0x20010200u);  // Cb 0x200, Y0 0x040, Cr 0x200
    // Y1 0x3AC, Cb2 0x000, Y2 0x3FC
    EXPECT_EQ(word_at(v210.data(), 1), 0x3ACu | 0x000u << 10 | 0x3FCu << 20);
    // Cr2 0x004, Y3 0x008, Cb4 0x00C
    EXPECT_EQ(word_at(v210.data(), 2), 0x004u | 0x008u << 10 | 0x00Cu << 20);
    // Y4 0x010, Cr4 0x014, Y5 0x018
    EXPECT_EQ(word_at(v210.data(), 3), 0x010u | 0x014u << 10 | 0x018u << 20);
    EXPECT_TRUE(v210.guards_intact());
}

TEST(V210Layout, TenBitSamplesLoseTheirTwoLowBits) {
    GuardedBuffer v210(16), uyvy(12);
    // Cb0 0x3FF, Y0 0x3FC, Cr0 0x003 | Y1 514, Cb2 0x200, Y2 0x1FF | ... bits 30-31 set
    put_word(v210.data(), 0, 0x3FFu | 0x3FCu << 10 | 0x003u << 20 | 0xC0000000u);
    put_word(v210.data(), 1, 514u | 0x200u << 10 | 0x1FFu << 20);
    put_word(v210.data(), 2, 0x001u | 0x002u << 10 | 0x3FEu << 20 | 0x40000000u);
    put_word(v210.data(), 3, 0x100u | 0x0FFu << 10 | 0x040u << 20);
    ccnvt_v210_2vuy(uyvy.data(), v210.data(), 6, 1, 16);
    const std::vector<unsigned char> expected = {0xFF, 0xFF, 0x00, 128,  0x80, 0x7F,
                                                 0x00, 0x00, 0xFF, 0x40, 0x3F, 0x10};
    EXPECT_EQ(uyvy.contents(), expected);
    EXPECT_TRUE(uyvy.guards_intact());
}

TEST(V210Layout, GetNext4WordsUnpacksOneGroupInStreamOrder) {
    unsigned int words[5] = {1u | 2u << 10 | 3u << 20 | 0xC0000000u, 4u | 5u << 10 | 6u << 20,
                             7u | 8u << 10 | 1023u << 20, 10u | 11u << 10 | 12u << 20, 0xDEAD};
    v210FourWords group{};
    EXPECT_EQ(_v210_get_next_4words(words, &group), words + 4);
    const unsigned short expected[12] = {1, 2, 3, 4, 5, 6, 7, 8, 1023, 10, 11, 12};
    for (int i = 0; i < 12; ++i) EXPECT_EQ(group.sample[i], expected[i]) << "sample " << i;
}

// ---- every kernel against the model ----

class RepackKernels : public ::testing::TestWithParam<unsigned int> {};

TEST_P(RepackKernels, TwoVuyToV210MatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : widths_to_test()) {
        const std::uint32_t height = width > 1000 ? 2 : 3;
        const std::size_t groups = groups_of(width);
        const std::size_t pitch = 16 * groups + 32;  // padding that must stay untouched
        // Whole groups are read: the last row reads past 2 * width.
        GuardedBuffer uyvy(2 * width * height + 12);
        uyvy.fill_random(width);
        GuardedBuffer v210(pitch * height, 0x5A);
        ccnvt_2vuy_v210(v210.data(), uyvy.data(), width, height, static_cast<unsigned>(pitch));
        for (std::uint32_t row = 0; row < height && width > 0; ++row) {
            const auto expected = model_2vuy_to_v210(uyvy.data() + 2 * width * row, groups);
            ASSERT_EQ(0, std::memcmp(v210.data() + pitch * row, expected.data(), expected.size()))
                << "width " << width << " row " << row;
            for (std::size_t i = 16 * groups; i < pitch; ++i)
                ASSERT_EQ(v210[pitch * row + i], 0x5A) << "padding, width " << width;
        }
        ASSERT_TRUE(v210.guards_intact()) << "width " << width;
    }
}

TEST_P(RepackKernels, V210To2vuyMatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : widths_to_test()) {
        const std::uint32_t height = width > 1000 ? 2 : 3;
        const std::size_t groups = groups_of(width);
        const std::size_t pitch = 16 * groups + 16;
        GuardedBuffer v210(pitch * height);
        v210.fill_random(width + 7);
        // The last group of the last row is written whole: up to 10 bytes past.
        const std::size_t frame_bytes = 2 * std::size_t{width} * height;
        const std::size_t spill = width ? 12 * groups - 2 * width : 0;
        GuardedBuffer uyvy(frame_bytes + 12, 0x5A);
        ccnvt_v210_2vuy(uyvy.data(), v210.data(), width, height, static_cast<unsigned>(pitch));
        for (std::uint32_t row = 0; row < height && width > 0; ++row) {
            const auto expected = model_v210_to_2vuy(v210.data() + pitch * row, groups);
            // Each row overwrites the previous row's spill; the last keeps it.
            const std::size_t checked = row + 1 == height ? expected.size() : 2 * width;
            ASSERT_EQ(0, std::memcmp(uyvy.data() + 2 * width * row, expected.data(), checked))
                << "width " << width << " row " << row;
        }
        for (std::size_t i = frame_bytes + spill; i < uyvy.size(); ++i)
            ASSERT_EQ(uyvy[i], 0x5A) << "width " << width << " wrote byte " << i;
        ASSERT_TRUE(uyvy.guards_intact()) << "width " << width;
    }
}

TEST_P(RepackKernels, Every2vuyFrameSurvivesTheRoundTrip) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : widths_to_test()) {
        const std::uint32_t height = 2;
        const std::size_t frame_bytes = 2 * std::size_t{width} * height;
        GuardedBuffer original(frame_bytes + 12), back(frame_bytes + 12);
        original.fill_random(3 * width + 1);
        std::vector<unsigned char> v210(16 * groups_of(width) * height + 64);
        ccnvt_2vuy_v210(v210.data(), original.data(), width, height, 0);
        ccnvt_v210_2vuy(back.data(), v210.data(), width, height,
                        static_cast<unsigned>(((16 * width) / 6 + 63) & ~63u));
        ASSERT_EQ(0, std::memcmp(original.data(), back.data(), frame_bytes)) << "width " << width;
    }
}

TEST_P(RepackKernels, V210To2vuyInPlaceEqualsTwoBuffers) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : widths_to_test()) {
        const std::uint32_t height = 3;
        const std::size_t pitch = 16 * groups_of(width);
        GuardedBuffer separate_source(pitch * height);
        separate_source.fill_random(width * 5 + 2);
        GuardedBuffer in_place(pitch * height);
        std::memcpy(in_place.data(), separate_source.data(), pitch * height);
        GuardedBuffer separate(2 * width * height + 12);
        ccnvt_v210_2vuy(separate.data(), separate_source.data(), width, height, static_cast<unsigned>(pitch));
        ccnvt_v210_2vuy(in_place.data(), in_place.data(), width, height, static_cast<unsigned>(pitch));
        ASSERT_EQ(0, std::memcmp(separate.data(), in_place.data(), 2 * std::size_t{width} * height))
            << "width " << width;
        ASSERT_TRUE(in_place.guards_intact());
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, RepackKernels,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// ---- pitches, guards and row order ----

TEST(V210Pitch, DefaultsDifferByDirectionAt1280) {
    const std::uint32_t width = 1280, height = 2;
    // Reading v210: rows 3413 bytes apart.
    GuardedBuffer v210(3413 + 16 * groups_of(width));
    v210.fill_random(1);
    GuardedBuffer uyvy(2 * width * height + 8);  // the last group spills 8 bytes
    ccnvt_v210_2vuy(uyvy.data(), v210.data(), width, height, 0);
    const auto second_row = model_v210_to_2vuy(v210.data() + 3413, groups_of(width));
    EXPECT_EQ(0, std::memcmp(uyvy.data() + 2 * width, second_row.data(), 2 * width));

    // Writing v210: rows 3456 bytes apart (3413 rounded up to 64).
    GuardedBuffer packed(3456 * height, 0x5A);
    ccnvt_2vuy_v210(packed.data(), uyvy.data(), width, height, 0);
    const auto expected = model_2vuy_to_v210(uyvy.data() + 2 * width, groups_of(width));
    EXPECT_EQ(0, std::memcmp(packed.data() + 3456, expected.data(), expected.size()));
    for (std::size_t i = 16 * groups_of(width); i < 3456; ++i)
        ASSERT_EQ(packed[i], 0x5A) << "padding byte " << i;
    EXPECT_TRUE(packed.guards_intact());
}

TEST(V210Pitch, CommonWidthsGetTheCommonPitches) {
    for (auto [width, pitch] : std::vector<std::pair<std::uint32_t, std::size_t>>{
             {720, 1920}, {1920, 5120}, {3840, 10240}}) {
        GuardedBuffer uyvy(2 * width * 2), packed(pitch * 2, 0);
        uyvy.fill_random(width);
        ccnvt_2vuy_v210(packed.data(), uyvy.data(), width, 2, 0);
        const auto expected = model_2vuy_to_v210(uyvy.data() + 2 * width, groups_of(width));
        EXPECT_EQ(0, std::memcmp(packed.data() + pitch, expected.data(), expected.size())) << width;
        EXPECT_TRUE(packed.guards_intact()) << width;

        GuardedBuffer back(2 * width * 2);
        ccnvt_v210_2vuy(back.data(), packed.data(), width, 2, 0);
        EXPECT_EQ(uyvy.contents(), back.contents()) << width;
    }
}

TEST(V210Guards, ZeroWidthWritesNothingWhateverTheHeight) {
    GuardedBuffer uyvy(64), v210(64, 0x5A);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 0, 0xFFFFFFFFu, 0);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 0, 1, 16);
    EXPECT_EQ(v210.contents(), std::vector<unsigned char>(64, 0x5A));
    ccnvt_v210_2vuy(uyvy.data(), v210.data(), 0, 4, 0);
    ccnvt_v210_2vuy(uyvy.data(), v210.data(), 6, 0, 0);
    EXPECT_EQ(uyvy.contents(), std::vector<unsigned char>(64, GuardedBuffer::kGuardValue));
    EXPECT_TRUE(uyvy.guards_intact() && v210.guards_intact());
}

TEST(V210Guards, Width8ReadsAndWritesTheSecondGroupWhole) {
    // Two rows of 8 pixels (16 bytes of 2vuy) are two groups (24 bytes) each.
    GuardedBuffer uyvy(2 * 16 + 8);
    uyvy.fill_random(8);
    GuardedBuffer v210(2 * 64, 0);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 8, 2, 64);
    // The second row's second group takes pixels 8-11 from the 8 bytes past the frame.
    const auto row1 = model_2vuy_to_v210(uyvy.data() + 16, 2);
    EXPECT_EQ(0, std::memcmp(v210.data() + 64, row1.data(), 32));

    GuardedBuffer back(2 * 16 + 8, 0x5A);
    ccnvt_v210_2vuy(back.data(), v210.data(), 8, 2, 64);
    // Row 0's spill was overwritten by row 1; row 1's spill lands past the frame.
    EXPECT_EQ(0, std::memcmp(back.data(), uyvy.data(), 40));
    EXPECT_TRUE(back.guards_intact());
}

TEST(V210Order, TwoVuyToV210WritesTheLastRowFirst) {
    // Rows 8 bytes apart overlap: row 0, written last, covers half of row 1.
    GuardedBuffer uyvy(24);
    uyvy.fill_random(77);
    GuardedBuffer v210(8 + 16, 0);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 6, 2, 8);
    const auto row0 = model_2vuy_to_v210(uyvy.data(), 1);
    const auto row1 = model_2vuy_to_v210(uyvy.data() + 12, 1);
    EXPECT_EQ(0, std::memcmp(v210.data(), row0.data(), 16));
    EXPECT_EQ(0, std::memcmp(v210.data() + 16, row1.data() + 8, 8));
}

TEST(V210Aliases, OlderNamesDoTheSameWork) {
    const std::uint32_t width = 50, height = 3;
    GuardedBuffer uyvy(2 * width * height + 12);
    uyvy.fill_random(5);
    GuardedBuffer a(448 * height), b(448 * height);
    ccnvt_2vuy_v210(a.data(), uyvy.data(), width, height, 0);
    ccnvt_yuv422_8_yuv422_10(b.data(), uyvy.data(), width, height, 0);
    EXPECT_EQ(a.contents(), b.contents());

    GuardedBuffer c(2 * width * height + 12), d(2 * width * height + 12);
    ccnvt_v210_2vuy(c.data(), a.data(), width, height, 192);
    ccnvt_yuv422_10_yuv422_8(d.data(), a.data(), width, height, 192);
    EXPECT_EQ(c.contents(), d.contents());
}

TEST(V210LargeFrames, RowOffsetsAreComputedIn64Bits) {
    // Three v210 rows 2^31 + 64 bytes apart: the last row starts past 4 GiB.
    const std::size_t pitch = (std::size_t{1} << 31) + 64;
    const std::size_t mapped = 2 * pitch + 4096;
    void* map = mmap(nullptr, mapped, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (map == MAP_FAILED) GTEST_SKIP() << "no room for a sparse 4 GiB mapping";
    auto* v210 = static_cast<unsigned char*>(map);
    const std::uint32_t width = 48;
    GuardedBuffer uyvy(2 * width * 3);
    uyvy.fill_random(9);
    ccnvt_2vuy_v210(v210, uyvy.data(), width, 3, static_cast<unsigned>(pitch));
    const auto last = model_2vuy_to_v210(uyvy.data() + 4 * width, 8);
    EXPECT_EQ(0, std::memcmp(v210 + 2 * pitch, last.data(), last.size()));

    GuardedBuffer back(2 * width * 3);
    ccnvt_v210_2vuy(back.data(), v210, width, 3, static_cast<unsigned>(pitch));
    EXPECT_EQ(back.contents(), uyvy.contents());
    munmap(map, mapped);
}
