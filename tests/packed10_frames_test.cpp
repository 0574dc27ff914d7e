// Whole-frame packed10 entry points: the frame wrappers, 8-bit output, the
// low-bits reader, the Y10 stream, the packetised reader and the slot
// writers (slot placement, untouched header and tail bytes, the line-skip
// rule, the bit-writer path against the line path), against the model.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/packed10.h"
#include "support/test_support.h"
#include "tests/packed10_model.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;
using namespace cconvert::test::model;

namespace {

// Where line `line` of a frame lands: rows `pitch` apart, or the first
// height / 2 lines on the odd rows and the rest on the even rows.
std::size_t row_of_line(std::size_t line, std::size_t height, bool interlaced) {
    if (!interlaced) return line;
    return line < height / 2 ? 2 * line + 1 : 2 * (line - height / 2);
}

class Packed10Frames : public ::testing::TestWithParam<unsigned int> {};

}  // namespace

// ---- frame wrappers ----

TEST_P(Packed10Frames, PackedToV210WrapsTheDriverOverTheWholeFrame) {
    ScopedCpuFeatures features(GetParam());
    for (unsigned width : {1920u, 1280u, 720u, 50u})
        for (unsigned height : {3u, 4u})
            for (int interlaced : {0, 1, 0x100, 0x101}) {
                const bool fields = (interlaced & 0xFF) != 0;
                const std::size_t packed_row = width * 20 / 8, pitch = v210_pitch(width);
                const std::size_t groups = (width + 5) / 6;
                // The last row's partial group reads whole pairs past the frame.
                GuardedBuffer packed(packed_row * height + 15);
                packed.fill_random(width + height);
                GuardedBuffer v210(pitch * height, 0x5A);
                EXPECT_EQ(ccnvt_YCbCr10Packed_to_v210(v210.data(), packed.data(), width, height, interlaced), 0);
                std::vector<unsigned char> expected(pitch * height, 0x5A);
                for (std::size_t line = 0; line < height; ++line) {
                    const auto row = v210_from_samples(unpack_stream(packed.data() + packed_row * line, 12 * groups));
                    std::copy(row.begin(), row.end(), expected.begin() + pitch * row_of_line(line, height, fields));
                }
                ASSERT_EQ(v210.contents(), expected) << width << "x" << height << " interlaced " << interlaced;
                ASSERT_TRUE(v210.guards_intact());
            }
}

TEST_P(Packed10Frames, V210ToPackedReturnsTheBytesWritten) {
    ScopedCpuFeatures features(GetParam());
    for (unsigned width : {1920u, 1280u, 48u})
        for (unsigned pitch_argument : {0u, 8192u})
            for (int interlaced : {0, 1}) {
                const unsigned height = 5;
                const std::size_t pitch = pitch_argument ? pitch_argument : v210_pitch(width);
                const std::size_t packed_row = width * 20 / 8;
                GuardedBuffer v210(pitch * height);
                v210.fill_random(width);
                GuardedBuffer packed(packed_row * height, 0x5A);
                EXPECT_EQ(ccnvt_v210_to_YCbCr10Packed(packed.data(), v210.data(), width, height, pitch_argument,
                                                      interlaced),
                          packed_row * height);
                for (std::size_t line = 0; line < height; ++line) {
                    const unsigned char* source = v210.data() + pitch * row_of_line(line, height, interlaced != 0);
                    const auto samples = samples_from_v210(source, (width + 5) / 6);
                    const auto expected = pack_stream({samples.begin(), samples.begin() + 2 * width});
                    ASSERT_EQ(0, std::memcmp(packed.data() + packed_row * line, expected.data(), packed_row))
                        << width << " line " << line;
                }
                ASSERT_TRUE(packed.guards_intact());
            }
}

TEST(Packed10FramesBySize, AnOddWidthWritesThreeBytesPastEachRow) {
    // Width 7: rows 17 bytes apart (7 * 20 / 8), four pairs (20 bytes) each.
    const auto v210 = cconvert::test::random_bytes(256 * 2, 7);
    GuardedBuffer packed(17 + 20, 0x5A);
    EXPECT_EQ(ccnvt_v210_to_YCbCr10Packed(packed.data(), v210.data(), 7, 2, 256, 0), 34u);
    const auto row1 = pack_stream([&] {
        auto samples = samples_from_v210(v210.data() + 256, 2);
        samples.resize(16);
        return samples;
    }());
    EXPECT_EQ(0, std::memcmp(packed.data() + 17, row1.data(), 20));
    EXPECT_TRUE(packed.guards_intact());
}

