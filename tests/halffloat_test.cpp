// YCbCr to half-float RGBA: binary16 rounding, hand-worked pixels, the converters against a float model (one
// operation per step: the baseline build has no fused multiply-add) under every feature word.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/cconvert.h"
#include "hdr/halffloat.h"
#include "yuv422_support.h"

using namespace cconvert::test;

namespace {

float float_from_bits(std::uint32_t bits) { return std::bit_cast<float>(bits); }

// The value of a non-negative finite binary16 pattern.
double half_value(std::uint16_t h) {
    const int exponent = h >> 10, fraction = h & 0x3FF;
    return exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
}

// A channel as written: the clamped value's nearest binary16, ties to even (a carry reaches the exponent).
std::uint16_t reference_channel(float v) {
    const double d = v < 0.0f ? 0.0 : v > 1.0f ? 1.0 : v;
    if (d < 0x1p-14) return static_cast<std::uint16_t>(std::nearbyint(d * 0x1p24));
    int e;
    const double m = std::frexp(d, &e);  // d = m 2^e, m in [0.5, 1)
    return static_cast<std::uint16_t>(((e + 14) << 10) + static_cast<int>(std::nearbyint(m * 2048.0)) - 1024);
}

constexpr std::uint64_t kSweepStride = kSanitized ? 4099 : 1, kReferenceEvery = kSanitized ? 1 : 4093;

// Every float in [0, 1] (sampled when sanitized) against the exact midpoints between neighbouring halves.
TEST(HalfConversion, EveryFloatInTheUnitIntervalRoundsToNearestEven) {
    constexpr std::uint64_t kOne = 0x3F800000;
    std::vector<double> midpoint(0x3C00);  // halfway between h and h + 1, exact in double
    for (std::uint16_t h = 0; h < 0x3C00; ++h) midpoint[h] = (half_value(h) + half_value(h + 1)) / 2;
    std::uint16_t expected = 0;
    int failures = 0;
    for (std::uint64_t step = 0, bits = 0;; bits = std::min(++step * kSweepStride, kOne)) {
        const float v = float_from_bits(static_cast<std::uint32_t>(bits));
        while (expected < 0x3C00 && (v > midpoint[expected] || (v == midpoint[expected] && (expected & 1))))
            ++expected;
        const std::uint16_t got[3] = {cconvert::detail::half_from_channel(v), cconvert::detail::half_from_unit(v),
                                      step % kReferenceEvery == 0 ? reference_channel(v) : expected};
        for (int k = 0; k < 3; ++k)
            if (got[k] != expected && ++failures <= 10)
                ADD_FAILURE() << std::hex << "conversion " << k << ", float 0x" << bits << ": 0x" << got[k];
        if (bits == kOne) break;
    }
}

TEST(HalfConversion, SpecialValues) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const struct { float value; std::uint16_t channel, half; } cases[] = {  // clamped first; direct. -0 keeps its sign
        {-0.0f, 0x8000, 0x8000}, {-1e-30f, 0, 0x8000}, {2.0f, 0x3C00, 0x4000}, {-inf, 0, 0xFC00}, {-1e6f, 0, 0xFC00},
        {nan, 0x7E00, 0x7E00}, {-nan, 0xFE00, 0xFE00}, {float_from_bits(0x7F800001), 0x7E00, 0x7E00},
        {65519.996f, 0x3C00, 0x7BFF}, {65520.0f, 0x3C00, 0x7C00}, {0x5p-25f, 2, 2}, {-0x3p-25f, 0, 0x8002}};
    for (const auto& c : cases) {
        EXPECT_EQ(cconvert::detail::half_from_channel(c.value), c.channel) << c.value;
        EXPECT_EQ(cconvert::detail::half_from_float(c.value), c.half) << c.value;
    }
}

struct Decoding { float offset, luma_scale, centre, chroma_scale, kr, kgb, kgr, kb; };

// Matrix selector 1 is BT.601, 4 BT.2020, any other BT.709; 10-bit codes are the 8-bit ones times 4.
Decoding model_decoding(int matrix, int bits, bool full) {
    const float code = bits == 10 ? 4.0f : 1.0f, top = bits == 10 ? 1023.0f : 255.0f;
    static const float k[3][4] = {{1.5748f, -0.18732427f, -0.46812427f, 1.8556f},
                                  {1.402f, -0.3441363f, -0.7141363f, 1.772f},
                                  {1.4746f, -0.16455312f, -0.57135314f, 1.8814f}};
    const float* m = k[matrix == 1 ? 1 : matrix == 4 ? 2 : 0];
    return {full ? 0.0f : 16 * code, full ? 1 / top : 1 / (219 * code), 128 * code,
            full ? 1 / top : 1 / (224 * code), m[0], m[1], m[2], m[3]};
}

struct Pixel { std::uint32_t y, cb, cr; };

