// The modes that are easy to get wrong, on chosen values: the "2" forms of
// difference, dodge and burn, linear light's 256, hard mix, soft light's
// tables, pin and vivid light around mid grey, transparent destinations,
// recolour ties, and float input that is not a number.
#include <algorithm>
#include <array>
#include <limits>

#include "composite/formulas/XferRecolour.h"
#include "composite/formulas/XferSoftLight.h"
#include "vx/composite/formulas/XferTestSupport.h"

namespace {

template <class Pixel>
class XferModes : public ::testing::Test {};
TYPED_TEST_SUITE(XferModes, XferDepths);

// A real value in the depth's units.
template <class Pixel>
xt::Ch<Pixel> U(double x) {
  if constexpr (xt::kFloat<Pixel>)
    return static_cast<float>(x);
  else
    return static_cast<xt::Ch<Pixel>>(std::lround(x * xt::kW<Pixel>));
}
// One code value, or a small float step.
template <class Pixel>
constexpr double kCode = xt::kFloat<Pixel> ? 1e-6 : 1.0;

template <class Pixel>
Pixel Grey(xt::Ch<Pixel> a, xt::Ch<Pixel> c) {
  return Pixel{a, c, c, c};
}
// Mode m with opaque source and destination of grey values s and d.
template <class Pixel>
double Opaque(int32_t m, xt::Ch<Pixel> s, xt::Ch<Pixel> d) {
  return xt::Plain(m, Grey<Pixel>(xt::kW<Pixel>, s), Grey<Pixel>(xt::kW<Pixel>, d)).red;
}
// The destination values to sweep: every code at 8 bits, a spread otherwise.
template <class Pixel>
std::vector<xt::Ch<Pixel>> Sweep() {
  std::vector<xt::Ch<Pixel>> v;
  for (int i = 0; i <= 255; ++i) v.push_back(U<Pixel>(i / 255.0));
  if constexpr (!xt::kFloat<Pixel>)
    for (int i = 0; i < 600; ++i) v.push_back(static_cast<xt::Ch<Pixel>>(i * 54 % (xt::kW<Pixel> + 1)));
  return v;
}

TYPED_TEST(XferModes, DodgeAndBurnAgainstTheirSecondForms) {
  typedef TypeParam Pixel;
  const auto W = xt::kW<Pixel>;
  for (auto d : Sweep<Pixel>()) {
    EXPECT_EQ(Opaque<Pixel>(XferDodge, W, d), W) << d;  // also for d = 0
    EXPECT_EQ(Opaque<Pixel>(XferDodge2, W, d), d == 0 ? 0 : W) << d;
    EXPECT_EQ(Opaque<Pixel>(XferBurn, 0, d), 0) << d;  // also for d = W
    EXPECT_EQ(Opaque<Pixel>(XferBurn2, 0, d), d == W ? W : 0) << d;
  }
}

// At 0 < sa < W the first subtracts the scaled source from the destination,
// the second weights the difference: |0.4 - 0.2| against 0.5 x 0.2 + 0.5 x 0.6.
TYPED_TEST(XferModes, DifferenceScalesTheSourceDifference2WeighsTheResult) {
  typedef TypeParam Pixel;
  const Pixel s = Grey<Pixel>(U<Pixel>(0.5), U<Pixel>(0.8)), d = Grey<Pixel>(xt::kW<Pixel>, U<Pixel>(0.2));
  EXPECT_NEAR(xt::Plain(XferDifference, s, d).red, U<Pixel>(0.2), kCode<Pixel>);
  EXPECT_NEAR(xt::Plain(XferDifference2, s, d).red, U<Pixel>(0.4), kCode<Pixel>);
}

TYPED_TEST(XferModes, LinearLightIsNeutralAtMidGrey) {
  typedef TypeParam Pixel;
  for (auto d : Sweep<Pixel>()) EXPECT_NEAR(Opaque<Pixel>(XferLinearLight, U<Pixel>(0.5), d), d, 1e-6) << d;
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    EXPECT_EQ(Opaque<Pixel>(XferLinearLight, 128, 0), 0);  // 2s - 256 + d
    EXPECT_EQ(Opaque<Pixel>(XferLinearLight, 127, 1), 0);
    EXPECT_EQ(Opaque<Pixel>(XferLinearLight, 129, 0), 2);
    EXPECT_EQ(Opaque<Pixel>(XferLinearLight, 255, 200), 255);
  }
}

