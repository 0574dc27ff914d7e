// 2vuy <-> v210 repacking: the entry points and the portable row kernels.
#include <cstddef>

#include "cconvert/ycbcr422.h"
#include "frame/dispatch.h"
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

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

void ccnvt_2vuy_v210(unsigned char* destination, const unsigned char* source, unsigned int width,
                     unsigned int height, unsigned int pitch) {
    if (width == 0) return;
    const std::size_t destination_pitch = pitch != 0 ? pitch : v210_default_pitch_for_writing(width);
    const std::size_t source_pitch = std::size_t{k2vuyBytesPerPixel} * width;
    const std::uint32_t groups = v210_groups(width);
    const RepackGroups vector = choose_kernel<RepackGroups>(
        pack_2vuy_to_v210_portable, pack_2vuy_to_v210_sse, pack_2vuy_to_v210_avx2);

    // Last row first: a v210 row is longer than its 2vuy row.
    for (std::uint32_t row = height; row-- > 0;) {
        unsigned char* v210 = destination + row * destination_pitch;
        const unsigned char* uyvy = source + row * source_pitch;
        row_kernel(vector, pack_2vuy_to_v210_portable, width, v210,
                   std::size_t{groups} * kV210BytesPerGroup, uyvy,
                   std::size_t{groups} * k2vuyBytesPerV210Group)(v210, uyvy, groups);
    }
}

void ccnvt_v210_2vuy(unsigned char* destination, const unsigned char* source, unsigned int width,
                     unsigned int height, unsigned int pitch) {
    if (width == 0 || height == 0) return;
    const std::size_t source_pitch = pitch != 0 ? pitch : v210_default_pitch_for_reading(width);
    const std::size_t destination_pitch = std::size_t{k2vuyBytesPerPixel} * width;
    const std::uint32_t groups = v210_groups(width);
    const RepackGroups vector = choose_kernel<RepackGroups>(
        unpack_v210_to_2vuy_portable, unpack_v210_to_2vuy_sse, unpack_v210_to_2vuy_avx2);

    // First row first: rows shrink, so a call in place never overwrites
    // bytes it has still to read.
    for (std::uint32_t row = 0; row < height; ++row) {
        unsigned char* uyvy = destination + row * destination_pitch;
        const unsigned char* v210 = source + row * source_pitch;
        row_kernel(vector, unpack_v210_to_2vuy_portable, width, uyvy,
                   std::size_t{groups} * k2vuyBytesPerV210Group, v210,
                   std::size_t{groups} * kV210BytesPerGroup)(uyvy, v210, groups);
    }
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
