// SMPTE ST 2110-20 RTP packets: headers field by field, payloads against an
// independent model, refusals and capacity, sequence wrap, the zero fill of
// short and odd segments, the segment decoder's lead-in phases and partial
// writes, and whole frames through packets and back for widths whose
// 550-pixel segments start inside v210 groups.
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

constexpr std::size_t kSlot = 1395;

std::uint32_t be16(const unsigned char* p) { return static_cast<std::uint32_t>(p[0] << 8 | p[1]); }
std::uint32_t be32(const unsigned char* p) { return be16(p) << 16 | be16(p + 2); }

// The 1375 payload bytes of the segment of `pixels` pixels at `offset`.
std::vector<unsigned char> expected_payload(const unsigned char* line, std::size_t offset, std::size_t pixels) {
    std::vector<std::uint16_t> samples;
    for (std::size_t p = offset; p < offset + pixels; p += 2)
        for (std::size_t k = 0; k < 4; ++k) samples.push_back(v210_sample(line, 2 * p + k));
    std::vector<unsigned char> payload = pack_stream(samples);
    payload.resize(1375, 0);
    std::fill(payload.begin() + static_cast<std::ptrdiff_t>(pixels * 5 / 2), payload.end(), 0);
    return payload;
}

struct Packetised {
    std::vector<unsigned char> frame, out;
    unsigned int width, height;
    std::uint32_t result = 0;
    unsigned int packet_size = 7, packet_count = 7;
    unsigned short sequence;
};

Packetised packetise(unsigned int width, unsigned int height, unsigned short first_sequence = 100,
                     std::size_t slots = 0) {
    Packetised p;
    p.width = width;
    p.height = height;
    p.frame = cconvert::test::random_bytes(v210_pitch(width) * height, width * 3 + height);
    const std::size_t segments = (width + 549) / 550;
    p.out.assign(kSlot * (slots ? slots : segments * height), 0x5A);
    p.sequence = first_sequence;
    p.result = ccnvt_v210_frame_to_rtp_4175(p.out.data(), static_cast<std::int64_t>(p.out.size()), &p.sequence,
                                            0x01020304u, 0xA1B2C3D4u, 0x00ABCDEFu, p.frame.data(), width, height,
                                            &p.packet_size, &p.packet_count);
    return p;
}

}  // namespace

// ---- packets ----

TEST(RtpPackets, HeadersOf1080pFieldByField) {
    const Packetised p = packetise(1920, 1080);
    EXPECT_EQ(p.result, 6026400u);
    EXPECT_EQ(p.packet_count, 4320u);
    EXPECT_EQ(p.packet_size, 1395u);
    EXPECT_EQ(p.sequence, static_cast<unsigned short>(100 + 4320));
    const std::uint32_t lengths[4] = {1375, 1375, 1375, 675};
    for (std::size_t k = 0; k < 4320; ++k) {
        const unsigned char* h = p.out.data() + kSlot * k;
        ASSERT_EQ(h[0], 0x90) << "packet " << k;
        ASSERT_EQ(h[1], k == 4319 ? 0xE0 : 0x60) << "packet " << k;
        ASSERT_EQ(be16(h + 2), (100 + k) & 0xFFFF) << "packet " << k;
        ASSERT_EQ(be32(h + 4), 0x01020304u);
        ASSERT_EQ(be32(h + 8), 0xA1B2C3D4u);
        ASSERT_EQ(be16(h + 12), 0xCDEFu);
        ASSERT_EQ(be16(h + 14), lengths[k % 4]) << "packet " << k;
        ASSERT_EQ(be16(h + 16), k / 4 + 1) << "row, counted from 1, packet " << k;
        ASSERT_EQ(be16(h + 18), 550 * (k % 4)) << "offset, packet " << k;
    }
    // The first packet byte by byte.
    const unsigned char first[20] = {0x90, 0x60, 0x00, 0x64, 0x01, 0x02, 0x03, 0x04, 0xA1, 0xB2,
                                     0xC3, 0xD4, 0xCD, 0xEF, 0x05, 0x5F, 0x00, 0x01, 0x00, 0x00};
    EXPECT_EQ(0, std::memcmp(p.out.data(), first, 20));
}

