// RGB to 2vuy and v210 encoders against a double-precision model, hand-worked values and ccnvt_rgb32_v210.
#include <algorithm>
#include <cstdlib>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/ycbcr422.h"
#include "yuv422_support.h"

using namespace cconvert::test;
using Bytes = std::vector<unsigned char>;

namespace {

using U8 = unsigned char;
struct Coefficients { double y[3], y_offset, cb[3], cr[3], c_offset, scale; };
const Coefficients kS601_8 = {{65.738, 129.057, 25.064}, 16.0, {-37.945, -74.494, 112.439},
                              {112.439, -94.154, -18.285}, 128.0, 1.0 / 256};
const Coefficients kF709_8 = {{217.702, 732.365, 73.716}, 0.0, {-117.35, -394.65, 512.0},
                              {512.0, -465.101, -47.002}, 128.0, 1.0 / 1024};
const Coefficients kS601_10 = {{262.952, 516.228, 100.256}, 64.0, {-151.78, -297.976, 449.756},
                               {449.756, -376.616, -73.14}, 512.0, 1.0 / 1024};
const Coefficients kH709_10 = {{217.6, 732.57, 72.83}, 64.0, {-117.248, -394.752, 512.0},
                               {512.0, -465.101, -46.899}, 512.0, 1.0 / 1024};

// Byte positions of R, G, B and the pixel size.
struct Order { int r, g, b, size; };
const Order kArgb = {1, 2, 3, 4}, kBgra = {2, 1, 0, 4}, kRgb = {0, 1, 2, 3};

// plus goes in before the [1 2 1] / 4 chroma filter (from 128, v210 512); 2vuy keeps the low 8 bits, v210 truncates.
struct Rules { Order order; const Coefficients* c; bool v210; double plus, gain, chroma_plus; };

struct Encoder {
    Rules rules;
    double prev_cb, prev_cr;
    explicit Encoder(const Rules& r) : rules(r), prev_cb(r.v210 ? 512.0 : 128.0), prev_cr(prev_cb) {}
    double channel(const unsigned char* p, const double* w, double offset) const {  // summed in R, G, B order
        const double sum = w[0] * p[rules.order.r] + w[1] * p[rules.order.g] + w[2] * p[rules.order.b];
        return sum * rules.c->scale + offset + rules.plus;
    }
    void span(const unsigned char* src, long count, unsigned char* out) {
        const Coefficients& c = *rules.c;
        for (long x = 0; x < count; x += rules.v210 ? 6 : 2) {
            int f[12];
            for (int p = 0; p < (rules.v210 ? 3 : 1); ++p) {
                const unsigned char* a = src + (x + 2 * p) * rules.order.size;
                const unsigned char* b = a + rules.order.size;
                const double cb_b = channel(b, c.cb, c.c_offset), cr_b = channel(b, c.cr, c.c_offset);
                f[4 * p] = int((prev_cb + 2 * channel(a, c.cb, c.c_offset) + cb_b) / 4 + rules.chroma_plus);
                f[4 * p + 1] = int(channel(a, c.y, c.y_offset) * rules.gain);
                f[4 * p + 2] = int((prev_cr + 2 * channel(a, c.cr, c.c_offset) + cr_b) / 4 + rules.chroma_plus);
                f[4 * p + 3] = int(channel(b, c.y, c.y_offset) * rules.gain);
                prev_cb = cb_b, prev_cr = cr_b;
            }
            for (int i = 0; i < 4; ++i)
                if (rules.v210) store32(out, i, v210_word(f[3 * i], f[3 * i + 1], f[3 * i + 2]));
                else out[i] = U8(f[i]);
            out += rules.v210 ? 16 : 4;
        }
    }
};

long units(long count, bool v210) { return count > 0 ? (count + (v210 ? 5 : 1)) / (v210 ? 6 : 2) : 0; }

struct SpanRoutine {
    const char* name;
    Rules rules;
    unsigned char* (*run)(unsigned char* src, unsigned char* dst, int count);

