// Primaries, RGB-to-XYZ matrices (published values, a double model), Bradford adaptation, intents, 3 x 3 arithmetic.
#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

#include "cconvert/csputils.h"

namespace {

using Matrix = float[3][3];
using Matrix64 = double[3][3];

struct PrimariesRow { int prim; const mp_csp_primaries* record; double rx, ry, gx, gy, bx, by, wx, wy; };

const double kD65x = 0.31271, kD65y = 0.32902;

// Published chromaticities; AUTO is BT.709, DCI_P3 is Display P3 with the D65 white; P3_DCI has no selector.
const PrimariesRow kPrimaries[] = {
    {1, &defMP_CSP_PRIM_BT_601_525, 0.63, 0.34, 0.31, 0.595, 0.155, 0.07, kD65x, kD65y},
    {2, &defMP_CSP_PRIM_BT_601_625, 0.64, 0.33, 0.29, 0.60, 0.15, 0.06, kD65x, kD65y},
    {3, &defMP_CSP_PRIM_BT_709, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06, kD65x, kD65y},
    {4, &defMP_CSP_PRIM_BT_2020, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046, kD65x, kD65y},
    {5, &defMP_CSP_PRIM_BT_470M, 0.67, 0.33, 0.21, 0.71, 0.14, 0.08, 0.31006, 0.31616},
    {6, &defMP_CSP_PRIM_APPLE, 0.625, 0.34, 0.28, 0.595, 0.115, 0.07, kD65x, kD65y},
    {7, &defMP_CSP_PRIM_ADOBE, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06, kD65x, kD65y},
    {8, &defMP_CSP_PRIM_PRO_PHOTO, 0.7347, 0.2653, 0.1596, 0.8404, 0.0366, 0.0001, 0.34577, 0.3585},
    {9, &defMP_CSP_PRIM_CIE_1931, 0.7347, 0.2653, 0.2738, 0.7174, 0.1666, 0.0089, 1.0 / 3, 1.0 / 3},
    {10, &defMP_CSP_PRIM_DCI_P3, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06, kD65x, kD65y},
    {11, &defMP_CSP_PRIM_DISPLAY_P3, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06, kD65x, kD65y},
    {12, &defMP_CSP_PRIM_V_GAMUT, 0.73, 0.28, 0.165, 0.84, 0.10, -0.03, kD65x, kD65y},
    {13, &defMP_CSP_PRIM_S_GAMUT, 0.73, 0.28, 0.14, 0.855, 0.10, -0.05, kD65x, kD65y},
    {14, &defMP_CSP_PRIM_S_GAMUT_CINE, 0.766, 0.275, 0.225, 0.80, 0.089, -0.087, kD65x, kD65y},
    {-1, &defMP_CSP_PRIM_P3_DCI, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06, 0.314, 0.351},
    {0, &defMP_CSP_PRIM_AUTO, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06, kD65x, kD65y},
};

bool same_bits(const mp_csp_primaries& a, const mp_csp_primaries& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

double det(const Matrix64 a) {
    return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) - a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
           a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
}

// RGB to XYZ: the primaries' XYZ (Y = 1) as columns, scaled (Cramer's rule) so RGB white is the white's XYZ.
void model_rgb2xyz(const mp_csp_primaries& p, Matrix64 out) {
    const mp_csp_col_xy xy[4] = {p.red, p.green, p.blue, p.white};
    double xyz[4][3];
    for (int k = 0; k < 4; ++k) {
        const double x = xy[k].x, y = xy[k].y;
        xyz[k][0] = x / y, xyz[k][1] = 1.0, xyz[k][2] = (1.0 - x - y) / y;
    }
    Matrix64 a;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) a[i][j] = xyz[j][i];
    const double d = det(a);
    for (int j = 0; j < 3; ++j) {
        Matrix64 replaced;
        for (int i = 0; i < 3; ++i)
            for (int k = 0; k < 3; ++k) replaced[i][k] = k == j ? xyz[3][i] : a[i][k];
        const double scale = det(replaced) / d;
        for (int i = 0; i < 3; ++i) out[i][j] = a[i][j] * scale;
    }
}

