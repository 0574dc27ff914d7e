// The RGB converters offer each row, span or run to the _arm shim, then to
// the _intel shim, and convert it themselves only when both decline. This
// executable defines the shim pairs they use, so the dynamic linker routes
// the library's calls here; while a test of this file runs they record each
// offer, and they decline unless the test tells them to accept.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"

namespace {

struct ShimRecord {
    bool recording = false;  // only the tests of this file look at the offers
    std::vector<std::string> offers;
    bool arm_accepts = false, intel_accepts = false;
    const void* base = nullptr;  // offers without a source give offsets from here
};
ShimRecord shims;

std::string offer(const char* shim, const void* destination, const void* source, long count, long extra) {
    return std::string(shim) + " " + std::to_string(static_cast<const unsigned char*>(destination) -
                                                    static_cast<const unsigned char*>(source)) +
           " " + std::to_string(count) + " " + std::to_string(extra);
}

int record(int accepts, const std::string& what) {
    if (shims.recording) shims.offers.push_back(what);
    return accepts;
}

}  // namespace

int cconvert_rgb2rgb_shuffle_arm(unsigned int* destination, unsigned int* source, unsigned int pixels,
                                 cconvert_rgb2rgb_shuffle_op op) {
    return record(shims.arm_accepts, offer("shuffle_arm", destination, source, pixels, op));
}
int cconvert_rgb2rgb_shuffle_intel(unsigned int* destination, unsigned int* source, unsigned int pixels,
                                   cconvert_rgb2rgb_shuffle_op op) {
    return record(shims.intel_accepts, offer("shuffle_intel", destination, source, pixels, op));
}
int cconvert_rgb24_to_rgba32_arm(void* destination, void* source, long pixels, int order) {
    return record(shims.arm_accepts, offer("widen_arm", destination, source, pixels, order));
}
int cconvert_rgb24_to_rgba32_intel(void* destination, void* source, long pixels, int order) {
    return record(shims.intel_accepts, offer("widen_intel", destination, source, pixels, order));
}
int cconvert_rgba32_to_bgr24_arm(void* destination, void* source, long pixels) {
    return record(shims.arm_accepts, offer("narrow_arm", destination, source, pixels, 0));
}
int cconvert_rgba32_to_bgr24_intel(void* destination, void* source, long pixels) {
    return record(shims.intel_accepts, offer("narrow_intel", destination, source, pixels, 0));
}
int cconvert_fill_dword_arm(void* destination, unsigned int value, unsigned int count) {
    return record(shims.arm_accepts, offer("fill_arm", destination, shims.base, count, value));
}
int cconvert_fill_dword_intel(void* destination, unsigned int value, unsigned int count) {
    return record(shims.intel_accepts, offer("fill_intel", destination, shims.base, count, value));
}
static std::string reorder_offer(const char* shim, void* destination, void* source, long count, int source_order,
                                 int destination_order, unsigned int source_bits, unsigned int destination_bits) {
    return offer(shim, destination, source, count, source_order) + " " + std::to_string(destination_order) + " " +
           std::to_string(source_bits) + " " + std::to_string(destination_bits);
}
int cconvert_argb64_reorder_arm(void* destination, void* source, long count, int source_order,
                                int destination_order, unsigned int source_bits, unsigned int destination_bits) {
    return record(shims.arm_accepts, reorder_offer("reorder_arm", destination, source, count, source_order,
                                                   destination_order, source_bits, destination_bits));
}
int cconvert_argb64_reorder_intel(void* destination, void* source, long count, int source_order,
                                  int destination_order, unsigned int source_bits, unsigned int destination_bits) {
    return record(shims.intel_accepts, reorder_offer("reorder_intel", destination, source, count, source_order,
                                                     destination_order, source_bits, destination_bits));
}

