// Whole-frame packed10 entry points against the model: wrappers, 8-bit output,
// low bits, Y10, the packetised reader and the slot writers.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/packed10.h"
#include "support/test_support.h"
#include "tests/packed10_model.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::random_bytes;
using namespace cconvert::test::model;

namespace {
class Packed10Frames : public FeatureWordTest {};
}  // namespace

TEST_P(Packed10Frames, WrappersConvertWholeFramesAndPlaceFields) {
    // The flag counts by its low byte: 0x100 is progressive.
    for (unsigned width : {7u, 50u, 1920u})
        for (unsigned height : {3u, 4u})
            for (int interlaced : {0, 1, 0x100}) {
                const bool fields = (interlaced & 0xFF) != 0;
                const std::size_t packed_row = width * 20 / 8, pitch = v210_pitch(width), groups = groups_of(width);
                GuardedBuffer packed(packed_row * height + 15);  // a last partial group is read whole
                packed.fill_random(width + height);
                GuardedBuffer v210(pitch * height, 0x5A);
                EXPECT_EQ(ccnvt_YCbCr10Packed_to_v210(v210.data(), packed.data(), width, height, interlaced), 0);
                Bytes expected(pitch * height, 0x5A);
                for (std::size_t line = 0; line < height; ++line) {
                    const Bytes row = v210_from_samples(unpack_stream(packed.data() + packed_row * line, 12 * groups));
                    std::copy(row.begin(), row.end(), expected.begin() + pitch * row_of_line(line, height, fields));
                }
                ASSERT_EQ(v210.contents(), expected) << width << "x" << height << " interlaced " << interlaced;
                ASSERT_TRUE(v210.guards_intact());

                // And back (default or given pitch), rows of whole pairs width * 20 / 8 bytes
                // apart (an odd width writes 3 bytes past each); the result is the bytes written.
                for (unsigned given_pitch : {0u, 8192u}) {
                    const std::size_t source_pitch = given_pitch ? given_pitch : pitch, pairs = (width + 1) / 2;
                    GuardedBuffer source(source_pitch * height);
                    source.fill_random(width);
                    Bytes expected_back(packed_row * (height - 1) + 5 * pairs, 0x5A);
                    for (std::size_t line = 0; line < height; ++line) {
                        Samples samples = samples_from_v210(source.data() + source_pitch * row_of_line(line, height, fields), groups);
                        samples.resize(4 * pairs);
                        const Bytes row = pack_stream(samples);
                        std::copy(row.begin(), row.end(), expected_back.begin() + packed_row * line);
                    }
                    GuardedBuffer back(expected_back.size(), 0x5A);
                    EXPECT_EQ(ccnvt_v210_to_YCbCr10Packed(back.data(), source.data(), width, height, given_pitch,
                                                          interlaced), packed_row * height);
                    ASSERT_EQ(back.contents(), expected_back) << width << "x" << height << " pitch " << given_pitch;
                    ASSERT_TRUE(back.guards_intact());
                }
            }
}

// The top eight bits of one stream of whole pairs; height 0 writes nothing.
TEST_P(Packed10Frames, UyvuReadsOneStreamOfWholePairsAndPlacesFields) {
    for (unsigned width : {7u, 64u, 1920u})
        for (unsigned height : {0u, 1u, 4u, 5u})
            for (int interlaced : {0, 1}) {
                const std::size_t pairs = width / 2;
                const Bytes packed = random_bytes(5 * pairs * height, width * height);
                GuardedBuffer out(2 * width * height, 0x5A);
                EXPECT_EQ(ccnvt_YCbCr10Packed_to_uyvu(out.data(), packed.data(), width, height, interlaced), 0);
                const Bytes all = narrow(unpack_stream(packed.data(), 4 * pairs * height));
                Bytes expected(2 * width * height, 0x5A);
                for (std::size_t line = 0; line < height; ++line)
                    std::copy_n(all.begin() + 4 * pairs * line, 4 * pairs,
                                expected.begin() + 2 * width * row_of_line(line, height, interlaced != 0));
                ASSERT_EQ(out.contents(), expected) << width << "x" << height << " interlaced " << interlaced;
                ASSERT_TRUE(out.guards_intact());
            }
}

