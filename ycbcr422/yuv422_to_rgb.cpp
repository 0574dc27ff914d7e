// 2vuy and v210 to 8-bit RGB (B, G, R or B, G, R, 255).
//
// Full-size work of the shape-A wrappers goes to the host's libycbcr with the
// matrix it picks for the frame size. The library's own decoders are table
// driven (BT.601): they serve reduced-size previews and the entry points
// that always decode themselves.
#include <cstddef>
#include <cstdint>

#include "cconvert/ycbcr422.h"
#include "ycbcr.h"
#include "ycbcr422/yuv422_layout.h"
#include "ycbcr422/yuv_tables.h"

namespace cconvert::detail {
namespace {

constexpr std::uint8_t kOpaque = 255;

// One pixel through the 8-bit tables.
void put_pixel_8bit(unsigned char* out, int y, int cb, int cr, bool four_bytes) {
    const int luma = Atab[y];
    out[0] = clip_8bit_sum(luma + BEtab[cb][kCbBlue]);
    out[1] = clip_8bit_sum(luma + BEtab[cb][kCbGreen] + DCtab[cr][kCrGreen]);
    out[2] = clip_8bit_sum(luma + DCtab[cr][kCrRed]);
    if (four_bytes) out[3] = kOpaque;
}

// One pixel through the 10-bit tables.
void put_pixel_10bit(unsigned char* out, int y, int cb, int cr, bool four_bytes) {
    const int luma = v210_Atab[y];
    out[0] = clip_10bit_sum(luma + v210_BEtab[cb][kCbBlue]);
    out[1] = clip_10bit_sum(luma + v210_BEtab[cb][kCbGreen] + v210_DCtab[cr][kCrGreen]);
    out[2] = clip_10bit_sum(luma + v210_DCtab[cr][kCrRed]);
    if (four_bytes) out[3] = kOpaque;
}

// The samples of one pixel pair as 8-bit values.
struct Pair {
    int cb, y0, cr, y1;
};

// Pair j of a 2vuy row.
struct UyvyRow {
    const unsigned char* row;
    Pair operator()(long j) const {
        const unsigned char* p = row + k2vuyBytesPerPair * j;
        return {p[k2vuyCb], p[k2vuyY0], p[k2vuyCr], p[k2vuyY1]};
    }
};

// Pair j of a v210 row: pair j % 3 of group j / 3, each sample without its
// two low bits. The last group read is kept for the pairs after it.
struct V210Row {
    const unsigned char* row;
    long group = -1;
    std::uint16_t samples[kV210SamplesPerGroup] = {};
    Pair operator()(long j) {
        if (j / 3 != group) {
            group = j / 3;
            v210_read_group(row + kV210BytesPerGroup * group, samples);
        }
        const std::uint16_t* pair = samples + 4 * (j % 3);
        return {pair[0] >> 2, pair[1] >> 2, pair[2] >> 2, pair[3] >> 2};
    }
};

// The reduced-size plan shared by the 2vuy and v210 decoders. Factor 2: one
// pixel per pair (Y0), every other row. Factor 4: one pixel from every second
// pair, every fourth row. Any other factor: both pixels of every pair, every
// factor-th row (the columns are not reduced).
template <class Row>
int decode_reduced(unsigned char* destination, long destination_pitch, const unsigned char* source,
                   long source_pitch, long width, long height, int factor) {
    ensure_8bit_tables();
    const long d = factor < 1 ? 1 : factor;
    const bool four_bytes = destination_pitch >= (width / d) * 4;
    const long pixel_bytes = four_bytes ? 4 : 3;
    const long rows = height / d;

    for (long r = 0; r < rows; ++r) {
        Row pairs{source + r * d * source_pitch};
        unsigned char* out = destination + r * destination_pitch;
        if (d == 2) {
            for (long j = 0; j < (width + 1) / 2; ++j, out += pixel_bytes) {
                const Pair p = pairs(j);
                put_pixel_8bit(out, p.y0, p.cb, p.cr, four_bytes);
            }
        } else if (d == 4) {
            for (long x = 0; x < width / 2; x += 2, out += pixel_bytes) {
                const Pair p = pairs(x);
                put_pixel_8bit(out, p.y0, p.cb, p.cr, four_bytes);
            }
        } else {
            for (long x = 0; x < width; x += 2) {
                const Pair p = pairs(x / 2);
                put_pixel_8bit(out, p.y0, p.cb, p.cr, four_bytes);
                put_pixel_8bit(out + pixel_bytes, p.y1, p.cb, p.cr, four_bytes);
                out += 2 * pixel_bytes;
            }
        }
    }
    return 0;
}

// The flag word for libycbcr: 0x8000 (bottom-up) when the height is negative,
// its sign bit moved down to bit 15.
unsigned int bottom_up_flag(long height) {
    return static_cast<unsigned int>(static_cast<unsigned long>(height) >> 48) & CYCBCR_BOTTOM_UP;
}

using HostConverter = int (*)(void*, const void*, int, int, long, long, const cycbcr_matrix*, unsigned int);

// Full-size work for libycbcr: the height's low 32 bits go as they are.
int hand_to_host(HostConverter convert, unsigned char* destination, long destination_pitch,
                 const unsigned char* source, long source_pitch, long width, long height) {
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    return convert(destination, source, w, h, destination_pitch, source_pitch, GetMatrixBySize(w, h, 0),
                   bottom_up_flag(height));
}

long or_default(long pitch, long tight) { return pitch > 0 ? pitch : tight; }
long v210_tight(long width) { return v210_default_pitch_pitched(static_cast<std::uint32_t>(width)); }

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

int ccnvt_yuv422_rgb24(unsigned char* destination, long destination_pitch, const unsigned char* source,
                       long source_pitch, long width, long height, int factor) {
    return decode_reduced<UyvyRow>(destination, destination_pitch, source, source_pitch, width, height,
                                   factor);
}

int ccnvt_v210_rgb24(unsigned char* destination, long destination_pitch, const unsigned char* source,
                     long source_pitch, long width, long height, int factor) {
    return decode_reduced<V210Row>(destination, destination_pitch, source, source_pitch, width, height,
                                   factor);
}

int ccnvt_yuv422_8_rgb24(unsigned char* destination, long destination_pitch, const unsigned char* source,
                         long source_pitch, long width, long height, int factor) {
    destination_pitch = or_default(destination_pitch, 3 * width);
    source_pitch = or_default(source_pitch, 2 * width);
    if (factor < 2)
        return hand_to_host(cycbcr_uyvy_to_rgb24, destination, destination_pitch, source, source_pitch,
                            width, height);
    return ccnvt_yuv422_rgb24(destination, destination_pitch, source, source_pitch, width, height, factor);
}

int ccnvt_yuv422_8_rgb32(unsigned char* destination, long destination_pitch, const unsigned char* source,
                         long source_pitch, long width, long height, int factor) {
    destination_pitch = or_default(destination_pitch, 4 * width);
    source_pitch = or_default(source_pitch, 2 * width);
    if (factor < 2)
        return hand_to_host(cycbcr_uyvy_to_rgb32, destination, destination_pitch, source, source_pitch,
                            width, height);
    return ccnvt_yuv422_rgb24(destination, destination_pitch, source, source_pitch, width, height, factor);
}

int ccnvt_yuv422_10_rgb24(unsigned char* destination, long destination_pitch, const unsigned char* source,
                          long source_pitch, long width, long height, int factor) {
    destination_pitch = or_default(destination_pitch, 3 * width);
    source_pitch = or_default(source_pitch, v210_tight(width));
    return ccnvt_v210_rgb24(destination, destination_pitch, source, source_pitch, width, height,
                            factor < 1 ? 1 : factor);
}

int ccnvt_yuv422_10_rgb32(unsigned char* destination, long destination_pitch, const unsigned char* source,
                          long source_pitch, long width, long height, int factor) {
    destination_pitch = or_default(destination_pitch, 4 * width);
    source_pitch = or_default(source_pitch, v210_tight(width));
    if (factor < 2)
        return hand_to_host(cycbcr_012v_to_rgb32, destination, destination_pitch, source, source_pitch,
                            width, height);
    return ccnvt_v210_rgb24(destination, destination_pitch, source, source_pitch, width, height, factor);
}

// The source is one run of v210 groups (rows are not padded). A running pixel
// index advances by six per group; whenever it is a multiple of the width,
// output continues at the start of destination row index / width.
void _v210_to_rgb(void* source, void* destination, int width, int height, int destination_pitch,
                  int four_bytes) {
    ensure_10bit_tables();
    const long pixels = static_cast<long>(width) * height;
    if (pixels < 1) return;
    auto* words = static_cast<unsigned int*>(source);
    auto* frame = static_cast<unsigned char*>(destination);
    const long pixel_bytes = four_bytes ? 4 : 3;
    unsigned char* out = frame;
    for (long index = 0; index < pixels; index += kV210PixelsPerGroup) {
        if (index % width == 0) out = frame + index / width * destination_pitch;
        v210FourWords group;
        words = _v210_get_next_4words(words, &group);
        for (int pair = 0; pair < 3; ++pair) {
            const unsigned short* s = group.sample + 4 * pair;  // Cb Y0 Cr Y1
            put_pixel_10bit(out, s[1], s[0], s[2], four_bytes);
            put_pixel_10bit(out + pixel_bytes, s[3], s[0], s[2], four_bytes);
            out += 2 * pixel_bytes;
        }
    }
}
