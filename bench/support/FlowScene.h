// A synthetic scene with known motion and occlusion, for the flow benchmarks
// and the quality evaluation: a textured background panning one way and a
// textured square moving the other way over it, painted at any time, so the
// true in-between frame is known.
#pragma once

#include <cmath>
#include <cstdint>

#include "vx/opticalflow/Texture.h"

namespace vxbench {

// Smooth texture with detail at several scales, 0..1.
inline float SceneTexture(float x, float y, float seed) {
  return 0.5f + 0.18f * std::sin(x * 0.021f + seed) * std::cos(y * 0.017f - seed) +
         0.12f * std::sin(x * 0.093f + y * 0.051f + 2.0f * seed) + 0.08f * std::sin(x * 0.31f - seed) * std::sin(y * 0.27f) +
         0.05f * std::cos((x - y) * 0.6f + seed);
}

struct SceneMotion {
  float backgroundX = 12.0f, backgroundY = -5.0f;  // pixels per unit of time, at 1920 wide
  float squareX = -30.0f, squareY = 14.0f;
};

// The frame at time t (0 and 1 are the pair; 0.5 the true middle). Sizes
// other than 1920x1080 scale the scene.
template <class P>
void PaintScene(FnTexture<P, FnPixelF>& frame, float t, const SceneMotion& m = {}) {
  const float white = sizeof(frame.rawRow(0)[0].red) == 1 ? 255.0f : sizeof(frame.rawRow(0)[0].red) == 2 ? 32768.0f : 1.0f;
  const float s = float(frame.width()) / 1920.0f;
  const float bx = m.backgroundX * t * s, by = m.backgroundY * t * s;
  const float sx = m.squareX * t * s, sy = m.squareY * t * s;
  const float left = 760.0f * s + sx, top = 380.0f * s + sy, size = 320.0f * s;
  for (int32_t y = 0; y < frame.height(); ++y) {
    P* row = frame.rawRow(y);
    for (int32_t x = 0; x < frame.width(); ++x) {
      const float px = (float(x) + 0.5f) / s, py = (float(y) + 0.5f) / s;
      const float qx = float(x) + 0.5f, qy = float(y) + 0.5f;
      const bool inSquare = qx >= left && qx < left + size && qy >= top && qy < top + size;
      float r, g, b;
      if (inSquare) {
        const float u = (qx - sx) / s, v = (qy - sy) / s;
        r = SceneTexture(u, v, 4.0f), g = 0.3f + 0.5f * SceneTexture(v, u, 1.0f), b = 0.2f;
      } else {
        const float u = px - bx / s, v = py - by / s;
        r = SceneTexture(u, v, 0.0f), g = SceneTexture(u * 0.7f, v * 1.3f, 2.0f), b = 0.6f * SceneTexture(v, u, 3.0f);
      }
      auto put = [&](float c) {
        const float v = c * white;
        return white == 1.0f ? v : std::floor(v + 0.5f);
      };
      using C = decltype(row[x].red);
      row[x].alpha = C(white);
      row[x].red = C(put(r)), row[x].green = C(put(g)), row[x].blue = C(put(b));
    }
  }
}

}  // namespace vxbench
