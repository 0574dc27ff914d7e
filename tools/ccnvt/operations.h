// Whole-frame operations that convert applies besides the change of
// format: frames to and from their two fields, and a constant alpha.
#ifndef CCNVT_TOOL_OPERATIONS_H
#define CCNVT_TOOL_OPERATIONS_H

#include <cstdint>

#include "frames.h"

namespace ccnvt {

// A field-separated frame in a file: field 0 (frame rows 0, 2, 4, ...) and
// then field 1 (rows 1, 3, 5, ...), rows at the format's own size; an odd
// height gives field 0 the extra row. The library moves rows of 32-bit
// words, so the format must have rows of whole words.
void check_fields_apply(const Format& format, std::uint32_t width);
Frame split_fields(const Frame& frame);  // ccnvt_fld_mix_to_sep32
Frame join_fields(const Frame& fields);  // ccnvt_fld_sep_to_mix32

// Sets byte 3 (the alpha) of every pixel of an rgba32 or bgra32 frame.
void check_alpha_applies(const Format& format);
void set_alpha(Frame& frame, int alpha);  // ccnvt_rgba_setalpha

}  // namespace ccnvt

#endif