void apply(const Matrix m, const float v[3], double out[3]) {
    for (int i = 0; i < 3; ++i) out[i] = double(m[i][0]) * v[0] + double(m[i][1]) * v[1] + double(m[i][2]) * v[2];
}

void expect_near(const Matrix m, const double (&expected)[3][3], double tolerance) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(m[i][j], expected[i][j], tolerance) << "[" << i << "][" << j << "]";
}

}  // namespace

TEST(CspPrimaries, RecordsAndLookupFromMinusTwoTo300) {
    for (const PrimariesRow& r : kPrimaries) {
        const mp_csp_primaries published = {{float(r.rx), float(r.ry)}, {float(r.gx), float(r.gy)},
                                            {float(r.bx), float(r.by)}, {float(r.wx), float(r.wy)}};
        EXPECT_TRUE(same_bits(*r.record, published)) << "prim " << r.prim;
    }
    for (int p = -2; p <= 300; ++p) {
        const mp_csp_primaries* expected = &defMP_CSP_PRIM_BT_709;  // auto and unknown values
        for (const PrimariesRow& row : kPrimaries)
            if (row.prim == p && p > 0) expected = row.record;
        EXPECT_TRUE(same_bits(mp_get_csp_primaries(mp_csp_prim(p)), *expected)) << p;
    }
}

TEST(CspRgbToXyz, Bt709MatchesThePublishedMatrix) {
    // With the D65 white (0.3127, 0.3290), to four decimals (IEC 61966-2-1).
    const double published[3][3] = {{0.4124, 0.3576, 0.1805}, {0.2126, 0.7152, 0.0722}, {0.0193, 0.1192, 0.9505}};
    mp_csp_primaries p = defMP_CSP_PRIM_BT_709;
    p.white = {0.3127f, 0.3290f};
    Matrix m;
    mp_get_rgb2xyz_matrix(p, m);
    expect_near(m, published, 5.5e-5);
}

TEST(CspRgbToXyz, EveryRecordAgainstTheDoubleModel) {
    for (const PrimariesRow& row : kPrimaries) {
        Matrix64 expected;
        model_rgb2xyz(*row.record, expected);
        double largest = 0;
        for (auto& r : expected)
            for (double v : r) largest = std::fmax(largest, std::fabs(v));
        Matrix m;
        mp_get_rgb2xyz_matrix(*row.record, m);
        SCOPED_TRACE(testing::Message() << "prim " << row.prim);
        expect_near(m, expected, 2e-6 * largest);
        EXPECT_NEAR(double(m[1][0]) + m[1][1] + m[1][2], 1.0, 2e-6 * largest);  // RGB white has luminance 1
    }
}

// Lindbloom's Bradford matrix A for D65 (0.95047, 1, 1.08883) to D50 (0.96422, 1, 0.82521), the whites given
// as those XYZ's chromaticities; applied on the right, m becomes m x A.
TEST(CspAdaptation, BradfordD65ToD50MultipliesThePublishedMatrixOnTheRight) {
    const Matrix published = {{1.0478112f, 0.0228866f, -0.0501270f},
                              {0.0295424f, 0.9904844f, -0.0170491f},
                              {-0.0092345f, 0.0150436f, 0.7521316f}};
    const Matrix original = {{2, 0.5f, 0}, {0, 1, -1}, {0.25f, 0, 3}};
    const double d65_sum = 0.95047 + 1 + 1.08883, d50_sum = 0.96422 + 1 + 0.82521;
    Matrix m;
    std::memcpy(m, original, sizeof m);
    mp_apply_chromatic_adaptation({float(0.95047 / d65_sum), float(1 / d65_sum)},
                                  {float(0.96422 / d50_sum), float(1 / d50_sum)}, m);
    Matrix64 expected;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            expected[i][j] = double(original[i][0]) * published[0][j] + double(original[i][1]) * published[1][j] +
                             double(original[i][2]) * published[2][j];
    expect_near(m, expected, 8e-6);
}

