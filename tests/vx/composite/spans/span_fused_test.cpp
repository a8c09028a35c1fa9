// The one-pass form of the matte-family pipeline against the staged scalar
// pipeline (scalar kernel, scalar stages), bit for bit, at every depth: rows
// of every length to 70 at several offsets, full, partial and zero opacity,
// with and without mask and keep_alpha, over destinations of any alpha.
#include <cmath>
#include <cstring>
#include <limits>

#include "composite/mattes/MatteStages.h"
#include "composite/spans/SpanVector.h"
#include "core/Internal.h"
#include "vx/composite/spans/SpanTestSupport.h"

namespace {

bool IsMatteFamily(int32_t mode) {
  const VX_XferFamily f = VX_XferFamilyOf(mode);
  return f == VX_XferFamily::BlackMatte || f == VX_XferFamily::WhiteMatte || f == VX_XferFamily::GreyMatte;
}

int32_t StageOf(int32_t mode) {
  const VX_XferFamily f = VX_XferFamilyOf(mode);
  return f == VX_XferFamily::BlackMatte ? VXp_Stage_MatteBlack
                                        : (f == VX_XferFamily::WhiteMatte ? VXp_Stage_MatteWhite : VXp_Stage_MatteGrey);
}

// Channel values with runs, so that whole blocks are transparent, opaque or
// mixed, and (float) now and then outside 0..1.
template <class Pixel>
st::Ch<Pixel> Value(vxtest::Random& r, int32_t& run, bool odd) {
  if (r.Int(0, 7) == 0) run = r.Int(0, 3);
  if (r.Int(0, 11) == 0) run = -1;
  if (run == 0) return 0;
  if (run == 1) return xt::kW<Pixel>;
  if constexpr (xt::kFloat<Pixel>)
    if (odd && r.Int(0, 9) == 0) return r.Float(-0.5f, 1.5f);
  return xt::Channel<Pixel>(r);
}

template <class Pixel>
Pixel RandomPixel(vxtest::Random& r, int32_t& alpha_run, bool odd) {
  Pixel p = xt::RandomPixel<Pixel>(r);
  int32_t colour_run = -1;
  p.alpha = Value<Pixel>(r, alpha_run, odd);
  if (r.Int(0, 3) == 0) p.red = p.green = p.blue = Value<Pixel>(r, colour_run, odd);
  return p;
}

template <class Pixel>
bool SameBits(const std::vector<Pixel>& a, const std::vector<Pixel>& b) {
  return std::memcmp(a.data(), b.data(), a.size() * sizeof(Pixel)) == 0;
}

template <class Pixel>
VX_BlendModeDescriptor<Pixel> Descriptor(int32_t mode, st::Ch<Pixel> opacity, bool keep, bool has_mask) {
  return VX_BlendModeDescriptor<Pixel>(VX_BlendingMode<Pixel>{mode, 0, opacity, keep}, has_mask, nullptr);
}

// The staged pipeline with the scalar kernel and the scalar stages.
template <class Pixel>
void Staged(VX_BlendModeDescriptor<Pixel> d, int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst) {
  vxtest::CPUScope cpu(0, 0, 0);
  const int32_t stage = StageOf(d.mode.transfer_mode);
  d.matte_func = VXp_ScalarMatteStage<Pixel>(stage);
  d.unmatte_func = VXp_ScalarMatteStage<Pixel>(stage + 1);
  d.alpha_func = VXp_ScalarAlphaMerge<Pixel>();
  std::vector<st::Ch<Pixel>> scratch(static_cast<size_t>(count) + 1);
  ASSERT_EQ(VX_BlendPipeline<Pixel>(nullptr, count, &d, src, mask, scratch.data(), dst), 0);
}

template <class Pixel>
class FusedMatte : public ::testing::Test {};
typedef ::testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat> Depths;
TYPED_TEST_SUITE(FusedMatte, Depths);

// Every matte-family mode on random rows, through the fused form the CPU
// record picks.
template <class Pixel>
void CheckAgainstStaged() {
  for (int32_t mode = 0; mode < xt::kModes; ++mode) {
    if (!IsMatteFamily(mode)) continue;
    vxtest::Random r(static_cast<uint32_t>(mode * 7 + sizeof(Pixel)));
    for (int trial = 0; trial < 500; ++trial) {
      const int32_t count = trial % 71, so = r.Int(0, 9), mo = r.Int(0, 9), dof = r.Int(0, 9);
      const bool odd = trial % 5 == 4;
      std::vector<Pixel> src(90), mask(90), dst(90);
      int32_t sr = -1, mr = -1, dr = -1;
      for (size_t i = 0; i < src.size(); ++i) {
        src[i] = RandomPixel<Pixel>(r, sr, odd);
        mask[i] = RandomPixel<Pixel>(r, mr, odd);
        dst[i] = RandomPixel<Pixel>(r, dr, odd);
      }
      const int32_t kind = r.Int(0, 5);
      const st::Ch<Pixel> opacity =
          kind < 3 ? xt::kW<Pixel> : (kind == 3 ? st::Ch<Pixel>(0) : xt::Channel<Pixel>(r));
      const bool keep = r.Int(0, 2) == 0, with_mask = r.Int(0, 1) == 0;
      const Pixel* m = with_mask ? mask.data() + mo : nullptr;
      const auto d = Descriptor<Pixel>(mode, opacity, keep, with_mask);
      ASSERT_NE(VXp_FusedMatteFor(d, with_mask, VXp_WidestIsa()), nullptr) << xt::ModeName(mode);
      std::vector<Pixel> want = dst, got = dst;
      Staged(d, count, src.data() + so, m, want.data() + dof);
      std::vector<st::Ch<Pixel>> scratch(static_cast<size_t>(count) + 1);
      ASSERT_EQ(VX_BlendPipeline<Pixel>(nullptr, count, &d, src.data() + so, m, scratch.data(), got.data() + dof), 0);
      if (SameBits(want, got)) continue;
      for (size_t i = 0; i < want.size(); ++i)
        if (std::memcmp(&want[i], &got[i], sizeof(Pixel)) != 0)
          FAIL() << xt::ModeName(mode) << " trial " << trial << " pixel " << i << " count " << count << " opacity "
                 << +opacity << " keep " << keep << " mask " << with_mask << ": src " << src[i - dof + so] << " dst "
                 << dst[i] << " staged " << want[i] << " fused " << got[i];
    }
  }
}

TYPED_TEST(FusedMatte, AgreesWithTheStagedScalarPipeline) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  st::OnEachWideForm(CheckAgainstStaged<TypeParam>);
}