namespace {

class RgbShims : public ::testing::Test {
protected:
    void SetUp() override { start(); }
    void TearDown() override { shims = ShimRecord{}; }
    static void start() {
        shims = ShimRecord{};
        shims.recording = true;
    }
};

TEST_F(RgbShims, EveryRowOfTheWideningsGoesToArmThenIntelThenTheConverter) {
    // In place, so the offers show each row's destination - source distance.
    std::vector<unsigned char> frame(3 * 8, 1);
    ccnvt_rgb24_rgba32_inplace(frame.data(), 8, frame.data(), 6, 2, 3);
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"widen_arm 4 2 0", "widen_intel 4 2 0", "widen_arm 2 2 0",
                                                       "widen_intel 2 2 0", "widen_arm 0 2 0", "widen_intel 0 2 0"}));
    EXPECT_EQ(frame[3], 0xFF);
    start();
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
        start();
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
    start();
    shims.arm_accepts = true;
    unsigned int pixels[2] = {0x11223344, 0x55667788};
    rgba2argb(pixels, pixels, 2);
    EXPECT_EQ(pixels[0], 0x11223344u);
    EXPECT_EQ(shims.offers, std::vector<std::string>{"shuffle_arm 0 2 0"});
}

TEST_F(RgbShims, TheReorderOffersItsWholeRunWithEveryArgument) {
    std::vector<unsigned short> words(4 * 12, 0x1234), before = words;
    ccnvt_argb64_reorder(words.data(), words.data() + 4, 3, 2, 1, 2, 64, 48);
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"reorder_arm -8 6 1 2 64 48", "reorder_intel -8 6 1 2 64 48"}));
    // Offered before the orders are looked at; an empty run is not offered.
    start();
    ccnvt_argb64_reorder(words.data(), words.data(), 1, 1, 7, 9, 0, 0);
    ccnvt_argb64_reorder(words.data(), words.data(), 0, 1, 0, 0, 64, 64);
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"reorder_arm 0 1 7 9 0 0", "reorder_intel 0 1 7 9 0 0"}));
    // A shim that accepts does the run.
    start();
    shims.intel_accepts = true;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<unsigned short>(i);
    before = words;
    ccnvt_argb64_reorder(words.data() + 12, words.data(), 3, 1, 3, 0, 64, 64);
    EXPECT_EQ(words, before);
    EXPECT_EQ(shims.offers.size(), 2u);
}

TEST_F(RgbShims, Rle8Rgba32OffersEachEncodedRunAsAFillOfItsAlphaZeroColour) {
    // Palette entry 1 is 01 02 03 99: the fill value is 0x00030201.
    std::vector<unsigned char> palette(8, 0);
    palette[4] = 1, palette[5] = 2, palette[6] = 3, palette[7] = 0x99;
    const unsigned char stream[] = {3, 1, 0, 3, 1, 1, 1, 0xEE, 0, 0, 2, 0, 0, 1};
    std::vector<unsigned char> frame(2 * 32, 0xEE);
    shims.base = frame.data();
    ccnvt_rle8_rgba32(frame.data(), 32, stream, 0, 8, 2, palette.data());
    EXPECT_EQ(shims.offers, (std::vector<std::string>{"fill_arm 32 3 197121", "fill_intel 32 3 197121",
                                                       "fill_arm 0 2 0", "fill_intel 0 2 0"}));
    EXPECT_EQ(frame[32], 1);
    EXPECT_EQ(frame[35], 0);
    // A shim that accepts does the run: the absolute run is written, the fills are not.
    start();
    shims.arm_accepts = true;
    std::vector<unsigned char> accepted(2 * 32, 0xEE);
    ccnvt_rle8_rgba32(accepted.data(), 32, stream, 0, 8, 2, palette.data());
    EXPECT_EQ(shims.offers.size(), 2u);
    EXPECT_EQ(accepted[32], 0xEE);
    EXPECT_EQ(accepted[32 + 12], 1);
    EXPECT_EQ(accepted[0], 0xEE);
}

}  // namespace
