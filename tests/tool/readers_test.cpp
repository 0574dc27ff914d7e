// The tool's readers on files made to break them: each case is a finding of
// the fuzz targets or of the review that went with them.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors.h"
#include "formats.h"
#include "frames.h"
#include "png_io.h"
#include "rtp_capture.h"

namespace {

using Bytes = std::vector<unsigned char>;

// A file in the temporary folder, removed with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(const Bytes& bytes) {
        const char* folder = std::getenv("TMPDIR");
        path_ = std::string(folder && *folder ? folder : "/tmp") + "/ccnvt-readers-XXXXXX";
        const int descriptor = mkstemp(path_.data());
        EXPECT_GE(descriptor, 0);
        EXPECT_EQ(write(descriptor, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(descriptor);
    }
    ~TemporaryFile() { unlink(path_.c_str()); }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

void put_be32(Bytes& out, std::uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<unsigned char>(v >> shift));
}
void put_be16(Bytes& out, std::uint32_t v) {
    out.push_back(static_cast<unsigned char>(v >> 8));
    out.push_back(static_cast<unsigned char>(v));
}
void put_le32(Bytes& out, std::uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<unsigned char>(v >> shift));
}

// ---- PNG ----

// The CRC of PNG chunks (ISO 3309), bit by bit.
std::uint32_t crc32(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return ~crc;
}

void append(Bytes& out, const Bytes& more) {
    for (unsigned char byte : more) out.push_back(byte);
}

void put_chunk(Bytes& png, const std::string& kind, const Bytes& body) {
    put_be32(png, static_cast<std::uint32_t>(body.size()));
    Bytes typed;
    for (char c : kind) typed.push_back(static_cast<unsigned char>(c));
    append(typed, body);
    append(png, typed);
    put_be32(png, crc32(typed));
}

TEST(PngReader, RefusesAHeaderThatPromisesMorePixelsThanTheFileHolds) {
    // 30000 x 30000 16-bit RGBA (7.2 GB) behind a header, one stored-block
    // zlib stream of a single filter byte and an end: the reader once set
    // the pixels' memory aside before reading any of them.
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    Bytes header;
    put_be32(header, 30000);
    put_be32(header, 30000);
    append(header, {16, 6, 0, 0, 0});
    put_chunk(png, "IHDR", header);
    put_chunk(png, "IDAT", {0x78, 0x01, 0x01, 0x01, 0x00, 0xFE, 0xFF, 0x00, 0x00, 0x01, 0x00, 0x01});
    put_chunk(png, "IEND", {});
    TemporaryFile file(png);
    try {
        ccnvt::read_png(file.path());
        FAIL() << "read";
    } catch (const ccnvt::UserError& error) {
        EXPECT_NE(std::string(error.what()).find("30000x30000 pixels cannot come out of"), std::string::npos)
            << error.what();
    }
}

TEST(PngReader, PassesOverAnAncillaryChunkLongerThanTheFile) {
    // An sPLT chunk that declares 1.6 GB in a 37-byte file: libpng set the
    // length aside before reading the chunk.
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    Bytes header;
    put_be32(header, 2);
    put_be32(header, 2);
    append(header, {16, 6, 0, 0, 0});
    put_chunk(png, "IHDR", header);
    put_be32(png, 0x62666165);
    append(png, {'s', 'P', 'L', 'T', 'p', 'a', 'l', 0});
    TemporaryFile file(png);
    EXPECT_THROW(ccnvt::read_png(file.path()), ccnvt::UserError);
}

// ---- raw frames ----

TEST(RawFrames, APitchWhoseFrameSizeWrapsIsRefused) {
    // 2^63 x 2 rows wrapped to a frame of 0 bytes, and the frame count
    // divided by it.
    const ccnvt::Format& rgba32 = ccnvt::format_named("rgba32");
    const std::size_t pitch = std::size_t{1} << 63;
    EXPECT_THROW(ccnvt::raw_frames_in("in", 32, rgba32, 2, 2, pitch, 0), ccnvt::UserError);
    EXPECT_THROW(ccnvt::raw_frames_in("in", 32, rgba32, 2, 3, std::numeric_limits<std::size_t>::max() / 2, 0),
                 ccnvt::UserError);
}

