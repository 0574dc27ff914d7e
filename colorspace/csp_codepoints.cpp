// Translations between the colour-space enumerations and the ITU-T H.273
// code points, the size-based guesses and the small queries on a
// colour description.
#include "cconvert/csputils.h"

namespace cconvert::detail {
namespace {

// H.273 code point "unspecified", given for every value without a counterpart.
constexpr int kUnspecified = 2;

// Range and chroma-location codes share the numbering 0 unspecified, 1, 2:
// both directions keep 1 and 2 and send everything else to 0.
int one_or_two_else_zero(int value) {
    return value == 1 || value == 2 ? value : 0;
}

// The size above which pictures are taken to be high definition.
bool is_hd_size(int width, int height) {
    return width > 1279 || height > 576;
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

mp_csp avcol_spc_to_mp_csp(int matrix_coefficients) {
    switch (matrix_coefficients) {
    case 0: return MP_CSP_RGB;         // identity
    case 1: return MP_CSP_BT_709;
    case 5:                            // BT.470 B/G
    case 6: return MP_CSP_BT_601;      // SMPTE 170M
    case 7: return MP_CSP_SMPTE_240M;
    case 8: return MP_CSP_YCGCO;
    case 9: return MP_CSP_BT_2020_NC;
    case 10: return MP_CSP_BT_2020_C;
    default: return MP_CSP_AUTO;       // 2 unspecified, 3 reserved, 4 FCC, the rest
    }
}

mp_csp_levels avcol_range_to_mp_csp_levels(int range) {
    return static_cast<mp_csp_levels>(one_or_two_else_zero(range));
}

mp_csp_prim avcol_pri_to_mp_csp_prim(int colour_primaries) {
    switch (colour_primaries) {
    case 1: return MP_CSP_PRIM_BT_709;
    case 4: return MP_CSP_PRIM_BT_470M;
    case 5: return MP_CSP_PRIM_BT_601_625;  // BT.470 B/G
    case 6:                                 // SMPTE 170M
    case 7: return MP_CSP_PRIM_BT_601_525;  // SMPTE 240M
    case 9: return MP_CSP_PRIM_BT_2020;
    default: return MP_CSP_PRIM_AUTO;       // 8 generic film and the rest
    }
}

mp_csp_trc avcol_trc_to_mp_csp_trc(int transfer_characteristics) {
    switch (transfer_characteristics) {
    case 1:                              // BT.709
    case 6:                              // SMPTE 170M
    case 7:                              // SMPTE 240M
    case 12:                             // BT.1361
    case 14:                             // BT.2020 10-bit
    case 15: return MP_CSP_TRC_BT_1886;  // BT.2020 12-bit
    case 4: return MP_CSP_TRC_GAMMA22;
    case 5: return MP_CSP_TRC_GAMMA28;
    case 8: return MP_CSP_TRC_LINEAR;
    case 13: return MP_CSP_TRC_SRGB;     // IEC 61966-2-1
    case 16: return MP_CSP_TRC_PQ;       // SMPTE ST 2084
    case 18: return MP_CSP_TRC_HLG;      // ARIB STD-B67
    default: return MP_CSP_TRC_AUTO;
    }
}

int mp_csp_to_avcol_spc(mp_csp csp) {
    switch (csp) {
    case MP_CSP_BT_601: return 5;
    case MP_CSP_BT_709: return 1;
    case MP_CSP_SMPTE_240M: return 7;
    case MP_CSP_BT_2020_NC: return 9;
    case MP_CSP_BT_2020_C: return 10;
    case MP_CSP_RGB: return 0;
    case MP_CSP_YCGCO: return 8;
    default: return kUnspecified;
    }
}

int mp_csp_levels_to_avcol_range(mp_csp_levels levels) {
    return one_or_two_else_zero(levels);
}

int mp_csp_prim_to_avcol_pri(mp_csp_prim prim) {
    switch (prim) {
    case MP_CSP_PRIM_BT_601_525: return 6;
    case MP_CSP_PRIM_BT_601_625: return 5;
    case MP_CSP_PRIM_BT_709: return 1;
    case MP_CSP_PRIM_BT_2020: return 9;
    case MP_CSP_PRIM_BT_470M: return 4;
    default: return kUnspecified;
    }
}

int mp_csp_trc_to_avcol_trc(mp_csp_trc trc) {
    switch (trc) {
    case MP_CSP_TRC_BT_1886: return 1;
    case MP_CSP_TRC_SRGB: return 13;
    case MP_CSP_TRC_LINEAR: return 8;
    case MP_CSP_TRC_GAMMA22: return 4;
    case MP_CSP_TRC_GAMMA28: return 5;
    case MP_CSP_TRC_PQ: return 16;
    case MP_CSP_TRC_HLG: return 18;
    default: return kUnspecified;  // gamma1.8 included: H.273 has no pure 1.8 power
    }
}

mp_chroma_location avchroma_location_to_mp(int chroma_location) {
    return static_cast<mp_chroma_location>(one_or_two_else_zero(chroma_location));
}

int mp_chroma_location_to_av(mp_chroma_location location) {
    return one_or_two_else_zero(location);
}

mp_csp mp_csp_guess_colorspace(int width, int height) {
    return is_hd_size(width, height) ? MP_CSP_BT_709 : MP_CSP_BT_601;
}

mp_csp_prim mp_csp_guess_primaries(int width, int height) {
    if (is_hd_size(width, height)) return MP_CSP_PRIM_BT_709;
    switch (height) {
    case 486:  // NTSC with its full vertical blanking
    case 480: return MP_CSP_PRIM_BT_601_525;
    case 576: return MP_CSP_PRIM_BT_601_625;
    default: return MP_CSP_PRIM_BT_709;
    }
}

void mp_get_chroma_location(mp_chroma_location location, int* x, int* y) {
    *y = 0;
    *x = location == MP_CHROMA_LEFT ? -1 : 0;
}

void mp_colorspace_merge(mp_colorspace* target, mp_colorspace* source) {
    if (!target->csp) target->csp = source->csp;
    if (!target->levels) target->levels = source->levels;
    if (!target->prim) target->prim = source->prim;
    if (!target->trc) target->trc = source->trc;
    // Compares equal for -0.0 too; a NaN peak counts as known.
    if (target->signal_peak == 0.0f) target->signal_peak = source->signal_peak;
    if (!target->light) target->light = source->light;
}

void mp_image_params_guess_csp(mp_image_params*) {}

float mp_trc_nom_peak(mp_csp_trc trc) {
    switch (trc) {
    case MP_CSP_TRC_PQ: return 10000.0f / 100.0f;  // 10000 cd/m2 over a 100 cd/m2 white
    case MP_CSP_TRC_HLG: return 12.0f;
    case MP_CSP_TRC_V_LOG: return 46.0855f;
    case MP_CSP_TRC_S_LOG1: return 6.52f;
    case MP_CSP_TRC_S_LOG2: return 9.212f;
    default: return 1.0f;
    }
}

bool mp_trc_is_hdr(mp_csp_trc trc) {
    return mp_trc_nom_peak(trc) > 1.0f;
}
