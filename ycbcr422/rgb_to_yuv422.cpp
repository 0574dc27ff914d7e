// 8-bit RGB to 2vuy and v210 (the arithmetic: rgb_to_yuv422_kernels.h).
#include <cstddef>
#include <cstdint>

#include "cconvert/ycbcr422.h"
#include "frame/dispatch.h"
#include "ycbcr422/rgb_to_yuv422_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {
namespace {

// BT.601 studio range, 8-bit.
constexpr CoefficientSet kS601_8 = {{65.738, 129.057, 25.064}, 16.0,
                                    {-37.945, -74.494, 112.439}, {112.439, -94.154, -18.285},
                                    128.0, 0.00390625};
// BT.709 full-range luma, 8-bit.
constexpr CoefficientSet kF709_8 = {{217.702, 732.365, 73.716}, 0.0,
                                    {-117.35, -394.65, 512.0}, {512.0, -465.101, -47.002},
                                    128.0, 0.0009765625};
// BT.601 on 10-bit offsets (with 8-bit inputs: a quarter of the 10-bit range).
constexpr CoefficientSet kS601_10 = {{262.952, 516.228, 100.256}, 64.0,
                                     {-151.78, -297.976, 449.756}, {449.756, -376.616, -73.14},
                                     512.0, 0.0009765625};
// BT.709 on 10-bit offsets.
constexpr CoefficientSet kH709_10 = {{217.6, 732.57, 72.83}, 64.0,
                                     {-117.248, -394.752, 512.0}, {512.0, -465.101, -46.899},
                                     512.0, 0.0009765625};

constexpr PixelLayout kArgb = {4, 1, 2, 3};
constexpr PixelLayout kBgra = {4, 2, 1, 0};
constexpr PixelLayout kRgb = {3, 0, 1, 2};

struct Ycc {
    double y, cb, cr;
};

double weighted(const double weights[3], double r, double g, double b, double scale, double offset) {
    return (weights[0] * r + weights[1] * g + weights[2] * b) * scale + offset;
}

// One pixel; rounding (0 or 0.5) is added to each of Y, Cb and Cr.
Ycc convert_pixel(const unsigned char* pixel, const PixelLayout& layout, const CoefficientSet& set,
                  double rounding) {
    const double r = pixel[layout.r], g = pixel[layout.g], b = pixel[layout.b];
    return {weighted(set.luma, r, g, b, set.scale, set.luma_offset) + rounding,
            weighted(set.cb, r, g, b, set.scale, set.chroma_offset) + rounding,
            weighted(set.cr, r, g, b, set.scale, set.chroma_offset) + rounding};
}

// The [1 2 1] / 4 chroma filter with its running previous values.
class ChromaFilter {
public:
    explicit ChromaFilter(double start) : history_{start, start} {}
    explicit ChromaFilter(const ChromaHistory& history) : history_(history) {}
    ChromaHistory history() const { return history_; }

