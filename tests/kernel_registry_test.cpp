// Every registered converter under every processor feature word, with
// ordinary and with non-temporal stores, gives the bytes of its portable
// kernel, on random frames of many widths and a few heights, and writes
// nothing outside the bytes its portable kernel touches.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "registry/kernel_registry.h"
#include "support/test_support.h"

using cconvert::registry::Kernel;
using cconvert::registry::kernels;
using cconvert::registry::kSlackBytes;
using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;

namespace {

// Widths 1..130 leave a tail for every vector block; a few wide rows run
// the blocks many times over.
std::vector<long> widths_for(const Kernel& kernel) {
    std::vector<long> widths;
#if defined(__SANITIZE_ADDRESS__)
    const long step = kernel.width_step * 3;  // sampled under the sanitizers
#else
    const long step = kernel.width_step;
#endif
    for (long w = kernel.width_step; w <= 130; w += step) widths.push_back(w);
    for (long w : {1918L, 1920L, 4102L}) widths.push_back(w / kernel.width_step * kernel.width_step);
    return widths;
}

std::vector<long> heights_for(const Kernel& kernel) {
    return {kernel.height_step, 3L * kernel.height_step};
}

struct Frames {
    GuardedBuffer in, out;
    Frames(const Kernel& kernel, long w, long h, std::uint32_t seed)
        : in(kernel.in.bytes(w, h) + kSlackBytes), out(kernel.out.bytes(w, h) + kSlackBytes) {
        in.fill_random(seed);
        out.fill_random(seed + 1);
    }
};

// Makes every frame count as larger than the caches while it lives, so
// that vector kernels stream their stores.
class ScopedStreaming {
public:
    ScopedStreaming() { setenv("CCNVT_STREAMING_BYTES", "0", 1); }
    ~ScopedStreaming() { unsetenv("CCNVT_STREAMING_BYTES"); }
    ScopedStreaming(const ScopedStreaming&) = delete;
    ScopedStreaming& operator=(const ScopedStreaming&) = delete;
};

std::string kernel_name(const testing::TestParamInfo<Kernel>& info) {
    std::string name = info.param.name;
    for (char& c : name)
        if (!isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
}

class RegisteredKernel : public testing::TestWithParam<Kernel> {};

TEST_P(RegisteredKernel, EveryFeatureWordGivesThePortableBytes) {
    const Kernel& kernel = GetParam();
    std::uint32_t seed = 1;
    for (long h : heights_for(kernel)) {
        for (long w : widths_for(kernel)) {
            ++seed;
            Frames reference(kernel, w, h, seed);
            {
                const ScopedCpuFeatures portable(0);
                kernel.run(reference.out.data(), reference.in.data(), w, h);
            }
            ASSERT_TRUE(reference.out.guards_intact() && reference.in.guards_intact()) << w << "x" << h;
            for (unsigned int word : cconvert::test::feature_words_to_test())
            for (bool streaming : {false, true}) {
                if (word == 0) continue;
                Frames frames(kernel, w, h, seed);
                {
                    const ScopedCpuFeatures features(word);
                    std::optional<ScopedStreaming> stream;
                    if (streaming) stream.emplace();
                    kernel.run(frames.out.data(), frames.in.data(), w, h);
                }
                SCOPED_TRACE(cconvert::test::feature_word_name(word) + (streaming ? " streaming " : " ") +
                             std::to_string(w) + "x" + std::to_string(h));
                ASSERT_EQ(frames.out.contents(), reference.out.contents());
                ASSERT_EQ(frames.in.contents(), reference.in.contents());
                ASSERT_TRUE(frames.out.guards_intact());
                ASSERT_TRUE(frames.in.guards_intact());
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Registry, RegisteredKernel, testing::ValuesIn(kernels()), kernel_name);

TEST(KernelRegistry, NamesAreUnique) {
    std::vector<std::string> names;
    for (const Kernel& kernel : kernels()) {
        EXPECT_EQ(std::find(names.begin(), names.end(), kernel.name), names.end()) << kernel.name;
        names.push_back(kernel.name);
    }
}

}  // namespace
