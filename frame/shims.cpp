// The kernel shims. Each declines (returns 0) without touching anything, so
// every converter runs its own code; a build for another processor puts its
// kernels here.
#include "cconvert/frame.h"

int cconvert_copy_bytes_arm(void*, const void*, unsigned int) { return 0; }
int cconvert_copy_bytes_intel(void*, const void*, unsigned int) { return 0; }

int cconvert_fill_dword_arm(void*, unsigned int, unsigned int) { return 0; }
int cconvert_fill_dword_intel(void*, unsigned int, unsigned int) { return 0; }

int cconvert_rgb2rgb_shuffle_arm(unsigned int*, unsigned int*, unsigned int,
                                 cconvert_rgb2rgb_shuffle_op) {
    return 0;
}
int cconvert_rgb2rgb_shuffle_intel(unsigned int*, unsigned int*, unsigned int,
                                   cconvert_rgb2rgb_shuffle_op) {
    return 0;
}

int cconvert_rgb24_to_rgba32_arm(void*, void*, long, int) { return 0; }
int cconvert_rgb24_to_rgba32_intel(void*, void*, long, int) { return 0; }

int cconvert_rgba32_to_bgr24_arm(void*, void*, long) { return 0; }
int cconvert_rgba32_to_bgr24_intel(void*, void*, long) { return 0; }

int cconvert_argb64_reorder_arm(void*, void*, long, int, int, unsigned int, unsigned int) {
    return 0;
}
int cconvert_argb64_reorder_intel(void*, void*, long, int, int, unsigned int, unsigned int) {
    return 0;
}

int cconvert_2vuy_planar_arm(unsigned char*, unsigned char*, unsigned char*, unsigned char*,
                             unsigned int) {
    return 0;
}
int cconvert_2vuy_planar_intel(unsigned char*, unsigned char*, unsigned char*, unsigned char*,
                               unsigned int) {
    return 0;
}

extern "C" int yCbCr_halffloat_avx2_available(void) { return 0; }
extern "C" int yCbCr_halffloat_neon_available(void) { return 0; }
