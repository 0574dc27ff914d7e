// YCbCr to half-float RGBA: the portable kernels, their row walk, and the
// entry points that offer the picture to processor kernels first.
#include <cpuid.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cconvert/hdr.h"
#include "frame/dispatch.h"
#include "hdr/halffloat.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

YCbCrDecoding ycbcr_decoding(int matrix, int bits, bool full_range) {
    const MatrixCoefficients coefficients = matrix == kMpCspBt601               ? kBt601
                                            : matrix == kMpCspBt2020NonConstant ? kBt2020
                                                                                : kBt709;
    const SampleRange range = bits == 10 ? (full_range ? k10BitFull : k10BitVideo)
                                         : (full_range ? k8BitFull : k8BitVideo);
    return {range, coefficients};
}

namespace {

// F16C (CPUID leaf 1, ECX bit 29). Asked of the processor directly: not every
// compiler's __builtin_cpu_supports knows the name.
bool processor_has_f16c() {
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_F16C) != 0;
}

}  // namespace

const RowCode& row_code() {
    static const RowCode portable{unpack_v210_portable, unpack_2vuy_portable,
                                  decode_chunk_portable, sdr_to_hdr_chunk_portable};
    static const RowCode f16c{unpack_v210_avx2, unpack_2vuy_avx2, decode_chunk_f16c,
                              sdr_to_hdr_chunk_f16c};
    const bool allowed = (CPUFeatureFlags() & kFeatureAvx2) != 0 &&
                         __builtin_cpu_supports("avx2") && processor_has_f16c();
    return allowed ? f16c : portable;
}

void write_rgba_halves(const float* r, const float* g, const float* b, std::size_t first,
                       std::size_t end, unsigned char* rgba) {
    // Built in an aligned buffer (a loop of whole pixels that vectorises),
    // then copied: the destination need not be aligned for 16-bit words.
    alignas(32) std::uint16_t halves[4 * kChunkPixels];
    for (std::size_t i = first; i < end; ++i) {
        halves[4 * i] = half_from_unit(r[i]);
        halves[4 * i + 1] = half_from_unit(g[i]);
        halves[4 * i + 2] = half_from_unit(b[i]);
        halves[4 * i + 3] = kHalfOne;
    }
    std::memcpy(rgba + kBytesPerRgbaHalfPixel * first, halves + 4 * first,
                kBytesPerRgbaHalfPixel * (end - first));
}

// Two passes, each a loop that vectorises: decode and clamp, then convert.
void decode_pixels_portable(const YCbCrDecoding& decoding, const SampleChunk& samples,
                            std::size_t first, std::size_t end, unsigned char* rgba) {
    alignas(32) float r[kChunkPixels], g[kChunkPixels], b[kChunkPixels];
    for (std::size_t i = first; i < end; ++i) {
        const Rgb c = decode_pixel(decoding, samples.y[i], samples.cb[i], samples.cr[i]);
        r[i] = clamp_unit(c.r);
        g[i] = clamp_unit(c.g);
        b[i] = clamp_unit(c.b);
    }
    write_rgba_halves(r, g, b, first, end, rgba);
}

void decode_chunk_portable(const YCbCrDecoding& decoding, const SampleChunk& samples,
                           std::size_t pixels, unsigned char* rgba) {
    decode_pixels_portable(decoding, samples, 0, pixels, rgba);
}

namespace {

void put_pair(SampleChunk& chunk, std::size_t pixel, std::int32_t cb, std::int32_t y0,
              std::int32_t cr, std::int32_t y1) {
    chunk.y[pixel] = y0;
    chunk.y[pixel + 1] = y1;
    chunk.cb[pixel] = chunk.cb[pixel + 1] = cb;
    chunk.cr[pixel] = chunk.cr[pixel + 1] = cr;
}

}  // namespace

void unpack_v210_portable(const unsigned char* row, std::size_t first, std::size_t pixels,
                          SampleChunk& chunk) {
    const unsigned char* group = row + first / kV210PixelsPerGroup * kV210BytesPerGroup;
    for (std::size_t x = 0; x < pixels; x += kV210PixelsPerGroup, group += kV210BytesPerGroup) {
        // Stream order Cb Y0 Cr Y1, three times.
        std::uint16_t s[kV210SamplesPerGroup];
        v210_read_group(group, s);
        put_pair(chunk, x, s[0], s[1], s[2], s[3]);
        put_pair(chunk, x + 2, s[4], s[5], s[6], s[7]);
        put_pair(chunk, x + 4, s[8], s[9], s[10], s[11]);
    }
}

void put_2vuy_pairs(const unsigned char* pairs, std::size_t from, std::size_t to,
                    SampleChunk& chunk) {
    for (std::size_t x = from; x < to; x += 2) {
        const unsigned char* pair = pairs + k2vuyBytesPerPixel * x;
        put_pair(chunk, x, pair[k2vuyCb], pair[k2vuyY0], pair[k2vuyCr], pair[k2vuyY1]);
    }
}

void unpack_2vuy_portable(const unsigned char* row, std::size_t first, std::size_t pixels,
                          SampleChunk& chunk) {
    put_2vuy_pairs(row + first * k2vuyBytesPerPixel, 0, pixels, chunk);
}

