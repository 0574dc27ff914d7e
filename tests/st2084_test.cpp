// ST 2084 tables against the curves, hand-worked bytes, every converter against a row model (guards, in place).
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/hdr.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;

namespace {

const double kM1 = 2610.0 / 16384.0, kM2 = 2523.0 / 4096.0 * 128.0;
const double kC1 = 3424.0 / 4096.0, kC2 = 2413.0 / 4096.0 * 32.0, kC3 = 2392.0 / 4096.0 * 32.0;

// Entry i of an n-entry table: PQ of linear light (1 is 10000 cd/m2) and back, floored; the 8-bit decoder is a
// power-1.9 curve onto 16..235 (over 113 steps, not 112) up to 128, rounded half up.
std::uint32_t pq_entry(std::uint32_t i, double n) {
    const double y = std::pow(i / n, kM1);
    return static_cast<std::uint32_t>(std::floor(n * std::pow((kC1 + kC2 * y) / (1.0 + kC3 * y), kM2)));
}
std::uint32_t linear_entry(std::uint32_t i, double n) {
    const double e = std::pow(i / n, 1.0 / kM2);
    const double linear = std::pow(std::fmax(e - kC1, 0.0) / (kC2 - kC3 * e), 1.0 / kM1);
    return static_cast<std::uint32_t>(std::floor(n * linear));
}
std::uint32_t decode_8bit_entry(std::uint32_t i, double) {
    if (i <= 16 || i > 128) return i <= 16 ? i : 235;
    return static_cast<std::uint32_t>(std::floor(16.0 + 219.0 * std::pow((i - 16) / 113.0, 1.9) + 0.5));
}

struct TableCase {  // entry: null for listed entries only
    std::string name; const unsigned int* exported; const unsigned int* (*accessor)(); std::uint32_t entries;
    std::uint32_t (*entry)(std::uint32_t, double); std::vector<std::pair<std::uint32_t, std::uint32_t>> listed;
};

std::vector<TableCase> table_cases() {
    return {
        {"RGB_to_SMPTE2048_8Bit", ardwRGB_to_SMPTE2048_8Bit, get_ardwRGB_to_SMPTE2048_8Bit, 256, pq_entry,
         {{0, 0}, {1, 106}, {5, 147}, {128, 237}, {255, 255}}},
        {"RGB_to_SMPTE2048_10Bit", ardwRGB_to_SMPTE2048_10Bit, get_ardwRGB_to_SMPTE2048_10Bit, 1024, pq_entry, {}},
        {"RGB_to_SMPTE2048_12Bit", ardwRGB_to_SMPTE2048_12Bit, get_ardwRGB_to_SMPTE2048_12Bit, 4096, pq_entry,
         {{4095, 4095}}},
        {"SMPTE2048_to_RGB_8Bit", ardwSMPTE2048_to_RGB_8Bit, get_ardwSMPTE2048_to_RGB_8Bit, 256, decode_8bit_entry,
         {{16, 16}, {20, 16}, {64, 59}, {128, 231}, {129, 235}}},
        {"SMPTE2048_to_RGB_10Bit", ardwSMPTE2048_to_RGB_10Bit, get_ardwSMPTE2048_to_RGB_10Bit, 1024, nullptr,
         {{0, 0}, {64, 64}, {65, 66}, {80, 95}, {256, 439}, {511, 938}, {512, 940}, {1023, 940}}},
        {"SMPTE2048_to_RGB_12Bit", ardwSMPTE2048_to_RGB_12Bit, get_ardwSMPTE2048_to_RGB_12Bit, 4096, linear_entry,
         {{512, 0}, {2048, 37}, {4095, 4086}}},
    };
}

class St2084Tables : public ::testing::TestWithParam<TableCase> {};

TEST_P(St2084Tables, HoldTheCurveAndTheListedEntries) {
    const TableCase& t = GetParam();
    EXPECT_EQ(t.accessor(), t.exported);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(t.exported) % 32, 0u);  // vector loads
    for (const auto& [i, value] : t.listed) EXPECT_EQ(t.exported[i], value) << "entry " << i;
    for (std::uint32_t i = 0; i < t.entries; ++i) {
        ASSERT_GE(t.exported[i], i > 0 ? t.exported[i - 1] : 0) << "entry " << i;  // never falling
        ASSERT_TRUE(!t.entry || t.exported[i] == t.entry(i, t.entries)) << "entry " << i << ": " << t.exported[i];
    }
}

