// The matte stages: their arithmetic at the edges, and every vector form
// against the scalar rule on random rows of many lengths and alignments, in
// place and out of place.
#include <cmath>
#include <cstring>
#include <limits>

#include "composite/mattes/MatteStages.h"
#include "composite/mattes/MatteStagesVector.h"
#include "support/TestWorlds.h"

namespace {

// Random 8-bit pixels with the alphas that take special paths often.
VX_Pixel8 Pixel8(vxtest::Random& r) {
  VX_Pixel8 p = r.Pixel8();
  const int pick = r.Int(0, 7);
  if (pick == 0) p.alpha = 0;
  if (pick == 1) p.alpha = 255;
  if (pick == 2) p.red = p.alpha;
  return p;
}

float SpecialFloat(vxtest::Random& r) {
  static const float specials[] = {0.0f, -0.0f, 1.0f, 0.5f, 2.0f, -0.25f, 1e-40f, -1e-40f,
                                   std::numeric_limits<float>::infinity(), std::nanf(""), 1e30f};
  return r.Int(0, 3) == 0 ? specials[r.Int(0, 10)] : r.Float(-0.1f, 1.1f);
}

VX_PixelFloat PixelF(vxtest::Random& r) {
  return VX_PixelFloat{SpecialFloat(r), SpecialFloat(r), SpecialFloat(r), SpecialFloat(r)};
}

template <class Pixel, class Make>
void CompareWithScalar(int32_t stage, VX_SpanFunc<Pixel> scalar, Make make, VX_SpanFunc<Pixel> vector = nullptr) {
  const int32_t slot = VX_MatteStageSlots<Pixel>::At(stage);
  if (!vector) vector = VXp_GetIn<VX_MatteStageSlots<Pixel>>(stage);
  ASSERT_NE(vector, scalar) << "slot " << slot << " holds no vector form on this machine";
  vxtest::Random r(slot);
  std::vector<unsigned char> src_bytes(80 * sizeof(Pixel) + 16), a_bytes(src_bytes.size()), b_bytes(src_bytes.size());
  for (int trial = 0; trial < 400; ++trial) {
    const int32_t count = r.Int(0, 67);
    const int32_t offset = static_cast<int32_t>(r.Int(0, 15) / alignof(float)) * alignof(float);
    auto* src = reinterpret_cast<Pixel*>(src_bytes.data() + offset);
    auto* a = reinterpret_cast<Pixel*>(a_bytes.data() + offset);
    auto* b = reinterpret_cast<Pixel*>(b_bytes.data() + offset);
    for (int32_t i = 0; i < count + 1; ++i) src[i] = make(r);
    const bool in_place = trial % 2 == 0;
    std::memcpy(a, src, (count + 1) * sizeof(Pixel));
    std::memcpy(b, src, (count + 1) * sizeof(Pixel));
    if (in_place) {
      ASSERT_EQ(scalar(count, r.Int(0, 1) ? nullptr : a, a), 0);
      ASSERT_EQ(vector(count, b, b), 0);
    } else {
      std::memset(a, 0x3C, count * sizeof(Pixel));
      std::memset(b, 0x3C, count * sizeof(Pixel));
      ASSERT_EQ(scalar(count, src, a), 0);
      ASSERT_EQ(vector(count, src, b), 0);
    }
    for (int32_t i = 0; i <= count; ++i)
      ASSERT_EQ(std::memcmp(&a[i], &b[i], sizeof(Pixel)), 0)
          << "slot " << slot << " pixel " << i << " of " << count << (in_place ? " in place" : " out of place")
          << ": source " << src[i] << " scalar " << a[i] << " vector " << b[i];
  }
}

TEST(MatteStages, EightBitVectorFormsMatchTheScalarRules) {
  for (int32_t stage = VXp_Stage_MatteBlack; stage <= VXp_Stage_UnmatteGrey; ++stage) {
    CompareWithScalar<VX_Pixel8>(stage, VXp_ScalarMatteStage<VX_Pixel8>(stage), Pixel8, VXp_MatteStage8_SSSE3(stage));
    CompareWithScalar<VX_Pixel8>(stage, VXp_ScalarMatteStage<VX_Pixel8>(stage), Pixel8, VXp_MatteStage8_AVX2(stage));
  }
}

TEST(MatteStages, FloatVectorFormsMatchTheScalarRules) {
  for (int32_t stage = VXp_Stage_MatteBlack; stage <= VXp_Stage_UnmatteGrey; ++stage)
    CompareWithScalar<VX_PixelFloat>(stage, VXp_ScalarMatteStage<VX_PixelFloat>(stage), PixelF);
}

TEST(MatteStages, AlphaMergeVectorFormMatchesTheScalarRule) {
  auto vector = VXp_GetSlot<VX_Slot_AlphaMerge8>();
  auto scalar = VXp_ScalarAlphaMerge<VX_Pixel8>();
  ASSERT_NE(vector, scalar);
  vxtest::Random r(41);
  for (int trial = 0; trial < 300; ++trial) {
    const int32_t count = r.Int(0, 40);
    std::vector<VX_Pixel8> src(count + 1), mask(count + 1), a(count + 1);
    for (int32_t i = 0; i <= count; ++i) {
      src[i] = Pixel8(r);
      mask[i] = Pixel8(r);
      a[i] = Pixel8(r);
    }
    std::vector<VX_Pixel8> b = a;
    const uint8_t opacity = static_cast<uint8_t>(r.Int(0, 3) == 0 ? 255 : r.Int(0, 255));
    const VX_Pixel8* m = trial % 3 == 0 ? nullptr : mask.data();
    scalar(count, src.data(), opacity, m, a.data());
    vector(count, src.data(), opacity, m, b.data());
    for (int32_t i = 0; i <= count; ++i) ASSERT_TRUE(vxtest::SamePixel(a[i], b[i])) << i << " of " << count;
  }
}

// The rules at their edges, written out independently.
TEST(MatteStages, EightBitArithmeticAtTheEdges) {
  auto flatten = VXp_ScalarMatteStage<VX_Pixel8>(VXp_Stage_MatteBlack);
  auto lift = VXp_ScalarMatteStage<VX_Pixel8>(VXp_Stage_UnmatteBlack);
  VX_Pixel8 p[3] = {{128, 255, 200, 1}, {255, 200, 17, 0}, {0, 9, 9, 9}};
  flatten(3, nullptr, p);
  EXPECT_TRUE(vxtest::SamePixel(p[0], VX_Pixel8{128, 128, 100, 1}));
  EXPECT_TRUE(vxtest::SamePixel(p[1], VX_Pixel8{255, 200, 17, 0}));
  EXPECT_TRUE(vxtest::SamePixel(p[2], VX_Pixel8{0, 0, 0, 0}));
  VX_Pixel8 q[2] = {{128, 64, 128, 200}, {0, 9, 9, 9}};
  lift(2, nullptr, q);
  EXPECT_TRUE(vxtest::SamePixel(q[0], VX_Pixel8{128, 128, 255, 255})) << "quotients at or past alpha give 255";
  EXPECT_TRUE(vxtest::SamePixel(q[1], VX_Pixel8{0, 0, 0, 0})) << "in place, transparent becomes zero";
  VX_Pixel8 out;
  const VX_Pixel8 transparent{0, 9, 9, 9};
  lift(1, &transparent, &out);
  EXPECT_TRUE(vxtest::SamePixel(out, VX_Pixel8{0, 255, 255, 255})) << "out of place the divide table stands";

  auto grey_lift = VXp_ScalarMatteStage<VX_Pixel8>(VXp_Stage_UnmatteGrey);
  VX_Pixel8 g{64, 160, 100, 128};
  grey_lift(1, nullptr, &g);
  // above grey: 128 + div(64, 32) = 128 + 128 -> capped at 255; below: div(64, 28) = 112 -> 16.
  EXPECT_TRUE(vxtest::SamePixel(g, VX_Pixel8{64, 255, 16, 128}));
}

TEST(MatteStages, SixteenBitAndFloatRules) {
  auto lift16 = VXp_ScalarMatteStage<VX_Pixel16>(VXp_Stage_UnmatteBlack);
  VX_Pixel16 p[2] = {{16384, 8192, 16384, 20000}, {0, 5, 5, 5}};
  lift16(2, nullptr, p);
  EXPECT_TRUE(vxtest::SamePixel(p[0], VX_Pixel16{16384, 16384, 32768, 32768}));
  EXPECT_TRUE(vxtest::SamePixel(p[1], VX_Pixel16{0, 0, 0, 0}));
  auto white16 = VXp_ScalarMatteStage<VX_Pixel16>(VXp_Stage_MatteWhite);
  VX_Pixel16 w{16384, 0, 32768, 16384};
  white16(1, nullptr, &w);
  // 32768 - mul16(32768 - c, 16384): 0 -> 16384, 32768 -> 32768, 16384 -> 24576.
  EXPECT_TRUE(vxtest::SamePixel(w, VX_Pixel16{16384, 16384, 32768, 24576}));

  auto liftF = VXp_ScalarMatteStage<VX_PixelFloat>(VXp_Stage_UnmatteBlack);
  const VX_PixelFloat transparent{0.0f, 0.25f, 0.5f, 0.75f};
  VX_PixelFloat out;
  liftF(1, &transparent, &out);
  EXPECT_EQ(out.green, 0.5f) << "out of place a zero alpha keeps the colour";
  VX_PixelFloat in_place = transparent;
  liftF(1, nullptr, &in_place);
  EXPECT_EQ(in_place.green, 0.0f);
}

}  // namespace
