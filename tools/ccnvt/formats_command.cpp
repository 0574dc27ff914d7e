// ccnvt formats: every format word, its row size and what it is.
#include <algorithm>
#include <cstdio>
#include <string>

#include "commands.h"
#include "formats.h"
#include "frames.h"

namespace ccnvt {

namespace {
std::string aliases_of(const Format& format) {
    std::string text;
    for (const std::string& alias : format.aliases) {
        if (!text.empty()) text += ", ";
        text += alias;
    }
    return text;
}

std::string row_size_of(const Format& format) {
    if (format.row_bytes(48) == 0) return "planar";
    const std::size_t per_48 = format.row_bytes(48);
    if (format.row_bytes == v210_row_bytes) return "128 per 48 px";
    if (per_48 % 48 != 0) return std::to_string(per_48 / 24) + " per 2 px";
    return std::to_string(per_48 / 48) + " per px";
}

std::string targets_of(const Format& format) {
    std::string text;
    for (const Step& step : conversion_steps())
        if (format.name == step.from) {
            if (!text.empty()) text += " ";
            text += step.to;
        }
    return text.empty() ? "-" : text;
}
}  // namespace

void run_formats() {
    // Columns as wide as their longest entry.
    int name_width = 6, targets_width = 9;
    for (const Format& format : all_formats()) {
        name_width = std::max(name_width, static_cast<int>(format.name.size()));
        targets_width = std::max(targets_width, static_cast<int>(targets_of(format).size()));
    }
    std::printf("%-*s  %-14s %-*s  %s\n", name_width, "FORMAT", "ROW BYTES", targets_width, "DIRECT TO", "DESCRIPTION");
    for (const Format& format : all_formats()) {
        std::string description = format.description;
        if (!format.aliases.empty()) description += " (also " + aliases_of(format) + ")";
        std::printf("%-*s  %-14s %-*s  %s\n", name_width, format.name.c_str(), row_size_of(format).c_str(),
                    targets_width, targets_of(format).c_str(), description.c_str());
    }
    std::printf("\nOther pairs convert through a short chain of these steps ('ccnvt convert -v' shows it).\n"
                "Pictures go by their extension and need no --from or --size:\n"
                "  .png  in and out: 8- or 16-bit RGB, with or without alpha\n"
                "  .bmp  in: Windows BMP with a palette, 1, 4 or 8 bits uncompressed, RLE8 or RLE4\n"
                "convert also splits frames into their fields or joins them (--fields split|join) and sets\n"
                "the alpha of rgba32 / bgra32 output (--set-alpha N).\n");
}

}  // namespace ccnvt
