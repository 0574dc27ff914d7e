// Parsing of the values people type: sizes, counts.
#ifndef CCNVT_TOOL_OPTIONS_H
#define CCNVT_TOOL_OPTIONS_H

#include <cstdint>
#include <string>

namespace ccnvt {

struct Size {
    std::uint32_t width = 0, height = 0;
};

// "1920x1080" (also "1920X1080"); UserError otherwise.
Size parse_size(const std::string& text);

}  // namespace ccnvt

#endif
