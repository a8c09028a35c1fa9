// Textures: border rules and runs, sampling, aliasing, copies, windows and
// pixel memory.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "vx/EffectWorld.h"
#include "vx/OpticalFlow.h"
#include "vxhost/KU.h"

namespace {

std::vector<int32_t> Indices(int32_t n, int32_t mode, int32_t from, int32_t to) {
  std::vector<int32_t> out;
  for (int32_t c = from; c <= to; ++c) out.push_back(FnEdgeIndex(c, n, mode));
  return out;
}

TEST(FlowEdges, MirrorWrapClampAndNoneOnAThreePixelAxis) {
  EXPECT_EQ(Indices(3, FnEdge_Mirror, -3, 5), (std::vector<int32_t>{2, 1, 0, 0, 1, 2, 2, 1, 0}));
  EXPECT_EQ(Indices(3, FnEdge_Mirror, -6, -4), (std::vector<int32_t>{0, 1, 2}));
  EXPECT_EQ(Indices(3, FnEdge_Mirror, 6, 8), (std::vector<int32_t>{0, 1, 2}));
  EXPECT_EQ(Indices(3, FnEdge_Wrap, -4, 4), (std::vector<int32_t>{2, 0, 1, 2, 0, 1, 2, 0, 1}));
  EXPECT_EQ(Indices(3, FnEdge_Clamp, -2, 4), (std::vector<int32_t>{0, 0, 0, 1, 2, 2, 2}));
  EXPECT_EQ(Indices(3, FnEdge_None, -1, 3), (std::vector<int32_t>{-1, 0, 1, 2, -1}));
  EXPECT_EQ(FnEdgeIndex(0, 0, FnEdge_Clamp), -1);  // an empty axis has no pixel at all
}

// A run promises that `length` reads from its index with its step are the
// pixels at c, c+1, ...; and that the next coordinate starts a new run.
TEST(FlowEdges, RunsAgreeWithSingleReadsEverywhere) {
  std::mt19937 rng(5);
  for (int32_t mode = 0; mode < 4; ++mode) {
    for (int32_t n : {1, 2, 3, 7}) {
      for (int trial = 0; trial < 200; ++trial) {
        const int32_t c = int32_t(rng() % 61) - 30;
        const FnRun run = FnEdgeRun(c, n, mode);
        ASSERT_GT(run.length, 0);
        const int32_t check = std::min(run.length, 40);
        for (int32_t k = 0; k < check; ++k) {
          const int32_t expected = FnEdgeIndex(c + k, n, mode);
          const int32_t got = run.index < 0 ? -1 : run.index + k * run.step;
          ASSERT_EQ(got, expected) << "mode " << mode << " n " << n << " c " << c << " k " << k;
        }
      }
    }
  }
}

// Pixel (x,y) holds 100y + x.
void Ramp(FnFloatTexture& t) {
  for (int32_t y = 0; y < t.height(); ++y)
    for (int32_t x = 0; x < t.width(); ++x) t.rawRow(y)[x] = float(y * 100 + x);
}

TEST(FlowTexture, ActiveWindowMovesTheEdgesAndReadRowFollowsThem) {
  FnFloatTexture t(6, 4);
  Ramp(t);
  t.setActiveWindow(4, 1, 3, 1);  // ordered, then 1..4 by 1..3
  EXPECT_EQ(t.xAxis.first, 1);
  EXPECT_EQ(t.xAxis.last, 4);
  EXPECT_EQ(t.xAxis.count, 4);
  t.setEdgeMode(FnEdge_Mirror, FnEdge_Clamp);
  std::vector<float> row(10);
  t.readRow(0, -2, 10, row.data());  // row 0 clamps to the window's row 1
  const std::vector<float> expected{103, 102, 101, 101, 102, 103, 104, 104, 103, 102};
  EXPECT_EQ(row, expected);
  for (int32_t x = -2; x < 8; ++x) EXPECT_EQ(t.read(x, 0), row[size_t(x + 2)]) << x;
  t.setActiveWindow(-5, 99, -1, 99);
  EXPECT_EQ(t.xAxis.first, 0);
  EXPECT_EQ(t.xAxis.last, 5);
  EXPECT_EQ(t.yAxis.count, 4);
}

TEST(FlowTexture, SamplingAtCentresCornersAndBetween) {
  FnFloatTexture t(4, 3);
  Ramp(t);
  t.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  EXPECT_EQ(t.sample(0.5f, 0.5f), 0.0f);
  EXPECT_EQ(t.sample(0.0f, 0.0f), 0.0f);  // the corner in clamp mode
  EXPECT_EQ(t.sample(2.5f, 1.5f), 102.0f);
  EXPECT_FLOAT_EQ(t.sample(1.0f, 1.0f), 50.0f + 0.5f);
  EXPECT_FLOAT_EQ(t.sample(1.75f, 2.25f), 175.0f + 1.25f);
  EXPECT_EQ(t.sample(100.0f, -100.0f), 3.0f);
  EXPECT_EQ(t.sample(FnInvalidValue, FnInvalidValue), 203.0f);  // far off reads the corner, defined
  t.setOrigin(1.0f, 0.0f);
  EXPECT_EQ(t.sample(1.5f, 0.5f), 0.0f);
  EXPECT_EQ(t.xAxis.origin, 1);
  t.setOrigin(2.5f, -0.6f);
  EXPECT_EQ(t.xAxis.origin, 3);
  EXPECT_EQ(t.yAxis.origin, -1);
  t.setOrigin(-2, 5);
  EXPECT_EQ(t.xAxis.originF, -2.0f);
  EXPECT_FLOAT_EQ(t.sampleAreaCentred(1.0f, 2.0f, 0.5f, 0.25f), t.sample(1.0f, 2.0f));
}

// Bilinear reads against a reference in double with the border rule applied
// to each of the four neighbours, over random positions and every mode.
TEST(FlowTexture, BilinearMatchesAnIndependentReference) {
  std::mt19937 rng(11);
  std::uniform_real_distribution<float> pos(-6.0f, 14.0f);
  FnFloatTexture t(7, 5);
  for (int32_t y = 0; y < 5; ++y)
    for (int32_t x = 0; x < 7; ++x) t.rawRow(y)[x] = float(rng() % 1000) / 7.0f;
  t.setOutsideValue(-3.0f);
  for (int32_t mode = 0; mode < 4; ++mode) {
    t.setEdgeMode(mode, mode);
    for (int trial = 0; trial < 500; ++trial) {
      const float x = pos(rng), y = pos(rng);
      const double u = double(x) - 0.5, v = double(y) - 0.5;
      const int32_t i = int32_t(std::floor(u)), j = int32_t(std::floor(v));
      const double fx = u - i, fy = v - j;
      auto px = [&](int32_t a, int32_t b) {
        const int32_t ia = FnEdgeIndex(a, 7, mode), ib = FnEdgeIndex(b, 5, mode);
        return (ia < 0 || ib < 0) ? -3.0 : double(t.rawRow(ib)[ia]);
      };
      const double top = px(i, j) + (px(i + 1, j) - px(i, j)) * fx;
      const double bottom = px(i, j + 1) + (px(i + 1, j + 1) - px(i, j + 1)) * fx;
      ASSERT_NEAR(t.sample(x, y), top + (bottom - top) * fy, 2e-3) << mode << " " << x << "," << y;
    }
  }
}

TEST(FlowTexture, SampleOrZeroIgnoresOriginsAndStopsPastOnePixel) {
  FnFloatTexture t(4, 3);
  Ramp(t);
  t.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  t.setOrigin(10.0f, 10.0f);
  EXPECT_EQ(t.sampleOrZero(1.5f, 2.5f), 201.0f);
  EXPECT_EQ(t.sampleOrZero(-0.4f, 0.5f), 0.0f);   // floor(u) = -1 still reads, clamped
  EXPECT_EQ(t.sampleOrZero(0.0f, 1.5f), 100.0f);  // floor(u) = -1 reads the edge
  EXPECT_EQ(t.sampleOrZero(3.9f, 0.5f), 3.0f);    // floor(u) = 3: the last column, clamped right
  EXPECT_EQ(t.sampleOrZero(-0.6f, 1.5f), 0.0f);   // floor(u) = -2
  EXPECT_EQ(t.sampleOrZero(4.5f, 0.5f), 0.0f);    // floor(u) = 4 = width
  EXPECT_EQ(t.sampleOrZero(1.5f, 3.5f), 0.0f);
}

TEST(FlowTexture, FourChannelSamplingIsChannelByChannel) {
  FnTexture8 t(2, 1);
  t.rawRow(0)[0] = FnPixel8{{255, 0, 100, 10}};
  t.rawRow(0)[1] = FnPixel8{{55, 200, 0, 30}};
  t.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  const FnPixelF p = t.sample(1.25f, 0.5f);
  EXPECT_FLOAT_EQ(p.alpha, 105.0f);
  EXPECT_FLOAT_EQ(p.red, 150.0f);
  EXPECT_FLOAT_EQ(p.green, 25.0f);
  EXPECT_FLOAT_EQ(p.blue, 25.0f);
  const FnPixel8 back = FnFromAccumulate<FnPixel8>(FnPixelF{{-4.0f, 300.0f, 2.5f, 2.49f}});
  EXPECT_EQ(back.alpha, 0);
  EXPECT_EQ(back.red, 255);
  EXPECT_EQ(back.green, 3);
  EXPECT_EQ(back.blue, 2);
}

TEST(FlowTexture, AliasCopyAndSizes) {
  FnFloatTexture a(5, 4);
  Ramp(a);
  a.setEdgeMode(FnEdge_Wrap, FnEdge_Mirror);
  a.setOutsideValue(9.0f);
  float* pixels = a.data;
  a.alias(a);  // to itself: unchanged, still owning
  EXPECT_EQ(a.data, pixels);
  EXPECT_EQ(a.ownsData, 1);
  EXPECT_EQ(a.rawRow(2)[3], 203.0f);

  FnFloatTexture b(2, 2);
  b.alias(a);
  EXPECT_EQ(b.data, pixels);
  EXPECT_EQ(b.ownsData, 0);
  EXPECT_EQ(b.width(), 5);
  EXPECT_EQ(b.xAxis.edgeMode, FnEdge_Wrap);
  EXPECT_EQ(b.outsideValue, 9.0f);
  EXPECT_EQ(b.rowBytes, a.rowBytes);

  FnFloatTexture c(a);  // same geometry, pixels of its own
  EXPECT_NE(c.data, pixels);
  EXPECT_EQ(c.ownsData, 1);
  EXPECT_EQ(c.height(), 4);
  EXPECT_EQ(c.yAxis.edgeMode, FnEdge_Mirror);
  EXPECT_EQ(c.rowBytes, 5 * int32_t(sizeof(float)));

  FnFloatTexture empty(0, 5);
  EXPECT_EQ(empty.data, nullptr);
  EXPECT_EQ(empty.allocFailed, 0);
  EXPECT_TRUE(empty.empty());
}

TEST(FlowTexture, FailedAllocationIsFlaggedAndNothingIsBooked) {
  KU_TakeReports();
  const long long before = KU_AccountedBytes();
  {
    KU_FailAllocationsAfter(0);
    FnVectorTexture t(64, 64);
    KU_FailAllocationsAfter(-1);
    EXPECT_EQ(t.data, nullptr);
    EXPECT_EQ(t.allocFailed, 1);
    FnVectorTexture u(64, 64);
    EXPECT_NE(u.data, nullptr);
    EXPECT_EQ(KU_AccountedBytes(), before + 64 * 64 * 8);
    EXPECT_TRUE(u.reallocate(3, 2));
    EXPECT_EQ(KU_AccountedBytes(), before + 3 * 2 * 8);
  }
  EXPECT_EQ(KU_AccountedBytes(), before);
  EXPECT_TRUE(KU_TakeReports().empty());  // the pipeline reports, not the allocator
}

TEST(FlowTexture, WrapsCallerWorldsWithTheirRowBytes) {
  VX_LayerDef world{};
  ASSERT_EQ(VX_NewEffectWorld(nullptr, 3, 2, VX_Depth16, true, false, &world), 0);
  auto* row1 = reinterpret_cast<VX_Pixel16*>(static_cast<char*>(world.data) + world.row_stride);
  row1[2] = VX_Pixel16{32768, 1, 2, 3};
  {
    FnWorldTexture16 t(&world);
    EXPECT_EQ(t.data, world.data);
    EXPECT_EQ(t.ownsData, 0);
    EXPECT_EQ(t.rowBytes, world.row_stride);
    EXPECT_EQ(t.xAxis.edgeMode, FnEdge_Clamp);
    EXPECT_EQ(t.read(5, 7).alpha, 32768);
    EXPECT_EQ(t.read(2, 1).blue, 3);
    FnWorldTexture8 wrong(&world);  // another depth: nothing to read
    EXPECT_TRUE(wrong.empty());
  }
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &world), 0);
}

}  // namespace
