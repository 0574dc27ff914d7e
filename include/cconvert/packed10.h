/* cconvert: ten-bit transport packings.
 *
 * packed10 (also "YCbCr10Packed"): 10-bit 4:2:2, two pixels in five bytes,
 * the samples Cb0 Y0 Cr0 Y1 Cb2 Y2 ... written as one most-significant-bit-
 * first bit stream (the 10-bit 4:2:2 pixel group of SMPTE ST 2110-20):
 *     byte 0: Cb[9:2]            byte 3: Cr[5:0] Y1[9:8]
 *     byte 1: Cb[1:0] Y0[9:4]    byte 4: Y1[7:0]
 *     byte 2: Y0[3:0] Cr[9:6]
 * Three pairs (15 bytes) carry one v210 group (six pixels). 2vuy and v210 are
 * described in ycbcr422.h. packed10 to 2vuy keeps the top 8 bits of each
 * sample (truncation); 2vuy to packed10 writes sample * 4; packed10 and v210
 * exchange samples unchanged.
 *
 * Three groups of entry points:
 *   - line kernels and frame drivers (C++ linkage, type-encoded symbols);
 *   - whole-frame entry points, the packet-slot formats and the Y10 stream;
 *   - SMPTE ST 2110-20 RTP packets (RFC 4175 payload) to and from v210.
 */
#ifndef CCONVERT_PACKED10_H
#define CCONVERT_PACKED10_H

#include "frame.h"

#ifdef __cplusplus
#include <cstdint>
#else
#include <stdbool.h>
#include <stdint.h>
#endif

CCNVT_C_BEGIN

/* ---- whole frames ----
 * Inside these entry points packed10 lines have no padding: rows follow each
 * other at width * 20 / 8 bytes (32-bit unsigned arithmetic). Where a v210
 * side has no pitch argument its rows are 128 bytes for every 48 pixels or
 * part of 48 (width * 8 / 3 when width is a multiple of 48).
 *
 * interlaced (a truth value in its low byte) selects field-separated packed10
 * (or 8-bit) frames: the first height / 2 stored lines are the odd lines
 * 1, 3, 5, ... of the interleaved frame and the rest the even lines 0, 2, 4.
 */

/* packed10 to v210 over the whole frame: the driver
 * ccnvt_ycbcr422_packed10_to_v210 with source pitch width * 20 / 8, rows 0 to
 * height. Each row is read and written in whole v210 groups: when width is
 * not a multiple of 6 a row's last group reads up to 13 bytes past
 * width * 20 / 8 (into the next row, or past the frame for the last row).
 * Returns 0. */
CCNVT_EXPORT int ccnvt_YCbCr10Packed_to_v210(unsigned char* destination, const unsigned char* source,
                                             unsigned int width, unsigned int height, int interlaced);

/* v210 to packed10 over the whole frame: the driver
 * ccnvt_ycbcr422_v210_to_packed10 with destination pitch width * 20 / 8.
 * source_pitch 0 means the default v210 row above. Each row writes
 * ceil(width / 2) pairs, so for an odd width 3 bytes past width * 20 / 8
 * (the next row overwrites them; the last row's land past the frame).
 * Returns width * 20 / 8 * height (32-bit unsigned), the bytes of the
 * packed10 frame. */
CCNVT_EXPORT unsigned int ccnvt_v210_to_YCbCr10Packed(unsigned char* destination,
                                                      const unsigned char* source, unsigned int width,
                                                      unsigned int height, unsigned int source_pitch,
                                                      int interlaced);

/* packed10 to 8-bit 4:2:2 (Cb Y0 Cr Y1 bytes, each sample >> 2; the name ends
 * in "uyvu" and is kept so). The source is one continuous stream of pairs,
 * width / 2 pairs per line (an odd width's last pixel is neither read nor
 * written). Destination rows are width * 2 bytes apart, or width * 4 when
 * interlaced, the first height / 2 source lines then starting one row
 * (width * 2 bytes) down. Height 0 does nothing. Returns 0. */
CCNVT_EXPORT int ccnvt_YCbCr10Packed_to_uyvu(unsigned char* destination, const unsigned char* source,
                                             unsigned int width, unsigned int height, int interlaced);

/* A bit reader over source .. source + count * 10 / 8 skips bit_offset bits,
 * then reads count 10-bit samples (most significant bit first) and stores the
 * low 8 bits of each (sample & 0xFF, not sample >> 2) as one byte. Bytes
 * outside that range read as 0 (a negative bit_offset reads leading zeros).
 * Returns 0. */