// Infinities and NaN in any channel give what the staged pipeline gives.
TEST(FusedMatteFloat, NonFiniteInputsAgree) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  st::OnEachWideForm([] {
    const float specials[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(), -0.0f, 1e-40f, 0.5f, 1.0f, 0.0f};
    vxtest::Random r(99);
    for (int32_t mode = 0; mode < xt::kModes; ++mode) {
      if (!IsMatteFamily(mode)) continue;
      std::vector<VX_PixelFloat> src(64), dst(64);
      for (size_t i = 0; i < src.size(); ++i) {
        for (float* c : {&src[i].alpha, &src[i].red, &src[i].green, &src[i].blue, &dst[i].alpha, &dst[i].red,
                         &dst[i].green, &dst[i].blue})
          *c = r.Int(0, 2) == 0 ? specials[r.Int(0, 7)] : r.Float(0, 1);
      }
      for (float opacity : {1.0f, 0.5f}) {
        const auto d = Descriptor<VX_PixelFloat>(mode, opacity, false, false);
        std::vector<VX_PixelFloat> want = dst, got = dst;
        Staged<VX_PixelFloat>(d, 64, src.data(), nullptr, want.data());
        ASSERT_EQ(VX_BlendPipeline<VX_PixelFloat>(nullptr, 64, &d, src.data(), nullptr, nullptr, got.data()), 0);
        EXPECT_TRUE(SameBits(want, got)) << xt::ModeName(mode) << " opacity " << opacity;
      }
    }
  });
}

// A replaced stage or kernel, linear tables, or a mask the kernel doesn't
// expect: the staged pipeline runs.
VX_Err ForeignStage(int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  return VXp_ScalarMatteStage<VX_Pixel8>(VXp_Stage_MatteBlack)(count, src, dst);
}
VX_Err ForeignKernel(int32_t, const VX_BlendModeDescriptor<VX_Pixel8>*, const VX_LinearBlendingTables*,
                     const VX_Pixel8*, const VX_Pixel8*, VX_Pixel8*) {
  return VX_Err_None;
}

TEST(FusedMatteChoice, OnlyThePackagesOwnStagesAreFused) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  const auto plain = Descriptor<VX_Pixel8>(XferAdd, 255, false, false);
  EXPECT_NE(VXp_FusedMatteFor(plain, false, VXp_WidestIsa()), nullptr);
  EXPECT_EQ(VXp_FusedMatteFor(plain, true, VXp_WidestIsa()), nullptr);
  EXPECT_EQ(VXp_FusedMatteFor(Descriptor<VX_Pixel8>(XferOver, 255, false, false), false, VXp_WidestIsa()), nullptr);
  auto stage = plain;
  stage.matte_func = &ForeignStage;
  EXPECT_EQ(VXp_FusedMatteFor(stage, false, VXp_WidestIsa()), nullptr);
  auto wrong_pair = plain;
  wrong_pair.matte_func = VXp_GetSlot<VX_Slot_MatteWhite8>();
  EXPECT_EQ(VXp_FusedMatteFor(wrong_pair, false, VXp_WidestIsa()), nullptr);
  auto kernel = plain;
  kernel.blend_func.func = &ForeignKernel;
  EXPECT_EQ(VXp_FusedMatteFor(kernel, false, VXp_WidestIsa()), nullptr);
  {
    vxtest::CPUScope cpu(1, 1, 0);
    EXPECT_EQ(VXp_FusedMatteFor(plain, false, VXp_WidestIsa()), nullptr);
  }
  // The replaced kernel does nothing, so the row only goes through the stages.
  VX_Pixel8 src[3] = {{255, 200, 0, 0}, {0, 0, 0, 0}, {128, 255, 255, 255}};
  VX_Pixel8 dst[3] = {{255, 10, 20, 30}, {0, 50, 50, 50}, {255, 1, 2, 3}};
  ASSERT_EQ(VX_BlendPipeline<VX_Pixel8>(nullptr, 3, &kernel, src, nullptr, nullptr, dst), 0);
  EXPECT_EQ(dst[0].red, 10);
  EXPECT_EQ(dst[1].alpha, 0);
  EXPECT_EQ(dst[1].red, 0);  // the black lift of a transparent pixel
  EXPECT_EQ(dst[2].green, 2);
}

}  // namespace
