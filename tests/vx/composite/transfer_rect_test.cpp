// Transfer rectangles against a naive composite written here: every
// destination pixel looked up in the source and the matte by coordinates and
// blended through the per-pixel table. Then the seeds of dissolve, the alpha
// modes' clearing, the plug-in paths, and bad input.
#include <cstring>
#include <set>
#include <sstream>

#include "vx/composite/SpanTestSupport.h"

namespace {

using st::Ch;

template <class Pixel>
Ch<Pixel> OpacityUnits(float opacity) {
  if constexpr (xt::kFloat<Pixel>)
    return opacity;
  else
    return static_cast<Ch<Pixel>>(static_cast<int32_t>(double(xt::kW<Pixel>) * opacity + 0.5));
}

// The mask value of a matte pixel by kind.
template <class Pixel>
Ch<Pixel> MatteValue(const Pixel& p, int32_t kind) {
  typedef vx::Arith<Pixel> A;
  auto v = A::mul(p.alpha, A::luma(p.red, p.green, p.blue));
  if constexpr (xt::kFloat<Pixel>) v = std::min(std::max(v < 1e-16f ? 0.0f : v, 0.0f), 1.0f);
  switch (kind) {
    case 0:
      return p.alpha;
    case 1:
      return static_cast<Ch<Pixel>>(A::inv(p.alpha));
    case 2:
      return static_cast<Ch<Pixel>>(v);
    default:
      return static_cast<Ch<Pixel>>(A::inv(v));
  }
}

struct Placement {
  GEO_LRect source_rect;
  int32_t dest_x, dest_y, field;
  bool with_matte;
  VX_TrackMatte matte;
};

template <class Pixel>
void Naive(int32_t mode, float opacity, const Placement& p, vxtest::EffectWorld& src, vxtest::EffectWorld& dst) {
  const GEO_LRect& r = p.source_rect;
  for (int32_t y = 0; y < dst->height; ++y)
    for (int32_t x = 0; x < dst->width; ++x) {
      const int32_t sx = x - p.dest_x + r.left, sy = y - p.dest_y + r.top;
      if (sx < std::max(r.left, 0) || sx >= std::min(r.right, src->width) || sy < std::max(r.top, 0) ||
          sy >= std::min(r.bottom, src->height))
        continue;
      if ((p.field == 1 && (y & 1)) || (p.field == 2 && !(y & 1))) continue;
      Ch<Pixel> m = xt::kW<Pixel>;
      if (p.with_matte) {
        const int32_t mx = x - p.matte.offset_x, my = y - p.matte.offset_y;
        const bool inside = mx >= 0 && my >= 0 && mx < p.matte.matte.width && my < p.matte.matte.height;
        if (!inside && p.matte.matte_kind % 2 == 0) continue;
        if (inside)
          m = MatteValue(reinterpret_cast<const Pixel*>(static_cast<const char*>(p.matte.matte.data) +
                                                       my * p.matte.matte.row_stride)[mx],
                         p.matte.matte_kind);
      }
      Pixel* d = dst.At<Pixel>(x, y);
      *d = xt::WithMask(mode, *src.At<Pixel>(sx, sy), OpacityUnits<Pixel>(opacity), m, *d);
    }
}

template <class Pixel>
bool SameWorlds(vxtest::EffectWorld& a, vxtest::EffectWorld& b, std::string* where) {
  for (int32_t y = 0; y < a->height; ++y)
    for (int32_t x = 0; x < a->width; ++x)
      if (!xt::Same(*a.At<Pixel>(x, y), *b.At<Pixel>(x, y))) {
        std::ostringstream os;
        os << "(" << x << ", " << y << "): " << *a.At<Pixel>(x, y) << " vs " << *b.At<Pixel>(x, y);
        *where = os.str();
        return false;
      }
  return true;
}

template <class Pixel>
class TransferRect : public ::testing::Test {
 protected:
  static constexpr int32_t kDepth = VX_PixelTraits<Pixel>::kDepth;
  vxtest::Random r{21};
  vxtest::EffectWorld src{23, 17, kDepth}, dst{31, 19, kDepth}, matte{13, 11, kDepth};
  void SetUp() override {
    vxtest::FillRandom<Pixel>(src.get(), r);
    vxtest::FillRandom<Pixel>(dst.get(), r);
    vxtest::FillRandom<Pixel>(matte.get(), r);
  }
  VX_Err Transfer(int32_t mode, float opacity, const Placement& p, vxtest::EffectWorld& into,
                  const VX_LinearBlendingTables* tables = nullptr) {
    const VX_CompositeModePlus plus(mode, opacity, nullptr, false, 5);
    return VX_TransferRect(nullptr, 0, 0, p.field, &p.source_rect, src.get(), &plus, tables,
                           p.with_matte ? &p.matte : nullptr, p.dest_x, p.dest_y, into.get());
  }
  Placement RandomPlacement() {
    Placement p{};
    p.source_rect = GEO_LRect{r.Int(-5, 10), r.Int(-5, 8), r.Int(8, 30), r.Int(6, 22)};
    p.dest_x = r.Int(-12, 25);
    p.dest_y = r.Int(-10, 15);
    p.field = r.Int(0, 2);
    p.with_matte = r.Int(0, 1);
    p.matte = VX_TrackMatte{*matte.get(), r.Int(-6, 25), r.Int(-6, 14), r.Int(0, 3)};
    return p;
  }
};
TYPED_TEST_SUITE(TransferRect, XferDepths);

TYPED_TEST(TransferRect, PlacementClippingMattesAndFieldsMatchANaiveComposite) {
  typedef TypeParam Pixel;
  for (int trial = 0; trial < 300; ++trial) {
    const Placement p = this->RandomPlacement();
    const int32_t mode = trial % 3 == 0 ? XferLinearBurn : XferOver;
    const float opacity = trial % 4 == 0 ? 0.6f : 1.0f;
    vxtest::EffectWorld expected(31, 19, this->kDepth), got(31, 19, this->kDepth);
    for (int32_t y = 0; y < 19; ++y) {
      std::memcpy(expected.template At<Pixel>(0, y), this->dst.template At<Pixel>(0, y), 31 * sizeof(Pixel));
      std::memcpy(got.template At<Pixel>(0, y), this->dst.template At<Pixel>(0, y), 31 * sizeof(Pixel));
    }
    Naive<Pixel>(mode, opacity, p, this->src, expected);
    ASSERT_EQ(this->Transfer(mode, opacity, p, got), 0);
    std::string where;
    ASSERT_TRUE(SameWorlds<Pixel>(got, expected, &where))
        << "trial " << trial << " rect " << p.source_rect.left << "," << p.source_rect.top << ","
        << p.source_rect.right << "," << p.source_rect.bottom << " at " << p.dest_x << "," << p.dest_y << " field "
        << p.field << " matte " << p.with_matte << " kind " << p.matte.matte_kind << " at " << p.matte.offset_x
        << "," << p.matte.offset_y << ": " << where;
  }
}

TYPED_TEST(TransferRect, LinearTablesReachThePipeline) {
  typedef TypeParam Pixel;
  const auto tables = xt::GammaTables(2.2);
  Placement p{};
  p.source_rect = GEO_LRect{0, 0, 23, 17};
  vxtest::EffectWorld expected(31, 19, this->kDepth);
  for (int32_t y = 0; y < 19; ++y)
    std::memcpy(expected.template At<Pixel>(0, y), this->dst.template At<Pixel>(0, y), 31 * sizeof(Pixel));
  ASSERT_EQ(this->Transfer(XferOver, 1.0f, p, this->dst, tables.get()), 0);
  for (int32_t y = 0; y < 17; ++y)
    for (int32_t x = 0; x < 23; ++x) {
      const Pixel& s = *this->src.template At<Pixel>(x, y);
      const Pixel e = s.alpha == 0 ? *this->dst.template At<Pixel>(x, y)
                                   : xt::Plain(XferOver, s, *expected.template At<Pixel>(x, y), tables.get());
      ASSERT_TRUE(xt::Same(*this->dst.template At<Pixel>(x, y), e)) << x << "," << y;
    }
}

// The noise follows the destination column and the clipped top row.
TYPED_TEST(TransferRect, DissolveSeedsAdvanceByColumnAndRow) {
  typedef TypeParam Pixel;
  vxtest::EffectWorld before(31, 19, this->kDepth);
  for (int32_t y = 0; y < 19; ++y)
    std::memcpy(before.template At<Pixel>(0, y), this->dst.template At<Pixel>(0, y), 31 * sizeof(Pixel));
  const GEO_LRect rect{2, 1, 20, 17};
  const VX_CompositeModePlus plus(XferDissolve, 0.8f, nullptr, false, -123456);
  const int32_t dest_x = -3, dest_y = 4;  // clipped to columns 0..14, rows 4..18
  ASSERT_EQ(VX_TransferRect(nullptr, 0, 0, 0, &rect, this->src.get(), &plus, nullptr, nullptr, dest_x, dest_y,
                            this->dst.get()),
            0);
  const int32_t left = 0, top = 4, right = 15, bottom = 19;
  uint32_t row_seed = static_cast<uint32_t>(-123456) + left;
  for (int32_t y = top; y < bottom; ++y) {
    uint32_t seed = row_seed;
    for (int32_t x = left; x < right; ++x, ++seed) {
      const Pixel& s = *this->src.template At<Pixel>(x - dest_x + rect.left, y - dest_y + rect.top);
      const auto a = vx::Arith<Pixel>::mul(s.alpha, OpacityUnits<Pixel>(0.8f));
      Pixel e = *before.template At<Pixel>(x, y);
      bool hit = a == xt::kW<Pixel>;
      if (!hit && a != 0) {
        uint32_t state = seed;
        const int32_t draw = VX_Rand(&state);
        seed = state;
        if constexpr (xt::kFloat<Pixel>)
          hit = a >= draw * double(3.051851e-5f);
        else
          hit = (draw & (xt::kW<Pixel> == 255 ? 255 : 0xFFFF)) <= a;
      }
      if (hit) {
        e = s;
        e.alpha = xt::kW<Pixel>;
      }
      ASSERT_TRUE(xt::Same(*this->dst.template At<Pixel>(x, y), e)) << x << "," << y;
    }
    row_seed += 12281u * static_cast<uint32_t>(y);
  }
}

TYPED_TEST(TransferRect, AlphaMultiplyEmptiesTheAlphaOutsideTheRectangle) {
  typedef TypeParam Pixel;
  for (int32_t mode : {XferAlphaMul, XferLumaMul, XferAlphaMulInverse}) {
    vxtest::FillRandom<Pixel>(this->dst.get(), this->r);
    const GEO_LRect rect{0, 0, 5, 4};
    const VX_CompositeModePlus plus(mode, 1.0f, nullptr, false, 0);
    const Pixel outside = *this->dst.template At<Pixel>(20, 10);
    ASSERT_EQ(VX_TransferRect(nullptr, 0, 0, 0, &rect, this->src.get(), &plus, nullptr, nullptr, 3, 2,
                              this->dst.get()),
              0);
    const Pixel now = *this->dst.template At<Pixel>(20, 10);
    EXPECT_EQ(now.alpha, mode == XferAlphaMulInverse ? outside.alpha : Ch<Pixel>(0)) << mode;
    EXPECT_EQ(now.red, outside.red);
  }
}

TYPED_TEST(TransferRect, BadInputLeavesTheDestinationAlone) {
  typedef TypeParam Pixel;
  vxtest::EffectWorld copy(31, 19, this->kDepth);
  auto unchanged = [&] {
    std::string where;
    return SameWorlds<Pixel>(this->dst, copy, &where);
  };
  for (int32_t y = 0; y < 19; ++y)
    std::memcpy(copy.template At<Pixel>(0, y), this->dst.template At<Pixel>(0, y), 31 * sizeof(Pixel));
  vxtest::TakeReports();
  for (int32_t mode : {-4, -1, 39}) {
    const VX_CompositeModePlus plus(mode, 1.0f, nullptr, false, 0);
    EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, this->src.get(), &plus, nullptr, nullptr, 0, 0,
                              this->dst.get()),
              5);
    EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "unimplemented blending mode."));
  }
  EXPECT_TRUE(unchanged());

  vxtest::EffectWorld other(23, 17, this->kDepth == 8 ? 16 : 8);
  const VX_CompositeModePlus over(XferOver, 1.0f, nullptr, false, 0);
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, other.get(), &over, nullptr, nullptr, 0, 0, this->dst.get()), 3);
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "VX_TransferRect requires src and dst worlds to have same bit depth"));
  EXPECT_EQ(VX_TransferRectPlus(nullptr, 0, 0, 0, nullptr, other.get(), &over, nullptr, nullptr, nullptr, 0, 0,
                                this->dst.get()),
            3);
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "VX_TransferRectPlus requires src and dst worlds"));
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, this->src.get(), nullptr, nullptr, nullptr, 0, 0,
                            this->dst.get()),
            3);
  // A matte of another depth.
  const VX_TrackMatte bad{*other.get(), 0, 0, 0};
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, this->src.get(), &over, nullptr, &bad, 0, 0, this->dst.get()), 3);
  // Scratch that can't be had: a source wider than the shrunk pool holds,
  // and no memory.
  {
    vxtest::EffectWorld wide(5000, 2, this->kDepth);
    ASSERT_EQ(VX_FreeUpSomeMemory(), VX_Err_None);
    vxtest::FailAllocationsScope no_memory(0);
    EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, wide.get(), &over, nullptr, nullptr, 0, 0, this->dst.get()),
              4);
  }
  // Clipped away entirely, also for the alpha modes.
  const VX_CompositeModePlus alpha_mul(XferAlphaMul, 1.0f, nullptr, false, 0);
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, this->src.get(), &alpha_mul, nullptr, nullptr, 40, 0,
                            this->dst.get()),
            0);
  EXPECT_TRUE(unchanged());
  vxtest::TakeReports();
}

