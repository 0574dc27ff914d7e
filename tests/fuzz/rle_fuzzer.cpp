// The RLE decoders on hostile streams. Input: decoder (1), width (4), height (1),
// padding (1), the stream, then 129 end-of-bitmap codes (an absolute run reads at
// most 256 bytes, so decoding always ends inside). ccnvt_rle8_rgba32 does not clip
// runs: the frame ends exactly at the furthest byte the model writes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "cconvert/rgb.h"
#include "fuzz_support.h"

namespace {

using Decode = void (*)(void*, long, const void*, long, long, long, const void*);

struct Decoder {
    Decode decode;
    bool four_bit_indices, clipped;
    long pixel_bytes;  // 3 or 4; rgba32 takes 4-byte palette entries
};

const Decoder kDecoders[] = {{ccnvt_rle8_rgb24, false, true, 3},
                             {ccnvt_rle4_rgb24, true, true, 3},
                             {ccnvt_rle4_rgba32, true, true, 4},
                             {ccnvt_rle8_rgba32, false, false, 4}};

// put(offset from the bottom row, palette index) for each pixel drawn.
template <class Put>
void model_decode(const Decoder& d, const std::uint8_t* stream, long width, long rows, long pitch, Put put) {
    long row = 0, x = 0, lines_ended = 0;
    auto pixel = [&](unsigned index) {
        if (!d.clipped || x < width) put(row + d.pixel_bytes * x, index);
        ++x;
    };
    auto index_of = [&](const std::uint8_t* bytes, unsigned i) -> unsigned {
        if (!d.four_bit_indices) return bytes[i];
        return i % 2 == 0 ? bytes[i / 2] >> 4 : bytes[i / 2] & 0x0F;
    };
    for (;;) {
        const std::uint8_t first = stream[0], second = stream[1];
        stream += 2;
        if (first != 0) {
            for (unsigned i = 0; i < first; ++i) pixel(index_of(&second, d.four_bit_indices ? i % 2 : 0));
        } else if (second == 0) {
            if (++lines_ended >= rows) return;
            row -= pitch;
            x = 0;
        } else if (second == 1 || second == 2) {  // the decoders stop at a delta
            return;
        } else {
            for (unsigned i = 0; i < second; ++i) pixel(index_of(stream, i));
            const std::size_t bytes = d.four_bit_indices ? (second + 1u) / 2 : second;
            stream += bytes + bytes % 2;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cconvert::fuzz::FuzzInput in(data, size);
    const Decoder& d = kDecoders[in.byte() % 4];
    const long width = in.in_range(1, 300);
    const std::uint8_t height_byte = in.byte();
    const long rows = 1 + height_byte % 40;
    // The unclipped decoder needs a positive height.
    const long height = (height_byte & 0x80) && d.clipped ? -rows : rows;
    const long row_bytes = d.pixel_bytes * width;
    const long pitch = row_bytes + in.byte() % 8;

    std::vector<std::uint8_t> stream(in.rest(), in.rest() + (in.rest_size() & ~std::size_t{1}));
    for (int i = 0; i < 129; ++i) stream.insert(stream.end(), {0, 1});
    std::uint8_t palette[256 * 4];
    for (int i = 0; i < 256 * 4; ++i) palette[i] = static_cast<std::uint8_t>(i * 37 + 11);

    // Offsets are from the bottom row, the highest row in memory.
    long furthest = row_bytes;
    model_decode(d, stream.data(), width, rows, pitch,
                 [&](long at, unsigned) { furthest = std::max(furthest, at + d.pixel_bytes); });
    const long bottom = (rows - 1) * pitch;
    const auto frame_bytes = static_cast<std::size_t>(bottom + furthest);
    std::vector<std::uint8_t> expected(frame_bytes, 0xA5);
    model_decode(d, stream.data(), width, rows, pitch, [&](long at, unsigned index) {
        std::uint8_t* out = expected.data() + bottom + at;
        std::memcpy(out, palette + d.pixel_bytes * index, 3);
        if (d.pixel_bytes == 4) out[3] = 0;
    });

    // Exactly the bytes the rules let the decoder write, on the heap.
    auto* frame = static_cast<std::uint8_t*>(std::malloc(frame_bytes));
    std::memset(frame, 0xA5, frame_bytes);
    d.decode(frame, pitch, stream.data(), 0, width, height, palette);
    if (std::memcmp(frame, expected.data(), frame_bytes) != 0) std::abort();
    std::free(frame);
    return 0;
}
