// Our libycbcr converters: every channel within one code value of a
// double-precision reference (all 2^24 8-bit triples in the optimised build,
// a dense sample of 10-bit ones), every kernel giving the portable bytes,
// row order, pitches, odd widths and the planar layouts.
#include <algorithm>
#include <array>
#include <ostream>
#include <random>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "support/test_support.h"
#include "ycbcr.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSampled = true;
#else
constexpr bool kSampled = false;
#endif

// ---- the reference ----

struct Reference {
    double kr, kb;

    // B, G, R for 8-bit-scale samples (10-bit ones divided by 4).
    std::array<int, 3> operator()(double y, double cb, double cr) const {
        const double kg = 1.0 - kr - kb;
        const double luma = (y - 16.0) * 255.0 / 219.0;
        const double pb = (cb - 128.0) * 255.0 / 112.0, pr = (cr - 128.0) * 255.0 / 112.0;
        auto out = [](double v) { return static_cast<int>(std::clamp(std::round(v), 0.0, 255.0)); };
        return {out(luma + (1.0 - kb) * pb), out(luma - kb * (1.0 - kb) / kg * pb - kr * (1.0 - kr) / kg * pr),
                out(luma + (1.0 - kr) * pr)};
    }
};

const cycbcr_matrix* bt601() { return GetMatrixBySize(720, 576, 0); }
const cycbcr_matrix* bt709() { return GetMatrixBySize(1920, 1080, 0); }

// Largest channel difference from the reference seen so far, and how many
// channels differ at all.
struct Accuracy {
    int worst = 0;
    long differing = 0, channels = 0;
    void check(const unsigned char* bgr, const std::array<int, 3>& expected) {
        for (int i = 0; i < 3; ++i) {
            const int d = std::abs(bgr[i] - expected[i]);
            worst = std::max(worst, d);
            differing += d != 0;
            ++channels;
        }
    }
};

// ---- 8-bit 2vuy: every (Y, Cb, Cr) ----

// A 256 x 65536 frame: row cb * 256 + cr holds that chroma with Y 0..255.
std::vector<unsigned char> every_triple_uyvy(long first_row, long rows) {
    std::vector<unsigned char> frame(512 * rows);
    for (long r = 0; r < rows; ++r)
        for (int j = 0; j < 128; ++j) {
            unsigned char* pair = frame.data() + 512 * r + 4 * j;
            const long chroma = first_row + r;
            pair[0] = static_cast<unsigned char>(chroma >> 8);
            pair[1] = static_cast<unsigned char>(2 * j);
            pair[2] = static_cast<unsigned char>(chroma);
            pair[3] = static_cast<unsigned char>(2 * j + 1);
        }
    return frame;
}

class LibycbcrKernels : public ::testing::TestWithParam<unsigned int> {
protected:
    ScopedCpuFeatures features_{GetParam()};
};

TEST_P(LibycbcrKernels, EveryEightBitTripleIsWithinOneOfTheReference) {
    for (const cycbcr_matrix* matrix : {bt601(), bt709()}) {
        const Reference reference{matrix->kr, matrix->kb};
        Accuracy accuracy;
        // Sanitized builds check every 37th chroma pair.
        const long step = kSampled ? 37 : 1, block = kSampled ? 1 : 4096;
        for (long first = 0; first < 65536; first += step * block) {
            const long rows = std::min(block, 65536 - first);
            const auto frame = every_triple_uyvy(first, rows);
            std::vector<unsigned char> bgra(1024 * rows);
            ASSERT_EQ(cycbcr_uyvy_to_rgb32(bgra.data(), frame.data(), 256, int(rows), 1024, 512, matrix, 0), 0);
            for (long r = 0; r < rows; ++r)
                for (int x = 0; x < 256; ++x) {
                    const long chroma = first + r;
                    accuracy.check(&bgra[1024 * r + 4 * x], reference(x, double(chroma >> 8), double(chroma & 255)));
                    ASSERT_EQ(bgra[1024 * r + 4 * x + 3], 255);
                }
        }
        EXPECT_LE(accuracy.worst, 1) << matrix->name;
        // Rounded, not truncated: almost every channel is exact.
        EXPECT_LT(accuracy.differing, accuracy.channels / 100) << matrix->name;
    }
}

// ---- 10-bit v210: a dense sample ----

void put_word(unsigned char* bytes, std::uint32_t word) { std::memcpy(bytes, &word, 4); }

