// vx convert IN OUT [--depth 8|16|32]: depth conversion by the package's
// standard rules.
#include "Commands.h"
#include "Image.h"
#include "Progress.h"
#include "Session.h"
#include "ToolError.h"

namespace vxtool {

int RunConvert(const Args& args) {
  if (args.positional.size() != 2) throw ToolError("convert wants an input and an output (see vx convert --help)");
  const double depth_arg = args.Number("depth", 0);
  if (args.Has("depth") && depth_arg != 8 && depth_arg != 16 && depth_arg != 32)
    throw ToolError("--depth must be 8, 16 or 32");
  CheckOutputPath(args.positional[1]);
  Session session;
  WorldPtr in = ReadImage(args.positional[0]);
  const int16_t depth = args.Has("depth") ? static_cast<int16_t>(depth_arg) : in->Depth();
  WorldPtr out = NewWorld(in->width, in->height, depth);
  ProgressBar bar("converting", !args.flags.count("quiet"));
  try {
    out->CopyRectPossiblyDifferentBitdepth(in.get(), GEO_LRect{0, 0, in->width, in->height}, false, 0, 0, bar.info());
  } catch (VX_Err err) {
    Check(err, "converting");
  }
  bar.Finish();
  WriteOptions options;
  options.exr_half = args.flags.count("half") > 0;
  WriteImage(args.positional[1], *out, options);
  return 0;
}

}  // namespace vxtool
