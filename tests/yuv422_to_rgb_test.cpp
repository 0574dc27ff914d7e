// 2vuy and v210 to RGB: the table decoders against a model built from the
// table rules, the reduction plans, pixel size from the pitch, _v210_to_rgb's
// running index, and the wrappers' hand-off to libycbcr (pitch defaults,
// matrix by size, the bottom-up flag for negative heights).
#include <algorithm>
#include <array>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "support/test_support.h"
#include "ycbcr.h"

using cconvert::test::GuardedBuffer;

namespace {

// ---- the model: tables from their rules, channels from the sums ----

int entry(int index, int offset, double coefficient, double scale) {
    const double product = double(index - offset) * coefficient;
    return int(product * scale);
}

struct Rgb {
    int b, g, r;
};

Rgb model_pixel_8bit(int y, int cb, int cr) {
    const double s = 0.0625;
    const int a = entry(y, 16, 298.082, s);
    auto clip = [](int sum) { return std::min(sum < 0 ? 0 : sum >> 4, 255); };
    return {clip(a + entry(cb, 128, 516.411, s)),
            clip(a + entry(cb, 128, -100.291, s) + entry(cr, 128, -208.12, s)),
            clip(a + entry(cr, 128, 408.583, s))};
}

Rgb model_pixel_10bit(int y, int cb, int cr) {
    const double s = 0.015625;
    const int a = entry(y, 64, 1192.328, s);
    auto clip = [](int sum) { return std::clamp(sum >> 6, 0, 255); };
    return {clip(a + entry(cb, 512, 2065.644, s)),
            clip(a + entry(cb, 512, -401.164, s) + entry(cr, 512, -832.48, s)),
            clip(a + entry(cr, 512, 1634.332, s))};
}

void put(std::vector<unsigned char>& out, std::size_t at, Rgb p, bool four) {
    out[at] = static_cast<unsigned char>(p.b);
    out[at + 1] = static_cast<unsigned char>(p.g);
    out[at + 2] = static_cast<unsigned char>(p.r);
    if (four) out[at + 3] = 255;
}

// A frame of pairs (Cb, Y0, Cr, Y1) at 8 bits, whatever the storage.
using PairAt = std::function<std::array<int, 4>(long row, long pair)>;

// The reduction plan, from the rules.
std::vector<unsigned char> model_reduced(std::size_t bytes, long dst_pitch, long width, long height,
                                         int factor, const PairAt& pair_at) {
    std::vector<unsigned char> out(bytes, 0x5A);
    const long d = factor < 1 ? 1 : factor;
    const bool four = dst_pitch >= (width / d) * 4;
    const long px = four ? 4 : 3;
    for (long r = 0; r < height / d; ++r) {
        long column = 0;
        auto emit = [&](int y, int cb, int cr) { put(out, r * dst_pitch + px * column++, model_pixel_8bit(y, cb, cr), four); };
        if (d == 2) {
            for (long j = 0; j < (width + 1) / 2; ++j) {
                auto p = pair_at(r * d, j);
                emit(p[1], p[0], p[2]);
            }
        } else if (d == 4) {
            for (long x = 0; x < width / 2; x += 2) {
                auto p = pair_at(r * d, x);
                emit(p[1], p[0], p[2]);
            }
        } else {
            for (long x = 0; x < width; x += 2) {
                auto p = pair_at(r * d, x / 2);
                emit(p[1], p[0], p[2]);
                emit(p[3], p[0], p[2]);
            }
        }
    }
    return out;
}

std::uint32_t word_at(const unsigned char* bytes, std::size_t index) {
    std::uint32_t word;
    std::memcpy(&word, bytes + 4 * index, 4);
    return word;
}

// Sample k (stream order Cb0 Y0 Cr0 Y1 Cb2 ...) of a v210 row.
int v210_sample(const unsigned char* row, long k) {
    const long group = k / 12, within = k % 12;
    return (word_at(row + 16 * group, within / 3) >> (10 * (within % 3))) & 0x3FF;
}

// ---- hand-worked values ----

std::vector<unsigned char> decode_one_pair(unsigned char cb, unsigned char y0, unsigned char cr, unsigned char y1) {
    const unsigned char pair[4] = {cb, y0, cr, y1};
    std::vector<unsigned char> out(6);
    ccnvt_yuv422_rgb24(out.data(), 6, pair, 4, 2, 1, 1);  // factor 1, 3-byte pixels
    return out;
}

TEST(TableDecoders, StudioLevelsWorkedByHand) {
    // Y 235: Atab 4079 >> 4 = 254 (studio white stops short of 255).
    EXPECT_EQ(decode_one_pair(128, 235, 128, 16), (std::vector<unsigned char>{254, 254, 254, 0, 0, 0}));
    // Y 16, Cb 16: blue sum 0 - 3614 is negative, clamped to 0; Cr 240: red 2860 >> 4 = 178.
    EXPECT_EQ(decode_one_pair(16, 16, 240, 16)[0], 0);
    EXPECT_EQ(decode_one_pair(16, 16, 240, 16)[2], 178);
    // Cb 240 at Y 235: blue 4079 + 3614 = 7693 >> 4 = 480, clamped to 255.
    EXPECT_EQ(decode_one_pair(240, 235, 128, 235)[0], 255);
}

TEST(TableDecoders, V210SampleOf3FFReadsAs255) {
    // Y 0x3FF, Cb 0x200, Cr 0x200 everywhere: as 2vuy (128, 255, 128, 255).
    unsigned char group[16];
    for (int w = 0; w < 4; ++w) {
        const std::uint32_t words[4] = {0x200u | 0x3FFu << 10 | 0x200u << 20, 0x3FFu | 0x200u << 10 | 0x3FFu << 20,
                                        0x200u | 0x3FFu << 10 | 0x200u << 20, 0x3FFu | 0x200u << 10 | 0x3FFu << 20};
        std::memcpy(group + 4 * w, &words[w], 4);
    }
    std::vector<unsigned char> from_v210(18), from_2vuy(18);
    ccnvt_v210_rgb24(from_v210.data(), 18, group, 16, 6, 1, 1);
    const unsigned char pairs[12] = {128, 255, 128, 255, 128, 255, 128, 255, 128, 255, 128, 255};
    ccnvt_yuv422_rgb24(from_2vuy.data(), 18, pairs, 12, 6, 1, 1);
    EXPECT_EQ(from_v210, from_2vuy);
    EXPECT_EQ(from_v210[0], 255);
}

TEST(TableDecoders, FactorTwoPixelSizeFollowsTheDestinationPitch) {
    const long width = 8, height = 2;
    GuardedBuffer src(2 * width * height);
    src.fill_random(8);
    // Pitch 16 >= (8 / 2) * 4: four 4-byte pixels.
    GuardedBuffer wide(16, 0x5A);
    ccnvt_yuv422_rgb24(wide.data(), 16, src.data(), 2 * width, width, height, 2);
    for (int p = 0; p < 4; ++p) {
        const Rgb m = model_pixel_8bit(src[4 * p + 1], src[4 * p], src[4 * p + 2]);
        EXPECT_EQ(wide[4 * p], m.b);
        EXPECT_EQ(wide[4 * p + 1], m.g);
        EXPECT_EQ(wide[4 * p + 2], m.r);
        EXPECT_EQ(wide[4 * p + 3], 255);
    }
    // Pitch 12: four 3-byte pixels, nothing past 12 bytes.
    GuardedBuffer narrow(12, 0x5A);
    ccnvt_yuv422_rgb24(narrow.data(), 12, src.data(), 2 * width, width, height, 2);
    for (int p = 0; p < 4; ++p) EXPECT_EQ(narrow[3 * p], wide[4 * p]);
    EXPECT_TRUE(wide.guards_intact() && narrow.guards_intact());
}

// ---- the reduction plans against the model ----

struct PlanCase {
    long width, height, dst_pitch, src_extra;
};

std::vector<PlanCase> plan_cases() {
    std::vector<PlanCase> cases;
    for (long w = 0; w <= 50; ++w) cases.push_back({w, 9, 4 * w + 4, 4});  // room for 4-byte pixels
    for (long w : {1L, 2L, 5L, 6L, 7L, 13L, 48L, 49L})
        cases.push_back({w, 8, 3 * w, 0});  // tight 3-byte rows: 4-byte only when reduced enough
    cases.push_back({1920, 6, 1920 * 4, 0});
    cases.push_back({1921, 5, 1922 * 3, 64});
    return cases;
}

TEST(TableDecoders, TwoVuyReductionPlansMatchTheModel) {
    for (int factor : {-1, 0, 1, 2, 3, 4, 5}) {
        for (const PlanCase& c : plan_cases()) {
            const long src_pitch = 4 * ((c.width + 1) / 2) + c.src_extra;
            GuardedBuffer src(src_pitch * c.height);
            src.fill_random(static_cast<std::uint32_t>(c.width * 7 + factor));
            const std::size_t bytes = c.dst_pitch * c.height + 8;
            GuardedBuffer dst(bytes, 0x5A);
            EXPECT_EQ(ccnvt_yuv422_rgb24(dst.data(), c.dst_pitch, src.data(), src_pitch, c.width, c.height, factor), 0);
            const auto expected = model_reduced(bytes, c.dst_pitch, c.width, c.height, factor, [&](long row, long j) {
                const unsigned char* p = src.data() + row * src_pitch + 4 * j;
                return std::array<int, 4>{p[0], p[1], p[2], p[3]};
            });
            ASSERT_EQ(dst.contents(), expected) << "factor " << factor << " width " << c.width;
            ASSERT_TRUE(dst.guards_intact());
        }
    }
}

TEST(TableDecoders, V210ReductionPlansMatchTheModel) {
    for (int factor : {0, 1, 2, 3, 4, 6}) {
        for (const PlanCase& c : plan_cases()) {
            const long src_pitch = 16 * ((c.width + 5) / 6) + c.src_extra;
            GuardedBuffer src(src_pitch * c.height);
            src.fill_random(static_cast<std::uint32_t>(c.width * 3 + factor));
            const std::size_t bytes = c.dst_pitch * c.height + 8;
            GuardedBuffer dst(bytes, 0x5A);
            ccnvt_v210_rgb24(dst.data(), c.dst_pitch, src.data(), src_pitch, c.width, c.height, factor);
            const auto expected = model_reduced(bytes, c.dst_pitch, c.width, c.height, factor, [&](long row, long j) {
                const unsigned char* r = src.data() + row * src_pitch;
                return std::array<int, 4>{v210_sample(r, 4 * j) >> 2, v210_sample(r, 4 * j + 1) >> 2,
                                          v210_sample(r, 4 * j + 2) >> 2, v210_sample(r, 4 * j + 3) >> 2};
            });
            ASSERT_EQ(dst.contents(), expected) << "factor " << factor << " width " << c.width;
            ASSERT_TRUE(dst.guards_intact());
        }
    }
}

TEST(TableDecoders, FactorThreeReducesOnlyTheRows) {
    const long width = 10, height = 9;
    GuardedBuffer src(2 * width * height);
    src.fill_random(3);
    std::vector<unsigned char> reduced(3 * 4 * width), full(9 * 4 * width);
    ccnvt_yuv422_rgb24(reduced.data(), 4 * width, src.data(), 2 * width, width, height, 3);
    ccnvt_yuv422_rgb24(full.data(), 4 * width, src.data(), 2 * width, width, height, 1);
    for (long r = 0; r < 3; ++r)
        EXPECT_TRUE(std::equal(full.begin() + 3 * r * 4 * width, full.begin() + (3 * r + 1) * 4 * width,
                               reduced.begin() + r * 4 * width)) << r;
}

// ---- _v210_to_rgb ----

std::vector<unsigned char> model_v210_to_rgb(const unsigned char* src, int width, int height, int pitch,
                                             bool four, std::size_t bytes) {
    std::vector<unsigned char> out(bytes, 0x5A);
    const long pixels = long(width) * height;
    long at = 0;
    for (long index = 0; index < pixels; index += 6) {
        if (index % width == 0) at = index / width * pitch;
        for (int i = 0; i < 6; ++i) {
            const long k = 12 * (index / 6) + 4 * (i / 2);  // the pair's Cb in the stream
            put(out, at, model_pixel_10bit(v210_sample(src, k + 1 + 2 * (i % 2)), v210_sample(src, k),
                                           v210_sample(src, k + 2)), four);
            at += four ? 4 : 3;
        }
    }
    return out;
}

TEST(TableDecoders, ThreadsStartingTogetherAllGetTheModelsBytes) {
    // In a fresh process the first calls build the tables; every thread must
    // see them whole.
    const long width = 64, height = 4;
    GuardedBuffer uyvy(2 * width * height), v210(16 * 11 * height);
    uyvy.fill_random(31);
    v210.fill_random(32);
    const auto expected_8bit = model_reduced(4 * 32 * 2, 4 * 32, width, height, 2, [&](long row, long j) {
        const unsigned char* p = uyvy.data() + row * 2 * width + 4 * j;
        return std::array<int, 4>{p[0], p[1], p[2], p[3]};
    });
    const auto expected_10bit = model_v210_to_rgb(v210.data(), 66, height, 4 * 66, true, 4 * 66 * height);
    std::vector<std::thread> threads;
    std::vector<int> failures(8, 0);
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            std::vector<unsigned char> rgb(expected_8bit.size(), 0x5A), rgb10(expected_10bit.size(), 0x5A);
            ccnvt_yuv422_rgb24(rgb.data(), 4 * 32, uyvy.data(), 2 * width, width, height, 2);
            _v210_to_rgb(v210.data(), rgb10.data(), 66, height, 4 * 66, 1);
            failures[t] = (rgb != expected_8bit) + (rgb10 != expected_10bit);
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures, std::vector<int>(8, 0));
}

