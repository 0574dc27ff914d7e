// Alpha operations as frame walks (2vuy by pixel pairs; the alpha plane's
// rows are width bytes whatever pitch is passed), and hand-worked bytes.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/alpha.h"
#include "support/frame_walk.h"
#include "support/test_support.h"

using namespace cconvert::test::walk;

namespace {

std::vector<Walk> operations() {
    using R = Rows;
    using P = Pixels;
    using G = Guard;
    return {
        {"alpha_to_rgba",
         [](void* d, long dp, void* s, long, long w, long h) { EXPECT_EQ(0, ccnvt_alpha_to_rgba(d, dp, s, 12345, w, h)); },
         1, 4, R::first_to_last, P::front_to_back, G::below_one,
         [](const unsigned char* in, unsigned char* out, long, long) { std::memset(out, in[0], 4); }, kTightSource},
        {"rgba_to_alpha",
         [](void* d, long, void* s, long sp, long w, long h) { EXPECT_EQ(0, ccnvt_rgba_to_alpha(d, -777, s, sp, w, h)); },
         4, 1, R::first_to_last, P::front_to_back, G::below_one,
         [](const unsigned char* in, unsigned char* out, long, long) { out[0] = in[0]; }, kTightDestination},
        {"rgba_addalpha",  // the low 8 bits of the alpha: 0x7F
         [](void* d, long dp, void* s, long sp, long w, long h) { EXPECT_EQ(0, ccnvt_rgba_addalpha(s, d, sp, dp, 0x17F, w, h)); },
         3, 4, R::last_to_first, P::back_to_front, G::below_one,
         [](const unsigned char* in, unsigned char* out, long, long) {
             std::memcpy(out, in, 3);
             out[3] = 0x7F;
         }},
        {"alphay_to_2yuv",
         [](void* d, long dp, void* s, long sp, long w, long h) {
             EXPECT_EQ(0, ccnvt_alphay_to_2yuv(d, dp, s, sp, w, static_cast<int>(h)));
         },
         2, 4, R::end_aligned_last_to_first, P::back_to_front, G::below_one,
         [](const unsigned char* in, unsigned char* out, long, long) {
             const unsigned char group[4] = {0x80, in[0], 0x80, in[1]};
             std::memcpy(out, group, 4);
         },
         0, 2},
        {"2yuv_to_alphay",
         [](void* d, long dp, void* s, long sp, long w, long h) { EXPECT_EQ(0, ccnvt_2yuv_to_alphay(d, dp, s, sp, w, h)); },
         4, 2, R::first_to_last, P::front_to_back, G::below_one,
         [](const unsigned char* in, unsigned char* out, long, long) {
             out[0] = in[1];
             out[1] = in[3];
         },
         0, 2},
        {"2yuv_strip_chroma",
         [](void* d, long dp, void* s, long sp, long w, long h) { EXPECT_EQ(0, ccnvt_2yuv_strip_chroma(d, dp, s, sp, w, h)); },
         4, 4, R::first_to_last, P::front_to_back, G::below_one,
         [](const unsigned char* in, unsigned char* out, long, long) {
             const unsigned char group[4] = {0x80, in[1], 0x80, in[3]};
             std::memcpy(out, group, 4);
         },
         0, 2},
    };
}

CCNVT_FRAME_WALK_SWEEPS(AlphaOperations, operations());

// One buffer: byte 3 of the first width pixels of every row, nothing else.
TEST_P(AlphaOperations, SetAlphaWritesByte3OfTheFirstWidthPixelsOnly) {
    const cconvert::test::ScopedCpuFeatures features(GetParam());
    std::vector<long> widths = {-3, 64, 65, 1921};
    for (long w = 0; w <= 40; ++w) widths.push_back(w);
    std::uint32_t seed = 2000;
    for (long w : widths)
        for (auto [h, pad] : {std::pair{2L, 0L}, {2L, 7L}, {-1L, 0L}, {0L, 0L}}) {
            const long pitch = 4 * std::max(w, 0L) + pad;
            auto frame = cconvert::test::random_bytes(pitch * std::max(h, 1L) + 64, seed++);
            auto expected = frame;
            for (long y = 0; y < h && w > 0; ++y)
                for (long x = 0; x < w; ++x) expected[y * pitch + 4 * x + 3] = 0xC3;
            EXPECT_EQ(0, ccnvt_rgba_setalpha(frame.data(), pitch, 0x1C3, w, h));
            ASSERT_EQ(frame, expected) << "width " << w << " height " << h << " pad " << pad;
        }
}

// Hand-worked bytes; the 2vuy pairs go to the ends of the rows.
TEST(AlphaBytes, EachOperation) {
    std::vector<unsigned char> pixels(8), key(1), group(12, 0xEE), keys(2);
    EXPECT_EQ(0, ccnvt_alpha_to_rgba(pixels.data(), 8, bytes_of({0x80, 0x01}).data(), 0, 2, 1));
    EXPECT_EQ(pixels, bytes_of({0x80, 0x80, 0x80, 0x80, 1, 1, 1, 1}));
    ccnvt_rgba_to_alpha(key.data(), 0, bytes_of({0x11, 0x22, 0x33, 0x44}).data(), 4, 1, 1);
    EXPECT_EQ(key, bytes_of({0x11}));
    ccnvt_rgba_addalpha(bytes_of({0x11, 0x22, 0x33}).data(), pixels.data(), 3, 4, 0x7F, 1, 1);
    EXPECT_EQ(pixels, bytes_of({0x11, 0x22, 0x33, 0x7F, 1, 1, 1, 1}));
    ccnvt_alphay_to_2yuv(group.data(), 12, bytes_of({9, 9, 1, 2, 3, 4}).data(), 6, 4, 1);
    EXPECT_EQ(group, bytes_of({0xEE, 0xEE, 0xEE, 0xEE, 0x80, 1, 0x80, 2, 0x80, 3, 0x80, 4}));
    ccnvt_2yuv_to_alphay(keys.data(), 2, bytes_of({0x33, 0x44, 0x55, 0x66}).data(), 4, 2, 1);
    EXPECT_EQ(keys, bytes_of({0x44, 0x66}));
    ccnvt_2yuv_strip_chroma(group.data(), 4, bytes_of({0x33, 0x44, 0x55, 0x66}).data(), 4, 2, 1);
    EXPECT_EQ(std::vector<unsigned char>(group.begin(), group.begin() + 4), bytes_of({0x80, 0x44, 0x80, 0x66}));
}

}  // namespace
