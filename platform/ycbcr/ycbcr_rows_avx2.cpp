// AVX2 kernels of libycbcr: sixteen pixels a step in 16-bit lanes, with
// exactly the arithmetic of the portable kernels (ycbcr_kernels.h). Rows end
// in the portable kernels: 2vuy and planar rows after the last whole block
// of 16 pixels, v210 rows after the last whole block of 48 (eight groups).
#include <immintrin.h>

#include "frame/simd.h"
#include "ycbcr_kernels.h"
#include "ycbcr422/yuv422_layout.h"

namespace ycbcr {

using namespace cconvert::detail;

namespace {

constexpr char Z = static_cast<char>(0x80);  // vpshufb: write a zero byte

struct Constants {
    __m256i luma, bias;
    __m256i blue_red;  // cb_blue, cr_red in alternate lanes
    __m256i green;     // cb_green, cr_green in alternate lanes (for vpmaddwd)
    __m256i sign;      // 0x8000: (S << 8) ^ 0x8000 is (S - 128) * 256
    __m256i opaque;    // 255 in each 16-bit lane
    __m256i ones;      // 255 in each byte
    // vpshufb selections
    __m256i second_of_pair;  // each lane pair takes its second lane twice
    __m256i swap_in_pair;    // the two lanes of each pair exchanged
    __m256i blue_red_order;  // straight / crossed bytes to B R per pixel
    __m256i with_alpha;      // G bytes 0-7 and 255 bytes 8-15 interleaved
};

CCNVT_TARGET_AVX2
inline __m256i lanes(__m128i half) { return _mm256_broadcastsi128_si256(half); }

CCNVT_TARGET_AVX2
inline __m256i alternate(std::int16_t even, std::int16_t odd) {
    return _mm256_set1_epi32(static_cast<int>(static_cast<std::uint16_t>(even) |
                                              static_cast<std::uint32_t>(static_cast<std::uint16_t>(odd)) << 16));
}

CCNVT_TARGET_AVX2
Constants constants_for(const Coefficients& c) {
    return {_mm256_set1_epi16(c.luma),
            _mm256_set1_epi16(c.bias),
            alternate(c.cb_blue, c.cr_red),
            alternate(c.cb_green, c.cr_green),
            _mm256_set1_epi16(static_cast<short>(0x8000)),
            _mm256_set1_epi16(kOpaque),
            _mm256_set1_epi8(static_cast<char>(kOpaque)),
            lanes(_mm_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15)),
            lanes(_mm_setr_epi8(2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13)),
            lanes(_mm_setr_epi8(0, 8, 9, 1, 2, 10, 11, 3, 4, 12, 13, 5, 6, 14, 15, 7)),
            lanes(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15))};
}

// Sixteen pixels, eight in each 128-bit half. y holds a pixel in each lane;
// chroma holds, in the same lanes, the samples of the pixel pairs: Cb in the
// first lane of the pair, Cr in the second (the 2vuy order). All in signed
// 16-bit form.
//
// Each pair's products Cb * cb_blue and Cr * cr_red sit in its two lanes, so
// luma + products is B of the first pixel and R of the second ("straight"),
// and luma + the products exchanged is R of the first and B of the second
// ("crossed"): no copying of chroma to both pixels. The packed bytes are put
// back in pixel order with one byte shuffle.
struct Channels16 {
    __m256i blue_red;  // bytes B R per pixel, eight pixels per half
    __m256i green;     // 16-bit lanes, down by six bits, not yet saturated
};

CCNVT_TARGET_AVX2
inline Channels16 channels16(__m256i y, __m256i chroma, const Constants& k) {
    const __m256i luma = _mm256_add_epi16(_mm256_mulhrs_epi16(y, k.luma), k.bias);
    const __m256i products = _mm256_mulhrs_epi16(chroma, k.blue_red);
    // The green sum of a pair lands in the high half of its 32 bits.
    const __m256i green = _mm256_shuffle_epi8(_mm256_madd_epi16(chroma, k.green), k.second_of_pair);
    const __m256i straight = _mm256_srai_epi16(_mm256_adds_epi16(luma, products), 6);
    const __m256i crossed =
        _mm256_srai_epi16(_mm256_adds_epi16(luma, _mm256_shuffle_epi8(products, k.swap_in_pair)), 6);
    return {_mm256_shuffle_epi8(_mm256_packus_epi16(straight, crossed), k.blue_red_order),
            _mm256_srai_epi16(_mm256_subs_epi16(luma, green), 6)};
}

