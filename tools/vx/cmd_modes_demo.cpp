// vx modes BG LAYER -o SHEET, and vx demo: the contact sheets.
#include <cstdio>
#include <filesystem>

#include "Commands.h"
#include "Sheet.h"
#include "Session.h"
#include "ToolError.h"

namespace vxtool {

int RunModes(const Args& args) {
  if (args.positional.size() != 2 || !args.Value("output"))
    throw ToolError("modes wants a background, a layer and -o SHEET (see vx modes --help)");
  const std::string out_path = *args.Value("output");
  CheckOutputPath(out_path);
  Session session;
  WorldPtr background = ReadImage(args.positional[0]);
  WorldPtr layer_file = ReadImage(args.positional[1]), layer_copy;
  VX_World* layer = AtDepth(*layer_file, background->Depth(), layer_copy);
  ProgressBar bar("compositing modes", !args.flags.count("quiet"));
  WorldPtr sheet = MakeContactSheet(*background, *layer, &bar);
  bar.Finish();
  WriteImage(out_path, *sheet);
  return 0;
}

int RunDemo(const Args& args) {
  const std::string dir = args.Value("output").value_or("vx-demo");
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  if (ec) throw ToolError(dir + ": " + ec.message());
  Session session;
  constexpr int32_t kWidth = 960, kHeight = 600;
  WorldPtr background = DemoBackground(kWidth, kHeight), layer = DemoLayer(kWidth, kHeight),
           matte = DemoMatte(kWidth, kHeight);
  const bool quiet = args.flags.count("quiet") > 0;
  auto wrote = [&](const std::string& name, const char* what) {
    std::printf("wrote %s/%s  (%s)\n", dir.c_str(), name.c_str(), what);
  };
  // The inputs, for trying the other commands on.
  WriteImage(dir + "/background.png", *ConvertDepth(*background, 8));
  wrote("background.png", "procedural background, 8 bits");
  WriteImage(dir + "/layer.png", *ConvertDepth(*layer, 8));
  wrote("layer.png", "soft-edged discs with alpha, 8 bits");
  WriteImage(dir + "/matte.png", *ConvertDepth(*matte, 8));
  wrote("matte.png", "radial luma matte, 8 bits");

  for (int16_t depth : {8, 16, 32}) {
    WorldPtr bg_copy, layer_copy;
    VX_World* bg = AtDepth(*background, depth, bg_copy);
    VX_World* ly = AtDepth(*layer, depth, layer_copy);
    ProgressBar bar("modes at " + std::to_string(depth) + " bits", !quiet);
    WorldPtr sheet = MakeContactSheet(*bg, *ly, &bar);
    bar.Finish();
    const std::string name = depth == 32 ? "modes-float.exr" : "modes-" + std::to_string(depth) + ".png";
    WriteImage(dir + "/" + name, *sheet);
    wrote(name, depth == 32 ? "every transfer mode, float" : depth == 8 ? "every transfer mode, 8 bits"
                                                                          : "every transfer mode, 16 bits");
  }

  WorldPtr composite = ConvertDepth(*background, 16), layer16 = ConvertDepth(*layer, 16),
           matte16 = ConvertDepth(*matte, 16);
  ComposeOptions options;
  options.mode = XferOver;
  options.matte = matte16.get();
  options.matte_kind = 2;
  ProgressBar bar("luma matte", !quiet);
  Composite(*composite, *layer16, options, bar.info());
  bar.Finish();
  WriteImage(dir + "/matte-composite.png", *composite);
  wrote("matte-composite.png", "the layer over the background through the luma matte, 16 bits");
  return 0;
}

}  // namespace vxtool
