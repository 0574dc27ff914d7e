/* cconvert: packed YCbCr 4:2:2 in 8 bits (2vuy) and 10 bits (v210): their
 * repacking, the YUY2-ordered 8-bit forms and 4:4:4, RGB to 4:2:2 encoders
 * and 4:2:2 to RGB decoders.
 *
 * 2vuy: two pixels in four bytes, Cb Y0 Cr Y1; a row of w pixels is 2 * w
 *   bytes, always tight.
 * v210: six pixels in four little-endian 32-bit words (16 bytes), three
 *   10-bit fields per word at bits 0-9, 10-19 and 20-29, bits 30-31 zero:
 *     word 0: Cb0 Y0  Cr0     word 2: Cr2 Y3  Cb4
 *     word 1: Y1  Cb2 Y2      word 3: Y4  Cr4 Y5
 *   A row holds ceil(w / 6) groups.
 *
 * Repacking is by shifts: 8 to 10 bits shifts left by 2 (low bits zero),
 * 10 to 8 bits drops the two low bits. Both directions always work in whole
 * groups of six pixels: when w is not a multiple of 6 the last group reads
 * (2vuy to v210) or writes (v210 to 2vuy) up to 10 bytes past 2 * w bytes of
 * 2vuy. Size 2vuy buffers for whole groups.
 */
#ifndef CCONVERT_YCBCR422_H
#define CCONVERT_YCBCR422_H

#include "frame.h"

CCNVT_C_BEGIN

/* 2vuy to v210. pitch: bytes between v210 rows; 0 means (16 * w) / 6 rounded
 * up to a multiple of 64 (32-bit arithmetic). Nothing is done when width is
 * 0; height must be at least 1. Rows are converted from the last to the
 * first; the destination must not overlap the source. */
CCNVT_EXPORT void ccnvt_2vuy_v210(unsigned char* destination, const unsigned char* source,
                                  unsigned int width, unsigned int height, unsigned int pitch);

/* v210 to 2vuy. pitch: bytes between v210 rows; 0 means (16 * w) / 6, not
 * rounded (32-bit arithmetic). Nothing is done when width or height is 0.
 * Works in place (destination == source). */
CCNVT_EXPORT void ccnvt_v210_2vuy(unsigned char* destination, const unsigned char* source,
                                  unsigned int width, unsigned int height, unsigned int pitch);

/* ---- YUY2-ordered 8-bit 4:2:2 to 2vuy ----
 * yuv2 (also yuvu): bytes Y0 Cb Y1 Cr, full-range luma, chroma two's
 *   complement around 0.
 * yuvs: bytes Y0 Cb Y1 Cr, full-range luma, chroma around 128.
 * Both become studio-range 2vuy: luma y * 219 / 255 + 16, chroma (offset
 * form, 0 counted as 1) (c - 1) * 224 / 254 + 16, integer arithmetic,
 * truncating. The frame is one tight span of width * height pixels (no
 * pitch); destination may equal source. */
CCNVT_EXPORT void ccnvt_yuv2_2vuy(unsigned char* destination, const unsigned char* source,
                                  unsigned int width, unsigned int height);
CCNVT_EXPORT void ccnvt_yuvu_2vuy(unsigned char* destination, const unsigned char* source,
                                  unsigned int width, unsigned int height);
CCNVT_EXPORT void ccnvt_yuvs_2vuy(unsigned char* destination, const unsigned char* source,
                                  unsigned int width, unsigned int height);

/* ---- 8-bit 4:4:4 (bytes Y Cb Cr per pixel) and 2vuy ----
 * Tight spans of width * height pixels. 4:4:4 to 2vuy keeps the chroma of
 * the first pixel of each pair; 2vuy to 4:4:4 gives both pixels the pair's
 * chroma. An odd pixel count converts a whole last pair (4:4:4 to 2vuy reads
 * one byte past the source span; 2vuy to 4:4:4 writes three bytes past the
 * destination span). */
CCNVT_EXPORT void ccnvt_yuv444_yuv422_8(unsigned char* destination, const unsigned char* source,
                                        unsigned int width, unsigned int height);
CCNVT_EXPORT void ccnvt_yuv422_yuv444_8(unsigned char* destination, const unsigned char* source,
                                        unsigned int width, unsigned int height);

/* Subsampling changes among 4:1:1, 4:2:0 and 4:2:2: present for hosts that
 * link them, they return at once without touching memory. */
CCNVT_EXPORT void ccnvt_yuv411_yuv422_8(unsigned char* destination, unsigned char* source,
                                        unsigned int width, unsigned int height, unsigned int pitch);
CCNVT_EXPORT void ccnvt_yuv422_yuv411_8(unsigned char* destination, unsigned char* source,
                                        unsigned int width, unsigned int height, unsigned int pitch);
