// The fused matte-family pipeline with AVX2.
#include "composite/spans/SpanMatteFused.h"

template <class Pixel>
VXp_FusedMatteProc<Pixel> VXp_FusedMatte_AVX2(int32_t mode) {
  return FusedMatteEntry<Pixel>(mode);
}

template VXp_FusedMatteProc<VX_Pixel8> VXp_FusedMatte_AVX2<VX_Pixel8>(int32_t);
template VXp_FusedMatteProc<VX_Pixel16> VXp_FusedMatte_AVX2<VX_Pixel16>(int32_t);
template VXp_FusedMatteProc<VX_PixelFloat> VXp_FusedMatte_AVX2<VX_PixelFloat>(int32_t);
