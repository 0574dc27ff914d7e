// Primaries records, RGB-to-XYZ matrices against published values and an
// independent double-precision model, Bradford adaptation, gamut mapping
// under each intent, 3 x 3 inversion and multiplication.
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/csputils.h"

namespace {

using Matrix = float[3][3];
using Matrix64 = double[3][3];

struct PrimariesRow {
    int prim;  // -1: not reachable through mp_get_csp_primaries
    const mp_csp_primaries* record;
    double rx, ry, gx, gy, bx, by, wx, wy;
};

const double kD65x = 0.31271, kD65y = 0.32902;

// The chromaticity table as published for each set of primaries.
const PrimariesRow kPrimaries[] = {
    {1, &defMP_CSP_PRIM_BT_601_525, 0.63, 0.34, 0.31, 0.595, 0.155, 0.07, kD65x, kD65y},
    {2, &defMP_CSP_PRIM_BT_601_625, 0.64, 0.33, 0.29, 0.60, 0.15, 0.06, kD65x, kD65y},
    {3, &defMP_CSP_PRIM_BT_709, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06, kD65x, kD65y},
    {4, &defMP_CSP_PRIM_BT_2020, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046, kD65x, kD65y},
    {5, &defMP_CSP_PRIM_BT_470M, 0.67, 0.33, 0.21, 0.71, 0.14, 0.08, 0.31006, 0.31616},
    {6, &defMP_CSP_PRIM_APPLE, 0.625, 0.34, 0.28, 0.595, 0.115, 0.07, kD65x, kD65y},
    {7, &defMP_CSP_PRIM_ADOBE, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06, kD65x, kD65y},
    {8, &defMP_CSP_PRIM_PRO_PHOTO, 0.7347, 0.2653, 0.1596, 0.8404, 0.0366, 0.0001, 0.34577,
     0.3585},
    {9, &defMP_CSP_PRIM_CIE_1931, 0.7347, 0.2653, 0.2738, 0.7174, 0.1666, 0.0089, 1.0 / 3,
     1.0 / 3},
    {10, &defMP_CSP_PRIM_DCI_P3, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06, kD65x, kD65y},
    {11, &defMP_CSP_PRIM_DISPLAY_P3, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06, kD65x, kD65y},
    {12, &defMP_CSP_PRIM_V_GAMUT, 0.73, 0.28, 0.165, 0.84, 0.10, -0.03, kD65x, kD65y},
    {13, &defMP_CSP_PRIM_S_GAMUT, 0.73, 0.28, 0.14, 0.855, 0.10, -0.05, kD65x, kD65y},
    {14, &defMP_CSP_PRIM_S_GAMUT_CINE, 0.766, 0.275, 0.225, 0.80, 0.089, -0.087, kD65x, kD65y},
    {-1, &defMP_CSP_PRIM_P3_DCI, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06, 0.314, 0.351},
    {0, &defMP_CSP_PRIM_AUTO, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06, kD65x, kD65y},
};

mp_csp_primaries primaries_of(const PrimariesRow& r) {
    return {{float(r.rx), float(r.ry)},
            {float(r.gx), float(r.gy)},
            {float(r.bx), float(r.by)},
            {float(r.wx), float(r.wy)}};
}

bool same_bits(const mp_csp_primaries& a, const mp_csp_primaries& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// ---- an independent double-precision model ----

void xyz_of(double x, double y, double out[3]) {
    out[0] = x / y;
    out[1] = 1.0;
    out[2] = (1.0 - x - y) / y;
}

// Solves a 3 x 3 system by Gaussian elimination with partial pivoting.
void solve(const Matrix64 a, const double b[3], double x[3]) {
    double m[3][4];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m[i][j] = a[i][j];
        m[i][3] = b[i];
    }
    for (int col = 0; col < 3; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 3; ++r)
            if (std::fabs(m[r][col]) > std::fabs(m[pivot][col])) pivot = r;
        for (int j = 0; j < 4; ++j) std::swap(m[col][j], m[pivot][j]);
        for (int r = col + 1; r < 3; ++r) {
            const double f = m[r][col] / m[col][col];
            for (int j = col; j < 4; ++j) m[r][j] -= f * m[col][j];
        }
    }
    for (int i = 2; i >= 0; --i) {
        double s = m[i][3];
        for (int j = i + 1; j < 3; ++j) s -= m[i][j] * x[j];
        x[i] = s / m[i][i];
    }
}

// RGB to XYZ: the primaries' XYZ as columns, each scaled so that RGB white
// lands on the white point.
void model_rgb2xyz(double rx, double ry, double gx, double gy, double bx, double by, double wx,
                   double wy, Matrix64 out) {
    double columns[3][3], white[3], scale[3];
    xyz_of(rx, ry, columns[0]);
    xyz_of(gx, gy, columns[1]);
    xyz_of(bx, by, columns[2]);
    xyz_of(wx, wy, white);
    Matrix64 a;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) a[i][j] = columns[j][i];
    solve(a, white, scale);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) out[i][j] = a[i][j] * scale[j];
}

