// Packed 4:2:2 to planar 4:2:0, semi-planar and 16-bit-container YCbCr:
// every converter against a scalar model written here, under every feature
// word, with guard bytes.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/planar.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;

namespace {

std::uint32_t word16(const unsigned char* bytes, std::size_t index) {
    return bytes[2 * index] | bytes[2 * index + 1] << 8;
}

void put32(std::vector<unsigned char>& out, std::size_t offset, std::uint32_t word) {
    std::memcpy(out.data() + offset, &word, 4);
}

std::vector<std::uint32_t> some_widths() {
    std::vector<std::uint32_t> widths;
    for (std::uint32_t w = 1; w <= 70; ++w) widths.push_back(w);
    for (std::uint32_t w : {95u, 96u, 97u, 128u, 130u, 1920u}) widths.push_back(w);
    return widths;
}

// Checks that every byte outside the written ranges kept its fill.
class PlanarKernels : public ::testing::TestWithParam<unsigned int> {};

}  // namespace

// ---- 2vuy to I420 / YV12 ----

namespace {
// Model: planes at 0, w*h, w*h + (w*h)/4; per row, groups of 4 bytes while
// the offset is below the span; Y from bytes 1 and 3; chroma of even rows.
std::vector<unsigned char> model_2vuy_planes(const unsigned char* source, std::uint32_t width,
                                             std::uint32_t height, std::uint32_t span, bool cb_first,
                                             std::size_t size, unsigned char fill) {
    std::vector<unsigned char> out(size, fill);
    const std::uint32_t plane = width * height;
    std::size_t y = 0, c0 = plane, c1 = plane + (plane >> 2);
    for (std::uint32_t r = 0; r < height; ++r) {
        for (std::uint32_t off = 0; off < span; off += 4) {
            const unsigned char* g = source + std::size_t{r} * span + off;
            out[y++] = g[1];
            out[y++] = g[3];
            if (r % 2 == 0) {  // Cb is written before Cr, whichever plane comes first
                std::size_t& cb = cb_first ? c0 : c1;
                std::size_t& cr = cb_first ? c1 : c0;
                out[cb++] = g[0];
                out[cr++] = g[2];
            }
        }
    }
    return out;
}
}  // namespace

TEST(TwoVuyPlanar, FourByTwoTakesChromaFromRowZero) {
    const unsigned char frame[16] = {0x10, 0x20, 0x30, 0x21, 0x11, 0x22, 0x31, 0x23,   // row 0
                                     0x90, 0x40, 0xA0, 0x41, 0x91, 0x42, 0xA1, 0x43};  // row 1
    GuardedBuffer planes(12, 0xEE);
    ccnvt_2vuy_i420(planes.data(), frame, 4, 2, 0);
    const std::vector<unsigned char> expected = {0x20, 0x21, 0x22, 0x23, 0x40, 0x41, 0x42, 0x43,
                                                 0x10, 0x11, 0x30, 0x31};
    EXPECT_EQ(planes.contents(), expected);
    ccnvt_2vuy_yv12(planes.data(), frame, 4, 2, 0);
    const std::vector<unsigned char> swapped = {0x20, 0x21, 0x22, 0x23, 0x40, 0x41, 0x42, 0x43,
                                                0x30, 0x31, 0x10, 0x11};
    EXPECT_EQ(planes.contents(), swapped);
    EXPECT_TRUE(planes.guards_intact());
}

TEST_P(PlanarKernels, TwoVuyToPlanesMatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : some_widths()) {
        for (std::uint32_t height : {1u, 2u, 5u}) {
            for (std::uint32_t pitch : {0u, 0xFFFFFFFFu, 2 * width + 6}) {
                const std::uint32_t span = (pitch == 0 || pitch == 0xFFFFFFFFu) ? 2 * width : pitch;
                GuardedBuffer source(std::size_t{span} * height + 4);  // the last group may run over
                source.fill_random(width * 7 + height);
                const std::size_t size = 2 * std::size_t{span} * height + 16;
                for (bool i420 : {true, false}) {
                    GuardedBuffer planes(size, 0xEE);
                    (i420 ? ccnvt_2vuy_i420 : ccnvt_2vuy_yv12)(planes.data(), source.data(), width, height, pitch);
                    ASSERT_EQ(planes.contents(), model_2vuy_planes(source.data(), width, height, span,
                                                                   i420, size, 0xEE))
                        << "width " << width << " height " << height << " pitch " << pitch;
                    ASSERT_TRUE(planes.guards_intact());
                }
            }
        }
    }
}

