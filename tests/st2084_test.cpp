// ST 2084 tables and converters: every table entry against its rule computed
// here in double precision, the listed values, hand-worked bytes, and every
// converter against a row model on random frames (row sizes that differ,
// leave partial groups, or stop short of a group), with guard bytes and in
// place.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/hdr.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;

namespace {

// ---- the table rules ----

const double kM1 = 2610.0 / 16384.0, kM2 = 2523.0 / 4096.0 * 128.0;
const double kC1 = 3424.0 / 4096.0, kC2 = 2413.0 / 4096.0 * 32.0, kC3 = 2392.0 / 4096.0 * 32.0;

double inverse_eotf(double linear) {
    const double y = std::pow(linear, kM1);
    return std::pow((kC1 + kC2 * y) / (1.0 + kC3 * y), kM2);
}

double eotf(double signal) {
    const double e = std::pow(signal, 1.0 / kM2);
    const double numerator = e > kC1 ? e - kC1 : 0.0;
    return std::pow(numerator / (kC2 - kC3 * e), 1.0 / kM1);
}

std::uint32_t linear_to_pq(std::uint32_t i, std::uint32_t n) {
    return static_cast<std::uint32_t>(std::floor(n * inverse_eotf(static_cast<double>(i) / n)));
}

std::uint32_t pq_to_linear_12(std::uint32_t i) {
    return static_cast<std::uint32_t>(std::floor(4096 * eotf(i / 4096.0)));
}

std::uint32_t halves_up(double v) { return static_cast<std::uint32_t>(std::floor(v + 0.5)); }

std::uint32_t pq_to_linear_10(std::uint32_t i) {
    if (i <= 64) return i;
    if (i >= 512) return 940;
    return halves_up(64 + (i - 64) * 876.0 / 448.0);
}

std::uint32_t pq_to_linear_8(std::uint32_t i) {
    if (i <= 16) return i;
    if (i > 128) return 235;
    return halves_up(16 + 219 * std::pow((i - 16) / 113.0, 1.9));
}

struct TableCase {
    std::string name;
    const unsigned int* exported;
    const unsigned int* (*accessor)();
    std::uint32_t entries;
    std::function<std::uint32_t(std::uint32_t)> rule;
};

std::vector<TableCase> table_cases() {
    return {
        {"RGB_to_SMPTE2048_8Bit", ardwRGB_to_SMPTE2048_8Bit, get_ardwRGB_to_SMPTE2048_8Bit, 256,
         [](std::uint32_t i) { return linear_to_pq(i, 256); }},
        {"RGB_to_SMPTE2048_10Bit", ardwRGB_to_SMPTE2048_10Bit, get_ardwRGB_to_SMPTE2048_10Bit,
         1024, [](std::uint32_t i) { return linear_to_pq(i, 1024); }},
        {"RGB_to_SMPTE2048_12Bit", ardwRGB_to_SMPTE2048_12Bit, get_ardwRGB_to_SMPTE2048_12Bit,
         4096, [](std::uint32_t i) { return linear_to_pq(i, 4096); }},
        {"SMPTE2048_to_RGB_8Bit", ardwSMPTE2048_to_RGB_8Bit, get_ardwSMPTE2048_to_RGB_8Bit, 256,
         pq_to_linear_8},
        {"SMPTE2048_to_RGB_10Bit", ardwSMPTE2048_to_RGB_10Bit, get_ardwSMPTE2048_to_RGB_10Bit,
         1024, pq_to_linear_10},
        {"SMPTE2048_to_RGB_12Bit", ardwSMPTE2048_to_RGB_12Bit, get_ardwSMPTE2048_to_RGB_12Bit,
         4096, pq_to_linear_12},
    };
}

class St2084Tables : public ::testing::TestWithParam<TableCase> {};

TEST_P(St2084Tables, EveryEntryFollowsItsRule) {
    const TableCase& table = GetParam();
    EXPECT_EQ(table.accessor(), table.exported);
    for (std::uint32_t i = 0; i < table.entries; ++i)
        ASSERT_EQ(table.exported[i], table.rule(i)) << "entry " << i;
}

TEST_P(St2084Tables, AreAlignedForVectorLoads) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(GetParam().exported) % 32, 0u);
}

INSTANTIATE_TEST_SUITE_P(AllSix, St2084Tables, ::testing::ValuesIn(table_cases()),
                         [](const auto& info) { return info.param.name; });