TEST(V210ToRgb, RunningIndexMatchesTheModel) {
    struct Case {
        int width, height;
    };
    // Pixel counts 0, 1, 2, 5, 6, 7 and frames whose width is or is not a
    // multiple of 6.
    for (const Case& c : {Case{0, 4}, Case{1, 1}, Case{2, 1}, Case{5, 1}, Case{6, 1}, Case{7, 1}, Case{1, 0},
                          Case{6, 3}, Case{12, 4}, Case{9, 4}, Case{8, 5}, Case{4, 3}, Case{48, 2}, Case{50, 3}}) {
        for (int four : {0, 1}) {
            const int px = four ? 4 : 3;
            const int pitch = px * (c.width + 6) + 4;
            const long groups = (long(c.width) * c.height + 5) / 6;
            GuardedBuffer src(16 * groups);
            src.fill_random(c.width * 11 + c.height);
            const std::size_t bytes = pitch * (c.height + 1) + 6 * 4 * 2;
            GuardedBuffer dst(bytes, 0x5A);
            _v210_to_rgb(src.data(), dst.data(), c.width, c.height, pitch, four);
            ASSERT_EQ(dst.contents(), model_v210_to_rgb(src.data(), c.width, c.height, pitch, four, bytes))
                << c.width << "x" << c.height << " four " << four;
            ASSERT_TRUE(dst.guards_intact());
        }
    }
}

