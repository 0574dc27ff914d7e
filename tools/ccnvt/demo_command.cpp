// ccnvt demo: 1920x1080 bars through a chain that touches every family of
// the library, each round trip verified, the pictures and a capture written
// to a folder, and a table of steps, sizes, times and results.
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <cconvert/cconvert.h>

#include "bars.h"
#include "commands.h"
#include "errors.h"
#include "files.h"
#include "frames.h"
#include "png_io.h"

namespace ccnvt {

namespace {

constexpr std::uint32_t kWidth = 1920, kHeight = 1080;

struct StepResult {
    std::string step, output;
    std::size_t bytes = 0;
    double milliseconds = 0;
    bool ok = true;
    std::string note;
};

class Demo {
public:
    explicit Demo(std::string folder) : folder_(std::move(folder)) {}

    // Runs work (which returns the bytes it produced and whether its check
    // held) and records the row.
    void step(const std::string& name, const std::string& output,
              const std::function<bool(std::size_t&, std::string&)>& work) {
        StepResult result;
        result.step = name;
        result.output = output;
        const auto start = std::chrono::steady_clock::now();
        result.ok = work(result.bytes, result.note);
        result.milliseconds =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        results_.push_back(result);
    }

    std::string path(const std::string& name) const { return folder_ + "/" + name; }

    void save(const std::string& name, const Frame& frame) const {
        OutputFile output(path(name));
        output.write(frame.data(), frame.size());
        output.commit();
    }

    bool report() const {
        std::printf("%-44s %-22s %12s %9s  %s\n", "step", "output", "bytes", "ms", "result");
        bool all_ok = true;
        for (const StepResult& r : results_) {
            std::printf("%-44s %-22s %12zu %9.2f  %s%s%s\n", r.step.c_str(), r.output.c_str(), r.bytes,
                        r.milliseconds, r.ok ? "ok" : "FAILED", r.note.empty() ? "" : ": ", r.note.c_str());
            all_ok = all_ok && r.ok;
        }
        std::printf("\nOutputs are in %s/ (PNG pictures, raw frames, an RTP capture).\n", folder_.c_str());
        return all_ok;
    }

private:
    std::string folder_;
    std::vector<StepResult> results_;
};

bool same_bytes(const Frame& a, const Frame& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size()) == 0;
}

Frame convert(const Frame& in, const char* to) { return run_route(in, plan_route(*in.format, format_named(to))); }

// binary16 to float, for reading back half-float output.
float half_to_float(std::uint16_t half) {
    const int exponent = (half >> 10) & 0x1F, mantissa = half & 0x3FF;
    const float value = exponent == 0 ? std::ldexp(static_cast<float>(mantissa), -24)
                                      : std::ldexp(static_cast<float>(mantissa | 0x400), exponent - 25);
    return (half & 0x8000) ? -value : value;
}

// R, G, B, A of pixel (x, y) of a half-float RGBA frame.
std::array<float, 4> half_pixel(const Frame& frame, std::uint32_t x, std::uint32_t y) {
    const unsigned char* bytes = frame.data() + (std::size_t{y} * frame.width + x) * 8;
    std::array<float, 4> pixel;
    for (int i = 0; i < 4; ++i)
        pixel[i] = half_to_float(static_cast<std::uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8));
    return pixel;
}

}  // namespace