TEST(St2084TableValues, LinearToPqStartsAndEndsAsListed) {
    const unsigned int* t8 = get_ardwRGB_to_SMPTE2048_8Bit();
    const std::uint32_t first[] = {0, 106, 123, 134, 141, 147};
    for (std::uint32_t i = 0; i < 6; ++i) EXPECT_EQ(t8[i], first[i]) << i;
    EXPECT_EQ(t8[128], 237u);
    EXPECT_EQ(t8[255], 255u);
    EXPECT_EQ(get_ardwRGB_to_SMPTE2048_10Bit()[1023], 1023u);
    EXPECT_EQ(get_ardwRGB_to_SMPTE2048_12Bit()[4095], 4095u);
}

TEST(St2084TableValues, PqToLinearFollowsThreeRulesAsListed) {
    const unsigned int* t12 = get_ardwSMPTE2048_to_RGB_12Bit();
    EXPECT_EQ(t12[512], 0u);
    EXPECT_EQ(t12[1024], 2u);
    EXPECT_EQ(t12[2048], 37u);
    EXPECT_EQ(t12[3072], 402u);
    EXPECT_EQ(t12[4095], 4086u);

    const unsigned int* t10 = get_ardwSMPTE2048_to_RGB_10Bit();
    const std::uint32_t ramp[][2] = {{0, 0},     {64, 64},   {65, 66},   {80, 95},   {96, 127},
                                     {256, 439}, {480, 877}, {511, 938}, {512, 940}, {1023, 940}};
    for (const auto& [i, value] : ramp) EXPECT_EQ(t10[i], value) << i;

    const std::uint32_t power_curve[129] = {
        0,   1,   2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,  13,  14,  15,  16,
        16,  16,  16,  16,  17,  17,  17,  17,  18,  18,  19,  19,  20,  20,  21,  21,  22,
        23,  23,  24,  25,  26,  27,  28,  28,  29,  30,  31,  33,  34,  35,  36,  37,  38,
        40,  41,  42,  44,  45,  46,  48,  49,  51,  52,  54,  56,  57,  59,  61,  63,  64,
        66,  68,  70,  72,  74,  76,  78,  80,  82,  84,  86,  88,  90,  93,  95,  97,  99,
        102, 104, 107, 109, 111, 114, 117, 119, 122, 124, 127, 130, 132, 135, 138, 141, 143,
        146, 149, 152, 155, 158, 161, 164, 167, 170, 173, 177, 180, 183, 186, 190, 193, 196,
        200, 203, 206, 210, 213, 217, 221, 224, 228, 231};
    const unsigned int* t8 = get_ardwSMPTE2048_to_RGB_8Bit();
    for (std::uint32_t i = 0; i < 129; ++i) EXPECT_EQ(t8[i], power_curve[i]) << i;
    for (std::uint32_t i = 129; i < 256; ++i) EXPECT_EQ(t8[i], 235u) << i;
}

// ---- converters: hand-worked bytes ----

TEST(St2084Converters, ByteConvertersMapAsWorkedByHand) {
    const unsigned char source[] = {0, 1, 16, 20, 128, 129, 200, 255};
    unsigned char out[8];
    EXPECT_EQ(ccnvt_rgb_to_st2084(out, source, 8, 8, 1), 0);
    const unsigned char pq[] = {0, 106, 0, 0, 237, 0, 0, 255};
    for (int j : {0, 1, 4, 7}) EXPECT_EQ(out[j], pq[j]) << j;
    EXPECT_EQ(ccnvt_st2084_to_rgb(out, source, 8, 8, 1), 0);
    const unsigned char linear[] = {0, 1, 16, 16, 231, 235, 235, 235};
    EXPECT_EQ(std::vector<unsigned char>(out, out + 8), std::vector<unsigned char>(linear, linear + 8));
}

TEST(St2084Converters, Yuv2ToSt2084TreatsOneGroupOfSixOrEightBytes) {
    // Row bytes 6 (destination) and 8 (source): W = 6, one group per row.
    const unsigned char source[16] = {9, 1, 9, 255, 9, 1, 9, 1, 9, 1, 9, 255, 9, 1, 9, 1};
    unsigned char out[12];
    std::memset(out, 0xEE, sizeof out);
    EXPECT_EQ(ccnvt_yuv2_to_st2084(out, source, 6, 8, 2), 0);
    const unsigned char expected[12] = {0xEE, 106, 0xEE, 255, 0xEE, 0xEE,
                                        0xEE, 106, 0xEE, 255, 0xEE, 0xEE};
    EXPECT_EQ(std::vector<unsigned char>(out, out + 12), std::vector<unsigned char>(expected, expected + 12));
}

