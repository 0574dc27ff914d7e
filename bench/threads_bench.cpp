// The packed10 band drivers converting one frame from one and from two
// threads, each thread taking a band of rows: wall-clock time, so the ratio
// of the two is the scaling a host gets on two cores.
#include <thread>
#include <vector>

#include "bench_support.h"
#include "cconvert/packed10.h"

namespace {

using namespace cconvert::bench;

std::size_t packed10_bytes(long width, long height) { return static_cast<std::size_t>(width) * 5 / 2 * height; }
std::size_t v210_bytes(long width, long height) { return 128 * static_cast<std::size_t>((width + 47) / 48) * height; }

using BandDriver = void (*)(unsigned char* in, unsigned char* out, int width, int first_row, int end_row, int height);

void packed10_to_v210(unsigned char* in, unsigned char* out, int width, int first, int end, int height) {
    ccnvt_ycbcr422_packed10_to_v210(in, 0, width, first, end, height, out, 0, false);
}
void v210_to_packed10(unsigned char* in, unsigned char* out, int width, int first, int end, int height) {
    ccnvt_ycbcr422_v210_to_packed10(in, 0, width, first, end, height, out, 0, false);
}

// Runs the driver over the frame in `threads` bands, the first on this thread.
void in_bands(BandDriver driver, unsigned char* in, unsigned char* out, int width, int height, int threads) {
    std::vector<std::thread> others;
    const auto band_end = [&](int band) { return static_cast<int>(static_cast<long>(height) * band / threads); };
    for (int band = 1; band < threads; ++band)
        others.emplace_back(driver, in, out, width, band_end(band), band_end(band + 1), height);
    driver(in, out, width, 0, band_end(1), height);
    for (auto& thread : others) thread.join();
}

void time_bands(benchmark::State& state, BandDriver driver, std::size_t in_bytes, std::size_t out_bytes) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    const int threads = static_cast<int>(state.range(2));
    auto in = random_frame(in_bytes);
    auto out = random_frame(out_bytes, 2);
    for (auto _ : state) {
        in_bands(driver, in.data(), out.data(), width, height, threads);
        benchmark::ClobberMemory();
    }
    count_bytes(state, in_bytes, out_bytes);
}

void BM_bands_packed10_to_v210(benchmark::State& state) {
    time_bands(state, packed10_to_v210, packed10_bytes(state.range(0), state.range(1)),
               v210_bytes(state.range(0), state.range(1)));
}
void BM_bands_v210_to_packed10(benchmark::State& state) {
    time_bands(state, v210_to_packed10, v210_bytes(state.range(0), state.range(1)),
               packed10_bytes(state.range(0), state.range(1)));
}

void sizes_and_threads(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"width", "height", "threads"})->UseRealTime();
    for (const auto& size : kFrameSizes)
        for (int threads : {1, 2}) benchmark->Args({size[0], size[1], threads});
}
BENCHMARK(BM_bands_packed10_to_v210)->Apply(sizes_and_threads);
BENCHMARK(BM_bands_v210_to_packed10)->Apply(sizes_and_threads);

}  // namespace
