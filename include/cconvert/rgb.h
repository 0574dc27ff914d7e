/* cconvert: RGB in 8, 16, 48 and 64 bits; palette and RLE decoding; planar RGB.
 *
 * Byte orders (b0 is the byte at the lowest address of a pixel):
 *   rgba32 (also rgb32): b0 blue, b1 green, b2 red, b3 alpha; as a
 *                        little-endian 32-bit value 0xAARRGGBB.
 *   rgb24:               b0 blue, b1 green, b2 red.
 * Every other 8-bit word in a name (bgr24, bgra32, abgr32, argb32, macbgr24,
 * macargb32, and the span names) is defined by the byte permutation written
 * beside the function: d0..d3 are destination bytes, s0..s3 source bytes.
 *
 * rgb16: one little-endian 16-bit word per pixel.
 *   5-5-5: bit 15 zero (ignored when read), red bits 14-10, green 9-5, blue 4-0.
 *   5-6-5: red bits 15-11, green 10-5, blue 4-0.
 * Reduction truncates each byte (>> 3, green >> 2 in 5-6-5); expansion shifts
 * each field left by 3 with zero low bits (31 becomes 248).
 *
 * Frame converters take (destination, destination pitch, source, source
 * pitch, width, height). Pitches are byte distances between row starts,
 * used exactly as given (0 writes every row over the first; negative pitches
 * walk up). Nothing is done when height is 0 or width is below 1, except
 * where a function says otherwise. |height| rows are converted and
 * destination row k comes from source row k: a negative height does not turn
 * the frame over. No result is returned.
 */
#ifndef CCONVERT_RGB_H
#define CCONVERT_RGB_H

#include "frame.h"

CCNVT_C_BEGIN

/* The alpha written by every 3-to-4-byte and 2-to-4-byte widening; 0xFF at
 * load. A host may assign it between conversions, not during one. */
CCNVT_EXPORT extern unsigned char a;

/* The 4 x 4 ordered-dither matrix of the dithered 16-bit reducers, row-major:
 * entry (y & 3) * 4 + (x & 3), values 0 to 15. */
CCNVT_EXPORT extern const unsigned char g_bDither4x4[16];

/* ---- 32 to 24 bits: pixels front to back, rows first to last ---- */

/* d0 = s0, d1 = s1, d2 = s2 (alpha dropped). Works in place: same buffer,
 * destination pitch not above source pitch. */
CCNVT_EXPORT void ccnvt_rgba32_rgb24_inplace(void* destination, long destination_pitch,
                                             const void* source, long source_pitch, long width,
                                             long height);
/* d0 = s2, d1 = s1, d2 = s0. In place as above. Tests only the height: with a
 * width below 1 each row still goes to the shims and nothing is written. */
CCNVT_EXPORT void ccnvt_rgba32_bgr24_inplace(void* destination, long destination_pitch,
                                             const void* source, long source_pitch, long width,
                                             long height);
/* As ccnvt_rgba32_rgb24_inplace, upside down: source row i goes to
 * destination + (height - 1 - i) * destination pitch, computed with the
 * height as passed, so pass a positive height. Not for overlapping frames. */
CCNVT_EXPORT void ccnvt_rgba32_rgb24_invert(void* destination, long destination_pitch,
                                            const void* source, long source_pitch, long width,
                                            long height);

/* ---- 24 to 32 bits: rows last to first, pixels back to front ---- */

/* d0 = s0, d1 = s1, d2 = s2, d3 = a. Works in place: same buffer,
 * destination pitch at least 4/3 of the source pitch. */
CCNVT_EXPORT void ccnvt_rgb24_rgba32_inplace(void* destination, long destination_pitch,
                                             const void* source, long source_pitch, long width,
                                             long height);
/* d0 = s2, d1 = s1, d2 = s0, d3 = a. In place as above. */
CCNVT_EXPORT void ccnvt_rgb24_bgra32_inplace(void* destination, long destination_pitch,
                                             const void* source, long source_pitch, long width,
                                             long height);
