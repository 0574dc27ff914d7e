// Raw frame files through `ccnvt convert`'s route. Input: from, to (1 byte each),
// width, height (2 each), pitch choice (1) and value (8), frames (1), the file.
// A UserError is an answer; anything else is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "errors.h"
#include "formats.h"
#include "frames.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cconvert::fuzz::FuzzInput in(data, size);
    const auto& formats = ccnvt::all_formats();
    const ccnvt::Format& from = formats[in.byte() % formats.size()];
    const ccnvt::Format& to = formats[in.byte() % formats.size()];
    const auto width = in.integer<std::uint16_t>(), height = in.integer<std::uint16_t>();
    const std::uint8_t pitch_choice = in.byte();
    const auto pitch_value = in.integer<std::uint64_t>();
    const std::size_t wanted = in.byte() % 4;
    const std::size_t choices[] = {0, from.row_bytes(width) + pitch_value % 64, pitch_value & 0xFFFF,
                                   static_cast<std::size_t>(pitch_value)};  // tight, padded, any
    const std::size_t pitch = choices[pitch_choice % 4];
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
