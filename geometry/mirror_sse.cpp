// SSE-class kernels of the horizontal flip: four pixels per vector.
#include <immintrin.h>

#include <cstddef>

#include "frame/simd.h"
#include "geometry/mirror_kernels.h"

namespace cconvert::detail {

namespace {
CCNVT_TARGET_SSE
inline __m128i load_reversed(const unsigned char* pixels) {
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
    return _mm_shuffle_epi32(in, _MM_SHUFFLE(0, 1, 2, 3));
}

CCNVT_TARGET_SSE
inline void store(unsigned char* pixels, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), value);
}
}  // namespace

// The source walks down and the destination up by pointer, as in the AVX2
// kernel.
CCNVT_TARGET_SSE
void mirror_row_sse(unsigned char* to, const unsigned char* from, std::uint32_t width) {
    const std::uint32_t whole = width / 4 * 4;
    const unsigned char* source = from + 4 * std::size_t{width};
    for (unsigned char* destination = to; destination != to + 4 * std::size_t{whole}; destination += 16) {
        source -= 16;
        store(destination, load_reversed(source));
    }
    mirror_pixels_from(to, from, width, whole);
}

// Blocks of four from both ends towards the middle, while they do not meet.
CCNVT_TARGET_SSE
void mirror_row_in_place_sse(unsigned char* row, std::uint32_t width) {
    std::uint32_t front = 0;
    for (; front + 8 <= width - front; front += 4) {
        unsigned char* left = row + 4 * std::size_t{front};
        unsigned char* right = row + 4 * std::size_t{width - front - 4};
        const __m128i left_reversed = load_reversed(left), right_reversed = load_reversed(right);
        store(left, right_reversed);
        store(right, left_reversed);
    }
    swap_pixels_from(row, width, front);
}

}  // namespace cconvert::detail
