// Whole-frame packed10 entry points: the frame wrappers around the drivers,
// 8-bit output, the Y10 sample stream, and the packet-slot formats (the
// packetised reader and the slot writers).
#include <cstddef>
#include <cstdint>

#include "cconvert/packed10.h"
#include "frame/dispatch.h"
#include "kvutil.h"
#include "packed10/packed10_layout.h"

using namespace cconvert::detail;

namespace {

using LineKernel = void (*)(const unsigned char*, unsigned char*, int);

bool truth_in_low_byte(int flag) { return (flag & 0xFF) != 0; }

// ---- packet slots ----
constexpr std::uint32_t kPixelsPerSlot = 480;
constexpr std::size_t kSlotStride = 1280;         // slots written
constexpr std::size_t kSlotHeaderBytes = 20;      // left to the host
constexpr std::size_t kSlotTailBytes = 60;        // left untouched
constexpr std::size_t kPacketStride = 1220;       // packets read: header + 1200 bytes

// Where the lines of a frame go: rows pitch bytes apart, or, for a field-
// separated source, the first height / 2 lines on the odd rows and the rest
// on the even rows.
struct LinePlacement {
    std::size_t pitch;
    std::uint32_t height;
    bool interlaced;

    std::size_t offset_of_line(std::uint32_t line) const {
        if (!interlaced) return pitch * line;
        const std::uint32_t half = height / 2;
        return line < half ? pitch + 2 * pitch * line : 2 * pitch * (line - half);
    }
};

// A bit reader over [start, start + size) in which every byte outside that
// range reads as 0.
class ZeroExtendedBitReader {
public:
    ZeroExtendedBitReader(const unsigned char* start, std::int64_t size) : start_(start), size_(size) {}

    void skip(std::int64_t bits) { position_ += bits; }

    std::uint32_t read(std::uint32_t bits) {
        std::uint32_t value = 0;
        for (std::uint32_t i = 0; i < bits; ++i, ++position_) {
            const std::int64_t byte = position_ >> 3;  // floor, also for leading bits before the start
            const std::uint32_t bit = (byte >= 0 && byte < size_) ? (start_[byte] >> (7 - (position_ & 7))) & 1u : 0u;
            value = value << 1 | bit;
        }
        return value;
    }

private:
    const unsigned char* start_;
    std::int64_t size_;
    std::int64_t position_ = 0;
};

}  // namespace

// ---- frame wrappers ----

int ccnvt_YCbCr10Packed_to_v210(unsigned char* destination, const unsigned char* source, unsigned int width,
                                unsigned int height, int interlaced) {
    ccnvt_ycbcr422_packed10_to_v210(const_cast<unsigned char*>(source), static_cast<int>(packed10_line_bytes(width)),
                                    static_cast<int>(width), 0, static_cast<int>(height), static_cast<int>(height),
                                    destination, v210_default_pitch_of_packed10_family(static_cast<int>(width)),
                                    truth_in_low_byte(interlaced));
    return 0;
}

unsigned int ccnvt_v210_to_YCbCr10Packed(unsigned char* destination, const unsigned char* source,
                                         unsigned int width, unsigned int height, unsigned int source_pitch,
                                         int interlaced) {
    const int pitch = source_pitch != 0 ? static_cast<int>(source_pitch)
                                        : v210_default_pitch_of_packed10_family(static_cast<int>(width));
    ccnvt_ycbcr422_v210_to_packed10(const_cast<unsigned char*>(source), pitch, static_cast<int>(width), 0,
                                    static_cast<int>(height), static_cast<int>(height), destination,
                                    static_cast<int>(packed10_line_bytes(width)), truth_in_low_byte(interlaced));
    return packed10_line_bytes(width) * height;
}

// ---- 8-bit output ----

int ccnvt_YCbCr10Packed_to_uyvu(unsigned char* destination, const unsigned char* source, unsigned int width,
                                unsigned int height, int interlaced) {
    if (height == 0) return 0;
    const std::size_t row_bytes = std::size_t{k2vuyBytesPerPixel} * width;
    const LinePlacement rows{row_bytes, height, truth_in_low_byte(interlaced)};
    // Every kernel variant converts width / 2 pairs when given an even width.
    const LineKernel kernel = choose_kernel<LineKernel>(kv_ycbcr422_packed10_to_uyvy_line_c,
                                                        kv_ycbcr422_packed10_to_uyvy_line_sse,
                                                        kv_ycbcr422_packed10_to_uyvy_line_avx);
    const std::uint32_t pairs = width / 2;
    const int even_width = static_cast<int>(2 * pairs);
    for (std::uint32_t line = 0; line < height; ++line)
        kernel(source + std::size_t{kPacked10BytesPerPair} * pairs * line, destination + rows.offset_of_line(line),
               even_width);
    return 0;
}

