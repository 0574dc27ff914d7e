#include "operations.h"

#include <cconvert/cconvert.h>

#include "errors.h"

namespace ccnvt {

namespace {

std::size_t row_bytes(const Frame& frame) { return frame.format->row_bytes(frame.width); }
// The field routines count 4-byte units.
unsigned int words_per_row(const Frame& frame) { return static_cast<unsigned int>(row_bytes(frame) / 4); }
// Field 1 follows field 0, which has the extra row of an odd height.
std::size_t field0_bytes(const Frame& frame) { return (frame.height + 1) / 2 * row_bytes(frame); }
// The field routines take non-const sources.
unsigned char* bytes_of(const Frame& frame) { return const_cast<unsigned char*>(frame.data()); }

}  // namespace

void check_fields_apply(const Format& format, std::uint32_t width) {
    const std::size_t row = format.row_bytes(width);
    if (row == 0) throw UserError("--fields applies to formats with rows of their own; " + format.name + " is planar");
    if (row % 4 != 0)
        throw UserError("--fields moves rows of whole 32-bit words; " + format.name + " rows of " +
                        std::to_string(width) + " pixels are " + std::to_string(row) + " bytes");
}

Frame split_fields(const Frame& frame) {
    Frame fields = make_frame(*frame.format, frame.width, frame.height);
    const long pitch = static_cast<long>(row_bytes(frame));
    ccnvt_fld_mix_to_sep32(fields.data(), fields.data() + field0_bytes(fields), pitch, bytes_of(frame), pitch,
                           words_per_row(frame), frame.height);
    return fields;
}

Frame join_fields(const Frame& fields) {
    Frame frame = make_frame(*fields.format, fields.width, fields.height);
    const long pitch = static_cast<long>(row_bytes(fields));
    ccnvt_fld_sep_to_mix32(frame.data(), pitch, bytes_of(fields), bytes_of(fields) + field0_bytes(fields), pitch,
                           words_per_row(fields), fields.height);
    return frame;
}

void check_alpha_applies(const Format& format) {
    if (format.name != "rgba32" && format.name != "bgra32")
        throw UserError("--set-alpha applies to rgba32 and bgra32 output, not " + format.name);
}

void set_alpha(Frame& frame, int alpha) {
    ccnvt_rgba_setalpha(frame.data(), static_cast<long>(row_bytes(frame)), alpha, frame.width, frame.height);
}

}  // namespace ccnvt
