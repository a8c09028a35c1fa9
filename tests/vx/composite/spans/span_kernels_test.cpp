// The span kernels through the blend pipeline against the per-pixel tables
// of the same mode, on random rows of every depth, with and without mask and
// opacity. Where a row differs from the per-pixel path on purpose, the
// expected pixel says so explicitly.
#include <cmath>

#include "composite/mattes/MatteStages.h"
#include "vx/composite/spans/SpanTestSupport.h"
#include "composite/formulas/XferRecolour.h"

namespace {

using st::Ch;

template <class Pixel>
class SpanKernels : public ::testing::Test {};
TYPED_TEST_SUITE(SpanKernels, XferDepths);

// Flattened, merged with a transparent source (which is exact but at
// float), and lifted.
template <class Pixel>
Pixel Lifted(int32_t stage, Pixel p) {
  typedef vx::Arith<Pixel> A;
  VXp_ScalarMatteStage<Pixel>(stage)(1, nullptr, &p);
  p.alpha = static_cast<Ch<Pixel>>(A::inv(A::mul(A::inv(0), A::inv(p.alpha))));
  VXp_ScalarMatteStage<Pixel>(stage + 1)(1, nullptr, &p);
  return p;
}

// The recolour step on a destination the behind stage has composited.
template <class Pixel, int32_t Mode>
void RecolourAfterBehind(const Pixel& s, typename vx::Arith<Pixel>::T sa, Pixel& d) {
  typedef vx::XferRecolourMath<Pixel> R;
  typename R::T c[3];
  if (vx::XferOp<Mode, Pixel>::Triple(s, d, d, c)) R::Mix(c, sa, true, d);
}

template <class Pixel>
void Recolour(int32_t mode, const Pixel& s, typename vx::Arith<Pixel>::T sa, Pixel& d) {
  switch (mode) {
#define VX_RECOLOUR_CASE(number, name, family)                            \
  case number:                                                            \
    if constexpr (VX_XferFamily::family == VX_XferFamily::Recolour)       \
      RecolourAfterBehind<Pixel, number>(s, sa, d);                       \
    break;
    VX_XFER_PIXEL_MODES(VX_RECOLOUR_CASE)
#undef VX_RECOLOUR_CASE
  }
}

// What one pixel of a row must become.
template <class Pixel>
Pixel Expected(int32_t mode, const Pixel& s, Ch<Pixel> opacity, Ch<Pixel> m, const Pixel& d) {
  typedef vx::Arith<Pixel> A;
  const auto sa = st::ScaledAlpha<Pixel>(mode == XferAddPremul ? xt::kW<Pixel> : s.alpha, opacity, m);
  const VX_XferFamily family = VX_XferFamilyOf(mode);
  if (mode == XferCopy || mode == XferReplace) {  // colours also where sa is 0
    Pixel e = s;
    e.alpha = static_cast<Ch<Pixel>>(sa);
    return e;
  }
  const int32_t stage = VXp_MatteStageOf(VX_XferFamilyOf(mode));
  if (sa == 0) return stage >= 0 ? Lifted(stage, d) : d;  // the matte modes flatten and lift every pixel
  if (mode == XferBehind && d.alpha == 0) {
    Pixel e = s;
    e.alpha = static_cast<Ch<Pixel>>(sa);
    return e;
  }
  if (family == VX_XferFamily::Recolour) {
    Pixel e = d;
    if (d.alpha == 0) {
      e = s;
      e.alpha = static_cast<Ch<Pixel>>(sa);
    } else {
      e = xt::WithMask(XferBehind, s, opacity, m, d);
    }
    if (mode == XferLighterColor || mode == XferDarkerColor || d.alpha == 0) {
      Recolour(mode, s, sa, e);
      return e;
    }
  }
  Pixel e = xt::WithMask(mode, s, opacity, m, d);
  // The float grey lift stage clamps to 0..1; the per-pixel lift doesn't.
  if constexpr (xt::kFloat<Pixel>)
    if (family == VX_XferFamily::GreyMatte && e.alpha != 1.0f)
      for (float* c : {&e.red, &e.green, &e.blue}) *c = std::min(std::max(*c, 0.0f), 1.0f);
  (void)A::kWhite;
  return e;
}

template <class Pixel>
void CheckMode(int32_t mode, vxtest::Random& r, bool with_mask, Ch<Pixel> opacity) {
  const size_t n = 97;
  const auto src = st::RandomRow<Pixel>(r, n), dst = st::RandomRow<Pixel>(r, n), mask = st::RandomRow<Pixel>(r, n);
  auto out = dst;
  ASSERT_EQ(st::Pipeline<Pixel>(mode, opacity, false, src, with_mask ? &mask : nullptr, out), 0);
  for (size_t i = 0; i < n; ++i) {
    const Ch<Pixel> m = with_mask ? mask[i].alpha : xt::kW<Pixel>;
    const Pixel e = Expected<Pixel>(mode, src[i], opacity, m, dst[i]);
    ASSERT_TRUE(vxtest::SamePixel(out[i], e)) << xt::ModeName(mode) << " pixel " << i << " s " << src[i] << " d " << dst[i]
                                     << " mask " << +m << " opacity " << +opacity << ": got " << out[i]
                                     << " expected " << e;
  }
}

TYPED_TEST(SpanKernels, EveryModeAgreesWithItsPerPixelEntry) {
  typedef TypeParam Pixel;
  vxtest::CPUScope scalar(0, 0, 0);
  vxtest::Random r(7);
  const Ch<Pixel> partial = xt::kFloat<Pixel> ? Ch<Pixel>(0.625f) : Ch<Pixel>(xt::kW<Pixel> * 5 / 8);
  for (int32_t mode = -3; mode < xt::kModes; ++mode) {
    if (mode == XferNone || mode == XferMaskMix || mode == XferDissolve) continue;
    for (int trial = 0; trial < 6; ++trial) {
      CheckMode<Pixel>(mode, r, trial & 1, trial & 2 ? partial : xt::kW<Pixel>);
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

TYPED_TEST(SpanKernels, KeepAlphaRestoresOrHonoursTheDestinationAlpha) {
  typedef TypeParam Pixel;
  vxtest::Random r(11);
  for (int32_t mode = -3; mode < xt::kModes; ++mode) {
    if (mode == XferNone || VX_XferFamilyOf(mode) == VX_XferFamily::AlphaOnly) continue;
    const auto src = st::RandomRow<Pixel>(r, 33), dst = st::RandomRow<Pixel>(r, 33), mask = st::RandomRow<Pixel>(r, 33);
    auto out = dst;
    ASSERT_EQ(st::Pipeline<Pixel>(mode, xt::kW<Pixel>, true, src, &mask, out), 0);
    for (size_t i = 0; i < src.size(); ++i)
      ASSERT_EQ(out[i].alpha, dst[i].alpha) << xt::ModeName(mode) << " pixel " << i;
  }
}

// The colours are flattened with the destination's own alpha, blended,
// lifted with the union alpha, and the saved alpha comes back.
TYPED_TEST(SpanKernels, KeepAlphaWithAddLiftsWithTheUnionAlpha) {
  typedef TypeParam Pixel;
  vxtest::Random r(12);
  const auto src = st::RandomRow<Pixel>(r, 64), dst = st::RandomRow<Pixel>(r, 64);
  auto out = dst;
  ASSERT_EQ(st::Pipeline<Pixel>(XferAdd, xt::kW<Pixel>, true, src, nullptr, out), 0);
  for (size_t i = 0; i < src.size(); ++i) {
    if (src[i].alpha == 0) continue;
    Pixel e = xt::Plain(XferAdd, src[i], dst[i]);
    e.alpha = dst[i].alpha;
    ASSERT_TRUE(vxtest::SamePixel(out[i], e)) << i << ": " << out[i] << " vs " << e;
  }
}

TYPED_TEST(SpanKernels, DoublyTransparentPixelsBecomeZeroInBlackMatteModes) {
  typedef TypeParam Pixel;
  const Ch<Pixel> w = xt::kW<Pixel>;
  const std::vector<Pixel> src{Pixel{0, w, w, w}};
  std::vector<Pixel> dst{Pixel{0, w, w / 2, w}};
  ASSERT_EQ(st::Pipeline<Pixel>(XferScreen, w, false, src, nullptr, dst), 0);
  EXPECT_TRUE(vxtest::SamePixel(dst[0], Pixel{}));
  // The per-pixel entry leaves it alone.
  EXPECT_TRUE(vxtest::SamePixel(xt::Plain(XferScreen, src[0], Pixel{0, w, w / 2, w}), Pixel{0, w, w / 2, w}));
}

// Linear light: the whole row goes to linear and back, as the per-pixel
// entry does for one pixel, in every mode that doesn't flatten.
TYPED_TEST(SpanKernels, TablesBlendInLinearLightLikeThePerPixelEntries) {
  typedef TypeParam Pixel;
  vxtest::CPUScope scalar(0, 0, 0);
  const auto tables = xt::GammaTables(2.2);
  vxtest::Random r(13);
  for (int32_t mode = 0; mode < xt::kModes; ++mode) {
    const VX_XferFamily family = VX_XferFamilyOf(mode);
    if (family != VX_XferFamily::ThreeTerm && family != VX_XferFamily::AlphaOnly && mode != XferOver &&
        mode != XferAlphaAdd && mode != XferAddPremul)
      continue;
    const auto src = st::RandomRow<Pixel>(r, 40), dst = st::RandomRow<Pixel>(r, 40);
    auto out = dst;
    ASSERT_EQ(st::Pipeline<Pixel>(mode, xt::kW<Pixel>, false, src, nullptr, out, tables.get()), 0);
    for (size_t i = 0; i < src.size(); ++i) {
      const Pixel e = src[i].alpha == 0 && mode != XferAddPremul ? out[i] : xt::Plain(mode, src[i], dst[i], tables.get());
      ASSERT_TRUE(vxtest::SamePixel(out[i], e)) << xt::ModeName(mode) << " " << i << ": " << out[i] << " vs " << e;
    }
  }
}

TYPED_TEST(SpanKernels, TableInstancesWithoutTablesReportAndFail) {
  typedef TypeParam Pixel;
  VX_InnerBlendingFunc<Pixel> f{nullptr};
  ASSERT_EQ((VX_GetInnerBlendingFunc<Pixel, false, true>(XferMultiply, &f)), 0);
  const VX_BlendModeDescriptor<Pixel> d(VX_BlendingMode<Pixel>{XferMultiply, 0, xt::kW<Pixel>, false}, false, nullptr);
  Pixel s{}, p{};
  vxtest::TakeReports();
  EXPECT_EQ(f.func(1, &d, nullptr, &s, nullptr, &p), 3);
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "Invalid tables for linearized blending"));
}

TYPED_TEST(SpanKernels, UnknownModesAreUnimplemented) {
  typedef TypeParam Pixel;
  for (int32_t mode : {-4, -1, 39, 1000}) {
    VX_InnerBlendingFunc<Pixel> f{nullptr};
    vxtest::TakeReports();
    EXPECT_EQ((VX_GetInnerBlendingFunc<Pixel, true, false>(mode, &f)), 5) << mode;
    EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "unimplemented blending mode.")) << mode;
    EXPECT_EQ(f.func, nullptr);
  }
}

