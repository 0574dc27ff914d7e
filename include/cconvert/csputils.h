/* cconvert: colour-space mathematics (the csputils unit).
 *
 * Pure functions for hosts that describe a picture's colour (matrix, range,
 * primaries, transfer, light, chroma siting, stereo mode) and want the
 * matching conversion matrices. Nothing here keeps state, allocates or fails:
 * an out-of-range input maps to a documented fallback value.
 *
 * The types and the exported data below are usable from C and C++. The
 * functions have C++ linkage: their symbols carry the parameter types, so the
 * enumeration and record names are part of the interface and must not change.
 *
 * All enumerations are plain signed 32-bit integers whose numeric values are
 * part of the interface (hosts store them, and they index the name tables).
 * The *_COUNT enumerators are one past the last value, for loops only.
 *
 * Example: map 10-bit BT.709 limited-range YCbCr to 10-bit full-range RGB.
 *
 *     mp_csp_params params = MP_CSP_PARAMS_NEUTRAL;
 *     params.color.csp = MP_CSP_BT_709;
 *     params.color.levels = MP_CSP_LEVELS_LIMITED;
 *     params.levels_out = MP_CSP_LEVELS_FULL;
 *     params.texture_bits = 10;
 *     params.input_bits = 10;
 *     mp_cmat map;
 *     mp_get_csp_matrix(&params, &map);
 *     int ycbcr[3] = {940, 512, 512}, rgb[3];
 *     mp_map_fixp_color(&map, 10, ycbcr, 10, rgb);   // rgb = {1023, 1023, 1023}
 */
#ifndef CCONVERT_CSPUTILS_H
#define CCONVERT_CSPUTILS_H

#include "frame.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

/* ---- Enumerations ---- */

/* In C++ the enumerations are based on int, so that every 32-bit value a
 * host stores in one is a valid value (the functions map unknown values to
 * their fallbacks). */
#ifdef __cplusplus
#define CCNVT_CSP_ENUM_BASE : int
#else
#define CCNVT_CSP_ENUM_BASE
#endif

/* YCbCr matrix of the samples ("colour space"). */
enum mp_csp CCNVT_CSP_ENUM_BASE {
    MP_CSP_AUTO = 0,       /* "auto": not known */
    MP_CSP_BT_601 = 1,     /* "bt.601": ITU-R BT.601 */
    MP_CSP_BT_709 = 2,     /* "bt.709": ITU-R BT.709 */
    MP_CSP_SMPTE_240M = 3, /* "smpte-240m": SMPTE 240M */
    MP_CSP_BT_2020_NC = 4, /* "bt.2020-ncl": BT.2020 non-constant luminance */
    MP_CSP_BT_2020_C = 5,  /* "bt.2020-cl": BT.2020 constant luminance */
    MP_CSP_RGB = 6,        /* "rgb": no matrix, the samples are RGB */
    MP_CSP_XYZ = 7,        /* "xyz": CIE XYZ samples */
    MP_CSP_YCGCO = 8,      /* "ycgco": YCgCo */
    MP_CSP_COUNT = 9
};

/* Signal range. */
enum mp_csp_levels CCNVT_CSP_ENUM_BASE {
    MP_CSP_LEVELS_AUTO = 0,    /* "auto": not known */
    MP_CSP_LEVELS_LIMITED = 1, /* "limited": studio ("MPEG", "TV") range */
    MP_CSP_LEVELS_FULL = 2,    /* "full": full ("JPEG", "PC") range */
    MP_CSP_LEVELS_COUNT = 3
};