    // Filters the pair (first, second); second becomes the previous pixel.
    void filter(const Ycc& first, const Ycc& second, double* cb, double* cr) {
        *cb = (history_.cb + 2.0 * first.cb + second.cb) * 0.25;
        *cr = (history_.cr + 2.0 * first.cr + second.cr) * 0.25;
        history_ = {second.cb, second.cr};
    }

private:
    ChromaHistory history_;
};

// Truncation toward zero, low 8 bits.
std::uint8_t to_byte(double value) { return static_cast<std::uint8_t>(static_cast<int>(value)); }

constexpr double kStart2vuy = 128.0;
constexpr double kStartV210 = 512.0;

// Pairs to 2vuy: ceil(pixels / 2) pairs (an odd count reads one pixel past).
// Returns the source just past the last pixel read.
const unsigned char* encode_2vuy(const unsigned char* source, unsigned char* destination, int pixels,
                                 const PixelLayout& layout, const CoefficientSet& set,
                                 double rounding) {
    if (pixels < 1) return source;
    const long pairs = pixels / 2 + pixels % 2;
    ChromaHistory history{kStart2vuy, kStart2vuy};
    choose_kernel<EncodePairs>(encode_pairs_portable, nullptr, encode_pairs_avx2)(
        source, destination, pairs, PairEncoding{&layout, &set, rounding, 1.0, 0.0}, history);
    return source + 2 * pairs * layout.bytes;
}

// How a v210 encoder turns its values into fields.
struct V210Rules {
    const CoefficientSet* set;
    double luma_gain;        // Y is multiplied by this before truncation
    double chroma_rounding;  // added to the filtered chroma before truncation
};

constexpr V210Rules kTenBitRules601 = {&kS601_10, 1.0, 0.0};
constexpr V210Rules kTenBitRules709 = {&kH709_10, 1.0, 0.0};
// argb_to_v210: 8-bit studio luma times 4, chroma left on the 8-bit scale.
constexpr V210Rules kEightBitScaledRules = {&kS601_8, 4.0, 0.5};

constexpr long kPairsPerGroup = kV210PixelsPerGroup / 2;

struct V210Kernels {
    EncodeSamples encode;
    PackV210 pack;
};

// The kernels for a v210 conversion: vector encoding only for 4-byte pixels.
V210Kernels v210_kernels(const PixelLayout& layout) {
    const EncodeSamples vector = choose_kernel<EncodeSamples>(encode_samples_portable, nullptr, encode_samples_avx2);
    return {layout.bytes == 4 ? vector : encode_samples_portable,
            choose_kernel<PackV210>(pack_v210_portable, nullptr, pack_v210_avx2)};
}

// groups whole groups of six pixels to v210, the chroma filter carried in
// history. Returns the source just past the last pixel read. Each 10-bit
// field is the truncated value ORed in without a mask.
const unsigned char* encode_v210_groups(const V210Kernels& kernels, const unsigned char* source,
                                        unsigned char* destination, long groups, const PixelLayout& layout,
                                        const V210Rules& rules, ChromaHistory& history) {
    constexpr long kChunkGroups = 32;
    int samples[kChunkGroups * kV210SamplesPerGroup];
    const PairEncoding encoding{&layout, rules.set, 0.0, rules.luma_gain, rules.chroma_rounding};
    while (groups > 0) {
        const long chunk = groups < kChunkGroups ? groups : kChunkGroups;
        kernels.encode(source, samples, chunk * kPairsPerGroup, encoding, history);
        kernels.pack(samples, destination, chunk);
        destination += chunk * kV210BytesPerGroup;
        source += chunk * kV210PixelsPerGroup * layout.bytes;
        groups -= chunk;
    }
    return source;
}

// A span of pixels to v210 groups: ceil(pixels / 6) whole groups.
const unsigned char* encode_v210_span(const unsigned char* source, unsigned char* destination,
                                      int pixels, const PixelLayout& layout, const V210Rules& rules) {
    if (pixels < 1) return source;
    ChromaHistory history{kStartV210, kStartV210};
    const long groups = pixels / kV210PixelsPerGroup + (pixels % kV210PixelsPerGroup != 0);
    return encode_v210_groups(v210_kernels(layout), source, destination, groups, layout, rules, history);
}

unsigned char* writable(const unsigned char* source) { return const_cast<unsigned char*>(source); }

}  // namespace

ChromaHistory chroma_of(const unsigned char* pixel, const PairEncoding& encoding) {
    const Ycc ycc = convert_pixel(pixel, *encoding.layout, *encoding.set, encoding.rounding);
    return {ycc.cb, ycc.cr};
}

void encode_pairs_portable(const unsigned char* source, unsigned char* destination, long pairs,
                           const PairEncoding& encoding, ChromaHistory& history) {
    const PixelLayout& layout = *encoding.layout;
    ChromaFilter chroma(history);
    for (long p = 0; p < pairs; ++p) {
        const Ycc first = convert_pixel(source, layout, *encoding.set, encoding.rounding);
        const Ycc second = convert_pixel(source + layout.bytes, layout, *encoding.set, encoding.rounding);
        double cb, cr;
        chroma.filter(first, second, &cb, &cr);
        destination[k2vuyCb] = to_byte(cb);
        destination[k2vuyY0] = to_byte(first.y);
        destination[k2vuyCr] = to_byte(cr);
        destination[k2vuyY1] = to_byte(second.y);
        source += 2 * layout.bytes;
        destination += k2vuyBytesPerPair;
    }
    history = chroma.history();
}

