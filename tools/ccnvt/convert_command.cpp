// ccnvt convert: raw frame files between formats.
#include "commands.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <thread>
#include <vector>

#include "errors.h"
#include "files.h"
#include "frames.h"
#include "options.h"
#include "png_io.h"

namespace ccnvt {

namespace {

// A bar on stderr for multi-frame runs, when stderr is a terminal.
class Progress {
public:
    explicit Progress(std::size_t total) : total_(total), shown_(total > 1 && isatty(STDERR_FILENO)) {}
    ~Progress() {
        if (shown_) std::fputc('\n', stderr);
    }
    void update(std::size_t done) {
        if (!shown_) return;
        constexpr int kWidth = 40;
        const int filled = static_cast<int>(kWidth * done / total_);
        std::fprintf(stderr, "\r[%.*s%*s] %zu/%zu frames", filled, "########################################",
                     kWidth - filled, "", done, total_);
        std::fflush(stderr);
    }

private:
    std::size_t total_;
    bool shown_;
};

}  // namespace

namespace {

// The RGB format a PNG is read into or written from: 8-bit rgb24 / rgba32,
// 16-bit rgb48 / rgba64.
const Format& png_format(PngLayout layout) {
    switch (layout) {
        case PngLayout::bgr8: return format_named("rgb24");
        case PngLayout::bgra8: return format_named("rgba32");
        case PngLayout::bgr16: return format_named("rgb48");
        case PngLayout::bgra16: return format_named("rgba64");
    }
    throw UserError("unsupported PNG layout");
}

PngLayout png_layout_of(const Format& format) {
    if (format.name == "rgba32") return PngLayout::bgra8;
    if (format.name == "rgb48") return PngLayout::bgr16;
    if (format.name == "rgba64") return PngLayout::bgra16;
    return PngLayout::bgr8;
}

// What a frame of the format is written to a PNG as: 16-bit RGB stays 16-bit,
// formats with alpha keep it, everything else becomes 8-bit RGB.
const Format& png_target_for(const Format& source) {
    if (source.name == "rgb48" || source.name == "rgba64") return source;
    if (source.name == "rgba32" || source.name == "bgra32") return format_named("rgba32");
    return format_named("rgb24");
}

void write_frame_as_png(const Frame& frame, const std::string& path, const std::vector<const Step*>& route) {
    const Frame rgb = run_route(frame, route);
    write_png(path, rgb.width, rgb.height, png_layout_of(*rgb.format), rgb.data());
}

// Converts a PNG: one frame.
void convert_png_input(const ConvertOptions& options) {
    if (!options.from.empty() && options.from != "png")
        throw UserError("'" + options.input + "' is a PNG: leave out --from (or say png)");
    if (options.pitch != 0) throw UserError("--pitch does not apply to a PNG input");
    const PngImage image = read_png(options.input);
    if (!options.size.empty()) {
        const Size size = parse_size(options.size);
        if (size.width != image.width || size.height != image.height)
            throw UserError("'" + options.input + "' is " + std::to_string(image.width) + "x" +
                            std::to_string(image.height) + ", not " + options.size);
    }
    const Format& from = png_format(image.layout);
    Frame frame = frame_from_pitched(from, image.width, image.height, image.pixels.data(), 0);
    if (has_extension(options.output, ".png")) {
        const auto route = plan_route(from, from);
        write_frame_as_png(frame, options.output, route);
        return;
    }
    const Format& to = format_named(options.to);
    check_size(to, image.width, image.height);
    const auto route = plan_route(from, to);
    if (options.verbose) std::fprintf(stderr, "ccnvt: %s\n", describe_route(route).c_str());
    const Frame out = run_route(frame, route);
    OutputFile output(options.output);
    output.write(out.data(), out.size());
    output.commit();
}

}  // namespace

void run_convert(const ConvertOptions& options) {
    if (has_extension(options.input, ".png")) return convert_png_input(options);
    const bool png_output = has_extension(options.output, ".png");
    if (options.from.empty()) throw UserError("--from is required (the input is not a PNG)");
    if (options.to.empty() && !png_output) throw UserError("--to is required (the output is not a PNG)");
    if (options.size.empty()) throw UserError("--size is required (the input is not a PNG)");
    const Size size = parse_size(options.size);
    const Format& from = format_named(options.from);
    const Format& to = png_output ? png_target_for(format_named(options.from)) : format_named(options.to);
    check_size(from, size.width, size.height);
    check_size(to, size.width, size.height);
    check_row_pitch(from, size.width, options.pitch);
    if (options.threads < 1) throw UserError("--threads must be at least 1");
    const auto route = plan_route(from, to);
    if (options.verbose) std::fprintf(stderr, "ccnvt: %s\n", describe_route(route).c_str());

    const std::vector<unsigned char> input = read_file(options.input);
    const RawFrames raw =
        raw_frames_in(options.input, input.size(), from, size.width, size.height, options.pitch, options.frames);
    const std::size_t in_frame = raw.frame_bytes, frames = raw.count;

    if (png_output) {
        if (frames != 1)
            throw UserError("a PNG holds one frame; '" + options.input + "' has " + std::to_string(frames) +
                            " (take the first with --frames 1)");
        write_frame_as_png(frame_from_pitched(from, size.width, size.height, input.data(), options.pitch),
                           options.output, route);
        return;
    }

    OutputFile output(options.output);
    Progress progress(frames);
    // Banded drivers split each frame among the threads; other routes
    // convert whole frames side by side.
    const bool banded = route_is_banded(route);
    const std::size_t batch = banded ? 1 : static_cast<std::size_t>(options.threads);
    std::vector<Frame> converted(batch);
    for (std::size_t first = 0; first < frames; first += batch) {
        const std::size_t count = std::min(batch, frames - first);
        auto convert_one = [&](std::size_t k) {
            const Frame in = frame_from_pitched(from, size.width, size.height,
                                                input.data() + (first + k) * in_frame, options.pitch);
            converted[k] = run_route(in, route, banded ? options.threads : 1);
        };
        if (count == 1) {
            convert_one(0);
        } else {
            std::vector<std::thread> workers;
            for (std::size_t k = 0; k < count; ++k) workers.emplace_back(convert_one, k);
            for (auto& worker : workers) worker.join();
        }
        for (std::size_t k = 0; k < count; ++k) output.write(converted[k].data(), converted[k].size());
        progress.update(first + count);
    }
    output.commit();
}

}  // namespace ccnvt

namespace ccnvt {

void run_preview(const ConvertOptions& options) {
    if (!has_extension(options.output, ".png")) throw UserError("the preview '" + options.output + "' must end in .png");
    ConvertOptions first = options;
    first.frames = 1;
    run_convert(first);
}

}  // namespace ccnvt
