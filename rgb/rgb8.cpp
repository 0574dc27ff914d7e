// 8-bit RGB: 32 <-> 24-bit conversions, reorders within 32 bits, the frame
// copy, the span reorders and the older names that lead to them.
#include <cstring>

#include "cconvert/rgb.h"
#include "frame/shim_protocol.h"
#include "rgb/permute_kernels.h"

unsigned char a = 0xFF;

namespace cconvert::detail {

namespace {

// The shim order parameter of the two 24-to-32-bit widenings.
constexpr int kShimOrderRgba = 0;
constexpr int kShimOrderBgra = 1;

bool nothing_to_convert(long width, long height) { return height == 0 || width < 1; }

// Source row k to destination row k, first row first; rows without gaps
// between them as one.
void rows_first_to_last(const PermuteKernels& kernels, const PixelPattern& pattern,
                        void* destination, long destination_pitch, const void* source,
                        long source_pitch, long width, long height) {
    const PermuteRows convert(kernels, pattern, frame_span_bytes(destination_pitch, height));
    const RowLayout rows = merged_if_contiguous(pixels_in(width), rows_in(height), destination_pitch,
                                                kernels.destination_bytes, source_pitch, kernels.source_bytes);
    for (long k = 0; k < rows.rows; ++k)
        convert(row_start(destination, rows.destination_pitch, k), row_start(source, rows.source_pitch, k),
                rows.pixels);
}

// The 24-to-32-bit widenings: last row first, each row offered to the shims.
void widen_rows_last_to_first(const PixelPattern& pattern, int shim_order, void* destination,
                              long destination_pitch, const void* source, long source_pitch,
                              long width, long height) {
    if (nothing_to_convert(width, height)) return;
    const PermuteRows widen(kWiden24, with_alpha(pattern, ::a), frame_span_bytes(destination_pitch, height));
    for (long k = rows_in(height); k-- > 0;) {
        unsigned char* to = row_start(destination, destination_pitch, k);
        const unsigned char* from = row_start(source, source_pitch, k);
        if (offered_to_shims(cconvert_rgb24_to_rgba32_arm, cconvert_rgb24_to_rgba32_intel,
                             static_cast<void*>(to), const_cast<void*>(static_cast<const void*>(from)),
                             width, shim_order))
            continue;
        widen(to, from, pixels_in(width));
    }
}

// The reorders of whole frames that offer each row to the shuffle shims. They
// test only the height.
void shuffle_rows(const PixelPattern& pattern, cconvert_rgb2rgb_shuffle_op op, void* destination,
                  long destination_pitch, const void* source, long source_pitch, long width,
                  long height) {
    if (height == 0) return;
    const PermuteRows reorder(kReorder32, pattern, frame_span_bytes(destination_pitch, height));
    for (long k = 0; k < rows_in(height); ++k) {
        unsigned char* to = row_start(destination, destination_pitch, k);
        const unsigned char* from = row_start(source, source_pitch, k);
        if (offered_to_shims(cconvert_rgb2rgb_shuffle_arm, cconvert_rgb2rgb_shuffle_intel,
                             reinterpret_cast<unsigned int*>(to),
                             const_cast<unsigned int*>(reinterpret_cast<const unsigned int*>(from)),
                             static_cast<unsigned int>(width), op))
            continue;
        reorder(to, from, pixels_in(width));
    }
}

void shuffle_span(const PixelPattern& pattern, cconvert_rgb2rgb_shuffle_op op,
                  unsigned int* destination, const unsigned int* source, unsigned int count) {
    if (offered_to_shims(cconvert_rgb2rgb_shuffle_arm, cconvert_rgb2rgb_shuffle_intel, destination,
                         const_cast<unsigned int*>(source), count, op))
        return;
    PermuteRows(kReorder32, pattern)(reinterpret_cast<unsigned char*>(destination),
                                     reinterpret_cast<const unsigned char*>(source), count);
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

// ---- 32 to 24 bits ----

void ccnvt_rgba32_rgb24_inplace(void* destination, long destination_pitch, const void* source,
                                long source_pitch, long width, long height) {
    if (nothing_to_convert(width, height)) return;
    rows_first_to_last(kNarrow32, pattern::kKeepRgb, destination, destination_pitch, source,
                       source_pitch, width, height);
}

void ccnvt_rgba32_bgr24_inplace(void* destination, long destination_pitch, const void* source,
                                long source_pitch, long width, long height) {
    if (height == 0) return;
    const PermuteRows narrow(kNarrow32, pattern::kSwapRedBlue);
    for (long k = 0; k < rows_in(height); ++k) {
        unsigned char* to = row_start(destination, destination_pitch, k);
        const unsigned char* from = row_start(source, source_pitch, k);
        if (offered_to_shims(cconvert_rgba32_to_bgr24_arm, cconvert_rgba32_to_bgr24_intel,
                             static_cast<void*>(to), const_cast<void*>(static_cast<const void*>(from)),
                             width))
            continue;
        narrow(to, from, pixels_in(width));
    }
}

// The first destination row is computed from the height as passed: a
// negative height starts it above the destination.
void ccnvt_rgba32_rgb24_invert(void* destination, long destination_pitch, const void* source,
                               long source_pitch, long width, long height) {
    if (nothing_to_convert(width, height)) return;
    const PermuteRows narrow(kNarrow32, pattern::kKeepRgb);
    for (long k = 0; k < rows_in(height); ++k)
        narrow(row_start(destination, destination_pitch, height - 1 - k),
               row_start(source, source_pitch, k), pixels_in(width));
}

// ---- 24 to 32 bits ----

void ccnvt_rgb24_rgba32_inplace(void* destination, long destination_pitch, const void* source,
                                long source_pitch, long width, long height) {
    widen_rows_last_to_first(pattern::kAppendAlpha, kShimOrderRgba, destination, destination_pitch,
                             source, source_pitch, width, height);
}

void ccnvt_rgb24_bgra32_inplace(void* destination, long destination_pitch, const void* source,
                                long source_pitch, long width, long height) {
    widen_rows_last_to_first(pattern::kSwapRedBlueAppendAlpha, kShimOrderBgra, destination,
                             destination_pitch, source, source_pitch, width, height);
}

void ccnvt_rgba24_rgb32_invert(void* destination, long destination_pitch, const void* source,
                               long source_pitch, long width, long height) {
    if (nothing_to_convert(width, height)) return;
    const PermuteRows widen(kWiden24FrontToBack, with_alpha(pattern::kAppendAlpha, ::a));
    const long rows = rows_in(height);
    for (long k = 0; k < rows; ++k)
        widen(row_start(destination, destination_pitch, rows - 1 - k),
              row_start(source, source_pitch, k), pixels_in(width));
}

// Rows are taken from the end of each pitch span, last row first; rows
// without gaps between them as one.
void ccnvt_macbgr24_macargb32_inplace(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height) {
    if (height < 1 || width < 1) return;
    const PermuteRows widen(kWiden24, with_alpha(pattern::kPrependAlpha, ::a));
    const RowLayout rows = merged_if_contiguous(pixels_in(width), height, destination_pitch, 4,
                                                source_pitch, 3);
    for (long r = rows.rows; r-- > 0;)
        widen(row_start(destination, rows.destination_pitch, r + 1) - 4 * rows.pixels,
              row_start(source, rows.source_pitch, r + 1) - 3 * rows.pixels, rows.pixels);
}

// ---- within 32 bits ----

void ccnvt_rgba32_bgra32_inplace(void* destination, long destination_pitch, const void* source,
                                 long source_pitch, long width, long height) {
    if (nothing_to_convert(width, height)) return;
    rows_first_to_last(kReorder32, pattern::kSwapRedBlue, destination, destination_pitch, source,
                       source_pitch, width, height);
}

void ccnvt_rgba32_abgr32_inplace(void* destination, long destination_pitch, const void* source,
                                 long source_pitch, long width, long height) {
    if (nothing_to_convert(width, height)) return;
    rows_first_to_last(kReorder32, pattern::kReverseBytes, destination, destination_pitch, source,
                       source_pitch, width, height);
}

void ccnvt_rgba32_argb32(void* destination, long destination_pitch, const void* source,
                         long source_pitch, long width, long height) {
    shuffle_rows(pattern::kRotateRight8, CCONVERT_SHUFFLE_RGBA2ARGB, destination, destination_pitch,
                 source, source_pitch, width, height);
}

void ccnvt_argb32_rgba32(void* destination, long destination_pitch, const void* source,
                         long source_pitch, long width, long height) {
    shuffle_rows(pattern::kRotateLeft8, CCONVERT_SHUFFLE_ARGB32_RGBA32, destination,
                 destination_pitch, source, source_pitch, width, height);
}

void ccnvt_rgba32_rgba32(void* destination, long destination_pitch, void* source, long source_pitch,
                         long width, long height) {
    if (height == 0) return;
    const auto row_bytes = static_cast<std::size_t>(width) * 4;
    for (long k = 0; k < rows_in(height); ++k)
        std::memcpy(row_start(destination, destination_pitch, k), row_start(source, source_pitch, k),
                    row_bytes);
}

// ---- spans ----

void rgba2argb(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kRotateRight8, CCONVERT_SHUFFLE_RGBA2ARGB, destination, source, count);
}
void argb2rgba(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kSwapFirstAndLast, CCONVERT_SHUFFLE_ARGB2RGBA, destination, source, count);
}
void bgra2argb(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kReverseBytes, CCONVERT_SHUFFLE_BGRA2ARGB, destination, source, count);
}
void argb2bgra(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kReverseBytes, CCONVERT_SHUFFLE_ARGB2BGRA, destination, source, count);
}
void abgr2argb(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kSwapRedBlue, CCONVERT_SHUFFLE_ABGR2ARGB, destination, source, count);
}
void argb2abgr(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kSwapRedBlue, CCONVERT_SHUFFLE_ARGB2ABGR, destination, source, count);
}
void bgra2rgba(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kSwapRedBlue, CCONVERT_SHUFFLE_BGRA2RGBA, destination, source, count);
}
void bgra2abgr(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kRotateRight8, CCONVERT_SHUFFLE_BGRA2ABGR, destination, source, count);
}
void abgr2bgra(unsigned int* destination, const unsigned int* source, unsigned int count) {
    shuffle_span(pattern::kRotateLeft8, CCONVERT_SHUFFLE_ABGR2BGRA, destination, source, count);
}
void bgra2abgrMMX(unsigned int* destination, const unsigned int* source, unsigned int count) {
    bgra2abgr(destination, source, count);
}
void abgr2bgraMMX(unsigned int* destination, const unsigned int* source, unsigned int count) {
    abgr2bgra(destination, source, count);
}

// ---- older names ----

void ccnvt_rgb32_rgb24_inplace(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgba32_rgb24_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb32_rgb24(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgba32_rgb24_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgba32_rgb24(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgba32_rgb24_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb24_rgb32_inplace(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgb24_rgba32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb24_rgb32(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgb24_rgba32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb24_rgba32(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgb24_rgba32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb24_bgr32_inplace(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgb24_bgra32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb32_bgr24_inplace(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgba32_bgr24_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb32_bgr32_inplace(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgba32_bgra32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb32_rgb32(void* d, long dp, void* s, long sp, long w, long h) { ccnvt_rgba32_rgba32(d, dp, s, sp, w, h); }
