// Semi-planar (NV12, NV10), planar 16-bit 4:2:0 and Y210 frames to 2vuy,
// v210 and NV12p16.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cconvert/planar.h"
#include "frame/dispatch.h"
#include "planar/semiplanar_kernels.h"
#include "ycbcr422/v210_2vuy_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {

void interleave_nv12_portable(const unsigned char* luma, const unsigned char* chroma,
                              std::uint32_t pairs, unsigned char* uyvy) {
    for (std::uint32_t i = 0; i < pairs; ++i) {
        unsigned char* pair = uyvy + k2vuyBytesPerPair * std::size_t{i};
        pair[k2vuyCb] = chroma[2 * i];
        pair[k2vuyY0] = luma[2 * i];
        pair[k2vuyCr] = chroma[2 * i + 1];
        pair[k2vuyY1] = luma[2 * i + 1];
    }
}

void interleave_nv10_portable(const std::uint16_t* luma, const std::uint16_t* chroma,
                              std::uint32_t pairs, unsigned char* uyvy) {
    auto high = [](std::uint16_t word) { return static_cast<unsigned char>(word >> 8); };
    for (std::uint32_t i = 0; i < pairs; ++i) {
        unsigned char* pair = uyvy + k2vuyBytesPerPair * std::size_t{i};
        pair[k2vuyCb] = high(chroma[2 * i]);
        pair[k2vuyY0] = high(luma[2 * i]);
        pair[k2vuyCr] = high(chroma[2 * i + 1]);
        pair[k2vuyY1] = high(luma[2 * i + 1]);
    }
}