TEST(TwoVuyPlanar, ZeroWidthWithAPitchStillConvertsEveryRowAtOffsetZero) {
    GuardedBuffer source(2 * 8);
    source.fill_random(5);
    GuardedBuffer planes(32, 0xEE);
    ccnvt_2vuy_i420(planes.data(), source.data(), 0, 2, 8);
    // Every plane starts at 0: the chroma of row 0 lands over its Y, then row 1's Y over that.
    EXPECT_EQ(planes.contents(), model_2vuy_planes(source.data(), 0, 2, 8, true, 32, 0xEE));
    GuardedBuffer untouched(32, 0xEE);
    ccnvt_2vuy_i420(untouched.data(), source.data(), 0, 2, 0);
    ccnvt_2vuy_i420(untouched.data(), source.data(), 4, 0, 8);
    EXPECT_EQ(untouched.contents(), std::vector<unsigned char>(32, 0xEE));
}

// ---- YUY2toYV12 ----

namespace {
struct Planes {
    std::vector<unsigned char> y, cb, cr;
};

Planes model_yuy2(const unsigned char* source, int width, int height, int pitch_pixels, int y_pitch,
                  std::size_t y_size, std::size_t c_size) {
    Planes p{std::vector<unsigned char>(y_size, 0xEE), std::vector<unsigned char>(c_size, 0xEE),
             std::vector<unsigned char>(c_size, 0xEE)};
    const int pairs = (width + 1) / 2;
    const int chroma_pitch = ((y_pitch - width) >> 1) + pairs;
    for (int r = 0; r < height; r += 2) {
        const unsigned char* up = source + std::size_t(r) * 2 * pitch_pixels;
        const unsigned char* low = up + 2 * pitch_pixels;
        for (int k = 0; k < pairs; ++k) {
            p.y[r * y_pitch + 2 * k] = up[4 * k];
            p.y[r * y_pitch + 2 * k + 1] = up[4 * k + 2];
            p.y[(r + 1) * y_pitch + 2 * k] = low[4 * k];
            p.y[(r + 1) * y_pitch + 2 * k + 1] = low[4 * k + 2];
            p.cb[r / 2 * chroma_pitch + k] = static_cast<unsigned char>((up[4 * k + 1] + low[4 * k + 1] + 1) / 2);
            p.cr[r / 2 * chroma_pitch + k] = static_cast<unsigned char>((up[4 * k + 3] + low[4 * k + 3] + 1) / 2);
        }
    }
    return p;
}
}  // namespace

TEST(Yuy2ToYv12, AveragesRoundHalfUp) {
    // Upper chroma 10 and 13 below: (10 + 13 + 1) >> 1 = 12.
    unsigned char source[8] = {1, 10, 2, 20, 3, 13, 4, 21};
    unsigned char y[4] = {}, cb = 0, cr = 0;
    YUY2toYV12(source, y, &cb, &cr, 2, 2, 2, 2);
    EXPECT_EQ(cb, 12);
    EXPECT_EQ(cr, 21);  // (20 + 21 + 1) >> 1
    EXPECT_EQ(std::vector<unsigned char>(y, y + 4), (std::vector<unsigned char>{1, 2, 3, 4}));
}

TEST_P(PlanarKernels, Yuy2ToYv12MatchesTheModelInEveryForm) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t w : some_widths()) {
        const int width = static_cast<int>(w);
        for (int height : {1, 2, 3, 6}) {
            const int pitch_pixels = width + (width % 2) + 4;  // source rows of 2 * this many bytes
            const int y_pitch = width + 3;
            const int rows = height + height % 2;  // an odd height reads and writes one row more
            GuardedBuffer source(std::size_t(rows) * 2 * pitch_pixels);
            source.fill_random(w + 31 * height);
            const std::size_t y_size = std::size_t(rows) * y_pitch;
            const std::size_t c_size = std::size_t(rows / 2) * (y_pitch / 2 + 2) + 2;
            const Planes expected = model_yuy2(source.data(), width, height, pitch_pixels, y_pitch, y_size, c_size);
            for (auto convert : {YUY2toYV12, YUY2toYV12_SSE2, yuyv_to_yv12_sse2}) {
                GuardedBuffer y(y_size, 0xEE), cb(c_size, 0xEE), cr(c_size, 0xEE);
                convert(source.data(), y.data(), cb.data(), cr.data(), width, height, pitch_pixels, y_pitch);
                ASSERT_EQ(y.contents(), expected.y) << "width " << width << " height " << height;
                ASSERT_EQ(cb.contents(), expected.cb) << "width " << width << " height " << height;
                ASSERT_EQ(cr.contents(), expected.cr) << "width " << width << " height " << height;
                ASSERT_TRUE(y.guards_intact() && cb.guards_intact() && cr.guards_intact());
            }
        }
    }
}

