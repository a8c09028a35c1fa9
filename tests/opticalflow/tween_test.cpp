// The tweener and the picture: time rounding, candidates, the pair search on
// known motion, zero fields as a cross-fade at every depth, the long filter,
// missing vectors, and failures.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "opticalflow/FlowImages.h"
#include "opticalflow/FlowTestHost.h"
#include "support/FailAllocations.h"
#include "vxhost/KU.h"
#include "vx/OpticalFlow.h"

namespace {

using flowtest::Shifted;

TEST(FlowTween, TimeIsRoundedToSteps) {
  EXPECT_EQ(FnRoundTweenTime(0.0012), 0.0f);
  EXPECT_FLOAT_EQ(FnRoundTweenTime(0.0026), 0.005f);
  EXPECT_FLOAT_EQ(FnRoundTweenTime(0.5), 0.5f);
  EXPECT_FLOAT_EQ(FnRoundTweenTime(1.25), 0.25f);  // the fractional part
  EXPECT_FLOAT_EQ(FnRoundTweenTime(-0.25), 0.75f);
  EXPECT_FLOAT_EQ(FnRoundTweenTime(0.999), 1.0f);
  // Near times give the same t.
  EXPECT_EQ(FnRoundTweenTime(0.3001), FnRoundTweenTime(0.3019));
}

TEST(FlowTween, TemporalCandidatesLandWhereTheVectorPassesAtT) {
  FnVectorTexture field(8, 6);
  for (int32_t y = 0; y < 6; ++y)
    for (int32_t x = 0; x < 8; ++x) field.rawRow(y)[x] = FnInvalidVector;
  field.rawRow(2)[3] = {2.0f, 1.0f};  // at t = 0.25 from B's grid: w = 0.75
  field.rawRow(2)[4] = {2.0f, 1.0f};
  field.rawRow(0)[0] = {9.0f, 0.0f};  // passes outside: nothing
  FnCandidateLists lists;
  ASSERT_TRUE(lists.allocate(8, 6));
  FnMotionEstimateGradientTweenerGenerateTemporalCandidates node;
  node.width = 8, node.height = 6, node.time = 0.25f;
  node.fieldB = &field;
  node.candidatesB = &lists;
  node.process();
  // (3 + 0.5 - 1.5, 2 + 0.5 + 0.75) -> pixel (2, 3); (4,2) -> (3, 3).
  ASSERT_EQ(lists.at(2, 3).size, 1);
  EXPECT_EQ(lists.at(2, 3).data()[0], (HvVec2{2.0f, 1.0f}));
  EXPECT_EQ(lists.at(3, 3).size, 1);
  int total = 0;
  for (int32_t y = 0; y < 6; ++y)
    for (int32_t x = 0; x < 8; ++x) total += lists.at(x, y).size;
  EXPECT_EQ(total, 2);
  // A list grows past its room in place and keeps no repeats.
  FnCandidateList& l = lists.at(0, 0);
  for (int i = 0; i < 10; ++i) l.add({float(i), 0});
  EXPECT_EQ(l.size, 10);
  EXPECT_TRUE(l.contains({7, 0}));
}

// A known translation: a = -v, b = v at t = 0.5, and the picture close to
// the true middle frame.
TEST(FlowTween, FindsOppositeVectorsOnATranslation) {
  const HvVec2 v{1.2f, -0.6f};
  FnFloatTexture A(64, 48), B(64, 48);
  Shifted(A, B, v);
  FnVectorTexture fieldA, fieldB, va, vb;
  FnIntTexture labels;
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &A, &B, nullptr, &fieldB), 0);
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &B, &A, nullptr, &fieldA), 0);
  ASSERT_EQ(tween(FnTweenSettings{}, 0.5, &A, &B, &fieldA, &fieldB, nullptr, &va, &vb, &labels), 0);
  std::vector<float> errors;
  for (int32_t y = 8; y < 40; ++y)
    for (int32_t x = 8; x < 56; ++x) {
      EXPECT_EQ(labels.rawRow(y)[x], 0);
      const HvVec2 a = va.rawRow(y)[x], b = vb.rawRow(y)[x];
      errors.push_back(std::max(std::hypot(a.x + v.x, a.y + v.y), std::hypot(b.x - v.x, b.y - v.y)));
    }
  std::sort(errors.begin(), errors.end());
  EXPECT_LT(errors[errors.size() / 2], 0.15f);
  EXPECT_LT(errors[errors.size() * 9 / 10], 0.3f);
}

