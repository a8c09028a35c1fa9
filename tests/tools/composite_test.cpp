// The compositing commands end to end: outputs against direct library calls,
// mode names, the demo's files, and refusals.
#include <cstring>
#include <filesystem>

#include "Compose.h"
#include "Image.h"
#include "Sheet.h"
#include "ToolError.h"
#include "support/TestWorlds.h"
#include "tools/ToolRun.h"
#include "tools/ToolWorlds.h"

namespace {

using vxtool::WorldPtr;
using vxtest::RandomToolWorld;
using vxtest::SameBytes;

TEST(Modes, NamesAndNumbersBothWays) {
  for (int32_t mode = -3; mode <= 38; ++mode) {
    if (!VX_IsXferMode(mode)) continue;
    EXPECT_EQ(vxtool::ParseMode(vxtool::ModeLabel(mode)), mode);
    EXPECT_EQ(vxtool::ParseMode(std::to_string(mode)), mode);
  }
  EXPECT_EQ(vxtool::ModeLabel(XferSoftLight), "soft-light");
  EXPECT_EQ(vxtool::ParseMode("XferVividLight"), XferVividLight);
  EXPECT_THROW(vxtool::ParseMode("-1"), vxtool::ToolError);
  EXPECT_THROW(vxtool::ParseMode("39"), vxtool::ToolError);
  EXPECT_THROW(vxtool::ParseMode("plaid"), vxtool::ToolError);
}

TEST(CompositeRuns, MatchTheLibraryWithEveryOption) {
  vxtest::ScratchDir dir;
  WorldPtr bg = RandomToolWorld<VX_Pixel16>(40, 30, 1), layer = RandomToolWorld<VX_Pixel8>(25, 20, 2),
           matte = RandomToolWorld<VX_Pixel16>(40, 30, 3);
  vxtool::WriteImage(dir / "bg.png", *bg);
  vxtool::WriteImage(dir / "layer.png", *layer);
  vxtool::WriteImage(dir / "matte.png", *matte);
  auto r = vxtest::RunTool("composite -q " + dir / "bg.png " + dir / "layer.png -o " + dir / "out.png" +
                           " --mode soft-light --opacity 0.6 --at 7,-3 --matte " + dir / "matte.png" +
                           " --matte-kind luma-inverted --linear --keep-alpha --field odd");
  ASSERT_EQ(r.exit_code, 0) << r.out;

  // The same through the library: the layer goes to the background's depth.
  WorldPtr layer16 = vxtool::ConvertDepth(*layer, 16);
  vxtool::ComposeOptions options;
  options.mode = XferSoftLight;
  options.opacity = 0.6f;
  options.at_x = 7;
  options.at_y = -3;
  options.matte = matte.get();
  options.matte_kind = 3;
  options.linear = true;
  options.keep_alpha = true;
  options.field = 2;
  vxtool::Composite(*bg, *layer16, options, nullptr);
  EXPECT_TRUE(SameBytes(*vxtool::ReadImage(dir / "out.png"), *bg));
}

TEST(CompositeRuns, ModesSheetHasATileForEveryMode) {
  vxtest::ScratchDir dir;
  WorldPtr bg = RandomToolWorld<VX_Pixel8>(90, 60, 4), layer = RandomToolWorld<VX_Pixel8>(90, 60, 5);
  vxtool::WriteImage(dir / "bg.png", *bg);
  vxtool::WriteImage(dir / "layer.png", *layer);
  auto r = vxtest::RunTool("modes -q " + dir / "bg.png " + dir / "layer.png -o " + dir / "sheet.png");
  ASSERT_EQ(r.exit_code, 0) << r.out;
  WorldPtr sheet = vxtool::ReadImage(dir / "sheet.png");
  WorldPtr expected = vxtool::MakeContactSheet(*bg, *layer, nullptr);
  EXPECT_TRUE(SameBytes(*sheet, *expected));
  EXPECT_GT(sheet->width, 7 * 176) << "seven tiles a row";
}

TEST(CompositeRuns, DemoWritesItsFiles) {
  vxtest::ScratchDir dir;
  auto r = vxtest::RunTool("demo -q -o " + dir / "out");
  ASSERT_EQ(r.exit_code, 0) << r.out;
  for (const char* name : {"background.png", "layer.png", "matte.png", "modes-8.png", "modes-16.png",
                           "modes-float.exr", "matte-composite.png"}) {
    EXPECT_TRUE(std::filesystem::exists(dir / ("out/" + std::string(name)))) << name;
    EXPECT_NE(r.out.find(name), std::string::npos) << "the demo says what it wrote";
  }
  EXPECT_EQ(vxtool::ReadImage(dir / "out/modes-16.png")->Depth(), 16);
  EXPECT_EQ(vxtool::ReadImage(dir / "out/modes-float.exr")->Depth(), 32);
}

TEST(CompositeRuns, RefusalsAreOneLineAndWriteNothing) {
  vxtest::ScratchDir dir;
  WorldPtr a = RandomToolWorld<VX_Pixel8>(8, 8, 6);
  vxtool::WriteImage(dir / "a.png", *a);
  const std::string in = dir / "a.png " + dir / "a.png -o " + dir / "out.png";
  const std::vector<std::string> runs = {
      "composite " + in + " --mode plaid",       "composite " + in + " --opacity 1.5",
      "composite " + in + " --opacity -0.1",     "composite " + in + " --at 3",
      "composite " + in + " --matte-kind luma",  "composite " + in + " --matte " + dir / "missing.png",
      "composite " + in + " --field both",       "composite " + dir / "a.png",
      "modes " + dir / "a.png " + dir / "a.png", "composite " + dir / "a.png " + dir / "a.png -o " + dir / "o.bmp"};
  for (const std::string& args : runs) {
    auto r = vxtest::RunTool(args);
    EXPECT_NE(r.exit_code, 0) << args;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << args << ": " << r.out;
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "out.png"));
}

}  // namespace
