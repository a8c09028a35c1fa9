// The recolour family: the source is first composited behind the
// destination, then a colour triple is formed from the hue, saturation or
// luminance of one side and the rest of the other, clipped into range
// around its luma, and mixed into the destination by the source alpha.
//
// The formulas choose by Select rather than branch, so that they run on one
// pixel (M = XferMath) or on vector lanes of several pixels (M a lane
// arithmetic with the same functions, plus Quot and Any).
#pragma once

#include <type_traits>

#include "composite/formulas/XferDirect.h"

namespace vx {
inline namespace VX_ISA_NS {

// The steps shared by the recolour modes. Triples are held in T; at 8 bits
// every step keeps 16 bits, as the int16 triples of this family always have,
// and at 16 bits they are 32-bit values, so they may leave the channel range
// until they are clipped.
template <class Pixel, class M = XferMath<Pixel>>
struct XferRecolourMath {
  typedef typename M::T T;
  typedef decltype(T() < T()) B;
  static constexpr bool kLanes = !std::is_arithmetic_v<T>;

  // From channels in range, every value these steps form at 8 bits stays
  // within +-1024, so the wrap never acts; the lanes skip it.
  static VX_INLINE T Keep16(T v) {
    if constexpr (!M::k8 || kLanes)
      return v;
    else
      return static_cast<int16_t>(v);
  }
  // Truncates toward zero at the integer depths; callers keep b nonzero.
  static VX_INLINE T Quot(T a, T b) {
    if constexpr (kLanes)
      return M::Quot(a, b);
    else
      return a / b;
  }
  // Divides several numerators by one divisor den != 0, through the lane
  // arithmetic's reciprocal form where it has one.
  struct PlainDivisor {
    T den;
    VX_INLINE T operator()(T n) const { return Quot(n, den); }
  };
  static VX_INLINE auto DivideBy(T den) {
    if constexpr (requires { M::DivideBy(den); })
      return M::DivideBy(den);
    else
      return PlainDivisor{den};
  }
  // a x b / den, truncated; lane forms may form the product wider than T.
  static VX_INLINE T ScaledQuot(T a, T b, T den) {
    if constexpr (requires { M::ScaledQuot(a, b, den); })
      return M::ScaledQuot(a, b, den);
    else
      return Quot(a * b, den);
  }
  template <class D>
  static VX_INLINE T Scaled(const D& by, T a, T b) {
    if constexpr (requires { by.Scaled(a, b); })
      return by.Scaled(a, b);
    else
      return by(a * b);
  }
  static VX_INLINE bool Any(B b) {
    if constexpr (kLanes)
      return M::Any(b);
    else
      return b;
  }
  // The first smallest and first largest, as min_element and max_element
  // pick them.
  static VX_INLINE T Min3(T a, T b, T c) { return M::Min(M::Min(a, b), c); }
  static VX_INLINE T Max3(T a, T b, T c) { return M::Max(M::Max(a, b), c); }

  template <class P>
  static VX_INLINE void Load(const P& p, T* c) {
    _Pragma("GCC unroll 3")
    for (int i = 0; i < 3; ++i) c[i] = T(Colour(p, i));
  }
  static VX_INLINE T Luma(const T* c) { return M::luma(c[0], c[1], c[2]); }
  template <class P>
  static VX_INLINE T Sat(const P& p) {
    return Max3(T(p.red), T(p.green), T(p.blue)) - Min3(T(p.red), T(p.green), T(p.blue));
  }

  // Gives c the saturation sat, keeping its hue; a grey c becomes black.
  // Channels take the roles largest (x), middle (y) and smallest (z) with
  // ties broken as below; the order of ties shows at float, where the
  // largest becomes sat exactly and the middle one is computed.
  //   r <= g: r > b: g r b;  g > b: g b r;  else b g r
  //   r > g:  g > b: r g b;  r > b: r b g;  else b r g
  // At the integer depths it doesn't show: a middle channel tied with the
  // largest becomes sat top / top = sat and one tied with the smallest 0,
  // so there each channel's value follows from comparing it with the two.
  static VX_INLINE void SetSat(T* c, T sat) {
    if constexpr (M::kFloat)
      SetSatByRole(c, sat);
    else
      SetSatByValue(c, sat);
  }
  static VX_INLINE void SetSatByRole(T* c, T sat) {
    const T r = c[0], g = c[1], b = c[2];
    const B rg = r <= g, rb = r > b, gb = g > b;
    const B xr = !rg && rb, xg = rg && (rb || gb);
    const B zr = rg && !rb, zg = !rg && !gb;
    const B yr = !xr && !zr, yg = !xg && !zg;
    const T cz = M::Select(zr, r, M::Select(zg, g, b));
    T top = M::Select(xr, r, M::Select(xg, g, b)) - cz;
    T mid = M::Select(yr, r, M::Select(yg, g, b)) - cz;
    const B some = top != T(0);
    if (Any(some)) {
      mid = M::Select(some, Quot(sat * mid, M::Select(some, top, T(1))), mid);
      top = M::Select(some, sat, top);
    }
    c[0] = M::Select(xr, top, M::Select(yr, mid, T(0)));
    c[1] = M::Select(xg, top, M::Select(yg, mid, T(0)));
    c[2] = M::Select(xr || xg, M::Select(yr || yg, T(0), mid), top);
  }
  // Channels and sat are in range here, so nothing leaves 16 bits.
  static VX_INLINE void SetSatByValue(T* c, T sat) {
    const T lo = Min3(c[0], c[1], c[2]), hi = Max3(c[0], c[1], c[2]);
    const T top = hi - lo;
    const B some = top != T(0);
    const T mid = c[0] + c[1] + c[2] - lo - hi;
    const T y = ScaledQuot(sat, mid - lo, M::Select(some, top, T(1)));
    const T x = M::Select(some, sat, T(0));
    _Pragma("GCC unroll 3")
    for (int i = 0; i < 3; ++i) c[i] = M::Select(c[i] == hi, x, M::Select(c[i] == lo, T(0), y));
  }

  // Moves c to luma L, then pulls channels outside 0..W back toward L.
  // Integer divisions truncate toward zero; a zero divisor skips the step.
  static VX_INLINE void SetLum(T* c, T L) {
    const T e = L - Luma(c);
    _Pragma("GCC unroll 3")
    for (int i = 0; i < 3; ++i) c[i] = Keep16(c[i] + e);
    const T n = Min3(c[0], c[1], c[2]);
    if constexpr (kLanes && !M::kFloat) {
      const T x = Max3(c[0], c[1], c[2]);
      if (M::k8 || !Any(x - n > T(M::kWhite))) return ClipEither(c, L, n, x);
    }
    const B low = n < T(0) && L - n != T(0);
    if (Any(low)) {
      const auto by = DivideBy(M::Select(low, L - n, T(1)));
      _Pragma("GCC unroll 3")
      for (int i = 0; i < 3; ++i) c[i] = M::Select(low, Keep16(L + Scaled(by, c[i] - L, L)), c[i]);
    }
    const T x = Max3(c[0], c[1], c[2]);
    const B high = x > T(M::kWhite) && x - L != T(0);
    if (Any(high)) {
      const auto by = DivideBy(M::Select(high, x - L, T(1)));
      _Pragma("GCC unroll 3")
      for (int i = 0; i < 3; ++i) c[i] = M::Select(high, Keep16(L + Scaled(by, c[i] - L, T(M::kWhite) - L)), c[i]);
    }
  }

  // The two pulls of SetLum as one on integer lanes, for triples that span
  // at most white W (every one at 8 bits, where a triple is a saturation or
  // a pixel's own channels; at 16 bits unless a channel was out of range).
  // Then no lane has both a channel below 0 and one above W; and after the
  // low pull the largest channel is L + (x - L) L / (L - n)
  // <= W L / (L - n) < W, since x - L <= W - (L - n), so the high pull never
  // follows it. Each lane takes one pull or none, and a block needs one
  // divisor instead of two.
  static VX_INLINE void ClipEither(T* c, T L, T n, T x) {
    const B low = n < T(0), high = x > T(M::kWhite), either = low || high;
    if (!Any(either)) return;
    const auto by = DivideBy(M::Select(low, L - n, M::Select(high, x - L, T(1))));
    const T k = M::Select(low, L, T(M::kWhite) - L);
    _Pragma("GCC unroll 3")
    for (int i = 0; i < 3; ++i) c[i] = M::Select(either, L + Scaled(by, c[i] - L, k), c[i]);
  }

  // Mixes c into d's colours by sa where `mixes`; elsewhere d stays.
  template <class P>
  static VX_INLINE void Mix(const T* c, T sa, B mixes, P& d) {
    const B full = sa == T(M::kWhite);
    if constexpr (kLanes) {
      // Opaque stretches of a layer need no lerp at all.
      if (All(full)) {
        _Pragma("GCC unroll 3")
        for (int i = 0; i < 3; ++i) Colour(d, i) = M::Select(mixes, c[i], T(Colour(d, i)));
        return;
      }
    }
    _Pragma("GCC unroll 3")
    for (int i = 0; i < 3; ++i) {
      const T old = T(Colour(d, i));
      const T v = M::Select(mixes, M::Select(full, c[i], M::lerp(old, c[i], sa)), old);
      if constexpr (kLanes)
        Colour(d, i) = v;
      else
        Colour(d, i) = ToChannel<Pixel>(v);
    }
  }
};

// Each mode forms its triple from the source, the destination before the
// behind step and the destination after it, and says where it mixes.
template <class Pixel, int32_t Mode>
struct XferRecolourFamily {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE void Run(const Pixel& s, typename R::T sa, Pixel& d) {
    const Pixel before = d;
    XferOp<XferBehind, Pixel>::Run(s, sa, d);
    typename R::T c[3];
    const bool mixes = XferOp<Mode, Pixel>::Triple(s, before, d, c);
    if (mixes) R::Mix(c, sa, true, d);
  }
};

// Hue of the source, saturation and luma of the destination.
template <class Pixel, class M>
struct XferOp<XferHue, Pixel, M> {
  typedef XferRecolourMath<Pixel, M> R;
  template <class P>
  static VX_INLINE typename R::B Triple(const P& s, const P&, const P& after, typename R::T* c) {
    R::Load(s, c);
    R::SetSat(c, R::Sat(after));
    R::SetLum(c, M::Luma(after));
    return typename R::B(true);
  }
};

// Saturation of the source, hue and luma of the destination.
template <class Pixel, class M>
struct XferOp<XferSaturation, Pixel, M> {
  typedef XferRecolourMath<Pixel, M> R;
  template <class P>
  static VX_INLINE typename R::B Triple(const P& s, const P&, const P& after, typename R::T* c) {
    R::Load(after, c);
    const auto L = R::Luma(c);
    R::SetSat(c, R::Sat(s));
    R::SetLum(c, L);
    return typename R::B(true);
  }
};

// Hue and saturation of the source, luma of the destination.
template <class Pixel, class M>
struct XferOp<XferColor, Pixel, M> {
  typedef XferRecolourMath<Pixel, M> R;
  template <class P>
  static VX_INLINE typename R::B Triple(const P& s, const P&, const P& after, typename R::T* c) {
    R::Load(s, c);
    R::SetLum(c, M::Luma(after));
    return typename R::B(true);
  }
};

// Luma of the source, hue and saturation of the destination.
template <class Pixel, class M>
struct XferOp<XferLuminosity, Pixel, M> {
  typedef XferRecolourMath<Pixel, M> R;
  template <class P>
  static VX_INLINE typename R::B Triple(const P& s, const P&, const P& after, typename R::T* c) {
    R::Load(after, c);
    R::SetLum(c, M::Luma(s));
    return typename R::B(true);
  }
};

// The whole source colour where its luma is greater (lighter) or smaller
// (darker) than the destination's before the behind step.
template <class Pixel, class M>
struct XferOp<XferLighterColor, Pixel, M> {
  typedef XferRecolourMath<Pixel, M> R;
  template <class P>
  static VX_INLINE typename R::B Triple(const P& s, const P& before, const P&, typename R::T* c) {
    R::Load(s, c);
    return M::Luma(s) > M::Luma(before);
  }
};

template <class Pixel, class M>
struct XferOp<XferDarkerColor, Pixel, M> {
  typedef XferRecolourMath<Pixel, M> R;
  template <class P>
  static VX_INLINE typename R::B Triple(const P& s, const P& before, const P&, typename R::T* c) {
    R::Load(s, c);
    return M::Luma(s) < M::Luma(before);
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