template <class P>
float White() {
  return std::is_same_v<P, FnPixel8> ? 255.0f : std::is_same_v<P, FnPixel16> ? 32768.0f : 1.0f;
}

template <class P>
void Paint(FnTexture<P, FnPixelF>& t, uint32_t seed) {
  const float w = White<P>();
  for (int32_t y = 0; y < t.height(); ++y)
    for (int32_t x = 0; x < t.width(); ++x) {
      P& p = t.rawRow(y)[x];
      auto c = [&](float v) { return decltype(p.red)(w == 1.0f ? v : std::floor(v * w + 0.5f)); };
      p.alpha = c(flowtest::Pattern(x, y, seed));
      p.red = c(flowtest::Pattern(x, y, seed + 1));
      p.green = c(flowtest::Pattern(y, x, seed + 2));
      p.blue = c(flowtest::Pattern(x * 0.5f, y, seed + 3));
    }
  t.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
}

// With both fields zero every pair is (0,0) and the picture is the plain
// cross-fade b*t + a*(1-t) in 0..1 units, rounded to the depth.
template <class P>
void ZeroFieldsCrossFade() {
  const int32_t W = 40, H = 30;  // frames of twice the proxy's size
  FnTexture<P, FnPixelF> A(W, H), B(W, H), out(W, H);
  Paint(A, 1);
  Paint(B, 5);
  FnFloatTexture lumaA(20, 15), lumaB(20, 15);
  flowtest::FillTexture(lumaA, 1);
  flowtest::FillTexture(lumaB, 2);
  FnVectorTexture zero(20, 15), va, vb;
  for (int32_t y = 0; y < 15; ++y)
    for (int32_t x = 0; x < 20; ++x) zero.rawRow(y)[x] = {0.0f, 0.0f};
  FnIntTexture labels;
  for (const double time : {0.3, 0.5, 0.815}) {
    ASSERT_EQ(tween(FnTweenSettings{}, time, &lumaA, &lumaB, &zero, &zero, nullptr, &va, &vb, &labels), 0);
    for (int32_t y = 0; y < 15; ++y)
      for (int32_t x = 0; x < 20; ++x) {
        ASSERT_EQ(va.rawRow(y)[x], (HvVec2{0, 0}));
        ASSERT_EQ(vb.rawRow(y)[x], (HvVec2{0, 0}));
      }
    ASSERT_EQ(buildPicture(FnTweenSettings{}, time, &A, &B, &va, &vb, &labels, nullptr, &out), 0);
    const float t = FnRoundTweenTime(time), w = White<P>();
    for (int32_t y = 0; y < H; ++y)
      for (int32_t x = 0; x < W; ++x) {
        const P a = A.rawRow(y)[x], b = B.rawRow(y)[x], o = out.rawRow(y)[x];
        auto fade = [&](float cb, float ca) {
          const float v = ((cb / w) * t + float(double(ca / w) * (1.0 - double(t)))) * w;
          return w == 1.0f ? v : std::min(std::floor(v + 0.5f), float(P::kMax));
        };
        ASSERT_EQ(float(o.red), fade(b.red, a.red)) << x << "," << y << " t " << t;
        ASSERT_EQ(float(o.alpha), fade(b.alpha, a.alpha));
        ASSERT_EQ(float(o.green), fade(b.green, a.green));
        ASSERT_EQ(float(o.blue), fade(b.blue, a.blue));
      }
  }
  // At the ends a frame is copied.
  for (const double time : {0.0, 0.001, 0.9991}) {
    ASSERT_EQ(buildPicture(FnTweenSettings{}, time, &A, &B, &va, &vb, &labels, nullptr, &out), 0);
    const auto& src = time > 0.5 ? B : A;
    for (int32_t y = 0; y < H; ++y)
      ASSERT_EQ(std::memcmp(out.rawRow(y), src.rawRow(y), sizeof(P) * W), 0) << time;
  }
}

