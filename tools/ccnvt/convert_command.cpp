// ccnvt convert: raw frame files and pictures between formats.
#include "commands.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "bmp_io.h"
#include "errors.h"
#include "files.h"
#include "frames.h"
#include "operations.h"
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

// Where the frames come from: a raw file of frames back to back, or one
// picture (PNG, BMP) decoded into an RGB format.
struct Source {
    const Format* format = nullptr;
    std::uint32_t width = 0, height = 0;
    std::optional<InputBytes> file;     // raw frames, as the file holds them
    std::vector<unsigned char> picture;  // or a picture's decoded pixels
    std::size_t pitch = 0;               // between rows of a frame (0: tight)
    std::size_t frame_bytes = 0;         // of one frame
    std::size_t frames = 0;
    const Format* png_target = nullptr;  // what a PNG output is written from
    std::string decoding;                // how a picture was read, for -v

    Frame frame(std::size_t k) const {
        const unsigned char* frames = file ? file->data() : picture.data();
        return frame_from_pitched(*format, width, height, frames + k * frame_bytes, pitch);
    }
};

// A picture gives its own format and size: --from may only name its kind,
// --pitch does not apply, and --size must agree.
void check_picture_options(const ConvertOptions& options, const std::string& kind, const std::string& word) {
    if (!options.from.empty() && options.from != word)
        throw UserError("'" + options.input + "' is a " + kind + ": leave out --from (or say " + word + ")");
    if (options.pitch != 0) throw UserError("--pitch does not apply to a " + kind + " input");
}

void check_picture_size(const ConvertOptions& options, const Source& source) {
    check_size(*source.format, source.width, source.height);
    if (options.size.empty()) return;
    const Size size = parse_size(options.size);
    if (size.width != source.width || size.height != source.height)
        throw UserError("'" + options.input + "' is " + std::to_string(source.width) + "x" +
                        std::to_string(source.height) + ", not " + options.size);
}

Source picture_source(const ConvertOptions& options, Frame frame, const Format& png_target, std::string decoding) {
    Source source;
    source.format = frame.format;
    source.width = frame.width;
    source.height = frame.height;
    source.frame_bytes = frame.size();
    source.picture = std::move(frame.bytes);
    source.frames = 1;
    source.png_target = &png_target;
    source.decoding = std::move(decoding);
    check_picture_size(options, source);
    return source;
}

Source open_png(const ConvertOptions& options) {
    check_picture_options(options, "PNG", "png");
    PngImage image = read_png(options.input);
    const Format& format = png_format(image.layout);
    Frame frame;
    frame.format = &format;
    frame.width = image.width;
    frame.height = image.height;
    frame.bytes = std::move(image.pixels);
    return picture_source(options, std::move(frame), format, "");
}

// BMP pixels are opaque: a PNG of one is RGB.
Source open_bmp(const ConvertOptions& options) {
    check_picture_options(options, "BMP", "bmp");
    BmpPicture picture = read_bmp(options.input);
    return picture_source(options, std::move(picture.frame), format_named("rgb24"), picture.decoding);
}

Source open_raw(const ConvertOptions& options) {
    if (options.from.empty()) throw UserError("--from is required (the input is not a PNG or BMP)");
    if (options.size.empty()) throw UserError("--size is required (the input is not a PNG or BMP)");
    const Size size = parse_size(options.size);
    const Format& from = format_named(options.from);
    check_size(from, size.width, size.height);
    check_row_pitch(from, size.width, options.pitch);
    Source source;
    source.format = &from;
    source.width = size.width;
    source.height = size.height;
    source.pitch = options.pitch;
    source.png_target = &png_target_for(from);
    source.file.emplace(options.input);
    const RawFrames raw =
        raw_frames_in(options.input, source.file->size(), from, size.width, size.height, options.pitch);
    source.frame_bytes = raw.frame_bytes;
    source.frames = raw.count;
    return source;
}

Source open_source(const ConvertOptions& options) {
    if (has_extension(options.input, ".png")) return open_png(options);
    if (has_extension(options.input, ".bmp")) return open_bmp(options);
    return open_raw(options);
}

// The output format: --to, or for a PNG what the source is written as (RGBA
// when --set-alpha gives it an alpha).
const Format& output_format(const ConvertOptions& options, const Source& source) {
    if (!has_extension(options.output, ".png")) return format_named(options.to);
    if (options.set_alpha >= 0 && source.png_target->name == "rgb24") return format_named("rgba32");
    return *source.png_target;
}

// What happens to each frame: its fields joined, its format changed along
// the route, its fields split, its alpha set.
struct Conversion {
    bool join = false, split = false;
    std::vector<const Step*> route;
    int alpha = -1;  // below 0: left as the route makes it
    int threads = 1;

    Frame run(Frame in) const {
        Frame frame = run_route(join ? join_fields(in) : std::move(in), route, threads);
        if (split) frame = split_fields(frame);
        if (alpha >= 0) set_alpha(frame, alpha);
        return frame;
    }

