// Every mode's rows on the vector forms this CPU offers against the same
// rows on the scalar kernels, at each depth, with and without mask,
// opacity and linear tables. Bit for bit, except 8-bit over without tables,
// which may differ by one code value.
#include <cstdlib>

#include "core/Internal.h"
#include "vx/composite/spans/SpanTestSupport.h"

namespace {

using st::Ch;

template <class Pixel>
class VectorRows : public ::testing::Test {};
TYPED_TEST_SUITE(VectorRows, XferDepths);

// Runs of clear and opaque source pixels, so that whole blocks take the
// skips and shortcuts as well as the general path.
template <class Pixel>
void AddAlphaRuns(vxtest::Random& r, std::vector<Pixel>& row) {
  for (size_t i = 0; i < row.size();) {
    const size_t run = static_cast<size_t>(r.Int(1, 20));
    const int kind = r.Int(0, 2);
    for (size_t j = i; j < std::min(row.size(), i + run); ++j)
      if (kind < 2) row[j].alpha = kind == 0 ? Ch<Pixel>(0) : Ch<Pixel>(xt::kW<Pixel>);
    i += run;
  }
}

template <class Pixel>
bool Close(const Pixel& a, const Pixel& b, int tolerance) {
  if (tolerance == 0) return vxtest::SamePixel(a, b);
  auto near = [&](auto x, auto y) { return std::abs(int(x) - int(y)) <= tolerance; };
  return near(a.alpha, b.alpha) && near(a.red, b.red) && near(a.green, b.green) && near(a.blue, b.blue);
}

TYPED_TEST(VectorRows, MatchTheScalarKernels) {
  typedef TypeParam Pixel;
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  const auto tables = xt::GammaTables(2.2);
  const Ch<Pixel> partial = xt::kFloat<Pixel> ? Ch<Pixel>(0.625f) : Ch<Pixel>(xt::kW<Pixel> * 5 / 8);
  st::OnEachWideForm([&] {
    vxtest::Random r(41);
    for (int32_t mode = -3; mode < xt::kModes; ++mode) {
      if (mode == XferNone) continue;
      for (int trial = 0; trial < 8; ++trial) {
        const size_t n = static_cast<size_t>(r.Int(1, 70));
        auto src = st::RandomRow<Pixel>(r, n);
        const auto dst = st::RandomRow<Pixel>(r, n), mask = st::RandomRow<Pixel>(r, n);
        if (trial & 1) AddAlphaRuns(r, src);
        const bool with_mask = trial & 2;
        const Ch<Pixel> opacity = trial & 4 ? partial : xt::kW<Pixel>;
        const VX_LinearBlendingTables* linear = trial & 1 ? tables.get() : nullptr;
        auto fast = dst, slow = dst;
        ASSERT_EQ(st::Pipeline<Pixel>(mode, opacity, false, src, with_mask ? &mask : nullptr, fast, linear, 5), 0);
        {
          vxtest::CPUScope scalar(0, 0, 0);
          ASSERT_EQ(st::Pipeline<Pixel>(mode, opacity, false, src, with_mask ? &mask : nullptr, slow, linear, 5), 0);
        }
        const int tolerance = std::is_same_v<Pixel, VX_Pixel8> && mode == XferOver && !linear ? 1 : 0;
        for (size_t i = 0; i < n; ++i)
          ASSERT_TRUE(Close(fast[i], slow[i], tolerance))
              << xt::ModeName(mode) << " trial " << trial << " pixel " << i << " of " << n << ": s " << src[i] << " d "
              << dst[i] << ": vector " << fast[i] << " scalar " << slow[i];
      }
    }
  });
}

// The conversions to linear light and back on every stored value: rows of
// every code through a clear source (the destination's round trip) and an
// opaque one (the source's), with tables whose entries jump about and reach
// white, so that a misread neighbour or sign shows. Vector against scalar.
TEST(VectorRows, LinearConversionsMatchOnEveryValue) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  vxtest::Random r(43);
  VX_LinearBlendingTables tables;
  for (auto& e : tables.to_linear) e = static_cast<uint16_t>(r.Int(0, 32768));
  for (auto& e : tables.from_linear) e = static_cast<uint16_t>(r.Int(0, 32768));
  tables.to_linear[255] = tables.from_linear[4096] = 32768;
  tables.to_linear_gamma = tables.from_linear_gamma = 1;
  auto check = [&](auto pixel, int32_t values) {
    typedef decltype(pixel) Pixel;
    std::vector<Pixel> codes(static_cast<size_t>(values) + 5);
    for (size_t i = 0; i < codes.size(); ++i) {
      const auto v = static_cast<Ch<Pixel>>(i % static_cast<size_t>(values));
      codes[i] = Pixel{v, v, static_cast<Ch<Pixel>>(values - 1 - v), static_cast<Ch<Pixel>>((v * 7 + 3) % values)};
    }
    for (const Ch<Pixel> a : {Ch<Pixel>(0), Ch<Pixel>(xt::kW<Pixel>)}) {
      std::vector<Pixel> src(codes.size(), Pixel{a, 0, 0, 0});
      const std::vector<Pixel>& dst = a ? std::vector<Pixel>(codes.size(), Pixel{}) : codes;
      if (a) src = codes;
      for (auto& p : src) p.alpha = a;
      auto fast = dst, slow = dst;
      ASSERT_EQ(st::Pipeline<Pixel>(XferOver, xt::kW<Pixel>, false, src, nullptr, fast, &tables, 5), 0);
      {
        vxtest::CPUScope scalar(0, 0, 0);
        ASSERT_EQ(st::Pipeline<Pixel>(XferOver, xt::kW<Pixel>, false, src, nullptr, slow, &tables, 5), 0);
      }
      for (size_t i = 0; i < codes.size(); ++i)
        ASSERT_TRUE(vxtest::SamePixel(fast[i], slow[i])) << "source alpha " << int(a) << " pixel " << i << ": " << codes[i]
                                               << ": vector " << fast[i] << " scalar " << slow[i];
    }
  };
  check(VX_Pixel8{}, 256);
  check(VX_Pixel16{}, 65536);
}

}  // namespace