INSTANTIATE_TEST_SUITE_P(AllSix, St2084Tables, ::testing::ValuesIn(table_cases()),
                         [](const auto& info) { return info.param.name; });

using Bytes = std::vector<unsigned char>;
void put_word(unsigned char* at, std::uint32_t word) { std::memcpy(at, &word, 4); }
std::uint32_t word_at(const unsigned char* at) {
    std::uint32_t word;
    std::memcpy(&word, at, 4);
    return word;
}

TEST(St2084Converters, WorkedByHand) {
    // 2vuy to PQ: luma bytes 1 and 3 of each whole group; rows of 6 and 8 bytes give one group.
    const unsigned char source[8] = {9, 1, 9, 255, 9, 1, 9, 1};
    Bytes out(10, 0xEE);
    EXPECT_EQ(ccnvt_yuv2_to_st2084(out.data(), source, 6, 8, 1), 0);
    EXPECT_EQ(out, (Bytes{0xEE, 106, 0xEE, 255, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    // PQ to 2vuy copies bytes 1..4 of each group, mapping 1 and 3: byte 0 never written, byte 8 copied.
    const unsigned char pq[9] = {50, 20, 60, 128, 70, 200, 80, 16, 90};
    out.assign(10, 0xEE);
    EXPECT_EQ(ccnvt_st2084_to_yuv2(out.data(), pq, 8, 8, 1), 0);
    EXPECT_EQ(out, (Bytes{0xEE, 16, 60, 231, 70, 235, 80, 16, 90, 0xEE}));
}

TEST(St2084Converters, V210WordsStartOneByteInAndClampLargeIndices) {
    unsigned char source[20], out[20];
    std::memset(source, 0x77, sizeof source);
    std::memset(out, 0xEE, sizeof out);
    put_word(source + 1, 0x00001000);   // even word, index 1 at bit 12
    put_word(source + 5, 0x00400004);   // odd word, index 1 at bits 22 and 2
    put_word(source + 9, 0x00100000);   // index 256: reads entry 255
    put_word(source + 13, 0xFFFFFFFF);  // indices 1023, 1023; bits 10-19 kept
    EXPECT_EQ(ccnvt_v210_to_st2084(out, source, 16, 16, 1), 0);
    EXPECT_EQ(out[0], 0xEE);
    EXPECT_EQ(word_at(out + 1), 0x0006A000u);  // 106 << 12
    EXPECT_EQ(word_at(out + 5), 0x1A8001A8u);  // 106 << 22 | 106 << 2
    EXPECT_EQ(word_at(out + 9), 0x001FF000u);  // 255 << 12, bit 20 kept as it was
    EXPECT_EQ(word_at(out + 13), 0x3FCFFFFCu);
    EXPECT_EQ(out[17], 0xEE);
}

using Converter = int (*)(unsigned char*, const unsigned char*, unsigned, unsigned, unsigned);
using Table = const unsigned int*;
using RowModel = void (*)(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t);

void model_bytes(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    for (std::uint32_t j = 0; j < w; ++j) out[j] = static_cast<unsigned char>(t[in[j]]);
}

void model_luma_only(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    for (std::uint32_t k = 0; k + 4 <= w; k += 4)
        for (std::uint32_t y : {k + 1, k + 3}) out[y] = static_cast<unsigned char>(t[in[y]]);
}

void model_copy_then_luma(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    for (std::uint32_t k = 0; k + 4 <= w; k += 4) {
        std::memcpy(out + k + 1, in + k + 1, 4);
        model_luma_only(out + k, out + k, 4, t);
    }
}

// Words from byte 1 of each 16: even words re-code bits 12-21, odd ones 22-31 and 2-11; indices past 255 read 255.
void model_v210(unsigned char* out, const unsigned char* in, std::uint32_t w, Table t) {
    auto at = [&](std::uint32_t index) { return t[std::min<std::uint32_t>(index, 255)]; };
    for (std::uint32_t k = 0; 16 * k < w; ++k)
        for (std::uint32_t j = 0; j < 4; ++j) {
            const std::uint32_t x = word_at(in + 16 * k + 1 + 4 * j);
            put_word(out + 16 * k + 1 + 4 * j,
                     j % 2 == 0 ? at((x >> 12) & 0x3FF) << 12 | (x & 0x3FF003FF)
                                : (x & 0xFFC00) | at(x >> 22) << 22 | at((x >> 2) & 0x3FF) << 2);
        }
}

struct ConverterCase {  // in place, a v210 row's last group reaches into the next unless it is whole
    std::string name; Converter convert; RowModel model; Table table;
    std::vector<unsigned int> in_place_row_bytes = {4, 16, 21, 1920};
};

class St2084Frames : public ::testing::TestWithParam<ConverterCase> {};

// Bytes past the last row that the v210 converters may read and write.
constexpr std::size_t kSlack = 32;

TEST_P(St2084Frames, MatchesTheRowModel) {
    const ConverterCase& c = GetParam();
    // Destination row bytes, source row bytes, rows; the first four write nothing.
    const unsigned int shapes[][3] = {{64, 64, 0}, {0, 64, 4}, {64, 0, 4}, {3, 8, 2}, {5, 9, 2}, {8, 6, 3},
                                      {16, 16, 3}, {17, 40, 2}, {33, 32, 3}, {5120, 5136, 2}};
    std::uint32_t seed = 11;
    for (const auto& [to, from, rows] : shapes) {
        const auto source = cconvert::test::random_bytes(std::size_t{from} * rows + kSlack, ++seed);
        GuardedBuffer out(std::size_t{to} * rows + kSlack);
        out.fill_random(++seed);
        Bytes expected = out.contents();
        for (std::uint32_t r = 0; r < rows; ++r)
            c.model(expected.data() + r * to, source.data() + r * from, std::min(to, from), c.table);
        EXPECT_EQ(c.convert(out.data(), source.data(), to, from, rows), 0);
        EXPECT_EQ(out.contents(), expected) << to << " " << from << " " << rows;
        EXPECT_TRUE(out.guards_intact());
    }
}

TEST_P(St2084Frames, InPlaceEqualsTwoBuffers) {
    const ConverterCase& c = GetParam();
    for (const unsigned int row_bytes : c.in_place_row_bytes) {
        const auto source = cconvert::test::random_bytes(std::size_t{row_bytes} * 3 + kSlack, row_bytes);
        auto expected = source, frame = source;
        c.convert(expected.data(), source.data(), row_bytes, row_bytes, 3);
        c.convert(frame.data(), frame.data(), row_bytes, row_bytes, 3);
        EXPECT_EQ(frame, expected) << row_bytes;
    }
}

const Table kEncode = ardwRGB_to_SMPTE2048_8Bit, kDecode = ardwSMPTE2048_to_RGB_8Bit;

INSTANTIATE_TEST_SUITE_P(
    AllSix, St2084Frames,
    ::testing::Values(ConverterCase{"rgb_to_st2084", ccnvt_rgb_to_st2084, model_bytes, kEncode},
                      ConverterCase{"st2084_to_rgb", ccnvt_st2084_to_rgb, model_bytes, kDecode},
                      ConverterCase{"yuv2_to_st2084", ccnvt_yuv2_to_st2084, model_luma_only, kEncode},
                      ConverterCase{"st2084_to_yuv2", ccnvt_st2084_to_yuv2, model_copy_then_luma, kDecode},
                      ConverterCase{"v210_to_st2084", ccnvt_v210_to_st2084, model_v210, kEncode, {16, 48, 1920}},
                      ConverterCase{"st2084_to_v210", ccnvt_st2084_to_v210, model_v210, kDecode, {16, 48, 1920}}),
    [](const auto& info) { return info.param.name; });

}  // namespace
