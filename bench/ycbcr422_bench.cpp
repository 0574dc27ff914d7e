// YCbCr 4:2:2 peers: libyuv's nearest equivalents of our RGB encoders, table
// decoders and libycbcr's full-size converters (registered in the kernel
// registry).
#include <cstddef>
#include <vector>

#include "bench_support.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#endif

namespace {

using namespace cconvert::bench;

std::size_t pixels_of(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0)) * static_cast<std::size_t>(state.range(1));
}
int width_of(const benchmark::State& state) { return static_cast<int>(state.range(0)); }
int height_of(const benchmark::State& state) { return static_cast<int>(state.range(1)); }

#ifdef CCNVT_BENCH_LIBYUV
void BM_libyuv_UYVYToARGB(benchmark::State& state) {
    const int width = width_of(state), height = height_of(state);
    auto uyvy = random_frame(2 * pixels_of(state));
    std::vector<unsigned char> argb(4 * pixels_of(state));
    for (auto _ : state) {
        libyuv::UYVYToARGB(uyvy.data(), 2 * width, argb.data(), 4 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * pixels_of(state), 4 * pixels_of(state));
}
BENCHMARK(BM_libyuv_UYVYToARGB)->Apply(frame_sizes);

void BM_libyuv_I420ToARGB(benchmark::State& state) {
    const int width = width_of(state), height = height_of(state);
    auto i420 = random_frame(pixels_of(state) * 3 / 2);
    std::vector<unsigned char> argb(4 * pixels_of(state));
    const unsigned char* u = i420.data() + pixels_of(state);
    const unsigned char* v = u + pixels_of(state) / 4;
    for (auto _ : state) {
        libyuv::I420ToARGB(i420.data(), width, u, width / 2, v, width / 2, argb.data(), 4 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, i420.size(), 4 * pixels_of(state));
}
BENCHMARK(BM_libyuv_I420ToARGB)->Apply(frame_sizes);

void BM_libyuv_ARGBToUYVY(benchmark::State& state) {
    const int width = width_of(state), height = height_of(state);
    auto argb = random_frame(4 * pixels_of(state));
    std::vector<unsigned char> uyvy(2 * pixels_of(state));
    for (auto _ : state) {
        libyuv::ARGBToUYVY(argb.data(), 4 * width, uyvy.data(), 2 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 4 * pixels_of(state), 2 * pixels_of(state));
}
BENCHMARK(BM_libyuv_ARGBToUYVY)->Apply(frame_sizes);
#endif

}  // namespace