int ccnvt_YCbCr10Packed_to_low8_from10(unsigned char* destination, const unsigned char* source, int bit_offset,
                                       unsigned int count) {
    // count * 10 / 8 in 64 bits: streams of more than 429,496,729 samples reach past 4 GiB.
    ZeroExtendedBitReader reader(source, std::int64_t{count} * 10 / 8);
    reader.skip(bit_offset);
    for (unsigned int i = 0; i < count; ++i)
        destination[i] = static_cast<unsigned char>(reader.read(kPacked10SampleBits) & 0xFF);
    return 0;
}

// ---- Y10 sample stream ----

unsigned int ccnvt_Y10Packed_to_v210(unsigned int* destination, const unsigned char* source,
                                     unsigned int byte_count) {
    // Twelve samples in stream order are one v210 group whatever they mean,
    // so the stream is a packed10 line of six pixels per step.
    const std::uint32_t steps = byte_count / kPacked10BytesPerV210Group +
                                (byte_count % kPacked10BytesPerV210Group != 0 ? 1 : 0);
    const LineKernel kernel = choose_kernel<LineKernel>(kv_ycbcr422_packed10_to_v210_line_c,
                                                        kv_ycbcr422_packed10_to_v210_line_sse,
                                                        kv_ycbcr422_packed10_to_v210_line_avx);
    auto* out = reinterpret_cast<unsigned char*>(destination);
    constexpr std::uint32_t kStepsPerKernelCall = 1u << 20;  // keeps the kernel's int width small
    for (std::uint32_t done = 0; done < steps;) {
        const std::uint32_t run = steps - done < kStepsPerKernelCall ? steps - done : kStepsPerKernelCall;
        kernel(source + std::size_t{kPacked10BytesPerV210Group} * done,
               out + std::size_t{kV210BytesPerGroup} * done, static_cast<int>(run * kV210PixelsPerGroup));
        done += run;
    }
    return steps * kV210BytesPerGroup;
}

// ---- packetised stream to v210 ----

int ccnvt_YCbCr10Packetized_to_v210(unsigned char* destination, const unsigned char* source, unsigned int width,
                                    unsigned int height, int interlaced) {
    if (width == 0 || height == 0) return 0;
    const std::size_t v210_pitch = static_cast<std::uint32_t>(v210_default_pitch_of_packed10_family(static_cast<int>(width)));
    const LinePlacement rows{v210_pitch, height, truth_in_low_byte(interlaced)};
    const std::size_t packets_per_line = width / kPixelsPerSlot + (width % kPixelsPerSlot != 0 ? 1 : 0);
    const LineKernel kernel = choose_kernel<LineKernel>(kv_ycbcr422_packed10_to_v210_line_c,
                                                        kv_ycbcr422_packed10_to_v210_line_sse,
                                                        kv_ycbcr422_packed10_to_v210_line_avx);
    // Lines 0 .. height / 2 - 1, then the rest: with the rows above that is
    // every line in order.
    for (std::uint32_t line = 0; line < height; ++line) {
        unsigned char* v210 = destination + rows.offset_of_line(line);
        for (std::uint32_t first = 0; first < width; first += kPixelsPerSlot) {
            const std::size_t packet = packets_per_line * line + first / kPixelsPerSlot;
            const unsigned char* payload = source + kPacketStride * packet;
            unsigned char* group = v210 + std::size_t{kV210BytesPerGroup} * (first / kV210PixelsPerGroup);
            const std::uint32_t pixels = width - first < kPixelsPerSlot ? width - first : kPixelsPerSlot;
            // Whole groups at once (480 is a multiple of 6), then the pairs of
            // a last partial group placed one by one, keeping the other fields.
            const std::uint32_t whole_groups = pixels / kV210PixelsPerGroup;
            kernel(payload, group, static_cast<int>(whole_groups * kV210PixelsPerGroup));
            payload += std::size_t{kPacked10BytesPerV210Group} * whole_groups;
            group += std::size_t{kV210BytesPerGroup} * whole_groups;
            for (std::uint32_t pixel = whole_groups * kV210PixelsPerGroup; pixel < pixels; pixel += 2) {
                std::uint16_t samples[kPacked10SamplesPerPair];
                packed10_read_pair(payload, samples);
                v210_merge_pair(group, pixel % kV210PixelsPerGroup, samples);
                payload += kPacked10BytesPerPair;
            }
        }
    }
    return 0;
}

// ---- slot writers ----

namespace {

// The number of whole 480-pixel slots in a frame and the line-end rule of the
// slot writers.
struct SlotPlan {
    std::uint32_t slots;
    std::uint32_t slots_per_line;
    std::size_t line_skip;

