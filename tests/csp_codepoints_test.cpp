// Colour-space enumerations: names, H.273 code points both ways, guesses, merging, peaks, record layouts.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/csputils.h"

TEST(CspNames, EveryTableInValueOrder) {
    static_assert(sizeof(mp_csp_names) / sizeof(mp_csp_names[0]) == 9, "nine entries and no terminator");
    // Values count up from first; terminated: by {null, 0}.
    const struct { const mp_name_entry* table; std::vector<const char*> names; int first; bool terminated; }
        tables[] = {
        {mp_csp_names,
         {"auto", "bt.601", "bt.709", "smpte-240m", "bt.2020-ncl", "bt.2020-cl", "rgb", "xyz", "ycgco"}, 0, false},
        {mp_csp_levels_names, {"auto", "limited", "full"}, 0, true},
        {mp_csp_prim_names,
         {"auto", "bt.601-525", "bt.601-625", "bt.709", "bt.2020", "bt.470m", "apple", "adobe", "prophoto", "cie1931",
          "dci-p3", "display-p3", "v-gamut", "s-gamut", "s-gamut-cine"}, 0, true},
        {mp_csp_trc_names, {"auto", "bt.1886", "srgb", "linear", "gamma1.8", "gamma2.2", "gamma2.8", "prophoto", "pq",
                            "hlg", "v-log", "s-log1", "s-log2"}, 0, true},
        {mp_csp_light_names, {"auto", "display", "hlg", "709-1886", "gamma1.2"}, 0, true},
        {mp_chroma_names, {"unknown", "mpeg2/4/h264", "mpeg1/jpeg"}, 0, true},
        {mp_stereo3d_names, {"no", "mono", "sbs2l", "ab2r", "ab2l", "checkr", "checkl", "irr", "irl", "icr", "icl",
                             "arcc", "sbs2r", "agmc", "al", "ar"}, -1, true},
    };
    for (const auto& t : tables) {
        for (std::size_t i = 0; i < t.names.size(); ++i) {
            ASSERT_NE(t.table[i].name, nullptr) << t.names[0] << " entry " << i;
            EXPECT_STREQ(t.table[i].name, t.names[i]);
            EXPECT_EQ(t.table[i].value, t.first + int(i)) << t.names[i];
        }
        const mp_name_entry& after = t.table[t.names.size()];
        EXPECT_TRUE(!t.terminated || (after.name == nullptr && after.value == 0)) << t.names[0];
    }
}

static_assert(offsetof(mp_colorspace, csp) == 0 && offsetof(mp_colorspace, levels) == 4 &&
              offsetof(mp_colorspace, prim) == 8 && offsetof(mp_colorspace, trc) == 12 &&
              offsetof(mp_colorspace, light) == 16 && offsetof(mp_colorspace, signal_peak) == 20 &&
              sizeof(mp_colorspace) == 24 && sizeof(mp_csp) == 4 && sizeof(mp_stereo3d_mode) == 4);
static_assert(offsetof(mp_csp_params, levels_out) == 24 && offsetof(mp_csp_params, brightness) == 28 &&
              offsetof(mp_csp_params, contrast) == 32 && offsetof(mp_csp_params, hue) == 36 &&
              offsetof(mp_csp_params, saturation) == 40 && offsetof(mp_csp_params, gamma) == 44 &&
              offsetof(mp_csp_params, gray) == 48 && sizeof(mp_csp_params{}.gray) == 1 &&
              offsetof(mp_csp_params, texture_bits) == 52 && offsetof(mp_csp_params, input_bits) == 56);
static_assert(sizeof(mp_csp_col_xy) == 8 && offsetof(mp_csp_primaries, green) == 8 &&
              offsetof(mp_csp_primaries, white) == 24 && sizeof(mp_cmat) == 48 && offsetof(mp_cmat, c) == 36 &&
              sizeof(mp_name_entry) == 16);

TEST(CspCodePoints, EveryInputFromMinusTwoTo300) {
    // Each translation as data: the listed inputs and the value for all others.
    const struct { const char* name; std::function<int(int)> function; std::map<int, int> listed; int otherwise; }
        translations[] = {
        {"avcol_spc_to_mp_csp", [](int v) { return int(avcol_spc_to_mp_csp(v)); },
         {{0, 6}, {1, 2}, {5, 1}, {6, 1}, {7, 3}, {8, 8}, {9, 4}, {10, 5}}, 0},
        {"avcol_range_to_mp_csp_levels", [](int v) { return int(avcol_range_to_mp_csp_levels(v)); },
         {{1, 1}, {2, 2}}, 0},
        {"avcol_pri_to_mp_csp_prim", [](int v) { return int(avcol_pri_to_mp_csp_prim(v)); },
         {{1, 3}, {4, 5}, {5, 2}, {6, 1}, {7, 1}, {9, 4}}, 0},
        {"avcol_trc_to_mp_csp_trc", [](int v) { return int(avcol_trc_to_mp_csp_trc(v)); },
         {{1, 1}, {6, 1}, {7, 1}, {12, 1}, {14, 1}, {15, 1}, {4, 5}, {5, 6}, {8, 3}, {13, 2}, {16, 8}, {18, 9}}, 0},
        {"avchroma_location_to_mp", [](int v) { return int(avchroma_location_to_mp(v)); }, {{1, 1}, {2, 2}}, 0},
        {"mp_csp_to_avcol_spc", [](int v) { return mp_csp_to_avcol_spc(mp_csp(v)); },
         {{1, 5}, {2, 1}, {3, 7}, {4, 9}, {5, 10}, {6, 0}, {8, 8}}, 2},
        {"mp_csp_levels_to_avcol_range", [](int v) { return mp_csp_levels_to_avcol_range(mp_csp_levels(v)); },
         {{1, 1}, {2, 2}}, 0},
        {"mp_csp_prim_to_avcol_pri", [](int v) { return mp_csp_prim_to_avcol_pri(mp_csp_prim(v)); },
         {{1, 6}, {2, 5}, {3, 1}, {4, 9}, {5, 4}}, 2},
        {"mp_csp_trc_to_avcol_trc", [](int v) { return mp_csp_trc_to_avcol_trc(mp_csp_trc(v)); },
         {{1, 1}, {2, 13}, {3, 8}, {4, 2}, {5, 4}, {6, 5}, {8, 16}, {9, 18}}, 2},
        {"mp_chroma_location_to_av", [](int v) { return mp_chroma_location_to_av(mp_chroma_location(v)); },
         {{1, 1}, {2, 2}}, 0},
    };
    for (const auto& t : translations)
        for (int v = -2; v <= 300; ++v)
            EXPECT_EQ(t.function(v), t.listed.contains(v) ? t.listed.at(v) : t.otherwise) << t.name << " " << v;
}

