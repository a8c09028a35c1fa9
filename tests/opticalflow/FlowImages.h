// Images for the flow tests: textures with detail at several scales, and
// pairs related by a known shift under the flow's convention
// B(x,y) = A(x - vx, y + vy).
#pragma once

#include <cmath>
#include <cstdint>

#include "vx/opticalflow/Texture.h"

namespace flowtest {

// A smooth function of the plane with a seed, values about 0.1 to 0.9.
inline float Pattern(float x, float y, uint32_t seed) {
  const float s = float(seed % 97) * 0.37f;
  return 0.5f + 0.17f * std::sin(x * 0.29f + s) * std::cos(y * 0.23f - s) + 0.13f * std::sin(x * 0.11f - y * 0.37f + s) +
         0.1f * std::cos(0.53f * x + 0.41f * y + 2 * s);
}

inline void FillTexture(FnFloatTexture& t, uint32_t seed) {
  for (int32_t y = 0; y < t.height(); ++y)
    for (int32_t x = 0; x < t.width(); ++x) t.rawRow(y)[x] = Pattern(float(x) + 0.5f, float(y) + 0.5f, seed);
  t.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
}

// A and B of one pattern, B moved by `shift`.
inline void Shifted(FnFloatTexture& A, FnFloatTexture& B, HvVec2 shift, uint32_t seed = 11) {
  for (int32_t y = 0; y < A.height(); ++y)
    for (int32_t x = 0; x < A.width(); ++x) {
      A.rawRow(y)[x] = Pattern(float(x) + 0.5f, float(y) + 0.5f, seed);
      B.rawRow(y)[x] = Pattern(float(x) + 0.5f - shift.x, float(y) + 0.5f + shift.y, seed);
    }
  A.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  B.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
}

}  // namespace flowtest
