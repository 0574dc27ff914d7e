// The frame formats the tool reads and writes, and their sizes.
#ifndef CCNVT_TOOL_FORMATS_H
#define CCNVT_TOOL_FORMATS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ccnvt {

struct Format {
    std::string name;
    std::vector<std::string> aliases;
    std::string description;
    std::uint32_t width_multiple;   // width must be a multiple of this
    std::uint32_t height_multiple;  // height must be a multiple of this
    // Bytes of one tight row, or 0 for planar formats (no single row size).
    std::size_t (*row_bytes)(std::uint32_t width);
    // Bytes of one frame when rows are row_pitch apart (0: tight).
    std::size_t (*frame_bytes)(std::uint32_t width, std::uint32_t height, std::size_t row_pitch);
};

const std::vector<Format>& all_formats();

// The format named by a word or alias, case-insensitive; UserError when unknown.
const Format& format_named(const std::string& word);

// Throws UserError when the size does not suit the format.
void check_size(const Format& format, std::uint32_t width, std::uint32_t height);

// The v210 row pitch the tool uses for files: 128 bytes per 48 pixels or part.
std::size_t v210_row_bytes(std::uint32_t width);

}  // namespace ccnvt

#endif
