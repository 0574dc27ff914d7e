// Alpha peers: libyuv's nearest equivalents of our alpha operations
// (registered in the kernel registry).
#include "bench_support.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

// Reads and writes the pixels in place: counted as 4 bytes in and 4 out.


#ifdef CCNVT_BENCH_LIBYUV
LIBYUV_PEER(ARGBExtractAlpha, 4, 1, libyuv::ARGBExtractAlpha(s, 4 * w, d, w, w, h));
// Reads the plane and reads and writes the pixels: counted as 1 in and 4 out.
LIBYUV_PEER(ARGBCopyYToAlpha, 1, 4, libyuv::ARGBCopyYToAlpha(s, w, d, 4 * w, w, h));
LIBYUV_PEER(UYVYToY, 2, 1, libyuv::UYVYToY(s, 2 * w, d, w, w, h));
#endif

}  // namespace