// Pixel x of a row; pair j's Cb Y0 Cr Y1 are stream samples 4j .. 4j + 3.
Pixel v210_pixel(const unsigned char* row, long x) {
    const long k = 4 * (x / 2);
    return {std::uint32_t(v210_sample(row, k + 1 + 2 * (x % 2))), std::uint32_t(v210_sample(row, k)),
            std::uint32_t(v210_sample(row, k + 2))};
}
Pixel uyvy_pixel(const unsigned char* r, long x) {
    return {r[x / 2 * 4 + 1 + x % 2 * 2], r[x / 2 * 4], r[x / 2 * 4 + 2]};
}

struct Rgb { float r, g, b; };

Rgb model_decode(const Decoding& d, const Pixel& p) {
    const float y = (static_cast<float>(p.y) - d.offset) * d.luma_scale;
    const float cb = (static_cast<float>(p.cb) - d.centre) * d.chroma_scale;
    const float cr = (static_cast<float>(p.cr) - d.centre) * d.chroma_scale;
    const float red_part = d.kr * cr, g_blue_part = d.kgb * cb, g_red_part = d.kgr * cr, blue_part = d.kb * cb;
    return {y + red_part, (y + g_blue_part) + g_red_part, y + blue_part};
}

// SDR to HDR: BT.709 10-bit video, gamma 2.4, BT.2020, PQ (white 203 cd/m2) or (mode 1) HLG; curves of 4097 points.
struct Curves { std::vector<float> linear, pq, hlg; };

const Curves& model_curves() {
    static const Curves curves = [] {
        Curves c;
        for (int i = 0; i <= 4096; ++i) {
            const float x = static_cast<float>(i) / 4096.0f, s = x * 0.26496f;
            c.linear.push_back(powf(x, 2.4f));
            const float n_m1 = powf(x * 203.0f / 10000.0f, 0.15930176f);
            const float ratio = (0.8359375f + 18.851563f * n_m1) / (1.0f + 18.6875f * n_m1);
            c.pq.push_back(std::fmin(std::fmax(powf(ratio, 78.84375f), 0.0f), 1.0f));
            c.hlg.push_back(s <= 0.083333336f ? sqrtf(3 * s) : 0.17883277f * logf(12 * s - 0.28466892f) + 0.5599107f);
        }
        return c;
    }();
    return curves;
}

float model_lookup(const std::vector<float>& t, float v) {
    if (v < 0.0f) return t[0];
    const float p = v * 4096.0f;
    const int i = static_cast<int>(p);
    if (v > 1.0f || i >= 4096) return t[4096];
    const float step = t[i + 1] - t[i], offset = step * (p - static_cast<float>(i));
    return t[i] + offset;
}

float unit(float v) { return v < 0.0f ? 0.0f : v > 1.0f ? 1.0f : v; }

Rgb model_sdr_to_hdr(const Pixel& p, int mode) {
    const Rgb video = model_decode(model_decoding(0, 10, false), p);
    const Curves& c = model_curves();
    const float r = model_lookup(c.linear, unit(video.r)), g = model_lookup(c.linear, unit(video.g)),
                b = model_lookup(c.linear, unit(video.b));
    const std::vector<float>& encode = mode == 1 ? c.hlg : c.pq;
    auto mix = [&](float kr, float kg, float kb) {
        const float first = kr * r, second = kg * g, third = kb * b;
        return model_lookup(encode, unit((first + second) + third));
    };
    return {mix(0.627404f, 0.329282f, 0.0433136f), mix(0.069097f, 0.91954f, 0.0113612f),
            mix(0.0163916f, 0.0880132f, 0.895595f)};
}

enum class Kernel { TenBit, EightBit, SdrToHdr };

long row_bytes(Kernel k, long width) { return k == Kernel::EightBit ? (width + 1) / 2 * 4 : (width + 5) / 6 * 16; }

// The model's pixel x as RGBA halves; a, b: (matrix, full range) or (transfer mode, unused).
void model_pixel(Kernel kernel, const unsigned char* row, long x, int a, int b, unsigned char* rgba) {
    const Rgb c = kernel == Kernel::SdrToHdr ? model_sdr_to_hdr(v210_pixel(row, x), a)
                  : kernel == Kernel::TenBit ? model_decode(model_decoding(a, 10, b != 0), v210_pixel(row, x))
                                             : model_decode(model_decoding(a, 8, b != 0), uyvy_pixel(row, x));
    const std::uint16_t halves[4] = {reference_channel(c.r), reference_channel(c.g), reference_channel(c.b), 0x3C00};
    std::memcpy(rgba, halves, 8);
}