/* Colour primaries (chromaticities in mp_get_csp_primaries). */
enum mp_csp_prim CCNVT_CSP_ENUM_BASE {
    MP_CSP_PRIM_AUTO = 0,         /* "auto": not known */
    MP_CSP_PRIM_BT_601_525 = 1,   /* "bt.601-525": SMPTE C (NTSC) */
    MP_CSP_PRIM_BT_601_625 = 2,   /* "bt.601-625": EBU (PAL/SECAM) */
    MP_CSP_PRIM_BT_709 = 3,       /* "bt.709": HD, sRGB */
    MP_CSP_PRIM_BT_2020 = 4,      /* "bt.2020": UHD */
    MP_CSP_PRIM_BT_470M = 5,      /* "bt.470m": 1953 NTSC */
    MP_CSP_PRIM_APPLE = 6,        /* "apple": Apple RGB */
    MP_CSP_PRIM_ADOBE = 7,        /* "adobe": Adobe RGB (1998) */
    MP_CSP_PRIM_PRO_PHOTO = 8,    /* "prophoto": ProPhoto RGB */
    MP_CSP_PRIM_CIE_1931 = 9,     /* "cie1931": CIE 1931 RGB */
    MP_CSP_PRIM_DCI_P3 = 10,      /* "dci-p3": P3 gamut (given the D65 white, see below) */
    MP_CSP_PRIM_DISPLAY_P3 = 11,  /* "display-p3": P3 gamut, D65 white */
    MP_CSP_PRIM_V_GAMUT = 12,     /* "v-gamut": Panasonic V-Gamut */
    MP_CSP_PRIM_S_GAMUT = 13,     /* "s-gamut": Sony S-Gamut */
    MP_CSP_PRIM_S_GAMUT_CINE = 14, /* "s-gamut-cine": Sony S-Gamut3.Cine */
    MP_CSP_PRIM_COUNT = 15
};

/* Transfer characteristic ("gamma"). */
enum mp_csp_trc CCNVT_CSP_ENUM_BASE {
    MP_CSP_TRC_AUTO = 0,      /* "auto": not known */
    MP_CSP_TRC_BT_1886 = 1,   /* "bt.1886": BT.1886 (BT.709/BT.2020 camera curves) */
    MP_CSP_TRC_SRGB = 2,      /* "srgb": IEC 61966-2-1 */
    MP_CSP_TRC_LINEAR = 3,    /* "linear" */
    MP_CSP_TRC_GAMMA18 = 4,   /* "gamma1.8": pure power 1.8 */
    MP_CSP_TRC_GAMMA22 = 5,   /* "gamma2.2": pure power 2.2 */
    MP_CSP_TRC_GAMMA28 = 6,   /* "gamma2.8": pure power 2.8 */
    MP_CSP_TRC_PRO_PHOTO = 7, /* "prophoto": ROMM RGB */
    MP_CSP_TRC_PQ = 8,        /* "pq": SMPTE ST 2084 */
    MP_CSP_TRC_HLG = 9,       /* "hlg": ARIB STD-B67 hybrid log-gamma */
    MP_CSP_TRC_V_LOG = 10,    /* "v-log": Panasonic V-Log */
    MP_CSP_TRC_S_LOG1 = 11,   /* "s-log1": Sony S-Log1 */
    MP_CSP_TRC_S_LOG2 = 12,   /* "s-log2": Sony S-Log2 */
    MP_CSP_TRC_COUNT = 13
};

/* Light type: the opto-optical transfer the signal assumes. */
enum mp_csp_light CCNVT_CSP_ENUM_BASE {
    MP_CSP_LIGHT_AUTO = 0,           /* "auto": not known */
    MP_CSP_LIGHT_DISPLAY = 1,        /* "display": display-referred */
    MP_CSP_LIGHT_SCENE_HLG = 2,      /* "hlg": scene-referred, HLG OOTF */
    MP_CSP_LIGHT_SCENE_709_1886 = 3, /* "709-1886": scene-referred, BT.709 + BT.1886 */
    MP_CSP_LIGHT_SCENE_1_2 = 4,      /* "gamma1.2": scene-referred, pure power 1.2 */
    MP_CSP_LIGHT_COUNT = 5
};

/* Horizontal siting of subsampled chroma. */
enum mp_chroma_location CCNVT_CSP_ENUM_BASE {
    MP_CHROMA_AUTO = 0,   /* "unknown" */
    MP_CHROMA_LEFT = 1,   /* "mpeg2/4/h264": co-sited with the left luma sample */
    MP_CHROMA_CENTER = 2, /* "mpeg1/jpeg": centred between luma samples */
    MP_CHROMA_COUNT = 3
};

