// YCbCr to half-float RGBA: the binary16 conversion against references
// written here (every float in [0, 1] in the optimised build), the portable
// and F16C row code against a scalar single-precision model of the decoding
// and of the SDR-to-HDR path on random v210 and 2vuy frames, hand-worked
// pixels, the entry points and the processor kernels that decline, and
// concurrent first use of the SDR-to-HDR curves.
//
// The models are written with one operation per step; this file is built
// for the baseline x86-64 instruction set, which has no fused multiply-add,
// so the compiler evaluates them exactly as written.
#include <immintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <latch>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/cconvert.h"
#include "hdr/halffloat.h"
#include "support/test_support.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;

namespace {

// ---- binary16 references ----

float float_from_bits(std::uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The value of a non-negative finite binary16 pattern.
double half_value(std::uint16_t h) {
    const int exponent = h >> 10, fraction = h & 0x3FF;
    if (exponent == 0) return std::ldexp(fraction, -24);
    return std::ldexp(1024 + fraction, exponent - 25);
}

// Nearest binary16, ties to even, of v in [+0, 1], from the value.
std::uint16_t reference_half(float v) {
    const double d = v;
    if (d < 0x1p-14) return static_cast<std::uint16_t>(std::nearbyint(d * 0x1p24));
    int e;
    const double m = std::frexp(d, &e);  // d = m 2^e, m in [0.5, 1)
    double significand = std::nearbyint(m * 2048.0);
    int exponent = e - 1 + 15;
    if (significand == 2048.0) significand = 1024.0, ++exponent;
    return static_cast<std::uint16_t>(exponent << 10 | (static_cast<int>(significand) - 1024));
}

// A colour channel as it must be written.
std::uint16_t reference_channel(float v) {
    if (v < 0.0f) return 0x0000;
    if (v > 1.0f) return 0x3C00;
    return reference_half(v);
}

// Every float pattern from +0 to 1.0 in the optimised build; a sample under
// the sanitizers. Patterns rise with their values, so the expected binary16
// is found by walking up the exact midpoints between neighbours.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::uint32_t kSweepStride = 4099;
#else
constexpr std::uint32_t kSweepStride = 1;
#endif
constexpr std::uint32_t kFloatOne = 0x3F800000;

template <class Check>
void sweep_unit_interval(Check check, std::uint32_t stride = kSweepStride) {
    // midpoint[h]: halfway between binary16 h and h + 1, exact in double.
    static const std::vector<double> midpoint = [] {
        std::vector<double> m(0x3C00);
        for (std::uint16_t h = 0; h < 0x3C00; ++h) m[h] = (half_value(h) + half_value(h + 1)) / 2;
        return m;
    }();
    std::uint16_t expected = 0;
    auto advance = [&](double v) {
        while (expected < 0x3C00 &&
               (v > midpoint[expected] || (v == midpoint[expected] && (expected & 1))))
            ++expected;
    };
    for (std::uint64_t bits = 0; bits <= kFloatOne; bits += stride) {
        const float v = float_from_bits(static_cast<std::uint32_t>(bits));
        advance(v);
        if (!check(static_cast<std::uint32_t>(bits), v, expected)) return;
    }
    const float one = float_from_bits(kFloatOne);
    advance(one);
    check(kFloatOne, one, expected);
}

TEST(HalfConversion, EveryFloatInTheUnitIntervalRoundsToNearestEven) {
    std::uint64_t failures = 0;
    sweep_unit_interval([&](std::uint32_t bits, float v, std::uint16_t expected) {
        // The general conversion, and the branch-free one of the row loops.
        const std::uint16_t got = cconvert::detail::half_from_channel(v);
        const std::uint16_t unit = cconvert::detail::half_from_unit(v);
        if (got != expected || unit != expected) {
            ADD_FAILURE() << std::hex << "float 0x" << bits << ": 0x" << got << " and 0x" << unit
                          << ", want 0x" << expected;
            return ++failures < 10;
        }
        return true;
    });
    EXPECT_EQ(failures, 0u);
}

__attribute__((target("f16c"))) std::uint16_t f16c_half(float v) {
    return static_cast<std::uint16_t>(_mm_extract_epi16(_mm_cvtps_ph(_mm_set_ss(v), _MM_FROUND_TO_NEAREST_INT), 0));
}

// The F16C row code relies on this: the processor's conversion equals ours
// for every float in [0, 1].
TEST(HalfConversion, F16cAgreesOnEveryFloatInTheUnitInterval) {
    if (!__builtin_cpu_supports("f16c")) GTEST_SKIP() << "no F16C on this processor";
    std::uint64_t failures = 0;
    sweep_unit_interval([&](std::uint32_t bits, float v, std::uint16_t expected) {
        const std::uint16_t got = f16c_half(v);
        if (got != expected) {
            ADD_FAILURE() << std::hex << "float 0x" << bits << ": 0x" << got << ", want 0x" << expected;
            return ++failures < 10;
        }
        return true;
    });
    EXPECT_EQ(failures, 0u);
}

// The value-based reference used by the frame models against the walk.
TEST(HalfConversion, TheTwoReferencesAgree) {
    sweep_unit_interval(
        [](std::uint32_t bits, float v, std::uint16_t expected) {
            EXPECT_EQ(reference_half(v), expected) << std::hex << bits;
            return !::testing::Test::HasFailure();
        },
        4093);
}

struct SpecialCase {
    float value;
    std::uint16_t channel;  // through the clamp
    std::uint16_t half;     // converted directly
};

TEST(HalfConversion, SpecialValues) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const SpecialCase cases[] = {
        {0.0f, 0x0000, 0x0000},
        {-0.0f, 0x8000, 0x8000},  // not below 0: converted, keeps its sign
        {1.0f, 0x3C00, 0x3C00},
        {-1e-30f, 0x0000, 0x8000},
        {-2.0f, 0x0000, 0xC000},
        {1.0000001f, 0x3C00, 0x3C00},
        {2.0f, 0x3C00, 0x4000},
        {infinity, 0x3C00, 0x7C00},
        {-infinity, 0x0000, 0xFC00},
        {nan, 0x7E00, 0x7E00},
        {-nan, 0xFE00, 0xFE00},
        {float_from_bits(0x7F800001), 0x7E00, 0x7E00},  // signalling NaN
        {65504.0f, 0x3C00, 0x7BFF},
        {65519.996f, 0x3C00, 0x7BFF},
        {65520.0f, 0x3C00, 0x7C00},                     // rounds up to infinity
        {-1e6f, 0x0000, 0xFC00},
        {0x1p-14f, 0x0400, 0x0400},                      // smallest normal
        {0x1p-24f, 0x0001, 0x0001},                      // smallest subnormal
        {0x1p-25f, 0x0000, 0x0000},                      // tie to even: zero
        {float_from_bits(0x33000001), 0x0001, 0x0001},  // just above the tie
        {0x3p-25f, 0x0002, 0x0002},                      // 1.5 ulp: tie to even, up
        {0x5p-25f, 0x0002, 0x0002},                      // 2.5 ulp: tie to even, down
        {-0x3p-25f, 0x0000, 0x8002},
        {0x1p-149f, 0x0000, 0x0000},                     // float subnormal
        {float_from_bits(0x3F7FF000), 0x3C00, 0x3C00},  // tie between 0x3BFF and 1.0: even
        {float_from_bits(0x3F7FE000), 0x3BFF, 0x3BFF},
        {float_from_bits(0x3F801000), 0x3C00, 0x3C00},  // above 1: clamped
    };
    for (const SpecialCase& c : cases) {
        EXPECT_EQ(cconvert::detail::half_from_channel(c.value), c.channel) << c.value;
        EXPECT_EQ(cconvert::detail::half_from_float(c.value), c.half) << c.value;
    }
}

// ---- the decoding model ----

struct Decoding {
    float offset, luma_scale, centre, chroma_scale, kr, kgb, kgr, kb;
};

Decoding model_decoding(int matrix, int bits, bool full) {
    Decoding d{};
    if (bits == 10) {
        d.offset = full ? 0.0f : 64.0f;
        d.luma_scale = full ? 1.0f / 1023.0f : 1.0f / 876.0f;
        d.centre = 512.0f;
        d.chroma_scale = full ? 1.0f / 1023.0f : 1.0f / 896.0f;
    } else {
        d.offset = full ? 0.0f : 16.0f;
        d.luma_scale = full ? 1.0f / 255.0f : 1.0f / 219.0f;
        d.centre = 128.0f;
        d.chroma_scale = full ? 1.0f / 255.0f : 1.0f / 224.0f;
    }
    if (matrix == 1) {
        d.kr = 1.402f, d.kgb = -0.3441363f, d.kgr = -0.7141363f, d.kb = 1.772f;
    } else if (matrix == 4) {
        d.kr = 1.4746f, d.kgb = -0.16455312f, d.kgr = -0.57135314f, d.kb = 1.8814f;
    } else {
        d.kr = 1.5748f, d.kgb = -0.18732427f, d.kgr = -0.46812427f, d.kb = 1.8556f;
    }
    return d;
}

struct Pixel {
    std::uint32_t y, cb, cr;
};

// Pixel x of a row, from the layouts: v210 fields in stream order
// Cb0 Y0 Cr0 Y1 Cb2 Y2 Cr2 Y3 Cb4 Y4 Cr4 Y5, 2vuy bytes Cb Y0 Cr Y1.
Pixel v210_pixel(const unsigned char* row, long x) {
    const unsigned char* group = row + 16 * (x / 6);
    auto field = [&](int n) {
        std::uint32_t word;
        std::memcpy(&word, group + 4 * (n / 3), 4);
        return (word >> (10 * (n % 3))) & 0x3FF;
    };
    const int pair = static_cast<int>(x % 6) / 2;
    return {field(4 * pair + 1 + 2 * static_cast<int>(x % 2)), field(4 * pair), field(4 * pair + 2)};
}

Pixel uyvy_pixel(const unsigned char* row, long x) {
    const unsigned char* pair = row + 4 * (x / 2);
    return {pair[1 + 2 * (x % 2)], pair[0], pair[2]};
}

struct Rgb {
    float r, g, b;
};

Rgb model_decode(const Decoding& d, const Pixel& p) {
    const float y = static_cast<float>(static_cast<int>(p.y) - static_cast<int>(d.offset)) * d.luma_scale;
    const float cb = static_cast<float>(static_cast<int>(p.cb) - static_cast<int>(d.centre)) * d.chroma_scale;
    const float cr = static_cast<float>(static_cast<int>(p.cr) - static_cast<int>(d.centre)) * d.chroma_scale;
    const float red_part = d.kr * cr;
    const float g_blue_part = d.kgb * cb;
    const float g_red_part = d.kgr * cr;
    const float blue_part = d.kb * cb;
    const float g_first = y + g_blue_part;
    return {y + red_part, g_first + g_red_part, y + blue_part};
}

// ---- the SDR-to-HDR model ----

struct Curves {
    std::vector<float> linear, pq, hlg;
};

const Curves& model_curves() {
    static const Curves curves = [] {
        Curves c;
        for (int i = 0; i <= 4096; ++i) {
            const float x = static_cast<float>(i) / 4096.0f;
            c.linear.push_back(powf(x, 2.4f));
            const float n = x * 203.0f / 10000.0f;
            const float n_m1 = powf(n, 0.15930176f);
            const float ratio = (0.8359375f + 18.851563f * n_m1) / (1.0f + 18.6875f * n_m1);
            c.pq.push_back(std::fmin(std::fmax(powf(ratio, 78.84375f), 0.0f), 1.0f));
            const float s = x * 0.26496f;
            c.hlg.push_back(s <= 0.083333336f ? sqrtf(3.0f * s)
                                              : 0.17883277f * logf(12.0f * s - 0.28466892f) + 0.5599107f);
        }
        return c;
    }();
    return curves;
}

float model_lookup(const std::vector<float>& t, float v) {
    if (v < 0.0f) return t[0];
    if (v > 1.0f) return t[4096];
    const float p = v * 4096.0f;
    const int i = static_cast<int>(p);
    if (i >= 4096) return t[4096];
    const float step = t[i + 1] - t[i];
    const float fraction = p - static_cast<float>(i);
    const float offset = step * fraction;
    return t[i] + offset;
}

float unit(float v) { return v < 0.0f ? 0.0f : v > 1.0f ? 1.0f : v; }

Rgb model_sdr_to_hdr(const Pixel& p, int mode) {
    const Rgb video = model_decode(model_decoding(0, 10, false), p);
    const Curves& c = model_curves();
    const float r = model_lookup(c.linear, unit(video.r));
    const float g = model_lookup(c.linear, unit(video.g));
    const float b = model_lookup(c.linear, unit(video.b));
    auto mix = [&](float kr, float kg, float kb) {
        const float first = kr * r, second = kg * g, third = kb * b;
        const float partial = first + second;
        return unit(partial + third);
    };
    const std::vector<float>& encode = mode == 1 ? c.hlg : c.pq;
    return {model_lookup(encode, mix(0.627404f, 0.329282f, 0.0433136f)),
            model_lookup(encode, mix(0.069097f, 0.91954f, 0.0113612f)),
            model_lookup(encode, mix(0.0163916f, 0.0880132f, 0.895595f))};
}

// ---- frames ----

enum class Kernel { TenBit, EightBit, SdrToHdr };

struct Frame {
    long width, height, source_pitch, destination_pitch;
};

std::size_t source_row_bytes(Kernel kernel, long width) {
    return kernel == Kernel::EightBit ? 4 * static_cast<std::size_t>((width + 1) / 2)
                                      : 16 * static_cast<std::size_t>((width + 5) / 6);
}

// Expected destination: the guarded buffer's initial contents with each
// row's width pixels replaced.
std::vector<unsigned char> model_frame(Kernel kernel, const std::vector<unsigned char>& before,
                                       const unsigned char* source, const Frame& f, int a, int b) {
    std::vector<unsigned char> out = before;
    for (long row = 0; row < f.height; ++row) {
        const unsigned char* in = source + row * f.source_pitch;
        for (long x = 0; x < f.width; ++x) {
            Rgb c;
            if (kernel == Kernel::SdrToHdr)
                c = model_sdr_to_hdr(v210_pixel(in, x), a);
            else if (kernel == Kernel::TenBit)
                c = model_decode(model_decoding(a, 10, b != 0), v210_pixel(in, x));
            else
                c = model_decode(model_decoding(a, 8, b != 0), uyvy_pixel(in, x));
            const std::uint16_t rgba[4] = {reference_channel(c.r), reference_channel(c.g),
                                           reference_channel(c.b), 0x3C00};
            std::memcpy(out.data() + row * f.destination_pitch + 8 * x, rgba, 8);
        }
    }
    return out;
}

void run_kernel(Kernel kernel, void* destination, const Frame& f, const void* source, int a, int b) {
    switch (kernel) {
        case Kernel::TenBit:
            yCbCr10_to_halffloat_c(destination, f.destination_pitch, source, f.source_pitch, f.width, f.height, a, b);
            break;
        case Kernel::EightBit:
            yCbCr8_to_halffloat_c(destination, f.destination_pitch, source, f.source_pitch, f.width, f.height, a, b);
            break;
        case Kernel::SdrToHdr:
            yCbCr10_to_halffloat_sdr_to_hdr(destination, f.destination_pitch, source, f.source_pitch, f.width,
                                            f.height, a);
            break;
    }
}

// Converts a random frame and compares every destination byte, padding
// and guards included, with the model.
void expect_frame_matches_model(Kernel kernel, const Frame& f, int a, int b, std::uint32_t seed) {
    const std::size_t source_bytes = f.source_pitch * (f.height - 1) + source_row_bytes(kernel, f.width);
    const auto source = cconvert::test::random_bytes(source_bytes, seed);
    GuardedBuffer destination(f.destination_pitch * (f.height - 1) + 8 * f.width);
    destination.fill_random(seed + 1);
    const auto expected = model_frame(kernel, destination.contents(), source.data(), f, a, b);
    run_kernel(kernel, destination.data(), f, source.data(), a, b);
    ASSERT_EQ(destination.contents(), expected)
        << "width " << f.width << " height " << f.height << " selectors " << a << ", " << b;
    ASSERT_TRUE(destination.guards_intact());
}

struct KernelCase {
    Kernel kernel;
    unsigned int features;
};

std::string kernel_case_name(const ::testing::TestParamInfo<KernelCase>& info) {
    const char* names[] = {"TenBit", "EightBit", "SdrToHdr"};
    return std::string(names[static_cast<int>(info.param.kernel)]) + "_" +
           cconvert::test::feature_word_name(info.param.features);
}

std::vector<KernelCase> kernel_cases() {
    std::vector<KernelCase> cases;
    for (Kernel kernel : {Kernel::TenBit, Kernel::EightBit, Kernel::SdrToHdr})
        for (unsigned int word : cconvert::test::feature_words_to_test()) cases.push_back({kernel, word});
    return cases;
}

// Selector pairs: (matrix, full range) or (transfer mode, unused).
std::vector<std::pair<int, int>> selectors(Kernel kernel) {
    if (kernel == Kernel::SdrToHdr) return {{0, 0}, {1, 0}, {2, 0}};
    return {{0, 0}, {1, 0}, {4, 0}, {9, 0}, {1, 1}, {4, 1}, {2, 7}};
}

class HalfFloatKernels : public ::testing::TestWithParam<KernelCase> {};

TEST_P(HalfFloatKernels, NarrowFramesMatchTheModel) {
    const ScopedCpuFeatures features(GetParam().features);
    const Kernel kernel = GetParam().kernel;
    std::uint32_t seed = 100;
    for (const auto& [a, b] : selectors(kernel))
        for (long width = 1; width <= 20; ++width) {
            const long tight = static_cast<long>(source_row_bytes(kernel, width));
            expect_frame_matches_model(kernel, {width, 3, tight, 8 * width}, a, b, ++seed);
            // Padded rows, and a destination pitch that is no multiple of 8.
            expect_frame_matches_model(kernel, {width, 2, tight + 36, 8 * width + 3}, a, b, ++seed);
        }
}

TEST_P(HalfFloatKernels, WideFramesMatchTheModel) {
    const ScopedCpuFeatures features(GetParam().features);
    const Kernel kernel = GetParam().kernel;
    std::uint32_t seed = 200;
    for (const auto& [a, b] : selectors(kernel))
        for (long width : {383L, 384L, 385L, 777L, 1920L, 1927L}) {
            const long tight = static_cast<long>(source_row_bytes(kernel, width));
            expect_frame_matches_model(kernel, {width, 2, tight + 16, 8 * width + 24}, a, b, ++seed);
        }
}

TEST_P(HalfFloatKernels, NegativePitchesWalkTheRowsUpwards) {
    const ScopedCpuFeatures features(GetParam().features);
    const Kernel kernel = GetParam().kernel;
    const long width = 50, height = 4;
    const long pitch_in = static_cast<long>(source_row_bytes(kernel, width)), pitch_out = 8 * width;
    const auto source = cconvert::test::random_bytes(pitch_in * height, 7);
    std::vector<unsigned char> down(pitch_out * height), up(pitch_out * height);
    run_kernel(kernel, down.data(), {width, height, pitch_in, pitch_out}, source.data(), 1, 0);
    run_kernel(kernel, up.data() + pitch_out * (height - 1), {width, height, -pitch_in, -pitch_out},
               source.data() + pitch_in * (height - 1), 1, 0);
    EXPECT_EQ(up, down);
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, HalfFloatKernels, ::testing::ValuesIn(kernel_cases()),
                         kernel_case_name);

// ---- hand-worked pixels ----

std::vector<std::uint16_t> halves_of(const GuardedBuffer& buffer, std::size_t count) {
    std::vector<std::uint16_t> halves(count);
    std::memcpy(halves.data(), buffer.data(), 2 * count);
    return halves;
}

std::vector<unsigned char> v210_group(std::uint32_t y, std::uint32_t cb, std::uint32_t cr) {
    auto word = [](std::uint32_t a, std::uint32_t b, std::uint32_t c) { return a | b << 10 | c << 20; };
    const std::uint32_t words[4] = {word(cb, y, cr), word(y, cb, y), word(cr, y, cb), word(y, cr, y)};
    std::vector<unsigned char> bytes(16);
    std::memcpy(bytes.data(), words, 16);
    return bytes;
}

class HalfFloatPixels : public ::testing::TestWithParam<unsigned int> {};

TEST_P(HalfFloatPixels, VideoBlackAndWhite) {
    const ScopedCpuFeatures features(GetParam());
    const std::uint16_t black[] = {0, 0, 0, 0x3C00}, white[] = {0x3C00, 0x3C00, 0x3C00, 0x3C00};
    for (int matrix : {0, 1, 4}) {
        GuardedBuffer out(8);
        yCbCr10_to_halffloat_c(out.data(), 8, v210_group(64, 512, 512).data(), 16, 1, 1, matrix, 0);
        EXPECT_EQ(halves_of(out, 4), std::vector<std::uint16_t>(black, black + 4));
        yCbCr10_to_halffloat_c(out.data(), 8, v210_group(940, 512, 512).data(), 16, 1, 1, matrix, 0);
        EXPECT_EQ(halves_of(out, 4), std::vector<std::uint16_t>(white, white + 4));
        // Above video white is clamped, not written above 1.
        yCbCr10_to_halffloat_c(out.data(), 8, v210_group(1023, 512, 512).data(), 16, 1, 1, matrix, 0);
        EXPECT_EQ(halves_of(out, 4), std::vector<std::uint16_t>(white, white + 4));
        yCbCr10_to_halffloat_c(out.data(), 8, v210_group(1023, 512, 512).data(), 16, 1, 1, matrix, 1);
        EXPECT_EQ(halves_of(out, 4), std::vector<std::uint16_t>(white, white + 4));
        const unsigned char uyvy_black[] = {128, 16, 128, 16}, uyvy_white[] = {128, 235, 128, 235};
        yCbCr8_to_halffloat_c(out.data(), 8, uyvy_black, 4, 1, 1, matrix, 0);
        EXPECT_EQ(halves_of(out, 4), std::vector<std::uint16_t>(black, black + 4));
        yCbCr8_to_halffloat_c(out.data(), 8, uyvy_white, 4, 1, 1, matrix, 0);
        EXPECT_EQ(halves_of(out, 4), std::vector<std::uint16_t>(white, white + 4));
        EXPECT_TRUE(out.guards_intact());
    }
}

TEST_P(HalfFloatPixels, PartialGroupsWriteOnlyTheirPixels) {
    const ScopedCpuFeatures features(GetParam());
    // Width 7 on v210: six pixels from the first group, one from the second.
    std::vector<unsigned char> v210 = v210_group(940, 512, 512);
    const auto second = v210_group(64, 512, 512);
    v210.insert(v210.end(), second.begin(), second.end());
    GuardedBuffer out(8 * 8, 0x11);
    yCbCr10_to_halffloat_c(out.data(), 64, v210.data(), 32, 7, 1, 0, 0);
    const auto halves = halves_of(out, 32);
    for (int x = 0; x < 6; ++x) EXPECT_EQ(halves[4 * x], 0x3C00) << x;
    EXPECT_EQ(halves[24], 0x0000);
    for (int i = 56; i < 64; ++i) EXPECT_EQ(out[i], 0x11) << i;

    // Width 3 on 2vuy: three pixels; the fourth slot is not touched.
    const unsigned char uyvy[] = {128, 235, 128, 16, 128, 235, 128, 235};
    GuardedBuffer out8(4 * 8, 0x11);
    yCbCr8_to_halffloat_c(out8.data(), 32, uyvy, 8, 3, 1, 0, 0);
    const auto halves8 = halves_of(out8, 12);
    EXPECT_EQ(halves8[0], 0x3C00);
    EXPECT_EQ(halves8[4], 0x0000);
    EXPECT_EQ(halves8[8], 0x3C00);
    for (int i = 24; i < 32; ++i) EXPECT_EQ(out8[i], 0x11) << i;
    EXPECT_TRUE(out.guards_intact() && out8.guards_intact());
}

float float_from_half(std::uint16_t h) { return static_cast<float>(half_value(h)); }

TEST_P(HalfFloatPixels, SdrWhiteBecomesReferenceWhite) {
    const ScopedCpuFeatures features(GetParam());
    GuardedBuffer out(8);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 8, v210_group(940, 512, 512).data(), 16, 1, 1, 0);
    for (std::uint16_t h : halves_of(out, 3)) EXPECT_NEAR(float_from_half(h), 0.58f, 0.005f);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 8, v210_group(940, 512, 512).data(), 16, 1, 1, 1);
    for (std::uint16_t h : halves_of(out, 3)) EXPECT_NEAR(float_from_half(h), 0.75f, 0.005f);
    EXPECT_EQ(halves_of(out, 4)[3], 0x3C00);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 8, v210_group(64, 512, 512).data(), 16, 1, 1, 0);
    for (std::uint16_t h : halves_of(out, 3)) EXPECT_LT(float_from_half(h), 0.01f);
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, HalfFloatPixels,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// ---- entry points ----