CCNVT_EXPORT int ccnvt_YCbCr10Packed_to_low8_from10(unsigned char* destination,
                                                    const unsigned char* source, int bit_offset,
                                                    unsigned int count);

/* A plain stream of 10-bit samples (most significant bit first) to v210 in
 * stream order: every 15 source bytes (12 samples) become one 16-byte group.
 * Works in whole steps while fewer than byte_count bytes have been consumed
 * (byte_count 16 reads 30 bytes). Returns the bytes written (16 per step). */
CCNVT_EXPORT unsigned int ccnvt_Y10Packed_to_v210(unsigned int* destination, const unsigned char* source,
                                                  unsigned int byte_count);

/* ---- packet slots (not RTP: the library writes no header into them) ----
 * Packetised stream, as read: packets 1220 bytes apart, each a 20-byte header
 * and 1200 bytes of packed10 (480 pixels). source points at the first
 * packet's payload. Every line starts in a new packet and uses
 * ceil(width / 480) packets.
 * Slots, as written: 1280 bytes each, slot k at destination + 1280 * k;
 * bytes 0-19 (the host's header) and 1220-1279 are left untouched, bytes
 * 20-1219 receive 480 pixels of packed10. */

/* Packetised packed10 to v210 (rows as above; interlaced as above). Each pair
 * is placed with partial-word writes (see ccnvt_4175_to_v210), so the fields
 * of a line's last group beyond its width keep their bits. Width or height 0
 * does nothing. Returns 0. */
CCNVT_EXPORT int ccnvt_YCbCr10Packetized_to_v210(unsigned char* destination, const unsigned char* source,
                                                 unsigned int width, unsigned int height,
                                                 int interlaced);

/* 2vuy to packet slots. The frame makes width * height * 20 / 9600 slots
 * (32-bit unsigned arithmetic: whole 480-pixel slots); the source is read 480
 * pixels (960 bytes) per slot, straight across line ends, and pixels left
 * over at the end of the frame are not written. After every slot k >= 1 that
 * ends a line (k mod slots-per-line = slots-per-line - 1, slots-per-line =
 * slots / height) the source also skips (source_pitch - width * 2) rounded
 * down to a multiple of 4; after slot 0 it never does. A source_pitch not
 * above width * 2 (0 included) skips nothing, and so does a frame with fewer
 * slots than lines.
 * height must not be 0: slots / height is not guarded and faults.
 * use_bit_writer false runs the 2vuy-to-packed10 line driver per slot;
 * true writes the same bits through libkvutil's SkipBits / WriteBits with a
 * buffer of slots * slot_size bytes (bits past that size are dropped, so a
 * slot_size below 1280 leaves the later slots unwritten on that path).
 * Returns slots * slot_size (32-bit unsigned). The two unnamed arguments are
 * not used. */
CCNVT_EXPORT unsigned int ccnvt_uyvy_to_YCbCr10PackedToPacket(unsigned char* destination,
                                                              const unsigned char* source,
                                                              unsigned int width, unsigned int height,
                                                              unsigned int source_pitch,
                                                              unsigned int slot_size, unsigned int,
                                                              unsigned int, bool use_bit_writer);

/* v210 to packet slots: as above, the source advancing 1280 bytes (80 v210
 * groups) per slot and, at line ends, skipping (source_pitch / 4 - tight / 4)
 * * 4 bytes, tight being the default v210 row above. use_bit_writer is a
 * truth value in its low byte. height must not be 0. The three unnamed
 * arguments are not used. */
CCNVT_EXPORT unsigned int ccnvt_v210_to_YCbCr10PackedToPacket(unsigned char* destination,
                                                              const unsigned char* source,
                                                              unsigned int width, unsigned int height,
                                                              unsigned int source_pitch,
                                                              unsigned int slot_size, unsigned int,
                                                              unsigned int, unsigned int,
                                                              int use_bit_writer);