TEST(V210ToRgb, StudioLevelsWorkedByHand) {
    // Y 940 (white), chroma 512: 16319 >> 6 = 254. Y 64: 0.
    const std::uint32_t words[4] = {0x200u | 940u << 10 | 0x200u << 20, 64u | 0x200u << 10 | 940u << 20,
                                    0x200u | 64u << 10 | 0x200u << 20, 940u | 0x200u << 10 | 64u << 20};
    unsigned char src[16];
    std::memcpy(src, words, 16);
    std::vector<unsigned char> out(24);
    _v210_to_rgb(src, out.data(), 6, 1, 24, 1);
    EXPECT_EQ(out, (std::vector<unsigned char>{254, 254, 254, 255, 0, 0, 0, 255, 254, 254, 254, 255,
                                               0, 0, 0, 255, 254, 254, 254, 255, 0, 0, 0, 255}));
}

// ---- the wrappers ----

using Wrapper = int (*)(unsigned char*, long, const unsigned char*, long, long, long, int);
using HostConverter = int (*)(void*, const void*, int, int, long, long, const cycbcr_matrix*, unsigned int);

struct WrapperCase {
    const char* name;
    Wrapper wrapper;
    HostConverter host;  // full size, or nullptr: always the own decoder
    Wrapper own;
    int dst_pixel_bytes;
    bool v210;
};

