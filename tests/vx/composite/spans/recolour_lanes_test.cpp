// The recolour modes on vector lanes against the scalar forms at every
// depth: the mode's kernel alone, and the pipeline, where behind and the mode
// run fused. Then the pipeline's staged path when a stage was replaced, and
// dissolve against its generator on random rows.
#include <cmath>
#include <cstring>
#include <limits>

#include "vx/LinearBlending.h"
#include "vx/composite/spans/SpanTestSupport.h"
#include "vxhost/ORX.h"

namespace {

template <class Pixel>
using Ch = xt::Ch<Pixel>;

constexpr int32_t kRecolourModes[] = {XferHue,        XferSaturation,   XferColor,
                                      XferLuminosity, XferLighterColor, XferDarkerColor};

// Colours with ties between channels and greys as often as not, alphas 0
// and white often (RandomPixel); at 16 bits now and then a colour above
// white, and at float a value outside 0..1, a denormal, an infinity or NaN.
template <class Pixel>
Pixel Colourful(vxtest::Random& r) {
  Pixel p = xt::RandomPixel<Pixel>(r);
  switch (r.Int(0, 5)) {
    case 0:
      p.green = p.red;
      break;
    case 1:
      p.blue = p.green;
      break;
    case 2:
      p.green = p.blue = p.red;
      break;
    default:
      break;
  }
  if constexpr (std::is_same_v<Pixel, VX_Pixel16>) {
    // A little above white, where a triple may span more than white and
    // the clip steps can't be merged.
    if (r.Int(0, 30) == 0) {
      Ch<Pixel>* channels[] = {&p.red, &p.green, &p.blue};
      *channels[r.Int(0, 2)] = static_cast<Ch<Pixel>>(r.Int(32769, 40000));
    }
  }
  if constexpr (xt::kFloat<Pixel>) {
    if (r.Int(0, 30) == 0) {
      const float odd[] = {-0.0f, -0.25f, 1.5f, 3e38f, -3e38f, 1e-40f, std::numeric_limits<float>::infinity(),
                           std::numeric_limits<float>::quiet_NaN()};
      const float v = odd[r.Int(0, 7)];
      Ch<Pixel>* channels[] = {&p.alpha, &p.red, &p.green, &p.blue};
      *channels[r.Int(0, 3)] = v;
    }
  }
  return p;
}

// The same bits, or NaN on both sides.
// One row through the mode's kernel alone or through the pipeline: scalar
// (level 0), AVX2 at most (1) or the widest set the processor has (2).
template <class Pixel>
void RunRow(bool pipeline, int level, int32_t mode, Ch<Pixel> opacity, bool keep, int32_t count, const Pixel* src,
            const Pixel* mask, Pixel* dst) {
  const int vector = level > 0;
  vxtest::CPUScope cpu(vector, vector, vector, level > 1);
  const VX_BlendModeDescriptor<Pixel> d(VX_BlendingMode<Pixel>{mode, 0, opacity, keep}, mask != nullptr, nullptr);
  if (pipeline) {
    std::vector<Ch<Pixel>> scratch(static_cast<size_t>(count) + 1);
    ASSERT_EQ(VX_BlendPipeline<Pixel>(nullptr, count, &d, src, mask, scratch.data(), dst), 0);
  } else {
    ASSERT_EQ(d.blend_func.func(count, &d, nullptr, src, mask, dst), 0);
  }
}

template <class Pixel>
class RecolourLanes : public ::testing::Test {};
TYPED_TEST_SUITE(RecolourLanes, XferDepths);

TYPED_TEST(RecolourLanes, AgreeWithScalarKernelAndPipeline) {
  typedef TypeParam Pixel;
  constexpr int32_t kGuard = 3;
  for (const int32_t mode : kRecolourModes) {
    vxtest::Random r(static_cast<uint32_t>(900 + mode));
    for (int32_t trial = 0; trial < 710; ++trial) {
      const int32_t count = trial % 71, offset = r.Int(0, 9), n = offset + count + kGuard;
      std::vector<Pixel> src(n), mask(n), dst(n);
      // Source alphas sometimes 0 over whole stretches, so that blocks are
      // skipped, and mask alphas likewise.
      const bool clear_src = r.Int(0, 4) == 0;
      for (int32_t i = 0; i < n; ++i) {
        src[i] = Colourful<Pixel>(r);
        mask[i] = Colourful<Pixel>(r);
        dst[i] = Colourful<Pixel>(r);
        if (clear_src && (i / 8) % 2 == 0) src[i].alpha = 0;
      }
      const Ch<Pixel> opacity = r.Int(0, 1) ? xt::kW<Pixel> : xt::Channel<Pixel>(r);
      const bool with_mask = r.Int(0, 1), keep = r.Int(0, 3) == 0;
      for (const bool pipeline : {false, true}) {
        std::vector<Pixel> scalar = dst;
        const Pixel* m = with_mask ? mask.data() + offset : nullptr;
        RunRow<Pixel>(pipeline, 0, mode, opacity, keep, count, src.data() + offset, m, scalar.data() + offset);
        for (const int level : {1, 2}) {
          std::vector<Pixel> vector = dst;
          RunRow<Pixel>(pipeline, level, mode, opacity, keep, count, src.data() + offset, m, vector.data() + offset);
          for (int32_t i = 0; i < n; ++i)
            ASSERT_TRUE(vxtest::SamePixel(scalar[i], vector[i]))
                << xt::ModeName(mode) << (pipeline ? " pipeline" : " kernel") << " level " << level << " trial "
                << trial << " pixel " << i - offset << " of " << count << " src " << src[i] << " dst " << dst[i]
                << ": scalar " << scalar[i] << " vector " << vector[i];
        }
      }
    }
  }
}

// Extremes of the integer triples: saturated colours against greys and
// near-greys, every source alpha, at full opacity, where the clip steps and
// their quotients are taken most often.
TYPED_TEST(RecolourLanes, AgreeOnSaturatedAndGreyColours) {
  typedef TypeParam Pixel;
  const Ch<Pixel> W = xt::kW<Pixel>;
  const Ch<Pixel> levels[] = {Ch<Pixel>(0), Ch<Pixel>(1), Ch<Pixel>(W / 2), Ch<Pixel>(W - 1), W};
  std::vector<Pixel> src, dst;
  for (Ch<Pixel> a : levels)
    for (Ch<Pixel> r : levels)
      for (Ch<Pixel> g : levels)
        for (Ch<Pixel> b : levels)
          for (Ch<Pixel> d : levels) {
            src.push_back(Pixel{a == 0 ? W : a, r, g, b});
            dst.push_back(Pixel{W, d, Ch<Pixel>(W - d), d});
            src.push_back(Pixel{W, d, d, Ch<Pixel>(d / 2)});
            dst.push_back(Pixel{a, r, g, b});
          }
  const int32_t count = static_cast<int32_t>(src.size());
  for (const int32_t mode : kRecolourModes) {
    std::vector<Pixel> scalar = dst;
    RunRow<Pixel>(true, 0, mode, W, false, count, src.data(), nullptr, scalar.data());
    for (const int level : {1, 2}) {
      std::vector<Pixel> vector = dst;
      RunRow<Pixel>(true, level, mode, W, false, count, src.data(), nullptr, vector.data());
      for (int32_t i = 0; i < count; ++i)
        ASSERT_TRUE(vxtest::SamePixel(scalar[i], vector[i]))
            << xt::ModeName(mode) << " level " << level << ": " << src[i] << " on " << dst[i];
    }
  }
}

// A replaced behind stage (as an acceleration module would install) is
// called, and the row comes out as the staged path makes it.
int g_behind_calls = 0;
template <class Pixel>
VX_Err CountingBehind(int32_t count, const VX_BlendModeDescriptor<Pixel>* d, const VX_LinearBlendingTables* t,
                      const Pixel* src, const Pixel* mask, Pixel* dst) {
  ++g_behind_calls;
  VX_InnerBlendingFunc<Pixel> own{nullptr};
  VX_GetInnerBlendingFunc<Pixel, false, false>(XferBehind, &own);
  return own.func(count, d, t, src, mask, dst);
}

TYPED_TEST(RecolourLanes, ReplacedStageRunsStaged) {
  typedef TypeParam Pixel;
  vxtest::Random r(31);
  const auto src = st::RandomRow<Pixel>(r, 61), dst = st::RandomRow<Pixel>(r, 61);
  VX_BlendModeDescriptor<Pixel> d(VX_BlendingMode<Pixel>{XferHue, 0, xt::kW<Pixel>, false}, false, nullptr);
  auto fused = dst, staged = dst;
  std::vector<Ch<Pixel>> scratch(dst.size());
  ASSERT_EQ(VX_BlendPipeline<Pixel>(nullptr, 61, &d, src.data(), nullptr, scratch.data(), fused.data()), 0);
  d.behind_func.func = &CountingBehind<Pixel>;
  g_behind_calls = 0;
  ASSERT_EQ(VX_BlendPipeline<Pixel>(nullptr, 61, &d, src.data(), nullptr, scratch.data(), staged.data()), 0);
  EXPECT_EQ(g_behind_calls, 1);
  for (size_t i = 0; i < dst.size(); ++i) ASSERT_TRUE(vxtest::SamePixel(fused[i], staged[i])) << i;
}

// In linear light behind and the mode share one trip to linear light, and
// between them only the pixels behind changed are rounded through the
// stored depth when the tables' trip is stable; everything else must come
// out as the staged path, with its two full trips, makes it. Both kinds of
// tables: the default profile's, and a copy whose dark codes round away.
template <class Pixel, bool HasMask>
VX_Err OwnTableBehind(int32_t count, const VX_BlendModeDescriptor<Pixel>* d, const VX_LinearBlendingTables* t,
                      const Pixel* src, const Pixel* mask, Pixel* dst) {
  VX_InnerBlendingFunc<Pixel> own{nullptr};
  VX_GetInnerBlendingFunc<Pixel, HasMask, true>(XferBehind, &own);
  return own.func(count, d, t, src, mask, dst);
}

template <class Pixel>
void CheckLinearLightAgainstStaged(const VX_LinearBlendingTables& tables, uint32_t seed) {
  vxtest::Random r(seed);
  for (int32_t mode : kRecolourModes)
    for (bool with_mask : {false, true}) {
      const int32_t n = r.Int(1, 90);
      std::vector<Pixel> src(n), dst(n), mask = st::RandomRow<Pixel>(r, n);
      for (auto& p : src) p = Colourful<Pixel>(r);
      for (auto& p : dst) p = Colourful<Pixel>(r);
      const auto opacity = r.Int(0, 3) ? xt::kW<Pixel> : static_cast<Ch<Pixel>>(r.Int(0, xt::kW<Pixel>));
      const bool keep = r.Int(0, 1);
      VX_BlendModeDescriptor<Pixel> d(VX_BlendingMode<Pixel>{mode, 0, opacity, keep}, with_mask, &tables);
      const Pixel* m = with_mask ? mask.data() : nullptr;
      auto fused = dst, staged = dst;
      std::vector<Ch<Pixel>> scratch(dst.size());
      ASSERT_EQ(VX_BlendPipeline<Pixel>(nullptr, n, &d, src.data(), m, scratch.data(), fused.data()), 0);
      d.behind_func.func = with_mask ? &OwnTableBehind<Pixel, true> : &OwnTableBehind<Pixel, false>;
      ASSERT_EQ(VX_BlendPipeline<Pixel>(nullptr, n, &d, src.data(), m, scratch.data(), staged.data()), 0);
      for (int32_t i = 0; i < n; ++i)
        ASSERT_TRUE(vxtest::SamePixel(fused[i], staged[i]))
            << xt::ModeName(mode) << " mask " << with_mask << ": " << src[i] << " on " << dst[i];
    }
}

TEST(RecolourLinearLight, OneTripMatchesTheStagedTwo) {
  const auto tables = VX_MakeLinearizationTables(TNT_ORX_GetDefaultProfile());
  VX_LinearBlendingTables rough = *tables;
  for (int c = 1; c < 24; ++c) rough.to_linear[c] = static_cast<uint16_t>(rough.to_linear[c] + 37 * c);
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    CheckLinearLightAgainstStaged<VX_Pixel8>(*tables, seed);
    CheckLinearLightAgainstStaged<VX_Pixel8>(rough, seed);
    CheckLinearLightAgainstStaged<VX_Pixel16>(*tables, seed);
  }
}

