// Alpha planes into and out of 32-bit pixels, a constant alpha set or added:
// entry points and portable kernels.
#include <cstring>

#include "cconvert/alpha.h"
#include "alpha/alpha_kernels.h"
#include "rgb/permute_kernels.h"

namespace cconvert::detail {

namespace {
constexpr std::size_t kAlphaByte = 3;  // the byte that setalpha and addalpha write
constexpr std::size_t kKeyByte = 0;    // the byte that rgba_to_alpha reads
}  // namespace

void alpha_to_rgba_pixels(unsigned char* destination, const unsigned char* alpha, std::size_t first,
                          std::size_t last) {
    for (std::size_t x = first; x < last; ++x) std::memset(destination + 4 * x, alpha[x], 4);
}

void rgba_to_alpha_pixels(unsigned char* alpha, const unsigned char* source, std::size_t first,
                          std::size_t last) {
    for (std::size_t x = first; x < last; ++x) alpha[x] = source[4 * x + kKeyByte];
}

void set_alpha_pixels(unsigned char* pixels, std::uint8_t alpha, std::size_t first, std::size_t last) {
    for (std::size_t x = first; x < last; ++x) pixels[4 * x + kAlphaByte] = alpha;
}

// The alpha plane is tight: row y starts at y * width.
void alpha_to_rgba_portable(unsigned char* destination, long destination_row_bytes,
                            const unsigned char* alpha, long width, long height) {
    const auto pixels = static_cast<std::size_t>(width);
    for (long y = 0; y < height; ++y)
        alpha_to_rgba_pixels(row_start(destination, destination_row_bytes, y), alpha + y * pixels, 0, pixels);
}

void rgba_to_alpha_portable(unsigned char* alpha, const unsigned char* source, long source_row_bytes,
                            long width, long height) {
    const auto pixels = static_cast<std::size_t>(width);
    for (long y = 0; y < height; ++y)
        rgba_to_alpha_pixels(alpha + y * pixels, row_start(source, source_row_bytes, y), 0, pixels);
}

void rgba_setalpha_portable(unsigned char* pixels, long row_bytes, std::uint8_t alpha, long width,
                            long height) {
    for (long y = 0; y < height; ++y)
        set_alpha_pixels(row_start(pixels, row_bytes, y), alpha, 0, static_cast<std::size_t>(width));
}

// Last row first, pixels back to front: in place, every source byte is read
// before the wider output reaches it.
void rgba_addalpha_portable(const unsigned char* source, unsigned char* destination,
                            long source_row_bytes, long destination_row_bytes, std::uint8_t alpha,
                            long width, long height) {
    const PixelPattern pattern = with_alpha(pattern::kAppendAlpha, alpha);
    for (long y = height; y-- > 0;)
        widen24_portable(row_start(destination, destination_row_bytes, y),
                         row_start(source, source_row_bytes, y), static_cast<std::size_t>(width), pattern);
}

}  // namespace cconvert::detail

using namespace cconvert::detail;

// Each operation treats rows without gaps between them (pitch equal to the
// row's bytes on both sides; the alpha plane has none) as one row.

int ccnvt_alpha_to_rgba(void* destination, long destination_row_bytes, const void* alpha, long,
                        long width, long height) {
    if (width < 1 || height < 1) return 0;
    const RowLayout rows = merged_if_contiguous(static_cast<std::size_t>(width), height,
                                                destination_row_bytes, 4, width, 1);
    choose_kernel<AlphaToRgbaFrame>(alpha_to_rgba_portable, nullptr, ccnvt_alpha_to_rgba_avx2)(
        static_cast<unsigned char*>(destination), rows.destination_pitch,
        static_cast<const unsigned char*>(alpha), static_cast<long>(rows.pixels), rows.rows);
    return 0;
}

int ccnvt_rgba_to_alpha(void* alpha, long, const void* source, long source_row_bytes, long width,
                        long height) {
    if (width < 1 || height < 1) return 0;
    const RowLayout rows =
        merged_if_contiguous(static_cast<std::size_t>(width), height, width, 1, source_row_bytes, 4);
    choose_kernel<RgbaToAlphaFrame>(rgba_to_alpha_portable, nullptr, ccnvt_rgba_to_alpha_avx2)(
        static_cast<unsigned char*>(alpha), static_cast<const unsigned char*>(source), rows.source_pitch,
        static_cast<long>(rows.pixels), rows.rows);
    return 0;
}

int ccnvt_rgba_setalpha(void* pixels, long row_bytes, int alpha, long width, long height) {
    if (width < 1 || height < 1) return 0;
    const RowLayout rows =
        merged_if_contiguous(static_cast<std::size_t>(width), height, row_bytes, 4, row_bytes, 4);
    choose_kernel<SetAlphaFrame>(rgba_setalpha_portable, nullptr, ccnvt_rgba_setalpha_avx2)(
        static_cast<unsigned char*>(pixels), rows.destination_pitch, static_cast<std::uint8_t>(alpha),
        static_cast<long>(rows.pixels), rows.rows);
    return 0;
}

int ccnvt_rgba_addalpha(const void* source, void* destination, long source_row_bytes,
                        long destination_row_bytes, int alpha, long width, long height) {
    if (width < 1 || height < 1) return 0;
    const RowLayout rows = merged_if_contiguous(static_cast<std::size_t>(width), height,
                                                destination_row_bytes, 4, source_row_bytes, 3);
    choose_kernel<AddAlphaFrame>(rgba_addalpha_portable, nullptr, ccnvt_rgba_addalpha_avx2)(
        static_cast<const unsigned char*>(source), static_cast<unsigned char*>(destination),
        rows.source_pitch, rows.destination_pitch, static_cast<std::uint8_t>(alpha),
        static_cast<long>(rows.pixels), rows.rows);
    return 0;
}