/* d0 = a, d1 = s0, d2 = s1, d3 = s2 (a read once per call). Nothing is done
 * when height or width is below 1. Row r of each side is the span of pixel
 * bytes that ends at pointer + (r + 1) * pitch: with pitches wider than the
 * pixels, the pixels sit at the end of each pitch span. In place with
 * pitches 3 * width and 4 * width on one buffer. */
CCNVT_EXPORT void ccnvt_macbgr24_macargb32_inplace(void* destination, long destination_pitch,
                                                   const void* source, long source_pitch,
                                                   long width, long height);
/* d0 = s0, d1 = s1, d2 = s2, d3 = a, upside down: source row i goes to
 * destination row |height| - 1 - i. Pixels front to back; not for
 * overlapping frames. */
CCNVT_EXPORT void ccnvt_rgba24_rgb32_invert(void* destination, long destination_pitch,
                                            const void* source, long source_pitch, long width,
                                            long height);

/* ---- reorders within 32 bits: pixels front to back, rows first to last;
 *      in place when destination == source ---- */

/* d0 = s2, d1 = s1, d2 = s0, d3 = s3. */
CCNVT_EXPORT void ccnvt_rgba32_bgra32_inplace(void* destination, long destination_pitch,
                                              const void* source, long source_pitch, long width,
                                              long height);
/* d0 = s3, d1 = s2, d2 = s1, d3 = s0 (byte reversal). */
CCNVT_EXPORT void ccnvt_rgba32_abgr32_inplace(void* destination, long destination_pitch,
                                              const void* source, long source_pitch, long width,
                                              long height);
/* d0 = s1, d1 = s2, d2 = s3, d3 = s0 (value rotated right by 8). Tests only
 * the height; each row goes to the shims first. */
CCNVT_EXPORT void ccnvt_rgba32_argb32(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height);
/* d0 = s3, d1 = s0, d2 = s1, d3 = s2 (value rotated left by 8). Tests only
 * the height; each row goes to the shims first. */
CCNVT_EXPORT void ccnvt_argb32_rgba32(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height);

/* ---- span reorders: count consecutive 32-bit pixels, no rows; in place
 *      when destination == source ---- */

CCNVT_EXPORT void rgba2argb(unsigned int* destination, const unsigned int* source, unsigned int count); /* rotate right 8 */
CCNVT_EXPORT void argb2rgba(unsigned int* destination, const unsigned int* source, unsigned int count); /* d0=s3 d1=s1 d2=s2 d3=s0 */
CCNVT_EXPORT void bgra2argb(unsigned int* destination, const unsigned int* source, unsigned int count); /* byte reversal */
CCNVT_EXPORT void argb2bgra(unsigned int* destination, const unsigned int* source, unsigned int count); /* byte reversal */
CCNVT_EXPORT void abgr2argb(unsigned int* destination, const unsigned int* source, unsigned int count); /* d0=s2 d1=s1 d2=s0 d3=s3 */
CCNVT_EXPORT void argb2abgr(unsigned int* destination, const unsigned int* source, unsigned int count); /* d0=s2 d1=s1 d2=s0 d3=s3 */
CCNVT_EXPORT void bgra2rgba(unsigned int* destination, const unsigned int* source, unsigned int count); /* d0=s2 d1=s1 d2=s0 d3=s3 */
CCNVT_EXPORT void bgra2abgr(unsigned int* destination, const unsigned int* source, unsigned int count); /* rotate right 8 */
CCNVT_EXPORT void abgr2bgra(unsigned int* destination, const unsigned int* source, unsigned int count); /* rotate left 8 */
/* The same functions as bgra2abgr and abgr2bgra, under their older names. */
CCNVT_EXPORT void bgra2abgrMMX(unsigned int* destination, const unsigned int* source, unsigned int count);
CCNVT_EXPORT void abgr2bgraMMX(unsigned int* destination, const unsigned int* source, unsigned int count);

/* ---- 16-bit RGB ---- */

/* rgba32 to 5-5-5 (alpha ignored). Rows first to last, pixels front to back. */
CCNVT_EXPORT void ccnvt_rgba32_rgb16(void* destination, long destination_pitch, const void* source,
                                     long source_pitch, long width, long height);
