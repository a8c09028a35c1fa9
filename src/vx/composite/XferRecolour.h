// The recolour family: the source is first composited behind the
// destination, then a colour triple is formed from the hue, saturation or
// luminance of one side and the rest of the other, clipped into range
// around its luma, and mixed into the destination by the source alpha.
#pragma once

#include <type_traits>

#include "composite/XferDirect.h"

namespace vx {
inline namespace VX_ISA_NS {

// The steps shared by the recolour modes. Triples are held as 16-bit values
// at 8 bits and 32-bit values at 16 bits, so they may leave the channel range
// until they are clipped.
template <class Pixel>
struct XferRecolourMath {
  typedef XferMath<Pixel> M;
  typedef typename M::T T;
  typedef std::conditional_t<M::k8, int16_t, T> Wide;

  static VX_INLINE void Load(const Pixel& p, Wide* c) {
    for (int i = 0; i < 3; ++i) c[i] = static_cast<Wide>(Colour(p, i));
  }
  static VX_INLINE T Luma(const Wide* c) { return M::luma(c[0], c[1], c[2]); }
  static VX_INLINE T Sat(const Pixel& p) {
    return std::max({T(p.red), T(p.green), T(p.blue)}) - std::min({T(p.red), T(p.green), T(p.blue)});
  }

  // Indexes of the largest, middle and smallest channel of c, ties broken
  // as below (each case packs x, y, z into hex digits). The order of ties
  // shows at float, where the largest becomes sat exactly and the middle one
  // is computed.
  static VX_INLINE void Sort(const Wide* c, int& x, int& y, int& z) {
    const Wide r = c[0], g = c[1], b = c[2];
    int order;
    if (r <= g)
      order = r > b ? 0x102 : (g > b ? 0x120 : 0x210);
    else
      order = g > b ? 0x012 : (r > b ? 0x021 : 0x201);
    x = order >> 8, y = (order >> 4) & 15, z = order & 15;
  }

  // Gives c the saturation sat, keeping its hue; a grey c becomes black.
  static VX_INLINE void SetSat(Wide* c, T sat) {
    int x, y, z;
    Sort(c, x, y, z);
    c[y] = static_cast<Wide>(c[y] - c[z]);
    c[x] = static_cast<Wide>(c[x] - c[z]);
    if (c[x] != 0) {
      c[y] = static_cast<Wide>(sat * c[y] / c[x]);
      c[x] = static_cast<Wide>(sat);
    }
    c[z] = 0;
  }

  // Moves c to luma L, then pulls channels outside 0..W back toward L.
  // Integer divisions truncate toward zero; a zero divisor skips the step.
  static VX_INLINE void SetLum(Wide* c, T L) {
    const T e = L - Luma(c);
    for (int i = 0; i < 3; ++i) c[i] = static_cast<Wide>(c[i] + e);
    const T n = std::min({T(c[0]), T(c[1]), T(c[2])});
    if (n < 0 && L - n != 0) {
      const T den = L - n;
      for (int i = 0; i < 3; ++i) c[i] = static_cast<Wide>(L + (c[i] - L) * L / den);
    }
    const T x = std::max({T(c[0]), T(c[1]), T(c[2])});
    if (x > M::kWhite && x - L != 0) {
      const T den = x - L;
      for (int i = 0; i < 3; ++i) c[i] = static_cast<Wide>(L + (c[i] - L) * (M::kWhite - L) / den);
    }
  }

  static VX_INLINE void Mix(const Wide* c, T sa, Pixel& d) {
    for (int i = 0; i < 3; ++i) {
      const T v = sa == M::kWhite ? T(c[i]) : M::lerp(Colour(d, i), c[i], sa);
      Colour(d, i) = ToChannel<Pixel>(v);
    }
  }
};

// Each mode forms its triple from the source, the destination before the
// behind step and the destination after it; false means nothing to mix.
template <class Pixel, int32_t Mode>
struct XferRecolourFamily {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE void Run(const Pixel& s, typename R::T sa, Pixel& d) {
    const Pixel before = d;
    XferOp<XferBehind, Pixel>::Run(s, sa, d);
    typename R::Wide c[3];
    if (XferOp<Mode, Pixel>::Triple(s, before, d, c)) R::Mix(c, sa, d);
  }
};

// Hue of the source, saturation and luma of the destination.
template <class Pixel>
struct XferOp<XferHue, Pixel> {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE bool Triple(const Pixel& s, const Pixel&, const Pixel& after, typename R::Wide* c) {
    R::Load(s, c);
    R::SetSat(c, R::Sat(after));
    R::SetLum(c, R::M::Luma(after));
    return true;
  }
};

// Saturation of the source, hue and luma of the destination.
template <class Pixel>
struct XferOp<XferSaturation, Pixel> {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE bool Triple(const Pixel& s, const Pixel&, const Pixel& after, typename R::Wide* c) {
    R::Load(after, c);
    const auto L = R::Luma(c);
    R::SetSat(c, R::Sat(s));
    R::SetLum(c, L);
    return true;
  }
};

// Hue and saturation of the source, luma of the destination.
template <class Pixel>
struct XferOp<XferColor, Pixel> {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE bool Triple(const Pixel& s, const Pixel&, const Pixel& after, typename R::Wide* c) {
    R::Load(s, c);
    R::SetLum(c, R::M::Luma(after));
    return true;
  }
};

// Luma of the source, hue and saturation of the destination.
template <class Pixel>
struct XferOp<XferLuminosity, Pixel> {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE bool Triple(const Pixel& s, const Pixel&, const Pixel& after, typename R::Wide* c) {
    R::Load(after, c);
    R::SetLum(c, R::M::Luma(s));
    return true;
  }
};

// The whole source colour where its luma is greater (lighter) or smaller
// (darker) than the destination's before the behind step.
template <class Pixel>
struct XferOp<XferLighterColor, Pixel> {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE bool Triple(const Pixel& s, const Pixel& before, const Pixel&, typename R::Wide* c) {
    if (!(R::M::Luma(s) > R::M::Luma(before))) return false;
    R::Load(s, c);
    return true;
  }
};

template <class Pixel>
struct XferOp<XferDarkerColor, Pixel> {
  typedef XferRecolourMath<Pixel> R;
  static VX_INLINE bool Triple(const Pixel& s, const Pixel& before, const Pixel&, typename R::Wide* c) {
    if (!(R::M::Luma(s) < R::M::Luma(before))) return false;
    R::Load(s, c);
    return true;
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
