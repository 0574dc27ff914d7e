// Our libycbcr converters: within one code of a double reference, AVX2 giving the portable bytes, row order,
// pitch defaults, planar layouts.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "yuv422_support.h"
#include "ycbcr.h"

using namespace cconvert::test;
using Bytes = std::vector<unsigned char>;

namespace {

const cycbcr_matrix* bt601() { return GetMatrixBySize(720, 576, 0); }
const cycbcr_matrix* bt709() { return GetMatrixBySize(1920, 1080, 0); }

struct Accuracy {  // worst channel difference from the reference, and how many differ
    const cycbcr_matrix* matrix;
    int worst = 0;
    long differing = 0, channels = 0;

    // A B, G, R, 255 pixel against Y, Cb, Cr on the 8-bit scale (10-bit / 4).
    void check(const unsigned char* bgr, double y, double cb, double cr) {
        EXPECT_EQ(bgr[3], 255);
        const double kr = matrix->kr, kb = matrix->kb, kg = 1.0 - kr - kb;
        const double luma = (y - 16.0) * 255.0 / 219.0;
        const double pb = (cb - 128.0) * 255.0 / 112.0, pr = (cr - 128.0) * 255.0 / 112.0;
        const double expected[3] = {luma + (1.0 - kb) * pb, luma - kb * (1.0 - kb) / kg * pb - kr * (1.0 - kr) / kg * pr,
                                    luma + (1.0 - kr) * pr};
        for (int i = 0; i < 3; ++i, ++channels) {
            const int d = std::abs(bgr[i] - int(std::clamp(std::round(expected[i]), 0.0, 255.0)));
            worst = std::max(worst, d), differing += d != 0;
        }
    }
    void expect_close() const {
        EXPECT_LE(worst, 1) << matrix->name;
        EXPECT_LT(differing, channels / 100) << matrix->name;
    }
};

// convert on a guarded copy of out under every kernel choice: the same bytes, left in out.
void convert_with_every_kernel(Bytes& out, const std::function<void(unsigned char*)>& convert) {
    const Bytes initial = out;
    for (unsigned int word : kernel_choices(false)) {
        ScopedCpuFeatures features(word);
        GuardedBuffer buffer(out.size());
        std::copy(initial.begin(), initial.end(), buffer.data());
        convert(buffer.data());
        EXPECT_TRUE(buffer.guards_intact()) << feature_word_name(word);
        if (word == 0) out = buffer.contents();
        EXPECT_TRUE(buffer.contents() == out) << feature_word_name(word);
    }
}

TEST(LibycbcrAccuracy, EveryEightBitTripleIsWithinOneOfTheReference) {
    // Row cb * 256 + cr holds that chroma with Y 0..255 (every 37th row when sanitized).
    const long step = kSanitized ? 37 : 1, block = kSanitized ? 1 : 4096;
    for (const cycbcr_matrix* matrix : {bt601(), bt709()}) {
        Accuracy accuracy{matrix};
        for (long first = 0; first < 65536; first += step * block) {
            const long rows = std::min(block, 65536 - first);
            Bytes frame(512 * rows), bgra(1024 * rows);
            for (long r = 0; r < rows; ++r)
                for (int j = 0; j < 128; ++j) {
                    unsigned char* pair = &frame[512 * r + 4 * j];
                    pair[0] = (first + r) >> 8, pair[1] = 2 * j, pair[2] = (first + r) & 255, pair[3] = 2 * j + 1;
                }
            convert_with_every_kernel(bgra, [&](unsigned char* out) {
                ASSERT_EQ(cycbcr_uyvy_to_rgb32(out, frame.data(), 256, int(rows), 1024, 512, matrix, 0), 0);
            });
            for (long r = 0; r < rows; ++r)
                for (int x = 0; x < 256; ++x)
                    accuracy.check(&bgra[1024 * r + 4 * x], x, double((first + r) >> 8), double((first + r) & 255));
        }
        accuracy.expect_close();
    }
}

TEST(LibycbcrAccuracy, TenBitSamplesAreWithinOneOfTheReference) {
    const int width = 1536, rows = kSanitized ? 8 : 1024;  // 256 groups a row
    std::vector<int> samples(2 * width * std::size_t(rows));
    std::mt19937 random(10);
    for (int& s : samples) s = int(random() % 1024);
    for (int i = 0; i < 64 * 4; ++i)  // first row: the corners of the 10-bit cube
        samples[i] = (i >> (i % 4 == 0 ? 2 : 4)) & 1 ? 1023 : (i % 3 == 0 ? 0 : 64);
    Bytes v210(std::size_t(rows) * 4096), bgra(std::size_t(rows) * 4 * width);
    pack_v210(samples, v210.data());
    for (const cycbcr_matrix* matrix : {bt601(), bt709()}) {
        convert_with_every_kernel(bgra, [&](unsigned char* out) {
            ASSERT_EQ(cycbcr_012v_to_rgb32(out, v210.data(), width, rows, 4 * width, 4096, matrix, 0), 0);
        });
        Accuracy accuracy{matrix};
        for (long p = 0; p < long(width) * rows; ++p) {
            const int* pair = samples.data() + 4 * (p / 2);  // Cb Y0 Cr Y1
            accuracy.check(&bgra[4 * p], pair[1 + 2 * (p % 2)] / 4.0, pair[0] / 4.0, pair[2] / 4.0);
        }
        accuracy.expect_close();
    }
}

TEST(LibycbcrAccuracy, PlanarFramesAreWithinOneOfTheReference) {
    for (int cb_first : {1, 0})  // odd height: the second chroma plane follows (height + 1) / 2 rows
        for (int width : {1, 7, 33, 130}) {
            const int height = 5, pitch = width + 3, chroma_pitch = (pitch + 1) / 2, chroma_rows = 3;
            GuardedBuffer src(pitch * height + 2 * chroma_pitch * chroma_rows);
            src.fill_random(width + cb_first);
            const unsigned char *first = src.data() + pitch * height, *second = first + chroma_pitch * chroma_rows;
            const unsigned char *cb = cb_first ? first : second, *cr = cb_first ? second : first;
            Bytes bgra(4 * width * height);
            convert_with_every_kernel(bgra, [&](unsigned char* out) {
                const auto convert = cb_first ? cycbcr_i420_to_rgb32 : cycbcr_yv12_to_rgb32;
                ASSERT_EQ(convert(out, src.data(), width, height, 0, pitch, bt709(), 0), 0);
            });
            Accuracy accuracy{bt709()};
            for (int r = 0; r < height; ++r)
                for (int x = 0; x < width; ++x)
                    accuracy.check(&bgra[4 * (r * width + x)], src[r * pitch + x], cb[(r / 2) * chroma_pitch + x / 2],
                                   cr[(r / 2) * chroma_pitch + x / 2]);
            EXPECT_LE(accuracy.worst, 1) << width;
        }
}

TEST(LibycbcrAccuracy, StudioLevelsWorkedByHand) {
    // Black, white, BT.601 red (Y 81, Cb 90, Cr 240): R = 1.164 * 65 + 1.596 * 112 = 254.4; RGB24 at an odd width.
    const unsigned char pairs[8] = {128, 16, 128, 235, 90, 81, 240, 81};
    Bytes bgra(16), bgr(12, 0x5A);
    cycbcr_uyvy_to_rgb32(bgra.data(), pairs, 4, 1, 0, 0, nullptr, 0);  // nullptr: BT.601
    EXPECT_EQ(bgra, Bytes({0, 0, 0, 255, 255, 255, 255, 255, 0, 0, 254, 255, 0, 0, 254, 255}));
    cycbcr_uyvy_to_rgb24(bgr.data(), pairs, 3, 1, 0, 0, nullptr, 0);
    EXPECT_EQ(bgr, Bytes({0, 0, 0, 255, 255, 255, 0, 0, 254, 0x5A, 0x5A, 0x5A}));
}

using Converter = int (*)(void*, const void*, int, int, long, long, const cycbcr_matrix*, unsigned int);

struct Format {  // source_pitch: tight, the default for a pitch of 0 or below
    const char* name; Converter convert; int dst_pixel_bytes; long (*source_pitch)(int width); bool planar;
    long source_bytes(int height, long pitch) const {
        return planar ? pitch * height + 2 * ((pitch + 1) / 2) * ((height + 1) / 2) : pitch * height;
    }
};

long uyvy_pitch(int w) { return 2L * w; }  // odd widths: the last pair reaches into the next row
long v210_pitch(int w) { return 128L * ((w + 47) / 48); }
long plane_pitch(int w) { return w; }

const Format kFormats[] = {
    {"uyvy_to_rgb24", cycbcr_uyvy_to_rgb24, 3, uyvy_pitch, false},
    {"uyvy_to_rgb32", cycbcr_uyvy_to_rgb32, 4, uyvy_pitch, false},
    {"012v_to_rgb32", cycbcr_012v_to_rgb32, 4, v210_pitch, false},
    {"i420_to_rgb32", cycbcr_i420_to_rgb32, 4, plane_pitch, true},
    {"yv12_to_rgb32", cycbcr_yv12_to_rgb32, 4, plane_pitch, true},
};

void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }

