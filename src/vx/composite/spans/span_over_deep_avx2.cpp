// XferOver at 16 bits and float, eight pixels a step: the scalar rule on
// lanes. A full source replaces the pixel, a clear destination takes the
// source at its scaled alpha, and elsewhere the colours are the lerp of the
// premultiplied destination toward the source, divided by the union alpha.
// Blocks whose sources are all clear are skipped, all full copied.
#include <cstring>

#include "simd/LanesAVX2.h"
#include "composite/spans/SpanVector.h"
#include "core/ChannelMath.h"

namespace {

using namespace vx::lanes;

template <class Pixel, bool Scale, bool HasMask>
VX_INLINE void Block(const Pixel* src, const Pixel* mask, typename PixelLanes<Pixel>::M::T opacity, Pixel* dst) {
  typedef PixelLanes<Pixel> IO;
  typedef typename IO::M M;
  typedef typename M::T T;
  T s[4], d[4];
  const T sa = LoadScaledSource<Scale, HasMask>(src, mask, opacity, s);
  const Mask none = sa == T(0), full = sa == T(M::kWhite);
  if (All(none)) return;
  if (All(full)) {
    std::memcpy(dst, src, 8 * sizeof(Pixel));
    return;
  }
  IO::Load(dst, d);
  const T da = d[0];
  const Mask clear = da == T(0);
  const T ra = M::inv(M::mul(M::inv(sa), M::inv(da)));
  T out[4];
  out[0] = M::Select(clear, sa, ra);
  _Pragma("GCC unroll 4")
  for (int k = 1; k < 4; ++k) out[k] = M::Select(clear, s[k], M::div(ra, M::lerp(M::mul(d[k], da), s[k], sa)));
  _Pragma("GCC unroll 4")
  for (int k = 0; k < 4; ++k) d[k] = M::Select(none, d[k], M::Select(full, s[k], out[k]));
  IO::Store(dst, d);
}

template <class Pixel, bool Scale, bool HasMask>
VX_Err Run(int32_t count, const Pixel* src, const Pixel* mask, typename PixelLanes<Pixel>::M::T opacity, Pixel* dst) {
  EachBlockOf<8>(count, src, mask, dst, [&](const Pixel* s, const Pixel* m, Pixel* d) VX_INLINE_LAMBDA {
    Block<Pixel, Scale, HasMask>(s, m, opacity, d);
  });
  return VX_Err_None;
}

}  // namespace

template <class Pixel>
VX_Err VXp_SpanOverDeep_AVX2(int32_t count, const Pixel* src, const Pixel* mask,
                             typename VX_PixelTraits<Pixel>::Channel opacity, Pixel* dst) {
  typedef typename PixelLanes<Pixel>::M::T T;
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
