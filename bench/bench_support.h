// Shared pieces of the benchmarks: frame sizes, byte accounting, the memcpy
// bound and the kernel selection.
#ifndef CCONVERT_BENCH_BENCH_SUPPORT_H
#define CCONVERT_BENCH_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cconvert::bench {

// Every family is measured at these sizes: {width, height}.
inline constexpr int kFrameSizes[][2] = {{1920, 1080}, {3840, 2160}};

// Adds {width, height} arguments for every frame size.
void frame_sizes(benchmark::internal::Benchmark* benchmark);
// Adds {width, height, feature word} for every frame size and every kernel
// class this processor has (portable, SSE-class, AVX2-class).
void frame_sizes_and_kernels(benchmark::internal::Benchmark* benchmark);

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

// The physical bound: a memcpy of the given bytes (read and written).
void copy_bound(benchmark::State& state, std::size_t bytes);

}  // namespace cconvert::bench

#endif