// B G R A from the B R bytes and the G 255 bytes of the same pixels: pixels
// 0-3 of each half (low) and 4-7 (high).
struct Bgra16 {
    __m256i low, high;
};

CCNVT_TARGET_AVX2
inline Bgra16 bgra16(__m256i blue_red, __m256i green_alpha) {
    return {_mm256_unpacklo_epi8(blue_red, green_alpha), _mm256_unpackhi_epi8(blue_red, green_alpha)};
}

// The G 255 bytes of one block of sixteen.
CCNVT_TARGET_AVX2
inline __m256i green_with_alpha(const Channels16& c, const Constants& k) {
    return _mm256_shuffle_epi8(_mm256_packus_epi16(c.green, k.opaque), k.with_alpha);
}

CCNVT_TARGET_AVX2
inline Bgra16 convert16(__m256i y, __m256i chroma, const Constants& k) {
    const Channels16 c = channels16(y, chroma, k);
    return bgra16(c.blue_red, green_with_alpha(c, k));
}

// Thirty-two pixels: the two blocks share one saturation of their G.
CCNVT_TARGET_AVX2
inline void convert32(const Channels16& first, const Channels16& second, const Constants& k,
                      Bgra16* first_out, Bgra16* second_out) {
    const __m256i greens = _mm256_packus_epi16(first.green, second.green);
    *first_out = bgra16(first.blue_red, _mm256_unpacklo_epi8(greens, k.ones));
    *second_out = bgra16(second.blue_red, _mm256_unpackhi_epi8(greens, k.ones));
}

// For lanes that hold pixels 0-3, 8-11 | 4-7, 12-15 (the inputs arranged
// by arrange_quarters): the results are pixels 0-7 and 8-15.
CCNVT_TARGET_AVX2
inline void store_bgra16_arranged(std::uint8_t* destination, const Bgra16& pixels) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), pixels.low);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + 32), pixels.high);
}

// For lanes that hold pixels 0-15 in order.
CCNVT_TARGET_AVX2
inline void store_bgra16_in_order(std::uint8_t* destination, const Bgra16& pixels) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), _mm256_castsi256_si128(pixels.low));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + 16), _mm256_castsi256_si128(pixels.high));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + 32), _mm256_extracti128_si256(pixels.low, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + 48), _mm256_extracti128_si256(pixels.high, 1));
}

// Quarters (four pixels each) 0 1 2 3 to 0 2 1 3.
CCNVT_TARGET_AVX2
inline __m256i arrange_quarters(__m256i pixels) { return _mm256_permute4x64_epi64(pixels, 0xD8); }

// Eight B G R A pixels to 24 B G R bytes in the low 24 bytes.
CCNVT_TARGET_AVX2
inline __m256i drop_alpha(__m256i bgra) {
    const __m256i keep_bgr = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, Z, Z, Z, Z));
    const __m256i close_up = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(bgra, keep_bgr), close_up);
}

// 48 bytes from arranged lanes: the first store's last 8 bytes are
// overwritten by the second.
CCNVT_TARGET_AVX2
inline void store_bgr16_arranged(std::uint8_t* destination, const Bgra16& pixels) {
    const __m256i second = drop_alpha(pixels.high);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), drop_alpha(pixels.low));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + 24), _mm256_castsi256_si128(second));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(destination + 40), _mm256_extracti128_si256(second, 1));
}

// Sixteen 2vuy pixels (32 bytes), arranged: each 16-bit lane is (chroma,
// luma), already the lane order channels16 takes.
CCNVT_TARGET_AVX2
inline Channels16 uyvy_channels16(const std::uint8_t* source, const Constants& k) {
    const __m256i pairs = arrange_quarters(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source)));
    const __m256i centred = _mm256_xor_si256(pairs, _mm256_set1_epi16(static_cast<short>(0x8080)));
    const __m256i y = _mm256_and_si256(centred, _mm256_set1_epi16(static_cast<short>(0xFF00)));
    return channels16(y, _mm256_slli_epi16(centred, 8), k);
}

template <bool FourBytes>
CCNVT_TARGET_AVX2 inline void store_uyvy16(std::uint8_t* destination, const Bgra16& pixels) {
    if constexpr (FourBytes)
        store_bgra16_arranged(destination, pixels);
    else
        store_bgr16_arranged(destination, pixels);
}

