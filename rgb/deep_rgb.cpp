// 48- and 64-bit RGB: reductions to rgba32, widenings from it, the 48-to-64
// and big-endian converters and the span reorder of 16-bit channels. Entry
// points and portable kernels.
#include <utility>

#include "cconvert/rgb.h"
#include "frame/shim_protocol.h"
#include "rgb/deep_rgb_kernels.h"

namespace cconvert::detail {

namespace {

template <DeepShape In, DeepShape Out>
void deep_row_front_to_back(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                            const DeepPattern& pattern, const DeepShuffles&) {
    deep_pixels_front_to_back<In, Out>(destination, source, 0, pixels, pattern);
}

template <DeepShape In, DeepShape Out>
void deep_row_back_to_front(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                            const DeepPattern& pattern, const DeepShuffles&) {
    deep_pixels_back_to_front<In, Out>(destination, source, 0, pixels, pattern);
}

// Two pixels starting `offset` bytes into a load, into their slots; bytes
// into the high byte of their slot where high_byte is set.
void gather_into_slots(std::uint8_t* mask, DeepShape in, std::size_t offset, bool high_byte,
                       const DeepPattern& pattern) {
    for (std::size_t pixel = 0; pixel < 2; ++pixel)
        for (std::size_t k = 0; k < 4; ++k) {
            std::uint8_t* slot = mask + 8 * pixel + 2 * k;
            const int unit = pattern.from[k];
            const std::size_t at = offset + bytes_of(in) * pixel;
            if (unit == kNoUnit) {
                slot[0] = slot[1] = kZeroByte;
            } else if (holds_words(in)) {
                const auto word = static_cast<std::uint8_t>(at + 2 * unit);
                slot[0] = pattern.big_endian_source ? word + 1 : word;
                slot[1] = pattern.big_endian_source ? word : word + 1;
            } else {
                slot[high_byte ? 1 : 0] = static_cast<std::uint8_t>(at + unit);
                slot[high_byte ? 0 : 1] = kZeroByte;
            }
        }
}

// The low (or high) bytes of two pixels' words starting `offset` bytes into a
// load, to bytes `at` to at + 7 of the result.
void select_bytes(std::uint8_t* mask, DeepShape in, std::size_t offset, std::size_t at, bool high_byte,
                  const DeepPattern& pattern) {
    for (std::size_t i = 0; i < 16; ++i) mask[i] = kZeroByte;
    for (std::size_t pixel = 0; pixel < 2; ++pixel)
        for (std::size_t k = 0; k < 4; ++k)
            if (pattern.from[k] != kNoUnit)
                mask[at + 4 * pixel + k] =
                    static_cast<std::uint8_t>(offset + bytes_of(in) * pixel + 2 * pattern.from[k] + (high_byte ? 1 : 0));
}

template <DeepShape In, DeepShape Out>
RowKernels<DeepRow> kernels_of(PixelOrder order) {
    constexpr bool widens = vector_walks_back_to_front<In, Out>();
    // The vector kernels walk like the portable one, or only where rows do not overlap.
    RowWalk walk = RowWalk::separate_rows_only;
    if (order == PixelOrder::front_to_back && !widens) walk = RowWalk::front_to_back_narrowing;
    if (order == PixelOrder::back_to_front && widens) walk = RowWalk::back_to_front_widening;
    return {order == PixelOrder::front_to_back ? deep_row_front_to_back<In, Out> : deep_row_back_to_front<In, Out>,
            deep_row_sse<In, Out>, deep_row_avx2<In, Out>, walk, bytes_of(In), bytes_of(Out)};
}

}  // namespace

DeepShuffles deep_shuffles(DeepShape in, const DeepPattern& pattern) {
    // A shift by 8 or more moves each byte to the other half of its word:
    // the shuffles do that part (for 16-bit data, all of it).
    const bool by_a_byte = pattern.shift >= 8;
    DeepShuffles s;
    s.shift = static_cast<std::uint8_t>(by_a_byte ? pattern.shift - 8 : pattern.shift);
    const std::size_t second = second_pair_offset(in);
    gather_into_slots(s.gather_first, in, 0, by_a_byte, pattern);
    gather_into_slots(s.gather_second, in, second, by_a_byte, pattern);
    if (holds_words(in)) {
        select_bytes(s.first_to_low, in, 0, 0, by_a_byte, pattern);
        select_bytes(s.second_to_low, in, second, 0, by_a_byte, pattern);
        select_bytes(s.first_to_high, in, 0, 8, by_a_byte, pattern);
        select_bytes(s.second_to_high, in, second, 8, by_a_byte, pattern);
    }
    return s;
}

RowKernels<DeepRow> deep_row_kernels(DeepShape in, DeepShape out, PixelOrder order) {
#define CCNVT_PICK(in_shape, out_shape) \
    if (in == DeepShape::in_shape && out == DeepShape::out_shape) return kernels_of<DeepShape::in_shape, DeepShape::out_shape>(order);
    CCNVT_DEEP_SHAPE_PAIRS(CCNVT_PICK)
#undef CCNVT_PICK
    __builtin_unreachable();
}

namespace {

// ---- patterns ----

constexpr std::int8_t N = kNoUnit;

// Output units from input units, no shift.
DeepPattern moved(std::int8_t u0, std::int8_t u1, std::int8_t u2, std::int8_t u3 = N) {
    return {{u0, u1, u2, u3}, false, 0, {0, 0, 0, 0}};
}
// The depth shift of a reduction or a widening.
DeepPattern shifted(DeepPattern p, int bits) {
    p.shift = depth_shift(bits);
    return p;
}
DeepPattern big_endian(DeepPattern p) {
    p.big_endian_source = true;
    return p;
}
DeepPattern opaque_fourth_word(DeepPattern p) {
    p.fill[3] = 0xFFFF;
    return p;
}

// The big-endian converters' mode names the order of the source's words:
// 0 alpha, red, green, blue; 1 red, green, blue, alpha; 2 alpha, blue, green,
// red; 3 blue, green, red, alpha. The output is always blue, green, red,
// alpha, as rgba64 and rgba32 hold them.
constexpr std::int8_t kBigEndianModes[4][4] = {{3, 2, 1, 0}, {2, 1, 0, 3}, {1, 2, 3, 0}, {0, 1, 2, 3}};

bool is_big_endian_mode(int mode) { return mode >= 0 && mode <= 3; }
// The three-word outputs take only the alpha-first modes.
bool is_alpha_first_mode(int mode) { return mode == 0 || mode == 2; }

DeepPattern from_big_endian_mode(int mode, bool with_alpha) {
    const std::int8_t* from = kBigEndianModes[mode];
    return big_endian(moved(from[0], from[1], from[2], with_alpha ? from[3] : N));
}

// ---- rows ----

enum class RowOrder {
    first_to_last,
    last_to_first,
    last_to_first_when_height_positive,  // the height's sign picks the order of work
};

struct DeepConversion {
    DeepShape in, out;
    PixelOrder pixels;
    RowOrder rows;
    bool end_aligned = false;  // row r is the span of pixels that ends at (r + 1) * pitch
};

// Where row k of one side starts.
struct FrameRows {
    const unsigned char* base;
    long pitch;
    std::size_t row_bytes;
    bool end_aligned;  // row k is the span of row_bytes that ends at (k + 1) * pitch

