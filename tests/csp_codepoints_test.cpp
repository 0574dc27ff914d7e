// Colour-space enumerations: name tables, H.273 code points in both
// directions, guesses, merging, nominal peaks and the record layouts that
// hosts compile against.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/csputils.h"

namespace {

struct Name {
    const char* name;
    int value;
};

// Compares a table with the expected names; `terminated` also requires the
// {null, 0} entry right after them.
void expect_table(const mp_name_entry* table, const std::vector<Name>& expected,
                  bool terminated) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_NE(table[i].name, nullptr) << "entry " << i;
        EXPECT_STREQ(table[i].name, expected[i].name) << "entry " << i;
        EXPECT_EQ(table[i].value, expected[i].value) << "entry " << i;
    }
    if (terminated) {
        EXPECT_EQ(table[expected.size()].name, nullptr);
        EXPECT_EQ(table[expected.size()].value, 0);
    }
}

// A translation written as data: listed inputs and the value for all others.
struct Translation {
    std::string name;
    std::function<int(int)> function;
    std::map<int, int> listed;
    int otherwise;
};

std::vector<Translation> translations() {
    return {
        {"avcol_spc_to_mp_csp", [](int v) { return int(avcol_spc_to_mp_csp(v)); },
         {{0, 6}, {1, 2}, {5, 1}, {6, 1}, {7, 3}, {8, 8}, {9, 4}, {10, 5}}, 0},
        {"avcol_range_to_mp_csp_levels",
         [](int v) { return int(avcol_range_to_mp_csp_levels(v)); }, {{1, 1}, {2, 2}}, 0},
        {"avcol_pri_to_mp_csp_prim", [](int v) { return int(avcol_pri_to_mp_csp_prim(v)); },
         {{1, 3}, {4, 5}, {5, 2}, {6, 1}, {7, 1}, {9, 4}}, 0},
        {"avcol_trc_to_mp_csp_trc", [](int v) { return int(avcol_trc_to_mp_csp_trc(v)); },
         {{1, 1}, {6, 1}, {7, 1}, {12, 1}, {14, 1}, {15, 1}, {4, 5}, {5, 6}, {8, 3},
          {13, 2}, {16, 8}, {18, 9}},
         0},
        {"avchroma_location_to_mp", [](int v) { return int(avchroma_location_to_mp(v)); },
         {{1, 1}, {2, 2}}, 0},
        {"mp_csp_to_avcol_spc", [](int v) { return mp_csp_to_avcol_spc(mp_csp(v)); },
         {{1, 5}, {2, 1}, {3, 7}, {4, 9}, {5, 10}, {6, 0}, {8, 8}}, 2},
        {"mp_csp_levels_to_avcol_range",
         [](int v) { return mp_csp_levels_to_avcol_range(mp_csp_levels(v)); },
         {{1, 1}, {2, 2}}, 0},
        {"mp_csp_prim_to_avcol_pri",
         [](int v) { return mp_csp_prim_to_avcol_pri(mp_csp_prim(v)); },
         {{1, 6}, {2, 5}, {3, 1}, {4, 9}, {5, 4}}, 2},
        {"mp_csp_trc_to_avcol_trc", [](int v) { return mp_csp_trc_to_avcol_trc(mp_csp_trc(v)); },
         {{1, 1}, {2, 13}, {3, 8}, {4, 2}, {5, 4}, {6, 5}, {8, 16}, {9, 18}}, 2},
        {"mp_chroma_location_to_av",
         [](int v) { return mp_chroma_location_to_av(mp_chroma_location(v)); },
         {{1, 1}, {2, 2}}, 0},
    };
}

}  // namespace

// ---- name tables ----

