// YCbCr-to-RGB maps: the bit-depth multiplier, the map of every colour space
// against a model written from the colour-science definitions, colour bars
// through the fixed-point mapping, picture controls, inversion, rounding
// and clamping.
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/csputils.h"

namespace {

mp_csp_params request(mp_csp csp, mp_csp_levels in, mp_csp_levels out, int bits,
                      int texture_bits) {
    mp_csp_params p = MP_CSP_PARAMS_NEUTRAL;
    p.color.csp = csp;
    p.color.levels = in;
    p.levels_out = out;
    p.input_bits = bits;
    p.texture_bits = texture_bits;
    return p;
}

mp_cmat map_for(mp_csp_params p) {
    mp_cmat m;
    std::memset(&m, 0xCD, sizeof m);  // every field must be written
    mp_get_csp_matrix(&p, &m);
    return m;
}

bool same_bits(const mp_cmat& a, const mp_cmat& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void apply(const mp_cmat& m, const double in[3], double out[3]) {
    for (int i = 0; i < 3; ++i)
        out[i] = double(m.m[i][0]) * in[0] + double(m.m[i][1]) * in[1] +
                 double(m.m[i][2]) * in[2] + m.c[i];
}

// Luma weights of the YCbCr matrices.
struct LumaWeights {
    double kr, kb;
};

LumaWeights weights_of(int csp) {
    switch (csp) {
    case MP_CSP_BT_709: return {0.2126, 0.0722};
    case MP_CSP_SMPTE_240M: return {0.2122, 0.0865};
    case MP_CSP_BT_2020_NC: return {0.2627, 0.0593};
    default: return {0.299, 0.114};  // BT.601
    }
}

// What the map should do, from the definitions: the normalised texture
// sample is turned into codes on an 8-bit scale (a 10-bit code 4 x c stands
// for the 8-bit code c), then into Y in 0..1 and chroma in -0.5..0.5.
void model(const mp_csp_params& p, const double n[3], double rgb[3]) {
    const int csp = p.color.csp;
    const bool full_in = p.color.levels == MP_CSP_LEVELS_FULL;
    double code8[3];
    for (int i = 0; i < 3; ++i) {
        if (p.input_bits == 0)
            code8[i] = n[i] * 255;
        else
            code8[i] = n[i] * (std::ldexp(1.0, p.texture_bits) - 1) /
                       std::ldexp(1.0, p.input_bits - 8);
    }
    double r, g, b;
    if (csp == MP_CSP_RGB || csp == MP_CSP_XYZ) {
        // RGB codes span 2^bits - 1; XYZ samples are taken as they are read.
        double v[3];
        for (int i = 0; i < 3; ++i)
            v[i] = p.input_bits == 0 || csp == MP_CSP_XYZ
                       ? n[i]
                       : n[i] * (std::ldexp(1.0, p.texture_bits) - 1) /
                             (std::ldexp(1.0, p.input_bits) - 1);
        if (csp == MP_CSP_RGB) {
            r = v[0], g = v[1], b = v[2];
        } else {
            // XYZ relative to the DCI white, adapted to the primaries' white.
            float to_rgb[3][3];
            const mp_csp_primaries prim = mp_get_csp_primaries(p.color.prim);
            mp_get_rgb2xyz_matrix(prim, to_rgb);
            mp_invert_matrix3x3(to_rgb);
            mp_apply_chromatic_adaptation({0.314f, 0.351f}, prim.white, to_rgb);
            r = to_rgb[0][0] * v[0] + to_rgb[0][1] * v[1] + to_rgb[0][2] * v[2];
            g = to_rgb[1][0] * v[0] + to_rgb[1][1] * v[1] + to_rgb[1][2] * v[2];
            b = to_rgb[2][0] * v[0] + to_rgb[2][1] * v[1] + to_rgb[2][2] * v[2];
        }
        r *= p.contrast, g *= p.contrast, b *= p.contrast;
    } else {
        double y, c1, c2;
        if (full_in) {
            y = code8[0] / 255;
            c1 = (code8[1] - 128) / 127 * 0.5;
            c2 = (code8[2] - 128) / 127 * 0.5;
        } else {
            y = (code8[0] - 16) / 219;
            c1 = (code8[1] - 128) / 224;
            c2 = (code8[2] - 128) / 224;
        }
        y *= p.contrast, c1 *= p.contrast, c2 *= p.contrast;
        if (csp == MP_CSP_YCGCO) {
            r = y - c1 + c2, g = y + c1, b = y - c1 - c2;
        } else if (csp == MP_CSP_BT_2020_C) {
            r = c2, g = y, b = c1;  // the placeholder permutation
        } else {
            double cb = c1, cr = c2;
            if (p.gray) {
                cb = cr = 0;
            } else {
                // Hue turns the chroma plane, saturation scales it.
                const double hc = p.saturation * std::cos(double(p.hue));
                const double hs = p.saturation * std::sin(double(p.hue));
                cb = hc * c1 + hs * c2;
                cr = -hs * c1 + hc * c2;
            }
            const LumaWeights w = weights_of(csp);
            r = y + 2 * (1 - w.kr) * cr;
            b = y + 2 * (1 - w.kb) * cb;
            g = (y - w.kr * r - w.kb * b) / (1 - w.kr - w.kb);
        }
    }
    const bool limited_out = p.levels_out == MP_CSP_LEVELS_LIMITED;
    const double out[3] = {r, g, b};
    for (int i = 0; i < 3; ++i)
        rgb[i] = (limited_out ? 16.0 / 255 + 219.0 / 255 * out[i] : out[i]) + p.brightness;
}

// One row of a published colour-bar table: codes and the RGB level (0 or
// 0.75) of each channel.
struct Bar {
    const char* name;
    int y, cb, cr;
    double r, g, b;
};

std::vector<Bar> bars_75(int csp, int bits) {
    // SMPTE/EBU 75% bars, BT.601 and BT.709 (RP 219 for 10-bit BT.709).
    if (csp == MP_CSP_BT_601 && bits == 8)
        return {{"white", 180, 128, 128, 1, 1, 1},   {"yellow", 162, 44, 142, 1, 1, 0},
                {"cyan", 131, 156, 44, 0, 1, 1},     {"green", 112, 72, 58, 0, 1, 0},
                {"magenta", 84, 184, 198, 1, 0, 1},  {"red", 65, 100, 212, 1, 0, 0},
                {"blue", 35, 212, 114, 0, 0, 1},     {"black", 16, 128, 128, 0, 0, 0}};
    if (csp == MP_CSP_BT_601)
        return {{"white", 721, 512, 512, 1, 1, 1},   {"yellow", 646, 176, 567, 1, 1, 0},
                {"cyan", 525, 625, 176, 0, 1, 1},    {"green", 450, 289, 231, 0, 1, 0},
                {"magenta", 335, 735, 793, 1, 0, 1}, {"red", 260, 399, 848, 1, 0, 0},
                {"blue", 139, 848, 457, 0, 0, 1},    {"black", 64, 512, 512, 0, 0, 0}};
    if (bits == 8)
        return {{"white", 180, 128, 128, 1, 1, 1},   {"yellow", 168, 44, 136, 1, 1, 0},
                {"cyan", 145, 147, 44, 0, 1, 1},     {"green", 133, 63, 52, 0, 1, 0},
                {"magenta", 63, 193, 204, 1, 0, 1},  {"red", 51, 109, 212, 1, 0, 0},
                {"blue", 28, 212, 120, 0, 0, 1},     {"black", 16, 128, 128, 0, 0, 0}};
    return {{"white", 721, 512, 512, 1, 1, 1},   {"yellow", 674, 176, 543, 1, 1, 0},
            {"cyan", 581, 589, 176, 0, 1, 1},    {"green", 534, 253, 207, 0, 1, 0},
            {"magenta", 251, 771, 817, 1, 0, 1}, {"red", 204, 435, 848, 1, 0, 0},
            {"blue", 111, 848, 481, 0, 0, 1},    {"black", 64, 512, 512, 0, 0, 0}};
}

}  // namespace

// ---- bit-depth multiplier ----

TEST(CspMul, KnownValues) {
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_BT_601, 0, 16), 1.0);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_RGB, 0, 16), 1.0);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_RGB, 8, 8), 1.0);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_BT_601, 8, 8), 1.0);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_BT_709, 10, 10), 1024.0 / 1023 * 255 / 256);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_BT_601, 10, 16), 1024.0 / 65535 * 255 * (1.0 / 256));
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_AUTO, 10, 16), 1024.0 / 65535 * 255 * (1.0 / 256));
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_RGB, 10, 16), 1023.0 / 65535);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_XYZ, 12, 16), 1.0);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_YCGCO, 12, 16), 4096.0 / 65535 * 255 / 256);
    EXPECT_EQ(mp_get_csp_mul(MP_CSP_RGB, 40, 48), (std::ldexp(1.0, 40) - 1) / (std::ldexp(1.0, 48) - 1));
}

