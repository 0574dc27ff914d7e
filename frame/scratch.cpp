#include <cstdint>

#include "cconvert/frame.h"
#include "kvutil.h"

namespace {
constexpr std::uintptr_t kCacheLine = 32;

// Signed int addition that wraps like the machine's instead of being undefined.
int wrapping_add(int a, int b) {
    return static_cast<int>(static_cast<unsigned int>(a) + static_cast<unsigned int>(b));
}
}  // namespace

void* malloc_own_cache_lines(int size, void** raw, void** aligned) {
    const int rounded = wrapping_add(size, 31) & ~31;
    const int request = wrapping_add(rounded, 31);
    // A negative request is passed on as the huge size it becomes; the host's
    // allocator refuses it.
    void* block = KVAlloc(static_cast<std::size_t>(static_cast<long>(request)));
    *raw = block;
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    *aligned = reinterpret_cast<void*>((address + kCacheLine - 1) & ~(kCacheLine - 1));
    return block;
}

void free_own_cache_lines(void** raw, void** aligned) {
    if (*raw != nullptr) KVFree(*raw);
    *raw = nullptr;
    *aligned = nullptr;
}
