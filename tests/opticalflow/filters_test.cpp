// Blur, zooms, moves and pyramids, against references computed here.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "opticalflow/FlowTestHost.h"
#include "vx/OpticalFlow.h"
#include "vxhost/KU.h"

namespace {

void Fill(FnFloatTexture& t, uint32_t seed) {
  std::mt19937 rng(seed);
  for (int32_t y = 0; y < t.height(); ++y)
    for (int32_t x = 0; x < t.width(); ++x) t.rawRow(y)[x] = float(rng() % 4096) / 4096.0f;
}

bool Same(const FnFloatTexture& a, const FnFloatTexture& b) {
  if (a.width() != b.width() || a.height() != b.height()) return false;
  for (int32_t y = 0; y < a.height(); ++y)
    for (int32_t x = 0; x < a.width(); ++x)
      if (a.rawRow(y)[x] != b.rawRow(y)[x]) return false;
  return true;
}

// The 1-D response of `boxes` extended boxes, convolved in double.
std::vector<double> BoxResponse(FnBoxRadius r, int32_t boxes) {
  std::vector<double> h{1.0};
  const double w = 1.0 / (2 * r.n + 1 + 2 * r.f);
  for (int32_t b = 0; b < boxes; ++b) {
    std::vector<double> next(h.size() + 2 * size_t(r.n + 1), 0.0);
    for (size_t i = 0; i < h.size(); ++i)
      for (int32_t d = -r.n - 1; d <= r.n + 1; ++d) {
        const double k = (std::abs(d) == r.n + 1) ? r.f * w : w;
        next[i + size_t(d + r.n + 1)] += h[i] * k;
      }
    h = next;
  }
  return h;
}

TEST(FlowBlur, BoxRadiiAddUpToTheGaussiansVariance) {
  for (float sigma : {0.5f, 1.0f, 1.7f, 3.0f, 6.25f}) {
    const FnBoxRadius r = FnBoxRadiusFor(sigma, 3, 1000.0f);
    const std::vector<double> h = BoxResponse(r, 3);
    double sum = 0, var = 0;
    const double centre = double(h.size() / 2);
    for (size_t i = 0; i < h.size(); ++i) sum += h[i], var += h[i] * (i - centre) * (i - centre);
    EXPECT_NEAR(sum, 1.0, 1e-6);  // the fraction is a float
    EXPECT_NEAR(var, double(sigma) * sigma, 1e-4) << sigma;
  }
  const FnBoxRadius r = FnBoxRadiusFor(2.3f, 3, 100.0f);
  const std::vector<double> h = BoxResponse(r, 3);
  const std::vector<float> k = FnBoxCascadeKernel(r, 3);
  ASSERT_EQ(k.size(), h.size());
  for (size_t i = 0; i < k.size(); ++i) EXPECT_NEAR(k[i], h[i], 1e-7);
  const FnBoxRadius capped = FnBoxRadiusFor(10.0f, 3, 2.5f);
  EXPECT_EQ(capped.n, 2);
  EXPECT_FLOAT_EQ(capped.f, 0.5f);
}

// Interior pixels of the blur are the separable convolution with the box
// response; edges clamp as the source does.
TEST(FlowBlur, MatchesTheSeparableReferenceAndClampsAtEdges) {
  FnFloatTexture s(23, 17), d(23, 17);
  Fill(s, 3);
  s.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  BlurGeneralGauss<float, float, 1> blur;
  blur.setSigma(1.5f, 1.0f);
  blur.process(&s, &d);
  const std::vector<double> hx = BoxResponse(FnBoxRadiusFor(1.5f, 3, 23 / 3.0f), 3);
  const std::vector<double> hy = BoxResponse(FnBoxRadiusFor(1.0f, 3, 17 / 3.0f), 3);
  const int32_t rx = int32_t(hx.size() / 2), ry = int32_t(hy.size() / 2);
  for (int32_t y = 0; y < 17; ++y)
    for (int32_t x = 0; x < 23; ++x) {
      double v = 0;
      for (int32_t j = -ry; j <= ry; ++j)
        for (int32_t i = -rx; i <= rx; ++i)
          v += hy[size_t(j + ry)] * hx[size_t(i + rx)] * s.read(x + i, y + j);
      ASSERT_NEAR(d.rawRow(y)[x], v, 2e-5) << x << "," << y;
    }
}

// Rows and columns are filtered alike; threads and working in place change
// nothing, to the bit.
TEST(FlowBlur, TransposedInputGivesTheTransposedResultOnAnyThreadCount) {
  FnFloatTexture s(37, 29), st(29, 37), d(37, 29), dt(29, 37), d3(37, 29);
  Fill(s, 8);
  for (int32_t y = 0; y < 29; ++y)
    for (int32_t x = 0; x < 37; ++x) st.rawRow(x)[y] = s.rawRow(y)[x];
  for (FnFloatTexture* t : {&s, &st}) t->setEdgeMode(FnEdge_Mirror, FnEdge_Mirror);
  BlurGeneralGauss<float, float, 1> blur;
  blur.setSigma(2.0f, 2.0f);
  blur.process(&s, &d);
  blur.process(&st, &dt);
  for (int32_t y = 0; y < 29; ++y)
    for (int32_t x = 0; x < 37; ++x) ASSERT_NEAR(d.rawRow(y)[x], dt.rawRow(x)[y], 1e-6);  // the axes' order differs
  {
    flowtest::ScopedHost host(flowtest::Runner::Pool, 3);
    blur.process(&s, &d3);
  }
  EXPECT_TRUE(Same(d, d3));
  blur.process(&s, &s);  // in place
  EXPECT_TRUE(Same(d, s));
}

TEST(FlowBlur, SampledKernelAndSingleAxisModes) {
  FnFloatTexture s(9, 6), d(9, 6);
  Fill(s, 4);
  s.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  BlurGeneralGauss<float, float, 1> blur;
  blur.setKernel({0.25f, 0.5f, 0.25f});
  blur.mode = BlurGeneralGauss<float, float, 1>::kVertical;
  blur.process(&s, &d);
  for (int32_t y = 0; y < 6; ++y)
    for (int32_t x = 0; x < 9; ++x)
      ASSERT_NEAR(d.rawRow(y)[x], 0.25f * s.read(x, y - 1) + 0.5f * s.read(x, y) + 0.25f * s.read(x, y + 1), 1e-6);
}

TEST(FlowZoom, FactorOneCopiesAndInvalidVectorsPassUnchanged) {
  FnFloatTexture s(11, 7), d(11, 7);
  Fill(s, 2);
  FnImageZoomSampler<float, float, 1, float, float, 1> zoom;
  zoom.process(&s, &d);
  EXPECT_EQ(zoom.xFactor, 1.0f);
  EXPECT_TRUE(Same(s, d));

  FnVectorTexture v(4, 4), w(8, 8);
  for (int32_t y = 0; y < 4; ++y)
    for (int32_t x = 0; x < 4; ++x) v.rawRow(y)[x] = HvVec2{float(x), float(-y)};
  v.rawRow(1)[2] = FnInvalidVector;
  v.rawRow(3)[0] = HvVec2{FnInvalidValue, 5.0f};
  ImageZoomerGP<HvVec2, HvVec2> up;  // half the blocks: vectors double
  up.zoomFlags |= FnZoom_Nearest;
  up.process(&v, &w);
  EXPECT_EQ(up.xFactor, 0.5f);
  EXPECT_EQ(w.rawRow(5)[7], (HvVec2{6.0f, -4.0f}));
  EXPECT_EQ(w.rawRow(3)[5], FnInvalidVector);
  EXPECT_EQ(w.rawRow(7)[1], (HvVec2{FnInvalidValue, 5.0f}));

  ImageZoomerBase<HvVec2, HvVec2> same;
  same.zoomFlags = FnZoom_Nearest;
  FnVectorTexture copy(4, 4);
  same.process(&v, &copy);
  for (int32_t y = 0; y < 4; ++y)
    for (int32_t x = 0; x < 4; ++x) ASSERT_EQ(copy.rawRow(y)[x], v.rawRow(y)[x]);
}

TEST(FlowZoom, NearestReadsOutsideAsTheOutsideValue) {
  FnIntTexture s(3, 3), d(5, 5);
  ColouredFrameGenerator<int, int, 1>(7).process(&s);
  s.setOutsideValue(-1);
  ImageZoomerBase<int, int> z;
  z.zoomFlags = FnZoom_Nearest | FnZoom_KeepFactors;
  z.xFactor = 0.8f;
  z.yFactor = 1.0f;
  z.process(&s, &d);
  EXPECT_EQ(d.rawRow(2)[3], 7);   // trunc(3 * 0.8) = 2
  EXPECT_EQ(d.rawRow(2)[4], -1);  // trunc(4 * 0.8) = 3 is past the source
  EXPECT_EQ(d.rawRow(3)[1], -1);
}

// The row-wise zoom against the texture's own bilinear sample at
// (x*xf + 0.5, y*yf + 0.5), over odd sizes, origins and every edge mode.
TEST(FlowZoom, RowZoomAgreesWithPerPixelSampling) {
  std::mt19937 rng(21);
  for (int trial = 0; trial < 40; ++trial) {
    FnFloatTexture s(int32_t(2 + rng() % 30), int32_t(2 + rng() % 30));
    Fill(s, uint32_t(trial));
    s.setEdgeMode(int32_t(rng() % 4), int32_t(rng() % 4));
    s.setOutsideValue(0.25f);
    s.setOrigin(float(rng() % 5) * 0.25f, -float(rng() % 3) * 0.5f);
    FnFloatTexture d(int32_t(1 + rng() % 40), int32_t(1 + rng() % 40));
    FnImageZoomSampler<float, float, 1, float, float, 1> zoom;
    zoom.process(&s, &d);
    for (int32_t y = 0; y < d.height(); ++y)
      for (int32_t x = 0; x < d.width(); ++x)
        ASSERT_EQ(d.rawRow(y)[x], s.sample(float(x) * zoom.xFactor + 0.5f, float(y) * zoom.yFactor + 0.5f))
            << trial << " " << x << "," << y;
  }
}

TEST(FlowMove, IdentityCopiesAndScalesReadThroughTheMatrix) {
  FnTexture8 p(5, 4), q(5, 4);
  for (int32_t y = 0; y < 4; ++y)
    for (int32_t x = 0; x < 5; ++x) p.rawRow(y)[x] = FnPixel8{{255, uint8_t(x * 40), uint8_t(y * 60), 9}};
  p.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnMoveSampler<FnPixel8, FnPixelF, 255> id;
  id.process(&p, &q);
  for (int32_t y = 0; y < 4; ++y)
    for (int32_t x = 0; x < 5; ++x) ASSERT_EQ(std::memcmp(&p.rawRow(y)[x], &q.rawRow(y)[x], 4), 0);

  FnFloatTexture s(20, 12), half(10, 6), nearest(10, 6);
  Fill(s, 6);
  s.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnDualMoveSampler<float, float, 1> move;
  move.setScale(2.0f, 2.0f);
  move.secondSource = &s;
  move.secondTarget = &nearest;
  move.process(&s, &half);
  for (int32_t y = 0; y < 6; ++y)
    for (int32_t x = 0; x < 10; ++x) {
      ASSERT_EQ(half.rawRow(y)[x], s.sample(2.0f * x + 1.0f, 2.0f * y + 1.0f));
      ASSERT_EQ(nearest.rawRow(y)[x], half.rawRow(y)[x]);
    }
  FnMoveSampler<float, float, 1> nn;
  nn.setScale(2.0f, 2.0f);
  nn.interpolation = FnMove_Nearest;
  nn.process(&s, &nearest);
  EXPECT_EQ(nearest.rawRow(2)[3], s.rawRow(5)[7]);  // centre (3.5,2.5) -> (7,5), the pixel it falls in
}

// Without rotation the move finds its columns once a band: the same values
// as sampling each target centre through the matrix, edges included.
TEST(FlowMove, AxisAlignedMovesMatchSamplingThroughTheMatrix) {
  std::mt19937 rng(12);
  FnVectorTexture v(17, 11);
  for (int32_t y = 0; y < 11; ++y)
    for (int32_t x = 0; x < 17; ++x) v.rawRow(y)[x] = {float(rng() % 100) / 7.0f, float(rng() % 100) / 9.0f};
  v.setEdgeMode(FnEdge_Clamp, FnEdge_Mirror);
  for (int trial = 0; trial < 20; ++trial) {
    const float sx = 0.1f + float(rng() % 300) / 100.0f, sy = 0.1f + float(rng() % 300) / 100.0f;
    const float ox = float(int(rng() % 40) - 20) / 3.0f, oy = float(int(rng() % 40) - 20) / 3.0f;
    FnVectorTexture out(23, 9), second(23, 9);
    FnDualMoveSampler<HvVec2, HvVec2, 1> move;
    move.setScale(sx, sy);
    move.matrix[6] = ox, move.matrix[7] = oy;
    move.secondSource = &v;
    move.secondTarget = &second;
    move.process(&v, &out);
    for (int32_t y = 0; y < 9; ++y)
      for (int32_t x = 0; x < 23; ++x) {
        const HvVec2 e = v.sample((float(x) + 0.5f) * sx + ox, (float(y) + 0.5f) * sy + oy);
        ASSERT_EQ(out.rawRow(y)[x], e) << trial << " " << x << "," << y;
        ASSERT_EQ(second.rawRow(y)[x], e);
      }
  }
}

TEST(FlowPyramid, LevelCountsAndSizes) {
  using Stack = FnMotionEstimateMapStackHolder<float, float, 1>;
  EXPECT_EQ(Stack::levelsFor(64, 64), 4);
  EXPECT_EQ(Stack::levelsFor(15, 15), 1);
  EXPECT_EQ(Stack::levelsFor(1920, 1080), 8);
  EXPECT_EQ(Stack::levelsFor(384, 216), 5);
  FnFloatTexture base(77, 45);
  Stack stack(&base, 4);
  ASSERT_EQ(stack.error, 0);
  ASSERT_EQ(stack.levels(), 4);
  const int32_t widths[] = {77, 38, 19, 9}, heights[] = {45, 22, 11, 5};
  for (int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(stack.level(i)->width(), widths[i]);
    EXPECT_EQ(stack.level(i)->height(), heights[i]);
    EXPECT_EQ(stack.owns(i), i > 0);
  }
  EXPECT_EQ(stack.level(0), &base);
}

// Each level is the level above blurred with sigma 1 (by the blur node, a
// different order of sums), then its even pixels.
TEST(FlowPyramid, LevelsAreDecimatedBlurs) {
  FnFloatTexture base(64, 48);
  Fill(base, 12);
  base.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnMotionEstimateMapStackHolder<float, float, 1> stack(&base, 3);
  FnInterruptRecord record;
  FnFilteredPyramidAlpha<float, float, 1> pyramid(&stack);
  pyramid.interrupt = &record;
  pyramid.build();
  EXPECT_EQ(record.error, 0);
  for (int32_t level = 1; level < 3; ++level) {
    const FnFloatTexture& above = *stack.level(level - 1);
    FnFloatTexture blurred(above.width(), above.height());
    BlurGeneralGauss<float, float, 1> blur;
    blur.process(&above, &blurred);
    const FnFloatTexture& l = *stack.level(level);
    for (int32_t y = 0; y < l.height(); ++y)
      for (int32_t x = 0; x < l.width(); ++x) ASSERT_NEAR(l.rawRow(y)[x], blurred.rawRow(2 * y)[2 * x], 1e-6);
  }
  // With the sampled kernel: weights exp(-k^2 / 4.5) over three taps.
  FnMotionEstimateMapStackHolder<float, float, 1> two(&base, 2);
  FnFilteredPyramid<float, float, 1> kernel(&two);
  kernel.useKernel = true;
  kernel.build();
  const double e = std::exp(-1.0 / 4.5), w0 = 1 / (1 + 2 * e), w1 = e / (1 + 2 * e);
  const double taps[3] = {w1, w0, w1};
  for (int32_t y = 0; y < 24; ++y)
    for (int32_t x = 0; x < 32; ++x) {
      double v = 0;
      for (int32_t j = -1; j <= 1; ++j)
        for (int32_t i = -1; i <= 1; ++i) v += taps[j + 1] * taps[i + 1] * base.read(2 * x + i, 2 * y + j);
      ASSERT_NEAR(two.level(1)->rawRow(y)[x], v, 1e-6) << x << "," << y;
    }
  FnFloatTexture one(8, 8);
  FnMotionEstimateMapStackHolder<float, float, 1> single(&one, 1);
  FnFilteredPyramid<float, float, 1> nothing(&single);
  nothing.build();  // a pyramid of one level has nothing to make
  EXPECT_EQ(single.levels(), 1);
}

TEST(FlowPyramid, AllocationFailuresFreeEverythingAndAbortWithFour) {
  FnFloatTexture base(64, 64);
  Fill(base, 1);
  const long long before = KU_AccountedBytes();
  for (long n = 0; n < 3; ++n) {
    KU_FailAllocationsAfter(n);
    FnMotionEstimateMapStackHolder<float, float, 1> stack(&base, 4);
    KU_FailAllocationsAfter(-1);
    EXPECT_EQ(stack.error, 4);
    EXPECT_EQ(stack.levels(), 0);
    EXPECT_EQ(KU_AccountedBytes(), before);
  }
  FnMotionEstimateMapStackHolder<float, float, 1> stack(&base, 4);
  ASSERT_EQ(stack.error, 0);
  EXPECT_GT(KU_AccountedBytes(), before);
  stack.clear();
  EXPECT_EQ(KU_AccountedBytes(), before);
}

TEST(FlowPyramid, AnInterruptedBuildLeavesTheLevelsAlone) {
  FnFloatTexture base(32, 32);
  Fill(base, 1);
  FnMotionEstimateMapStackHolder<float, float, 1> stack(&base, 3);
  ColouredFrameGenerator<float, float, 1>(-5.0f).process(stack.level(1));
  FnInterruptRecord record{0, nullptr, 1, 517};
  FnFilteredPyramid<float, float, 1> pyramid(&stack);
  pyramid.interrupt = &record;
  pyramid.build();
  EXPECT_EQ(stack.level(1)->rawRow(7)[7], -5.0f);
  EXPECT_EQ(record.error, 517);
}

}  // namespace
