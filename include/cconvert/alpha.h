/* cconvert: alpha (key) channels.
 *
 * Bytes only move or are set: no premultiplication, scaling or rounding.
 * Byte positions 0 to 3 of a 4-byte pixel are in memory order. Row bytes and
 * sizes are signed; an alpha value is taken as its low 8 bits. Every function
 * returns 0, and does nothing when width or height is below 1 (below 2 for
 * the width of the 4:2:2 functions).
 */
#ifndef CCONVERT_ALPHA_H
#define CCONVERT_ALPHA_H

#include "frame.h"

CCNVT_C_BEGIN

/* ---- 32-bit pixels and a tight alpha plane (width bytes per row, rows one
 *      after another: its row bytes are never taken from the arguments) ---- */

/* Each pixel becomes its key in all four bytes (a * 0x01010101): a grey pixel
 * whose alpha equals the key. The fourth argument is not used. */
CCNVT_EXPORT int ccnvt_alpha_to_rgba(void* destination, long destination_row_bytes,
                                     const void* alpha, long unused_row_bytes, long width,
                                     long height);

/* alpha[y * width + x] = byte 0 of pixel x of row y (byte 0, not byte 3). The
 * second argument is not used. */
CCNVT_EXPORT int ccnvt_rgba_to_alpha(void* alpha, long unused_row_bytes, const void* source,
                                     long source_row_bytes, long width, long height);

/* Sets byte 3 of the first width pixels of each row to alpha; nothing else
 * is touched. */
CCNVT_EXPORT int ccnvt_rgba_setalpha(void* pixels, long row_bytes, int alpha, long width,
                                     long height);

/* 24-bit to 32-bit pixels: bytes 0-2 copied in order, byte 3 = alpha. Rows
 * last to first, pixels back to front, so it works in place (one buffer,
 * destination row bytes at least the source row bytes). Note the order of
 * the arguments: source first. */
CCNVT_EXPORT int ccnvt_rgba_addalpha(const void* source, void* destination, long source_row_bytes,
                                     long destination_row_bytes, int alpha, long width,
                                     long height);

/* ---- 8-bit 4:2:2 (2vuy: Cb Y0 Cr Y1 per pixel pair) and alpha planes with
 *      row bytes of their own; floor(width / 2) pairs per row, an odd last
 *      pixel is not converted ---- */

/* Alpha pair (a0, a1) becomes the group 0x80 a0 0x80 a1. Pairs are aligned
 * to the END of each row: pair j from the last is read at row offset
 * S - 2j and written at D - 4j (S, D the row bytes), so with rows wider than
 * the pixels the data come from, and go to, the ends of the rows. Rows last
 * to first, pairs back to front: works in place with D at least 2 * S. */
CCNVT_EXPORT int ccnvt_alphay_to_2yuv(void* destination, long destination_row_bytes,
                                      const void* alpha, long source_row_bytes, long width,
                                      int height);

/* alpha[2k] = Y0 and alpha[2k + 1] = Y1 of group k. Rows top to bottom. */
CCNVT_EXPORT int ccnvt_2yuv_to_alphay(void* alpha, long destination_row_bytes, const void* source,
                                      long source_row_bytes, long width, long height);

/* Copies each group with Cb and Cr set to 0x80. Rows top to bottom; works
 * in place. */
CCNVT_EXPORT int ccnvt_2yuv_strip_chroma(void* destination, long destination_row_bytes,
                                         const void* source, long source_row_bytes, long width,
                                         long height);

CCNVT_C_END

#endif
