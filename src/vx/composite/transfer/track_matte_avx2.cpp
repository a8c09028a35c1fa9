// Luma-times-alpha matte rows, eight pixels a step at each depth: the scalar
// rule (the product of alpha and luma, clamped at float, inverted for kind
// 3) on lanes. Only the output's alphas change, as in the scalar loop.
#include "composite/spans/SpanLanes.h"
#include "composite/transfer/TrackMatte.h"

template <class Pixel>
uint32_t VXp_LumaMatte_AVX2(uint32_t count, const Pixel* row, bool invert, Pixel* out) {
  typedef vx::LanesOf<Pixel, false> IO;
  typedef typename IO::M M;
  typedef typename M::T T;
  uint32_t i = 0;
  for (; i + 8 <= count; i += 8) {
    T c[4], o[4];
    IO::Load(row + i, c);
    T v = M::mul(c[0], M::luma(c[1], c[2], c[3]));
    if constexpr (M::kFloat) v = M::Select(v > T(1.0f), T(1.0f), M::Select(v < T(1e-16f), T(0.0f), v));
    if (invert) v = M::inv(v);
    IO::Load(out + i, o);
    o[0] = v;
    IO::Store(out + i, o);
  }
  return i;
}

template uint32_t VXp_LumaMatte_AVX2(uint32_t, const VX_Pixel8*, bool, VX_Pixel8*);
template uint32_t VXp_LumaMatte_AVX2(uint32_t, const VX_Pixel16*, bool, VX_Pixel16*);
template uint32_t VXp_LumaMatte_AVX2(uint32_t, const VX_PixelFloat*, bool, VX_PixelFloat*);
