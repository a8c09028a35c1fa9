// The colour coding of motion fields: hue for the direction in which content
// moves, saturation for the length (white is no motion), and black for
// places where no vector was found.
#pragma once

#include <cstdint>

namespace vxtool {

struct Rgb8 {
  uint8_t r, g, b;
};

// (dx, dy): the motion in image axes, x right and y down. Hue 0 (red) is a
// motion to the right, 90 degrees (yellow-green) downwards, 180 (cyan) to
// the left; full saturation at `longest`.
Rgb8 FlowColour(float dx, float dy, float longest);
constexpr Rgb8 kNoVectorColour{0, 0, 0};

}  // namespace vxtool
