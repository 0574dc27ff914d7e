// Shared pieces of the benchmarks: frame sizes, byte accounting, the memcpy
// bound and the kernel selection.
#ifndef CCONVERT_BENCH_BENCH_SUPPORT_H
#define CCONVERT_BENCH_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "registry/kernel_registry.h"

namespace cconvert::bench {

// Every family is measured at these sizes: {width, height}.
inline constexpr int kFrameSizes[][2] = {{1920, 1080}, {3840, 2160}};

// Adds {width, height} arguments for every frame size.
void frame_sizes(benchmark::internal::Benchmark* benchmark);

// Reports bytes read plus bytes written per iteration.
void count_bytes(benchmark::State& state, std::size_t read, std::size_t written);

// Sets CCNVT_CPU_FEATURES from the third argument while it lives.
class KernelSelection {
public:
    explicit KernelSelection(const benchmark::State& state);
    ~KernelSelection();
    KernelSelection(const KernelSelection&) = delete;
    KernelSelection& operator=(const KernelSelection&) = delete;

private:
    std::string previous_;
};

// A buffer of pseudo-random bytes, touched once so its pages exist.
std::vector<unsigned char> random_frame(std::size_t bytes, std::uint32_t seed = 1);

// The physical bounds: a memcpy of the given bytes (read and written), and a
// copy that writes them with non-temporal stores.
void copy_bound(benchmark::State& state, std::size_t bytes);
void streaming_copy_bound(benchmark::State& state, std::size_t bytes);

// A registered converter is measured against copies of as many bytes as it
// reads and writes: half the sum each way.
inline std::size_t copy_bytes_for(const registry::Kernel& kernel, long width, long height) {
    return (kernel.in.bytes(width, height) + kernel.out.bytes(width, height)) / 2;
}

// Runs convert(destination, source, width, height) on a frame of in_bytes
// per pixel into one of out_bytes per pixel, both tight.
template <class Convert>
void run_frame(benchmark::State& state, int in_bytes, int out_bytes, Convert convert) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    const std::size_t pixels = std::size_t(width) * height;
    auto source = random_frame(in_bytes * pixels);
    std::vector<unsigned char> destination(out_bytes * pixels);
    for (auto _ : state) {
        convert(destination.data(), source.data(), width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, in_bytes * pixels, out_bytes * pixels);
}

}  // namespace cconvert::bench

// libyuv's nearest equivalent, BM_libyuv_<name>, on the same frames.
#define LIBYUV_PEER(name, in_bytes, out_bytes, call)                                 \
    void BM_libyuv_##name(benchmark::State& state) {                               \
        cconvert::bench::run_frame(state, in_bytes, out_bytes,                     \
                                   [](unsigned char* d, unsigned char* s, int w, int h) { call; }); \
    }                                                                              \
    BENCHMARK(BM_libyuv_##name)->Apply(cconvert::bench::frame_sizes)

#endif