    std::string describe(const std::string& decoding) const {
        std::vector<std::string> parts;
        if (!decoding.empty()) parts.push_back(decoding);
        if (join) parts.push_back("join fields (ccnvt_fld_sep_to_mix32)");
        if (!route.empty() || parts.empty()) parts.push_back(describe_route(route));
        if (split) parts.push_back("split fields (ccnvt_fld_mix_to_sep32)");
        if (alpha >= 0) parts.push_back("alpha " + std::to_string(alpha) + " (ccnvt_rgba_setalpha)");
        std::string text;
        for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
        return text;
    }
};

Conversion plan_conversion(const ConvertOptions& options, const Source& source, const Format& to) {
    Conversion conversion;
    if (!options.fields.empty() && options.fields != "split" && options.fields != "join")
        throw UserError("--fields takes split or join, not '" + options.fields + "'");
    conversion.join = options.fields == "join";
    conversion.split = options.fields == "split";
    if (conversion.join) check_fields_apply(*source.format, source.width);
    if (conversion.split) check_fields_apply(to, source.width);
    if (options.set_alpha >= 0) check_alpha_applies(to);
    conversion.alpha = options.set_alpha;
    conversion.route = plan_route(*source.format, to);
    return conversion;
}

void write_png_frame(const ConvertOptions& options, const Source& source, std::size_t frames,
                     const Conversion& conversion) {
    if (frames != 1)
        throw UserError("a PNG holds one frame; '" + options.input + "' has " + std::to_string(frames) +
                        " (take the first with --frames 1)");
    const Frame rgb = conversion.run(source.frame(0));
    write_png(options.output, rgb.width, rgb.height, png_layout_of(*rgb.format), rgb.data());
}

// Frames side by side: every thread (the caller and threads - 1 helpers
// that stay for the whole file) takes the next frame, converts it and writes
// it at its place in the output. The first failure stops them all.
void convert_side_by_side(const Source& source, std::size_t frames, const Conversion& conversion,
                          std::size_t threads, OutputFile& output, Progress& progress) {
    std::atomic<std::size_t> next{0}, done{0};
    std::mutex failure_lock;
    std::exception_ptr failure;
    auto work = [&](bool shows_progress) {
        try {
            for (std::size_t k; (k = next++) < frames;) {
                const Frame frame = conversion.run(source.frame(k));
                output.write_at(frame.data(), frame.size(), static_cast<std::uint64_t>(k) * frame.size());
                const std::size_t finished = ++done;
                if (shows_progress) progress.update(finished);
            }
        } catch (...) {
            const std::lock_guard<std::mutex> hold(failure_lock);
            if (!failure) failure = std::current_exception();
            next = frames;
        }
    };
    std::vector<std::thread> helpers;
    for (std::size_t t = 1; t < std::min(threads, frames); ++t) helpers.emplace_back(work, false);
    work(true);
    for (auto& helper : helpers) helper.join();
    if (failure) std::rethrow_exception(failure);
    progress.update(frames);
}

void write_frames(const ConvertOptions& options, const Source& source, std::size_t frames, Conversion conversion) {
    // Frames of tens of megabytes are made and dropped for every frame of a
    // file: served from the heap and not handed back when freed, their pages
    // are faulted in once, not again for every frame (which made large frames
    // twice as slow).
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    OutputFile output(options.output);
    Progress progress(frames);
    const auto threads = static_cast<std::size_t>(options.threads);
    if (threads > 1 && frames > 1) {
        convert_side_by_side(source, frames, conversion, threads, output, progress);
    } else {
        // One frame (or one thread): banded drivers split it among the threads.
        conversion.threads = route_is_banded(conversion.route) ? options.threads : 1;
        for (std::size_t k = 0; k < frames; ++k) {
            const Frame frame = conversion.run(source.frame(k));
            output.write(frame.data(), frame.size());
            progress.update(k + 1);
        }
    }
    output.commit();
}

}  // namespace

void run_convert(const ConvertOptions& options) {
    const bool png_output = has_extension(options.output, ".png");
    if (options.to.empty() && !png_output) throw UserError("--to is required (the output is not a PNG)");
    if (options.threads < 1) throw UserError("--threads must be at least 1");
    const Source source = open_source(options);
    const Format& to = output_format(options, source);
    check_size(to, source.width, source.height);
    const std::size_t frames = frames_to_take(options.input, source.frames, options.frames);
    const Conversion conversion = plan_conversion(options, source, to);
    if (options.verbose) std::fprintf(stderr, "ccnvt: %s\n", conversion.describe(source.decoding).c_str());
    if (png_output)
        write_png_frame(options, source, frames, conversion);
    else
        write_frames(options, source, frames, conversion);
}

void run_preview(const ConvertOptions& options) {
    if (!has_extension(options.output, ".png")) throw UserError("the preview '" + options.output + "' must end in .png");
    ConvertOptions first = options;
    first.frames = 1;
    run_convert(first);
}

}  // namespace ccnvt
