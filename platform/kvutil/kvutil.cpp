#include "kvutil.h"

#include <cpuid.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::uint64_t read_xcr0() {
    std::uint32_t low = 0, high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

unsigned int probe_features() {
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return 0;

    unsigned int word = 0;
    if (edx & bit_MMX) word |= KV_CPU_MMX;

    const bool sse_class = (edx & bit_SSE2) && (ecx & bit_SSE3) && (ecx & bit_SSSE3) &&
                           (ecx & bit_SSE4_1);
    if (sse_class) word |= KV_CPU_SSE;

    // AVX2 needs the processor feature and an OS that saves the XMM and YMM state.
    const bool os_saves_ymm =
        (ecx & bit_OSXSAVE) && (ecx & bit_AVX) && (read_xcr0() & 0x6) == 0x6;
    unsigned int leaf7_ebx = 0;
    if (os_saves_ymm && __get_cpuid_count(7, 0, &eax, &leaf7_ebx, &ecx, &edx) &&
        (leaf7_ebx & bit_AVX2))
        word |= KV_CPU_AVX2;
    return word;
}

// Parses "123" or "0x7B"; false when the text is not such a number.
bool parse_feature_override(const char* text, unsigned int* word) {
    int base = 10;
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text += 2;
    }
    if (*text == '\0' || *text == '-' || *text == '+') return false;
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text, &end, base);
    if (errno != 0 || *end != '\0' || value > 0xFFFFFFFFull) return false;
    *word = static_cast<unsigned int>(value);
    return true;
}

}  // namespace

extern "C" {

unsigned int CPUFeatureFlags(void) {
    if (const char* text = std::getenv("CCNVT_CPU_FEATURES")) {
        unsigned int word = 0;
        if (parse_feature_override(text, &word)) return word;
    }
    static const unsigned int probed = probe_features();
    return probed;
}

void* KVAlloc(size_t size) { return std::malloc(size == 0 ? 1 : size); }

void KVFree(void* pointer) { std::free(pointer); }

void CopyMemoryFast(void* destination, const void* source, unsigned int bytes) {
    if (bytes != 0) std::memcpy(destination, source, bytes);
}

void ErrFmtOut(unsigned int, unsigned int, unsigned int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fflush(stderr);
}

void SkipBits(KVBitWriter* writer, unsigned int count) { writer->position += count; }

void WriteBits(KVBitWriter* writer, unsigned int count, unsigned int value) {
    if (count > 32) count = 32;
    for (unsigned int i = count; i-- > 0;) {
        const size_t position = writer->position++;
        if (position >= writer->size_bits) continue;
        unsigned char& byte = writer->buffer[position >> 3];
        const unsigned char mask = static_cast<unsigned char>(0x80u >> (position & 7));
        if ((value >> i) & 1u)
            byte = static_cast<unsigned char>(byte | mask);
        else
            byte = static_cast<unsigned char>(byte & ~mask);
    }
}

}  // extern "C"