    // After slot k the source also skips line_skip when k (not 0) ends a line.
    bool skips_after(std::uint32_t k) const {
        return k >= 1 && slots_per_line != 0 && k % slots_per_line == slots_per_line - 1;
    }
};

SlotPlan plan_slots(std::uint32_t width, std::uint32_t height, std::size_t line_skip) {
    const std::uint32_t slots = width * height * 20u / 9600u;
    // height 0 is the caller's fault: this division faults.
    return {slots, slots / height, line_skip};
}

// Writes the frame into slots, one slot per call of write_slot(slot payload,
// source, k), the source advancing by source_step per slot and by the line
// skip at line ends.
template <class WriteSlot>
void write_slots(const SlotPlan& plan, const unsigned char* source, std::size_t source_step,
                 WriteSlot write_slot) {
    for (std::uint32_t k = 0; k < plan.slots; ++k) {
        write_slot(source, k);
        source += source_step;
        if (plan.skips_after(k)) source += plan.line_skip;
    }
}

// The bit-writer path: per slot the header is skipped, the 960 samples are
// written 10 bits each, and the tail is skipped.
template <class SampleOfSlot>
void write_slots_with_bit_writer(const SlotPlan& plan, unsigned char* destination, std::uint32_t slot_size,
                                 const unsigned char* source, std::size_t source_step, SampleOfSlot sample) {
    const std::uint32_t buffer_bytes = plan.slots * slot_size;
    KVBitWriter writer{destination, buffer_bytes, std::size_t{buffer_bytes} * 8, 0};
    write_slots(plan, source, source_step, [&](const unsigned char* slot_source, std::uint32_t) {
        SkipBits(&writer, kSlotHeaderBytes * 8);
        for (std::uint32_t i = 0; i < 2 * kPixelsPerSlot; ++i)
            WriteBits(&writer, kPacked10SampleBits, sample(slot_source, i));
        SkipBits(&writer, kSlotTailBytes * 8);
    });
}

unsigned char* slot_payload(unsigned char* destination, std::uint32_t k) {
    return destination + kSlotStride * k + kSlotHeaderBytes;
}

}  // namespace

unsigned int ccnvt_uyvy_to_YCbCr10PackedToPacket(unsigned char* destination, const unsigned char* source,
                                                 unsigned int width, unsigned int height,
                                                 unsigned int source_pitch, unsigned int slot_size, unsigned int,
                                                 unsigned int, bool use_bit_writer) {
    const std::uint32_t tight = k2vuyBytesPerPixel * width;
    const std::size_t line_skip = source_pitch > tight ? (source_pitch - tight) & ~3u : 0;
    const SlotPlan plan = plan_slots(width, height, line_skip);
    const std::size_t source_step = std::size_t{k2vuyBytesPerPixel} * kPixelsPerSlot;
    if (use_bit_writer) {
        write_slots_with_bit_writer(plan, destination, slot_size, source, source_step,
                                    [](const unsigned char* uyvy, std::uint32_t i) { return uyvy[i] * 4u; });
    } else {
        write_slots(plan, source, source_step, [&](const unsigned char* uyvy, std::uint32_t k) {
            kv_ycbcr422_uyvy_to_packed10(const_cast<unsigned char*>(uyvy), 0, kPixelsPerSlot, 0, 1,
                                         slot_payload(destination, k), static_cast<int>(slot_size));
        });
    }
    return plan.slots * slot_size;
}

unsigned int ccnvt_v210_to_YCbCr10PackedToPacket(unsigned char* destination, const unsigned char* source,
                                                 unsigned int width, unsigned int height,
                                                 unsigned int source_pitch, unsigned int slot_size, unsigned int,
                                                 unsigned int, unsigned int, int use_bit_writer) {
    const std::uint32_t tight = static_cast<std::uint32_t>(v210_default_pitch_of_packed10_family(static_cast<int>(width)));
    const std::size_t line_skip = source_pitch / 4 > tight / 4 ? (source_pitch / 4 - tight / 4) * 4 : 0;
    const SlotPlan plan = plan_slots(width, height, line_skip);
    const std::size_t source_step = std::size_t{kV210BytesPerGroup} * (kPixelsPerSlot / kV210PixelsPerGroup);
    if (truth_in_low_byte(use_bit_writer)) {
        write_slots_with_bit_writer(plan, destination, slot_size, source, source_step,
                                    [](const unsigned char* v210, std::uint32_t i) {
                                        return v210_field(load_le32(v210 + 4 * (i / kV210FieldsPerWord)),
                                                          i % kV210FieldsPerWord);
                                    });
    } else {
        write_slots(plan, source, source_step, [&](const unsigned char* v210, std::uint32_t k) {
            ccnvt_ycbcr422_v210_to_packed10(const_cast<unsigned char*>(v210), 0, kPixelsPerSlot, 0, 1, 0,
                                            slot_payload(destination, k), static_cast<int>(slot_size), false);
        });
    }
    return plan.slots * slot_size;
}

unsigned int ccnvt_uyvy_to_YCbCr10PackedToPacket_doesnotwork(unsigned char* destination, unsigned char* source,
                                                             unsigned int width, unsigned int height,
                                                             unsigned int source_pitch, unsigned int slot_size,
                                                             unsigned int unused1, unsigned int unused2,
                                                             bool use_bit_writer) {
    return ccnvt_uyvy_to_YCbCr10PackedToPacket(destination, source, width, height, source_pitch, slot_size,
                                               unused1, unused2, use_bit_writer);
}
