// The list of subcommands: names, usage, options.
#include "Commands.h"

namespace vxtool {

const OptionDef kQuietOption{"quiet", 'q', false, "no progress bar"};

const std::vector<Command>& AllCommands() {
  static const std::vector<Command> commands = {
      {"info", "FILE", "size, depth, channel statistics and alpha coverage of an image", {kQuietOption}, RunInfo},
      {"convert",
       "IN OUT",
       "convert an image's depth (and colour space) through the package",
       {{"depth", 0, true, "8, 16 or 32 (float); default: the input's"},
        {"half", 0, false, "OpenEXR output in half floats"},
        {"from", 0, true, "the input's profile: srgb, linear-srgb, rec709, rec2020, linear-rec2020, display-p3, prophoto"},
        {"to", 0, true, "the output's profile, from the same list"},
        kQuietOption},
       RunConvert},
  };
  return commands;
}

}  // namespace vxtool