// Dissolve: the row's seed steps by one a pixel, and a pixel of partial
// alpha draws once from VX_Rand; written out here over random rows with runs
// of clear and opaque pixels, any seed, with and without mask and opacity.
TYPED_TEST(RecolourLanes, DissolveFollowsTheGenerator) {
  typedef TypeParam Pixel;
  vxtest::Random r(32);
  const int32_t seeds[] = {0, 1, -1, 44488, 0x7FFFFFFF, INT32_MIN};
  for (int32_t trial = 0; trial < 300; ++trial) {
    const int32_t count = r.Int(0, 90);
    std::vector<Pixel> src = st::RandomRow<Pixel>(r, count), dst = st::RandomRow<Pixel>(r, count),
                       mask = st::RandomRow<Pixel>(r, count);
    Ch<Pixel> run = 0;
    for (Pixel& p : src) {
      if (r.Int(0, 5) == 0) run = r.Int(0, 2) == 0 ? xt::Channel<Pixel>(r) : (r.Int(0, 1) ? xt::kW<Pixel> : 0);
      p.alpha = run;
    }
    const Ch<Pixel> opacity = r.Int(0, 1) ? xt::kW<Pixel> : xt::Channel<Pixel>(r);
    const bool keep = r.Int(0, 2) == 0, with_mask = r.Int(0, 1);
    const int32_t seed = trial < 6 ? seeds[trial] : static_cast<int32_t>(r.Next());
    auto out = dst;
    ASSERT_EQ(st::Pipeline<Pixel>(XferDissolve, opacity, keep, src, with_mask ? &mask : nullptr, out, nullptr, seed),
              0);
    uint32_t state = static_cast<uint32_t>(seed);
    for (int32_t i = 0; i < count; ++i, ++state) {
      typedef vx::Arith<Pixel> A;
      const auto a = A::mul(A::mul(src[i].alpha, opacity), with_mask ? mask[i].alpha : xt::kW<Pixel>);
      Pixel e = dst[i];
      if (st::DissolveSurvives<Pixel>(a, state)) {
        e = src[i];
        e.alpha = keep ? dst[i].alpha : xt::kW<Pixel>;
      }
      ASSERT_TRUE(vxtest::SamePixel(out[i], e)) << "trial " << trial << " pixel " << i;
    }
  }
}

}  // namespace