VX_Err StopAtSecondCall(void* refcon, int32_t current, int32_t total) {
  auto* calls = static_cast<std::vector<std::pair<int32_t, int32_t>>*>(refcon);
  calls->push_back({current, total});
  return calls->size() == 2 ? 517 : 0;
}

TEST(TransferRectProgress, AStopLeavesTheRowsBelowUntouched) {
  vxtest::EffectWorld src(4, 300, 8), dst(4, 300, 8, true);
  VX_Fill(nullptr, nullptr, nullptr, dst.get());
  const VX_Pixel8 white{255, 255, 255, 255};
  VX_Fill(nullptr, &white, nullptr, src.get());
  std::vector<std::pair<int32_t, int32_t>> calls;
  VX_ProgressInfo progress{&calls, nullptr, &StopAtSecondCall};
  const VX_CompositeModePlus over(XferOver, 1.0f, nullptr, false, 0);
  EXPECT_EQ(VX_TransferRect(&progress, 0, 0, 0, nullptr, src.get(), &over, nullptr, nullptr, 0, 10, dst.get()), 517);
  // Rows 128 and 256 ask; the first question comes at destination row 128.
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0], std::make_pair(118, 290));
  EXPECT_EQ(calls[1], std::make_pair(246, 290));
  EXPECT_EQ(dst.At<VX_Pixel8>(0, 256)->alpha, 255);
  EXPECT_EQ(dst.At<VX_Pixel8>(0, 257)->alpha, 0);
}