/* Stereo 3-D frame packing. */
enum mp_stereo3d_mode CCNVT_CSP_ENUM_BASE {
    MP_STEREO3D_NONE = -1,  /* "no": not stereo */
    MP_STEREO3D_MONO = 0,   /* "mono" */
    MP_STEREO3D_SBS2L = 1,  /* "sbs2l": side by side, left eye first */
    MP_STEREO3D_AB2R = 2,   /* "ab2r": above/below, right eye on top */
    MP_STEREO3D_AB2L = 3,   /* "ab2l": above/below, left eye on top */
    MP_STEREO3D_CHECKR = 4, /* "checkr": checkerboard, right eye first */
    MP_STEREO3D_CHECKL = 5, /* "checkl": checkerboard, left eye first */
    MP_STEREO3D_IRR = 6,    /* "irr": interleaved rows, right eye first */
    MP_STEREO3D_IRL = 7,    /* "irl": interleaved rows, left eye first */
    MP_STEREO3D_ICR = 8,    /* "icr": interleaved columns, right eye first */
    MP_STEREO3D_ICL = 9,    /* "icl": interleaved columns, left eye first */
    MP_STEREO3D_ARCC = 10,  /* "arcc": anaglyph red/cyan, colour */
    MP_STEREO3D_SBS2R = 11, /* "sbs2r": side by side, right eye first */
    MP_STEREO3D_AGMC = 12,  /* "agmc": anaglyph green/magenta, colour */
    MP_STEREO3D_AL = 13,    /* "al": alternating frames, left eye first */
    MP_STEREO3D_AR = 14     /* "ar": alternating frames, right eye first */
};

/* Rendering intent of mp_get_cms_matrix (numbered as in ICC profiles). */
enum mp_render_intent CCNVT_CSP_ENUM_BASE {
    MP_INTENT_PERCEPTUAL = 0,            /* same as relative colorimetric */
    MP_INTENT_RELATIVE_COLORIMETRIC = 1, /* Bradford-adapt the source white to the destination white */
    MP_INTENT_SATURATION = 2,            /* only the diagonal is set to 1, see mp_get_cms_matrix */
    MP_INTENT_ABSOLUTE_COLORIMETRIC = 3  /* keep absolute XYZ: no white adaptation */
};

#ifndef __cplusplus
typedef enum mp_csp mp_csp;
typedef enum mp_csp_levels mp_csp_levels;
typedef enum mp_csp_prim mp_csp_prim;
typedef enum mp_csp_trc mp_csp_trc;
typedef enum mp_csp_light mp_csp_light;
typedef enum mp_chroma_location mp_chroma_location;
typedef enum mp_stereo3d_mode mp_stereo3d_mode;
typedef enum mp_render_intent mp_render_intent;
#endif

/* ---- Records ---- */

/* One entry of a name table: a printable name and its enumeration value. */
typedef struct mp_name_entry {
    const char* name; /* NUL-terminated; null in a table's terminating entry */
    int value;        /* the enumeration value it names */
} mp_name_entry;

/* A picture's colour description. Zero everywhere means "nothing known". */
typedef struct mp_colorspace {
    enum mp_csp csp;          /* YCbCr matrix */
    enum mp_csp_levels levels; /* signal range */
    enum mp_csp_prim prim;    /* primaries */
    enum mp_csp_trc trc;      /* transfer characteristic */
    enum mp_csp_light light;  /* light type */
    float signal_peak;        /* signal peak relative to the reference white; 0 = not known */
} mp_colorspace;

/* A CIE 1931 chromaticity. */
typedef struct mp_csp_col_xy {
    float x;
    float y;
} mp_csp_col_xy;

/* The chromaticities of a set of primaries and of its white point. */
typedef struct mp_csp_primaries {
    mp_csp_col_xy red;
    mp_csp_col_xy green;
    mp_csp_col_xy blue;
    mp_csp_col_xy white;
} mp_csp_primaries;

