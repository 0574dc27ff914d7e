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

// Rows, pitches and row order of one call.
struct FrameWalk {
    long rows;
    std::ptrdiff_t destination_pitch;
    std::ptrdiff_t source_pitch;
    bool bottom_up;

    std::uint8_t* destination_row(void* destination, long row) const {
        const long stored = bottom_up ? rows - 1 - row : row;
        return static_cast<std::uint8_t*>(destination) + stored * destination_pitch;
    }
};

FrameWalk frame_walk(int width, int height, long destination_pitch, long source_pitch,
                     unsigned int flags, long pixel_bytes, long default_source_pitch) {
    FrameWalk walk;
    walk.rows = height < 0 ? -static_cast<long>(height) : height;
    walk.destination_pitch = destination_pitch > 0 ? destination_pitch : pixel_bytes * width;
    walk.source_pitch = source_pitch > 0 ? source_pitch : default_source_pitch;
    walk.bottom_up = (flags & CYCBCR_BOTTOM_UP) != 0;
    return walk;
}

bool nothing_to_do(void* destination, const void* source, int width, int height) {
    return !destination || !source || width < 1 || height == 0;
}

template <int PixelBytes>
int packed_to_rgb(void* destination, const void* source, int width, int height, long destination_pitch,
                  long source_pitch, const cycbcr_matrix* matrix, unsigned int flags,
                  long default_source_pitch, UyvyRow row_kernel) {
    if (nothing_to_do(destination, source, width, height)) return -1;
    const Coefficients c = coefficients_for(matrix);
    const FrameWalk walk = frame_walk(width, height, destination_pitch, source_pitch, flags, PixelBytes,
                                      default_source_pitch);
    const auto* rows = static_cast<const std::uint8_t*>(source);
    for (long row = 0; row < walk.rows; ++row)
        row_kernel(walk.destination_row(destination, row), rows + row * walk.source_pitch, width, c);
    return 0;
}

int planar_to_rgb32(void* destination, const void* source, int width, int height, long destination_pitch,
                    long source_pitch, const cycbcr_matrix* matrix, unsigned int flags, bool cb_first) {
    if (nothing_to_do(destination, source, width, height)) return -1;
    const Coefficients c = coefficients_for(matrix);
    const FrameWalk walk = frame_walk(width, height, destination_pitch, source_pitch, flags, 4, width);
    const std::ptrdiff_t chroma_pitch = (walk.source_pitch + 1) / 2;
    const auto* luma = static_cast<const std::uint8_t*>(source);
    const std::uint8_t* first_chroma = luma + walk.rows * walk.source_pitch;
    const std::uint8_t* second_chroma = first_chroma + (walk.rows + 1) / 2 * chroma_pitch;
    const std::uint8_t* cb = cb_first ? first_chroma : second_chroma;
    const std::uint8_t* cr = cb_first ? second_chroma : first_chroma;
    const PlanarRow row_kernel =
        choose_kernel<PlanarRow>(planar_to_bgra_row_portable, nullptr, planar_to_bgra_row_avx2);
    for (long row = 0; row < walk.rows; ++row)
        row_kernel(walk.destination_row(destination, row), luma + row * walk.source_pitch,
                   cb + row / 2 * chroma_pitch, cr + row / 2 * chroma_pitch, width, c);
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
    return packed_to_rgb<3>(destination, source, width, height, destination_pitch, source_pitch, matrix,
                            flags, 2L * width,
                            choose_kernel<UyvyRow>(uyvy_to_bgr_row_portable, nullptr, uyvy_to_bgr_row_avx2));
}

int cycbcr_uyvy_to_rgb32(void* destination, const void* source, int width, int height,
                         long destination_pitch, long source_pitch, const cycbcr_matrix* matrix,
                         unsigned int flags) {
    return packed_to_rgb<4>(destination, source, width, height, destination_pitch, source_pitch, matrix,
                            flags, 2L * width,
                            choose_kernel<UyvyRow>(uyvy_to_bgra_row_portable, nullptr, uyvy_to_bgra_row_avx2));
}

int cycbcr_012v_to_rgb32(void* destination, const void* source, int width, int height,
                         long destination_pitch, long source_pitch, const cycbcr_matrix* matrix,
                         unsigned int flags) {
    return packed_to_rgb<4>(
        destination, source, width, height, destination_pitch, source_pitch, matrix, flags,
        cconvert::detail::v210_default_pitch_pitched(static_cast<std::uint32_t>(width)),
        choose_kernel<V210Row>(v210_to_bgra_row_portable, nullptr, v210_to_bgra_row_avx2));
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
