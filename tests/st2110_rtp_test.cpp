// SMPTE ST 2110-20 RTP packets and the segment decoder against models
// (whole frames through packets and back: st2110_example_test.cpp).
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/packed10.h"
#include "support/test_support.h"
#include "tests/packed10_model.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::random_bytes;
using namespace cconvert::test::model;

namespace {

constexpr std::size_t kSlot = 1395;

std::uint32_t be32(const unsigned char* p) { return be16(p) << 16 | be16(p + 2); }

// The 1375 payload bytes of a segment: its pairs, zeros from byte pixels * 5 / 2 on.
Bytes expected_payload(const unsigned char* line, std::size_t offset, std::size_t pixels) {
    Samples samples;
    for (std::size_t s = 2 * offset; s < 2 * offset + 4 * ((pixels + 1) / 2); ++s) samples.push_back(v210_sample(line, s));
    Bytes payload = pack_stream(samples);
    payload.resize(1375, 0);
    std::fill(payload.begin() + static_cast<std::ptrdiff_t>(pixels * 5 / 2), payload.end(), 0);
    return payload;
}

struct Packetised {
    Bytes frame, out;
    std::uint32_t result = 0;
    unsigned int packet_size = 7, packet_count = 7;
    unsigned short sequence;
};

Packetised packetise(unsigned int width, unsigned int height, unsigned short first_sequence = 100) {
    Packetised p;
    p.frame = random_bytes(v210_pitch(width) * height, width * 3 + height);
    p.out.assign(kSlot * ((width + 549) / 550 * height), 0x5A);
    p.sequence = first_sequence;
    p.result = ccnvt_v210_frame_to_rtp_4175(p.out.data(), static_cast<std::int64_t>(p.out.size()), &p.sequence,
                                            0x01020304u, 0xA1B2C3D4u, 0x00ABCDEFu, p.frame.data(), width, height,
                                            &p.packet_size, &p.packet_count);
    return p;
}

}  // namespace

class RtpPayloads : public FeatureWordTest {};

// Width 33600: offset 33000 of segment 61 keeps its low 15 bits, the C bit 0. The sequence wraps.
TEST_P(RtpPayloads, HeadersAndPayloadsMatchTheModelForEveryPacket) {
    for (unsigned int width : {1u, 2u, 5u, 1106u, 1921u, 3840u, 33600u}) {
        const Packetised p = packetise(width, 3, 65500);
        const std::size_t segments = (width + 549) / 550, count = 3 * segments;
        ASSERT_TRUE(p.packet_count == count && p.packet_size == kSlot && p.result == kSlot * count) << width;
        EXPECT_EQ(p.sequence, static_cast<unsigned short>(65500 + count));
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t row = k / segments, offset = 550 * (k % segments);
            const std::size_t pixels = std::min<std::size_t>(width - offset, 550);
            const unsigned char* packet = p.out.data() + kSlot * k;
            ASSERT_EQ(be32(packet), (k + 1 == count ? 0x90E00000u : 0x90600000u) | ((65500 + k) & 0xFFFF)) << k;
            ASSERT_TRUE(be32(packet + 4) == 0x01020304u && be32(packet + 8) == 0xA1B2C3D4u && be16(packet + 12) == 0xCDEF);
            ASSERT_EQ(be16(packet + 14), pixels * 5 / 2) << "width " << width << " packet " << k;
            ASSERT_EQ(be16(packet + 16), row + 1) << "width " << width << " packet " << k;
            ASSERT_EQ(be16(packet + 18), offset & 0x7FFF) << "width " << width << " packet " << k;
            ASSERT_EQ(Bytes(packet + 20, packet + kSlot),
                      expected_payload(p.frame.data() + v210_pitch(width) * row, offset, pixels))
                << "width " << width << " packet " << k;
        }
    }
}

CCNVT_UNDER_EVERY_FEATURE_WORD(RtpPayloads);

TEST(RtpPackets, RefusalsWriteNothing) {
    Bytes frame(5120 * 2, 1), out(3 * kSlot, 0x5A);
    const struct {
        std::int64_t out_size;
        unsigned int width, height;
    } refused[] = {{1394, 1920, 2}, {0, 1920, 2}, {-1395, 1920, 2}, {4185, 0, 2}, {4185, 1920, 0}};
    for (const auto& r : refused) {
        unsigned short sequence = 9;
        unsigned int size = 5, count = 5;
        EXPECT_EQ(ccnvt_v210_frame_to_rtp_4175(out.data(), r.out_size, &sequence, 1, 2, 3, frame.data(), r.width,
                                               r.height, &size, &count), 0u);
        EXPECT_EQ(size + count + sequence, 9u);
        EXPECT_EQ(out, Bytes(3 * kSlot, 0x5A));
        EXPECT_EQ(ccnvt_v210_frame_to_rtp_4175(out.data(), r.out_size, &sequence, 1, 2, 3, frame.data(), r.width,
                                               r.height, nullptr, nullptr), 0u);  // null outputs are allowed
    }
}

TEST(RtpPackets, ASmallBufferTakesTheWholePacketsThatFitAndMarksTheLast) {
    for (std::size_t slots : {1u, 3u, 6u}) {
        const Bytes frame = random_bytes(5120 * 2, 4);
        GuardedBuffer out(kSlot * slots + 1394, 0x5A);  // room for slots packets and not one more
        unsigned short sequence = 7;
        unsigned int size = 0, count = 0;
        EXPECT_EQ(ccnvt_v210_frame_to_rtp_4175(out.data(), static_cast<std::int64_t>(out.size()), &sequence, 1, 2, 3,
                                               frame.data(), 1920, 2, &size, &count), kSlot * slots);
        EXPECT_EQ(count, slots);
        EXPECT_EQ(size, 1395u);
        EXPECT_EQ(sequence, 7 + slots);
        for (std::size_t k = 0; k < slots; ++k) EXPECT_EQ(out[kSlot * k + 1], k + 1 == slots ? 0xE0 : 0x60);
        EXPECT_EQ(Bytes(out.data() + kSlot * slots, out.data() + out.size()), Bytes(1394, 0x5A));
        EXPECT_TRUE(out.guards_intact());
    }
}

