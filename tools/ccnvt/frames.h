// Frames in memory, the conversion steps between formats (each one call of
// the library), and the route from one format to another.
#ifndef CCNVT_TOOL_FRAMES_H
#define CCNVT_TOOL_FRAMES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "formats.h"

namespace ccnvt {

// A tight frame (rows at the format's own row size). The buffer runs past
// the frame by a slack, zeroed, because some converters read or write whole
// pixel groups beyond the last pixel.
struct Frame {
    const Format* format = nullptr;
    std::uint32_t width = 0, height = 0;
    std::vector<unsigned char> bytes;

    std::size_t size() const { return format->frame_bytes(width, height, 0); }
    unsigned char* data() { return bytes.data(); }
    const unsigned char* data() const { return bytes.data(); }
};

// A frame of zeros, or with its bytes copied from content (a frame's worth).
Frame make_frame(const Format& format, std::uint32_t width, std::uint32_t height,
                 const unsigned char* content = nullptr);

// True for frames that take BT.709 (wider than 1279 or taller than 576
// pixels, as the library's colour-matrix choice), else BT.601.
bool is_hd(std::uint32_t width, std::uint32_t height);

struct Step {
    const char* from;
    const char* to;
    const char* entry_point;  // the library call, for -v
    // Converts in to out; steps that take bands of rows split the frame
    // among `threads` threads, the others ignore it.
    void (*run)(const Frame& in, Frame& out, int threads);
    bool banded = false;
};

const std::vector<Step>& conversion_steps();

// The shortest chain of steps from one format to the other (empty when they
// are the same); UserError when there is none.
std::vector<const Step*> plan_route(const Format& from, const Format& to);

// "2vuy -> v210 (ccnvt_2vuy_v210)" and so on.
std::string describe_route(const std::vector<const Step*>& route);

// Runs the steps; banded steps use `threads` threads on the frame.
Frame run_route(Frame in, const std::vector<const Step*>& route, int threads = 1);

// True when a step of the route converts bands of rows.
bool route_is_banded(const std::vector<const Step*>& route);

// Throws UserError when rows row_pitch bytes apart (0: tight) do not suit
// the format: planar formats take no pitch, and a pitch holds a row.
void check_row_pitch(const Format& format, std::uint32_t width, std::size_t row_pitch);

// Where the frames of a raw file lie: frame k at k * frame_bytes.
struct RawFrames {
    std::size_t frame_bytes = 0, count = 0;
};

// The frames of a raw file of file_bytes whose rows are row_pitch bytes
// apart (0: tight). UserError when the pitch does not suit the format, and
// when the file is shorter than one frame or ends in a partial one.
RawFrames raw_frames_in(const std::string& path, std::size_t file_bytes, const Format& format, std::uint32_t width,
                        std::uint32_t height, std::size_t row_pitch);

// How many of the `held` frames of path to convert: all when wanted is 0,
// else wanted; UserError when the file holds fewer.
std::size_t frames_to_take(const std::string& path, std::size_t held, std::size_t wanted);

// A frame from rows row_pitch bytes apart (row_pitch 0: tight), for packed
// formats; the rows are brought together with the library's pitch copy.
Frame frame_from_pitched(const Format& format, std::uint32_t width, std::uint32_t height,
                         const unsigned char* bytes, std::size_t row_pitch);

}  // namespace ccnvt

#endif