    long written(long count) const { return units(count, rules.v210) * (rules.v210 ? 16 : 4); }
    long read(long count) const { return units(count, rules.v210) * (rules.v210 ? 6 : 2) * rules.order.size; }
    Bytes model(const unsigned char* src, long count) const {
        Bytes out(written(count));
        Encoder(rules).span(src, count, out.data());
        return out;
    }
};

void PrintTo(const SpanRoutine& routine, std::ostream* out) { *out << routine.name; }
unsigned int* words(U8* d) { return reinterpret_cast<unsigned int*>(d); }

const SpanRoutine kSpanRoutines[] = {
    {"argb_to_2vuy", {kArgb, &kS601_8, false, 0, 1, 0}, [](U8* s, U8* d, int n) -> U8* { argb_to_2vuy(s, d, n); return nullptr; }},
    {"bgra_to_2vuy", {kBgra, &kS601_8, false, 0, 1, 0}, [](U8* s, U8* d, int n) -> U8* { bgra_to_2vuy(s, d, n); return nullptr; }},
    {"hd_rgb_to_2vuy_argb", {kArgb, &kF709_8, false, 0.5, 1, 0}, [](U8* s, U8* d, int n) { return hd_rgb_to_2vuy(s, d, n, 0); }},
    {"hd_rgb_to_2vuy_bgra", {kBgra, &kF709_8, false, 0.5, 1, 0}, [](U8* s, U8* d, int n) { return hd_rgb_to_2vuy(s, d, n, 7); }},
    {"argb_to_v210_argb", {kArgb, &kS601_8, true, 0, 4, 0.5}, [](U8* s, U8* d, int n) { return argb_to_v210(s, words(d), n, 1); }},
    {"argb_to_v210_rgb", {kRgb, &kS601_8, true, 0, 4, 0.5}, [](U8* s, U8* d, int n) { return argb_to_v210(s, words(d), n, 0); }},
    {"bgra_to_v210", {kBgra, &kS601_10, true, 0, 1, 0}, [](U8* s, U8* d, int n) { return bgra_to_v210(s, words(d), n); }},
};

// Long spans: a plain comparison, not gtest's listing of every byte.
void expect_model_bytes(const SpanRoutine& routine, Bytes& pixels, long count, const std::string& what) {
    Bytes dst(routine.written(count));
    routine.run(pixels.data(), dst.data(), static_cast<int>(count));
    EXPECT_TRUE(routine.model(pixels.data(), count) == dst) << routine.name << " " << what;
}

struct RgbEncoderSpans : ::testing::TestWithParam<std::tuple<SpanRoutine, unsigned int>> {
    const SpanRoutine& routine() const { return std::get<0>(GetParam()); }
    ScopedCpuFeatures features_{std::get<1>(GetParam())};
};

TEST_P(RgbEncoderSpans, RandomSpansMatchTheModelAndWriteWholeUnitsOnly) {
    std::vector<long> counts = {-1, 47, 48, 49, 95, 96, 97, 191, 192, 193, 383, 385, 1921};  // 8/16/192-pixel steps
    for (long n = 0; n <= 40; ++n) counts.push_back(n);
    for (long count : counts) {
        GuardedBuffer src(routine().read(count) + 1), dst(routine().written(count) + 32, 0x5A);
        src.fill_random(static_cast<std::uint32_t>(count + 1000));
        unsigned char* returned = routine().run(src.data(), dst.data(), static_cast<int>(count));
        Bytes expected = routine().model(src.data(), count);
        expected.resize(dst.size(), 0x5A);
        ASSERT_EQ(dst.contents(), expected) << "count " << count;
        ASSERT_TRUE(dst.guards_intact()) << count;
        EXPECT_TRUE(!returned || returned == src.data() + routine().read(count)) << count;
    }
}

// Grey areas (chroma on an integer: AVX2 switches to doubles) between random ones; a misordered rounding is rare.
TEST_P(RgbEncoderSpans, GreyAndColourAreasMatchTheModel) {
    const std::size_t pixels_wanted = kSanitized ? 1 << 15 : 1 << 20;
    const int size = routine().rules.order.size;
    const Bytes noise = random_bytes(std::size_t(1) << 18, 7);
    std::size_t next = 0;
    auto random_byte = [&] { return noise[next++ % noise.size()]; };
    Bytes pixels;
    for (int area = 0; pixels.size() < pixels_wanted * size; ++area) {
        const int length = 1 + (random_byte() | random_byte() << 8) % 700;
        const unsigned char level = area % 4 == 2 ? 0 : random_byte();
        for (int i = 0; i < length * size; ++i) pixels.push_back(area % 2 ? random_byte() : level);
    }
    expect_model_bytes(routine(), pixels, static_cast<long>(pixels.size()) / size - 6, "areas");
}

INSTANTIATE_TEST_SUITE_P(Routines, RgbEncoderSpans,
                         ::testing::Combine(::testing::ValuesIn(kSpanRoutines), ::testing::ValuesIn(kernel_choices(false))),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    feature_word_name(std::get<1>(info.param));
                         });

