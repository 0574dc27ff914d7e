// Chromaticities of the primaries, RGB-to-XYZ matrices, Bradford white
// adaptation and gamut mapping, all in single precision.
#include <cmath>

#include "cconvert/csputils.h"

namespace cconvert::detail {
namespace {

constexpr mp_csp_col_xy kD65 = {0.31271f, 0.32902f};

constexpr mp_csp_primaries kBt709 = {{0.64f, 0.33f}, {0.30f, 0.60f}, {0.15f, 0.06f}, kD65};
constexpr mp_csp_primaries kDisplayP3 = {{0.68f, 0.32f}, {0.265f, 0.69f}, {0.15f, 0.06f}, kD65};

// XYZ of a chromaticity at luminance Y = 1.
struct Xyz {
    float x, y, z;
};

Xyz xyz_of(mp_csp_col_xy c) {
    return {c.x / c.y, 1.0f, (1.0f - c.x - c.y) / c.y};
}

using Matrix = float[3][3];

void set_columns(Matrix m, const Xyz (&columns)[3]) {
    for (int i = 0; i < 3; ++i) {
        m[0][i] = columns[i].x;
        m[1][i] = columns[i].y;
        m[2][i] = columns[i].z;
    }
}

Xyz times(const Matrix m, Xyz v) {
    return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z,
            m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
            m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

const mp_csp_primaries defMP_CSP_PRIM_BT_601_525 = {
    {0.63f, 0.34f}, {0.31f, 0.595f}, {0.155f, 0.07f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_BT_601_625 = {
    {0.64f, 0.33f}, {0.29f, 0.60f}, {0.15f, 0.06f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_BT_709 = kBt709;
const mp_csp_primaries defMP_CSP_PRIM_BT_2020 = {
    {0.708f, 0.292f}, {0.170f, 0.797f}, {0.131f, 0.046f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_BT_470M = {
    {0.67f, 0.33f}, {0.21f, 0.71f}, {0.14f, 0.08f}, {0.31006f, 0.31616f}};
const mp_csp_primaries defMP_CSP_PRIM_APPLE = {
    {0.625f, 0.34f}, {0.28f, 0.595f}, {0.115f, 0.07f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_ADOBE = {
    {0.64f, 0.33f}, {0.21f, 0.71f}, {0.15f, 0.06f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_PRO_PHOTO = {
    {0.7347f, 0.2653f}, {0.1596f, 0.8404f}, {0.0366f, 0.0001f}, {0.34577f, 0.3585f}};
const mp_csp_primaries defMP_CSP_PRIM_CIE_1931 = {
    {0.7347f, 0.2653f}, {0.2738f, 0.7174f}, {0.1666f, 0.0089f}, {1.0f / 3.0f, 1.0f / 3.0f}};
const mp_csp_primaries defMP_CSP_PRIM_DISPLAY_P3 = kDisplayP3;
const mp_csp_primaries defMP_CSP_PRIM_V_GAMUT = {
    {0.73f, 0.28f}, {0.165f, 0.84f}, {0.10f, -0.03f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_S_GAMUT = {
    {0.73f, 0.28f}, {0.14f, 0.855f}, {0.10f, -0.05f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_S_GAMUT_CINE = {
    {0.766f, 0.275f}, {0.225f, 0.80f}, {0.089f, -0.087f}, kD65};
const mp_csp_primaries defMP_CSP_PRIM_P3_DCI = {
    {0.68f, 0.32f}, {0.265f, 0.69f}, {0.15f, 0.06f}, {0.314f, 0.351f}};

// Writable copies, in place from the moment the library is loaded (constant
// initialisation, so even a host's own start-up code sees them filled).
mp_csp_primaries defMP_CSP_PRIM_AUTO = kBt709;
mp_csp_primaries defMP_CSP_PRIM_DCI_P3 = kDisplayP3;

mp_csp_primaries mp_get_csp_primaries(mp_csp_prim prim) {
    switch (prim) {
    case MP_CSP_PRIM_BT_601_525: return defMP_CSP_PRIM_BT_601_525;
    case MP_CSP_PRIM_BT_601_625: return defMP_CSP_PRIM_BT_601_625;
    case MP_CSP_PRIM_BT_2020: return defMP_CSP_PRIM_BT_2020;
    case MP_CSP_PRIM_BT_470M: return defMP_CSP_PRIM_BT_470M;
    case MP_CSP_PRIM_APPLE: return defMP_CSP_PRIM_APPLE;
    case MP_CSP_PRIM_ADOBE: return defMP_CSP_PRIM_ADOBE;
    case MP_CSP_PRIM_PRO_PHOTO: return defMP_CSP_PRIM_PRO_PHOTO;
    case MP_CSP_PRIM_CIE_1931: return defMP_CSP_PRIM_CIE_1931;
    case MP_CSP_PRIM_DCI_P3: return defMP_CSP_PRIM_DCI_P3;
    case MP_CSP_PRIM_DISPLAY_P3: return defMP_CSP_PRIM_DISPLAY_P3;
    case MP_CSP_PRIM_V_GAMUT: return defMP_CSP_PRIM_V_GAMUT;
    case MP_CSP_PRIM_S_GAMUT: return defMP_CSP_PRIM_S_GAMUT;
    case MP_CSP_PRIM_S_GAMUT_CINE: return defMP_CSP_PRIM_S_GAMUT_CINE;
    default: return defMP_CSP_PRIM_BT_709;  // auto, bt.709 and unknown values
    }
}

void mp_get_rgb2xyz_matrix(mp_csp_primaries primaries, float m[3][3]) {
    const Xyz columns[3] = {xyz_of(primaries.red), xyz_of(primaries.green),
                            xyz_of(primaries.blue)};
    // Scale each primary so that R = G = B = 1 lands on the white point.
    set_columns(m, columns);
    mp_invert_matrix3x3(m);
    const Xyz s = times(m, xyz_of(primaries.white));
    const float scale[3] = {s.x, s.y, s.z};
    set_columns(m, columns);
    for (int row = 0; row < 3; ++row)
        for (int i = 0; i < 3; ++i) m[row][i] *= scale[i];
}

void mp_apply_chromatic_adaptation(mp_csp_col_xy src, mp_csp_col_xy dest, float m[3][3]) {
    if (std::fabs(src.x - dest.x) < 1e-6 && std::fabs(src.y - dest.y) < 1e-6) return;

    float bradford[3][3] = {{0.8951f, 0.2664f, -0.1614f},
                            {-0.7502f, 1.7135f, 0.0367f},
                            {0.0389f, -0.0685f, 1.0296f}};
    // Cone responses of the two whites; scale each cone by their ratio.
    const Xyz from = times(bradford, xyz_of(src));
    const Xyz to = times(bradford, xyz_of(dest));
    float d[3][3] = {{to.x / from.x, 0.0f, 0.0f},
                     {0.0f, to.y / from.y, 0.0f},
                     {0.0f, 0.0f, to.z / from.z}};
    // m := m x B^-1 x D x B
    mp_mul_matrix3x3(d, bradford);
    mp_invert_matrix3x3(bradford);
    mp_mul_matrix3x3(m, bradford);
    mp_mul_matrix3x3(m, d);
}

void mp_get_cms_matrix(mp_csp_primaries src, mp_csp_primaries dest, mp_render_intent intent,
                       float m[3][3]) {
    if (intent == MP_INTENT_SATURATION) {
        // Only the diagonal: the other elements stay as the caller passed them.
        m[0][0] = m[1][1] = m[2][2] = 1.0f;
        return;
    }
    mp_get_rgb2xyz_matrix(dest, m);
    mp_invert_matrix3x3(m);
    if (intent != MP_INTENT_ABSOLUTE_COLORIMETRIC)
        mp_apply_chromatic_adaptation(src.white, dest.white, m);
    float src_to_xyz[3][3];
    mp_get_rgb2xyz_matrix(src, src_to_xyz);
    mp_mul_matrix3x3(m, src_to_xyz);
}

void mp_invert_matrix3x3(float m[3][3]) {
    const float m00 = m[0][0], m01 = m[0][1], m02 = m[0][2];
    const float m10 = m[1][0], m11 = m[1][1], m12 = m[1][2];
    const float m20 = m[2][0], m21 = m[2][1], m22 = m[2][2];

    // Adjugate: the transposed cofactors.
    m[0][0] = m11 * m22 - m12 * m21;
    m[1][0] = m12 * m20 - m10 * m22;
    m[2][0] = m10 * m21 - m11 * m20;
    m[0][1] = m02 * m21 - m01 * m22;
    m[1][1] = m00 * m22 - m02 * m20;
    m[2][1] = m01 * m20 - m00 * m21;
    m[0][2] = m01 * m12 - m02 * m11;
    m[1][2] = m02 * m10 - m00 * m12;
    m[2][2] = m00 * m11 - m01 * m10;

    // Determinant expanded along the first column; no test for zero.
    const float det = m00 * m[0][0] + m10 * m[0][1] + m20 * m[0][2];
    const float inverse_det = 1.0f / det;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) m[i][j] *= inverse_det;
}

void mp_mul_matrix3x3(float a[3][3], float b[3][3]) {
    // Both operands are read before anything is written, so b may be a.
    float old_a[3][3], old_b[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            old_a[i][j] = a[i][j];
            old_b[i][j] = b[i][j];
        }
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            a[i][j] = old_a[i][0] * old_b[0][j] + old_a[i][1] * old_b[1][j] +
                      old_a[i][2] * old_b[2][j];
}