/* ---- SMPTE ST 2110-20 RTP packets (RFC 4175 payload) ----
 *
 * ccnvt_v210_frame_to_rtp_4175 cuts a whole v210 frame (rows 128 bytes for
 * every 48 pixels or part of 48) into RTP packets written back to back into
 * out, one per 1395-byte slot: a 20-byte header, then at most 550 pixels of
 * one line in packed10 (1375 bytes), zero bytes up to the end of the slot.
 * Header, multi-byte fields big-endian:
 *   byte 0      0x90 (version 2, extension bit set, no extension follows)
 *   byte 1      0x60 (payload type 96); 0xE0 on the last packet of the call
 *   bytes 2-3   sequence number: *sequence for the first packet, +1 per
 *               packet, wrapping at 65536
 *   bytes 4-7   timestamp;  bytes 8-11 ssrc (the same in every packet)
 *   bytes 12-13 the low 16 bits of extended_sequence (never advanced)
 *   bytes 14-15 SRD length: pixels * 5 / 2 (truncated)
 *   bytes 16-17 F = 0, row number counted from 1 (15 bits)
 *   bytes 18-19 C = 0, pixel offset in the line: 0, 550, 1100, ... (15 bits)
 * For an odd pixel count the last pair is converted whole, then the zero fill
 * from byte SRD length on clears its third to fifth bytes.
 * Refuses (returns 0, writes nothing to out, stores 0 to *packet_size and
 * *packet_count) when width or height is 0 or out_size is below 1395. A
 * smaller out than the frame needs is not an error: as many whole packets as
 * fit are written, the last of them marked. Otherwise stores the sequence
 * number after the last packet to *sequence, 1395 to *packet_size and the
 * number of packets to *packet_count (both pointers may be null), and returns
 * packets * 1395. */
CCNVT_EXPORT uint32_t ccnvt_v210_frame_to_rtp_4175(unsigned char* out, int64_t out_size,
                                                   unsigned short* sequence, uint32_t timestamp,
                                                   uint32_t ssrc, uint32_t extended_sequence,
                                                   const unsigned char* source, unsigned int width,
                                                   unsigned int height, unsigned int* packet_size,
                                                   unsigned int* packet_count);

/* Decodes the packed10 pixel groups of one received segment into v210.
 * destination is the v210 group (four words) holding the segment's first
 * pixel, phase that pixel's position in the group (0, 2 or 4): for an SRD
 * (row, offset) that is line row - 1, group offset / 6, phase offset % 6.
 * A phase of 2 first places two pairs, a phase of 4 one pair, into the rest
 * of that group, keeping the bits of the pixels before it; then pair_count
 * more pairs follow, three per group. Every pair is placed with partial-word
 * writes, so a group split between two segments is completed by the second.
 * Bytes at or past payload + payload_length read as 0. Any other phase places
 * no lead-in pairs. Returns 0. */
CCNVT_EXPORT int ccnvt_4175_to_v210(unsigned int* destination, const unsigned char* payload,
                                    int64_t payload_length, int64_t pair_count, uint64_t phase);

CCNVT_C_END

#ifdef __cplusplus

#include <emmintrin.h>

/* ---- line kernels ----
 * (source line, destination line, width in pixels); a width of 0 or less
 * converts nothing. The _sse kernels need SSE4.1 and SSSE3 (feature bit
 * 0x8000), the _avx kernels AVX2 (bit 0x800000). The vector kernels read and
 * write only the bytes of the pairs and groups they convert.
 *
 * packed10 to 2vuy: _c converts ceil(width / 2) pairs (5 bytes read, 4
 * written per pair); _sse and _avx convert width / 2 pairs, so for an odd
 * width they leave the last pixel's pair alone. */
CCNVT_EXPORT void kv_ycbcr422_packed10_to_uyvy_line_c(const unsigned char* source, unsigned char* destination,
                                                      int width);
CCNVT_EXPORT void kv_ycbcr422_packed10_to_uyvy_line_sse(const unsigned char* source,
                                                        unsigned char* destination, int width);
CCNVT_EXPORT void kv_ycbcr422_packed10_to_uyvy_line_avx(const unsigned char* source,
                                                        unsigned char* destination, int width);

/* 2vuy to packed10: width / 2 pairs (4 bytes read, 5 written per pair). */
CCNVT_EXPORT void kv_ycbcr422_uyvy_to_packed10_line_c(const unsigned char* source, unsigned char* destination,
                                                      int width);
CCNVT_EXPORT void kv_ycbcr422_uyvy_to_packed10_line_sse(const unsigned char* source,
                                                        unsigned char* destination, int width);
CCNVT_EXPORT void kv_ycbcr422_uyvy_to_packed10_line_avx(const unsigned char* source,
                                                        unsigned char* destination, int width);

/* packed10 to v210: ceil(width / 6) whole groups (15 bytes read, 16 written
 * per group); a partial last group is read and written whole. */