/* 5-5-5 to rgba32, b3 = a. Rows last to first, pixels back to front; row r of
 * each side is the span of pixel bytes that ends at pointer + (r + 1) * pitch
 * (pixels at the end of each pitch span). In place with pitches 2 * width
 * and 4 * width on one buffer. */
CCNVT_EXPORT void ccnvt_rgb16_rgba32_inplace(void* destination, long destination_pitch,
                                             const void* source, long source_pitch, long width,
                                             long height);

/* ---- 48- and 64-bit RGB ----
 *
 * Arrays of 16-bit words per pixel (w0 at the lowest address), each word
 * matched to an rgba32 byte (b0 blue, b1 green, b2 red, b3 alpha):
 *   rgb48  w0 b0, w1 b1, w2 b2                 bgr48  w0 b2, w1 b1, w2 b0
 *   rgba64 w0 b0, w1 b1, w2 b2, w3 b3          argb64 w0 b3, w1 b0, w2 b1, w3 b2
 *   abgr64 w0 b3, w1 b2, w2 b1, w3 b0          bgra64 w0 b2, w1 b1, w2 b0, w3 b3
 * all little-endian; argb64be holds four big-endian words p0..p3 whose order
 * the `mode` argument names (see below).
 *
 * bits is the number of significant bits in each word (16, or 10 or 12 for
 * right-justified deep samples). With s = (bits - 8) modulo 32, a reduction
 * to 8 bits is (word >> s) cut to its low 8 bits and a widening is
 * (byte << s) cut to 16 bits: no rounding, clamping or bit replication
 * (0xFF becomes 0xFF00 at 16 bits and 0x3FC at 10; a word above the declared
 * depth wraps in its low 8 bits).
 *
 * Unless a function says otherwise: nothing is done when height is 0 or width
 * is below 1; |height| rows, destination row k from source row k, starting at
 * pointer + k * pitch. Reductions to rgba32 walk rows first to last and
 * pixels front to back, so they work in place on one buffer with a
 * destination pitch not above the source pitch; widenings from rgba32 walk
 * rows last to first and pixels back to front, so they work in place with a
 * destination pitch not below the source pitch. (The order of work shows
 * only where the two frames overlap.) */

/* b0 = w0 >> s, b1 = w1 >> s, b2 = w2 >> s, b3 = 0 (alpha 0, not 0xFF).
 * Nothing is done when height is 0. Rows from the last to the first for a
 * positive height and from the first to the last for a negative one, pixels
 * back to front: not for overlapping frames. */
CCNVT_EXPORT void ccnvt_rgb48_rgba32(void* destination, long destination_pitch, const void* source,
                                     long source_pitch, long width, long height, int bits);
/* b0 = w2 >> s, b1 = w1 >> s, b2 = w0 >> s, b3 = 0; rows as ccnvt_rgb48_rgba32. */
CCNVT_EXPORT void ccnvt_bgr48_rgba32(void* destination, long destination_pitch, const void* source,
                                     long source_pitch, long width, long height, int bits);
/* bi = wi >> s, i = 0..3. */
CCNVT_EXPORT void ccnvt_rgba64_rgba32(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height, int bits);
/* b0 = w1, b1 = w2, b2 = w3, b3 = w0, each >> s. */
CCNVT_EXPORT void ccnvt_argb64_rgba32(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height, int bits);
/* b0 = w3, b1 = w2, b2 = w1, b3 = w0, each >> s. */
CCNVT_EXPORT void ccnvt_abgr64_rgba32(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height, int bits);
/* b0 = w2, b1 = w1, b2 = w0, b3 = w3, each >> s. */
CCNVT_EXPORT void ccnvt_bgra64_rgba32(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height, int bits);

/* w0 = b0 << s, w1 = b1 << s, w2 = b2 << s (alpha dropped). */
CCNVT_EXPORT void ccnvt_rgba32_rgb48(void* destination, long destination_pitch, const void* source,
                                     long source_pitch, long width, long height, int bits);
/* w0 = b2 << s, w1 = b1 << s, w2 = b0 << s. */
CCNVT_EXPORT void ccnvt_rgba32_bgr48(void* destination, long destination_pitch, const void* source,
                                     long source_pitch, long width, long height, int bits);
