/* cconvert: HDR signals.
 *
 * ST 2084 (PQ) tables and converters
 * ----------------------------------
 * Six tables of unsigned 32-bit entries, constant data of the library, one
 * pair per bit depth b (N = 2^b entries). PQ(x) is the ST 2084 inverse EOTF
 * (linear light 0..1, 1 = 10000 cd/m2, to signal 0..1) and EOTF its inverse,
 * both in double precision with m1 = 2610/16384, m2 = 2523/4096 * 128,
 * c1 = 3424/4096, c2 = 2413/4096 * 32, c3 = 2392/4096 * 32.
 *   ardwRGB_to_SMPTE2048_{8,10,12}Bit: entry i = floor(N * PQ(i / N)).
 *   ardwSMPTE2048_to_RGB_12Bit:        entry i = floor(4096 * EOTF(i / 4096)).
 *   ardwSMPTE2048_to_RGB_10Bit:        a ramp onto video range, not a PQ curve:
 *       i for i <= 64; round(64 + (i - 64) * 876 / 448) (halves up) below
 *       512; 940 from 512 on.
 *   ardwSMPTE2048_to_RGB_8Bit:         a power curve onto 16..235: i for
 *       i <= 16; round(16 + 219 * ((i - 16) / 113)^1.9) (halves up) up to
 *       128; 235 from 129 on.
 * ("SMPTE2048" is the historical spelling of the exported names.) The
 * converters below use only the two 8-bit tables; the others are for hosts.
 *
 * The converters take (destination, source, destination row bytes, source
 * row bytes, rows) and return 0. Rows run top to bottom; each row treats
 * W = the smaller of the two row-byte counts. Nothing is done when rows or W
 * is 0 (W below 4 for the 4:2:2 converters).
 *
 * Half-float RGBA
 * ---------------
 * 4:2:2 YCbCr (v210 or 2vuy) to RGBA of IEEE 754 binary16 values, 8 bytes a
 * pixel, alpha 1.0 (0x3C00). Each of R, G and B is clamped to [0, 1] and
 * rounded to nearest, ties to even. Arguments: destination, destination row
 * bytes, source, source row bytes, width, height, then the selectors. Rows
 * run top to bottom, each pointer advanced by its own (signed) row bytes.
 * Nothing is done when a pointer is null or width or height is below 1.
 * The source is read in whole groups (16 bytes of v210 for six pixels, 4
 * bytes of 2vuy for two); exactly width pixels are written per row.
 *
 * Matrix selector (mp_csp numbering): 1 BT.601, 4 BT.2020 non-constant
 * luminance, anything else BT.709. full_range: non-zero for full-range
 * samples, 0 for video range (10-bit 64..940 luma, 8-bit 16..235).
 *
 * The portable kernels run eight pixels at a time with AVX2 and F16C
 * instructions when the processor feature word allows AVX2-class kernels
 * (0x800000) and the processor has both; the output is the same, bit for
 * bit, on either path.
 */
#ifndef CCONVERT_HDR_H
#define CCONVERT_HDR_H

#include "frame.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

CCNVT_C_BEGIN

/* ---- ST 2084 tables ---- */

CCNVT_EXPORT extern const unsigned int ardwRGB_to_SMPTE2048_8Bit[256];
CCNVT_EXPORT extern const unsigned int ardwRGB_to_SMPTE2048_10Bit[1024];
CCNVT_EXPORT extern const unsigned int ardwRGB_to_SMPTE2048_12Bit[4096];
CCNVT_EXPORT extern const unsigned int ardwSMPTE2048_to_RGB_8Bit[256];
CCNVT_EXPORT extern const unsigned int ardwSMPTE2048_to_RGB_10Bit[1024];
CCNVT_EXPORT extern const unsigned int ardwSMPTE2048_to_RGB_12Bit[4096];

