// Formulas of the matte-family modes (soft light has its own header): F for
// a full source, P for a source of alpha sa, both on colours already
// flattened onto the mode's matte. Float forms are written out where their
// order of operations or their clamps differ from the integer ones.
#pragma once

#include "composite/formulas/XferCommon.h"

namespace vx {
inline namespace VX_ISA_NS {

template <class Pixel, class M>
struct XferOp<XferAdd, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat)
      return s + d;
    else
      return M::Min(s + d, M::kWhite);
  }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat)
      return s * sa + d;
    else
      return M::Min(M::mul(s, sa) + d, M::kWhite);
  }
};

template <class Pixel, class M>
struct XferOp<XferMultiply, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) { return d - M::mul(M::inv(s), d); }
  static VX_INLINE T P(T s, T sa, T d) { return d - M::mul(sa, M::mul(M::inv(s), d)); }
};

template <class Pixel, class M>
struct XferOp<XferScreen, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) { return M::inv(M::mul(M::inv(s), M::inv(d))); }
  static VX_INLINE T P(T s, T sa, T d) { return M::inv(M::mul(M::inv(M::mul(s, sa)), M::inv(d))); }
};

// Multiply below mid grey of the destination, screen above.
template <class Pixel, class M>
struct XferOp<XferOverlay, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    return M::Select(d < M::kGrey, M::dbl(s * d), M::inv(M::mul(2 * M::inv(d), M::inv(s))));
  }
  static VX_INLINE T P(T s, T sa, T d) { return M::lerp(d, F(s, d), sa); }
};

// Multiply below mid grey of the source, screen above.
template <class Pixel, class M>
struct XferOp<XferHardLight, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat) {
      const T t = 2 * s - 1;
      return M::Select(s >= 0.5f, t * (1 - d) + d, d + t * d);
    } else {
      return M::Select(s < M::kGrey, d - M::mul(M::inv(2 * s), d), d + M::mul(2 * s - M::kWhite2, M::inv(d)));
    }
  }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat) {
      const T t = 2 * s - 1;
      return M::Select(s >= 0.5f, d + sa * (t * (1 - d)), d + t * d * sa);
    } else {
      return M::Select(s < M::kGrey, d - M::mul(sa, M::mul(M::inv(2 * s), d)),
                       d + M::mul(sa, M::mul(2 * s - M::kWhite2, M::inv(d))));
    }
  }
};

template <class Pixel, class M>
struct XferOp<XferDarken, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) { return M::Min(s, d); }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat)
      return M::Select(d > s, d - (d - s) * sa, d);
    else
      return M::Select(s >= d, d, d - M::mul(sa, d - s));
  }
};

template <class Pixel, class M>
struct XferOp<XferLighten, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) { return M::Max(s, d); }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat)
      return M::Select(s > d, d + (s - d) * sa, d);
    else
      return M::Select(s <= d, d, d + M::mul(sa, s - d));
  }
};

// The partial form scales the source before the difference, where the
// three-term XferDifference2 weights the difference instead.
template <class Pixel, class M>
struct XferOp<XferDifference, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) { return M::Abs(s - d); }
  static VX_INLINE T P(T s, T sa, T d) { return M::Abs(M::mul(s, sa) - d); }
};

// d / (1 - s): a white source gives white for every d, black included.
template <class Pixel, class M>
struct XferOp<XferDodge, Pixel, M> {
  typedef typename M::T T;
  // d / t for t = 1 - (the source's share).
  static VX_INLINE T Dodge(T t, T d) {
    if constexpr (M::kFloat)
      return M::Select((t == T(0)) | (d >= t), T(1), d / t);
    else
      return M::div(t, d);
  }
  static VX_INLINE T F(T s, T d) { return Dodge(M::inv(s), d); }
  static VX_INLINE T P(T s, T sa, T d) { return Dodge(M::inv(M::mul(s, sa)), d); }
};

// 1 - (1 - d) / s: a black source gives black for every d, white included.
template <class Pixel, class M>
struct XferOp<XferBurn, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T Burn(T t, T d) {
    if constexpr (M::kFloat)
      return M::Select(M::Tiny(t), T(0), 1 - (1 - d) / t);
    else
      return M::inv(M::div(t, M::inv(d)));
  }
  static VX_INLINE T F(T s, T d) { return Burn(s, d); }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat)
      return Burn(1 - (1 - s) * sa, d);
    else
      return Burn(M::inv(M::mul(sa, M::inv(s))), d);
  }
};

template <class Pixel, class M>
struct XferOp<XferExclusion, Pixel, M> {
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat)
      return s + d - s * d - s * d;
    else
      return s + d - M::dbl(s * d);
  }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat) {
      return (s - s * d - s * d) * sa + d;
    } else {
      const T m = M::mul(s, d);
      return d + M::mul(sa, (s - m) - m);
    }
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