/* wi = bi << s, i = 0..3. */
CCNVT_EXPORT void ccnvt_rgba32_rgba64(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height, int bits);
/* w0 = b3, w1 = b0, w2 = b1, w3 = b2, each << s (the inverse arrangement of
 * ccnvt_argb64_rgba32). */
CCNVT_EXPORT void ccnvt_rgba32_argb64(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height, int bits);
/* bgra32 (b0 red, b1 green, b2 blue, b3 alpha) to rgba64:
 * w0 = b2, w1 = b1, w2 = b0, w3 = b3, each << s (red and blue exchanged, as
 * in ccnvt_rgba32_bgr48; alpha kept). */
CCNVT_EXPORT void ccnvt_bgra32_rgba64(void* destination, long destination_pitch, const void* source,
                                      long source_pitch, long width, long height, int bits);

/* w0..w2 copied, w3 = 0xFFFF. Rows last to first and pixels back to front,
 * row r of each side being the span of pixels that ends at
 * pointer + (r + 1) * pitch: with wider pitches the pixels sit at the end of
 * each pitch span. In place on one buffer with pitches 6 * width and
 * 8 * width. A negative height converts |height| rows like a positive one. */
CCNVT_EXPORT void ccnvt_rgb48_rgba64(void* destination, long destination_pitch, const void* source,
                                     long source_pitch, long width, long height);
/* w0 = in w2, w1 = in w1, w2 = in w0, w3 = 0xFFFF; rows as ccnvt_rgb48_rgba64. */
CCNVT_EXPORT void ccnvt_bgr48_rgba64(void* destination, long destination_pitch, const void* source,
                                     long source_pitch, long width, long height);

/* Big-endian 64-bit pixels p0 p1 p2 p3. swap() exchanges a word's bytes.
 * The mode names the order of the source's words, and the output is always
 * in rgba64/rgba32 order (blue, green, red, alpha):
 *   mode 0  alpha, red, green, blue   out = swap(p3), swap(p2), swap(p1), swap(p0)
 *   mode 1  red, green, blue, alpha   out = swap(p2), swap(p1), swap(p0), swap(p3)
 *   mode 2  alpha, blue, green, red   out = swap(p1), swap(p2), swap(p3), swap(p0)
 *   mode 3  blue, green, red, alpha   out = swap(p0), swap(p1), swap(p2), swap(p3)
 * The three-channel outputs take modes 0 and 2 only and drop the alpha; with
 * any other mode a converter writes nothing. */

/* 48-bit output, words unchanged after the swap; the argument before the
 * mode is unused. Nothing is done when height or width is below 1. Rows
 * from height - 1 down to 0, pixels back to front. */
CCNVT_EXPORT void ccnvt_argb64be_rgb48(void* destination, long destination_pitch, const void* source,
                                       long source_pitch, long width, long height, int unused, int mode);
/* rgb24 output, each word >> s. Nothing is done when height is 0; rows as
 * ccnvt_rgb48_rgba32, pixels back to front. */
CCNVT_EXPORT void ccnvt_argb64be_rgb24(void* destination, long destination_pitch, const void* source,
                                       long source_pitch, long width, long height, int bits, int mode);
/* rgba64 output, words unchanged after the swap; the 64-bit argument is
 * unused. Modes 0 to 3. */
CCNVT_EXPORT void ccnvt_argb64be_rgba64(void* destination, long destination_pitch, const void* source,
                                        long source_pitch, long width, long height, long unused, int mode);
/* rgba32 output, each word >> s. Modes 0 to 3. */
CCNVT_EXPORT void ccnvt_argb64be_rgba32(void* destination, long destination_pitch, const void* source,
                                        long source_pitch, long width, long height, int bits, int mode);