// Writes samples (stream order, 12 per group) as v210 groups.
void pack_v210(const std::vector<int>& samples, unsigned char* out) {
    for (std::size_t g = 0; g < samples.size() / 12; ++g)
        for (int w = 0; w < 4; ++w) {
            const int* s = samples.data() + 12 * g + 3 * w;
            put_word(out + 16 * g + 4 * w, std::uint32_t(s[0] | s[1] << 10 | s[2] << 20));
        }
}

TEST_P(LibycbcrKernels, TenBitSamplesAreWithinOneOfTheReference) {
    const int width = 1536, rows = kSampled ? 8 : 1024;  // 256 groups a row
    std::vector<int> samples(2 * width * std::size_t(rows));
    std::mt19937 random(10);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = int(random() % 1024);
    // The corners of the 10-bit cube in the first row.
    for (int i = 0; i < 64 * 4; ++i) samples[i] = (i >> (i % 4 == 0 ? 2 : 4)) & 1 ? 1023 : (i % 3 == 0 ? 0 : 64);
    std::vector<unsigned char> v210(std::size_t(rows) * 4096);
    pack_v210(samples, v210.data());
    std::vector<unsigned char> bgra(std::size_t(rows) * 4 * width);
    for (const cycbcr_matrix* matrix : {bt601(), bt709()}) {
        const Reference reference{matrix->kr, matrix->kb};
        ASSERT_EQ(cycbcr_012v_to_rgb32(bgra.data(), v210.data(), width, rows, 4 * width, 4096, matrix, 0), 0);
        Accuracy accuracy;
        for (long p = 0; p < long(width) * rows; ++p) {
            const int* pair = samples.data() + 4 * (p / 2);  // Cb Y0 Cr Y1
            accuracy.check(&bgra[4 * p], reference(pair[1 + 2 * (p % 2)] / 4.0, pair[0] / 4.0, pair[2] / 4.0));
        }
        EXPECT_LE(accuracy.worst, 1) << matrix->name;
        EXPECT_LT(accuracy.differing, accuracy.channels / 100) << matrix->name;
    }
}

// ---- planar 4:2:0 ----

TEST_P(LibycbcrKernels, PlanarFramesAreWithinOneOfTheReference) {
    for (int cb_first : {1, 0}) {
        for (int width : {1, 2, 7, 16, 33, 64, 130, 1920}) {
            const int height = 5, pitch = width + 3, chroma_pitch = (pitch + 1) / 2, chroma_rows = 3;
            GuardedBuffer src(pitch * height + 2 * chroma_pitch * chroma_rows);
            src.fill_random(width + cb_first);
            const unsigned char* first = src.data() + pitch * height;
            const unsigned char* second = first + chroma_pitch * chroma_rows;
            const unsigned char* cb = cb_first ? first : second;
            const unsigned char* cr = cb_first ? second : first;
            GuardedBuffer bgra(4 * width * height, 0x5A);
            const auto convert = cb_first ? cycbcr_i420_to_rgb32 : cycbcr_yv12_to_rgb32;
            ASSERT_EQ(convert(bgra.data(), src.data(), width, height, 0, pitch, bt709(), 0), 0);
            const Reference reference{bt709()->kr, bt709()->kb};
            Accuracy accuracy;
            for (int r = 0; r < height; ++r)
                for (int x = 0; x < width; ++x) {
                    const int c = (r / 2) * chroma_pitch + x / 2;
                    accuracy.check(&bgra[4 * (r * width + x)], reference(src[r * pitch + x], cb[c], cr[c]));
                    ASSERT_EQ(bgra[4 * (r * width + x) + 3], 255);
                }
            EXPECT_LE(accuracy.worst, 1) << width;
            EXPECT_TRUE(bgra.guards_intact());
        }
    }
}

// ---- every kernel gives the portable bytes ----

using Converter = int (*)(void*, const void*, int, int, long, long, const cycbcr_matrix*, unsigned int);

struct Format {
    const char* name;
    Converter convert;
    int dst_pixel_bytes;
    long (*source_pitch)(int width);  // tight
    long (*source_bytes)(int width, int height, long pitch);
    long (*default_pitch)(int width);  // for a source pitch of 0 or below
};

long pairs_pitch(int w) { return 4L * ((w + 1) / 2); }
long groups_pitch(int w) { return 16L * ((w + 5) / 6); }
long packed_bytes(int, int h, long pitch) { return pitch * h; }
long planar_bytes(int, int h, long pitch) { return pitch * h + 2 * ((pitch + 1) / 2) * ((h + 1) / 2); }
long plain_pitch(int w) { return w; }
long uyvy_default(int w) { return 2L * w; }  // odd widths: the last pair reaches into the next row
long v210_default(int w) { return 128L * ((w + 47) / 48); }

