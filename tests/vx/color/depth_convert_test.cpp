// Depth conversion: every cell of the table at its edges, round trips, and
// what is refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "vx/color/ColorTestSupport.h"

namespace {

using colortest::NewWorld;

const VX_LinearBlendingTables* Tables() {
  static const auto tables = VX_MakeLinearizationTables(TNT_ORX_GetDefaultProfile());
  return tables.get();
}

template <class Pixel>
Pixel& At(VX_World& w, int32_t x, int32_t y) {
  return *static_cast<VX_WorldX<Pixel>&>(w).PixelAt(x, y);
}

// One pixel through the conversion.
template <class From, class To>
To Convert1(const From& p, const VX_LinearBlendingTables* tables = Tables()) {
  auto s = NewWorld(1, 1, VX_PixelTraits<From>::kDepth), d = NewWorld(1, 1, VX_PixelTraits<To>::kDepth);
  At<From>(*s, 0, 0) = p;
  VX_DepthConvertWorld(tables, s.get(), d.get());
  return At<To>(*d, 0, 0);
}

VX_Pixel8 FloatTo8(const VX_PixelFloat& p) { return Convert1<VX_PixelFloat, VX_Pixel8>(p); }
VX_Pixel16 FloatTo16(const VX_PixelFloat& p) { return Convert1<VX_PixelFloat, VX_Pixel16>(p); }
VX_PixelFloat Float16(const VX_Pixel16& p) { return Convert1<VX_Pixel16, VX_PixelFloat>(p); }

TEST(DepthConvert, SameDepthIsAnExactCopyOfAnyBits) {
  vxtest::Random random(3);
  for (int16_t depth : {int16_t(8), int16_t(16), int16_t(32)}) {
    auto s = NewWorld(37, 5, depth), d = NewWorld(37, 5, depth);
    for (int32_t y = 0; y < 5; ++y)
      for (int32_t x = 0; x < 37 * depth / 2; ++x) static_cast<uint8_t*>(s->data)[y * s->row_stride + x] = uint8_t(random.Next());
    VX_DepthConvertWorld(nullptr, s.get(), d.get());
    for (int32_t y = 0; y < 5; ++y)
      EXPECT_EQ(std::memcmp(static_cast<char*>(s->data) + y * s->row_stride, static_cast<char*>(d->data) + y * d->row_stride, 37 * depth / 2), 0);
  }
}

TEST(DepthConvert, IntegerDepthsUseThePlainRulesOnAllChannels) {
  for (uint32_t c = 0; c < 256; ++c) {
    const VX_Pixel16 p = Convert1<VX_Pixel8, VX_Pixel16>(VX_Pixel8{uint8_t(c), uint8_t(c), uint8_t(255 - c), uint8_t(c)}, nullptr);
    EXPECT_EQ(p.alpha, (c * 32768 + 128) / 255);
    EXPECT_EQ(p.green, ((255 - c) * 32768 + 128) / 255);
  }
  for (uint32_t c = 0; c <= 32768; c += 5) {
    const VX_Pixel8 p = Convert1<VX_Pixel16, VX_Pixel8>(VX_Pixel16{uint16_t(c), uint16_t(c), 0, uint16_t(32768 - c)}, nullptr);
    EXPECT_EQ(p.alpha, (c * 255 + 16384) >> 15);
    EXPECT_EQ(p.blue, ((32768 - c) * 255 + 16384) >> 15);
  }
}

TEST(DepthConvert, IntegerToFloatLinearisesColoursOnly) {
  const VX_LinearBlendingTables& t = *Tables();
  for (uint32_t c = 0; c < 256; ++c) {
    const VX_PixelFloat p = Convert1<VX_Pixel8, VX_PixelFloat>(VX_Pixel8{uint8_t(c), uint8_t(c), uint8_t(c), uint8_t(c)});
    EXPECT_EQ(p.alpha, float(c) * 0.003921569f);
    EXPECT_EQ(p.red, t.to_linear[c] * 3.0517578125e-5f);
    EXPECT_NEAR(p.red, colortest::SRGBToLinear(VX_Convert8To16(c) / 32768.0), 5e-5);
  }
  for (uint32_t c = 0; c <= 32768; c += 3) {
    const VX_PixelFloat p = Convert1<VX_Pixel16, VX_PixelFloat>(VX_Pixel16{uint16_t(c), uint16_t(c), 0, 0});
    EXPECT_EQ(p.alpha, c / 32768.0f);
    EXPECT_EQ(p.red, VX_LinearFromStored16(t, c) / 32768.0f);
  }
  // Above white a 16-bit colour is read as white, not past the table.
  EXPECT_EQ(Float16(VX_Pixel16{0, 65535, 40000, 32769}).red, 1.0f);
}

TEST(DepthConvert, FloatToIntegerClampsColoursButNotAlpha) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const VX_Pixel8 a = FloatTo8(VX_PixelFloat{2.0f, -0.5f, 1.5f, nan});
  EXPECT_EQ(a.alpha, 254);  // trunc(510.5) = 510, kept to 8 bits
  EXPECT_EQ(a.red, 0);
  EXPECT_EQ(a.green, 255);
  EXPECT_EQ(a.blue, 0);
  EXPECT_EQ(FloatTo8(VX_PixelFloat{-0.5f, 0, 0, 0}).alpha, uint8_t(-127));
  const VX_Pixel16 b = FloatTo16(VX_PixelFloat{2.0f, -1e30f, 1e30f, 1.0f});
  EXPECT_EQ(b.alpha, 0);  // 65536 kept to 16 bits
  EXPECT_EQ(b.red, 0);
  EXPECT_EQ(b.green, 32768);
  EXPECT_EQ(b.blue, 32768);
  EXPECT_EQ(FloatTo16(VX_PixelFloat{1.0f, 0, 0, 0}).alpha, 32768);
  EXPECT_EQ(FloatTo8(VX_PixelFloat{1.0f, 0, 0, 0}).alpha, 255);
  // Colours go to stored through the table, then 16 to 8 bits.
  const VX_LinearBlendingTables& t = *Tables();
  for (float v : {0.001f, 0.2f, 0.5f, 0.99f}) {
    const uint16_t stored = VX_StoredFromLinear16(t, uint32_t(v * 32768.0 + 0.5));
    EXPECT_EQ(FloatTo16(VX_PixelFloat{0, v, 0, 0}).red, stored);
    EXPECT_EQ(FloatTo8(VX_PixelFloat{0, v, 0, 0}).red, VX_Convert16To8(stored));
  }
}

