// Converters on many threads at once. First use: converters whose first call fills
// shared state are first called by threads released together (CTest runs each test
// in its own process; scripts/tsan reports unsynchronised fills). Bands: one
// packed10 frame split among threads gives the single-threaded bytes.
#include <atomic>
#include <functional>
#include <latch>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/cconvert.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<unsigned char>;
using cconvert::test::random_bytes;

constexpr int kThreads = 8;

// Runs work(t) for t = 0 .. kThreads - 1 on threads that start together.
void on_threads_at_once(const std::function<void(int)>& work) {
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            work(t);
        });
    for (auto& thread : threads) thread.join();
}

// ---- first use ----

constexpr long kWidth = 96, kHeight = 8, kV210Pitch = 128 * 2;
// The ST 2084 v210 converters read each row's groups one byte late: 16 bytes to spare.
const Bytes uyvy = random_bytes(2 * kWidth * kHeight, 11), v210 = random_bytes(kV210Pitch * kHeight + 16, 12);

struct FirstUse {  // one conversion of a fixed frame into `bytes` bytes
    std::string name;
    long bytes;
    std::function<void(unsigned char* out)> convert;
};

void PrintTo(const FirstUse& use, std::ostream* out) { *out << use.name; }

constexpr long kPixels = kWidth * kHeight;
const FirstUse kFirstUses[] = {  // 8- and 10-bit tables, half-float row code, HDR curves, feature word, open
    {"Reduced2vuyToRgb", 4 * kPixels,
     [](unsigned char* o) { ccnvt_yuv422_rgb24(o, 4 * kWidth, uyvy.data(), 2 * kWidth, kWidth, kHeight, 2); }},
    {"ReducedV210ToRgb", 3 * kPixels,
     [](unsigned char* o) { ccnvt_v210_rgb24(o, 3 * kWidth, v210.data(), kV210Pitch, kWidth, kHeight, 3); }},
    {"V210ToRgbWith10BitTables", 4 * kPixels,
     [](unsigned char* o) { Bytes in = v210; _v210_to_rgb(in.data(), o, kWidth, kHeight, 4 * kWidth, 1); }},
    {"HalfFloatFrom10Bit", 8 * kPixels,
     [](unsigned char* o) { yCbCr10_to_halffloat(o, 8 * kWidth, v210.data(), kV210Pitch, kWidth, kHeight, 1, 0); }},
    {"HalfFloatFrom8Bit", 8 * kPixels,
     [](unsigned char* o) { yCbCr8_to_halffloat(o, 8 * kWidth, uyvy.data(), 2 * kWidth, kWidth, kHeight, 9, 1); }},
    {"SdrToHdrHlg", 8 * kPixels,  // the PQ and HLG curves are filled together
     [](unsigned char* o) {
         yCbCr10_to_halffloat_sdr_to_hdr(o, 8 * kWidth, v210.data(), kV210Pitch, kWidth, kHeight, 1);
     }},
    {"St2084V210", kV210Pitch * kHeight + 16,
     [](unsigned char* o) { ccnvt_v210_to_st2084(o, v210.data(), kV210Pitch, kV210Pitch, kHeight); }},
    {"Packed10Driver", 2 * kPixels, [](unsigned char* o) {
         Bytes in(v210.begin(), v210.begin() + 5 * kPixels / 2);
         kv_ycbcr422_packed10_to_uyvy(in.data(), 0, kWidth, 0, kHeight, o, 0);
     }},
    {"Open", 2, [](unsigned char* o) {  // read use_MMX as the library writes it
         o[0] = static_cast<unsigned char>(ccvnt_open(1, 2, 3, 4));
         o[1] = std::atomic_ref<unsigned char>(use_MMX).load();
     }},
};

class FirstUseFromManyThreads : public testing::TestWithParam<FirstUse> {};

TEST_P(FirstUseFromManyThreads, EveryThreadGetsTheSingleThreadedBytes) {
    const FirstUse& use = GetParam();
    std::vector<Bytes> outputs(kThreads, Bytes(use.bytes, 0));
    on_threads_at_once([&](int t) { use.convert(outputs[t].data()); });
    Bytes reference(use.bytes, 0);
    use.convert(reference.data());
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(outputs[t], reference) << "thread " << t;
}

