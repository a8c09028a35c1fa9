// Geometry: rectangles, matrices and the colour tables, against independent
// computations.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "vxhost/GEO.h"

namespace {

TEST(Rects, IntersectionInsetAndConversion) {
  const GEO_LRect a{0, 0, 10, 10}, b{5, -5, 20, 7};
  GEO_LRect out;
  ASSERT_TRUE(GEO_SectLRect(&a, &b, &out));
  const GEO_LRect expected{5, 0, 10, 7};
  EXPECT_TRUE(GEO_EqualLRect(&out, &expected));
  const GEO_LRect far{20, 20, 30, 30};
  EXPECT_FALSE(GEO_SectLRect(&a, &far, &out));
  EXPECT_TRUE(GEO_EmptyLRect(&out));
  GEO_LRect r{2, 3, 8, 9};
  GEO_InsetLRect(&r, -1, -1);
  EXPECT_EQ(r.left, 1);
  EXPECT_EQ(r.bottom, 10);
  const GEO_Rect small = GEO_LRectToRect(GEO_LRect{-70000, 1, 2, 3});
  EXPECT_EQ(small.left, -32768) << "16-bit rectangles saturate";
  EXPECT_EQ(GEO_RectToLRect(GEO_Rect{1, 2, 3, 4}).right, 4);
}

double Apply(const GEO_Matrix3& m, double x, double y, int axis) {
  GEO_FloatPoint p{x, y};
  GEO_TransformFloatPoints(&m, &p, 1);
  return axis == 0 ? p.x : p.y;
}

TEST(Rects, OffsetsStopAtTheEndsOfTheRange) {
  GEO_LRect r{-5, 10, 20, 30};
  GEO_OffsetLRect(&r, INT32_MIN, INT32_MAX);
  EXPECT_EQ(r.left, INT32_MIN);
  EXPECT_EQ(r.right, INT32_MIN + 20);
  EXPECT_EQ(r.top, INT32_MAX);
  EXPECT_EQ(r.bottom, INT32_MAX);
  GEO_OffsetLRect(&r, 3, -1);
  EXPECT_EQ(r.left, INT32_MIN + 3);
  EXPECT_EQ(r.top, INT32_MAX - 1);
}

TEST(Matrices, OperationsComposeInOrder) {
  GEO_Matrix3 m;
  GEO_SetIdentityMatrix(&m);
  EXPECT_EQ(GEO_GetMatrixType(&m), GEO_MatrixType_Identity);
  GEO_TranslateMatrix(&m, 3, 4);
  EXPECT_EQ(GEO_GetMatrixType(&m), GEO_MatrixType_Translate);
  GEO_ScaleMatrix(&m, 2, 2);
  EXPECT_EQ(GEO_GetMatrixType(&m), GEO_MatrixType_Scale);
  // (1, 1) -> translate -> (4, 5) -> scale -> (8, 10)
  EXPECT_DOUBLE_EQ(Apply(m, 1, 1, 0), 8);
  EXPECT_DOUBLE_EQ(Apply(m, 1, 1, 1), 10);
  GEO_RotateMatrix(&m, 90);
  EXPECT_EQ(GEO_GetMatrixType(&m), GEO_MatrixType_Affine);
  // then a quarter turn: (8, 10) -> (-10, 8)
  EXPECT_NEAR(Apply(m, 1, 1, 0), -10, 1e-12);
  EXPECT_NEAR(Apply(m, 1, 1, 1), 8, 1e-12);
  double v[3] = {0, 0, 1};
  GEO_TransformVector3(&m, v);
  // The unit z vector carries the translation: (0, 0) -> (3, 4) -> (6, 8) -> (-8, 6).
  EXPECT_NEAR(v[0], -8, 1e-12);
  EXPECT_NEAR(v[1], 6, 1e-12);
}

TEST(Matrices, InverseRoundTripsAndRefusesSingular) {
  std::mt19937 engine(3);
  std::uniform_real_distribution<double> value(-5, 5);
  for (int trial = 0; trial < 100; ++trial) {
    GEO_Matrix3 m;
    for (auto& row : m.mat)
      for (double& e : row) e = value(engine);
    GEO_Matrix3 inv, product, identity;
    if (!GEO_InverseMatrixQuiet(&m, &inv)) continue;
    GEO_ConcatMatrix(&m, &inv, &product);
    GEO_SetIdentityMatrix(&identity);
    EXPECT_TRUE(GEO_EqualMatrixWithinEpsilon(&product, &identity, 1e-9));
  }
  GEO_Matrix3 singular{};
  singular.mat[0][0] = 1;
  singular.mat[1][0] = 2;
  GEO_Matrix3 untouched;
  GEO_SetIdentityMatrix(&untouched);
  EXPECT_FALSE(GEO_InverseMatrixQuiet(&singular, &untouched));
  EXPECT_EQ(untouched.mat[0][0], 1.0);
}

TEST(Matrices, RectBoundsRoundingAndPerspective) {
  GEO_Matrix3 m;
  GEO_SetIdentityMatrix(&m);
  GEO_RotateMatrix(&m, 45);
  const GEO_FloatRect square{-1, -1, 1, 1};
  GEO_FloatRect out;
  GEO_TransformFloatRect(&m, &square, &out);
  EXPECT_NEAR(out.right, std::sqrt(2.0), 1e-12);
  EXPECT_NEAR(out.top, -std::sqrt(2.0), 1e-12);
  GEO_RoundMatrix(&m, 3);
  EXPECT_DOUBLE_EQ(m.mat[0][0], 0.707);
  m.mat[0][2] = 0.001;
  EXPECT_EQ(GEO_GetMatrixType(&m), GEO_MatrixType_Perspective);
  EXPECT_EQ(GEO_RoundDouble(2.5), 3);
  EXPECT_EQ(GEO_RoundDouble(-2.5), -3);
  EXPECT_EQ(GEO_RoundDouble(1e20), INT32_MAX);
}

TEST(ColorTables, DivideAndMultiplyFollowTheirRulesEverywhere) {
  const uint8_t *fcm = nullptr, *fcd = nullptr;
  ASSERT_EQ(GEO_PrepareFCMD(1, 0, 0, &fcm, &fcd), 0);
  for (int a = 0; a < 256; ++a) {
    for (int v = 0; v < 256; ++v) {
      const int product = static_cast<int>(std::floor(a * v / 255.0 + 0.5));
      ASSERT_EQ(fcm[a * 256 + v], product) << a << " " << v;
      const int quotient = v >= a ? 255 : (v * 255 + a / 2) / a;
      ASSERT_EQ(fcd[a * 256 + v], quotient) << a << " " << v;
    }
  }
  const uint8_t* again = nullptr;
  ASSERT_EQ(GEO_PrepareFCMD(1, 0, 0, nullptr, &again), 0);
  EXPECT_EQ(again, fcd) << "prepared tables are shared";
  EXPECT_EQ(GEO_UnprepareFCMD(), 0);
  EXPECT_EQ(GEO_UnprepareFCMD(), 0);
  EXPECT_EQ(GEO_UnprepareFCMD(), 3) << "one unprepare too many";
}

}  // namespace