void apply(const Matrix m, const float v[3], double out[3]) {
    for (int i = 0; i < 3; ++i) out[i] = double(m[i][0]) * v[0] + double(m[i][1]) * v[1] + double(m[i][2]) * v[2];
}

void expect_identity(const Matrix m, double tolerance) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(m[i][j], i == j ? 1.0 : 0.0, tolerance) << "[" << i << "][" << j << "]";
}

// A matrix with its inverse product: a x b.
void product(const Matrix a, const Matrix b, Matrix64 out) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            out[i][j] = 0;
            for (int k = 0; k < 3; ++k) out[i][j] += double(a[i][k]) * b[k][j];
        }
}

}  // namespace

// ---- records ----

TEST(CspPrimaries, RecordsHoldThePublishedChromaticities) {
    for (const PrimariesRow& row : kPrimaries)
        EXPECT_TRUE(same_bits(*row.record, primaries_of(row))) << "prim " << row.prim;
    // Filled at load: AUTO as BT.709, DCI_P3 as Display P3 (the D65 white).
    EXPECT_TRUE(same_bits(defMP_CSP_PRIM_AUTO, defMP_CSP_PRIM_BT_709));
    EXPECT_TRUE(same_bits(defMP_CSP_PRIM_DCI_P3, defMP_CSP_PRIM_DISPLAY_P3));
}

TEST(CspPrimaries, LookupByValueFromMinusTwoTo300) {
    for (int p = -2; p <= 300; ++p) {
        const mp_csp_primaries* expected = &defMP_CSP_PRIM_BT_709;
        for (const PrimariesRow& row : kPrimaries)
            if (row.prim == p && p > 0) expected = row.record;
        EXPECT_TRUE(same_bits(mp_get_csp_primaries(mp_csp_prim(p)), *expected)) << p;
    }
    const mp_csp_primaries dci = mp_get_csp_primaries(MP_CSP_PRIM_DCI_P3);
    EXPECT_EQ(dci.white.x, 0.31271f);
    EXPECT_EQ(dci.white.y, 0.32902f);
}

// ---- RGB to XYZ ----

TEST(CspRgbToXyz, Bt709MatchesThePublishedMatrix) {
    // IEC 61966-2-1 / BT.709 with the D65 white (0.3127, 0.3290), to four
    // decimals.
    const double published[3][3] = {{0.4124, 0.3576, 0.1805},
                                     {0.2126, 0.7152, 0.0722},
                                     {0.0193, 0.1192, 0.9505}};
    mp_csp_primaries p = defMP_CSP_PRIM_BT_709;
    p.white = {0.3127f, 0.3290f};
    Matrix m;
    mp_get_rgb2xyz_matrix(p, m);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(m[i][j], published[i][j], 5.5e-5) << i << j;

    // The library's own record (white 0.31271, 0.32902): the luma row.
    mp_get_rgb2xyz_matrix(defMP_CSP_PRIM_BT_709, m);
    EXPECT_NEAR(m[1][0], 0.2126, 5.5e-5);
    EXPECT_NEAR(m[1][1], 0.7152, 5.5e-5);
    EXPECT_NEAR(m[1][2], 0.0722, 5.5e-5);
    EXPECT_NEAR(double(m[1][0]) + m[1][1] + m[1][2], 1.0, 3e-7);
}

TEST(CspRgbToXyz, Bt2020MatchesThePublishedMatrix) {
    const double published[3][3] = {{0.6370, 0.1446, 0.1689},
                                     {0.2627, 0.6780, 0.0593},
                                     {0.0000, 0.0281, 1.0610}};
    mp_csp_primaries p = defMP_CSP_PRIM_BT_2020;
    p.white = {0.3127f, 0.3290f};
    Matrix m;
    mp_get_rgb2xyz_matrix(p, m);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(m[i][j], published[i][j], 5.5e-5) << i << j;

    mp_get_rgb2xyz_matrix(defMP_CSP_PRIM_BT_2020, m);
    EXPECT_NEAR(m[1][0], 0.2627, 5.5e-5);
    EXPECT_NEAR(m[1][1], 0.6780, 5.5e-5);
    EXPECT_NEAR(m[1][2], 0.0593, 5.5e-5);
    EXPECT_NEAR(double(m[1][0]) + m[1][1] + m[1][2], 1.0, 3e-7);
}