// Dissolve and mask mix against formulas written out here.
TYPED_TEST(SpanKernels, DissolveDrawsOncePerPartialPixel) {
  typedef TypeParam Pixel;
  vxtest::Random r(14);
  for (bool keep : {false, true}) {
    const auto src = st::RandomRow<Pixel>(r, 200), dst = st::RandomRow<Pixel>(r, 200), mask = st::RandomRow<Pixel>(r, 200);
    const Ch<Pixel> opacity = xt::kFloat<Pixel> ? Ch<Pixel>(0.75f) : Ch<Pixel>(xt::kW<Pixel> * 3 / 4);
    auto out = dst;
    ASSERT_EQ(st::Pipeline<Pixel>(XferDissolve, opacity, keep, src, &mask, out, nullptr, 991), 0);
    uint32_t seed = 991;
    for (size_t i = 0; i < src.size(); ++i, ++seed) {
      Pixel e = dst[i];
      if (st::DissolveSurvives<Pixel>(st::ScaledAlpha<Pixel>(src[i].alpha, opacity, mask[i].alpha), seed)) {
        e = src[i];
        e.alpha = keep ? dst[i].alpha : xt::kW<Pixel>;
      }
      ASSERT_TRUE(vxtest::SamePixel(out[i], e)) << i;
    }
  }
}

