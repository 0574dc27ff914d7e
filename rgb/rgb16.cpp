// 16-bit RGB: rgba32 to 5-5-5 and 5-6-5 (plain or with the 4 x 4 ordered
// dither), and 5-5-5 back to rgb24 and rgba32. Entry points and portable
// kernels.
#include <cstring>

#include "cconvert/rgb.h"
#include "rgb/rgb16_kernels.h"

alignas(16) const unsigned char g_bDither4x4[16] = {
    0,  8,  2,  10,  //
    12, 4,  14, 6,   //
    3,  11, 1,  9,   //
    15, 7,  13, 5,
};

namespace cconvert::detail {

namespace {
std::uint16_t load_word(const unsigned char* bytes) {
    std::uint16_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}
}  // namespace

void reduce_pixels_to_rgb16(unsigned char* destination, const unsigned char* source,
                            std::size_t first, std::size_t last, const Rgb16Packing& packing) {
    for (std::size_t x = first; x < last; ++x) {
        const unsigned char* in = source + 4 * x;
        const std::uint16_t word = packing.pack(x, in[0], in[1], in[2]);
        std::memcpy(destination + 2 * x, &word, sizeof word);
    }
}

void reduce_to_rgb16_portable(unsigned char* destination, const unsigned char* source,
                              std::size_t pixels, const Rgb16Packing& packing) {
    reduce_pixels_to_rgb16(destination, source, 0, pixels, packing);
}

void expand_pixels_to_rgb24(unsigned char* destination, const unsigned char* source,
                            std::size_t first, std::size_t last) {
    for (std::size_t x = first; x < last; ++x) {
        const std::uint16_t word = load_word(source + 2 * x);
        unsigned char* out = destination + 3 * x;
        out[0] = blue_of_555(word);
        out[1] = green_of_555(word);
        out[2] = red_of_555(word);
    }
}

void expand_rgb16_to_rgb24_portable(unsigned char* destination, const unsigned char* source,
                                    std::size_t pixels) {
    expand_pixels_to_rgb24(destination, source, 0, pixels);
}

void expand_pixels_to_rgba32(unsigned char* destination, const unsigned char* source,
                             std::size_t last, std::uint8_t alpha) {
    for (std::size_t x = last; x-- > 0;) {
        const std::uint16_t word = load_word(source + 2 * x);
        const unsigned char out[4] = {blue_of_555(word), green_of_555(word), red_of_555(word), alpha};
        std::memcpy(destination + 4 * x, out, sizeof out);
    }
}

void expand_rgb16_to_rgba32_portable(unsigned char* destination, const unsigned char* source,
                                     std::size_t pixels, std::uint8_t alpha) {
    expand_pixels_to_rgba32(destination, source, pixels, alpha);
}

namespace {

// The reducers: rows first to last; the dither's row index counts the rows
// in that order.
void reduce_rows(bool green_6_bits, bool dithered, void* destination, long destination_pitch,
                 const void* source, long source_pitch, long width, long height) {
    if (height == 0 || width < 1) return;
    const ChosenRowKernel<ReduceRow> reduce(kReduceToRgb16, frame_span_bytes(destination_pitch, height));
    Rgb16Packing packings[4];
    for (int y = 0; y < 4; ++y)
        packings[y] = Rgb16Packing::for_row(green_6_bits, dithered ? g_bDither4x4 + 4 * y : nullptr);
    // The dither depends on the row and the position in it: those rows stay apart.
    const RowLayout rows = dithered ? RowLayout{pixels_in(width), rows_in(height), destination_pitch, source_pitch}
                                    : merged_if_contiguous(pixels_in(width), rows_in(height), destination_pitch,
                                                           2, source_pitch, 4);
    for (long k = 0; k < rows.rows; ++k)
        reduce(row_start(destination, rows.destination_pitch, k), row_start(source, rows.source_pitch, k),
               rows.pixels, packings[k & 3]);
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

void ccnvt_rgba32_rgb16(void* destination, long destination_pitch, const void* source,
                        long source_pitch, long width, long height) {
    reduce_rows(false, false, destination, destination_pitch, source, source_pitch, width, height);
}

void ccnvt_rgba32_rgb16_565(void* destination, long destination_pitch, void* source,
                            long source_pitch, long width, long height) {
    reduce_rows(true, false, destination, destination_pitch, source, source_pitch, width, height);
}

void ccnvt_rgba32_rgb16_dithered(void* destination, long destination_pitch, void* source,
                                 long source_pitch, long width, long height) {
    reduce_rows(false, true, destination, destination_pitch, source, source_pitch, width, height);
}

void ccnvt_rgba32_rgb16_565_dithered(void* destination, long destination_pitch, void* source,
                                     long source_pitch, long width, long height) {
    reduce_rows(true, true, destination, destination_pitch, source, source_pitch, width, height);
}

void ccnvt_rgb16_rgb24(void* destination, long destination_pitch, void* source, long source_pitch,
                       long width, long height) {
    if (height == 0 || width < 1) return;
    const ChosenRowKernel<ExpandRgb24Row> expand(kExpandRgb16ToRgb24);
    const RowLayout rows =
        merged_if_contiguous(pixels_in(width), rows_in(height), destination_pitch, 3, source_pitch, 2);
    for (long k = 0; k < rows.rows; ++k)
        expand(row_start(destination, rows.destination_pitch, k), row_start(source, rows.source_pitch, k),
               rows.pixels);
}

// Rows last to first, each taken from the end of its pitch span; rows
// without gaps between them as one.
void ccnvt_rgb16_rgba32_inplace(void* destination, long destination_pitch, const void* source,
                                long source_pitch, long width, long height) {
    if (height == 0 || width < 1) return;
    const ChosenRowKernel<ExpandRgba32Row> expand(kExpandRgb16ToRgba32);
    const std::uint8_t alpha = ::a;
    const RowLayout rows =
        merged_if_contiguous(pixels_in(width), rows_in(height), destination_pitch, 4, source_pitch, 2);
    for (long r = rows.rows; r-- > 0;)
        expand(row_start(destination, rows.destination_pitch, r + 1) - 4 * rows.pixels,
               row_start(source, rows.source_pitch, r + 1) - 2 * rows.pixels, rows.pixels, alpha);
}

// ---- older names ----

void ccnvt_rgb16_rgb32_inplace(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgb16_rgba32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb16_rgb32(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgb16_rgba32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb16_rgba32(void* d, long dp, const void* s, long sp, long w, long h) { ccnvt_rgb16_rgba32_inplace(d, dp, s, sp, w, h); }
void ccnvt_rgb32_rgb16(void* d, long dp, void* s, long sp, long w, long h) { ccnvt_rgba32_rgb16(d, dp, s, sp, w, h); }
void ccnvt_rgb32_rgb16_565(void* d, long dp, void* s, long sp, long w, long h) { ccnvt_rgba32_rgb16_565(d, dp, s, sp, w, h); }
void ccnvt_rgb32_rgb16_dithered(void* d, long dp, void* s, long sp, long w, long h) { ccnvt_rgba32_rgb16_dithered(d, dp, s, sp, w, h); }
void ccnvt_rgb32_rgb16_565_dithered(void* d, long dp, void* s, long sp, long w, long h) { ccnvt_rgba32_rgb16_565_dithered(d, dp, s, sp, w, h); }
