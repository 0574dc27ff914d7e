// Every registered kernel's vector paths (ordinary and streaming stores) against
// its portable one. Input: kernel (1 byte), width, height (4 each), then bytes that
// fill both frames (repeated); both frames and their guards must match.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_support.h"
#include "registry/kernel_registry.h"

namespace {

using cconvert::registry::Kernel;

constexpr long kWidestRow = 2000;
constexpr long kTallestFrame = 8;
constexpr std::uint8_t kGuard = 0xA5;

// `bytes` plus the slack from the fuzzer's bytes, then a kGuard band.
std::vector<std::uint8_t> frame_of(std::size_t bytes, const std::uint8_t* fill, std::size_t fill_size,
                                   std::size_t offset) {
    std::vector<std::uint8_t> frame(bytes + cconvert::registry::kSlackBytes + 64, kGuard);
    for (std::size_t i = 0; fill_size > 0 && i < bytes + cconvert::registry::kSlackBytes; ++i)
        frame[i] = fill[(offset + i) % fill_size];
    return frame;
}

struct Frames {
    std::vector<std::uint8_t> in, out;
};

Frames run(const Kernel& kernel, long width, long height, const std::uint8_t* fill, std::size_t fill_size,
           unsigned int word, bool streaming) {
    Frames frames{frame_of(kernel.in.bytes(width, height), fill, fill_size, 0),
                  frame_of(kernel.out.bytes(width, height), fill, fill_size, 7)};
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", word);
    setenv("CCNVT_CPU_FEATURES", text, 1);
    if (streaming)
        setenv("CCNVT_STREAMING_BYTES", "0", 1);
    else
        unsetenv("CCNVT_STREAMING_BYTES");
    kernel.run(frames.out.data(), frames.in.data(), width, height);
    return frames;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cconvert::fuzz::FuzzInput input(data, size);
    const auto& kernels = cconvert::registry::kernels();
    const Kernel& kernel = kernels[input.byte() % kernels.size()];
    const long width = input.in_range(1, kWidestRow / kernel.width_step) * kernel.width_step;
    const long height = input.in_range(1, kTallestFrame / kernel.height_step) * kernel.height_step;
    const std::uint8_t* fill = input.rest();
    const std::size_t fill_size = input.rest_size();

    const Frames reference = run(kernel, width, height, fill, fill_size, 0, false);
    const unsigned int available = cconvert::fuzz::probed_features();
    for (unsigned int word : cconvert::registry::feature_words_of(kernel, available)) {
        if (word == 0) continue;
        for (bool streaming : {false, true}) {
            const Frames frames = run(kernel, width, height, fill, fill_size, word, streaming);
            if (frames.in != reference.in || frames.out != reference.out) {
                std::fprintf(stderr, "%s %ldx%ld under 0x%x%s differs from its portable kernel\n", kernel.name,
                             width, height, word, streaming ? " with streamed stores" : "");
                std::abort();
            }
        }
    }
    return 0;
}
