// 48- and 64-bit RGB conversions and planar RGB splits per kernel class,
// beside a memcpy of the same bytes and libyuv's nearest equivalents.
#include <cstdint>

#include "bench_support.h"
#include "cconvert/rgb.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

// Splits a tight frame of `channels` samples of sample_bytes per pixel into
// planes that follow one another in one buffer.
template <class Split>
void run_split(benchmark::State& state, int channels, int sample_bytes, Split split) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    const std::size_t pixels = std::size_t(width) * height, plane_bytes = sample_bytes * pixels;
    auto source = random_frame(channels * plane_bytes);
    std::vector<unsigned char> planes(channels * plane_bytes);
    unsigned char* p[4] = {};
    for (int c = 0; c < channels; ++c) p[c] = planes.data() + c * plane_bytes;
    for (auto _ : state) {
        split(p, source.data(), width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, channels * plane_bytes, channels * plane_bytes);
}

OURS(rgba64_rgba32, 8, 4, ccnvt_rgba64_rgba32(d, 4 * w, s, 8 * w, w, h, 16));
OURS(argb64_rgba32, 8, 4, ccnvt_argb64_rgba32(d, 4 * w, s, 8 * w, w, h, 16));
OURS(bgra64_rgba32, 8, 4, ccnvt_bgra64_rgba32(d, 4 * w, s, 8 * w, w, h, 16));
OURS(rgb48_rgba32, 6, 4, ccnvt_rgb48_rgba32(d, 4 * w, s, 6 * w, w, h, 16));
OURS(argb64be_rgba32, 8, 4, ccnvt_argb64be_rgba32(d, 4 * w, s, 8 * w, w, h, 16, 0));
OURS(rgba32_rgba64, 4, 8, ccnvt_rgba32_rgba64(d, 8 * w, s, 4 * w, w, h, 16));
OURS(rgba32_argb64, 4, 8, ccnvt_rgba32_argb64(d, 8 * w, s, 4 * w, w, h, 16));
OURS(bgra32_rgba64, 4, 8, ccnvt_bgra32_rgba64(d, 8 * w, s, 4 * w, w, h, 16));
OURS(rgba32_rgb48, 4, 6, ccnvt_rgba32_rgb48(d, 6 * w, s, 4 * w, w, h, 16));
OURS(rgb48_rgba64, 6, 8, ccnvt_rgb48_rgba64(d, 8 * w, s, 6 * w, w, h));
OURS(argb64_reorder, 8, 8, ccnvt_argb64_reorder(d, s, w, h, 0, 2, 64, 64));

#define OURS_SPLIT(name, channels, sample_bytes, call)                                           \
    void BM_##name(benchmark::State& state) {                                                  \
        const KernelSelection kernel(state);                                                   \
        run_split(state, channels, sample_bytes,                                               \
                  [](unsigned char* const* p, const unsigned char* s, long w, long h) { call; }); \
    }                                                                                          \
    BENCHMARK(BM_##name)->Apply(frame_sizes_and_kernels)

OURS_SPLIT(rgba32_rgba_planar, 4, 1, ccnvt_rgba32_rgba_planar(p[0], p[1], p[2], p[3], w, s, 4 * w, w, h));
OURS_SPLIT(rgb24_rgb_planar, 3, 1, ccnvt_rgb24_rgb_planar(p[0], p[1], p[2], w, s, 3 * w, w, h));
OURS_SPLIT(rgba64_rgba_planar16, 4, 2, ccnvt_rgba64_rgba_planar16(p[0], p[1], p[2], p[3], 2 * w, s, 8 * w, w, h));
OURS_SPLIT(rgb48_rgb_planar16, 3, 2, ccnvt_rgb48_rgb_planar16(p[0], p[1], p[2], 2 * w, s, 6 * w, w, h));

// The bound: a copy of half the bytes a conversion reads and writes per
// pixel (third argument), so that read plus written match.
void BM_deep_rgb_memcpy(benchmark::State& state) {
    copy_bound(state, state.range(2) * state.range(0) * state.range(1));
}
BENCHMARK(BM_deep_rgb_memcpy)->Apply([](benchmark::internal::Benchmark* b) {
    b->ArgNames({"width", "height", "bytes_per_pixel"});
    for (const auto& size : kFrameSizes)
        for (int bytes : {3, 4, 5, 6, 7, 8}) b->Args({size[0], size[1], bytes});
});

#ifdef CCNVT_BENCH_LIBYUV
// libyuv's 16-bit strides count 16-bit elements.
inline std::uint16_t* words(unsigned char* bytes) { return reinterpret_cast<std::uint16_t*>(bytes); }

// Its AR64 is our rgba64 and its ARGB our rgba32; AB64 exchanges red and blue.
LIBYUV_PEER(AR64ToARGB, 8, 4, libyuv::AR64ToARGB(words(s), 4 * w, d, 4 * w, w, h));
LIBYUV_PEER(AB64ToARGB, 8, 4, libyuv::AB64ToARGB(words(s), 4 * w, d, 4 * w, w, h));
LIBYUV_PEER(ARGBToAR64, 4, 8, libyuv::ARGBToAR64(s, 4 * w, words(d), 4 * w, w, h));
LIBYUV_PEER(ARGBToAB64, 4, 8, libyuv::ARGBToAB64(s, 4 * w, words(d), 4 * w, w, h));
// Words 2 1 0 3, as our reorder with source order 0 and destination order 2.
const std::uint8_t kSwapRedBlueWords[16] = {4, 5, 2, 3, 0, 1, 6, 7, 12, 13, 10, 11, 8, 9, 14, 15};
LIBYUV_PEER(AR64Shuffle, 8, 8, libyuv::AR64Shuffle(words(s), 4 * w, words(d), 4 * w, kSwapRedBlueWords, w, h));

#define PEER_SPLIT(name, channels, call)                                                        \
    void BM_libyuv_##name(benchmark::State& state) {                                          \
        run_split(state, channels, 1,                                                         \
                  [](unsigned char* const* p, const unsigned char* s, int w, int h) { call; }); \
    }                                                                                         \
    BENCHMARK(BM_libyuv_##name)->Apply(frame_sizes)

PEER_SPLIT(SplitARGBPlane, 4, libyuv::SplitARGBPlane(s, 4 * w, p[2], w, p[1], w, p[0], w, p[3], w, w, h));
PEER_SPLIT(SplitRGBPlane, 3, libyuv::SplitRGBPlane(s, 3 * w, p[0], w, p[1], w, p[2], w, w, h));
#endif

}  // namespace
