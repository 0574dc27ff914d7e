// Alpha planes carried through 8-bit 4:2:2 (2vuy) pictures as grey: the key
// becomes luma, chroma is neutral. Entry points and portable kernels.
#include "cconvert/alpha.h"
#include "alpha/alpha_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

namespace {
constexpr unsigned char kNeutralChroma = 0x80;
constexpr std::size_t kAlphaBytesPerPair = 2;

// The pairs of a row: an odd last pixel is not converted.
std::size_t pairs_in(long width) { return static_cast<std::size_t>(width / 2); }
}  // namespace

void alpha_to_2vuy_pairs(unsigned char* uyvy, const unsigned char* alpha, std::size_t last) {
    for (std::size_t k = last; k-- > 0;) {
        const unsigned char a0 = alpha[kAlphaBytesPerPair * k], a1 = alpha[kAlphaBytesPerPair * k + 1];
        unsigned char* group = uyvy + k2vuyBytesPerPair * k;
        group[k2vuyCb] = kNeutralChroma;
        group[k2vuyY0] = a0;
        group[k2vuyCr] = kNeutralChroma;
        group[k2vuyY1] = a1;
    }
}

void alpha_to_2vuy_portable(unsigned char* uyvy, const unsigned char* alpha, std::size_t pairs) {
    alpha_to_2vuy_pairs(uyvy, alpha, pairs);
}

void luma_of_2vuy_pairs(unsigned char* alpha, const unsigned char* uyvy, std::size_t first,
                        std::size_t last) {
    for (std::size_t k = first; k < last; ++k) {
        const unsigned char* group = uyvy + k2vuyBytesPerPair * k;
        const unsigned char y0 = group[k2vuyY0], y1 = group[k2vuyY1];
        alpha[kAlphaBytesPerPair * k] = y0;
        alpha[kAlphaBytesPerPair * k + 1] = y1;
    }
}

void luma_of_2vuy_portable(unsigned char* alpha, const unsigned char* uyvy, std::size_t pairs) {
    luma_of_2vuy_pairs(alpha, uyvy, 0, pairs);
}

void strip_chroma_pairs(unsigned char* to, const unsigned char* from, std::size_t first,
                        std::size_t last) {
    for (std::size_t k = first; k < last; ++k) {
        const unsigned char* in = from + k2vuyBytesPerPair * k;
        const unsigned char y0 = in[k2vuyY0], y1 = in[k2vuyY1];
        unsigned char* out = to + k2vuyBytesPerPair * k;
        out[k2vuyCb] = kNeutralChroma;
        out[k2vuyY0] = y0;
        out[k2vuyCr] = kNeutralChroma;
        out[k2vuyY1] = y1;
    }
}

void strip_chroma_portable(unsigned char* to, const unsigned char* from, std::size_t pairs) {
    strip_chroma_pairs(to, from, 0, pairs);
}

}  // namespace cconvert::detail

using namespace cconvert::detail;

// Pairs are aligned to the end of each row; rows last to first. Each
// operation treats rows without gaps between them as one.
int ccnvt_alphay_to_2yuv(void* destination, long destination_row_bytes, const void* alpha,
                         long source_row_bytes, long width, int height) {
    if (height < 1 || width < 2) return 0;
    const ChosenRowKernel<PairsRow> convert(kAlphaTo2vuy);
    const RowLayout rows = merged_if_contiguous(pairs_in(width), height, destination_row_bytes,
                                                k2vuyBytesPerPair, source_row_bytes, kAlphaBytesPerPair);
    for (long y = rows.rows; y-- > 0;)
        convert(row_start(destination, rows.destination_pitch, y + 1) - k2vuyBytesPerPair * rows.pixels,
                row_start(alpha, rows.source_pitch, y + 1) - kAlphaBytesPerPair * rows.pixels, rows.pixels);
    return 0;
}

int ccnvt_2yuv_to_alphay(void* alpha, long destination_row_bytes, const void* source,
                         long source_row_bytes, long width, long height) {
    if (height < 1 || width < 2) return 0;
    const ChosenRowKernel<PairsRow> convert(kLumaOf2vuy);
    const RowLayout rows = merged_if_contiguous(pairs_in(width), height, destination_row_bytes,
                                                kAlphaBytesPerPair, source_row_bytes, k2vuyBytesPerPair);
    for (long y = 0; y < rows.rows; ++y)
        convert(row_start(alpha, rows.destination_pitch, y), row_start(source, rows.source_pitch, y),
                rows.pixels);
    return 0;
}

int ccnvt_2yuv_strip_chroma(void* destination, long destination_row_bytes, const void* source,
                            long source_row_bytes, long width, long height) {
    if (height < 1 || width < 2) return 0;
    const ChosenRowKernel<PairsRow> convert(kStripChroma);
    const RowLayout rows = merged_if_contiguous(pairs_in(width), height, destination_row_bytes,
                                                k2vuyBytesPerPair, source_row_bytes, k2vuyBytesPerPair);
    for (long y = 0; y < rows.rows; ++y)
        convert(row_start(destination, rows.destination_pitch, y), row_start(source, rows.source_pitch, y),
                rows.pixels);
    return 0;
}
