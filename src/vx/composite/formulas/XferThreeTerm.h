// The three-term family: no matte. The result weights the three regions of
// the overlap directly: destination alone, source alone, and both, where
// the mode's F(s, d) applies. Below are the family's step and each mode's F.
#pragma once

#include <bit>
#include <cmath>

#include "composite/formulas/XferCommon.h"
#include "composite/formulas/XferMatteModes.h"

namespace vx {
inline namespace VX_ISA_NS {

template <class Pixel, int32_t Mode>
struct XferThreeTermFamily {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  typedef XferOp<Mode, Pixel> Op;

  // One colour channel for a partial source, given m = mul(sa, da) and the
  // union alpha ra; integer sums are kept to the channel's bits.
  static VX_INLINE T Channel(T s, T sa, T d, T da, T m, T ra) {
    const T v = M::mul(da, d) - M::mul(d, m) + M::mul(sa, s) - M::mul(s, m) + M::mul(m, Op::F(s, d));
    return M::div(ra, M::Keep(v));
  }

  static VX_INLINE void Run(const Pixel& s, T sa, Pixel& d) {
    const T da = d.alpha;
    if (sa == M::kWhite) {
      for (int i = 0; i < 3; ++i) {
        const T sc = Colour(s, i);
        Colour(d, i) = ToChannel<Pixel>(M::lerp(sc, Op::F(sc, Colour(d, i)), da));
      }
      d.alpha = ToChannel<Pixel>(M::kWhite);
      return;
    }
    const T m = M::mul(sa, da), ra = M::Union(sa, da);
    for (int i = 0; i < 3; ++i) Colour(d, i) = ToChannel<Pixel>(Channel(Colour(s, i), sa, Colour(d, i), da, m, ra));
    d.alpha = ToChannel<Pixel>(ra);
  }
};

template <class Pixel>
struct XferOp<XferDifference2, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) { return M::Abs(s - d); }
};

// Dodge that keeps black black.
template <class Pixel>
struct XferOp<XferDodge2, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if (d == 0) return 0;
    if constexpr (M::kFloat) {
      const T t = 1 - s;
      return t == 0 || d >= t ? T(1) : d / t;
    } else {
      return M::div(M::inv(s), d);
    }
  }
};

// Burn that keeps white white under a black source.
template <class Pixel>
struct XferOp<XferBurn2, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if (s == 0 && d == M::kWhite) return d;
    if constexpr (M::kFloat)
      return s != 0 && (1 - d) < s ? 1 - (1 - d) / s : T(0);
    else
      return M::inv(M::div(s, M::inv(d)));
  }
};

// Linear dodge is add without the matte.
template <class Pixel>
struct XferOp<XferLinearDodge, Pixel> {
  typedef typename XferMath<Pixel>::T T;
  static VX_INLINE T F(T s, T d) { return XferOp<XferAdd, Pixel>::F(s, d); }
};

template <class Pixel>
struct XferOp<XferLinearBurn, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) { return M::Max(s + d - M::kWhite, T(0)); }
};

// 2s + d - 1; at 8 bits the 1 is 256, so s = 128 is neutral as at the
// other depths.
template <class Pixel>
struct XferOp<XferLinearLight, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat)
      return 2 * s - 1 + d;
    else
      return std::clamp(2 * s - M::kWhite2 + d, T(0), M::kWhite);
  }
};

// Twice the source at 8 bits below mid grey: (s x 255 + 64) >> 7.
VX_INLINE int32_t TwiceSource8(int32_t s) { return ((s * 255 + 64) >> 7) & 0xFF; }

// Burn with 2s below mid grey of the source, dodge with 2s - 1 above.
template <class Pixel>
struct XferOp<XferVividLight, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat) {
      if (s < 0.5f) {
        if (s == 0) return 0;
        const T t = 2 * s;
        return t != 0 && (1 - d) < t ? 1 - (1 - d) / t : T(0);
      }
      if (s > 0.5f) {
        if (s == 1) return 1;
        const T t = 1 - (s - 0.5f) * 2;
        if (t == 0) return 1;
        return d < t ? d / t : T(1);
      }
      return d;
    } else if constexpr (M::k8) {
      if (s < 128) return s == 0 ? 0 : M::inv(M::div(TwiceSource8(s), M::inv(d)));
      if (s > 128) return s == 255 ? 255 : M::div(M::inv(M::div(127, s - 128)), d);
      return d;
    } else {
      if (s < 16384) return s == 0 ? 0 : M::inv(M::div(2 * s, M::inv(d)));
      if (s > 16384) return s == 32768 ? 32768 : M::div(65536 - 2 * s, d);
      return d;
    }
  }
};

// Darken with 2s below mid grey of the source, lighten with 2s - 1 above.
template <class Pixel>
struct XferOp<XferPinLight, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat) {
      if (s < 0.5f) return std::min(2 * s, d);
      if (s > 0.5f) return std::max((s - 0.5f) * 2, d);
      return d;
    } else if constexpr (M::k8) {
      if (s < 128) return std::min(TwiceSource8(s), d);
      if (s > 128) return std::max(M::div(127, s - 128), d);
      return d;
    } else {
      if (s < 16384) return std::min(2 * s, d);
      if (s > 16384) return std::max(2 * s - 32768, d);
      return d;
    }
  }
};

// Black or white by comparing d with 1 - s; float has a narrow ramp between.
template <class Pixel>
struct XferOp<XferHardMix, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static constexpr float kNearOne = 0.99999f;
  static constexpr float kRampWidth = 1.001358e-5f;
  static_assert(std::bit_cast<uint32_t>(kNearOne) == 0x3F7FFF58u && std::bit_cast<uint32_t>(kRampWidth) == 0x37280000u);
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat) {
      const T t = (1 - s) * kNearOne;
      if (d <= t) return 0;
      const T u = d - t;
      return u >= kRampWidth ? T(1) : u / kRampWidth;
    } else if constexpr (M::k8) {
      const T t = M::mul(254, M::inv(s));
      return d > t ? M::div(1, d - t) : 0;
    } else {
      const T t = (M::inv(s) * 32767 + 16384) >> 15;
      return d > t ? 32768 : 0;
    }
  }
};

template <class Pixel>
struct XferOp<XferSubtract, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat)
      return d - s;
    else
      return d < s ? 0 : d - s;
  }
};

// d / s; a float source near zero divides by a small constant instead.
template <class Pixel>
struct XferOp<XferDivide, Pixel> {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  static constexpr float kSmallest = 1.8189894e-6f;
  static_assert(std::bit_cast<uint32_t>(kSmallest) == 0x35F42400u);
  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat)
      return std::fabs(s) > kSmallest ? M::div(s, d) : d / kSmallest;
    else
      return d == 0 ? 0 : M::div(s, d);
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
