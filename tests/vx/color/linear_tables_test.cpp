// The linear blending tables: sRGB against its curve computed here, the
// inversion on curves that fall, and a missing engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "color/LinearTables.h"
#include "vx/color/ColorTestSupport.h"

namespace {

using colortest::SRGBToLinear;

const VX_LinearBlendingTables& SRGBTables() {
  static const auto tables = VX_MakeLinearizationTables(TNT_ORX_GetDefaultProfile());
  return *tables;
}

void ExpectInvertible(const VX_LinearBlendingTables& t) {
  for (int i = 1; i <= 4096; ++i) ASSERT_LE(t.from_linear[i - 1], t.from_linear[i]) << i;
  for (int i = 0; i <= 4096; ++i) ASSERT_LE(t.from_linear[i], 32768) << i;
}

TEST(LinearTables, SRGBFollowsTheCurveAndInvertsIt) {
  const VX_LinearBlendingTables& t = SRGBTables();
  for (uint32_t i = 0; i < 256; ++i) {
    const uint32_t stored = (i * 0x808080u + 33200u) >> 16;
    EXPECT_NEAR(t.to_linear[i], SRGBToLinear(stored / 32768.0) * 32768.0, 1.0) << i;
  }
  EXPECT_EQ(t.to_linear[0], 0);
  EXPECT_EQ(t.to_linear[255], 32768);
  ExpectInvertible(t);
  EXPECT_EQ(t.from_linear[0], 0);
  EXPECT_EQ(t.from_linear[4096], 32768);
  // Every 8-bit code survives stored -> linear -> stored.
  for (uint32_t c = 0; c < 256; ++c) {
    const uint16_t back = VX_StoredFromLinear16(t, VX_LinearFromStored8(t, uint8_t(c)));
    EXPECT_NEAR(VX_Convert16To8(back), c, 1) << c;
  }
  // The float exponents come from a gamma fit, not the exact curve.
  EXPECT_NEAR(t.to_linear_gamma, 2.2f, 0.05f);
  EXPECT_FLOAT_EQ(t.from_linear_gamma, 1.0f / t.to_linear_gamma);
}

TEST(LinearTables, LinearLookupOfStored16InterpolatesTheSRGBCurve) {
  const VX_LinearBlendingTables& t = SRGBTables();
  for (uint32_t v = 0; v <= 32768; v += 7) {
    // Between two 8-bit codes the curve is taken as straight: the chord is
    // within a few levels of the curve everywhere.
    EXPECT_NEAR(VX_LinearFromStored16(t, v), SRGBToLinear(v / 32768.0) * 32768.0, 6.0) << v;
    // Back to stored within the width of one linear level, seen from the
    // stored side (where the curve is flat, a linear level spans many).
    const double slope = (SRGBToLinear((v + 8) / 32768.0) - SRGBToLinear(v / 32768.0)) * 32768.0 / 8.0;
    EXPECT_NEAR(VX_StoredFromLinear16(t, VX_LinearFromStored16(t, v)), v, 2.0 + 1.0 / slope) << v;
  }
}

TEST(LinearTables, AProfileWhoseCurveFallsStillGivesAMonotoneInverse) {
  // A gamma curve with a dip in its middle third.
  std::vector<uint16_t> curve(256);
  for (int i = 0; i < 256; ++i) {
    double y = std::pow(i / 255.0, 2.2);
    if (i >= 90 && i < 170) y -= 0.12 * std::sin((i - 90) / 80.0 * 3.14159265);
    curve[i] = uint16_t(std::lround(std::clamp(y, 0.0, 1.0) * 65535.0));
  }
  const double xy[8] = {0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06};
  auto profile = TNT_ORX_Profile::FromCurve(L"Dip", xy, curve);
  const auto t = VX_MakeLinearizationTables(profile);
  bool falls = false;
  for (int i = 1; i < 256; ++i) falls = falls || t->to_linear[i] < t->to_linear[i - 1];
  EXPECT_TRUE(falls);
  ExpectInvertible(*t);
  EXPECT_EQ(t->from_linear[4096], 32768);
}

TEST(LinearTables, InversionOfFlatAndFallingSegments) {
  VX_LinearBlendingTables t{};
  // Linear up to code 100, flat to 150, falling to 200, then rising to white.
  for (int i = 0; i < 256; ++i) {
    double y = i <= 100 ? i * 64.0 : i <= 150 ? 6400.0 : i <= 200 ? 6400.0 - (i - 150) * 20.0 : 5400.0 + (i - 200) * (32768.0 - 5400.0) / 55.0;
    t.to_linear[i] = uint16_t(std::lround(y));
  }
  VXp_InvertLinearization(t);
  ExpectInvertible(t);
  // On the first straight part the inverse is stored = linear x 32768 / (64 x 255).
  for (int i = 1; i < 790; ++i) EXPECT_NEAR(t.from_linear[i], i * 8 * 32768.0 / (64.0 * 255.0), 1.5) << i;
  // The curve holds 6400 from code 100 until it climbs past it again after
  // code 200: the inverse jumps over the whole stretch at 6400.
  auto climb = [](double linear) { return (200 + (linear - 5400.0) / ((32768.0 - 5400.0) / 55.0)) * 32768.0 / 255.0; };
  const int flat = 6400 / 8;
  EXPECT_NEAR(t.from_linear[flat - 1], 6392.0 / 64.0 * 32768.0 / 255.0, 1.5);
  EXPECT_NEAR(t.from_linear[flat], climb(6400.0), 8.0);
  EXPECT_NEAR(t.from_linear[flat + 1], climb(6408.0), 8.0);
  EXPECT_EQ(t.from_linear[4096], 32768);

  // An all-flat curve never divides by zero.
  VX_LinearBlendingTables flat_table{};
  std::fill(std::begin(flat_table.to_linear), std::end(flat_table.to_linear), uint16_t{16384});
  VXp_InvertLinearization(flat_table);
  ExpectInvertible(flat_table);
}

TEST(LinearTables, LinearProfileGivesIdentityTables) {
  const auto t = VX_MakeLinearizationTables(TNT_ORX_Profile::FromCode(ORX_Profile_LinearSRGB));
  for (uint32_t i = 0; i < 256; ++i) EXPECT_NEAR(t->to_linear[i], VX_Convert8To16(i), 1) << i;
  for (uint32_t i = 0; i <= 4096; ++i) EXPECT_NEAR(t->from_linear[i], i * 8, 1) << i;
  EXPECT_FLOAT_EQ(t->to_linear_gamma, 1.0f);
}

TEST(LinearTables, MissingEngineThrowsItsCode) {
  colortest::NoEngineScope no_engine;
  const int32_t live = ORX_LiveTransforms();
  EXPECT_EQ(colortest::EngineErrorOf([] { VX_MakeLinearizationTables(nullptr); }), ORX_Err_NoInterface);
  EXPECT_EQ(ORX_LiveTransforms(), live);
}

}  // namespace
