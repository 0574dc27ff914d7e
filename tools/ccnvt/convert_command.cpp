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

void run_convert(const ConvertOptions& options) {
    const Size size = parse_size(options.size);
    const Format& from = format_named(options.from);
    const Format& to = format_named(options.to);
    check_size(from, size.width, size.height);
    check_size(to, size.width, size.height);
    if (options.pitch != 0) {
        if (from.row_bytes(size.width) == 0)
            throw UserError("--pitch applies to formats with rows of their own; " + from.name + " is planar");
        if (options.pitch < from.row_bytes(size.width))
            throw UserError("--pitch " + std::to_string(options.pitch) + " is shorter than a " + from.name +
                            " row of " + std::to_string(from.row_bytes(size.width)) + " bytes");
    }
    if (options.threads < 1) throw UserError("--threads must be at least 1");
    const auto route = plan_route(from, to);
    if (options.verbose) std::fprintf(stderr, "ccnvt: %s\n", describe_route(route).c_str());

    const std::vector<unsigned char> input = read_file(options.input);
    const std::size_t in_frame = from.frame_bytes(size.width, size.height, options.pitch);
    const std::size_t available = count_frames(options.input, input.size(), in_frame, from.name);
    std::size_t frames = available;
    if (options.frames != 0) {
        if (options.frames > available)
            throw UserError("'" + options.input + "' holds " + std::to_string(available) + " frames, not " +
                            std::to_string(options.frames));
        frames = options.frames;
    }

    OutputFile output(options.output);
    Progress progress(frames);
    const std::size_t batch = static_cast<std::size_t>(options.threads);
    std::vector<Frame> converted(batch);
    for (std::size_t first = 0; first < frames; first += batch) {
        const std::size_t count = std::min(batch, frames - first);
        auto convert_one = [&](std::size_t k) {
            const Frame in = frame_from_pitched(from, size.width, size.height,
                                                input.data() + (first + k) * in_frame, options.pitch);
            converted[k] = run_route(in, route);
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
