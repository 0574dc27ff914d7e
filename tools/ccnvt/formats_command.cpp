// ccnvt formats: every format word, its row size and what it is.
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
    if (format.name == "v210") return "128 per 48 px";
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
    std::printf("%-9s %-14s %-24s %s\n", "FORMAT", "ROW BYTES", "DIRECT TO", "DESCRIPTION");
    for (const Format& format : all_formats()) {
        std::string description = format.description;
        if (!format.aliases.empty()) description += " (also " + aliases_of(format) + ")";
        std::printf("%-9s %-14s %-24s %s\n", format.name.c_str(), row_size_of(format).c_str(),
                    targets_of(format).c_str(), description.c_str());
    }
    std::printf("\nOther pairs convert through a short chain of these steps ('ccnvt convert -v' shows it).\n");
}

}  // namespace ccnvt
