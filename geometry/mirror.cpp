// Portable row kernels of the horizontal flip. Rows may start at any byte
// (the row bytes need not be a multiple of 4), so pixels move with memcpy.
#include <cstddef>
#include <cstring>

#include "geometry/mirror_kernels.h"

namespace cconvert::detail {

namespace {
std::uint32_t load_pixel(const unsigned char* row, std::uint32_t k) {
    std::uint32_t pixel;
    std::memcpy(&pixel, row + 4 * std::size_t{k}, sizeof pixel);
    return pixel;
}

void store_pixel(unsigned char* row, std::uint32_t k, std::uint32_t pixel) {
    std::memcpy(row + 4 * std::size_t{k}, &pixel, sizeof pixel);
}
}  // namespace

void mirror_pixels_from(unsigned char* to, const unsigned char* from, std::uint32_t width,
                        std::uint32_t first) {
    for (std::uint32_t k = first; k < width; ++k) store_pixel(to, k, load_pixel(from, width - 1 - k));
}

void mirror_row_portable(unsigned char* to, const unsigned char* from, std::uint32_t width) {
    mirror_pixels_from(to, from, width, 0);
}

void swap_pixels_from(unsigned char* row, std::uint32_t width, std::uint32_t first) {
    for (std::uint32_t k = first; k < width / 2; ++k) {
        const std::uint32_t left = load_pixel(row, k), right = load_pixel(row, width - 1 - k);
        store_pixel(row, k, right);
        store_pixel(row, width - 1 - k, left);
    }
}

void mirror_row_in_place_portable(unsigned char* row, std::uint32_t width) {
    swap_pixels_from(row, width, 0);
}

}  // namespace cconvert::detail
