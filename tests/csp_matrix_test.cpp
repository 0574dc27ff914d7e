// YCbCr-to-RGB maps against a colour-science model, colour bars, fallbacks, inversion, fixed-point mapping.
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/csputils.h"

namespace {

mp_csp_params request(mp_csp csp, mp_csp_levels in, mp_csp_levels out, int bits, int texture_bits) {
    mp_csp_params p = MP_CSP_PARAMS_NEUTRAL;
    p.color.csp = csp, p.color.levels = in, p.levels_out = out, p.input_bits = bits, p.texture_bits = texture_bits;
    return p;
}

mp_cmat map_for(mp_csp_params p) {
    mp_cmat m;
    std::memset(&m, 0xCD, sizeof m);  // every field must be written
    mp_get_csp_matrix(&p, &m);
    return m;
}

bool same_bits(const mp_cmat& a, const mp_cmat& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

void apply(const mp_cmat& m, const double in[3], double out[3]) {
    for (int i = 0; i < 3; ++i)
        out[i] = double(m.m[i][0]) * in[0] + double(m.m[i][1]) * in[1] + double(m.m[i][2]) * in[2] + m.c[i];
}

// The texture sample as codes on an 8-bit scale (10-bit 4c stands for c), then Y in 0..1, chroma in -0.5..0.5.
void model(const mp_csp_params& p, const double n[3], double rgb[3]) {
    const int csp = p.color.csp;
    const double texture_top = std::ldexp(1.0, p.texture_bits) - 1;
    double code8[3], r, g, b;
    for (int i = 0; i < 3; ++i)
        code8[i] = p.input_bits == 0 ? n[i] * 255 : n[i] * texture_top / std::ldexp(1.0, p.input_bits - 8);
    if (csp == MP_CSP_RGB || csp == MP_CSP_XYZ) {
        double v[3];  // RGB codes span 2^bits - 1; XYZ samples are taken as they are read
        for (int i = 0; i < 3; ++i)
            v[i] = p.input_bits == 0 || csp == MP_CSP_XYZ ? n[i]
                                                          : n[i] * texture_top / (std::ldexp(1.0, p.input_bits) - 1);
        r = v[0], g = v[1], b = v[2];
        if (csp == MP_CSP_XYZ) {  // relative to the DCI white, adapted to the primaries' white
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
        const bool full = p.color.levels == MP_CSP_LEVELS_FULL;
        const double y = (full ? code8[0] / 255 : (code8[0] - 16) / 219) * p.contrast;
        const double c1 = (full ? (code8[1] - 128) / 127 * 0.5 : (code8[1] - 128) / 224) * p.contrast;
        const double c2 = (full ? (code8[2] - 128) / 127 * 0.5 : (code8[2] - 128) / 224) * p.contrast;
        if (csp == MP_CSP_YCGCO) {
            r = y - c1 + c2, g = y + c1, b = y - c1 - c2;
        } else if (csp == MP_CSP_BT_2020_C) {
            r = c2, g = y, b = c1;  // the placeholder permutation
        } else {
            // Hue turns the chroma plane, saturation scales it, gray drops it; weights of BT.709, 240M, 2020, 601.
            const double hc = p.gray ? 0 : p.saturation * std::cos(double(p.hue));
            const double hs = p.gray ? 0 : p.saturation * std::sin(double(p.hue));
            const double cb = hc * c1 + hs * c2, cr = -hs * c1 + hc * c2;
            const double kr = csp == MP_CSP_BT_709 ? 0.2126 : csp == MP_CSP_SMPTE_240M ? 0.2122
                              : csp == MP_CSP_BT_2020_NC ? 0.2627 : 0.299;
            const double kb = csp == MP_CSP_BT_709 ? 0.0722 : csp == MP_CSP_SMPTE_240M ? 0.0865
                              : csp == MP_CSP_BT_2020_NC ? 0.0593 : 0.114;
            r = y + 2 * (1 - kr) * cr;
            b = y + 2 * (1 - kb) * cb;
            g = (y - kr * r - kb * b) / (1 - kr - kb);
        }
    }
    const bool limited_out = p.levels_out == MP_CSP_LEVELS_LIMITED;
    const double out[3] = {r, g, b};
    for (int i = 0; i < 3; ++i) rgb[i] = (limited_out ? 16.0 / 255 + 219.0 / 255 * out[i] : out[i]) + p.brightness;
}

// Published 75% colour bars (SMPTE/EBU 8-bit BT.601, RP 219 10-bit BT.709): codes and which channels are at 75%.
struct Bar { mp_csp csp; int bits, y, cb, cr; bool r, g, b; };
const Bar kBars[] = {  // yellow, cyan, magenta: each weight of each matrix
    {MP_CSP_BT_601, 8, 162, 44, 142, 1, 1, 0},   {MP_CSP_BT_601, 8, 131, 156, 44, 0, 1, 1},
    {MP_CSP_BT_601, 8, 84, 184, 198, 1, 0, 1},   {MP_CSP_BT_709, 10, 674, 176, 543, 1, 1, 0},
    {MP_CSP_BT_709, 10, 581, 589, 176, 0, 1, 1}, {MP_CSP_BT_709, 10, 251, 771, 817, 1, 0, 1},
};

std::vector<int> map_fixp(mp_cmat m, int in_bits, std::vector<int> in, int out_bits) {
    std::vector<int> out(3);
    mp_map_fixp_color(&m, in_bits, in.data(), out_bits, out.data());
    return out;
}

}  // namespace

TEST(CspMul, KnownValues) {
    // Limited-range codes scale by 2^n (16 << (n - 8)), RGB by 2^n - 1; XYZ and input_bits 0 not at all.
    const struct { mp_csp csp; int input_bits, texture_bits; double mul; } cases[] = {
        {MP_CSP_BT_601, 0, 16, 1.0}, {MP_CSP_RGB, 8, 8, 1.0}, {MP_CSP_BT_601, 8, 8, 1.0}, {MP_CSP_XYZ, 12, 16, 1.0},
        {MP_CSP_RGB, 10, 16, 1023.0 / 65535}, {MP_CSP_BT_709, 10, 10, 1024.0 / 1023 * 255 / 256},
        {MP_CSP_AUTO, 10, 16, 1024.0 / 65535 * 255 / 256},
        {MP_CSP_RGB, 40, 48, (std::ldexp(1.0, 40) - 1) / (std::ldexp(1.0, 48) - 1)},  // in 64 bits
    };
    for (const auto& c : cases)
        EXPECT_EQ(mp_get_csp_mul(c.csp, c.input_bits, c.texture_bits), c.mul) << c.csp << " " << c.input_bits;
}

TEST(CspMatrix, EverySpaceLevelsAndControlsAgainstTheModel) {
    std::mt19937 rng(2024);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const int bit_pairs[][2] = {{8, 8}, {10, 10}, {10, 16}, {12, 16}, {16, 16}, {0, 0}, {0, 8}};
    for (int csp = 0; csp < MP_CSP_COUNT; ++csp)
        for (int levels_in : {1, 2})
            for (int levels_out : {1, 2})
                for (const auto& bits : bit_pairs)
                    for (int controls = 0; controls < 4; ++controls) {
                        mp_csp_params p = request(mp_csp(csp == 0 ? 1 : csp), mp_csp_levels(levels_in),
                                                  mp_csp_levels(levels_out), bits[0], bits[1]);
                        p.color.prim = mp_csp_prim(controls * 3 % MP_CSP_PRIM_COUNT);
                        if (controls > 0) {
                            p.brightness = float(unit(rng) - 0.5), p.contrast = float(0.5 + unit(rng));
                            p.hue = float(unit(rng) * 6 - 3), p.saturation = float(unit(rng) * 2);
                            p.gray = controls == 3;
                        }
                        mp_csp_params asked = p;
                        asked.color.csp = mp_csp(csp);  // 0 must behave as bt.601
                        const mp_cmat m = map_for(asked);
                        SCOPED_TRACE(testing::Message() << "csp " << csp << " levels " << levels_in << "->"
                                                        << levels_out << " bits " << bits[0] << "/" << bits[1]
                                                        << " controls " << controls);
                        const double range =  // samples within the codes of input_bits
                            bits[0] == 0 ? 1.0 : (std::ldexp(1.0, bits[0]) - 1) / (std::ldexp(1.0, bits[1]) - 1);
                        for (int k = 0; k < 4; ++k) {
                            const double n[3] = {unit(rng) * range, unit(rng) * range, unit(rng) * range};
                            double got[3], expected[3];
                            apply(m, n, got);
                            model(p, n, expected);
                            for (int i = 0; i < 3; ++i) EXPECT_NEAR(got[i], expected[i], 1e-5);
                        }
                    }
}

// Limited RGB output is 16/255 to 235/255 of full scale at every depth: 64 to 943 (942.76) in 10 bits, not 940.
TEST(CspMatrix, Bt709LimitedBlackAndWhiteExactly) {
    for (int bits : {8, 10}) {
        const int s = 1 << (bits - 8);
        const mp_cmat m = map_for(request(MP_CSP_BT_709, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_LIMITED, bits, bits));
        EXPECT_EQ(map_fixp(m, bits, {16 * s, 128 * s, 128 * s}, bits), std::vector<int>(3, 16 * s));
        EXPECT_EQ(map_fixp(m, bits, {235 * s, 128 * s, 128 * s}, bits), std::vector<int>(3, bits == 8 ? 235 : 943));
    }
}

TEST(CspMatrix, ColourBarsOfBt601AndBt709) {
    for (const Bar& bar : kBars) {
        const mp_csp_params p = request(bar.csp, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, bar.bits, bar.bits);
        const int top = (1 << bar.bits) - 1;
        const std::vector<int> rgb = map_fixp(map_for(p), bar.bits, {bar.y, bar.cb, bar.cr}, bar.bits);
        const double target[3] = {bar.r * 0.75 * top, bar.g * 0.75 * top, bar.b * 0.75 * top};
        for (int i = 0; i < 3; ++i)  // the codes were rounded: within two codes of 75%
            EXPECT_NEAR(rgb[i], target[i], 2.0) << "csp " << bar.csp << " Y " << bar.y << " channel " << i;
    }
}

TEST(CspMatrix, UnknownSpacesAndLevelsFallBack) {
    // Unknown spaces are BT.601, unknown input ranges limited, and any output range but limited is full.
    const mp_cmat bt601 = map_for(request(MP_CSP_BT_601, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 10, 16));
    const mp_csp_levels limited = MP_CSP_LEVELS_LIMITED, full = MP_CSP_LEVELS_FULL;
    for (int v : {0, 9, 300, -1})
        EXPECT_TRUE(same_bits(map_for(request(mp_csp(v), limited, full, 10, 16)), bt601)) << v;
    for (int v : {0, 3, 9, 300, -1}) {
        EXPECT_TRUE(same_bits(map_for(request(MP_CSP_BT_601, mp_csp_levels(v), full, 10, 16)), bt601)) << v;
        EXPECT_TRUE(same_bits(map_for(request(MP_CSP_BT_601, limited, mp_csp_levels(v), 10, 16)), bt601)) << v;
    }
}

// The DCI white (0.314, 0.351) at Y = 1 becomes RGB white whatever the primaries.
TEST(CspMatrix, XyzWhiteIsRgbWhite) {
    for (int prim : {0, 3, 4, 10, 11}) {
        mp_csp_params p = request(MP_CSP_XYZ, MP_CSP_LEVELS_FULL, MP_CSP_LEVELS_FULL, 0, 0);
        p.color.prim = mp_csp_prim(prim);
        const double dci_white[3] = {0.314 / 0.351, 1.0, (1 - 0.314 - 0.351) / 0.351};
        double out[3];
        apply(map_for(p), dci_white, out);
        for (double v : out) EXPECT_NEAR(v, 1.0, 1e-5) << "prim " << prim;
    }
}

// The inverse map's matrix and offsets: white and the 75% red bar.
TEST(CspInvertCmat, RgbWhiteAndRedGoBackToTheLimitedRangeCodes) {
    mp_cmat forward = map_for(request(MP_CSP_BT_709, MP_CSP_LEVELS_LIMITED, MP_CSP_LEVELS_FULL, 8, 8)), inverse;
    mp_invert_cmat(&inverse, &forward);
    EXPECT_EQ(map_fixp(inverse, 8, {255, 255, 255}, 8), (std::vector<int>{235, 128, 128}));
    EXPECT_EQ(map_fixp(inverse, 8, {191, 0, 0}, 8), (std::vector<int>{51, 109, 212}));  // the 75% red bar
}

TEST(CspMapFixp, RoundsClampsAndScalesAsWorkedByHand) {
    const mp_cmat half = {{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {0.5f, 0.5f, 0.5f}};
    const mp_cmat tipped = {{{std::ldexp(1.0f, -30), 0, 0}, {0, 0, 0}, {0, 0, 0}}, {0.5f, 0.5f, 0.5f}};
    const mp_cmat offset = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {-0.25f, 0.75f, 0}};
    const mp_cmat identity = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}};
    const mp_cmat rotate = {{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}, {0, 0, 0}};
    const struct { mp_cmat m; int in_bits; std::vector<int> in; int out_bits; std::vector<int> out; } cases[] = {
        // Half to even: 0.5 x 1 is 0, 0.5 x 255 = 127.5 is 128; 2^-30 tips 0.5 over (the sum is in double).
        {half, 8, {0, 0, 0}, 1, {0, 0, 0}}, {half, 8, {0, 0, 0}, 8, {128, 128, 128}},
        {tipped, 1, {1, 0, 0}, 1, {1, 0, 0}},
        // -0.25, 1.75 and exactly 1 clamp; 127.62, 513.51 and 4.01 between depths; each channel its own row.
        {offset, 8, {0, 255, 255}, 12, {0, 4095, 4095}}, {identity, 10, {1023, 512, 0}, 8, {255, 128, 0}},
        {identity, 8, {255, 128, 1}, 10, {1023, 514, 4}}, {rotate, 8, {10, 20, 30}, 8, {30, 10, 20}}};
    for (const auto& c : cases)
        EXPECT_EQ(map_fixp(c.m, c.in_bits, c.in, c.out_bits), c.out) << c.in[0] << " " << c.out_bits;
}