// ---- the map against the model ----

TEST(CspMatrix, EverySpaceLevelsAndControlsAgainstTheModel) {
    std::mt19937 rng(2024);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const int bit_pairs[][2] = {{8, 8}, {10, 10}, {10, 16}, {12, 16}, {16, 16}, {0, 0}, {0, 8}};
    for (int csp = 0; csp < MP_CSP_COUNT; ++csp)
        for (int levels_in : {1, 2})
            for (int levels_out : {1, 2})
                for (const auto& bits : bit_pairs)
                    for (int controls = 0; controls < 4; ++controls) {
                        mp_csp_params p = request(mp_csp(csp == 0 ? 1 : csp),
                                                  mp_csp_levels(levels_in),
                                                  mp_csp_levels(levels_out), bits[0], bits[1]);
                        p.color.prim = mp_csp_prim(controls * 3 % MP_CSP_PRIM_COUNT);
                        if (controls > 0) {
                            p.brightness = float(unit(rng) - 0.5);
                            p.contrast = float(0.5 + unit(rng));
                            p.hue = float(unit(rng) * 6 - 3);
                            p.saturation = float(unit(rng) * 2);
                            p.gray = controls == 3;
                        }
                        mp_csp_params asked = p;
                        asked.color.csp = mp_csp(csp);  // 0 must behave as bt.601
                        const mp_cmat m = map_for(asked);
                        SCOPED_TRACE(testing::Message()
                                     << "csp " << csp << " levels " << levels_in << "->"
                                     << levels_out << " bits " << bits[0] << "/" << bits[1]
                                     << " controls " << controls);
                        // Samples within the codes of input_bits.
                        const double range =
                            bits[0] == 0 ? 1.0
                                         : (std::ldexp(1.0, bits[0]) - 1) / (std::ldexp(1.0, bits[1]) - 1);
                        for (int k = 0; k < 4; ++k) {
                            const double n[3] = {unit(rng) * range, unit(rng) * range,
                                                 unit(rng) * range};
                            double got[3], expected[3];
                            apply(m, n, got);
                            model(p, n, expected);
                            for (int i = 0; i < 3; ++i) EXPECT_NEAR(got[i], expected[i], 1e-5);
                        }
                    }
}