TEST(CspNames, EveryTableInValueOrder) {
    static_assert(sizeof(mp_csp_names) / sizeof(mp_csp_names[0]) == 9,
                  "mp_csp_names has nine entries and no terminator");
    expect_table(mp_csp_names,
                 {{"auto", 0}, {"bt.601", 1}, {"bt.709", 2}, {"smpte-240m", 3},
                  {"bt.2020-ncl", 4}, {"bt.2020-cl", 5}, {"rgb", 6}, {"xyz", 7}, {"ycgco", 8}},
                 false);
    expect_table(mp_csp_levels_names, {{"auto", 0}, {"limited", 1}, {"full", 2}}, true);
    expect_table(mp_csp_prim_names,
                 {{"auto", 0}, {"bt.601-525", 1}, {"bt.601-625", 2}, {"bt.709", 3},
                  {"bt.2020", 4}, {"bt.470m", 5}, {"apple", 6}, {"adobe", 7}, {"prophoto", 8},
                  {"cie1931", 9}, {"dci-p3", 10}, {"display-p3", 11}, {"v-gamut", 12},
                  {"s-gamut", 13}, {"s-gamut-cine", 14}},
                 true);
    expect_table(mp_csp_trc_names,
                 {{"auto", 0}, {"bt.1886", 1}, {"srgb", 2}, {"linear", 3}, {"gamma1.8", 4},
                  {"gamma2.2", 5}, {"gamma2.8", 6}, {"prophoto", 7}, {"pq", 8}, {"hlg", 9},
                  {"v-log", 10}, {"s-log1", 11}, {"s-log2", 12}},
                 true);
    expect_table(mp_csp_light_names,
                 {{"auto", 0}, {"display", 1}, {"hlg", 2}, {"709-1886", 3}, {"gamma1.2", 4}},
                 true);
    expect_table(mp_chroma_names, {{"unknown", 0}, {"mpeg2/4/h264", 1}, {"mpeg1/jpeg", 2}},
                 true);
    expect_table(mp_stereo3d_names,
                 {{"no", -1}, {"mono", 0}, {"sbs2l", 1}, {"ab2r", 2}, {"ab2l", 3},
                  {"checkr", 4}, {"checkl", 5}, {"irr", 6}, {"irl", 7}, {"icr", 8},
                  {"icl", 9}, {"arcc", 10}, {"sbs2r", 11}, {"agmc", 12}, {"al", 13},
                  {"ar", 14}},
                 true);
}

TEST(CspNames, EnumeratorsMatchTheTables) {
    EXPECT_EQ(MP_CSP_YCGCO, 8);
    EXPECT_EQ(MP_CSP_LEVELS_FULL, 2);
    EXPECT_EQ(MP_CSP_PRIM_S_GAMUT_CINE, 14);
    EXPECT_EQ(MP_CSP_TRC_S_LOG2, 12);
    EXPECT_EQ(MP_CSP_LIGHT_SCENE_1_2, 4);
    EXPECT_EQ(MP_CHROMA_CENTER, 2);
    EXPECT_EQ(MP_STEREO3D_NONE, -1);
    EXPECT_EQ(MP_STEREO3D_AR, 14);
    EXPECT_EQ(MP_INTENT_ABSOLUTE_COLORIMETRIC, 3);
    EXPECT_EQ(sizeof(mp_csp), 4u);
    EXPECT_EQ(sizeof(mp_stereo3d_mode), 4u);
}

// ---- record layouts ----

TEST(CspRecords, FieldsInTheirPublishedOrder) {
    EXPECT_EQ(offsetof(mp_colorspace, csp), 0u);
    EXPECT_EQ(offsetof(mp_colorspace, levels), 4u);
    EXPECT_EQ(offsetof(mp_colorspace, prim), 8u);
    EXPECT_EQ(offsetof(mp_colorspace, trc), 12u);
    EXPECT_EQ(offsetof(mp_colorspace, light), 16u);
    EXPECT_EQ(offsetof(mp_colorspace, signal_peak), 20u);
    EXPECT_EQ(sizeof(mp_colorspace), 24u);

    EXPECT_EQ(offsetof(mp_csp_params, levels_out), 24u);
    EXPECT_EQ(offsetof(mp_csp_params, brightness), 28u);
    EXPECT_EQ(offsetof(mp_csp_params, contrast), 32u);
    EXPECT_EQ(offsetof(mp_csp_params, hue), 36u);
    EXPECT_EQ(offsetof(mp_csp_params, saturation), 40u);
    EXPECT_EQ(offsetof(mp_csp_params, gamma), 44u);
    EXPECT_EQ(offsetof(mp_csp_params, gray), 48u);
    EXPECT_EQ(sizeof(mp_csp_params{}.gray), 1u);
    EXPECT_EQ(offsetof(mp_csp_params, texture_bits), 52u);
    EXPECT_EQ(offsetof(mp_csp_params, input_bits), 56u);

    EXPECT_EQ(sizeof(mp_csp_col_xy), 8u);
    EXPECT_EQ(offsetof(mp_csp_primaries, green), 8u);
    EXPECT_EQ(offsetof(mp_csp_primaries, white), 24u);
    EXPECT_EQ(sizeof(mp_cmat), 48u);
    EXPECT_EQ(offsetof(mp_cmat, c), 36u);
    EXPECT_EQ(sizeof(mp_name_entry), 16u);
}

