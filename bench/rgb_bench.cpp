// 8- and 16-bit RGB peers: libyuv's nearest equivalents of our converters
// (registered in the kernel registry).
#include <cstdint>

#include "bench_support.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;


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
