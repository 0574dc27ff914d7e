/* cconvert: frame flips, fields and pitch-changing copies. The vertical flips
 * and the copies move rows of bytes whatever the format; the horizontal flip
 * and the field routines move 4-byte pixels. */
#ifndef CCONVERT_GEOMETRY_H
#define CCONVERT_GEOMETRY_H

#include "frame.h"

CCNVT_C_BEGIN

/* Turns rows upside down: destination row i = source row rows - 1 - i, row
 * bytes apart on both sides. Works in place (destination == source) through
 * a scratch row; there an exception from the copy routine ends the flip and
 * is reported as one error line, and the call returns normally. The third
 * argument is not used. */
CCNVT_EXPORT void ccnvt_flip_vert(void* destination, void* source, unsigned int unused,
                                  int rows, unsigned int row_bytes);

/* Alignment codes of ccnvt_flip_vert_flags (bits 24-27 of flags). With d the
 * number of bytes by which a destination row is longer than a source row: */
#define CCNVT_FLIP_ALIGN_RIGHT 0x1000000u       /* left margin d */
#define CCNVT_FLIP_ALIGN_LEFT 0x2000000u        /* right margin d */
#define CCNVT_FLIP_ALIGN_CENTRE_LEFT 0x4000000u /* centred, odd byte of margin on the left */
#define CCNVT_FLIP_ALIGN_CENTRE_RIGHT 0x8000000u /* centred, odd byte on the right */
#define CCNVT_FLIP_ALIGN_MASK 0x0F000000u

/* Vertical flip that also widens rows: each source row (tight, source_row_bytes
 * apart) lands in a destination row (destination_row_bytes apart) at the
 * left margin given by the alignment code; with keep_margins 0 both margins
 * are cleared to zero. Any other code places rows at the left end and clears
 * nothing. In place, a row's content lands at offset 0 of its new row (the
 * margins are still cleared). Returns 0. The two unused arguments are not read. */
CCNVT_EXPORT int ccnvt_flip_vert_flags(void* destination, void* source, unsigned int unused1,
                                       unsigned int unused2, int rows,
                                       unsigned int destination_row_bytes,
                                       unsigned int source_row_bytes, unsigned int flags,
                                       unsigned int keep_margins);

/* Mirrors 4-byte pixels left to right: destination pixel k = source pixel
 * width - 1 - k of the same row. Row r of both sides starts at r * row_bytes.
 * Works in place. */
CCNVT_EXPORT void ccnvt_flip_horz(unsigned int* destination, unsigned int* source,
                                  unsigned int width, int rows, int row_bytes);

/* Fields of 4-byte pixels in two buffers of the same field pitch: field 0
 * holds frame rows 0, 2, 4, ..., field 1 rows 1, 3, 5, ... (frame row k is
 * row k >> 1 of field k & 1; an odd row count gives field 0 the extra row).
 * Each row moves width * 4 bytes (32-bit arithmetic), rows in ascending
 * order, through the copy shims and then CopyMemoryFast. Both return 0 when
 * rows is 0; otherwise the result has no meaning. */
CCNVT_EXPORT int ccnvt_fld_sep_to_mix32(void* destination, long destination_pitch, void* field0,
                                        void* field1, long field_pitch, unsigned int width,
                                        unsigned int rows);
/* The reverse: the fields (destinations) come first, the frame after them. */
CCNVT_EXPORT int ccnvt_fld_mix_to_sep32(void* field0, void* field1, long field_pitch, void* source,
                                        long source_pitch, unsigned int width, unsigned int rows);

/* Copies rows between pitches, whole pitches rather than a width. With equal
 * pitches: nothing when source == destination, else one copy of pitch * rows
 * bytes (low 32 bits of each, product kept to 32 bits; rows is not tested).
 * With unequal pitches: nothing when rows <= 0, else min(pitches) bytes per
 * row (count kept to 32 bits). The fifth argument is not used. */
CCNVT_EXPORT void ccnvt_copy_interleaved(void* destination, long destination_pitch, void* source,
                                         long source_pitch, long unused, long rows);

CCNVT_C_END

#endif
