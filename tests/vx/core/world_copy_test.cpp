// Copies between worlds: placement and clipping, every depth pair against an
// independent computation, dither, fields and progress.
#include <cmath>
#include <cstring>

#include "support/TestWorlds.h"

namespace {

std::unique_ptr<VX_World> Make(int32_t w, int32_t h, int16_t depth) {
  return std::unique_ptr<VX_World>(VX_World::New(w, h, depth, VX_WorldFlag_Clear));
}

template <class Pixel>
Pixel* Row(VX_World& w, int32_t y) {
  return static_cast<VX_WorldX<Pixel>&>(w).Row(y);
}

// The conversions written out from their definitions, independently of the
// package's code.
double Expected(double v, int from, int to) {
  if (from == to) return from == 32 ? static_cast<float>(v) : v;
  if (from == 8 && to == 16) return std::floor((v * 32768 + 128) / 255);
  if (from == 16 && to == 8) return std::floor((v * 255 + 16384) / 32768);
  if (from == 8 && to == 32) return static_cast<float>(v / 255.0);
  if (from == 16 && to == 32) return static_cast<float>(v / 32768.0);
  const float white = to == 8 ? 255.0f : 32768.0f;
  const float x = static_cast<float>(v) * white;
  if (!(x >= 0)) return 0;
  if (x > white) return white;
  return std::floor(x + 0.5f);
}

template <class Pixel>
double Get(const Pixel& p, int c) {
  return c == 0 ? p.alpha : c == 1 ? p.red : c == 2 ? p.green : p.blue;
}

template <class Pixel>
void Set(Pixel& p, int c, double v) {
  typedef typename VX_PixelTraits<Pixel>::Channel Ch;
  (c == 0 ? p.alpha : c == 1 ? p.red : c == 2 ? p.green : p.blue) = static_cast<Ch>(v);
}

// Source values: every 8-bit code, a dense walk over 16 bits, floats around
// and beyond the range, NaN included.
std::vector<double> SourceValues(int depth) {
  std::vector<double> v;
  if (depth == 8)
    for (int i = 0; i < 256; ++i) v.push_back(i);
  else if (depth == 16)
    for (int i = 0; i <= 32768; i += 7) v.push_back(i);
  else {
    for (int i = -300; i <= 70000; i += 13) v.push_back(i / 65536.0);
    for (double f : {-1e30, -0.0, 1.0, 2.0, 1e30, std::nan("")}) v.push_back(f);
  }
  return v;
}

template <class Src, class Dst>
void CheckPair() {
  const int from = VX_PixelTraits<Src>::kDepth, to = VX_PixelTraits<Dst>::kDepth;
  const std::vector<double> values = SourceValues(from);
  const int32_t width = 64;
  const int32_t height = static_cast<int32_t>((values.size() + width - 1) / width);
  auto src = Make(width, height, static_cast<int16_t>(from));
  auto dst = Make(width, height, static_cast<int16_t>(to));
  for (size_t i = 0; i < values.size(); ++i) {
    Src& p = Row<Src>(*src, static_cast<int32_t>(i / width))[i % width];
    for (int c = 0; c < 4; ++c) Set(p, c, values[(i + c * 17) % values.size()]);
  }
  dst->CopyRectPossiblyDifferentBitdepth(src.get(), GEO_LRect{0, 0, width, height}, false, 0, 0, nullptr);
  for (size_t i = 0; i < values.size(); ++i) {
    const Dst& p = Row<Dst>(*dst, static_cast<int32_t>(i / width))[i % width];
    for (int c = 0; c < 4; ++c) {
      const double v = values[(i + c * 17) % values.size()];
      const double want = Expected(v, from, to);
      if (std::isnan(want)) {
        ASSERT_TRUE(std::isnan(Get(p, c)));
      } else if (from != to || !std::isnan(v)) {
        ASSERT_EQ(Get(p, c), want) << from << "->" << to << " value " << v << " channel " << c;
      }
    }
  }
}

TEST(DepthCopy, EveryPairAgainstTheDefinitions) {
  for (int vector = 0; vector < 2; ++vector) {
    vxtest::CPUScope cpu(vector, vector, vector);
    CheckPair<VX_Pixel8, VX_Pixel8>();
    CheckPair<VX_Pixel8, VX_Pixel16>();
    CheckPair<VX_Pixel8, VX_PixelFloat>();
    CheckPair<VX_Pixel16, VX_Pixel8>();
    CheckPair<VX_Pixel16, VX_Pixel16>();
    CheckPair<VX_Pixel16, VX_PixelFloat>();
    CheckPair<VX_PixelFloat, VX_Pixel8>();
    CheckPair<VX_PixelFloat, VX_Pixel16>();
    CheckPair<VX_PixelFloat, VX_PixelFloat>();
  }
}

TEST(DepthCopy, DitherStaysWithinOneLevelAndVaries) {
  auto src16 = Make(256, 16, 16), srcf = Make(256, 16, 32);
  vxtest::Random random(5);
  vxtest::FillRandom<VX_Pixel16>(src16.get(), random);
  vxtest::FillRandom<VX_PixelFloat>(srcf.get(), random);
  for (auto* src : {src16.get(), srcf.get()}) {
    for (int16_t to : {8, 16}) {
      if (src->Depth() == to) continue;
      auto plain = Make(256, 16, to), dithered = Make(256, 16, to);
      const GEO_LRect all{0, 0, 256, 16};
      plain->CopyRectPossiblyDifferentBitdepth(src, all, false, 0, 0, nullptr);
      VX_ResetDitherRandomIndex();
      dithered->CopyRectPossiblyDifferentBitdepth(src, all, true, 0, 0, nullptr);
      int differ = 0;
      for (int32_t y = 0; y < 16; ++y)
        for (int32_t x = 0; x < 256 * 4; ++x) {
          double a, b;
          if (to == 8) {
            a = reinterpret_cast<uint8_t*>(Row<VX_Pixel8>(*plain, y))[x];
            b = reinterpret_cast<uint8_t*>(Row<VX_Pixel8>(*dithered, y))[x];
          } else {
            a = reinterpret_cast<uint16_t*>(Row<VX_Pixel16>(*plain, y))[x];
            b = reinterpret_cast<uint16_t*>(Row<VX_Pixel16>(*dithered, y))[x];
          }
          ASSERT_LE(std::fabs(a - b), 1.0);
          differ += a != b;
        }
      EXPECT_GT(differ, 1000) << "dither moves values across levels";
      // The noise cursor decides the result: the same start gives the same pixels.
      auto again = Make(256, 16, to);
      VX_ResetDitherRandomIndex();
      again->CopyRectPossiblyDifferentBitdepth(src, all, true, 0, 0, nullptr);
      for (int32_t y = 0; y < 16; ++y)
        ASSERT_EQ(std::memcmp(again->Depth() == 8 ? static_cast<void*>(Row<VX_Pixel8>(*again, y))
                                                  : static_cast<void*>(Row<VX_Pixel16>(*again, y)),
                              dithered->Depth() == 8 ? static_cast<void*>(Row<VX_Pixel8>(*dithered, y))
                                                     : static_cast<void*>(Row<VX_Pixel16>(*dithered, y)),
                              256 * to / 2),
                  0);
    }
  }
}

TEST(DepthCopy, PlacementClipsWithoutShifting) {
  auto src = Make(10, 10, 8), dst = Make(6, 6, 8);
  for (int32_t y = 0; y < 10; ++y)
    for (int32_t x = 0; x < 10; ++x) Row<VX_Pixel8>(*src, y)[x] = VX_Pixel8{255, uint8_t(x), uint8_t(y), 0};
  // rect (-2, 3, 12, 5) at (1, -1): dx = 3, dy = -4.
  dst->CopyRect(src.get(), GEO_LRect{-2, 3, 12, 5}, 1, -1);
  for (int32_t y = 0; y < 6; ++y)
    for (int32_t x = 0; x < 6; ++x) {
      const VX_Pixel8& p = Row<VX_Pixel8>(*dst, y)[x];
      const bool covered = x >= 3 && y == 0;
      EXPECT_EQ(p.alpha, covered ? 255 : 0) << x << "," << y;
      if (covered) {
        EXPECT_EQ(p.red, x - 3);
        EXPECT_EQ(p.green, y + 4);
      }
    }
  auto deep = Make(6, 6, 16);
  vxtest::TakeReports();
  EXPECT_THROW(dst->CopyRect(deep.get(), GEO_LRect{0, 0, 6, 6}, 0, 0), VX_Err);
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "Src and dest bitdepths are different in VX_World::CopyRect"));
}

