// The RGB converters offer each row, span or run to the _arm, then the _intel shim, and
// convert it only when both decline. This executable's shims record the offers.
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/rgb.h"

namespace {

struct ShimRecord {
    bool recording = false;  // only the tests of this file look at the offers
    std::string offers;      // "shim destination-source count extra...", ...
    bool arm_accepts = false, intel_accepts = false;
    const void* base = nullptr;  // offers without a source give offsets from here
};
ShimRecord shims;

// " v1 v2 ..."
std::string words(std::initializer_list<long> values) {
    std::string text;
    for (long value : values) (text += ' ') += std::to_string(value);
    return text;
}

int offer(bool intel, const char* what, const void* destination, const void* source, long count, long extra,
          const std::string& more = "") {
    if (shims.recording) {
        const long distance = static_cast<const unsigned char*>(destination) - static_cast<const unsigned char*>(source);
        if (!shims.offers.empty()) shims.offers += ',';
        ((shims.offers += what) += intel ? "_intel" : "_arm") += words({distance, count, extra}) + more;
    }
    return intel ? shims.intel_accepts : shims.arm_accepts;
}

}  // namespace

int cconvert_rgb2rgb_shuffle_arm(unsigned int* d, unsigned int* s, unsigned int n, cconvert_rgb2rgb_shuffle_op op) {
    return offer(false, "shuffle", d, s, n, op);
}
int cconvert_rgb2rgb_shuffle_intel(unsigned int* d, unsigned int* s, unsigned int n, cconvert_rgb2rgb_shuffle_op op) {
    return offer(true, "shuffle", d, s, n, op);
}
int cconvert_rgb24_to_rgba32_arm(void* d, void* s, long n, int order) { return offer(false, "widen", d, s, n, order); }
int cconvert_rgb24_to_rgba32_intel(void* d, void* s, long n, int order) { return offer(true, "widen", d, s, n, order); }
int cconvert_rgba32_to_bgr24_arm(void* d, void* s, long n) { return offer(false, "narrow", d, s, n, 0); }
int cconvert_rgba32_to_bgr24_intel(void* d, void* s, long n) { return offer(true, "narrow", d, s, n, 0); }
int cconvert_fill_dword_arm(void* d, unsigned int value, unsigned int n) {
    return offer(false, "fill", d, shims.base, n, value);
}
int cconvert_fill_dword_intel(void* d, unsigned int value, unsigned int n) {
    return offer(true, "fill", d, shims.base, n, value);
}
int cconvert_argb64_reorder_arm(void* d, void* s, long n, int so, int dor, unsigned int sb, unsigned int db) {
    return offer(false, "reorder", d, s, n, so, words({dor, sb, db}));
}
int cconvert_argb64_reorder_intel(void* d, void* s, long n, int so, int dor, unsigned int sb, unsigned int db) {
    return offer(true, "reorder", d, s, n, so, words({dor, sb, db}));
}