class RtpPayloads : public ::testing::TestWithParam<unsigned int> {};

TEST_P(RtpPayloads, MatchTheModelForEveryPacket) {
    ScopedCpuFeatures features(GetParam());
    for (unsigned int width : {1920u, 1280u, 720u, 3840u, 1921u, 1u, 2u, 5u, 551u, 1100u, 1106u}) {
        const unsigned int height = 3;
        const Packetised p = packetise(width, height);
        const std::size_t segments = (width + 549) / 550;
        ASSERT_EQ(p.packet_count, segments * height) << width;
        for (std::size_t k = 0; k < p.packet_count; ++k) {
            const std::size_t row = k / segments, offset = 550 * (k % segments);
            const std::size_t pixels = std::min<std::size_t>(width - offset, 550);
            const auto expected = expected_payload(p.frame.data() + v210_pitch(width) * row, offset, pixels);
            ASSERT_EQ(0, std::memcmp(p.out.data() + kSlot * k + 20, expected.data(), 1375))
                << "width " << width << " packet " << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, RtpPayloads, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(RtpPackets, OddWidthLastSegmentKeepsTwoBytesOfItsLastPair) {
    const Packetised p = packetise(1921, 1);
    ASSERT_EQ(p.packet_count, 4u);
    const unsigned char* last = p.out.data() + 3 * kSlot;
    EXPECT_EQ(be16(last + 14), 677u);  // 271 pixels
    // 136 pairs converted: the last pair's bytes 675 and 676 are there, from
    // 677 on the zero fill wins.
    std::vector<std::uint16_t> samples;
    for (std::size_t s = 2 * 1920; s < 2 * 1920 + 4; ++s) samples.push_back(v210_sample(p.frame.data(), s));
    const auto pair = pack_stream(samples);
    EXPECT_EQ(last[20 + 675], pair[0]);
    EXPECT_EQ(last[20 + 676], pair[1]);
    for (std::size_t i = 677; i < 1375; ++i) ASSERT_EQ(last[20 + i], 0) << "payload byte " << i;
}

TEST(RtpPackets, SequenceWrapsAndTheExtendedFieldStays) {
    const Packetised p = packetise(1920, 1, 65535);
    EXPECT_EQ(be16(p.out.data() + 2), 65535u);
    EXPECT_EQ(be16(p.out.data() + kSlot + 2), 0u);
    EXPECT_EQ(be16(p.out.data() + 3 * kSlot + 2), 2u);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(be16(p.out.data() + kSlot * k + 12), 0xCDEFu);
    EXPECT_EQ(p.sequence, 3u);
}

TEST(RtpPackets, RefusalsWriteNothing) {
    std::vector<unsigned char> frame(5120 * 2, 1), out(3 * kSlot, 0x5A);
    const struct {
        std::int64_t out_size;
        unsigned int width, height;
    } refused[] = {{1394, 1920, 2}, {0, 1920, 2}, {-1395, 1920, 2}, {4185, 0, 2}, {4185, 1920, 0}};
    for (const auto& r : refused) {
        unsigned short sequence = 9;
        unsigned int size = 5, count = 5;
        EXPECT_EQ(ccnvt_v210_frame_to_rtp_4175(out.data(), r.out_size, &sequence, 1, 2, 3, frame.data(), r.width,
                                               r.height, &size, &count),
                  0u);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(sequence, 9u);
        EXPECT_EQ(out, std::vector<unsigned char>(3 * kSlot, 0x5A));
        // Null outputs are allowed.
        EXPECT_EQ(ccnvt_v210_frame_to_rtp_4175(out.data(), r.out_size, &sequence, 1, 2, 3, frame.data(), r.width,
                                               r.height, nullptr, nullptr),
                  0u);
    }
}

TEST(RtpPackets, ASmallBufferTakesTheWholePacketsThatFitAndMarksTheLast) {
    for (std::size_t slots : {1u, 3u, 6u}) {
        std::vector<unsigned char> frame = cconvert::test::random_bytes(5120 * 2, 4);
        GuardedBuffer out(kSlot * slots + 1394, 0x5A);  // room for slots packets and not one more
        unsigned short sequence = 7;
        unsigned int size = 0, count = 0;
        const std::uint32_t result = ccnvt_v210_frame_to_rtp_4175(
            out.data(), static_cast<std::int64_t>(out.size()), &sequence, 1, 2, 3, frame.data(), 1920, 2, &size, &count);
        EXPECT_EQ(result, kSlot * slots);
        EXPECT_EQ(count, slots);
        EXPECT_EQ(size, 1395u);
        EXPECT_EQ(sequence, 7 + slots);
        for (std::size_t k = 0; k < slots; ++k) EXPECT_EQ(out[kSlot * k + 1], k + 1 == slots ? 0xE0 : 0x60);
        for (std::size_t i = kSlot * slots; i < out.size(); ++i) ASSERT_EQ(out[i], 0x5A) << "byte " << i;
        EXPECT_TRUE(out.guards_intact());
        if (slots == 1) {
            const auto expected = expected_payload(frame.data(), 0, 550);
            EXPECT_EQ(0, std::memcmp(out.data() + 20, expected.data(), 1375));
        }
    }
}

TEST(RtpPackets, RowAndOffsetFieldsKeepTheirTopBitClear) {
    // Width 33600: the 61st segment's offset 33000 does not fit 15 bits; the
    // C bit stays 0 and the offset keeps its low 15 bits.
    const unsigned int width = 33600;
    std::vector<unsigned char> frame(v210_pitch(width), 0);
    std::vector<unsigned char> out(kSlot * 61);
    unsigned short sequence = 0;
    unsigned int count = 0;
    ccnvt_v210_frame_to_rtp_4175(out.data(), static_cast<std::int64_t>(out.size()), &sequence, 0, 0, 0,
                                 frame.data(), width, 1, nullptr, &count);
    ASSERT_EQ(count, 61u);
    EXPECT_EQ(be16(out.data() + kSlot * 60 + 18), 33000u & 0x7FFF);
    EXPECT_EQ(be16(out.data() + kSlot * 60 + 16), 1u);
}

// ---- segment decoder ----

namespace {

// The rules of the partial writes, modelled: which fields a pair at position
// 0, 2 or 4 writes and what happens to bits 30-31 of each word it touches.
void model_merge_pair(std::uint32_t words[4], int position, const std::uint16_t s[4]) {
    auto set_field = [](std::uint32_t& word, int field, std::uint32_t value) {
        word = (word & ~(0x3FFu << (10 * field))) | value << (10 * field);
    };
    if (position == 0) {
        words[0] = 0;  // whole word
        set_field(words[0], 0, s[0]), set_field(words[0], 1, s[1]), set_field(words[0], 2, s[2]);
        set_field(words[1], 0, s[3]);  // the rest of word 1 kept, bits 30-31 too
    } else if (position == 2) {
        words[1] &= 0x3FF;
        set_field(words[1], 1, s[0]), set_field(words[1], 2, s[1]);
        words[2] &= 0x3FFu << 20;
        set_field(words[2], 0, s[2]), set_field(words[2], 1, s[3]);
    } else {
        words[2] &= 0xFFFFF;
        set_field(words[2], 2, s[0]);
        words[3] = 0;
        set_field(words[3], 0, s[1]), set_field(words[3], 1, s[2]), set_field(words[3], 2, s[3]);
    }
}

// What ccnvt_4175_to_v210 should leave in groups, from the rules.
std::vector<std::uint32_t> model_decode(std::vector<std::uint32_t> words, const std::vector<unsigned char>& payload,
                                        std::int64_t length, std::int64_t pair_count, int phase) {
    std::int64_t position = 0;
    auto next_pair = [&](std::uint16_t s[4]) {
        for (int k = 0; k < 4; ++k) {
            std::uint16_t value = 0;
            for (int b = 0; b < 10; ++b) {
                const std::int64_t bit = 40 * position + 10 * k + b;
                const std::int64_t byte = bit / 8;
                const int bit_value = byte < length ? (payload[static_cast<std::size_t>(byte)] >> (7 - bit % 8)) & 1 : 0;
                value = static_cast<std::uint16_t>(value << 1 | bit_value);
            }
            s[k] = value;
        }
        ++position;
    };
    std::size_t group = 0;
    std::uint16_t s[4];
    if (phase == 2 || phase == 4) {
        for (int p = phase; p < 6; p += 2) next_pair(s), model_merge_pair(&words[4 * group], p, s);
        ++group;
    }
    for (std::int64_t p = 0; p < pair_count; ++p) {
        next_pair(s);
        model_merge_pair(&words[4 * group], static_cast<int>(2 * (p % 3)), s);
        if (p % 3 == 2) ++group;
    }
    return words;
}

}  // namespace

class SegmentDecoder : public ::testing::TestWithParam<unsigned int> {};

TEST_P(SegmentDecoder, MatchesTheRulesForEveryPhaseCountAndLength) {
    ScopedCpuFeatures features(GetParam());
    const auto payload = cconvert::test::random_bytes(400, 11);
    for (int phase : {0, 2, 4, 1, 6})
        for (std::int64_t pairs : {-3, 0, 1, 2, 3, 4, 5, 6, 7, 30, 61, 70})
            for (std::int64_t length : {-1, 0, 4, 5, 14, 15, 16, 44, 151, 400}) {
                const std::size_t groups = 40;
                auto start = cconvert::test::random_bytes(16 * groups, static_cast<std::uint32_t>(pairs * 7 + phase));
                std::vector<std::uint32_t> words(4 * groups);
                std::memcpy(words.data(), start.data(), start.size());
                const auto expected = model_decode(words, payload, std::min<std::int64_t>(length, 400), pairs, phase);
                EXPECT_EQ(ccnvt_4175_to_v210(words.data(), payload.data(), length, pairs, static_cast<std::uint64_t>(phase)), 0);
                ASSERT_EQ(words, expected) << "phase " << phase << " pairs " << pairs << " length " << length;
            }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, SegmentDecoder, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(SegmentDecoderByHand, PhaseTwoWithNoCountPlacesExactlyTwoPairs) {
    // Pairs (1, 2, 3, 4) and (5, 6, 7, 8) into the rest of a group whose
    // first pair (pixels 0-1) is already there.
    const auto payload = pack_stream({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    unsigned int words[8] = {0x3FFFFFFFu, 0xC00003FFu | 0x55u << 10, 0xFFFFFFFFu, 0xFFFFFFFFu,
                             0xAAAAAAAAu, 0xAAAAAAAAu, 0xAAAAAAAAu, 0xAAAAAAAAu};
    ccnvt_4175_to_v210(words, payload.data(), static_cast<std::int64_t>(payload.size()), 0, 2);
    EXPECT_EQ(words[0], 0x3FFFFFFFu);                      // untouched
    EXPECT_EQ(words[1], 0x3FFu | 1u << 10 | 2u << 20);     // bits 0-9 kept; Cb, Y; bits 30-31 cleared
    EXPECT_EQ(words[2], 3u | 4u << 10 | 5u << 20);         // Cr, Y, then the next Cb
    EXPECT_EQ(words[3], 6u | 7u << 10 | 8u << 20);         // Y | Cr << 10 | Y << 20
    for (int i = 4; i < 8; ++i) EXPECT_EQ(words[i], 0xAAAAAAAAu) << i;  // the next group untouched
}

TEST(SegmentDecoderByHand, PhaseFourPlacesOnePairThenWholeGroups) {
    const auto payload = pack_stream({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    unsigned int words[8] = {0x11111111u, 0x22222222u, 0x0003FFFFu | 0x1FFu << 20, 0, 0, 0, 0, 0};
    ccnvt_4175_to_v210(words, payload.data(), static_cast<std::int64_t>(payload.size()), 3, 4);
    EXPECT_EQ(words[0], 0x11111111u);
    EXPECT_EQ(words[1], 0x22222222u);
    EXPECT_EQ(words[2], 0x0003FFFFu | 1u << 20);  // bits 0-19 kept
    EXPECT_EQ(words[3], 2u | 3u << 10 | 4u << 20);
    EXPECT_EQ(words[4], 5u | 6u << 10 | 7u << 20);
    EXPECT_EQ(words[5], 8u | 9u << 10 | 10u << 20);
    EXPECT_EQ(words[6], 11u | 12u << 10 | 13u << 20);
    EXPECT_EQ(words[7], 14u | 15u << 10 | 16u << 20);
}

TEST(SegmentDecoderByHand, MissingPayloadBytesGiveZeroSamples) {
    const auto payload = pack_stream({1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007});
    unsigned int words[4] = {~0u, ~0u, ~0u, ~0u};
    // Seven bytes: the first pair whole, the second's Cb (byte 5) and the top of its Y0.
    ccnvt_4175_to_v210(words, payload.data(), 7, 3, 0);
    EXPECT_EQ(words[0], 1000u | 1001u << 10 | 1002u << 20);
    EXPECT_EQ(words[1], 1003u | 1004u << 10 | (1005u & 0x3F0) << 20);
    EXPECT_EQ(words[2], 0u);
    EXPECT_EQ(words[3], 0u);
}

// ---- whole frames through packets and back ----

namespace {

// What a host does with one received packet (the broadcast example uses the same steps).
void decode_packet(const unsigned char* packet, unsigned char* frame, std::size_t pitch) {
    const std::uint32_t length = be16(packet + 14);
    const std::uint32_t row = be16(packet + 16) & 0x7FFF;
    const std::uint32_t offset = be16(packet + 18) & 0x7FFF;
    const std::uint32_t phase = offset % 6;
    const std::int64_t pairs = (length + 4) / 5;
    const std::int64_t lead_in = phase == 2 ? 2 : phase == 4 ? 1 : 0;
    auto* group = reinterpret_cast<unsigned int*>(frame + pitch * (row - 1) + 16 * (offset / 6));
    ccnvt_4175_to_v210(group, packet + 20, length, pairs - lead_in, phase);
}

}  // namespace

class RtpRoundTrip : public ::testing::TestWithParam<unsigned int> {};

TEST_P(RtpRoundTrip, FramesComeBackThroughPacketsForSegmentsInsideGroups) {
    ScopedCpuFeatures features(GetParam());
    for (unsigned int width : {1920u, 1280u, 3840u, 720u, 1921u, 1651u}) {
        const unsigned int height = 4;
        Packetised p = packetise(width, height);
        const std::size_t pitch = v210_pitch(width);
        auto received = cconvert::test::random_bytes(p.frame.size(), 77);
        const auto before = received;
        for (std::size_t k = 0; k < p.packet_count; ++k) decode_packet(p.out.data() + kSlot * k, received.data(), pitch);

        const std::size_t pairs = (width + 1) / 2;
        for (unsigned int row = 0; row < height; ++row) {
            const unsigned char* sent = p.frame.data() + pitch * row;
            const unsigned char* got = received.data() + pitch * row;
            for (std::size_t s = 0; s < 4 * pairs; ++s) {
                std::uint16_t want = v210_sample(sent, s);
                if (width % 2 == 1 && s >= 4 * pairs - 4) {
                    // The odd last pair kept only its first two bytes: Cb and
                    // the top six bits of Y0.
                    const std::size_t k = s - (4 * pairs - 4);
                    want = k == 0 ? want : k == 1 ? static_cast<std::uint16_t>(want & 0x3F0) : 0;
                }
                ASSERT_EQ(v210_sample(got, s), want) << "width " << width << " row " << row << " sample " << s;
            }
            // The fields of the last group beyond the last pair keep their bits.
            const std::size_t group_samples = 12 * ((width + 5) / 6);
            for (std::size_t s = 4 * pairs; s < group_samples; ++s)
                ASSERT_EQ(v210_sample(got, s), v210_sample(before.data() + pitch * row, s))
                    << "width " << width << " row " << row << " sample " << s;
            // Whole words written have bits 30-31 clear.
            for (std::size_t w = 0; w < 4 * (pairs / 3); ++w)
                ASSERT_EQ(word_at(got, w) >> 30, 0u) << "width " << width << " word " << w;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, RtpRoundTrip, ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });
