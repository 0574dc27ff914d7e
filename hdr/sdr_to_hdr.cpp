// SDR to HDR: the three transfer curves, sampled once per process, and the
// portable per-pixel path (decode BT.709, linearise, move to BT.2020
// primaries, encode with PQ or HLG).
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "hdr/halffloat.h"

namespace cconvert::detail {
namespace {

// BT.1886 display gamma.
float linear_from_video(float x) { return powf(x, 2.4f); }

// ST 2084 with the signal relative to reference white at 203 cd/m2.
float pq_from_relative(float x) {
    constexpr float m1 = 0.15930176f, m2 = 78.84375f;
    constexpr float c1 = 0.8359375f, c2 = 18.851563f, c3 = 18.6875f;
    const float n = x * 203.0f / 10000.0f;
    const float p = powf(n, m1);
    return std::clamp(powf((c1 + c2 * p) / (1.0f + c3 * p), m2), 0.0f, 1.0f);
}

// HLG OETF of x times the scene light of HLG reference white.
float hlg_from_relative(float x) {
    constexpr float a = 0.17883277f, b = 0.28466892f, c = 0.5599107f;
    const float s = x * 0.26496f;
    if (s < 0.0f) return 0.0f;
    if (s <= 0.083333336f) return sqrtf(3.0f * s);
    const float argument = s > 1.0f ? 12.0f - b : 12.0f * s - b;
    return a * logf(argument) + c;
}

HdrCurves sample_curves() {
    HdrCurves curves;
    for (std::size_t i = 0; i < kCurvePoints; ++i) {
        const float x = static_cast<float>(i) / static_cast<float>(kCurveIntervals);
        curves.linear[i] = linear_from_video(x);
        curves.pq[i] = pq_from_relative(x);
        curves.hlg[i] = hlg_from_relative(x);
    }
    return curves;
}

float clamp_unit(float v) { return std::min(std::max(v, 0.0f), 1.0f); }

}  // namespace

namespace kv_hf {
const HdrCurves& hf_hdr_luts() {
    static const HdrCurves L = sample_curves();
    return L;
}
}  // namespace kv_hf

void sdr_to_hdr_pixels_portable(const HdrCurves& curves, const float* encode,
                                const SampleChunk& samples, std::size_t first, std::size_t end,
                                unsigned char* rgba) {
    for (std::size_t i = first; i < end; ++i) {
        const Rgb video = decode_pixel(kSdrDecoding, samples.y[i], samples.cb[i], samples.cr[i]);
        const float r = interpolate(curves.linear, clamp_unit(video.r));
        const float g = interpolate(curves.linear, clamp_unit(video.g));
        const float b = interpolate(curves.linear, clamp_unit(video.b));
        float wide[3];
        for (int k = 0; k < 3; ++k)
            wide[k] = clamp_unit(kToBt2020[k][0] * r + kToBt2020[k][1] * g + kToBt2020[k][2] * b);
        store_rgba_half(rgba + kBytesPerRgbaHalfPixel * i,
                        half_from_channel(interpolate(encode, wide[0])),
                        half_from_channel(interpolate(encode, wide[1])),
                        half_from_channel(interpolate(encode, wide[2])));
    }
}

void sdr_to_hdr_chunk_portable(const HdrCurves& curves, const float* encode,
                               const SampleChunk& samples, std::size_t pixels,
                               unsigned char* rgba) {
    sdr_to_hdr_pixels_portable(curves, encode, samples, 0, pixels, rgba);
}

}  // namespace cconvert::detail
