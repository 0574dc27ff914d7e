// Decoder lookup tables: entries and clips worked out by hand, and a single
// fill under concurrent first use. (The decoders' tests sweep every entry
// through a model of the rules.)
//
// The tables are internal to the library (not exported), so this test builds
// its own instance of them from the library's source.
#include "ycbcr422/yuv_tables.cpp"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace cconvert::detail;

TEST(YuvTables, EntriesAndClipsWorkedByHand) {
    ensure_8bit_tables();
    ensure_10bit_tables();
    const struct {
        int actual, expected;
    } cases[] = {
        {Atab[235], 4079},  {Atab[0], -298},          // 219 * 298.082 / 16 = 4079.997, -16 * 298.082 / 16
        {BEtab[16][1], -3614}, {BEtab[16][0], 702},   // -112 * 516.411 / 16 toward zero, -112 * -100.291 / 16
        {DCtab[240][0], 2860}, {DCtab[240][1], -1456},  // 112 * 408.583 / 16, 112 * -208.12 / 16
        {clip10to8[255], 255}, {clip10to8[1023], 255},
        {v210_Atab[940], 16319}, {v210_Atab[0], -1192},  // 876 * 1192.328 / 64 = 16319.489
        {v210_BEtab[64][1], -14459}, {v210_BEtab[512][0], 0},  // -448 * 2065.644 / 64 = -14459.508
        {v210_DCtab[960][0], 11440}, {v210_DCtab[960][1], -5827},  // 448 * 1634.332 / 64, 448 * -832.48 / 64
        {v210_clip10to8[0], 0}, {v210_clip10to8[100 + 1024], 100}, {v210_clip10to8[1023 + 1024], 255},
        // Sums in their units: 1/16 and 1/64 of an output step, arithmetic shifts.
        {clip_8bit_sum(-1), 0}, {clip_8bit_sum(4079), 254}, {clip_8bit_sum(16 * 300), 255},
        {clip_10bit_sum(-65), 0}, {clip_10bit_sum(64 * 77 + 63), 77}, {clip_10bit_sum(64 * 1000), 255},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].actual, cases[i].expected) << "case " << i;
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
}

}  // namespace
