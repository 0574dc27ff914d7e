// The kernel registry: every frame converter whose speed matters, listed once
// with the kernel classes it has. The tests run each listed converter under
// every processor feature word and compare the bytes with its portable
// kernel's; the benchmarks time each kernel class it has; the differential
// fuzzer does what the tests do on widths and bytes a fuzzer picks.
//
// Converters are called through their exported entry points, which choose
// their kernel from CPUFeatureFlags() (and so from CCNVT_CPU_FEATURES) on
// every call. Adding a converter is one line in kernels.cpp.
#ifndef CCONVERT_REGISTRY_KERNEL_REGISTRY_H
#define CCONVERT_REGISTRY_KERNEL_REGISTRY_H

#include <cstddef>
#include <vector>

namespace cconvert::registry {

// A frame layout: its name and how many bytes a frame of it takes.
struct Layout {
    const char* name;
    std::size_t (*bytes)(long width, long height);
};

// The kernel classes a converter has beside its portable kernel.
enum KernelClasses : unsigned {
    kPortableOnly = 0,
    kSse = 1,   // an SSE-class kernel, chosen by feature bit 15
    kAvx2 = 2,  // an AVX2-class kernel, chosen by feature bit 23
    kSseAndAvx2 = kSse | kAvx2,
};

// Runs the converter on a frame of `in` into a frame of `out`. In-place
// converters convert `out` in place and leave `in` alone.
using Run = void (*)(unsigned char* out, unsigned char* in, long width, long height);

struct Kernel {
    const char* name;
    Layout in, out;
    unsigned classes;    // KernelClasses
    int width_step;      // widths the converter takes are multiples of this
    int height_step;     // and heights multiples of this
    Run run;
    const char* peer;    // the peer's benchmark doing the nearest work, or nullptr
};

// Every registered converter, in family order.
const std::vector<Kernel>& kernels();

// Bytes past the end of each frame that a converter may read or write as its
// rules allow (whole v210 groups and vector tails): buffers carry this much.
inline constexpr std::size_t kSlackBytes = 256;

// The processor feature words that pick each kernel class the converter has
// (0 for portable, 0x8000 SSE-class, 0x808000 AVX2-class), limited to what
// `available` allows.
std::vector<unsigned int> feature_words_of(const Kernel& kernel, unsigned int available);

// "portable", "sse" or "avx2" for a feature word.
const char* kernel_class_name(unsigned int feature_word);

}  // namespace cconvert::registry

#endif
