// Packed 4:2:2 frames (2vuy, YUY2-ordered) to three-plane 4:2:0.
#include <cstddef>
#include <cstdint>

#include "cconvert/planar.h"
#include "frame/dispatch.h"
#include "planar/packed422_planar_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

void split_2vuy_row_portable(const unsigned char* uyvy, std::uint32_t groups, unsigned char* y,
                             unsigned char* cb, unsigned char* cr) {
    for (std::uint32_t g = 0; g < groups; ++g) {
        const unsigned char* pair = uyvy + k2vuyBytesPerPair * g;
        y[2 * g] = pair[k2vuyY0];
        y[2 * g + 1] = pair[k2vuyY1];
        if (cb != nullptr) {
            cb[g] = pair[k2vuyCb];
            cr[g] = pair[k2vuyCr];
        }
    }
}

void split_yuy2_row_pair_portable(const unsigned char* upper, const unsigned char* lower,
                                  std::uint32_t pairs, unsigned char* y_upper,
                                  unsigned char* y_lower, unsigned char* cb, unsigned char* cr) {
    // YUY2 order: Y0 Cb Y1 Cr.
    for (std::uint32_t k = 0; k < pairs; ++k) {
        const unsigned char* up = upper + 4 * std::size_t{k};
        const unsigned char* low = lower + 4 * std::size_t{k};
        y_upper[2 * k] = up[0];
        y_upper[2 * k + 1] = up[2];
        y_lower[2 * k] = low[0];
        y_lower[2 * k + 1] = low[2];
        cb[k] = static_cast<unsigned char>((up[1] + low[1] + 1) >> 1);
        cr[k] = static_cast<unsigned char>((up[3] + low[3] + 1) >> 1);
    }
}

namespace {

constexpr std::uint32_t kTightPitch = 0, kTightPitchToo = 0xFFFFFFFFu;

// Splits a 2vuy frame into three planes placed in one buffer; first_chroma
// is the plane at offset w * h, second_chroma the one after it.
unsigned char* split_2vuy_frame(unsigned char* destination, const unsigned char* source,
                                std::uint32_t width, std::uint32_t height, std::uint32_t pitch,
                                bool cb_first) {
    const std::uint32_t luma_samples = width * height;
    unsigned char* y = destination;
    unsigned char* first_chroma = destination + luma_samples;
    unsigned char* second_chroma = first_chroma + (luma_samples >> 2);

    std::uint32_t span = pitch;
    if (pitch == kTightPitch || pitch == kTightPitchToo) {
        span = 2 * width;
        if (height == 0 || span == 0) return destination;
    } else if (height == 0) {
        return destination;
    }

    unsigned char* cb = cb_first ? first_chroma : second_chroma;
    unsigned char* cr = cb_first ? second_chroma : first_chroma;
    // Groups of four bytes while their offset is below the span.
    const std::uint32_t groups = span / k2vuyBytesPerPair + (span % k2vuyBytesPerPair != 0 ? 1 : 0);
    // The vector kernels write a block's Y before its chroma: they may run
    // only when the planes, as the cursors fill them, are apart from each
    // other and from the source (a pitch other than 2 * width can make the
    // planes placed by the width overlap).
    const std::size_t luma_bytes = std::size_t{2} * groups * height;
    const std::size_t chroma_bytes = std::size_t{groups} * (height / 2 + height % 2);
    const std::size_t source_bytes = std::size_t{span} * height;
    const bool apart = !ranges_overlap(y, luma_bytes, first_chroma, chroma_bytes) &&
                       !ranges_overlap(y, luma_bytes, second_chroma, chroma_bytes) &&
                       !ranges_overlap(first_chroma, chroma_bytes, second_chroma, chroma_bytes) &&
                       !ranges_overlap(y, luma_bytes, source, source_bytes) &&
                       !ranges_overlap(first_chroma, chroma_bytes, source, source_bytes) &&
                       !ranges_overlap(second_chroma, chroma_bytes, source, source_bytes);
    const Split2vuyRow split = apart ? choose_kernel<Split2vuyRow>(split_2vuy_row_portable,
                                                                   split_2vuy_row_sse, split_2vuy_row_avx2)
                                     : split_2vuy_row_portable;
    for (std::uint32_t row = 0; row < height; ++row) {
        const bool even = row % 2 == 0;
        split(source, groups, y, even ? cb : nullptr, even ? cr : nullptr);
        source += span;
        y += 2 * std::size_t{groups};
        if (even) {
            cb += groups;
            cr += groups;
        }
    }
    return destination;
}

// YUY2-ordered frame to planes with the given row-pair kernel.
int split_yuy2_frame(SplitYuy2RowPair split, const unsigned char* source, unsigned char* y,
                     unsigned char* cb, unsigned char* cr, int width, int height,
                     int source_pitch_pixels, int y_pitch) {
    if (height < 1 || width < 1) return 0;
    const auto pairs = static_cast<std::uint32_t>(width / 2 + width % 2);
    const std::ptrdiff_t source_row = 2 * static_cast<std::ptrdiff_t>(source_pitch_pixels);
    const std::ptrdiff_t chroma_row = ((y_pitch - width) >> 1) + static_cast<std::ptrdiff_t>(pairs);
    for (int row = 0; row < height; row += 2) {
        split(source, source + source_row, pairs, y, y + y_pitch, cb, cr);
        source += 2 * source_row;
        y += 2 * static_cast<std::ptrdiff_t>(y_pitch);
        cb += chroma_row;
        cr += chroma_row;
    }
    return 0;
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

unsigned char* ccnvt_2vuy_i420(unsigned char* destination, const unsigned char* source,
                               unsigned int width, unsigned int height, unsigned int pitch) {
    return split_2vuy_frame(destination, source, width, height, pitch, true);
}

unsigned char* ccnvt_2vuy_yv12(unsigned char* destination, const unsigned char* source,
                               unsigned int width, unsigned int height, unsigned int pitch) {
    return split_2vuy_frame(destination, source, width, height, pitch, false);
}

int YUY2toYV12(unsigned char* source, unsigned char* y, unsigned char* cb, unsigned char* cr,
               int width, int height, int source_pitch_pixels, int y_pitch) {
    const SplitYuy2RowPair split = choose_kernel<SplitYuy2RowPair>(
        split_yuy2_row_pair_portable, split_yuy2_row_pair_sse, split_yuy2_row_pair_avx2);
    return split_yuy2_frame(split, source, y, cb, cr, width, height, source_pitch_pixels, y_pitch);
}

int YUY2toYV12_SSE2(unsigned char* source, unsigned char* y, unsigned char* cb, unsigned char* cr,
                    int width, int height, int source_pitch_pixels, int y_pitch) {
    return YUY2toYV12(source, y, cb, cr, width, height, source_pitch_pixels, y_pitch);
}

int yuyv_to_yv12_sse2(unsigned char* source, unsigned char* y, unsigned char* cb, unsigned char* cr,
                      int width, int height, int source_pitch_pixels, int y_pitch) {
    return YUY2toYV12_SSE2(source, y, cb, cr, width, height, source_pitch_pixels, y_pitch);
}
