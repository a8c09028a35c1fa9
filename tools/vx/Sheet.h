// Contact sheets of every transfer mode, and the procedural images of the
// demo.
#pragma once

#include "Compose.h"
#include "Progress.h"

namespace vxtool {

// A sheet of tiles, one a mode from -3 to 38 in order, each the layer over
// the background in that mode and labelled with the mode's name. The sheet
// has the background's depth.
WorldPtr MakeContactSheet(VX_World& background, VX_World& layer, ProgressBar* bar);

// An average-of-area reduction to width x height, alpha-weighted so
// transparent pixels don't darken their neighbours; the result has `depth`.
WorldPtr Reduce(const VX_World& world, int32_t width, int32_t height, int16_t depth);

// The demo's inputs, made in float: a background of gradients, a layer of
// soft-edged discs, and a matte whose luma falls off from the centre.
WorldPtr DemoBackground(int32_t width, int32_t height);
WorldPtr DemoLayer(int32_t width, int32_t height);
WorldPtr DemoMatte(int32_t width, int32_t height);

}  // namespace vxtool
