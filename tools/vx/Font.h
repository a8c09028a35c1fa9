// A small built-in bitmap font (5 x 7 pixels a glyph, capitals, digits and a
// few signs) for labelling contact sheets.
#pragma once

#include <string>

#include "vx/Types.h"

class VX_World;

namespace vxtool {

constexpr int kGlyphWidth = 5, kGlyphHeight = 7;

// Pixels a text takes at a scale (one glyph column of spacing).
int TextWidth(const std::string& text, int scale);

// Draws text with its top-left corner at (x, y), clipped to the world, in an
// opaque colour given as 0..1 floats; letters are drawn in capitals.
void DrawText(VX_World& world, const std::string& text, int x, int y, int scale, float red, float green, float blue);

}  // namespace vxtool