template <bool FourBytes>
CCNVT_TARGET_AVX2 void uyvy_row(std::uint8_t* destination, const std::uint8_t* source, int width,
                                const Constants& k, const Coefficients& c) {
    constexpr int kPixelBytes = FourBytes ? 4 : 3;
    int x = 0;
    for (; x + 32 <= width; x += 32) {
        Bgra16 first, second;
        convert32(uyvy_channels16(source + 2 * x, k), uyvy_channels16(source + 2 * x + 32, k), k, &first,
                  &second);
        store_uyvy16<FourBytes>(destination + kPixelBytes * x, first);
        store_uyvy16<FourBytes>(destination + kPixelBytes * (x + 16), second);
    }
    if (x + 16 <= width) {
        const Channels16 last = uyvy_channels16(source + 2 * x, k);
        store_uyvy16<FourBytes>(destination + kPixelBytes * x, bgra16(last.blue_red, green_with_alpha(last, k)));
        x += 16;
    }
    if constexpr (FourBytes)
        uyvy_to_bgra_row(destination + 4 * x, source + 2 * x, width - x, c);
    else
        uyvy_to_bgr_row(destination + 3 * x, source + 2 * x, width - x, c);
}

template <bool FourBytes>
CCNVT_TARGET_AVX2 void uyvy_frame(const PackedRows& rows, const Coefficients& c) {
    const Constants k = constants_for(c);
    for (long r = 0; r < rows.count; ++r)
        uyvy_row<FourBytes>(rows.destination + r * rows.destination_step, rows.source + r * rows.source_pitch,
                            rows.width, k, c);
}

// ---- v210: groups unpacked to 16-bit rows first ----

// Two v210 groups (one per 128-bit half) to their six Y samples and their
// Cb Cr Cb Cr Cb Cr samples, each (S - 512) * 64 in lanes 0-5 of its half.
// A 10-bit field spans two bytes: gathered into a lane, multiplied by
// 2^(6 - shift) it lands in bits 6-15; the bits below are cleared.
struct GroupSamples {
    __m256i y, chroma;
};

// The fields picked by bytes, each brought to bits 6-15 by its scale, in
// signed form.
CCNVT_TARGET_AVX2
inline __m256i field_samples(__m256i groups, __m256i bytes, __m256i scale, const Constants& k) {
    const __m256i field_bits = _mm256_set1_epi16(static_cast<short>(0xFFC0));
    const __m256i aligned = _mm256_mullo_epi16(_mm256_shuffle_epi8(groups, bytes), scale);
    return _mm256_xor_si256(_mm256_and_si256(aligned, field_bits), k.sign);
}

CCNVT_TARGET_AVX2
inline GroupSamples unpack_two_groups(__m256i groups, const Constants& k) {
    // Y0 Y1 Y2 Y3 Y4 Y5 sit at bytes 1, 4, 6, 9, 12, 14, shifted by 2, 0, 4, 2, 0, 4.
    const __m256i y_bytes = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(1, 2, 4, 5, 6, 7, 9, 10, 12, 13, 14, 15, Z, Z, Z, Z));
    const __m256i y_scale = _mm256_broadcastsi128_si256(_mm_setr_epi16(16, 64, 4, 16, 64, 4, 0, 0));
    // Cb0 Cr0 Cb2 Cr2 Cb4 Cr4 at bytes 0, 2, 5, 8, 10, 13, shifted by 0, 4, 2, 0, 4, 2.
    const __m256i c_bytes = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, 3, 5, 6, 8, 9, 10, 11, 13, 14, Z, Z, Z, Z));
    const __m256i c_scale = _mm256_broadcastsi128_si256(_mm_setr_epi16(64, 4, 16, 64, 4, 16, 0, 0));
    return {field_samples(groups, y_bytes, y_scale, k), field_samples(groups, c_bytes, c_scale, k)};
}

// Each half's twelve useful bytes; the four after them are overwritten by
// the next store (the rows have four bytes of room at the end).
CCNVT_TARGET_AVX2
inline void store_halves_12(std::int16_t* out, __m256i samples) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(samples));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 6), _mm256_extracti128_si256(samples, 1));
}

constexpr int kV210Block = 48;             // pixels: eight groups, three steps of 16
constexpr int kV210Chunk = 8 * kV210Block;  // pixels unpacked at a time

}  // namespace

