// The modes that are easy to get wrong, on chosen values: the "2" forms of
// difference, dodge and burn, linear light's 256, hard mix, soft light's
// tables, pin and vivid light around mid grey, transparent destinations,
// recolour ties, and float input that is not a number.
#include <algorithm>
#include <array>
#include <limits>

#include "composite/XferRecolour.h"
#include "composite/XferSoftLight.h"
#include "vx/composite/XferTestSupport.h"

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
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    const VX_Pixel8 s8{128, 200, 200, 200}, d8{255, 50, 50, 50};
    EXPECT_EQ(xt::Plain(XferDifference, s8, d8).red, 50);
    EXPECT_EQ(xt::Plain(XferDifference2, s8, d8).red, 100);
  }
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
    EXPECT_TRUE(xt::Same(xt::Plain(XferDissolve, s, d), d));
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

// Integer recolour against a reference that sorts with the standard
// library: ties between channels cannot change an integer result.
template <class Pixel>
struct RecolourReference {
  typedef std::array<int32_t, 3> C;
  static int32_t Luma(const C& c) { return (c[0] * 9798 + c[1] * 19235 + c[2] * 3735 + 16384) >> 15; }
  static C Of(const Pixel& p) { return {p.red, p.green, p.blue}; }
  static int32_t Sat(const C& c) {
    return *std::max_element(c.begin(), c.end()) - *std::min_element(c.begin(), c.end());
  }
  static C WithSat(C c, int32_t sat) {
    const int hi = int(std::max_element(c.begin(), c.end()) - c.begin());
    const int lo = int(std::min_element(c.begin(), c.end()) - c.begin());
    if (hi == lo) return {0, 0, 0};
    const int mid = 3 - hi - lo;
    C out{};
    out[mid] = (c[mid] - c[lo]) * sat / (c[hi] - c[lo]);
    out[hi] = sat;
    return out;
  }
  static C WithLum(C c, int32_t L) {
    const int32_t e = L - Luma(c), W = xt::kW<Pixel>;
    for (auto& v : c) v += e;
    const int32_t n = std::min({c[0], c[1], c[2]});
    if (n < 0)
      for (auto& v : c) v = L + (v - L) * L / (L - n);
    const int32_t x = std::max({c[0], c[1], c[2]});
    if (x > W)
      for (auto& v : c) v = L + (v - L) * (W - L) / (x - L);
    return c;
  }
  static C Triple(int32_t m, const Pixel& s, const Pixel& d) {
    switch (m) {
      case XferHue:
        return WithLum(WithSat(Of(s), Sat(Of(d))), Luma(Of(d)));
      case XferSaturation:
        return WithLum(WithSat(Of(d), Sat(Of(s))), Luma(Of(d)));
      case XferColor:
        return WithLum(Of(s), Luma(Of(d)));
      default:
        return WithLum(Of(d), Luma(Of(s)));
    }
  }
};

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
        const auto c = RecolourReference<Pixel>::Triple(m, s, d);
        const Pixel out = xt::Plain(m, s, d);
        ASSERT_EQ(out.red, c[0]) << xt::ModeName(m) << s << d;
        ASSERT_EQ(out.green, c[1]) << xt::ModeName(m) << s << d;
        ASSERT_EQ(out.blue, c[2]) << xt::ModeName(m) << s << d;
      }
    }
  }
}

// The sort table, ties included: x, y, z index the largest, middle and
// smallest channel, and a tie goes as the table's rows say.
TEST(XferRecolour, SortFollowsTheTableOnTies) {
  typedef vx::XferRecolourMath<VX_Pixel8> R;
  for (int i = 0; i < 27; ++i) {
    const int16_t c[3] = {int16_t(i % 3), int16_t(i / 3 % 3), int16_t(i / 9)};
    const int16_t r = c[0], g = c[1], b = c[2];
    int ex[3];  // the table
    if (r <= g && r > b) ex[0] = 1, ex[1] = 0, ex[2] = 2;
    if (r <= g && r <= b && g > b) ex[0] = 1, ex[1] = 2, ex[2] = 0;
    if (r <= g && r <= b && g <= b) ex[0] = 2, ex[1] = 1, ex[2] = 0;
    if (r > g && g > b) ex[0] = 0, ex[1] = 1, ex[2] = 2;
    if (r > g && g <= b && r > b) ex[0] = 0, ex[1] = 2, ex[2] = 1;
    if (r > g && g <= b && r <= b) ex[0] = 2, ex[1] = 0, ex[2] = 1;
    int x, y, z;
    R::Sort(c, x, y, z);
    EXPECT_EQ(x, ex[0]) << r << g << b;
    EXPECT_EQ(y, ex[1]) << r << g << b;
    EXPECT_EQ(z, ex[2]) << r << g << b;
    EXPECT_TRUE(c[x] >= c[y] && c[y] >= c[z]);
  }
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