TEST(Yuy2ToYv12, HeightThreeWritesYRowsZeroToThree) {
    GuardedBuffer source(4 * 8), y(4 * 4 + 4, 0xEE), cb(4, 0xEE), cr(4, 0xEE);
    source.fill_random(3);
    YUY2toYV12(source.data(), y.data(), cb.data(), cr.data(), 4, 3, 4, 4);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(y[i], source[2 * i]) << i;
    for (int i = 16; i < 20; ++i) EXPECT_EQ(y[i], 0xEE) << i;
    EXPECT_TRUE(y.guards_intact());
}

// ---- NV12 ----

TEST_P(PlanarKernels, Nv12ToUyvyMatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : some_widths()) {
        for (std::uint32_t height : {1u, 2u, 3u, 4u}) {
            const std::size_t frame = std::size_t{width} * height + std::size_t{width} * ((height + 1) / 2);
            GuardedBuffer source(frame);
            source.fill_random(width + height);
            const std::uint32_t pitch = 2 * width + 8;
            GuardedBuffer uyvy(std::size_t{pitch} * height, 0xEE);
            const unsigned int result = cycbcr_NV12_to_uyvy(uyvy.data(), source.data(), width, height, pitch);
            std::vector<unsigned char> expected(uyvy.size(), 0xEE);
            for (std::uint32_t r = 0; r < height && width >= 2; ++r)
                for (std::uint32_t i = 0; i < width / 2; ++i) {
                    const unsigned char* luma = source.data() + std::size_t{r} * width;
                    const unsigned char* chroma = source.data() + std::size_t{width} * height + std::size_t{r / 2} * width;
                    unsigned char* pair = expected.data() + std::size_t{r} * pitch + 4 * i;
                    pair[0] = chroma[2 * i], pair[1] = luma[2 * i], pair[2] = chroma[2 * i + 1], pair[3] = luma[2 * i + 1];
                }
            ASSERT_EQ(uyvy.contents(), expected) << "width " << width << " height " << height;
            ASSERT_TRUE(uyvy.guards_intact());
            if (width < 2) {
                ASSERT_EQ(result, width * height);
            }
        }
    }
}

TEST(Nv12, BothLinesOfA4x2FrameShareTheChromaRow) {
    const unsigned char nv12[12] = {1, 2, 3, 4, 5, 6, 7, 8, 0x80, 0x90, 0xA0, 0xB0};
    unsigned char uyvy[16];
    cycbcr_NV12_to_uyvy(uyvy, nv12, 4, 2, 8);
    const unsigned char expected[16] = {0x80, 1, 0x90, 2, 0xA0, 3, 0xB0, 4,
                                        0x80, 5, 0x90, 6, 0xA0, 7, 0xB0, 8};
    EXPECT_EQ(0, std::memcmp(uyvy, expected, 16));
    EXPECT_EQ(cycbcr_NV12_to_uyvy(uyvy, nv12, 1, 7, 8), 7u);
    EXPECT_EQ(cycbcr_NV12_to_uyvy(uyvy, nv12, 9, 0, 8), 0u);
}

namespace {
// v210 words 0-7 of a twelve-pixel NV12 block starting at pixel x of line r,
// values * 4, samples read from memory wherever the indices reach.
std::uint32_t nv12_block_word(const unsigned char* luma, const unsigned char* chroma, std::uint32_t word) {
    auto sample = [&](std::uint32_t s) -> std::uint32_t {
        const std::uint32_t pair = s / 4, slot = s % 4;
        const unsigned char v = slot == 0 ? chroma[2 * pair] : slot == 1 ? luma[2 * pair]
                              : slot == 2 ? chroma[2 * pair + 1] : luma[2 * pair + 1];
        return v * 4u;
    };
    return sample(3 * word) | sample(3 * word + 1) << 10 | sample(3 * word + 2) << 20;
}
}  // namespace

