// The tool's RTP capture reader on a capture made to break it (the PNG and raw-frame
// findings live in the fuzz corpora and tests/cli/cli_test.sh).
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rtp_capture.h"

namespace {

using Bytes = std::vector<unsigned char>;

void put(Bytes& out, std::uint32_t v, int bytes, bool big_endian = true) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<unsigned char>(v >> 8 * (big_endian ? bytes - 1 - i : i)));
}

Bytes capture_header() {
    Bytes capture;
    for (std::uint32_t v : {0xA1B2C3D4u, 0x00040002u, 0u, 0u, 65535u, 1u}) put(capture, v, 4, false);  // Ethernet
    return capture;
}

// One RTP packet of a segment of `row` from pixel `offset`, over UDP, IPv4
// and Ethernet, as a pcap record.
void put_packet(Bytes& capture, std::uint16_t sequence, bool marker, std::uint32_t row, std::uint32_t offset,
                const Bytes& payload) {
    Bytes packet(12, 0);
    const std::uint32_t ip_length = 20 + 8 + 20 + static_cast<std::uint32_t>(payload.size());
    for (std::uint32_t v : {0x0800u, 0x4500u, ip_length}) put(packet, v, 2);
    packet.insert(packet.end(), {0, 0, 0x40, 0, 64, 17, 0, 0, 10, 0, 0, 1, 239, 1, 1, 1});
    for (std::uint32_t v : {5004u, 5004u, ip_length - 20, 0u}) put(packet, v, 2);
    for (std::uint32_t v : {marker ? 0x80E0u : 0x8060u, std::uint32_t{sequence}}) put(packet, v, 2);
    for (std::uint32_t v : {0u, 0x43435654u}) put(packet, v, 4);
    for (std::uint32_t v : {0u, static_cast<std::uint32_t>(payload.size()), row, offset}) put(packet, v, 2);
    packet.insert(packet.end(), payload.begin(), payload.end());
    for (std::uint32_t v : {1u, std::uint32_t{sequence}, std::uint32_t(packet.size()), std::uint32_t(packet.size())})
        put(capture, v, 4, false);
    capture.insert(capture.end(), packet.begin(), packet.end());
}

// The frame a capture gives (the last one handed out).
Bytes frame_of(const Bytes& capture, std::uint32_t width, std::uint32_t height) {
    const char* folder = std::getenv("TMPDIR");
    std::string path = std::string(folder && *folder ? folder : "/tmp") + "/ccnvt-readers-XXXXXX";
    const int descriptor = mkstemp(path.data());
    EXPECT_EQ(write(descriptor, capture.data(), capture.size()), static_cast<ssize_t>(capture.size()));
    close(descriptor);
    Bytes frame;
    ccnvt::read_rtp_capture(path, width, height, [&](const unsigned char* bytes, std::size_t size) {
        frame.assign(bytes, bytes + size);
    });
    unlink(path.c_str());
    return frame;
}

TEST(RtpCapture, ASegmentEndingPastItsLineLeavesTheNextRowAlone) {
    // Width 48: rows of 8 whole groups. Row 2 whole, then a segment at pixel 46 of row 1
    // whose 7 bytes round up to 3 pixels: its second pair would be row 2's first group.
    Bytes row2(120);
    for (std::size_t i = 0; i < row2.size(); ++i) row2[i] = static_cast<unsigned char>(i * 11 + 3);
    Bytes capture = capture_header(), whole_row2_only = capture_header();
    put_packet(capture, 0, false, 2, 0, row2);
    put_packet(capture, 1, true, 1, 46, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77});
    put_packet(whole_row2_only, 0, true, 2, 0, row2);

    const Bytes frame = frame_of(capture, 48, 2), expected_row2 = frame_of(whole_row2_only, 48, 2);
    ASSERT_EQ(frame.size(), 256u);
    EXPECT_TRUE(std::equal(frame.begin() + 128, frame.end(), expected_row2.begin() + 128));
    // The pair that does start inside row 1 is there: pixels 46 and 47.
    std::uint32_t word2, word3;
    std::memcpy(&word2, frame.data() + 7 * 16 + 8, 4);
    std::memcpy(&word3, frame.data() + 7 * 16 + 12, 4);
    EXPECT_EQ(word2 >> 20, 0x11u << 2 | 0x22u >> 6);             // Cb
    EXPECT_EQ(word3 & 0x3FF, (0x22u & 0x3F) << 4 | 0x33u >> 4);  // Y
}

}  // namespace
