// Planar RGB: interleaved frames split into one plane per channel, and
// ccnvt_rgba_full, which reads the pixel sizes of both sides from the pitches.
#include <cstring>

#include "cconvert/rgb.h"
#include "ippi_copy.h"
#include "kvutil.h"
#include "rgb/permute_kernels.h"

namespace cconvert::detail {

namespace {

// Splits |height| rows into the planes that are not null, channel c of every
// pixel to plane c. Used when a plane is missing, where the image-library copy
// would refuse the whole frame.
template <int Channels, int SampleBytes>
void split_into_present_planes(void* const* planes, long plane_pitch, const void* source, long source_pitch,
                               long width, long height) {
    for (long k = 0; k < rows_in(height); ++k) {
        const unsigned char* in = row_start(source, source_pitch, k);
        for (int c = 0; c < Channels; ++c) {
            if (!planes[c]) continue;
            unsigned char* out = row_start(planes[c], plane_pitch, k);
            for (long x = 0; x < width; ++x)
                std::memcpy(out + SampleBytes * x, in + (Channels * x + c) * SampleBytes, SampleBytes);
        }
    }
}

template <int Channels>
bool all_present(void* const* planes) {
    for (int c = 0; c < Channels; ++c)
        if (!planes[c]) return false;
    return true;
}

// The image library takes its steps and region as 32-bit integers.
IppiSize region(long width, long height) { return {static_cast<int>(width), static_cast<int>(height)}; }

// Copies a row of width pixels; when the two sides' pixels differ in size,
// the first bytes of each pixel, as many as the smaller one holds, and the
// destination's other bytes stay as they are.
void copy_row(unsigned char* destination, long destination_pixel, const unsigned char* source, long source_pixel,
              long width) {
    if (destination_pixel == source_pixel) {
        std::memmove(destination, source, static_cast<std::size_t>(width * source_pixel));
        return;
    }
    const long keep = destination_pixel < source_pixel ? destination_pixel : source_pixel;
    for (long x = 0; x < width; ++x)
        std::memmove(destination + destination_pixel * x, source + source_pixel * x, static_cast<std::size_t>(keep));
}

void copy_rows(void* destination, long destination_pitch, long destination_pixel, const void* source,
               long source_pitch, long source_pixel, long width, long height) {
    for (long k = 0; k < rows_in(height); ++k)
        copy_row(row_start(destination, destination_pitch, k), destination_pixel, row_start(source, source_pitch, k),
                 source_pixel, width);
}

long magnitude(long value) { return value < 0 ? -value : value; }

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

// ---- planar splits ----

void ccnvt_rgba32_rgba_planar(void* plane0, void* plane1, void* plane2, void* plane3, long plane_pitch,
                              const void* source, long source_pitch, long width, long height) {
    if (height == 0 || width < 1) return;
    void* const planes[4] = {plane0, plane1, plane2, plane3};
    if (!all_present<4>(planes)) {
        split_into_present_planes<4, 1>(planes, plane_pitch, source, source_pitch, width, height);
        return;
    }
    Ipp8u* const ipp_planes[4] = {static_cast<Ipp8u*>(plane0), static_cast<Ipp8u*>(plane1),
                                  static_cast<Ipp8u*>(plane2), static_cast<Ipp8u*>(plane3)};
    ippiCopy_8u_C4P4R(static_cast<const Ipp8u*>(source), static_cast<int>(source_pitch), ipp_planes,
                      static_cast<int>(plane_pitch), region(width, height));
}

void ccnvt_rgb24_rgb_planar(void* plane0, void* plane1, void* plane2, long plane_pitch, const void* source,
                            long source_pitch, long width, long height) {
    if (height == 0 || width < 1) return;
    void* const planes[3] = {plane0, plane1, plane2};
    if (!all_present<3>(planes)) {
        split_into_present_planes<3, 1>(planes, plane_pitch, source, source_pitch, width, height);
        return;
    }
    Ipp8u* const ipp_planes[3] = {static_cast<Ipp8u*>(plane0), static_cast<Ipp8u*>(plane1),
                                  static_cast<Ipp8u*>(plane2)};
    ippiCopy_8u_C3P3R(static_cast<const Ipp8u*>(source), static_cast<int>(source_pitch), ipp_planes,
                      static_cast<int>(plane_pitch), region(width, height));
}

void ccnvt_rgba64_rgba_planar16(void* plane0, void* plane1, void* plane2, void* plane3, long plane_pitch,
                                const void* source, long source_pitch, long width, long height) {
    if (height == 0 || width < 1) return;
    void* const planes[4] = {plane0, plane1, plane2, plane3};
    if (!all_present<4>(planes)) {
        split_into_present_planes<4, 2>(planes, plane_pitch, source, source_pitch, width, height);
        return;
    }
    Ipp16u* const ipp_planes[4] = {static_cast<Ipp16u*>(plane0), static_cast<Ipp16u*>(plane1),
                                   static_cast<Ipp16u*>(plane2), static_cast<Ipp16u*>(plane3)};
    ippiCopy_16u_C4P4R(static_cast<const Ipp16u*>(source), static_cast<int>(source_pitch), ipp_planes,
                       static_cast<int>(plane_pitch), region(width, height));
}

void ccnvt_rgb48_rgb_planar16(void* plane0, void* plane1, void* plane2, long plane_pitch, const void* source,
                              long source_pitch, long width, long height) {
    if (height == 0 || width < 1) return;
    void* const planes[3] = {plane0, plane1, plane2};
    if (!all_present<3>(planes)) {
        split_into_present_planes<3, 2>(planes, plane_pitch, source, source_pitch, width, height);
        return;
    }
    Ipp16u* const ipp_planes[3] = {static_cast<Ipp16u*>(plane0), static_cast<Ipp16u*>(plane1),
                                   static_cast<Ipp16u*>(plane2)};
    ippiCopy_16u_C3P3R(static_cast<const Ipp16u*>(source), static_cast<int>(source_pitch), ipp_planes,
                       static_cast<int>(plane_pitch), region(width, height));
}

// ---- 3 and 4 bytes by pitch ----

void ccnvt_rgba_full(void* destination, long destination_pitch, const void* source, long source_pitch, long width,
                     long height) {
    if (!source || !destination) return;
    if (source == destination && source_pitch == destination_pitch) return;
    if (width == 0) return;  // the pixel sizes are pitch / width
    const long source_pixel = source_pitch / width, destination_pixel = destination_pitch / width;

    if (source_pixel == 4 && destination_pixel == 3) {
        ccnvt_rgba32_rgb24_inplace(destination, destination_pitch, source, source_pitch, width, height);
        return;
    }
    if (source_pixel == 3 && destination_pixel == 4) {
        // As ccnvt_rgb24_rgba32_inplace, but always opaque.
        if (height == 0 || width < 1) return;
        const PermuteRows widen(kWiden24, with_alpha(pattern::kAppendAlpha, 0xFF));
        for (long k = rows_in(height); k-- > 0;)
            widen(row_start(destination, destination_pitch, k), row_start(source, source_pitch, k),
                  pixels_in(width));
        return;
    }
    if (source_pixel == 3 && destination_pixel == 3) {
        if (height == 0 || width < 1) return;
        copy_rows(destination, destination_pitch, 3, source, source_pitch, 3, width, height);
        return;
    }
    if (source_pitch == destination_pitch) {
        // The frame as one block of width x height pixels: padding beyond
        // width pixels in a row is not counted, so a padded frame is copied
        // short of its end.
        const unsigned int bytes = static_cast<unsigned int>(width) * static_cast<unsigned int>(height) *
                                   static_cast<unsigned int>(source_pixel);
        CopyMemoryFast(destination, source, bytes);
        return;
    }
    if (height < 1 || width < 1) return;
    copy_rows(destination, destination_pitch, magnitude(destination_pixel), source, source_pitch,
              magnitude(source_pixel), width, height);
}