TEST(CspGuess, MatrixAndPrimariesBySize) {
    // Above 1279 x 576 is BT.709; below, 480 and 486 lines are BT.601-525, 576 lines BT.601-625, any other
    // BT.709 primaries with the BT.601 matrix.  Width, height, csp, prim:
    const int cases[][4] = {{720, 480, 1, 1},  {-5, 486, 1, 1},   {1279, 576, 1, 2}, {640, 360, 1, 3},
                            {1280, 576, 2, 3}, {1279, 577, 2, 3}, {0, 0, 1, 3}};
    for (const auto& [width, height, csp, prim] : cases) {
        EXPECT_EQ(mp_csp_guess_colorspace(width, height), csp) << width << "x" << height;
        EXPECT_EQ(mp_csp_guess_primaries(width, height), prim) << width << "x" << height;
    }
}

TEST(CspChromaLocation, OnlyLeftShiftsHorizontally) {
    for (int loc = -2; loc <= 300; ++loc) {
        int x = 77, y = 77;
        mp_get_chroma_location(mp_chroma_location(loc), &x, &y);
        EXPECT_EQ(x, loc == 1 ? -1 : 0) << loc;
        EXPECT_EQ(y, 0) << loc;
    }
}

TEST(CspMerge, FillsOnlyUnknownFields) {
    const mp_colorspace source = {MP_CSP_BT_709, MP_CSP_LEVELS_FULL, MP_CSP_PRIM_BT_2020, MP_CSP_TRC_PQ,
                                  MP_CSP_LIGHT_DISPLAY, 10.0f};
    mp_colorspace from = source, empty = {}, nan = {}, partial = {MP_CSP_RGB, MP_CSP_LEVELS_LIMITED,
                                                                   MP_CSP_PRIM_AUTO, MP_CSP_TRC_HLG, MP_CSP_LIGHT_AUTO, 4.0f};
    empty.signal_peak = -0.0f;  // a peak of -0 is unknown, NaN is known
    nan.signal_peak = std::numeric_limits<float>::quiet_NaN();
    mp_colorspace_merge(&empty, &from);
    EXPECT_EQ(0, std::memcmp(&empty, &source, sizeof source));
    mp_colorspace_merge(&partial, &from);
    const mp_colorspace filled = {MP_CSP_RGB, MP_CSP_LEVELS_LIMITED, MP_CSP_PRIM_BT_2020, MP_CSP_TRC_HLG,
                                  MP_CSP_LIGHT_DISPLAY, 4.0f};
    EXPECT_EQ(0, std::memcmp(&partial, &filled, sizeof filled));
    EXPECT_EQ(0, std::memcmp(&from, &source, sizeof source));  // source untouched
    mp_colorspace_merge(&nan, &from);
    EXPECT_TRUE(std::isnan(nan.signal_peak));
    EXPECT_EQ(nan.csp, MP_CSP_BT_709);  // the other fields are still filled
}

TEST(CspImageParams, GuessIsANoOp) {
    std::vector<unsigned char> record(64, 0x5A);
    mp_image_params_guess_csp(reinterpret_cast<mp_image_params*>(record.data()));
    EXPECT_EQ(record, std::vector<unsigned char>(64, 0x5A));
    mp_image_params_guess_csp(nullptr);
}

TEST(CspTrc, NominalPeaksAndHdr) {
    // PQ, HLG, V-Log, S-Log1, S-Log2; everything else 1 and not HDR.
    const std::map<int, float> peaks = {
        {8, 100.0f}, {9, 12.0f}, {10, 46.08549880981445f}, {11, 6.519999980926514f}, {12, 9.211999893188477f}};
    for (int trc = -2; trc <= 300; ++trc) {
        EXPECT_EQ(mp_trc_nom_peak(mp_csp_trc(trc)), peaks.contains(trc) ? peaks.at(trc) : 1.0f) << trc;
        EXPECT_EQ(mp_trc_is_hdr(mp_csp_trc(trc)), peaks.contains(trc)) << trc;
    }
}