void encode_samples_portable(const unsigned char* source, int* samples, long pairs,
                             const PairEncoding& encoding, ChromaHistory& history) {
    const PixelLayout& layout = *encoding.layout;
    ChromaFilter chroma(history);
    for (long p = 0; p < pairs; ++p) {
        const Ycc first = convert_pixel(source, layout, *encoding.set, encoding.rounding);
        const Ycc second = convert_pixel(source + layout.bytes, layout, *encoding.set, encoding.rounding);
        double cb, cr;
        chroma.filter(first, second, &cb, &cr);
        samples[0] = static_cast<int>(cb + encoding.chroma_rounding);
        samples[1] = static_cast<int>(first.y * encoding.luma_gain);
        samples[2] = static_cast<int>(cr + encoding.chroma_rounding);
        samples[3] = static_cast<int>(second.y * encoding.luma_gain);
        source += 2 * layout.bytes;
        samples += kSamplesPerPair;
    }
    history = chroma.history();
}

void pack_v210_portable(const int* samples, unsigned char* destination, long groups) {
    for (long g = 0; g < groups; ++g) {
        for (std::uint32_t w = 0; w < kV210SamplesPerGroup / kV210FieldsPerWord; ++w, samples += kV210FieldsPerWord)
            store_le32(destination + 4 * w, v210_word(static_cast<std::uint32_t>(samples[0]),
                                                      static_cast<std::uint32_t>(samples[1]),
                                                      static_cast<std::uint32_t>(samples[2])));
        destination += kV210BytesPerGroup;
    }
}

}  // namespace cconvert::detail

using namespace cconvert::detail;

void argb_to_2vuy(unsigned char* source, unsigned char* destination, int pixels) {
    encode_2vuy(source, destination, pixels, kArgb, kS601_8, 0.0);
}

void bgra_to_2vuy(unsigned char* source, unsigned char* destination, int pixels) {
    encode_2vuy(source, destination, pixels, kBgra, kS601_8, 0.0);
}

unsigned char* hd_rgb_to_2vuy(unsigned char* source, unsigned char* destination, int pixels,
                              int bgra_order) {
    return writable(encode_2vuy(source, destination, pixels, bgra_order ? kBgra : kArgb, kF709_8, 0.5));
}

unsigned char* argb_to_v210(unsigned char* source, unsigned int* destination, int pixels,
                            int four_byte_pixels) {
    return writable(encode_v210_span(source, reinterpret_cast<unsigned char*>(destination), pixels,
                                     four_byte_pixels ? kArgb : kRgb, kEightBitScaledRules));
}

unsigned char* bgra_to_v210(unsigned char* source, unsigned int* destination, int pixels) {
    return writable(encode_v210_span(source, reinterpret_cast<unsigned char*>(destination), pixels,
                                     kBgra, kTenBitRules601));
}

void ccnvt_rgb32_2vuy(unsigned char* destination, long, const unsigned char* source, long, long width,
                      long height) {
    bgra_to_2vuy(writable(source), destination, static_cast<int>(width * height));
}

// The frame counts converted pixels in one counter that grows by six per
// group and stops the conversion once it reaches width * height. Rows of a
// width that is not a multiple of 6 add more than width, so such frames
// leave their last rows unwritten; hosts have always received them so.
void ccnvt_rgb32_v210(unsigned char* destination, long destination_pitch, const unsigned char* source,
                      long source_pitch, long width, long height) {
    if (source_pitch == 0) source_pitch = width * static_cast<long>(kBgra.bytes);
    if (destination_pitch == 0)
        destination_pitch = v210_default_pitch_pitched(static_cast<std::uint32_t>(width));
    const V210Rules& rules = width <= 961 ? kTenBitRules601 : kTenBitRules709;
    const long frame_pixels = width * height;
    const long groups_per_row = width / kV210PixelsPerGroup + (width % kV210PixelsPerGroup != 0);
    const V210Kernels kernels = v210_kernels(kBgra);

    ChromaHistory history{kStartV210, kStartV210};
    long converted = 0;
    for (long row = 0; row < height && converted < frame_pixels; ++row) {
        // The groups of this row that the counter still lets through.
        const long left = (frame_pixels - converted + kV210PixelsPerGroup - 1) / kV210PixelsPerGroup;
        const long groups = groups_per_row < left ? groups_per_row : left;
        encode_v210_groups(kernels, source + row * source_pitch, destination + row * destination_pitch, groups,
                           kBgra, rules, history);
        converted += groups * kV210PixelsPerGroup;
    }
}