TEST(DepthConvert, IntegerToFloatAndBackKeepsEveryCode) {
  auto s = NewWorld(256, 1, 8), f = NewWorld(256, 1, 32), back = NewWorld(256, 1, 8);
  for (int c = 0; c < 256; ++c) At<VX_Pixel8>(*s, c, 0) = VX_Pixel8{uint8_t(c), uint8_t(c), uint8_t(255 - c), uint8_t(c / 3)};
  VX_DepthConvertWorld(Tables(), s.get(), f.get());
  VX_DepthConvertWorld(Tables(), f.get(), back.get());
  for (int c = 0; c < 256; ++c) EXPECT_TRUE(vxtest::SamePixel(At<VX_Pixel8>(*back, c, 0), At<VX_Pixel8>(*s, c, 0))) << c;

  auto s16 = NewWorld(300, 1, 16), f16 = NewWorld(300, 1, 32), back16 = NewWorld(300, 1, 16);
  for (int x = 0; x < 300; ++x) At<VX_Pixel16>(*s16, x, 0) = VX_Pixel16{uint16_t(x * 109), uint16_t(x * 109), 0, 32768};
  VX_DepthConvertWorld(Tables(), s16.get(), f16.get());
  VX_DepthConvertWorld(Tables(), f16.get(), back16.get());
  for (int x = 0; x < 300; ++x) {
    EXPECT_EQ(At<VX_Pixel16>(*back16, x, 0).alpha, x * 109);
    EXPECT_NEAR(At<VX_Pixel16>(*back16, x, 0).red, x * 109, x * 109 < 2048 ? 64 : 8) << x;
  }
}

TEST(DepthConvert, RefusalsLeaveTheDestinationAlone) {
  auto s = NewWorld(4, 4, 8), f = NewWorld(4, 4, 32), small = NewWorld(4, 3, 16);
  At<VX_Pixel8>(*s, 1, 1) = VX_Pixel8{255, 255, 255, 255};
  vxtest::TakeReports();
  VX_DepthConvertWorld(Tables(), s.get(), small.get());  // sizes differ: silently nothing
  EXPECT_EQ(At<VX_Pixel16>(*small, 1, 1).alpha, 0);
  EXPECT_TRUE(vxtest::TakeReports().empty());

  VX_DepthConvertWorld(nullptr, s.get(), f.get());  // float needs the tables
  EXPECT_EQ(At<VX_PixelFloat>(*f, 1, 1).alpha, 0.0f);
  EXPECT_EQ(vxtest::TakeReports().size(), 1u);

  colortest::OddWorld odd(4, 4);
  VX_DepthConvertWorld(Tables(), &odd, f.get());
  VX_DepthConvertWorld(Tables(), s.get(), &odd);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0].line, 226);
  EXPECT_EQ(reports[1].line, 195);
  EXPECT_EQ(reports[1].text, "Unknown bit depth attempting to depth convert.");
  EXPECT_EQ(At<VX_PixelFloat>(*f, 1, 1).alpha, 0.0f);
}

}  // namespace
