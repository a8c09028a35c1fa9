// Properties every per-pixel mode must have at every depth, over large random
// samples: the empty last slot, a zero source alpha changing nothing, the
// variants scaling the source alpha, a full source over a full destination
// giving the mode's F, and the union alpha where the family forms it.
#include "composite/formulas/XferCore.h"
#include "vx/composite/formulas/XferTestSupport.h"

namespace {

template <class Pixel>
class XferProperties : public ::testing::Test {};
TYPED_TEST_SUITE(XferProperties, XferDepths);

TYPED_TEST(XferProperties, EveryModeHasANamedSlotAndTheLastIsEmpty) {
  typedef VX_Xfer1Tables<TypeParam> T;
  for (int32_t m = 0; m <= xt::kModes; ++m) {
    const bool slot = m < xt::kModes;
    EXPECT_EQ(T::Plain()[m] && T::Opacity()[m] && T::Opacity2()[m], slot) << m;
    EXPECT_EQ(!T::Plain()[m] && !T::Opacity()[m] && !T::Opacity2()[m], !slot) << m;
    EXPECT_EQ(VX_XferModeFromName(VX_XferModeName(m)), slot ? m : XferNone);
  }
  EXPECT_STREQ(VX_XferModeName(XferReplace), "XferReplace");
  EXPECT_EQ(VX_XferModeName(XferNone), nullptr);
  EXPECT_EQ(VX_XferModeFromName("XferNothing"), XferNone);
}

// A zero alpha, from the pixel, the opacity or the mask, leaves the
// destination alone, in the stored encoding and in linear light. The
// premultiplied add's plain entry doesn't read the source alpha.
TYPED_TEST(XferProperties, ZeroSourceAlphaChangesNothing) {
  typedef TypeParam Pixel;
  vxtest::Random r(1);
  const auto tables = xt::GammaTables(2.2);
  for (int32_t m = 0; m < xt::kModes; ++m) {
    for (int i = 0; i < 2000; ++i) {
      const VX_LinearBlendingTables* t = (i & 1) ? tables.get() : nullptr;
      Pixel s = xt::RandomPixel<Pixel>(r);
      const Pixel d = xt::RandomPixel<Pixel>(r);
      const auto any = xt::Channel<Pixel>(r);
      ASSERT_TRUE(vxtest::SamePixel(xt::WithOpacity(m, s, 0, d, t), d)) << xt::ModeName(m);
      ASSERT_TRUE(vxtest::SamePixel(xt::WithMask(m, s, any, 0, d, t), d)) << xt::ModeName(m);
      s.alpha = 0;
      if (m != XferAddPremul) {
        ASSERT_TRUE(vxtest::SamePixel(xt::Plain(m, s, d, t), d)) << xt::ModeName(m) << " " << d;
        ASSERT_TRUE(vxtest::SamePixel(xt::WithMask(m, s, any, any, d, t), d)) << xt::ModeName(m);
      }
    }
  }
  // The plain premultiplied add adds a transparent source's colours.
  const Pixel s{0, xt::kW<Pixel>, 0, 0}, d{0, 0, 0, 0};
  EXPECT_EQ(xt::Plain(XferAddPremul, s, d).red, xt::kW<Pixel>);
}

// Opacity and mask act only through the source alpha: the variants agree
// with the plain entry given the scaled alpha.
TYPED_TEST(XferProperties, VariantsAgreeWithTheScaledSourceAlpha) {
  typedef TypeParam Pixel;
  typedef vx::Arith<Pixel> A;
  vxtest::Random r(2);
  for (int32_t m = 0; m < xt::kModes; ++m) {
    for (int i = 0; i < 2000; ++i) {
      const Pixel s = xt::RandomPixel<Pixel>(r), d = xt::RandomPixel<Pixel>(r);
      const auto op = xt::Channel<Pixel>(r), mask = xt::Channel<Pixel>(r);
      Pixel scaled = s;
      scaled.alpha = static_cast<xt::Ch<Pixel>>(A::mul(op, s.alpha));
      Pixel masked = scaled;
      masked.alpha = static_cast<xt::Ch<Pixel>>(A::mul(mask, scaled.alpha));
      ASSERT_TRUE(vxtest::SamePixel(xt::WithMask(m, s, xt::kW<Pixel>, xt::kW<Pixel>, d), xt::Plain(m, s, d)));
      if (m == XferAddPremul) continue;
      ASSERT_TRUE(vxtest::SamePixel(xt::WithOpacity(m, s, op, d), xt::Plain(m, scaled, d))) << xt::ModeName(m);
      ASSERT_TRUE(vxtest::SamePixel(xt::WithMask(m, s, op, mask, d), xt::Plain(m, masked, d))) << xt::ModeName(m);
    }
  }
}

// F of a matte or three-term mode, by number.
template <class Pixel, int32_t Mode>
typename vx::Arith<Pixel>::T FOf(typename vx::Arith<Pixel>::T s, typename vx::Arith<Pixel>::T d) {
  if constexpr (requires { vx::XferOp<Mode, Pixel>::F(s, d); })
    return vx::XferOp<Mode, Pixel>::F(s, d);
  else
    return -1;
}
template <class Pixel>
using FFunc = typename vx::Arith<Pixel>::T (*)(typename vx::Arith<Pixel>::T, typename vx::Arith<Pixel>::T);
#define XT_F_ENTRY(number, name, family) &FOf<Pixel, number>,

bool FormsUnion(VX_XferFamily f) {
  return f == VX_XferFamily::BlackMatte || f == VX_XferFamily::WhiteMatte || f == VX_XferFamily::GreyMatte ||
         f == VX_XferFamily::ThreeTerm;
}

// A full source over a full destination gives F exactly (the three-term
// family's float lerp may round it by an ulp); a partial source gives the
// union alpha, also after the behind step of the recolour modes.
TYPED_TEST(XferProperties, FullOverFullGivesFAndPartialGivesTheUnionAlpha) {
  typedef TypeParam Pixel;
  typedef vx::XferMath<Pixel> M;
  const FFunc<Pixel> f[] = {VX_XFER_PIXEL_MODES(XT_F_ENTRY)};
  vxtest::Random r(3);
  for (int32_t m = 0; m < xt::kModes; ++m) {
    const VX_XferFamily family = VX_XferFamilyOf(m);
    for (int i = 0; i < 4000; ++i) {
      Pixel s = xt::RandomPixel<Pixel>(r), d = xt::RandomPixel<Pixel>(r);
      if (FormsUnion(family) && (i & 1)) {
        s.alpha = d.alpha = xt::kW<Pixel>;
        const Pixel out = xt::Plain(m, s, d);
        EXPECT_EQ(out.alpha, xt::kW<Pixel>);
        const double ulps = xt::kFloat<Pixel> && family == VX_XferFamily::ThreeTerm ? 2e-7 : 0.0;
        for (int c = 0; c < 3; ++c) {
          const double expected = f[m](vx::Colour(s, c), vx::Colour(d, c));
          ASSERT_NEAR(vx::Colour(out, c), expected, ulps * std::max(1.0, std::abs(expected)))
              << xt::ModeName(m) << " " << s << " " << d;
        }
        continue;
      }
      if (s.alpha == 0 || s.alpha == xt::kW<Pixel>) continue;
      const bool unites = FormsUnion(family) ||
                          ((family == VX_XferFamily::Recolour || m == XferBehind) && d.alpha != xt::kW<Pixel>) ||
                          (m == XferOver && d.alpha != 0);
      if (unites) {
        ASSERT_EQ(xt::Plain(m, s, d).alpha, xt::Ch<Pixel>(M::Union(s.alpha, d.alpha))) << xt::ModeName(m);
      }
      if (family == VX_XferFamily::AlphaOnly || m == XferDissolve) {
        const Pixel out = xt::Plain(m, s, d);
        ASSERT_TRUE(out.red == d.red && out.green == d.green && out.blue == d.blue) << xt::ModeName(m);
      }
    }
  }
}

}  // namespace
