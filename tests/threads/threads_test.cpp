// Converters on many threads at once.
//
// First use: the converters whose first call fills shared state (the 8- and
// 10-bit decoder tables, the half-float row code and HDR curves, the probed
// processor feature word, ccvnt_open's byte) are called for the first time
// in the process by several threads released together; every thread's
// output must equal the output of a single-threaded call made afterwards.
// "First" holds because this program links nothing that calls the library
// before a test starts and CTest runs each test in a process of its own
// (tests/CMakeLists.txt). Under ThreadSanitizer (scripts/tsan) any
// unsynchronised fill is reported.
//
// Bands: the packed10 frame drivers take a band of rows so that a host can
// split a frame among threads; one frame converted by several threads at
// once, a band each, must give the single-threaded bytes.
#include <atomic>
#include <cstddef>
#include <cstdint>
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

constexpr long kWidth = 96, kHeight = 8;
const long kV210Pitch = 128 * ((kWidth + 47) / 48);

// One conversion of a fixed frame; returns its output.
struct FirstUse {
    std::string name;
    std::function<Bytes()> convert;
};

const Bytes& uyvy_frame() {
    static const Bytes frame = random_bytes(2 * kWidth * kHeight, 11);
    return frame;
}

const Bytes& v210_frame() {
    // The ST 2084 v210 converters read each row's groups one byte late.
    static const Bytes frame = random_bytes(kV210Pitch * kHeight + 16, 12);
    return frame;
}

Bytes reduced_2vuy_to_rgb() {  // 8-bit tables
    Bytes out(4 * kWidth * kHeight, 0);
    ccnvt_yuv422_rgb24(out.data(), 4 * kWidth, uyvy_frame().data(), 2 * kWidth, kWidth, kHeight, 2);
    return out;
}

Bytes reduced_v210_to_rgb() {  // 8-bit tables through the v210 reader
    Bytes out(3 * kWidth * kHeight, 0);
    ccnvt_v210_rgb24(out.data(), 3 * kWidth, v210_frame().data(), kV210Pitch, kWidth, kHeight, 3);
    return out;
}

Bytes v210_to_rgb_10bit_tables() {
    Bytes out(4 * kWidth * kHeight, 0);
    Bytes source = v210_frame();
    _v210_to_rgb(source.data(), out.data(), kWidth, kHeight, 4 * kWidth, 1);
    return out;
}

Bytes halffloat(int bits) {  // the row code chosen once per process
    Bytes out(8 * kWidth * kHeight, 0);
    if (bits == 10)
        yCbCr10_to_halffloat(out.data(), 8 * kWidth, v210_frame().data(), kV210Pitch, kWidth, kHeight, 1, 0);
    else
        yCbCr8_to_halffloat(out.data(), 8 * kWidth, uyvy_frame().data(), 2 * kWidth, kWidth, kHeight, 9, 1);
    return out;
}

Bytes sdr_to_hdr(int transfer) {  // the HDR curves
    Bytes out(8 * kWidth * kHeight, 0);
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), 8 * kWidth, v210_frame().data(), kV210Pitch, kWidth, kHeight,
                                    transfer);
    return out;
}

Bytes st2084_v210() {  // constant tables, read by every thread
    Bytes out(kV210Pitch * kHeight + 16, 0);
    ccnvt_v210_to_st2084(out.data(), v210_frame().data(), kV210Pitch, kV210Pitch, kHeight);
    return out;
}

Bytes packed10_driver() {  // the probed feature word
    Bytes source = random_bytes(5 * kWidth / 2 * kHeight, 13);
    Bytes out(2 * kWidth * kHeight, 0);
    kv_ycbcr422_packed10_to_uyvy(source.data(), 0, kWidth, 0, kHeight, out.data(), 0);
    return out;
}

Bytes open_library() {
    const int result = ccvnt_open(1, 2, 3, 4);
    // Other threads may be storing the byte: read it as the library writes it.
    const unsigned char mmx = std::atomic_ref<unsigned char>(use_MMX).load();
    return {static_cast<unsigned char>(result), mmx};
}

std::vector<FirstUse> first_uses() {
    return {
        {"Reduced2vuyToRgb", reduced_2vuy_to_rgb},
        {"ReducedV210ToRgb", reduced_v210_to_rgb},
        {"V210ToRgbWith10BitTables", v210_to_rgb_10bit_tables},
        {"HalfFloatFrom10Bit", [] { return halffloat(10); }},
        {"HalfFloatFrom8Bit", [] { return halffloat(8); }},
        {"SdrToHdrPq", [] { return sdr_to_hdr(0); }},
        {"SdrToHdrHlg", [] { return sdr_to_hdr(1); }},
        {"St2084V210", st2084_v210},
        {"Packed10Driver", packed10_driver},
        {"Open", open_library},
    };
}

