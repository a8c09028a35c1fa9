// The recolour modes on vector lanes with AVX-512's mask registers.
#define VX_RECOLOUR_BLOCKS TwoBlocks
#include "composite/spans/SpanRecolour.h"

template <class Pixel>
VXp_SpanRecolourProc<Pixel> VXp_SpanRecolour_AVX512(int32_t mode) {
  return RecolourEntry<Pixel>(mode);
}

template VXp_SpanRecolourProc<VX_Pixel8> VXp_SpanRecolour_AVX512<VX_Pixel8>(int32_t);
template VXp_SpanRecolourProc<VX_Pixel16> VXp_SpanRecolour_AVX512<VX_Pixel16>(int32_t);
template VXp_SpanRecolourProc<VX_PixelFloat> VXp_SpanRecolour_AVX512<VX_PixelFloat>(int32_t);