using HalfFloatEntry = void (*)(void*, long, const void*, long, long, long, int, int);
using HalfFloatShim = bool (*)(void*, long, const void*, long, long, long, int, int);

TEST(HalfFloatEntryPoints, NothingIsWrittenForEmptyOrNullArguments) {
    const auto source = cconvert::test::random_bytes(4096, 5);
    const HalfFloatEntry entries[] = {yCbCr10_to_halffloat_c, yCbCr8_to_halffloat_c, yCbCr10_to_halffloat,
                                      yCbCr8_to_halffloat,    yCbCr10_to_halffloat_avx2, yCbCr8_to_halffloat_avx2,
                                      yCbCr10_to_halffloat_neon, yCbCr8_to_halffloat_neon};
    GuardedBuffer out(1024, 0x33);
    const std::vector<unsigned char> untouched(1024, 0x33);
    for (HalfFloatEntry entry : entries) {
        entry(nullptr, 64, source.data(), 64, 8, 2, 0, 0);
        entry(out.data(), 64, nullptr, 64, 8, 2, 0, 0);
        entry(out.data(), 64, source.data(), 64, 0, 2, 0, 0);
        entry(out.data(), 64, source.data(), 64, 8, 0, 0, 0);
        entry(out.data(), 64, source.data(), 64, -8, 2, 0, 0);
        entry(out.data(), 64, source.data(), 64, 8, -2, 0, 0);
        EXPECT_EQ(out.contents(), untouched);
    }
    yCbCr10_to_halffloat_sdr_to_hdr(nullptr, 64, source.data(), 64, 8, 2, 0);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 64, nullptr, 64, 8, 2, 0);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 64, source.data(), 64, 0, 2, 0);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 64, source.data(), 64, 8, 0, 0);
    EXPECT_EQ(out.contents(), untouched);
    EXPECT_TRUE(out.guards_intact());
}