TEST(CspMatrix, PublishedSinglePrecisionCoefficients) {
    // R = Y + a Cr, G = Y + b Cb + c Cr, B = Y + d Cb, as single-precision
    // constants; each is scaled by the range gain in double precision and
    // stored in single.
    struct Coefficients {
        mp_csp csp;
        float a, b, c, d;
    };
    const Coefficients table[] = {
        {MP_CSP_BT_601, 1.402f, -0.34413627f, -0.71413624f, 1.772f},
        {MP_CSP_BT_709, 1.5748f, -0.18732426f, -0.46812427f, 1.8556f},
        {MP_CSP_SMPTE_240M, 1.5756f, -0.22534649f, -0.4767465f, 1.827f},
        {MP_CSP_BT_2020_NC, 1.4746001f, -0.16455314f, -0.5713532f, 1.8814f},
    };
    for (const Coefficients& k : table) {
        // 8-bit limited input, full output: luma gain 255/219, chroma 255/224.
        const mp_cmat m = map_for(request(k.csp, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 8, 8));
        const double s = 1.0 / 255;
        const double luma = 1.0 / (235 * s - 16 * s), chroma = 1.0 / (240 * s - 128 * s) * 0.5;
        const float expected[3][3] = {{float(luma), 0, float(k.a * chroma)},
                                      {float(luma), float(k.b * chroma), float(k.c * chroma)},
                                      {float(luma), float(k.d * chroma), 0}};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                EXPECT_EQ(m.m[i][j], expected[i][j]) << "csp " << k.csp << " [" << i << "][" << j << "]";
    }
}