INSTANTIATE_TEST_SUITE_P(Converters, FirstUseFromManyThreads, testing::ValuesIn(kFirstUses),
                         [](const testing::TestParamInfo<FirstUse>& info) { return info.param.name; });

// ---- bands ----

constexpr int kFrameWidth = 1926, kFrameRows = 61;  // a tail group and an odd height
constexpr int kPacked10Pitch = 5 * kFrameWidth / 2, kUyvyPitch = 2 * kFrameWidth,
              kV210FramePitch = 128 * ((kFrameWidth + 47) / 48);

struct BandedDriver {
    std::string name;
    int source_pitch, destination_pitch;
    bool fields;
    void (*convert)(unsigned char* in, unsigned char* out, int first, int end, bool fields);  // rows [first, end)
};

void PrintTo(const BandedDriver& driver, std::ostream* out) { *out << driver.name; }

void packed10_to_2vuy(unsigned char* in, unsigned char* out, int first, int end, bool) {
    kv_ycbcr422_packed10_to_uyvy(in, kPacked10Pitch, kFrameWidth, first, end, out, kUyvyPitch);
}
void uyvy_to_packed10(unsigned char* in, unsigned char* out, int first, int end, bool) {
    kv_ycbcr422_uyvy_to_packed10(in, kUyvyPitch, kFrameWidth, first, end, out, kPacked10Pitch);
}
void packed10_to_v210(unsigned char* in, unsigned char* out, int first, int end, bool fields) {
    ccnvt_ycbcr422_packed10_to_v210(in, kPacked10Pitch, kFrameWidth, first, end, kFrameRows, out, kV210FramePitch,
                                    fields);
}
void v210_to_packed10(unsigned char* in, unsigned char* out, int first, int end, bool fields) {
    ccnvt_ycbcr422_v210_to_packed10(in, kV210FramePitch, kFrameWidth, first, end, kFrameRows, out, kPacked10Pitch,
                                    fields);
}

const BandedDriver kDrivers[] = {
    {"Packed10To2vuy", kPacked10Pitch, kUyvyPitch, false, packed10_to_2vuy},
    {"UyvyToPacked10", kUyvyPitch, kPacked10Pitch, false, uyvy_to_packed10},
    {"Packed10ToV210", kPacked10Pitch, kV210FramePitch, false, packed10_to_v210},
    {"Packed10ToV210Fields", kPacked10Pitch, kV210FramePitch, true, packed10_to_v210},
    {"V210ToPacked10", kV210FramePitch, kPacked10Pitch, false, v210_to_packed10},
    {"V210ToPacked10Fields", kV210FramePitch, kPacked10Pitch, true, v210_to_packed10},
};

class OneFrameInBands : public testing::TestWithParam<BandedDriver> {};

TEST_P(OneFrameInBands, ThreadsOnBandsGiveTheSingleThreadedFrame) {
    const BandedDriver& d = GetParam();
    Bytes source = random_bytes(std::size_t(d.source_pitch) * kFrameRows + 64, 21);
    // Uneven bands, one of them across the second field's start (row 30).
    auto band_start = [](int t) { return t == 0 ? 0 : t == kThreads ? kFrameRows : kFrameRows * t / kThreads + 1; };
    for (unsigned int word : cconvert::test::feature_words_to_test()) {
        cconvert::test::ScopedCpuFeatures features(word);
        Bytes reference(std::size_t(d.destination_pitch) * kFrameRows + 64, 0x5A), banded = reference;
        d.convert(source.data(), reference.data(), 0, kFrameRows, d.fields);
        on_threads_at_once(
            [&](int t) { d.convert(source.data(), banded.data(), band_start(t), band_start(t + 1), d.fields); });
        EXPECT_EQ(banded, reference) << cconvert::test::feature_word_name(word);
    }
}

INSTANTIATE_TEST_SUITE_P(Drivers, OneFrameInBands, testing::ValuesIn(kDrivers),
                         [](const testing::TestParamInfo<BandedDriver>& info) { return info.param.name; });

}  // namespace
