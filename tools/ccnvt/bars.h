// 75% colour bars as a test source.
#ifndef CCNVT_TOOL_BARS_H
#define CCNVT_TOOL_BARS_H

#include <cstdint>

#include "frames.h"

namespace ccnvt {

// 10-bit studio-range samples.
struct YCbCr10 {
    int y, cb, cr;
};

// The 10-bit value of R'G'B' (0..1 each) in BT.709 or BT.601, rounded.
YCbCr10 ycbcr_of(double r, double g, double b, bool bt709);

// A v210 frame of 75% bars: at HD the SMPTE RP 219 layout (grey side panels,
// seven bars, the 100% cyan / blue, yellow / ramp / red rows and the
// black-and-PLUGE bottom row); at SD the eight full-height EBU bars.
Frame make_bars(std::uint32_t width, std::uint32_t height);

}  // namespace ccnvt

#endif
