// Fixed-point YCbCr to RGB arithmetic and the kernels of libycbcr.
//
// Every sample enters as a signed 16-bit value (S - 128) * 256 (8-bit) or
// (S - 512) * 64 (10-bit): the same scale for both depths. A product with a
// coefficient c is mulhrs(a, round(c * 8192)) = round(a * c * 8192 / 32768),
// the sample's contribution in 1/64 of an output step (six fractional bits).
// Green takes both chroma samples in one sum, (cb * kb + cr * kr) >> 16 with
// kb, kr = round(c * 16384) (vpmaddwd, then the high half). Per pixel:
//   luma  = mulhrs(y, luma) + bias          (bias: the -16 offset and + 1/2)
//   B     = luma +sat mulhrs(cb, cb_blue)
//   R     = luma +sat mulhrs(cr, cr_red)
//   G     = luma -sat ((cb * cb_green + cr * cr_green) >> 16)
//   byte  = clamp(value >> 6, 0, 255)
// with 16-bit saturating additions (+sat, -sat). The portable code does
// exactly this in int, so the AVX2 kernels (16 pixels a step in 16-bit
// lanes) give the same bytes.
#ifndef YCBCR_KERNELS_H
#define YCBCR_KERNELS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "ycbcr.h"

namespace ycbcr {

struct Coefficients {
    std::int16_t luma, bias, cb_blue, cr_red;  // 8192 is 1.0
    std::int16_t cb_green, cr_green;          // 16384 is 1.0
};

// Studio-range coefficients of a matrix (BT.601 for nullptr).
Coefficients coefficients_for(const cycbcr_matrix* matrix);

// ---- the arithmetic, written once ----

// Sample to its signed 16-bit form.
inline int from_8bit(int sample) { return (sample - 128) * 256; }
inline int from_10bit(int sample) { return (sample - 512) * 64; }

inline int mulhrs(int a, int b) { return (a * b + 0x4000) >> 15; }
inline int saturate16(int v) { return std::clamp(v, -32768, 32767); }
inline std::uint8_t output_byte(int fixed) { return static_cast<std::uint8_t>(std::clamp(fixed >> 6, 0, 255)); }

// One pixel from its signed 16-bit samples, written B, G, R.
inline void convert_pixel(int y, int cb, int cr, const Coefficients& c, std::uint8_t* bgr) {
    const int luma = static_cast<std::int16_t>(mulhrs(y, c.luma) + c.bias);
    bgr[0] = output_byte(saturate16(luma + mulhrs(cb, c.cb_blue)));
    bgr[1] = output_byte(saturate16(luma - ((cb * c.cb_green + cr * c.cr_green) >> 16)));
    bgr[2] = output_byte(saturate16(luma + mulhrs(cr, c.cr_red)));
}

constexpr std::uint8_t kOpaque = 255;  // the fourth byte of rgb32 pixels

// ---- the rows of a frame ----

// Row r of the source (source + r * source_pitch) goes to destination +
// r * destination_step; the step is negative for a bottom-up frame.
struct PackedRows {
    std::uint8_t* destination;
    std::ptrdiff_t destination_step;
    const std::uint8_t* source;
    std::ptrdiff_t source_pitch;
    long count;
    int width;
};

// Three planes: luma row r, chroma row r / 2.
struct PlanarRows {
    std::uint8_t* destination;
    std::ptrdiff_t destination_step;
    const std::uint8_t* y;
    std::ptrdiff_t y_pitch;
    const std::uint8_t* cb;
    const std::uint8_t* cr;
    std::ptrdiff_t chroma_pitch;
    long count;
    int width;
};

// Frame kernels. 2vuy rows read ceil(width / 2) pairs, v210 rows ceil(width /
// 6) groups, planar rows width luma and ceil(width / 2) chroma samples.
using PackedKernel = void (*)(const PackedRows& rows, const Coefficients& c);
using PlanarKernel = void (*)(const PlanarRows& rows, const Coefficients& c);

void uyvy_to_bgr_portable(const PackedRows& rows, const Coefficients& c);
void uyvy_to_bgra_portable(const PackedRows& rows, const Coefficients& c);
void v210_to_bgra_portable(const PackedRows& rows, const Coefficients& c);
void planar_to_bgra_portable(const PlanarRows& rows, const Coefficients& c);

void uyvy_to_bgr_avx2(const PackedRows& rows, const Coefficients& c);
void uyvy_to_bgra_avx2(const PackedRows& rows, const Coefficients& c);
void v210_to_bgra_avx2(const PackedRows& rows, const Coefficients& c);
void planar_to_bgra_avx2(const PlanarRows& rows, const Coefficients& c);

// The portable code for one row (or the end of a row), from pixel 0 of the
// pointers given: the vector kernels finish their rows with these.
void uyvy_to_bgr_row(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);
void uyvy_to_bgra_row(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);
void v210_to_bgra_row(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);
void planar_to_bgra_row(std::uint8_t* destination, const std::uint8_t* y, const std::uint8_t* cb,
                        const std::uint8_t* cr, int width, const Coefficients& c);

}  // namespace ycbcr

#endif