TEST(CspMatrix, Bt709LimitedBlackAndWhiteExactly) {
    for (int bits : {8, 10}) {
        const int scale = 1 << (bits - 8), top = (1 << bits) - 1;
        const mp_cmat to_full =
            map_for(request(MP_CSP_BT_709, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, bits, bits));
        const mp_cmat to_limited = map_for(
            request(MP_CSP_BT_709, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_LIMITED, bits, bits));
        mp_cmat full = to_full, limited = to_limited;
        int black[3] = {16 * scale, 128 * scale, 128 * scale};
        int white[3] = {235 * scale, 128 * scale, 128 * scale};
        int out[3];
        mp_map_fixp_color(&full, bits, black, bits, out);
        EXPECT_EQ(out[0], 0);
        EXPECT_EQ(out[1], 0);
        EXPECT_EQ(out[2], 0);
        mp_map_fixp_color(&full, bits, white, bits, out);
        EXPECT_EQ(out[0], top);
        EXPECT_EQ(out[1], top);
        EXPECT_EQ(out[2], top);
        // Limited RGB output is 16/255 to 235/255 of full scale at every
        // depth: 64 to 943 in 10 bits (942.76), not 64 to 940.
        mp_map_fixp_color(&limited, bits, black, bits, out);
        EXPECT_EQ(out[0], bits == 8 ? 16 : 64);
        EXPECT_EQ(out[2], bits == 8 ? 16 : 64);
        mp_map_fixp_color(&limited, bits, white, bits, out);
        EXPECT_EQ(out[0], bits == 8 ? 235 : 943);
        EXPECT_EQ(out[1], bits == 8 ? 235 : 943);

        // In normalised units too, within single-precision rounding.
        const double n_black[3] = {16.0 * scale / top, 128.0 * scale / top, 128.0 * scale / top};
        double rgb[3];
        apply(to_full, n_black, rgb);
        for (double v : rgb) EXPECT_NEAR(v, 0.0, 1e-6);
    }
}

TEST(CspMatrix, ColourBarsOfBt601AndBt709In8And10Bits) {
    for (mp_csp csp : {MP_CSP_BT_601, MP_CSP_BT_709})
        for (int bits : {8, 10}) {
            mp_csp_params p = request(csp, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, bits, bits);
            mp_cmat m = map_for(p);
            const int top = (1 << bits) - 1;
            for (const Bar& bar : bars_75(csp, bits)) {
                int ycbcr[3] = {bar.y, bar.cb, bar.cr}, rgb[3];
                mp_map_fixp_color(&m, bits, ycbcr, bits, rgb);
                const double target[3] = {bar.r * 0.75 * top, bar.g * 0.75 * top,
                                          bar.b * 0.75 * top};
                // The codes are rounded; they come back within two output codes.
                const double n[3] = {double(bar.y) / top, double(bar.cb) / top,
                                     double(bar.cr) / top};
                double exact[3];
                model(p, n, exact);
                for (int i = 0; i < 3; ++i) {
                    SCOPED_TRACE(testing::Message() << "csp " << csp << " " << bits << "-bit "
                                                    << bar.name << " channel " << i);
                    EXPECT_NEAR(rgb[i], target[i], 2.0);
                    const double rounded = std::fmin(top, std::fmax(0.0, std::nearbyint(exact[i] * top)));
                    EXPECT_NEAR(rgb[i], rounded, 1.0);
                }
            }
        }
}

// ---- unknown inputs and controls ----

TEST(CspMatrix, UnknownSpacesAndLevelsFallBack) {
    const mp_cmat bt601 =
        map_for(request(MP_CSP_BT_601, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 10, 16));
    for (int csp : {0, 9, 300, -1})
        EXPECT_TRUE(same_bits(
            map_for(request(mp_csp(csp), MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 10, 16)),
            bt601))
            << csp;
    for (int levels : {0, 3, -1, 300})
        EXPECT_TRUE(same_bits(
            map_for(request(MP_CSP_BT_601, mp_csp_levels(levels), MP_CSP_LEVELS_FULL, 10, 16)),
            bt601))
            << levels;
    // Any output range but limited is full.
    for (int levels_out : {0, 3, -1})
        EXPECT_TRUE(same_bits(
            map_for(request(MP_CSP_BT_601, MP_CSP_LEVELS_LIMITED, mp_csp_levels(levels_out), 10, 16)),
            bt601))
            << levels_out;
}