TEST(Packed10FramesBySize, V210To1080pPackedReturns5184000) {
    std::vector<unsigned char> v210(5120 * 1080, 0), packed(4800 * 1080);
    EXPECT_EQ(ccnvt_v210_to_YCbCr10Packed(packed.data(), v210.data(), 1920, 1080, 0, 0), 5184000u);
}

// ---- 8-bit output ----

TEST(Packed10ToUyvu, KeepsTheTopEightBits) {
    const auto packed = pack_stream({0x203, 0x2FC, 0x3FF, 0x003});
    GuardedBuffer out(4, 0x5A);
    EXPECT_EQ(ccnvt_YCbCr10Packed_to_uyvu(out.data(), packed.data(), 2, 1, 0), 0);
    EXPECT_EQ(out.contents(), (std::vector<unsigned char>{0x80, 0xBF, 0xFF, 0x00}));
}

TEST_P(Packed10Frames, UyvuReadsOneStreamAndPlacesFields) {
    ScopedCpuFeatures features(GetParam());
    for (unsigned width : {6u, 7u, 64u, 1920u})
        for (unsigned height : {1u, 4u, 5u})
            for (int interlaced : {0, 1}) {
                const std::size_t pairs = width / 2;
                const auto packed = cconvert::test::random_bytes(5 * pairs * height, width * height);
                GuardedBuffer out(2 * width * height, 0x5A);
                ccnvt_YCbCr10Packed_to_uyvu(out.data(), packed.data(), width, height, interlaced);
                const auto samples = unpack_stream(packed.data(), 4 * pairs * height);
                std::vector<unsigned char> expected(2 * width * height, 0x5A);
                for (std::size_t line = 0; line < height; ++line)
                    for (std::size_t i = 0; i < 4 * pairs; ++i)
                        expected[2 * width * row_of_line(line, height, interlaced != 0) + i] =
                            static_cast<unsigned char>(samples[4 * pairs * line + i] >> 2);
                ASSERT_EQ(out.contents(), expected) << width << "x" << height << " interlaced " << interlaced;
                ASSERT_TRUE(out.guards_intact());
            }
}

TEST(Packed10ToUyvu, HeightZeroWritesNothing) {
    GuardedBuffer out(64, 0x5A);
    const auto packed = cconvert::test::random_bytes(64, 1);
    EXPECT_EQ(ccnvt_YCbCr10Packed_to_uyvu(out.data(), packed.data(), 8, 0, 1), 0);
    EXPECT_EQ(out.contents(), std::vector<unsigned char>(64, 0x5A));
}

TEST(Packed10LowBits, KeepsTheLowEightBits) {
    const auto packed = pack_stream({0x203, 0x2FC, 0x3FF, 0x100});
    std::vector<unsigned char> out(4);
    EXPECT_EQ(ccnvt_YCbCr10Packed_to_low8_from10(out.data(), packed.data(), 0, 4), 0);
    EXPECT_EQ(out, (std::vector<unsigned char>{0x03, 0xFC, 0xFF, 0x00}));
}

TEST(Packed10LowBits, SkipsBitsAndReadsZerosPastItsRange) {
    const auto stream = cconvert::test::random_bytes(64, 9);
    for (unsigned count = 0; count <= 24; ++count)
        for (int offset = 0; offset <= 21; ++offset) {
            // The reader covers count * 10 / 8 bytes whatever the offset: a
            // buffer of exactly that many lets the sanitizers see any read past it.
            const std::size_t range = count * 10 / 8;
            const std::vector<unsigned char> source(stream.begin(), stream.begin() + static_cast<long>(range));
            GuardedBuffer out(count, 0x5A);
            ccnvt_YCbCr10Packed_to_low8_from10(out.data(), source.data(), offset, count);
            const auto samples = unpack_stream(stream.data(), count, static_cast<std::size_t>(offset), range);
            for (unsigned i = 0; i < count; ++i)
                ASSERT_EQ(out[i], samples[i] & 0xFF) << "count " << count << " offset " << offset << " sample " << i;
            ASSERT_TRUE(out.guards_intact());
        }
}

