// RGB to 2vuy and v210 encoders: values worked out by hand, an independent
// double-precision model of each routine on random spans of many lengths,
// exact write extents, returned pointers, the frame walk of ccnvt_rgb32_v210
// with its pixel counter, and the deliberate quirks.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;

namespace {

// ---- the model, from the coefficient table and the rules ----

struct Coefficients {
    double y[3], y_offset, cb[3], cr[3], c_offset, scale;
};
const Coefficients kS601_8 = {{65.738, 129.057, 25.064}, 16.0, {-37.945, -74.494, 112.439},
                              {112.439, -94.154, -18.285}, 128.0, 1.0 / 256};
const Coefficients kF709_8 = {{217.702, 732.365, 73.716}, 0.0, {-117.35, -394.65, 512.0},
                              {512.0, -465.101, -47.002}, 128.0, 1.0 / 1024};
const Coefficients kS601_10 = {{262.952, 516.228, 100.256}, 64.0, {-151.78, -297.976, 449.756},
                               {449.756, -376.616, -73.14}, 512.0, 1.0 / 1024};
const Coefficients kH709_10 = {{217.6, 732.57, 72.83}, 64.0, {-117.248, -394.752, 512.0},
                               {512.0, -465.101, -46.899}, 512.0, 1.0 / 1024};

// Byte positions of R, G, B and the pixel size.
struct Order {
    int r, g, b, size;
};
const Order kArgb = {1, 2, 3, 4}, kBgra = {2, 1, 0, 4}, kRgb = {0, 1, 2, 3};

struct Sample {
    double y, cb, cr;
};

Sample sample(const unsigned char* p, Order o, const Coefficients& c, double plus) {
    auto channel = [&](const double* w, double offset) {
        double sum = w[0] * p[o.r];
        sum = sum + w[1] * p[o.g];
        sum = sum + w[2] * p[o.b];
        return sum * c.scale + offset + plus;
    };
    return {channel(c.y, c.y_offset), channel(c.cb, c.c_offset), channel(c.cr, c.c_offset)};
}

int trunc_int(double v) { return static_cast<int>(v); }

std::vector<unsigned char> model_2vuy(const unsigned char* src, int count, Order o,
                                      const Coefficients& c, double plus) {
    std::vector<unsigned char> out;
    double prev_cb = 128.0, prev_cr = 128.0;
    for (int p = 0; p < count; p += 2) {
        const Sample a = sample(src + p * o.size, o, c, plus), b = sample(src + (p + 1) * o.size, o, c, plus);
        const double cb = (prev_cb + 2 * a.cb + b.cb) / 4, cr = (prev_cr + 2 * a.cr + b.cr) / 4;
        prev_cb = b.cb, prev_cr = b.cr;
        for (int v : {trunc_int(cb), trunc_int(a.y), trunc_int(cr), trunc_int(b.y)})
            out.push_back(static_cast<unsigned char>(v & 0xFF));
    }
    return out;
}

// v210 in the model's own terms: per group, Cb0 Y0 Cr0 Y1 Cb2 Y2 Cr2 Y3 Cb4
// Y4 Cr4 Y5 in three fields per little-endian word.
struct V210Model {
    const Coefficients* c;
    double luma_gain, chroma_plus;
    double prev_cb = 512.0, prev_cr = 512.0;

