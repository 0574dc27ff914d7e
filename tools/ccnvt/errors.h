// The one kind of failure the tool reports: something the user can fix,
// said in one line.
#ifndef CCNVT_TOOL_ERRORS_H
#define CCNVT_TOOL_ERRORS_H

#include <stdexcept>
#include <string>

namespace ccnvt {

class UserError : public std::runtime_error {
public:
    explicit UserError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace ccnvt

#endif