/* An affine colour map in normalised units:
 *     output[i] = m[i][0] * input[0] + m[i][1] * input[1] + m[i][2] * input[2] + c[i]
 * Rows are the output channels R, G, B; columns are the input components
 * (Y, Cb, Cr; or R, G, B; or X, Y, Z). */
typedef struct mp_cmat {
    float m[3][3]; /* 3 x 3 matrix, row-major */
    float c[3];    /* offset added to each output channel */
} mp_cmat;

/* A request to mp_get_csp_matrix. MP_CSP_PARAMS_NEUTRAL gives neutral
 * picture controls and 8-bit samples. */
typedef struct mp_csp_params {
    mp_colorspace color;           /* the input's colour description (csp, levels and, for xyz, prim are read) */
    enum mp_csp_levels levels_out; /* range of the output RGB: limited, else full */
    float brightness;              /* added to every output channel; neutral 0 */
    float contrast;                /* gain of luma and chroma; neutral 1 */
    float hue;                     /* rotation of the chroma plane, radians; neutral 0 */
    float saturation;              /* gain of chroma; neutral 1 */
    float gamma;                   /* for the host's renderer (neutral 1); not read by these functions */
    bool gray;                     /* monochrome picture: chroma is ignored */
    int texture_bits;              /* bits of the container the samples are read from */
    int input_bits;                /* significant bits of the samples; 0 = samples already 0..1 */
} mp_csp_params;

#define MP_CSP_PARAMS_NEUTRAL                                                          \
    {                                                                                  \
        {MP_CSP_AUTO, MP_CSP_LEVELS_AUTO, MP_CSP_PRIM_AUTO, MP_CSP_TRC_AUTO,           \
         MP_CSP_LIGHT_AUTO, 0.0f},                                                     \
            MP_CSP_LEVELS_FULL, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, false, 8, 8              \
    }

/* Image parameters of a host's player; only ever passed by pointer. */
struct mp_image_params;

/* ---- Exported data ---- */

CCNVT_C_BEGIN

/* Name tables in ascending value order. mp_csp_names has exactly nine entries
 * and no terminator; every other table ends with {null, 0}. */
CCNVT_EXPORT extern const mp_name_entry mp_csp_names[9];
CCNVT_EXPORT extern const mp_name_entry mp_csp_levels_names[4];
CCNVT_EXPORT extern const mp_name_entry mp_csp_prim_names[16];
CCNVT_EXPORT extern const mp_name_entry mp_csp_trc_names[14];
CCNVT_EXPORT extern const mp_name_entry mp_csp_light_names[6];
CCNVT_EXPORT extern const mp_name_entry mp_chroma_names[4];
CCNVT_EXPORT extern const mp_name_entry mp_stereo3d_names[17]; /* "no" (-1) to "ar" (14) */

/* Primaries. All whites are D65 (0.31271, 0.32902) except BT_470M (C),
 * PRO_PHOTO (D50), CIE_1931 (E) and P3_DCI (the DCI white 0.314, 0.351). */
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_BT_601_525;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_BT_601_625;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_BT_709;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_BT_2020;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_BT_470M;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_APPLE;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_ADOBE;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_PRO_PHOTO;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_CIE_1931;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_DISPLAY_P3;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_V_GAMUT;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_S_GAMUT;
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_S_GAMUT_CINE;
/* P3 with the DCI white; exported, but mp_get_csp_primaries never returns it. */
CCNVT_EXPORT extern const mp_csp_primaries defMP_CSP_PRIM_P3_DCI;
/* Writable records holding, from load, copies of BT_709 (AUTO) and of
 * DISPLAY_P3 (DCI_P3): "dci-p3" therefore has the D65 white.
 * mp_get_csp_primaries(MP_CSP_PRIM_DCI_P3) returns whatever DCI_P3 holds. */
CCNVT_EXPORT extern mp_csp_primaries defMP_CSP_PRIM_AUTO;
CCNVT_EXPORT extern mp_csp_primaries defMP_CSP_PRIM_DCI_P3;

CCNVT_C_END

#ifdef __cplusplus