    void group(const unsigned char* src, Order o, unsigned char* out) {
        Sample s[6];
        for (int i = 0; i < 6; ++i) s[i] = sample(src + i * o.size, o, *c, 0.0);
        std::uint32_t f[12];
        for (int k = 0; k < 3; ++k) {
            const double cb = (prev_cb + 2 * s[2 * k].cb + s[2 * k + 1].cb) / 4;
            const double cr = (prev_cr + 2 * s[2 * k].cr + s[2 * k + 1].cr) / 4;
            prev_cb = s[2 * k + 1].cb, prev_cr = s[2 * k + 1].cr;
            f[4 * k] = trunc_int(cb + chroma_plus);
            f[4 * k + 1] = trunc_int(s[2 * k].y * luma_gain);
            f[4 * k + 2] = trunc_int(cr + chroma_plus);
            f[4 * k + 3] = trunc_int(s[2 * k + 1].y * luma_gain);
        }
        for (int w = 0; w < 4; ++w) {
            const std::uint32_t word = f[3 * w] | f[3 * w + 1] << 10 | f[3 * w + 2] << 20;
            std::memcpy(out + 4 * w, &word, 4);
        }
    }
};

std::vector<unsigned char> model_v210_span(const unsigned char* src, int count, Order o,
                                           V210Model model) {
    std::vector<unsigned char> out;
    for (int x = 0; x < count; x += 6) {
        unsigned char g[16];
        model.group(src + x * o.size, o, g);
        out.insert(out.end(), g, g + 16);
    }
    return out;
}

int pairs(int count) { return count > 0 ? (count + 1) / 2 : 0; }
int groups(int count) { return count > 0 ? (count + 5) / 6 : 0; }

std::vector<int> counts_to_test() {
    std::vector<int> counts = {-1};
    for (int n = 0; n <= 130; ++n) counts.push_back(n);
    for (int n : {1919, 1920, 1921, 3845}) counts.push_back(n);
    return counts;
}

// ---- whole-span routines against the model ----

struct SpanRoutine {
    const char* name;
    bool v210;
    int pixel_size;
    // Runs the routine; returns the returned source pointer, or nullptr.
    unsigned char* (*run)(unsigned char* src, unsigned char* dst, int count);
    std::vector<unsigned char> (*model)(const unsigned char* src, int count);
};

void PrintTo(const SpanRoutine& routine, std::ostream* out) { *out << routine.name; }

const SpanRoutine kSpanRoutines[] = {
    {"argb_to_2vuy", false, 4,
     [](unsigned char* s, unsigned char* d, int n) -> unsigned char* { argb_to_2vuy(s, d, n); return nullptr; },
     [](const unsigned char* s, int n) { return model_2vuy(s, n, kArgb, kS601_8, 0.0); }},
    {"bgra_to_2vuy", false, 4,
     [](unsigned char* s, unsigned char* d, int n) -> unsigned char* { bgra_to_2vuy(s, d, n); return nullptr; },
     [](const unsigned char* s, int n) { return model_2vuy(s, n, kBgra, kS601_8, 0.0); }},
    {"hd_rgb_to_2vuy_argb", false, 4,
     [](unsigned char* s, unsigned char* d, int n) { return hd_rgb_to_2vuy(s, d, n, 0); },
     [](const unsigned char* s, int n) { return model_2vuy(s, n, kArgb, kF709_8, 0.5); }},
    {"hd_rgb_to_2vuy_bgra", false, 4,
     [](unsigned char* s, unsigned char* d, int n) { return hd_rgb_to_2vuy(s, d, n, 7); },
     [](const unsigned char* s, int n) { return model_2vuy(s, n, kBgra, kF709_8, 0.5); }},
    {"argb_to_v210_argb", true, 4,
     [](unsigned char* s, unsigned char* d, int n) {
         return argb_to_v210(s, reinterpret_cast<unsigned int*>(d), n, 1);
     },
     [](const unsigned char* s, int n) { return model_v210_span(s, n, kArgb, {&kS601_8, 4.0, 0.5}); }},
    {"argb_to_v210_rgb", true, 3,
     [](unsigned char* s, unsigned char* d, int n) {
         return argb_to_v210(s, reinterpret_cast<unsigned int*>(d), n, 0);
     },
     [](const unsigned char* s, int n) { return model_v210_span(s, n, kRgb, {&kS601_8, 4.0, 0.5}); }},
    {"bgra_to_v210", true, 4,
     [](unsigned char* s, unsigned char* d, int n) {
         return bgra_to_v210(s, reinterpret_cast<unsigned int*>(d), n);
     },
     [](const unsigned char* s, int n) { return model_v210_span(s, n, kBgra, {&kS601_10, 1.0, 0.0}); }},
};

// Every routine under every feature word: the 2vuy encoders have an AVX2
// kernel that must give the portable bytes.
class RgbEncoderSpans : public ::testing::TestWithParam<std::tuple<SpanRoutine, unsigned int>> {
protected:
    const SpanRoutine& routine_param() const { return std::get<0>(GetParam()); }
    cconvert::test::ScopedCpuFeatures features_{std::get<1>(GetParam())};
};

TEST_P(RgbEncoderSpans, RandomSpansMatchTheModelAndWriteWholeUnitsOnly) {
    const SpanRoutine& routine = routine_param();
    for (int count : counts_to_test()) {
        // Whole pairs or groups are read and written.
        const int read_pixels = routine.v210 ? 6 * groups(count) : 2 * pairs(count);
        const std::size_t written = routine.v210 ? 16 * groups(count) : 4 * pairs(count);
        GuardedBuffer src(std::size_t(read_pixels) * routine.pixel_size + 1);
        src.fill_random(count + 1000);
        GuardedBuffer dst(written + 32, 0x5A);
        unsigned char* returned = routine.run(src.data(), dst.data(), count);
        const auto expected = routine.model(src.data(), count);
        ASSERT_EQ(expected.size(), written);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), dst.data())) << "count " << count;
        for (std::size_t i = written; i < dst.size(); ++i) ASSERT_EQ(dst[i], 0x5A) << "count " << count;
        ASSERT_TRUE(dst.guards_intact()) << count;
        if (returned) {
            EXPECT_EQ(returned, src.data() + read_pixels * routine.pixel_size) << count;
        }
    }
}

