// 8- and 16-bit RGB conversions per kernel class, beside a memcpy of the same
// bytes and libyuv's nearest equivalents.
#include <cstdint>

#include "bench_support.h"
#include "cconvert/rgb.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

OURS(rgba32_rgb24, 4, 3, ccnvt_rgba32_rgb24_inplace(d, 3 * w, s, 4 * w, w, h));
OURS(rgb24_rgba32, 3, 4, ccnvt_rgb24_rgba32_inplace(d, 4 * w, s, 3 * w, w, h));
OURS(rgb24_rgba32_in_place, 3, 4, (ccnvt_rgb24_rgba32_inplace(d, 4 * w, d, 3 * w, w, h), (void)s));
OURS(rgba32_bgra32, 4, 4, ccnvt_rgba32_bgra32_inplace(d, 4 * w, s, 4 * w, w, h));
OURS(rgba32_argb32, 4, 4, ccnvt_rgba32_argb32(d, 4 * w, s, 4 * w, w, h));
OURS(bgra2abgr_span, 4, 4,
     bgra2abgr(reinterpret_cast<unsigned int*>(d), reinterpret_cast<unsigned int*>(s), unsigned(w * h)));
OURS(rgba32_rgb16, 4, 2, ccnvt_rgba32_rgb16(d, 2 * w, s, 4 * w, w, h));
OURS(rgba32_rgb16_565, 4, 2, ccnvt_rgba32_rgb16_565(d, 2 * w, s, 4 * w, w, h));
OURS(rgba32_rgb16_dithered, 4, 2, ccnvt_rgba32_rgb16_dithered(d, 2 * w, s, 4 * w, w, h));
OURS(rgba32_rgb16_565_dithered, 4, 2, ccnvt_rgba32_rgb16_565_dithered(d, 2 * w, s, 4 * w, w, h));
OURS(rgb16_rgba32, 2, 4, ccnvt_rgb16_rgba32_inplace(d, 4 * w, s, 2 * w, w, h));
OURS(rgb16_rgb24, 2, 3, ccnvt_rgb16_rgb24(d, 3 * w, s, 2 * w, w, h));

// The bound: a copy of a frame of 2, 3 or 4 bytes per pixel (third argument).
void BM_rgb_memcpy(benchmark::State& state) {
    copy_bound(state, state.range(2) * state.range(0) * state.range(1));
}
BENCHMARK(BM_rgb_memcpy)->Apply([](benchmark::internal::Benchmark* b) {
    b->ArgNames({"width", "height", "bytes_per_pixel"});
    for (const auto& size : kFrameSizes)
        for (int bytes : {2, 3, 4}) b->Args({size[0], size[1], bytes});
});

#ifdef CCNVT_BENCH_LIBYUV
// libyuv's shuffler for bytes 2 1 0 3 (its ARGBToABGR) and 1 2 3 0.
const std::uint8_t kSwapRedBlue[16] = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
const std::uint8_t kRotate[16] = {1, 2, 3, 0, 5, 6, 7, 4, 9, 10, 11, 8, 13, 14, 15, 12};
// Its dither matrix takes values added to each channel: ours halved, as our
// 5-6-5 red and blue get.
const std::uint8_t kHalfBayer[16] = {0, 4, 1, 5, 6, 2, 7, 3, 1, 5, 0, 4, 7, 3, 6, 2};

LIBYUV_PEER(ARGBToRGB24, 4, 3, libyuv::ARGBToRGB24(s, 4 * w, d, 3 * w, w, h));
LIBYUV_PEER(RGB24ToARGB, 3, 4, libyuv::RGB24ToARGB(s, 3 * w, d, 4 * w, w, h));
LIBYUV_PEER(ARGBToABGR, 4, 4, libyuv::ARGBToABGR(s, 4 * w, d, 4 * w, w, h));
LIBYUV_PEER(ARGBShuffle_swap, 4, 4, libyuv::ARGBShuffle(s, 4 * w, d, 4 * w, kSwapRedBlue, w, h));
LIBYUV_PEER(ARGBShuffle_rotate, 4, 4, libyuv::ARGBShuffle(s, 4 * w, d, 4 * w, kRotate, w, h));
LIBYUV_PEER(ARGBToARGB1555, 4, 2, libyuv::ARGBToARGB1555(s, 4 * w, d, 2 * w, w, h));
LIBYUV_PEER(ARGBToRGB565, 4, 2, libyuv::ARGBToRGB565(s, 4 * w, d, 2 * w, w, h));
LIBYUV_PEER(ARGBToRGB565Dither, 4, 2, libyuv::ARGBToRGB565Dither(s, 4 * w, d, 2 * w, kHalfBayer, w, h));
LIBYUV_PEER(ARGB1555ToARGB, 2, 4, libyuv::ARGB1555ToARGB(s, 2 * w, d, 4 * w, w, h));
#endif

}  // namespace
