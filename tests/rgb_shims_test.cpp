// The 8-bit RGB converters offer each row or span to the _arm shim, then to
// the _intel shim, and convert it themselves only when both decline. This
// executable defines the three shim pairs they use, so the dynamic linker
// routes the library's calls here; they record each offer and decline unless
// a test tells them to accept.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"

namespace {

struct ShimRecord {
    std::vector<std::string> offers;
    bool arm_accepts = false, intel_accepts = false;
};
ShimRecord shims;

std::string offer(const char* shim, const void* destination, const void* source, long count, long extra) {
    return std::string(shim) + " " + std::to_string(static_cast<const unsigned char*>(destination) -
                                                    static_cast<const unsigned char*>(source)) +
           " " + std::to_string(count) + " " + std::to_string(extra);
}

}  // namespace

int cconvert_rgb2rgb_shuffle_arm(unsigned int* destination, unsigned int* source, unsigned int pixels,
                                 cconvert_rgb2rgb_shuffle_op op) {
    shims.offers.push_back(offer("shuffle_arm", destination, source, pixels, op));
    return shims.arm_accepts;
}
int cconvert_rgb2rgb_shuffle_intel(unsigned int* destination, unsigned int* source, unsigned int pixels,
                                   cconvert_rgb2rgb_shuffle_op op) {
    shims.offers.push_back(offer("shuffle_intel", destination, source, pixels, op));
    return shims.intel_accepts;
}
int cconvert_rgb24_to_rgba32_arm(void* destination, void* source, long pixels, int order) {
    shims.offers.push_back(offer("widen_arm", destination, source, pixels, order));
    return shims.arm_accepts;
}
int cconvert_rgb24_to_rgba32_intel(void* destination, void* source, long pixels, int order) {
    shims.offers.push_back(offer("widen_intel", destination, source, pixels, order));
    return shims.intel_accepts;
}
int cconvert_rgba32_to_bgr24_arm(void* destination, void* source, long pixels) {
    shims.offers.push_back(offer("narrow_arm", destination, source, pixels, 0));
    return shims.arm_accepts;
}
int cconvert_rgba32_to_bgr24_intel(void* destination, void* source, long pixels) {
    shims.offers.push_back(offer("narrow_intel", destination, source, pixels, 0));
    return shims.intel_accepts;
}

namespace {

class RgbShims : public ::testing::Test {
protected:
    void SetUp() override { shims = ShimRecord{}; }
    void TearDown() override { shims = ShimRecord{}; }
};

TEST_F(RgbShims, EveryRowOfTheWideningsGoesToArmThenIntelThenTheConverter) {
    // In place, so the offers show each row's destination - source distance.
    std::vector<unsigned char> frame(3 * 8, 1);
    ccnvt_rgb24_rgba32_inplace(frame.data(), 8, frame.data(), 6, 2, 3);
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"widen_arm 4 2 0", "widen_intel 4 2 0", "widen_arm 2 2 0",
                                                       "widen_intel 2 2 0", "widen_arm 0 2 0", "widen_intel 0 2 0"}));
    EXPECT_EQ(frame[3], 0xFF);
    shims = ShimRecord{};
    ccnvt_rgb24_bgra32_inplace(frame.data(), 8, frame.data(), 6, 2, 1);
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"widen_arm 0 2 1", "widen_intel 0 2 1"}));
}

TEST_F(RgbShims, ReordersOfferRowsWithTheirOperationValue) {
    std::vector<unsigned char> frame(16);
    ccnvt_rgba32_argb32(frame.data(), 8, frame.data(), 8, 2, -2);
    ccnvt_argb32_rgba32(frame.data(), 8, frame.data(), 8, 1, 1);
    ccnvt_rgba32_bgr24_inplace(frame.data(), 8, frame.data(), 8, 2, 1);
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"shuffle_arm 0 2 0", "shuffle_intel 0 2 0", "shuffle_arm 0 2 0",
                                                       "shuffle_intel 0 2 0", "shuffle_arm 0 1 9", "shuffle_intel 0 1 9",
                                                       "narrow_arm 0 2 0", "narrow_intel 0 2 0"}));
}

TEST_F(RgbShims, ConvertersThatTestOnlyTheHeightStillOfferNarrowRows) {
    std::vector<unsigned char> frame(8, 0x33);
    ccnvt_rgba32_argb32(frame.data(), 4, frame.data(), 4, 0, 1);
    ccnvt_rgba32_bgr24_inplace(frame.data(), 4, frame.data(), 4, -1, 1);
    ccnvt_rgb24_rgba32_inplace(frame.data(), 4, frame.data(), 4, 0, 1);  // tests the width too
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"shuffle_arm 0 0 0", "shuffle_intel 0 0 0", "narrow_arm 0 -1 0",
                                                       "narrow_intel 0 -1 0"}));
    EXPECT_EQ(frame, std::vector<unsigned char>(8, 0x33));
}

TEST_F(RgbShims, EverySpanReorderOffersItsRunWithItsOperationValue) {
    using SpanFn = void (*)(unsigned int*, const unsigned int*, unsigned int);
    const SpanFn reorders[] = {rgba2argb, argb2rgba, bgra2argb, argb2bgra, abgr2argb,   argb2abgr,
                               bgra2rgba, bgra2abgr, abgr2bgra, bgra2abgrMMX, abgr2bgraMMX};
    const int values[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 7, 8};
    unsigned int pixels[3] = {};
    for (int i = 0; i < 11; ++i) {
        shims = ShimRecord{};
        reorders[i](pixels, pixels, 3);
        const std::string tail = " 0 3 " + std::to_string(values[i]);
        EXPECT_EQ(shims.offers, (std::vector<std::string>{"shuffle_arm" + tail, "shuffle_intel" + tail})) << i;
    }
}

TEST_F(RgbShims, AShimThatAcceptsDoesTheUnit) {
    std::vector<unsigned char> source(24, 7), destination(32, 0);
    shims.intel_accepts = true;
    ccnvt_rgb24_rgba32_inplace(destination.data(), 16, source.data(), 12, 4, 2);
    EXPECT_EQ(destination, std::vector<unsigned char>(32, 0));
    EXPECT_EQ(shims.offers.size(), 4u);
    shims = ShimRecord{};
    shims.arm_accepts = true;
    unsigned int pixels[2] = {0x11223344, 0x55667788};
    rgba2argb(pixels, pixels, 2);
    EXPECT_EQ(pixels[0], 0x11223344u);
    EXPECT_EQ(shims.offers, std::vector<std::string>{"shuffle_arm 0 2 0"});
}

}  // namespace
