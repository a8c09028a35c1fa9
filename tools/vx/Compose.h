// Compositing through the package, shared by the composite, modes and demo
// commands.
#pragma once

#include <memory>
#include <string>

#include "Image.h"
#include "vx/VX.h"

namespace vxtool {

struct ComposeOptions {
  int32_t mode = XferOver;
  float opacity = 1.0f;
  int32_t at_x = 0, at_y = 0;    // the layer's top-left corner on the background
  const VX_World* matte = nullptr;  // aligned with the background
  int32_t matte_kind = 0;        // 0 alpha, 1 inverted alpha, 2 luma, 3 inverted luma
  bool linear = false;           // blend in linear light (sRGB working space)
  bool keep_alpha = false;
  int32_t field = 0;             // 1 even rows, 2 odd rows, other all
};

// Composites `layer` onto `background` in place; both (and the matte) must
// have one depth. Throws ToolError with the package's report on failure.
void Composite(VX_World& background, VX_World& layer, const ComposeOptions& options, VX_ProgressInfo* progress);

// "over", "soft-light", "XferSoftLight" or a number from -3 to 38.
int32_t ParseMode(const std::string& text);
// The short name of a mode: "soft-light".
std::string ModeLabel(int32_t mode);
int32_t ParseMatteKind(const std::string& text);

// A copy of `world` at `depth` (itself when it has that depth already).
VX_World* AtDepth(VX_World& world, int16_t depth, WorldPtr& holder);

}  // namespace vxtool
