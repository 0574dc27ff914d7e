// The reading side of `ccnvt rtp unpack`: v210 frames out of a pcap capture
// of ST 2110-20 RTP packets.
#ifndef CCNVT_TOOL_RTP_CAPTURE_H
#define CCNVT_TOOL_RTP_CAPTURE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace ccnvt {

struct CaptureSummary {
    std::size_t packets = 0, frames = 0, lost = 0, out_of_order = 0;
    std::size_t pending_segments = 0;  // read after the last complete frame
};

// Decodes every packet's segment into a width x height v210 frame (rows of
// 128 bytes per 48 pixels) and hands the frame to on_frame at each packet
// with the marker. Rows are numbered from 1 unless some packet carries row
// 0. UserError for a file that is not an Ethernet capture, a packet that is
// not RTP over UDP and IPv4, or a segment outside the frame.
CaptureSummary read_rtp_capture(const std::string& path, std::uint32_t width, std::uint32_t height,
                                const std::function<void(const unsigned char* frame, std::size_t bytes)>& on_frame);

}  // namespace ccnvt

#endif
