// The benchmarks' premultiplied conversions and picture comparison
// (bench/support/PeerPixels.h), and the alpha mix of their painted layers:
// a peer row is only as honest as these.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "support/BenchLayers.h"
#include "support/PeerPixels.h"

namespace {

TEST(PeerPixels, PremultipliesEvery8BitPairToNearestAndPacksAlphaHigh) {
  for (int a = 0; a < 256; ++a)
    for (int c = 0; c < 256; ++c) {
      const auto u8 = [](int v) { return static_cast<uint8_t>(v); };
      const uint32_t w = vxbench::PremulArgb32(VX_Pixel8{u8(a), u8(c), u8(255 - c), u8(c / 2)});
      const auto expect = [a](int v) { return static_cast<uint32_t>(std::lround(v * a / 255.0)); };
      ASSERT_EQ(w >> 24, static_cast<uint32_t>(a));
      ASSERT_EQ(w >> 16 & 0xFF, expect(c)) << "a " << a << " c " << c;
      ASSERT_EQ(w >> 8 & 0xFF, expect(255 - c));
      ASSERT_EQ(w & 0xFF, expect(c / 2));
    }
}

TEST(PeerPixels, StraightBackFrom8BitIsWithinOneRoundingOfEachWay) {
  for (int a = 1; a < 256; ++a)
    for (int c = 0; c < 256; ++c) {
      const uint8_t ua = static_cast<uint8_t>(a), uc = static_cast<uint8_t>(c);
      const VX_Pixel8 back = vxbench::StraightFromArgb32(vxbench::PremulArgb32(VX_Pixel8{ua, uc, uc, uc}));
      ASSERT_EQ(back.alpha, a);
      // Half a code value lost premultiplying, half a code value scaled by
      // alpha unpremultiplying: at most one premultiplied code value.
      ASSERT_LE(std::abs(back.red - c) * a, 255) << "a " << a << " c " << c;
      if (a == 255) {
        ASSERT_EQ(back.red, c);
      }
    }
  const VX_Pixel8 clear = vxbench::StraightFromArgb32(0x00123456u);
  EXPECT_EQ(clear.alpha + clear.red + clear.green + clear.blue, 0);
}

TEST(PeerPixels, FloatRoundTripKeepsChannelsInTheirPlaces) {
  const VX_PixelFloat p{0.5f, 0.25f, 0.75f, 1.0f};
  const vxbench::RgbaF q = vxbench::PremulRgbaF(p);
  EXPECT_FLOAT_EQ(q.r, 0.125f);
  EXPECT_FLOAT_EQ(q.g, 0.375f);
  EXPECT_FLOAT_EQ(q.b, 0.5f);
  EXPECT_FLOAT_EQ(q.a, 0.5f);
  const VX_PixelFloat back = vxbench::StraightFromRgbaF(q);
  EXPECT_FLOAT_EQ(back.alpha, p.alpha);
  EXPECT_FLOAT_EQ(back.red, p.red);
  EXPECT_FLOAT_EQ(back.green, p.green);
  EXPECT_FLOAT_EQ(back.blue, p.blue);
  EXPECT_EQ(vxbench::StraightFromRgbaF(vxbench::RgbaF{0.1f, 0.2f, 0.3f, 0}).red, 0);
}

// A world whose rows are padded must come back whole and leave its padding
// alone; the peer's copy has packed rows.
TEST(PeerPixels, WorldCopiesSkipRowPadding) {
  vxbench::Frame a(8, 37, 5), b(8, 37, 5);
  a.Randomize(7);
  ASSERT_GE(a.get()->row_stride, 37 * 4);
  const auto peer = vxbench::PremultipliedCopy<VX_Pixel8>(*a.get());
  ASSERT_EQ(peer.size(), 37u * 5);
  EXPECT_EQ(peer[36 + 37 * 4], vxbench::PremulArgb32(vxbench::RowOf<VX_Pixel8>(*a.get(), 4)[36]));
  vxbench::StraightInto<VX_Pixel8>(peer, *b.get());
  const vxbench::PictureDiff diff = vxbench::ComparePictures<VX_Pixel8>(*a.get(), *b.get(), 1.0, 0);
  EXPECT_EQ(diff.outside, 0) << diff.Describe();
}

TEST(PeerPixels, ComparisonWeighsColourByAlphaAndFindsTheFirstOutlier) {
  vxbench::Frame a(8, 16, 4), b(8, 16, 4);
  a.Randomize(3);
  std::memcpy(b.get()->data, a.get()->data, a.bytes());
  auto px = [](vxbench::Frame& f, int x, int y) -> VX_Pixel8& { return vxbench::RowOf<VX_Pixel8>(*f.get(), y)[x]; };
  EXPECT_EQ(vxbench::ComparePictures<VX_Pixel8>(*a.get(), *b.get(), 0, 0).worst_colour, 0);

  // Ten code values apart at alpha 51 are two premultiplied code values.
  px(a, 5, 1) = VX_Pixel8{51, 100, 0, 0};
  px(b, 5, 1) = VX_Pixel8{51, 110, 0, 0};
  // Colours of clear pixels do not count.
  px(a, 2, 0) = VX_Pixel8{0, 0, 0, 0};
  px(b, 2, 0) = VX_Pixel8{0, 255, 255, 255};
  vxbench::PictureDiff diff = vxbench::ComparePictures<VX_Pixel8>(*a.get(), *b.get(), 2.0, 0);
  EXPECT_DOUBLE_EQ(diff.worst_colour, 2.0);
  EXPECT_EQ(diff.outside, 0);
  diff = vxbench::ComparePictures<VX_Pixel8>(*a.get(), *b.get(), 1.9, 0);
  EXPECT_EQ(diff.outside, 1);
  EXPECT_EQ(diff.x, 5);
  EXPECT_EQ(diff.y, 1);

  // An alpha apart is outside a zero alpha tolerance, and comes first.
  px(b, 9, 0).alpha = static_cast<uint8_t>(px(a, 9, 0).alpha ^ 1);
  diff = vxbench::ComparePictures<VX_Pixel8>(*a.get(), *b.get(), 1.9, 0);
  EXPECT_EQ(diff.outside, 2);
  EXPECT_EQ(diff.x, 9);
  EXPECT_EQ(diff.y, 0);
  EXPECT_EQ(diff.worst_alpha, 1);
}

TEST(PeerPixels, FloatComparisonCountsNaNAsDifferent) {
  vxbench::Frame a(32, 4, 2), b(32, 4, 2);
  a.Randomize(5);
  std::memcpy(b.get()->data, a.get()->data, a.bytes());
  vxbench::RowOf<VX_PixelFloat>(*b.get(), 1)[3].green = std::numeric_limits<float>::quiet_NaN();
  const vxbench::PictureDiff diff = vxbench::ComparePictures<VX_PixelFloat>(*a.get(), *b.get(), 1e-5, 1e-5);
  EXPECT_EQ(diff.outside, 1);
  EXPECT_EQ(diff.x, 3);
  EXPECT_EQ(diff.y, 1);
}

// The mixes the benchmark figures are quoted for, on every fourth pixel of
// a UHD frame at 8 bits.
TEST(BenchLayers, AlphaMixesAreWhatTheRowsClaim) {
  struct Mix {
    double clear = 0, opaque = 0, partial = 0;
  };
  const auto mix = [](vxbench::Layer layer, uint32_t seed) {
    const vxbench::Percentiles t{vxbench::FieldPercentile(seed, 15), vxbench::FieldPercentile(seed, 30),
                                 vxbench::FieldPercentile(seed, 70)};
    Mix m;
    double n = 0;
    for (int32_t y = 0; y < vxbench::kHeight; y += 4)
      for (int32_t x = 0; x < vxbench::kWidth; x += 4, ++n) {
        const int a = vxbench::FromUnit<uint8_t>(vxbench::LayerAlpha(layer, vxbench::Field(x, y, seed), t));
        (a == 0 ? m.clear : a == 255 ? m.opaque : m.partial) += 1;
      }
    m.clear /= n, m.opaque /= n, m.partial /= n;
    return m;
  };
  const Mix realistic = mix(vxbench::kRealistic, 3), layered = mix(vxbench::kLayered, 4);
  EXPECT_NEAR(realistic.clear, 0.30, 0.02);
  EXPECT_NEAR(realistic.opaque, 0.30, 0.02);
  EXPECT_NEAR(layered.partial, 0.15, 0.01);
  EXPECT_EQ(layered.clear, 0);
  const Mix partial = mix(vxbench::kPartial, 3);
  EXPECT_EQ(partial.partial, 1);
}

}  // namespace