void PrintTo(const FirstUse& use, std::ostream* out) { *out << use.name; }

class FirstUseFromManyThreads : public testing::TestWithParam<FirstUse> {};

TEST_P(FirstUseFromManyThreads, EveryThreadGetsTheSingleThreadedBytes) {
    // The inputs are made before the threads start: making them is not under test.
    uyvy_frame();
    v210_frame();
    std::vector<Bytes> outputs(kThreads);
    on_threads_at_once([&](int t) { outputs[t] = GetParam().convert(); });
    const Bytes reference = GetParam().convert();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(outputs[t], reference) << "thread " << t;
}

INSTANTIATE_TEST_SUITE_P(Converters, FirstUseFromManyThreads, testing::ValuesIn(first_uses()),
                         [](const testing::TestParamInfo<FirstUse>& info) { return info.param.name; });

// ---- bands ----

constexpr int kFrameWidth = 1926, kFrameRows = 61;  // a tail group and an odd height

struct BandedDriver {
    std::string name;
    std::size_t source_pitch, destination_pitch;
    // Converts rows [first, end) of the frame.
    std::function<void(Bytes& source, Bytes& destination, int first, int end)> convert;
};

int packed10_pitch() { return 5 * kFrameWidth / 2; }
int uyvy_pitch() { return 2 * kFrameWidth; }
int v210_pitch() { return 128 * ((kFrameWidth + 47) / 48); }

std::vector<BandedDriver> banded_drivers() {
    std::vector<BandedDriver> drivers = {
        {"Packed10To2vuy", std::size_t(packed10_pitch()), std::size_t(uyvy_pitch()),
         [](Bytes& in, Bytes& out, int first, int end) {
             kv_ycbcr422_packed10_to_uyvy(in.data(), packed10_pitch(), kFrameWidth, first, end, out.data(),
                                          uyvy_pitch());
         }},
        {"UyvyToPacked10", std::size_t(uyvy_pitch()), std::size_t(packed10_pitch()),
         [](Bytes& in, Bytes& out, int first, int end) {
             kv_ycbcr422_uyvy_to_packed10(in.data(), uyvy_pitch(), kFrameWidth, first, end, out.data(),
                                          packed10_pitch());
         }},
    };
    for (bool fields : {false, true}) {
        const std::string suffix = fields ? "Fields" : "";
        drivers.push_back({"Packed10ToV210" + suffix, std::size_t(packed10_pitch()), std::size_t(v210_pitch()),
                           [fields](Bytes& in, Bytes& out, int first, int end) {
                               ccnvt_ycbcr422_packed10_to_v210(in.data(), packed10_pitch(), kFrameWidth, first,
                                                               end, kFrameRows, out.data(), v210_pitch(), fields);
                           }});
        drivers.push_back({"V210ToPacked10" + suffix, std::size_t(v210_pitch()), std::size_t(packed10_pitch()),
                           [fields](Bytes& in, Bytes& out, int first, int end) {
                               ccnvt_ycbcr422_v210_to_packed10(in.data(), v210_pitch(), kFrameWidth, first,
                                                               end, kFrameRows, out.data(), packed10_pitch(),
                                                               fields);
                           }});
    }
    return drivers;
}

void PrintTo(const BandedDriver& driver, std::ostream* out) { *out << driver.name; }

class OneFrameInBands : public testing::TestWithParam<BandedDriver> {};

TEST_P(OneFrameInBands, ThreadsOnBandsGiveTheSingleThreadedFrame) {
    const BandedDriver& driver = GetParam();
    // Room past the last row: whole groups and pairs reach a little beyond.
    Bytes source = random_bytes(driver.source_pitch * kFrameRows + 64, 21);
    for (unsigned int word : cconvert::test::feature_words_to_test()) {
        cconvert::test::ScopedCpuFeatures features(word);
        Bytes reference(driver.destination_pitch * kFrameRows + 64, 0x5A);
        driver.convert(source, reference, 0, kFrameRows);
        Bytes banded(reference.size(), 0x5A);
        // Uneven bands; with fields the cut at kFrameRows / 2 falls inside one.
        on_threads_at_once([&](int t) {
            driver.convert(source, banded, kFrameRows * t / kThreads, kFrameRows * (t + 1) / kThreads);
        });
        EXPECT_EQ(banded, reference) << cconvert::test::feature_word_name(word);
    }
}

INSTANTIATE_TEST_SUITE_P(Drivers, OneFrameInBands, testing::ValuesIn(banded_drivers()),
                         [](const testing::TestParamInfo<BandedDriver>& info) { return info.param.name; });

}  // namespace