TEST_P(PlanarKernels, Nv12ToV210MatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : some_widths()) {
        for (std::uint32_t height : {1u, 2u, 3u}) {
            // The rest's words read up to a block past a line: pad the frame.
            const std::size_t frame = std::size_t{width} * height + std::size_t{width} * ((height + 1) / 2) + 16;
            GuardedBuffer source(frame);
            source.fill_random(width * 3 + height);
            const std::uint32_t pitch = 16 * ((width + 11) / 12) * 2 + 16;
            GuardedBuffer v210(std::size_t{pitch} * height, 0xEE);
            cycbcr_NV12_to_v210(v210.data(), source.data(), width, height, pitch);
            std::vector<unsigned char> expected(v210.size(), 0xEE);
            constexpr std::uint32_t kRestWords[12] = {0, 0, 2, 2, 3, 3, 4, 4, 6, 6, 7, 7};
            for (std::uint32_t r = 0; r < height; ++r) {
                const unsigned char* luma = source.data() + std::size_t{r} * width;
                const unsigned char* chroma = source.data() + std::size_t{width} * height + std::size_t{r / 2} * width;
                for (std::uint32_t x = 0; x < width; x += 12) {
                    const std::uint32_t words = width - x >= 12 ? 8 : kRestWords[width - x];
                    for (std::uint32_t w = 0; w < words; ++w)
                        put32(expected, std::size_t{r} * pitch + x / 6 * 16 + 4 * w,
                              nv12_block_word(luma + x, chroma + x, w));
                }
            }
            ASSERT_EQ(v210.contents(), expected) << "width " << width << " height " << height;
            ASSERT_TRUE(v210.guards_intact());
        }
    }
}

// ---- NV10 ----

TEST_P(PlanarKernels, Nv10ToUyvyMatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : some_widths()) {
        for (std::uint32_t height : {1u, 2u, 3u}) {
            std::vector<unsigned short> source(std::size_t{width} * height + std::size_t{width} * ((height + 1) / 2));
            cconvert::test::fill_random(reinterpret_cast<unsigned char*>(source.data()), 2 * source.size(), width);
            const std::uint32_t pitch = 2 * width + 4;
            GuardedBuffer uyvy(std::size_t{pitch} * height, 0xEE);
            const unsigned int result = cycbcr_NV10_to_uyvy(uyvy.data(), source.data(), width, height, pitch);
            std::vector<unsigned char> expected(uyvy.size(), 0xEE);
            for (std::uint32_t r = 0; r < height; ++r)
                for (std::uint32_t i = 0; i < width / 2; ++i) {
                    const unsigned short* luma = source.data() + std::size_t{r} * width;
                    const unsigned short* chroma = source.data() + std::size_t{width} * height + std::size_t{r / 2} * width;
                    unsigned char* pair = expected.data() + std::size_t{r} * pitch + 4 * i;
                    pair[0] = chroma[2 * i] >> 8, pair[1] = luma[2 * i] >> 8;
                    pair[2] = chroma[2 * i + 1] >> 8, pair[3] = luma[2 * i + 1] >> 8;
                }
            ASSERT_EQ(uyvy.contents(), expected) << "width " << width << " height " << height;
            ASSERT_TRUE(uyvy.guards_intact());
            const bool vector = (GetParam() & 0x800000) && width >= 2 && width % 2 == 0;
            ASSERT_EQ(result, vector ? 1u : 0u) << "width " << width;
        }
    }
}

TEST(Nv10, KnownWordsToBothFormats) {
    // Luma 0xFFC0 then 0x0100; chroma 0x8000 0x4000.
    const unsigned short nv10_interleaved[4] = {0xFFC0, 0x0100, 0x8000, 0x4000};
    unsigned char uyvy[4];
    cycbcr_NV10_to_uyvy(uyvy, nv10_interleaved, 2, 1, 4);
    EXPECT_EQ(uyvy[1], 0xFF);
    EXPECT_EQ(uyvy[3], 0x01);
    EXPECT_EQ(uyvy[0], 0x80);
    EXPECT_EQ(uyvy[2], 0x40);

    // Six pixels, one line: luma 0xFFC0, 0x0100, ...; the Cb plane at word 6,
    // the Cr plane 6 * 1 / 4 = 1 word after it.
    std::vector<unsigned short> planes = {0xFFC0, 0x0100, 0, 0, 0, 0, 0x8000, 0x1000, 0x0040, 0, 0, 0};
    unsigned char v210[16];
    EXPECT_EQ(cycbcr_NV10_to_v210(v210, planes.data(), 6, 1, 16), 1u);
    std::uint32_t word0, word1;
    std::memcpy(&word0, v210, 4);
    std::memcpy(&word1, v210 + 4, 4);
    EXPECT_EQ(word0, 0x200u | 0x3FFu << 10 | 0x040u << 20);  // Cb0 0x200, Y0 0x3FF, Cr0 0x1000 >> 6
    EXPECT_EQ(word1 & 0x3FF, 0x004u);                       // Y1 0x0100 >> 6
}