TEST_P(RgbEncoderSpans, ExtremeColoursMatchTheModel) {
    // Every combination of extreme levels in every byte of the pixel: the
    // corners of the RGB cube, greys and single channels.
    const int size = routine_param().pixel_size;
    const unsigned char levels[] = {0, 1, 16, 127, 128, 235, 254, 255};
    std::vector<unsigned char> pixels;
    for (int combination = 0; combination < (size == 4 ? 4096 : 512); ++combination)
        for (int i = 0; i < size; ++i) pixels.push_back(levels[(combination >> (3 * i)) & 7]);
    // Each pixel once at the start of a pair and once at the end.
    std::vector<unsigned char> shifted(pixels.begin() + size, pixels.end());
    for (auto* span : {&pixels, &shifted}) {
        const int count = static_cast<int>(span->size()) / size;
        span->resize(span->size() + 8 * size);
        std::vector<unsigned char> dst(16 * groups(count) + 8);
        routine_param().run(span->data(), dst.data(), count);
        const auto expected = routine_param().model(span->data(), count);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), dst.begin()));
    }
}

// Rounding in a different order shows in only a few pixels in a million:
// a long random span.
TEST_P(RgbEncoderSpans, LongRandomSpanMatchesTheModel) {
#if defined(__SANITIZE_ADDRESS__)
    const int count = 1 << 15;
#else
    const int count = 1 << 20;
#endif
    const auto src = cconvert::test::random_bytes(std::size_t(6 * groups(count)) * routine_param().pixel_size, 99);
    std::vector<unsigned char> dst(16 * groups(count));
    routine_param().run(const_cast<unsigned char*>(src.data()), dst.data(), count);
    const auto expected = routine_param().model(src.data(), count);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), dst.begin()));
}

