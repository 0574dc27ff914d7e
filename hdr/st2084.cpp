// ST 2084 table accessors and the frame converters that run samples through
// the 8-bit tables. The tables themselves are generated at build time.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cconvert/hdr.h"
#include "ycbcr422/yuv422_layout.h"

namespace cconvert::detail {
namespace {

using Table = const unsigned int*;

// The 8-bit tables hold values below 256; indices past their end read the
// last entry.
constexpr std::uint32_t kLastEntry = 255;
inline std::uint32_t entry(Table table, std::uint32_t index) { return table[std::min(index, kLastEntry)]; }
inline unsigned char byte_entry(Table table, unsigned char index) { return static_cast<unsigned char>(table[index]); }

// Converts one row of row_bytes bytes (the smaller of the two row sizes).
using RowConverter = void (*)(unsigned char* destination, const unsigned char* source,
                              std::uint32_t row_bytes, Table table);

// Walks the rows top to bottom; nothing is done when rows is 0 or the row
// is shorter than least_row_bytes.
int convert_rows(unsigned char* destination, const unsigned char* source,
                 unsigned int destination_row_bytes, unsigned int source_row_bytes,
                 unsigned int rows, std::uint32_t least_row_bytes, Table table, RowConverter row) {
    const std::uint32_t row_bytes = std::min(destination_row_bytes, source_row_bytes);
    if (rows == 0 || row_bytes < least_row_bytes) return 0;
    for (std::size_t r = 0; r < rows; ++r)
        row(destination + r * destination_row_bytes, source + r * source_row_bytes, row_bytes, table);
    return 0;
}

void map_bytes(unsigned char* destination, const unsigned char* source, std::uint32_t row_bytes,
               Table table) {
    for (std::uint32_t j = 0; j < row_bytes; ++j) destination[j] = byte_entry(table, source[j]);
}

// Groups of four bytes whose bytes 1 and 3 (2vuy luma) are mapped.
constexpr std::uint32_t kGroupBytes = 4;

// Writes bytes 1 and 3 of each group only.
void map_luma_bytes(unsigned char* destination, const unsigned char* source,
                    std::uint32_t row_bytes, Table table) {
    const std::uint32_t groups = row_bytes / kGroupBytes;
    for (std::uint32_t k = 0; k < groups; ++k) {
        const std::uint32_t at = kGroupBytes * k;
        destination[at + 1] = byte_entry(table, source[at + 1]);
        destination[at + 3] = byte_entry(table, source[at + 3]);
    }
}

// Copies bytes 4k+1 .. 4k+4 of each group, mapping bytes 4k+1 and 4k+3: the
// copy is one byte ahead of the group, so a row's byte 0 is never written
// and byte 4 * groups is.
void copy_and_map_luma_bytes(unsigned char* destination, const unsigned char* source,
                             std::uint32_t row_bytes, Table table) {
    const std::uint32_t groups = row_bytes / kGroupBytes;
    for (std::uint32_t k = 0; k < groups; ++k) {
        const std::uint32_t at = kGroupBytes * k;
        const unsigned char copied[kGroupBytes] = {byte_entry(table, source[at + 1]), source[at + 2],
                                                   byte_entry(table, source[at + 3]), source[at + 4]};
        std::copy(copied, copied + kGroupBytes, destination + at + 1);
    }
}

// Re-codes three 10-bit positions of each word through the 8-bit table.
// The words start one byte into the row and the positions (shifts 12, 22
// and 2) are not the v210 fields: this is the form hosts have always got.
constexpr std::uint32_t kWordsOffset = 1;
constexpr std::uint32_t kIndexMask = 0x3FF;

std::uint32_t recode_even_word(std::uint32_t w, Table table) {
    return entry(table, (w >> 12) & kIndexMask) << 12 | (w & 0x3FF003FFu);
}

std::uint32_t recode_odd_word(std::uint32_t w, Table table) {
    return (w & 0xFFC00u) | entry(table, w >> 22) << 22 | entry(table, (w >> 2) & kIndexMask) << 2;
}

void recode_v210_words(unsigned char* destination, const unsigned char* source,
                       std::uint32_t row_bytes, Table table) {
    // A 64-bit position: a 32-bit one would wrap to 0 on rows of the last 15 bytes below 4 GiB.
    for (std::uint64_t at = 0; at < row_bytes; at += kV210BytesPerGroup) {
        const unsigned char* in = source + at + kWordsOffset;
        unsigned char* out = destination + at + kWordsOffset;
        store_le32(out + 0, recode_even_word(load_le32(in + 0), table));
        store_le32(out + 4, recode_odd_word(load_le32(in + 4), table));
        store_le32(out + 8, recode_even_word(load_le32(in + 8), table));
        store_le32(out + 12, recode_odd_word(load_le32(in + 12), table));
    }
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

const unsigned int* get_ardwRGB_to_SMPTE2048_8Bit(void) { return ardwRGB_to_SMPTE2048_8Bit; }
const unsigned int* get_ardwRGB_to_SMPTE2048_10Bit(void) { return ardwRGB_to_SMPTE2048_10Bit; }
const unsigned int* get_ardwRGB_to_SMPTE2048_12Bit(void) { return ardwRGB_to_SMPTE2048_12Bit; }
const unsigned int* get_ardwSMPTE2048_to_RGB_8Bit(void) { return ardwSMPTE2048_to_RGB_8Bit; }
const unsigned int* get_ardwSMPTE2048_to_RGB_10Bit(void) { return ardwSMPTE2048_to_RGB_10Bit; }
const unsigned int* get_ardwSMPTE2048_to_RGB_12Bit(void) { return ardwSMPTE2048_to_RGB_12Bit; }

int ccnvt_rgb_to_st2084(unsigned char* destination, const unsigned char* source,
                        unsigned int destination_row_bytes, unsigned int source_row_bytes,
                        unsigned int rows) {
    return convert_rows(destination, source, destination_row_bytes, source_row_bytes, rows, 1,
                        ardwRGB_to_SMPTE2048_8Bit, map_bytes);
}

int ccnvt_st2084_to_rgb(unsigned char* destination, const unsigned char* source,
                        unsigned int destination_row_bytes, unsigned int source_row_bytes,
                        unsigned int rows) {
    return convert_rows(destination, source, destination_row_bytes, source_row_bytes, rows, 1,
                        ardwSMPTE2048_to_RGB_8Bit, map_bytes);
}

int ccnvt_yuv2_to_st2084(unsigned char* destination, const unsigned char* source,
                         unsigned int destination_row_bytes, unsigned int source_row_bytes,
                         unsigned int rows) {
    return convert_rows(destination, source, destination_row_bytes, source_row_bytes, rows,
                        kGroupBytes, ardwRGB_to_SMPTE2048_8Bit, map_luma_bytes);
}

int ccnvt_st2084_to_yuv2(unsigned char* destination, const unsigned char* source,
                         unsigned int destination_row_bytes, unsigned int source_row_bytes,
                         unsigned int rows) {
    return convert_rows(destination, source, destination_row_bytes, source_row_bytes, rows,
                        kGroupBytes, ardwSMPTE2048_to_RGB_8Bit, copy_and_map_luma_bytes);
}

int ccnvt_v210_to_st2084(unsigned char* destination, const unsigned char* source,
                         unsigned int destination_row_bytes, unsigned int source_row_bytes,
                         unsigned int rows) {
    return convert_rows(destination, source, destination_row_bytes, source_row_bytes, rows, 1,
                        ardwRGB_to_SMPTE2048_8Bit, recode_v210_words);
}

int ccnvt_st2084_to_v210(unsigned char* destination, const unsigned char* source,
                         unsigned int destination_row_bytes, unsigned int source_row_bytes,
                         unsigned int rows) {
    return convert_rows(destination, source, destination_row_bytes, source_row_bytes, rows, 1,
                        ardwSMPTE2048_to_RGB_8Bit, recode_v210_words);
}
