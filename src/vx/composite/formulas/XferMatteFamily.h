// The matte families on one pixel: flatten the destination onto black,
// white or mid grey, apply the mode's F (full source) or P (partial source)
// to the flattened colours, and lift the result off the matte with the
// union alpha.
//
// Flattening, and lifting at the integer depths, are the rules of the matte
// stages. A float lift here is not clamped and a zero or denormal alpha
// divides to 1.0, unlike the float lift stage.
#pragma once

#include "composite/mattes/MatteStages.h"
#include "composite/formulas/XferCommon.h"

namespace vx {
inline namespace VX_ISA_NS {

template <VX_XferFamily Kind>
struct XferMatteKind;

template <>
struct XferMatteKind<VX_XferFamily::BlackMatte> {
  template <class Pixel>
  static VX_INLINE Pixel Flatten(const Pixel& p) {
    return MatteBlack<Pixel>::Convert(p);
  }
  template <class Pixel>
  static VX_INLINE Pixel Lift(const Pixel& p) {
    if constexpr (XferMath<Pixel>::kFloat)
      return MapColors(p, [](float a, float c) { return divF(a, c); });
    else
      return UnmatteBlack<Pixel>::Convert(p);
  }
};

template <>
struct XferMatteKind<VX_XferFamily::WhiteMatte> {
  template <class Pixel>
  static VX_INLINE Pixel Flatten(const Pixel& p) {
    return MatteWhite<Pixel>::Convert(p);
  }
  // The same at every depth: the float divide already gives 1.0 for a zero
  // or denormal alpha.
  template <class Pixel>
  static VX_INLINE Pixel Lift(const Pixel& p) {
    return UnmatteWhite<Pixel>::Convert(p);
  }
};

template <>
struct XferMatteKind<VX_XferFamily::GreyMatte> {
  template <class Pixel>
  static VX_INLINE Pixel Flatten(const Pixel& p) {
    return MatteGrey<Pixel>::Convert(p);
  }
  template <class Pixel>
  static VX_INLINE Pixel Lift(const Pixel& p) {
    if constexpr (XferMath<Pixel>::kFloat)
      return MapColors(
          p, [](float a, float t) { return t >= 0.5f ? 0.5f + divF(a, t - 0.5f) : 0.5f - divF(a, 0.5f - t); });
    else
      return UnmatteGrey<Pixel>::Convert(p);
  }
};

template <class Pixel, int32_t Mode>
struct XferMatteFamily {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  typedef XferOp<Mode, Pixel> Op;
  typedef XferMatteKind<VX_XferFamilyOf(Mode)> Kind;

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
