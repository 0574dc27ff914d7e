// The registered converters, one line each, grouped by family: name, input
// and output layouts, kernel classes, width and height steps, the nearest
// peer's benchmark, and the call (d is the output frame, s the input, w and h
// its size). A peer is named only where it does comparable work: libyuv has
// no 16-bit plane splits, and the reduced-preview table decoders have no
// counterpart (full-size decoding compares through libycbcr).
#include "registry/kernel_registry.h"

#include <cstdint>

#include "cconvert/cconvert.h"
#include "kvutil.h"
#include "ycbcr.h"

namespace cconvert::registry {

namespace {

std::size_t pixels(long w, long h) { return static_cast<std::size_t>(w) * static_cast<std::size_t>(h); }
std::size_t v210_row(long w) { return 128 * static_cast<std::size_t>((w + 47) / 48); }
// ST 2110-20 packets of 550 pixels and their 20-byte headers in 1395-byte slots.
constexpr std::size_t kRtpSlot = 1395;
constexpr long kRtpPixels = 550;

const Layout kAlpha8{"alpha8", [](long w, long h) { return pixels(w, h); }};
const Layout k2vuy{"2vuy", [](long w, long h) { return 2 * pixels(w, h); }};
const Layout kRgb16{"rgb16", [](long w, long h) { return 2 * pixels(w, h); }};
const Layout kRgb24{"rgb24", [](long w, long h) { return 3 * pixels(w, h); }};
const Layout kRgba32{"rgba32", [](long w, long h) { return 4 * pixels(w, h); }};
const Layout kY210{"y210", [](long w, long h) { return 4 * pixels(w, h); }};
const Layout kRgb48{"rgb48", [](long w, long h) { return 6 * pixels(w, h); }};
const Layout kRgba64{"rgba64", [](long w, long h) { return 8 * pixels(w, h); }};
const Layout kRgbaHalf{"rgba_half", [](long w, long h) { return 8 * pixels(w, h); }};
const Layout kPlanes3x8{"planes3x8", [](long w, long h) { return 3 * pixels(w, h); }};
const Layout kPlanes4x8{"planes4x8", [](long w, long h) { return 4 * pixels(w, h); }};
const Layout kPlanes3x16{"planes3x16", [](long w, long h) { return 6 * pixels(w, h); }};
const Layout kPlanes4x16{"planes4x16", [](long w, long h) { return 8 * pixels(w, h); }};
const Layout kI420{"i420", [](long w, long h) { return pixels(w, h) * 3 / 2; }};
const Layout k420p16{"420p16", [](long w, long h) { return pixels(w, h) * 3; }};
const Layout kV210{"v210", [](long w, long h) { return v210_row(w) * static_cast<std::size_t>(h); }};
const Layout kPacked10{"packed10", [](long w, long h) { return 5 * static_cast<std::size_t>((w + 1) / 2) * h; }};
const Layout kRtp{"rtp", [](long w, long h) {
                      return kRtpSlot * static_cast<std::size_t>((w + kRtpPixels - 1) / kRtpPixels) * h;
                  }};

// Types some entry points take.
unsigned u(long value) { return static_cast<unsigned>(value); }
int i(long value) { return static_cast<int>(value); }
unsigned int* words32(unsigned char* bytes) { return reinterpret_cast<unsigned int*>(bytes); }
unsigned short* words16(unsigned char* bytes) { return reinterpret_cast<unsigned short*>(bytes); }
unsigned char* plane(unsigned char* planes, long w, long h, int sample_bytes, int index) {
    return planes + pixels(w, h) * sample_bytes * index;
}

// A frame of v210 rows cut into ST 2110-20 packets.
void v210_to_rtp(unsigned char* d, unsigned char* s, long w, long h) {
    unsigned short sequence = 0;
    ccnvt_v210_frame_to_rtp_4175(d, static_cast<std::int64_t>(kRtp.bytes(w, h)), &sequence, 0, 0, 0, s, u(w),
                                 u(h), nullptr, nullptr);
}

// Each row of packed 10-bit pixel groups decoded as one segment at phase 0.
void segments_to_v210(unsigned char* d, unsigned char* s, long w, long h) {
    const std::size_t segment = 5 * static_cast<std::size_t>(w / 2);
    for (long row = 0; row < h; ++row)
        ccnvt_4175_to_v210(words32(d + row * v210_row(w)), s + row * segment, static_cast<unsigned>(segment),
                           static_cast<unsigned>((segment + 4) / 5), 0);
}

const cycbcr_matrix* matrix_for(long w, long h) { return GetMatrixBySize(i(w), i(h), 0); }

}  // namespace

#define KERNEL(name, in, out, classes, width_step, height_step, peer, call)                                 \
    Kernel {                                                                                                \
        name, in, out, classes, width_step, height_step,                                                    \
            [](unsigned char* d, [[maybe_unused]] unsigned char* s, long w, long h) { call; }, peer         \
    }

const std::vector<Kernel>& kernels() {
    static const std::vector<Kernel> all = {
        // ---- 2vuy and v210 ----
        KERNEL("2vuy_to_v210", k2vuy, kV210, kSseAndAvx2, 2, 1, "ffmpeg_v210_encode",
               ccnvt_2vuy_v210(d, s, u(w), u(h), 0)),
        KERNEL("v210_to_2vuy", kV210, k2vuy, kSseAndAvx2, 2, 1, "ffmpeg_v210_decode",
               ccnvt_v210_2vuy(d, s, u(w), u(h), 0)),
        KERNEL("yuv2_to_2vuy", k2vuy, k2vuy, kAvx2, 2, 1, "libyuv_YUY2ToUYVY",
               ccnvt_yuv2_2vuy(d, s, w, h)),

        // ---- RGB to and from 4:2:2 ----
        KERNEL("rgb32_to_2vuy", kRgba32, k2vuy, kAvx2, 2, 1, "libyuv_ARGBToUYVY",
               ccnvt_rgb32_2vuy(d, 0, s, 0, w, h)),
        KERNEL("rgb32_to_v210", kRgba32, kV210, kAvx2, 2, 1, nullptr, ccnvt_rgb32_v210(d, 0, s, 0, w, h)),
        KERNEL("hd_rgb_to_2vuy", kRgba32, k2vuy, kAvx2, 2, 1, "libyuv_ARGBToUYVY",
               hd_rgb_to_2vuy(s, d, i(w * h), 0)),
        KERNEL("table_2vuy_to_rgb32", k2vuy, kRgba32, kPortableOnly, 2, 1, nullptr,
               ccnvt_yuv422_rgb24(d, 4 * w, s, 2 * w, w, h, 1)),
        KERNEL("table_v210_to_rgb32", kV210, kRgba32, kPortableOnly, 6, 1, nullptr,
               ccnvt_v210_rgb24(d, 4 * w, s, static_cast<long>(v210_row(w)), w, h, 1)),
        KERNEL("libycbcr_uyvy_to_rgb32", k2vuy, kRgba32, kAvx2, 2, 1, "libyuv_UYVYToARGB",
               cycbcr_uyvy_to_rgb32(d, s, i(w), i(h), 0, 0, matrix_for(w, h), 0)),
        KERNEL("libycbcr_uyvy_to_rgb24", k2vuy, kRgb24, kAvx2, 2, 1, "libyuv_UYVYToRGB24",
               cycbcr_uyvy_to_rgb24(d, s, i(w), i(h), 0, 0, matrix_for(w, h), 0)),
        KERNEL("libycbcr_v210_to_rgb32", kV210, kRgba32, kAvx2, 6, 1, nullptr,
               cycbcr_012v_to_rgb32(d, s, i(w), i(h), 0, 0, matrix_for(w, h), 0)),
        KERNEL("libycbcr_i420_to_rgb32", kI420, kRgba32, kAvx2, 2, 2, "libyuv_I420ToARGB",
               cycbcr_i420_to_rgb32(d, s, i(w), i(h), 0, 0, matrix_for(w, h), 0)),

        // ---- planar and semi-planar ----
        KERNEL("2vuy_to_i420", k2vuy, kI420, kSseAndAvx2, 2, 2, "libyuv_UYVYToI420",
               ccnvt_2vuy_i420(d, s, u(w), u(h), 0)),
        KERNEL("YUY2toYV12", k2vuy, kI420, kSseAndAvx2, 2, 2, "libyuv_YUY2ToI420",
               YUY2toYV12(s, d, d + w * h, d + w * h + w * h / 4, i(w), i(h), i(w), i(w))),
        KERNEL("NV12_to_uyvy", kI420, k2vuy, kSseAndAvx2, 2, 2, "libyuv_NV12ToI420_I420ToUYVY",
               cycbcr_NV12_to_uyvy(d, s, u(w), u(h), u(2 * w))),
        KERNEL("NV12_to_v210", kI420, kV210, kSseAndAvx2, 6, 2, nullptr,
               cycbcr_NV12_to_v210(d, s, u(w), u(h), u(v210_row(w)))),
        KERNEL("NV10_to_uyvy", k420p16, k2vuy, kAvx2, 2, 2, nullptr,
               cycbcr_NV10_to_uyvy(d, words16(s), u(w), u(h), u(2 * w))),
        KERNEL("420p10_to_NV12p16", k420p16, k420p16, kAvx2, 2, 2, "libyuv_I010ToP010",
               cycbcr_420p10_to_NV12p16(words16(d), words16(s), u(w * h * 3))),
        KERNEL("Y210_to_v210", kY210, kV210, kAvx2, 2, 1, nullptr,
               ccnvt_Y210_to_v210(d, s, u(v210_row(w)), u(4 * w), u(w), u(h))),
        KERNEL("Y210_to_uyvy", kY210, k2vuy, kAvx2, 2, 1, nullptr,
               ccnvt_Y210_to_uyvy(d, s, u(2 * w), u(4 * w), u(w), u(h))),

        // ---- packed 10-bit and ST 2110-20 ----
        KERNEL("packed10_to_uyvy", kPacked10, k2vuy, kSseAndAvx2, 2, 1, "ffmpeg_bitpacked_decode",
               kv_ycbcr422_packed10_to_uyvy(s, 0, i(w), 0, i(h), d, 0)),
        KERNEL("uyvy_to_packed10", k2vuy, kPacked10, kSseAndAvx2, 2, 1, nullptr,
               kv_ycbcr422_uyvy_to_packed10(s, 0, i(w), 0, i(h), d, 0)),
        KERNEL("packed10_to_v210", kPacked10, kV210, kSseAndAvx2, 2, 1, "ffmpeg_bitpacked_decode",
               ccnvt_ycbcr422_packed10_to_v210(s, 0, i(w), 0, i(h), i(h), d, 0, false)),
        KERNEL("v210_to_packed10", kV210, kPacked10, kSseAndAvx2, 2, 1, nullptr,
               ccnvt_ycbcr422_v210_to_packed10(s, 0, i(w), 0, i(h), i(h), d, 0, false)),
        KERNEL("YCbCr10Packed_to_v210", kPacked10, kV210, kSseAndAvx2, 2, 1, "ffmpeg_bitpacked_decode",
               ccnvt_YCbCr10Packed_to_v210(d, s, u(w), u(h), 0)),
        KERNEL("v210_to_YCbCr10Packed", kV210, kPacked10, kSseAndAvx2, 2, 1, nullptr,
               ccnvt_v210_to_YCbCr10Packed(d, s, u(w), u(h), 0, 0)),
        KERNEL("v210_frame_to_rtp_4175", kV210, kRtp, kSseAndAvx2, 2, 1, nullptr, v210_to_rtp(d, s, w, h)),
        KERNEL("4175_to_v210", kPacked10, kV210, kSseAndAvx2, 2, 1, "ffmpeg_bitpacked_decode",
               segments_to_v210(d, s, w, h)),

        // ---- 8- and 16-bit RGB ----
        KERNEL("rgba32_rgb24", kRgba32, kRgb24, kSseAndAvx2, 1, 1, "libyuv_ARGBToRGB24",
               ccnvt_rgba32_rgb24_inplace(d, 3 * w, s, 4 * w, w, h)),
        KERNEL("rgb24_rgba32", kRgb24, kRgba32, kSseAndAvx2, 1, 1, "libyuv_RGB24ToARGB",
               ccnvt_rgb24_rgba32_inplace(d, 4 * w, s, 3 * w, w, h)),
        KERNEL("rgb24_rgba32_in_place", kRgb24, kRgba32, kSseAndAvx2, 1, 1, "libyuv_RGB24ToARGB",
               ccnvt_rgb24_rgba32_inplace(d, 4 * w, d, 3 * w, w, h)),
        KERNEL("rgba32_bgra32", kRgba32, kRgba32, kSseAndAvx2, 1, 1, "libyuv_ARGBToABGR",
               ccnvt_rgba32_bgra32_inplace(d, 4 * w, s, 4 * w, w, h)),
        KERNEL("rgba32_argb32", kRgba32, kRgba32, kSseAndAvx2, 1, 1, "libyuv_ARGBShuffle_rotate",
               ccnvt_rgba32_argb32(d, 4 * w, s, 4 * w, w, h)),
        KERNEL("bgra2abgr_span", kRgba32, kRgba32, kSseAndAvx2, 1, 1, "libyuv_ARGBShuffle_rotate",
               bgra2abgr(words32(d), words32(s), u(w * h))),
        KERNEL("rgba32_rgb16", kRgba32, kRgb16, kSseAndAvx2, 1, 1, "libyuv_ARGBToARGB1555",
               ccnvt_rgba32_rgb16(d, 2 * w, s, 4 * w, w, h)),
        KERNEL("rgba32_rgb16_565", kRgba32, kRgb16, kSseAndAvx2, 1, 1, "libyuv_ARGBToRGB565",
               ccnvt_rgba32_rgb16_565(d, 2 * w, s, 4 * w, w, h)),
        KERNEL("rgba32_rgb16_dithered", kRgba32, kRgb16, kSseAndAvx2, 1, 1, "libyuv_ARGBToRGB565Dither",
               ccnvt_rgba32_rgb16_dithered(d, 2 * w, s, 4 * w, w, h)),
        KERNEL("rgba32_rgb16_565_dithered", kRgba32, kRgb16, kSseAndAvx2, 1, 1, "libyuv_ARGBToRGB565Dither",
               ccnvt_rgba32_rgb16_565_dithered(d, 2 * w, s, 4 * w, w, h)),
        KERNEL("rgb16_rgba32", kRgb16, kRgba32, kSseAndAvx2, 1, 1, "libyuv_ARGB1555ToARGB",
               ccnvt_rgb16_rgba32_inplace(d, 4 * w, s, 2 * w, w, h)),
        KERNEL("rgb16_rgb24", kRgb16, kRgb24, kSseAndAvx2, 1, 1, nullptr, ccnvt_rgb16_rgb24(d, 3 * w, s, 2 * w, w, h)),

        // ---- 48- and 64-bit RGB, planar RGB ----
        KERNEL("rgba64_rgba32", kRgba64, kRgba32, kSseAndAvx2, 1, 1, "libyuv_AR64ToARGB",
               ccnvt_rgba64_rgba32(d, 4 * w, s, 8 * w, w, h, 16)),
        KERNEL("argb64_rgba32", kRgba64, kRgba32, kSseAndAvx2, 1, 1, "libyuv_AR64ToARGB",
               ccnvt_argb64_rgba32(d, 4 * w, s, 8 * w, w, h, 16)),
        KERNEL("bgra64_rgba32", kRgba64, kRgba32, kSseAndAvx2, 1, 1, "libyuv_AB64ToARGB",
               ccnvt_bgra64_rgba32(d, 4 * w, s, 8 * w, w, h, 16)),
        KERNEL("rgb48_rgba32", kRgb48, kRgba32, kSseAndAvx2, 1, 1, "libyuv_AB64ToARGB",
               ccnvt_rgb48_rgba32(d, 4 * w, s, 6 * w, w, h, 16)),
        KERNEL("argb64be_rgba32", kRgba64, kRgba32, kSseAndAvx2, 1, 1, "libyuv_AR64ToARGB",
               ccnvt_argb64be_rgba32(d, 4 * w, s, 8 * w, w, h, 16, 0)),
        KERNEL("rgba32_rgba64", kRgba32, kRgba64, kSseAndAvx2, 1, 1, "libyuv_ARGBToAR64",
               ccnvt_rgba32_rgba64(d, 8 * w, s, 4 * w, w, h, 16)),
        KERNEL("rgba32_argb64", kRgba32, kRgba64, kSseAndAvx2, 1, 1, "libyuv_ARGBToAR64",
               ccnvt_rgba32_argb64(d, 8 * w, s, 4 * w, w, h, 16)),
        KERNEL("bgra32_rgba64", kRgba32, kRgba64, kSseAndAvx2, 1, 1, "libyuv_ARGBToAB64",
               ccnvt_bgra32_rgba64(d, 8 * w, s, 4 * w, w, h, 16)),
        KERNEL("rgba32_rgb48", kRgba32, kRgb48, kSseAndAvx2, 1, 1, "libyuv_ARGBToAB64",
               ccnvt_rgba32_rgb48(d, 6 * w, s, 4 * w, w, h, 16)),
        KERNEL("rgb48_rgba64", kRgb48, kRgba64, kSseAndAvx2, 1, 1, "libyuv_ARGBToAR64",
               ccnvt_rgb48_rgba64(d, 8 * w, s, 6 * w, w, h)),
        KERNEL("argb64_reorder", kRgba64, kRgba64, kSseAndAvx2, 1, 1, "libyuv_AR64Shuffle",
               ccnvt_argb64_reorder(d, s, w, h, 0, 2, 64, 64)),
        KERNEL("rgba32_rgba_planar", kRgba32, kPlanes4x8, kSseAndAvx2, 1, 1, "libyuv_SplitARGBPlane",
               ccnvt_rgba32_rgba_planar(plane(d, w, h, 1, 0), plane(d, w, h, 1, 1), plane(d, w, h, 1, 2),
                                        plane(d, w, h, 1, 3), w, s, 4 * w, w, h)),
        KERNEL("rgb24_rgb_planar", kRgb24, kPlanes3x8, kSseAndAvx2, 1, 1, "libyuv_SplitRGBPlane",
               ccnvt_rgb24_rgb_planar(plane(d, w, h, 1, 0), plane(d, w, h, 1, 1), plane(d, w, h, 1, 2), w, s,
                                      3 * w, w, h)),
        KERNEL("rgba64_rgba_planar16", kRgba64, kPlanes4x16, kSseAndAvx2, 1, 1, nullptr,
               ccnvt_rgba64_rgba_planar16(plane(d, w, h, 2, 0), plane(d, w, h, 2, 1), plane(d, w, h, 2, 2),
                                          plane(d, w, h, 2, 3), 2 * w, s, 8 * w, w, h)),
        KERNEL("rgb48_rgb_planar16", kRgb48, kPlanes3x16, kSseAndAvx2, 1, 1, nullptr,
               ccnvt_rgb48_rgb_planar16(plane(d, w, h, 2, 0), plane(d, w, h, 2, 1), plane(d, w, h, 2, 2), 2 * w,
                                        s, 6 * w, w, h)),

        // ---- flips ----
        KERNEL("flip_vert", kRgba32, kRgba32, kPortableOnly, 1, 1, "libyuv_CopyPlane_flipped",
               ccnvt_flip_vert(d, s, 0, u(h), u(4 * w))),
        KERNEL("flip_vert_in_place", kRgba32, kRgba32, kPortableOnly, 1, 1, "libyuv_CopyPlane_flipped",
               ccnvt_flip_vert(d, d, 0, u(h), u(4 * w))),
        KERNEL("flip_horz", kRgba32, kRgba32, kSseAndAvx2, 1, 1, "libyuv_ARGBMirror",
               ccnvt_flip_horz(words32(d), words32(s), u(w), u(h), u(4 * w))),
        KERNEL("flip_horz_in_place", kRgba32, kRgba32, kSseAndAvx2, 1, 1, "libyuv_ARGBMirror",
               ccnvt_flip_horz(words32(d), words32(d), u(w), u(h), u(4 * w))),

        // ---- alpha ----
        KERNEL("alpha_to_rgba", kAlpha8, kRgba32, kAvx2, 1, 1, "libyuv_ARGBCopyYToAlpha",
               ccnvt_alpha_to_rgba(d, 4 * w, s, w, w, h)),
        KERNEL("rgba_to_alpha", kRgba32, kAlpha8, kAvx2, 1, 1, "libyuv_ARGBExtractAlpha",
               ccnvt_rgba_to_alpha(d, w, s, 4 * w, w, h)),
        KERNEL("rgba_setalpha", kRgba32, kRgba32, kAvx2, 1, 1, nullptr, ccnvt_rgba_setalpha(d, 4 * w, 0x80, w, h)),
        KERNEL("rgba_addalpha", kRgb24, kRgba32, kAvx2, 1, 1, "libyuv_RGB24ToARGB",
               ccnvt_rgba_addalpha(s, d, 3 * w, 4 * w, 0xFF, w, h)),
        KERNEL("alphay_to_2yuv", kAlpha8, k2vuy, kSseAndAvx2, 2, 1, nullptr,
               ccnvt_alphay_to_2yuv(d, 2 * w, s, w, w, i(h))),
        KERNEL("2yuv_to_alphay", k2vuy, kAlpha8, kSseAndAvx2, 2, 1, "libyuv_UYVYToY",
               ccnvt_2yuv_to_alphay(d, w, s, 2 * w, w, h)),
        KERNEL("2yuv_strip_chroma", k2vuy, k2vuy, kSseAndAvx2, 2, 1, nullptr,
               ccnvt_2yuv_strip_chroma(d, 2 * w, s, 2 * w, w, h)),

        // ---- HDR ----
        KERNEL("yCbCr10_to_halffloat", kV210, kRgbaHalf, kAvx2, 6, 1, "libyuv_HalfFloatPlane",
               yCbCr10_to_halffloat(d, 8 * w, s, static_cast<long>(v210_row(w)), w, h, 1, 0)),
        KERNEL("yCbCr8_to_halffloat", k2vuy, kRgbaHalf, kAvx2, 2, 1, "libyuv_HalfFloatPlane",
               yCbCr8_to_halffloat(d, 8 * w, s, 2 * w, w, h, 1, 0)),
        KERNEL("yCbCr10_to_halffloat_sdr_to_hdr_pq", kV210, kRgbaHalf, kAvx2, 6, 1, nullptr,
               yCbCr10_to_halffloat_sdr_to_hdr(d, 8 * w, s, static_cast<long>(v210_row(w)), w, h, 0)),
        KERNEL("rgb_to_st2084", kRgba32, kRgba32, kPortableOnly, 1, 1, "libyuv_ARGBColorTable",
               ccnvt_rgb_to_st2084(d, s, u(4 * w), u(4 * w), u(h))),
        KERNEL("st2084_to_rgb", kRgba32, kRgba32, kPortableOnly, 1, 1, "libyuv_ARGBColorTable",
               ccnvt_st2084_to_rgb(d, s, u(4 * w), u(4 * w), u(h))),
        KERNEL("v210_to_st2084", kV210, kV210, kPortableOnly, 6, 1, nullptr,
               ccnvt_v210_to_st2084(d, s, u(v210_row(w)), u(v210_row(w)), u(h))),
    };
    return all;
}

#undef KERNEL

std::vector<unsigned int> feature_words_of(const Kernel& kernel, unsigned int available) {
    std::vector<unsigned int> words = {0};
    if ((kernel.classes & kSse) && (available & KV_CPU_SSE)) words.push_back(KV_CPU_SSE);
    if ((kernel.classes & kAvx2) && (available & KV_CPU_AVX2) && (available & KV_CPU_SSE))
        words.push_back(KV_CPU_SSE | KV_CPU_AVX2);
    return words;
}

const char* kernel_class_name(unsigned int feature_word) {
    if (feature_word & KV_CPU_AVX2) return "avx2";
    if (feature_word & KV_CPU_SSE) return "sse";
    return "portable";
}

}  // namespace cconvert::registry