    const unsigned char* row(long k) const {
        return end_aligned ? base + (k + 1) * pitch - static_cast<long>(row_bytes) : base + k * pitch;
    }
    // The bytes that rows 0 to rows - 1 cover, from the lowest.
    std::pair<const unsigned char*, std::size_t> extent(long rows) const {
        const unsigned char* first = row(0);
        const unsigned char* last = row(rows - 1);
        const unsigned char* low = first < last ? first : last;
        return {low, static_cast<std::size_t>((first < last ? last : first) - low) + row_bytes};
    }
};

// Destination row k from source row k, for |height| rows. The order of the
// rows shows only when the frames overlap; separate frames are walked the way
// the destination rows ascend in memory, which the processor's prefetchers
// follow best.
void convert_rows(const DeepConversion& c, const DeepPattern& pattern, void* destination,
                  long destination_pitch, const void* source, long source_pitch, long width, long height) {
    const RowKernels<DeepRow> kernels = deep_row_kernels(c.in, c.out, c.pixels);
    const ChosenRowKernel<DeepRow> convert(kernels, frame_span_bytes(destination_pitch, height));
    const DeepShuffles shuffles = deep_shuffles(c.in, pattern);
    std::size_t pixels = pixels_in(width);
    long rows = rows_in(height);
    FrameRows to{static_cast<const unsigned char*>(destination), destination_pitch, bytes_of(c.out) * pixels,
                 c.end_aligned};
    FrameRows from{static_cast<const unsigned char*>(source), source_pitch, bytes_of(c.in) * pixels, c.end_aligned};
    const auto [to_start, to_bytes] = to.extent(rows);
    const auto [from_start, from_bytes] = from.extent(rows);
    const bool apart = !ranges_overlap(to_start, to_bytes, from_start, from_bytes);
    bool upwards = c.rows == RowOrder::last_to_first ||
                   (c.rows == RowOrder::last_to_first_when_height_positive && height > 0);
    if (apart) upwards = destination_pitch < 0;
    // Rows without gaps between them are one row, where that walks the pixels
    // in the same order.
    const bool pixels_upwards = c.pixels == PixelOrder::back_to_front;
    if (apart || upwards == pixels_upwards) {
        const RowLayout merged = merged_if_contiguous(pixels, rows, destination_pitch, bytes_of(c.out), source_pitch,
                                                      bytes_of(c.in));
        if (merged.rows != rows) {
            pixels = merged.pixels;
            rows = merged.rows;
            to = {to.base, merged.destination_pitch, bytes_of(c.out) * pixels, c.end_aligned};
            from = {from.base, merged.source_pitch, bytes_of(c.in) * pixels, c.end_aligned};
        }
    }
    for (long i = 0; i < rows; ++i) {
        const long k = upwards ? rows - 1 - i : i;
        convert(const_cast<unsigned char*>(to.row(k)), from.row(k), pixels, pattern, shuffles);
    }
}

bool nothing_to_convert(long width, long height) { return height == 0 || width < 1; }

// 48-bit to rgba32: rows upwards for a positive height, pixels back to front.
constexpr DeepConversion kRgb48ToRgba32{DeepShape::words3, DeepShape::bytes4, PixelOrder::back_to_front,
                                        RowOrder::last_to_first_when_height_positive};
// 64-bit to rgba32: rows first to last, pixels front to back (in place).
constexpr DeepConversion kRgba64ToRgba32{DeepShape::words4, DeepShape::bytes4, PixelOrder::front_to_back,
                                         RowOrder::first_to_last};
// rgba32 to 48 and 64 bits: rows last to first, pixels back to front (in place).
constexpr DeepConversion kRgba32ToRgb48{DeepShape::bytes4, DeepShape::words3, PixelOrder::back_to_front,
                                        RowOrder::last_to_first};
constexpr DeepConversion kRgba32ToRgba64{DeepShape::bytes4, DeepShape::words4, PixelOrder::back_to_front,
                                         RowOrder::last_to_first};
// 48 to 64 bits: rows last to first from the end of each pitch span (in place).
constexpr DeepConversion kRgb48ToRgba64{DeepShape::words3, DeepShape::words4, PixelOrder::back_to_front,
                                        RowOrder::last_to_first, true};

// The converters to and from rgba32 that test height and width.
void convert_to_or_from_rgba32(const DeepConversion& c, const DeepPattern& pattern, int bits, void* destination,
                               long destination_pitch, const void* source, long source_pitch, long width,
                               long height) {
    if (nothing_to_convert(width, height)) return;
    convert_rows(c, shifted(pattern, bits), destination, destination_pitch, source, source_pitch, width, height);
}

// ---- the span reorder ----

// Source word of output slots 0..3 by source order; kNoUnit writes 0.
constexpr std::int8_t kFourWordSourceOrders[4][4] = {{0, 1, 2, 3}, {1, 2, 3, 0}, {2, 1, 0, 3}, {3, 2, 1, 0}};
constexpr std::int8_t kThreeWordSourceOrders[4][4] = {{0, 1, 2, N}, {0, 1, 2, N}, {2, 1, 0, N}, {2, 1, 0, N}};
// Which of those slots each output word takes, by destination order.
constexpr int kDestinationOrders[4][4] = {{0, 1, 2, 3}, {3, 0, 1, 2}, {2, 1, 0, 3}, {3, 2, 1, 0}};

bool is_order(int order) { return order >= 0 && order <= 3; }

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

// ---- to rgba32 ----

void ccnvt_rgb48_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                        long width, long height, int bits) {
    if (height == 0) return;
    convert_rows(kRgb48ToRgba32, shifted(moved(0, 1, 2), bits), destination, destination_pitch, source,
                 source_pitch, width, height);
}

void ccnvt_bgr48_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                        long width, long height, int bits) {
    if (height == 0) return;
    convert_rows(kRgb48ToRgba32, shifted(moved(2, 1, 0), bits), destination, destination_pitch, source,
                 source_pitch, width, height);
}

