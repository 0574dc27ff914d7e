// YCbCr to half-float RGBA: the portable kernels, their row walk, and the
// entry points that offer the picture to processor kernels first.
#include <algorithm>
#include <cstddef>
#include <cstdint>

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

bool f16c_rows_allowed() {
    return (CPUFeatureFlags() & kFeatureAvx2) != 0 && __builtin_cpu_supports("avx2") &&
           __builtin_cpu_supports("f16c");
}

void decode_pixels_portable(const YCbCrDecoding& decoding, const SampleChunk& samples,
                            std::size_t first, std::size_t end, unsigned char* rgba) {
    for (std::size_t i = first; i < end; ++i) {
        const Rgb c = decode_pixel(decoding, samples.y[i], samples.cb[i], samples.cr[i]);
        store_rgba_half(rgba + kBytesPerRgbaHalfPixel * i, half_from_channel(c.r),
                        half_from_channel(c.g), half_from_channel(c.b));
    }
}

void decode_chunk_portable(const YCbCrDecoding& decoding, const SampleChunk& samples,
                           std::size_t pixels, unsigned char* rgba) {
    decode_pixels_portable(decoding, samples, 0, pixels, rgba);
}

namespace {

void put_pair(SampleChunk& chunk, std::size_t pixel, std::uint16_t cb, std::uint16_t y0,
              std::uint16_t cr, std::uint16_t y1) {
    chunk.y[pixel] = y0;
    chunk.y[pixel + 1] = y1;
    chunk.cb[pixel] = chunk.cb[pixel + 1] = cb;
    chunk.cr[pixel] = chunk.cr[pixel + 1] = cr;
}

// Samples of pixels [first, first + pixels) of a v210 row, read in whole
// groups. first is a multiple of the chunk size, so of six.
void unpack_v210(const unsigned char* row, std::size_t first, std::size_t pixels,
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

// The same for a 2vuy row, read in whole pairs.
void unpack_2vuy(const unsigned char* row, std::size_t first, std::size_t pixels,
                 SampleChunk& chunk) {
    const unsigned char* pair = row + first * k2vuyBytesPerPixel;
    for (std::size_t x = 0; x < pixels; x += 2, pair += k2vuyBytesPerPair)
        put_pair(chunk, x, pair[k2vuyCb], pair[k2vuyY0], pair[k2vuyCr], pair[k2vuyY1]);
}

using Unpack = void (*)(const unsigned char* row, std::size_t first, std::size_t pixels,
                        SampleChunk& chunk);

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
                   int bits, Unpack unpack) {
    if (nothing_to_do(destination, source, width, height)) return;
    const YCbCrDecoding decoding = ycbcr_decoding(matrix, bits, full_range != 0);
    const DecodeChunk decode = f16c_rows_allowed() ? decode_chunk_f16c : decode_chunk_portable;
    convert_frame(destination, destination_pitch, source, source_pitch, width, height, unpack,
                  [&](const SampleChunk& chunk, std::size_t pixels, unsigned char* rgba) {
                      decode(decoding, chunk, pixels, rgba);
                  });
}

void convert_sdr_to_hdr(void* destination, long destination_pitch, const void* source,
                        long source_pitch, long width, long height, int transfer_mode) {
    if (nothing_to_do(destination, source, width, height)) return;
    const HdrCurves& curves = kv_hf::hf_hdr_luts();
    const float* encode = transfer_mode == kTransferHlg ? curves.hlg : curves.pq;
    const SdrToHdrChunk run = f16c_rows_allowed() ? sdr_to_hdr_chunk_f16c : sdr_to_hdr_chunk_portable;
    convert_frame(destination, destination_pitch, source, source_pitch, width, height, unpack_v210,
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
                  full_range, 10, unpack_v210);
}

void yCbCr8_to_halffloat_c(void* destination, long destination_pitch, const void* source,
                           long source_pitch, long width, long height, int matrix,
                           int full_range) {
    convert_ycbcr(destination, destination_pitch, source, source_pitch, width, height, matrix,
                  full_range, 8, unpack_2vuy);
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