TYPED_TEST(XferModes, HardMixIsBlackOrWhite) {
  typedef TypeParam Pixel;
  if constexpr (xt::kFloat<Pixel>) {
    // A ramp of width 1.001358e-5 above t = (1 - s) x 0.99999.
    const float s = 0.3f, t = (1 - s) * 0.99999f, w = 1.001358e-5f;
    EXPECT_EQ(Opaque<Pixel>(XferHardMix, s, t), 0.0);
    EXPECT_NEAR(Opaque<Pixel>(XferHardMix, s, t + w / 2), 0.5, 0.01);
    EXPECT_EQ(Opaque<Pixel>(XferHardMix, s, t + 2 * w), 1.0);
  } else {
    for (auto s : Sweep<Pixel>())
      for (auto d : Sweep<Pixel>()) {
        const double v = Opaque<Pixel>(XferHardMix, s, d);
        ASSERT_TRUE(v == 0 || v == xt::kW<Pixel>) << s << " " << d;
        // White exactly where s + d exceeds white, give or take the rounding of t.
        if (std::abs(double(s) + d - xt::kW<Pixel>) > 2) {
          ASSERT_EQ(v > 0, s + d > xt::kW<Pixel>) << s << " " << d;
        }
      }
  }
}

// Around mid grey of the source both are close to the destination, and
// equal to it at mid grey.
TYPED_TEST(XferModes, PinAndVividLightAroundMidGrey) {
  typedef TypeParam Pixel;
  const auto G = VX_PixelTraits<Pixel>::kGrey;
  const double step = xt::kFloat<Pixel> ? 1e-4 : 1.0, tol = xt::kFloat<Pixel> ? 1e-3 : 2.0;
  for (auto d : Sweep<Pixel>()) {
    for (int32_t m : {XferPinLight, XferVividLight}) {
      EXPECT_NEAR(Opaque<Pixel>(m, G, d), d, xt::kFloat<Pixel> ? 2e-7 : 0.0) << xt::ModeName(m);
      EXPECT_NEAR(Opaque<Pixel>(m, xt::Ch<Pixel>(G - step), d), d, tol) << xt::ModeName(m) << " " << d;
      EXPECT_NEAR(Opaque<Pixel>(m, xt::Ch<Pixel>(G + step), d), d, tol) << xt::ModeName(m) << " " << d;
    }
  }
  // Away from it, pin light is min(2s, d) below and max(2s - 1, d) above.
  EXPECT_NEAR(Opaque<Pixel>(XferPinLight, U<Pixel>(0.25), U<Pixel>(0.75)), U<Pixel>(0.5), 2 * kCode<Pixel>);
  EXPECT_NEAR(Opaque<Pixel>(XferPinLight, U<Pixel>(0.75), U<Pixel>(0.25)), U<Pixel>(0.5), 2 * kCode<Pixel>);
}

// A transparent destination is neutral on each matte: white for multiply,
// black for screen, mid grey for overlay.
TYPED_TEST(XferModes, TransparentDestinationYieldsTheSource) {
  typedef TypeParam Pixel;
  vxtest::Random r(5);
  for (int i = 0; i < 500; ++i) {
    Pixel s = xt::RandomPixel<Pixel>(r), d = xt::RandomPixel<Pixel>(r);
    s.alpha = xt::kW<Pixel>;
    d.alpha = 0;
    for (int32_t m : {XferMultiply, XferScreen, XferOverlay}) {
      const Pixel out = xt::Plain(m, s, d);
      const double tol = m == XferOverlay || xt::kFloat<Pixel> ? kCode<Pixel> : 0.0;
      EXPECT_NEAR(out.red, s.red, tol) << xt::ModeName(m);
      EXPECT_NEAR(out.blue, s.blue, tol) << xt::ModeName(m);
      EXPECT_EQ(out.alpha, xt::kW<Pixel>);
    }
    EXPECT_TRUE(vxtest::SamePixel(xt::Plain(XferDissolve, s, d), d));
  }
}