CCNVT_EXPORT void kv_ycbcr422_packed10_to_v210_line_c(const unsigned char* source, unsigned char* destination,
                                                      int width);
CCNVT_EXPORT void kv_ycbcr422_packed10_to_v210_line_sse(const unsigned char* source,
                                                        unsigned char* destination, int width);
CCNVT_EXPORT void kv_ycbcr422_packed10_to_v210_line_avx(const unsigned char* source,
                                                        unsigned char* destination, int width);

/* v210 to packed10: width / 6 whole groups (16 bytes read, 15 written), then
 * the pairs of the last partial group whose first pixel lies inside the
 * width: ceil(width / 2) pairs in all. */
CCNVT_EXPORT void kv_ycbcr422_v210_to_packed10_line_c(const unsigned char* source, unsigned char* destination,
                                                      int width);
CCNVT_EXPORT void kv_ycbcr422_v210_to_packed10_line_sse(const unsigned char* source,
                                                        unsigned char* destination, int width);
CCNVT_EXPORT void kv_ycbcr422_v210_to_packed10_line_avx(const unsigned char* source,
                                                        unsigned char* destination, int width);

/* Lanes 0 and 1 of a shifted right (logically) by lanes 0 and 1 of b, each
 * count taken modulo 32; lanes 2 and 3 of the result are 0. */
CCNVT_EXPORT __m128i sse_variable_shift_right(__m128i a, __m128i b);

/* ---- frame drivers ----
 * Convert rows first_row .. end_row - 1 (a band; a host may split a frame into
 * bands and convert them on several threads), one kernel call per row. The
 * kernel is chosen on every call from CPUFeatureFlags(): AVX2-class (0x800000)
 * the _avx kernel, else SSE-class (0x8000) the _sse kernel, else _c; except
 * that kv_ycbcr422_packed10_to_uyvy never takes _sse (bit 0x8000 alone gives
 * _c). A pitch of 0 means the default row of that side: packed10
 * (width * 5) / 2 (signed 32-bit; for an odd width 3 bytes shorter than
 * the row's whole pairs), 2vuy width * 2, v210 128 bytes for every 48 pixels or part
 * of 48. Other pitches, negative ones included, are used as given. Row
 * offsets row * pitch are 32-bit products, sign-extended. Nothing is done
 * when first_row >= end_row. */
CCNVT_EXPORT void kv_ycbcr422_packed10_to_uyvy(unsigned char* source, int source_pitch, int width,
                                               int first_row, int end_row, unsigned char* destination,
                                               int destination_pitch);
CCNVT_EXPORT void kv_ycbcr422_uyvy_to_packed10(unsigned char* source, int source_pitch, int width,
                                               int first_row, int end_row, unsigned char* destination,
                                               int destination_pitch);

/* packed10 to v210 and back. height is read only when fields_separated is
 * true: the packed10 side then holds two fields one after the other and the
 * v210 side the interleaved frame, packed10 row r being v210 row 2r + 1 when
 * r < height / 2 (the first stored field on the odd lines) and v210 row
 * 2 (r - height / 2) otherwise. first_row and end_row count packed10 rows. */
CCNVT_EXPORT void ccnvt_ycbcr422_packed10_to_v210(unsigned char* source, int source_pitch, int width,
                                                  int first_row, int end_row, int height,
                                                  unsigned char* destination, int destination_pitch,
                                                  bool fields_separated);
CCNVT_EXPORT void ccnvt_ycbcr422_v210_to_packed10(unsigned char* source, int source_pitch, int width,
                                                  int first_row, int end_row, int height,
                                                  unsigned char* destination, int destination_pitch,
                                                  bool fields_separated);

/* The first version of the 2vuy slot writer under its historical name, kept
 * for hosts that link it. In this library it is the working writer: it does
 * exactly what ccnvt_uyvy_to_YCbCr10PackedToPacket does with the same
 * arguments (destination, source, width, height, source_pitch, slot_size,
 * two unused, use_bit_writer) and returns its result. */
CCNVT_EXPORT unsigned int ccnvt_uyvy_to_YCbCr10PackedToPacket_doesnotwork(
    unsigned char* destination, unsigned char* source, unsigned int width, unsigned int height,
    unsigned int source_pitch, unsigned int slot_size, unsigned int, unsigned int, bool use_bit_writer);

#endif /* __cplusplus */

#endif
