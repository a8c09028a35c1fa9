// vx flow: the colour coding, and the command on a pair with known motion.
#include <gtest/gtest.h>

#include <cmath>

#include "FlowColour.h"
#include "Image.h"
#include "tools/ToolRun.h"

namespace {

TEST(FlowColour, HueIsDirectionSaturationIsLength) {
  auto same = [](vxtool::Rgb8 c, int r, int g, int b) { return c.r == r && c.g == g && c.b == b; };
  EXPECT_TRUE(same(vxtool::FlowColour(0, 0, 5), 255, 255, 255));     // no motion: white
  EXPECT_TRUE(same(vxtool::FlowColour(5, 0, 5), 255, 0, 0));         // right: red
  EXPECT_TRUE(same(vxtool::FlowColour(-9, 0, 5), 0, 255, 255));      // left, past full: cyan
  EXPECT_TRUE(same(vxtool::FlowColour(0, 5, 5), 128, 255, 0));       // down
  EXPECT_TRUE(same(vxtool::FlowColour(0, -5, 5), 128, 0, 255));      // up
  EXPECT_TRUE(same(vxtool::FlowColour(2.5f, 0, 5), 255, 128, 128));  // half length: half saturation
  EXPECT_TRUE(same(vxtool::kNoVectorColour, 0, 0, 0));
}

// A pattern moved 3 pixels right and 2 down between A and B.
vxtool::WorldPtr Pattern(float dx, float dy) {
  vxtool::WorldPtr w = vxtool::NewWorld(160, 96, 8);
  auto& x8 = static_cast<VX_WorldX<VX_Pixel8>&>(*w);
  for (int32_t y = 0; y < 96; ++y)
    for (int32_t x = 0; x < 160; ++x) {
      const float u = float(x) + 0.5f - dx, v = float(y) + 0.5f - dy;
      const float f = 0.5f + 0.2f * std::sin(u * 0.19f) * std::cos(v * 0.15f) + 0.15f * std::sin(u * 0.07f - v * 0.23f) +
                      0.1f * std::cos(0.31f * u + 0.27f * v);
      VX_Pixel8* p = x8.PixelAt(x, y);
      p->alpha = 255, p->red = p->green = p->blue = uint8_t(std::lround(f * 255));
    }
  return w;
}

TEST(FlowCommand, WritesTheColouredFieldAndArrows) {
  vxtest::ScratchDir dir;
  vxtool::WriteImage(dir / "a.png", *Pattern(0, 0));
  vxtool::WriteImage(dir / "b.png", *Pattern(3, 2));
  const vxtest::ToolResult r = vxtest::RunTool("flow " + dir / "a.png" + " " + dir / "b.png" + " -o " +
                                               dir / "flow.png" + " --proxy 0.5");
  ASSERT_EQ(r.exit_code, 0) << r.out;
  vxtool::WorldPtr flow = vxtool::ReadImage(dir / "flow.png");
  ASSERT_EQ(flow->width, 160);
  ASSERT_EQ(flow->height, 96);
  // Right and down: between red (0) and yellow-green (90): about 34 degrees,
  // so red full, green partial, blue lowest, and far from white.
  const VX_Pixel8 c = *static_cast<VX_WorldX<VX_Pixel8>&>(*flow).PixelAt(80, 48);
  EXPECT_EQ(c.red, 255);
  EXPECT_GT(c.green, c.blue);
  EXPECT_LT(c.blue, 60);
  const vxtest::ToolResult arrows = vxtest::RunTool("flow " + dir / "a.png" + " " + dir / "b.png" + " -o " +
                                                    dir / "arrows.png" + " --proxy 0.5 --vectors -q");
  ASSERT_EQ(arrows.exit_code, 0) << arrows.out;
  vxtool::WorldPtr drawn = vxtool::ReadImage(dir / "arrows.png");
  int black = 0;
  for (int32_t y = 0; y < 96; ++y)
    for (int32_t x = 0; x < 160; ++x) {
      const VX_Pixel8* p = static_cast<VX_WorldX<VX_Pixel8>&>(*drawn).PixelAt(x, y);
      black += p->red == 0 && p->green == 0 && p->blue == 0;
    }
  EXPECT_GT(black, 20);
}

TEST(FlowCommand, RefusesImagesOfDifferentSizesAndBadProxies) {
  vxtest::ScratchDir dir;
  vxtool::WriteImage(dir / "a.png", *Pattern(0, 0));
  vxtool::WriteImage(dir / "small.png", *vxtool::NewWorld(20, 20, 8));
  vxtest::ToolResult r = vxtest::RunTool("flow " + dir / "a.png" + " " + dir / "small.png" + " -o " + dir / "f.png");
  EXPECT_NE(r.exit_code, 0);
  EXPECT_NE(r.out.find("differ in size"), std::string::npos) << r.out;
  r = vxtest::RunTool("flow " + dir / "a.png" + " " + dir / "a.png" + " -o " + dir / "f.png --proxy 3");
  EXPECT_NE(r.exit_code, 0);
  EXPECT_NE(r.out.find("--proxy"), std::string::npos) << r.out;
  r = vxtest::RunTool("flow " + dir / "a.png" + " -o " + dir / "f.png");
  EXPECT_NE(r.exit_code, 0);
}

}  // namespace
