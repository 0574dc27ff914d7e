// Row kernels of the 48- and 64-bit RGB converters.
//
// One kernel per pair of pixel shapes. The portable kernels come in both
// walking directions. The vector kernels load each block before storing it,
// touch no byte outside the two rows and finish the row with the portable
// walk of their direction; they walk front to back, except that where the
// output pixel is wider than the input one and the two rows overlap they walk
// back to front (the in-place widening).
//
// The vector kernels of widenings and moves gather each pixel's input units
// into four 16-bit slots in output order (a byte shuffle that also exchanges
// the bytes of big-endian words and zeroes the slots that read nothing), then
// shift or fill the slots and pack them to the output shape. Those of
// reductions shift the input words where they are (after exchanging the
// bytes of big-endian ones) and then select one byte of each.
#ifndef CCONVERT_RGB_DEEP_RGB_KERNELS_H
#define CCONVERT_RGB_DEEP_RGB_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "frame/simd.h"
#include "rgb/deep_rgb_layout.h"
#include "rgb/row_walk.h"

namespace cconvert::detail {

struct DeepShuffles;

using DeepRow = void (*)(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                         const DeepPattern& pattern, const DeepShuffles& shuffles);

enum class PixelOrder { front_to_back, back_to_front };

// The kernels of a conversion between two shapes whose portable walk goes in
// the given direction; the row test lets a vector kernel stand in for it only
// where it gives the same bytes.
RowKernels<DeepRow> deep_row_kernels(DeepShape in, DeepShape out, PixelOrder order);

// The pairs of shapes the converters use; kernels exist for these.
#define CCNVT_DEEP_SHAPE_PAIRS(PAIR)                                                          \
    PAIR(words3, bytes4) PAIR(words4, bytes4) PAIR(words4, bytes3) PAIR(bytes4, words3)       \
    PAIR(bytes4, words4) PAIR(words3, words3) PAIR(words3, words4) PAIR(words4, words3)       \
    PAIR(words4, words4)

template <DeepShape In, DeepShape Out>
constexpr bool vector_walks_back_to_front() {  // when the rows overlap
    return bytes_of(Out) > bytes_of(In);
}

// Declared with their processor targets, so that the definitions' targets
// hold for the whole template.
template <DeepShape In, DeepShape Out>
CCNVT_TARGET_SSE void deep_row_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                  const DeepPattern& pattern, const DeepShuffles& shuffles);
template <DeepShape In, DeepShape Out>
CCNVT_TARGET_AVX2 void deep_row_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                   const DeepPattern& pattern, const DeepShuffles& shuffles);

// ---- what the vector kernels share ----

// A vector holds two pixels' worth of a four-pixel block. The pixels of the
// first half of a block are loaded from the block's start; those of the
// second half from second_pair_load() bytes in, where they sit
// second_pair_offset() bytes into the 16 bytes loaded. No load reads past the
// four pixels.
constexpr std::size_t second_pair_offset(DeepShape in) {
    return in == DeepShape::words4 ? 0 : in == DeepShape::words3 ? 4 : 8;
}
constexpr std::size_t second_pair_load(DeepShape in) { return 2 * bytes_of(in) - second_pair_offset(in); }

constexpr std::uint8_t kZeroByte = 0x80;  // a byte-shuffle index that writes 0

// The byte-shuffle indices of the vector kernels, worked out once per
// conversion from the pattern and the input shape. Where the depth shift is 8
// or more, the shuffles move each byte by the first 8 bits of it (a widening
// puts the byte in the high half of its word, a reduction takes the high
// byte of the word), and the kernels shift by the rest.
struct DeepShuffles {
    // Widenings and moves: two pixels, from offset 0 (first) or
    // second_pair_offset (second) of a load, into their slots.
    alignas(16) std::uint8_t gather_first[16], gather_second[16];
    // Reductions: a byte of each of two pixels' shifted words, from offset 0
    // (first) or second_pair_offset (second), to the output bytes of two
    // 4-byte pixels at byte 0 (low) or byte 8 (high) of the result.
    alignas(16) std::uint8_t first_to_low[16], second_to_low[16], first_to_high[16], second_to_high[16];
    std::uint8_t shift;  // what the kernels still shift the words by
};

DeepShuffles deep_shuffles(DeepShape in, const DeepPattern& pattern);

}  // namespace cconvert::detail

#endif