TEST(FlowPicture, ZeroFieldsGiveAPlainCrossFadeAtEveryDepth) {
  ZeroFieldsCrossFade<FnPixel8>();
  ZeroFieldsCrossFade<FnPixel16>();
  ZeroFieldsCrossFade<FnPixelF>();
}

TEST(FlowPicture, LongFilterWeights) {
  float w[21];
  // Independent form at a few positions: raised cosine times sin(pi d)/d, 1
  // at d = 0, normalised.
  for (const float u : {3.25f, 7.5f, 0.9f, -2.3f, 100.01f}) {
    const int32_t first = FnLongFilterWeights(u, w);
    EXPECT_EQ(first, int32_t(std::floor(u)) - 10);
    double ref[21], sum = 0;
    for (int k = 0; k < 21; ++k) {
      const double d = first + k - double(u);
      ref[k] = d == 0 ? 1.0 : 0.5 * (1 + std::cos(M_PI * d / 10)) * std::sin(M_PI * d) / d;
      sum += ref[k];
    }
    double total = 0;
    for (int k = 0; k < 21; ++k) {
      EXPECT_NEAR(w[k], ref[k] / sum, 1e-6) << u << " " << k;
      total += w[k];
    }
    EXPECT_NEAR(total, 1.0, 1e-5);
  }
  // Half way between two pixels the weights are symmetric about the middle.
  const int32_t first = FnLongFilterWeights(4.5f, w);
  for (int k = 0; k < 10; ++k) EXPECT_NEAR(w[k + 1], w[20 - k], 1e-6) << first;
  // On a pixel, the pixel alone.
  FnLongFilterWeights(6.0f, w);
  for (int k = 0; k < 21; ++k) EXPECT_NEAR(w[k], k == 10 ? 1.0f : 0.0f, 1e-6);
  // The long filter reproduces a linear ramp away from the edges (its weights
  // are symmetric), and the bilinear sample where the position is whole.
  FnTextureF ramp(48, 8), other(48, 8), out(48, 8);
  for (int32_t y = 0; y < 8; ++y)
    for (int32_t x = 0; x < 48; ++x) {
      FnPixelF& p = ramp.rawRow(y)[x];
      p.alpha = 1, p.red = float(x) / 48.0f, p.green = 0.5f, p.blue = 0.25f;
      other.rawRow(y)[x] = p;
    }
  ramp.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  other.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnVectorTexture a(48, 8), b(48, 8);
  FnIntTexture labels(48, 8);
  for (int32_t y = 0; y < 8; ++y)
    for (int32_t x = 0; x < 48; ++x) a.rawRow(y)[x] = {-0.4f, 0.0f}, b.rawRow(y)[x] = {0.4f, 0.0f}, labels.rawRow(y)[x] = 0;
  FnTweenSettings hq;
  hq.highQuality = true;
  ASSERT_EQ(buildPicture(hq, 0.5, &ramp, &other, &a, &b, &labels, nullptr, &out), 0);
  // a reaches B at x + 0.5 + 0.2; b reaches A at x + 0.5 - 0.2: the mean of
  // the ramp at both is the ramp at x.
  for (int32_t x = 12; x < 36; ++x) EXPECT_NEAR(out.rawRow(4)[x].red, (float(x)) / 48.0f, 2e-4f) << x;
}