// Every RGB colour (every seventh when sanitized), then extra ones wrapping round; the other bytes vary.
constexpr std::uint32_t kColourStep = kSanitized ? 7 : 1;
constexpr long kColours = (1L << 24) / kColourStep;
Bytes every_colour(Order o, std::uint32_t first_pixels_to_skip, std::uint32_t extra = 16) {
    Bytes pixels;
    pixels.reserve(std::size_t(kColours + extra) * o.size);
    for (std::uint32_t n = 0; n < kColours + extra; ++n) {
        const std::uint32_t colour = (n * kColourStep) & 0xFFFFFF;
        U8 pixel[4] = {U8(n), U8(n >> 3), U8(n >> 5), U8(n >> 7)};
        pixel[o.r] = U8(colour >> 16), pixel[o.g] = U8(colour >> 8), pixel[o.b] = U8(colour);
        if (n >= first_pixels_to_skip) pixels.insert(pixels.end(), pixel, pixel + o.size);
    }
    return pixels;
}

TEST(RgbEncoders, WorkedByHand) {
    // A pixel repeated count times; 2vuy bytes or v210 samples in stream order. Grey 128 in BT.601 is Y
    // trunc(128 * 219.859 / 256 + 16); red's Cr 256 filters from 128 to 224, then keeps its low 8 bits;
    // argb_to_v210 filters 8-bit chroma from 512: (512 + 3 * 128) / 4 + 0.5 = 224.
    struct Case { int routine; Bytes pixel; int count; std::vector<int> expected; } const cases[] = {
        {0, {0, 128, 128, 128}, 1, {128, 125, 128, 125}},  // one pixel writes a whole pair
        {2, {255, 255, 255, 255}, 2, {128, 255, 128, 255}},  // full-range BT.709 plus 0.5
        {3, {0, 0, 255, 0}, 4, {106, 54, 224, 54, 99, 54, 0, 54}},
        {4, {128, 128, 128, 128}, 6, {224, 503, 224, 503, 128, 503, 128, 503, 128, 503, 128, 503}},
        {6, {0, 0, 0, 0}, 6, {512, 64, 512, 64, 512, 64, 512, 64, 512, 64, 512, 64}}};
    for (const Case& c : cases) {
        const SpanRoutine& routine = kSpanRoutines[c.routine];
        Bytes src, dst(routine.written(c.count));
        for (int i = 0; i < c.count + 6; ++i) src.insert(src.end(), c.pixel.begin(), c.pixel.end());
        routine.run(src.data(), dst.data(), c.count);
        std::vector<int> out;
        for (long k = 0; k < long(c.expected.size()); ++k)
            out.push_back(routine.rules.v210 ? v210_sample(dst.data(), k) : dst[k]);
        EXPECT_EQ(out, c.expected) << routine.name;
    }
}

TEST(RgbEncoders, Rgb32To2vuyIgnoresBothPitches) {
    const long width = 37, height = 5;
    GuardedBuffer src(4 * width * height + 4), dst(2 * width * height + 2, 0x5A);
    src.fill_random(44);
    ccnvt_rgb32_2vuy(dst.data(), 4096, src.data(), 9999, width, height);
    EXPECT_EQ(dst.contents(), kSpanRoutines[1].model(src.data(), width * height));
    EXPECT_TRUE(dst.guards_intact());
}

// ccnvt_rgb32_v210: rows of whole groups, one chroma filter, a counter of 6 a group stopping at width * height.
void model_rgb32_v210(unsigned char* dst, long dst_pitch, const unsigned char* src, long src_pitch, long width,
                      long height) {
    Encoder encoder({kBgra, width <= 961 ? &kS601_10 : &kH709_10, true, 0.0, 1.0, 0.0});
    long counter = 0;
    for (long row = 0; row < height; ++row)
        for (long x = 0; x < width && counter < width * height; x += 6, counter += 6)
            encoder.span(src + row * src_pitch + 4 * x, 6, dst + row * dst_pitch + 16 * (x / 6));
}