void PrintTo(const WrapperCase& c, std::ostream* out) { *out << c.name; }

const WrapperCase kWrappers[] = {
    {"yuv422_8_rgb24", ccnvt_yuv422_8_rgb24, cycbcr_uyvy_to_rgb24, ccnvt_yuv422_rgb24, 3, false},
    {"yuv422_8_rgb32", ccnvt_yuv422_8_rgb32, cycbcr_uyvy_to_rgb32, ccnvt_yuv422_rgb24, 4, false},
    {"yuv422_10_rgb24", ccnvt_yuv422_10_rgb24, nullptr, ccnvt_v210_rgb24, 3, true},
    {"yuv422_10_rgb32", ccnvt_yuv422_10_rgb32, cycbcr_012v_to_rgb32, ccnvt_v210_rgb24, 4, true},
};

class DecoderWrappers : public ::testing::TestWithParam<WrapperCase> {
protected:
    long tight_source(long width) const {
        return GetParam().v210 ? 128 * ((width + 47) / 48) : 2 * width;
    }
};

TEST_P(DecoderWrappers, PitchesOfZeroOrBelowTakeTheTightDefaults) {
    const WrapperCase& w = GetParam();
    for (long width : {6L, 7L, 48L, 50L, 1280L}) {
        const long height = 3, src_pitch = tight_source(width), dst_pitch = w.dst_pixel_bytes * width;
        GuardedBuffer src(src_pitch * height + 16);
        src.fill_random(static_cast<std::uint32_t>(width));
        for (int factor : {0, 1, 2, 3}) {
            GuardedBuffer explicit_pitches(dst_pitch * height + 8, 0x5A);
            w.wrapper(explicit_pitches.data(), dst_pitch, src.data(), src_pitch, width, height, factor);
            for (long bad_pitch : {0L, -1L, -dst_pitch}) {
                GuardedBuffer defaulted(dst_pitch * height + 8, 0x5A);
                w.wrapper(defaulted.data(), bad_pitch, src.data(), bad_pitch, width, height, factor);
                ASSERT_EQ(defaulted.contents(), explicit_pitches.contents())
                    << "width " << width << " factor " << factor << " pitch " << bad_pitch;
                ASSERT_TRUE(defaulted.guards_intact());
            }
        }
    }
}