TEST(HalfFloatEntryPoints, ProcessorKernelsDeclineAndTouchNothing) {
    const auto source = cconvert::test::random_bytes(4096, 6);
    GuardedBuffer out(1024, 0x33);
    for (HalfFloatShim shim : {yCbCr10_to_halffloat_avx2_impl, yCbCr8_to_halffloat_avx2_impl,
                               yCbCr10_to_halffloat_arm, yCbCr8_to_halffloat_arm})
        EXPECT_FALSE(shim(out.data(), 64, source.data(), 64, 8, 2, 0, 0));
    EXPECT_EQ(out.contents(), std::vector<unsigned char>(1024, 0x33));
    EXPECT_EQ(yCbCr_halffloat_avx2_available(), 0);
    EXPECT_EQ(yCbCr_halffloat_neon_available(), 0);
}

TEST(HalfFloatEntryPoints, EveryEntryGivesThePortableKernelsOutput) {
    const long width = 100, height = 3, in_pitch = 288, out_pitch = 8 * width;
    const auto source = cconvert::test::random_bytes(in_pitch * height, 9);
    const std::pair<HalfFloatEntry, HalfFloatEntry> pairs[] = {
        {yCbCr10_to_halffloat, yCbCr10_to_halffloat_c},      {yCbCr8_to_halffloat, yCbCr8_to_halffloat_c},
        {yCbCr10_to_halffloat_avx2, yCbCr10_to_halffloat_c}, {yCbCr8_to_halffloat_avx2, yCbCr8_to_halffloat_c},
        {yCbCr10_to_halffloat_neon, yCbCr10_to_halffloat_c}, {yCbCr8_to_halffloat_neon, yCbCr8_to_halffloat_c}};
    for (const auto& [entry, portable] : pairs)
        for (const auto& [matrix, full] : {std::pair{1, 0}, std::pair{4, 1}}) {
            std::vector<unsigned char> got(out_pitch * height), want(out_pitch * height);
            entry(got.data(), out_pitch, source.data(), in_pitch, width, height, matrix, full);
            portable(want.data(), out_pitch, source.data(), in_pitch, width, height, matrix, full);
            EXPECT_EQ(got, want);
        }
}

// Several threads make the first SDR-to-HDR call at once (each test runs in
// a process of its own, so the curves are still unfilled here).
TEST(HalfFloatSdrToHdr, ConcurrentFirstCallsGiveIdenticalOutput) {
    constexpr int kThreads = 4;
    const long width = 1920, height = 4, in_pitch = 5120, out_pitch = 8 * width;
    const auto source = cconvert::test::random_bytes(in_pitch * height, 21);
    std::vector<std::vector<unsigned char>> outputs(kThreads, std::vector<unsigned char>(out_pitch * height));
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            yCbCr10_to_halffloat_sdr_to_hdr(outputs[t].data(), out_pitch, source.data(), in_pitch, width, height, 0);
        });
    for (auto& thread : threads) thread.join();
    for (int t = 1; t < kThreads; ++t) EXPECT_EQ(outputs[t], outputs[0]) << t;
    const auto expected = model_frame(Kernel::SdrToHdr, std::vector<unsigned char>(out_pitch * height),
                                      source.data(), {width, height, in_pitch, out_pitch}, 0, 0);
    EXPECT_EQ(outputs[0], expected);
}

}  // namespace