// Fields with no vector anywhere: nothing fills the holes in 101 passes, and
// the picture holds the marker (alpha 0, colour -1) mixed by t.
TEST(FlowPicture, AllInvalidFieldsLeaveTheMarker) {
  FnFloatTexture lumaA(12, 10), lumaB(12, 10);
  flowtest::FillTexture(lumaA, 3);
  flowtest::FillTexture(lumaB, 4);
  FnVectorTexture invalid(12, 10), va, vb;
  for (int32_t y = 0; y < 10; ++y)
    for (int32_t x = 0; x < 12; ++x) invalid.rawRow(y)[x] = FnInvalidVector;
  FnIntTexture labels;
  ASSERT_EQ(tween(FnTweenSettings{}, 0.4, &lumaA, &lumaB, &invalid, &invalid, nullptr, &va, &vb, &labels), 0);
  for (int32_t y = 0; y < 10; ++y)
    for (int32_t x = 0; x < 12; ++x) {
      EXPECT_TRUE(FnIsInvalid(va.rawRow(y)[x]));
      EXPECT_TRUE(FnIsInvalid(vb.rawRow(y)[x]));
    }
  FnTextureF A(12, 10), B(12, 10), out(12, 10);
  Paint(A, 1);
  Paint(B, 2);
  ASSERT_EQ(buildPicture(FnTweenSettings{}, 0.4, &A, &B, &va, &vb, &labels, nullptr, &out), 0);
  const FnPixelF p = out.rawRow(5)[5];
  EXPECT_EQ(p.alpha, 0.0f);
  EXPECT_FLOAT_EQ(p.red, -1.0f);
}

TEST(FlowTween, SingleCandidatePairsComputeNoCost) {
  FnFloatTexture lumaA(16, 12), lumaB(16, 12);
  flowtest::FillTexture(lumaA, 3);
  flowtest::FillTexture(lumaB, 4);
  FnVectorTexture va(16, 12), vb(16, 12), field(16, 12);
  FnIntTexture labels(16, 12);
  for (int32_t y = 0; y < 12; ++y)
    for (int32_t x = 0; x < 16; ++x) field.rawRow(y)[x] = {0, 0}, va.rawRow(y)[x] = {0, 0}, vb.rawRow(y)[x] = {0, 0},
                                     labels.rawRow(y)[x] = 0;
  FnCandidateLists listsA, listsB;
  ASSERT_TRUE(listsA.allocate(16, 12) && listsB.allocate(16, 12));
  FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass pass;
  pass.width = 16, pass.height = 12, pass.time = 0.5f;
  pass.vectorsA = &va, pass.vectorsB = &vb, pass.occlusion = &labels;
  pass.candidatesA = &listsA, pass.candidatesB = &listsB;
  pass.lumaA = &lumaA, pass.lumaB = &lumaB;
  pass.runOnce();
  EXPECT_EQ(pass.pairCosts.load(), 0);
  // A second vector on one side: now pairs are weighed.
  listsA.at(5, 5).add({1.0f, 0.0f});
  pass.passCounter = 0;  // the lists count again
  pass.passFlags |= pass.kRestartMonitors;
  pass.runOnce();
  EXPECT_EQ(pass.pairCosts.load(), 2);  // two a's by one b
}

TEST(FlowTween, OcclusionGuessOnAMovingSquare) {
  // A square moving over a still background: where the square uncovers
  // background only one frame sees it.
  FnFloatTexture A(48, 40), B(48, 40);
  for (int32_t y = 0; y < 40; ++y)
    for (int32_t x = 0; x < 48; ++x) {
      const bool inA = x >= 14 && x < 30 && y >= 12 && y < 28, inB = x >= 20 && x < 36 && y >= 12 && y < 28;
      A.rawRow(y)[x] = inA ? flowtest::Pattern(x - 14, y, 9) : flowtest::Pattern(x, y, 2);
      B.rawRow(y)[x] = inB ? flowtest::Pattern(x - 20, y, 9) : flowtest::Pattern(x, y, 2);
    }
  A.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  B.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnVectorTexture fieldA, fieldB, va, vb;
  FnIntTexture labels;
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &A, &B, nullptr, &fieldB), 0);
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &B, &A, nullptr, &fieldA), 0);
  FnTweenSettings s;
  s.flags |= FnTween_GuessOcclusion;
  ASSERT_EQ(tween(s, 0.5, &A, &B, &fieldA, &fieldB, nullptr, &va, &vb, &labels), 0);
  int counts[4] = {};
  for (int32_t y = 0; y < 40; ++y)
    for (int32_t x = 0; x < 48; ++x) {
      const int L = labels.rawRow(y)[x];
      ASSERT_TRUE(L >= 0 && L <= 3) << L;
      ++counts[L];
    }
  EXPECT_GT(counts[0], 48 * 40 / 2);  // most pixels are seen from both frames
  // The square's middle moves by 6: a = -6, b = +6 there.
  EXPECT_NEAR(vb.rawRow(20)[25].x, 6.0f, 0.5f);
  EXPECT_NEAR(va.rawRow(20)[25].x, -6.0f, 0.5f);
}

