// The node contract: refusals with their lines, regions, fills and copies.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "vx/OpticalFlow.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

class Count : public Generator<FnFloatTexture> {
 public:
  void initialise(FnFloatTexture*) override { ++calls; }
  int calls = 0;
};

class Sum : public GeneralCombiner<FnFloatTexture, FnFloatTexture, FnFloatTexture> {
 public:
  void processPixel(const float& a, const float& b, float& out, int32_t) override { out = a + b; }
};

class Negate : public GeneralSampler<FnFloatTexture, FnFloatTexture> {
 public:
  void processPixel(const float& s, float& out, int32_t) override { out = -s; }
};

TEST(FlowContract, NullAndBogusTargetsArePrintedAndLeftAlone) {
  Count g;
  CaptureStderr();
  g.process(nullptr);
  EXPECT_EQ(GetCapturedStderr(), "Map passed into Generator::process is NULL\n");
  FnFloatTexture empty(0, 5);
  CaptureStderr();
  g.process(&empty);
  EXPECT_EQ(GetCapturedStderr(), "Map passed into Generator::process is bogus\n");
  EXPECT_EQ(g.calls, 0);

  FnFloatTexture src(2, 2);
  Negate n;
  CaptureStderr();
  n.process(&src, nullptr);  // the Sampler's first line is the Generator's, on purpose
  EXPECT_EQ(GetCapturedStderr(), "Map passed into Generator::process is NULL\n");
  CaptureStderr();
  n.process(&src, &empty);
  EXPECT_EQ(GetCapturedStderr(), "Map passed into Sampler::process is bogus\n");

  Sum c;
  CaptureStderr();
  c.process(&src, &src, nullptr);
  EXPECT_EQ(GetCapturedStderr(), "Map passed into Combiner::process is NULL\n");
  CaptureStderr();
  c.process(&src, &src, &empty);
  EXPECT_EQ(GetCapturedStderr(), "Map passed into Generator::process is bogus\n");
}

TEST(FlowContract, LeafClassesWalkTheRegionClippedToTheWindow) {
  FnFloatTexture a(5, 4), b(5, 4), out(5, 4);
  for (int32_t y = 0; y < 4; ++y)
    for (int32_t x = 0; x < 5; ++x) a.rawRow(y)[x] = float(x), b.rawRow(y)[x] = float(10 * y);
  ColouredFrameGenerator<float, float, 1> clear(-1.0f);
  clear.process(&out);
  Sum sum;
  sum.setRegion(3, -2, 9, 2);
  sum.process(&a, &b, &out);
  EXPECT_EQ(sum.x0, 3);
  EXPECT_EQ(sum.x1, 5);
  EXPECT_EQ(sum.y0, 0);
  EXPECT_EQ(sum.y1, 2);
  EXPECT_EQ(out.rawRow(1)[4], 14.0f);
  EXPECT_EQ(out.rawRow(1)[2], -1.0f);
  EXPECT_EQ(out.rawRow(2)[4], -1.0f);

  out.setActiveWindow(1, 2, 1, 3);
  Negate neg;
  neg.process(&a, &out);
  EXPECT_EQ(out.rawRow(3)[2], -2.0f);
  EXPECT_EQ(out.rawRow(0)[2], -1.0f);
  EXPECT_EQ(out.rawRow(1)[3], 13.0f);
}

TEST(FlowFill, ValuesZerosAndFields) {
  FnVectorTexture t(6, 7);
  ColouredFrameGenerator<HvVec2, HvVec2, 123> g(HvVec2{1.5f, -2.0f});
  EXPECT_FALSE(g.isZero);
  g.process(&t);
  for (int32_t y = 0; y < 7; ++y)
    for (int32_t x = 0; x < 6; ++x) ASSERT_EQ(t.rawRow(y)[x], (HvVec2{1.5f, -2.0f}));

  ColouredFrameGenerator<HvVec2, HvVec2, 1> odd;  // zero: cleared byte-wise
  EXPECT_TRUE(odd.isZero);
  odd.field = 2;
  odd.process(&t);
  for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(t.rawRow(y)[3].x, (y % 2) ? 0.0f : 1.5f) << y;

  FnTexture8 p(3, 4);
  ColouredFrameGenerator<FnPixel8, FnPixelF, 255> white(FnPixel8{{255, 255, 255, 255}});
  white.field = 1;
  white.process(&p);
  ColouredFrameGenerator<FnPixel8, FnPixelF, 255> clear;
  clear.field = 2;
  clear.process(&p);
  EXPECT_EQ(p.rawRow(2)[1].green, 255);
  EXPECT_EQ(p.rawRow(3)[1].green, 0);
}

TEST(FlowCopy, SamplerAndLineCopierFollowTheSourcesEdges) {
  FnFloatTexture s(3, 2);
  for (int32_t y = 0; y < 2; ++y)
    for (int32_t x = 0; x < 3; ++x) s.rawRow(y)[x] = float(10 * y + x);
  s.setEdgeMode(FnEdge_Mirror, FnEdge_Clamp);
  FnFloatTexture d(7, 3);
  SimpleCopySampler<float, float> copy;
  copy.process(&s, &d);
  EXPECT_EQ(std::vector<float>(d.rawRow(0), d.rawRow(0) + 7), (std::vector<float>{0, 1, 2, 2, 1, 0, 0}));
  EXPECT_EQ(std::vector<float>(d.rawRow(2), d.rawRow(2) + 7), (std::vector<float>{10, 11, 12, 12, 11, 10, 10}));

  FnFloatTexture e(7, 3);
  SimpleLineCopier<float, float> lines;
  lines(&d, &e);
  for (int32_t y = 0; y < 3; ++y)
    for (int32_t x = 0; x < 7; ++x) ASSERT_EQ(e.rawRow(y)[x], d.rawRow(y)[x]);
  lines(nullptr, &e);  // nothing to read: nothing happens
  lines.FnImgProc::process(nullptr);
}

}  // namespace
