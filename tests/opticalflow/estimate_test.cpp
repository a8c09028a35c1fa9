// The motion estimator: its pieces against references computed here, the
// two readings it settles, whole fields on images of known motion, and bad
// input, allocation failure and interruption.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "opticalflow/FlowImages.h"
#include "opticalflow/FlowTestHost.h"
#include "support/FailAllocations.h"
#include "vx/OpticalFlow.h"

namespace {

using flowtest::Runner;
using flowtest::ScopedHost;
using flowtest::Shifted;

TEST(FlowEstimatePieces, QuantiseGridAndRectangles) {
  EXPECT_EQ(FnQuantise({0.04f, 0.05f}, 0.1f), (HvVec2{0.0f, 0.1f}));
  EXPECT_EQ(FnQuantise({-0.05f, -0.06f}, 0.1f), (HvVec2{0.0f, -0.1f}));
  EXPECT_EQ(FnQuantise({FnInvalidValue, 0.26f}, 0.25f), (HvVec2{FnInvalidValue, 0.25f}));
  EXPECT_EQ(FnBlockCount(64, 6.0f, 2), 16);
  EXPECT_EQ(FnBlockCount(5, 6.0f, 2), 1);  // a count below 2 is 1
  EXPECT_EQ(FnBlockCount(1, 6.0f, 2), 1);
  EXPECT_EQ(FnBlockCount(384, 6.0f, 2), 96);
  using Stack = FnMotionEstimateMapStackHolder<float, float, 1>;
  EXPECT_EQ(Stack::levelsFor(64, 64), 4);
  EXPECT_EQ(Stack::levelsFor(15, 15), 1);
  EXPECT_EQ(Stack::levelsFor(384, 216), 5);
  // The last block of a row of 64 is pushed back inside the image.
  const FnBlockRect last = FnBlockRectangle(15, 0, 6.0f, 6.0f, 2, 64, 64);
  EXPECT_EQ(last.left, 58);
  EXPECT_EQ(last.right, 64);
  const FnBlockRect tiny = FnBlockRectangle(0, 0, 6.0f, 6.0f, 2, 3, 2);
  EXPECT_EQ(tiny.left, 0);
  EXPECT_EQ(tiny.right, 3);
  EXPECT_EQ(tiny.top, 2);
}

TEST(FlowEstimatePieces, RandomDrawsAndCandidateLists) {
  // Draws from state 0, worked out separately with 64-bit arithmetic.
  FnFlowRandom r;
  for (uint32_t expected : {220u, 613u, 21791u, 22173u, 11738u, 29228u}) EXPECT_EQ(r.draw(), expected);
  FnFlowRandom seeded{7};
  EXPECT_EQ(seeded.draw(), 13902u);
  // Compaction keeps the first of equal vectors, in order, and no invalid.
  std::mt19937 rng(5);
  for (int trial = 0; trial < 200; ++trial) {
    HvVec2 v[12];
    const int32_t n = int32_t(rng() % 12);
    for (int32_t i = 0; i < n; ++i)
      v[i] = rng() % 5 == 0 ? FnInvalidVector : HvVec2{float(rng() % 3) * 0.1f, float(rng() % 2)};
    std::vector<HvVec2> expected;
    for (int32_t i = 0; i < n; ++i) {
      bool seen = FnIsInvalid(v[i]);
      for (const HvVec2& e : expected) seen = seen || e == v[i];
      if (!seen) expected.push_back(v[i]);
    }
    const int32_t m = FnCompactCandidates(v, n);
    ASSERT_EQ(size_t(m), expected.size());
    for (int32_t i = 0; i < m; ++i) EXPECT_EQ(v[i], expected[size_t(i)]);
    // A shuffle is a permutation.
    FnFlowRandom s;
    HvVec2 w[12];
    for (int32_t i = 0; i < m; ++i) w[i] = v[i];
    s.shuffle(w, m);
    for (int32_t i = 0; i < m; ++i) EXPECT_EQ(std::count(w, w + m, v[i]), 1);
  }
}

// The block error by its definition: sample of A at the displaced centre,
// the floor/ceil tests on every pixel, the quarter rule.
float ReferenceBlockError(const FnFloatTexture& A, const FnFloatTexture& B, const FnBlockRect& r, HvVec2 v) {
  double sum = 0;
  int counted = 0;
  for (int32_t y = r.bottom; y < r.top; ++y)
    for (int32_t x = r.left; x < r.right; ++x) {
      const float sx = float(x) + 0.5f - v.x, sy = float(y) + 0.5f + v.y;
      if (std::floor(sx) < 0 || std::ceil(sx) >= A.width() || std::floor(sy) < 0 || std::ceil(sy) >= A.height())
        continue;
      sum += std::fabs(B.rawRow(y)[x] - A.sample(sx, sy));
      ++counted;
    }
  const int area = (r.right - r.left) * (r.top - r.bottom);
  return counted <= area / 4 ? FnInvalidValue : float(sum / counted);
}

TEST(FlowEstimatePieces, BlockErrorLoopsAgreeWithTheDefinition) {
  FnFloatTexture A(40, 30), B(40, 30), noMask(40, 30);
  flowtest::FillTexture(A, 1);
  flowtest::FillTexture(B, 2);
  for (int32_t y = 0; y < 30; ++y)
    for (int32_t x = 0; x < 40; ++x) noMask.rawRow(y)[x] = 0.0f;
  A.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  std::mt19937 rng(9);
  for (int trial = 0; trial < 300; ++trial) {
    const FnBlockRect r = FnBlockRectangle(int32_t(rng() % 10), int32_t(rng() % 8), 6.0f, 6.0f, 2, 40, 30);
    const HvVec2 v{float(int(rng() % 400) - 200) / 16.0f, float(int(rng() % 400) - 200) / 16.0f};
    const float fast = FnBlockError(A, B, nullptr, r, v);
    const float slow = FnBlockError(A, B, &noMask, r, v);  // a mask takes the general loop
    const float reference = ReferenceBlockError(A, B, r, v);
    if (reference == FnInvalidValue) {
      EXPECT_EQ(fast, FnInvalidValue);
      EXPECT_EQ(slow, FnInvalidValue);
      continue;
    }
    EXPECT_NEAR(fast, reference, 2e-6f) << v.x << " " << v.y;
    EXPECT_NEAR(slow, reference, 2e-6f);
  }
  // Zero motion against itself.
  EXPECT_EQ(FnBlockError(A, A, nullptr, FnBlockRectangle(1, 1, 6, 6, 2, 40, 30), HvVec2{0, 0}), 0.0f);
}

// An edge along one axis only: the gradient lies along the other axis, and
// the aperture branch must step along it alone, in the right direction.
TEST(FlowEstimateStep, ApertureStepsAlongTheGradientOnBothOrientations) {
  for (const bool vertical : {true, false}) {
    FnFloatTexture A(24, 24), B(24, 24);
    const float shift = 0.6f;
    for (int32_t y = 0; y < 24; ++y)
      for (int32_t x = 0; x < 24; ++x) {
        const float c = vertical ? float(x) : float(y);
        auto edge = [](float p) { return 1.0f / (1.0f + std::exp(-(p - 11.5f) * 0.8f)); };
        A.rawRow(y)[x] = edge(c + 0.5f);
        // B(x,y) = A(x - vx, y + vy): moved right by `shift`, or down in y.
        B.rawRow(y)[x] = vertical ? edge(c + 0.5f - shift) : edge(c + 0.5f + shift);
      }
    A.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
    const FnBlockRect r{8, 16, 8, 16};
    HvVec2 v{0.0f, 0.0f};
    const FnGradientStep s = FnGaussNewtonStep(A, B, nullptr, r, 0.0001f, &v);
    ASSERT_FALSE(s.finished);
    EXPECT_GT(s.result, 0.0f);
    if (vertical) {
      EXPECT_EQ(v.y, 0.0f);
      EXPECT_GT(v.x, 0.2f) << "x is subtracted: a move to the right is a positive x";
    } else {
      EXPECT_EQ(v.x, 0.0f);
      EXPECT_GT(v.y, 0.2f) << "y is added";
    }
    // Steps converge on the shift.
    for (int i = 0; i < 20; ++i) FnGaussNewtonStep(A, B, nullptr, r, 0.0001f, &v);
    EXPECT_NEAR(vertical ? v.x : v.y, shift, 0.05f);
  }
}

TEST(FlowEstimateStep, FlatAndDisplacedBlocksEndInvalid) {
  FnFloatTexture flat(20, 20), lighter(20, 20), textured(20, 20);
  for (int32_t y = 0; y < 20; ++y)
    for (int32_t x = 0; x < 20; ++x) flat.rawRow(y)[x] = 0.5f, lighter.rawRow(y)[x] = 0.7f;
  flowtest::FillTexture(textured, 3);
  flat.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  textured.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  const FnBlockRect r{4, 10, 4, 10};
  HvVec2 v{0.3f, -0.2f};
  FnGradientStep s = FnGaussNewtonStep(flat, lighter, nullptr, r, 0.01f, &v);
  EXPECT_TRUE(s.finished);
  EXPECT_TRUE(FnIsInvalid(v));
  v = {0.0f, 0.0f};
  s = FnGaussNewtonStep(textured, textured, nullptr, r, 0.01f, &v);
  EXPECT_FALSE(s.finished);
  EXPECT_EQ(s.result, 0.0f);  // converged at once
  EXPECT_EQ(v, (HvVec2{0.0f, 0.0f}));
  v = {-14.2f, 0.0f};  // the block's source lies right of the image but for its first column
  s = FnGaussNewtonStep(textured, flat, nullptr, r, 0.01f, &v);
  EXPECT_TRUE(s.finished);
  EXPECT_TRUE(FnIsInvalid(v));
}

// The reading of a finishing step: it undoes itself when an earlier step of
// the solve left the block valid; on the first step its verdict stands.
TEST(FlowEstimateStep, AFinishingStepKeepsTheLastValidVectorOfTheSolve) {
  auto scripted = [](std::vector<FnGradientStep> script) {
    size_t i = 0;
    return [script, i](HvVec2* v) mutable {
      const FnGradientStep s = script[i++];
      if (s.finished) *v = FnInvalidVector;
      else v->x += 1.0f;
      return s;
    };
  };
  // Walked out of the image after two steps: the vector after them stands.
  EXPECT_EQ(FnSolveBlockSteps({0, 0}, scripted({{0.5f, false}, {0.4f, false}, {0.0f, true}})), (HvVec2{2, 0}));
  // Flat from the start: invalid.
  EXPECT_TRUE(FnIsInvalid(FnSolveBlockSteps({0, 0}, scripted({{0.0f, true}}))));
  // A result of 0 stops: converged.
  EXPECT_EQ(FnSolveBlockSteps({0, 0}, scripted({{0.5f, false}, {0.0f, false}, {0.3f, false}})), (HvVec2{2, 0}));
  // Ten steps at most.
  EXPECT_EQ(FnSolveBlockSteps({0, 0}, scripted(std::vector<FnGradientStep>(12, {0.5f, false}))), (HvVec2{10, 0}));
}

TEST(FlowEstimateMonitor, ReadsChangedNeighboursInOrderFromItsCopy) {
  FnVectorTexture v(3, 3);
  for (int32_t y = 0; y < 3; ++y)
    for (int32_t x = 0; x < 3; ++x) v.rawRow(y)[x] = {float(x), float(y)};
  FnMotionEstimateGradientChangedNeighboursMonitor m;
  m(&v);
  HvVec2 n[8];
  ASSERT_EQ(m.neighbours(1, 1, n), 8);
  const HvVec2 order[8] = {{0, 2}, {1, 2}, {2, 2}, {0, 1}, {2, 1}, {0, 0}, {1, 0}, {2, 0}};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(n[i], order[i]);
  EXPECT_EQ(m.neighbours(0, 0, n), 3);
  m(&v);
  EXPECT_EQ(m.neighbours(1, 1, n), 0);  // nothing changed
  EXPECT_FALSE(m.sawInvalid.load());
  v.rawRow(2)[2] = FnInvalidVector;
  v.rawRow(0)[0] = {5, 5};
  m(&v);
  EXPECT_TRUE(m.sawInvalid.load());
  ASSERT_EQ(m.neighbours(1, 1, n), 2);
  EXPECT_TRUE(FnIsInvalid(n[0]));
  EXPECT_EQ(n[1], (HvVec2{5, 5}));
  // The mean skips invalid neighbours and the cell itself.
  const HvVec2 mean = m.neighbourMean(2, 2);
  EXPECT_FLOAT_EQ(mean.x, (1 + 2 + 1) / 3.0f);
  EXPECT_FLOAT_EQ(mean.y, (2 + 1 + 1) / 3.0f);
}

// ---- Whole fields.

bool AllZero(const FnVectorTexture& f) {
  for (int32_t y = 0; y < f.height(); ++y)
    for (int32_t x = 0; x < f.width(); ++x)
      if (!(f.rawRow(y)[x] == HvVec2{0.0f, 0.0f})) return false;
  return !f.empty();
}

TEST(FlowEstimateField, IdenticalImagesGiveAnAllZeroField) {
  FnFloatTexture A(64, 48);
  flowtest::FillTexture(A, 4);
  FnVectorTexture blocks, pixels;
  ASSERT_EQ(estimateField(FnEstimateSettings{}, &A, &A, nullptr, &blocks), 0);
  EXPECT_EQ(blocks.width(), 16);
  EXPECT_EQ(blocks.height(), 12);
  EXPECT_TRUE(AllZero(blocks));
  ASSERT_EQ(spreadToPixels(FnEstimateSettings{}, &A, &A, nullptr, &blocks, &pixels), 0);
  EXPECT_EQ(pixels.width(), 64);
  EXPECT_TRUE(AllZero(pixels));
}

// A smooth texture shifted by subpixel amounts: the pixel field away from the
// border (8 pixels) has a median error under 0.15 pixel and 95% of its
// vectors within 0.3 pixel of the shift, with both signs on both axes. (The
// grid is 0.1 pixel, and a block stops stepping once its mean error is below
// the convergence of 0.01, which on this texture is about 0.1 pixel.)
TEST(FlowEstimateField, FindsKnownSubpixelShiftsWithTheSignConvention) {
  ScopedHost host(Runner::Serial, 3);  // bands must not matter beyond the tolerance
  for (const HvVec2 shift : {HvVec2{1.3f, -0.7f}, HvVec2{-0.6f, 1.2f}, HvVec2{0.25f, 0.45f}, HvVec2{-2.4f, -1.6f}}) {
    FnFloatTexture A(96, 64), B(96, 64);
    Shifted(A, B, shift);
    FnVectorTexture field;
    ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &A, &B, nullptr, &field), 0);
    std::vector<float> errors;
    for (int32_t y = 8; y < 56; ++y)
      for (int32_t x = 8; x < 88; ++x) {
        const HvVec2 v = field.rawRow(y)[x];
        errors.push_back(std::hypot(v.x - shift.x, v.y - shift.y));
      }
    std::sort(errors.begin(), errors.end());
    EXPECT_LT(errors[errors.size() / 2], 0.15f) << shift.x << "," << shift.y;
    EXPECT_LT(errors[errors.size() * 95 / 100], 0.3f) << shift.x << "," << shift.y;
  }
}

