// Non-temporal stores for frames too large for the caches.
//
// A destination much larger than the last-level cache would only push the
// source (and everything else) out of it; writing it with non-temporal
// stores skips the read-for-ownership of every destination line and leaves
// the cache alone. Frames that fit keep ordinary stores: the next stage of a
// host's pipeline finds them in cache. The bytes are the same either way.
//
// Only vector paths stream; the portable kernels stay plain reference code.
// A vector row kernel streams by converting a chunk of its row into a small
// buffer and copying that with non-temporal stores; the conversion fences
// once at its end.
#ifndef CCONVERT_FRAME_STREAMING_H
#define CCONVERT_FRAME_STREAMING_H

#include <emmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>

namespace cconvert::detail {

// Destinations larger than this many bytes stream: twice the last-level
// cache that this core shares, or the value of CCNVT_STREAMING_BYTES when
// that is set. Where a non-temporal copy is barely faster than memcpy (as on
// the machines we measure on), streaming a frame that merely overflows the
// cache costs more than the read-for-ownership it saves; machines where it
// is twice as fast gain from a lower value, such as a quarter of the cache.
std::size_t streaming_threshold_bytes();

inline bool streaming_pays(std::size_t destination_bytes) {
    return destination_bytes > streaming_threshold_bytes();
}

// Copies bytes with 16-byte non-temporal stores where the destination is
// aligned, ordinary stores for the ends. Needs streaming_finished() before
// the conversion returns.
inline void stream_copy(unsigned char* destination, const unsigned char* source, std::size_t bytes) {
    const std::size_t head =
        std::min(bytes, (16 - reinterpret_cast<std::uintptr_t>(destination) % 16) % 16);
    std::memcpy(destination, source, head);
    std::size_t done = head;
    for (; done + 16 <= bytes; done += 16)
        _mm_stream_si128(reinterpret_cast<__m128i*>(destination + done),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + done)));
    std::memcpy(destination + done, source + done, bytes - done);
}

// Orders the non-temporal stores before anything the caller does next.
inline void streaming_finished() { _mm_sfence(); }

// Bytes of output a streaming kernel converts at a time: small enough for the
// stack of any host thread and for the first-level cache.
inline constexpr std::size_t kStreamChunkBytes = 4096;

// Runs kernel(out, in, units, extra...) over `units` units of in_unit bytes
// read and out_unit bytes written, a chunk at a time through a buffer that
// stream_copy() moves to `out`. Only for kernels whose units do not depend
// on where in the row they are, and whose chunks may be a multiple of
// `unit_multiple` units (the period of anything that does depend on it).
// Chunks are whole 64-byte lines of output, so that no line gets both
// non-temporal and ordinary stores (which costs far more than either), save
// at the ends of a destination that does not start or end on a line.
template <class Kernel, class... Extra>
void stream_units(Kernel kernel, unsigned char* out, const unsigned char* in, std::size_t units,
                  std::size_t in_unit, std::size_t out_unit, std::size_t unit_multiple, const Extra&... extra) {
    alignas(64) unsigned char buffer[kStreamChunkBytes];
    const std::size_t step = std::lcm(unit_multiple, 64 / std::gcd(out_unit, std::size_t{64}));
    const std::size_t chunk_units = kStreamChunkBytes / out_unit / step * step;
    if (chunk_units == 0) {
        kernel(out, in, units, extra...);
        return;
    }
    while (units > 0) {
        const std::size_t n = std::min(units, chunk_units);
        kernel(buffer, in, n, extra...);
        stream_copy(out, buffer, n * out_unit);
        units -= n;
        in += n * in_unit;
        out += n * out_unit;
    }
}

}  // namespace cconvert::detail

#endif
