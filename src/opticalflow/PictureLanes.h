// The picture's vector form at 8 bits: eight pixels of a row at a time,
// where all eight are seen from both frames and sample inside both.
#pragma once

#include <cstdint>

#include "vx/opticalflow/Elements.h"

struct FnPictureRow8 {
  const uint32_t* frameA;  // pixels as words: alpha, red, green, blue bytes
  const uint32_t* frameB;
  int32_t strideA, strideB;  // in pixels
  int32_t width, height;
  const HvVec2* vectorsA;  // the row's a and b
  const HvVec2* vectorsB;
  const int* labels;
  uint32_t* out;
  float t, wa, wb, py;
  double rest;  // 1 - t in double
};

// Pixels x to x+7 as the scalar picture makes them, or false (nothing
// written) when one of them has a label, a missing vector, or a sample whose
// neighbourhood leaves a frame.
bool FnPictureGroup8_AVX2(const FnPictureRow8& row, int32_t x);