TEST(FlowEstimateField, FlatImagesZeroEveryLevel) {
  FnFloatTexture A(64, 64), B(64, 64);
  for (int32_t y = 0; y < 64; ++y)
    for (int32_t x = 0; x < 64; ++x) A.rawRow(y)[x] = 0.25f, B.rawRow(y)[x] = 0.75f;
  A.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  B.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  using Stack = FnMotionEstimateMapStackHolder<float, float, 1>;
  Stack pa(&A, 4), pb(&B, 4);
  for (Stack* s : {&pa, &pb}) FnFilteredPyramidAlpha<float, float, 1>(s).build();
  FnVectorTexture blocks(16, 16);
  FnMotionEstimateGradientPyramid driver;
  driver.lumaPyramidA = &pa, driver.lumaPyramidB = &pb;
  driver.setSmoothness(500.0f);
  driver.process(&blocks);
  ASSERT_EQ(driver.zeroedLevels.size(), 4u);
  for (int32_t L = 0; L < 4; ++L) {
    EXPECT_TRUE(driver.zeroedLevels[size_t(L)]) << L;
    EXPECT_EQ(driver.searchPasses[size_t(L)], 105) << L;  // 5 passes and the 100 extra ones
  }
  EXPECT_TRUE(AllZero(blocks));
  FnVectorTexture pixels;
  EXPECT_EQ(estimatePixelField(FnEstimateSettings{}, &A, &B, nullptr, &pixels), 0);
  EXPECT_TRUE(AllZero(pixels));
}