TEST(RgbEncoders, Rgb32ToV210FramesMatchTheModel) {
    struct FrameCase { long width, height, dst_pitch, src_pitch; };  // pitches as passed; negative: bottom-up
    for (unsigned int word : kernel_choices(false))
    for (const FrameCase& f : {FrameCase{0, 3, 64, 64}, {1, 3, 0, 0}, {5, 4, 0, 0}, {6, 4, 0, 0}, {7, 4, 0, 0},
                               {10, 5, 48, 44}, {12, 3, -32, -48}, {49, 2, 0, 200}, {961, 3, 0, 0}, {962, 3, 0, 0},
                               {1920, 2, 5200, 7700}}) {
        ScopedCpuFeatures features(word);
        const long src_pitch = f.src_pitch ? f.src_pitch : 4 * f.width;
        const long dst_pitch = f.dst_pitch ? f.dst_pitch : 128 * ((f.width + 47) / 48);
        GuardedBuffer src(std::abs(src_pitch) * f.height + 24), dst(std::abs(dst_pitch) * f.height + 16, 0x5A);
        src.fill_random(static_cast<std::uint32_t>(f.width));
        const long src_first = src_pitch < 0 ? -src_pitch * (f.height - 1) : 0;
        const long dst_first = dst_pitch < 0 ? -dst_pitch * (f.height - 1) : 0;
        ccnvt_rgb32_v210(dst.data() + dst_first, f.dst_pitch, src.data() + src_first, f.src_pitch, f.width, f.height);
        Bytes expected(dst.size(), 0x5A);
        model_rgb32_v210(expected.data() + dst_first, dst_pitch, src.data() + src_first, src_pitch, f.width, f.height);
        EXPECT_EQ(dst.contents(), expected) << "width " << f.width << " " << feature_word_name(word);
        EXPECT_TRUE(dst.guards_intact()) << f.width;
    }
}

TEST(RgbEncoders, EveryColourMatchesTheModel) {
    for (const SpanRoutine& routine : kSpanRoutines)
        for (std::uint32_t skip : {0u, 1u}) {  // each colour as first and as second of a pair
            Bytes pixels = every_colour(routine.rules.order, skip);
            expect_model_bytes(routine, pixels, kColours, "skip " + std::to_string(skip));
        }
    const long width = 1920;  // ccnvt_rgb32_v210, BT.709 above 961 pixels a row
    const Bytes pixels = every_colour(kBgra, 0, width);
    const long height = static_cast<long>(pixels.size() / 4) / width;
    Bytes dst(5120 * height), expected(dst.size());
    ccnvt_rgb32_v210(dst.data(), 0, pixels.data(), 0, width, height);
    model_rgb32_v210(expected.data(), 5120, pixels.data(), 4 * width, width, height);
    EXPECT_TRUE(expected == dst) << "rgb32_v210";
}

TEST(RgbEncoders, Rgb32ToV210WorkedByHand) {
    // 7 x 2: after row 0's two groups one more reaches 14; row 1's second stays unwritten.
    const Bytes src(4 * 7 * 2 + 24, 0);
    Bytes dst(64, 0x5A);
    ccnvt_rgb32_v210(dst.data(), 32, src.data(), 28, 7, 2);
    EXPECT_EQ(load32(dst.data(), 8), v210_word(512, 64, 512));  // black
    EXPECT_EQ(Bytes(dst.begin() + 48, dst.end()), Bytes(16, 0x5A));
    // Green: Y 64 + 516.228 * 255 / 1024 = 192.55 (BT.601) up to 961 pixels, 246.43 (BT.709) above.
    Bytes green(4 * 966, 0), out(128 * 21, 0);
    for (long x = 0; x < 966; ++x) green[4 * x + 1] = 255;
    for (long w : {961L, 962L}) {
        ccnvt_rgb32_v210(out.data(), 0, green.data(), 0, w, 1);
        EXPECT_EQ(load32(out.data(), 0) >> 10 & 0x3FF, w == 961 ? 192u : 246u) << w;
    }
}

}  // namespace