/* Each returns its table's first entry. */
CCNVT_EXPORT const unsigned int* get_ardwRGB_to_SMPTE2048_8Bit(void);
CCNVT_EXPORT const unsigned int* get_ardwRGB_to_SMPTE2048_10Bit(void);
CCNVT_EXPORT const unsigned int* get_ardwRGB_to_SMPTE2048_12Bit(void);
CCNVT_EXPORT const unsigned int* get_ardwSMPTE2048_to_RGB_8Bit(void);
CCNVT_EXPORT const unsigned int* get_ardwSMPTE2048_to_RGB_10Bit(void);
CCNVT_EXPORT const unsigned int* get_ardwSMPTE2048_to_RGB_12Bit(void);

/* ---- ST 2084 converters (8-bit tables) ---- */

/* Every byte j < W of a row becomes the low byte of the table entry for it
 * (linear to PQ, and PQ to linear). Work in place. */
CCNVT_EXPORT int ccnvt_rgb_to_st2084(unsigned char* destination, const unsigned char* source,
                                     unsigned int destination_row_bytes,
                                     unsigned int source_row_bytes, unsigned int rows);
CCNVT_EXPORT int ccnvt_st2084_to_rgb(unsigned char* destination, const unsigned char* source,
                                     unsigned int destination_row_bytes,
                                     unsigned int source_row_bytes, unsigned int rows);

/* 4:2:2 bytes in groups of four, floor(W / 4) groups a row; bytes 1 and 3 of
 * a group (the luma of 2vuy order) go through the table.
 * ccnvt_yuv2_to_st2084 writes only bytes 1 and 3 of each group: bytes 0 and
 * 2 of the destination keep what they held (in place, chroma is untouched).
 * ccnvt_st2084_to_yuv2 copies bytes 4k+1 .. 4k+4 of each group k, then maps
 * bytes 4k+1 and 4k+3: byte 0 of a destination row is never written, and the
 * last group reads and writes byte 4 * groups, one past its end. */
CCNVT_EXPORT int ccnvt_yuv2_to_st2084(unsigned char* destination, const unsigned char* source,
                                      unsigned int destination_row_bytes,
                                      unsigned int source_row_bytes, unsigned int rows);
CCNVT_EXPORT int ccnvt_st2084_to_yuv2(unsigned char* destination, const unsigned char* source,
                                      unsigned int destination_row_bytes,
                                      unsigned int source_row_bytes, unsigned int rows);

/* Re-codes v210 rows through an 8-bit table, in the long-standing form that
 * hosts depend on: little-endian words are taken from row start plus ONE
 * byte; group k is bytes 16k + 1 .. 16k + 16 of the row (source and
 * destination alike), and groups run while 16k < W (so at least one per row,
 * reading and writing up to 16 bytes past W). With T the table, words 0 and
 * 2 of a group become
 *     (T[(w >> 12) & 0x3FF] << 12) | (w & 0x3FF003FF)
 * and words 1 and 3
 *     (w & 0xFFC00) | (T[w >> 22] << 22) | (T[(w >> 2) & 0x3FF] << 2).
 * These positions do not line up with the v210 fields and are kept as they
 * are. An index above 255 is clamped to 255 (it reads entry 255). Work in
 * place; in place, a row whose W is not a multiple of 16 re-codes the start
 * of the next row before that row is read, as the group walk implies. */
CCNVT_EXPORT int ccnvt_v210_to_st2084(unsigned char* destination, const unsigned char* source,
                                      unsigned int destination_row_bytes,
                                      unsigned int source_row_bytes, unsigned int rows);
CCNVT_EXPORT int ccnvt_st2084_to_v210(unsigned char* destination, const unsigned char* source,
                                      unsigned int destination_row_bytes,
                                      unsigned int source_row_bytes, unsigned int rows);

/* ---- YCbCr to half-float RGBA ---- */

