// Alpha operations per kernel class, beside a memcpy of the same bytes and
// libyuv's nearest equivalents.
#include "bench_support.h"
#include "cconvert/alpha.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

OURS(alpha_to_rgba, 1, 4, ccnvt_alpha_to_rgba(d, 4 * w, s, w, w, h));
OURS(rgba_to_alpha, 4, 1, ccnvt_rgba_to_alpha(d, w, s, 4 * w, w, h));
// Reads and writes the pixels in place: counted as 4 bytes in and 4 out.
OURS(rgba_setalpha, 4, 4, (ccnvt_rgba_setalpha(d, 4 * w, 0x80, w, h), (void)s));
OURS(rgba_addalpha, 3, 4, ccnvt_rgba_addalpha(s, d, 3 * w, 4 * w, 0xFF, w, h));
OURS(alphay_to_2yuv, 1, 2, ccnvt_alphay_to_2yuv(d, 2 * w, s, w, w, int(h)));
OURS(2yuv_to_alphay, 2, 1, ccnvt_2yuv_to_alphay(d, w, s, 2 * w, w, h));
OURS(2yuv_strip_chroma, 2, 2, ccnvt_2yuv_strip_chroma(d, 2 * w, s, 2 * w, w, h));

// The bound: a copy of a frame of 1, 2 or 4 bytes per pixel (third argument).
void BM_alpha_memcpy(benchmark::State& state) {
    copy_bound(state, state.range(2) * state.range(0) * state.range(1));
}
BENCHMARK(BM_alpha_memcpy)->Apply([](benchmark::internal::Benchmark* b) {
    b->ArgNames({"width", "height", "bytes_per_pixel"});
    for (const auto& size : kFrameSizes)
        for (int bytes : {1, 2, 4}) b->Args({size[0], size[1], bytes});
});

#ifdef CCNVT_BENCH_LIBYUV
LIBYUV_PEER(ARGBExtractAlpha, 4, 1, libyuv::ARGBExtractAlpha(s, 4 * w, d, w, w, h));
// Reads the plane and reads and writes the pixels: counted as 1 in and 4 out.
LIBYUV_PEER(ARGBCopyYToAlpha, 1, 4, libyuv::ARGBCopyYToAlpha(s, w, d, 4 * w, w, h));
LIBYUV_PEER(UYVYToY, 2, 1, libyuv::UYVYToY(s, 2 * w, d, w, w, h));
#endif

}  // namespace
