// packed10 line kernels (portable) and the four frame drivers.
#include <cstddef>
#include <cstdint>

#include "cconvert/packed10.h"
#include "frame/dispatch.h"
#include "frame/streaming.h"
#include "packed10/packed10_layout.h"

using namespace cconvert::detail;

// ---- portable kernels: sample by sample, the reference for every variant ----

void kv_ycbcr422_packed10_to_uyvy_line_c(const unsigned char* source, unsigned char* destination,
                                         int width) {
    if (width <= 0) return;
    const int pairs = width / 2 + width % 2;
    for (int p = 0; p < pairs; ++p) {
        std::uint16_t samples[kPacked10SamplesPerPair];
        packed10_read_pair(source, samples);
        for (std::uint32_t k = 0; k < kPacked10SamplesPerPair; ++k)
            destination[k] = static_cast<unsigned char>(samples[k] >> 2);
        source += kPacked10BytesPerPair;
        destination += k2vuyBytesPerPair;
    }
}

void kv_ycbcr422_uyvy_to_packed10_line_c(const unsigned char* source, unsigned char* destination,
                                         int width) {
    const int pairs = width / 2;
    for (int p = 0; p < pairs; ++p) {
        std::uint16_t samples[kPacked10SamplesPerPair];
        for (std::uint32_t k = 0; k < kPacked10SamplesPerPair; ++k)
            samples[k] = static_cast<std::uint16_t>(source[k] << 2);
        packed10_write_pair(destination, samples);
        source += k2vuyBytesPerPair;
        destination += kPacked10BytesPerPair;
    }
}

void kv_ycbcr422_packed10_to_v210_line_c(const unsigned char* source, unsigned char* destination,
                                         int width) {
    if (width <= 0) return;
    const std::uint32_t groups = v210_groups(static_cast<std::uint32_t>(width));
    for (std::uint32_t g = 0; g < groups; ++g) {
        std::uint16_t samples[kV210SamplesPerGroup];
        for (std::uint32_t p = 0; p < kPacked10PairsPerV210Group; ++p)
            packed10_read_pair(source + kPacked10BytesPerPair * p, samples + kPacked10SamplesPerPair * p);
        v210_write_group(destination, samples);
        source += kPacked10BytesPerV210Group;
        destination += kV210BytesPerGroup;
    }
}

void kv_ycbcr422_v210_to_packed10_line_c(const unsigned char* source, unsigned char* destination,
                                         int width) {
    if (width <= 0) return;
    // Whole groups, then the pairs of a last partial group whose first pixel
    // lies inside the width.
    for (int first = 0; first < width; first += kV210PixelsPerGroup) {
        std::uint16_t samples[kV210SamplesPerGroup];
        v210_read_group(source, samples);
        for (int pixel = first; pixel < width && pixel < first + int{kV210PixelsPerGroup}; pixel += 2) {
            packed10_write_pair(destination, samples + 2 * (pixel - first));
            destination += kPacked10BytesPerPair;
        }
        source += kV210BytesPerGroup;
    }
}

// ---- frame drivers ----

namespace {

using LineKernel = void (*)(const unsigned char*, unsigned char*, int);

// row * pitch as the drivers compute it: a 32-bit product, sign-extended.
std::ptrdiff_t row_offset(int row, int pitch) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(row) * static_cast<std::uint32_t>(pitch));
}

// Bytes per six pixels (one v210 group) on each side of a line kernel.
struct GroupBytes {
    std::size_t source, destination;
};

// Whether a vector kernel's band streams its stores: separate frames (rows
// stepping forwards) whose destination is larger than the caches.
bool band_streams(LineKernel kernel, LineKernel portable, const unsigned char* source,
                  std::ptrdiff_t source_step, const unsigned char* destination, std::ptrdiff_t destination_step,
                  std::ptrdiff_t rows) {
    if (kernel == portable || rows <= 0 || source_step <= 0 || destination_step <= 0) return false;
    const std::size_t source_span = static_cast<std::size_t>(source_step) * static_cast<std::size_t>(rows);
    const std::size_t destination_span = static_cast<std::size_t>(destination_step) * static_cast<std::size_t>(rows);
    return !ranges_overlap(source, source_span, destination, destination_span) && streaming_pays(destination_span);
}