CCNVT_EXPORT void ccnvt_yuv420_yuv422_8(unsigned char* destination, unsigned char* source,
                                        unsigned int width, unsigned int height, unsigned int pitch);
CCNVT_EXPORT void ccnvt_yuv422_yuv420_8(unsigned char* destination, unsigned char* source,
                                        unsigned int width, unsigned int height, unsigned int pitch);
CCNVT_EXPORT void ccnvt_yuv420_yuv411_8(unsigned char* destination, unsigned char* source,
                                        unsigned int width, unsigned int height, unsigned int pitch);
CCNVT_EXPORT void ccnvt_yuv411_yuv420_8(unsigned char* destination, unsigned char* source,
                                        unsigned int width, unsigned int height, unsigned int pitch);

/* ---- RGB to 2vuy and v210 ----
 * Per pixel in double precision with fixed coefficients, chroma of each pair
 * filtered [1 2 1] / 4 with the second pixel of the previous pair (running
 * on from the start of the call), results truncated toward zero.
 *
 * ccnvt_rgb32_2vuy: B G R A pixels to 2vuy, BT.601 studio range. Both
 * pitches are ignored: the frame is one tight span of width * height pixels
 * (bgra_to_2vuy(source, destination, width * height)).
 *
 * ccnvt_rgb32_v210: B G R A pixels to v210 on 10-bit offsets (64 and 512;
 * 8-bit inputs span a quarter of the 10-bit range), BT.601 for widths up to
 * 961, BT.709 above. Pitch 0 means width * 4 (source) and 128 * ceil(width /
 * 48) (destination). Each row is converted in whole groups of six pixels. A
 * single counter of converted pixels, six per group over the whole frame,
 * stops the conversion once it reaches width * height: for widths that are
 * not a multiple of 6 the last rows (and part of the row before) are left
 * unwritten. */
CCNVT_EXPORT void ccnvt_rgb32_2vuy(unsigned char* destination, long destination_pitch,
                                   const unsigned char* source, long source_pitch, long width,
                                   long height);
CCNVT_EXPORT void ccnvt_rgb32_v210(unsigned char* destination, long destination_pitch,
                                   const unsigned char* source, long source_pitch, long width,
                                   long height);

/* ---- 2vuy and v210 to 8-bit RGB ----
 * Output pixels are B, G, R, or B, G, R, 255 (4-byte pixels). Pitches, width
 * and height as signed 64-bit integers; factor is the reduction factor.
 *
 * The wrappers replace a pitch of 0 or below by the tight default: width * 3
 * (rgb24), width * 4 (rgb32), width * 2 (2vuy), 128 * ceil(width / 48)
 * (v210). With factor below 2 the full-size frame goes to libycbcr
 * (cycbcr_uyvy_to_rgb24, cycbcr_uyvy_to_rgb32, cycbcr_012v_to_rgb32) with
 * the matrix GetMatrixBySize(width, height, 0) (BT.709 above 1279 x 576, else
 * BT.601), the height's low 32 bits, and flag 0x8000 (bottom-up) when the
 * height is negative; its result is returned. With factor 2 or more the
 * library's own table decoders below do the work.
 * ccnvt_yuv422_10_rgb24 always decodes itself (factor raised to at least 1).
 *
 * The own decoders (ccnvt_yuv422_rgb24 for 2vuy, ccnvt_v210_rgb24 for v210,
 * whose 10-bit samples lose their two low bits) use BT.601 studio-range
 * lookup tables (studio white 235 gives 254) and take the pitches as given.
 * A factor d below 1 counts as 1. Pixels are 4 bytes when destination_pitch
 * >= (width / d) * 4, else 3 bytes. height / d output rows, source rows d
 * apart:
 *   d = 2: one pixel (Y0 with the pair's chroma) per pair, ceil(width / 2);
 *   d = 4: one pixel from every second pair, pairs 0, 2, ... below width / 2;
 *   other: both pixels of every pair (ceil(width / 2) pairs): only the rows
 *          are reduced.
 * They return 0. */
CCNVT_EXPORT int ccnvt_yuv422_8_rgb24(unsigned char* destination, long destination_pitch,
                                      const unsigned char* source, long source_pitch, long width,
                                      long height, int factor);
CCNVT_EXPORT int ccnvt_yuv422_8_rgb32(unsigned char* destination, long destination_pitch,
                                      const unsigned char* source, long source_pitch, long width,
                                      long height, int factor);
CCNVT_EXPORT int ccnvt_yuv422_10_rgb24(unsigned char* destination, long destination_pitch,
                                       const unsigned char* source, long source_pitch, long width,
                                       long height, int factor);
CCNVT_EXPORT int ccnvt_yuv422_10_rgb32(unsigned char* destination, long destination_pitch,
                                       const unsigned char* source, long source_pitch, long width,
                                       long height, int factor);