// ---- H.273 code points ----

TEST(CspCodePoints, EveryInputFromMinusTwoTo300) {
    for (const Translation& t : translations()) {
        for (int v = -2; v <= 300; ++v) {
            const auto listed = t.listed.find(v);
            const int expected = listed == t.listed.end() ? t.otherwise : listed->second;
            EXPECT_EQ(t.function(v), expected) << t.name << "(" << v << ")";
        }
    }
}

TEST(CspCodePoints, RangeAndChromaAreTheSameFunctionBothWays) {
    for (int v = -2; v <= 300; ++v) {
        EXPECT_EQ(int(avcol_range_to_mp_csp_levels(v)), mp_csp_levels_to_avcol_range(mp_csp_levels(v)));
        EXPECT_EQ(int(avchroma_location_to_mp(v)), mp_chroma_location_to_av(mp_chroma_location(v)));
    }
}

TEST(CspCodePoints, RoundTrips) {
    for (int c = 0; c < MP_CSP_COUNT; ++c) {
        const int expected = c == MP_CSP_XYZ || c == MP_CSP_AUTO ? 0 : c;
        EXPECT_EQ(avcol_spc_to_mp_csp(mp_csp_to_avcol_spc(mp_csp(c))), expected) << c;
    }
    // Primaries and transfers with an H.273 counterpart come back unchanged;
    // the others come back as auto.
    for (int p = 0; p < MP_CSP_PRIM_COUNT; ++p) {
        const int expected = p >= 1 && p <= 5 ? p : 0;
        EXPECT_EQ(avcol_pri_to_mp_csp_prim(mp_csp_prim_to_avcol_pri(mp_csp_prim(p))), expected)
            << p;
    }
    for (int t = 0; t < MP_CSP_TRC_COUNT; ++t) {
        const bool has_code = t != MP_CSP_TRC_AUTO && t != MP_CSP_TRC_GAMMA18 &&
                              t != MP_CSP_TRC_PRO_PHOTO && t < MP_CSP_TRC_V_LOG;
        EXPECT_EQ(avcol_trc_to_mp_csp_trc(mp_csp_trc_to_avcol_trc(mp_csp_trc(t))),
                  has_code ? t : 0)
            << t;
    }
    for (int code : {0, 1, 2}) {
        EXPECT_EQ(mp_csp_levels_to_avcol_range(avcol_range_to_mp_csp_levels(code)), code);
        EXPECT_EQ(mp_chroma_location_to_av(avchroma_location_to_mp(code)), code);
    }
    // Incoming codes that name an enumeration value survive the trip back.
    for (int code : {0, 1, 5, 7, 8, 9, 10})
        EXPECT_EQ(mp_csp_to_avcol_spc(avcol_spc_to_mp_csp(code)), code);
    for (int code : {1, 13, 8, 4, 5, 16, 18})
        EXPECT_EQ(mp_csp_trc_to_avcol_trc(avcol_trc_to_mp_csp_trc(code)), code);
}

// ---- guesses and queries ----

