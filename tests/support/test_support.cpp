#include "support/test_support.h"

#include <cstdio>
#include <cstdlib>
#include <random>

#include "kvutil.h"

namespace cconvert::test {

GuardedBuffer::GuardedBuffer(std::size_t size, unsigned char fill)
    : storage_(size + 2 * kGuardBytes, kGuardValue), size_(size) {
    for (std::size_t i = 0; i < size_; ++i) data()[i] = fill;
}

bool GuardedBuffer::guards_intact() const {
    for (std::size_t i = 0; i < kGuardBytes; ++i)
        if (storage_[i] != kGuardValue || storage_[kGuardBytes + size_ + i] != kGuardValue)
            return false;
    return true;
}

std::vector<unsigned char> GuardedBuffer::contents() const {
    return std::vector<unsigned char>(data(), data() + size_);
}

void GuardedBuffer::fill_random(std::uint32_t seed) { test::fill_random(data(), size_, seed); }

void fill_random(unsigned char* bytes, std::size_t count, std::uint32_t seed) {
    std::mt19937 generator(seed);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(generator());
}

std::vector<unsigned char> random_bytes(std::size_t count, std::uint32_t seed) {
    std::vector<unsigned char> bytes(count);
    fill_random(bytes.data(), count, seed);
    return bytes;
}

unsigned int probed_feature_word() {
    const char* previous = std::getenv("CCNVT_CPU_FEATURES");
    const std::string saved = previous ? previous : "";
    unsetenv("CCNVT_CPU_FEATURES");
    const unsigned int word = CPUFeatureFlags();
    if (previous) setenv("CCNVT_CPU_FEATURES", saved.c_str(), 1);
    return word;
}

std::vector<unsigned int> feature_words_to_test() {
    const unsigned int available = probed_feature_word();
    std::vector<unsigned int> words;
    for (unsigned int word : {0u, KV_CPU_SSE, KV_CPU_AVX2, KV_CPU_SSE | KV_CPU_AVX2})
        if ((word & available) == word) words.push_back(word);
    return words;
}

std::string feature_word_name(unsigned int word) {
    char name[32];
    std::snprintf(name, sizeof name, "features_0x%06x", word);
    return name;
}

ScopedCpuFeatures::ScopedCpuFeatures(unsigned int word) {
    const char* previous = std::getenv("CCNVT_CPU_FEATURES");
    had_value_ = previous != nullptr;
    if (had_value_) previous_ = previous;
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", word);
    setenv("CCNVT_CPU_FEATURES", text, 1);
}

ScopedCpuFeatures::~ScopedCpuFeatures() {
    if (had_value_)
        setenv("CCNVT_CPU_FEATURES", previous_.c_str(), 1);
    else
        unsetenv("CCNVT_CPU_FEATURES");
}

}  // namespace cconvert::test