TEST(St2084Converters, St2084ToYuv2CopiesOneByteAheadOfEachGroup) {
    // W = 8: two groups; byte 0 is never written, byte 8 is copied.
    const unsigned char source[9] = {50, 20, 60, 128, 70, 200, 80, 16, 90};
    unsigned char out[10];
    std::memset(out, 0xEE, sizeof out);
    EXPECT_EQ(ccnvt_st2084_to_yuv2(out, source, 8, 8, 1), 0);
    const unsigned char expected[10] = {0xEE, 16, 60, 231, 70, 235, 80, 16, 90, 0xEE};
    EXPECT_EQ(std::vector<unsigned char>(out, out + 10), std::vector<unsigned char>(expected, expected + 10));
}

void put_word(unsigned char* at, std::uint32_t word) { std::memcpy(at, &word, 4); }
std::uint32_t word_at(const unsigned char* at) {
    std::uint32_t word;
    std::memcpy(&word, at, 4);
    return word;
}

TEST(St2084Converters, V210WordsStartOneByteInAndClampLargeIndices) {
    unsigned char source[20], out[20];
    std::memset(source, 0x77, sizeof source);
    std::memset(out, 0xEE, sizeof out);
    put_word(source + 1, 0x00001000);   // even word, index 1 at bit 12
    put_word(source + 5, 0x00400004);   // odd word, index 1 at bits 22 and 2
    put_word(source + 9, 0x003FF000);   // index 1023: reads entry 255
    put_word(source + 13, 0xFFFFFFFF);  // indices 1023, 1023; bits 10-19 kept
    EXPECT_EQ(ccnvt_v210_to_st2084(out, source, 16, 16, 1), 0);
    EXPECT_EQ(out[0], 0xEE);
    EXPECT_EQ(word_at(out + 1), 0x0006A000u);  // 106 << 12
    EXPECT_EQ(word_at(out + 5), 0x1A8001A8u);  // 106 << 22 | 106 << 2
    EXPECT_EQ(word_at(out + 9), 0x003FF000u);  // 255 << 12, bits 20-21 kept
    EXPECT_EQ(word_at(out + 13), 0x3FCFFFFCu);
    EXPECT_EQ(out[17], 0xEE);
}

TEST(St2084Converters, EmptyFramesWriteNothingAndReturnZero) {
    using Converter = int (*)(unsigned char*, const unsigned char*, unsigned, unsigned, unsigned);
    const Converter all[] = {ccnvt_rgb_to_st2084,  ccnvt_st2084_to_rgb,  ccnvt_yuv2_to_st2084,
                             ccnvt_st2084_to_yuv2, ccnvt_v210_to_st2084, ccnvt_st2084_to_v210};
    const unsigned int shapes[][3] = {{64, 64, 0}, {0, 64, 4}, {64, 0, 4}, {0, 0, 4}};
    const auto source = cconvert::test::random_bytes(512, 3);
    for (Converter convert : all)
        for (const auto& shape : shapes) {
            GuardedBuffer out(256, 0x5A);
            EXPECT_EQ(convert(out.data(), source.data(), shape[0], shape[1], shape[2]), 0);
            EXPECT_EQ(out.contents(), std::vector<unsigned char>(256, 0x5A));
            EXPECT_TRUE(out.guards_intact());
        }
    // The 4:2:2 byte converters need a whole group.
    for (Converter convert : {ccnvt_yuv2_to_st2084, ccnvt_st2084_to_yuv2}) {
        GuardedBuffer out(16, 0x5A);
        EXPECT_EQ(convert(out.data(), source.data(), 3, 8, 2), 0);
        EXPECT_EQ(out.contents(), std::vector<unsigned char>(16, 0x5A));
    }
}

// ---- converters against row models ----

// Tables from the rules, not from the library.
std::vector<std::uint32_t> rule_table(const std::function<std::uint32_t(std::uint32_t)>& rule) {
    std::vector<std::uint32_t> table(256);
    for (std::uint32_t i = 0; i < 256; ++i) table[i] = rule(i);
    return table;
}
const std::vector<std::uint32_t>& encode_8bit() {
    static const auto table = rule_table([](std::uint32_t i) { return linear_to_pq(i, 256); });
    return table;
}
const std::vector<std::uint32_t>& decode_8bit() {
    static const auto table = rule_table(pq_to_linear_8);
    return table;
}

using Table = const std::vector<std::uint32_t>&;
using RowModel = void (*)(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t);

void model_bytes(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    for (std::uint32_t j = 0; j < w; ++j) out[j] = static_cast<unsigned char>(t[in[j]]);
}

void model_luma_only(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    for (std::uint32_t k = 0; k + 4 <= w; k += 4) {
        out[k + 1] = static_cast<unsigned char>(t[in[k + 1]]);
        out[k + 3] = static_cast<unsigned char>(t[in[k + 3]]);
    }
}

