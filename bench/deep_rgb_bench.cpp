// 48- and 64-bit RGB and planar RGB peers: libyuv's nearest equivalents of
// our converters and splits (registered in the kernel registry).
#include <cstdint>

#include "bench_support.h"

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