// A line through streamed stores: the whole groups a chunk at a time, then
// the pixels of a last partial group straight to the destination.
void convert_line_streaming(LineKernel kernel, const unsigned char* source, unsigned char* destination,
                            int width, GroupBytes group) {
    const std::size_t groups = static_cast<std::size_t>(width) / kV210PixelsPerGroup;
    const auto by_groups = [kernel](unsigned char* out, const unsigned char* in, std::size_t count) {
        kernel(in, out, static_cast<int>(count * kV210PixelsPerGroup));
    };
    stream_units(by_groups, destination, source, groups, group.source, group.destination, 1);
    const int rest = width - static_cast<int>(groups * kV210PixelsPerGroup);
    if (rest > 0) kernel(source + groups * group.source, destination + groups * group.destination, rest);
}

// A driver's line kernel (chosen by the feature word), its portable one,
// and its bytes per group.
struct Lines {
    LineKernel kernel, portable;
    GroupBytes group;
};

Lines lines_of(LineKernel portable, LineKernel sse, LineKernel avx2, GroupBytes group) {
    return {choose_kernel<LineKernel>(portable, sse, avx2), portable, group};
}

// Runs the kernel over rows rows, the pointers stepping by their own strides
// (64-bit offsets: a band may run past 2 GiB).
void convert_rows(const Lines& lines, const unsigned char* source, std::ptrdiff_t source_step,
                  unsigned char* destination, std::ptrdiff_t destination_step, std::ptrdiff_t rows, int width) {
    if (band_streams(lines.kernel, lines.portable, source, source_step, destination, destination_step, rows)) {
        for (std::ptrdiff_t i = 0; i < rows; ++i)
            convert_line_streaming(lines.kernel, source + i * source_step, destination + i * destination_step, width,
                                   lines.group);
        streaming_finished();
        return;
    }
    for (std::ptrdiff_t i = 0; i < rows; ++i)
        lines.kernel(source + i * source_step, destination + i * destination_step, width);
}

// The rows of a band, in 64 bits: end_row - first_row may not fit an int.
std::ptrdiff_t rows_of_band(int first_row, int end_row) {
    return static_cast<std::ptrdiff_t>(end_row) - first_row;
}

void convert_band(const Lines& lines, const unsigned char* source, int source_pitch, int width,
                  int first_row, int end_row, unsigned char* destination, int destination_pitch) {
    if (first_row >= end_row) return;
    convert_rows(lines, source + row_offset(first_row, source_pitch), source_pitch,
                 destination + row_offset(first_row, destination_pitch), destination_pitch,
                 rows_of_band(first_row, end_row), width);
}

enum class Packed10Side { Source, Destination };

// A band of a field-separated frame: packed10 row r is v210 row 2r + 1 below
// height / 2 and v210 row 2 (r - height / 2) from there on.
void convert_fields_band(const Lines& lines, Packed10Side packed10_side, unsigned char* source,
                         int source_pitch, int width, int first_row, int end_row, int height,
                         unsigned char* destination, int destination_pitch) {
    const bool packed10_is_source = packed10_side == Packed10Side::Source;
    unsigned char* packed10 = packed10_is_source ? source : destination;
    unsigned char* v210 = packed10_is_source ? destination : source;
    const int packed10_pitch = packed10_is_source ? source_pitch : destination_pitch;
    const int v210_pitch = packed10_is_source ? destination_pitch : source_pitch;
    const int half = height / 2;

    // Row offsets in 64 bits: interleaving doubles the v210 row numbers.
    auto run = [&](int first, int end, std::ptrdiff_t first_v210_row) {
        if (first >= end) return;
        unsigned char* packed10_row = packed10 + static_cast<std::ptrdiff_t>(first) * packed10_pitch;
        unsigned char* v210_row = v210 + first_v210_row * v210_pitch;
        const std::ptrdiff_t v210_step = 2 * static_cast<std::ptrdiff_t>(v210_pitch);
        const std::ptrdiff_t rows = rows_of_band(first, end);
        if (packed10_is_source)
            convert_rows(lines, packed10_row, packed10_pitch, v210_row, v210_step, rows, width);
        else
            convert_rows(lines, v210_row, v210_step, packed10_row, packed10_pitch, rows, width);
    };
    const int first_field_end = end_row < half ? end_row : half;
    run(first_row, first_field_end, 2 * static_cast<std::ptrdiff_t>(first_row) + 1);
    const int second_field_first = first_row > half ? first_row : half;
    run(second_field_first, end_row, 2 * (static_cast<std::ptrdiff_t>(second_field_first) - half));
}

}  // namespace

