// Row kernels of the 8-bit RGB converters. Every converter of the family is
// a byte permutation: destination byte k of a pixel is source byte from[k],
// or the fill alpha where from[k] is kFillAlpha. Three shapes of pixel:
// 4 to 4 bytes (reorders), 4 to 3 (narrowing: from[3] is not used) and
// 3 to 4 (widening).
#ifndef CCONVERT_RGB_PERMUTE_KERNELS_H
#define CCONVERT_RGB_PERMUTE_KERNELS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "rgb/row_walk.h"

namespace cconvert::detail {

// Marks a destination byte that takes the fill alpha. Its high bit makes a
// byte shuffle write zero there, into which the kernels or the alpha.
constexpr std::uint8_t kFillAlpha = 0x80;

struct PixelPattern {
    std::uint8_t from[4];
    std::uint8_t alpha;  // the fill alpha, where from[k] is kFillAlpha

    // The four indices as one little-endian word (index 0 in the low byte).
    std::uint32_t word() const {
        std::uint32_t w;
        std::memcpy(&w, from, sizeof w);
        return w;
    }
};

// The permutations of the family.
namespace pattern {
constexpr PixelPattern kKeepRgb{{0, 1, 2, 3}, 0};
constexpr PixelPattern kSwapRedBlue{{2, 1, 0, 3}, 0};
constexpr PixelPattern kReverseBytes{{3, 2, 1, 0}, 0};
constexpr PixelPattern kRotateRight8{{1, 2, 3, 0}, 0};  // of the little-endian value
constexpr PixelPattern kRotateLeft8{{3, 0, 1, 2}, 0};
constexpr PixelPattern kSwapFirstAndLast{{3, 1, 2, 0}, 0};
// Widenings: the alpha is set per call.
constexpr PixelPattern kAppendAlpha{{0, 1, 2, kFillAlpha}, 0xFF};
constexpr PixelPattern kSwapRedBlueAppendAlpha{{2, 1, 0, kFillAlpha}, 0xFF};
constexpr PixelPattern kPrependAlpha{{kFillAlpha, 0, 1, 2}, 0xFF};
}  // namespace pattern

constexpr bool has_fill(const PixelPattern& p) {
    return p.from[0] == kFillAlpha || p.from[1] == kFillAlpha || p.from[2] == kFillAlpha ||
           p.from[3] == kFillAlpha;
}

constexpr PixelPattern with_alpha(PixelPattern p, std::uint8_t alpha) {
    p.alpha = alpha;
    return p;
}

// Converts pixels pixels of a row. The portable kernels walk as their names
// say, reading a whole pixel before writing it; the vector kernels load each
// block before storing it, never touch a byte outside the two rows, walk in
// the same direction as the portable kernel of their group, and finish the
// row with the portable walk.
using PermuteRow = void (*)(unsigned char* destination, const unsigned char* source,
                            std::size_t pixels, const PixelPattern& pattern);

void reorder32_portable(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                        const PixelPattern& pattern);
void reorder32_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                   const PixelPattern& pattern);
void reorder32_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                    const PixelPattern& pattern);

void narrow32_portable(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                       const PixelPattern& pattern);
void narrow32_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                  const PixelPattern& pattern);
void narrow32_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                   const PixelPattern& pattern);

// Back to front.
void widen24_portable(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                      const PixelPattern& pattern);
// Front to back: the walk of the inverting widening, which is not meant for
// overlapping rows.
void widen24_front_to_back_portable(unsigned char* destination, const unsigned char* source,
                                    std::size_t pixels, const PixelPattern& pattern);
void widen24_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                 const PixelPattern& pattern);
void widen24_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                  const PixelPattern& pattern);

// The portable per-pixel step over pixels [first, last): the vector kernels'
// tails (front to back) and heads (back to front).
void reorder32_pixels(unsigned char* destination, const unsigned char* source, std::size_t first,
                      std::size_t last, const PixelPattern& pattern);
void narrow32_pixels(unsigned char* destination, const unsigned char* source, std::size_t first,
                     std::size_t last, const PixelPattern& pattern);
void widen24_pixels_back_to_front(unsigned char* destination, const unsigned char* source,
                                  std::size_t first, std::size_t last, const PixelPattern& pattern);

using PermuteKernels = RowKernels<PermuteRow>;

inline constexpr PermuteKernels kReorder32{reorder32_portable, reorder32_sse, reorder32_avx2,
                                           RowWalk::front_to_back_narrowing, 4, 4};
inline constexpr PermuteKernels kNarrow32{narrow32_portable, narrow32_sse, narrow32_avx2,
                                          RowWalk::front_to_back_narrowing, 4, 3};
inline constexpr PermuteKernels kWiden24{widen24_portable, widen24_sse, widen24_avx2,
                                         RowWalk::back_to_front_widening, 3, 4};
// The vector kernels walk back to front, but only ever on rows that do not
// overlap, where the walk makes no difference.
inline constexpr PermuteKernels kWiden24FrontToBack{widen24_front_to_back_portable, widen24_sse,
                                                    widen24_avx2, RowWalk::separate_rows_only, 3, 4};

// The kernel of one call with its pattern.
class PermuteRows {
public:
    PermuteRows(const PermuteKernels& kernels, const PixelPattern& pattern, std::size_t destination_frame_bytes = 0)
        : kernel_(kernels, destination_frame_bytes), pattern_(pattern) {}

    void operator()(unsigned char* destination, const unsigned char* source, std::size_t pixels) const {
        kernel_(destination, source, pixels, pattern_);
    }

private:
    ChosenRowKernel<PermuteRow> kernel_;
    PixelPattern pattern_;
};

}  // namespace cconvert::detail

#endif
