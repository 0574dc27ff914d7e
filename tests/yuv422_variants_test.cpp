// YUY2-ordered 4:2:2 to 2vuy (every byte value, every feature word), 4:4:4 <-> 2vuy and the subsampling stubs.
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "support/test_support.h"
#include "tests/packed10_model.h"

using cconvert::test::GuardedBuffer;
using Bytes = std::vector<unsigned char>;

namespace {

// Full-range luma and offset chroma (0 counted as 1; signed: +128 first) to studio.
Bytes model_yuy2_to_2vuy(const unsigned char* source, int count, bool signed_chroma) {
    Bytes out(2 * std::size_t(count > 0 ? count : 0));
    for (int p = 0; p < count; ++p) {
        int c = signed_chroma ? (source[2 * p + 1] + 128) % 256 : source[2 * p + 1];
        c = c == 0 ? 1 : c;
        out[2 * p] = static_cast<unsigned char>((c - 1) * 224 / 254 + 16);
        out[2 * p + 1] = static_cast<unsigned char>(source[2 * p] * 219 / 255 + 16);
    }
    return out;
}

struct Span { const char* name; void (*convert)(unsigned char*, unsigned char*, int); bool signed_chroma; };

// The vector kernel takes spans of 8 pixels or more whose buffers do not overlap.
const Span kSpans[] = {{"yuv2_to_2vuy", yuv2_to_2vuy, true}, {"yuvs_to_2vuy", yuvs_to_2vuy, false}};

class YuyOrderSpans : public cconvert::test::model::FeatureWordTest {};

}  // namespace

TEST_P(YuyOrderSpans, FollowTheModelForEveryByteAndWriteTwoBytesPerPixelAlsoInPlace) {
    // Every (luma, chroma) combination once, both varying from pixel to pixel.
    const int all = 65536;
    GuardedBuffer source(2 * all);
    for (int i = 0; i < all; ++i) {
        const unsigned j = (static_cast<unsigned>(i) * 40503u) & 0xFFFF;  // an odd factor: a permutation
        source[2 * i] = static_cast<unsigned char>(j >> 8), source[2 * i + 1] = static_cast<unsigned char>(j);
    }
    for (const Span& span : kSpans)
        for (int count : {-3, 0, 1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 1001, all}) {
            GuardedBuffer destination(2 * all, 0x5A), in_place = source;
            span.convert(source.data(), destination.data(), count);
            Bytes expected = model_yuy2_to_2vuy(source.data(), count, span.signed_chroma);
            const std::size_t converted = expected.size();
            span.convert(in_place.data(), in_place.data(), count);
            ASSERT_EQ(Bytes(in_place.data(), in_place.data() + converted), expected) << span.name << count;
            expected.resize(destination.size(), 0x5A);
            ASSERT_EQ(destination.contents(), expected) << span.name << " count " << count;
            ASSERT_TRUE(destination.guards_intact());
        }
}

CCNVT_UNDER_EVERY_FEATURE_WORD(YuyOrderSpans);

TEST(YuyOrder, ByteValuesWorkedByHand) {
    // yuv2 chroma is signed; yuvs chroma 0 and 1 are both 16, 128 stays 128, 255 is 240.
    unsigned char yuv2[8] = {255, 0x00, 0, 0x7F, 128, 0x80, 1, 0x81}, out[8];
    yuv2_to_2vuy(yuv2, out, 4);
    EXPECT_EQ(Bytes(out, out + 8), (Bytes{128, 235, 240, 16, 16, 125, 16, 16}));
    unsigned char yuvs[8] = {16, 0, 235, 1, 64, 128, 200, 255};
    yuvs_to_2vuy(yuvs, out, 4);
    EXPECT_EQ(Bytes(out, out + 8), (Bytes{16, 29, 16, 217, 128, 70, 240, 187}));
}

TEST(YuyOrder, OtherEntryPointsConvertTheSameSpans) {
    // Frames are one span of width * height pixels; the _to_v210 names write 2vuy too.
    const unsigned int width = 13, height = 5;
    const int count = width * height;
    GuardedBuffer source(2 * count);
    source.fill_random(4);
    const auto frame = [](void (*f)(unsigned char*, const unsigned char*, unsigned int, unsigned int)) {
        return [f](unsigned char* s, unsigned char* d, int) { f(d, s, width, height); };
    };
    const std::pair<std::function<void(unsigned char*, unsigned char*, int)>, bool> entries[] = {
        {frame(ccnvt_yuv2_2vuy), true}, {frame(ccnvt_yuvu_2vuy), true}, {frame(ccnvt_yuvs_2vuy), false},
        {yuv2_to_v210, true}, {yuvs_to_v210, false}};
    for (const auto& [convert, signed_chroma] : entries) {
        GuardedBuffer destination(2 * count + 8, 0x5A);
        convert(source.data(), destination.data(), count);
        Bytes expected = model_yuy2_to_2vuy(source.data(), count, signed_chroma);
        expected.resize(destination.size(), 0x5A);
        EXPECT_EQ(destination.contents(), expected);
        EXPECT_TRUE(destination.guards_intact());
    }
}

// ---- 4:4:4 <-> 2vuy ----

// A pair takes the first pixel's chroma (Y Cb Cr Y Cb Cr to Cb Y0 Cr Y1) and gives it back to both.
TEST(Yuv444, FramesAreOneSpanOfWholePairsEachWay) {
    for (auto [width, height] : std::vector<std::pair<unsigned, unsigned>>{{0, 1}, {1, 1}, {2, 1}, {7, 1}, {3, 3}, {64, 9}}) {
        const unsigned count = width * height;
        GuardedBuffer source(3 * count + 3), packed(2 * count + 8, 0x5A), full(3 * count + 9, 0x5A);
        source.fill_random(count);
        ccnvt_yuv444_yuv422_8(packed.data(), source.data(), width, height);
        ccnvt_yuv422_yuv444_8(full.data(), packed.data(), width, height);
        Bytes expected_packed(packed.size(), 0x5A), expected_full(full.size(), 0x5A);
        for (std::size_t p = 0; p < (count + 1) / 2; ++p) {  // rounded up each way
            const unsigned char* s = source.data() + 6 * p;
            const unsigned char q[4] = {s[1], s[0], s[2], s[3]};
            std::copy(q, q + 4, expected_packed.begin() + 4 * p);
            const unsigned char f[6] = {q[1], q[0], q[2], q[3], q[0], q[2]};
            std::copy(f, f + 6, expected_full.begin() + 6 * p);
        }
        ASSERT_EQ(packed.contents(), expected_packed) << width << "x" << height;
        ASSERT_EQ(full.contents(), expected_full) << width << "x" << height;
        ASSERT_TRUE(source.guards_intact() && packed.guards_intact() && full.guards_intact());
    }
}

TEST(SubsamplingStubs, TouchNothing) {
    using Stub = void (*)(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int);
    for (Stub stub : {ccnvt_yuv411_yuv422_8, ccnvt_yuv422_yuv411_8, ccnvt_yuv420_yuv422_8, ccnvt_yuv422_yuv420_8,
                      ccnvt_yuv420_yuv411_8, ccnvt_yuv411_yuv420_8}) {
        GuardedBuffer destination(256, 0x5A), source(256, 0x33);
        stub(destination.data(), source.data(), 16, 8, 0);
        EXPECT_EQ(destination.contents(), Bytes(256, 0x5A));
        EXPECT_EQ(source.contents(), Bytes(256, 0x33));
        stub(nullptr, nullptr, 1920, 1080, 0);  // not even a null pointer is touched
    }
}
