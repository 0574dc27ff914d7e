// ccnvt rtp pack / unpack: v210 frames to ST 2110-20 RTP packets in a pcap
// capture (Ethernet, IPv4, UDP), and back.
#include <pcap/pcap.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <cconvert/cconvert.h>

#include "commands.h"
#include "errors.h"
#include "files.h"
#include "frames.h"
#include "options.h"
#include "rtp_capture.h"

namespace ccnvt {

namespace {

constexpr std::size_t kSlotBytes = 1395;        // one packet slot of the library
constexpr std::size_t kRtpHeaderBytes = 20;     // RTP 12 + extended sequence 2 + one SRD 6
constexpr std::uint32_t kSegmentPixels = 550;   // pixels a packet carries at most
constexpr std::size_t kEthernetBytes = 14, kIpv4Bytes = 20, kUdpBytes = 8;
constexpr std::uint32_t kRtpClock = 90000;

struct Rate {
    std::uint64_t numerator = 30000, denominator = 1001;
};

Rate parse_rate(const std::string& text) {
    Rate rate;
    unsigned long long numerator = 0, denominator = 1;
    char extra = 0;
    const int fields = std::sscanf(text.c_str(), "%llu/%llu%c", &numerator, &denominator, &extra);
    if (!(fields == 2 || (fields == 1 && text.find('/') == std::string::npos)) || numerator == 0 || denominator == 0)
        throw UserError("the rate '" + text + "' is not FRAMES or FRAMES/SECONDS, for example 30000/1001");
    rate.numerator = numerator;
    rate.denominator = denominator;
    return rate;
}

struct Endpoint {
    std::uint8_t address[4] = {239, 1, 1, 1};
    std::uint16_t port = 5004;
};

Endpoint parse_endpoint(const std::string& text) {
    Endpoint endpoint;
    unsigned a, b, c, d, port;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%u.%u.%u.%u:%u%c", &a, &b, &c, &d, &port, &extra) != 5 || a > 255 ||
        b > 255 || c > 255 || d > 255 || port == 0 || port > 65535)
        throw UserError("the destination '" + text + "' is not ADDRESS:PORT, for example 239.1.1.1:5004");
    endpoint.address[0] = static_cast<std::uint8_t>(a), endpoint.address[1] = static_cast<std::uint8_t>(b);
    endpoint.address[2] = static_cast<std::uint8_t>(c), endpoint.address[3] = static_cast<std::uint8_t>(d);
    endpoint.port = static_cast<std::uint16_t>(port);
    return endpoint;
}

void put16(unsigned char* p, std::uint32_t v) { p[0] = static_cast<unsigned char>(v >> 8), p[1] = static_cast<unsigned char>(v); }
std::uint32_t get16(const unsigned char* p) { return std::uint32_t{p[0]} << 8 | p[1]; }

std::uint16_t ipv4_checksum(const unsigned char* header) {
    std::uint32_t sum = 0;
    for (int i = 0; i < 20; i += 2) sum += get16(header + i);
    while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

// Ethernet, IPv4 and UDP around one RTP packet.
std::vector<unsigned char> frame_packet(const unsigned char* rtp, std::size_t rtp_bytes, const Endpoint& to,
                                        std::uint16_t ip_id) {
    std::vector<unsigned char> packet(kEthernetBytes + kIpv4Bytes + kUdpBytes + rtp_bytes, 0);
    unsigned char* ethernet = packet.data();
    const bool multicast = to.address[0] >= 224 && to.address[0] <= 239;
    const unsigned char destination_mac[6] = {
        static_cast<unsigned char>(multicast ? 0x01 : 0x02), 0x00, static_cast<unsigned char>(multicast ? 0x5E : 0x00),
        static_cast<unsigned char>(to.address[1] & 0x7F), to.address[2], to.address[3]};
    const unsigned char source_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
    std::memcpy(ethernet, destination_mac, 6);
    std::memcpy(ethernet + 6, source_mac, 6);
    put16(ethernet + 12, 0x0800);
    unsigned char* ip = ethernet + kEthernetBytes;
    ip[0] = 0x45;
    put16(ip + 2, static_cast<std::uint32_t>(kIpv4Bytes + kUdpBytes + rtp_bytes));
    put16(ip + 4, ip_id);
    put16(ip + 6, 0x4000);  // do not fragment
    ip[8] = 64;
    ip[9] = 17;  // UDP
    const unsigned char source_ip[4] = {192, 168, 1, 10};
    std::memcpy(ip + 12, source_ip, 4);
    std::memcpy(ip + 16, to.address, 4);
    put16(ip + 10, ipv4_checksum(ip));
    unsigned char* udp = ip + kIpv4Bytes;
    put16(udp, to.port);
    put16(udp + 2, to.port);
    put16(udp + 4, static_cast<std::uint32_t>(kUdpBytes + rtp_bytes));  // checksum 0: none, as IPv4 allows
    std::memcpy(udp + kUdpBytes, rtp, rtp_bytes);
    return packet;
}

std::size_t packets_per_frame(std::uint32_t width, std::uint32_t height) {
    return std::size_t{height} * ((width + kSegmentPixels - 1) / kSegmentPixels);
}

}  // namespace

void run_rtp_pack(const RtpPackOptions& options) {
    const Size size = parse_size(options.size);
    const Format& v210 = format_named("v210");
    check_size(v210, size.width, size.height);
    const Rate rate = parse_rate(options.rate);
    const Endpoint to = parse_endpoint(options.destination);
    const std::vector<unsigned char> input = read_file(options.input);
    const std::size_t frame_bytes = v210.frame_bytes(size.width, size.height, 0);
    const std::size_t available = count_frames(options.input, input.size(), frame_bytes, "v210");
    if (options.frames > available)
        throw UserError("'" + options.input + "' holds " + std::to_string(available) + " frames, not " +
                        std::to_string(options.frames));
    const std::size_t frames = options.frames != 0 ? options.frames : available;

    OutputFile output(options.output);
    pcap_t* dead = pcap_open_dead(DLT_EN10MB, 65535);
    pcap_dumper_t* dumper = pcap_dump_fopen(dead, output.release_stream());
    if (dumper == nullptr) {
        pcap_close(dead);
        throw UserError("cannot write '" + options.output + "'");
    }
    const std::size_t packets = packets_per_frame(size.width, size.height);
    std::vector<unsigned char> slots(packets * kSlotBytes);
    std::uint32_t sequence32 = 0;
    std::uint16_t ip_id = 0;
    for (std::size_t f = 0; f < frames; ++f) {
        std::vector<unsigned char> frame(input.begin() + f * frame_bytes, input.begin() + (f + 1) * frame_bytes);
        frame.resize(frame_bytes + 64, 0);
        unsigned short sequence = static_cast<unsigned short>(sequence32);
        const auto timestamp = static_cast<unsigned int>(f * kRtpClock * rate.denominator / rate.numerator);
        unsigned int slot_size = 0, count = 0;
        ccnvt_v210_frame_to_rtp_4175(slots.data(), static_cast<std::int64_t>(slots.size()), &sequence, timestamp,
                                     options.ssrc, sequence32 >> 16, frame.data(), size.width, size.height,
                                     &slot_size, &count);
        // Packets are spread evenly over the frame period.
        const double frame_start = 1.0 + static_cast<double>(f) * rate.denominator / rate.numerator;
        const double spacing = static_cast<double>(rate.denominator) / rate.numerator / count;
        for (unsigned int k = 0; k < count; ++k) {
            unsigned char* rtp = slots.data() + std::size_t{k} * slot_size;
            if (options.strict) {
                // RFC 4175 receivers: no extension bit without an extension,
                // and rows counted from 0 where the library counts from 1.
                rtp[0] &= static_cast<unsigned char>(~0x10);
                put16(rtp + 16, (get16(rtp + 16) & 0x8000) | ((get16(rtp + 16) & 0x7FFF) - 1));
            }
            const std::size_t rtp_bytes = kRtpHeaderBytes + get16(rtp + 14);  // the SRD length
            const auto packet = frame_packet(rtp, rtp_bytes, to, ip_id++);
            const double when = frame_start + k * spacing;
            pcap_pkthdr header{};
            header.ts.tv_sec = static_cast<time_t>(when);
            header.ts.tv_usec = static_cast<suseconds_t>((when - static_cast<double>(header.ts.tv_sec)) * 1e6);
            header.caplen = header.len = static_cast<bpf_u_int32>(packet.size());
            pcap_dump(reinterpret_cast<u_char*>(dumper), &header, packet.data());
        }
        sequence32 += count;
    }
    const bool flushed = pcap_dump_flush(dumper) == 0;
    pcap_dump_close(dumper);
    pcap_close(dead);
    if (!flushed) throw UserError("cannot write '" + options.output + "'");
    output.commit();
}

namespace {

// One received segment's place and bytes; row counts from 0.
struct Segment {
    std::uint32_t row = 0, offset = 0, pixels = 0;
    const unsigned char* payload = nullptr;
    std::size_t payload_bytes = 0;
};

// Decodes a segment into its v210 line: the group that holds its first
// pixel is offset / 6 groups in, the phase offset mod 6. Only the pairs that
// start inside the line are decoded: a pixel count rounded up from the
// segment's length may reach one pixel past it, into the next row's first
// group when the width is a multiple of 48.
void decode_segment(const Segment& segment, unsigned char* frame, std::size_t pitch, std::uint32_t width) {
    unsigned char* line = frame + std::size_t{segment.row} * pitch;
    auto* group = reinterpret_cast<unsigned int*>(line + segment.offset / 6 * 16);
    const unsigned long phase = segment.offset % 6;
    const long pairs = static_cast<long>(std::min((segment.pixels + 1) / 2, (width - segment.offset + 1) / 2));
    const long lead_in = phase == 2 ? 2 : phase == 4 ? 1 : 0;
    ccnvt_4175_to_v210(group, segment.payload, static_cast<std::int64_t>(segment.payload_bytes),
                       std::max(0L, pairs - lead_in), phase);
}

// The SRD row field of a captured RTP packet, or -1 for a packet that is
// not UDP with room for the headers.
int srd_row_of(const pcap_pkthdr* header, const u_char* data) {
    if (header->caplen < kEthernetBytes + kIpv4Bytes + kUdpBytes + kRtpHeaderBytes || get16(data + 12) != 0x0800)
        return -1;
    const unsigned char* ip = data + kEthernetBytes;
    const std::size_t ip_header = std::size_t{ip[0] & 0x0Fu} * 4;
    if (ip[9] != 17 || header->caplen < kEthernetBytes + ip_header + kUdpBytes + kRtpHeaderBytes) return -1;
    return static_cast<int>(get16(ip + ip_header + kUdpBytes + 16) & 0x7FFF);
}

// The library numbers rows from 1, RFC 4175 senders (and `pack --strict`)
// from 0: a capture in which some packet carries row 0 counts from 0.
std::uint32_t first_row_number(const std::string& path) {
    char error[PCAP_ERRBUF_SIZE] = "";
    pcap_t* capture = pcap_open_offline(path.c_str(), error);
    if (capture == nullptr) return 1;
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    std::uint32_t first = 1;
    while (pcap_next_ex(capture, &header, &data) == 1)
        if (srd_row_of(header, data) == 0) {
            first = 0;
            break;
        }
    pcap_close(capture);
    return first;
}

}  // namespace

CaptureSummary read_rtp_capture(const std::string& path, std::uint32_t width, std::uint32_t height,
                                const std::function<void(const unsigned char*, std::size_t)>& on_frame) {
    char error[PCAP_ERRBUF_SIZE] = "";
    pcap_t* capture = pcap_open_offline(path.c_str(), error);
    if (capture == nullptr) throw UserError("cannot read the capture '" + path + "': " + error);
    if (pcap_datalink(capture) != DLT_EN10MB) {
        pcap_close(capture);
        throw UserError("'" + path + "' is not an Ethernet capture");
    }
    const Format& v210 = format_named("v210");
    const std::size_t pitch = v210_row_bytes(width);
    const std::uint32_t first_row = first_row_number(path);
    std::vector<unsigned char> frame(v210.frame_bytes(width, height, 0) + 64, 0);
    CaptureSummary summary;
    bool have_sequence = false;
    std::uint16_t expected = 0;
    auto fail = [&](const std::string& why) {
        pcap_close(capture);
        throw UserError("'" + path + "' packet " + std::to_string(summary.packets) + ": " + why);
    };
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    int status;
    while ((status = pcap_next_ex(capture, &header, &data)) == 1) {
        ++summary.packets;
        const std::size_t length = header->caplen;
        if (length < kEthernetBytes + kIpv4Bytes + kUdpBytes + kRtpHeaderBytes || get16(data + 12) != 0x0800)
            fail("not an IPv4 packet that can hold RTP");
        const unsigned char* ip = data + kEthernetBytes;
        const std::size_t ip_header = std::size_t{ip[0] & 0x0Fu} * 4;
        if (ip[9] != 17 || ip_header < kIpv4Bytes || length < kEthernetBytes + ip_header + kUdpBytes + kRtpHeaderBytes)
            fail("not a UDP packet that can hold RTP");
        const unsigned char* rtp = ip + ip_header + kUdpBytes;
        const std::size_t rtp_bytes = length - (kEthernetBytes + ip_header + kUdpBytes);
        if ((rtp[0] >> 6) != 2) fail("not RTP (version " + std::to_string(rtp[0] >> 6) + ")");
        const auto sequence = static_cast<std::uint16_t>(get16(rtp + 2));
        if (have_sequence && sequence != expected) {
            const auto gap = static_cast<std::uint16_t>(sequence - expected);
            if (gap < 0x8000) summary.lost += gap; else ++summary.out_of_order;
        }
        if (!have_sequence || static_cast<std::uint16_t>(sequence - expected) < 0x8000) expected = static_cast<std::uint16_t>(sequence + 1);
        have_sequence = true;
        Segment segment;
        const std::uint32_t srd_length = get16(rtp + 14);
        const std::uint32_t row_field = get16(rtp + 16) & 0x7FFF;
        segment.row = row_field - first_row;
        segment.offset = get16(rtp + 18) & 0x7FFF;
        segment.pixels = (2 * srd_length + 4) / 5;
        segment.payload = rtp + kRtpHeaderBytes;
        segment.payload_bytes = std::min<std::size_t>(srd_length, rtp_bytes - kRtpHeaderBytes);
        if (row_field < first_row || segment.row >= height || segment.offset % 2 != 0 ||
            segment.offset + segment.pixels > width + 1)
            fail("its segment (row " + std::to_string(row_field) + ", offset " + std::to_string(segment.offset) +
                 ") lies outside a " + std::to_string(width) + "x" + std::to_string(height) + " frame");
        decode_segment(segment, frame.data(), pitch, width);
        ++summary.pending_segments;
        if (rtp[1] & 0x80) {  // the marker ends the frame
            on_frame(frame.data(), frame.size() - 64);
            ++summary.frames;
            summary.pending_segments = 0;
        }
    }
    if (status == -1) {
        const std::string why = pcap_geterr(capture);
        fail(why);
    }
    pcap_close(capture);
    return summary;
}

void run_rtp_unpack(const RtpUnpackOptions& options) {
    const Size size = parse_size(options.size);
    check_size(format_named("v210"), size.width, size.height);
    // Made when the first frame is complete, so that a capture that cannot be
    // read is reported before an output that cannot be written.
    std::optional<OutputFile> output;
    const CaptureSummary summary =
        read_rtp_capture(options.input, size.width, size.height, [&](const unsigned char* frame, std::size_t bytes) {
            if (!output) output.emplace(options.output);
            output->write(frame, bytes);
        });
    if (summary.frames == 0)
        throw UserError("'" + options.input + "' holds no complete frame (no packet with the marker)");
    output->commit();
    if (options.quiet) return;
    std::fprintf(stderr, "ccnvt: %zu frame%s from %zu packets", summary.frames, summary.frames == 1 ? "" : "s",
                 summary.packets);
    if (summary.lost) std::fprintf(stderr, ", %zu lost", summary.lost);
    if (summary.out_of_order) std::fprintf(stderr, ", %zu out of order", summary.out_of_order);
    if (summary.pending_segments)
        std::fprintf(stderr, ", %zu packets after the last complete frame ignored", summary.pending_segments);
    std::fputc('\n', stderr);
}

}  // namespace ccnvt
