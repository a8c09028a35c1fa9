// The matte families on one pixel: flatten the destination onto black,
// white or mid grey, apply the mode's F (full source) or P (partial source)
// to the flattened colours, and lift the result off the matte with the
// union alpha.
//
#pragma once

#include "composite/mattes/MatteStages.h"
#include "composite/formulas/XferCommon.h"

namespace vx {
inline namespace VX_ISA_NS {

// Flattening, and lifting at the integer depths, are the stages' rules.
// At float the black and grey lifts here divide to 1.0 by a zero or
// denormal alpha and are not clamped.
template <VXp_MatteColour Matte>
struct XferMatteKind {
  template <class Pixel>
  static VX_INLINE Pixel Flatten(const Pixel& p) {
    return ConvertPixel<MatteStageOf<Matte, false>>(p);
  }
  template <class Pixel>
  static VX_INLINE Pixel Lift(const Pixel& p) {
    if constexpr (XferMath<Pixel>::kFloat && Matte == VXp_MatteColour::Black)
      return MapColors(p, [](float a, float c) { return divF(a, c); });
    else if constexpr (XferMath<Pixel>::kFloat && Matte == VXp_MatteColour::Grey)
      return MapColors(
          p, [](float a, float t) { return t >= 0.5f ? 0.5f + divF(a, t - 0.5f) : 0.5f - divF(a, 0.5f - t); });
    else
      return ConvertPixel<MatteStageOf<Matte, true>>(p);
  }
};

template <class Pixel, int32_t Mode>
struct XferMatteFamily {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  typedef XferOp<Mode, Pixel> Op;
  typedef XferMatteKind<VXp_MatteColourOf(VX_XferFamilyOf(Mode))> Kind;

  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    const T da = d.alpha;
    const Pixel flat = da == M::kWhite ? d : Kind::Flatten(d);
    if (sa == M::kWhite) {
      for (int i = 0; i < 3; ++i) Colour(d, i) = ToChannel<Pixel>(Op::F(Colour(s, i), Colour(flat, i)));
      d.alpha = ToChannel<Pixel>(M::kWhite);
      return;
    }
    const T ra = M::Union(sa, da);
    Pixel t;
    t.alpha = ToChannel<Pixel>(ra);
    for (int i = 0; i < 3; ++i) Colour(t, i) = ToChannel<Pixel>(M::Keep(Op::P(Colour(s, i), sa, Colour(flat, i))));
    d = ra == M::kWhite ? t : Kind::Lift(t);
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