// Grey areas, whose chroma lies exactly on an integer, between areas of
// random colours, in runs of many lengths: the vector kernels change method
// at the edges and carry the chroma filter across.
TEST_P(RgbEncoderSpans, GreyAndColourAreasMatchTheModel) {
    const int size = routine_param().pixel_size;
    const auto noise = cconvert::test::random_bytes(std::size_t(1) << 18, 7);
    std::vector<unsigned char> pixels;
    std::size_t next = 0;
    auto random_byte = [&] { return noise[next++ % noise.size()]; };
    for (int area = 0; pixels.size() < std::size_t(size) << 15; ++area) {
        const int length = 1 + (random_byte() | random_byte() << 8) % 700;
        const unsigned char level = area % 4 == 2 ? 0 : random_byte();
        for (int i = 0; i < length * size; ++i) pixels.push_back(area % 2 ? random_byte() : level);
    }
    const int count = static_cast<int>(pixels.size()) / size - 6;
    std::vector<unsigned char> dst(16 * groups(count));
    routine_param().run(pixels.data(), dst.data(), count);
    const auto expected = routine_param().model(pixels.data(), count);
    const auto mismatch = std::mismatch(expected.begin(), expected.end(), dst.begin());
    ASSERT_TRUE(mismatch.first == expected.end()) << "byte " << (mismatch.first - expected.begin());
}

INSTANTIATE_TEST_SUITE_P(Routines, RgbEncoderSpans,
                         ::testing::Combine(::testing::ValuesIn(kSpanRoutines),
                                            ::testing::ValuesIn(cconvert::test::feature_words_to_test())),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    cconvert::test::feature_word_name(std::get<1>(info.param));
                         });

// Every RGB colour, each once as the first and once as the second pixel of
// a pair (the vector kernels take a shortcut wherever no result lies close to
// an integer, and must fall back everywhere else). Under the sanitizers every
// seventh colour.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::uint32_t kColourStep = 7;
#else
constexpr std::uint32_t kColourStep = 1;
#endif

// The colours, then extra pixels that wrap round to the first ones.
std::vector<unsigned char> every_colour(Order o, std::uint32_t first_pixels_to_skip, std::uint32_t extra = 16) {
    std::vector<unsigned char> pixels;
    const std::uint32_t count = (1u << 24) / kColourStep;
    pixels.reserve(std::size_t(count + extra) * o.size);
    for (std::uint32_t n = 0; n < count + extra; ++n) {
        const std::uint32_t colour = (n * kColourStep) & 0xFFFFFF;
        unsigned char pixel[4] = {static_cast<unsigned char>(n), static_cast<unsigned char>(n >> 3),
                                  static_cast<unsigned char>(n >> 5), static_cast<unsigned char>(n >> 7)};
        pixel[o.r] = static_cast<unsigned char>(colour >> 16);
        pixel[o.g] = static_cast<unsigned char>(colour >> 8);
        pixel[o.b] = static_cast<unsigned char>(colour);
        if (n >= first_pixels_to_skip) pixels.insert(pixels.end(), pixel, pixel + o.size);
    }
    return pixels;
}

TEST(RgbEncoders, EveryColourMatchesTheModel) {
    const Order orders[] = {kArgb, kBgra, kArgb, kBgra, kArgb, kRgb, kBgra};  // of kSpanRoutines
    static_assert(std::size(orders) == std::size(kSpanRoutines));
    for (std::size_t r = 0; r < std::size(kSpanRoutines); ++r)
        for (std::uint32_t skip : {0u, 1u}) {
            const std::vector<unsigned char> pixels = every_colour(orders[r], skip);
            const int count = static_cast<int>((1u << 24) / kColourStep);
            std::vector<unsigned char> dst(16 * groups(count));
            kSpanRoutines[r].run(const_cast<unsigned char*>(pixels.data()), dst.data(), count);
            const auto expected = kSpanRoutines[r].model(pixels.data(), count);
            const auto mismatch = std::mismatch(expected.begin(), expected.end(), dst.begin());
            ASSERT_TRUE(mismatch.first == expected.end())
                << kSpanRoutines[r].name << " skip " << skip << ": byte " << (mismatch.first - expected.begin());
        }
}

// ---- hand-worked values ----

std::uint32_t word_at(const std::vector<unsigned char>& bytes, std::size_t index) {
    std::uint32_t word;
    std::memcpy(&word, bytes.data() + 4 * index, 4);
    return word;
}
std::uint32_t field(std::uint32_t word, int f) { return (word >> (10 * f)) & 0x3FF; }