/* ---- ITU-T H.273 code points ----
 * Incoming codes that have no counterpart give 0 (auto); outgoing values
 * that have none (auto included) give 2 (unspecified). Range codes: 0
 * unspecified, 1 limited, 2 full; chroma-location codes: 0 unspecified,
 * 1 left, 2 centre. */

/* MatrixCoefficients: 0 rgb, 1 bt.709, 5 and 6 bt.601, 7 smpte-240m,
 * 8 ycgco, 9 bt.2020-ncl, 10 bt.2020-cl. */
CCNVT_EXPORT mp_csp avcol_spc_to_mp_csp(int matrix_coefficients);
/* Range code 1 and 2 to the same value; anything else 0. */
CCNVT_EXPORT mp_csp_levels avcol_range_to_mp_csp_levels(int range);
/* ColourPrimaries: 1 bt.709, 4 bt.470m, 5 bt.601-625, 6 and 7 bt.601-525, 9 bt.2020. */
CCNVT_EXPORT mp_csp_prim avcol_pri_to_mp_csp_prim(int colour_primaries);
/* TransferCharacteristics: 1, 6, 7, 12, 14, 15 bt.1886; 4 gamma2.2; 5 gamma2.8;
 * 8 linear; 13 srgb; 16 pq; 18 hlg. */
CCNVT_EXPORT mp_csp_trc avcol_trc_to_mp_csp_trc(int transfer_characteristics);
/* bt.601 5, bt.709 1, smpte-240m 7, bt.2020-ncl 9, bt.2020-cl 10, rgb 0, ycgco 8. */
CCNVT_EXPORT int mp_csp_to_avcol_spc(mp_csp csp);
/* limited 1, full 2, anything else 0. */
CCNVT_EXPORT int mp_csp_levels_to_avcol_range(mp_csp_levels levels);
/* bt.601-525 6, bt.601-625 5, bt.709 1, bt.2020 9, bt.470m 4. */
CCNVT_EXPORT int mp_csp_prim_to_avcol_pri(mp_csp_prim prim);
/* bt.1886 1, srgb 13, linear 8, gamma1.8 2, gamma2.2 4, gamma2.8 5, pq 16, hlg 18. */
CCNVT_EXPORT int mp_csp_trc_to_avcol_trc(mp_csp_trc trc);
/* Chroma-location code 1 and 2 to the same value; anything else 0. */
CCNVT_EXPORT mp_chroma_location avchroma_location_to_mp(int chroma_location);
/* left 1, centre 2, anything else 0. */
CCNVT_EXPORT int mp_chroma_location_to_av(mp_chroma_location location);

/* ---- Guesses and queries ---- */

/* bt.709 for pictures wider than 1279 or taller than 576, else bt.601. */
CCNVT_EXPORT mp_csp mp_csp_guess_colorspace(int width, int height);
/* bt.709 for pictures wider than 1279 or taller than 576; else by height:
 * 486 and 480 bt.601-525, 576 bt.601-625, any other bt.709. (Small pictures
 * of other heights thus get BT.709 primaries beside a BT.601 matrix.) */
CCNVT_EXPORT mp_csp_prim mp_csp_guess_primaries(int width, int height);
/* Chroma offset in half luma samples: *x = -1 for MP_CHROMA_LEFT, else 0;
 * *y = 0 always. */
CCNVT_EXPORT void mp_get_chroma_location(mp_chroma_location location, int* x, int* y);
/* Fills the unknown fields of *target from *source: csp, levels, prim, trc
 * and light when 0, signal_peak when it compares equal to 0.0 (so -0.0 is
 * unknown, NaN is known). Known fields are never changed. */
CCNVT_EXPORT void mp_colorspace_merge(mp_colorspace* target, mp_colorspace* source);
/* Kept for hosts that call it: does nothing. */
CCNVT_EXPORT void mp_image_params_guess_csp(struct mp_image_params* params);
/* Nominal peak relative to the reference white: pq 100, hlg 12, v-log
 * 46.0855, s-log1 6.52, s-log2 9.212 (as floats), every other value 1. */