TEST(CspRgbToXyz, EveryRecordAgainstTheDoubleModel) {
    for (const PrimariesRow& row : kPrimaries) {
        const mp_csp_primaries p = *row.record;
        Matrix64 expected;
        model_rgb2xyz(p.red.x, p.red.y, p.green.x, p.green.y, p.blue.x, p.blue.y, p.white.x,
                      p.white.y, expected);
        Matrix m;
        mp_get_rgb2xyz_matrix(p, m);
        double largest = 0;
        for (auto& r : expected)
            for (double v : r) largest = std::fmax(largest, std::fabs(v));
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                EXPECT_NEAR(m[i][j], expected[i][j], 2e-6 * largest)
                    << "prim " << row.prim << " [" << i << "][" << j << "]";
        // RGB white has luminance 1.
        EXPECT_NEAR(double(m[1][0]) + m[1][1] + m[1][2], 1.0, 2e-6 * largest) << row.prim;
    }
}

// ---- Bradford adaptation ----

TEST(CspAdaptation, BradfordD65ToD50MatchesThePublishedMatrix) {
    // Lindbloom's Bradford matrix for D65 (0.95047, 1, 1.08883) to D50
    // (0.96422, 1, 0.82521); the whites are given as the chromaticities of
    // those XYZ values.
    const double published[3][3] = {{1.0478112, 0.0228866, -0.0501270},
                                     {0.0295424, 0.9904844, -0.0170491},
                                     {-0.0092345, 0.0150436, 0.7521316}};
    const double d65_sum = 0.95047 + 1 + 1.08883, d50_sum = 0.96422 + 1 + 0.82521;
    const mp_csp_col_xy d65 = {float(0.95047 / d65_sum), float(1 / d65_sum)};
    const mp_csp_col_xy d50 = {float(0.96422 / d50_sum), float(1 / d50_sum)};
    Matrix m = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    mp_apply_chromatic_adaptation(d65, d50, m);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(m[i][j], published[i][j], 2e-6) << i << j;
}

TEST(CspAdaptation, MultipliesOnTheRightAndMapsWhiteToWhite) {
    const mp_csp_col_xy from = {0.314f, 0.351f}, to = {0.31271f, 0.32902f};
    Matrix adaptation = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    mp_apply_chromatic_adaptation(from, to, adaptation);
    // The adapted source white is the destination white.
    const float white_from[3] = {from.x / from.y, 1, (1 - from.x - from.y) / from.y};
    double got[3];
    apply(adaptation, white_from, got);
    EXPECT_NEAR(got[0], to.x / to.y, 2e-6);
    EXPECT_NEAR(got[1], 1.0, 2e-6);
    EXPECT_NEAR(got[2], (1 - to.x - to.y) / to.y, 2e-6);

    Matrix m = {{2, 0.5f, 0}, {0, 1, -1}, {0.25f, 0, 3}};
    const Matrix original = {{2, 0.5f, 0}, {0, 1, -1}, {0.25f, 0, 3}};
    mp_apply_chromatic_adaptation(from, to, m);
    Matrix64 expected;
    product(original, adaptation, expected);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(m[i][j], expected[i][j], 2e-6) << i << j;
}

TEST(CspAdaptation, NearlyEqualWhitesLeaveTheMatrixUntouched) {
    const Matrix original = {{1.5f, -2, 3}, {0.1f, 0.2f, 0.3f}, {-7, 8, 9.25f}};
    Matrix m;
    std::memcpy(m, original, sizeof m);
    const mp_csp_col_xy a = {0.3127f, 0.3290f};
    mp_apply_chromatic_adaptation(a, {a.x + 9e-7f, a.y - 9e-7f}, m);
    EXPECT_EQ(0, std::memcmp(m, original, sizeof m));
    mp_apply_chromatic_adaptation(a, a, m);
    EXPECT_EQ(0, std::memcmp(m, original, sizeof m));
    // A difference of 2e-6 in one coordinate is enough to adapt.
    mp_apply_chromatic_adaptation(a, {a.x, a.y + 2e-6f}, m);
    EXPECT_NE(0, std::memcmp(m, original, sizeof m));
}

// ---- gamut mapping ----

TEST(CspCmsMatrix, SamePrimariesGiveIdentity) {
    for (const PrimariesRow& row : kPrimaries) {
        if (row.prim == 8) continue;  // ProPhoto's blue (y = 0.0001) is too ill-conditioned
        for (mp_render_intent intent : {MP_INTENT_PERCEPTUAL, MP_INTENT_RELATIVE_COLORIMETRIC,
                                        MP_INTENT_ABSOLUTE_COLORIMETRIC}) {
            Matrix m;
            mp_get_cms_matrix(*row.record, *row.record, intent, m);
            SCOPED_TRACE(testing::Message() << "prim " << row.prim << " intent " << intent);
            expect_identity(m, 2e-5);
        }
    }
}

