// YCbCr to half-float RGBA: the pieces shared by the portable and the F16C
// row code. All arithmetic is single precision, in the order written here;
// the hdr sources are compiled without floating-point contraction so that
// no multiply and add are ever fused.
#ifndef CCONVERT_HDR_HALFFLOAT_H
#define CCONVERT_HDR_HALFFLOAT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace cconvert::detail {

// ---- float to binary16 ----

constexpr std::uint16_t kHalfZero = 0x0000;
constexpr std::uint16_t kHalfOne = 0x3C00;

// Round to nearest, ties to even, on the 13 mantissa bits that binary16
// drops; subnormal results down to 2^-24, smaller magnitudes to signed zero,
// overflow to signed infinity, infinity and NaN to sign | 0x7C00 (| 0x200
// for a NaN).
inline std::uint16_t half_from_float(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const std::uint32_t sign = (bits >> 16) & 0x8000u;
    const std::uint32_t magnitude = bits & 0x7FFFFFFFu;
    const std::uint32_t exponent = magnitude >> 23;  // biased by 127
    if (exponent == 0xFF)
        return static_cast<std::uint16_t>(sign | 0x7C00u | ((magnitude & 0x7FFFFFu) != 0 ? 0x200u : 0u));
    if (exponent >= 113) {
        // Normal binary16 or overflow: rebias, round, and let a carry out of
        // the mantissa step the exponent.
        const std::uint32_t rounded =
            (magnitude - ((127u - 15u) << 23) + 0xFFFu + ((magnitude >> 13) & 1u)) >> 13;
        return static_cast<std::uint16_t>(sign | (rounded >= 0x7C00u ? 0x7C00u : rounded));
    }
    if (exponent < 102) return static_cast<std::uint16_t>(sign);  // below 2^-25
    // Subnormal binary16: value / 2^-24 = mantissa * 2^(exponent - 126).
    const std::uint32_t mantissa = (magnitude & 0x7FFFFFu) | 0x800000u;
    const std::uint32_t shift = 126u - exponent;  // 14 .. 24
    const std::uint32_t kept = mantissa >> shift;
    const std::uint32_t dropped = mantissa & ((1u << shift) - 1u);
    const std::uint32_t half_way = 1u << (shift - 1u);
    const std::uint32_t round_up = dropped > half_way || (dropped == half_way && (kept & 1u) != 0);
    return static_cast<std::uint16_t>(sign | (kept + round_up));
}

// Every colour channel: below 0 gives 0, above 1 gives 1.0, anything else
// (including -0 and NaN, which fail both tests) is converted.
inline std::uint16_t half_from_channel(float value) {
    if (value < 0.0f) return kHalfZero;
    if (value > 1.0f) return kHalfOne;
    return half_from_float(value);
}

// The same conversion for a value known to lie in [+0, 1]: branch-free, so
// that loops of it vectorise. A subnormal result comes from adding 0.5,
// whose last mantissa bit is worth 2^-24, the subnormal binary16 step: the
// addition itself rounds to nearest even.
inline std::uint16_t half_from_unit(float value) {
    std::uint32_t bits, shifted;
    const float plus_half = value + 0.5f;
    std::memcpy(&bits, &value, sizeof bits);
    std::memcpy(&shifted, &plus_half, sizeof shifted);
    const std::uint32_t normal = (bits - ((127u - 15u) << 23) + 0xFFFu + ((bits >> 13) & 1u)) >> 13;
    const std::uint32_t subnormal = shifted - 0x3F000000u;  // minus the bits of 0.5
    const std::uint32_t is_subnormal = 0u - static_cast<std::uint32_t>(bits < 0x38800000u);  // below 2^-14
    return static_cast<std::uint16_t>((subnormal & is_subnormal) | (normal & ~is_subnormal));
}

// For values that are never NaN (and never -0); compiles to min and max.
inline float clamp_unit(float v) { return std::min(std::max(v, 0.0f), 1.0f); }

// Output pixel: R, G, B, A as binary16, 8 bytes.
constexpr std::size_t kBytesPerRgbaHalfPixel = 8;

inline void store_rgba_half(unsigned char* pixel, std::uint16_t r, std::uint16_t g, std::uint16_t b) {
    const std::uint16_t rgba[4] = {r, g, b, kHalfOne};
    std::memcpy(pixel, rgba, sizeof rgba);
}