void shift_words_portable(std::uint16_t* destination, const std::uint16_t* source,
                          std::uint32_t count, unsigned int shift) {
    for (std::uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<std::uint16_t>(source[i] << shift);
}

void interleave_words_portable(std::uint16_t* destination, const std::uint16_t* first,
                               const std::uint16_t* second, std::uint32_t count,
                               unsigned int shift) {
    for (std::uint32_t i = 0; i < count; ++i) {
        destination[2 * std::size_t{i}] = static_cast<std::uint16_t>(first[i] << shift);
        destination[2 * std::size_t{i} + 1] = static_cast<std::uint16_t>(second[i] << shift);
    }
}

namespace {

std::uint32_t load_word(const unsigned char* words, std::size_t index) {
    return std::uint32_t{words[2 * index]} | std::uint32_t{words[2 * index + 1]} << 8;
}

// Y210 pixel pairs are Y0 Cb Y1 Cr; v210 streams them as Cb Y0 Cr Y1.
constexpr std::uint32_t kY210WordOfStreamSlot[4] = {1, 0, 3, 2};

// One v210 group from the first `available` of its twelve Y210 words (all
// twelve but in the last group of a line); the samples past them count as 0
// and only the words that hold an available sample are written. Fields are
// placed by shifting whole 16-bit words, (a >> 6) | b << 4 | c << 14, so
// non-zero low bits spill into the field below.
void y210_group_to_v210(const unsigned char* y210, std::uint32_t available, unsigned char* v210) {
    std::uint32_t stream[kV210SamplesPerGroup] = {};
    // The first 2r Y210 words of r pixels are the first 2r stream samples.
    for (std::uint32_t s = 0; s < available; ++s)
        stream[s] = load_word(y210, 4 * (s / 4) + kY210WordOfStreamSlot[s % 4]);
    const std::uint32_t words = (available + kV210FieldsPerWord - 1) / kV210FieldsPerWord;
    for (std::uint32_t w = 0; w < words; ++w) {
        const std::uint32_t* field = stream + kV210FieldsPerWord * w;
        store_le32(v210 + 4 * w, (field[0] >> 6) | field[1] << 4 | field[2] << 14);
    }
}

}  // namespace

void y210_groups_to_v210_portable(const unsigned char* y210, std::uint32_t groups,
                                  unsigned char* v210) {
    for (std::uint32_t g = 0; g < groups; ++g)
        y210_group_to_v210(y210 + 2 * kV210SamplesPerGroup * std::size_t{g}, kV210SamplesPerGroup,
                           v210 + kV210BytesPerGroup * std::size_t{g});
}

void high_bytes_portable(const unsigned char* words, std::uint32_t count, unsigned char* bytes) {
    for (std::uint32_t i = 0; i < count; ++i) bytes[i] = words[2 * std::size_t{i} + 1];
}

namespace {

// Luma row r and chroma row r / 2 of a tight 4:2:0 frame of `Sample`s with
// interleaved chroma.
template <class Sample>
struct Nv12Frame {
    const Sample* samples;
    std::uint32_t width, height;

    const Sample* luma_row(std::uint32_t r) const { return samples + std::size_t{r} * width; }
    const Sample* chroma_row(std::uint32_t r) const {
        return samples + std::size_t{width} * height + std::size_t{r / 2} * width;
    }
};

// v210 words written for a rest of m pixels (m < 12) after the whole
// twelve-pixel blocks of an NV12 line.
std::uint32_t v210_words_for_rest(std::uint32_t m) {
    constexpr std::uint32_t kWords[12] = {0, 0, 2, 2, 3, 3, 4, 4, 6, 6, 7, 7};
    return kWords[m];
}

constexpr std::uint32_t kPixelsPerBlock = 2 * kV210PixelsPerGroup;

// NV12 to v210: each line is interleaved to 2vuy in a scratch row, a chunk
// at a time, and packed by the v210 repacker's group kernel.
void nv12_to_v210(unsigned char* destination, const Nv12Frame<unsigned char>& frame,
                  std::uint32_t destination_pitch, InterleaveNv12 interleave, RepackGroups pack) {
    constexpr std::uint32_t kChunkBlocks = 64;
    unsigned char uyvy[kChunkBlocks * kPixelsPerBlock * k2vuyBytesPerPixel];
    const std::uint32_t blocks = frame.width / kPixelsPerBlock;
    const std::uint32_t rest = frame.width % kPixelsPerBlock;
    for (std::uint32_t r = 0; r < frame.height; ++r) {
        const unsigned char* luma = frame.luma_row(r);
        const unsigned char* chroma = frame.chroma_row(r);
        unsigned char* v210 = destination + std::size_t{r} * destination_pitch;
        for (std::uint32_t done = 0; done < blocks;) {
            const std::uint32_t chunk = std::min(kChunkBlocks, blocks - done);
            const std::size_t pixels = std::size_t{done} * kPixelsPerBlock;
            interleave(luma + pixels, chroma + pixels, chunk * kPixelsPerBlock / 2, uyvy);
            pack(v210 + pixels / kV210PixelsPerGroup * kV210BytesPerGroup, uyvy, 2 * chunk);
            done += chunk;
        }
        const std::uint32_t rest_words = v210_words_for_rest(rest);
        if (rest_words != 0) {
            // A word the rest only partly covers takes the samples that
            // follow in memory: interleave the pairs its words reach.
            const std::size_t pixels = std::size_t{blocks} * kPixelsPerBlock;
            const std::uint32_t pairs = (kV210FieldsPerWord * rest_words + 3) / 4;
            unsigned char block[2 * kV210BytesPerGroup];
            std::memset(uyvy, 0, k2vuyBytesPerPixel * kPixelsPerBlock);
            interleave_nv12_portable(luma + pixels, chroma + pixels, pairs, uyvy);
            pack_2vuy_to_v210_portable(block, uyvy, 2);
            std::memcpy(v210 + pixels / kV210PixelsPerGroup * kV210BytesPerGroup, block, 4 * rest_words);
        }
    }
}

// NV10 with separate Cb and Cr planes to v210, whole groups only.
void nv10_planes_to_v210(unsigned char* destination, const std::uint16_t* source,
                         std::uint32_t width, std::uint32_t height, std::uint32_t destination_pitch) {
    const std::size_t luma_words = std::size_t{width} * height;
    const std::uint16_t* cb_plane = source + luma_words;
    const std::uint16_t* cr_plane = cb_plane + luma_words / 4;
    const std::uint32_t groups = width / kV210PixelsPerGroup;
    for (std::uint32_t r = 0; r < height; ++r) {
        const std::uint16_t* luma = source + std::size_t{r} * width;
        const std::size_t chroma_row = std::size_t{r / 2} * (width / 2);
        unsigned char* v210 = destination + std::size_t{r} * destination_pitch;
        for (std::uint32_t g = 0; g < groups; ++g) {
            std::uint16_t samples[kV210SamplesPerGroup];
            for (std::uint32_t p = 0; p < kV210PixelsPerGroup / 2; ++p) {
                const std::uint32_t pair = g * kV210PixelsPerGroup / 2 + p;
                samples[4 * p + k2vuyCb] = static_cast<std::uint16_t>(cb_plane[chroma_row + pair] >> 6);
                samples[4 * p + k2vuyY0] = static_cast<std::uint16_t>(luma[2 * pair] >> 6);
                samples[4 * p + k2vuyCr] = static_cast<std::uint16_t>(cr_plane[chroma_row + pair] >> 6);
                samples[4 * p + k2vuyY1] = static_cast<std::uint16_t>(luma[2 * pair + 1] >> 6);
            }
            v210_write_group(v210 + std::size_t{g} * kV210BytesPerGroup, samples);
        }
    }
}

// Planar 4:2:0 in 16-bit words to NV12p16.
void planar420_to_nv12p16(std::uint16_t* destination, const std::uint16_t* source,
                          std::uint32_t size, unsigned int shift) {
    const std::uint32_t luma = size / 3, chroma = luma / 4;
    const ShiftWords shift_words = choose_kernel<ShiftWords>(shift_words_portable, nullptr, shift_words_avx2);
    const InterleaveWords interleave_words =
        choose_kernel<InterleaveWords>(interleave_words_portable, nullptr, interleave_words_avx2);
    shift_words(destination, source, luma, shift);
    interleave_words(destination + luma, source + luma, source + luma + chroma, chroma, shift);
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

unsigned int cycbcr_NV12_to_uyvy(unsigned char* destination, const unsigned char* source,
                                 unsigned int width, unsigned int height,
                                 unsigned int destination_pitch) {
    if (height == 0 || width < 2) return width * height;
    const Nv12Frame<unsigned char> frame{source, width, height};
    const InterleaveNv12 interleave = choose_kernel<InterleaveNv12>(
        interleave_nv12_portable, interleave_nv12_sse, interleave_nv12_avx2);
    for (std::uint32_t r = 0; r < height; ++r)
        interleave(frame.luma_row(r), frame.chroma_row(r), width / 2,
                   destination + std::size_t{r} * destination_pitch);
    return 0;
}

unsigned int cycbcr_NV12_to_v210(unsigned char* destination, const unsigned char* source,
                                 unsigned int width, unsigned int height,
                                 unsigned int destination_pitch) {
    const Nv12Frame<unsigned char> frame{source, width, height};
    // The AVX2 path takes whole groups only: widths that are multiples of 6.
    const bool avx2 = (CPUFeatureFlags() & kFeatureAvx2) != 0 && destination != nullptr &&
                      source != nullptr && width != 0 && height != 0 &&
                      width % kV210PixelsPerGroup == 0;
    if (avx2)
        nv12_to_v210(destination, frame, destination_pitch, interleave_nv12_avx2, pack_2vuy_to_v210_avx2);
    else
        nv12_to_v210(destination, frame, destination_pitch, interleave_nv12_portable,
                     pack_2vuy_to_v210_portable);
    return 0;
}

unsigned int cycbcr_NV10_to_uyvy(unsigned char* destination, const unsigned short* source,
                                 unsigned int width, unsigned int height,
                                 unsigned int destination_pitch) {
    // The AVX2 path takes even widths of at least 2 and reports it did the frame.
    const bool avx2 = (CPUFeatureFlags() & kFeatureAvx2) != 0 && destination != nullptr &&
                      source != nullptr && width >= 2 && height != 0 && width % 2 == 0;
    const Nv12Frame<std::uint16_t> frame{source, width, height};
    const InterleaveNv10 interleave = avx2 ? interleave_nv10_avx2 : interleave_nv10_portable;
    for (std::uint32_t r = 0; r < height; ++r)
        interleave(frame.luma_row(r), frame.chroma_row(r), width / 2,
                   destination + std::size_t{r} * destination_pitch);
    return avx2 ? 1 : 0;
}

unsigned int cycbcr_NV10_to_v210(unsigned char* destination, const unsigned short* source,
                                 unsigned int width, unsigned int height,
                                 unsigned int destination_pitch) {
    if (height == 0 || width <= 5) return width * height;
    nv10_planes_to_v210(destination, source, width, height, destination_pitch);
    return height;
}

void cycbcr_420p10_to_NV12p16(unsigned short* destination, const unsigned short* source,
                              unsigned int size) {
    planar420_to_nv12p16(destination, source, size, 6);
}

void cycbcr_420p12_to_NV12p16(unsigned short* destination, const unsigned short* source,
                              unsigned int size) {
    planar420_to_nv12p16(destination, source, size, 4);
}

void cycbcr_420p16_to_NV12p16(unsigned short* destination, const unsigned short* source,
                              unsigned int size) {
    planar420_to_nv12p16(destination, source, size, 0);
}

void ccnvt_Y210_to_v210(unsigned char* destination, const unsigned char* source,
                        unsigned int destination_pitch, unsigned int source_pitch,
                        unsigned int width, unsigned int height) {
    const Y210Groups groups_to_v210 =
        choose_kernel<Y210Groups>(y210_groups_to_v210_portable, nullptr, y210_groups_to_v210_avx2);
    const std::uint32_t whole = width / kV210PixelsPerGroup;
    const std::uint32_t rest = width % kV210PixelsPerGroup;
    for (std::uint32_t r = 0; r < height; ++r) {
        const unsigned char* y210 = source + std::size_t{r} * source_pitch;
        unsigned char* v210 = destination + std::size_t{r} * destination_pitch;
        groups_to_v210(y210, whole, v210);
        if (rest != 0)
            y210_group_to_v210(y210 + 2 * kV210SamplesPerGroup * std::size_t{whole}, 2 * rest,
                               v210 + kV210BytesPerGroup * std::size_t{whole});
    }
}

void ccnvt_Y210_to_uyvy(unsigned char* destination, const unsigned char* source,
                        unsigned int destination_pitch, unsigned int source_pitch,
                        unsigned int width, unsigned int height) {
    if (width == 0 || height == 0) return;
    const HighBytes high_bytes = choose_kernel<HighBytes>(high_bytes_portable, nullptr, high_bytes_avx2);
    for (std::uint32_t r = 0; r < height; ++r)
        high_bytes(source + std::size_t{r} * source_pitch, 2 * width,
                   destination + std::size_t{r} * destination_pitch);
}