void kv_ycbcr422_packed10_to_uyvy(unsigned char* source, int source_pitch, int width, int first_row,
                                  int end_row, unsigned char* destination, int destination_pitch) {
    // This driver has no SSE-class choice: bit 0x8000 alone keeps the portable kernel.
    const Lines lines = lines_of(kv_ycbcr422_packed10_to_uyvy_line_c, nullptr, kv_ycbcr422_packed10_to_uyvy_line_avx,
                                 {kPacked10BytesPerV210Group, k2vuyBytesPerV210Group});
    if (source_pitch == 0) source_pitch = packed10_default_pitch(width);
    if (destination_pitch == 0) destination_pitch = uyvy_default_pitch(width);
    convert_band(lines, source, source_pitch, width, first_row, end_row, destination, destination_pitch);
}

void kv_ycbcr422_uyvy_to_packed10(unsigned char* source, int source_pitch, int width, int first_row,
                                  int end_row, unsigned char* destination, int destination_pitch) {
    const Lines lines = lines_of(kv_ycbcr422_uyvy_to_packed10_line_c, kv_ycbcr422_uyvy_to_packed10_line_sse,
                                 kv_ycbcr422_uyvy_to_packed10_line_avx,
                                 {k2vuyBytesPerV210Group, kPacked10BytesPerV210Group});
    if (source_pitch == 0) source_pitch = uyvy_default_pitch(width);
    if (destination_pitch == 0) destination_pitch = packed10_default_pitch(width);
    convert_band(lines, source, source_pitch, width, first_row, end_row, destination, destination_pitch);
}

void ccnvt_ycbcr422_packed10_to_v210(unsigned char* source, int source_pitch, int width, int first_row,
                                     int end_row, int height, unsigned char* destination,
                                     int destination_pitch, bool fields_separated) {
    const Lines lines = lines_of(kv_ycbcr422_packed10_to_v210_line_c, kv_ycbcr422_packed10_to_v210_line_sse,
                                 kv_ycbcr422_packed10_to_v210_line_avx, {kPacked10BytesPerV210Group, kV210BytesPerGroup});
    if (source_pitch == 0) source_pitch = packed10_default_pitch(width);
    if (destination_pitch == 0) destination_pitch = v210_default_pitch_of_packed10_family(width);
    if (fields_separated)
        convert_fields_band(lines, Packed10Side::Source, source, source_pitch, width, first_row, end_row,
                            height, destination, destination_pitch);
    else
        convert_band(lines, source, source_pitch, width, first_row, end_row, destination,
                     destination_pitch);
}

void ccnvt_ycbcr422_v210_to_packed10(unsigned char* source, int source_pitch, int width, int first_row,
                                     int end_row, int height, unsigned char* destination,
                                     int destination_pitch, bool fields_separated) {
    const Lines lines = lines_of(kv_ycbcr422_v210_to_packed10_line_c, kv_ycbcr422_v210_to_packed10_line_sse,
                                 kv_ycbcr422_v210_to_packed10_line_avx, {kV210BytesPerGroup, kPacked10BytesPerV210Group});
    if (source_pitch == 0) source_pitch = v210_default_pitch_of_packed10_family(width);
    if (destination_pitch == 0) destination_pitch = packed10_default_pitch(width);
    if (fields_separated)
        convert_fields_band(lines, Packed10Side::Destination, source, source_pitch, width, first_row,
                            end_row, height, destination, destination_pitch);
    else
        convert_band(lines, source, source_pitch, width, first_row, end_row, destination,
                     destination_pitch);
}