// ---- YCbCr decoding ----

// Matrix selectors, numbered as the mp_csp colour-space enumeration.
constexpr int kMpCspBt601 = 1;
constexpr int kMpCspBt2020NonConstant = 4;

// y = (Y - luma_offset) * luma_scale, cb and cr alike with the chroma
// centre and scale; R = y + kr cr, G = y + kgb cb + kgr cr, B = y + kb cb.
struct MatrixCoefficients {
    float kr, kgb, kgr, kb;
};
struct SampleRange {
    float luma_offset, luma_scale, chroma_centre, chroma_scale;
};
struct YCbCrDecoding {
    SampleRange range;
    MatrixCoefficients matrix;
};

constexpr MatrixCoefficients kBt601{1.402f, -0.3441363f, -0.7141363f, 1.772f};
constexpr MatrixCoefficients kBt709{1.5748f, -0.18732427f, -0.46812427f, 1.8556f};
constexpr MatrixCoefficients kBt2020{1.4746f, -0.16455312f, -0.57135314f, 1.8814f};

// Scales are the floats nearest to the fractions.
constexpr SampleRange k10BitVideo{64.0f, 1.0f / 876.0f, 512.0f, 1.0f / 896.0f};
constexpr SampleRange k10BitFull{0.0f, 1.0f / 1023.0f, 512.0f, 1.0f / 1023.0f};
constexpr SampleRange k8BitVideo{16.0f, 1.0f / 219.0f, 128.0f, 1.0f / 224.0f};
constexpr SampleRange k8BitFull{0.0f, 1.0f / 255.0f, 128.0f, 1.0f / 255.0f};

// The decoding for a matrix selector (mp_csp number), sample depth (8 or
// 10) and range.
YCbCrDecoding ycbcr_decoding(int matrix, int bits, bool full_range);

// The SDR-to-HDR path decodes BT.709 10-bit video range, whatever the source.
constexpr YCbCrDecoding kSdrDecoding{k10BitVideo, kBt709};

struct Rgb {
    float r, g, b;
};

inline Rgb decode_pixel(const YCbCrDecoding& d, std::int32_t luma, std::int32_t blue_difference,
                        std::int32_t red_difference) {
    const SampleRange& s = d.range;
    const MatrixCoefficients& m = d.matrix;
    const float y = (static_cast<float>(luma) - s.luma_offset) * s.luma_scale;
    const float cb = (static_cast<float>(blue_difference) - s.chroma_centre) * s.chroma_scale;
    const float cr = (static_cast<float>(red_difference) - s.chroma_centre) * s.chroma_scale;
    return {y + m.kr * cr, y + m.kgb * cb + m.kgr * cr, y + m.kb * cb};
}

// A chunk of a row as integer samples, one entry per pixel; the two pixels
// of a pair carry their shared chroma each. Vector unpacking may write up
// to eight entries past the chunk.
constexpr std::size_t kChunkPixels = 384;  // whole v210 groups and 2vuy pairs
constexpr std::size_t kChunkSlack = 8;
struct SampleChunk {
    alignas(32) std::int32_t y[kChunkPixels + kChunkSlack];
    alignas(32) std::int32_t cb[kChunkPixels + kChunkSlack];
    alignas(32) std::int32_t cr[kChunkPixels + kChunkSlack];
};

// Fills the chunk with pixels [first, first + pixels) of a row, reading the
// source in whole groups; first is a multiple of the chunk size.
using Unpack = void (*)(const unsigned char* row, std::size_t first, std::size_t pixels,
                        SampleChunk& chunk);
void unpack_v210_portable(const unsigned char*, std::size_t, std::size_t, SampleChunk&);
void unpack_2vuy_portable(const unsigned char*, std::size_t, std::size_t, SampleChunk&);
// Chunk pixels [from, to) (from even) from the 2vuy pairs of the chunk.
void put_2vuy_pairs(const unsigned char* pairs, std::size_t from, std::size_t to,
                    SampleChunk& chunk);
void unpack_v210_avx2(const unsigned char*, std::size_t, std::size_t, SampleChunk&);
void unpack_2vuy_avx2(const unsigned char*, std::size_t, std::size_t, SampleChunk&);

