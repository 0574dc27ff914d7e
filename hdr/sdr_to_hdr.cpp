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
    for (float* curve : {curves.linear, curves.pq, curves.hlg}) curve[kCurvePoints] = curve[kCurveIntervals];
    return curves;
}

}  // namespace

namespace kv_hf {
const HdrCurves& hf_hdr_luts() {
    static const HdrCurves L = sample_curves();
    return L;
}
}  // namespace kv_hf

// Stage by stage over the pixels, so that each loop is short: the
// arithmetic loops vectorise and the look-up loops keep many independent
// loads in flight.
void sdr_to_hdr_pixels_portable(const HdrCurves& curves, const float* encode,
                                const SampleChunk& samples, std::size_t first, std::size_t end,
                                unsigned char* rgba) {
    alignas(32) float video[3][kChunkPixels], wide[3][kChunkPixels];
    for (std::size_t i = first; i < end; ++i) {
        const Rgb c = decode_pixel(kSdrDecoding, samples.y[i], samples.cb[i], samples.cr[i]);
        video[0][i] = clamp_unit(c.r);
        video[1][i] = clamp_unit(c.g);
        video[2][i] = clamp_unit(c.b);
    }
    for (auto& channel : video)
        for (std::size_t i = first; i < end; ++i) channel[i] = interpolate(curves.linear, channel[i]);
    for (std::size_t i = first; i < end; ++i)
        for (int k = 0; k < 3; ++k)
            wide[k][i] = clamp_unit(kToBt2020[k][0] * video[0][i] + kToBt2020[k][1] * video[1][i] +
                                    kToBt2020[k][2] * video[2][i]);
    for (auto& channel : wide)
        for (std::size_t i = first; i < end; ++i) channel[i] = clamp_unit(interpolate(encode, channel[i]));
    write_rgba_halves(wide[0], wide[1], wide[2], first, end, rgba);
}

void sdr_to_hdr_chunk_portable(const HdrCurves& curves, const float* encode,
                               const SampleChunk& samples, std::size_t pixels,
                               unsigned char* rgba) {
    sdr_to_hdr_pixels_portable(curves, encode, samples, 0, pixels, rgba);
}

}  // namespace cconvert::detail