// Alphas in runs of clear, opaque and partial pixels, as layers have them.
void FillRuns(vxtest::EffectWorld& w, vxtest::Random& r) {
  for (int32_t y = 0; y < w->height; ++y)
    for (int32_t x = 0; x < w->width;) {
      const int32_t kind = r.Int(0, 2), end = std::min(w->width, x + r.Int(1, 40));
      for (; x < end; ++x) {
        VX_Pixel8 p = r.Pixel8();
        p.alpha = kind == 0 ? 0 : (kind == 1 ? 255 : p.alpha);
        *w.At<VX_Pixel8>(x, y) = p;
      }
    }
}

VX_Err StopAtThirdCall(void* refcon, int32_t current, int32_t) {
  auto* calls = static_cast<std::vector<int32_t>*>(refcon);
  calls->push_back(current);
  return calls->size() == 3 ? 9 : 0;
}

// Dissolve at 8 bits runs rows side by side where the CPU allows; it must
// give the pixels, seeds and progress of rows run one by one, including
// when source and destination share a world.
TEST(TransferRectDissolve, RowsSideBySideMatchRowsOneByOne) {
  if (!KU_CPUHas(KU_CPU_AVX2)) GTEST_SKIP() << "no AVX2";
  vxtest::Random r(77);
  vxtest::EffectWorld src(61, 300, 8), start(70, 400, 8), wide(70, 400, 8), one(70, 400, 8);
  FillRuns(src, r);
  FillRuns(start, r);
  for (int trial = 0; trial < 16; ++trial) {
    const bool shared = trial % 4 == 3;
    for (auto* w : {&wide, &one})
      for (int32_t y = 0; y < 400; ++y) std::memcpy(w->At<VX_Pixel8>(0, y), start.At<VX_Pixel8>(0, y), 70 * 4);
    const GEO_LRect rect{r.Int(-3, 20), r.Int(-3, 40), r.Int(21, 64), r.Int(150, 303)};
    const int32_t dest_x = r.Int(-5, 12), dest_y = shared ? r.Int(-2, 2) : r.Int(-20, 120), field = r.Int(0, 2);
    const VX_CompositeModePlus plus(XferDissolve, trial % 3 ? 1.0f : r.Int(1, 254) / 255.0f, nullptr,
                                    r.Int(0, 1) != 0, r.Int(-100000, 100000));
    std::vector<int32_t> calls[2];
    for (int path = 0; path < 2; ++path) {
      vxtest::CPUScope cpu(1, 1, path == 0, path == 0);
      vxtest::EffectWorld& into = path == 0 ? wide : one;
      VX_ProgressInfo progress{&calls[path], nullptr, &StopAtThirdCall};
      const VX_Err err = VX_TransferRect(&progress, 0, 0, field, &rect, shared ? into.get() : src.get(), &plus,
                                         nullptr, nullptr, dest_x, dest_y, into.get());
      ASSERT_EQ(err, calls[path].size() == 3 ? 9 : 0);
    }
    EXPECT_EQ(calls[0], calls[1]) << trial;
    std::string where;
    ASSERT_TRUE(SameWorlds<VX_Pixel8>(wide, one, &where)) << "trial " << trial << ": " << where;
  }
}

