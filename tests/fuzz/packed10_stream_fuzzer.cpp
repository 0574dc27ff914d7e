// ccnvt_YCbCr10Packed_to_low8_from10 and ccnvt_Y10Packed_to_v210 against a model
// (10-bit samples, MSB first). Input: entry and feature word (1), bit offset (4),
// count (2), the stream; buffers hold exactly what may be read or written.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "cconvert/packed10.h"
#include "fuzz_support.h"

namespace {

// The stream's bit at `position`; bits outside [0, 8 * bytes) are 0.
unsigned bit_at(const std::vector<std::uint8_t>& stream, std::int64_t position) {
    if (position < 0 || position >= 8 * static_cast<std::int64_t>(stream.size())) return 0;
    return (stream[static_cast<std::size_t>(position / 8)] >> (7 - position % 8)) & 1u;
}

std::uint32_t sample_at(const std::vector<std::uint8_t>& stream, std::int64_t first_bit) {
    std::uint32_t value = 0;
    for (int i = 0; i < 10; ++i) value = value << 1 | bit_at(stream, first_bit + i);
    return value;
}

// Exactly `size` bytes: the fuzzer's, then zeros.
std::vector<std::uint8_t> exactly(const cconvert::fuzz::FuzzInput& in, std::size_t size) {
    std::vector<std::uint8_t> bytes(size, 0);
    const std::size_t given = std::min(size, in.rest_size());
    if (given != 0) std::memcpy(bytes.data(), in.rest(), given);
    return bytes;
}

void low8_from10(const cconvert::fuzz::FuzzInput& in, int bit_offset, unsigned int count) {
    // The reader covers count * 10 / 8 bytes; past them it reads zeros.
    const std::vector<std::uint8_t> stream = exactly(in, std::size_t{count} * 10 / 8);
    std::vector<std::uint8_t> out(count);
    ccnvt_YCbCr10Packed_to_low8_from10(out.data(), stream.data(), bit_offset, count);
    for (unsigned int i = 0; i < count; ++i)
        if (out[i] != (sample_at(stream, std::int64_t{bit_offset} + 10 * std::int64_t{i}) & 0xFF)) std::abort();
}

void y10_to_v210(const cconvert::fuzz::FuzzInput& in, unsigned int byte_count) {
    // Whole 15-byte steps are read, each written as one 16-byte group.
    const std::size_t steps = (byte_count + 14) / 15;
    const std::vector<std::uint8_t> stream = exactly(in, 15 * steps);
    std::vector<std::uint8_t> out(16 * steps);
    const unsigned int written = ccnvt_Y10Packed_to_v210(reinterpret_cast<unsigned int*>(out.data()),
                                                         stream.data(), byte_count);
    if (written != 16 * steps) std::abort();
    for (std::size_t step = 0; step < steps; ++step)
        for (std::size_t w = 0; w < 4; ++w) {
            std::uint32_t word = 0;
            for (std::size_t f = 0; f < 3; ++f)
                word |= sample_at(stream, 8 * static_cast<std::int64_t>(15 * step) + 10 * static_cast<std::int64_t>(3 * w + f))
                        << (10 * f);
            std::uint32_t got;
            std::memcpy(&got, out.data() + 16 * step + 4 * w, 4);
            if (got != word) std::abort();
        }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cconvert::fuzz::FuzzInput in(data, size);
    const std::uint8_t choice = in.byte();
    cconvert::fuzz::use_feature_word(choice >> 1);
    const auto bit_offset = in.integer<std::int32_t>();
    const std::uint16_t count = in.integer<std::uint16_t>();
    if (choice & 1)
        low8_from10(in, bit_offset, count % 4096);
    else
        y10_to_v210(in, count % 8192);
    return 0;
}