TEST(Packed10LowBits, KeepTheLowEightBitsFromAnyBitOffset) {
    const Bytes packed = pack_stream({0x1AB, 0x2CD, 0x3EF, 0x012, 0x345});
    Bytes out(5);
    ccnvt_YCbCr10Packed_to_low8_from10(out.data(), packed.data(), 0, 4);
    EXPECT_EQ(out, (Bytes{0xAB, 0xCD, 0xEF, 0x12, 0}));
    ccnvt_YCbCr10Packed_to_low8_from10(out.data(), packed.data(), -10, 5);  // leading zeros
    EXPECT_EQ(out, (Bytes{0x00, 0xAB, 0xCD, 0xEF, 0x12}));

    const Bytes stream = random_bytes(64, 9);
    for (unsigned count = 0; count <= 24; ++count)
        for (int offset = 0; offset <= 21; ++offset) {
            // Exactly count * 10 / 8 bytes whatever the offset: sanitizers see reads past it.
            const std::size_t range = count * 10 / 8;
            const Bytes source(stream.begin(), stream.begin() + static_cast<long>(range));
            GuardedBuffer low(count, 0x5A);
            ccnvt_YCbCr10Packed_to_low8_from10(low.data(), source.data(), offset, count);
            const Samples samples = unpack_stream(stream.data(), count, static_cast<std::size_t>(offset), range);
            for (unsigned i = 0; i < count; ++i)
                ASSERT_EQ(low[i], samples[i] & 0xFF) << "count " << count << " offset " << offset << " sample " << i;
            ASSERT_TRUE(low.guards_intact());
        }
}

TEST_P(Packed10Frames, Y10StreamGoesByWholeStepsOfFifteenBytes) {
    for (unsigned count : {0u, 1u, 14u, 15u, 16u, 30u, 31u, 15007u}) {
        const std::size_t steps = (count + 14) / 15;
        const Bytes stream = random_bytes(15 * steps, count);
        GuardedBuffer v210(16 * steps, 0x5A);
        EXPECT_EQ(ccnvt_Y10Packed_to_v210(reinterpret_cast<unsigned int*>(v210.data()), stream.data(), count),
                  16 * steps);
        ASSERT_EQ(v210.contents(), v210_from_samples(unpack_stream(stream.data(), 12 * steps))) << count;
        ASSERT_TRUE(v210.guards_intact()) << count;
    }
}

namespace {
constexpr std::size_t kPacket = 1220;  // a 20-byte header and 1200 bytes of packed10: 480 pixels
}  // namespace

TEST_P(Packed10Frames, PacketisedLinesFillV210RowsPairByPair) {
    for (unsigned width : {2u, 1003u, 1920u})
        for (unsigned height : {1u, 5u})
            for (int interlaced : {0, 1}) {
                const std::size_t per_line = (width + 479) / 480, pitch = v210_pitch(width);
                const Bytes packets = random_bytes(kPacket * per_line * height + 20, width + height);
                GuardedBuffer v210(pitch * height);
                v210.fill_random(7);
                const Bytes before = v210.contents();
                EXPECT_EQ(ccnvt_YCbCr10Packetized_to_v210(v210.data(), packets.data() + 20, width, height, interlaced), 0);
                for (std::size_t line = 0; line < height; ++line) {
                    const std::size_t row = pitch * row_of_line(line, height, interlaced != 0);
                    // Samples of the pairs from their packets; fields and words past them kept.
                    for (std::size_t s = 0; s < 3 * pitch / 4; ++s) {
                        const unsigned char* payload = packets.data() + 20 + kPacket * (per_line * line + s / 960);
                        ASSERT_EQ(v210_sample(v210.data() + row, s), s < 4 * ((width + 1) / 2)
                                                                          ? unpack_stream(payload, 1, 10 * (s % 960))[0]
                                                                          : v210_sample(before.data() + row, s))
                            << width << "x" << height << " line " << line << " sample " << s;
                    }
                    for (std::size_t w = 4 * groups_of(width); w < pitch / 4; ++w)
                        ASSERT_EQ(word_at(v210.data() + row, w), word_at(before.data() + row, w)) << width;
                }
                ASSERT_TRUE(v210.guards_intact());
            }
}

TEST(PacketisedStream, EmptyFramesWriteNothing) {
    const Bytes packets(kPacket * 4, 0);
    GuardedBuffer untouched(256, 0x5A);
    EXPECT_EQ(ccnvt_YCbCr10Packetized_to_v210(untouched.data(), packets.data(), 0, 4, 0), 0);
    EXPECT_EQ(ccnvt_YCbCr10Packetized_to_v210(untouched.data(), packets.data(), 96, 0, 1), 0);
    EXPECT_EQ(untouched.contents(), Bytes(256, 0x5A));
}

namespace {

constexpr std::size_t kSlot = 1280;

struct SlotCase {
    bool v210;
    unsigned width, height, pitch, slot_size;
    std::size_t slots, per_line, line_skip;
};

// Slots 1280 bytes apart, payload 20 bytes in, 480 pixels each; the source
// skips line_skip after every slot k >= 1 that ends a line; the rest stays 0x5A.
Bytes expected_slots(const unsigned char* source, const SlotCase& c, std::size_t size) {
    Bytes expected(size, 0x5A);
    const unsigned char* at = source;
    for (std::size_t k = 0; k < c.slots; ++k) {
        const Bytes payload = pack_stream(c.v210 ? samples_from_v210(at, 80) : widen(at, 960));
        std::copy(payload.begin(), payload.end(), expected.begin() + static_cast<long>(kSlot * k + 20));
        at += c.v210 ? 1280 : 960;
        if (k >= 1 && c.per_line != 0 && k % c.per_line == c.per_line - 1) at += c.line_skip;
    }
    return expected;
}

}  // namespace

