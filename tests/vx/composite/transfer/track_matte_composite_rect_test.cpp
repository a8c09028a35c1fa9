// Mask rows from a matte row at its edges, and the old composite
// rectangles: draft and best alike, and their rules on chosen pixels.
#include <cstring>

#include "composite/transfer/TrackMatte.h"
#include "vx/composite/spans/SpanTestSupport.h"

namespace {

// A matte row of 45 pixels into 50 outputs, at offsets that put it off
// either end, across it and inside it; long enough for the vector rows to
// run whole blocks and a tail.
template <class Pixel>
void CheckPrep(bool deep) {
  constexpr int32_t kWidth = 45, kCount = 50;
  vxtest::Random r(31);
  std::vector<Pixel> row(kWidth);
  for (Pixel& p : row) p = r.Any<Pixel>();
  typedef vx::Arith<Pixel> A;
  for (int32_t kind = 0; kind < 4; ++kind)
    for (int32_t offset : {-60, -45, -13, -5, 0, 3, 7, 60}) {
      std::vector<Pixel> out(kCount, Pixel{7, 7, 7, 7});
      ASSERT_EQ(VX_PrepTrackMatteUniv(kCount, row.data(), offset, kWidth, kind, deep, out.data()), 0);
      for (int32_t i = 0; i < kCount; ++i) {
        const int32_t j = i - offset;  // the matte pixel under output i
        int32_t e = (kind & 1) ? A::kWhite : 0;
        if (j >= 0 && j < kWidth) {
          const Pixel& p = row[j];
          const int32_t luma = (p.red * 9798 + p.green * 19235 + p.blue * 3735 + 16384) >> 15;
          const int32_t values[4] = {p.alpha, A::kWhite - p.alpha, A::mul(p.alpha, luma),
                                     A::kWhite - A::mul(p.alpha, luma)};
          e = values[kind];
        }
        ASSERT_EQ(out[i].alpha, e) << "kind " << kind << " offset " << offset << " output " << i;
        ASSERT_EQ(out[i].red, 7);  // colours aren't written
      }
    }
}

TEST(TrackMatte, PrepMatteRowAtEightAndSixteenBits) {
  CheckPrep<VX_Pixel8>(false);
  CheckPrep<VX_Pixel16>(true);
  vxtest::CPUScope scalar(0, 0, 0);
  CheckPrep<VX_Pixel8>(false);
  CheckPrep<VX_Pixel16>(true);
}

// Float luma rows, out of range and near zero included, the same on the
// vector path as on the scalar one, bit for bit.
TEST(TrackMatte, FloatLumaRowsMatchTheScalarRule) {
  vxtest::Random r(32);
  std::vector<VX_PixelFloat> row(45);
  for (VX_PixelFloat& p : row) p = {r.Float(-0.5f, 1.5f), r.Float(-0.5f, 2.0f), r.Float(0, 1), r.Float(0, 1)};
  row[3] = {1e-9f, 1e-9f, 1e-9f, 1e-9f};
  row[9] = {2.0f, 1.0f, 1.0f, 1.0f};
  for (int32_t kind : {VX_MatteKind_Luma, VX_MatteKind_LumaInverted}) {
    std::vector<VX_PixelFloat> fast(50, VX_PixelFloat{7, 7, 7, 7}), slow = fast;
    VXp_PrepMatteRow<VX_PixelFloat>(50, row.data(), 2, 45, kind, fast.data(), VXp_WidestIsa());
    VXp_PrepMatteRow<VX_PixelFloat>(50, row.data(), 2, 45, kind, slow.data(), VXp_Isa::Scalar);
    for (int32_t i = 0; i < 50; ++i) {
      ASSERT_EQ(std::memcmp(&fast[i], &slow[i], sizeof fast[i]), 0) << "kind " << kind << " output " << i;
      if (i >= 2 && i < 47) {
        const VX_PixelFloat& p = row[i - 2];
        float v = p.alpha * (p.red * 0.299f + p.green * 0.587f + p.blue * 0.114f);
        v = v > 1.0f ? 1.0f : (v < 1e-16f ? 0.0f : v);
        ASSERT_EQ(slow[i].alpha, kind == VX_MatteKind_Luma ? v : 1.0f - v) << "kind " << kind << " output " << i;
      }
    }
  }
}

// Composite rectangles.
struct Worlds {
  vxtest::EffectWorld src{9, 7, 8}, a{12, 10, 8}, b{12, 10, 8};
  explicit Worlds(uint32_t seed) {
    vxtest::Random r(seed);
    vxtest::FillRandom<VX_Pixel8>(src.get(), r);
    vxtest::FillRandom<VX_Pixel8>(a.get(), r);
    for (int32_t y = 0; y < 10; ++y) std::memcpy(b.At<VX_Pixel8>(0, y), a.At<VX_Pixel8>(0, y), 12 * 4);
  }
};

TEST(CompositeRect, DraftAndBestAreTheSame) {
  const std::pair<VX_CompositeRectProc, VX_CompositeRectProc> pairs[] = {
      {VXp_GetSlot<VX_Slot_CompositeRectDraft_Premul>(), VXp_GetSlot<VX_Slot_CompositeRectBest_Premul>()},
      {VXp_GetSlot<VX_Slot_CompositeRectDraft_Straight>(), VXp_GetSlot<VX_Slot_CompositeRectBest_Straight>()}};
  for (auto [draft, best] : pairs)
    for (int32_t field : {0, 1, 2})
      for (uint8_t opacity : {255, 140}) {
        Worlds w(field * 1000u + opacity);
        const GEO_LRect rect{1, 1, 8, 6};
        ASSERT_EQ(draft(nullptr, &rect, opacity, w.src.get(), 3, 2, field, 0, w.a.get()), 0);
        ASSERT_EQ(best(nullptr, &rect, opacity, w.src.get(), 3, 2, field, 0, w.b.get()), 0);
        for (int32_t y = 0; y < 10; ++y)
          ASSERT_EQ(std::memcmp(w.a.At<VX_Pixel8>(0, y), w.b.At<VX_Pixel8>(0, y), 12 * 4), 0) << y;
      }
}

TEST(CompositeRect, StraightAndPremultipliedRules) {
  auto one = [](VX_CompositeRectProc f, VX_Pixel8 s, VX_Pixel8 d, uint8_t opacity) {
    vxtest::EffectWorld src(1, 1, 8), dst(1, 1, 8);
    *src.At<VX_Pixel8>(0, 0) = s;
    *dst.At<VX_Pixel8>(0, 0) = d;
    EXPECT_EQ(f(nullptr, nullptr, opacity, src.get(), 0, 0, 0, 0, dst.get()), 0);
    return *dst.At<VX_Pixel8>(0, 0);
  };
  const VX_Pixel8 s{255, 10, 20, 30}, clear{0, 1, 2, 3};
  EXPECT_TRUE(vxtest::SamePixel(one(VX_CompositeRectBest_Straight, s, clear, 255), s));
  // A transparent source changes nothing over a partial destination.
  EXPECT_TRUE(vxtest::SamePixel(one(VX_CompositeRectBest_Straight, VX_Pixel8{0, 9, 9, 9}, VX_Pixel8{100, 50, 60, 70}, 255),
                       VX_Pixel8{100, 50, 60, 70}));
  // An opaque destination is never touched; opacity 0 returns at once.
  EXPECT_TRUE(vxtest::SamePixel(one(VX_CompositeRectDraft_Premul, s, VX_Pixel8{255, 1, 2, 3}, 255), VX_Pixel8{255, 1, 2, 3}));
  EXPECT_TRUE(vxtest::SamePixel(one(VX_CompositeRectDraft_Premul, s, clear, 0), clear));
}

}  // namespace
