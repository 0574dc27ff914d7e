// `ccnvt rtp unpack`'s reader. Input: width (2 bytes), height (1), the capture.
// A UserError is an answer; anything else is a finding. Frames are whole v210 frames.
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