void ccnvt_rgba64_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                         long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba64ToRgba32, moved(0, 1, 2, 3), bits, destination, destination_pitch, source,
                     source_pitch, width, height);
}

void ccnvt_argb64_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                         long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba64ToRgba32, moved(1, 2, 3, 0), bits, destination, destination_pitch, source,
                     source_pitch, width, height);
}

void ccnvt_abgr64_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                         long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba64ToRgba32, moved(3, 2, 1, 0), bits, destination, destination_pitch, source,
                     source_pitch, width, height);
}

void ccnvt_bgra64_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                         long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba64ToRgba32, moved(2, 1, 0, 3), bits, destination, destination_pitch, source,
                     source_pitch, width, height);
}

// ---- from rgba32 ----

void ccnvt_rgba32_rgb48(void* destination, long destination_pitch, const void* source, long source_pitch,
                        long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba32ToRgb48, moved(0, 1, 2), bits, destination, destination_pitch, source,
                      source_pitch, width, height);
}

void ccnvt_rgba32_bgr48(void* destination, long destination_pitch, const void* source, long source_pitch,
                        long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba32ToRgb48, moved(2, 1, 0), bits, destination, destination_pitch, source,
                      source_pitch, width, height);
}

void ccnvt_rgba32_rgba64(void* destination, long destination_pitch, const void* source, long source_pitch,
                         long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba32ToRgba64, moved(0, 1, 2, 3), bits, destination, destination_pitch, source,
                      source_pitch, width, height);
}