TEST(Nv10, V210WritesWholeGroupsOnlyAndReturnsHeight) {
    const std::uint32_t width = 10, height = 2;
    std::vector<unsigned short> source(width * height + 2 * (width / 2) * (height / 2));
    cconvert::test::fill_random(reinterpret_cast<unsigned char*>(source.data()), 2 * source.size(), 1);
    GuardedBuffer v210(2 * 32, 0xEE);
    EXPECT_EQ(cycbcr_NV10_to_v210(v210.data(), source.data(), width, height, 32), height);
    for (std::uint32_t r = 0; r < height; ++r) {
        const unsigned short* luma = source.data() + r * width;
        const unsigned short* cb = source.data() + width * height + (r / 2) * (width / 2);
        const unsigned short* cr = cb + width * height / 4;
        auto v = [](unsigned short word) { return std::uint32_t{word} >> 6; };
        const std::uint32_t expected[4] = {
            v(cb[0]) | v(luma[0]) << 10 | v(cr[0]) << 20, v(luma[1]) | v(cb[1]) << 10 | v(luma[2]) << 20,
            v(cr[1]) | v(luma[3]) << 10 | v(cb[2]) << 20, v(luma[4]) | v(cr[2]) << 10 | v(luma[5]) << 20};
        EXPECT_EQ(0, std::memcmp(v210.data() + r * 32, expected, 16)) << "row " << r;
        for (int i = 16; i < 32; ++i) EXPECT_EQ(v210[r * 32 + i], 0xEE) << "pixels 6-9 not written";
    }
    EXPECT_EQ(cycbcr_NV10_to_v210(v210.data(), source.data(), 5, 3, 32), 15u);
    EXPECT_EQ(cycbcr_NV10_to_v210(v210.data(), source.data(), 12, 0, 32), 0u);
}

// ---- 16-bit planar to NV12p16 ----

TEST_P(PlanarKernels, Planar420ToNv12p16ShiftsAndInterleaves) {
    ScopedCpuFeatures features(GetParam());
    const struct { void (*convert)(unsigned short*, const unsigned short*, unsigned int); unsigned shift; } members[] = {
        {cycbcr_420p10_to_NV12p16, 6}, {cycbcr_420p12_to_NV12p16, 4}, {cycbcr_420p16_to_NV12p16, 0}};
    for (const auto& member : members) {
        for (std::uint32_t luma : {4u, 16u, 64u, 100u, 1024u, 8100u}) {
            const std::uint32_t chroma = luma / 4, size = luma * 3;
            std::vector<unsigned short> source(luma + 2 * chroma);
            cconvert::test::fill_random(reinterpret_cast<unsigned char*>(source.data()), 2 * source.size(), luma);
            std::vector<unsigned short> destination(source.size() + 8, 0xEEEE), expected(destination.size(), 0xEEEE);
            member.convert(destination.data(), source.data(), size);
            for (std::uint32_t i = 0; i < luma; ++i) expected[i] = static_cast<unsigned short>(source[i] << member.shift);
            for (std::uint32_t i = 0; i < chroma; ++i) {
                expected[luma + 2 * i] = static_cast<unsigned short>(source[luma + i] << member.shift);
                expected[luma + 2 * i + 1] = static_cast<unsigned short>(source[luma + chroma + i] << member.shift);
            }
            ASSERT_EQ(destination, expected) << "shift " << member.shift << " luma " << luma;
        }
    }
    unsigned short twelve_bit[3] = {0x0FFF, 0x0FFF, 0x0FFF}, out[3] = {};
    cycbcr_420p12_to_NV12p16(out, twelve_bit, 3);  // one luma sample, no chroma
    EXPECT_EQ(out[0], 0xFFF0);
}

