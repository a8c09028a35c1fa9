// Filling a row with one pixel value: a scalar form and a 16-byte-store form
// chosen per call by the CPU record.
#pragma once

#include <cstring>

#include "core/Internal.h"

// True when every byte of the pixel is zero (so a byte clear stores it).
template <class Pixel>
inline bool VXp_AllBitsZero(const Pixel& p) {
  static const Pixel zero{};
  return std::memcmp(&p, &zero, sizeof p) == 0;
}

template <class Pixel>
using VXp_FillRowFunc = void (*)(Pixel* row, int32_t count, const Pixel& value);

template <class Pixel>
void VXp_FillRow_Scalar(Pixel* row, int32_t count, const Pixel& value);
template <class Pixel>
void VXp_FillRow_SSE2(Pixel* row, int32_t count, const Pixel& value);

template <class Pixel>
VXp_FillRowFunc<Pixel> VXp_ChooseFillRow() {
  return VXp_HasSSE2() ? &VXp_FillRow_SSE2<Pixel> : &VXp_FillRow_Scalar<Pixel>;
}
