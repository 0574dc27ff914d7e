// Every registered converter, under each kernel class it has, at every frame
// size; and the bounds they are measured against: a memcpy and a copy with
// non-temporal stores of as many bytes as each converter reads and writes.
#include <set>
#include <string>

#include "bench_support.h"
#include "kvutil.h"
#include "registry/kernel_registry.h"

namespace cconvert::bench {

namespace {

using registry::Kernel;
using registry::kSlackBytes;

void time_kernel(benchmark::State& state, const Kernel& kernel) {
    const KernelSelection selection(state);
    const long width = state.range(0), height = state.range(1);
    const std::size_t in_bytes = kernel.in.bytes(width, height), out_bytes = kernel.out.bytes(width, height);
    auto in = random_frame(in_bytes + kSlackBytes);
    auto out = random_frame(out_bytes + kSlackBytes, 2);
    for (auto _ : state) {
        kernel.run(out.data(), in.data(), width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, in_bytes, out_bytes);
}

bool register_all() {
    const unsigned int available = CPUFeatureFlags();
    std::set<std::size_t> copies;
    for (const Kernel& kernel : registry::kernels()) {
        auto* benchmark = benchmark::RegisterBenchmark(
            (std::string("BM_") + kernel.name).c_str(),
            [&kernel](benchmark::State& state) { time_kernel(state, kernel); });
        benchmark->ArgNames({"width", "height", "features"});
        for (const auto& size : kFrameSizes) {
            for (unsigned int word : registry::feature_words_of(kernel, available))
                benchmark->Args({size[0], size[1], word});
            copies.insert(copy_bytes_for(kernel, size[0], size[1]));
        }
    }
    auto* memcpy_bound = benchmark::RegisterBenchmark("BM_copy_memcpy", [](benchmark::State& state) {
        copy_bound(state, static_cast<std::size_t>(state.range(0)));
    });
    auto* stream_bound = benchmark::RegisterBenchmark("BM_copy_streaming", [](benchmark::State& state) {
        streaming_copy_bound(state, static_cast<std::size_t>(state.range(0)));
    });
    for (auto* bound : {memcpy_bound, stream_bound}) {
        bound->ArgNames({"bytes"});
        for (std::size_t bytes : copies) bound->Arg(static_cast<std::int64_t>(bytes));
    }
    return true;
}

const bool registered = register_all();

}  // namespace

}  // namespace cconvert::bench