TEST(TransferRectPaths, CallersBuffersPluginsAndRoundedOpacityGiveTheSamePixels) {
  vxtest::Random r(5);
  vxtest::EffectWorld src(40, 9, 8), a(40, 9, 8), b(40, 9, 8), c(40, 9, 8), matte(40, 9, 8);
  vxtest::FillRandom<VX_Pixel8>(src.get(), r);
  vxtest::FillRandom<VX_Pixel8>(a.get(), r);
  vxtest::FillRandom<VX_Pixel8>(matte.get(), r);
  for (auto* w : {&b, &c})
    for (int32_t y = 0; y < 9; ++y) std::memcpy(w->At<VX_Pixel8>(0, y), a.At<VX_Pixel8>(0, y), 40 * 4);
  const VX_TrackMatte m{*matte.get(), 0, 0, 3};
  const VX_CompositeModePlus full(XferScreen, 1.0f, nullptr, false, 0), rounded(XferScreen, 0.999f, nullptr, false, 0);
  ASSERT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, src.get(), &full, nullptr, &m, 0, 0, a.get()), 0);
  std::vector<VX_PixelFloat> buffers(10 * 40);
  void* block[10];
  for (int i = 0; i < 10; ++i) block[i] = &buffers[i * 40];
  ASSERT_EQ(VX_TransferRectPlus(nullptr, 0, 0, 0, nullptr, src.get(), &rounded, nullptr, &m, block, 0, 0, b.get()), 0);
  // A plug-in through its callback block and through the suite.
  VX_CallbackBlock cb{};
  ASSERT_EQ(VX_GetCallbackBlock(0, 0, &cb), 0);
  const VX_CompositeMode plain{XferScreen, 0, 255, 0, 32768};
  ASSERT_EQ(cb.transfer_rect(nullptr, 0, 0, 0, nullptr, src.get(), &plain, &m, 0, 0, c.get()), 0);
  std::string where;
  EXPECT_TRUE(SameWorlds<VX_Pixel8>(a, b, &where)) << where;
  EXPECT_TRUE(SameWorlds<VX_Pixel8>(a, c, &where)) << where;
}

TEST(TransferFlags, OneBitPerMode) {
  const std::set<int32_t> ones{-3, 0, 1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16, 22, 25, 37, 38};
  for (int32_t mode = -10; mode <= 70; ++mode) EXPECT_EQ(VX_GetTransferFlags(mode), ones.count(mode) ? 1 : 0) << mode;
}

}  // namespace