namespace {

// Walks the rows top to bottom, each in chunks: unpack, then `convert`
// (samples, pixels, output) writes exactly the chunk's pixels.
template <class Convert>
void convert_frame(void* destination, long destination_pitch, const void* source,
                   long source_pitch, long width, long height, Unpack unpack, Convert convert) {
    SampleChunk chunk;
    const std::size_t pixels_per_row = static_cast<std::size_t>(width);
    for (long row = 0; row < height; ++row) {
        const auto* in = static_cast<const unsigned char*>(source) + row * source_pitch;
        auto* out = static_cast<unsigned char*>(destination) + row * destination_pitch;
        for (std::size_t x = 0; x < pixels_per_row; x += kChunkPixels) {
            const std::size_t pixels = std::min(kChunkPixels, pixels_per_row - x);
            unpack(in, x, pixels, chunk);
            convert(chunk, pixels, out + kBytesPerRgbaHalfPixel * x);
        }
    }
}

bool nothing_to_do(const void* destination, const void* source, long width, long height) {
    return destination == nullptr || source == nullptr || width < 1 || height < 1;
}

void convert_ycbcr(void* destination, long destination_pitch, const void* source,
                   long source_pitch, long width, long height, int matrix, int full_range,
                   int bits) {
    if (nothing_to_do(destination, source, width, height)) return;
    const YCbCrDecoding decoding = ycbcr_decoding(matrix, bits, full_range != 0);
    const RowCode& code = row_code();
    const DecodeChunk decode = code.decode;
    convert_frame(destination, destination_pitch, source, source_pitch, width, height,
                  bits == 10 ? code.unpack_v210 : code.unpack_2vuy,
                  [&](const SampleChunk& chunk, std::size_t pixels, unsigned char* rgba) {
                      decode(decoding, chunk, pixels, rgba);
                  });
}

void convert_sdr_to_hdr(void* destination, long destination_pitch, const void* source,
                        long source_pitch, long width, long height, int transfer_mode) {
    if (nothing_to_do(destination, source, width, height)) return;
    const HdrCurves& curves = kv_hf::hf_hdr_luts();
    const float* encode = transfer_mode == kTransferHlg ? curves.hlg : curves.pq;
    const RowCode& code = row_code();
    const SdrToHdrChunk run = code.sdr_to_hdr;
    convert_frame(destination, destination_pitch, source, source_pitch, width, height, code.unpack_v210,
                  [&](const SampleChunk& chunk, std::size_t pixels, unsigned char* rgba) {
                      run(curves, encode, chunk, pixels, rgba);
                  });
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

void yCbCr10_to_halffloat_c(void* destination, long destination_pitch, const void* source,
                            long source_pitch, long width, long height, int matrix,
                            int full_range) {
    convert_ycbcr(destination, destination_pitch, source, source_pitch, width, height, matrix,
                  full_range, 10);
}

void yCbCr8_to_halffloat_c(void* destination, long destination_pitch, const void* source,
                           long source_pitch, long width, long height, int matrix,
                           int full_range) {
    convert_ycbcr(destination, destination_pitch, source, source_pitch, width, height, matrix,
                  full_range, 8);
}

void yCbCr10_to_halffloat_sdr_to_hdr(void* destination, long destination_pitch,
                                     const void* source, long source_pitch, long width,
                                     long height, int transfer_mode) {
    convert_sdr_to_hdr(destination, destination_pitch, source, source_pitch, width, height,
                       transfer_mode);
}

// ---- entry points: processor kernels first, then the portable one ----

#define CCNVT_HALFFLOAT_PARAMETERS                                                           \
    void *destination, long destination_pitch, const void *source, long source_pitch,       \
        long width, long height, int matrix, int full_range
#define CCNVT_HALFFLOAT_ARGUMENTS \
    destination, destination_pitch, source, source_pitch, width, height, matrix, full_range

void yCbCr10_to_halffloat(CCNVT_HALFFLOAT_PARAMETERS) {
    if (yCbCr10_to_halffloat_avx2_impl(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    if (yCbCr10_to_halffloat_arm(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    yCbCr10_to_halffloat_c(CCNVT_HALFFLOAT_ARGUMENTS);
}

void yCbCr8_to_halffloat(CCNVT_HALFFLOAT_PARAMETERS) {
    if (yCbCr8_to_halffloat_avx2_impl(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    if (yCbCr8_to_halffloat_arm(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    yCbCr8_to_halffloat_c(CCNVT_HALFFLOAT_ARGUMENTS);
}

void yCbCr10_to_halffloat_avx2(CCNVT_HALFFLOAT_PARAMETERS) {
    if (yCbCr10_to_halffloat_avx2_impl(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    yCbCr10_to_halffloat_c(CCNVT_HALFFLOAT_ARGUMENTS);
}

void yCbCr8_to_halffloat_avx2(CCNVT_HALFFLOAT_PARAMETERS) {
    if (yCbCr8_to_halffloat_avx2_impl(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    yCbCr8_to_halffloat_c(CCNVT_HALFFLOAT_ARGUMENTS);
}

void yCbCr10_to_halffloat_neon(CCNVT_HALFFLOAT_PARAMETERS) {
    if (yCbCr10_to_halffloat_arm(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    yCbCr10_to_halffloat_c(CCNVT_HALFFLOAT_ARGUMENTS);
}

void yCbCr8_to_halffloat_neon(CCNVT_HALFFLOAT_PARAMETERS) {
    if (yCbCr8_to_halffloat_arm(CCNVT_HALFFLOAT_ARGUMENTS)) return;
    yCbCr8_to_halffloat_c(CCNVT_HALFFLOAT_ARGUMENTS);
}

// Processor kernels of other builds; here they decline and touch nothing.
bool yCbCr10_to_halffloat_avx2_impl(void*, long, const void*, long, long, long, int, int) { return false; }
bool yCbCr8_to_halffloat_avx2_impl(void*, long, const void*, long, long, long, int, int) { return false; }
bool yCbCr10_to_halffloat_arm(void*, long, const void*, long, long, long, int, int) { return false; }
bool yCbCr8_to_halffloat_arm(void*, long, const void*, long, long, long, int, int) { return false; }