void run_kernel(Kernel kernel, void* out, long out_pitch, const void* in, long in_pitch, long width, long height,
                int a, int b) {
    if (kernel == Kernel::TenBit) yCbCr10_to_halffloat_c(out, out_pitch, in, in_pitch, width, height, a, b);
    if (kernel == Kernel::EightBit) yCbCr8_to_halffloat_c(out, out_pitch, in, in_pitch, width, height, a, b);
    if (kernel == Kernel::SdrToHdr) yCbCr10_to_halffloat_sdr_to_hdr(out, out_pitch, in, in_pitch, width, height, a);
}

// A random frame with pitches of any sign; every destination byte, padding and guards included, against the model.
void expect_frame_matches_model(Kernel kernel, long width, long height, long in_pitch, long out_pitch, int a,
                                int b, std::uint32_t seed) {
    auto bytes = [&](long pitch, long row) { return std::size_t(std::labs(pitch) * (height - 1) + row); };
    auto first = [&](long pitch) { return pitch < 0 ? -pitch * (height - 1) : 0; };
    const auto source = random_bytes(bytes(in_pitch, row_bytes(kernel, width)), seed);
    GuardedBuffer out(bytes(out_pitch, 8 * width));
    out.fill_random(seed + 1);
    auto expected = out.contents();
    for (long row = 0; row < height; ++row)
        for (long x = 0; x < width; ++x)
            model_pixel(kernel, source.data() + first(in_pitch) + row * in_pitch, x, a, b,
                        expected.data() + first(out_pitch) + row * out_pitch + 8 * x);
    run_kernel(kernel, out.data() + first(out_pitch), out_pitch, source.data() + first(in_pitch), in_pitch,
               width, height, a, b);
    ASSERT_EQ(out.contents(), expected) << width << "x" << height << " pitches " << in_pitch << ", " << out_pitch;
    ASSERT_TRUE(out.guards_intact());
}

class HalfFloatKernels : public ::testing::TestWithParam<std::tuple<Kernel, unsigned int>> {};

// Every v210 phase, 2vuy half pair and block tail, around the 384-pixel chunks; selectors and layouts take turns.
TEST_P(HalfFloatKernels, FramesMatchTheModel) {
    const auto [kernel, word] = GetParam();
    const ScopedCpuFeatures features(word);
    const int selectors[][2] = {{0, 0}, {1, 0}, {4, 0}, {9, 0}, {1, 1}, {4, 1}, {2, 7}};  // SDR to HDR: 0, 1, 2
    for (long width : {1L, 2L, 3L, 4L, 5L, 6L, 7L, 8L, 9L, 10L, 11L, 12L, 13L, 14L, 15L, 16L, 17L, 383L, 386L, 777L}) {
        const int a = kernel == Kernel::SdrToHdr ? width % 3 : selectors[width % 7][0], b = selectors[width % 7][1];
        const long in = row_bytes(kernel, width), out = 8 * width;
        const long layouts[4][3] = {{in, out, 3}, {in + 36, out + 3, 2}, {-in - 4, -out - 8, 3}, {0, out, 2}};
        const long* p = layouts[width % 4];
        expect_frame_matches_model(kernel, width, p[2], p[0], p[1], a, b, static_cast<std::uint32_t>(width));
    }
}

