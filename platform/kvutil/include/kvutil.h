/* libkvutil: the host utility library that libcconvert imports.
 *
 * These are our own builds of the functions, with the names the converters
 * import. A host that has its own libkvutil may load it in place of this one.
 */
#ifndef KVUTIL_H
#define KVUTIL_H

#include <stddef.h>

#define KVUTIL_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* Processor feature word. */
#define KV_CPU_MMX 0x20u      /* MMX-class integer SIMD */
#define KV_CPU_SSE 0x8000u    /* every instruction set of the SSE-class kernels
                                 (SSE2, SSE3, SSSE3, SSE4.1) */
#define KV_CPU_AVX2 0x800000u /* AVX2, with the OS saving the YMM registers */

/* Returns the feature word of this processor. When the environment variable
 * CCNVT_CPU_FEATURES holds a number (decimal, or hexadecimal after 0x), that
 * number is returned instead. The variable is read on every call, so tests
 * and users can force a kernel at any time. */
KVUTIL_API unsigned int CPUFeatureFlags(void);

/* Scratch memory. KVAlloc(0) returns a valid, unique pointer. */
KVUTIL_API void* KVAlloc(size_t size);
KVUTIL_API void KVFree(void* pointer);

/* A memcpy. Host builds of this function may throw; the converters that
 * use it say which of them catch. */
KVUTIL_API void CopyMemoryFast(void* destination, const void* source, unsigned int bytes);

/* Writes the formatted line to stderr. The category and the two words after
 * it say where the line comes from; this build does not print them. */
KVUTIL_API void ErrFmtOut(unsigned int category, unsigned int reserved1, unsigned int reserved2,
                          const char* format, ...) __attribute__((format(printf, 4, 5)));

/* Bit writer over a caller-described buffer. Bits go most significant first:
 * bit position 0 is bit 7 of buffer[0]. Bits that fall at or beyond size_bits
 * are not written (the position still advances). */
typedef struct KVBitWriter {
    unsigned char* buffer; /* start of the buffer */
    size_t size_bytes;     /* its size in bytes */
    size_t size_bits;      /* its size in bits, at most 8 * size_bytes */
    size_t position;       /* next bit to write, counted from 0 */
} KVBitWriter;

/* Advances the position by count bits, leaving them as they are. */
KVUTIL_API void SkipBits(KVBitWriter* writer, unsigned int count);

/* Appends the low count bits (0 to 32) of value, most significant first. */
KVUTIL_API void WriteBits(KVBitWriter* writer, unsigned int count, unsigned int value);

#ifdef __cplusplus
}
#endif

#endif
