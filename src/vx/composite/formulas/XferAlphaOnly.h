// Alpha-only modes: the source's alpha or luma scales the destination's
// alpha, directly or inverted; colours stay as they are.
#pragma once

#include "composite/formulas/XferCommon.h"

namespace vx {
inline namespace VX_ISA_NS {

// The factor of the destination alpha; the luma forms clamp at float.
template <class Pixel, bool Luma, bool Inverse>
struct XferAlphaScale {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    T k = Luma ? M::mul(M::Luma(s), sa) : sa;
    if (Inverse) k = M::inv(k);
    T a = M::mul(k, T(d.alpha));
    if constexpr (M::kFloat && Luma) a = a > 1.0f ? 1.0f : (a < 1e-16f ? 0.0f : a);
    d.alpha = ToChannel<Pixel>(a);
  }
};

template <class Pixel>
struct XferOp<XferAlphaMul, Pixel> : XferAlphaScale<Pixel, false, false> {};
template <class Pixel>
struct XferOp<XferLumaMul, Pixel> : XferAlphaScale<Pixel, true, false> {};
template <class Pixel>
struct XferOp<XferAlphaMulInverse, Pixel> : XferAlphaScale<Pixel, false, true> {};
template <class Pixel>
struct XferOp<XferLumaMulInverse, Pixel> : XferAlphaScale<Pixel, true, true> {};

}  // namespace VX_ISA_NS
}  // namespace vx