TEST(CspMatrix, GrayZeroesChromaAndFollowsLuma) {
    mp_csp_params p = request(MP_CSP_BT_601, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 8, 8);
    p.gray = true;
    p.hue = 1.0f;
    p.saturation = 3.0f;
    mp_cmat m = map_for(p);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(m.m[i][1], 0.0f);
        EXPECT_EQ(m.m[i][2], 0.0f);
    }
    int in[3] = {126, 10, 250}, out[3];
    mp_map_fixp_color(&m, 8, in, 8, out);
    const int expected = int(std::lrint((126 - 16) * 255.0 / 219));
    EXPECT_EQ(out[0], expected);
    EXPECT_EQ(out[1], expected);
    EXPECT_EQ(out[2], expected);
}

TEST(CspMatrix, ExactEffectsOfSaturationContrastAndBrightness) {
    const mp_csp_params neutral =
        request(MP_CSP_BT_709, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 8, 8);
    const mp_cmat base = map_for(neutral);

    mp_csp_params p = neutral;
    p.saturation = 2.0f;  // doubles the chroma columns exactly
    mp_cmat m = map_for(p);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(m.m[i][0], base.m[i][0]);
        EXPECT_EQ(m.m[i][1], 2 * base.m[i][1]);
        EXPECT_EQ(m.m[i][2], 2 * base.m[i][2]);
    }

    p = neutral;
    p.contrast = 2.0f;
    m = map_for(p);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(m.m[i][j], 2 * base.m[i][j]);

    // Black (Y 16, chroma 128) lands on the brightness whatever the contrast.
    p.brightness = 0.25f;
    m = map_for(p);
    const double black[3] = {16.0 / 255, 128.0 / 255, 128.0 / 255};
    double rgb[3];
    apply(m, black, rgb);
    for (double v : rgb) EXPECT_NEAR(v, 0.25, 1e-6);
}

TEST(CspMatrix, HueTurnsTheChromaColumns) {
    const mp_csp_params neutral =
        request(MP_CSP_BT_2020_NC, MP_CSP_LEVELS_FULL, MP_CSP_LEVELS_FULL, 8, 8);
    const mp_cmat base = map_for(neutral);
    mp_csp_params p = neutral;
    p.hue = float(std::numbers::pi / 2);  // (u, v) becomes (-v, u)
    const mp_cmat m = map_for(p);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(m.m[i][0], base.m[i][0]);
        EXPECT_NEAR(m.m[i][1], -base.m[i][2], 1e-6);
        EXPECT_NEAR(m.m[i][2], base.m[i][1], 1e-6);
    }
}

TEST(CspMatrix, FixedMatricesIgnoreHueSaturationAndGray) {
    for (mp_csp csp : {MP_CSP_RGB, MP_CSP_XYZ, MP_CSP_YCGCO, MP_CSP_BT_2020_C}) {
        const mp_csp_params neutral = request(csp, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 8, 8);
        mp_csp_params p = neutral;
        p.hue = 1.0f;
        p.saturation = 0.5f;
        p.gray = true;
        EXPECT_TRUE(same_bits(map_for(p), map_for(neutral))) << csp;
    }
}

TEST(CspMatrix, RgbFullRangeIsTheIdentityAndXyzWhiteIsRgbWhite) {
    mp_cmat rgb = map_for(request(MP_CSP_RGB, MP_CSP_LEVELS_FULL, MP_CSP_LEVELS_FULL, 8, 8));
    const mp_cmat identity = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}};
    EXPECT_TRUE(same_bits(rgb, identity));
    // RGB ignores the input range.
    EXPECT_TRUE(same_bits(map_for(request(MP_CSP_RGB, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 8, 8)),
                          identity));

    for (int prim : {0, 3, 4, 10, 11}) {
        mp_csp_params p = request(MP_CSP_XYZ, MP_CSP_LEVELS_FULL, MP_CSP_LEVELS_FULL, 0, 0);
        p.color.prim = mp_csp_prim(prim);
        const mp_cmat m = map_for(p);
        const double dci_white[3] = {0.314 / 0.351, 1.0, (1 - 0.314 - 0.351) / 0.351};
        double out[3];
        apply(m, dci_white, out);
        for (double v : out) EXPECT_NEAR(v, 1.0, 1e-5) << "prim " << prim;
    }
}

// ---- inversion ----