std::string kernel_case_name(const ::testing::TestParamInfo<std::tuple<Kernel, unsigned int>>& info) {
    const char* names[] = {"TenBit", "EightBit", "SdrToHdr"};
    return names[static_cast<int>(std::get<0>(info.param))] + std::string("_") +
           feature_word_name(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, HalfFloatKernels,
                         ::testing::Combine(::testing::Values(Kernel::TenBit, Kernel::EightBit, Kernel::SdrToHdr),
                                            ::testing::ValuesIn(feature_words_to_test())),
                         kernel_case_name);

// A row of nine equal pixels (one eight-pixel block and a tail).
std::vector<unsigned char> row_of(Kernel kernel, std::uint32_t y, std::uint32_t cb, std::uint32_t cr) {
    std::vector<unsigned char> row(32);
    auto word = [](std::uint32_t a, std::uint32_t b, std::uint32_t c) { return a | b << 10 | c << 20; };
    const std::uint32_t words[4] = {word(cb, y, cr), word(y, cb, y), word(cr, y, cb), word(y, cr, y)};
    for (int i = 0; i < 32; ++i)
        row[i] = kernel == Kernel::EightBit ? static_cast<unsigned char>(i % 2 ? y : i % 4 ? cr : cb)
                                            : reinterpret_cast<const unsigned char*>(words)[i % 16];
    return row;
}

TEST(HalfFloatPixels, WorkedByHand) {
    const struct { Kernel kernel; int a, b; std::uint32_t y, cb, cr; std::uint16_t rgb[3]; } cases[] = {
        // Y 502 is 0.5 less an ulp, Cr 960 is 0.5: R clips, G = 0.5 + kgr / 2 (BT.709, BT.601, BT.2020).
        {Kernel::TenBit, 0, 0, 64, 512, 512, {0, 0, 0}},
        {Kernel::TenBit, 4, 1, 1023, 512, 512, {0x3C00, 0x3C00, 0x3C00}},
        {Kernel::TenBit, 0, 0, 502, 512, 960, {0x3C00, 0x3441, 0x3800}},
        {Kernel::TenBit, 1, 0, 502, 512, 960, {0x3C00, 0x3093, 0x3800}},
        {Kernel::TenBit, 4, 0, 502, 512, 960, {0x3C00, 0x32DC, 0x3800}},
        // 8-bit Y 126 is 110/219, Cb 240 is 0.5: B clips; full range Cb 0 is -128/255: B = 1 - 1.772 x 0.50196.
        {Kernel::EightBit, 1, 0, 126, 240, 128, {0x3805, 0x3549, 0x3C00}},
        {Kernel::EightBit, 1, 1, 255, 0, 128, {0x3C00, 0x3C00, 0x2F13}}};
    for (const auto& c : cases) {  // the processor's own path
        GuardedBuffer out(8 * 9);
        run_kernel(c.kernel, out.data(), 72, row_of(c.kernel, c.y, c.cb, c.cr).data(), 32, 9, 1, c.a, c.b);
        const std::uint16_t rgba[4] = {c.rgb[0], c.rgb[1], c.rgb[2], 0x3C00};
        for (int x = 0; x < 9; ++x) EXPECT_EQ(std::memcmp(out.data() + 8 * x, rgba, 8), 0) << "Y " << c.y << " x " << x;
        EXPECT_TRUE(out.guards_intact());
    }
}

// Video white is reference white, 203 cd/m2: PQ 0.58, HLG (mode 1) 0.75; black is 0.
TEST(HalfFloatPixels, SdrWhiteBecomesReferenceWhite) {
    const int cases[][3] = {{940, 0, 580}, {940, 1, 750}, {64, 0, 0}};  // Y, mode, level x 1000
    for (const auto& [y, mode, level] : cases) {
        std::uint16_t halves[36];
        yCbCr10_to_halffloat_sdr_to_hdr(halves, 72, row_of(Kernel::TenBit, y, 512, 512).data(), 32, 9, 1, mode);
        for (int i = 0; i < 36; ++i) EXPECT_NEAR(half_value(halves[i]), i % 4 == 3 ? 1.0 : level / 1000.0, 0.005) << i;
    }
}

// Empty or null arguments write nothing; other builds' kernels decline; every entry gives the portable bytes.
TEST(HalfFloatEntryPoints, RouteToThePortableKernels) {
    using Entry = void (*)(void*, long, const void*, long, long, long, int, int);
    const Entry entries[] = {yCbCr10_to_halffloat,      yCbCr8_to_halffloat,      yCbCr10_to_halffloat_avx2,
                             yCbCr8_to_halffloat_avx2,  yCbCr10_to_halffloat_neon, yCbCr8_to_halffloat_neon,
                             yCbCr10_to_halffloat_c,    yCbCr8_to_halffloat_c};
    const auto source = random_bytes(4096, 5);
    const unsigned char* in = source.data();
    GuardedBuffer out(1024, 0x33);
    const long empty[][2] = {{0, 2}, {8, 0}, {-8, 2}, {8, -2}};  // and null pointers at 8 x 2
    for (const auto& [w, h] : empty) yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 64, in, 64, w, h, 0);
    yCbCr10_to_halffloat_sdr_to_hdr(nullptr, 64, in, 64, 8, 2, 0);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 64, nullptr, 64, 8, 2, 0);
    for (int e = 0; e < 8; ++e) {
        for (const auto& [w, h] : empty) entries[e](out.data(), 64, in, 64, w, h, 0, 0);
        entries[e](nullptr, 64, in, 64, 8, 2, 0, 0);
        entries[e](out.data(), 64, nullptr, 64, 8, 2, 0, 0);
        std::vector<unsigned char> got(800 * 3), want(800 * 3);
        entries[e](got.data(), 800, in, 288, 100, 3, 4, 1);
        entries[6 + e % 2](want.data(), 800, in, 288, 100, 3, 4, 1);
        EXPECT_EQ(got, want) << e;
    }
    for (auto shim : {yCbCr10_to_halffloat_avx2_impl, yCbCr8_to_halffloat_avx2_impl, yCbCr10_to_halffloat_arm,
                      yCbCr8_to_halffloat_arm})
        EXPECT_FALSE(shim(out.data(), 64, in, 64, 8, 2, 0, 0));
    EXPECT_TRUE(out.contents() == std::vector<unsigned char>(1024, 0x33) && out.guards_intact());
    EXPECT_EQ(yCbCr_halffloat_avx2_available() | yCbCr_halffloat_neon_available(), 0);
}

}  // namespace
