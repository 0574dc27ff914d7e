// When a vector row kernel may stand in for the per-pixel walk of a row.
//
// The per-pixel walks define what a conversion gives when its destination
// row overlaps its source row. A vector kernel that loads a block of pixels
// before it stores that block gives the same bytes as long as it never stores
// over source bytes it has still to read:
// - walking front to back and writing at most as many bytes per pixel as it
//   reads, that holds when the destination row does not start after the
//   source row;
// - walking back to front and writing at least as many bytes per pixel as it
//   reads, when the destination row does not start before the source row.
// Any other overlap runs the per-pixel walk.
#ifndef CCONVERT_RGB_ROW_WALK_H
#define CCONVERT_RGB_ROW_WALK_H

#include <cstddef>

#include "frame/dispatch.h"
#include "frame/streaming.h"

namespace cconvert::detail {

enum class RowWalk {
    front_to_back_narrowing,  // front to back, output pixel no wider than input
    back_to_front_widening,   // back to front, output pixel no narrower than input
    separate_rows_only,       // front to back and widening: no overlap at all
};

inline bool vector_kernel_may_run(RowWalk walk, const unsigned char* destination,
                                  std::size_t destination_bytes, const unsigned char* source,
                                  std::size_t source_bytes) {
    if (!ranges_overlap(destination, destination_bytes, source, source_bytes)) return true;
    switch (walk) {
        case RowWalk::front_to_back_narrowing: return destination <= source;
        case RowWalk::back_to_front_widening: return destination >= source;
        case RowWalk::separate_rows_only: return false;
    }
    return false;
}

// A kernel group: its variants and how they walk a row.
template <class Kernel>
struct RowKernels {
    Kernel portable, sse, avx2;  // nullptr for a variant the group lacks
    RowWalk walk;
    std::size_t source_bytes, destination_bytes;  // per pixel
};

// The kernels of one call: the variant that the processor feature word picks
// (read once, when this is made) and, for rows where it may not run, the
// portable one. Calls take the two rows, the pixel count and what else the
// group's kernels take. Given the bytes of the destination frame, a vector
// kernel that walks front to back streams its stores when the frame is larger
// than the caches and the row does not overlap its source, and the
// conversion fences when this goes out of scope. Streamed rows go in chunks
// of whole multiples of 4 pixels, where the vector kernels start their blocks
// and the dither repeats. (Kernels that walk back to front keep ordinary
// stores: chunks taken front to back would turn their reads against the
// direction the prefetchers follow.)
template <class Kernel>
class ChosenRowKernel {
public:
    explicit ChosenRowKernel(const RowKernels<Kernel>& kernels, std::size_t destination_frame_bytes = 0)
        : kernels_(kernels),
          chosen_(choose_kernel<Kernel>(kernels.portable, kernels.sse, kernels.avx2)),
          streaming_(chosen_ != kernels.portable && kernels.walk == RowWalk::front_to_back_narrowing &&
                     streaming_pays(destination_frame_bytes)) {}
    ~ChosenRowKernel() {
        if (streaming_) streaming_finished();
    }
    ChosenRowKernel(const ChosenRowKernel&) = delete;
    ChosenRowKernel& operator=(const ChosenRowKernel&) = delete;

    template <class... Extra>
    void operator()(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                    const Extra&... extra) const {
        const std::size_t destination_bytes = pixels * kernels_.destination_bytes;
        const std::size_t source_bytes = pixels * kernels_.source_bytes;
        const bool vector = vector_kernel_may_run(kernels_.walk, destination, destination_bytes, source, source_bytes);
        if (!vector)
            kernels_.portable(destination, source, pixels, extra...);
        else if (streaming_ && !ranges_overlap(destination, destination_bytes, source, source_bytes))
            stream_units(chosen_, destination, source, pixels, kernels_.source_bytes, kernels_.destination_bytes,
                         4, extra...);
        else
            chosen_(destination, source, pixels, extra...);
    }

private:
    const RowKernels<Kernel>& kernels_;
    Kernel chosen_;
    bool streaming_;
};

// The bytes a frame of `rows` rows `pitch` bytes apart spans, near enough to
// choose its stores by.
inline std::size_t frame_span_bytes(long pitch, long rows) {
    return static_cast<std::size_t>(pitch < 0 ? -pitch : pitch) * static_cast<std::size_t>(rows < 0 ? -rows : rows);
}

// The rows to walk. When the rows of both sides follow one another without
// a gap (each pitch equals the bytes of its row), the frame is one row of
// width x rows pixels: walking it front to back (back to front) makes the
// same pixel steps in the same order as walking the rows first to last (last
// to first) front to back (back to front), with fewer row ends. Only for
// converters whose pixels do not depend on their row or position in it.
struct RowLayout {
    std::size_t pixels;  // per row
    long rows;
    long destination_pitch, source_pitch;
};

inline RowLayout merged_if_contiguous(std::size_t pixels, long rows, long destination_pitch,
                                      std::size_t destination_bytes_per_pixel, long source_pitch,
                                      std::size_t source_bytes_per_pixel) {
    const auto destination_row = static_cast<long>(pixels * destination_bytes_per_pixel);
    const auto source_row = static_cast<long>(pixels * source_bytes_per_pixel);
    if (rows > 1 && destination_pitch == destination_row && source_pitch == source_row)
        return {pixels * static_cast<std::size_t>(rows), 1, destination_row * rows, source_row * rows};
    return {pixels, rows, destination_pitch, source_pitch};
}

// The pixel count of a row: widths below 1 convert nothing.
inline std::size_t pixels_in(long width) { return width > 0 ? static_cast<std::size_t>(width) : 0; }

// Row k of a frame whose rows are pitch bytes apart.
inline unsigned char* row_start(void* frame, long pitch, long k) {
    return static_cast<unsigned char*>(frame) + k * pitch;
}
inline const unsigned char* row_start(const void* frame, long pitch, long k) {
    return static_cast<const unsigned char*>(frame) + k * pitch;
}

// The row count of a frame: the height's sign does not turn the frame over.
inline long rows_in(long height) { return height < 0 ? -height : height; }

}  // namespace cconvert::detail

#endif
