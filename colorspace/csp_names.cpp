// Printable names of the colour-space enumerations, in ascending value order.
#include "cconvert/csputils.h"

const mp_name_entry mp_csp_names[9] = {
    {"auto", MP_CSP_AUTO},
    {"bt.601", MP_CSP_BT_601},
    {"bt.709", MP_CSP_BT_709},
    {"smpte-240m", MP_CSP_SMPTE_240M},
    {"bt.2020-ncl", MP_CSP_BT_2020_NC},
    {"bt.2020-cl", MP_CSP_BT_2020_C},
    {"rgb", MP_CSP_RGB},
    {"xyz", MP_CSP_XYZ},
    {"ycgco", MP_CSP_YCGCO},
    // Hosts rely on exactly nine entries: no terminator here.
};

const mp_name_entry mp_csp_levels_names[4] = {
    {"auto", MP_CSP_LEVELS_AUTO},
    {"limited", MP_CSP_LEVELS_LIMITED},
    {"full", MP_CSP_LEVELS_FULL},
    {nullptr, 0},
};

const mp_name_entry mp_csp_prim_names[16] = {
    {"auto", MP_CSP_PRIM_AUTO},
    {"bt.601-525", MP_CSP_PRIM_BT_601_525},
    {"bt.601-625", MP_CSP_PRIM_BT_601_625},
    {"bt.709", MP_CSP_PRIM_BT_709},
    {"bt.2020", MP_CSP_PRIM_BT_2020},
    {"bt.470m", MP_CSP_PRIM_BT_470M},
    {"apple", MP_CSP_PRIM_APPLE},
    {"adobe", MP_CSP_PRIM_ADOBE},
    {"prophoto", MP_CSP_PRIM_PRO_PHOTO},
    {"cie1931", MP_CSP_PRIM_CIE_1931},
    {"dci-p3", MP_CSP_PRIM_DCI_P3},
    {"display-p3", MP_CSP_PRIM_DISPLAY_P3},
    {"v-gamut", MP_CSP_PRIM_V_GAMUT},
    {"s-gamut", MP_CSP_PRIM_S_GAMUT},
    {"s-gamut-cine", MP_CSP_PRIM_S_GAMUT_CINE},
    {nullptr, 0},
};

const mp_name_entry mp_csp_trc_names[14] = {
    {"auto", MP_CSP_TRC_AUTO},
    {"bt.1886", MP_CSP_TRC_BT_1886},
    {"srgb", MP_CSP_TRC_SRGB},
    {"linear", MP_CSP_TRC_LINEAR},
    {"gamma1.8", MP_CSP_TRC_GAMMA18},
    {"gamma2.2", MP_CSP_TRC_GAMMA22},
    {"gamma2.8", MP_CSP_TRC_GAMMA28},
    {"prophoto", MP_CSP_TRC_PRO_PHOTO},
    {"pq", MP_CSP_TRC_PQ},
    {"hlg", MP_CSP_TRC_HLG},
    {"v-log", MP_CSP_TRC_V_LOG},
    {"s-log1", MP_CSP_TRC_S_LOG1},
    {"s-log2", MP_CSP_TRC_S_LOG2},
    {nullptr, 0},
};

const mp_name_entry mp_csp_light_names[6] = {
    {"auto", MP_CSP_LIGHT_AUTO},
    {"display", MP_CSP_LIGHT_DISPLAY},
    {"hlg", MP_CSP_LIGHT_SCENE_HLG},
    {"709-1886", MP_CSP_LIGHT_SCENE_709_1886},
    {"gamma1.2", MP_CSP_LIGHT_SCENE_1_2},
    {nullptr, 0},
};

const mp_name_entry mp_chroma_names[4] = {
    {"unknown", MP_CHROMA_AUTO},
    {"mpeg2/4/h264", MP_CHROMA_LEFT},
    {"mpeg1/jpeg", MP_CHROMA_CENTER},
    {nullptr, 0},
};

const mp_name_entry mp_stereo3d_names[17] = {
    {"no", MP_STEREO3D_NONE},
    {"mono", MP_STEREO3D_MONO},
    {"sbs2l", MP_STEREO3D_SBS2L},
    {"ab2r", MP_STEREO3D_AB2R},
    {"ab2l", MP_STEREO3D_AB2L},
    {"checkr", MP_STEREO3D_CHECKR},
    {"checkl", MP_STEREO3D_CHECKL},
    {"irr", MP_STEREO3D_IRR},
    {"irl", MP_STEREO3D_IRL},
    {"icr", MP_STEREO3D_ICR},
    {"icl", MP_STEREO3D_ICL},
    {"arcc", MP_STEREO3D_ARCC},
    {"sbs2r", MP_STEREO3D_SBS2R},
    {"agmc", MP_STEREO3D_AGMC},
    {"al", MP_STEREO3D_AL},
    {"ar", MP_STEREO3D_AR},
    {nullptr, 0},
};