namespace {

// The fields a pair at position 0, 2 or 4 of a group writes, bits 30-31 included.
void model_merge_pair(std::uint32_t words[4], int position, const std::uint16_t s[4]) {
    auto set = [](std::uint32_t& word, int field, std::uint32_t value) {
        word = (word & ~(0x3FFu << (10 * field))) | value << (10 * field);
    };
    if (position == 0) {
        words[0] = s[0] | s[1] << 10 | s[2] << 20;  // whole word
        set(words[1], 0, s[3]);                       // the rest of word 1 kept, bits 30-31 too
    } else if (position == 2) {
        words[1] = (words[1] & 0x3FF) | s[0] << 10 | s[1] << 20;
        words[2] = (words[2] & 0x3FFu << 20) | s[2] | s[3] << 10;
    } else {
        words[2] = (words[2] & 0xFFFFF) | s[0] << 20;
        words[3] = s[1] | s[2] << 10 | s[3] << 20;
    }
}

// What ccnvt_4175_to_v210 should leave in the words.
std::vector<std::uint32_t> model_decode(std::vector<std::uint32_t> words, const Bytes& payload, std::int64_t length,
                                        std::int64_t pair_count, int phase) {
    const Samples samples = unpack_stream(payload.data(), 4 * 100, 0, static_cast<std::size_t>(std::max<std::int64_t>(length, 0)));
    std::size_t next = 0, group = 0;
    if (phase == 2 || phase == 4) {
        for (int p = phase; p < 6; p += 2, next += 4) model_merge_pair(&words[4 * group], p, &samples[next]);
        ++group;
    }
    for (std::int64_t p = 0; p < pair_count; ++p, next += 4) {
        model_merge_pair(&words[4 * group], static_cast<int>(2 * (p % 3)), &samples[next]);
        if (p % 3 == 2) ++group;
    }
    return words;
}

class SegmentDecoder : public FeatureWordTest {};

}  // namespace

TEST_P(SegmentDecoder, MatchesTheRulesForEveryPhaseCountAndLength) {
    const Bytes payload = random_bytes(400, 11);
    for (int phase : {0, 2, 4, 1, 6})
        for (std::int64_t pairs : {-3, 0, 1, 2, 3, 4, 5, 7, 30, 61, 70})
            for (std::int64_t length : {-1, 0, 4, 5, 14, 15, 16, 151, 400}) {
                const Bytes start = random_bytes(16 * 40, static_cast<std::uint32_t>(pairs * 7 + phase));
                std::vector<std::uint32_t> words(4 * 40);
                std::memcpy(words.data(), start.data(), start.size());
                const auto expected = model_decode(words, payload, length, pairs, phase);
                EXPECT_EQ(ccnvt_4175_to_v210(words.data(), payload.data(), length, pairs,
                                             static_cast<std::uint64_t>(phase)), 0);
                ASSERT_EQ(words, expected) << "phase " << phase << " pairs " << pairs << " length " << length;
            }
}

CCNVT_UNDER_EVERY_FEATURE_WORD(SegmentDecoder);

TEST(SegmentDecoderByHand, LeadInsPartialWritesAndMissingBytes) {
    const Samples ramp = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const Samples high = {1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007};
    const struct {
        Samples payload;
        std::int64_t length, pairs, phase;
        std::vector<unsigned int> before, after;
    } cases[] = {
        // Phase 2, no count: two pairs finish the group; word 1 keeps bits 0-9, loses 30-31.
        {ramp, 20, 0, 2, {0x3FFFFFFFu, 0xC00003FFu | 0x55u << 10, ~0u, ~0u, 0xAAAAAAAAu},
         {0x3FFFFFFFu, 0x3FFu | 1u << 10 | 2u << 20, 3u | 4u << 10 | 5u << 20, 6u | 7u << 10 | 8u << 20, 0xAAAAAAAAu}},
        // Phase 4: one pair (word 2 keeps bits 0-19), then whole groups.
        {ramp, 20, 3, 4, {0x11111111u, 0x22222222u, 0x0003FFFFu | 0x1FFu << 20, 0, 0, 0, 0, 0},
         {0x11111111u, 0x22222222u, 0x0003FFFFu | 1u << 20, 2u | 3u << 10 | 4u << 20, 5u | 6u << 10 | 7u << 20,
          8u | 9u << 10 | 10u << 20, 11u | 12u << 10 | 13u << 20, 14u | 15u << 10 | 16u << 20}},
        // Seven bytes: a pair, the next Cb and the top of its Y0; then zeros.
        {high, 7, 3, 0, {~0u, ~0u, ~0u, ~0u},
         {1000u | 1001u << 10 | 1002u << 20, 1003u | 1004u << 10 | (1005u & 0x3F0) << 20, 0, 0}},
    };
    for (const auto& c : cases) {
        std::vector<unsigned int> words = c.before;
        ccnvt_4175_to_v210(words.data(), pack_stream(c.payload).data(), c.length, c.pairs,
                           static_cast<std::uint64_t>(c.phase));
        EXPECT_EQ(words, c.after) << "phase " << c.phase;
    }
}