void ccnvt_rgba32_argb64(void* destination, long destination_pitch, const void* source, long source_pitch,
                         long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba32ToRgba64, moved(3, 0, 1, 2), bits, destination, destination_pitch, source,
                      source_pitch, width, height);
}

void ccnvt_bgra32_rgba64(void* destination, long destination_pitch, const void* source, long source_pitch,
                         long width, long height, int bits) {
    convert_to_or_from_rgba32(kRgba32ToRgba64, moved(2, 1, 0, 3), bits, destination, destination_pitch, source,
                      source_pitch, width, height);
}

// ---- 48 to 64 bits ----

void ccnvt_rgb48_rgba64(void* destination, long destination_pitch, const void* source, long source_pitch,
                        long width, long height) {
    if (nothing_to_convert(width, height)) return;
    convert_rows(kRgb48ToRgba64, opaque_fourth_word(moved(0, 1, 2)), destination, destination_pitch, source,
                 source_pitch, width, height);
}

void ccnvt_bgr48_rgba64(void* destination, long destination_pitch, const void* source, long source_pitch,
                        long width, long height) {
    if (nothing_to_convert(width, height)) return;
    convert_rows(kRgb48ToRgba64, opaque_fourth_word(moved(2, 1, 0)), destination, destination_pitch, source,
                 source_pitch, width, height);
}

