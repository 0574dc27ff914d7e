/* libycbcr: the host colour library that libcconvert imports.
 *
 * Our own build, with the names the converters import: the colour matrix for
 * a frame size, and full-size YCbCr to 8-bit RGB converters.
 *
 * The converters take studio-range input (8-bit: Y 16..235, Cb and Cr
 * 16..240 around 128; 10-bit: the same times 4) and write full-range 8-bit
 * RGB, each channel rounded to nearest: within one code value of
 *     R = 255/219 (Y - 16)                         + 255/112 (1 - kr) (Cr - 128)
 *     G = 255/219 (Y - 16) - 255/112 (kb (1 - kb) / kg) (Cb - 128)
 *                          - 255/112 (kr (1 - kr) / kg) (Cr - 128)
 *     B = 255/219 (Y - 16) + 255/112 (1 - kb) (Cb - 128),     kg = 1 - kr - kb
 * (10-bit samples divided by 4) computed in double precision, clamped to
 * 0..255. Fixed point with 6 fractional bits inside; AVX2 kernels when the
 * processor has AVX2 (CPUFeatureFlags of libkvutil, honouring
 * CCNVT_CPU_FEATURES), giving the same bytes as the portable code.
 *
 * Common arguments of the converters:
 *   destination, source  the frames; they must not overlap.
 *   width                pixels per row; nothing is done when it is below 1.
 *   height               rows; |height| rows are converted (a negative height
 *                        is taken by its magnitude), nothing when it is 0.
 *   destination_pitch    bytes from one destination row to the next; 0 or
 *                        negative means the tight width * 3 or width * 4.
 *   source_pitch         bytes from one source row to the next; 0 or negative
 *                        means the tight default of the format.
 *   matrix               the colour matrix, normally from GetMatrixBySize;
 *                        NULL means BT.601. kr and kb must give coefficients
 *                        below 4 (every broadcast matrix does).
 *   flags                CYCBCR_BOTTOM_UP: source row r goes to destination
 *                        row |height| - 1 - r (a bottom-up bitmap). Other bits
 *                        are ignored.
 * Result: 0 when the frame was converted, -1 when there was nothing to do.
 */
#ifndef YCBCR_H
#define YCBCR_H

#define YCBCR_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* A YCbCr colour matrix, by its luma weights of red and blue. */
typedef struct cycbcr_matrix {
    const char* name; /* "BT.601" or "BT.709" */
    double kr;
    double kb;
} cycbcr_matrix;

/* BT.709 for frames wider than 1279 or taller than 576 pixels, else BT.601.
 * The third argument is reserved and ignored. */
YCBCR_API const cycbcr_matrix* GetMatrixBySize(int width, int height, int reserved);

/* Flag: write the frame bottom-up. */
#define CYCBCR_BOTTOM_UP 0x8000u

/* 2vuy (UYVY: bytes Cb Y0 Cr Y1, a pair of pixels in four bytes) to B G R
 * (rgb24) or B G R 255 (rgb32). A row reads ceil(width / 2) whole pairs;
 * default source pitch width * 2. */
YCBCR_API int cycbcr_uyvy_to_rgb24(void* destination, const void* source, int width, int height,
                                   long destination_pitch, long source_pitch,
                                   const cycbcr_matrix* matrix, unsigned int flags);
YCBCR_API int cycbcr_uyvy_to_rgb32(void* destination, const void* source, int width, int height,
                                   long destination_pitch, long source_pitch,
                                   const cycbcr_matrix* matrix, unsigned int flags);

/* v210 (10-bit 4:2:2, six pixels in four little-endian 32-bit words) to
 * B G R 255. A row reads ceil(width / 6) whole groups; default source pitch
 * 128 * ceil(width / 48). */
YCBCR_API int cycbcr_012v_to_rgb32(void* destination, const void* source, int width, int height,
                                   long destination_pitch, long source_pitch,
                                   const cycbcr_matrix* matrix, unsigned int flags);

/* Three-plane 4:2:0 (8-bit) to B G R 255. source is one buffer holding the
 * three planes one after the other:
 *   Y plane:        |height| rows of source_pitch bytes (default width);
 *   first chroma:   ceil(|height| / 2) rows of ceil(source_pitch / 2) bytes;
 *   second chroma:  the same, right after the first.
 * I420 has Cb (U) first, YV12 Cr (V) first. Chroma sample (x / 2, y / 2)
 * belongs to pixel (x, y). */
YCBCR_API int cycbcr_i420_to_rgb32(void* destination, const void* source, int width, int height,
                                   long destination_pitch, long source_pitch,
                                   const cycbcr_matrix* matrix, unsigned int flags);
YCBCR_API int cycbcr_yv12_to_rgb32(void* destination, const void* source, int width, int height,
                                   long destination_pitch, long source_pitch,
                                   const cycbcr_matrix* matrix, unsigned int flags);

#ifdef __cplusplus
}
#endif

#endif
