// vx composite BG LAYER -o OUT: one transfer through the package.
#include <cstdint>

#include "Commands.h"
#include "Compose.h"
#include "Progress.h"
#include "Session.h"
#include "ToolError.h"

namespace vxtool {
namespace {

void ParseAt(const std::string& text, int32_t* x, int32_t* y) {
  const size_t comma = text.find(',');
  if (comma == std::string::npos) throw ToolError("--at wants X,Y (for example 10,-20), not '" + text + "'");
  *x = static_cast<int32_t>(ParseInteger(text.substr(0, comma), INT32_MIN, INT32_MAX, "--at X"));
  *y = static_cast<int32_t>(ParseInteger(text.substr(comma + 1), INT32_MIN, INT32_MAX, "--at Y"));
}

}  // namespace

int RunComposite(const Args& args) {
  if (args.positional.size() != 2 || !args.Value("output"))
    throw ToolError("composite wants a background, a layer and -o OUT (see vx composite --help)");
  const std::string out_path = *args.Value("output");
  CheckOutputPath(out_path);
  ComposeOptions options;
  if (auto mode = args.Value("mode")) options.mode = ParseMode(*mode);
  options.opacity = static_cast<float>(args.Number("opacity", 1.0));
  if (!(options.opacity >= 0.0f && options.opacity <= 1.0f)) throw ToolError("--opacity must be between 0 and 1");
  if (auto at = args.Value("at")) ParseAt(*at, &options.at_x, &options.at_y);
  if (auto kind = args.Value("matte-kind")) options.matte_kind = ParseMatteKind(*kind);
  if (args.Has("matte-kind") && !args.Has("matte")) throw ToolError("--matte-kind goes with --matte FILE");
  options.linear = args.flags.count("linear") > 0;
  options.keep_alpha = args.flags.count("keep-alpha") > 0;
  if (auto field = args.Value("field")) {
    if (*field == "even")
      options.field = 1;
    else if (*field == "odd")
      options.field = 2;
    else
      throw ToolError("--field must be even or odd");
  }

  Session session;
  WorldPtr background = ReadImage(args.positional[0]);
  WorldPtr layer_file = ReadImage(args.positional[1]), layer_copy, matte_file, matte_copy;
  VX_World* layer = AtDepth(*layer_file, background->Depth(), layer_copy);
  if (auto matte = args.Value("matte")) {
    matte_file = ReadImage(*matte);
    options.matte = AtDepth(*matte_file, background->Depth(), matte_copy);
  }
  ProgressBar bar("compositing", !args.flags.count("quiet"));
  Composite(*background, *layer, options, bar.info());
  bar.Finish();
  WriteImage(out_path, *background);
  return 0;
}

}  // namespace vxtool