TEST(FlowEstimateField, TinyAndMismatchedImages) {
  for (const auto& [w, h] : {std::pair{15, 15}, std::pair{1, 1}, std::pair{5, 3}, std::pair{2, 40}}) {
    FnFloatTexture A(w, h), B(w, h);
    flowtest::FillTexture(A, 6);
    flowtest::FillTexture(B, 7);
    FnVectorTexture blocks, pixels;
    ASSERT_EQ(estimateField(FnEstimateSettings{}, &A, &B, nullptr, &blocks), 0) << w << "x" << h;
    EXPECT_EQ(blocks.width(), FnBlockCount(w, 6.0f, 2));
    ASSERT_EQ(spreadToPixels(FnEstimateSettings{}, &A, &B, nullptr, &blocks, &pixels), 0);
    EXPECT_EQ(pixels.width(), w);
    EXPECT_EQ(pixels.height(), h);
  }
  FnFloatTexture A(16, 16), B(17, 16), empty;
  FnVectorTexture out;
  EXPECT_EQ(estimateField(FnEstimateSettings{}, &A, &B, nullptr, &out), 3);
  EXPECT_EQ(estimateField(FnEstimateSettings{}, &A, &empty, nullptr, &out), 3);
  EXPECT_EQ(estimatePixelField(FnEstimateSettings{}, &A, nullptr, nullptr, &out), 3);
}

