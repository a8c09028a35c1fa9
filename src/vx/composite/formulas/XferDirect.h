// Direct modes: each has its own rule on the whole pixel. Copy, behind,
// over, premultiplied add, alpha add, and dissolve, whose noise lives in the
// span kernel so that one pixel alone is left as it is.
#pragma once

#include "composite/formulas/XferCommon.h"

namespace vx {
inline namespace VX_ISA_NS {

// Over and behind where neither alpha settles the pixel: the premultiplied
// colour behind moved toward the one in front by the front's alpha, divided
// by the union alpha ra. Written once over the arithmetic M, for one pixel
// or for lanes; `by_union` divides by ra (a kernel may have its divisor
// ready for all of a pixel's colours).
template <class M, class Divide>
VX_INLINE typename M::T OverColourBy(typename M::T s, typename M::T sa, typename M::T d, typename M::T da,
                                     Divide by_union) {
  return by_union(M::lerp(M::mul(d, da), s, sa));
}
template <class M>
VX_INLINE typename M::T OverColour(typename M::T s, typename M::T sa, typename M::T d, typename M::T da,
                                   typename M::T ra) {
  return OverColourBy<M>(s, sa, d, da, [ra](typename M::T x) { return M::div(ra, x); });
}
template <class M>
VX_INLINE typename M::T BehindColour(typename M::T s, typename M::T sa, typename M::T d, typename M::T da,
                                     typename M::T ra) {
  return OverColour<M>(d, da, s, sa, ra);
}

template <class Pixel>
struct XferOp<XferCopy, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    d = s;
    d.alpha = ToChannel<Pixel>(sa);
  }
};

// The destination stays in front; its colours are unpremultiplied again with
// the union alpha.
template <class Pixel>
struct XferOp<XferBehind, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    const T da = d.alpha;
    if (da == M::kWhite) return;
    const T ra = M::Union(sa, da);
    for (int i = 0; i < 3; ++i) Colour(d, i) = ToChannel<Pixel>(BehindColour<M>(Colour(s, i), sa, Colour(d, i), da, ra));
    d.alpha = ToChannel<Pixel>(ra);
  }
};

template <class Pixel>
struct XferOp<XferOver, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    if (sa == M::kWhite) {
      d = s;
      return;
    }
    const T da = d.alpha;
    if (da == 0) {
      d = s;
      d.alpha = ToChannel<Pixel>(sa);
      return;
    }
    const T ra = M::Union(sa, da);
    for (int i = 0; i < 3; ++i) Colour(d, i) = ToChannel<Pixel>(OverColour<M>(Colour(s, i), sa, Colour(d, i), da, ra));
    d.alpha = ToChannel<Pixel>(ra);
  }
};

template <class Pixel>
struct XferOp<XferDissolve, Pixel> {
  static VX_INLINE void Run(const Pixel&, typename Arith<Pixel>::T, Pixel&) {}
};

// The source is premultiplied: sa scales its alpha and colours alike, and
// its colours are added to the destination's share.
template <class Pixel>
struct XferOp<XferAddPremul, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    const bool scale = sa != M::kWhite;
    const T a = scale ? M::mul(T(s.alpha), sa) : T(s.alpha);
    const T da = d.alpha;
    const T w = M::mul(da, M::inv(a));
    const T r = M::Union(a, da);
    for (int i = 0; i < 3; ++i) {
      const T c = scale ? M::mul(T(Colour(s, i)), sa) : T(Colour(s, i));
      T sum = c + M::mul(Colour(d, i), w);
      if constexpr (!M::kFloat) sum = M::Min(sum, M::kWhite);
      Colour(d, i) = ToChannel<Pixel>(M::div(r, sum));
    }
    d.alpha = ToChannel<Pixel>(r);
  }
};

// Alphas add; below white the colours are the alpha-weighted mean, at white
// the source is laid over without a division.
template <class Pixel>
struct XferOp<XferAlphaAdd, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    if (sa == M::kWhite) {
      d = s;
      d.alpha = ToChannel<Pixel>(sa);
      return;
    }
    const T da = d.alpha;
    if (sa + da < M::kWhite) {
      const T r = sa + da;
      for (int i = 0; i < 3; ++i)
        Colour(d, i) = ToChannel<Pixel>(M::div(r, M::mul(Colour(s, i), sa) + M::mul(Colour(d, i), da)));
      d.alpha = ToChannel<Pixel>(r);
      return;
    }
    for (int i = 0; i < 3; ++i)
      Colour(d, i) = ToChannel<Pixel>(M::mul(Colour(s, i), sa) + M::mul(Colour(d, i), M::inv(sa)));
    d.alpha = ToChannel<Pixel>(M::kWhite);
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