TEST(RgbEncoders, GreyGivesStudioLumaAndNeutralChroma) {
    std::vector<unsigned char> grey(4 * 4, 128);
    std::vector<unsigned char> out(8);
    bgra_to_2vuy(grey.data(), out.data(), 4);  // Y = trunc(128 * 219.859 / 256 + 16) = 125
    EXPECT_EQ(out, (std::vector<unsigned char>{128, 125, 128, 125, 128, 125, 128, 125}));
    argb_to_2vuy(grey.data(), out.data(), 4);
    EXPECT_EQ(out, (std::vector<unsigned char>{128, 125, 128, 125, 128, 125, 128, 125}));
}

TEST(RgbEncoders, HdWhiteAndBlack) {
    std::vector<unsigned char> white(8, 255), black(8, 0), out(4);
    hd_rgb_to_2vuy(white.data(), out.data(), 2, 0);
    EXPECT_EQ(out, (std::vector<unsigned char>{128, 255, 128, 255}));
    hd_rgb_to_2vuy(black.data(), out.data(), 2, 1);
    EXPECT_EQ(out, (std::vector<unsigned char>{128, 0, 128, 0}));
}

TEST(RgbEncoders, HdSaturatedRedKeepsTheLowEightBitsOfCr) {
    // Cr of pure red: 512 * 255 / 1024 + 128 + 0.5 = 256.0; filtered with a
    // running 256.0 it stays 256, stored as 0. The first pair filters with 128.
    std::vector<unsigned char> red(16, 0);
    for (int i = 0; i < 4; ++i) red[4 * i + 2] = 255;  // B G R A
    std::vector<unsigned char> out(8);
    hd_rgb_to_2vuy(red.data(), out.data(), 4, 1);
    EXPECT_EQ(out[2], 224);  // (128 + 512 + 256) / 4
    EXPECT_EQ(out[6], 0);    // 256 & 0xFF
}

TEST(RgbEncoders, ArgbToV210KeepsEightBitChromaAndStartsAt512) {
    std::vector<unsigned char> grey(4 * 12, 128);
    std::vector<unsigned char> out(32);
    argb_to_v210(grey.data(), reinterpret_cast<unsigned int*>(out.data()), 12, 1);
    // Y = trunc((128 * 219.859 / 256 + 16) * 4) = trunc(503.718) = 503
    EXPECT_EQ(word_at(out, 0), 224u | 503u << 10 | 224u << 20);  // (512 + 3 * 128) / 4 + 0.5
    EXPECT_EQ(word_at(out, 1), 503u | 128u << 10 | 503u << 20);
    EXPECT_EQ(word_at(out, 4), 128u | 503u << 10 | 128u << 20);
}

TEST(RgbEncoders, BgraToV210GreyOnTenBitOffsets) {
    std::vector<unsigned char> grey(4 * 6, 0), out(16);
    bgra_to_v210(grey.data(), reinterpret_cast<unsigned int*>(out.data()), 6);
    EXPECT_EQ(word_at(out, 0), 512u | 64u << 10 | 512u << 20);
    EXPECT_EQ(word_at(out, 3), 64u | 512u << 10 | 64u << 20);
}

TEST(RgbEncoders, ReturnedPointersAndEmptySpans) {
    std::vector<unsigned char> src(64, 9), dst(64, 0x5A);
    EXPECT_EQ(hd_rgb_to_2vuy(src.data(), dst.data(), 0, 0), src.data());
    EXPECT_EQ(argb_to_v210(src.data(), reinterpret_cast<unsigned int*>(dst.data()), -5, 1), src.data());
    EXPECT_EQ(bgra_to_v210(src.data(), reinterpret_cast<unsigned int*>(dst.data()), 0), src.data());
    argb_to_2vuy(src.data(), dst.data(), 0);
    bgra_to_2vuy(src.data(), dst.data(), -1);
    EXPECT_EQ(dst, std::vector<unsigned char>(64, 0x5A));
    EXPECT_EQ(hd_rgb_to_2vuy(src.data(), dst.data(), 3, 0), src.data() + 16);
    EXPECT_EQ(argb_to_v210(src.data(), reinterpret_cast<unsigned int*>(dst.data()), 1, 0), src.data() + 18);
    EXPECT_EQ(bgra_to_v210(src.data(), reinterpret_cast<unsigned int*>(dst.data()), 7) - src.data(), 48);
}