TEST_P(DecoderWrappers, FullSizeGoesToLibycbcrWithTheMatrixForTheSize) {
    const WrapperCase& w = GetParam();
    for (long width : {720L, 1279L, 1280L}) {
        for (long height : {2L, 577L}) {
            const long src_pitch = tight_source(width), dst_pitch = w.dst_pixel_bytes * width + 12;
            GuardedBuffer src(src_pitch * height);
            src.fill_random(static_cast<std::uint32_t>(width + height));
            GuardedBuffer ours(dst_pitch * height, 0x5A), expected(dst_pitch * height, 0x5A);
            const int result = w.wrapper(ours.data(), dst_pitch, src.data(), src_pitch, width, height, 1);
            if (w.host) {
                const int host_result = w.host(expected.data(), src.data(), int(width), int(height), dst_pitch, src_pitch,
                                               GetMatrixBySize(int(width), int(height), 0), 0);
                EXPECT_EQ(result, host_result);
            } else {
                w.own(expected.data(), dst_pitch, src.data(), src_pitch, width, height, 1);
            }
            ASSERT_EQ(ours.contents(), expected.contents()) << width << "x" << height;
            ASSERT_TRUE(ours.guards_intact());
        }
    }
}

TEST_P(DecoderWrappers, NegativeHeightAsksLibycbcrForABottomUpFrame) {
    const WrapperCase& w = GetParam();
    const long width = 20, height = 5;
    const long src_pitch = tight_source(width), dst_pitch = w.dst_pixel_bytes * width;
    GuardedBuffer src(src_pitch * height);
    src.fill_random(55);
    GuardedBuffer ours(dst_pitch * height, 0x5A), expected(dst_pitch * height, 0x5A);
    w.wrapper(ours.data(), 0, src.data(), 0, width, -height, 0);
    if (w.host) {
        w.host(expected.data(), src.data(), int(width), int(-height), dst_pitch, src_pitch,
               GetMatrixBySize(int(width), int(-height), 0), CYCBCR_BOTTOM_UP);
        // The last source row is the first destination row.
        GuardedBuffer top_down(dst_pitch * height);
        w.host(top_down.data(), src.data(), int(width), int(height), dst_pitch, src_pitch,
               GetMatrixBySize(int(width), int(height), 0), 0);
        EXPECT_TRUE(std::equal(top_down.data() + (height - 1) * dst_pitch, top_down.data() + height * dst_pitch,
                               ours.data()));
    }  // the own decoder converts no rows for a negative height
    EXPECT_EQ(ours.contents(), expected.contents());
    EXPECT_TRUE(ours.guards_intact());
}

