// Rows of a float image displaced by a vector, shared by the gradient step
// and the block error so that both read A the same way.
#pragma once

#include <algorithm>
#include <cstring>

#include "vx/opticalflow/Texture.h"

// A displacement split into whole pixels and fractions: the source of pixel
// (x,y) is (x + iu + fx, y + iv + fy), iu = floor(-u) and iv = floor(v).
struct FnShift {
  int32_t iu, iv;
  float fx, fy;
  bool zero;
};

inline FnShift FnSplitShift(HvVec2 v) {
  FnShift s;
  s.iu = FnFloorSplit(-v.x, &s.fx);
  s.iv = FnFloorSplit(v.y, &s.fy);
  s.zero = v.x == 0.0f && v.y == 0.0f;
  return s;
}

// The bilinear value, formed first between the two rows, then between the
// two columns.
inline float FnWarpValue(float a00, float a10, float a01, float a11, float fx, float fy) {
  return FnLerp(FnLerp(a00, a01, fy), FnLerp(a10, a11, fy), fx);
}

// out[x - x0] for x in [x0, x1) on row y (data positions), A's edge rules
// where the neighbourhood leaves its window. The zero vector is a copy.
inline void FnWarpRow(const FnFloatTexture& A, const FnShift& s, int32_t y, int32_t x0, int32_t x1, float* out) {
  const FnTexAxis& ax = A.xAxis;
  if (s.zero) {
    const int32_t j = A.yAxis.resolve(y);
    if (j >= 0 && x0 >= ax.first && x1 <= ax.first + ax.count) {
      std::memcpy(out, A.rawRow(j) + x0, sizeof(float) * size_t(x1 - x0));
      return;
    }
    for (int32_t x = x0; x < x1; ++x) out[x - x0] = A.readData(x, y);
    return;
  }
  const int32_t j0 = A.yAxis.resolve(y + s.iv), j1 = A.yAxis.resolve(y + s.iv + 1);
  const float* r0 = j0 < 0 ? nullptr : A.rawRow(j0);
  const float* r1 = j1 < 0 ? nullptr : A.rawRow(j1);
  const float fx = s.fx, fy = s.fy;
  // Columns whose two neighbours both lie in the window: x + iu in [first, last).
  int32_t lo = x0, hi = x0;
  if (r0 && r1) {
    lo = std::clamp(ax.first - s.iu, x0, x1);
    hi = std::clamp(ax.last - s.iu, lo, x1);
  }
  auto edge = [&](int32_t x) {
    const int32_t i0 = ax.resolve(x + s.iu), i1 = ax.resolve(x + s.iu + 1);
    auto at = [&](const float* r, int32_t i) { return (r && i >= 0) ? r[i] : A.outsideValue; };
    out[x - x0] = FnWarpValue(at(r0, i0), at(r0, i1), at(r1, i0), at(r1, i1), fx, fy);
  };
  for (int32_t x = x0; x < lo; ++x) edge(x);
  const float* a0 = r0 ? r0 + s.iu : nullptr;
  const float* a1 = r1 ? r1 + s.iu : nullptr;
  for (int32_t x = lo; x < hi; ++x) out[x - x0] = FnWarpValue(a0[x], a0[x + 1], a1[x], a1[x + 1], fx, fy);
  for (int32_t x = hi; x < x1; ++x) edge(x);
}

// Whether every bilinear neighbourhood of the block's pixels, displaced, lies
// in A's window, with data positions equal to coordinates: rows can then be
// read by pointer.
inline bool FnWarpInside(const FnFloatTexture& A, const FnShift& s, int32_t left, int32_t right, int32_t bottom,
                         int32_t top) {
  const FnTexAxis& ax = A.xAxis;
  const FnTexAxis& ay = A.yAxis;
  return left + s.iu >= ax.first && right + s.iu <= ax.last && bottom + s.iv >= ay.first && top + s.iv <= ay.last;
}

// One row of a block known inside: out[k] for x = left + k.
inline void FnWarpRowInside(const FnFloatTexture& A, const FnShift& s, int32_t y, int32_t left, int32_t n, float* out) {
  const float* a0 = A.rawRow(y + s.iv) + left + s.iu;
  const float* a1 = A.rawRow(y + s.iv + 1) + left + s.iu;
  for (int32_t k = 0; k < n; ++k) out[k] = FnWarpValue(a0[k], a0[k + 1], a1[k], a1[k + 1], s.fx, s.fy);
}

// Whether a source coordinate c (a pixel centre, c = x + 0.5 - u) has both
// bilinear neighbours in an axis of n pixels: floor(c) >= 0, ceil(c) < n.
// For an integer bound these are c >= 0 and c <= n - 1, with no rounding call.
inline bool FnSourceInside(float c, int32_t n) { return c >= 0.0f && c <= float(n - 1); }