// Every texture allocation in turn fails: 4, no field, nothing leaked (the
// ASan build checks that), and success once allocations go through.
TEST(FlowEstimateField, AllocationFailureAtAnyTexture) {
  FnFloatTexture A(48, 40), B(48, 40);
  Shifted(A, B, {0.8f, 0.4f});
  int32_t result = -1;
  long n = 0;
  for (; n < 400 && result != 0; ++n) {
    FnVectorTexture field;
    {
      vxtest::FailAllocationsScope fail(n);
      result = estimatePixelField(FnEstimateSettings{}, &A, &B, nullptr, &field);
    }
    if (result != 0) {
      EXPECT_EQ(result, 4) << n;
      EXPECT_TRUE(field.empty()) << n;
    }
  }
  EXPECT_EQ(result, 0);
  EXPECT_GT(n, 10);  // it did fail at many places
}

// The host's abort function says stop at its k-th call: the code comes back,
// and no partial field is kept.
TEST(FlowEstimateField, InterruptionAtAnyStageKeepsNoField) {
  FnFloatTexture A(48, 40), B(48, 40);
  Shifted(A, B, {0.8f, 0.4f});
  static int calls, stopAt;
  FnInterruptRecord record;
  record.abortFunction = [](uint64_t) -> int32_t { return ++calls >= stopAt ? 517 : 0; };
  int32_t result = -1;
  int k = 1;
  for (; k < 5000 && result != 0; k += (k < 50 ? 1 : 37)) {
    calls = 0, stopAt = k;
    record.aborted = 0, record.error = 0;
    FnVectorTexture field;
    result = estimatePixelField(FnEstimateSettings{}, &A, &B, &record, &field);
    if (result != 0) {
      EXPECT_EQ(result, 517) << k;
      EXPECT_TRUE(field.empty()) << k;
    }
  }
  EXPECT_EQ(result, 0);
}

