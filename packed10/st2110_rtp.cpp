// SMPTE ST 2110-20 RTP packets (RFC 4175 payload): whole v210 frames to
// fixed-size packets, and received sample-row-data segments back to v210.
// The payload is packed10; the whole groups of a segment go through the
// packed10 line kernels, the pairs around them one at a time.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cconvert/packed10.h"
#include "frame/dispatch.h"
#include "packed10/packed10_layout.h"

using namespace cconvert::detail;

namespace {

using LineKernel = void (*)(const unsigned char*, unsigned char*, int);

constexpr std::size_t kSlotBytes = 1395;
constexpr std::size_t kHeaderBytes = 20;
constexpr std::size_t kPayloadBytes = kSlotBytes - kHeaderBytes;  // 550 pixels
constexpr std::uint32_t kPixelsPerSegment = 550;

constexpr unsigned char kVersion2WithExtension = 0x90;  // no extension follows; kept as hosts expect
constexpr unsigned char kPayloadType = 96;
constexpr unsigned char kMarker = 0x80;
constexpr std::uint32_t kSrdField15Bits = 0x7FFF;  // row and offset fields (F and C bits 0)

void put_be(unsigned char* bytes, std::uint64_t value) {
    value = __builtin_bswap64(value);
    std::memcpy(bytes, &value, sizeof value);
}

void put_be(unsigned char* bytes, std::uint32_t value) {
    value = __builtin_bswap32(value);
    std::memcpy(bytes, &value, sizeof value);
}

struct PacketHeader {
    std::uint16_t sequence;
    std::uint32_t timestamp, ssrc;
    std::uint16_t extended_sequence;
    std::uint32_t srd_length, row, offset;
};

// The 20 header bytes as three big-endian words (built in registers: the
// bytes written one by one were gathered on the stack and read back, a stall
// per packet).
void write_header(unsigned char* slot, const PacketHeader& header) {
    const std::uint64_t first = std::uint64_t{kVersion2WithExtension} << 56 | std::uint64_t{kPayloadType} << 48 |
                                std::uint64_t{header.sequence} << 32 | header.timestamp;
    const std::uint64_t second = std::uint64_t{header.ssrc} << 32 | std::uint64_t{header.extended_sequence} << 16 |
                                 (header.srd_length & 0xFFFF);
    const std::uint32_t third = (header.row & kSrdField15Bits) << 16 | (header.offset & kSrdField15Bits);
    put_be(slot, first);
    put_be(slot + 8, second);
    put_be(slot + 16, third);
}

// The pixel pairs first_pixel, first_pixel + 2, ... (pairs of them) of a v210
// line to packed10 by the line kernel, which converts the pairs whose first
// pixel lies inside the width it is given. A start inside a group converts
// that group aside and keeps the bytes of its pairs from first_pixel on.
void v210_pairs_to_packed10(LineKernel kernel, const unsigned char* line, std::uint32_t first_pixel,
                            std::uint32_t pairs, unsigned char* packed10) {
    const unsigned char* group = line + std::size_t{kV210BytesPerGroup} * (first_pixel / kV210PixelsPerGroup);
    const std::uint32_t position = first_pixel % kV210PixelsPerGroup;
    if (position != 0 && pairs > 0) {
        unsigned char whole[kPacked10BytesPerV210Group];
        kernel(group, whole, static_cast<int>(kV210PixelsPerGroup));
        const std::uint32_t taken = std::min(pairs, (kV210PixelsPerGroup - position) / 2);
        std::memcpy(packed10, whole + kPacked10BytesPerPair * (position / 2), kPacked10BytesPerPair * taken);
        packed10 += kPacked10BytesPerPair * taken;
        pairs -= taken;
        group += kV210BytesPerGroup;
    }
    kernel(group, packed10, static_cast<int>(2 * pairs));
}

// Reads a received payload pair by pair; bytes at or past its end read as 0.
class SegmentReader {
public:
    SegmentReader(const unsigned char* payload, std::int64_t length) : payload_(payload), length_(length) {}

    void next_pair(std::uint16_t samples[kPacked10SamplesPerPair]) {
        unsigned char pair[kPacked10BytesPerPair] = {};
        for (std::uint32_t i = 0; i < kPacked10BytesPerPair; ++i, ++position_)
            if (position_ < length_) pair[i] = payload_[position_];
        packed10_read_pair(pair, samples);
    }

    std::int64_t bytes_left() const { return std::max<std::int64_t>(0, length_ - position_); }
    const unsigned char* here() const { return payload_ + position_; }
    void skip(std::int64_t bytes) { position_ += bytes; }

private:
    const unsigned char* payload_;
    std::int64_t length_;
    std::int64_t position_ = 0;
};

// Largest run of groups handed to one line-kernel call (its width is an int).
constexpr std::int64_t kGroupsPerKernelCall = 1 << 20;

}  // namespace

