// YUY2-ordered 8-bit 4:2:2 to 2vuy, 4:4:4 <-> 2vuy and the subsampling
// entry points: hand-worked bytes, an independent model over every byte
// value, exact write extents, in-place calls and round trips.
#include <algorithm>
#include <cstdint>
#include <ostream>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;

namespace {

// The rules as written: full-range luma to studio, offset chroma (0 counted
// as 1) to studio, integer arithmetic.
int studio_luma(int y) { return y * 219 / 255 + 16; }
int studio_chroma(int c) { return ((c == 0 ? 1 : c) - 1) * 224 / 254 + 16; }
int signed_to_offset(int c) { return (c - 128 + 256) % 256; }

// Expected 2vuy bytes for count pixels of a YUY2-ordered span.
std::vector<unsigned char> model_yuy2_to_2vuy(const unsigned char* source, int count, bool signed_chroma) {
    std::vector<unsigned char> out(2 * std::size_t(count > 0 ? count : 0));
    for (int p = 0; p < count; ++p) {
        const int y = source[2 * p], c = source[2 * p + 1];
        out[2 * p] = static_cast<unsigned char>(studio_chroma(signed_chroma ? signed_to_offset(c) : c));
        out[2 * p + 1] = static_cast<unsigned char>(studio_luma(y));
    }
    return out;
}

using SpanConverter = void (*)(unsigned char*, unsigned char*, int);

struct SpanCase {
    const char* name;
    SpanConverter convert;
    bool signed_chroma;
};

void PrintTo(const SpanCase& routine, std::ostream* out) { *out << routine.name; }

const SpanCase kSpanCases[] = {
    {"yuv2_to_2vuy", yuv2_to_2vuy, true},
    {"yuvs_to_2vuy", yuvs_to_2vuy, false},
    {"yuv2_to_v210", yuv2_to_v210, true},  // writes 2vuy, as the first
    {"yuvs_to_v210", yuvs_to_v210, false},
};

// Every routine under every feature word (the vector kernel takes spans of
// 8 pixels or more whose buffers do not overlap).
class YuyOrderSpans : public ::testing::TestWithParam<std::tuple<SpanCase, unsigned int>> {
protected:
    const SpanCase& routine() const { return std::get<0>(GetParam()); }
    cconvert::test::ScopedCpuFeatures features_{std::get<1>(GetParam())};
};

TEST_P(YuyOrderSpans, EveryLumaAndChromaByteFollowsTheModel) {
    // 65536 pixels: every (luma, chroma) combination once.
    const int count = 65536;
    GuardedBuffer source(2 * count), destination(2 * count);
    for (int i = 0; i < count; ++i) {
        source[2 * i] = static_cast<unsigned char>(i >> 8);
        source[2 * i + 1] = static_cast<unsigned char>(i);
    }
    routine().convert(source.data(), destination.data(), count);
    EXPECT_EQ(destination.contents(), model_yuy2_to_2vuy(source.data(), count, routine().signed_chroma));
    EXPECT_TRUE(destination.guards_intact());
}

TEST_P(YuyOrderSpans, WritesTwoBytesPerPixelAndNoMore) {
    for (int count : {-3, 0, 1, 2, 5, 6, 7, 8, 9, 15, 16, 17, 31, 32, 33, 130, 1000}) {
        const std::size_t room = 2 * 1010;
        GuardedBuffer source(room), destination(room, 0x5A);
        source.fill_random(count + 100);
        routine().convert(source.data(), destination.data(), count);
        const auto expected = model_yuy2_to_2vuy(source.data(), count, routine().signed_chroma);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), destination.data())) << count;
        for (std::size_t i = expected.size(); i < room; ++i)
            ASSERT_EQ(destination[i], 0x5A) << "count " << count << " byte " << i;
        ASSERT_TRUE(destination.guards_intact());
    }
}

TEST_P(YuyOrderSpans, InPlaceEqualsTwoBuffers) {
    for (int count : {1, 7, 8, 64, 1001}) {
        GuardedBuffer span(2 * count);
        span.fill_random(count);
        const auto expected = model_yuy2_to_2vuy(span.data(), count, routine().signed_chroma);
        routine().convert(span.data(), span.data(), count);
        EXPECT_EQ(span.contents(), expected) << count;
    }
}

INSTANTIATE_TEST_SUITE_P(Routines, YuyOrderSpans,
                         ::testing::Combine(::testing::ValuesIn(kSpanCases),
                                            ::testing::ValuesIn(cconvert::test::feature_words_to_test())),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    cconvert::test::feature_word_name(std::get<1>(info.param));
                         });

TEST(YuyOrder, ByteValuesWorkedByHand) {
    // yuv2: luma 255, chroma signed 0; luma 0, chroma 0x7F; luma 128, chroma 0x80; luma 1, chroma 0x81.
    unsigned char yuv2[8] = {255, 0x00, 0, 0x7F, 128, 0x80, 1, 0x81};
    unsigned char out[8];
    yuv2_to_2vuy(yuv2, out, 4);
    const unsigned char expected_yuv2[8] = {128, 235, 240, 16, 16, 125, 16, 16};
    EXPECT_EQ(0, std::memcmp(out, expected_yuv2, 8));

    // yuvs: chroma 0 and 1 both 16, 128 stays 128, 255 is 240.
    unsigned char yuvs[8] = {16, 0, 235, 1, 64, 128, 200, 255};
    yuvs_to_2vuy(yuvs, out, 4);
    const unsigned char expected_yuvs[8] = {16, 29, 16, 217, 128, 70, 240, 187};
    EXPECT_EQ(0, std::memcmp(out, expected_yuvs, 8));
}