class LibycbcrFormats : public ::testing::TestWithParam<Format> {};

TEST_P(LibycbcrFormats, RowOrderPitchDefaultsAndNothingToDo) {
    const Format& format = GetParam();
    const int width = 49, height = 7;
    const long pitch = format.source_pitch(width), dst_pitch = format.dst_pixel_bytes * width;
    GuardedBuffer src(format.source_bytes(height, pitch) + 4);
    src.fill_random(7);
    Bytes top_down(dst_pitch * height), bottom_up(top_down.size());
    convert_with_every_kernel(top_down, [&](unsigned char* out) {
        format.convert(out, src.data(), width, height, dst_pitch, pitch, bt601(), 0);
    });
    convert_with_every_kernel(bottom_up, [&](unsigned char* out) {
        EXPECT_EQ(format.convert(out, src.data(), width, -height, 0, pitch, bt601(), CYCBCR_BOTTOM_UP), 0);
    });
    const long padded_pitch = dst_pitch + 8;  // the padding stays untouched
    Bytes padded(padded_pitch * height, 0x5A);
    convert_with_every_kernel(padded, [&](unsigned char* out) {
        format.convert(out, src.data(), width, height, padded_pitch, pitch, bt601(), 0);
    });
    for (int r = 0; r < height; ++r) {
        ASSERT_EQ(0, std::memcmp(&top_down[r * dst_pitch], &bottom_up[(height - 1 - r) * dst_pitch], dst_pitch)) << r;
        const auto at = padded.begin() + r * padded_pitch;
        ASSERT_EQ(0, std::memcmp(&*at, &top_down[r * dst_pitch], dst_pitch)) << r;
        ASSERT_EQ(Bytes(at + dst_pitch, at + padded_pitch), Bytes(8, 0x5A));
    }
    // Without the flag a negative height is top-down; pitches of 0 or below are tight.
    for (long bad_pitch : {0L, -1L, -pitch}) {
        Bytes defaulted(top_down.size());
        convert_with_every_kernel(defaulted, [&](unsigned char* out) {
            format.convert(out, src.data(), width, -height, bad_pitch, bad_pitch, bt601(), 0x7FFF);
        });
        EXPECT_EQ(defaulted, top_down) << "pitch " << bad_pitch;
    }
    // Nothing to do: -1, the destination left alone.
    GuardedBuffer dst(64, 0x5A);
    for (const auto& [to, from, w, h] : {std::tuple<unsigned char*, const unsigned char*, int, int>{dst.data(), src.data(), 0, 4},
                                         {dst.data(), src.data(), -6, 4}, {dst.data(), src.data(), 6, 0},
                                         {nullptr, src.data(), 6, 1}, {dst.data(), nullptr, 6, 1}})
        EXPECT_EQ(format.convert(to, from, w, h, 0, 0, bt601(), 0), -1) << w << "x" << h;
    EXPECT_EQ(dst.contents(), Bytes(64, 0x5A));
}

INSTANTIATE_TEST_SUITE_P(Formats, LibycbcrFormats, ::testing::ValuesIn(kFormats),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
