// Target attributes for processor-specific kernels. Kernel files mark each of
// their functions with one of these instead of compiling the whole file for
// the processor, so inline code they share with portable files stays portable.
#ifndef CCONVERT_FRAME_SIMD_H
#define CCONVERT_FRAME_SIMD_H

// SSE-class: everything that feature bit 15 promises.
#define CCNVT_TARGET_SSE __attribute__((target("sse2,sse3,ssse3,sse4.1")))
// AVX2-class: feature bit 23.
#define CCNVT_TARGET_AVX2 __attribute__((target("avx2")))

#endif