TEST(FlowTween, FailuresKeepNoOutput) {
  FnFloatTexture A(24, 20), B(24, 20);
  Shifted(A, B, {0.7f, 0.3f});
  FnVectorTexture fieldA, fieldB;
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &A, &B, nullptr, &fieldB), 0);
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &B, &A, nullptr, &fieldA), 0);
  int32_t result = -1;
  for (long n = 0; n < 200 && result != 0; ++n) {
    FnVectorTexture va, vb;
    FnIntTexture labels;
    {
      vxtest::FailAllocationsScope fail(n);
      result = tween(FnTweenSettings{}, 0.5, &A, &B, &fieldA, &fieldB, nullptr, &va, &vb, &labels);
    }
    if (result) {
      EXPECT_EQ(result, 4) << n;
      EXPECT_TRUE(va.empty() && vb.empty() && labels.empty()) << n;
    }
  }
  EXPECT_EQ(result, 0);
  static int calls, stopAt;
  FnInterruptRecord record;
  record.abortFunction = [](uint64_t) -> int32_t { return ++calls >= stopAt ? 10000 : 0; };
  result = -1;
  for (int k = 1; k < 3000 && result != 0; k += (k < 40 ? 1 : 29)) {
    calls = 0, stopAt = k;
    record.aborted = 0, record.error = 0;
    FnVectorTexture va, vb;
    FnIntTexture labels;
    result = tween(FnTweenSettings{}, 0.5, &A, &B, &fieldA, &fieldB, &record, &va, &vb, &labels);
    if (result) {
      EXPECT_EQ(result, 10000) << k;
      EXPECT_TRUE(va.empty()) << k;
    }
  }
  EXPECT_EQ(result, 0);
  // The picture: each of its textures in turn fails, then an interruption.
  {
    FnVectorTexture va, vb;
    FnIntTexture labels;
    ASSERT_EQ(tween(FnTweenSettings{}, 0.5, &A, &B, &fieldA, &fieldB, nullptr, &va, &vb, &labels), 0);
    FnTextureF fa(48, 40), fb(48, 40), out(48, 40);
    Paint(fa, 1);
    Paint(fb, 2);
    for (long n = 0; n < 3; ++n) {
      vxtest::FailAllocationsScope fail(n);
      EXPECT_EQ(buildPicture(FnTweenSettings{}, 0.5, &fa, &fb, &va, &vb, &labels, nullptr, &out), 4) << n;
    }
    calls = 0, stopAt = 1;
    record.aborted = 0, record.error = 0;
    EXPECT_EQ(buildPicture(FnTweenSettings{}, 0.5, &fa, &fb, &va, &vb, &labels, &record, &out), 10000);
    FnTextureF small(10, 10);
    EXPECT_EQ(buildPicture(FnTweenSettings{}, 0.5, &fa, &fb, &va, &vb, &labels, nullptr, &small), 3);
  }
  // Fields of another size than the images are refused.
  FnVectorTexture small(5, 5), va, vb;
  FnIntTexture labels;
  EXPECT_EQ(tween(FnTweenSettings{}, 0.5, &A, &B, &small, &fieldB, nullptr, &va, &vb, &labels), 3);
}

}  // namespace