TEST(CspCmsMatrix, SaturationIntentOnlySetsTheDiagonal) {
    Matrix zeroed = {};
    mp_get_cms_matrix(defMP_CSP_PRIM_BT_2020, defMP_CSP_PRIM_BT_709, MP_INTENT_SATURATION, zeroed);
    const Matrix identity = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    EXPECT_EQ(0, std::memcmp(zeroed, identity, sizeof identity));

    Matrix m = {{9, 2, 3}, {4, 9, 6}, {7, 8, 9}};
    mp_get_cms_matrix(defMP_CSP_PRIM_BT_709, defMP_CSP_PRIM_APPLE, MP_INTENT_SATURATION, m);
    const Matrix expected = {{1, 2, 3}, {4, 1, 6}, {7, 8, 1}};
    EXPECT_EQ(0, std::memcmp(m, expected, sizeof expected));
}

TEST(CspCmsMatrix, RelativeKeepsWhiteAbsoluteKeepsXyz) {
    // BT.709 (D65) into ProPhoto (D50).
    const mp_csp_primaries& src = defMP_CSP_PRIM_BT_709;
    const mp_csp_primaries& dest = defMP_CSP_PRIM_PRO_PHOTO;
    Matrix64 src_to_xyz, dest_to_xyz;
    model_rgb2xyz(src.red.x, src.red.y, src.green.x, src.green.y, src.blue.x, src.blue.y,
                  src.white.x, src.white.y, src_to_xyz);
    model_rgb2xyz(dest.red.x, dest.red.y, dest.green.x, dest.green.y, dest.blue.x, dest.blue.y,
                  dest.white.x, dest.white.y, dest_to_xyz);
    const float white[3] = {1, 1, 1};

    for (mp_render_intent intent : {MP_INTENT_PERCEPTUAL, MP_INTENT_RELATIVE_COLORIMETRIC}) {
        Matrix m;
        mp_get_cms_matrix(src, dest, intent, m);
        double got[3];
        apply(m, white, got);
        for (double v : got) EXPECT_NEAR(v, 1.0, 1e-5) << "intent " << intent;
    }

    // Absolute: each source colour keeps its XYZ in the destination.
    Matrix m;
    mp_get_cms_matrix(src, dest, MP_INTENT_ABSOLUTE_COLORIMETRIC, m);
    const float colours[2][3] = {{1, 1, 1}, {0.2f, 0.7f, 0.1f}};
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

// ---- 3 x 3 arithmetic ----

TEST(CspMatrix3x3, InverseOfKnownMatrices) {
    Matrix diagonal = {{2, 0, 0}, {0, 4, 0}, {0, 0, 8}};
    mp_invert_matrix3x3(diagonal);
    const Matrix diagonal_inverse = {{0.5f, 0, 0}, {0, 0.25f, 0}, {0, 0, 0.125f}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(diagonal[i][j], diagonal_inverse[i][j]) << i << j;

    // Determinant 1, integer inverse.
    Matrix unimodular = {{2, 3, 1}, {3, 3, 1}, {2, 4, 1}};
    mp_invert_matrix3x3(unimodular);
    const Matrix expected = {{-1, 1, 0}, {-1, 0, 1}, {6, -2, -3}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(unimodular[i][j], expected[i][j]) << i << j;
}

TEST(CspMatrix3x3, InverseTimesMatrixIsIdentity) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> value(-2.0f, 2.0f);
    for (int trial = 0; trial < 200; ++trial) {
        Matrix m, inverse;
        for (auto& row : m)
            for (float& v : row) v = value(rng);
        for (int i = 0; i < 3; ++i) m[i][i] += 5.0f;  // well conditioned
        std::memcpy(inverse, m, sizeof m);
        mp_invert_matrix3x3(inverse);
        Matrix64 p;
        product(m, inverse, p);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) EXPECT_NEAR(p[i][j], i == j ? 1.0 : 0.0, 1e-5);
    }
}

TEST(CspMatrix3x3, SingularInputGivesNonFiniteValues) {
    Matrix zero = {};
    mp_invert_matrix3x3(zero);
    for (auto& row : zero)
        for (float v : row) EXPECT_FALSE(std::isfinite(v));
}

TEST(CspMatrix3x3, ProductInPlaceAndSquaring) {
    Matrix a = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    Matrix b = {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
    mp_mul_matrix3x3(a, b);  // a x b moves columns: new column j is old column j - 1
    const Matrix ab = {{3, 1, 2}, {6, 4, 5}, {9, 7, 8}};
    EXPECT_EQ(0, std::memcmp(a, ab, sizeof ab));

    Matrix c = {{1, 2, 0}, {0, 1, 3}, {4, 0, 1}};
    mp_mul_matrix3x3(c, c);
    const Matrix square = {{1, 4, 6}, {12, 1, 6}, {8, 8, 1}};
    EXPECT_EQ(0, std::memcmp(c, square, sizeof square));
}