void model_copy_then_luma(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    for (std::uint32_t k = 0; k + 4 <= w; k += 4) {
        std::memcpy(out + k + 1, in + k + 1, 4);
        out[k + 1] = static_cast<unsigned char>(t[out[k + 1]]);
        out[k + 3] = static_cast<unsigned char>(t[out[k + 3]]);
    }
}

void model_v210(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    auto at = [&](std::uint32_t index) { return t[std::min<std::uint32_t>(index, 255)]; };
    for (std::uint32_t k = 0; 16 * k < w; ++k)
        for (std::uint32_t j = 0; j < 4; ++j) {
            const std::uint32_t x = word_at(in + 16 * k + 1 + 4 * j);
            const std::uint32_t y = j % 2 == 0
                                        ? at((x >> 12) & 0x3FF) << 12 | (x & 0x3FF003FF)
                                        : (x & 0xFFC00) | at(x >> 22) << 22 | at((x >> 2) & 0x3FF) << 2;
            put_word(out + 16 * k + 1 + 4 * j, y);
        }
}

struct ConverterCase {
    std::string name;
    int (*convert)(unsigned char*, const unsigned char*, unsigned, unsigned, unsigned);
    RowModel model;
    Table (*table)();
    // Row sizes for the in-place test: a v210 row's last group reaches into
    // the next row unless the row is a multiple of 16 bytes.
    std::vector<unsigned int> in_place_row_bytes = {4, 16, 21, 1920};
};

class St2084Frames : public ::testing::TestWithParam<ConverterCase> {};

// Bytes past the last row that the v210 converters may read and write.
constexpr std::size_t kSlack = 32;

const unsigned int kShapes[][3] = {  // destination row bytes, source row bytes, rows
    {1, 1, 1},    {3, 3, 2},    {4, 4, 3},    {5, 9, 2},     {8, 6, 3},     {6, 8, 2},
    {16, 16, 3},  {17, 40, 2},  {33, 32, 3},  {64, 80, 2},   {100, 100, 5}, {1000, 997, 3},
    {3840, 3840, 2}, {5120, 5136, 2}};

TEST_P(St2084Frames, MatchesTheRowModel) {
    const ConverterCase& c = GetParam();
    std::uint32_t seed = 11;
    for (const auto& [destination_row_bytes, source_row_bytes, rows] : kShapes) {
        const std::uint32_t w = std::min(destination_row_bytes, source_row_bytes);
        const auto source = cconvert::test::random_bytes(std::size_t{source_row_bytes} * rows + kSlack, ++seed);
        GuardedBuffer out(std::size_t{destination_row_bytes} * rows + kSlack);
        out.fill_random(++seed);
        auto expected = out.contents();
        for (std::uint32_t r = 0; r < rows; ++r)
            c.model(expected.data() + r * destination_row_bytes, source.data() + r * source_row_bytes, w, c.table());
        EXPECT_EQ(c.convert(out.data(), source.data(), destination_row_bytes, source_row_bytes, rows), 0);
        EXPECT_EQ(out.contents(), expected) << destination_row_bytes << " " << source_row_bytes << " " << rows;
        EXPECT_TRUE(out.guards_intact());
    }
}

TEST_P(St2084Frames, InPlaceEqualsTwoBuffers) {
    const ConverterCase& c = GetParam();
    for (const unsigned int row_bytes : c.in_place_row_bytes) {
        const unsigned int rows = 3;
        const auto source = cconvert::test::random_bytes(std::size_t{row_bytes} * rows + kSlack, row_bytes);
        auto expected = source;
        c.convert(expected.data(), source.data(), row_bytes, row_bytes, rows);
        auto frame = source;
        c.convert(frame.data(), frame.data(), row_bytes, row_bytes, rows);
        EXPECT_EQ(frame, expected) << row_bytes;
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllSix, St2084Frames,
    ::testing::Values(ConverterCase{"rgb_to_st2084", ccnvt_rgb_to_st2084, model_bytes, encode_8bit},
                      ConverterCase{"st2084_to_rgb", ccnvt_st2084_to_rgb, model_bytes, decode_8bit},
                      ConverterCase{"yuv2_to_st2084", ccnvt_yuv2_to_st2084, model_luma_only, encode_8bit},
                      ConverterCase{"st2084_to_yuv2", ccnvt_st2084_to_yuv2, model_copy_then_luma, decode_8bit},
                      ConverterCase{"v210_to_st2084", ccnvt_v210_to_st2084, model_v210, encode_8bit, {16, 48, 1920}},
                      ConverterCase{"st2084_to_v210", ccnvt_st2084_to_v210, model_v210, decode_8bit, {16, 48, 1920}}),
    [](const auto& info) { return info.param.name; });

}  // namespace
