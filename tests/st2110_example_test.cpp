// The broadcast example of the README, compiled and run: a sender packetises
// v210 frames into SMPTE ST 2110-20 RTP packets, a receiver places each
// received segment by its SRD row and offset.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/cconvert.h"
#include "support/test_support.h"

namespace {

// ---- the example, as the README shows it ----

// Sender: one call per frame; every 1395-byte slot is a whole RTP packet.
std::vector<unsigned char> packetise(const unsigned char* v210, unsigned width, unsigned height,
                                     unsigned short& sequence, uint32_t timestamp, uint32_t ssrc) {
    const size_t packets_per_line = (width + 549) / 550;  // 550 pixels per packet
    std::vector<unsigned char> packets(1395 * packets_per_line * height);
    unsigned int size = 0, count = 0;
    ccnvt_v210_frame_to_rtp_4175(packets.data(), (int64_t)packets.size(), &sequence, timestamp, ssrc, 0, v210,
                                 width, height, &size, &count);
    packets.resize(size_t(size) * count);
    return packets;  // send bytes [1395 k, 1395 (k + 1)) as packet k
}

// Receiver: each packet holds one segment of a line; its SRD says where.
void depacketise(const unsigned char* packet, unsigned char* v210, size_t v210_pitch) {
    const unsigned length = packet[14] << 8 | packet[15];             // payload bytes
    const unsigned row = (packet[16] << 8 | packet[17]) & 0x7FFF;     // lines count from 1
    const unsigned offset = (packet[18] << 8 | packet[19]) & 0x7FFF;  // first pixel
    const unsigned phase = offset % 6;                                // its place in a v210 group
    const long lead_in = phase == 2 ? 2 : phase == 4 ? 1 : 0;         // pairs that finish that group
    const long pairs = (length + 4) / 5;                              // 5 bytes per pixel pair
    unsigned int* group = (unsigned int*)(v210 + (row - 1) * v210_pitch + 16 * (offset / 6));
    ccnvt_4175_to_v210(group, packet + 20, length, pairs - lead_in, phase);
}

// ---- the test ----

}  // namespace

TEST(BroadcastExample, FramesCrossThePacketsUnchangedInEitherOrder) {
    // 1280 ends in a partial group; 550-pixel segments start inside groups.
    for (unsigned width : {1280u, 1920u}) {
        const unsigned height = 8;
        const size_t pitch = 128 * ((width + 47) / 48);
        // Random samples; unused fields, row padding and bits 30-31 zero, as a zeroed receiver leaves them.
        auto sent = cconvert::test::random_bytes(pitch * height, width);
        for (size_t row = 0; row < height; ++row)
            for (size_t word = 0; word < pitch / 4; ++word) {
                uint32_t value, kept = 0;
                for (unsigned field = 0; field < 3; ++field)
                    if (3 * word + field < 2 * width) kept |= 0x3FFu << (10 * field);
                std::memcpy(&value, sent.data() + pitch * row + 4 * word, 4);
                value &= kept;
                std::memcpy(sent.data() + pitch * row + 4 * word, &value, 4);
            }
        unsigned short sequence = 65530;
        const auto packets = packetise(sent.data(), width, height, sequence, 90000, 0x12345678);
        const size_t count = packets.size() / 1395;
        EXPECT_EQ(count, (width + 549) / 550 * height);
        EXPECT_EQ(sequence, static_cast<unsigned short>(65530 + count));

        std::vector<unsigned char> received(sent.size(), 0), reversed(sent.size(), 0);
        for (size_t k = 0; k < count; ++k) depacketise(packets.data() + 1395 * k, received.data(), pitch);
        for (size_t k = count; k-- > 0;) depacketise(packets.data() + 1395 * k, reversed.data(), pitch);
        EXPECT_EQ(received, sent) << "width " << width;
        EXPECT_EQ(reversed, sent) << "width " << width << ", packets in reverse";
    }
}
