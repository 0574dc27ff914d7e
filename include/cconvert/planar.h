/* cconvert: planar and semi-planar YCbCr.
 *
 * Packed 4:2:2 to three-plane 4:2:0:
 *   I420: Y plane, Cb plane, Cr plane. YV12: Y plane, Cr plane, Cb plane.
 *   2vuy sources give the chroma of their even rows; YUY2-ordered sources
 *   (bytes Y0 Cb Y1 Cr) the average of each row pair's chroma, rounded half up.
 *
 * Semi-planar and 16-bit-container 4:2:0 and Y210 to 2vuy and v210. Every
 * 4:2:0 source is tight: output line r takes chroma row r / 2, unchanged.
 *   NV12:     Y plane of w * h bytes, then h / 2 rows of w bytes of Cb, Cr pairs.
 *   NV10:     as NV12 in 16-bit words holding value * 64 (the value in the
 *             high bits); cycbcr_NV10_to_v210 reads separate Cb and Cr planes
 *             instead (see there).
 *   420pN:    planar 4:2:0 in 16-bit words, N significant low bits.
 *   NV12p16:  Y plane of words, then one plane of Cb, Cr words, values
 *             scaled to 16 bits.
 *   Y210:     one plane of words Y0 Cb Y1 Cr per pixel pair, 10-bit values in
 *             the high bits (low 6 bits zero).
 * 16-bit words become 8 bits by their high byte, and 10 bits by >> 6.
 *
 * The AVX2 kernels behind these entry points are chosen per call from the
 * processor feature word and give the bytes of the portable code.
 */
#ifndef CCONVERT_PLANAR_H
#define CCONVERT_PLANAR_H

#include "frame.h"

CCNVT_C_BEGIN

/* 2vuy to one buffer of three planes: Y at 0, Cb at w * h, Cr at
 * w * h + (w * h) / 4 (32-bit arithmetic); ccnvt_2vuy_yv12 exchanges the two
 * chroma planes. pitch 0 (or 0xFFFFFFFF) means rows of 2 * width bytes, and
 * nothing is done when height or width is 0. Any other pitch is taken as the
 * row span: every byte of it is converted, padding included, and only a zero
 * height stops the call (width then only places the planes). Per row, every
 * four bytes give two Y samples; even rows also give one Cb and one Cr; the
 * planes are filled one row after another without padding. A span that is
 * not a multiple of 4 reads its last group whole. Returns the destination. */
CCNVT_EXPORT unsigned char* ccnvt_2vuy_i420(unsigned char* destination, const unsigned char* source,
                                            unsigned int width, unsigned int height,
                                            unsigned int pitch);
CCNVT_EXPORT unsigned char* ccnvt_2vuy_yv12(unsigned char* destination, const unsigned char* source,
                                            unsigned int width, unsigned int height,
                                            unsigned int pitch);

/* The vector forms of YUY2toYV12 (below), under their older names: the same
 * routine, giving exactly its bytes (averages rounded half up included),
 * with the vector kernel chosen from the processor feature word. */
CCNVT_EXPORT int YUY2toYV12_SSE2(unsigned char* source, unsigned char* y, unsigned char* cb,
                                 unsigned char* cr, int width, int height, int source_pitch_pixels,
                                 int y_pitch);
CCNVT_EXPORT int yuyv_to_yv12_sse2(unsigned char* source, unsigned char* y, unsigned char* cb,
                                   unsigned char* cr, int width, int height,
                                   int source_pitch_pixels, int y_pitch);

/* NV12 to 2vuy: width / 2 pairs per line (an odd last pixel is dropped).
 * Returns width * height when height is 0 or width below 2, else 0. */
CCNVT_EXPORT unsigned int cycbcr_NV12_to_uyvy(unsigned char* destination, const unsigned char* source,
                                              unsigned int width, unsigned int height,
                                              unsigned int destination_pitch);