void uyvy_to_bgr_avx2(const PackedRows& rows, const Coefficients& c) { uyvy_frame<false>(rows, c); }

void uyvy_to_bgra_avx2(const PackedRows& rows, const Coefficients& c) { uyvy_frame<true>(rows, c); }

namespace {

CCNVT_TARGET_AVX2
void v210_row(std::uint8_t* destination, const std::uint8_t* source, int width, const Constants& k,
              const Coefficients& c) {
    alignas(32) std::int16_t y[kV210Chunk + 8], chroma[kV210Chunk + 8];
    int x = 0;
    while (x + kV210Block <= width) {
        const int pixels = std::min(kV210Chunk, (width - x) / kV210Block * kV210Block);
        const std::uint8_t* groups = source + (x / kV210PixelsPerGroup) * kV210BytesPerGroup;
        for (int p = 0; p < pixels; p += 2 * kV210PixelsPerGroup) {
            const GroupSamples s = unpack_two_groups(
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(groups + p / 6 * 16)), k);
            store_halves_12(y + p, s.y);
            store_halves_12(chroma + p, s.chroma);
        }
        for (int p = 0; p < pixels; p += 16) {
            const __m256i luma = _mm256_load_si256(reinterpret_cast<const __m256i*>(y + p));
            const __m256i pairs = _mm256_load_si256(reinterpret_cast<const __m256i*>(chroma + p));
            store_bgra16_in_order(destination + 4 * (x + p), convert16(luma, pairs, k));
        }
        x += pixels;
    }
    v210_to_bgra_row(destination + 4 * x, source + (x / kV210PixelsPerGroup) * kV210BytesPerGroup, width - x, c);
}

// Sixteen planar pixels, arranged: the luma bytes and the Cb Cr byte pairs
// are put in quarter order (0 2 1 3) before they are widened to 16 bits.
CCNVT_TARGET_AVX2
inline Channels16 planar_channels16(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                                    const Constants& k) {
    constexpr int kQuarters0213 = 0xD8;
    const __m128i luma_bytes = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(y)), kQuarters0213);
    const __m128i u = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(cb));
    const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(cr));
    const __m128i pair_bytes = _mm_shuffle_epi32(_mm_unpacklo_epi8(u, v), kQuarters0213);  // Cb Cr per pair
    return channels16(_mm256_xor_si256(_mm256_slli_epi16(_mm256_cvtepu8_epi16(luma_bytes), 8), k.sign),
                      _mm256_xor_si256(_mm256_slli_epi16(_mm256_cvtepu8_epi16(pair_bytes), 8), k.sign), k);
}

CCNVT_TARGET_AVX2
void planar_row(std::uint8_t* destination, const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                int width, const Constants& k, const Coefficients& c) {
    int x = 0;
    for (; x + 32 <= width; x += 32) {
        Bgra16 first, second;
        convert32(planar_channels16(y + x, cb + x / 2, cr + x / 2, k),
                  planar_channels16(y + x + 16, cb + x / 2 + 8, cr + x / 2 + 8, k), k, &first, &second);
        store_bgra16_arranged(destination + 4 * x, first);
        store_bgra16_arranged(destination + 4 * x + 64, second);
    }
    if (x + 16 <= width) {
        const Channels16 last = planar_channels16(y + x, cb + x / 2, cr + x / 2, k);
        store_bgra16_arranged(destination + 4 * x, bgra16(last.blue_red, green_with_alpha(last, k)));
        x += 16;
    }
    planar_to_bgra_row(destination + 4 * x, y + x, cb + x / 2, cr + x / 2, width - x, c);
}

}  // namespace

CCNVT_TARGET_AVX2
void v210_to_bgra_avx2(const PackedRows& rows, const Coefficients& c) {
    const Constants k = constants_for(c);
    for (long r = 0; r < rows.count; ++r)
        v210_row(rows.destination + r * rows.destination_step, rows.source + r * rows.source_pitch, rows.width,
                 k, c);
}

CCNVT_TARGET_AVX2
void planar_to_bgra_avx2(const PlanarRows& rows, const Coefficients& c) {
    const Constants k = constants_for(c);
    for (long r = 0; r < rows.count; ++r)
        planar_row(rows.destination + r * rows.destination_step, rows.y + r * rows.y_pitch,
                   rows.cb + r / 2 * rows.chroma_pitch, rows.cr + r / 2 * rows.chroma_pitch, rows.width, k, c);
}

}  // namespace ycbcr