TEST(YuyOrder, FrameEntryPointsConvertWidthTimesHeightAsOneSpan) {
    const unsigned int width = 13, height = 5;
    const int count = width * height;
    GuardedBuffer source(2 * count);
    source.fill_random(4);
    struct Entry {
        void (*frame)(unsigned char*, const unsigned char*, unsigned int, unsigned int);
        bool signed_chroma;
    };
    for (const Entry& entry : {Entry{ccnvt_yuv2_2vuy, true}, Entry{ccnvt_yuvu_2vuy, true},
                               Entry{ccnvt_yuvs_2vuy, false}}) {
        GuardedBuffer destination(2 * count + 8, 0x5A);
        entry.frame(destination.data(), source.data(), width, height);
        const auto expected = model_yuy2_to_2vuy(source.data(), count, entry.signed_chroma);
        EXPECT_EQ(0, std::memcmp(destination.data(), expected.data(), expected.size()));
        for (std::size_t i = expected.size(); i < destination.size(); ++i) EXPECT_EQ(destination[i], 0x5A);
        EXPECT_TRUE(destination.guards_intact());
    }
}

// ---- 4:4:4 <-> 2vuy ----

TEST(Yuv444, TwoPixelsBecomeOnePairWithTheFirstPixelsChroma) {
    GuardedBuffer source(6), destination(4, 0x5A);
    const unsigned char pixels[6] = {100, 110, 120, 200, 210, 220};  // Y Cb Cr, Y Cb Cr
    std::memcpy(source.data(), pixels, 6);
    ccnvt_yuv444_yuv422_8(destination.data(), source.data(), 2, 1);
    EXPECT_EQ(destination.contents(), (std::vector<unsigned char>{110, 100, 120, 200}));
    EXPECT_TRUE(destination.guards_intact());
}

TEST(Yuv444, PairBecomesTwoPixelsSharingItsChroma) {
    GuardedBuffer source(4), destination(6, 0x5A);
    const unsigned char pair[4] = {90, 16, 240, 235};  // Cb Y0 Cr Y1
    std::memcpy(source.data(), pair, 4);
    ccnvt_yuv422_yuv444_8(destination.data(), source.data(), 1, 2);
    EXPECT_EQ(destination.contents(), (std::vector<unsigned char>{16, 90, 240, 235, 90, 240}));
    EXPECT_TRUE(destination.guards_intact());
}

TEST(Yuv444, WriteExtentsFollowWholePairs) {
    for (unsigned int count : {0u, 1u, 2u, 5u, 6u, 7u}) {
        // 4:4:4 to 2vuy: ceil(count / 2) pairs.
        GuardedBuffer source(3 * count + 3), packed(2 * count + 8, 0x5A);
        source.fill_random(count);
        ccnvt_yuv444_yuv422_8(packed.data(), source.data(), count, 1);
        const std::size_t pairs = (count + 1) / 2;
        for (std::size_t p = 0; p < pairs; ++p) {
            const unsigned char* s = source.data() + 6 * p;
            const unsigned char expected[4] = {s[1], s[0], s[2], s[3]};
            ASSERT_EQ(0, std::memcmp(packed.data() + 4 * p, expected, 4)) << count;
        }
        for (std::size_t i = 4 * pairs; i < packed.size(); ++i) ASSERT_EQ(packed[i], 0x5A) << count;
        ASSERT_TRUE(packed.guards_intact());

        // 2vuy to 4:4:4: ceil(count / 2) pairs of six bytes.
        GuardedBuffer full(3 * count + 9, 0x5A);
        ccnvt_yuv422_yuv444_8(full.data(), packed.data(), count, 1);
        for (std::size_t p = 0; p < pairs; ++p) {
            const unsigned char* q = packed.data() + 4 * p;
            const unsigned char expected[6] = {q[1], q[0], q[2], q[3], q[0], q[2]};
            ASSERT_EQ(0, std::memcmp(full.data() + 6 * p, expected, 6)) << count;
        }
        for (std::size_t i = 6 * pairs; i < full.size(); ++i) ASSERT_EQ(full[i], 0x5A) << count;
        ASSERT_TRUE(full.guards_intact());
    }
}

TEST(Yuv444, TwoVuySurvivesTheRoundTrip) {
    const unsigned int width = 64, height = 9;
    GuardedBuffer uyvy(2 * width * height), full(3 * width * height), back(2 * width * height);
    uyvy.fill_random(12);
    ccnvt_yuv422_yuv444_8(full.data(), uyvy.data(), width, height);
    ccnvt_yuv444_yuv422_8(back.data(), full.data(), width, height);
    EXPECT_EQ(back.contents(), uyvy.contents());
    EXPECT_TRUE(full.guards_intact() && back.guards_intact());
}

TEST(SubsamplingStubs, TouchNothing) {
    using Stub = void (*)(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int);
    for (Stub stub : {ccnvt_yuv411_yuv422_8, ccnvt_yuv422_yuv411_8, ccnvt_yuv420_yuv422_8,
                      ccnvt_yuv422_yuv420_8, ccnvt_yuv420_yuv411_8, ccnvt_yuv411_yuv420_8}) {
        GuardedBuffer destination(256, 0x5A), source(256);
        source.fill_random(3);
        const auto before = source.contents();
        stub(destination.data(), source.data(), 16, 8, 0);
        EXPECT_EQ(destination.contents(), std::vector<unsigned char>(256, 0x5A));
        EXPECT_EQ(source.contents(), before);
        stub(nullptr, nullptr, 1920, 1080, 0);  // not even a null pointer is touched
    }
}

}  // namespace