TEST(FlowEstimateField, SingleCandidatePixelsComputeNoCost) {
  // A uniform block field: every pixel's candidates are one vector.
  FnFloatTexture A(30, 20);
  flowtest::FillTexture(A, 8);
  FnVectorTexture blocks(8, 5), zoomed(30, 20), out(30, 20);
  for (int32_t y = 0; y < 20; ++y)
    for (int32_t x = 0; x < 30; ++x) zoomed.rawRow(y)[x] = {0.5f, -0.5f};
  FnMotionEstimateGradientSmoothVectorsInitialAssignment initial;
  initial.lumaA = &A, initial.lumaB = &A;
  initial(&zoomed, &out);
  EXPECT_EQ(initial.costsComputed.load(), 0);
  EXPECT_EQ(out.rawRow(10)[10], (HvVec2{0.5f, -0.5f}));
  // Two vectors: costs are computed where both are in reach.
  for (int32_t y = 0; y < 20; ++y)
    for (int32_t x = 15; x < 30; ++x) zoomed.rawRow(y)[x] = {0.0f, 0.0f};
  FnMotionEstimateGradientSmoothVectorsInitialAssignment again;
  again.lumaA = &A, again.lumaB = &A;
  again(&zoomed, &out);
  EXPECT_GT(again.costsComputed.load(), 0);
  EXPECT_EQ(out.rawRow(10)[20], (HvVec2{0.0f, 0.0f}));  // A against itself: zero matches
}

TEST(FlowEstimateField, RowColumnAndErrorMonitoredModes) {
  FnFloatTexture A(96, 64), B(96, 64);
  const HvVec2 shift{1.0f, -0.5f};
  Shifted(A, B, shift);
  for (const bool rowColumn : {false, true}) {
    FnEstimateSettings s;
    s.useRowColumnMode = rowColumn;
    s.monitorError = !rowColumn;
    FnVectorTexture field;
    ASSERT_EQ(estimatePixelField(s, &A, &B, nullptr, &field), 0);
    std::vector<float> errors;
    for (int32_t y = 8; y < 56; ++y)
      for (int32_t x = 8; x < 88; ++x) {
        const HvVec2 v = field.rawRow(y)[x];
        errors.push_back(std::hypot(v.x - shift.x, v.y - shift.y));
      }
    std::sort(errors.begin(), errors.end());
    // Coarser modes, coarser tolerance: the median within 0.35 pixel.
    EXPECT_LT(errors[errors.size() / 2], 0.35f) << (rowColumn ? "row/column" : "error-monitored");
  }
}

}  // namespace
