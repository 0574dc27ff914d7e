// The reading side of `ccnvt rtp unpack` on arbitrary captures.
//
// Input: the frame size (2 bytes: width 2 to 1920 in steps of 2, height 1 to
// 64), then the capture file. A UserError is the reader's answer to a file
// it cannot take; anything else (a crash, a sanitizer report, another
// exception) is a finding. Every frame handed out is a whole v210 frame.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "errors.h"
#include "formats.h"
#include "fuzz_support.h"
#include "rtp_capture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static cconvert::fuzz::InputFile file;
    cconvert::fuzz::FuzzInput in(data, size);
    const std::uint32_t width = 2 * (1 + in.byte() % 96) * (in.byte() % 2 == 0 ? 1 : 10);
    const std::uint32_t height = 1 + in.byte() % 64;
    const std::string& path = file.hold(in.rest(), in.rest_size());
    const std::size_t frame_bytes = ccnvt::v210_row_bytes(width) * height;
    try {
        ccnvt::read_rtp_capture(path, width, height, [&](const unsigned char* frame, std::size_t bytes) {
            if (frame == nullptr || bytes != frame_bytes) std::abort();
        });
    } catch (const ccnvt::UserError&) {
    }
    return 0;
}
