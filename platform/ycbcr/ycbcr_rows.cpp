// Portable kernels of libycbcr: the reference for the AVX2 kernels.
#include <cmath>

#include "ycbcr_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace ycbcr {

using namespace cconvert::detail;

namespace {

std::int16_t fixed(double value) {
    return static_cast<std::int16_t>(std::clamp(std::lround(value), -32768L, 32767L));
}

constexpr cycbcr_matrix kDefaultMatrix = {"BT.601", 0.299, 0.114};

template <int BytesPerPixel>
void uyvy_row(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c) {
    for (int x = 0; x < width; ++x) {
        const std::uint8_t* pair = source + k2vuyBytesPerPair * (x / 2);
        const int y = pair[x % 2 == 0 ? k2vuyY0 : k2vuyY1];
        std::uint8_t* out = destination + BytesPerPixel * x;
        convert_pixel(from_8bit(y), from_8bit(pair[k2vuyCb]), from_8bit(pair[k2vuyCr]), c, out);
        if constexpr (BytesPerPixel == 4) out[3] = kOpaque;
    }
}

}  // namespace

// The 8-bit studio-range conversion: luma 255 / 219, chroma 255 / 112 times
// the weights of the matrix; six fractional bits, rounding folded into bias.
Coefficients coefficients_for(const cycbcr_matrix* matrix) {
    if (!matrix) matrix = &kDefaultMatrix;
    const double kr = matrix->kr, kb = matrix->kb, kg = 1.0 - kr - kb;
    const double luma = 255.0 / 219.0, chroma = 255.0 / 112.0;
    constexpr double kOne = 8192.0;  // 1.0 for mulhrs of a sample * 256
    Coefficients c;
    c.luma = fixed(luma * kOne);
    // Y enters as (Y - 128): add back (128 - 16) * luma, plus 1/2 to round.
    c.bias = fixed(luma * (128 - 16) * 64 + 32);
    c.cb_blue = fixed(chroma * (1.0 - kb) * kOne);
    c.cr_red = fixed(chroma * (1.0 - kr) * kOne);
    c.cb_green = fixed(chroma * kb * (1.0 - kb) / kg * 2 * kOne);
    c.cr_green = fixed(chroma * kr * (1.0 - kr) / kg * 2 * kOne);
    return c;
}

void uyvy_to_bgr_row(std::uint8_t* destination, const std::uint8_t* source, int width,
                              const Coefficients& c) {
    uyvy_row<3>(destination, source, width, c);
}

void uyvy_to_bgra_row(std::uint8_t* destination, const std::uint8_t* source, int width,
                               const Coefficients& c) {
    uyvy_row<4>(destination, source, width, c);
}

void v210_to_bgra_row(std::uint8_t* destination, const std::uint8_t* source, int width,
                               const Coefficients& c) {
    for (int x = 0; x < width; x += kV210PixelsPerGroup) {
        std::uint16_t s[kV210SamplesPerGroup];  // Cb0 Y0 Cr0 Y1 Cb2 Y2 Cr2 Y3 Cb4 Y4 Cr4 Y5
        v210_read_group(source, s);
        const int pixels = std::min<int>(kV210PixelsPerGroup, width - x);
        for (int i = 0; i < pixels; ++i) {
            const int pair = 4 * (i / 2);
            std::uint8_t* out = destination + 4 * (x + i);
            convert_pixel(from_10bit(s[pair + 1 + 2 * (i % 2)]), from_10bit(s[pair]),
                          from_10bit(s[pair + 2]), c, out);
            out[3] = kOpaque;
        }
        source += kV210BytesPerGroup;
    }
}

void planar_to_bgra_row(std::uint8_t* destination, const std::uint8_t* y, const std::uint8_t* cb,
                                 const std::uint8_t* cr, int width, const Coefficients& c) {
    for (int x = 0; x < width; ++x) {
        std::uint8_t* out = destination + 4 * x;
        convert_pixel(from_8bit(y[x]), from_8bit(cb[x / 2]), from_8bit(cr[x / 2]), c, out);
        out[3] = kOpaque;
    }
}

void uyvy_to_bgr_portable(const PackedRows& rows, const Coefficients& c) {
    for (long r = 0; r < rows.count; ++r)
        uyvy_to_bgr_row(rows.destination + r * rows.destination_step, rows.source + r * rows.source_pitch,
                        rows.width, c);
}

void uyvy_to_bgra_portable(const PackedRows& rows, const Coefficients& c) {
    for (long r = 0; r < rows.count; ++r)
        uyvy_to_bgra_row(rows.destination + r * rows.destination_step, rows.source + r * rows.source_pitch,
                         rows.width, c);
}

void v210_to_bgra_portable(const PackedRows& rows, const Coefficients& c) {
    for (long r = 0; r < rows.count; ++r)
        v210_to_bgra_row(rows.destination + r * rows.destination_step, rows.source + r * rows.source_pitch,
                         rows.width, c);
}

void planar_to_bgra_portable(const PlanarRows& rows, const Coefficients& c) {
    for (long r = 0; r < rows.count; ++r)
        planar_to_bgra_row(rows.destination + r * rows.destination_step, rows.y + r * rows.y_pitch,
                           rows.cb + r / 2 * rows.chroma_pitch, rows.cr + r / 2 * rows.chroma_pitch,
                           rows.width, c);
}

}  // namespace ycbcr
