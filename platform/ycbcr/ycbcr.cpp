// libycbcr entry points: the matrix choice, and the frame walks of the
// converters (pitch defaults, row order, kernel choice).
#include "ycbcr.h"

#include <cstddef>

#include "frame/dispatch.h"
#include "ycbcr422/yuv422_layout.h"
#include "ycbcr_kernels.h"

namespace {

constexpr cycbcr_matrix kBt601 = {"BT.601", 0.299, 0.114};
constexpr cycbcr_matrix kBt709 = {"BT.709", 0.2126, 0.0722};

using cconvert::detail::choose_kernel;
using namespace ycbcr;

bool nothing_to_do(void* destination, const void* source, int width, int height) {
    return !destination || !source || width < 1 || height == 0;
}

long magnitude(int height) { return height < 0 ? -static_cast<long>(height) : height; }

// Where the rows go: |height| rows, pitches defaulted, bottom-up when asked.
template <class Rows>
void place_rows(Rows& rows, void* destination, int width, int height, long destination_pitch,
                long pixel_bytes, unsigned int flags) {
    rows.count = magnitude(height);
    rows.width = width;
    const std::ptrdiff_t pitch = destination_pitch > 0 ? destination_pitch : pixel_bytes * width;
    auto* first = static_cast<std::uint8_t*>(destination);
    const bool bottom_up = (flags & CYCBCR_BOTTOM_UP) != 0;
    rows.destination = bottom_up ? first + (rows.count - 1) * pitch : first;
    rows.destination_step = bottom_up ? -pitch : pitch;
}

int packed_to_rgb(void* destination, const void* source, int width, int height, long destination_pitch,
                  long source_pitch, const cycbcr_matrix* matrix, unsigned int flags, long pixel_bytes,
                  long default_source_pitch, PackedKernel kernel) {
    if (nothing_to_do(destination, source, width, height)) return -1;
    PackedRows rows;
    place_rows(rows, destination, width, height, destination_pitch, pixel_bytes, flags);
    rows.source = static_cast<const std::uint8_t*>(source);
    rows.source_pitch = source_pitch > 0 ? source_pitch : default_source_pitch;
    kernel(rows, coefficients_for(matrix));
    return 0;
}

int planar_to_rgb32(void* destination, const void* source, int width, int height, long destination_pitch,
                    long source_pitch, const cycbcr_matrix* matrix, unsigned int flags, bool cb_first) {
    if (nothing_to_do(destination, source, width, height)) return -1;
    PlanarRows rows;
    place_rows(rows, destination, width, height, destination_pitch, 4, flags);
    rows.y = static_cast<const std::uint8_t*>(source);
    rows.y_pitch = source_pitch > 0 ? source_pitch : width;
    rows.chroma_pitch = (rows.y_pitch + 1) / 2;
    const std::uint8_t* first_chroma = rows.y + rows.count * rows.y_pitch;
    const std::uint8_t* second_chroma = first_chroma + (rows.count + 1) / 2 * rows.chroma_pitch;
    rows.cb = cb_first ? first_chroma : second_chroma;
    rows.cr = cb_first ? second_chroma : first_chroma;
    choose_kernel<PlanarKernel>(planar_to_bgra_portable, nullptr, planar_to_bgra_avx2)(rows,
                                                                                       coefficients_for(matrix));
    return 0;
}

}  // namespace

extern "C" {

const cycbcr_matrix* GetMatrixBySize(int width, int height, int) {
    return (width > 1279 || height > 576) ? &kBt709 : &kBt601;
}

int cycbcr_uyvy_to_rgb24(void* destination, const void* source, int width, int height,
                         long destination_pitch, long source_pitch, const cycbcr_matrix* matrix,
                         unsigned int flags) {
    return packed_to_rgb(destination, source, width, height, destination_pitch, source_pitch, matrix, flags, 3,
                         2L * width, choose_kernel<PackedKernel>(uyvy_to_bgr_portable, nullptr, uyvy_to_bgr_avx2));
}

int cycbcr_uyvy_to_rgb32(void* destination, const void* source, int width, int height,
                         long destination_pitch, long source_pitch, const cycbcr_matrix* matrix,
                         unsigned int flags) {
    return packed_to_rgb(destination, source, width, height, destination_pitch, source_pitch, matrix, flags, 4,
                         2L * width, choose_kernel<PackedKernel>(uyvy_to_bgra_portable, nullptr, uyvy_to_bgra_avx2));
}

int cycbcr_012v_to_rgb32(void* destination, const void* source, int width, int height,
                         long destination_pitch, long source_pitch, const cycbcr_matrix* matrix,
                         unsigned int flags) {
    return packed_to_rgb(destination, source, width, height, destination_pitch, source_pitch, matrix, flags, 4,
                         cconvert::detail::v210_default_pitch_pitched(static_cast<std::uint32_t>(width)),
                         choose_kernel<PackedKernel>(v210_to_bgra_portable, nullptr, v210_to_bgra_avx2));
}

int cycbcr_i420_to_rgb32(void* destination, const void* source, int width, int height,
                         long destination_pitch, long source_pitch, const cycbcr_matrix* matrix,
                         unsigned int flags) {
    return planar_to_rgb32(destination, source, width, height, destination_pitch, source_pitch, matrix,
                           flags, true);
}

int cycbcr_yv12_to_rgb32(void* destination, const void* source, int width, int height,
                         long destination_pitch, long source_pitch, const cycbcr_matrix* matrix,
                         unsigned int flags) {
    return planar_to_rgb32(destination, source, width, height, destination_pitch, source_pitch, matrix,
                           flags, false);
}

}  // extern "C"
