// Vertical and horizontal flips of 32-bit frames, beside a memcpy of the same
// bytes and libyuv's CopyPlane with a negative height and ARGBMirror.
#include <cstring>

#include "bench_support.h"
#include "cconvert/geometry.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

std::size_t rgba_bytes(std::size_t width, std::size_t height) { return 4 * width * height; }

void BM_flip_vert(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto source = random_frame(rgba_bytes(width, height));
    std::vector<unsigned char> destination(source.size());
    for (auto _ : state) {
        ccnvt_flip_vert(destination.data(), source.data(), 0, height, 4 * width);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), source.size());
}
BENCHMARK(BM_flip_vert)->Apply(frame_sizes);

void BM_flip_vert_in_place(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto frame = random_frame(rgba_bytes(width, height));
    for (auto _ : state) {
        ccnvt_flip_vert(frame.data(), frame.data(), 0, height, 4 * width);
        benchmark::ClobberMemory();
    }
    count_bytes(state, frame.size(), frame.size());
}
BENCHMARK(BM_flip_vert_in_place)->Apply(frame_sizes);

void BM_flip_horz(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto source = random_frame(rgba_bytes(width, height));
    std::vector<unsigned char> destination(source.size());
    for (auto _ : state) {
        ccnvt_flip_horz(reinterpret_cast<unsigned int*>(destination.data()),
                        reinterpret_cast<unsigned int*>(source.data()), width, height, 4 * width);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), source.size());
}
BENCHMARK(BM_flip_horz)->Apply(frame_sizes);

void BM_flip_horz_in_place(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto frame = random_frame(rgba_bytes(width, height));
    for (auto _ : state) {
        ccnvt_flip_horz(reinterpret_cast<unsigned int*>(frame.data()),
                        reinterpret_cast<unsigned int*>(frame.data()), width, height, 4 * width);
        benchmark::ClobberMemory();
    }
    count_bytes(state, frame.size(), frame.size());
}
BENCHMARK(BM_flip_horz_in_place)->Apply(frame_sizes);

void BM_memcpy_rgba32_frame(benchmark::State& state) {
    copy_bound(state, rgba_bytes(state.range(0), state.range(1)));
}
BENCHMARK(BM_memcpy_rgba32_frame)->Apply(frame_sizes);

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
