// Decoder lookup tables: entries worked out by hand, every entry against the
// rule, the clip tables, and a single fill under concurrent first use.
//
// The tables are internal to the library (not exported), so this test builds
// its own instance of them from the library's source.
#include "ycbcr422/yuv_tables.cpp"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace cconvert::detail;

// The rule: (index - offset) as a double, times the coefficient, times the
// scale, truncated toward zero.
int rule(int index, int offset, double coefficient, double scale) {
    const double product = double(index - offset) * coefficient;
    return int(product * scale);
}

TEST(YuvTables, EightBitEntriesWorkedByHand) {
    ensure_8bit_tables();
    EXPECT_EQ(Atab[16], 0);
    EXPECT_EQ(Atab[235], 4079);  // 219 * 298.082 / 16 = 4079.997
    EXPECT_EQ(Atab[0], -298);    // -16 * 298.082 / 16 = -298.082
    EXPECT_EQ(BEtab[240][1], 3614);   // 112 * 516.411 / 16 = 3614.877
    EXPECT_EQ(BEtab[16][1], -3614);   // toward zero, not floor
    EXPECT_EQ(BEtab[16][0], 702);     // -112 * -100.291 / 16 = 702.037
    EXPECT_EQ(DCtab[240][0], 2860);   // 112 * 408.583 / 16 = 2860.081
    EXPECT_EQ(DCtab[240][1], -1456);  // 112 * -208.12 / 16 = -1456.84
    EXPECT_EQ(BEtab[128][0], 0);
    EXPECT_EQ(BEtab[128][1], 0);
    EXPECT_EQ(DCtab[128][0], 0);
    EXPECT_EQ(DCtab[128][1], 0);
    EXPECT_EQ(clip10to8[300], 255);
    EXPECT_EQ(clip10to8[17], 17);
    EXPECT_EQ(clip10to8[255], 255);
    EXPECT_EQ(clip10to8[1023], 255);
}

TEST(YuvTables, TenBitEntriesWorkedByHand) {
    ensure_10bit_tables();
    EXPECT_EQ(v210_Atab[64], 0);
    EXPECT_EQ(v210_Atab[940], 16319);  // 876 * 1192.328 / 64 = 16319.489
    EXPECT_EQ(v210_Atab[0], -1192);
    EXPECT_EQ(v210_BEtab[512][0], 0);
    EXPECT_EQ(v210_BEtab[512][1], 0);
    EXPECT_EQ(v210_BEtab[64][1], -14459);  // -448 * 2065.644 / 64 = -14459.508
    EXPECT_EQ(v210_DCtab[960][0], 11440);  // 448 * 1634.332 / 64 = 11440.324
    EXPECT_EQ(v210_DCtab[960][1], -5827);  // 448 * -832.48 / 64 = -5827.36
    EXPECT_EQ(v210_clip10to8[-5 + 1024], 0);
    EXPECT_EQ(v210_clip10to8[255 + 1024], 255);
    EXPECT_EQ(v210_clip10to8[1023 + 1024], 255);
    EXPECT_EQ(v210_clip10to8[0], 0);
    EXPECT_EQ(v210_clip10to8[100 + 1024], 100);
}

TEST(YuvTables, EveryEntryFollowsTheRule) {
    ensure_8bit_tables();
    ensure_10bit_tables();
    for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(Atab[i], rule(i, 16, 298.082, 0.0625)) << i;
        ASSERT_EQ(BEtab[i][0], rule(i, 128, -100.291, 0.0625)) << i;
        ASSERT_EQ(BEtab[i][1], rule(i, 128, 516.411, 0.0625)) << i;
        ASSERT_EQ(DCtab[i][0], rule(i, 128, 408.583, 0.0625)) << i;
        ASSERT_EQ(DCtab[i][1], rule(i, 128, -208.12, 0.0625)) << i;
    }
    for (int i = 0; i < 1024; ++i) {
        ASSERT_EQ(clip10to8[i], i < 255 ? i : 255) << i;
        ASSERT_EQ(v210_Atab[i], rule(i, 64, 1192.328, 0.015625)) << i;
        ASSERT_EQ(v210_BEtab[i][0], rule(i, 512, -401.164, 0.015625)) << i;
        ASSERT_EQ(v210_BEtab[i][1], rule(i, 512, 2065.644, 0.015625)) << i;
        ASSERT_EQ(v210_DCtab[i][0], rule(i, 512, 1634.332, 0.015625)) << i;
        ASSERT_EQ(v210_DCtab[i][1], rule(i, 512, -832.48, 0.015625)) << i;
    }
    for (int k = -1024; k < 1024; ++k)
        ASSERT_EQ(v210_clip10to8[k + 1024], k < 0 ? 0 : k > 255 ? 255 : k) << k;
}

TEST(YuvTables, ConcurrentFirstUseFillsEachSetOnce) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i) {
                ensure_8bit_tables();
                ensure_10bit_tables();
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(fTablesSet.load(), 1);
    EXPECT_EQ(_v210_to_rgb_initted.load(), 1);
    EXPECT_EQ(table_fills_8bit(), 1u);
    EXPECT_EQ(table_fills_10bit(), 1u);
    EXPECT_EQ(Atab[235], 4079);
}

TEST(YuvTables, ClipsTakeSumsInTheirUnits) {
    ensure_8bit_tables();
    ensure_10bit_tables();
    EXPECT_EQ(clip_8bit_sum(-1), 0);
    EXPECT_EQ(clip_8bit_sum(4079), 254);  // studio white stops short of 255
    EXPECT_EQ(clip_8bit_sum(16 * 300), 255);
    EXPECT_EQ(clip_10bit_sum(-65), 0);     // -65 >> 6 = -2
    EXPECT_EQ(clip_10bit_sum(64 * 77 + 63), 77);
    EXPECT_EQ(clip_10bit_sum(64 * 1000), 255);
}

}  // namespace
