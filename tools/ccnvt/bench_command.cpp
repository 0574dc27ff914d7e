// ccnvt bench: runs the library's benchmarks and prints ours beside the
// peers (libyuv, FFmpeg, where this build has them) and a memcpy of the
// same size, with the ratios.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "commands.h"
#include "errors.h"
#include "options.h"

namespace ccnvt {

namespace {

// Our entry and the peer doing the nearest equivalent work.
constexpr const char* kPeers[][2] = {
    {"BM_v210_to_2vuy", "BM_ffmpeg_v210_decode"},
    {"BM_2vuy_to_v210", "BM_ffmpeg_v210_encode"},
    {"BM_packed10_to_v210", "BM_ffmpeg_bitpacked_decode"},
    {"BM_YCbCr10Packed_to_v210", "BM_ffmpeg_bitpacked_decode"},
    {"BM_flip_vert", "BM_libyuv_CopyPlane_flipped"},
    {"BM_flip_horz", "BM_libyuv_ARGBMirror"},
    {"BM_2vuy_to_i420", "BM_libyuv_UYVYToI420"},
    {"BM_YUY2toYV12", "BM_libyuv_YUY2ToI420"},
    {"BM_NV12_to_uyvy", "BM_libyuv_NV12ToI420_I420ToUYVY"},
    {"BM_420p10_to_NV12p16", "BM_libyuv_I010ToP010"},
    {"BM_rgba32_rgb24", "BM_libyuv_ARGBToRGB24"},
    {"BM_rgb24_rgba32", "BM_libyuv_RGB24ToARGB"},
    {"BM_rgba32_bgra32", "BM_libyuv_ARGBToABGR"},
    {"BM_rgba32_argb32", "BM_libyuv_ARGBShuffle_rotate"},
    {"BM_rgba32_rgb16", "BM_libyuv_ARGBToARGB1555"},
    {"BM_rgba32_rgb16_565", "BM_libyuv_ARGBToRGB565"},
    {"BM_rgba32_rgb16_dithered", "BM_libyuv_ARGBToRGB565Dither"},
    {"BM_rgba32_rgb16_565_dithered", "BM_libyuv_ARGBToRGB565Dither"},
    {"BM_rgb16_rgba32", "BM_libyuv_ARGB1555ToARGB"},
    {"BM_rgba_to_alpha", "BM_libyuv_ARGBExtractAlpha"},
    {"BM_alpha_to_rgba", "BM_libyuv_ARGBCopyYToAlpha"},
    {"BM_rgba_addalpha", "BM_libyuv_RGB24ToARGB"},
    {"BM_2yuv_to_alphay", "BM_libyuv_UYVYToY"},
    {"BM_ccnvt_rgb_to_st2084", "BM_libyuv_ARGBColorTable"},
    {"BM_ccnvt_st2084_to_rgb", "BM_libyuv_ARGBColorTable"},
    {"BM_yCbCr10_to_halffloat", "BM_libyuv_HalfFloatPlane"},
};

bool is_peer(const std::string& name) {
    return name.rfind("BM_libyuv_", 0) == 0 || name.rfind("BM_ffmpeg_", 0) == 0;
}
bool is_bound(const std::string& name) { return name.find("memcpy") != std::string::npos; }

struct Result {
    std::string name;   // up to the first '/'
    std::string args;   // the rest: width:W/height:H[/features:F]
    double gigabytes_per_second = 0;
};

// Collects every run instead of printing it.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const auto bytes = run.counters.find("bytes_per_second");
            if (bytes == run.counters.end() || run.error_occurred) continue;
            const std::string full = run.benchmark_name();
            const auto slash = full.find('/');
            results.push_back({full.substr(0, slash), slash == std::string::npos ? "" : full.substr(slash + 1),
                               bytes->second.value / 1e9});
        }
    }
    std::vector<Result> results;
};

std::string kernel_of(const std::string& args) {
    const auto at = args.find("features:");
    if (at == std::string::npos) return "";
    const unsigned long word = std::stoul(args.substr(at + 9));
    return word & 0x800000 ? "avx2" : word & 0x8000 ? "sse" : "portable";
}

std::string size_of(const std::string& args) {
    const auto features = args.find("/features:");
    return features == std::string::npos ? args : args.substr(0, features);
}

}  // namespace

void run_bench(const BenchOptions& options) {
    const Size size = parse_size(options.size);
    const std::string size_args =
        "width:" + std::to_string(size.width) + "/height:" + std::to_string(size.height);
    // Ours that match the caller's filter, and every peer and bound of the size.
    const std::string filter = "(" + (options.filter.empty() ? std::string(".") : options.filter) +
                               "|BM_libyuv_|BM_ffmpeg_|memcpy).*" + size_args;
    std::vector<std::string> arguments = {"ccnvt", "--benchmark_filter=" + filter,
                                          "--benchmark_min_time=" + std::to_string(options.seconds)};
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    int argc = static_cast<int>(argv.size());
    benchmark::Initialize(&argc, argv.data());
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    const bool any_of_ours = std::any_of(collector.results.begin(), collector.results.end(), [](const Result& r) {
        return !is_peer(r.name) && !is_bound(r.name);
    });
    if (!any_of_ours) throw UserError("no benchmark matches '" + options.filter + "' at " + options.size);

    std::map<std::string, double> peers;
    double bound = 0;
    for (const Result& result : collector.results) {
        if (is_peer(result.name)) peers[result.name] = result.gigabytes_per_second;
        if (is_bound(result.name)) bound = std::max(bound, result.gigabytes_per_second);
    }
    std::printf("%s, GB/s of bytes read + written, single thread; memcpy: the fastest copy of a frame\n\n",
                options.size.c_str());
    std::printf("%-40s %-8s %8s %-34s %8s %8s %8s %8s\n", "operation", "kernel", "ours", "peer", "peer",
                "memcpy", "/peer", "/memcpy");
    for (const Result& result : collector.results) {
        if (is_peer(result.name) || is_bound(result.name) || size_of(result.args) != size_args) continue;
        std::string peer_name = "-";
        double peer = 0;
        for (const auto& [ours, theirs] : kPeers)
            if (result.name == ours && peers.count(theirs)) peer_name = theirs + 3, peer = peers[theirs];
        char peer_text[16] = "-", ratio_text[16] = "-";
        if (peer > 0) {
            std::snprintf(peer_text, sizeof peer_text, "%.1f", peer);
            std::snprintf(ratio_text, sizeof ratio_text, "%.2f", result.gigabytes_per_second / peer);
        }
        std::printf("%-40s %-8s %8.1f %-34s %8s %8.1f %8s %8.2f\n", result.name.c_str() + 3,
                    kernel_of(result.args).c_str(), result.gigabytes_per_second, peer_name.c_str(), peer_text,
                    bound, ratio_text, bound > 0 ? result.gigabytes_per_second / bound : 0.0);
    }
}

}  // namespace ccnvt