TEST(Packed10LowBits, ANegativeOffsetReadsLeadingZeros) {
    const auto stream = pack_stream({0x1AB, 0x2CD, 0x3EF, 0x012, 0x345});
    std::vector<unsigned char> out(5);
    ccnvt_YCbCr10Packed_to_low8_from10(out.data(), stream.data(), -10, 5);
    EXPECT_EQ(out, (std::vector<unsigned char>{0x00, 0xAB, 0xCD, 0xEF, 0x12}));
}

// ---- Y10 stream ----

TEST(Y10Packed, SixteenBytesConsumeThirtyAndWriteThirtyTwo) {
    const auto stream = cconvert::test::random_bytes(30, 16);  // exactly what two steps read
    GuardedBuffer v210(32, 0x5A);
    EXPECT_EQ(ccnvt_Y10Packed_to_v210(reinterpret_cast<unsigned int*>(v210.data()), stream.data(), 16), 32u);
    EXPECT_EQ(v210.contents(), v210_from_samples(unpack_stream(stream.data(), 24)));
    EXPECT_TRUE(v210.guards_intact());
}

TEST(Y10Packed, CountsRoundUpToWholeSteps) {
    for (unsigned count : {0u, 1u, 14u, 15u, 30u, 31u}) {
        const std::size_t steps = (count + 14) / 15;
        const auto stream = cconvert::test::random_bytes(15 * steps, count);
        GuardedBuffer v210(16 * steps + 16, 0x5A);
        EXPECT_EQ(ccnvt_Y10Packed_to_v210(reinterpret_cast<unsigned int*>(v210.data()), stream.data(), count),
                  16 * steps);
        for (std::size_t i = 16 * steps; i < v210.size(); ++i) ASSERT_EQ(v210[i], 0x5A) << count;
    }
}

TEST_P(Packed10Frames, Y10StreamMatchesTheModel) {
    ScopedCpuFeatures features(GetParam());
    const unsigned count = 15 * 1000 + 7;  // 1001 steps
    const auto stream = cconvert::test::random_bytes(15 * 1001, 5);
    std::vector<unsigned char> v210(16 * 1001);
    ccnvt_Y10Packed_to_v210(reinterpret_cast<unsigned int*>(v210.data()), stream.data(), count);
    EXPECT_EQ(v210, v210_from_samples(unpack_stream(stream.data(), 12 * 1001)));
}

// ---- packetised stream ----

namespace {

constexpr std::size_t kPacket = 1220;

// A packetised frame: each line in ceil(width / 480) packets of a 20-byte
// header (filled with 0xEE) and 1200 bytes of packed10; also the samples of
// each line in pixel order.
struct Packetised {
    std::vector<unsigned char> bytes;  // starts at the first packet's header
    std::vector<std::vector<std::uint16_t>> lines;
    const unsigned char* payload() const { return bytes.data() + 20; }
};

Packetised packetised_frame(unsigned width, unsigned height, std::uint32_t seed) {
    const std::size_t per_line = (width + 479) / 480;
    Packetised frame;
    frame.bytes.assign(kPacket * per_line * height + 20, 0xEE);
    auto random = cconvert::test::random_bytes(frame.bytes.size(), seed);
    for (std::size_t line = 0; line < height; ++line) {
        std::vector<std::uint16_t> samples;
        for (std::size_t p = 0; p < per_line; ++p) {
            unsigned char* payload = frame.bytes.data() + kPacket * (per_line * line + p) + 20;
            std::memcpy(payload, random.data() + kPacket * (per_line * line + p), 1200);
            const auto packet_samples = unpack_stream(payload, 960);
            samples.insert(samples.end(), packet_samples.begin(), packet_samples.end());
        }
        frame.lines.push_back(samples);
    }
    return frame;
}

}  // namespace