TEST(CspGuess, MatrixAndPrimariesBySize) {
    struct Case {
        int width, height, csp, prim;
    };
    const Case cases[] = {
        {720, 576, 1, 2},   {720, 480, 1, 1},    {720, 486, 1, 1},  {640, 360, 1, 3},
        {1280, 100, 2, 3},  {1279, 576, 1, 2},   {1280, 576, 2, 3}, {1279, 577, 2, 3},
        {1920, 1080, 2, 3}, {352, 288, 1, 3},    {0, 0, 1, 3},      {-5, 480, 1, 1},
        {100, 577, 2, 3},   {3840, 2160, 2, 3},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(mp_csp_guess_colorspace(c.width, c.height), c.csp) << c.width << "x" << c.height;
        EXPECT_EQ(mp_csp_guess_primaries(c.width, c.height), c.prim) << c.width << "x" << c.height;
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
    const mp_colorspace source = {MP_CSP_BT_709, MP_CSP_LEVELS_FULL, MP_CSP_PRIM_BT_2020,
                                  MP_CSP_TRC_PQ, MP_CSP_LIGHT_DISPLAY, 10.0f};
    mp_colorspace from = source;

    mp_colorspace empty = {};
    mp_colorspace_merge(&empty, &from);
    EXPECT_EQ(0, std::memcmp(&empty, &source, sizeof source));

    const mp_colorspace known = {MP_CSP_RGB, MP_CSP_LEVELS_LIMITED, MP_CSP_PRIM_APPLE,
                                 MP_CSP_TRC_HLG, MP_CSP_LIGHT_SCENE_HLG, 4.0f};
    mp_colorspace target = known;
    mp_colorspace_merge(&target, &from);
    EXPECT_EQ(0, std::memcmp(&target, &known, sizeof known));

    // Field by field: one unknown at a time.
    mp_colorspace partial = known;
    partial.prim = MP_CSP_PRIM_AUTO;
    partial.light = MP_CSP_LIGHT_AUTO;
    mp_colorspace_merge(&partial, &from);
    EXPECT_EQ(partial.csp, MP_CSP_RGB);
    EXPECT_EQ(partial.prim, MP_CSP_PRIM_BT_2020);
    EXPECT_EQ(partial.light, MP_CSP_LIGHT_DISPLAY);
    EXPECT_EQ(partial.signal_peak, 4.0f);
    EXPECT_EQ(0, std::memcmp(&from, &source, sizeof source));  // source untouched
}

TEST(CspMerge, NegativeZeroPeakIsUnknownNanIsKnown) {
    mp_colorspace from = {MP_CSP_BT_709, MP_CSP_LEVELS_FULL, MP_CSP_PRIM_BT_709,
                          MP_CSP_TRC_BT_1886, MP_CSP_LIGHT_DISPLAY, 3.5f};
    mp_colorspace negative_zero = {};
    negative_zero.signal_peak = -0.0f;
    mp_colorspace_merge(&negative_zero, &from);
    EXPECT_EQ(negative_zero.signal_peak, 3.5f);

    mp_colorspace nan = {};
    nan.signal_peak = std::numeric_limits<float>::quiet_NaN();
    mp_colorspace_merge(&nan, &from);
    EXPECT_TRUE(std::isnan(nan.signal_peak));
    EXPECT_EQ(nan.csp, MP_CSP_BT_709);  // the other fields are still filled
}

TEST(CspImageParams, GuessIsANoOp) {
    unsigned char record[64];
    std::memset(record, 0x5A, sizeof record);
    mp_image_params_guess_csp(reinterpret_cast<mp_image_params*>(record));
    for (unsigned char b : record) EXPECT_EQ(b, 0x5A);
    mp_image_params_guess_csp(nullptr);
}

TEST(CspTrc, NominalPeaksAndHdr) {
    const std::map<int, float> peaks = {
        {8, 100.0f}, {9, 12.0f}, {10, 46.08549880981445f}, {11, 6.519999980926514f},
        {12, 9.211999893188477f}};
    for (int trc = -2; trc <= 300; ++trc) {
        const auto listed = peaks.find(trc);
        const float expected = listed == peaks.end() ? 1.0f : listed->second;
        EXPECT_EQ(mp_trc_nom_peak(mp_csp_trc(trc)), expected) << trc;
        EXPECT_EQ(mp_trc_is_hdr(mp_csp_trc(trc)), listed != peaks.end()) << trc;
    }
    EXPECT_EQ(mp_trc_nom_peak(MP_CSP_TRC_PRO_PHOTO), 1.0f);
    EXPECT_TRUE(mp_trc_is_hdr(MP_CSP_TRC_HLG));
}