namespace {

// On the host's real worker pool: the same pipeline, bands on two threads at
// once, lands within the same tolerance (the thread count only changes which
// random draws a band sees).
TEST(FlowTween, TwoWorkerThreadsGiveTheSameQuality) {
  flowtest::ScopedHost host(flowtest::Runner::Pool, 2);
  const HvVec2 v{-0.9f, 0.7f};
  FnFloatTexture A(64, 48), B(64, 48);
  Shifted(A, B, v);
  FnVectorTexture fieldA, fieldB, va, vb;
  FnIntTexture labels;
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &A, &B, nullptr, &fieldB), 0);
  ASSERT_EQ(estimatePixelField(FnEstimateSettings{}, &B, &A, nullptr, &fieldA), 0);
  ASSERT_EQ(tween(FnTweenSettings{}, 0.5, &A, &B, &fieldA, &fieldB, nullptr, &va, &vb, &labels), 0);
  std::vector<float> errors;
  for (int32_t y = 8; y < 40; ++y)
    for (int32_t x = 8; x < 56; ++x) {
      const HvVec2 a = va.rawRow(y)[x], b = vb.rawRow(y)[x];
      errors.push_back(std::max(std::hypot(a.x + v.x, a.y + v.y), std::hypot(b.x - v.x, b.y - v.y)));
    }
  std::sort(errors.begin(), errors.end());
  EXPECT_LT(errors[errors.size() / 2], 0.15f);
  FnTextureF fa(128, 96), fb(128, 96), out(128, 96);
  Paint(fa, 1);
  Paint(fb, 2);
  EXPECT_EQ(buildPicture(FnTweenSettings{}, 0.5, &fa, &fb, &va, &vb, &labels, nullptr, &out), 0);
}

}  // namespace

namespace {

// The 8-bit picture on eight lanes against the scalar form, byte for byte:
// random vectors with some missing, labels, positions off the frame, and a
// row length that leaves a remainder.
TEST(FlowPicture, LanesMatchTheScalarFormByteForByte) {
  if (!KU_CPUHas(KU_CPU_AVX2)) GTEST_SKIP() << "no AVX2 here";
  const int32_t W = 83, H = 41, PW = 21, PH = 11;
  FnTexture8 A(W, H), B(W, H), scalar(W, H), lanes(W, H);
  Paint(A, 3);
  Paint(B, 4);
  FnVectorTexture va(PW, PH), vb(PW, PH);
  FnIntTexture labels(PW, PH);
  std::mt19937 rng(21);
  for (int32_t y = 0; y < PH; ++y)
    for (int32_t x = 0; x < PW; ++x) {
      auto vec = [&]() {
        if (rng() % 23 == 0) return FnInvalidVector;
        return HvVec2{float(int(rng() % 801) - 400) / 200.0f, float(int(rng() % 801) - 400) / 200.0f};
      };
      va.rawRow(y)[x] = vec(), vb.rawRow(y)[x] = vec();
      labels.rawRow(y)[x] = rng() % 19 == 0 ? int(rng() % 3) : 0;
    }
  for (const double time : {0.5, 0.27, 0.905}) {
    KU_SetCPUFeatures(1, 1, 0);
    ASSERT_EQ(buildPicture(FnTweenSettings{}, time, &A, &B, &va, &vb, &labels, nullptr, &scalar), 0);
    KU_ResetCPUFeatures();
    ASSERT_EQ(buildPicture(FnTweenSettings{}, time, &A, &B, &va, &vb, &labels, nullptr, &lanes), 0);
    for (int32_t y = 0; y < H; ++y)
      for (int32_t x = 0; x < W; ++x)
        ASSERT_EQ(std::memcmp(&scalar.rawRow(y)[x], &lanes.rawRow(y)[x], 4), 0) << x << "," << y << " t " << time;
  }
}

}  // namespace
