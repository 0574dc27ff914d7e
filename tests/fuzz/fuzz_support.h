// What the fuzz targets share: the fuzzer's bytes taken apart into the values
// a target needs, and the processor feature word its calls run under.
#ifndef CCONVERT_TESTS_FUZZ_FUZZ_SUPPORT_H
#define CCONVERT_TESTS_FUZZ_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "kvutil.h"

namespace cconvert::fuzz {

// Values from the front of the input; 0 once it is used up.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    std::uint8_t byte() { return used_ < size_ ? data_[used_++] : 0; }

    // Little-endian, from the next bytes.
    template <class T>
    T integer() {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) value |= std::uint64_t{byte()} << (8 * i);
        return static_cast<T>(value);
    }

    // A value in [low, high].
    long in_range(long low, long high) {
        const auto span = static_cast<std::uint64_t>(high - low) + 1;
        return low + static_cast<long>(integer<std::uint32_t>() % span);
    }

    const std::uint8_t* rest() const { return data_ + used_; }
    std::size_t rest_size() const { return size_ - used_; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t used_ = 0;
};

// The word the processor has (the override may only ask for what it can run).
inline unsigned int probed_features() {
    static const unsigned int probed = [] {
        unsetenv("CCNVT_CPU_FEATURES");
        return CPUFeatureFlags();
    }();
    return probed;
}

// Next calls choose kernels by portable, SSE, AVX2 or both, as far as available.
inline void use_feature_word(std::uint8_t choice) {
    static const unsigned int words[4] = {0, KV_CPU_SSE, KV_CPU_AVX2, KV_CPU_SSE | KV_CPU_AVX2};
    const unsigned int word = words[choice % 4] & probed_features();
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", word);
    setenv("CCNVT_CPU_FEATURES", text, 1);
}

// A temporary file holding the current input, for readers that take a path.
class InputFile {
public:
    InputFile() {
        const char* folder = std::getenv("TMPDIR");
        path_ = std::string(folder && *folder ? folder : "/tmp") + "/ccnvt-fuzz-XXXXXX";
        const int descriptor = mkstemp(path_.data());
        if (descriptor < 0) std::abort();
        close(descriptor);
    }
    ~InputFile() { unlink(path_.c_str()); }

    const std::string& hold(const std::uint8_t* data, std::size_t size) {
        std::FILE* file = std::fopen(path_.c_str(), "wb");
        if (file == nullptr || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) std::abort();
        return path_;
    }

private:
    std::string path_;
};

}  // namespace cconvert::fuzz

#endif
