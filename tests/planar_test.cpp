// Packed 4:2:2 to planar, semi-planar and 16-bit-container YCbCr against scalar
// models, under each kernel choice, on odd sizes and pitches, with guards.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/planar.h"
#include "yuv422_support.h"

using namespace cconvert::test;
using Bytes = std::vector<unsigned char>;

namespace {

std::uint32_t word16(const unsigned char* bytes, std::size_t index) { return bytes[2 * index] | bytes[2 * index + 1] << 8; }

struct PlanarKernels : ::testing::TestWithParam<unsigned int> {
    ScopedCpuFeatures features_{GetParam()};
};

// Planes at 0, w*h, w*h + (w*h)/4; per row, groups of 4 bytes while below the span;
// chroma of even rows, Cb written before Cr whichever plane comes first.
Bytes model_2vuy_planes(const unsigned char* source, std::uint32_t width, std::uint32_t height, std::uint32_t span,
                        bool cb_first, std::size_t size) {
    Bytes out(size, 0xEE);
    const std::uint32_t plane = width * height;
    std::size_t y = 0, c0 = plane, c1 = plane + (plane >> 2);
    for (std::uint32_t r = 0; r < height; ++r)
        for (std::uint32_t off = 0; off < span; off += 4) {
            const unsigned char* g = source + std::size_t{r} * span + off;
            out[y++] = g[1];
            out[y++] = g[3];
            if (r % 2 == 0) {
                out[(cb_first ? c0 : c1)++] = g[0];
                out[(cb_first ? c1 : c0)++] = g[2];
            }
        }
    return out;
}

TEST_P(PlanarKernels, TwoVuyToPlanesMatchesTheModel) {
    const unsigned char frame[16] = {0x10, 0x20, 0x30, 0x21, 0x11, 0x22, 0x31, 0x23,   // 4 x 2: chroma from row 0
                                     0x90, 0x40, 0xA0, 0x41, 0x91, 0x42, 0xA1, 0x43};
    GuardedBuffer hand(12, 0xEE);
    ccnvt_2vuy_yv12(hand.data(), frame, 4, 2, 0);
    EXPECT_EQ(hand.contents(), Bytes({0x20, 0x21, 0x22, 0x23, 0x40, 0x41, 0x42, 0x43, 0x30, 0x31, 0x10, 0x11}));
    for (std::uint32_t width : widths_to_test())
        for (std::uint32_t height : {1u, 3u})
            for (std::uint32_t pitch : {0u, 0xFFFFFFFFu, 2 * width + 6}) {  // both tight pitches, and a wider one
                const std::uint32_t span = (pitch == 0 || pitch == 0xFFFFFFFFu) ? 2 * width : pitch;
                GuardedBuffer source(std::size_t{span} * height + 4);  // the last group may run over
                source.fill_random(width * 7 + height);
                const std::size_t size = 2 * std::size_t{span} * height + 16;
                for (bool i420 : {true, false}) {
                    GuardedBuffer planes(size, 0xEE);
                    (i420 ? ccnvt_2vuy_i420 : ccnvt_2vuy_yv12)(planes.data(), source.data(), width, height, pitch);
                    ASSERT_EQ(planes.contents(), model_2vuy_planes(source.data(), width, height, span, i420, size))
                        << "width " << width << " height " << height << " pitch " << pitch;
                    ASSERT_TRUE(planes.guards_intact());
                }
            }
}

// Every plane starts at 0: row 0's chroma over its Y, row 1's Y over that (no vector kernels).
TEST_P(PlanarKernels, TwoVuyZeroWidthWithAPitchConvertsEveryRowAtOffsetZero) {
    GuardedBuffer source(2 * 64);
    source.fill_random(5);
    GuardedBuffer planes(256, 0xEE), untouched(256, 0xEE);
    ccnvt_2vuy_i420(planes.data(), source.data(), 0, 2, 64);
    EXPECT_EQ(planes.contents(), model_2vuy_planes(source.data(), 0, 2, 64, true, 256));
    ccnvt_2vuy_i420(untouched.data(), source.data(), 0, 2, 0);
    ccnvt_2vuy_i420(untouched.data(), source.data(), 4, 0, 8);
    EXPECT_EQ(untouched.contents(), Bytes(256, 0xEE));
}

// Chroma averages round half up; an odd height reads and writes one row more;
// chroma rows are (y_pitch - width) / 2 + pairs apart.
TEST_P(PlanarKernels, Yuy2ToYv12MatchesTheModelInEveryForm) {
    decltype(&YUY2toYV12) forms[] = {YUY2toYV12, YUY2toYV12_SSE2, yuyv_to_yv12_sse2};
    for (std::uint32_t w : widths_to_test()) {
        const int width = static_cast<int>(w), pairs = (width + 1) / 2;
        for (int height : {1, 2, 3}) {
            const int pitch_pixels = width + (width % 2) + 4, y_pitch = width + 3;
            const int rows = height + height % 2, chroma_pitch = ((y_pitch - width) >> 1) + pairs;
            GuardedBuffer source(std::size_t(rows) * 2 * pitch_pixels);
            source.fill_random(w + 31 * height);
            const std::size_t y_size = std::size_t(rows) * y_pitch, c_size = std::size_t(rows / 2) * (y_pitch / 2 + 2) + 2;
            Bytes y(y_size, 0xEE), cb(c_size, 0xEE), cr(c_size, 0xEE);
            for (int r = 0; r < height; r += 2) {
                const unsigned char* up = source.data() + std::size_t(r) * 2 * pitch_pixels;
                const unsigned char* low = up + 2 * pitch_pixels;
                for (int k = 0; k < pairs; ++k) {
                    for (int i : {0, 1}) {
                        y[r * y_pitch + 2 * k + i] = up[4 * k + 2 * i];
                        y[(r + 1) * y_pitch + 2 * k + i] = low[4 * k + 2 * i];
                    }
                    cb[r / 2 * chroma_pitch + k] = static_cast<unsigned char>((up[4 * k + 1] + low[4 * k + 1] + 1) / 2);
                    cr[r / 2 * chroma_pitch + k] = static_cast<unsigned char>((up[4 * k + 3] + low[4 * k + 3] + 1) / 2);
                }
            }
            GuardedBuffer out_y(y_size, 0xEE), out_cb(c_size, 0xEE), out_cr(c_size, 0xEE);
            forms[w % 3](source.data(), out_y.data(), out_cb.data(), out_cr.data(), width, height, pitch_pixels, y_pitch);
            ASSERT_TRUE(out_y.contents() == y && out_cb.contents() == cb && out_cr.contents() == cr)
                << "width " << width << " height " << height;
            ASSERT_TRUE(out_y.guards_intact() && out_cb.guards_intact() && out_cr.guards_intact());
        }
    }
}

// NV10 keeps each word's high byte; below width 2 NV12 returns width * height; NV10 returns 1 when AVX2
// (even widths) did it. v210: whole pairs of up to 12 pixels, three samples a word, the last word partial.
TEST_P(PlanarKernels, SemiPlanarFramesMatchTheModel) {
    for (std::uint32_t width : widths_to_test())
        for (std::uint32_t height : {1u, 3u}) {
            const std::size_t samples = std::size_t{width} * height + std::size_t{width} * ((height + 1) / 2);
            GuardedBuffer nv12(samples + 16), nv10(2 * samples);  // the rest's words may read past a line
            nv12.fill_random(width + height);
            nv10.fill_random(width * 5 + height);
            const auto* words = reinterpret_cast<const unsigned short*>(nv10.data());
            // Sample s (Cb Y0 Cr Y1 of pair s / 4) of row r from pixel x on.
            auto at = [&](auto* frame, std::uint32_t r, std::uint32_t x, std::uint32_t s) {
                const std::size_t row = s % 2 ? std::size_t{r} * width : std::size_t{width} * height + r / 2 * width;
                return frame[row + x + 2 * (s / 4) + s % 4 / 2];
            };
            const std::uint32_t pitch = 2 * width + 8, v210_pitch = 32 * ((width + 11) / 12) + 16;
            Bytes uyvy8(std::size_t{pitch} * height, 0xEE), uyvy10(uyvy8), v210(std::size_t{v210_pitch} * height, 0xEE);
            for (std::uint32_t r = 0; r < height; ++r) {
                for (std::uint32_t i = 0; i < 4 * (width / 2); ++i) {
                    uyvy8[r * pitch + i] = at(nv12.data(), r, 0, i);
                    uyvy10[r * pitch + i] = at(words, r, 0, i) >> 8;
                }
                for (std::uint32_t x = 0; x < width; x += 12)
                    for (std::uint32_t w = 0; w < (4 * (std::min(width - x, 12u) / 2) + 2) / 3; ++w)
                        store32(&v210[r * v210_pitch + x / 6 * 16], w,
                                v210_word(4 * at(nv12.data(), r, x, 3 * w), 4 * at(nv12.data(), r, x, 3 * w + 1),
                                          4 * at(nv12.data(), r, x, 3 * w + 2)));
            }
            GuardedBuffer out8(uyvy8.size(), 0xEE), out10(uyvy8.size(), 0xEE), out_v210(v210.size(), 0xEE);
            EXPECT_EQ(cycbcr_NV12_to_uyvy(out8.data(), nv12.data(), width, height, pitch), width < 2 ? width * height : 0);
            EXPECT_EQ(cycbcr_NV10_to_uyvy(out10.data(), words, width, height, pitch),
                      (GetParam() & 0x800000) && width % 2 == 0 ? 1u : 0u);
            cycbcr_NV12_to_v210(out_v210.data(), nv12.data(), width, height, v210_pitch);
            ASSERT_EQ(out8.contents(), uyvy8) << "NV12 width " << width << " height " << height;
            ASSERT_EQ(out10.contents(), uyvy10) << "NV10 width " << width << " height " << height;
            ASSERT_EQ(out_v210.contents(), v210) << "v210 width " << width << " height " << height;
            ASSERT_TRUE(out8.guards_intact() && out10.guards_intact() && out_v210.guards_intact());
        }
}

// Six pixels: luma words, Cb plane at word 6, Cr 6 / 4 = 1 word after; top 10 bits kept.
TEST(Nv10, ToV210WorkedByHand) {
    const unsigned short planes[12] = {0xFFC0, 0x0100, 0x0140, 0x0180, 0x01C0, 0x0200, 0x8000, 0x1000, 0x0040, 0x0080};
    GuardedBuffer out(64, 0xEE);
    EXPECT_EQ(cycbcr_NV10_to_v210(out.data(), planes, 6, 1, 16), 1u);  // the height
    const std::uint32_t words[4] = {v210_word(0x200, 0x3FF, 0x040), v210_word(4, 0x040, 5), v210_word(1, 6, 1),
                                    v210_word(7, 2, 8)};
    EXPECT_EQ(0, std::memcmp(out.data(), words, 16));
    // Whole groups only (pixels 6-9 of 10 unwritten); below 6 pixels, width * height returned.
    const std::vector<unsigned short> frame(30, 0x4000);
    GuardedBuffer ten(64, 0xEE);
    EXPECT_EQ(cycbcr_NV10_to_v210(ten.data(), frame.data(), 10, 2, 32), 2u);
    EXPECT_EQ(Bytes(ten.data() + 16, ten.data() + 32), Bytes(16, 0xEE));
    EXPECT_EQ(Bytes(ten.data() + 48, ten.data() + 64), Bytes(16, 0xEE));
    EXPECT_EQ(cycbcr_NV10_to_v210(out.data(), planes, 5, 3, 32), 15u);
    EXPECT_EQ(cycbcr_NV10_to_v210(out.data(), planes, 12, 0, 32), 0u);
    EXPECT_TRUE(out.guards_intact() && ten.guards_intact());
}

TEST_P(PlanarKernels, Planar420ToNv12p16ShiftsAndInterleaves) {
    const struct {
        void (*convert)(unsigned short*, const unsigned short*, unsigned int);
        unsigned shift;
    } members[] = {{cycbcr_420p10_to_NV12p16, 6}, {cycbcr_420p12_to_NV12p16, 4}, {cycbcr_420p16_to_NV12p16, 0}};
    for (const auto& member : members)
        for (std::uint32_t luma : {4u, 16u, 64u, 100u, 1024u, 8100u}) {
            const std::uint32_t chroma = luma / 4;
            std::vector<unsigned short> source(luma + 2 * chroma);
            fill_random(reinterpret_cast<unsigned char*>(source.data()), 2 * source.size(), luma);
            std::vector<unsigned short> destination(source.size() + 8, 0xEEEE), expected(destination);
            member.convert(destination.data(), source.data(), luma * 3);
            auto shifted = [&](std::uint32_t i) { return static_cast<unsigned short>(source[i] << member.shift); };
            for (std::uint32_t i = 0; i < luma; ++i) expected[i] = shifted(i);
            for (std::uint32_t i = 0; i < chroma; ++i) {
                expected[luma + 2 * i] = shifted(luma + i);
                expected[luma + 2 * i + 1] = shifted(luma + chroma + i);
            }
            ASSERT_EQ(destination, expected) << "shift " << member.shift << " luma " << luma;
        }
    unsigned short twelve_bit[3] = {0x0FFF, 0x0FFF, 0x0FFF}, out[3] = {};
    cycbcr_420p12_to_NV12p16(out, twelve_bit, 3);  // one luma sample, no chroma
    EXPECT_EQ(out[0], 0xFFF0);
}

// v210 words (a >> 6) | b << 4 | c << 14 of Cb0 Y0 Cr0 | Y1 Cb2 Y2 ... (low bits spill into the field
// below); samples past the width 0, only words with one inside written. 2vuy: the high bytes.
TEST_P(PlanarKernels, Y210ToV210AndUyvyMatchTheModel) {
    for (std::uint32_t width : widths_to_test()) {
        const std::uint32_t height = 3, source_pitch = 4 * width + 6;
        const std::uint32_t v210_pitch = 16 * ((width + 5) / 6) + 8, uyvy_pitch = 2 * width + 3;
        GuardedBuffer source(std::size_t{source_pitch} * height);
        source.fill_random(width);
        GuardedBuffer v210(std::size_t{v210_pitch} * height, 0xEE), uyvy(std::size_t{uyvy_pitch} * height, 0xEE);
        ccnvt_Y210_to_v210(v210.data(), source.data(), v210_pitch, source_pitch, width, height);
        ccnvt_Y210_to_uyvy(uyvy.data(), source.data(), uyvy_pitch, source_pitch, width, height);
        Bytes expected_v210(v210.size(), 0xEE), expected_uyvy(uyvy.size(), 0xEE);
        for (std::uint32_t r = 0; r < height; ++r) {
            const unsigned char* y210 = source.data() + r * source_pitch;
            auto stream = [&](std::uint32_t s) -> std::uint32_t {
                const std::uint32_t order[4] = {1, 0, 3, 2};  // Cb Y0 Cr Y1 from Y0 Cb Y1 Cr
                return s < 2 * width ? word16(y210, 4 * (s / 4) + order[s % 4]) : 0;
            };
            for (std::uint32_t w = 0; 3 * w < 2 * width; ++w)
                store32(expected_v210.data() + r * v210_pitch, w,
                        (stream(3 * w) >> 6) | stream(3 * w + 1) << 4 | stream(3 * w + 2) << 14);
            for (std::uint32_t i = 0; i < 2 * width; ++i) expected_uyvy[r * uyvy_pitch + i] = y210[2 * i + 1];
        }
        ASSERT_TRUE(v210.contents() == expected_v210 && uyvy.contents() == expected_uyvy) << "width " << width;
        ASSERT_TRUE(v210.guards_intact() && uyvy.guards_intact());
    }
    GuardedBuffer source(16), out(8, 0xEE);
    ccnvt_Y210_to_uyvy(out.data(), source.data(), 8, 16, 0, 1);
    ccnvt_Y210_to_uyvy(out.data(), source.data(), 8, 16, 4, 0);
    EXPECT_EQ(out.contents(), Bytes(8, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, PlanarKernels, ::testing::ValuesIn(kernel_choices()),
                         [](const auto& info) { return feature_word_name(info.param); });

}  // namespace