CCNVT_EXPORT int ccnvt_yuv422_rgb24(unsigned char* destination, long destination_pitch,
                                    const unsigned char* source, long source_pitch, long width,
                                    long height, int factor);
CCNVT_EXPORT int ccnvt_v210_rgb24(unsigned char* destination, long destination_pitch,
                                  const unsigned char* source, long source_pitch, long width,
                                  long height, int factor);

CCNVT_C_END

#ifdef __cplusplus

/* One v210 group unpacked: twelve 10-bit samples in stream order
 * Cb0 Y0 Cr0 Y1 Cb2 Y2 Cr2 Y3 Cb4 Y4 Cr4 Y5. */
struct v210FourWords {
    unsigned short sample[12];
};

/* The same as ccnvt_2vuy_v210 and ccnvt_v210_2vuy, under their older names. */
CCNVT_EXPORT void ccnvt_yuv422_8_yuv422_10(unsigned char* destination, unsigned char* source,
                                           unsigned int width, unsigned int height, unsigned int pitch);
CCNVT_EXPORT void ccnvt_yuv422_10_yuv422_8(unsigned char* destination, unsigned char* source,
                                           unsigned int width, unsigned int height, unsigned int pitch);

/* Unpacks the v210 group at source into group; returns source + 4. */
CCNVT_EXPORT unsigned int* _v210_get_next_4words(unsigned int* source, v210FourWords* group);

/* Whole-span forms of ccnvt_yuv2_2vuy and ccnvt_yuvs_2vuy: source first,
 * then destination and a pixel count (nothing is done below 1). */
CCNVT_EXPORT void yuv2_to_2vuy(unsigned char* source, unsigned char* destination, int pixels);
CCNVT_EXPORT void yuvs_to_2vuy(unsigned char* source, unsigned char* destination, int pixels);
/* Despite their names these write 2vuy: the same as the two above. */
CCNVT_EXPORT void yuv2_to_v210(unsigned char* source, unsigned char* destination, int pixels);
CCNVT_EXPORT void yuvs_to_v210(unsigned char* source, unsigned char* destination, int pixels);

/* Whole-span RGB encoders: source first, then destination and a pixel count;
 * a count below 1 does nothing (and returns the source unchanged where a
 * pointer is returned). Those that return a pointer return the source just
 * past the last pixel read.
 *
 * argb_to_2vuy, bgra_to_2vuy: A R G B / B G R A pixels, BT.601 studio range,
 *   chroma filter starting at 128. ceil(count / 2) pairs: an odd count reads
 *   one pixel past the span and writes a whole pair.
 * hd_rgb_to_2vuy: BT.709 with full-range luma (white is Y 255); 0.5 is added
 *   to each pixel's Y, Cb and Cr before truncation and filtering. order 0:
 *   A R G B, else B G R A. Each result keeps its low 8 bits (fully saturated
 *   blue or red gives chroma 256, stored as 0).
 * argb_to_v210: v210 groups of six pixels (ceil(count / 6), whole groups).
 *   four_byte_pixels 0: R G B pixels, else A R G B. Y is the 8-bit BT.601
 *   studio luma times 4; Cb and Cr stay on the 8-bit scale (around 128) and
 *   are rounded (+ 0.5) after filtering; the filter starts at 512, so the
 *   first pair's chroma of a grey span is 224.
 * bgra_to_v210: B G R A pixels to v210 groups on 10-bit offsets (64, 512),
 *   BT.601, filter starting at 512. */
CCNVT_EXPORT void argb_to_2vuy(unsigned char* source, unsigned char* destination, int pixels);
CCNVT_EXPORT void bgra_to_2vuy(unsigned char* source, unsigned char* destination, int pixels);
CCNVT_EXPORT unsigned char* hd_rgb_to_2vuy(unsigned char* source, unsigned char* destination,
                                           int pixels, int order);
CCNVT_EXPORT unsigned char* argb_to_v210(unsigned char* source, unsigned int* destination,
                                         int pixels, int four_byte_pixels);
CCNVT_EXPORT unsigned char* bgra_to_v210(unsigned char* source, unsigned int* destination, int pixels);

/* v210 to RGB through the 10-bit BT.601 tables. The source is one unpadded
 * run of v210 groups; a running pixel index advances by six per group and,
 * whenever it is a multiple of width, output continues at the start of
 * destination row index / width (so widths that are not a multiple of 6 run
 * on past the row end). four_bytes non-zero: B, G, R, 255, else B, G, R.
 * Nothing is done when width * height is below 1. */
CCNVT_EXPORT void _v210_to_rgb(void* source, void* destination, int width, int height,
                               int destination_pitch, int four_bytes);

#endif /* __cplusplus */

#endif