// The constant 8-bit tables follow their rule in every entry.
TEST(XferSoftLight, EightBitTablesFollowTheCurve) {
  for (int d = 0; d < 256; ++d) {
    const double x = d / 255.0;
    const double curve = x <= 0.25 ? ((16 * x - 12) * x + 4) * x : std::sqrt(x);
    EXPECT_EQ(VXp_G_SoftLightA_8[d], std::lround(255 * (curve - x))) << d;
    EXPECT_EQ(VXp_G_SoftLightB_8[d], std::lround(255 * x * (1 - x))) << d;
  }
}

// 16 bits interpolate between table entries 8 codes apart; without the
// interpolation the error would reach 20 codes where the curve is steep.
TEST(XferSoftLight, SixteenBitsFollowTheCurveBetweenEntries) {
  for (int d = 0; d <= 32768; ++d) {
    const double x = d / 32768.0;
    const double curve = x <= 0.25 ? ((16 * x - 12) * x + 4) * x : std::sqrt(x);
    EXPECT_NEAR(Opaque<VX_Pixel16>(XferSoftLight, 0, d), 32768 * (x - x * (1 - x)), 2) << d;
    EXPECT_NEAR(Opaque<VX_Pixel16>(XferSoftLight, 32768, d), 32768 * curve, 2) << d;
  }
}

// Exact integer forms (the rounding of mul, dbl and div, the truncating
// 16-bit lerp, the lifts and the interpolated soft light) on random pixels,
// against values computed separately from the written rules.
template <class Pixel>
struct ExactCase {
  int32_t mode;
  std::array<int32_t, 4> s, d, out;
};
template <class Pixel>
void CheckExact(const std::vector<ExactCase<Pixel>>& cases) {
  auto px = [](const std::array<int32_t, 4>& v) {
    typedef xt::Ch<Pixel> C;
    return Pixel{C(v[0]), C(v[1]), C(v[2]), C(v[3])};
  };
  for (const auto& c : cases)
    EXPECT_TRUE(vxtest::SamePixel(xt::Plain(c.mode, px(c.s), px(c.d)), px(c.out)))
        << xt::ModeName(c.mode) << " " << xt::Plain(c.mode, px(c.s), px(c.d));
}

TEST(XferExact, EightBits) {
  CheckExact<VX_Pixel8>({
      {1, {160, 130, 183, 14}, {216, 238, 127, 26}, {240, 227, 133, 24}},
      {1, {255, 127, 6, 110}, {105, 143, 93, 199}, {255, 134, 42, 147}},
      {2, {41, 36, 71, 227}, {33, 67, 0, 2}, {69, 48, 41, 133}},
      {2, {255, 100, 196, 152}, {6, 184, 212, 84}, {255, 100, 196, 152}},
      {7, {240, 74, 135, 33}, {85, 154, 1, 173}, {245, 88, 91, 62}},
      {7, {255, 90, 29, 131}, {250, 11, 183, 206}, {255, 10, 126, 205}},
      {8, {5, 214, 187, 192}, {149, 4, 231, 23}, {151, 8, 229, 27}},
      {8, {255, 181, 128, 236}, {28, 188, 151, 18}, {255, 156, 131, 163}},
      {9, {111, 46, 106, 174}, {132, 185, 75, 174}, {186, 109, 81, 183}},
      {9, {255, 158, 247, 82}, {185, 24, 41, 207}, {255, 101, 242, 119}},
      {24, {9, 121, 176, 128}, {117, 215, 74, 28}, {122, 217, 79, 33}},
      {24, {255, 211, 54, 86}, {112, 190, 76, 30}, {255, 220, 0, 0}},
      {25, {217, 215, 150, 72}, {117, 86, 232, 249}, {234, 181, 139, 132}},
      {25, {255, 193, 91, 255}, {223, 173, 92, 45}, {255, 116, 113, 216}},
      {26, {126, 139, 184, 32}, {202, 182, 17, 156}, {228, 116, 101, 129}},
      {26, {255, 5, 242, 128}, {84, 140, 237, 147}, {255, 48, 164, 92}},
      {31, {210, 182, 178, 140}, {165, 176, 209, 179}, {239, 223, 226, 180}},
      {31, {255, 185, 244, 144}, {178, 40, 213, 87}, {255, 163, 252, 127}},
  });
}

