// The colour-space example of the README, compiled and run as it stands.
#include <gtest/gtest.h>

// ---- README example begins ----
#include <cconvert/csputils.h>

// 10-bit BT.709 studio-range YCbCr (Y 64..940, Cb/Cr 64..960) to 10-bit
// full-range RGB (0..1023).
static void bt709_limited_to_full_rgb10(int* ycbcr, int* rgb) {
    mp_csp_params params = MP_CSP_PARAMS_NEUTRAL;  // no picture adjustments
    params.color.csp = MP_CSP_BT_709;
    params.color.levels = MP_CSP_LEVELS_LIMITED;
    params.levels_out = MP_CSP_LEVELS_FULL;
    params.texture_bits = 10;  // bits per stored sample
    params.input_bits = 10;    // of which significant

    mp_cmat map;  // RGB = map.m x (Y, Cb, Cr) + map.c, in units of 0..1
    mp_get_csp_matrix(&params, &map);
    mp_map_fixp_color(&map, 10, ycbcr, 10, rgb);  // rounds and clamps
}
// ---- README example ends ----

TEST(CspExample, Bt709LimitedToFullRgbIn10Bits) {
    const int cases[][6] = {
        {64, 512, 512, 0, 0, 0}, {940, 512, 512, 1023, 1023, 1023},  // black, white
        {4, 512, 512, 0, 0, 0}, {1019, 512, 512, 1023, 1023, 1023},  // clamped below black and above white
        {204, 435, 848, 768, 0, 0},  // 75% red bar (767.25 before its codes were rounded)
    };
    for (const auto& c : cases) {
        int ycbcr[3] = {c[0], c[1], c[2]}, rgb[3];
        bt709_limited_to_full_rgb10(ycbcr, rgb);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(rgb[i], c[3 + i]) << "Y " << c[0] << ", channel " << i;
    }
}