namespace {

class RgbShims : public ::testing::Test {
protected:
    void TearDown() override { shims = ShimRecord{}; }
    static std::string offers(const std::function<void()>& call, bool arm_accepts = false,
                              bool intel_accepts = false) {
        shims = ShimRecord{true, "", arm_accepts, intel_accepts, shims.base};
        call();
        return shims.offers;
    }
};

TEST_F(RgbShims, FramesOfferEveryRowWithItsOperationValue) {
    // In place, so the offers show each row's destination - source distance.
    std::vector<unsigned char> f(3 * 8, 1);
    unsigned char* p = f.data();
    EXPECT_EQ(offers([&] { ccnvt_rgb24_rgba32_inplace(p, 8, p, 6, 2, 3); }),  // last row first
              "widen_arm 4 2 0,widen_intel 4 2 0,widen_arm 2 2 0,widen_intel 2 2 0,widen_arm 0 2 0,widen_intel 0 2 0");
    EXPECT_EQ(f[3], 0xFF);
    EXPECT_EQ(offers([&] { ccnvt_rgb24_bgra32_inplace(p, 8, p, 6, 2, 1); }), "widen_arm 0 2 1,widen_intel 0 2 1");
    EXPECT_EQ(offers([&] { ccnvt_rgba32_argb32(p, 8, p, 8, 2, -2); }),
              "shuffle_arm 0 2 0,shuffle_intel 0 2 0,shuffle_arm 0 2 0,shuffle_intel 0 2 0");
    EXPECT_EQ(offers([&] { ccnvt_argb32_rgba32(p, 8, p, 8, 1, 1); }), "shuffle_arm 0 1 9,shuffle_intel 0 1 9");
    EXPECT_EQ(offers([&] { ccnvt_rgba32_bgr24_inplace(p, 8, p, 8, 2, 1); }), "narrow_arm 0 2 0,narrow_intel 0 2 0");
    // Converters that test only the height still offer rows of width 0 or below.
    const std::vector<unsigned char> before = f;
    EXPECT_EQ(offers([&] { ccnvt_rgba32_argb32(p, 4, p, 4, 0, 1); }), "shuffle_arm 0 0 0,shuffle_intel 0 0 0");
    EXPECT_EQ(offers([&] { ccnvt_rgba32_bgr24_inplace(p, 4, p, 4, -1, 1); }), "narrow_arm 0 -1 0,narrow_intel 0 -1 0");
    EXPECT_EQ(offers([&] { ccnvt_rgb24_rgba32_inplace(p, 4, p, 4, 0, 1); }), "");  // tests the width too
    EXPECT_EQ(f, before);
}

TEST_F(RgbShims, EverySpanReorderOffersItsRunWithItsOperationValue) {
    using SpanFn = void (*)(unsigned int*, const unsigned int*, unsigned int);
    const SpanFn reorders[] = {rgba2argb, argb2rgba, bgra2argb, argb2bgra, abgr2argb,   argb2abgr,
                               bgra2rgba, bgra2abgr, abgr2bgra, bgra2abgrMMX, abgr2bgraMMX};
    const int values[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 7, 8};
    unsigned int pixels[3] = {};
    for (int i = 0; i < 11; ++i) {
        const std::string tail = " 0 3 " + std::to_string(values[i]);
        EXPECT_EQ(offers([&] { reorders[i](pixels, pixels, 3); }), "shuffle_arm" + tail + ",shuffle_intel" + tail) << i;
    }
}

TEST_F(RgbShims, AShimThatAcceptsDoesTheUnit) {
    std::vector<unsigned char> frame(32, 7);
    unsigned char* p = frame.data();
    EXPECT_EQ(offers([&] { ccnvt_rgb24_rgba32_inplace(p, 16, p, 12, 4, 2); }, false, true),
              "widen_arm 4 4 0,widen_intel 4 4 0,widen_arm 0 4 0,widen_intel 0 4 0");
    EXPECT_EQ(frame, std::vector<unsigned char>(32, 7));
    unsigned int pixels[2] = {0x11223344, 0x55667788};
    EXPECT_EQ(offers([&] { rgba2argb(pixels, pixels, 2); }, true), "shuffle_arm 0 2 0");
    EXPECT_EQ(pixels[0], 0x11223344u);
}

TEST_F(RgbShims, TheReorderOffersItsWholeRunWithEveryArgument) {
    std::vector<unsigned short> words(4 * 12);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<unsigned short>(i);
    unsigned short* w = words.data();
    EXPECT_EQ(offers([&] { ccnvt_argb64_reorder(w, w + 4, 3, 2, 1, 2, 64, 48); }),
              "reorder_arm -8 6 1 2 64 48,reorder_intel -8 6 1 2 64 48");
    // Offered before the orders are looked at; an empty run is not.
    EXPECT_EQ(offers([&] {
                  ccnvt_argb64_reorder(w, w, 1, 1, 7, 9, 0, 0);
                  ccnvt_argb64_reorder(w, w, 0, 1, 0, 0, 64, 64);
              }),
              "reorder_arm 0 1 7 9 0 0,reorder_intel 0 1 7 9 0 0");
    const std::vector<unsigned short> before = words;
    EXPECT_EQ(offers([&] { ccnvt_argb64_reorder(w + 12, w, 3, 1, 3, 0, 64, 64); }, false, true),
              "reorder_arm 24 3 3 0 64 64,reorder_intel 24 3 3 0 64 64");
    EXPECT_EQ(words, before);  // the accepting shim did the run
}

TEST_F(RgbShims, Rle8Rgba32OffersEachEncodedRunAsAFillOfItsAlphaZeroColour) {
    // Palette entry 1 is 01 02 03 99: the fill value is 0x00030201 (197121).
    std::vector<unsigned char> palette = {0, 0, 0, 0, 1, 2, 3, 0x99};
    const unsigned char stream[] = {3, 1, 0, 3, 1, 1, 1, 0xEE, 0, 0, 2, 0, 0, 1};
    std::vector<unsigned char> frame(2 * 32, 0xEE), accepted = frame;
    shims.base = frame.data();
    EXPECT_EQ(offers([&] { ccnvt_rle8_rgba32(frame.data(), 32, stream, 0, 8, 2, palette.data()); }),
              "fill_arm 32 3 197121,fill_intel 32 3 197121,fill_arm 0 2 0,fill_intel 0 2 0");
    EXPECT_EQ(frame[32], 1);
    EXPECT_EQ(frame[35], 0);
    // An accepting shim does the fills; the absolute run is still written.
    shims.base = accepted.data();
    EXPECT_EQ(offers([&] { ccnvt_rle8_rgba32(accepted.data(), 32, stream, 0, 8, 2, palette.data()); }, true),
              "fill_arm 32 3 197121,fill_arm 0 2 0");
    EXPECT_EQ(accepted[32], 0xEE);
    EXPECT_EQ(accepted[32 + 12], 1);
    EXPECT_EQ(accepted[0], 0xEE);
}

}  // namespace