TEST_P(Packed10Frames, PacketisedLinesFillV210RowsPairByPair) {
    ScopedCpuFeatures features(GetParam());
    for (unsigned width : {1920u, 1000u, 1003u, 480u, 2u})
        for (unsigned height : {1u, 4u, 5u})
            for (int interlaced : {0, 1}) {
                const Packetised frame = packetised_frame(width, height, width + height);
                const std::size_t pitch = v210_pitch(width);
                GuardedBuffer v210(pitch * height);
                v210.fill_random(7);
                const auto before = v210.contents();
                EXPECT_EQ(ccnvt_YCbCr10Packetized_to_v210(v210.data(), frame.payload(), width, height, interlaced), 0);
                const std::size_t pair_samples = 4 * ((width + 1) / 2);
                for (std::size_t line = 0; line < height; ++line) {
                    const std::size_t row = row_of_line(line, height, interlaced != 0);
                    const unsigned char* got = v210.data() + pitch * row;
                    for (std::size_t s = 0; s < pair_samples; ++s)
                        ASSERT_EQ(v210_sample(got, s), frame.lines[line][s])
                            << width << "x" << height << " line " << line << " sample " << s;
                    // Fields of the last group beyond the last pair keep their bits,
                    // and so does the rest of the row.
                    for (std::size_t s = pair_samples; s < 12 * ((width + 5) / 6); ++s)
                        ASSERT_EQ(v210_sample(got, s), v210_sample(before.data() + pitch * row, s)) << width;
                    for (std::size_t b = 16 * ((width + 5) / 6); b < pitch; ++b)
                        ASSERT_EQ(got[b], before[pitch * row + b]) << width;
                }
                ASSERT_TRUE(v210.guards_intact());
            }
}

TEST(PacketisedStream, Pixel480OfA1920LineComesFromTheSecondPacket) {
    std::vector<unsigned char> packets(kPacket * 4, 0);
    // The second packet's payload starts 1220 bytes after the first's.
    const auto pair = pack_stream({0x111, 0x222, 0x333, 0x3AB});
    std::memcpy(packets.data() + 1220, pair.data(), 5);
    std::vector<unsigned char> v210(5120, 0);
    ccnvt_YCbCr10Packetized_to_v210(v210.data(), packets.data(), 1920, 1, 0);
    EXPECT_EQ(word_at(v210.data() + 16 * 80, 0), 0x111u | 0x222u << 10 | 0x333u << 20);
    EXPECT_EQ(word_at(v210.data() + 16 * 80, 1) & 0x3FF, 0x3ABu);
}

TEST(PacketisedStream, ZeroWidthOrHeightWritesNothing) {
    std::vector<unsigned char> packets(kPacket, 1);
    GuardedBuffer v210(256, 0x5A);
    EXPECT_EQ(ccnvt_YCbCr10Packetized_to_v210(v210.data(), packets.data(), 0, 4, 0), 0);
    EXPECT_EQ(ccnvt_YCbCr10Packetized_to_v210(v210.data(), packets.data(), 96, 0, 1), 0);
    EXPECT_EQ(v210.contents(), std::vector<unsigned char>(256, 0x5A));
}

// ---- slot writers ----

namespace {

constexpr std::size_t kSlot = 1280;

// Expected payload of a slot from 480 pixels of 2vuy or v210.
std::vector<unsigned char> slot_from_uyvy(const unsigned char* uyvy) {
    std::vector<std::uint16_t> samples(uyvy, uyvy + 960);
    for (auto& s : samples) s = static_cast<std::uint16_t>(s * 4);
    return pack_stream(samples);
}

std::vector<unsigned char> slot_from_v210(const unsigned char* v210) {
    return pack_stream(samples_from_v210(v210, 80));
}

// Where the source of slot k starts, by the rule: 480 pixels per slot
// (bytes_per_slot), plus line_skip after every slot k >= 1 that ends a line.
std::vector<std::size_t> slot_sources(std::size_t slots, std::size_t per_line, std::size_t bytes_per_slot,
                                      std::size_t line_skip) {
    std::vector<std::size_t> starts;
    std::size_t at = 0;
    for (std::size_t k = 0; k < slots; ++k) {
        starts.push_back(at);
        at += bytes_per_slot;
        if (k >= 1 && per_line != 0 && k % per_line == per_line - 1) at += line_skip;
    }
    return starts;
}

struct SlotCase {
    unsigned width, height, pitch, slot_size;
    std::size_t slots, per_line, line_skip;
};

void check_slots(const GuardedBuffer& out, const unsigned char* source, const SlotCase& c, bool v210,
                 const std::string& what) {
    const auto starts = slot_sources(c.slots, c.per_line, v210 ? 1280 : 960, c.line_skip);
    std::vector<unsigned char> expected(out.size(), 0x5A);
    for (std::size_t k = 0; k < c.slots; ++k) {
        const auto payload = v210 ? slot_from_v210(source + starts[k]) : slot_from_uyvy(source + starts[k]);
        std::copy(payload.begin(), payload.end(), expected.begin() + static_cast<long>(kSlot * k + 20));
    }
    ASSERT_EQ(out.contents(), expected) << what;
    ASSERT_TRUE(out.guards_intact()) << what;
}

}  // namespace

