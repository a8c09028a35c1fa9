// The list of subcommands: names, usage, options.
#include "Commands.h"

namespace vxtool {

const OptionDef kQuietOption{"quiet", 'q', false, "no progress bar"};
const OptionDef kMaxMemoryOption{"max-memory", 0, true,
                                 "the most one image may take, such as 2G; default VX_MAX_IMAGE_BYTES or a quarter of memory"};

const std::vector<Command>& AllCommands() {
  static const std::vector<Command> commands = {
      {"info", "FILE", "size, depth, channel statistics and alpha coverage of an image", {kQuietOption, kMaxMemoryOption}, RunInfo},
      {"convert",
       "IN OUT",
       "convert an image's depth (and colour space) through the package",
       {{"depth", 0, true, "8, 16 or 32 (float); default: the input's"},
        {"half", 0, false, "OpenEXR output in half floats"},
        {"from", 0, true, "the input's profile: srgb, linear-srgb, rec709, rec2020, linear-rec2020, display-p3, prophoto"},
        {"to", 0, true, "the output's profile, from the same list"},
        kQuietOption, kMaxMemoryOption},
       RunConvert},
      {"composite",
       "BG LAYER -o OUT",
       "composite a layer onto a background in a transfer mode, through the package",
       {{"output", 'o', true, "the output image (.png or .exr)"},
        {"mode", 0, true, "a mode's name (over, multiply, soft-light, hue, ...) or number; default over"},
        {"opacity", 0, true, "0 to 1; default 1"},
        {"at", 0, true, "X,Y: the layer's top-left corner on the background; default 0,0"},
        {"matte", 0, true, "a track matte image, aligned with the background"},
        {"matte-kind", 0, true, "alpha, alpha-inverted, luma or luma-inverted; default alpha"},
        {"linear", 0, false, "blend in linear light"},
        {"keep-alpha", 0, false, "keep the background's alpha"},
        {"field", 0, true, "even or odd: draw one field of an interlaced frame"},
        kQuietOption, kMaxMemoryOption},
       RunComposite},
      {"modes",
       "BG LAYER -o SHEET",
       "a contact sheet of every transfer mode, each tile labelled with its name",
       {{"output", 'o', true, "the sheet (.png or .exr)"}, kQuietOption, kMaxMemoryOption},
       RunModes},
      {"demo",
       "[-o DIR]",
       "make inputs procedurally and write contact sheets at 8, 16 and float bits and a matte composite",
       {{"output", 'o', true, "the folder to write into; default vx-demo"}, kQuietOption, kMaxMemoryOption},
       RunDemo},
      {"flow",
       "A B -o FLOW.png",
       "estimate the motion from A to B and write it colour-coded (hue direction, saturation length, black none)",
       {{"output", 'o', true, "the field as an image (.png or .exr)"},
        {"proxy", 0, true, "estimate at this fraction of the size, 0.05 to 1; default 0.2"},
        {"vectors", 0, false, "draw arrows over the colours"},
        kQuietOption},
       RunFlow},
  };
  return commands;
}

}  // namespace vxtool
