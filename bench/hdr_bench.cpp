// HDR peers: libyuv's table and half-float routines, beside our half-float
// and ST 2084 converters (registered in the kernel registry).
#include <cstdint>
#include <vector>

#include "bench_support.h"
#include "cconvert/hdr.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

#ifdef CCNVT_BENCH_LIBYUV
// libyuv's nearest equivalent: 16-bit samples scaled to half floats, as
// many output values as an RGBA half-float frame.
void BM_libyuv_HalfFloatPlane(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    std::vector<std::uint16_t> source(4 * width * height), halves(4 * width * height);
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint16_t>(i * 7 & 0x3FF);
    for (auto _ : state) {
        libyuv::HalfFloatPlane(source.data(), 8 * width, halves.data(), 8 * width, 1.0f / 1023, 4 * width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * source.size(), 2 * halves.size());
}
BENCHMARK(BM_libyuv_HalfFloatPlane)->Apply(frame_sizes);
#endif

#ifdef CCNVT_BENCH_LIBYUV
// libyuv: a 256-entry table per channel over 32-bit pixels, in place.
void BM_libyuv_ARGBColorTable(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto frame = random_frame(4 * std::size_t(width) * height);
    std::vector<std::uint8_t> table(1024);
    for (int i = 0; i < 1024; ++i) table[i] = static_cast<std::uint8_t>(ardwRGB_to_SMPTE2048_8Bit[i / 4]);
    for (auto _ : state) {
        libyuv::ARGBColorTable(frame.data(), 4 * width, table.data(), 0, 0, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, frame.size(), frame.size());
}
BENCHMARK(BM_libyuv_ARGBColorTable)->Apply(frame_sizes);
#endif

}  // namespace