// ---- SDR to HDR ----

constexpr int kTransferHlg = 1;

// The curves sampled at x = i / 4096, i = 0 .. 4096.
constexpr std::size_t kCurveIntervals = 4096;
constexpr std::size_t kCurvePoints = kCurveIntervals + 1;
// Each curve keeps one point more, a copy of the last, so that vector code
// can load t[i] and t[i + 1] together even at i = 4096.
constexpr std::size_t kCurveStored = kCurvePoints + 1;
struct HdrCurves {
    float linear[kCurveStored];  // x^2.4
    float pq[kCurveStored];      // PQ of x * 203 cd/m2
    float hlg[kCurveStored];     // HLG of x * the scene light of reference white
};

namespace kv_hf {
// The curves, filled by the first call that needs them (under the guard of a
// function-local static, so concurrent first calls wait for one fill) and
// never changed afterwards.
const HdrCurves& hf_hdr_luts();
}  // namespace kv_hf

// t at v, interpolated linearly between its 4097 points.
inline float interpolate(const float* t, float v) {
    if (v < 0.0f) return t[0];
    if (v > 1.0f) return t[kCurveIntervals];
    const float p = v * static_cast<float>(kCurveIntervals);
    const auto i = static_cast<std::int32_t>(p);
    // At v = 1 (i = 4096) next is i too, and the sum t[4096] + 0 is exactly
    // t[4096]: no branch in the per-pixel path.
    const std::int32_t next = std::min(i + 1, static_cast<std::int32_t>(kCurveIntervals));
    return t[i] + (t[next] - t[i]) * (p - static_cast<float>(i));
}

// BT.709 to BT.2020 primaries in linear light, one row per output channel.
constexpr float kToBt2020[3][3] = {{0.627404f, 0.329282f, 0.0433136f},
                                   {0.069097f, 0.91954f, 0.0113612f},
                                   {0.0163916f, 0.0880132f, 0.895595f}};

// ---- chunk converters ----

// Writes `pixels` RGBA pixels from the chunk.
using DecodeChunk = void (*)(const YCbCrDecoding& decoding, const SampleChunk& samples,
                             std::size_t pixels, unsigned char* rgba);
// SDR to HDR; `encode` is the PQ or the HLG curve.
using SdrToHdrChunk = void (*)(const HdrCurves& curves, const float* encode,
                               const SampleChunk& samples, std::size_t pixels,
                               unsigned char* rgba);

// Pixels [first, end) of a chunk in portable code: the reference, and the
// tails of the F16C code.
void decode_pixels_portable(const YCbCrDecoding& decoding, const SampleChunk& samples,
                            std::size_t first, std::size_t end, unsigned char* rgba);
void sdr_to_hdr_pixels_portable(const HdrCurves& curves, const float* encode,
                                const SampleChunk& samples, std::size_t first, std::size_t end,
                                unsigned char* rgba);

// Clamped channels to RGBA halves, pixels [first, end).
void write_rgba_halves(const float* r, const float* g, const float* b, std::size_t first,
                       std::size_t end, unsigned char* rgba);

void decode_chunk_portable(const YCbCrDecoding&, const SampleChunk&, std::size_t, unsigned char*);
void sdr_to_hdr_chunk_portable(const HdrCurves&, const float*, const SampleChunk&, std::size_t,
                               unsigned char*);

// Eight pixels at a time with AVX2 arithmetic and F16C conversion; the same
// operations in the same order, so the same bits.
void decode_chunk_f16c(const YCbCrDecoding&, const SampleChunk&, std::size_t, unsigned char*);
void sdr_to_hdr_chunk_f16c(const HdrCurves&, const float*, const SampleChunk&, std::size_t,
                           unsigned char*);

// The row code of one call, chosen once from the processor feature word:
// the F16C set when AVX2-class kernels are allowed and this processor has
// AVX2 and F16C, else the portable set. Both give the same bits.
struct RowCode {
    Unpack unpack_v210;
    Unpack unpack_2vuy;
    DecodeChunk decode;
    SdrToHdrChunk sdr_to_hdr;
};
const RowCode& row_code();

}  // namespace cconvert::detail

#endif
