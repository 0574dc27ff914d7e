#include "frame/failure.h"

namespace cconvert::detail {

namespace {
constexpr unsigned int kErrorCategory = 0xC0000000u;
}

void report_failure(const char* text) {
    ErrFmtOut(kErrorCategory, 0, 0, "ERROR(CConvert): %s\n\r", text);
}

}  // namespace cconvert::detail
