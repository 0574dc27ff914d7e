// YCbCr (or RGB, or XYZ) to RGB as one affine map: matrix by colour space,
// picture controls, input and output ranges, bit-depth scaling. Also the
// inverse map and its application to integer samples.
#include <cmath>
#include <cstdint>

#include "cconvert/csputils.h"

namespace cconvert::detail {
namespace {

// R = Y + a Cr, G = Y + b Cb + c Cr, B = Y + d Cb.
struct LumaChromaCoefficients {
    float a, b, c, d;
};

constexpr LumaChromaCoefficients kBt601 = {1.402f, -0.34413627f, -0.71413624f, 1.772f};
constexpr LumaChromaCoefficients kBt709 = {1.5748f, -0.18732426f, -0.46812427f, 1.8556f};
constexpr LumaChromaCoefficients kSmpte240m = {1.5756f, -0.22534649f, -0.4767465f, 1.827f};
constexpr LumaChromaCoefficients kBt2020Ncl = {1.4746001f, -0.16455314f, -0.5713532f, 1.8814f};

// The DCI white that XYZ samples are taken to be relative to.
constexpr mp_csp_col_xy kDciWhite = {0.314f, 0.351f};

void set_rows(mp_cmat* out, const float (&rows)[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) out->m[i][j] = rows[i][j];
}

void set_ycbcr_matrix(mp_cmat* out, LumaChromaCoefficients k) {
    set_rows(out, {{1.0f, 0.0f, k.a}, {1.0f, k.b, k.c}, {1.0f, k.d, 0.0f}});
}

// Hue turns the (Cb, Cr) plane, saturation scales it; gray drops it.
void apply_hue_saturation_gray(mp_cmat* out, const mp_csp_params& params) {
    if (params.gray) {
        for (auto& row : out->m) row[1] = row[2] = 0.0f;
        return;
    }
    const float hc = params.saturation * std::cos(params.hue);
    const float hs = params.saturation * std::sin(params.hue);
    for (auto& row : out->m) {
        const float u = row[1], v = row[2];
        row[1] = hc * u - hs * v;
        row[2] = hs * u + hc * v;
    }
}

void set_xyz_to_rgb_matrix(mp_cmat* out, mp_csp_prim prim) {
    const mp_csp_primaries primaries = mp_get_csp_primaries(prim);
    mp_get_rgb2xyz_matrix(primaries, out->m);
    mp_invert_matrix3x3(out->m);
    mp_apply_chromatic_adaptation(kDciWhite, primaries.white, out->m);
}

// Where black, white and neutral chroma sit in normalised input units.
struct InputLevels {
    double ymin, ymax, cmid, chroma_span;
};

InputLevels input_levels(mp_csp csp, mp_csp_levels levels, const mp_csp_params& params) {
    // One 8-bit code value, scaled to the sample depth in use.
    const double s = mp_get_csp_mul(csp, params.input_bits, params.texture_bits) / 255;
    if (csp == MP_CSP_RGB || csp == MP_CSP_XYZ) return {0, 255 * s, 0, 255 * s / 2};
    if (levels == MP_CSP_LEVELS_FULL) return {0, 255 * s, 128 * s, 255 * s - 128 * s};
    return {16 * s, 235 * s, 128 * s, 240 * s - 128 * s};
}

}  // namespace
}  // namespace cconvert::detail

using namespace cconvert::detail;

double mp_get_csp_mul(mp_csp csp, int input_bits, int texture_bits) {
    if (input_bits == 0) return 1.0;
    const std::int64_t input_top = std::int64_t{1} << input_bits;
    const double texture_max = static_cast<double>((std::int64_t{1} << texture_bits) - 1);
    if (csp == MP_CSP_RGB) return static_cast<double>(input_top - 1) / texture_max;
    if (csp == MP_CSP_XYZ) return 1.0;
    // Limited-range codes scale by 2^n (16 << (n - 8)), not by 2^n - 1.
    return static_cast<double>(input_top) / texture_max * 255 * (1.0 / 256);
}

void mp_get_csp_matrix(mp_csp_params* params, mp_cmat* out) {
    mp_csp csp = params->color.csp;
    if (csp <= MP_CSP_AUTO || csp >= MP_CSP_COUNT) csp = MP_CSP_BT_601;
    mp_csp_levels levels_in = params->color.levels;
    if (levels_in != MP_CSP_LEVELS_FULL) levels_in = MP_CSP_LEVELS_LIMITED;

    switch (csp) {
    case MP_CSP_BT_601: set_ycbcr_matrix(out, kBt601); break;
    case MP_CSP_BT_709: set_ycbcr_matrix(out, kBt709); break;
    case MP_CSP_SMPTE_240M: set_ycbcr_matrix(out, kSmpte240m); break;
    case MP_CSP_BT_2020_NC: set_ycbcr_matrix(out, kBt2020Ncl); break;
    // A placeholder for constant luminance (which is not affine): a permutation.
    case MP_CSP_BT_2020_C: set_rows(out, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}); break;
    case MP_CSP_YCGCO: set_rows(out, {{1, -1, 1}, {1, 1, 0}, {1, -1, -1}}); break;
    case MP_CSP_RGB: set_rows(out, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}); break;
    case MP_CSP_XYZ: set_xyz_to_rgb_matrix(out, params->color.prim); break;
    default: break;  // unreachable: csp was folded into 1..8 above
    }
    if (csp == MP_CSP_BT_601 || csp == MP_CSP_BT_709 || csp == MP_CSP_SMPTE_240M ||
        csp == MP_CSP_BT_2020_NC)
        apply_hue_saturation_gray(out, *params);

    const InputLevels in = input_levels(csp, levels_in, *params);
    const bool limited_out = params->levels_out == MP_CSP_LEVELS_LIMITED;
    const double rgb_span = limited_out ? 219.0 / 255 : 1.0;
    const double rgb_min = limited_out ? 16.0 / 255 : 0.0;

    const double ymul = rgb_span / (in.ymax - in.ymin) * params->contrast;
    const double cmul = rgb_span / in.chroma_span * 0.5 * params->contrast;
    for (int i = 0; i < 3; ++i) {
        float* row = out->m[i];
        row[0] = static_cast<float>(row[0] * ymul);
        row[1] = static_cast<float>(row[1] * cmul);
        row[2] = static_cast<float>(row[2] * cmul);
        // Black input lands on the output black, lifted by the brightness.
        out->c[i] = static_cast<float>(rgb_min - row[0] * in.ymin - (row[1] + row[2]) * in.cmid +
                                       params->brightness);
    }
}

void mp_invert_cmat(mp_cmat* out, mp_cmat* in) {
    *out = *in;
    mp_invert_matrix3x3(out->m);
    for (int i = 0; i < 3; ++i)
        out->c[i] = -(out->m[i][0] * in->c[0] + out->m[i][1] * in->c[1] + out->m[i][2] * in->c[2]);
}

void mp_map_fixp_color(mp_cmat* matrix, int input_bits, int* in, int output_bits, int* out) {
    const float in_max = static_cast<float>((1 << input_bits) - 1);
    const int out_max = (1 << output_bits) - 1;
    for (int i = 0; i < 3; ++i) {
        // Each term in single precision, the sum in double.
        double v = matrix->c[i];
        for (int j = 0; j < 3; ++j) v += in[j] * matrix->m[i][j] / in_max;
        const long r = std::lrint(v * out_max);
        out[i] = r < 0 ? 0 : (r > out_max ? out_max : static_cast<int>(r));
    }
}
