// Helpers shared by the test suites: guarded buffers, random bytes and
// processor feature words.
#ifndef CCONVERT_TESTS_SUPPORT_TEST_SUPPORT_H
#define CCONVERT_TESTS_SUPPORT_TEST_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cconvert::test {

// A buffer with guard bands before and after it. Tests hand data() to a
// converter and check that the guards, and any bytes the converter must not
// touch, keep their values.
class GuardedBuffer {
public:
    static constexpr std::size_t kGuardBytes = 64;
    static constexpr unsigned char kGuardValue = 0xA5;

    explicit GuardedBuffer(std::size_t size, unsigned char fill = kGuardValue);

    unsigned char* data() { return storage_.data() + kGuardBytes; }
    const unsigned char* data() const { return storage_.data() + kGuardBytes; }
    std::size_t size() const { return size_; }
    unsigned char& operator[](std::size_t i) { return data()[i]; }
    unsigned char operator[](std::size_t i) const { return data()[i]; }

    // True when both guard bands still hold kGuardValue.
    bool guards_intact() const;
    // The buffer's bytes (without guards).
    std::vector<unsigned char> contents() const;
    void fill_random(std::uint32_t seed);

private:
    std::vector<unsigned char> storage_;
    std::size_t size_;
};

void fill_random(unsigned char* bytes, std::size_t count, std::uint32_t seed);
std::vector<unsigned char> random_bytes(std::size_t count, std::uint32_t seed);

// Feature words a kernel test runs under: 0, 0x8000, 0x800000 and 0x808000,
// less those that ask for more than this processor has.
std::vector<unsigned int> feature_words_to_test();
std::string feature_word_name(unsigned int word);

// Sets CCNVT_CPU_FEATURES for its lifetime and restores the previous value.
class ScopedCpuFeatures {
public:
    explicit ScopedCpuFeatures(unsigned int word);
    ~ScopedCpuFeatures();
    ScopedCpuFeatures(const ScopedCpuFeatures&) = delete;
    ScopedCpuFeatures& operator=(const ScopedCpuFeatures&) = delete;

private:
    bool had_value_;
    std::string previous_;
};

// The processor's own feature word, with any override set aside.
unsigned int probed_feature_word();

}  // namespace cconvert::test

#endif
