// vx convert IN OUT [--depth 8|16|32] [--from PROFILE --to PROFILE]: depth
// conversion by the package's standard rules, then colour conversion by the
// package's colour engine.
#include "Commands.h"
#include "Image.h"
#include "Progress.h"
#include "Session.h"
#include "ToolError.h"

namespace vxtool {
namespace {

struct ProfileName {
  const char* name;
  ORX_ProfileCode code;
};
constexpr ProfileName kProfiles[] = {
    {"srgb", ORX_Profile_sRGB},         {"linear-srgb", ORX_Profile_LinearSRGB},
    {"rec709", ORX_Profile_Rec709},     {"rec2020", ORX_Profile_Rec2020},
    {"linear-rec2020", ORX_Profile_LinearRec2020}, {"display-p3", ORX_Profile_DisplayP3},
    {"prophoto", ORX_Profile_ProPhoto},
};

ORX_ProfileCode ParseProfile(const std::string& text) {
  std::string known;
  for (const ProfileName& p : kProfiles) {
    if (text == p.name) return p.code;
    known += known.empty() ? p.name : std::string(", ") + p.name;
  }
  throw ToolError("unknown profile '" + text + "' (" + known + ")");
}

}  // namespace

int RunConvert(const Args& args) {
  if (args.positional.size() != 2) throw ToolError("convert wants an input and an output (see vx convert --help)");
  const int64_t depth_arg = args.Integer("depth", 0, 0, 32);
  if (args.Has("depth") && depth_arg != 8 && depth_arg != 16 && depth_arg != 32)
    throw ToolError("--depth must be 8, 16 or 32");
  CheckOutputPath(args.positional[1]);
  if (args.flags.count("half") && !HasExtension(args.positional[1], ".exr"))
    throw ToolError("--half is for OpenEXR output; " + args.positional[1] + " is not an .exr file");
  if (args.Has("from") != args.Has("to")) throw ToolError("--from and --to go together");
  const bool recolour = args.Has("from");
  const ORX_ProfileCode from = recolour ? ParseProfile(*args.Value("from")) : ORX_Profile_sRGB;
  const ORX_ProfileCode to = recolour ? ParseProfile(*args.Value("to")) : ORX_Profile_sRGB;
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
  if (recolour) {
    WorldPtr converted = NewWorld(out->width, out->height, depth);
    try {
      VX_ConvertProfileToProfile(from, to, out.get(), converted.get(), true, bar.info());
    } catch (VX_Err err) {
      Check(err, "converting colours");
    } catch (const std::exception& e) {
      throw ToolError(std::string("converting colours failed: ") + e.what());
    }
    out = std::move(converted);
  }
  bar.Finish();
  WriteOptions options;
  options.exr_half = args.flags.count("half") > 0;
  WriteImage(args.positional[1], *out, options);
  return 0;
}

}  // namespace vxtool
