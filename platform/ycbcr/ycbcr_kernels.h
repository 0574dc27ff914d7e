// Fixed-point YCbCr to RGB arithmetic and the row kernels of libycbcr.
//
// Every sample enters as a signed 16-bit value (S - 128) * 256 (8-bit) or
// (S - 512) * 64 (10-bit): the same scale for both depths. A product with a
// coefficient c is mulhrs(a, round(c * 8192)) = round(a * c * 8192 / 32768),
// the sample's contribution in 1/64 of an output step (six fractional bits).
// Per pixel:
//   luma  = mulhrs(y, luma) + bias          (bias: the -16 offset and + 1/2)
//   B     = luma +sat mulhrs(cb, cb_blue)
//   R     = luma +sat mulhrs(cr, cr_red)
//   G     = luma -sat (mulhrs(cb, cb_green) + mulhrs(cr, cr_green))
//   byte  = clamp(value >> 6, 0, 255)
// with 16-bit saturating additions (+sat, -sat). The portable code does
// exactly this in int, so the AVX2 kernels (16 pixels a step in 16-bit
// lanes) give the same bytes.
#ifndef YCBCR_KERNELS_H
#define YCBCR_KERNELS_H

#include <algorithm>
#include <cstdint>

#include "ycbcr.h"

namespace ycbcr {

struct Coefficients {
    std::int16_t luma, bias, cb_blue, cr_red, cb_green, cr_green;
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
    bgr[1] = output_byte(saturate16(luma - (mulhrs(cb, c.cb_green) + mulhrs(cr, c.cr_green))));
    bgr[2] = output_byte(saturate16(luma + mulhrs(cr, c.cr_red)));
}

// ---- row kernels: width pixels of one row ----

constexpr std::uint8_t kOpaque = 255;

// 2vuy rows: ceil(width / 2) pairs read.
using UyvyRow = void (*)(std::uint8_t* destination, const std::uint8_t* source, int width,
                         const Coefficients& c);
void uyvy_to_bgr_row_portable(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);
void uyvy_to_bgra_row_portable(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);
void uyvy_to_bgr_row_avx2(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);
void uyvy_to_bgra_row_avx2(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);

// v210 rows: ceil(width / 6) groups read.
using V210Row = UyvyRow;
void v210_to_bgra_row_portable(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);
void v210_to_bgra_row_avx2(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c);

// Planar rows: width luma samples, ceil(width / 2) of each chroma.
using PlanarRow = void (*)(std::uint8_t* destination, const std::uint8_t* y, const std::uint8_t* cb,
                           const std::uint8_t* cr, int width, const Coefficients& c);
void planar_to_bgra_row_portable(std::uint8_t* destination, const std::uint8_t* y, const std::uint8_t* cb,
                                 const std::uint8_t* cr, int width, const Coefficients& c);
void planar_to_bgra_row_avx2(std::uint8_t* destination, const std::uint8_t* y, const std::uint8_t* cb,
                             const std::uint8_t* cr, int width, const Coefficients& c);

}  // namespace ycbcr

#endif
