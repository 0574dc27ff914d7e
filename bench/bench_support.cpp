#include "bench_support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "frame/streaming.h"
#include "kvutil.h"

namespace cconvert::bench {

void frame_sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"width", "height"});
    for (const auto& size : kFrameSizes) benchmark->Args({size[0], size[1]});
}

void count_bytes(benchmark::State& state, std::size_t read, std::size_t written) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * (read + written)));
}

KernelSelection::KernelSelection(const benchmark::State& state) {
    if (const char* previous = std::getenv("CCNVT_CPU_FEATURES")) previous_ = previous;
    char word[16];
    std::snprintf(word, sizeof word, "%lld", static_cast<long long>(state.range(2)));
    setenv("CCNVT_CPU_FEATURES", word, 1);
}

KernelSelection::~KernelSelection() {
    if (previous_.empty())
        unsetenv("CCNVT_CPU_FEATURES");
    else
        setenv("CCNVT_CPU_FEATURES", previous_.c_str(), 1);
}

std::vector<unsigned char> random_frame(std::size_t bytes, std::uint32_t seed) {
    std::vector<unsigned char> frame(bytes);
    std::mt19937 generator(seed);
    for (auto& byte : frame) byte = static_cast<unsigned char>(generator());
    return frame;
}

void copy_bound(benchmark::State& state, std::size_t bytes) {
    auto source = random_frame(bytes);
    std::vector<unsigned char> destination(bytes, 0);
    for (auto _ : state) {
        std::memcpy(destination.data(), source.data(), bytes);
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    count_bytes(state, bytes, bytes);
}

void streaming_copy_bound(benchmark::State& state, std::size_t bytes) {
    auto source = random_frame(bytes);
    std::vector<unsigned char> destination(bytes, 0);
    for (auto _ : state) {
        cconvert::detail::stream_copy(destination.data(), source.data(), bytes);
        cconvert::detail::streaming_finished();
        benchmark::ClobberMemory();
    }
    count_bytes(state, bytes, bytes);
}

}  // namespace cconvert::bench