// ---- Y210 ----

namespace {
// v210 words of a Y210 line: word = (a >> 6) | b << 4 | c << 14 of stream
// samples Cb0 Y0 Cr0 | Y1 Cb2 Y2 | ...; samples past the width are 0 and only
// words holding a sample inside the width are written.
std::vector<unsigned char> model_y210_line(const unsigned char* y210, std::uint32_t width,
                                           std::size_t size) {
    std::vector<unsigned char> out(size, 0xEE);
    const std::uint32_t samples = 2 * width;
    auto stream = [&](std::uint32_t s) -> std::uint32_t {
        if (s >= samples) return 0;
        const std::uint32_t pair = s / 4;
        const std::uint32_t order[4] = {1, 0, 3, 2};  // Cb Y0 Cr Y1 from Y0 Cb Y1 Cr
        return word16(y210, 4 * pair + order[s % 4]);
    };
    for (std::uint32_t w = 0; 3 * w < samples; ++w)
        put32(out, 4 * w, (stream(3 * w) >> 6) | stream(3 * w + 1) << 4 | stream(3 * w + 2) << 14);
    return out;
}
}  // namespace

TEST_P(PlanarKernels, Y210ToV210MatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : some_widths()) {
        const std::uint32_t height = 3;
        const std::uint32_t source_pitch = 4 * width + 6, destination_pitch = 16 * ((width + 5) / 6) + 8;
        GuardedBuffer source(std::size_t{source_pitch} * height);
        source.fill_random(width);  // low bits set: the spill is part of the model
        GuardedBuffer v210(std::size_t{destination_pitch} * height, 0xEE);
        ccnvt_Y210_to_v210(v210.data(), source.data(), destination_pitch, source_pitch, width, height);
        for (std::uint32_t r = 0; r < height; ++r) {
            const auto expected = model_y210_line(source.data() + r * source_pitch, width, destination_pitch);
            ASSERT_EQ(0, std::memcmp(v210.data() + r * destination_pitch, expected.data(), destination_pitch))
                << "width " << width << " row " << r;
        }
        ASSERT_TRUE(v210.guards_intact());
    }
}

TEST(Y210, LowBitsSpillIntoTheFieldBelow) {
    // Y0 = 0x0020 has a low bit set: Y0 << 4 = 0x200 lands in the Cb field.
    std::vector<unsigned char> y210(24, 0);
    y210[0] = 0x20;
    unsigned char v210[16];
    ccnvt_Y210_to_v210(v210, y210.data(), 16, 24, 6, 1);
    std::uint32_t word0;
    std::memcpy(&word0, v210, 4);
    EXPECT_EQ(word0, 0x200u);
    // Y0 = 0x0040, the 10-bit value 1, lands in the Y field as 1.
    y210[0] = 0x40;
    ccnvt_Y210_to_v210(v210, y210.data(), 16, 24, 6, 1);
    std::memcpy(&word0, v210, 4);
    EXPECT_EQ(word0, 1u << 10);
}

TEST_P(PlanarKernels, Y210ToUyvyKeepsHighBytesInSourceOrder) {
    ScopedCpuFeatures features(GetParam());
    for (std::uint32_t width : some_widths()) {
        const std::uint32_t height = 2, source_pitch = 4 * width + 2, destination_pitch = 2 * width + 3;
        GuardedBuffer source(std::size_t{source_pitch} * height);
        source.fill_random(width + 9);
        GuardedBuffer out(std::size_t{destination_pitch} * height, 0xEE);
        ccnvt_Y210_to_uyvy(out.data(), source.data(), destination_pitch, source_pitch, width, height);
        std::vector<unsigned char> expected(out.size(), 0xEE);
        for (std::uint32_t r = 0; r < height; ++r)
            for (std::uint32_t i = 0; i < 2 * width; ++i)
                expected[r * destination_pitch + i] = source[r * source_pitch + 2 * i + 1];
        ASSERT_EQ(out.contents(), expected) << "width " << width;
        ASSERT_TRUE(out.guards_intact());
    }
    GuardedBuffer source(16), out(8, 0xEE);
    ccnvt_Y210_to_uyvy(out.data(), source.data(), 8, 16, 0, 1);
    ccnvt_Y210_to_uyvy(out.data(), source.data(), 8, 16, 4, 0);
    EXPECT_EQ(out.contents(), std::vector<unsigned char>(8, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, PlanarKernels,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });
