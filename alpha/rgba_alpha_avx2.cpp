// AVX2 kernels of the alpha operations on 32-bit pixels. Each takes wide
// blocks of a row and finishes it with the per-pixel step; rows that overlap
// their source where a block could store over unread bytes go pixel by pixel.
#include "alpha/alpha_kernels.h"
#include "rgb/permute_kernels.h"
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

namespace {

// Byte shuffles that gather byte 0 of the four pixels of a lane into dword i.
alignas(16) constexpr unsigned char kByte0ToDword[4][16] = {
    {0, 4, 8, 12, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128},
    {128, 128, 128, 128, 0, 4, 8, 12, 128, 128, 128, 128, 128, 128, 128, 128},
    {128, 128, 128, 128, 128, 128, 128, 128, 0, 4, 8, 12, 128, 128, 128, 128},
    {128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 0, 4, 8, 12},
};

// Sixteen keys, each spread over a whole pixel.
CCNVT_TARGET_AVX2
void alpha_to_rgba_row(unsigned char* destination, const unsigned char* alpha, std::size_t pixels) {
    const __m256i first_eight = _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3,  //
                                                 4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 7, 7, 7, 7);
    const __m256i last_eight = _mm256_add_epi8(first_eight, _mm256_set1_epi8(8));
    std::size_t x = 0;
    for (; x + 16 <= pixels; x += 16) {
        const __m256i keys = both_lanes(load(alpha + x));
        store256(destination + 4 * x, _mm256_shuffle_epi8(keys, first_eight));
        store256(destination + 4 * x + 32, _mm256_shuffle_epi8(keys, last_eight));
    }
    alpha_to_rgba_pixels(destination, alpha, x, pixels);
}

// Byte 0 of 32 pixels: each 8-pixel load is shuffled so that its four bytes
// per lane land in dword i of the lane (i = 0..3 for the four loads); after
// or-ing, a dword permute puts the 32 bytes in pixel order.
CCNVT_TARGET_AVX2
void rgba_to_alpha_row(unsigned char* alpha, const unsigned char* source, std::size_t pixels) {
    const __m256i to_dword[4] = {both_lanes(load(kByte0ToDword[0])), both_lanes(load(kByte0ToDword[1])),
                                 both_lanes(load(kByte0ToDword[2])), both_lanes(load(kByte0ToDword[3]))};
    const __m256i lane_order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const unsigned char* in = source + 4 * x;
        const __m256i a = _mm256_shuffle_epi8(load256(in), to_dword[0]);
        const __m256i b = _mm256_shuffle_epi8(load256(in + 32), to_dword[1]);
        const __m256i c = _mm256_shuffle_epi8(load256(in + 64), to_dword[2]);
        const __m256i d = _mm256_shuffle_epi8(load256(in + 96), to_dword[3]);
        const __m256i keys = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
        store256(alpha + x, _mm256_permutevar8x32_epi32(keys, lane_order));
    }
    rgba_to_alpha_pixels(alpha, source, x, pixels);
}

CCNVT_TARGET_AVX2
void set_alpha_row(unsigned char* pixels, std::uint8_t alpha, std::size_t count) {
    const __m256i colour = _mm256_set1_epi32(0x00FFFFFF);
    const __m256i alpha_byte = _mm256_set1_epi32(static_cast<int>(std::uint32_t{alpha} << 24));
    auto set = [&](unsigned char* at) CCNVT_TARGET_AVX2 {
        store256(at, _mm256_or_si256(_mm256_and_si256(load256(at), colour), alpha_byte));
    };
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32)
        for (std::size_t k = 0; k < 4; ++k) set(pixels + 4 * (x + 8 * k));
    for (; x + 8 <= count; x += 8) set(pixels + 4 * x);
    set_alpha_pixels(pixels, alpha, x, count);
}

}  // namespace

CCNVT_TARGET_AVX2
void ccnvt_alpha_to_rgba_avx2(unsigned char* destination, long destination_row_bytes,
                              const unsigned char* alpha, long width, long height) {
    const auto pixels = static_cast<std::size_t>(width);
    for (long y = 0; y < height; ++y) {
        unsigned char* to = row_start(destination, destination_row_bytes, y);
        const unsigned char* keys = alpha + y * pixels;
        if (vector_kernel_may_run(RowWalk::separate_rows_only, to, 4 * pixels, keys, pixels))
            alpha_to_rgba_row(to, keys, pixels);
        else
            alpha_to_rgba_pixels(to, keys, 0, pixels);
    }
}

CCNVT_TARGET_AVX2
void ccnvt_rgba_to_alpha_avx2(unsigned char* alpha, const unsigned char* source,
                              long source_row_bytes, long width, long height) {
    const auto pixels = static_cast<std::size_t>(width);
    for (long y = 0; y < height; ++y) {
        unsigned char* keys = alpha + y * pixels;
        const unsigned char* from = row_start(source, source_row_bytes, y);
        if (vector_kernel_may_run(RowWalk::front_to_back_narrowing, keys, pixels, from, 4 * pixels))
            rgba_to_alpha_row(keys, from, pixels);
        else
            rgba_to_alpha_pixels(keys, from, 0, pixels);
    }
}

CCNVT_TARGET_AVX2
void ccnvt_rgba_setalpha_avx2(unsigned char* pixels, long row_bytes, std::uint8_t alpha, long width,
                              long height) {
    for (long y = 0; y < height; ++y)
        set_alpha_row(row_start(pixels, row_bytes, y), alpha, static_cast<std::size_t>(width));
}

// The widening of the 8-bit RGB family, with the alpha of the call.
CCNVT_TARGET_AVX2
void ccnvt_rgba_addalpha_avx2(const unsigned char* source, unsigned char* destination,
                              long source_row_bytes, long destination_row_bytes, std::uint8_t alpha,
                              long width, long height) {
    const PixelPattern pattern = with_alpha(pattern::kAppendAlpha, alpha);
    const auto pixels = static_cast<std::size_t>(width);
    for (long y = height; y-- > 0;) {
        unsigned char* to = row_start(destination, destination_row_bytes, y);
        const unsigned char* from = row_start(source, source_row_bytes, y);
        if (vector_kernel_may_run(RowWalk::back_to_front_widening, to, 4 * pixels, from, 3 * pixels))
            widen24_avx2(to, from, pixels, pattern);
        else
            widen24_portable(to, from, pixels, pattern);
    }
}

}  // namespace cconvert::detail