TEST(CspInvertCmat, InverseThenMapIsTheIdentity) {
    std::mt19937 rng(99);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int csp : {1, 2, 3, 4, 6, 7, 8})
        for (int levels : {1, 2}) {
            mp_csp_params p = request(mp_csp(csp), mp_csp_levels(levels), MP_CSP_LEVELS_LIMITED, 10, 16);
            p.brightness = 0.1f;
            p.contrast = 1.2f;
            p.hue = 0.3f;
            mp_cmat forward = map_for(p), inverse;
            std::memset(&inverse, 0xCD, sizeof inverse);
            mp_invert_cmat(&inverse, &forward);
            for (int k = 0; k < 16; ++k) {
                const double rgb[3] = {unit(rng), unit(rng), unit(rng)};
                double back[3], again[3];
                apply(inverse, rgb, back);
                apply(forward, back, again);
                for (int i = 0; i < 3; ++i) EXPECT_NEAR(again[i], rgb[i], 1e-5) << "csp " << csp;
            }
        }
}

TEST(CspInvertCmat, RgbWhiteGoesBackToTheLimitedRangeCodes) {
    mp_cmat forward = map_for(request(MP_CSP_BT_709, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 8, 8));
    mp_cmat inverse;
    mp_invert_cmat(&inverse, &forward);
    int white[3] = {255, 255, 255}, red[3] = {191, 0, 0}, ycbcr[3];
    mp_map_fixp_color(&inverse, 8, white, 8, ycbcr);
    EXPECT_EQ(ycbcr[0], 235);
    EXPECT_EQ(ycbcr[1], 128);
    EXPECT_EQ(ycbcr[2], 128);
    mp_map_fixp_color(&inverse, 8, red, 8, ycbcr);  // the 75% red bar
    EXPECT_EQ(ycbcr[0], 51);
    EXPECT_EQ(ycbcr[1], 109);
    EXPECT_EQ(ycbcr[2], 212);
}

// ---- fixed-point application ----

TEST(CspMapFixp, RoundsHalfToEvenInDoublePrecision) {
    mp_cmat m = {{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {0.5f, 0.5f, 0.5f}};
    int in[3] = {0, 0, 0}, out[3];
    // 0.5 x 1 = 0.5 goes to the even 0; 0.5 x 255 = 127.5 to 128.
    mp_map_fixp_color(&m, 8, in, 1, out);
    EXPECT_EQ(out[0], 0);
    mp_map_fixp_color(&m, 8, in, 8, out);
    EXPECT_EQ(out[0], 128);
    mp_map_fixp_color(&m, 8, in, 10, out);
    EXPECT_EQ(out[0], 512);
    // A term of 2^-30 tips 0.5 over: the sum is kept in double precision.
    m.m[0][0] = std::ldexp(1.0f, -30);
    int one[3] = {1, 0, 0};
    mp_map_fixp_color(&m, 1, one, 1, out);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[1], 0);
}

TEST(CspMapFixp, ClampsToTheOutputRange) {
    mp_cmat m = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {-0.25f, 0.75f, 0}};
    int in[3] = {0, 255, 255}, out[3];
    mp_map_fixp_color(&m, 8, in, 8, out);
    EXPECT_EQ(out[0], 0);    // -0.25
    EXPECT_EQ(out[1], 255);  // 1.75
    EXPECT_EQ(out[2], 255);  // exactly 1
    mp_map_fixp_color(&m, 8, in, 12, out);
    EXPECT_EQ(out[1], 4095);
}

TEST(CspMapFixp, ScalesBetweenBitDepths) {
    mp_cmat identity = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}};
    int in10[3] = {1023, 512, 0}, out[3];
    mp_map_fixp_color(&identity, 10, in10, 8, out);
    EXPECT_EQ(out[0], 255);
    EXPECT_EQ(out[1], 128);  // 127.62
    EXPECT_EQ(out[2], 0);
    int in8[3] = {255, 128, 1};
    mp_map_fixp_color(&identity, 8, in8, 10, out);
    EXPECT_EQ(out[0], 1023);
    EXPECT_EQ(out[1], 514);  // 513.51
    EXPECT_EQ(out[2], 4);    // 4.01
    // Channels use their own rows: a permutation.
    mp_cmat swap = {{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}, {0, 0, 0}};
    int in[3] = {10, 20, 30};
    mp_map_fixp_color(&swap, 8, in, 8, out);
    EXPECT_EQ(out[0], 30);
    EXPECT_EQ(out[1], 10);
    EXPECT_EQ(out[2], 20);
}