TEST(DepthCopy, FieldsPickRowsByDestinationIndex) {
  auto src = Make(4, 6, 8);
  const VX_Pixel16 white{32768, 32768, 32768, 32768};
  src->Fill(white, nullptr);
  for (int32_t field : {1, 2, 0}) {
    auto dst = Make(4, 6, 16);
    dst->CopyRectPossiblyDifferentBitdepthWithField(src.get(), GEO_LRect{0, 0, 4, 6}, field);
    for (int32_t y = 0; y < 6; ++y) {
      const bool copied = field == 1 ? y % 2 == 0 : field == 2 ? y % 2 == 1 : true;
      EXPECT_EQ(Row<VX_Pixel16>(*dst, y)[3].alpha, copied ? 32768 : 0) << field << " " << y;
    }
  }
}

struct Asked {
  std::vector<int32_t> rows;
  VX_Err answer = 0;
};

VX_Err AskProgress(void* refcon, int32_t current, int32_t total) {
  auto* a = static_cast<Asked*>(refcon);
  a->rows.push_back(current);
  EXPECT_EQ(total, 150);
  return a->answer;
}

TEST(DepthCopy, ProgressEverySixtyFourRowsAndStopping) {
  auto src = Make(3, 150, 32), dst = Make(3, 150, 8);
  const VX_PixelFloat one{1, 1, 1, 1};
  src->Fill(one, nullptr);
  Asked asked;
  VX_ProgressInfo progress{&asked, nullptr, AskProgress};
  dst->CopyRectPossiblyDifferentBitdepth(src.get(), GEO_LRect{0, 0, 3, 150}, false, 0, 0, &progress);
  EXPECT_EQ(asked.rows, (std::vector<int32_t>{63, 127}));
  auto stopped = Make(3, 150, 8);
  Asked stop{{}, 517};
  progress.refcon = &stop;
  try {
    stopped->CopyRectPossiblyDifferentBitdepth(src.get(), GEO_LRect{0, 0, 3, 150}, false, 0, 0, &progress);
    ADD_FAILURE();
  } catch (VX_Err e) {
    EXPECT_EQ(e, 517);
  }
  EXPECT_EQ(Row<VX_Pixel8>(*stopped, 63)[0].alpha, 255);
  EXPECT_EQ(Row<VX_Pixel8>(*stopped, 64)[0].alpha, 0);
}

}  // namespace