/* Reorders width * height pixels of 16-bit words as one run (no pitches);
 * words are copied unchanged. A pixel has four words when its bits argument
 * is 64 and three otherwise. The run goes first to cconvert_argb64_reorder_arm,
 * then _intel, with (destination, source, count, source_order,
 * destination_order, source_bits, destination_bits); when both decline:
 *   source slots (i0, i1, i2, i3) by source_order, four-word source:
 *     0 (0, 1, 2, 3), 1 (1, 2, 3, 0), 2 (2, 1, 0, 3), 3 (3, 2, 1, 0);
 *   three-word source: 0 and 1 (0, 1, 2, none), 2 and 3 (2, 1, 0, none);
 *   output words by destination_order: 0 (i0, i1, i2, i3), 1 (i3, i0, i1, i2),
 *     2 (i2, i1, i0, i3), 3 (i3, i2, i1, i0);
 * a slot of none writes 0 (no opaque alpha is made up); a three-word
 * destination takes the first three. An order outside 0 to 3 ends the call.
 * Pixels front to back: in place when destination == source and the
 * destination pixel is not wider than the source one. */
CCNVT_EXPORT void ccnvt_argb64_reorder(void* destination, const void* source, long width, long height,
                                       int source_order, int destination_order, unsigned int source_bits,
                                       unsigned int destination_bits);

/* ---- palette and run-length decoding ----
 *
 * The palette is the caller's, neither copied nor checked: entries of 3 bytes
 * (blue, green, red) for the rgb24 decoders and of 4 bytes for the rgba32
 * ones. */

/* 8-bit indices: destination pixel x = the whole 4-byte entry of source
 * byte x (the entry's fourth byte becomes the alpha). Nothing is done when
 * height is 0 or width is below 1; |height| rows, row k to row k; not for
 * overlapping frames. */
CCNVT_EXPORT void ccnvt_rgb8_rgba32(void* destination, long destination_pitch, const void* source,
                                    long source_pitch, long width, long height, const void* palette);

/* Run-length streams of 8-bit (rle8) and 4-bit (rle4) indices, as bottom-up
 * bitmaps store them. The source is one continuous run of two-byte codes
 * (first, second), and the source pitch is ignored:
 *   first n >= 1   encoded run of n pixels: rle8 all of colour second; rle4
 *                  the high and low nibbles of second by turns, high first;
 *   0, 0           end of line: the rest of the row is left as it is and
 *                  decoding goes on at the start of the row one pitch above;
 *   0, 1           end of bitmap: decoding stops;
 *   0, 2           delta is not supported: decoding stops as at end of bitmap;
 *   0, n >= 3      absolute run: n indices follow (rle8 n bytes; rle4 n
 *                  nibbles, high first), padded so that the next code starts
 *                  at an even offset from the start of the indices.
 * Nothing is done when height is 0. The first row written is the bottom one,
 * destination + (|height| - 1) * pitch; decoding ends after |height| ends of
 * line, or at an end of bitmap or a delta. Decoded pixels take bytes 0 to 2
 * of their palette entry; the rgba32 decoders write alpha 0.
 *
 * Bad input: the decoders trust the stream, as a bitmap file holds it. No
 * index is checked against the palette, and the stream's length is not known
 * to them: a stream without enough ends of line or an end of bitmap is read
 * past its end. The caller validates streams from untrusted files first. */

/* rgb24 output. Pixels that fall beyond the row's width are dropped (the
 * indices of an absolute run are still consumed in full). */
CCNVT_EXPORT void ccnvt_rle8_rgb24(void* destination, long destination_pitch, const void* source,
                                   long ignored_pitch, long width, long height, const void* palette);
CCNVT_EXPORT void ccnvt_rle4_rgb24(void* destination, long destination_pitch, const void* source,
                                   long ignored_pitch, long width, long height, const void* palette);
/* rgba32 output, alpha 0, clipped to the width like the rgb24 decoders. */
CCNVT_EXPORT void ccnvt_rle4_rgba32(void* destination, long destination_pitch, const void* source,
                                    long ignored_pitch, long width, long height, const void* palette);
/* rgba32 output, alpha 0, NOT clipped: the width is not used, and a run that
 * goes past the end of its row is written whole into the bytes that follow,
 * which is the caller's concern. Each encoded run goes first to
 * cconvert_fill_dword_arm, then _intel, with (the run's first pixel, its
 * colour as a little-endian value with alpha 0, its length). The bottom row
 * is found from the height as passed: pass a positive height. */
CCNVT_EXPORT void ccnvt_rle8_rgba32(void* destination, long destination_pitch, const void* source,
                                    long ignored_pitch, long width, long height, const void* palette);

