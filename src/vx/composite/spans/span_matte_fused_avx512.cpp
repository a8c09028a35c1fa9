// The fused matte-family pipeline with AVX-512's byte permutes for the 8-bit
// soft-light curve.
#include "composite/spans/SpanMatteFused.h"

template <class Pixel>
VXp_FusedMatteProc<Pixel> VXp_FusedMatte_AVX512(int32_t mode) {
  return FusedMatteEntry<Pixel>(mode);
}

template VXp_FusedMatteProc<VX_Pixel8> VXp_FusedMatte_AVX512<VX_Pixel8>(int32_t);
template VXp_FusedMatteProc<VX_Pixel16> VXp_FusedMatte_AVX512<VX_Pixel16>(int32_t);
template VXp_FusedMatteProc<VX_PixelFloat> VXp_FusedMatte_AVX512<VX_PixelFloat>(int32_t);
