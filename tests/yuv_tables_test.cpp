// Decoder lookup tables (internal, so built here from the source): hand-worked
// entries and clips, and one fill under concurrent first use.
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
        {Atab[235], 4079}, {BEtab[16][1], -3614}, {DCtab[240][1], -1456},  // truncated toward zero
        {clip10to8[1023], 255}, {v210_clip10to8[100 + 1024], 100}, {v210_clip10to8[1023 + 1024], 255},
        {v210_Atab[940], 16319}, {v210_BEtab[64][1], -14459}, {v210_DCtab[960][1], -5827},
        // Sums in 1/16 and 1/64 of an output step, arithmetic shifts.
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