/* ---- planar RGB ----
 *
 * Interleaved frames split into one plane per channel: channel i of every
 * pixel (byte or 16-bit word i in memory order) goes to plane i, so an
 * rgba32 source gives blue, green, red and alpha planes in that order. Every
 * plane has width samples per row (bytes, or 16-bit words for the planar16
 * forms) and its rows are plane_pitch bytes apart. Nothing is done when
 * height is 0 or width is below 1.
 *
 * With every plane pointer given, the frame goes to the image-library copy
 * (source pitch, plane pitch, width and height passed as 32-bit integers), so
 * a negative height converts nothing. A null plane pointer leaves that plane
 * out: the other planes are split row by row (|height| rows, row k to row k),
 * so that a caller can take, say, the alpha plane alone. Planes must not
 * overlap the source. */
CCNVT_EXPORT void ccnvt_rgba32_rgba_planar(void* plane0, void* plane1, void* plane2, void* plane3,
                                           long plane_pitch, const void* source, long source_pitch,
                                           long width, long height);
CCNVT_EXPORT void ccnvt_rgb24_rgb_planar(void* plane0, void* plane1, void* plane2, long plane_pitch,
                                         const void* source, long source_pitch, long width, long height);
CCNVT_EXPORT void ccnvt_rgba64_rgba_planar16(void* plane0, void* plane1, void* plane2, void* plane3,
                                             long plane_pitch, const void* source, long source_pitch,
                                             long width, long height);
CCNVT_EXPORT void ccnvt_rgb48_rgb_planar16(void* plane0, void* plane1, void* plane2, long plane_pitch,
                                           const void* source, long source_pitch, long width, long height);

/* Between 3-byte (rgb24) and 4-byte (rgba32) frames, the pixel sizes taken
 * from the pitches: sb = source pitch / width and db = destination pitch /
 * width (signed, truncated: a pitch of 4 * width + 2 still means 4 bytes).
 * In this order:
 *   - a null source or destination, or the same pointer with equal pitches:
 *     nothing is done; a width of 0: nothing is done;
 *   - sb 4, db 3: as ccnvt_rgba32_rgb24_inplace (alpha dropped);
 *   - sb 3, db 4: as ccnvt_rgb24_rgba32_inplace, but the alpha is always
 *     0xFF (the global a is not read) and no row is offered to the shims;
 *   - sb 3, db 3: each row's 3 * width bytes copied (rows first to last);
 *   - any other sizes with equal pitches: one CopyMemoryFast of
 *     width * height * sb bytes, counted in 32-bit unsigned arithmetic, so
 *     row padding is not counted and a padded frame is copied short of its
 *     end; pass a positive height;
 *   - otherwise, when height and width are at least 1, rows first to last:
 *     with pixels of |sb| and |db| bytes, equal sizes copy each row's
 *     pixels, and unequal ones copy the first bytes of each pixel, as many as
 *     the smaller holds, leaving the rest of each destination pixel as it is.
 * Frames may overlap only as ccnvt_rgba32_rgb24_inplace and
 * ccnvt_rgb24_rgba32_inplace allow. */
CCNVT_EXPORT void ccnvt_rgba_full(void* destination, long destination_pitch, const void* source,
                                  long source_pitch, long width, long height);

/* ---- older names: each is the function it names ---- */