const Format kFormats[] = {
    {"uyvy_to_rgb24", cycbcr_uyvy_to_rgb24, 3, pairs_pitch, packed_bytes, uyvy_default},
    {"uyvy_to_rgb32", cycbcr_uyvy_to_rgb32, 4, pairs_pitch, packed_bytes, uyvy_default},
    {"012v_to_rgb32", cycbcr_012v_to_rgb32, 4, groups_pitch, packed_bytes, v210_default},
    {"i420_to_rgb32", cycbcr_i420_to_rgb32, 4, plain_pitch, planar_bytes, plain_pitch},
    {"yv12_to_rgb32", cycbcr_yv12_to_rgb32, 4, plain_pitch, planar_bytes, plain_pitch},
};

void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }

std::vector<int> widths_to_test() {
    std::vector<int> widths;
    for (int w = 1; w <= 130; ++w) widths.push_back(w);
    for (int w : {719, 720, 1279, 1920, 1921, 3840}) widths.push_back(w);
    return widths;
}

class LibycbcrFormats : public ::testing::TestWithParam<std::tuple<Format, unsigned int>> {
protected:
    const Format& format() const { return std::get<0>(GetParam()); }
};

TEST_P(LibycbcrFormats, KernelsGiveThePortableBytes) {
    const unsigned int word = std::get<1>(GetParam());
    for (int width : widths_to_test()) {
        const int height = width > 1000 ? 2 : 3;
        const long pitch = format().source_pitch(width) + 16;
        GuardedBuffer src(format().source_bytes(width, height, pitch));
        src.fill_random(width);
        const long dst_pitch = format().dst_pixel_bytes * width + 8;  // padding stays untouched
        GuardedBuffer portable(dst_pitch * height, 0x5A), chosen(dst_pitch * height, 0x5A);
        for (const cycbcr_matrix* matrix : {bt601(), bt709()}) {
            {
                ScopedCpuFeatures features(0);
                format().convert(portable.data(), src.data(), width, height, dst_pitch, pitch, matrix, 0);
            }
            {
                ScopedCpuFeatures features(word);
                format().convert(chosen.data(), src.data(), width, height, dst_pitch, pitch, matrix, 0);
            }
            ASSERT_EQ(portable.contents(), chosen.contents()) << "width " << width;
            for (int r = 0; r < height; ++r)
                for (long i = format().dst_pixel_bytes * width; i < dst_pitch; ++i)
                    ASSERT_EQ(chosen[r * dst_pitch + i], 0x5A) << "width " << width;
            ASSERT_TRUE(chosen.guards_intact()) << "width " << width;
        }
    }
}

TEST_P(LibycbcrFormats, BottomUpFlagReversesTheRows) {
    ScopedCpuFeatures features(std::get<1>(GetParam()));
    const int width = 50, height = 7;
    const long pitch = format().source_pitch(width);
    GuardedBuffer src(format().source_bytes(width, height, pitch));
    src.fill_random(7);
    const long dst_pitch = format().dst_pixel_bytes * width;
    GuardedBuffer top_down(dst_pitch * height), bottom_up(dst_pitch * height, 0x5A);
    format().convert(top_down.data(), src.data(), width, height, 0, pitch, bt601(), 0);
    // As the wrappers pass it: the negative height and the flag.
    EXPECT_EQ(format().convert(bottom_up.data(), src.data(), width, -height, 0, pitch, bt601(), CYCBCR_BOTTOM_UP), 0);
    for (int r = 0; r < height; ++r)
        ASSERT_EQ(0, std::memcmp(top_down.data() + r * dst_pitch, bottom_up.data() + (height - 1 - r) * dst_pitch,
                                 dst_pitch)) << r;
    // A negative height without the flag is converted top-down.
    GuardedBuffer negative(dst_pitch * height);
    format().convert(negative.data(), src.data(), width, -height, -5, pitch, bt601(), 0x7FFF);
    EXPECT_EQ(negative.contents(), top_down.contents());
    EXPECT_TRUE(bottom_up.guards_intact());
}