TEST(CspAdaptation, NearlyEqualWhitesLeaveTheMatrixUntouched) {
    const Matrix original = {{1.5f, -2, 3}, {0.1f, 0.2f, 0.3f}, {-7, 8, 9.25f}};
    Matrix m;
    std::memcpy(m, original, sizeof m);
    const mp_csp_col_xy a = {0.3127f, 0.3290f};
    mp_apply_chromatic_adaptation(a, {a.x + 9e-7f, a.y - 9e-7f}, m);
    mp_apply_chromatic_adaptation(a, a, m);
    EXPECT_EQ(0, std::memcmp(m, original, sizeof m));
    mp_apply_chromatic_adaptation(a, {a.x, a.y + 2e-6f}, m);  // 2e-6 in one coordinate is enough
    EXPECT_NE(0, std::memcmp(m, original, sizeof m));
}

// Saturation only sets the diagonal; BT.709 (D65) into ProPhoto (D50): relative keeps white, absolute XYZ.
TEST(CspCmsMatrix, EachIntent) {
    Matrix diagonal = {{9, 2, 3}, {4, 9, 6}, {7, 8, 9}};
    mp_get_cms_matrix(defMP_CSP_PRIM_BT_709, defMP_CSP_PRIM_APPLE, MP_INTENT_SATURATION, diagonal);
    const Matrix expected = {{1, 2, 3}, {4, 1, 6}, {7, 8, 1}};
    EXPECT_EQ(0, std::memcmp(diagonal, expected, sizeof expected));
    const mp_csp_primaries &src = defMP_CSP_PRIM_BT_709, &dest = defMP_CSP_PRIM_PRO_PHOTO;
    Matrix64 src_to_xyz, dest_to_xyz;
    model_rgb2xyz(src, src_to_xyz);
    model_rgb2xyz(dest, dest_to_xyz);
    const float colours[2][3] = {{1, 1, 1}, {0.2f, 0.7f, 0.1f}};
    for (mp_render_intent intent : {MP_INTENT_PERCEPTUAL, MP_INTENT_RELATIVE_COLORIMETRIC}) {
        Matrix m;
        mp_get_cms_matrix(src, dest, intent, m);
        double got[3];
        apply(m, colours[0], got);
        for (double v : got) EXPECT_NEAR(v, 1.0, 1e-5) << "intent " << intent;
    }
    Matrix m;
    mp_get_cms_matrix(src, dest, MP_INTENT_ABSOLUTE_COLORIMETRIC, m);
    for (const auto& colour : colours) {
        double rgb[3], xyz_dest[3] = {0, 0, 0}, xyz_src[3] = {0, 0, 0};
        apply(m, colour, rgb);
        for (int i = 0; i < 3; ++i)
            for (int k = 0; k < 3; ++k) {
                xyz_dest[i] += dest_to_xyz[i][k] * rgb[k];
                xyz_src[i] += src_to_xyz[i][k] * colour[k];
            }
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(xyz_dest[i], xyz_src[i], 1e-5) << i;
    }
}

TEST(CspMatrix3x3, InverseOfKnownMatrices) {
    Matrix unimodular = {{2, 3, 1}, {3, 3, 1}, {2, 4, 1}}, expected = {{-1, 1, 0}, {-1, 0, 1}, {6, -2, -3}};
    mp_invert_matrix3x3(unimodular);
    EXPECT_EQ(0, std::memcmp(unimodular, expected, sizeof expected));
    Matrix zero = {};  // singular: no test for zero, non-finite values
    mp_invert_matrix3x3(zero);
    for (auto& row : zero)
        for (float v : row) EXPECT_FALSE(std::isfinite(v));
}

TEST(CspMatrix3x3, ProductInPlaceAndSquaring) {
    Matrix a = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, b = {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
    Matrix ab = {{3, 1, 2}, {6, 4, 5}, {9, 7, 8}};  // a x b: new column j is old column j - 1
    mp_mul_matrix3x3(a, b);
    EXPECT_EQ(0, std::memcmp(a, ab, sizeof ab));
    Matrix c = {{1, 2, 0}, {0, 1, 3}, {4, 0, 1}}, square = {{1, 4, 6}, {12, 1, 6}, {8, 8, 1}};
    mp_mul_matrix3x3(c, c);
    EXPECT_EQ(0, std::memcmp(c, square, sizeof square));
}
