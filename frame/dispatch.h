// Kernel choice by processor feature word, and the test that decides whether
// a row may take a vector path.
#ifndef CCONVERT_FRAME_DISPATCH_H
#define CCONVERT_FRAME_DISPATCH_H

#include <cstddef>
#include <cstdint>

#include "kvutil.h"

namespace cconvert::detail {

constexpr unsigned int kFeatureMmx = KV_CPU_MMX;    // bit 5
constexpr unsigned int kFeatureSse = KV_CPU_SSE;    // bit 15
constexpr unsigned int kFeatureAvx2 = KV_CPU_AVX2;  // bit 23

// Chooses among a family's kernel variants from CPUFeatureFlags(), read afresh
// on every call: the AVX2-class kernel when bit 23 is set, else the SSE-class
// kernel when bit 15 is set, else the portable one. Pass nullptr for a variant
// the family does not have. Call it once at the start of a conversion and use
// the result for all of its rows.
template <class Kernel>
Kernel choose_kernel(Kernel portable, Kernel sse, Kernel avx2) {
    const unsigned int features = CPUFeatureFlags();
    if ((features & kFeatureAvx2) && avx2) return avx2;
    if ((features & kFeatureSse) && sse) return sse;
    return portable;
}

// True when the byte ranges [a, a + a_bytes) and [b, b + b_bytes) share a
// byte. Vector row loops run only on rows that do not overlap their source.
inline bool ranges_overlap(const void* a, std::size_t a_bytes, const void* b, std::size_t b_bytes) {
    const auto a_start = reinterpret_cast<std::uintptr_t>(a);
    const auto b_start = reinterpret_cast<std::uintptr_t>(b);
    return a_start < b_start + b_bytes && b_start < a_start + a_bytes;
}

}  // namespace cconvert::detail

#endif