TEST(RawFrames, FramesOfAPaddedPitch) {
    const ccnvt::Format& rgb24 = ccnvt::format_named("rgb24");
    const ccnvt::RawFrames frames = ccnvt::raw_frames_in("in", 2 * 3 * 20, rgb24, 5, 3, 20, 0);
    EXPECT_EQ(frames.frame_bytes, 60u);
    EXPECT_EQ(frames.count, 2u);
    EXPECT_THROW(ccnvt::raw_frames_in("in", 2 * 3 * 20, rgb24, 5, 3, 20, 3), ccnvt::UserError);
    EXPECT_THROW(ccnvt::raw_frames_in("in", 61, rgb24, 5, 3, 20, 0), ccnvt::UserError);
    EXPECT_THROW(ccnvt::raw_frames_in("in", 60, rgb24, 5, 3, 14, 0), ccnvt::UserError);  // shorter than a row
}

// ---- RTP captures ----

// One RTP packet over UDP, IPv4 and Ethernet, as a pcap record.
void put_packet(Bytes& capture, std::uint16_t sequence, bool marker, std::uint32_t row, std::uint32_t offset,
                const Bytes& payload) {
    Bytes packet(12, 0);
    put_be16(packet, 0x0800);
    const std::size_t ip_length = 20 + 8 + 20 + payload.size();
    append(packet, {0x45, 0});
    put_be16(packet, static_cast<std::uint32_t>(ip_length));
    append(packet, {0, 0, 0x40, 0, 64, 17, 0, 0, 10, 0, 0, 1, 239, 1, 1, 1});
    put_be16(packet, 5004);
    put_be16(packet, 5004);
    put_be16(packet, static_cast<std::uint32_t>(ip_length - 20));
    put_be16(packet, 0);
    packet.push_back(0x80);
    packet.push_back(marker ? 0xE0 : 0x60);
    put_be16(packet, sequence);
    put_be32(packet, 0);
    put_be32(packet, 0x43435654);
    put_be16(packet, 0);
    put_be16(packet, static_cast<std::uint32_t>(payload.size()));
    put_be16(packet, row);
    put_be16(packet, offset);
    append(packet, payload);
    put_le32(capture, 1);
    put_le32(capture, sequence);
    put_le32(capture, static_cast<std::uint32_t>(packet.size()));
    put_le32(capture, static_cast<std::uint32_t>(packet.size()));
    append(capture, packet);
}

Bytes capture_header() {
    Bytes capture;
    put_le32(capture, 0xA1B2C3D4);
    append(capture, {2, 0, 4, 0});
    put_le32(capture, 0);
    put_le32(capture, 0);
    put_le32(capture, 65535);
    put_le32(capture, 1);  // Ethernet
    return capture;
}

// The frame a capture gives (the last one handed out).
Bytes frame_of(const Bytes& capture, std::uint32_t width, std::uint32_t height) {
    TemporaryFile file(capture);
    Bytes frame;
    ccnvt::read_rtp_capture(file.path(), width, height, [&](const unsigned char* bytes, std::size_t size) {
        frame.assign(bytes, bytes + size);
    });
    return frame;
}

TEST(RtpCapture, ASegmentEndingPastItsLineLeavesTheNextRowAlone) {
    // Width 48: a v210 row is 8 whole groups, nothing to spare. Row 2 comes
    // whole; then a segment at pixel 46 of row 1 whose 7-byte length rounds
    // up to 3 pixels: its second pair would start at pixel 48, which is the
    // next row's first group.
    Bytes row2(120);
    for (std::size_t i = 0; i < row2.size(); ++i) row2[i] = static_cast<unsigned char>(i * 11 + 3);
    const Bytes tail = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77};
    Bytes capture = capture_header();
    put_packet(capture, 0, false, 2, 0, row2);
    put_packet(capture, 1, true, 1, 46, tail);
    Bytes whole_row2_only = capture_header();
    put_packet(whole_row2_only, 0, true, 2, 0, row2);

    const Bytes frame = frame_of(capture, 48, 2), expected_row2 = frame_of(whole_row2_only, 48, 2);
    ASSERT_EQ(frame.size(), 256u);
    EXPECT_TRUE(std::equal(frame.begin() + 128, frame.end(), expected_row2.begin() + 128));
    // The pair that does start inside row 1 is there: pixels 46 and 47.
    std::uint32_t word2, word3;
    std::memcpy(&word2, frame.data() + 7 * 16 + 8, 4);
    std::memcpy(&word3, frame.data() + 7 * 16 + 12, 4);
    EXPECT_EQ(word2 >> 20, 0x11u << 2 | 0x22u >> 6);         // Cb
    EXPECT_EQ(word3 & 0x3FF, (0x22u & 0x3F) << 4 | 0x33u >> 4);  // Y
}

TEST(RtpCapture, NotACaptureIsAUserError) {
    TemporaryFile file(Bytes(100, 0x42));
    EXPECT_THROW(ccnvt::read_rtp_capture(file.path(), 48, 2, [](const unsigned char*, std::size_t) {}),
                 ccnvt::UserError);
}

}  // namespace