// ---- big-endian 64-bit ----

void ccnvt_argb64be_rgb48(void* destination, long destination_pitch, const void* source, long source_pitch,
                          long width, long height, int, int mode) {
    if (height < 1 || width < 1 || !is_alpha_first_mode(mode)) return;
    convert_rows({DeepShape::words4, DeepShape::words3, PixelOrder::back_to_front, RowOrder::last_to_first},
                 from_big_endian_mode(mode, false), destination, destination_pitch, source, source_pitch, width,
                 height);
}

void ccnvt_argb64be_rgb24(void* destination, long destination_pitch, const void* source, long source_pitch,
                          long width, long height, int bits, int mode) {
    if (height == 0 || !is_alpha_first_mode(mode)) return;
    convert_rows({DeepShape::words4, DeepShape::bytes3, PixelOrder::back_to_front,
                  RowOrder::last_to_first_when_height_positive},
                 shifted(from_big_endian_mode(mode, false), bits), destination, destination_pitch, source,
                 source_pitch, width, height);
}

void ccnvt_argb64be_rgba64(void* destination, long destination_pitch, const void* source, long source_pitch,
                           long width, long height, long, int mode) {
    if (nothing_to_convert(width, height) || !is_big_endian_mode(mode)) return;
    convert_rows({DeepShape::words4, DeepShape::words4, PixelOrder::front_to_back, RowOrder::first_to_last},
                 from_big_endian_mode(mode, true), destination, destination_pitch, source, source_pitch, width,
                 height);
}

void ccnvt_argb64be_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch,
                           long width, long height, int bits, int mode) {
    if (!is_big_endian_mode(mode)) return;
    convert_to_or_from_rgba32(kRgba64ToRgba32, from_big_endian_mode(mode, true), bits, destination, destination_pitch,
                     source, source_pitch, width, height);
}

// ---- reorder ----

void ccnvt_argb64_reorder(void* destination, const void* source, long width, long height, int source_order,
                          int destination_order, unsigned int source_bits, unsigned int destination_bits) {
    const long count = width * height;
    if (count < 1) return;
    if (offered_to_shims(cconvert_argb64_reorder_arm, cconvert_argb64_reorder_intel, destination,
                         const_cast<void*>(source), count, source_order, destination_order, source_bits,
                         destination_bits))
        return;
    const bool four_word_source = source_bits == 64, four_word_destination = destination_bits == 64;
    if (!is_order(source_order) || !is_order(destination_order)) return;
    const std::int8_t* slots = (four_word_source ? kFourWordSourceOrders : kThreeWordSourceOrders)[source_order];
    const int* order = kDestinationOrders[destination_order];
    DeepPattern pattern = moved(slots[order[0]], slots[order[1]], slots[order[2]]);
    if (four_word_destination) pattern.from[3] = slots[order[3]];
    const DeepShape in = four_word_source ? DeepShape::words4 : DeepShape::words3;
    const DeepShape out = four_word_destination ? DeepShape::words4 : DeepShape::words3;
    const RowKernels<DeepRow> kernels = deep_row_kernels(in, out, PixelOrder::front_to_back);
    const ChosenRowKernel<DeepRow> reorder(kernels, static_cast<std::size_t>(count) * bytes_of(out));
    reorder(static_cast<unsigned char*>(destination), static_cast<const unsigned char*>(source),
            static_cast<std::size_t>(count), pattern, deep_shuffles(in, pattern));
}
