// Blending in linear light: what it computes, that 8-bit pixels get the
// 16-bit arithmetic, that float with an exponent of 1 changes nothing, and
// that colours survive the round trip.
#include "core/ChannelMath.h"
#include "vx/composite/formulas/XferTestSupport.h"

namespace {

template <class Pixel>
class XferLinear : public ::testing::Test {};
TYPED_TEST_SUITE(XferLinear, XferDepths);

// Half of white over black mixes the light, not the code values: the
// result is the stored encoding of 0.5.
TYPED_TEST(XferLinear, HalfWhiteOverBlackIsHalfTheLight) {
  typedef TypeParam Pixel;
  const auto tables = xt::GammaTables(2.2);
  const auto W = xt::kW<Pixel>;
  const Pixel white{W, W, W, W}, black{W, 0, 0, 0};
  const double expected = std::pow(0.5, 1 / 2.2) * W;
  const double tol = xt::kFloat<Pixel> ? 1e-5 : W / 255.0;
  for (int32_t m : {XferOver, XferAlphaAdd}) {
    const Pixel out = xt::WithOpacity(m, white, VX_PixelTraits<Pixel>::kGrey, black, tables.get());
    EXPECT_NEAR(out.red, expected, tol) << xt::ModeName(m);
    EXPECT_EQ(out.alpha, W);
  }
}

// With identity tables an 8-bit entry is the 16-bit entry on the converted
// pixels, with the converted source alpha it formed, converted back.
TEST(XferLinear, EightBitsBlendWithTheSixteenBitCore) {
  VX_LinearBlendingTables identity;
  for (int i = 0; i < 256; ++i) identity.to_linear[i] = VX_Convert8To16(i);
  for (int i = 0; i <= 4096; ++i) identity.from_linear[i] = static_cast<uint16_t>(i * 8);
  identity.to_linear_gamma = identity.from_linear_gamma = 1;
  vxtest::Random r(31);
  for (int32_t m = 0; m < xt::kModes; ++m)
    for (int i = 0; i < 3000; ++i) {
      const VX_Pixel8 s = xt::RandomPixel<VX_Pixel8>(r), d = xt::RandomPixel<VX_Pixel8>(r);
      const uint8_t op = xt::Channel<VX_Pixel8>(r), mask = xt::Channel<VX_Pixel8>(r);
      // The premultiplied add scales a white start; the others the pixel's alpha.
      const uint8_t sa = uint8_t(vx::mul8(mask, vx::mul8(op, m == XferAddPremul ? 255 : s.alpha)));
      const VX_Pixel16 s16{VX_Convert8To16(m == XferAddPremul ? s.alpha : sa), VX_Convert8To16(s.red),
                           VX_Convert8To16(s.green), VX_Convert8To16(s.blue)};
      const VX_Pixel16 d16{VX_Convert8To16(d.alpha), VX_Convert8To16(d.red), VX_Convert8To16(d.green),
                           VX_Convert8To16(d.blue)};
      const VX_Pixel16 o = xt::WithMask(m, s16, 32768, VX_Convert8To16(m == XferAddPremul ? sa : 255), d16);
      const VX_Pixel8 expected{VX_Convert16To8(o.alpha), VX_Convert16To8(o.red), VX_Convert16To8(o.green),
                               VX_Convert16To8(o.blue)};
      ASSERT_TRUE(vxtest::SamePixel(xt::WithMask(m, s, op, mask, d, &identity), sa ? expected : d)) << xt::ModeName(m) << s << d;
    }
}

// An exponent of 1 makes the float round trip exact: linear and direct
// entries agree bit for bit.
TEST(XferLinear, FloatWithExponentOneIsTheDirectForm) {
  auto tables = xt::GammaTables(1.0);
  vxtest::Random r(32);
  for (int32_t m = 0; m < xt::kModes; ++m)
    for (int i = 0; i < 3000; ++i) {
      const VX_PixelFloat s = xt::RandomPixel<VX_PixelFloat>(r), d = xt::RandomPixel<VX_PixelFloat>(r);
      const float op = xt::Channel<VX_PixelFloat>(r), mask = xt::Channel<VX_PixelFloat>(r);
      ASSERT_TRUE(vxtest::SamePixel(xt::WithMask(m, s, op, mask, d, tables.get()), xt::WithMask(m, s, op, mask, d)))
          << xt::ModeName(m);
    }
}

// Copying an opaque colour, and the destination's own trip through a
// dissolve, bring back the stored value: exactly at black and white, and
// elsewhere within the resolution of the 16-bit linear values, which is
// coarse in the darkest quarter.
TYPED_TEST(XferLinear, ColoursSurviveTheRoundTrip) {
  typedef TypeParam Pixel;
  const auto tables = xt::GammaTables(2.2);
  const auto W = xt::kW<Pixel>;
  constexpr int depth = VX_PixelTraits<Pixel>::kDepthIndex;
  const double light[] = {0, 4, 1e-6}, dark[] = {2, 330, 1e-6};
  for (int i = 0; i <= 1024; ++i) {
    const xt::Ch<Pixel> c = xt::kFloat<Pixel> ? xt::Ch<Pixel>(i / 1024.0) : xt::Ch<Pixel>(i * W / 1024);
    const Pixel p{W, c, c, c};
    const double tol = i == 0 || i == 1024 ? 0.0 : (i < 256 ? dark[depth] : light[depth]);
    const Pixel copied = xt::Plain(XferCopy, p, Pixel{W, 0, 0, 0}, tables.get());
    const Pixel kept = xt::Plain(XferDissolve, Pixel{W, 0, 0, 0}, p, tables.get());
    EXPECT_NEAR(copied.green, c, tol) << c;
    EXPECT_NEAR(kept.green, c, tol) << c;
    EXPECT_EQ(kept.alpha, W);
  }
  // 8-bit alpha goes to 16 bits and back unchanged.
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    for (int a = 1; a < 256; ++a)
      EXPECT_EQ(xt::Plain(XferAlphaMul, VX_Pixel8{255, 0, 0, 0}, VX_Pixel8{uint8_t(a), 9, 9, 9}, tables.get()).alpha,
                a);
  }
}

}  // namespace
