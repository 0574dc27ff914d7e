// Flip peers: libyuv's CopyPlane with a negative height and ARGBMirror, beside
// our flips of 32-bit frames (registered in the kernel registry).
#include <cstring>

#include "bench_support.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

std::size_t rgba_bytes(std::size_t width, std::size_t height) { return 4 * width * height; }

#ifdef CCNVT_BENCH_LIBYUV
void BM_libyuv_CopyPlane_flipped(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto source = random_frame(rgba_bytes(width, height));
    std::vector<unsigned char> destination(source.size());
    for (auto _ : state) {
        libyuv::CopyPlane(source.data(), 4 * width, destination.data(), 4 * width, 4 * width, -height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), source.size());
}
BENCHMARK(BM_libyuv_CopyPlane_flipped)->Apply(frame_sizes);

void BM_libyuv_ARGBMirror(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto source = random_frame(rgba_bytes(width, height));
    std::vector<unsigned char> destination(source.size());
    for (auto _ : state) {
        libyuv::ARGBMirror(source.data(), 4 * width, destination.data(), 4 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), source.size());
}
BENCHMARK(BM_libyuv_ARGBMirror)->Apply(frame_sizes);
#endif

}  // namespace