TEST_P(Packed10Frames, UyvySlotsFollowTheLineSkipRule) {
    ScopedCpuFeatures features(GetParam());
    const SlotCase cases[] = {
        {960, 3, 1930, 1280, 6, 2, 8},   // skip (1930 - 1920) & ~3 = 8 after slots 1, 3, 5
        {480, 3, 964, 1280, 3, 1, 4},    // a line per slot: not after slot 0, after slots 1 and 2
        {1920, 2, 3840, 1300, 8, 4, 0},  // tight rows; slot_size only scales the result
        {240, 100, 500, 1280, 50, 0, 20},  // fewer slots than lines: no line ends, no skips
        {1000, 3, 2000, 1280, 6, 2, 0},  // slots straddle line ends
        {1920, 2, 1000, 1280, 8, 4, 0},  // a pitch below the line skips nothing
    };
    for (const SlotCase& c : cases)
        for (bool bit_writer : {false, true}) {
            const std::size_t source_bytes = 960 * c.slots + c.line_skip * c.slots + 960;
            GuardedBuffer source(source_bytes);
            source.fill_random(c.width + c.height);
            GuardedBuffer out(kSlot * c.slots + 100, 0x5A);
            const unsigned result = ccnvt_uyvy_to_YCbCr10PackedToPacket(out.data(), source.data(), c.width, c.height,
                                                                       c.pitch, c.slot_size, 0, 0, bit_writer);
            EXPECT_EQ(result, c.slots * c.slot_size);
            check_slots(out, source.data(), c, false,
                        std::to_string(c.width) + "x" + std::to_string(c.height) + (bit_writer ? " bit writer" : ""));
        }
}

TEST_P(Packed10Frames, V210SlotsFollowTheLineSkipRule) {
    ScopedCpuFeatures features(GetParam());
    const SlotCase cases[] = {
        {1920, 4, 5120 + 64, 1280, 16, 4, 64},  // skip (1296 - 1280) * 4 = 64
        {480, 3, 1280 + 6, 1280, 3, 1, 4},      // (321 - 320) * 4: not after slot 0
        {1920, 2, 5120, 1500, 8, 4, 0},
        {1920, 2, 0, 1280, 8, 4, 0},            // pitch 0: tight rows
    };
    for (const SlotCase& c : cases)
        for (int bit_writer : {0, 1, 0x100}) {
            const std::size_t source_bytes = 1280 * c.slots + c.line_skip * c.slots + 1280;
            GuardedBuffer source(source_bytes);
            source.fill_random(c.width * 3 + c.height);
            GuardedBuffer out(kSlot * c.slots + 100, 0x5A);
            const unsigned result = ccnvt_v210_to_YCbCr10PackedToPacket(out.data(), source.data(), c.width, c.height,
                                                                       c.pitch, c.slot_size, 0, 0, 0, bit_writer);
            EXPECT_EQ(result, c.slots * c.slot_size);
            check_slots(out, source.data(), c, true,
                        std::to_string(c.width) + "x" + std::to_string(c.height) + " bit writer " +
                            std::to_string(bit_writer));
        }
}

