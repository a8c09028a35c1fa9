// Image files: round trips at every depth, the 16-bit levels, and bad files.
#include <unistd.h>

#include <fstream>

#include "Image.h"
#include "Levels.h"
#include "ToolError.h"
#include "support/TestWorlds.h"
#include "tools/ToolRun.h"
#include "tools/ToolWorlds.h"

namespace {

using vxtool::WorldPtr;
using vxtest::RandomToolWorld;
using vxtest::SameBytes;

TEST(Levels, EveryWorldValueSurvivesAFile) {
  for (uint32_t w = 0; w <= 32768; ++w) ASSERT_EQ(vxtool::FileToWorld16(vxtool::WorldToFile16(w)), w);
  EXPECT_EQ(vxtool::WorldToFile16(32768), 65535);
  EXPECT_EQ(vxtool::FileToWorld16(65535), 32768);
  // A file value goes to the nearest world value.
  for (uint32_t f = 0; f <= 65535; f += 3) {
    const double exact = f * 32768.0 / 65535.0;
    ASSERT_LE(std::abs(vxtool::FileToWorld16(f) - exact), 0.5 + 1e-9) << f;
  }
}

TEST(Files, PngAndExrRoundTripAtEveryDepth) {
  vxtest::ScratchDir dir;
  WorldPtr w8 = RandomToolWorld<VX_Pixel8>(37, 11, 1), w16 = RandomToolWorld<VX_Pixel16>(37, 11, 2),
           wf = RandomToolWorld<VX_PixelFloat>(37, 11, 3);
  vxtool::WriteImage(dir / "a8.png", *w8);
  vxtool::WriteImage(dir / "a16.png", *w16);
  vxtool::WriteImage(dir / "af.exr", *wf);
  EXPECT_TRUE(SameBytes(*vxtool::ReadImage(dir / "a8.png"), *w8));
  EXPECT_TRUE(SameBytes(*vxtool::ReadImage(dir / "a16.png"), *w16));
  EXPECT_TRUE(SameBytes(*vxtool::ReadImage(dir / "af.exr"), *wf));
  vxtool::WriteOptions half;
  half.exr_half = true;
  vxtool::WriteImage(dir / "ah.exr", *wf, half);
  WorldPtr back = vxtool::ReadImage(dir / "ah.exr");
  const auto& p = static_cast<VX_WorldFloat&>(*back).PixelAt(5, 5)[0];
  const auto& q = static_cast<VX_WorldFloat&>(*wf).PixelAt(5, 5)[0];
  EXPECT_NEAR(p.green, q.green, 1e-3);
  // A float world written as PNG goes through 16 bits.
  vxtool::WriteImage(dir / "af.png", *wf);
  EXPECT_EQ(vxtool::ReadImage(dir / "af.png")->Depth(), 16);
}

TEST(Files, BrokenAndMissingFilesAreOneClearError) {
  vxtest::ScratchDir dir;
  WorldPtr w8 = RandomToolWorld<VX_Pixel8>(64, 64, 4);
  vxtool::WriteImage(dir / "good.png", *w8);
  std::ifstream in(dir / "good.png", std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::ofstream(dir / "cut.png", std::ios::binary) << bytes.substr(0, bytes.size() / 2);
  std::ofstream(dir / "text.png") << "hello";
  std::ofstream(dir / "text.exr") << "hello";
  for (const char* name : {"cut.png", "text.png", "text.exr", "missing.png"}) {
    try {
      vxtool::ReadImage(dir / name);
      ADD_FAILURE() << name;
    } catch (const vxtool::ToolError& e) {
      EXPECT_NE(std::string(e.what()).find(name), std::string::npos) << e.what();
    }
  }
  EXPECT_THROW(vxtool::WriteImage(dir / "out.jpg", *w8), vxtool::ToolError);
  EXPECT_THROW(vxtool::WriteImage(dir / "no/such/folder/out.png", *w8), vxtool::ToolError);
  for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
    EXPECT_EQ(entry.path().string().find(".tmp-"), std::string::npos) << "no temporary file is left";
}

TEST(ToolRuns, InfoAndConvertAgreeWithTheLibrary) {
  vxtest::ScratchDir dir;
  WorldPtr w16 = RandomToolWorld<VX_Pixel16>(20, 9, 5);
  vxtool::WriteImage(dir / "in.png", *w16);
  auto info = vxtest::RunTool("info " + dir / "in.png");
  ASSERT_EQ(info.exit_code, 0) << info.out;
  EXPECT_NE(info.out.find("20 x 9"), std::string::npos);
  EXPECT_NE(info.out.find("depth     16"), std::string::npos);

  auto convert = vxtest::RunTool("convert --quiet " + dir / "in.png " + dir / "out.png --depth 8");
  ASSERT_EQ(convert.exit_code, 0) << convert.out;
  WorldPtr expected = vxtool::ConvertDepth(*w16, 8);
  EXPECT_TRUE(SameBytes(*vxtool::ReadImage(dir / "out.png"), *expected));
}

TEST(ToolRuns, ColourConversionMatchesTheLibrary) {
  vxtest::ScratchDir dir;
  WorldPtr w8 = RandomToolWorld<VX_Pixel8>(16, 8, 6);
  vxtool::WriteImage(dir / "in.png", *w8);
  auto r = vxtest::RunTool("convert -q " + dir / "in.png " + dir / "out.exr --depth 32 --from srgb --to linear-srgb");
  ASSERT_EQ(r.exit_code, 0) << r.out;
  WorldPtr as_float = vxtool::ConvertDepth(*w8, 32);
  WorldPtr expected = vxtool::NewWorld(16, 8, 32);
  VX_ConvertProfileToProfile(ORX_Profile_sRGB, ORX_Profile_LinearSRGB, as_float.get(), expected.get(), true, nullptr);
  EXPECT_TRUE(SameBytes(*vxtool::ReadImage(dir / "out.exr"), *expected));
}

TEST(ToolRuns, ErrorsExitNonZeroWithOneLineAndWriteNothing) {
  vxtest::ScratchDir dir;
  const std::vector<std::string> runs = {
      "info", "info " + dir / "missing.png", "convert " + dir / "missing.png " + dir / "o.png",
      "convert a.png " + dir / "o.tif", "convert a.png b.png --depth 12", "frobnicate", "info --bogus x",
      "convert a.png b.png --from srgb", "convert a.png b.png --from srgb --to cmyk"};
  for (const std::string& args : runs) {
    auto r = vxtest::RunTool(args);
    EXPECT_NE(r.exit_code, 0) << args;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << args << ": " << r.out;
  }
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
  EXPECT_EQ(vxtest::RunTool("convert --help").exit_code, 0);
}

}  // namespace