TEST(SpanKernels8, MaskMixWeighsBothSidesByTheirAlpha) {
  vxtest::Random r(15);
  const auto src = st::RandomRow<VX_Pixel8>(r, 300), dst = st::RandomRow<VX_Pixel8>(r, 300),
             mask = st::RandomRow<VX_Pixel8>(r, 300);
  auto out = dst;
  ASSERT_EQ(st::Pipeline<VX_Pixel8>(XferMaskMix, 10, false, src, &mask, out), 0);  // opacity isn't read
  for (size_t i = 0; i < src.size(); ++i) {
    const int w = mask[i].alpha, t = src[i].alpha * w, u = (255 - w) * dst[i].alpha, n = t + u;
    VX_Pixel8 e = dst[i];
    if (w == 255) {
      e = src[i];
    } else if (w > 0 && n > 0) {
      e.alpha = uint8_t((n + 128) / 255);
      e.red = uint8_t((src[i].red * t + n / 2 + dst[i].red * u) / n);
      e.green = uint8_t((src[i].green * t + n / 2 + dst[i].green * u) / n);
      e.blue = uint8_t((src[i].blue * t + n / 2 + dst[i].blue * u) / n);
    }
    ASSERT_TRUE(vxtest::SamePixel(out[i], e)) << i << ": " << out[i] << " vs " << e;
  }
}

TEST(BlendSingleChannel, MovesAlphaTowardTheValueOnly) {
  VX_Pixel8 p8[3] = {{10, 1, 2, 3}, {200, 1, 2, 3}, {77, 1, 2, 3}};
  const uint8_t m8[3] = {255, 128, 0};
  VX_BlendSingleChannel<VX_Pixel8, uint8_t>(3, 255, 100, m8, p8);
  EXPECT_EQ(p8[0].alpha, 100);
  EXPECT_EQ(p8[1].alpha, 150);  // 200 - 50.2, rounded as the signed product rounds
  EXPECT_EQ(p8[2].alpha, 77);
  EXPECT_EQ(p8[0].red, 1);
  VX_Pixel16 p16{1000, 0, 0, 0};
  const uint16_t m16 = 16384;
  VX_BlendSingleChannel<VX_Pixel16, uint16_t>(1, 32768, 3000, &m16, &p16);
  EXPECT_EQ(p16.alpha, 2000);
}

}  // namespace
