// Signals at each stage of a run: the tool stops within a moment, exits with
// 128 + the signal, says which stage it stopped in, removes its temporary
// file and leaves an existing output byte for byte. The tool's pause hook
// holds the stage open until the signal comes.
#include <csignal>
#include <filesystem>
#include <fstream>

#include "Image.h"
#include "support/TestWorlds.h"
#include "tools/ToolChild.h"
#include "tools/ToolRun.h"
#include "tools/ToolWorlds.h"

namespace {

namespace fs = std::filesystem;

std::string Contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Interruption {
  std::vector<std::string> arguments;  // after the tool's path; OUT is the output
  const char* stage;
  int signal;
};

TEST(Interrupts, EveryStageStopsCleanlyOnEverySignal) {
  vxtest::ScratchDir dir;
  vxtool::WriteImage(dir / "bg.png", *vxtest::RandomToolWorld<VX_Pixel8>(300, 200, 1));
  vxtool::WriteImage(dir / "layer.exr", *vxtest::RandomToolWorld<VX_PixelFloat>(300, 200, 2));
  const std::string png = dir / "out.png", exr = dir / "out.exr";
  const std::vector<std::string> composite_png = {"composite", "-q", dir / "bg.png", dir / "layer.exr", "-o", png};
  const std::vector<std::string> composite_exr = {"composite", "-q", dir / "layer.exr", dir / "bg.png", "-o", exr};
  const std::vector<std::string> convert_exr = {"convert", "-q", dir / "bg.png", exr, "--half"};
  const Interruption runs[] = {
      {composite_png, "reading", SIGINT},      {composite_png, "reading", SIGTERM},
      {composite_png, "reading", SIGHUP},      {composite_png, "compositing", SIGINT},
      {composite_png, "compositing", SIGTERM}, {composite_png, "compositing", SIGHUP},
      {composite_png, "writing", SIGINT},      {composite_png, "writing", SIGTERM},
      {composite_png, "writing", SIGHUP},      {composite_exr, "reading", SIGINT},
      {composite_exr, "writing", SIGTERM},     {convert_exr, "converting", SIGINT},
  };
  std::ofstream(png, std::ios::binary) << "an older PNG";
  std::ofstream(exr, std::ios::binary) << "an older EXR";
  for (const Interruption& run : runs) {
    const std::string what = std::string(run.stage) + " " + run.arguments[0] + " signal " + std::to_string(run.signal);
    const vxtest::ChildResult r = vxtest::RunChild(VX_TOOL_PATH, run.arguments,
                                                   {std::string("VX_TOOL_PAUSE_AT=") + run.stage},
                                                   std::string("paused while ") + run.stage, run.signal);
    EXPECT_EQ(r.exit_code, 128 + run.signal) << what << ": " << r.out;
    EXPECT_NE(r.out.find(std::string("interrupted while ") + run.stage), std::string::npos) << what << ": " << r.out;
    EXPECT_LT(r.seconds_after_signal, 1.0) << what;
    EXPECT_EQ(Contents(png), "an older PNG") << what;
    EXPECT_EQ(Contents(exr), "an older EXR") << what;
    for (const auto& entry : fs::directory_iterator(dir.path()))
      EXPECT_EQ(entry.path().string().find(".tmp-"), std::string::npos) << what << ": " << entry.path();
  }
  // Unhindered, the same runs replace the outputs.
  EXPECT_EQ(vxtest::RunChild(VX_TOOL_PATH, composite_png).exit_code, 0);
  EXPECT_EQ(vxtool::ReadImage(png)->width, 300);
}

}  // namespace
