#include "frames.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <deque>
#include <limits>
#include <map>
#include <utility>

#include <cconvert/cconvert.h>

#include "errors.h"
#include "files.h"

namespace ccnvt {

namespace {

// Whole v210 groups, and the 16-byte vector tails of some kernels, reach a
// little past the frame.
constexpr std::size_t kSlack = 256;

unsigned char* at(Frame& frame, std::size_t offset) { return frame.data() + offset; }
unsigned int v210_pitch(const Frame& frame) { return static_cast<unsigned int>(v210_row_bytes(frame.width)); }
std::size_t luma(const Frame& frame) { return std::size_t{frame.width} * frame.height; }
const unsigned short* words(const Frame& frame) { return reinterpret_cast<const unsigned short*>(frame.data()); }
unsigned short* words(Frame& frame) { return reinterpret_cast<unsigned short*>(frame.data()); }

void uyvy_to_v210(const Frame& in, Frame& out, int) {
    ccnvt_2vuy_v210(out.data(), in.data(), in.width, in.height, v210_pitch(out));
}
void v210_to_uyvy(const Frame& in, Frame& out, int) {
    ccnvt_v210_2vuy(out.data(), in.data(), in.width, in.height, v210_pitch(in));
}
void uyvy_to_i420(const Frame& in, Frame& out, int) { ccnvt_2vuy_i420(out.data(), in.data(), in.width, in.height, 0); }
void uyvy_to_yv12(const Frame& in, Frame& out, int) { ccnvt_2vuy_yv12(out.data(), in.data(), in.width, in.height, 0); }
void yuy2_to_planes(const Frame& in, Frame& out, bool cb_first) {
    const std::size_t y = luma(in);
    unsigned char* first = at(out, y);
    unsigned char* second = at(out, y + y / 4);
    YUY2toYV12(const_cast<unsigned char*>(in.data()), out.data(), cb_first ? first : second,
               cb_first ? second : first, static_cast<int>(in.width), static_cast<int>(in.height),
               static_cast<int>(in.width), static_cast<int>(in.width));
}
void yuy2_to_i420(const Frame& in, Frame& out, int) { yuy2_to_planes(in, out, true); }
void yuy2_to_yv12(const Frame& in, Frame& out, int) { yuy2_to_planes(in, out, false); }
void nv12_to_uyvy(const Frame& in, Frame& out, int) {
    cycbcr_NV12_to_uyvy(out.data(), in.data(), in.width, in.height, 2 * in.width);
}
void nv12_to_v210(const Frame& in, Frame& out, int) {
    cycbcr_NV12_to_v210(out.data(), in.data(), in.width, in.height, v210_pitch(out));
}
void nv10_to_uyvy(const Frame& in, Frame& out, int) {
    cycbcr_NV10_to_uyvy(out.data(), words(in), in.width, in.height, 2 * in.width);
}
void p10_to_nv12p16(const Frame& in, Frame& out, int) {
    cycbcr_420p10_to_NV12p16(words(out), words(in), static_cast<unsigned int>(luma(in) * 3));
}
void p12_to_nv12p16(const Frame& in, Frame& out, int) {
    cycbcr_420p12_to_NV12p16(words(out), words(in), static_cast<unsigned int>(luma(in) * 3));
}
void p16_to_nv12p16(const Frame& in, Frame& out, int) {
    cycbcr_420p16_to_NV12p16(words(out), words(in), static_cast<unsigned int>(luma(in) * 3));
}
void y210_to_v210(const Frame& in, Frame& out, int) {
    ccnvt_Y210_to_v210(out.data(), in.data(), v210_pitch(out), 4 * in.width, in.width, in.height);
}
void y210_to_yuy2(const Frame& in, Frame& out, int) {
    // The library keeps Y210's own order: Y0 Cb Y1 Cr, which is YUY2.
    ccnvt_Y210_to_uyvy(out.data(), in.data(), 2 * in.width, 4 * in.width, in.width, in.height);
}

long row_of(const Frame& frame) { return static_cast<long>(frame.format->row_bytes(frame.width)); }
long w(const Frame& frame) { return frame.width; }
long h(const Frame& frame) { return frame.height; }

void rgba32_to_rgb24(const Frame& in, Frame& out, int) {
    ccnvt_rgba32_rgb24_inplace(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void rgb24_to_rgba32(const Frame& in, Frame& out, int) {
    ccnvt_rgb24_rgba32_inplace(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void swap_red_blue(const Frame& in, Frame& out, int) {  // rgba32 <-> bgra32: the same exchange both ways
    ccnvt_rgba32_bgra32_inplace(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void rgba32_to_rgb16(const Frame& in, Frame& out, int) {
    ccnvt_rgba32_rgb16(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void rgb16_to_rgba32(const Frame& in, Frame& out, int) {
    ccnvt_rgb16_rgba32_inplace(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void rgba32_to_rgb565(const Frame& in, Frame& out, int) {
    ccnvt_rgba32_rgb16_565(out.data(), row_of(out), const_cast<unsigned char*>(in.data()), row_of(in), w(in), h(in));
}

// 16-bit channels to and from 8 bits by their top 8 bits (bits = 16).
void rgb48_to_rgba32(const Frame& in, Frame& out, int) {
    ccnvt_rgb48_rgba32(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), 16);
}
void rgba64_to_rgba32(const Frame& in, Frame& out, int) {
    ccnvt_rgba64_rgba32(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), 16);
}
void rgba32_to_rgb48(const Frame& in, Frame& out, int) {
    ccnvt_rgba32_rgb48(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), 16);
}
void rgba32_to_rgba64(const Frame& in, Frame& out, int) {
    ccnvt_rgba32_rgba64(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), 16);
}
void rgb48_to_rgba64(const Frame& in, Frame& out, int) {
    ccnvt_rgb48_rgba64(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}

// Full-size frames: libycbcr with the matrix for the frame size.
void uyvy_to_rgba32(const Frame& in, Frame& out, int) {
    ccnvt_yuv422_8_rgb32(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), 1);
}
void uyvy_to_rgb24(const Frame& in, Frame& out, int) {
    ccnvt_yuv422_8_rgb24(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), 1);
}
void v210_to_rgba32(const Frame& in, Frame& out, int) {
    ccnvt_yuv422_10_rgb32(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), 1);
}
void rgba32_to_uyvy(const Frame& in, Frame& out, int) {  // BT.601, studio range
    ccnvt_rgb32_2vuy(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void yuv2_to_uyvy(const Frame& in, Frame& out, int) { ccnvt_yuv2_2vuy(out.data(), in.data(), in.width, in.height); }
void yuvs_to_uyvy(const Frame& in, Frame& out, int) { ccnvt_yuvs_2vuy(out.data(), in.data(), in.width, in.height); }
void yuv444_to_uyvy(const Frame& in, Frame& out, int) {
    ccnvt_yuv444_yuv422_8(out.data(), in.data(), in.width, in.height);
}
void uyvy_to_yuv444(const Frame& in, Frame& out, int) {
    ccnvt_yuv422_yuv444_8(out.data(), in.data(), in.width, in.height);
}

// Half-float RGBA: video range, with the matrix the library's full-size RGB
// decoders take for the frame size.
int matrix_for(const Frame& frame) { return is_hd(frame.width, frame.height) ? MP_CSP_BT_709 : MP_CSP_BT_601; }
void v210_to_half(const Frame& in, Frame& out, int) {
    yCbCr10_to_halffloat(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), matrix_for(in), 0);
}
void uyvy_to_half(const Frame& in, Frame& out, int) {
    yCbCr8_to_halffloat(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), matrix_for(in), 0);
}
constexpr int kPq = 0, kHlg = 1;  // transfer modes of the SDR-to-HDR converter
void v210_to_half_pq(const Frame& in, Frame& out, int) {
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), kPq);
}
void v210_to_half_hlg(const Frame& in, Frame& out, int) {
    yCbCr10_to_halffloat_sdr_to_hdr(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in), kHlg);
}

// ST 2084 through the 8-bit tables. The converters re-code a copy of the
// frame in place: the 4:2:2 and v210 forms leave some destination bytes
// unwritten (chroma, the first byte of each row), which keep the source's.
using Recode = int (*)(unsigned char*, const unsigned char*, unsigned int, unsigned int, unsigned int);
void recode_copy(const Frame& in, Frame& out, Recode recode) {
    std::memcpy(out.data(), in.data(), in.size());
    const auto row = static_cast<unsigned int>(row_of(out));
    recode(out.data(), out.data(), row, row, out.height);
}
void rgb_to_pq(const Frame& in, Frame& out, int) { recode_copy(in, out, ccnvt_rgb_to_st2084); }
void pq_to_rgb(const Frame& in, Frame& out, int) { recode_copy(in, out, ccnvt_st2084_to_rgb); }
void uyvy_to_pq(const Frame& in, Frame& out, int) { recode_copy(in, out, ccnvt_yuv2_to_st2084); }
void pq_to_uyvy(const Frame& in, Frame& out, int) { recode_copy(in, out, ccnvt_st2084_to_yuv2); }
void v210_to_pq(const Frame& in, Frame& out, int) { recode_copy(in, out, ccnvt_v210_to_st2084); }
void pq_to_v210(const Frame& in, Frame& out, int) { recode_copy(in, out, ccnvt_st2084_to_v210); }

// A key (alpha plane) as 2vuy luma with neutral chroma, or as grey rgba32
// pixels whose alpha is the key.
void uyvy_to_key(const Frame& in, Frame& out, int) {
    ccnvt_2yuv_to_alphay(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void key_to_uyvy(const Frame& in, Frame& out, int) {
    ccnvt_alphay_to_2yuv(out.data(), row_of(out), in.data(), row_of(in), w(in), static_cast<int>(in.height));
}
void key_to_rgba32(const Frame& in, Frame& out, int) {
    ccnvt_alpha_to_rgba(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}
void rgba32_to_key(const Frame& in, Frame& out, int) {  // byte 0 of each pixel
    ccnvt_rgba_to_alpha(out.data(), row_of(out), in.data(), row_of(in), w(in), h(in));
}

// Runs convert(first_row, end_row) over bands of the frame's rows, one band
// per thread, the caller taking the first.
template <class Convert>
void in_bands(const Frame& frame, int threads, Convert convert) {
    const int rows = static_cast<int>(frame.height);
    const int bands = std::max(1, std::min(threads, rows));
    auto band_start = [&](int b) { return static_cast<int>(static_cast<long>(rows) * b / bands); };
    std::vector<std::thread> helpers;
    for (int b = 1; b < bands; ++b) helpers.emplace_back(convert, band_start(b), band_start(b + 1));
    convert(0, band_start(1));
    for (auto& helper : helpers) helper.join();
}

// The band drivers take int sizes and a non-const source.
int pitch_of(const Frame& frame) { return static_cast<int>(row_of(frame)); }
int width_of(const Frame& frame) { return static_cast<int>(w(frame)); }
unsigned char* bytes_of(const Frame& frame) { return const_cast<unsigned char*>(frame.data()); }

void packed10_to_uyvy(const Frame& in, Frame& out, int threads) {
    in_bands(in, threads, [&](int first, int end) {
        kv_ycbcr422_packed10_to_uyvy(bytes_of(in), pitch_of(in), width_of(in), first, end, out.data(), pitch_of(out));
    });
}
void uyvy_to_packed10(const Frame& in, Frame& out, int threads) {
    in_bands(in, threads, [&](int first, int end) {
        kv_ycbcr422_uyvy_to_packed10(bytes_of(in), pitch_of(in), width_of(in), first, end, out.data(), pitch_of(out));
    });
}
void packed10_to_v210(const Frame& in, Frame& out, int threads) {
    in_bands(in, threads, [&](int first, int end) {
        ccnvt_ycbcr422_packed10_to_v210(bytes_of(in), pitch_of(in), width_of(in), first, end,
                                        static_cast<int>(in.height), out.data(), pitch_of(out), false);
    });
}
void v210_to_packed10(const Frame& in, Frame& out, int threads) {
    in_bands(in, threads, [&](int first, int end) {
        ccnvt_ycbcr422_v210_to_packed10(bytes_of(in), pitch_of(in), width_of(in), first, end,
                                        static_cast<int>(in.height), out.data(), pitch_of(out), false);
    });
}

}  // namespace

bool is_hd(std::uint32_t width, std::uint32_t height) { return width > 1279 || height > 576; }

Frame make_frame(const Format& format, std::uint32_t width, std::uint32_t height, const unsigned char* content) {
    Frame frame;
    frame.format = &format;
    frame.width = width;
    frame.height = height;
    if (content == nullptr) {
        frame.bytes.assign(frame.size() + kSlack, 0);
    } else {
        // Copied in without zero-filling first; only the slack is zeroed.
        frame.bytes.reserve(frame.size() + kSlack);
        frame.bytes.assign(content, content + frame.size());
        frame.bytes.resize(frame.size() + kSlack);
    }
    return frame;
}

const std::vector<Step>& conversion_steps() {
    static const std::vector<Step> steps = {
        {"2vuy", "v210", "ccnvt_2vuy_v210", uyvy_to_v210},
        {"v210", "2vuy", "ccnvt_v210_2vuy", v210_to_uyvy},
        {"2vuy", "i420", "ccnvt_2vuy_i420", uyvy_to_i420},
        {"2vuy", "yv12", "ccnvt_2vuy_yv12", uyvy_to_yv12},
        {"yuy2", "i420", "YUY2toYV12", yuy2_to_i420},
        {"yuy2", "yv12", "YUY2toYV12", yuy2_to_yv12},
        {"nv12", "2vuy", "cycbcr_NV12_to_uyvy", nv12_to_uyvy},
        {"nv12", "v210", "cycbcr_NV12_to_v210", nv12_to_v210},
        {"nv10", "2vuy", "cycbcr_NV10_to_uyvy", nv10_to_uyvy},
        {"420p10", "nv12p16", "cycbcr_420p10_to_NV12p16", p10_to_nv12p16},
        {"420p12", "nv12p16", "cycbcr_420p12_to_NV12p16", p12_to_nv12p16},
        {"420p16", "nv12p16", "cycbcr_420p16_to_NV12p16", p16_to_nv12p16},
        {"y210", "v210", "ccnvt_Y210_to_v210", y210_to_v210},
        {"y210", "yuy2", "ccnvt_Y210_to_uyvy", y210_to_yuy2},
        {"rgba32", "rgb24", "ccnvt_rgba32_rgb24_inplace", rgba32_to_rgb24},
        {"rgb24", "rgba32", "ccnvt_rgb24_rgba32_inplace", rgb24_to_rgba32},
        {"rgba32", "bgra32", "ccnvt_rgba32_bgra32_inplace", swap_red_blue},
        {"bgra32", "rgba32", "ccnvt_rgba32_bgra32_inplace", swap_red_blue},
        {"rgba32", "rgb16", "ccnvt_rgba32_rgb16", rgba32_to_rgb16},
        {"rgb16", "rgba32", "ccnvt_rgb16_rgba32_inplace", rgb16_to_rgba32},
        {"rgba32", "rgb565", "ccnvt_rgba32_rgb16_565", rgba32_to_rgb565},
        {"2vuy", "rgba32", "ccnvt_yuv422_8_rgb32", uyvy_to_rgba32},
        {"2vuy", "rgb24", "ccnvt_yuv422_8_rgb24", uyvy_to_rgb24},
        {"v210", "rgba32", "ccnvt_yuv422_10_rgb32", v210_to_rgba32},
        {"rgba32", "2vuy", "ccnvt_rgb32_2vuy", rgba32_to_uyvy},
        {"yuv2", "2vuy", "ccnvt_yuv2_2vuy", yuv2_to_uyvy},
        {"yuvs", "2vuy", "ccnvt_yuvs_2vuy", yuvs_to_uyvy},
        {"yuv444", "2vuy", "ccnvt_yuv444_yuv422_8", yuv444_to_uyvy},
        {"2vuy", "yuv444", "ccnvt_yuv422_yuv444_8", uyvy_to_yuv444},
        {"rgb48", "rgba32", "ccnvt_rgb48_rgba32", rgb48_to_rgba32},
        {"rgba64", "rgba32", "ccnvt_rgba64_rgba32", rgba64_to_rgba32},
        {"rgba32", "rgb48", "ccnvt_rgba32_rgb48", rgba32_to_rgb48},
        {"rgba32", "rgba64", "ccnvt_rgba32_rgba64", rgba32_to_rgba64},
        {"rgb48", "rgba64", "ccnvt_rgb48_rgba64", rgb48_to_rgba64},
        {"packed10", "2vuy", "kv_ycbcr422_packed10_to_uyvy", packed10_to_uyvy, true},
        {"2vuy", "packed10", "kv_ycbcr422_uyvy_to_packed10", uyvy_to_packed10, true},
        {"packed10", "v210", "ccnvt_ycbcr422_packed10_to_v210", packed10_to_v210, true},
        {"v210", "packed10", "ccnvt_ycbcr422_v210_to_packed10", v210_to_packed10, true},
        {"v210", "rgbaf16", "yCbCr10_to_halffloat", v210_to_half},
        {"2vuy", "rgbaf16", "yCbCr8_to_halffloat", uyvy_to_half},
        {"v210", "rgbaf16pq", "yCbCr10_to_halffloat_sdr_to_hdr", v210_to_half_pq},
        {"v210", "rgbaf16hlg", "yCbCr10_to_halffloat_sdr_to_hdr", v210_to_half_hlg},
        {"rgb24", "rgb24pq", "ccnvt_rgb_to_st2084", rgb_to_pq},
        {"rgb24pq", "rgb24", "ccnvt_st2084_to_rgb", pq_to_rgb},
        {"2vuy", "2vuypq", "ccnvt_yuv2_to_st2084", uyvy_to_pq},
        {"2vuypq", "2vuy", "ccnvt_st2084_to_yuv2", pq_to_uyvy},
        {"v210", "v210pq", "ccnvt_v210_to_st2084", v210_to_pq},
        {"v210pq", "v210", "ccnvt_st2084_to_v210", pq_to_v210},
        // Listed before the 2vuy steps: where both reach a format in as many
        // steps (RGB), the grey pixels keep the key's levels exactly.
        {"key8", "rgba32", "ccnvt_alpha_to_rgba", key_to_rgba32},
        {"rgba32", "key8", "ccnvt_rgba_to_alpha", rgba32_to_key},
        {"2vuy", "key8", "ccnvt_2yuv_to_alphay", uyvy_to_key},
        {"key8", "2vuy", "ccnvt_alphay_to_2yuv", key_to_uyvy},
    };
    return steps;
}

std::vector<const Step*> plan_route(const Format& from, const Format& to) {
    if (from.name == to.name) return {};
    // Breadth first: the direct step when there is one, else the shortest chain.
    std::map<std::string, const Step*> reached_by;
    std::deque<std::string> queue = {from.name};
    reached_by[from.name] = nullptr;
    while (!queue.empty() && !reached_by.count(to.name)) {
        const std::string here = queue.front();
        queue.pop_front();
        for (const Step& step : conversion_steps())
            if (step.from == here && !reached_by.count(step.to)) {
                reached_by[step.to] = &step;
                queue.push_back(step.to);
            }
    }
    if (!reached_by.count(to.name))
        throw UserError("cannot convert " + from.name + " to " + to.name + " (see 'ccnvt formats')");
    std::vector<const Step*> route;
    for (std::string at_format = to.name; at_format != from.name; at_format = reached_by[at_format]->from)
        route.insert(route.begin(), reached_by[at_format]);
    return route;
}

std::string describe_route(const std::vector<const Step*>& route) {
    if (route.empty()) return "no conversion (same format)";
    std::string text;
    for (const Step* step : route) {
        if (!text.empty()) text += ", ";
        text += std::string(step->from) + " -> " + step->to + " (" + step->entry_point + ")";
    }
    return text;
}

bool route_is_banded(const std::vector<const Step*>& route) {
    return std::any_of(route.begin(), route.end(), [](const Step* step) { return step->banded; });
}

Frame run_route(Frame current, const std::vector<const Step*>& route, int threads) {
    for (const Step* step : route) {
        Frame next = make_frame(format_named(step->to), current.width, current.height);
        step->run(current, next, threads);
        current = std::move(next);
    }
    return current;
}

void check_row_pitch(const Format& format, std::uint32_t width, std::size_t row_pitch) {
    if (row_pitch == 0) return;
    const std::size_t row = format.row_bytes(width);
    if (row == 0) throw UserError("--pitch applies to formats with rows of their own; " + format.name + " is planar");
    if (row_pitch < row)
        throw UserError("--pitch " + std::to_string(row_pitch) + " is shorter than a " + format.name + " row of " +
                        std::to_string(row) + " bytes");
}

RawFrames raw_frames_in(const std::string& path, std::size_t file_bytes, const Format& format, std::uint32_t width,
                        std::uint32_t height, std::size_t row_pitch) {
    check_row_pitch(format, width, row_pitch);
    // A frame size that does not fit in a size_t is longer than any file.
    if (row_pitch != 0 && row_pitch > std::numeric_limits<std::size_t>::max() / height)
        throw UserError("'" + path + "' is " + std::to_string(file_bytes) + " bytes, shorter than one " +
                        format.name + " frame of " + std::to_string(height) + " rows " + std::to_string(row_pitch) +
                        " bytes apart");
    RawFrames frames;
    frames.frame_bytes = format.frame_bytes(width, height, row_pitch);
    frames.count = count_frames(path, file_bytes, frames.frame_bytes, format.name);
    return frames;
}

std::size_t frames_to_take(const std::string& path, std::size_t held, std::size_t wanted) {
    if (wanted == 0) return held;
    if (wanted > held)
        throw UserError("'" + path + "' holds " + std::to_string(held) + " frames, not " + std::to_string(wanted));
    return wanted;
}

Frame frame_from_pitched(const Format& format, std::uint32_t width, std::uint32_t height,
                         const unsigned char* bytes, std::size_t row_pitch) {
    const std::size_t row = format.row_bytes(width);
    if (row_pitch == 0 || row_pitch == row) return make_frame(format, width, height, bytes);
    Frame frame = make_frame(format, width, height);
    ccnvt_copy_interleaved(frame.data(), static_cast<long>(row), const_cast<unsigned char*>(bytes),
                           static_cast<long>(row_pitch), 0, static_cast<long>(height));
    return frame;
}

}  // namespace ccnvt