std::uint32_t ccnvt_v210_frame_to_rtp_4175(unsigned char* out, std::int64_t out_size, unsigned short* sequence,
                                           std::uint32_t timestamp, std::uint32_t ssrc,
                                           std::uint32_t extended_sequence, const unsigned char* source,
                                           unsigned int width, unsigned int height, unsigned int* packet_size,
                                           unsigned int* packet_count) {
    if (packet_size) *packet_size = 0;
    if (packet_count) *packet_count = 0;
    if (out_size <= 0 || width == 0 || height == 0 || out_size < static_cast<std::int64_t>(kSlotBytes)) return 0;

    const std::size_t pitch = v210_default_pitch_pitched(width);
    const std::int64_t capacity = out_size / static_cast<std::int64_t>(kSlotBytes);
    const LineKernel kernel = choose_kernel<LineKernel>(kv_ycbcr422_v210_to_packed10_line_c,
                                                        kv_ycbcr422_v210_to_packed10_line_sse,
                                                        kv_ycbcr422_v210_to_packed10_line_avx);
    PacketHeader header{*sequence, timestamp, ssrc, static_cast<std::uint16_t>(extended_sequence), 0, 0, 0};
    std::int64_t packets = 0;
    for (std::uint32_t row = 1; row <= height && packets < capacity; ++row) {
        const unsigned char* line = source + pitch * (row - 1);
        for (std::uint32_t offset = 0; offset < width && packets < capacity; offset += kPixelsPerSegment) {
            const std::uint32_t pixels = std::min(width - offset, kPixelsPerSegment);
            unsigned char* slot = out + kSlotBytes * static_cast<std::size_t>(packets);
            header.srd_length = pixels * 5 / 2;
            header.row = row;
            header.offset = offset;
            write_header(slot, header);
            unsigned char* payload = slot + kHeaderBytes;
            v210_pairs_to_packed10(kernel, line, offset, (pixels + 1) / 2, payload);
            // After the conversion: for an odd count this also clears the bytes
            // of the last pair from the SRD length on.
            if (pixels < kPixelsPerSegment)
                std::memset(payload + header.srd_length, 0, kPayloadBytes - header.srd_length);
            ++header.sequence;
            ++packets;
        }
    }
    if (packets > 0) out[kSlotBytes * static_cast<std::size_t>(packets - 1) + 1] |= kMarker;
    *sequence = header.sequence;
    if (packet_size) *packet_size = kSlotBytes;
    if (packet_count) *packet_count = static_cast<unsigned int>(packets);
    return static_cast<std::uint32_t>(packets * static_cast<std::int64_t>(kSlotBytes));
}

int ccnvt_4175_to_v210(unsigned int* destination, const unsigned char* payload, std::int64_t payload_length,
                       std::int64_t pair_count, std::uint64_t phase) {
    SegmentReader reader(payload, payload_length);
    auto* group = reinterpret_cast<unsigned char*>(destination);
    std::uint16_t samples[kPacked10SamplesPerPair];

    // Lead-in: the rest of the group the segment starts in, keeping the bits
    // of the pixels before it.
    if (phase == 2 || phase == 4) {
        for (std::uint32_t position = static_cast<std::uint32_t>(phase); position < kV210PixelsPerGroup;
             position += 2) {
            reader.next_pair(samples);
            v210_merge_pair(group, position, samples);
        }
        group += kV210BytesPerGroup;
    }
    if (pair_count < 1) return 0;

    // Whole groups that the payload still holds. A group of three pairs placed
    // one by one is the whole group with bits 30-31 clear: the kernel's bytes.
    std::int64_t groups = std::min(pair_count / kPacked10PairsPerV210Group,
                                   reader.bytes_left() / static_cast<std::int64_t>(kPacked10BytesPerV210Group));
    if (groups > 0) {
        const LineKernel kernel = choose_kernel<LineKernel>(kv_ycbcr422_packed10_to_v210_line_c,
                                                            kv_ycbcr422_packed10_to_v210_line_sse,
                                                            kv_ycbcr422_packed10_to_v210_line_avx);
        pair_count -= groups * kPacked10PairsPerV210Group;
        while (groups > 0) {
            const std::int64_t run = std::min(groups, kGroupsPerKernelCall);
            kernel(reader.here(), group, static_cast<int>(run * kV210PixelsPerGroup));
            reader.skip(run * kPacked10BytesPerV210Group);
            group += run * kV210BytesPerGroup;
            groups -= run;
        }
    }
    // The rest pair by pair, three to a group; past the payload they are 0.
    for (std::int64_t p = 0; p < pair_count; ++p) {
        const std::uint32_t position = static_cast<std::uint32_t>(2 * (p % kPacked10PairsPerV210Group));
        reader.next_pair(samples);
        v210_merge_pair(group, position, samples);
        if (position == 4) group += kV210BytesPerGroup;
    }
    return 0;
}
