// XferOver at 16 bits and float, eight pixels a step: over's own rule
// (OverColour) on lanes. A full source replaces the pixel, a clear
// destination takes the source at its scaled alpha, and elsewhere the rule
// runs. Blocks whose sources are all clear are skipped, all full copied.
#include <cstring>

#include "composite/formulas/XferDirect.h"
#include "composite/spans/SpanLanes.h"
#include "composite/spans/SpanVector.h"

namespace {

using namespace vx::simd;

template <class Pixel, bool Scale, bool HasMask>
VX_INLINE void Block(const Pixel* src, const Pixel* mask, typename vx::LanesOf<Pixel>::T opacity, Pixel* dst) {
  typedef vx::LanesOf<Pixel> IO;
  typedef typename IO::M M;
  typedef typename M::T T;
  T s[4], d[4];
  const T sa = vx::LoadScaledSource<IO, Scale, HasMask>(src, mask, opacity, s);
  const auto none = sa == T(0), full = sa == T(M::kWhite);
  if (All(none)) return;
  if (All(full)) {
    std::memcpy(dst, src, IO::kPixels * sizeof(Pixel));
    return;
  }
  IO::Load(dst, d);
  const T da = d[0];
  const auto clear = da == T(0);
  const T ra = M::Union(sa, da);
  T out[4];
  out[0] = M::Select(clear, sa, ra);
  _Pragma("GCC unroll 4")
  for (int k = 1; k < 4; ++k) out[k] = M::Select(clear, s[k], vx::OverColour<M>(s[k], sa, d[k], da, ra));
  _Pragma("GCC unroll 4")
  for (int k = 0; k < 4; ++k) d[k] = M::Select(none, d[k], M::Select(full, s[k], out[k]));
  IO::Store(dst, d);
}

template <class Pixel, bool Scale, bool HasMask>
VX_Err Run(int32_t count, const Pixel* src, const Pixel* mask, typename vx::LanesOf<Pixel>::T opacity, Pixel* dst) {
  EachBlockOf<vx::LanesOf<Pixel>::kPixels>(count, src, mask, dst,
                                           [&](const Pixel* s, const Pixel* m, Pixel* d) VX_INLINE_LAMBDA {
                                             Block<Pixel, Scale, HasMask>(s, m, opacity, d);
                                           });
  return VX_Err_None;
}

}  // namespace

template <class Pixel>
VX_Err VXp_SpanOverDeep_AVX2(int32_t count, const Pixel* src, const Pixel* mask,
                             typename VX_PixelTraits<Pixel>::Channel opacity, Pixel* dst) {
  typedef typename vx::LanesOf<Pixel>::T T;
  if (count <= 0) return VX_Err_None;
  const T op(opacity);
  if (opacity != VX_PixelTraits<Pixel>::kWhite)
    return mask ? Run<Pixel, true, true>(count, src, mask, op, dst)
                : Run<Pixel, true, false>(count, src, mask, op, dst);
  return mask ? Run<Pixel, false, true>(count, src, mask, op, dst)
              : Run<Pixel, false, false>(count, src, mask, op, dst);
}

template VX_Err VXp_SpanOverDeep_AVX2(int32_t, const VX_Pixel16*, const VX_Pixel16*, uint16_t, VX_Pixel16*);
template VX_Err VXp_SpanOverDeep_AVX2(int32_t, const VX_PixelFloat*, const VX_PixelFloat*, float, VX_PixelFloat*);
