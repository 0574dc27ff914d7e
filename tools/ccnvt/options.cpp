#include "options.h"

#include <cerrno>
#include <cstdlib>

#include "errors.h"

namespace ccnvt {

namespace {
bool parse_dimension(const std::string& text, std::uint32_t* value) {
    if (text.empty() || text.size() > 9) return false;
    for (char c : text)
        if (c < '0' || c > '9') return false;
    *value = static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
    return true;
}
}  // namespace

Size parse_size(const std::string& text) {
    const auto x = text.find_first_of("xX");
    Size size;
    if (x == std::string::npos || !parse_dimension(text.substr(0, x), &size.width) ||
        !parse_dimension(text.substr(x + 1), &size.height))
        throw UserError("the size '" + text + "' is not WIDTHxHEIGHT, for example 1920x1080");
    return size;
}

}  // namespace ccnvt
