// PNG files through libpng, in the library's RGB byte orders.
#ifndef CCNVT_TOOL_PNG_IO_H
#define CCNVT_TOOL_PNG_IO_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ccnvt {

// Pixel layouts a PNG is read into or written from: blue first, as rgb24 /
// rgba32 (bytes) and rgb48 / rgba64 (little-endian 16-bit words).
enum class PngLayout { bgr8, bgra8, bgr16, bgra16 };

std::size_t png_bytes_per_pixel(PngLayout layout);

struct PngImage {
    std::uint32_t width = 0, height = 0;
    PngLayout layout = PngLayout::bgra8;
    std::vector<unsigned char> pixels;  // tight rows
};

// Any PNG, expanded to 8- or 16-bit RGB with or without alpha as it has
// them; UserError for unreadable or broken files.
PngImage read_png(const std::string& path);

// Writes pixels (tight rows) as a PNG, atomically; UserError on failure.
void write_png(const std::string& path, std::uint32_t width, std::uint32_t height, PngLayout layout,
               const unsigned char* pixels);

}  // namespace ccnvt

#endif
