// 2vuy <-> v210 repacking: the entry points and the portable row kernels.
#include <cstddef>

#include "cconvert/ycbcr422.h"
#include "frame/dispatch.h"
#include "frame/streaming.h"
#include "ycbcr422/v210_2vuy_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

void pack_2vuy_to_v210_portable(unsigned char* v210, const unsigned char* uyvy,
                                std::uint32_t groups) {
    for (std::uint32_t g = 0; g < groups; ++g) {
        std::uint16_t samples[kV210SamplesPerGroup];
        for (std::uint32_t i = 0; i < kV210SamplesPerGroup; ++i)
            samples[i] = static_cast<std::uint16_t>(uyvy[i] << 2);
        v210_write_group(v210, samples);
        uyvy += k2vuyBytesPerV210Group;
        v210 += kV210BytesPerGroup;
    }
}

void unpack_v210_to_2vuy_portable(unsigned char* uyvy, const unsigned char* v210,
                                  std::uint32_t groups) {
    for (std::uint32_t g = 0; g < groups; ++g) {
        std::uint16_t samples[kV210SamplesPerGroup];
        v210_read_group(v210, samples);
        for (std::uint32_t i = 0; i < kV210SamplesPerGroup; ++i)
            uyvy[i] = static_cast<unsigned char>(samples[i] >> 2);
        uyvy += k2vuyBytesPerV210Group;
        v210 += kV210BytesPerGroup;
    }
}

namespace {

// Rows up to this width always take the portable kernel.
constexpr std::uint32_t kWidestPortableOnlyRow = 12;

// The vector kernel for a row, or the portable one when the row is too
// narrow or shares bytes with its source.
RepackGroups row_kernel(RepackGroups vector, RepackGroups portable, std::uint32_t width,
                        const unsigned char* destination, std::size_t destination_bytes,
                        const unsigned char* source, std::size_t source_bytes) {
    if (width > kWidestPortableOnlyRow &&
        !ranges_overlap(destination, destination_bytes, source, source_bytes))
        return vector;
    return portable;
}

// Each side of a repack: its frame, pitch and bytes per v210 group.
template <class Byte>
struct RepackSide {
    Byte* frame;
    std::size_t pitch;
    std::size_t group_bytes;
};

// Repacks every row. Where the order shows, rows go last row first or first
// row first as the caller says (the order that never overwrites bytes still
// to be read); otherwise first row to last, which the processor's
// prefetchers follow best, and stream their stores when the destination is
// larger than the caches.
void repack_rows(RepackGroups vector, RepackGroups portable, RepackSide<unsigned char> out,
                 RepackSide<const unsigned char> in, std::uint32_t width, std::uint32_t height,
                 bool last_row_first_when_shared) {
    if (height == 0) return;
    const std::uint32_t groups = v210_groups(width);
    const std::size_t out_row = std::size_t{groups} * out.group_bytes, in_row = std::size_t{groups} * in.group_bytes;
    const bool shared = ranges_overlap(out.frame, out.pitch * (height - 1) + out_row, in.frame,
                                       in.pitch * (height - 1) + in_row);
    // The row order shows when the frames share bytes or the destination rows
    // overlap one another.
    const bool any_order = !shared && out.pitch >= out_row;
    const bool stream = vector != portable && any_order && streaming_pays(out.pitch * height);
    const bool last_first = !any_order && last_row_first_when_shared;
    for (std::uint32_t k = 0; k < height; ++k) {
        const std::uint32_t row = last_first ? height - 1 - k : k;
        unsigned char* destination = out.frame + row * out.pitch;
        const unsigned char* source = in.frame + row * in.pitch;
        const RepackGroups kernel = row_kernel(vector, portable, width, destination, out_row, source, in_row);
        if (stream && kernel == vector)
            stream_units(kernel, destination, source, groups, in.group_bytes, out.group_bytes, 1);
        else
            kernel(destination, source, groups);
    }
    if (stream) streaming_finished();
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

void ccnvt_2vuy_v210(unsigned char* destination, const unsigned char* source, unsigned int width,
                     unsigned int height, unsigned int pitch) {
    if (width == 0) return;
    const std::size_t destination_pitch = pitch != 0 ? pitch : v210_default_pitch_for_writing(width);
    const std::size_t source_pitch = std::size_t{k2vuyBytesPerPixel} * width;
    const RepackGroups vector = choose_kernel<RepackGroups>(
        pack_2vuy_to_v210_portable, pack_2vuy_to_v210_sse, pack_2vuy_to_v210_avx2);
    // In place, last row first: a v210 row is longer than its 2vuy row.
    repack_rows(vector, pack_2vuy_to_v210_portable, {destination, destination_pitch, kV210BytesPerGroup},
                {source, source_pitch, k2vuyBytesPerV210Group}, width, height, true);
}

void ccnvt_v210_2vuy(unsigned char* destination, const unsigned char* source, unsigned int width,
                     unsigned int height, unsigned int pitch) {
    if (width == 0 || height == 0) return;
    const std::size_t source_pitch = pitch != 0 ? pitch : v210_default_pitch_for_reading(width);
    const std::size_t destination_pitch = std::size_t{k2vuyBytesPerPixel} * width;
    const RepackGroups vector = choose_kernel<RepackGroups>(
        unpack_v210_to_2vuy_portable, unpack_v210_to_2vuy_sse, unpack_v210_to_2vuy_avx2);
    // In place, first row first: rows shrink, so no row overwrites bytes
    // still to be read.
    repack_rows(vector, unpack_v210_to_2vuy_portable, {destination, destination_pitch, k2vuyBytesPerV210Group},
                {source, source_pitch, kV210BytesPerGroup}, width, height, false);
}

void ccnvt_yuv422_8_yuv422_10(unsigned char* destination, unsigned char* source,
                              unsigned int width, unsigned int height, unsigned int pitch) {
    ccnvt_2vuy_v210(destination, source, width, height, pitch);
}

void ccnvt_yuv422_10_yuv422_8(unsigned char* destination, unsigned char* source,
                              unsigned int width, unsigned int height, unsigned int pitch) {
    ccnvt_v210_2vuy(destination, source, width, height, pitch);
}

unsigned int* _v210_get_next_4words(unsigned int* source, v210FourWords* group) {
    std::uint16_t samples[kV210SamplesPerGroup];
    v210_read_group(reinterpret_cast<const unsigned char*>(source), samples);
    for (std::uint32_t i = 0; i < kV210SamplesPerGroup; ++i) group->sample[i] = samples[i];
    return source + kV210BytesPerGroup / sizeof(unsigned int);
}
