// Interlaced frames of 4-byte pixels between two field buffers and one
// interleaved frame, and a copy between buffers of different row pitches.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cconvert/geometry.h"
#include "frame/shim_protocol.h"

using namespace cconvert::detail;

namespace {

unsigned char* row_at(void* base, long row, long pitch) {
    return static_cast<unsigned char*>(base) + static_cast<std::ptrdiff_t>(row) * pitch;
}

// Frame row k lives in field k & 1 as its row k >> 1.
unsigned char* field_row(void* field0, void* field1, unsigned int k, long field_pitch) {
    return row_at((k & 1) ? field1 : field0, k >> 1, field_pitch);
}

}  // namespace

int ccnvt_fld_sep_to_mix32(void* destination, long destination_pitch, void* field0, void* field1,
                           long field_pitch, unsigned int width, unsigned int rows) {
    if (rows == 0) return 0;
    const unsigned int row_bytes = width * 4u;
    for (unsigned int k = 0; k < rows; ++k)
        copy_bytes_via_shims(row_at(destination, k, destination_pitch),
                             field_row(field0, field1, k, field_pitch), row_bytes);
    return 1;
}

int ccnvt_fld_mix_to_sep32(void* field0, void* field1, long field_pitch, void* source,
                           long source_pitch, unsigned int width, unsigned int rows) {
    if (rows == 0) return 0;
    const unsigned int row_bytes = width * 4u;
    for (unsigned int k = 0; k < rows; ++k)
        copy_bytes_via_shims(field_row(field0, field1, k, field_pitch),
                             row_at(source, k, source_pitch), row_bytes);
    return 1;
}

void ccnvt_copy_interleaved(void* destination, long destination_pitch, void* source,
                            long source_pitch, long, long rows) {
    if (destination_pitch == source_pitch) {
        if (destination == source) return;
        const auto bytes = static_cast<std::uint32_t>(destination_pitch) * static_cast<std::uint32_t>(rows);
        CopyMemoryFast(destination, source, bytes);
        return;
    }
    if (rows <= 0) return;
    const auto row_bytes = static_cast<std::uint32_t>(std::min(destination_pitch, source_pitch));
    for (long r = 0; r < rows; ++r)
        CopyMemoryFast(row_at(destination, r, destination_pitch), row_at(source, r, source_pitch),
                       row_bytes);
}