TEST_P(LibycbcrFormats, SourcePitchOfZeroOrBelowIsTheTightDefault) {
    ScopedCpuFeatures features(std::get<1>(GetParam()));
    for (int width : {1, 7, 48, 50}) {
        const int height = 3;
        const long pitch = format().default_pitch(width);
        GuardedBuffer src(format().source_bytes(width, height, pitch) + 4);
        src.fill_random(width);
        const long dst_bytes = long(format().dst_pixel_bytes) * width * height;
        GuardedBuffer given(dst_bytes), defaulted(dst_bytes), negative(dst_bytes);
        format().convert(given.data(), src.data(), width, height, 0, pitch, bt709(), 0);
        format().convert(defaulted.data(), src.data(), width, height, 0, 0, bt709(), 0);
        format().convert(negative.data(), src.data(), width, height, -1, -pitch, bt709(), 0);
        EXPECT_EQ(defaulted.contents(), given.contents()) << width;
        EXPECT_EQ(negative.contents(), given.contents()) << width;
    }
}

TEST_P(LibycbcrFormats, NothingToDoLeavesTheDestinationAlone) {
    GuardedBuffer src(4096), dst(4096, 0x5A);
    EXPECT_EQ(format().convert(dst.data(), src.data(), 0, 4, 0, 0, bt601(), 0), -1);
    EXPECT_EQ(format().convert(dst.data(), src.data(), -6, 4, 0, 0, bt601(), 0), -1);
    EXPECT_EQ(format().convert(dst.data(), src.data(), 6, 0, 0, 0, bt601(), 0), -1);
    EXPECT_EQ(format().convert(nullptr, src.data(), 6, 1, 0, 0, bt601(), 0), -1);
    EXPECT_EQ(dst.contents(), std::vector<unsigned char>(4096, 0x5A));
}

INSTANTIATE_TEST_SUITE_P(Formats, LibycbcrFormats,
                         ::testing::Combine(::testing::ValuesIn(kFormats),
                                            ::testing::ValuesIn(cconvert::test::feature_words_to_test())),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    cconvert::test::feature_word_name(std::get<1>(info.param));
                         });

// The accuracy sweeps for the portable and the AVX2 kernels (the SSE-class
// word selects the portable code in this library).
std::vector<unsigned int> accuracy_words() {
    std::vector<unsigned int> words;
    for (unsigned int word : cconvert::test::feature_words_to_test())
        if (word == 0 || word == 0x800000) words.push_back(word);
    return words;
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, LibycbcrKernels, ::testing::ValuesIn(accuracy_words()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

// ---- small things ----

TEST(Libycbcr, Rgb24IsRgb32WithoutTheFourthByte) {
    const int width = 37, height = 3;
    GuardedBuffer src(2 * 38 * height);
    src.fill_random(24);
    std::vector<unsigned char> bgr(3 * width * height), bgra(4 * width * height);
    cycbcr_uyvy_to_rgb24(bgr.data(), src.data(), width, height, 0, 76, bt709(), 0);
    cycbcr_uyvy_to_rgb32(bgra.data(), src.data(), width, height, 0, 76, bt709(), 0);
    for (int p = 0; p < width * height; ++p)
        ASSERT_EQ(0, std::memcmp(&bgr[3 * p], &bgra[4 * p], 3)) << p;
}

TEST(Libycbcr, StudioLevelsReachTheFullRange) {
    // Cb Y0 Cr Y1: studio black and white, then BT.601 red (Y 81, Cb 90,
    // Cr 240) and its neighbour.
    const unsigned char pairs[8] = {128, 16, 128, 235, 90, 81, 240, 81};
    std::vector<unsigned char> out(16);
    cycbcr_uyvy_to_rgb32(out.data(), pairs, 4, 1, 0, 0, nullptr, 0);  // nullptr: BT.601
    EXPECT_EQ(std::vector<unsigned char>(out.begin(), out.begin() + 8),
              (std::vector<unsigned char>{0, 0, 0, 255, 255, 255, 255, 255}));
    // Red: R = 1.164 * 65 + 1.596 * 112 = 254.4 -> 254, G = 75.7 - 0.392 * -38 - 0.813 * 112 = 0.2 -> 0,
    // B = 75.7 + 2.018 * -38 = -1.0 -> 0.
    EXPECT_EQ(out[8], 0);
    EXPECT_EQ(out[9], 0);
    EXPECT_EQ(out[10], 254);
}

TEST(Libycbcr, NullMatrixMeansBt601) {
    GuardedBuffer src(2 * 64);
    src.fill_random(3);
    std::vector<unsigned char> a(4 * 64), b(4 * 64);
    cycbcr_uyvy_to_rgb32(a.data(), src.data(), 64, 1, 0, 0, nullptr, 0);
    cycbcr_uyvy_to_rgb32(b.data(), src.data(), 64, 1, 0, 0, bt601(), 0);
    EXPECT_EQ(a, b);
}

}  // namespace