TEST(PacketSlots, A1080pFrameMakes4320SlotsFourPerLine) {
    const unsigned width = 1920, height = 1080;
    const auto uyvy = cconvert::test::random_bytes(2 * width * height, 1080);
    GuardedBuffer out(kSlot * 4320, 0x5A);
    EXPECT_EQ(ccnvt_uyvy_to_YCbCr10PackedToPacket(out.data(), uyvy.data(), width, height, 2 * width, 1280, 0, 0,
                                                  false),
              4320u * 1280);
    // Slot 1 starts at byte 1280; its payload, pixels 480-959 of line 0, at 1300.
    const auto second = slot_from_uyvy(uyvy.data() + 960);
    EXPECT_EQ(0, std::memcmp(out.data() + 1300, second.data(), 1200));
    for (std::size_t k : {0u, 1u, 4319u}) {
        for (std::size_t i = 0; i < 20; ++i) ASSERT_EQ(out[kSlot * k + i], 0x5A) << "header, slot " << k;
        for (std::size_t i = 1220; i < 1280; ++i) ASSERT_EQ(out[kSlot * k + i], 0x5A) << "tail, slot " << k;
    }
    const auto last = slot_from_uyvy(uyvy.data() + 960 * 4319);
    EXPECT_EQ(0, std::memcmp(out.data() + kSlot * 4319 + 20, last.data(), 1200));
    EXPECT_TRUE(out.guards_intact());
}

TEST(PacketSlots, AFrameSmallerThanASlotWritesNothing) {
    const auto uyvy = cconvert::test::random_bytes(2 * 20 * 20, 2);
    GuardedBuffer out(kSlot, 0x5A);
    EXPECT_EQ(ccnvt_uyvy_to_YCbCr10PackedToPacket(out.data(), uyvy.data(), 20, 20, 40, 1280, 0, 0, false), 0u);
    EXPECT_EQ(ccnvt_v210_to_YCbCr10PackedToPacket(out.data(), uyvy.data(), 20, 20, 0, 1280, 0, 0, 0, 1), 0u);
    EXPECT_EQ(out.contents(), std::vector<unsigned char>(kSlot, 0x5A));
}

TEST(PacketSlots, TheBitWriterDropsBitsPastSlotsTimesSlotSize) {
    // slot_size 1220: the writer's buffer ends 60 bytes into the last slot's
    // area for every slot, so the later slots lose their ends.
    const unsigned width = 480, height = 2;
    const auto uyvy = cconvert::test::random_bytes(960 * 2, 3);
    GuardedBuffer out(kSlot * 2, 0x5A);
    EXPECT_EQ(ccnvt_uyvy_to_YCbCr10PackedToPacket(out.data(), uyvy.data(), width, height, 960, 1220, 0, 0, true),
              2u * 1220);
    const auto first = slot_from_uyvy(uyvy.data());
    EXPECT_EQ(0, std::memcmp(out.data() + 20, first.data(), 1200));
    // The buffer is 2440 bytes: slot 1's payload runs from 1300 to 2499.
    const auto second = slot_from_uyvy(uyvy.data() + 960);
    EXPECT_EQ(0, std::memcmp(out.data() + 1300, second.data(), 2440 - 1300));
    for (std::size_t i = 2440; i < kSlot * 2; ++i) ASSERT_EQ(out[i], 0x5A) << i;
}

TEST(PacketSlots, TheFirstVersionWritesWhatTheWriterWrites) {
    const unsigned width = 960, height = 3;
    auto uyvy = cconvert::test::random_bytes(1932 * 3 + 960, 4);
    for (bool bit_writer : {false, true}) {
        std::vector<unsigned char> a(kSlot * 6, 0x5A), b(kSlot * 6, 0x5A);
        const unsigned ra = ccnvt_uyvy_to_YCbCr10PackedToPacket(a.data(), uyvy.data(), width, height, 1932, 1280,
                                                                1, 2, bit_writer);
        const unsigned rb = ccnvt_uyvy_to_YCbCr10PackedToPacket_doesnotwork(b.data(), uyvy.data(), width, height,
                                                                           1932, 1280, 1, 2, bit_writer);
        EXPECT_EQ(ra, rb);
        EXPECT_EQ(a, b);
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, Packed10Frames, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });
