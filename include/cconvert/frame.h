/* cconvert: start-up, processor shims and cache-line allocation.
 *
 * Every header of the library includes this one. Entry points written here
 * with C++ parameter lists are exported under C++ (type-encoded) symbols, as
 * hosts of the library have always linked them; the others have C linkage.
 */
#ifndef CCONVERT_FRAME_H
#define CCONVERT_FRAME_H

#define CCNVT_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define CCNVT_C_BEGIN extern "C" {
#define CCNVT_C_END }
#else
#define CCNVT_C_BEGIN
#define CCNVT_C_END
#endif

CCNVT_C_BEGIN

/* 1 once ccvnt_open has seen MMX-class SIMD on this processor, else 0. Kept
 * for the host; nothing in the library reads it. */
CCNVT_EXPORT extern unsigned char use_MMX;

/* Availability of the half-float kernels of other builds: both 0 here. */
CCNVT_EXPORT int yCbCr_halffloat_avx2_available(void);
CCNVT_EXPORT int yCbCr_halffloat_neon_available(void);

CCNVT_C_END

#ifdef __cplusplus

/* Optional start-up call (the transposed letters are the historical name).
 * The arguments are ignored; returns 0. Sets use_MMX; once it has found the
 * feature it does not ask again. No converter depends on it. */
CCNVT_EXPORT int ccvnt_open(unsigned int, unsigned int, unsigned int, unsigned int);

/* Byte-order operations offered to cconvert_rgb2rgb_shuffle_*; each is named
 * after the span reorder that offers it. */
enum cconvert_rgb2rgb_shuffle_op {
    CCONVERT_SHUFFLE_RGBA2ARGB = 0,     /* rotate right by 8 bits */
    CCONVERT_SHUFFLE_ARGB2RGBA = 1,     /* exchange bytes 0 and 3 */
    CCONVERT_SHUFFLE_BGRA2ARGB = 2,     /* byte reversal */
    CCONVERT_SHUFFLE_ARGB2BGRA = 3,     /* byte reversal */
    CCONVERT_SHUFFLE_ABGR2ARGB = 4,     /* exchange bytes 0 and 2 */
    CCONVERT_SHUFFLE_ARGB2ABGR = 5,     /* exchange bytes 0 and 2 */
    CCONVERT_SHUFFLE_BGRA2RGBA = 6,     /* exchange bytes 0 and 2 */
    CCONVERT_SHUFFLE_BGRA2ABGR = 7,     /* rotate right by 8 bits */
    CCONVERT_SHUFFLE_ABGR2BGRA = 8,     /* rotate left by 8 bits */
    CCONVERT_SHUFFLE_ARGB32_RGBA32 = 9  /* rotate left by 8 bits */
};

/* Kernel shims. A converter offers each unit of work (a row, a span) first to
 * the _arm shim, then to the _intel shim, and does it itself when both return
 * 0. In this build every shim returns 0 at once and touches nothing; a build
 * for another processor plugs its kernels in here. */
CCNVT_EXPORT int cconvert_copy_bytes_arm(void* destination, const void* source, unsigned int bytes);
CCNVT_EXPORT int cconvert_copy_bytes_intel(void* destination, const void* source, unsigned int bytes);
CCNVT_EXPORT int cconvert_fill_dword_arm(void* destination, unsigned int value, unsigned int count);
CCNVT_EXPORT int cconvert_fill_dword_intel(void* destination, unsigned int value, unsigned int count);
CCNVT_EXPORT int cconvert_rgb2rgb_shuffle_arm(unsigned int* destination, unsigned int* source,
                                              unsigned int pixels, cconvert_rgb2rgb_shuffle_op op);
CCNVT_EXPORT int cconvert_rgb2rgb_shuffle_intel(unsigned int* destination, unsigned int* source,
                                                unsigned int pixels, cconvert_rgb2rgb_shuffle_op op);
CCNVT_EXPORT int cconvert_rgb24_to_rgba32_arm(void* destination, void* source, long pixels, int order);
CCNVT_EXPORT int cconvert_rgb24_to_rgba32_intel(void* destination, void* source, long pixels, int order);
CCNVT_EXPORT int cconvert_rgba32_to_bgr24_arm(void* destination, void* source, long pixels);
CCNVT_EXPORT int cconvert_rgba32_to_bgr24_intel(void* destination, void* source, long pixels);
CCNVT_EXPORT int cconvert_argb64_reorder_arm(void* destination, void* source, long count, int, int,
                                             unsigned int, unsigned int);
CCNVT_EXPORT int cconvert_argb64_reorder_intel(void* destination, void* source, long count, int, int,
                                               unsigned int, unsigned int);
CCNVT_EXPORT int cconvert_2vuy_planar_arm(unsigned char* source, unsigned char* y, unsigned char* cb,
                                          unsigned char* cr, unsigned int count);
CCNVT_EXPORT int cconvert_2vuy_planar_intel(unsigned char* source, unsigned char* y, unsigned char* cb,
                                            unsigned char* cr, unsigned int count);

/* 32-byte-aligned blocks. Takes size rounded up to a multiple of 32, plus 31
 * bytes, from KVAlloc; stores that pointer in *raw and the first multiple of
 * 32 at or above it in *aligned, and returns the raw pointer. */
CCNVT_EXPORT void* malloc_own_cache_lines(int size, void** raw, void** aligned);

/* Releases *raw (when not null) and sets both slots to null. */
CCNVT_EXPORT void free_own_cache_lines(void** raw, void** aligned);

#endif /* __cplusplus */

#endif
