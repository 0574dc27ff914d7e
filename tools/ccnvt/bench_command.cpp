// ccnvt bench: times the registered converters and prints each beside its
// nearest peer (libyuv, FFmpeg, where this build has them) and beside a
// memcpy and a non-temporal copy of as many bytes, with the ratios.
#include <benchmark/benchmark.h>
#include <regex.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "commands.h"
#include "errors.h"
#include "kvutil.h"
#include "options.h"
#include "registry/kernel_registry.h"

namespace ccnvt {

namespace {

using cconvert::registry::Kernel;

// One row of the table: a converter under one kernel class at one size.
struct Row {
    const Kernel* kernel;
    Size size;
    unsigned int word;

    std::string ours() const {
        return std::string("BM_") + kernel->name + "/width:" + std::to_string(size.width) +
               "/height:" + std::to_string(size.height) + "/features:" + std::to_string(word);
    }
    std::string peer() const {
        if (!kernel->peer) return "";
        return std::string("BM_") + kernel->peer + "/width:" + std::to_string(size.width) +
               "/height:" + std::to_string(size.height);
    }
    std::string copy(const char* kind) const {
        return std::string("BM_copy_") + kind + "/bytes:" +
               std::to_string(cconvert::bench::copy_bytes_for(*kernel, size.width, size.height));
    }
};

std::vector<Size> sizes_of(const std::string& text) {
    if (text.empty()) {
        std::vector<Size> all;
        for (const auto& size : cconvert::bench::kFrameSizes)
            all.push_back({static_cast<unsigned>(size[0]), static_cast<unsigned>(size[1])});
        return all;
    }
    const Size size = parse_size(text);
    for (const auto& measured : cconvert::bench::kFrameSizes)
        if (static_cast<int>(size.width) == measured[0] && static_cast<int>(size.height) == measured[1])
            return {size};
    throw UserError("the benchmarks measure 1920x1080 and 3840x2160, not " + text);
}

// An extended POSIX regular expression over the operation names.
class NameFilter {
public:
    explicit NameFilter(const std::string& pattern) {
        if (regcomp(&compiled_, pattern.empty() ? "." : pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0)
            throw UserError("--filter: '" + pattern + "' is not a regular expression");
    }
    ~NameFilter() { regfree(&compiled_); }
    NameFilter(const NameFilter&) = delete;
    NameFilter& operator=(const NameFilter&) = delete;
    bool matches(const char* name) const { return regexec(&compiled_, name, 0, nullptr, 0) == 0; }

private:
    regex_t compiled_;
};

std::vector<Row> rows_wanted(const BenchOptions& options) {
    const NameFilter filter(options.filter);
    const unsigned int available = CPUFeatureFlags();
    std::vector<Row> rows;
    for (const Size& size : sizes_of(options.size))
        for (const Kernel& kernel : cconvert::registry::kernels()) {
            if (!filter.matches(kernel.name)) continue;
            const auto words = cconvert::registry::feature_words_of(kernel, available);
            if (options.all_kernels)
                for (unsigned int word : words) rows.push_back({&kernel, size, word});
            else
                rows.push_back({&kernel, size, words.back()});
        }
    if (rows.empty()) throw UserError("no operation matches '" + options.filter + "'");
    return rows;
}

// A filter naming exactly the benchmarks the rows need.
std::string benchmark_filter(const std::vector<Row>& rows) {
    std::vector<std::string> names;
    auto add = [&](const std::string& name) {
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    };
    for (const Row& row : rows) {
        add(row.ours());
        add(row.peer());
        add(row.copy("memcpy"));
        add(row.copy("streaming"));
    }
    std::string filter = "^(";
    for (const std::string& name : names) {
        if (filter.size() > 2) filter += '|';
        filter += name;
    }
    filter += ")$";
    return filter;
}

// Collects every run's bytes per second instead of printing it.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const auto bytes = run.counters.find("bytes_per_second");
            if (bytes != run.counters.end() && !run.error_occurred)
                gigabytes_per_second[run.benchmark_name()] = bytes->second.value / 1e9;
        }
    }
    double of(const std::string& name) const {
        const auto found = gigabytes_per_second.find(name);
        return found == gigabytes_per_second.end() ? 0 : found->second;
    }

private:
    std::map<std::string, double> gigabytes_per_second;
};