TEST_P(Packed10Frames, SlotsFollowTheLineSkipRule) {
    const SlotCase cases[] = {
        {false, 960, 3, 1930, 1280, 6, 2, 8},    // skip (1930 - 1920) & ~3 = 8 after slots 1, 3, 5
        {false, 480, 3, 964, 1280, 3, 1, 4},     // a line per slot: not after slot 0, after slots 1 and 2
        {false, 1920, 2, 3840, 1300, 8, 4, 0},   // tight rows; slot_size only scales the result
        {false, 240, 100, 500, 1280, 50, 0, 20}, // fewer slots than lines: no line ends, no skips
        {false, 1920, 2, 1000, 1280, 8, 4, 0},   // a pitch below the line skips nothing
        {true, 1920, 4, 5120 + 64, 1500, 16, 4, 64},  // skip (1296 - 1280) * 4 = 64; slot_size scales the result
        {true, 480, 3, 1280 + 6, 1280, 3, 1, 4},      // (321 - 320) * 4: not after slot 0
        {true, 1920, 2, 0, 1280, 8, 4, 0},            // pitch 0: tight rows
        {false, 20, 20, 40, 1280, 0, 0, 0},           // smaller than a slot: nothing
        {true, 20, 20, 0, 1280, 0, 0, 0},
    };
    for (const SlotCase& c : cases)
        for (int bit_writer : {0, 1, 0x100}) {  // the v210 writer's flag counts by its low byte
            if (!c.v210 && bit_writer == 0x100) continue;
            GuardedBuffer source((c.v210 ? 1280 : 960) * (c.slots + 1) + c.line_skip * c.slots);
            source.fill_random(c.width + c.height);
            GuardedBuffer out(kSlot * c.slots + 100, 0x5A);
            const unsigned result =
                c.v210 ? ccnvt_v210_to_YCbCr10PackedToPacket(out.data(), source.data(), c.width, c.height, c.pitch,
                                                             c.slot_size, 0, 0, 0, bit_writer)
                       : ccnvt_uyvy_to_YCbCr10PackedToPacket(out.data(), source.data(), c.width, c.height, c.pitch,
                                                             c.slot_size, 0, 0, bit_writer != 0);
            const std::string what = std::string(c.v210 ? "v210 " : "2vuy ") + std::to_string(c.width) + "x" +
                                     std::to_string(c.height) + " bit writer " + std::to_string(bit_writer);
            EXPECT_EQ(result, c.slots * c.slot_size) << what;
            ASSERT_EQ(out.contents(), expected_slots(source.data(), c, out.size())) << what;
            ASSERT_TRUE(out.guards_intact()) << what;
            if (c.v210) continue;
            GuardedBuffer first_version(out.size(), 0x5A);  // the first version of the 2vuy writer
            EXPECT_EQ(ccnvt_uyvy_to_YCbCr10PackedToPacket_doesnotwork(first_version.data(), source.data(), c.width,
                                                                      c.height, c.pitch, c.slot_size, 1, 2,
                                                                      bit_writer != 0), result);
            ASSERT_EQ(first_version.contents(), out.contents()) << what;
        }
}

TEST(PacketSlots, TheBitWriterDropsBitsPastSlotsTimesSlotSize) {
    // slot_size 1220: a 2440-byte buffer, so slot 1's payload (1300 to 2499) loses its end.
    const Bytes uyvy = random_bytes(960 * 2, 3);
    GuardedBuffer out(kSlot * 2, 0x5A);
    EXPECT_EQ(ccnvt_uyvy_to_YCbCr10PackedToPacket(out.data(), uyvy.data(), 480, 2, 960, 1220, 0, 0, true), 2440u);
    const Bytes first = pack_stream(widen(uyvy.data(), 960)), second = pack_stream(widen(uyvy.data() + 960, 960));
    EXPECT_EQ(Bytes(out.data() + 20, out.data() + 1220), first);
    EXPECT_EQ(Bytes(out.data() + 1300, out.data() + 2440), Bytes(second.begin(), second.begin() + 1140));
    EXPECT_EQ(Bytes(out.data() + 2440, out.data() + kSlot * 2), Bytes(kSlot * 2 - 2440, 0x5A));
}

CCNVT_UNDER_EVERY_FEATURE_WORD(Packed10Frames);