CCNVT_EXPORT void ccnvt_rgb32_rgb24_inplace(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height); /* ccnvt_rgba32_rgb24_inplace */
CCNVT_EXPORT void ccnvt_rgb32_rgb24(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height);         /* ccnvt_rgba32_rgb24_inplace */
CCNVT_EXPORT void ccnvt_rgba32_rgb24(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height);        /* ccnvt_rgba32_rgb24_inplace */
CCNVT_EXPORT void ccnvt_rgb24_rgb32_inplace(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height); /* ccnvt_rgb24_rgba32_inplace */
CCNVT_EXPORT void ccnvt_rgb24_rgb32(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height);         /* ccnvt_rgb24_rgba32_inplace */
CCNVT_EXPORT void ccnvt_rgb24_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height);        /* ccnvt_rgb24_rgba32_inplace */
CCNVT_EXPORT void ccnvt_rgb24_bgr32_inplace(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height); /* ccnvt_rgb24_bgra32_inplace */
CCNVT_EXPORT void ccnvt_rgb32_bgr24_inplace(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height); /* ccnvt_rgba32_bgr24_inplace */
CCNVT_EXPORT void ccnvt_rgb32_bgr32_inplace(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height); /* ccnvt_rgba32_bgra32_inplace */
CCNVT_EXPORT void ccnvt_rgb32_rgb32(void* destination, long destination_pitch, void* source, long source_pitch, long width, long height);               /* ccnvt_rgba32_rgba32 */
CCNVT_EXPORT void ccnvt_rgb16_rgb32_inplace(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height); /* ccnvt_rgb16_rgba32_inplace */
CCNVT_EXPORT void ccnvt_rgb16_rgb32(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height);         /* ccnvt_rgb16_rgba32_inplace */
CCNVT_EXPORT void ccnvt_rgb16_rgba32(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height);        /* ccnvt_rgb16_rgba32_inplace */
CCNVT_EXPORT void ccnvt_rgb32_rgb16(void* destination, long destination_pitch, void* source, long source_pitch, long width, long height);               /* ccnvt_rgba32_rgb16 */
CCNVT_EXPORT void ccnvt_rgb32_rgb16_565(void* destination, long destination_pitch, void* source, long source_pitch, long width, long height);           /* ccnvt_rgba32_rgb16_565 */
CCNVT_EXPORT void ccnvt_rgb32_rgb16_dithered(void* destination, long destination_pitch, void* source, long source_pitch, long width, long height);      /* ccnvt_rgba32_rgb16_dithered */
CCNVT_EXPORT void ccnvt_rgb32_rgb16_565_dithered(void* destination, long destination_pitch, void* source, long source_pitch, long width, long height);  /* ccnvt_rgba32_rgb16_565_dithered */
CCNVT_EXPORT void ccnvt_rgb8_rgb32(void* destination, long destination_pitch, const void* source, long source_pitch, long width, long height, const void* palette);  /* ccnvt_rgb8_rgba32 */
CCNVT_EXPORT void ccnvt_rle8_rgb32(void* destination, long destination_pitch, const void* source, long ignored_pitch, long width, long height, const void* palette); /* ccnvt_rle8_rgba32 */
CCNVT_EXPORT void ccnvt_rle4_rgb32(void* destination, long destination_pitch, const void* source, long ignored_pitch, long width, long height, const void* palette); /* ccnvt_rle4_rgba32 */

CCNVT_C_END

#ifdef __cplusplus

/* Copies width * 4 bytes per row (a plain memory copy: the frames must not
 * overlap). Tests only the height: a width of 0 copies nothing, a negative
 * width is a huge copy length. */
CCNVT_EXPORT void ccnvt_rgba32_rgba32(void* destination, long destination_pitch, void* source,
                                      long source_pitch, long width, long height);

/* rgba32 to 5-6-5 (alpha ignored). */
CCNVT_EXPORT void ccnvt_rgba32_rgb16_565(void* destination, long destination_pitch, void* source,
                                         long source_pitch, long width, long height);
/* rgba32 to 5-5-5 with the 4 x 4 ordered dither: with D = g_bDither4x4 at
 * (pixel index in the row, index of the row among those converted), each of
 * blue, green and red gets D >> 1 added, clamped to 255, then truncates. */
CCNVT_EXPORT void ccnvt_rgba32_rgb16_dithered(void* destination, long destination_pitch,
                                              void* source, long source_pitch, long width,
                                              long height);
/* As above to 5-6-5; green gets D >> 2. */
CCNVT_EXPORT void ccnvt_rgba32_rgb16_565_dithered(void* destination, long destination_pitch,
                                                  void* source, long source_pitch, long width,
                                                  long height);
/* 5-5-5 to rgb24. Rows first to last, pixels front to back; not for
 * overlapping frames. */
CCNVT_EXPORT void ccnvt_rgb16_rgb24(void* destination, long destination_pitch, void* source,
                                    long source_pitch, long width, long height);

#endif /* __cplusplus */

#endif