TEST(XferExact, SixteenBits) {
  CheckExact<VX_Pixel16>({
      {1, {20211, 27577, 19835, 17740}, {23607, 1810, 12818, 10487}, {29257, 6786, 14173, 11888}},
      {1, {32768, 14827, 10862, 3548}, {29223, 8750, 7263, 20797}, {32768, 9407, 7652, 18930}},
      {2, {31719, 11897, 31631, 12672}, {17968, 2336, 27229, 30495}, {32294, 11727, 31552, 12989}},
      {2, {32768, 18253, 26872, 7541}, {22573, 24502, 2363, 19751}, {32768, 18253, 26872, 7541}},
      {7, {3108, 19351, 22241, 19214}, {31402, 23043, 8464, 27466}, {31532, 23193, 8806, 27518}},
      {7, {32768, 8715, 5952, 23010}, {26911, 62, 25025, 7072}, {32768, 1584, 17566, 12270}},
      {8, {10684, 9220, 21328, 24631}, {14065, 28290, 14833, 32336}, {20163, 22976, 16417, 28673}},
      {8, {32768, 16454, 27229, 1289}, {10458, 20151, 32227, 18769}, {32768, 17613, 24793, 9614}},
      {9, {4696, 31256, 1558, 7987}, {21629, 29063, 16089, 19208}, {23225, 29663, 13147, 17123}},
      {9, {32768, 2409, 16099, 32120}, {8772, 10142, 18725, 19214}, {32768, 2163, 16715, 32150}},
      {24, {16131, 31105, 7744, 1059}, {24917, 8259, 19706, 18503}, {28782, 11006, 14649, 9184}},
      {24, {32768, 185, 16542, 29859}, {22471, 7051, 12529, 954}, {32768, 0, 5275, 8825}},
      {25, {14080, 28031, 31580, 25262}, {15589, 25681, 12875, 19428}, {22971, 21797, 20858, 19934}},
      {25, {32768, 20378, 9350, 10842}, {15677, 32616, 21675, 10061}, {32768, 16574, 13802, 12471}},
      {26, {13945, 3182, 4483, 15074}, {8756, 5583, 4123, 1674}, {18975, 3664, 3578, 11194}},
      {26, {32768, 8018, 14367, 7284}, {23346, 8822, 19168, 28702}, {32768, 2878, 7551, 17353}},
      {31, {4907, 11998, 12142, 27127}, {26282, 10563, 4405, 13968}, {27253, 9347, 4045, 17152}},
      {31, {32768, 8803, 653, 28289}, {2997, 20615, 32076, 32085}, {32768, 8496, 649, 28698}},
  });
}

// Integer recolour against the common definition, on pixels with many ties.
TYPED_TEST(XferModes, RecolourMatchesAReferenceWithTies) {
  typedef TypeParam Pixel;
  if constexpr (!xt::kFloat<Pixel>) {
    vxtest::Random r(6);
    const int32_t W = xt::kW<Pixel>;
    const int32_t few[] = {0, 1, W / 3, W / 2, W / 2 + 1, W - 1, W};  // many ties
    auto pick = [&] { return static_cast<xt::Ch<Pixel>>(r.Int(0, 1) ? few[r.Int(0, 6)] : r.Int(0, W)); };
    for (int i = 0; i < 20000; ++i) {
      const Pixel s{W, pick(), pick(), pick()}, d{W, pick(), pick(), pick()};
      for (int32_t m : {XferHue, XferSaturation, XferColor, XferLuminosity}) {
        const auto c = xt::RecolourRef<int32_t>{W}(m, {s.red, s.green, s.blue}, {d.red, d.green, d.blue});
        const Pixel out = xt::Plain(m, s, d);
        ASSERT_EQ(out.red, c[0]) << xt::ModeName(m) << s << d;
        ASSERT_EQ(out.green, c[1]) << xt::ModeName(m) << s << d;
        ASSERT_EQ(out.blue, c[2]) << xt::ModeName(m) << s << d;
      }
    }
  }
}

