// Fill, premultiply and matte operations on worlds and rows.
#include <cmath>
#include <cstring>

#include "support/TestWorlds.h"

namespace {

using vxtest::EffectWorld;
using vxtest::SamePixel;

TEST(Fill, ConvertsTheColourToEachDepth) {
  EffectWorld w8(5, 3, 8), w16(5, 3, 16), wf(5, 3, 32);
  const VX_Pixel8 c8{255, 128, 1, 0};
  VX_Fill(nullptr, &c8, nullptr, w16.get());
  EXPECT_TRUE(SamePixel(*w16.At<VX_Pixel16>(4, 2), VX_Pixel16{32768, 16448, 129, 0}));
  VX_Fill(nullptr, &c8, nullptr, wf.get());
  EXPECT_EQ(wf.At<VX_PixelFloat>(0, 0)->red, static_cast<float>(128 * 0.00392156862745098));
  const VX_Pixel16 c16{32768, 16384, 64, 32767};
  VX_Fill16(nullptr, &c16, nullptr, w8.get());
  EXPECT_TRUE(SamePixel(*w8.At<VX_Pixel8>(1, 1), VX_Pixel8{255, 128, 0, 255}));
  VX_Fill16(nullptr, &c16, nullptr, wf.get());
  EXPECT_EQ(wf.At<VX_PixelFloat>(0, 0)->red, 0.5f);
  const VX_PixelFloat cf{1.5f, -1.0f, 0.5f, 0.2f};
  VX_FillFloat(nullptr, &cf, nullptr, w8.get());
  EXPECT_TRUE(SamePixel(*w8.At<VX_Pixel8>(2, 2), VX_Pixel8{255, 0, 128, 51})) << "the plain fill clamps alpha too";
  VX_FillFloat(nullptr, &cf, nullptr, w16.get());
  EXPECT_TRUE(SamePixel(*w16.At<VX_Pixel16>(2, 2), VX_Pixel16{32768, 0, 16384, 6554}));
}

TEST(Fill, NullColourClearsAndRectanglesAreSortedAndClamped) {
  EffectWorld w(12, 12, 8);
  const VX_Pixel8 c{9, 9, 9, 9};
  VX_Fill(nullptr, &c, nullptr, w.get());
  const GEO_LRect backwards{10, 10, 5, 5};
  VX_Fill(nullptr, nullptr, &backwards, w.get());
  for (int32_t y = 0; y < 12; ++y)
    for (int32_t x = 0; x < 12; ++x)
      EXPECT_EQ(w.At<VX_Pixel8>(x, y)->alpha, (x >= 5 && x < 10 && y >= 5 && y < 10) ? 0 : 9);
  const GEO_LRect huge{-100, -100, 100, 100};
  VX_Fill(nullptr, nullptr, &huge, w.get());
  EXPECT_EQ(w.At<VX_Pixel8>(11, 11)->alpha, 0);
  EXPECT_FALSE(w->world_object->SubWorldSafetyGutterHasBeenOverWritten());
}

TEST(Fill, RefusesNullWorldsAndPixels) {
  vxtest::TakeReports();
  const VX_Pixel8 c{1, 2, 3, 4};
  EXPECT_EQ(VX_Fill(nullptr, &c, nullptr, nullptr), 3);
  VX_LayerDef empty{};
  empty.width = empty.height = 4;
  EXPECT_EQ(VX_Fill16(nullptr, nullptr, nullptr, &empty), 3);
  empty.depth_flags = 0x5000000;
  EXPECT_EQ(VX_FillFloat(nullptr, nullptr, nullptr, &empty), 3);
  const auto reports = vxtest::TakeReports();
  ASSERT_GE(reports.size(), 3u);
  EXPECT_EQ(reports[0].site, 0x25000D);
  EXPECT_TRUE(vxtest::HasReport(reports, "Unknown pixel format")) << "an unknown format counts as 8 bits";
}

// The 16-byte-store fill against the plain one, on rows that start at every
// alignment and have every short length.
template <class Pixel>
void CompareFillForms() {
  constexpr int32_t ps = sizeof(Pixel);
  std::vector<unsigned char> a(64 * ps * 4 + 64), b(a.size());
  vxtest::Random r(ps);
  for (int32_t offset = 0; offset < 16; offset += (ps < 4 ? ps : 4)) {
    for (int32_t width = 1; width < 40; ++width) {
      const Pixel color = r.Any<Pixel>();
      std::memset(a.data(), 0xAB, a.size());
      std::memset(b.data(), 0xAB, b.size());
      const int32_t stride = (width + 3) * ps;
      for (int pass = 0; pass < 2; ++pass) {
        vxtest::CPUScope cpu(pass, pass, pass);
        unsigned char* base = (pass ? b : a).data() + 16 - (reinterpret_cast<uintptr_t>((pass ? b : a).data()) & 15) + offset;
        std::unique_ptr<VX_World> w(VX_World::NewReference(base, width, 3, VX_PixelTraits<Pixel>::kDepth, stride));
        static_cast<VX_WorldX<Pixel>*>(w.get())->FillPixel(color, GEO_LRect{0, 0, width, 3});
      }
      ASSERT_EQ(std::memcmp(a.data() + 16 - (reinterpret_cast<uintptr_t>(a.data()) & 15),
                            b.data() + 16 - (reinterpret_cast<uintptr_t>(b.data()) & 15), 3 * stride + offset),
                0)
          << "width " << width << " offset " << offset;
    }
  }
}

TEST(Fill, SixteenByteStoresGiveThePlainResult) {
  CompareFillForms<VX_Pixel8>();
  CompareFillForms<VX_Pixel16>();
  CompareFillForms<VX_PixelFloat>();
}

TEST(Premultiply, EightBitValuesAndRectangles) {
  EffectWorld w(4, 2, 8);
  *w.At<VX_Pixel8>(0, 0) = VX_Pixel8{128, 255, 200, 1};
  *w.At<VX_Pixel8>(1, 0) = VX_Pixel8{255, 200, 17, 0};
  *w.At<VX_Pixel8>(0, 1) = VX_Pixel8{128, 255, 255, 255};
  const GEO_LRect top{0, 0, 4, 1};
  ASSERT_EQ(VX_PremulRect(nullptr, 1, &top, w.get()), 0);
  EXPECT_TRUE(SamePixel(*w.At<VX_Pixel8>(0, 0), VX_Pixel8{128, 128, 100, 1}));
  EXPECT_TRUE(SamePixel(*w.At<VX_Pixel8>(1, 0), VX_Pixel8{255, 200, 17, 0}));
  EXPECT_EQ(w.At<VX_Pixel8>(0, 1)->red, 255) << "outside the rectangle";
  ASSERT_EQ(VX_Premul(nullptr, 0, w.get()), 0);
  EXPECT_TRUE(SamePixel(*w.At<VX_Pixel8>(0, 0), VX_Pixel8{128, 255, 199, 2}));
  const GEO_LRect off{-10, -10, 100, 100};
  EXPECT_EQ(VX_PremulRect(nullptr, 1, &off, w.get()), 0) << "a rectangle off the world is cut to it";
}

TEST(Premultiply, RoundTripsWithinALevelWhereAlphaAllows) {
  for (int32_t depth : {8, 16}) {
    EffectWorld w(256, 64, depth), original(256, 64, depth);
    vxtest::Random r(depth);
    for (int32_t y = 0; y < 64; ++y)
      for (int32_t x = 0; x < 256; ++x) {
        if (depth == 8) {
          *original.At<VX_Pixel8>(x, y) = *w.At<VX_Pixel8>(x, y) =
              VX_Pixel8{uint8_t(x), uint8_t(r.Int(0, 255)), uint8_t(r.Int(0, 255)), uint8_t(y * 4)};
        } else {
          *original.At<VX_Pixel16>(x, y) = *w.At<VX_Pixel16>(x, y) =
              VX_Pixel16{uint16_t(x * 128), uint16_t(r.Int(0, 32768)), 0, 32768};
        }
      }
    ASSERT_EQ(VX_Premul(nullptr, 1, w.get()), 0);
    ASSERT_EQ(VX_Premul(nullptr, 0, w.get()), 0);
    for (int32_t y = 0; y < 64; ++y)
      for (int32_t x = 0; x < 256; ++x) {
        const int32_t white = depth == 8 ? 255 : 32768;
        const int32_t a = depth == 8 ? w.At<VX_Pixel8>(x, y)->alpha : w.At<VX_Pixel16>(x, y)->alpha;
        const int32_t got = depth == 8 ? w.At<VX_Pixel8>(x, y)->red : w.At<VX_Pixel16>(x, y)->red;
        const int32_t was = depth == 8 ? original.At<VX_Pixel8>(x, y)->red : original.At<VX_Pixel16>(x, y)->red;
        if (a == 0) {
          ASSERT_EQ(got, 0);
          continue;
        }
        // One level of the premultiplied value is white / alpha levels of the straight one.
        ASSERT_LE(std::abs(got - was), white / a + 1) << depth << " alpha " << a;
      }
  }
}

TEST(PremulColor, AgainstAMatteColourByTheFormula) {
  EffectWorld src(16, 16, 8), dst(16, 16, 8);
  vxtest::Random r(7);
  vxtest::FillRandom<VX_Pixel8>(src.get(), r);
  const VX_Pixel8 matte{255, 200, 50, 0};
  ASSERT_EQ(VX_PremulColor(nullptr, src.get(), &matte, 1, dst.get()), 0);
  auto mul = [](int c, int a) { return static_cast<int>(std::floor(c * a / 255.0 + 0.5)); };
  for (int32_t y = 0; y < 16; ++y)
    for (int32_t x = 0; x < 16; ++x) {
      const VX_Pixel8 s = *src.At<VX_Pixel8>(x, y), d = *dst.At<VX_Pixel8>(x, y);
      ASSERT_EQ(d.alpha, s.alpha);
      if (s.alpha == 255) {
        ASSERT_TRUE(SamePixel(s, d));
        continue;
      }
      // m + (c - m) x a / 255, rounded, on the signed difference.
      const int want = 200 + (s.red >= 200 ? mul(s.red - 200, s.alpha) : -mul(200 - s.red, s.alpha));
      ASSERT_LE(std::abs(d.red - want), 1) << int(s.red) << " " << int(s.alpha);
    }
  // Back again: close to the original where alpha is large.
  EffectWorld back(16, 16, 8);
  ASSERT_EQ(VX_PremulColor(nullptr, dst.get(), &matte, 0, back.get()), 0);
  for (int32_t y = 0; y < 16; ++y)
    for (int32_t x = 0; x < 16; ++x) {
      const VX_Pixel8 s = *src.At<VX_Pixel8>(x, y), b = *back.At<VX_Pixel8>(x, y);
      if (s.alpha > 64) {
        EXPECT_LE(std::abs(b.green - s.green), 255 / s.alpha + 2);
      }
    }
}

TEST(PremulColor, BlackTakesTheRowKernelsAndDepthsMustAgree) {
  EffectWorld a(3, 3, 16), b(3, 3, 16), c(3, 3, 8);
  *a.At<VX_Pixel16>(1, 1) = VX_Pixel16{16384, 32768, 16384, 2};
  const VX_Pixel16 black{32768, 0, 0, 0};
  ASSERT_EQ(VX_PremulColor16(nullptr, a.get(), &black, 1, b.get()), 0);
  EXPECT_TRUE(SamePixel(*b.At<VX_Pixel16>(1, 1), VX_Pixel16{16384, 16384, 8192, 1}));
  vxtest::TakeReports();
  EXPECT_EQ(VX_PremulColor16(nullptr, a.get(), &black, 1, c.get()), 3);
  const VX_PixelFloat grey{1, 0.5f, 0.5f, 0.5f};
  EXPECT_EQ(VX_PremulColorFloat(nullptr, a.get(), &grey, 1, c.get()), 3);
  vxtest::TakeReports();
}

TEST(BlackMatteRows, ArgbAndBgraAgree) {
  vxtest::Random r(3);
  std::vector<VX_Pixel8> argb(37);
  for (auto& p : argb) p = r.Pixel8();
  std::vector<uint8_t> bgra(37 * 4);
  for (size_t i = 0; i < argb.size(); ++i) {
    bgra[4 * i] = argb[i].blue;
    bgra[4 * i + 1] = argb[i].green;
    bgra[4 * i + 2] = argb[i].red;
    bgra[4 * i + 3] = argb[i].alpha;
  }
  std::vector<VX_Pixel8> out(37);
  ASSERT_EQ(VX_BlackMatte(nullptr, 37, argb.data(), out.data()), 0);
  ASSERT_EQ(VX_BlackMatteBGRA(nullptr, 37, bgra.data(), bgra.data()), 0);
  for (size_t i = 0; i < out.size(); ++i) {
    EXPECT_EQ(out[i].red, bgra[4 * i + 2]);
    EXPECT_EQ(out[i].alpha, bgra[4 * i + 3]);
  }
  ASSERT_EQ(VX_DeBlackMatteARGB(nullptr, 37, out.data(), out.data()), 0);
  ASSERT_EQ(VX_DeBlackMatteBGRA(nullptr, 37, bgra.data(), bgra.data()), 0);
  for (size_t i = 0; i < out.size(); ++i) EXPECT_EQ(out[i].green, bgra[4 * i + 1]);
  EXPECT_EQ(VX_BlackMatte(nullptr, 0, nullptr, nullptr), 0);
}

TEST(MatteToColour, AddsTheColoursShareForEachAlpha) {
  EffectWorld w(2, 1, 8), deep(2, 1, 16);
  *w.At<VX_Pixel8>(0, 0) = VX_Pixel8{0, 0, 0, 0};
  *w.At<VX_Pixel8>(1, 0) = VX_Pixel8{128, 100, 0, 50};
  const VX_Pixel8 matte{255, 255, 128, 10};
  ASSERT_EQ(VX_MatteBlackToMatteColorARGB(w.get(), &matte, 0), 0);
  EXPECT_TRUE(SamePixel(*w.At<VX_Pixel8>(0, 0), VX_Pixel8{0, 255, 128, 10}));
  EXPECT_TRUE(SamePixel(*w.At<VX_Pixel8>(1, 0), VX_Pixel8{128, 100 + 127, 64, 50 + 5}));
  vxtest::TakeReports();
  EXPECT_EQ(VX_MatteBlackToMatteColorARGB(deep.get(), &matte, 0), 3);
  EXPECT_EQ(vxtest::TakeReports().size(), 1u);
  const VX_Pixel8 black{255, 0, 0, 0};
  EXPECT_EQ(VX_MatteBlackToMatteColorBGRA(w.get(), &black, 0), 0);
}

TEST(ClearAlpha, OnlyOutsideTheRectangleAndOnlyAlpha) {
  for (int32_t depth : {8, 16, 32}) {
    EffectWorld w(5, 5, depth);
    const VX_PixelFloat white{1, 1, 1, 1};
    VX_FillFloat(nullptr, &white, nullptr, w.get());
    const GEO_LRect rect{3, 3, 1, 1};
    ASSERT_EQ(VX_ClearAlphaExceptRect(nullptr, &rect, w.get()), 0);
    std::unique_ptr<VX_World> view(VX_World::NewReference(w.get()));
    std::unique_ptr<VX_World> check(VX_World::New(5, 5, 32, 0));
    check->CopyRectPossiblyDifferentBitdepth(view.get(), GEO_LRect{0, 0, 5, 5}, false, 0, 0, nullptr);
    for (int32_t y = 0; y < 5; ++y)
      for (int32_t x = 0; x < 5; ++x) {
        const VX_PixelFloat& p = static_cast<VX_WorldFloat*>(check.get())->PixelAt(x, y)[0];
        EXPECT_EQ(p.alpha, (x >= 1 && x < 3 && y >= 1 && y < 3) ? 1.0f : 0.0f);
        EXPECT_EQ(p.blue, 1.0f);
      }
  }
  EXPECT_EQ(VX_ClearAlphaExceptRect(nullptr, nullptr, nullptr), 3);
  vxtest::TakeReports();
}

TEST(Numbers, RandFollowsItsStoredConstantsAndHypot) {
  uint32_t state = 1;
  EXPECT_EQ(VX_Rand(&state), 377);
  EXPECT_EQ(state, 48271u);
  uint32_t zero = 0;
  VX_Rand(&zero);
  EXPECT_EQ(zero, 0x7FFFFFFFu) << "a zero state restarts";
  // Independent: the two Schrage terms in 64-bit then cut to 32 bits.
  uint32_t s = 123456789;
  for (int i = 0; i < 1000; ++i) {
    const uint64_t v = (uint64_t(s % 44488) * 48271 + uint64_t(s / 44488) * 3399) & 0xFFFFFFFFu;
    const uint32_t want = v ? uint32_t(v) : 0x7FFFFFFFu;
    const int32_t result = VX_Rand(&s);
    ASSERT_EQ(s, want);
    ASSERT_EQ(result, int32_t((want >> 7) & 0x7FFF));
  }
  // One step from states across the whole 32-bit range, which dissolve
  // seeds reach.
  for (uint64_t start = 0; start <= 0xFFFFFFFFu; start += 65521) {
    uint32_t t = uint32_t(start);
    const uint64_t v = (uint64_t(t % 44488) * 48271 + uint64_t(t / 44488) * 3399) & 0xFFFFFFFFu;
    VX_Rand(&t);
    ASSERT_EQ(t, v ? uint32_t(v) : 0x7FFFFFFFu) << start;
  }
  EXPECT_DOUBLE_EQ(VX_Hypot(3, 4), 5);
}

}  // namespace