void run_demo(const DemoOptions& options) {
    if (mkdir(options.folder.c_str(), 0777) != 0 && errno != EEXIST)
        throw UserError("cannot make the folder '" + options.folder + "': " + std::strerror(errno));
    Demo demo(options.folder);
    Frame bars, uyvy;

    demo.step("75% bars, RP 219, 10-bit", "bars.v210", [&](std::size_t& bytes, std::string&) {
        bars = make_bars(kWidth, kHeight);
        demo.save("bars.v210", bars);
        bytes = bars.size();
        return true;
    });
    demo.step("v210 -> 2vuy -> v210 -> 2vuy", "bars.2vuy", [&](std::size_t& bytes, std::string& note) {
        uyvy = convert(bars, "2vuy");
        const Frame again = convert(convert(uyvy, "v210"), "2vuy");
        demo.save("bars.2vuy", uyvy);
        bytes = uyvy.size();
        note = "2vuy unchanged after the 10-bit round trip";
        return same_bytes(uyvy, again);
    });
    demo.step("v210 -> packed10 -> v210 (ST 2110-20 groups)", "bars.packed10", [&](std::size_t& bytes, std::string& note) {
        const Frame packed = convert(bars, "packed10");
        demo.save("bars.packed10", packed);
        bytes = packed.size();
        note = "v210 unchanged";
        return same_bytes(convert(packed, "v210"), bars);
    });
    demo.step("v210 -> RTP packets in pcap -> v210", "bars.pcap", [&](std::size_t& bytes, std::string& note) {
        RtpPackOptions pack;
        pack.input = demo.path("bars.v210");
        pack.output = demo.path("bars.pcap");
        pack.size = "1920x1080";
        pack.strict = true;
        run_rtp_pack(pack);
        RtpUnpackOptions unpack;
        unpack.input = pack.output;
        unpack.output = demo.path("bars-from-pcap.v210");
        unpack.size = pack.size;
        unpack.quiet = true;
        run_rtp_unpack(unpack);
        const std::vector<unsigned char> back = read_file(unpack.output);
        bytes = read_file(pack.output).size();
        note = "4320 packets, frame unchanged";
        return back.size() == bars.size() && std::memcmp(back.data(), bars.data(), bars.size()) == 0;
    });
    Frame rgb;
    demo.step("v210 -> RGB (libycbcr, BT.709) -> PNG", "bars.png", [&](std::size_t& bytes, std::string& note) {
        rgb = convert(bars, "rgba32");
        const Frame rgb24 = convert(rgb, "rgb24");
        write_png(demo.path("bars.png"), kWidth, kHeight, PngLayout::bgr8, rgb24.data());
        bytes = rgb.size();
        // 75% white (pixel 340 of row 300) decodes to 191 or so in every channel.
        const unsigned char* white = rgb.data() + (300 * std::size_t{kWidth} + 340) * 4;
        char text[64];
        std::snprintf(text, sizeof text, "75%% white = %d %d %d", white[2], white[1], white[0]);
        note = text;
        return std::abs(white[0] - 191) <= 1 && std::abs(white[1] - 191) <= 1 && std::abs(white[2] - 191) <= 1;
    });
    demo.step("2vuy -> reduced preview (factor 2) -> PNG", "bars-half.png", [&](std::size_t& bytes, std::string&) {
        std::vector<unsigned char> half(std::size_t{kWidth / 2} * (kHeight / 2) * 3 + 64);
        ccnvt_yuv422_rgb24(half.data(), 3 * long{kWidth / 2}, uyvy.data(), 2 * long{kWidth}, kWidth, kHeight, 2);
        write_png(demo.path("bars-half.png"), kWidth / 2, kHeight / 2, PngLayout::bgr8, half.data());
        bytes = half.size() - 64;
        return true;
    });
    demo.step("RGB -> 2vuy (BT.601 encoder)", "-", [&](std::size_t& bytes, std::string& note) {
        const Frame encoded = convert(rgb, "2vuy");
        bytes = encoded.size();
        // 75% white encodes to studio Y = 16 + 219 * 191 / 255 = 180.
        const unsigned char y = encoded.data()[(300 * std::size_t{kWidth} + 340) * 2 + 1];
        note = "75% white Y = " + std::to_string(y);
        return std::abs(y - 180) <= 1;
    });
    demo.step("RGB 24 <-> 32 bits, 5-5-5", "-", [&](std::size_t& bytes, std::string& note) {
        const Frame back = convert(convert(rgb, "rgb24"), "rgba32");
        const Frame rgb16 = convert(rgb, "rgb16");
        bytes = back.size() + rgb16.size();
        note = "rgb24 -> rgba32 restores every pixel";
        return same_bytes(back, rgb);  // decoded alpha is 255, as the widening's
    });
    demo.step("RGB through the ST 2084 (PQ) table", "-", [&](std::size_t& bytes, std::string& note) {
        const Frame pq = convert(rgb, "rgb24pq");
        bytes = pq.size();
        // The 8-bit table takes linear 190 to 192 (75% white, within one code) to PQ 247 or 248.
        const unsigned char white = pq.data()[(300 * std::size_t{kWidth} + 340) * 3];
        note = "75% white = " + std::to_string(white);
        return white == 247 || white == 248;
    });
    demo.step("2vuy -> I420", "bars.i420", [&](std::size_t& bytes, std::string& note) {
        const Frame planes = convert(uyvy, "i420");
        demo.save("bars.i420", planes);
        bytes = planes.size();
        note = "Y plane = the 2vuy luma";
        for (std::size_t i = 0; i < std::size_t{kWidth} * kHeight; ++i)
            if (planes.data()[i] != uyvy.data()[2 * i + 1]) return false;
        return true;
    });
    demo.step("flips: vertical and horizontal, twice each", "-", [&](std::size_t& bytes, std::string& note) {
        Frame flipped = uyvy;
        const long row = 2 * long{kWidth};
        for (int k = 0; k < 2; ++k) {
            ccnvt_flip_vert(flipped.data(), flipped.data(), 0, static_cast<int>(kHeight), static_cast<unsigned>(row));
            auto* pixels = reinterpret_cast<unsigned int*>(flipped.data());
            ccnvt_flip_horz(pixels, pixels, kWidth / 2, static_cast<int>(kHeight), static_cast<int>(row));
        }
        bytes = 4 * flipped.size();
        note = "back where they started";
        return same_bytes(flipped, uyvy);
    });
    demo.step("alpha: 2vuy luma as a key and back", "-", [&](std::size_t& bytes, std::string& note) {
        const Frame key = convert(uyvy, "key8");
        const Frame grey = convert(key, "2vuy");
        bytes = key.size() + grey.size();
        note = "luma kept, chroma neutral";
        for (std::size_t i = 0; i < grey.size(); i += 2)
            if (grey.data()[i] != 0x80 || grey.data()[i + 1] != uyvy.data()[i + 1]) return false;
        return true;
    });
    demo.step("v210 -> half-float RGBA (BT.709)", "-", [&](std::size_t& bytes, std::string& note) {
        const Frame rgba = convert(bars, "rgbaf16");
        bytes = rgba.size();
        // The 75% white bar, pixel 340 of row 300: R, G, B about 0.75, A 1.
        const auto pixel = half_pixel(rgba, 340, 300);
        char text[96];
        std::snprintf(text, sizeof text, "75%% white = %.3f %.3f %.3f, alpha %.1f", pixel[0],
                      pixel[1], pixel[2], pixel[3]);
        note = text;
        return std::fabs(pixel[1] - 0.75f) < 0.01f && pixel[3] == 1.0f;
    });
    demo.step("v210 -> half-float RGBA, SDR to HDR (PQ)", "-", [&](std::size_t& bytes, std::string& note) {
        const Frame rgba = convert(bars, "rgbaf16pq");
        bytes = rgba.size();
        const auto pixel = half_pixel(rgba, 600, 1000);  // 100% white
        char text[64];
        std::snprintf(text, sizeof text, "white at %.3f PQ", pixel[1]);
        note = text;
        return std::fabs(pixel[1] - 0.58f) < 0.02f;
    });
    if (!demo.report()) throw UserError("a demo step failed (see the table)");
}

}  // namespace ccnvt
