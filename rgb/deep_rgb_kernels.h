// Row kernels of the 48- and 64-bit RGB converters.
//
// One kernel per pair of pixel shapes. The portable kernels come in both
// walking directions; the vector kernels walk back to front when the output
// pixel is wider than the input one and front to back otherwise, load each
// block before storing it, touch no byte outside the two rows, and finish the
// row with the portable walk of their direction.
//
// The vector kernels first gather each pixel's input units into four 16-bit
// slots in output order (a byte shuffle that also exchanges the bytes of
// big-endian words and zeroes the slots that read nothing), then shift and
// fill the slots, then pack them to the output shape.
#ifndef CCONVERT_RGB_DEEP_RGB_KERNELS_H
#define CCONVERT_RGB_DEEP_RGB_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "rgb/deep_rgb_layout.h"
#include "rgb/row_walk.h"

namespace cconvert::detail {

using DeepRow = void (*)(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                         const DeepPattern& pattern);

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
constexpr bool vector_walks_back_to_front() {
    return bytes_of(Out) > bytes_of(In);
}

template <DeepShape In, DeepShape Out>
void deep_row_sse(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                  const DeepPattern& pattern);
template <DeepShape In, DeepShape Out>
void deep_row_avx2(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                   const DeepPattern& pattern);

// ---- what the vector kernels share ----

// A vector holds two pixels' slots (8 bytes each). The two pixels of the first
// half of a four-pixel block are loaded from the block's start; those of the
// second half from second_pair_load<In>() bytes in, where they sit
// second_pair_offset<In>() bytes into the 16 bytes loaded. No load reads past
// the four pixels.
template <DeepShape In>
constexpr std::size_t second_pair_offset() {
    return In == DeepShape::words4 ? 0 : In == DeepShape::words3 ? 4 : 8;
}
template <DeepShape In>
constexpr std::size_t second_pair_load() {
    return 2 * bytes_of(In) - second_pair_offset<In>();
}

// The byte-shuffle indices that gather two pixels, starting `offset` bytes
// into a 16-byte load, into their slots.
template <DeepShape In>
struct SlotGather {
    alignas(16) std::uint8_t first[16], second[16];

    explicit SlotGather(const DeepPattern& pattern) {
        fill(first, 0, pattern);
        fill(second, second_pair_offset<In>(), pattern);
    }

private:
    static void fill(std::uint8_t* mask, std::size_t offset, const DeepPattern& pattern) {
        constexpr std::uint8_t kZero = 0x80;
        for (std::size_t pixel = 0; pixel < 2; ++pixel)
            for (std::size_t k = 0; k < 4; ++k) {
                std::uint8_t* slot = mask + 8 * pixel + 2 * k;
                const int unit = pattern.from[k];
                const auto at = static_cast<std::uint8_t>(offset + bytes_of(In) * pixel);
                if (unit == kNoUnit) {
                    slot[0] = slot[1] = kZero;
                } else if constexpr (holds_words(In)) {
                    const auto word = static_cast<std::uint8_t>(at + 2 * unit);
                    slot[0] = pattern.big_endian_source ? word + 1 : word;
                    slot[1] = pattern.big_endian_source ? word : word + 1;
                } else {
                    slot[0] = static_cast<std::uint8_t>(at + unit);
                    slot[1] = kZero;
                }
            }
    }
};

}  // namespace cconvert::detail

#endif