TEST_P(DecoderWrappers, FactorTwoOrMoreDecodesWithTheTables) {
    const WrapperCase& w = GetParam();
    const long width = 30, height = 8, src_pitch = tight_source(width);
    GuardedBuffer src(src_pitch * height);
    src.fill_random(2);
    for (int factor : {2, 4, 5}) {
        const long dst_pitch = w.dst_pixel_bytes * width;
        GuardedBuffer ours(dst_pitch * height, 0x5A), expected(dst_pitch * height, 0x5A);
        w.wrapper(ours.data(), 0, src.data(), 0, width, height, factor);
        w.own(expected.data(), dst_pitch, src.data(), src_pitch, width, height, factor);
        EXPECT_EQ(ours.contents(), expected.contents()) << factor;
    }
}

INSTANTIATE_TEST_SUITE_P(Wrappers, DecoderWrappers, ::testing::ValuesIn(kWrappers),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(DecoderWrappers, TenBitRgb24AlwaysDecodesItselfWithFactorAtLeastOne) {
    const long width = 12, height = 4;
    GuardedBuffer src(32 * height);
    src.fill_random(77);
    for (int factor : {-3, 0, 1}) {
        GuardedBuffer ours(36 * height, 0x5A), expected(36 * height, 0x5A);
        ccnvt_yuv422_10_rgb24(ours.data(), 36, src.data(), 32, width, height, factor);
        ccnvt_v210_rgb24(expected.data(), 36, src.data(), 32, width, height, 1);
        EXPECT_EQ(ours.contents(), expected.contents()) << factor;
    }
}

TEST(DecoderWrappers, EightBitRgb24DefaultPitchGivesFourBytePixelsWhenReduced) {
    // Default destination pitch width * 3 = 24 >= (8 / 2) * 4 = 16.
    const long width = 8, height = 2;
    GuardedBuffer src(2 * width * height);
    src.fill_random(1);
    GuardedBuffer out(24, 0x5A);
    ccnvt_yuv422_8_rgb24(out.data(), 0, src.data(), 0, width, height, 2);
    EXPECT_EQ(out[3], 255);
    EXPECT_EQ(out[15], 255);
    EXPECT_EQ(out[16], 0x5A);
}

}  // namespace