std::string figure(double value, const char* format) {
    if (value <= 0) return "-";
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

void print_table(const std::vector<Row>& rows, const Collector& results) {
    std::printf("GB/s of bytes read + written, single thread; the copies move as many bytes as the operation\n\n");
    std::printf("%-36s %-9s %-8s %7s  %-30s %7s %7s %7s %6s %6s %6s\n", "operation", "size", "kernel", "ours",
                "peer", "peer", "memcpy", "stream", "/peer", "/copy", "/strm");
    for (const Row& row : rows) {
        const double ours = results.of(row.ours()), peer = results.of(row.peer());
        const double copy = results.of(row.copy("memcpy")), stream = results.of(row.copy("streaming"));
        const std::string size = std::to_string(row.size.width) + "x" + std::to_string(row.size.height);
        std::printf("%-36s %-9s %-8s %7s  %-30s %7s %7s %7s %6s %6s %6s\n", row.kernel->name, size.c_str(),
                    cconvert::registry::kernel_class_name(row.word), figure(ours, "%.1f").c_str(),
                    row.kernel->peer && peer > 0 ? row.kernel->peer : "-", figure(peer, "%.1f").c_str(),
                    figure(copy, "%.1f").c_str(), figure(stream, "%.1f").c_str(),
                    figure(peer > 0 ? ours / peer : 0, "%.2f").c_str(),
                    figure(copy > 0 ? ours / copy : 0, "%.2f").c_str(),
                    figure(stream > 0 ? ours / stream : 0, "%.2f").c_str());
    }
}

// Figures that were not measured are null.
std::string json_number(double value) { return value > 0 ? figure(value, "%.3f") : "null"; }

void print_json(const std::vector<Row>& rows, const Collector& results) {
    std::printf("[\n");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        const double ours = results.of(row.ours()), peer = results.of(row.peer());
        const double copy = results.of(row.copy("memcpy")), stream = results.of(row.copy("streaming"));
        std::string peer_name = "null";
        if (row.kernel->peer && peer > 0) peer_name = std::string("\"").append(row.kernel->peer).append("\"");
        std::printf("  {\"operation\": \"%s\", \"width\": %u, \"height\": %u, \"kernel\": \"%s\", "
                    "\"ours_gbps\": %s, \"peer\": %s, \"peer_gbps\": %s, \"memcpy_gbps\": %s, "
                    "\"streaming_copy_gbps\": %s, \"ours_per_peer\": %s, \"ours_per_memcpy\": %s, "
                    "\"ours_per_streaming_copy\": %s}%s\n",
                    row.kernel->name, row.size.width, row.size.height,
                    cconvert::registry::kernel_class_name(row.word), json_number(ours).c_str(), peer_name.c_str(),
                    json_number(peer).c_str(), json_number(copy).c_str(), json_number(stream).c_str(),
                    json_number(peer > 0 ? ours / peer : 0).c_str(), json_number(copy > 0 ? ours / copy : 0).c_str(),
                    json_number(stream > 0 ? ours / stream : 0).c_str(), i + 1 < rows.size() ? "," : "");
    }
    std::printf("]\n");
}

}  // namespace

void run_bench(const BenchOptions& options) {
    const std::vector<Row> rows = rows_wanted(options);
    std::vector<std::string> arguments = {"ccnvt", "--benchmark_filter=" + benchmark_filter(rows),
                                          "--benchmark_min_time=" + std::to_string(options.seconds)};
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    int argc = static_cast<int>(argv.size());
    benchmark::Initialize(&argc, argv.data());
    Collector results;
    benchmark::RunSpecifiedBenchmarks(&results);
    if (options.json)
        print_json(rows, results);
    else
        print_table(rows, results);
}

}  // namespace ccnvt
