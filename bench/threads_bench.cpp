// The packed10 band drivers converting one frame from one and from two
// threads, each thread taking a band of rows: wall-clock time, so the ratio
// of the two is the scaling a host with a worker pool gets on two cores.
#include <atomic>
#include <barrier>
#include <cstring>
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
// The bound the drivers scale against: the same bands of v210 rows copied
// with memcpy, so one and two threads of it show what the memory gives.
void copy_v210_rows(unsigned char* in, unsigned char* out, int width, int first, int end, int) {
    const std::size_t row = v210_bytes(width, 1);
    std::memcpy(out + row * first, in + row * first, row * (end - first));
}

// Helper threads that stay for a whole measurement, as a host's worker pool
// does: each frame, every one converts its band, the caller converting the
// first; a barrier starts and ends each frame.
class BandWorkers {
public:
    BandWorkers(BandDriver driver, unsigned char* in, unsigned char* out, int width, int height, int threads)
        : driver_(driver), in_(in), out_(out), width_(width), height_(height), threads_(threads),
          frame_start_(threads), frame_end_(threads) {
        for (int band = 1; band < threads; ++band) helpers_.emplace_back([this, band] { work(band); });
    }
    ~BandWorkers() {
        stop_ = true;
        frame_start_.arrive_and_wait();
        for (auto& helper : helpers_) helper.join();
    }
    BandWorkers(const BandWorkers&) = delete;
    BandWorkers& operator=(const BandWorkers&) = delete;

    void convert_frame() {
        frame_start_.arrive_and_wait();
        convert_band(0);
        frame_end_.arrive_and_wait();
    }

private:
    int band_end(int band) const { return static_cast<int>(static_cast<long>(height_) * band / threads_); }
    void convert_band(int band) { driver_(in_, out_, width_, band_end(band), band_end(band + 1), height_); }
    void work(int band) {
        for (;;) {
            frame_start_.arrive_and_wait();
            if (stop_) return;
            convert_band(band);
            frame_end_.arrive_and_wait();
        }
    }

    BandDriver driver_;
    unsigned char *in_, *out_;
    int width_, height_, threads_;
    std::atomic<bool> stop_{false};
    std::barrier<> frame_start_, frame_end_;
    std::vector<std::thread> helpers_;
};

void time_bands(benchmark::State& state, BandDriver driver, std::size_t in_bytes, std::size_t out_bytes) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto in = random_frame(in_bytes);
    auto out = random_frame(out_bytes, 2);
    BandWorkers workers(driver, in.data(), out.data(), width, height, static_cast<int>(state.range(2)));
    for (auto _ : state) {
        workers.convert_frame();
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
void BM_bands_memcpy_v210(benchmark::State& state) {
    const std::size_t bytes = v210_bytes(state.range(0), state.range(1));
    time_bands(state, copy_v210_rows, bytes, bytes);
}

BENCHMARK(BM_bands_packed10_to_v210)->Apply(sizes_and_threads);
BENCHMARK(BM_bands_v210_to_packed10)->Apply(sizes_and_threads);
BENCHMARK(BM_bands_memcpy_v210)->Apply(sizes_and_threads);

}  // namespace
