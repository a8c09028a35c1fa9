// The colours of the matte-family modes, eight pixels a step at each depth:
// the modes' own formulas (XferOp) on lanes of 8 x int32 or 8 x float, one
// channel of eight pixels a lane vector, with each depth's arithmetic
// written for lanes (LanesAVX2.h).
#include <immintrin.h>

#include "simd/LanesAVX2.h"
#include "composite/formulas/ModeEntries.h"
#include "composite/spans/SpanVector.h"
#include "composite/formulas/XferMatteModes.h"
#include "composite/formulas/XferSoftLight.h"

namespace {

using namespace vx::lanes;

template <class Pixel>
using Lane = typename PixelLanes<Pixel>::M::T;

// Eight pixels: colours of the flattened destination from F (full source) or
// P (partial); pixels whose scaled alpha is 0, and the alphas, stay.
template <class Pixel, int32_t Mode, bool Scale, bool HasMask>
VX_INLINE void Block(const Pixel* src, const Pixel* mask, Lane<Pixel> opacity, Pixel* dst) {
  typedef PixelLanes<Pixel> IO;
  typedef typename IO::M M;
  typedef typename M::T T;
  typedef vx::XferOp<Mode, Pixel, M> Op;
  T s[4], d[4];
  const T sa = LoadScaledSource<Scale, HasMask>(src, mask, opacity, s);
  const Mask none = sa == T(0);
  if (All(none)) return;
  const Mask full = sa == T(M::kWhite);
  IO::Load(dst, d);
  _Pragma("GCC unroll 4")
  for (int k = 1; k < 4; ++k) {
    T x;
    if (All(full))
      x = Op::F(s[k], d[k]);
    else if (None(full))
      x = Op::P(s[k], sa, d[k]);
    else
      x = M::Select(full, Op::F(s[k], d[k]), Op::P(s[k], sa, d[k]));
    d[k] = M::Select(none, d[k], M::Keep(x));
  }
  IO::Store(dst, d);
}

template <class Pixel, int32_t Mode, bool Scale, bool HasMask>
VX_Err Run(int32_t count, const Pixel* src, const Pixel* mask, Lane<Pixel> opacity, Pixel* dst) {
  EachBlockOf<8>(count, src, mask, dst, [&](const Pixel* s, const Pixel* m, Pixel* d) VX_INLINE_LAMBDA {
    Block<Pixel, Mode, Scale, HasMask>(s, m, opacity, d);
  });
  return VX_Err_None;
}

template <class Pixel, int32_t Mode>
VX_Err Entry(int32_t count, const Pixel* src, const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel opacity,
             Pixel* dst) {
  if (count <= 0) return VX_Err_None;
  const Lane<Pixel> op(opacity);
  const bool scale = opacity != VX_PixelTraits<Pixel>::kWhite;
  if (mask) return scale ? Run<Pixel, Mode, true, true>(count, src, mask, op, dst)
                         : Run<Pixel, Mode, false, true>(count, src, mask, op, dst);
  return scale ? Run<Pixel, Mode, true, false>(count, src, mask, op, dst)
               : Run<Pixel, Mode, false, false>(count, src, mask, op, dst);
}

}  // namespace

template <class Pixel>
VXp_SpanColoursProc<Pixel> VXp_SpanMatteColours_AVX2(int32_t mode) {
  typedef VXp_SpanColoursProc<Pixel> Proc;
  return VXp_EntryForMode<Proc>(mode, [](auto number, auto family) -> Proc {
    if constexpr (VXp_IsMatteFamily(family())) return &Entry<Pixel, number()>;
    return nullptr;
  });
}

template VXp_SpanColoursProc<VX_Pixel8> VXp_SpanMatteColours_AVX2<VX_Pixel8>(int32_t);
template VXp_SpanColoursProc<VX_Pixel16> VXp_SpanMatteColours_AVX2<VX_Pixel16>(int32_t);
template VXp_SpanColoursProc<VX_PixelFloat> VXp_SpanMatteColours_AVX2<VX_PixelFloat>(int32_t);