/* Portable kernels. v210 and 2vuy sources with a selectable matrix and
 * range. Chroma is used unchanged for both pixels of its pair. Per pixel,
 * in single precision:
 *   y = (Y - offset) * luma scale, cb = (Cb - centre) * chroma scale, cr alike
 *     10-bit video 64, 1/876, 512, 1/896     10-bit full 0, 1/1023, 512, 1/1023
 *      8-bit video 16, 1/219, 128, 1/224      8-bit full 0, 1/255,  128, 1/255
 *   R = y + kr * cr, G = y + kgb * cb + kgr * cr, B = y + kb * cb
 *     BT.601  kr 1.402  kgb -0.3441363  kgr -0.7141363  kb 1.772
 *     BT.709  kr 1.5748 kgb -0.18732427 kgr -0.46812427 kb 1.8556
 *     BT.2020 kr 1.4746 kgb -0.16455312 kgr -0.57135314 kb 1.8814 */
CCNVT_EXPORT void yCbCr10_to_halffloat_c(void* destination, long destination_pitch,
                                         const void* source, long source_pitch, long width,
                                         long height, int matrix, int full_range);
CCNVT_EXPORT void yCbCr8_to_halffloat_c(void* destination, long destination_pitch,
                                        const void* source, long source_pitch, long width,
                                        long height, int matrix, int full_range);

/* SDR to HDR from v210 (seven arguments: one selector): decodes BT.709 video range (whatever the source
 * really is), clamps to [0, 1], linearises with gamma 2.4, converts to
 * BT.2020 primaries, clamps, and encodes with HLG (transfer_mode 1) or PQ
 * with reference white at 203 cd/m2 (any other mode). The curves are
 * sampled once per process at 4097 points and interpolated linearly; the
 * tables are built on the first call that reaches a pixel, safely when
 * several threads make that call at once. */
CCNVT_EXPORT void yCbCr10_to_halffloat_sdr_to_hdr(void* destination, long destination_pitch,
                                                  const void* source, long source_pitch,
                                                  long width, long height, int transfer_mode);

/* Entry points: try processor kernels of other builds, then the portable
 * kernel, with the same arguments. yCbCr*_to_halffloat tries the AVX2 then
 * the Arm kernel; the _avx2 and _neon forms try only theirs. In this build
 * the processor kernels decline, so all of these give the portable output. */
CCNVT_EXPORT void yCbCr10_to_halffloat(void* destination, long destination_pitch,
                                       const void* source, long source_pitch, long width,
                                       long height, int matrix, int full_range);
CCNVT_EXPORT void yCbCr8_to_halffloat(void* destination, long destination_pitch,
                                      const void* source, long source_pitch, long width,
                                      long height, int matrix, int full_range);
CCNVT_EXPORT void yCbCr10_to_halffloat_avx2(void* destination, long destination_pitch,
                                            const void* source, long source_pitch, long width,
                                            long height, int matrix, int full_range);
CCNVT_EXPORT void yCbCr8_to_halffloat_avx2(void* destination, long destination_pitch,
                                           const void* source, long source_pitch, long width,
                                           long height, int matrix, int full_range);
CCNVT_EXPORT void yCbCr10_to_halffloat_neon(void* destination, long destination_pitch,
                                            const void* source, long source_pitch, long width,
                                            long height, int matrix, int full_range);
CCNVT_EXPORT void yCbCr8_to_halffloat_neon(void* destination, long destination_pitch,
                                           const void* source, long source_pitch, long width,
                                           long height, int matrix, int full_range);

/* Processor kernels: true when they converted the picture. In this build
 * they return false at once and touch nothing. */
CCNVT_EXPORT bool yCbCr10_to_halffloat_avx2_impl(void* destination, long destination_pitch,
                                                 const void* source, long source_pitch,
                                                 long width, long height, int matrix,
                                                 int full_range);
CCNVT_EXPORT bool yCbCr8_to_halffloat_avx2_impl(void* destination, long destination_pitch,
                                                const void* source, long source_pitch,
                                                long width, long height, int matrix,
                                                int full_range);
CCNVT_EXPORT bool yCbCr10_to_halffloat_arm(void* destination, long destination_pitch,
                                           const void* source, long source_pitch, long width,
                                           long height, int matrix, int full_range);
CCNVT_EXPORT bool yCbCr8_to_halffloat_arm(void* destination, long destination_pitch,
                                          const void* source, long source_pitch, long width,
                                          long height, int matrix, int full_range);

CCNVT_C_END

#endif