CCNVT_EXPORT float mp_trc_nom_peak(mp_csp_trc trc);
/* True exactly when mp_trc_nom_peak(trc) > 1: pq, hlg, v-log, s-log1, s-log2. */
CCNVT_EXPORT bool mp_trc_is_hdr(mp_csp_trc trc);

/* ---- Primaries and 3 x 3 matrices ----
 * Matrices are float[3][3], row-major, applied to column vectors (M v).
 * All arithmetic is single precision. */

/* The record for prim: auto (0) and any value outside 1..14 give BT_709;
 * dci-p3 (10) gives defMP_CSP_PRIM_DCI_P3. */
CCNVT_EXPORT mp_csp_primaries mp_get_csp_primaries(mp_csp_prim prim);
/* Linear RGB (white = 1, 1, 1) to CIE XYZ (white Y = 1) for these primaries. */
CCNVT_EXPORT void mp_get_rgb2xyz_matrix(mp_csp_primaries primaries, float m[3][3]);
/* m := m x Bradford adaptation from white src to white dest. Leaves m
 * untouched when the whites differ by less than 1e-6 in both coordinates. */
CCNVT_EXPORT void mp_apply_chromatic_adaptation(mp_csp_col_xy src, mp_csp_col_xy dest,
                                                float m[3][3]);
/* Linear RGB in src primaries to linear RGB in dest primaries. Perceptual and
 * relative colorimetric adapt src's white to dest's; absolute colorimetric
 * keeps XYZ. Saturation only sets the three diagonal elements to 1 and leaves
 * the other six as passed: pass a zeroed matrix to get the identity. */
CCNVT_EXPORT void mp_get_cms_matrix(mp_csp_primaries src, mp_csp_primaries dest,
                                    mp_render_intent intent, float m[3][3]);
/* m := inverse of m, through the adjugate. A singular m gives infinities or
 * NaN; there is no test. */
CCNVT_EXPORT void mp_invert_matrix3x3(float m[3][3]);
/* a := a x b. b may be the same matrix as a (then a becomes its square). */
CCNVT_EXPORT void mp_mul_matrix3x3(float a[3][3], float b[3][3]);

/* ---- YCbCr to RGB maps ---- */

/* The factor that takes a sample read from a texture of texture_bits to the
 * 0..1 scale of input_bits: 1 when input_bits is 0 or csp is xyz; for rgb
 * (2^in - 1) / (2^tex - 1); else 2^in / (2^tex - 1) * 255/256 (limited-range
 * codes scale by powers of two). Bit counts below 63; texture_bits of 0 with a
 * non-zero input_bits divides by zero. */
CCNVT_EXPORT double mp_get_csp_mul(mp_csp csp, int input_bits, int texture_bits);
/* Writes the whole map from the request: matrix by params->color.csp (auto
 * and unknown values as bt.601), input range by params->color.levels (auto
 * and unknown values as limited), output range by params->levels_out
 * (limited, else full), picture controls, and bit-depth scaling
 * (mp_get_csp_mul). Hue, saturation and gray act on the bt.601, bt.709,
 * smpte-240m and bt.2020-ncl matrices only. For xyz the matrix comes from
 * params->color.prim, adapted from the DCI white. bt.2020-cl gives a fixed
 * channel permutation, not a real conversion. Black input maps to the
 * output black plus brightness. */
CCNVT_EXPORT void mp_get_csp_matrix(mp_csp_params* params, mp_cmat* out);
/* *out := the inverse map of *in. out and in must be different records. */
CCNVT_EXPORT void mp_invert_cmat(mp_cmat* out, mp_cmat* in);
/* Applies the map to three integer samples of input_bits (read as
 * sample / (2^input_bits - 1)) and writes three integers of output_bits:
 * each channel is rounded to nearest, ties to even (in the default rounding
 * mode), and clamped to 0..2^output_bits - 1. Bit counts from 1 to 30. */
CCNVT_EXPORT void mp_map_fixp_color(mp_cmat* matrix, int input_bits, int* in, int output_bits,
                                    int* out);

#endif /* __cplusplus */

#endif
