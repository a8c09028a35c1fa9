// The modes against independent definitions: float results at full alpha
// against the textbook separable and non-separable blend modes, the direct
// modes against compositing in real numbers, and the integer depths
// against float where the formulas agree in the reals.
#include <algorithm>
#include <array>
#include <functional>
#include <map>

#include "composite/formulas/XferCommon.h"
#include "vx/composite/formulas/XferTestSupport.h"

namespace {

typedef std::function<double(double s, double d)> Blend;

double Dodge(double s, double d) { return d == 0 ? 0 : (s >= 1 ? 1 : std::min(1.0, d / (1 - s))); }
double Burn(double s, double d) { return d == 1 ? 1 : (s <= 0 ? 0 : 1 - std::min(1.0, (1 - d) / s)); }
double HardLight(double s, double d) { return s <= 0.5 ? d * 2 * s : 1 - (1 - d) * (1 - (2 * s - 1)); }
double SoftLight(double s, double d) {
  if (s <= 0.5) return d - (1 - 2 * s) * d * (1 - d);
  const double D = d <= 0.25 ? ((16 * d - 12) * d + 4) * d : std::sqrt(d);
  return d + (2 * s - 1) * (D - d);
}
double Clamp(double v) { return std::clamp(v, 0.0, 1.0); }

// Separable modes whose float form at full alpha is the textbook one.
const std::map<int32_t, Blend>& Separable() {
  static const std::map<int32_t, Blend> modes = {
      {XferMultiply, [](double s, double d) { return s * d; }},
      {XferScreen, [](double s, double d) { return s + d - s * d; }},
      {XferOverlay, [](double s, double d) { return HardLight(d, s); }},
      {XferSoftLight, SoftLight},
      {XferHardLight, HardLight},
      {XferDarken, [](double s, double d) { return std::min(s, d); }},
      {XferLighten, [](double s, double d) { return std::max(s, d); }},
      {XferDifference, [](double s, double d) { return std::abs(s - d); }},
      {XferDifference2, [](double s, double d) { return std::abs(s - d); }},
      {XferExclusion, [](double s, double d) { return s + d - 2 * s * d; }},
      {XferDodge, Dodge},
      {XferDodge2, Dodge},
      {XferBurn2, Burn},
      {XferLinearDodge, [](double s, double d) { return Clamp(s + d); }},
      {XferLinearBurn, [](double s, double d) { return Clamp(s + d - 1); }},
      {XferLinearLight, [](double s, double d) { return Clamp(d + 2 * s - 1); }},
      {XferVividLight, [](double s, double d) { return s <= 0.5 ? Burn(2 * s, d) : Dodge(2 * (s - 0.5), d); }},
      {XferPinLight, [](double s, double d) { return s <= 0.5 ? std::min(d, 2 * s) : std::max(d, 2 * s - 1); }},
      {XferSubtract, [](double s, double d) { return Clamp(d - s); }},
  };
  return modes;
}

typedef xt::RecolourRef<double>::C RGB;
RGB Of(const VX_PixelFloat& p) { return {p.red, p.green, p.blue}; }
VX_PixelFloat Opaque(vxtest::Random& r) { return {1, r.Float(0, 1), r.Float(0, 1), r.Float(0, 1)}; }

TEST(XferReference, FloatSeparableModesAreTheTextbookOnes) {
  vxtest::Random r(21);
  for (const auto& [m, blend] : Separable())
    for (int i = 0; i < 20000; ++i) {
      const VX_PixelFloat s = Opaque(r), d = Opaque(r);
      VX_PixelFloat out = xt::Plain(m, s, d);
      if (m == XferLinearDodge || m == XferLinearLight || m == XferSubtract) out.red = float(Clamp(out.red));
      ASSERT_NEAR(out.red, blend(s.red, d.red), 2e-6) << xt::ModeName(m) << " " << s << " " << d;
      ASSERT_EQ(out.alpha, 1.0f);
    }
}

TEST(XferReference, FloatNonSeparableModesAreTheTextbookOnes) {
  vxtest::Random r(22);
  for (int32_t m : {XferHue, XferSaturation, XferColor, XferLuminosity, XferLighterColor, XferDarkerColor})
    for (int i = 0; i < 20000; ++i) {
      const VX_PixelFloat s = Opaque(r), d = Opaque(r);
      const RGB expected = xt::RecolourRef<double>{1.0}(m, Of(s), Of(d)), out = Of(xt::Plain(m, s, d));
      for (int c = 0; c < 3; ++c) ASSERT_NEAR(out[c], expected[c], 2e-5) << xt::ModeName(m) << " " << s << " " << d;
    }
}

// Copy, over, behind, alpha add and premultiplied add at partial alphas,
// against compositing in real numbers.
TEST(XferReference, FloatDirectModesCompositeAsInTheReals) {
  vxtest::Random r(23);
  for (int i = 0; i < 20000; ++i) {
    const VX_PixelFloat s = xt::RandomPixel<VX_PixelFloat>(r), d = xt::RandomPixel<VX_PixelFloat>(r);
    if (s.alpha == 0) continue;
    const double sa = s.alpha, da = d.alpha, over = sa + da - sa * da;
    auto check = [&](int32_t m, double alpha, double colour) {
      const VX_PixelFloat out = xt::Plain(m, s, d);
      ASSERT_NEAR(out.alpha, alpha, 1e-6) << xt::ModeName(m) << s << d;
      ASSERT_NEAR(out.red, colour, 1e-5 * std::max(1.0, std::abs(colour))) << xt::ModeName(m) << s << d;
    };
    check(XferCopy, sa, s.red);
    if (over > 1e-3) {
      check(XferOver, over, da == 0 ? s.red : (s.red * sa + d.red * da * (1 - sa)) / over);
      if (da != 1) check(XferBehind, over, (d.red * da + s.red * sa * (1 - da)) / over);
    }
    if (sa != 1 && sa + da < 1) check(XferAlphaAdd, sa + da, (s.red * sa + d.red * da) / (sa + da));
    if (sa != 1 && sa + da >= 1) check(XferAlphaAdd, 1, s.red * sa + d.red * (1 - sa));
    if (over > 1e-3) check(XferAddPremul, over, (s.red + d.red * da * (1 - sa)) / over);
  }
}

// The integer depths against float on the same input in the reals, in
// 8-bit codes. Modes are grouped by how the results may differ:
// well-conditioned formulas agree within a code or two (more at partial
// alpha, where the lift divides by the union alpha, here at least half);
// divisions by values near zero, and 16-bit recolour, a little more; hard
// mix, lighter and darker colour switch, and 8-bit recolour clips around
// a rounded luma, so they are not compared.
TEST(XferReference, IntegerDepthsAgreeWithFloat) {
  const std::vector<int32_t> smooth = {1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12, 17, 18, 19, 20, 21, 22, 25, 26, 30, 33};
  const std::vector<int32_t> clampedAtFull = {29, 31, 37};
  const std::vector<int32_t> dividing = {23, 24, 27, 28, 32, 38};
  auto to16 = [](const VX_Pixel8& p) {
    return VX_Pixel16{VX_Convert8To16(p.alpha), VX_Convert8To16(p.red), VX_Convert8To16(p.green),
                      VX_Convert8To16(p.blue)};
  };
  auto toF = [](const VX_Pixel8& p) {
    return VX_PixelFloat{p.alpha / 255.f, p.red / 255.f, p.green / 255.f, p.blue / 255.f};
  };
  // Largest difference over the four channels, in 8-bit codes.
  auto diff = [](const auto& p, double white, const VX_PixelFloat& f) {
    double e = std::abs(p.alpha / white - f.alpha);
    for (int c = 0; c < 3; ++c) e = std::max(e, std::abs(vx::Colour(p, c) / white - Clamp(vx::Colour(f, c))));
    return e * 255;
  };
  auto run = [&](const std::vector<int32_t>& modes, bool full, double tol8, double tol16) {
    vxtest::Random r(24);
    for (int32_t m : modes)
      for (int i = 0; i < 40000; ++i) {
        VX_Pixel8 s = xt::RandomPixel<VX_Pixel8>(r), d = xt::RandomPixel<VX_Pixel8>(r);
        if (full) s.alpha = d.alpha = 255;
        const VX_PixelFloat f = xt::Plain(m, toF(s), toF(d));
        if (f.alpha < 0.5f) continue;
        if (tol8 > 0) {
          ASSERT_LE(diff(xt::Plain(m, s, d), 255.0, f), tol8) << xt::ModeName(m) << s << d;
        }
        ASSERT_LE(diff(xt::Plain(m, to16(s), to16(d)), 32768.0, f), tol16) << xt::ModeName(m) << s << d;
      }
  };
  run(smooth, true, 2.0, 0.05);
  run(smooth, false, 5.0, 0.1);
  run(clampedAtFull, true, 2.0, 0.05);
  run(dividing, true, 3.0, 2.5);
  run({13, 14, 15, 16}, true, 0, 0.6);
}

}  // namespace