TEST(RgbEncoders, OnePixelStillWritesAWholePair) {
    GuardedBuffer src(8), dst(4, 0x5A);
    src.fill_random(3);
    argb_to_2vuy(src.data(), dst.data(), 1);
    EXPECT_EQ(dst.contents(), model_2vuy(src.data(), 1, kArgb, kS601_8, 0.0));
    EXPECT_TRUE(dst.guards_intact());
}

// ---- shape-A entry points ----

TEST(RgbEncoders, Rgb32To2vuyIgnoresBothPitches) {
    const long width = 37, height = 5;
    GuardedBuffer src(4 * width * height + 4);
    src.fill_random(44);
    GuardedBuffer dst(2 * width * height + 2, 0x5A), reference(2 * width * height + 2, 0x5A);
    ccnvt_rgb32_2vuy(dst.data(), 4096, src.data(), 9999, width, height);
    bgra_to_2vuy(src.data(), reference.data(), static_cast<int>(width * height));
    EXPECT_EQ(dst.contents(), reference.contents());
    EXPECT_EQ(dst.contents()[0], model_2vuy(src.data(), 2, kBgra, kS601_8, 0.0)[0]);
    EXPECT_TRUE(dst.guards_intact());
}

// The frame walk of ccnvt_rgb32_v210, modelled: rows of whole groups, one
// chroma filter over the frame, a counter of 6 per group that stops at
// width * height.
void model_rgb32_v210(std::vector<unsigned char>& dst, long dst_pitch, const unsigned char* src,
                      long src_pitch, long width, long height) {
    V210Model model{width <= 961 ? &kS601_10 : &kH709_10, 1.0, 0.0};
    long counter = 0;
    for (long row = 0; row < height; ++row)
        for (long x = 0; x < width; x += 6) {
            model.group(src + row * src_pitch + 4 * x, kBgra, dst.data() + row * dst_pitch + 16 * (x / 6));
            counter += 6;
            if (counter >= width * height) return;
        }
}

struct FrameCase {
    long width, height, dst_pitch, src_pitch;  // pitches as passed (0: default)
};

class Rgb32ToV210Frames : public ::testing::TestWithParam<unsigned int> {
protected:
    cconvert::test::ScopedCpuFeatures features_{GetParam()};
};