// The sort table, ties included: x, y, z index the largest, middle and
// smallest channel, and a tie goes as the table's rows say. At float the
// order shows: the largest becomes sat exactly, the middle one is computed,
// and for tied channels the two differ.
TEST(XferRecolour, SetSatFollowsTheSortTableOnTies) {
  typedef vx::XferRecolourMath<VX_PixelFloat> R;
  const float levels[3] = {0.1f, 0.3f, 0.7f};
  int shows = 0;
  for (float sat : {0.3f, 0.6f, 0.7f, 0.9f})
    for (int i = 0; i < 27; ++i) {
      const float r = levels[i % 3], g = levels[i / 3 % 3], b = levels[i / 9];
      int ex[3] = {0, 1, 2};  // the table
      if (r <= g && r > b) ex[0] = 1, ex[1] = 0, ex[2] = 2;
      if (r <= g && r <= b && g > b) ex[0] = 1, ex[1] = 2, ex[2] = 0;
      if (r <= g && r <= b && g <= b) ex[0] = 2, ex[1] = 1, ex[2] = 0;
      if (r > g && g > b) ex[0] = 0, ex[1] = 1, ex[2] = 2;
      if (r > g && g <= b && r > b) ex[0] = 0, ex[1] = 2, ex[2] = 1;
      if (r > g && g <= b && r <= b) ex[0] = 2, ex[1] = 0, ex[2] = 1;
      float c[3] = {r, g, b};
      const float top = c[ex[0]] - c[ex[2]], mid = c[ex[1]] - c[ex[2]];
      float expect[3];
      expect[ex[0]] = top != 0 ? sat : top;
      expect[ex[1]] = top != 0 ? sat * mid / top : mid;
      expect[ex[2]] = 0;
      shows += top != 0 && mid == top && sat * mid / top != sat;
      R::SetSat(c, sat);
      for (int k = 0; k < 3; ++k) EXPECT_EQ(c[k], expect[k]) << r << " " << g << " " << b << " sat " << sat;
    }
  EXPECT_GT(shows, 0);  // the levels do tell the tied roles apart
}

// Float input that is not a number in range never traps or crashes; the
// zero-or-denormal divisions give 1.0.
TEST(XferFloatInput, OddValuesAreSafeAndDenormalDivisorsGiveOne) {
  const float odd[] = {std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::infinity(),
                       -std::numeric_limits<float>::infinity(),
                       1e-40f,
                       -1e-40f,
                       -3.0f,
                       7.0f,
                       0.0f,
                       1.0f,
                       0.5f};
  const auto tables = xt::GammaTables(2.2);
  vxtest::Random r(7);
  for (int32_t m = 0; m < xt::kModes; ++m)
    for (int i = 0; i < 3000; ++i) {
      auto v = [&] { return odd[r.Int(0, 9)]; };
      const VX_PixelFloat s{v(), v(), v(), v()}, d{v(), v(), v(), v()};
      xt::Plain(m, s, d, (i & 1) ? tables.get() : nullptr);
      xt::WithMask(m, s, v(), v(), d, (i & 2) ? tables.get() : nullptr);
    }
  // sa denormal over nothing: the union alpha is 0 and the division gives 1.
  const VX_PixelFloat s{1e-40f, 0.25f, 0.25f, 0.25f}, d{0, 0.5f, 0.5f, 0.5f};
  EXPECT_EQ(xt::Plain(XferDifference2, s, d).red, 1.0f);  // three-term
  EXPECT_EQ(xt::Plain(XferAdd, s, d).red, 1.0f);          // black lift
  EXPECT_EQ(xt::Plain(XferMultiply, s, d).red, 0.0f);     // white lift
  EXPECT_EQ(xt::Plain(XferBehind, s, d).red, 1.0f);
}

}  // namespace
