// Portable row kernels of the 8-bit RGB converters: one pixel at a time.
#include "rgb/permute_kernels.h"

namespace cconvert::detail {

namespace {

// Reads the whole source pixel first, so that a destination pixel that
// overlays it is still made from the source bytes as they were.
template <std::size_t SourceBytes, std::size_t DestinationBytes>
inline void permute_pixel(unsigned char* destination, const unsigned char* source,
                          const PixelPattern& pattern) {
    unsigned char in[SourceBytes];
    std::memcpy(in, source, SourceBytes);
    for (std::size_t k = 0; k < DestinationBytes; ++k)
        destination[k] = pattern.from[k] == kFillAlpha ? pattern.alpha : in[pattern.from[k]];
}

}  // namespace

void reorder32_pixels(unsigned char* destination, const unsigned char* source, std::size_t first,
                      std::size_t last, const PixelPattern& pattern) {
    for (std::size_t x = first; x < last; ++x)
        permute_pixel<4, 4>(destination + 4 * x, source + 4 * x, pattern);
}

void narrow32_pixels(unsigned char* destination, const unsigned char* source, std::size_t first,
                     std::size_t last, const PixelPattern& pattern) {
    for (std::size_t x = first; x < last; ++x)
        permute_pixel<4, 3>(destination + 3 * x, source + 4 * x, pattern);
}

void widen24_pixels_back_to_front(unsigned char* destination, const unsigned char* source,
                                  std::size_t first, std::size_t last, const PixelPattern& pattern) {
    for (std::size_t x = last; x-- > first;)
        permute_pixel<3, 4>(destination + 4 * x, source + 3 * x, pattern);
}

void reorder32_portable(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                        const PixelPattern& pattern) {
    reorder32_pixels(destination, source, 0, pixels, pattern);
}

void narrow32_portable(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                       const PixelPattern& pattern) {
    narrow32_pixels(destination, source, 0, pixels, pattern);
}

void widen24_portable(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                      const PixelPattern& pattern) {
    widen24_pixels_back_to_front(destination, source, 0, pixels, pattern);
}

void widen24_front_to_back_portable(unsigned char* destination, const unsigned char* source,
                                    std::size_t pixels, const PixelPattern& pattern) {
    for (std::size_t x = 0; x < pixels; ++x)
        permute_pixel<3, 4>(destination + 4 * x, source + 3 * x, pattern);
}

}  // namespace cconvert::detail
