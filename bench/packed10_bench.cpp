// packed10: the four frame drivers per kernel class, the whole-frame
// wrappers, the ST 2110-20 packetiser and segment decoder, beside a memcpy of
// the same bytes and FFmpeg's bitpacked decoder (packed10 to planar 10-bit).
#include <cstdint>
#include <cstring>
#include <vector>

#include "bench_support.h"
#include "cconvert/packed10.h"

#ifdef CCNVT_BENCH_FFMPEG
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}
#endif

namespace {

using namespace cconvert::bench;

std::size_t packed10_bytes(std::size_t width, std::size_t height) { return width * 5 / 2 * height; }
std::size_t uyvy_bytes(std::size_t width, std::size_t height) { return 2 * width * height; }
std::size_t v210_pitch(std::size_t width) { return 128 * ((width + 47) / 48); }
std::size_t v210_bytes(std::size_t width, std::size_t height) { return v210_pitch(width) * height; }

int arg(const benchmark::State& state, int index) { return static_cast<int>(state.range(index)); }

// ---- the four drivers, one call per frame ----

void BM_packed10_to_uyvy(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto packed10 = random_frame(packed10_bytes(width, height));
    std::vector<unsigned char> uyvy(uyvy_bytes(width, height));
    for (auto _ : state) {
        kv_ycbcr422_packed10_to_uyvy(packed10.data(), 0, width, 0, height, uyvy.data(), 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, packed10.size(), uyvy.size());
}
BENCHMARK(BM_packed10_to_uyvy)->Apply(frame_sizes_and_kernels);

void BM_uyvy_to_packed10(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto uyvy = random_frame(uyvy_bytes(width, height));
    std::vector<unsigned char> packed10(packed10_bytes(width, height));
    for (auto _ : state) {
        kv_ycbcr422_uyvy_to_packed10(uyvy.data(), 0, width, 0, height, packed10.data(), 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, uyvy.size(), packed10.size());
}
BENCHMARK(BM_uyvy_to_packed10)->Apply(frame_sizes_and_kernels);

void BM_packed10_to_v210(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto packed10 = random_frame(packed10_bytes(width, height));
    std::vector<unsigned char> v210(v210_bytes(width, height));
    for (auto _ : state) {
        ccnvt_ycbcr422_packed10_to_v210(packed10.data(), 0, width, 0, height, height, v210.data(), 0, false);
        benchmark::ClobberMemory();
    }
    count_bytes(state, packed10.size(), v210.size());
}
BENCHMARK(BM_packed10_to_v210)->Apply(frame_sizes_and_kernels);

void BM_v210_to_packed10(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto v210 = random_frame(v210_bytes(width, height));
    std::vector<unsigned char> packed10(packed10_bytes(width, height));
    for (auto _ : state) {
        ccnvt_ycbcr422_v210_to_packed10(v210.data(), 0, width, 0, height, height, packed10.data(), 0, false);
        benchmark::ClobberMemory();
    }
    count_bytes(state, v210.size(), packed10.size());
}
BENCHMARK(BM_v210_to_packed10)->Apply(frame_sizes_and_kernels);

// ---- the bounds: a memcpy of each side's frame ----

void BM_memcpy_packed10_frame(benchmark::State& state) {
    copy_bound(state, packed10_bytes(state.range(0), state.range(1)));
}
BENCHMARK(BM_memcpy_packed10_frame)->Apply(frame_sizes);

void BM_memcpy_v210_frame_for_packed10(benchmark::State& state) {
    copy_bound(state, v210_bytes(state.range(0), state.range(1)));
}
BENCHMARK(BM_memcpy_v210_frame_for_packed10)->Apply(frame_sizes);

}  // namespace
