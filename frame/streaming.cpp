#include "frame/streaming.h"

#include <cstdio>
#include <cstdlib>

namespace cconvert::detail {

namespace {

// The size of the last-level cache one core shares, from sysfs; 32 MiB
// where the system does not say.
std::size_t last_level_cache_bytes() {
    std::size_t bytes = 32u << 20;
    for (int index = 4; index >= 2; --index) {
        char path[64];
        std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/size", index);
        if (std::FILE* file = std::fopen(path, "r")) {
            unsigned long kilobytes = 0;
            char unit = 'K';
            const int read = std::fscanf(file, "%lu%c", &kilobytes, &unit);
            std::fclose(file);
            if (read >= 1 && kilobytes > 0) {
                bytes = (unit == 'M' ? kilobytes << 20 : kilobytes << 10);
                break;
            }
        }
    }
    return bytes;
}

}  // namespace

std::size_t streaming_threshold_bytes() {
    if (const char* text = std::getenv("CCNVT_STREAMING_BYTES")) return std::strtoull(text, nullptr, 0);
    static const std::size_t twice_the_cache = 2 * last_level_cache_bytes();
    return twice_the_cache;
}

}  // namespace cconvert::detail
