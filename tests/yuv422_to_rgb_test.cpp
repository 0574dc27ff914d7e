// 2vuy and v210 to RGB: table decoders against a model of the table rules, the wrappers' hand-off to libycbcr.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "yuv422_support.h"
#include "ycbcr.h"

using namespace cconvert::test;
using Bytes = std::vector<unsigned char>;
using U8 = unsigned char;

namespace {

struct TableRules { int y_offset, c_offset; double luma, cb_blue, cb_green, cr_green, cr_red, scale; int shift; };
const TableRules k8Bit = {16, 128, 298.082, 516.411, -100.291, -208.12, 408.583, 0.0625, 4};
const TableRules k10Bit = {64, 512, 1192.328, 2065.644, -401.164, -832.48, 1634.332, 0.015625, 6};

int entry(int index, int offset, double coefficient, double scale) { return int(double(index - offset) * coefficient * scale); }

void put_pixel(Bytes& out, std::size_t at, const TableRules& t, int y, int cb, int cr, bool four) {
    const int a = entry(y, t.y_offset, t.luma, t.scale);
    auto channel = [&](int sum) { return static_cast<unsigned char>(std::clamp(sum >> t.shift, 0, 255)); };
    out[at] = channel(a + entry(cb, t.c_offset, t.cb_blue, t.scale));
    out[at + 1] = channel(a + entry(cb, t.c_offset, t.cb_green, t.scale) + entry(cr, t.c_offset, t.cr_green, t.scale));
    out[at + 2] = channel(a + entry(cr, t.c_offset, t.cr_red, t.scale));
    if (four) out[at + 3] = 255;
}

// Pair j of a row as (Cb, Y0, Cr, Y1) at 8 bits.
std::array<int, 4> pair_at(const unsigned char* row, long j, bool v210) {
    std::array<int, 4> p;
    for (int i = 0; i < 4; ++i) p[i] = v210 ? v210_sample(row, 4 * j + i) >> 2 : row[4 * j + i];
    return p;
}

// Factor 2: Y0 of each pair of every other row; 4: Y0 of every second pair of every fourth row; others: both
// pixels of every factor-th row. 4-byte pixels if they fit.
Bytes model_reduced(std::size_t bytes, long dst_pitch, const unsigned char* src, long src_pitch, long width,
                    long height, int factor, bool v210) {
    Bytes out(bytes, 0x5A);
    const long d = std::max(factor, 1);
    const bool four = dst_pitch >= (width / d) * 4;
    const long step = d == 4 ? 2 : 1, pairs = d == 4 ? width / 2 : (width + 1) / 2;
    for (long r = 0; r < height / d; ++r) {
        std::size_t at = r * dst_pitch;
        for (long j = 0; j < pairs; j += step) {
            const auto p = pair_at(src + r * d * src_pitch, j, v210);
            for (int y = 1; y <= (d == 2 || d == 4 ? 1 : 3); y += 2, at += four ? 4 : 3)
                put_pixel(out, at, k8Bit, p[y], p[0], p[2], four);
        }
    }
    return out;
}

// _v210_to_rgb: a running pixel index moves output to row index / width at multiples of width.
Bytes model_v210_to_rgb(const unsigned char* src, int width, int height, int pitch, bool four, std::size_t bytes) {
    Bytes out(bytes, 0x5A);
    std::size_t at = 0;
    for (long index = 0; index < long(width) * height; index += 6) {
        if (index % width == 0) at = index / width * pitch;
        for (int i = 0; i < 6; ++i, at += four ? 4 : 3) {
            const long k = 12 * (index / 6) + 4 * (i / 2);  // the pair's Cb in the stream
            put_pixel(out, at, k10Bit, v210_sample(src, k + 1 + 2 * (i % 2)), v210_sample(src, k),
                      v210_sample(src, k + 2), four);
        }
    }
    return out;
}

TEST(TableDecoders, StudioLevelsWorkedByHand) {
    // A pair (10-bit Cb Y0 Cr Y1; 8-bit decoders see >> 2) through both table sets; bgr of both pixels.
    struct Case { std::array<int, 4> pair; Bytes bgr; } const cases[] = {
        {{512, 940, 512, 64}, {254, 254, 254, 0, 0, 0}},         // white 4079 >> 4 = 16319 >> 6 = 254
        {{64, 64, 960, 64}, {0, 0, 178, 0, 0, 178}},             // blue -3614 clamps to 0; red 2860 >> 4
        {{960, 940, 512, 940}, {255, 211, 254, 255, 211, 254}},  // blue 7693 >> 4 clamps to 255
    };
    for (const Case& c : cases) {
        std::vector<int> samples;
        unsigned char group[16], uyvy[4];
        for (int i = 0; i < 12; ++i) samples.push_back(c.pair[i % 4]), uyvy[i % 4] = U8(c.pair[i % 4] >> 2);
        pack_v210(samples, group);
        Bytes from_2vuy(6), from_v210(18), ten_bit(18);
        ccnvt_yuv422_rgb24(from_2vuy.data(), 6, uyvy, 4, 2, 1, 1);
        ccnvt_v210_rgb24(from_v210.data(), 18, group, 16, 6, 1, 1);
        _v210_to_rgb(group, ten_bit.data(), 6, 1, 18, 0);
        EXPECT_EQ(from_2vuy, c.bgr) << c.pair[0];
        EXPECT_EQ(Bytes(from_v210.begin() + 12, from_v210.end()), c.bgr) << c.pair[0];
        EXPECT_EQ(Bytes(ten_bit.begin() + 12, ten_bit.end()), c.bgr) << c.pair[0];
    }
}

TEST(TableDecoders, ReductionPlansMatchTheModel) {
    struct Plan { long width, height, dst_pitch, src_extra; };
    std::vector<Plan> plans;
    for (long w = 0; w <= 13; ++w) plans.push_back({w, 9, 4 * w + 4, 4});  // room for 4-byte pixels
    for (long w : {1L, 2L, 7L, 13L, 49L}) plans.push_back({w, 8, 3 * w, 0});  // 4-byte only when reduced enough
    plans.insert(plans.end(), {{48, 9, 4 * 48, 0}, {1920, 6, 1920 * 4, 0}, {1921, 5, 1922 * 3, 64}});
    for (bool v210 : {false, true})
        for (int factor : {-1, 1, 2, 3, 4, 5})
            for (const Plan& c : plans) {
                const long src_pitch = (v210 ? 16 * ((c.width + 5) / 6) : 4 * ((c.width + 1) / 2)) + c.src_extra;
                const std::size_t bytes = c.dst_pitch * c.height + 8;
                GuardedBuffer src(src_pitch * c.height), dst(bytes, 0x5A);
                src.fill_random(static_cast<std::uint32_t>(c.width * 7 + factor));
                EXPECT_EQ((v210 ? ccnvt_v210_rgb24 : ccnvt_yuv422_rgb24)(dst.data(), c.dst_pitch, src.data(), src_pitch,
                                                                        c.width, c.height, factor), 0);
                ASSERT_EQ(dst.contents(), model_reduced(bytes, c.dst_pitch, src.data(), src_pitch, c.width, c.height,
                                                        factor, v210))
                    << (v210 ? "v210" : "2vuy") << " factor " << factor << " width " << c.width;
                ASSERT_TRUE(dst.guards_intact());
            }
}

TEST(V210ToRgb, RunningIndexMatchesTheModel) {
    // Widths that are or are not multiples of 6, and a ramp through every 10-bit table entry.
    const std::array<int, 2> sizes[] = {{0, 4}, {1, 1}, {7, 1}, {1, 0}, {6, 3}, {9, 4}, {8, 5}, {4, 3}, {50, 3}, {2052, 1}};
    for (const auto& [width, height] : sizes)
        for (int four : {0, 1}) {
            const int pitch = (four ? 4 : 3) * (width + 6) + 4;
            const long groups = (long(width) * height + 5) / 6;
            const std::size_t bytes = pitch * (height + 1) + 6 * 4 * 2;
            GuardedBuffer src(16 * groups), dst(bytes, 0x5A);
            src.fill_random(width * 11 + height);
            std::vector<int> ramp;  // pair j: Cb j, Y 2j and 2j + 1, Cr 1023 - j
            for (int j = 0; width == 2052 && j < 1026; ++j)
                ramp.insert(ramp.end(), {j % 1024, 2 * j % 1024, 1023 - j % 1024, (2 * j + 1) % 1024});
            pack_v210(ramp, src.data());
            _v210_to_rgb(src.data(), dst.data(), width, height, pitch, four);
            ASSERT_EQ(dst.contents(), model_v210_to_rgb(src.data(), width, height, pitch, four, bytes))
                << width << "x" << height << " four " << four;
            ASSERT_TRUE(dst.guards_intact());
        }
}

using Wrapper = int (*)(unsigned char*, long, const unsigned char*, long, long, long, int);
using HostConverter = int (*)(void*, const void*, int, int, long, long, const cycbcr_matrix*, unsigned int);

struct WrapperCase {  // host: full size, or nullptr: always the own decoder
    const char* name; Wrapper wrapper; HostConverter host; Wrapper own; int dst_pixel_bytes; bool v210;
};

void PrintTo(const WrapperCase& c, std::ostream* out) { *out << c.name; }

const WrapperCase kWrappers[] = {
    {"yuv422_8_rgb24", ccnvt_yuv422_8_rgb24, cycbcr_uyvy_to_rgb24, ccnvt_yuv422_rgb24, 3, false},
    {"yuv422_8_rgb32", ccnvt_yuv422_8_rgb32, cycbcr_uyvy_to_rgb32, ccnvt_yuv422_rgb24, 4, false},
    {"yuv422_10_rgb24", ccnvt_yuv422_10_rgb24, nullptr, ccnvt_v210_rgb24, 3, true},
    {"yuv422_10_rgb32", ccnvt_yuv422_10_rgb32, cycbcr_012v_to_rgb32, ccnvt_v210_rgb24, 4, true},
};

struct DecoderWrappers : ::testing::TestWithParam<WrapperCase> {
    long tight_source(long width) const { return GetParam().v210 ? 128 * ((width + 47) / 48) : 2 * width; }
};

TEST_P(DecoderWrappers, FullSizeGoesToLibycbcr) {
    // BT.601 up to 1279 x 576, BT.709 above; a negative height sets the bottom-up flag (the own decoder converts
    // no rows then); pitches of 0 or below are tight.
    const WrapperCase& w = GetParam();
    for (const auto& [width, height] : {std::array<long, 2>{1279, 2}, {1280, 2}, {720, 577}, {20, -5}}) {
        const long rows = std::abs(height), src_pitch = tight_source(width);
        const long dst_pitch = w.dst_pixel_bytes * width + (height < 0 ? 0 : 12);
        GuardedBuffer src(src_pitch * rows), ours(dst_pitch * rows, 0x5A), expected(dst_pitch * rows, 0x5A);
        src.fill_random(static_cast<std::uint32_t>(width + rows));
        const int result = w.wrapper(ours.data(), height < 0 ? -1 : dst_pitch, src.data(), height < 0 ? 0 : src_pitch,
                                     width, height, height < 0 ? 0 : 1);
        if (w.host)
            EXPECT_EQ(result, w.host(expected.data(), src.data(), int(width), int(height), dst_pitch, src_pitch,
                                     GetMatrixBySize(int(width), int(height), 0), height < 0 ? CYCBCR_BOTTOM_UP : 0));
        else
            w.own(expected.data(), dst_pitch, src.data(), src_pitch, width, height, 1);
        ASSERT_EQ(ours.contents(), expected.contents()) << width << "x" << height;
        ASSERT_TRUE(ours.guards_intact());
    }
}

TEST_P(DecoderWrappers, ReducedFactorsDecodeWithTheTables) {
    // Factors of 2 or more (yuv422_10_rgb24: all, below 1 as 1) go to the table decoder; a default pitch of
    // width * 3 fits 4-byte pixels once a row is halved.
    const WrapperCase& w = GetParam();
    for (long width : {6L, 30L}) {
        const long height = 8, src_pitch = tight_source(width), dst_pitch = w.dst_pixel_bytes * width;
        GuardedBuffer src(src_pitch * height + 16);
        src.fill_random(2);
        for (int factor : {-3, 0, 1, 2, 4, 5}) {
            if (w.host && factor < 2) continue;
            GuardedBuffer ours(dst_pitch * height, 0x5A), expected(dst_pitch * height, 0x5A);
            w.wrapper(ours.data(), factor % 2 ? -1 : 0, src.data(), factor % 2 ? 0 : -1, width, height, factor);
            w.own(expected.data(), dst_pitch, src.data(), src_pitch, width, height, std::max(factor, 1));
            EXPECT_EQ(ours.contents(), expected.contents()) << factor;
            EXPECT_TRUE(ours.guards_intact());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Wrappers, DecoderWrappers, ::testing::ValuesIn(kWrappers),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
