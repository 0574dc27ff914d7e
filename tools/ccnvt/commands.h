// The tool's commands.
#ifndef CCNVT_TOOL_COMMANDS_H
#define CCNVT_TOOL_COMMANDS_H

#include <cstddef>
#include <string>

namespace ccnvt {

struct ConvertOptions {
    std::string input, output, from, to, size;
    std::size_t pitch = 0;
    std::size_t frames = 0;  // 0: all
    int threads = 1;
    bool verbose = false;
    std::string fields;  // "split", "join" or empty
    int set_alpha = -1;  // 0..255, or below 0 to leave the alpha alone
};

struct BarsOptions {
    std::string output, format, size;
    std::size_t frames = 1;
};

struct RtpPackOptions {
    std::string input, output, size;
    std::size_t frames = 0;  // 0: all
    std::string destination = "239.1.1.1:5004";
    unsigned int ssrc = 0x43435654;  // "CCVT"
    std::string rate = "30000/1001";
    bool strict = false;
};

struct RtpUnpackOptions {
    std::string input, output, size;
    bool quiet = false;  // no summary line on stderr
};

struct BenchOptions {
    std::string size;    // empty: every measured size
    std::string filter;  // a regular expression over the operation names
    double seconds = 0.1;
    bool all_kernels = false;  // every kernel class, not only the one this processor picks
    bool json = false;
};

struct DemoOptions {
    std::string folder = "ccnvt-demo";
};

void run_formats();
void run_demo(const DemoOptions& options);
// Throws UserError when this build has no benchmarks.
void run_bench(const BenchOptions& options);
void run_rtp_pack(const RtpPackOptions& options);
void run_rtp_unpack(const RtpUnpackOptions& options);
void run_bars(const BarsOptions& options);
void run_convert(const ConvertOptions& options);
// A PNG of the first frame (output must end in .png).
void run_preview(const ConvertOptions& options);

}  // namespace ccnvt

#endif
