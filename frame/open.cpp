#include <atomic>

#include "cconvert/frame.h"
#include "frame/dispatch.h"

unsigned char use_MMX = 0;

int ccvnt_open(unsigned int, unsigned int, unsigned int, unsigned int) {
    // Hosts may call this from several threads; the byte is touched atomically.
    std::atomic_ref<unsigned char> mmx(use_MMX);
    if (mmx.load(std::memory_order_relaxed) != 0) return 0;
    const bool has_mmx = (CPUFeatureFlags() & cconvert::detail::kFeatureMmx) != 0;
    mmx.store(has_mmx ? 1 : 0, std::memory_order_relaxed);
    return 0;
}
