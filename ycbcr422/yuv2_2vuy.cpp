// The YUY2-ordered 8-bit 4:2:2 forms yuv2 (signed chroma) and yuvs (unsigned
// chroma), both with full-range luma, to studio-range 2vuy.
//
// Both are Y0 Cb Y1 Cr; 2vuy is Cb Y0 Cr Y1. Every two source bytes (a luma
// and a chroma byte) become two destination bytes with the two swapped:
//   luma:   y * 219 / 255 + 16                (0 -> 16, 255 -> 235)
//   chroma: c (offset form; 0 counts as 1), (c - 1) * 224 / 254 + 16
//                                              (1 -> 16, 128 -> 128, 255 -> 240)
// in integer arithmetic with truncating division. yuv2 chroma is two's
// complement around 0 and is turned into offset form first by flipping its
// sign bit.
#include <array>
#include <cstddef>
#include <cstdint>

#include "cconvert/ycbcr422.h"
#include "frame/dispatch.h"
#include "ycbcr422/yuv2_2vuy_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {
namespace {

// A YUY2-ordered span is a run of (luma, chroma) byte units; a 2vuy span a
// run of (chroma, luma) units.
constexpr std::size_t kUnitLuma = 0, kUnitChroma = 1;
static_assert(k2vuyY0 == k2vuyCb + 1 && k2vuyY1 == k2vuyCr + 1,
              "a 2vuy span is (chroma, luma) units");

constexpr std::uint8_t kSignedChromaFlip = 0x80;  // (c - 128) modulo 256
constexpr std::uint8_t kUnsignedChroma = 0;

constexpr std::uint8_t full_to_studio_luma(int y) { return static_cast<std::uint8_t>(y * 219 / 255 + 16); }

constexpr std::uint8_t full_to_studio_chroma(int c) {
    if (c == 0) c = 1;
    return static_cast<std::uint8_t>((c - 1) * 224 / 254 + 16);
}

template <std::uint8_t (*Map)(int)>
constexpr std::array<std::uint8_t, 256> byte_map() {
    std::array<std::uint8_t, 256> map{};
    for (int v = 0; v < 256; ++v) map[v] = Map(v);
    return map;
}

constexpr auto kLuma = byte_map<full_to_studio_luma>();
constexpr auto kChroma = byte_map<full_to_studio_chroma>();
static_assert(kLuma[0] == 16 && kLuma[255] == 235 && kLuma[128] == 125);
static_assert(kChroma[0] == 16 && kChroma[1] == 16 && kChroma[128] == 128 && kChroma[255] == 240);

// Counts of at least this many pixels may take the vector kernel.
constexpr long kFewestVectorPixels = 8;

void yuy2_order_to_2vuy(const unsigned char* source, unsigned char* destination, int pixels,
                        std::uint8_t chroma_flip) {
    if (pixels < 1) return;
    const std::size_t bytes = 2 * static_cast<std::size_t>(pixels);
    Yuy2To2vuySpan kernel = yuy2_order_to_2vuy_portable;
    if (pixels >= kFewestVectorPixels && !ranges_overlap(source, bytes, destination, bytes))
        kernel = choose_kernel<Yuy2To2vuySpan>(yuy2_order_to_2vuy_portable, nullptr,
                                               yuy2_order_to_2vuy_avx2);
    kernel(source, destination, pixels, chroma_flip);
}

}  // namespace

void yuy2_order_to_2vuy_portable(const unsigned char* source, unsigned char* destination, long pixels,
                                 std::uint8_t chroma_flip) {
    for (long p = 0; p < pixels; ++p) {
        const std::uint8_t luma = source[2 * p + kUnitLuma], chroma = source[2 * p + kUnitChroma];
        destination[2 * p + kUnitLuma] = kChroma[chroma ^ chroma_flip];
        destination[2 * p + kUnitChroma] = kLuma[luma];
    }
}

}  // namespace cconvert::detail

using namespace cconvert::detail;

void yuv2_to_2vuy(unsigned char* source, unsigned char* destination, int pixels) {
    yuy2_order_to_2vuy(source, destination, pixels, kSignedChromaFlip);
}

void yuvs_to_2vuy(unsigned char* source, unsigned char* destination, int pixels) {
    yuy2_order_to_2vuy(source, destination, pixels, kUnsignedChroma);
}

// Despite their names these write 2vuy, as they always have.
void yuv2_to_v210(unsigned char* source, unsigned char* destination, int pixels) {
    yuv2_to_2vuy(source, destination, pixels);
}

void yuvs_to_v210(unsigned char* source, unsigned char* destination, int pixels) {
    yuvs_to_2vuy(source, destination, pixels);
}

// The frame entry points treat the frame as one tight span of width * height
// pixels.
void ccnvt_yuv2_2vuy(unsigned char* destination, const unsigned char* source, unsigned int width,
                     unsigned int height) {
    yuy2_order_to_2vuy(source, destination, static_cast<int>(width * height), kSignedChromaFlip);
}

void ccnvt_yuvu_2vuy(unsigned char* destination, const unsigned char* source, unsigned int width,
                     unsigned int height) {
    ccnvt_yuv2_2vuy(destination, source, width, height);
}

void ccnvt_yuvs_2vuy(unsigned char* destination, const unsigned char* source, unsigned int width,
                     unsigned int height) {
    yuy2_order_to_2vuy(source, destination, static_cast<int>(width * height), kUnsignedChroma);
}
