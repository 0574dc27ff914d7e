// Raw frame files as `ccnvt convert` reads them: any format, size, pitch and
// frame count, and a file of any length, then the frames through the route
// to another format.
//
// Input: source and target format (1 byte each), width and height (2 each),
// pitch (1 byte choosing tight, a row plus a little, or any 16- or 64-bit
// value, then 8), frames wanted (1), then the file. A UserError is the
// tool's answer to input it cannot take; anything else (a crash, a sanitizer
// report, another exception) is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "errors.h"
#include "formats.h"
#include "frames.h"
#include "fuzz_support.h"

namespace {

std::size_t pitch_from(std::uint8_t choice, std::uint64_t value, std::size_t row) {
    switch (choice % 4) {
        case 0: return 0;
        case 1: return row + value % 64;
        case 2: return value & 0xFFFF;
        default: return static_cast<std::size_t>(value);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cconvert::fuzz::FuzzInput in(data, size);
    const auto& formats = ccnvt::all_formats();
    const ccnvt::Format& from = formats[in.byte() % formats.size()];
    const ccnvt::Format& to = formats[in.byte() % formats.size()];
    const auto width = in.integer<std::uint16_t>(), height = in.integer<std::uint16_t>();
    const std::uint8_t pitch_choice = in.byte();
    const auto pitch_value = in.integer<std::uint64_t>();
    const std::size_t wanted = in.byte() % 4;
    const std::size_t pitch = pitch_from(pitch_choice, pitch_value, from.row_bytes(width));
    try {
        ccnvt::check_size(from, width, height);
        ccnvt::check_size(to, width, height);
        const auto route = ccnvt::plan_route(from, to);
        const ccnvt::RawFrames raw = ccnvt::raw_frames_in("input", in.rest_size(), from, width, height, pitch);
        const std::size_t frames = ccnvt::frames_to_take("input", raw.count, wanted);
        for (std::size_t k = 0; k < frames && k < 4; ++k) {
            const ccnvt::Frame frame =
                ccnvt::frame_from_pitched(from, width, height, in.rest() + k * raw.frame_bytes, pitch);
            const ccnvt::Frame out = ccnvt::run_route(frame, route);
            if (out.format != &to || out.bytes.size() < out.size()) std::abort();
        }
    } catch (const ccnvt::UserError&) {
    }
    return 0;
}
