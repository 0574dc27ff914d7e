// Vertical flips (rows of bytes, optionally widened into margins) and the
// horizontal flip of 4-byte pixels.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cconvert/geometry.h"
#include "frame/dispatch.h"
#include "frame/failure.h"
#include "frame/shim_protocol.h"
#include "geometry/mirror_kernels.h"

using namespace cconvert::detail;

namespace {

unsigned char* row_at(void* base, std::size_t row, std::size_t row_bytes) {
    return static_cast<unsigned char*>(base) + row * row_bytes;
}

// The flips read the source rows bottom to top, which the hardware
// prefetchers follow poorly (a row copy ran at two thirds of the speed of the
// same copies taken top to bottom). Each row copy first asks for the source
// row two below it in the order, so it arrives while the rows between are
// copied. Always inlined: GCC takes a function that only prefetches for one
// without effects and drops the calls.
constexpr int kPrefetchRowsAhead = 2;

[[gnu::always_inline]] inline void prefetch_source_row(const void* source, int rows, int i,
                                                       std::size_t row_bytes) {
    if (i + kPrefetchRowsAhead >= rows) return;
    const char* ahead = static_cast<const char*>(source) +
                        static_cast<std::size_t>(rows - 1 - i - kPrefetchRowsAhead) * row_bytes;
    for (std::size_t offset = 0; offset < row_bytes; offset += 64) __builtin_prefetch(ahead + offset);
}

// Left and right margins of a source row placed in a longer destination row.
struct Margins {
    std::uint32_t left = 0;
    std::uint32_t right = 0;
    bool any() const { return left + right != 0; }
};

Margins margins_for(unsigned int flags, unsigned int destination_row_bytes,
                    unsigned int source_row_bytes) {
    if (destination_row_bytes <= source_row_bytes) return {};
    const std::uint32_t extra = destination_row_bytes - source_row_bytes;
    const std::uint32_t half_down = extra / 2, half_up = extra - extra / 2;
    switch (flags & CCNVT_FLIP_ALIGN_MASK) {
        case CCNVT_FLIP_ALIGN_RIGHT: return {extra, 0};
        case CCNVT_FLIP_ALIGN_LEFT: return {0, extra};
        case CCNVT_FLIP_ALIGN_CENTRE_LEFT: return {half_up, half_down};
        case CCNVT_FLIP_ALIGN_CENTRE_RIGHT: return {half_down, half_up};
        default: return {};
    }
}

// Zeroes the margins of a destination row: the first left bytes, and right
// bytes after the source row's place.
void clear_margins(unsigned char* row, const Margins& margins, unsigned int source_row_bytes) {
    std::memset(row, 0, margins.left);
    std::memset(row + source_row_bytes + margins.left, 0, margins.right);
}

// Exchanges row i with row rows - 1 - i for every i below rows / 2 (the
// middle row of an odd count stays) through a scratch row of row_bytes + 1
// bytes. An exception from a copy ends the loop at once and is reported with
// failure_text; the scratch is released on every path.
template <class Exchange>
void exchange_row_pairs(unsigned char* frame, int rows, unsigned int row_bytes,
                        const char* failure_text, Exchange exchange) {
    ScratchRow scratch(row_bytes);
    if (rows < 2) return;
    run_reporting_failure(failure_text, [&] {
        for (int i = 0; i < rows / 2; ++i) {
            prefetch_source_row(frame, rows, i, row_bytes);
            exchange(row_at(frame, i, row_bytes), row_at(frame, rows - 1 - i, row_bytes),
                     scratch.data());
        }
    });
}

}  // namespace

void ccnvt_flip_vert(void* destination, void* source, unsigned int, int rows,
                     unsigned int row_bytes) {
    if (destination == source) {
        exchange_row_pairs(static_cast<unsigned char*>(destination), rows, row_bytes,
                           "exception-ccnvt_flip_vert() ",
                           [&](unsigned char* upper, unsigned char* lower, unsigned char* scratch) {
                               copy_bytes_via_shims(scratch, upper, row_bytes);
                               copy_bytes_via_shims(upper, lower, row_bytes);
                               copy_bytes_via_shims(lower, scratch, row_bytes);
                           });
        return;
    }
    for (int i = 0; i < rows; ++i) {
        prefetch_source_row(source, rows, i, row_bytes);
        copy_bytes_via_shims(row_at(destination, i, row_bytes),
                             row_at(source, rows - 1 - i, row_bytes), row_bytes);
    }
}

int ccnvt_flip_vert_flags(void* destination, void* source, unsigned int, unsigned int, int rows,
                          unsigned int destination_row_bytes, unsigned int source_row_bytes,
                          unsigned int flags, unsigned int keep_margins) {
    const Margins margins = margins_for(flags, destination_row_bytes, source_row_bytes);
    const bool clear = keep_margins == 0 && margins.any();
    if (destination == source) {
        exchange_row_pairs(static_cast<unsigned char*>(destination), rows, destination_row_bytes,
                           "exception-ccnvt_flip_vert_flags() ",
                           [&](unsigned char* upper, unsigned char* lower, unsigned char* scratch) {
                               if (clear) clear_margins(upper, margins, source_row_bytes);
                               // The lower row's content lands at offset 0, not at the left margin.
                               CopyMemoryFast(scratch, upper, destination_row_bytes);
                               CopyMemoryFast(upper, lower, source_row_bytes);
                               CopyMemoryFast(lower, scratch, destination_row_bytes);
                           });
        return 0;
    }
    for (int i = 0; i < rows; ++i) {
        prefetch_source_row(source, rows, i, source_row_bytes);
        unsigned char* row = row_at(destination, i, destination_row_bytes);
        if (clear) clear_margins(row, margins, source_row_bytes);
        CopyMemoryFast(row + margins.left, row_at(source, rows - 1 - i, source_row_bytes),
                       source_row_bytes);
    }
    return 0;
}

void ccnvt_flip_horz(unsigned int* destination, unsigned int* source, unsigned int width, int rows,
                     int row_bytes) {
    const bool in_place = destination == source;
    if (rows < 1 || width < (in_place ? 2u : 1u)) return;
    const MirrorRow mirror =
        choose_kernel<MirrorRow>(mirror_row_portable, mirror_row_sse, mirror_row_avx2);
    const MirrorRowInPlace mirror_in_place = choose_kernel<MirrorRowInPlace>(
        mirror_row_in_place_portable, mirror_row_in_place_sse, mirror_row_in_place_avx2);
    const std::size_t pixel_bytes = 4 * std::size_t{width};
    for (int r = 0; r < rows; ++r) {
        const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(r) * row_bytes;
        unsigned char* to = reinterpret_cast<unsigned char*>(destination) + offset;
        const unsigned char* from = reinterpret_cast<const unsigned char*>(source) + offset;
        if (in_place)
            mirror_in_place(to, width);
        else if (ranges_overlap(to, pixel_bytes, from, pixel_bytes))
            mirror_row_portable(to, from, width);
        else
            mirror(to, from, width);
    }
}