TEST_P(Rgb32ToV210Frames, MatchTheModel) {
    for (const FrameCase& f : {FrameCase{0, 3, 64, 64}, FrameCase{1, 3, 0, 0}, FrameCase{2, 3, 0, 0},
                               FrameCase{5, 4, 0, 0}, FrameCase{6, 4, 0, 0}, FrameCase{7, 4, 0, 0},
                               FrameCase{10, 5, 48, 44}, FrameCase{48, 3, 0, 0}, FrameCase{49, 2, 0, 200},
                               FrameCase{961, 3, 0, 0}, FrameCase{962, 3, 0, 0}, FrameCase{1280, 9, 0, 0},
                               FrameCase{1920, 2, 5200, 7700}}) {
        const long src_pitch = f.src_pitch ? f.src_pitch : 4 * f.width;
        const long dst_pitch = f.dst_pitch ? f.dst_pitch : 128 * ((f.width + 47) / 48);
        const long groups_per_row = (f.width + 5) / 6;
        GuardedBuffer src(src_pitch * f.height + 24);
        src.fill_random(static_cast<std::uint32_t>(f.width));
        GuardedBuffer dst(dst_pitch * f.height + 16, 0x5A);
        ccnvt_rgb32_v210(dst.data(), f.dst_pitch, src.data(), f.src_pitch, f.width, f.height);
        std::vector<unsigned char> expected(dst.size(), 0x5A);
        model_rgb32_v210(expected, dst_pitch, src.data(), src_pitch, f.width, f.height);
        EXPECT_EQ(dst.contents(), expected) << "width " << f.width << " groups " << groups_per_row;
        EXPECT_TRUE(dst.guards_intact()) << f.width;
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, Rgb32ToV210Frames,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(RgbEncoders, Rgb32ToV210EveryColourMatchesTheModel) {
    // Above 961 pixels a row, the BT.709 set.
    const long width = 1920;
    const std::vector<unsigned char> pixels = every_colour(kBgra, 0, width);
    const long height = static_cast<long>(pixels.size() / 4) / width;
    std::vector<unsigned char> dst(5120 * height), expected(dst.size());
    ccnvt_rgb32_v210(dst.data(), 0, pixels.data(), 0, width, height);
    model_rgb32_v210(expected, 5120, pixels.data(), 4 * width, width, height);
    const auto mismatch = std::mismatch(expected.begin(), expected.end(), dst.begin());
    ASSERT_TRUE(mismatch.first == expected.end()) << "byte " << (mismatch.first - expected.begin());
}

TEST(RgbEncoders, Rgb32ToV210CounterLeavesTheLastRowsOf720pUnwritten) {
    const long width = 1280, height = 720, pitch = 3456;  // 214 groups (1284 pixels) per row
    GuardedBuffer src(4 * width * height + 16);
    src.fill_random(720);
    std::vector<unsigned char> dst(pitch * height, 0x5A);
    ccnvt_rgb32_v210(dst.data(), 0, src.data(), 0, width, height);
    // 717 rows make 920628 pixels; 162 groups of row 717 reach 921600.
    auto untouched = [&](long from, long to) {
        return std::all_of(dst.begin() + from, dst.begin() + to, [](unsigned char b) { return b == 0x5A; });
    };
    EXPECT_FALSE(untouched(717 * pitch, 717 * pitch + 16 * 162));
    EXPECT_TRUE(untouched(717 * pitch + 16 * 162, 720 * pitch));
    std::vector<unsigned char> expected(dst.size(), 0x5A);
    model_rgb32_v210(expected, pitch, src.data(), 4 * width, width, height);
    EXPECT_TRUE(dst == expected);
}

TEST(RgbEncoders, Rgb32ToV210CoefficientSetChangesAbove961) {
    // Pure green: Y differs between BT.601 (64 + 516.228 * 255 / 1024 = 192.55)
    // and BT.709 (64 + 732.57 * 255 / 1024 = 246.43).
    for (long width : {961L, 962L}) {
        std::vector<unsigned char> src(4 * 966, 0);
        for (long x = 0; x < 966; ++x) src[4 * x + 1] = 255;
        std::vector<unsigned char> dst(128 * 21, 0);
        ccnvt_rgb32_v210(dst.data(), 0, src.data(), 0, width, 1);
        EXPECT_EQ(field(word_at(dst, 0), 1), width == 961 ? 192u : 246u) << width;
    }
}

TEST(RgbEncoders, Rgb32ToV210TakesNegativePitchesAsGiven) {
    const long width = 12, height = 3;
    GuardedBuffer src(4 * width * height);
    src.fill_random(5);
    GuardedBuffer dst(32 * height, 0x5A), expected_frame(32 * height, 0x5A);
    // Read bottom-up, write bottom-up: destination row r at end - r * 32.
    ccnvt_rgb32_v210(dst.data() + 64, -32, src.data() + 2 * 48, -48, width, height);
    std::vector<unsigned char> expected(dst.size(), 0x5A);
    V210Model model{&kS601_10, 1.0, 0.0};
    for (long row = 0; row < height; ++row)
        for (long g = 0; g < 2; ++g)
            model.group(src.data() + (2 - row) * 48 + 24 * g, kBgra, expected.data() + (2 - row) * 32 + 16 * g);
    EXPECT_EQ(dst.contents(), expected);
    EXPECT_TRUE(dst.guards_intact());
}

}  // namespace