/* NV12 to v210, values * 4. Twelve pixels (two groups) at a time; of a rest
 * of m = width % 12 pixels, v210 words 0-1 are written when m > 1, word 2
 * when m > 3, word 3 when m > 5, words 4-5 when m > 7, word 6 when m > 9. A
 * word the rest covers only in part takes its other fields from the bytes
 * that follow in memory (the next row, or past the frame on the last ones):
 * size buffers for it. Returns 0. */
CCNVT_EXPORT unsigned int cycbcr_NV12_to_v210(unsigned char* destination, const unsigned char* source,
                                              unsigned int width, unsigned int height,
                                              unsigned int destination_pitch);

/* NV10 (interleaved chroma) to 2vuy by high bytes, width / 2 pairs per line.
 * Returns 1 when the AVX2 kernel did the frame (width even and at least 2,
 * height not 0), else 0. */
CCNVT_EXPORT unsigned int cycbcr_NV10_to_uyvy(unsigned char* destination, const unsigned short* source,
                                              unsigned int width, unsigned int height,
                                              unsigned int destination_pitch);

/* NV10 with separate chroma planes to v210 (>> 6): Y plane of w * h words,
 * Cb plane at word w * h, Cr plane at word w * h + w * h / 4, each of
 * (w / 2) * (h / 2) words. floor(width / 6) whole groups per line: pixels
 * past the last whole group are not written. Returns width * height when
 * height is 0 or width below 6 (nothing done), else height. */
CCNVT_EXPORT unsigned int cycbcr_NV10_to_v210(unsigned char* destination, const unsigned short* source,
                                              unsigned int width, unsigned int height,
                                              unsigned int destination_pitch);

/* Planar 4:2:0 of 10, 12 or 16 bits to NV12p16: values shifted left by 6, 4
 * or 0 and the chroma planes interleaved Cb, Cr. size: bytes of the source
 * frame (width * height * 3); it has size / 3 luma samples and a quarter of
 * that in each chroma plane. */
CCNVT_EXPORT void cycbcr_420p10_to_NV12p16(unsigned short* destination, const unsigned short* source,
                                           unsigned int size);
CCNVT_EXPORT void cycbcr_420p12_to_NV12p16(unsigned short* destination, const unsigned short* source,
                                           unsigned int size);
CCNVT_EXPORT void cycbcr_420p16_to_NV12p16(unsigned short* destination, const unsigned short* source,
                                           unsigned int size);

/* Y210 to v210. The 10-bit fields are placed with shifts of the whole word,
 * (Cb0 >> 6) | Y0 << 4 | Cr0 << 14 and so on, so a source word with non-zero
 * low 6 bits spills into the field below it. A last partial group writes the
 * words that hold its pixels' samples, with the fields past the width 0. */
CCNVT_EXPORT void ccnvt_Y210_to_v210(unsigned char* destination, const unsigned char* source,
                                     unsigned int destination_pitch, unsigned int source_pitch,
                                     unsigned int width, unsigned int height);

/* Y210 to 8 bits: every word of a line (2 * width of them) becomes its high
 * byte, in the source's order: the bytes come out Y0 Cb Y1 Cr, not in 2vuy
 * order. Nothing is done when width or height is 0. */
CCNVT_EXPORT void ccnvt_Y210_to_uyvy(unsigned char* destination, const unsigned char* source,
                                     unsigned int destination_pitch, unsigned int source_pitch,
                                     unsigned int width, unsigned int height);

CCNVT_C_END

#ifdef __cplusplus

/* YUY2-ordered frame to three planes (Cb into the first chroma plane, Cr
 * into the second), working on row pairs: Y rows copied, chroma of the pair
 * averaged as (upper + lower + 1) >> 1, ceil(width / 2) pairs per row. The
 * source row step is 2 * source_pitch_pixels bytes; each chroma plane's row
 * step is (y_pitch - width) / 2 + ceil(width / 2) bytes. An odd height reads
 * the row below the frame and writes a Y row below the last. Nothing is done
 * when width or height is below 1. Returns 0. */
CCNVT_EXPORT int YUY2toYV12(unsigned char* source, unsigned char* y, unsigned char* cb,
                            unsigned char* cr, int width, int height, int source_pitch_pixels,
                            int y_pitch);

#endif /* __cplusplus */

#endif
