// Helpers for the transfer-mode tests: pixels that hit the edge values
// often, calls through the nine tables, and linear-light tables made from a
// plain gamma curve.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "support/TestWorlds.h"

namespace xt {

template <class Pixel>
using Ch = typename VX_PixelTraits<Pixel>::Channel;
template <class Pixel>
constexpr Ch<Pixel> kW = VX_PixelTraits<Pixel>::kWhite;
template <class Pixel>
constexpr bool kFloat = std::is_same_v<Pixel, VX_PixelFloat>;

// A channel value; a fifth of them 0 and a fifth white, so that the
// shortcuts of the formulas are taken as often as the general paths.
template <class Pixel>
Ch<Pixel> Channel(vxtest::Random& r) {
  const int32_t k = r.Int(0, 9);
  if (k < 2) return 0;
  if (k < 4) return kW<Pixel>;
  if constexpr (kFloat<Pixel>)
    return r.Float(0.0f, 1.0f);
  else
    return static_cast<Ch<Pixel>>(r.Int(0, kW<Pixel>));
}

template <class Pixel>
Pixel RandomPixel(vxtest::Random& r) {
  return Pixel{Channel<Pixel>(r), Channel<Pixel>(r), Channel<Pixel>(r), Channel<Pixel>(r)};
}

template <class Pixel>
Pixel Plain(int32_t mode, const Pixel& s, Pixel d, const VX_LinearBlendingTables* t = nullptr) {
  VX_Xfer1Tables<Pixel>::Plain()[mode](&s, t, &d);
  return d;
}
template <class Pixel>
Pixel WithOpacity(int32_t mode, const Pixel& s, Ch<Pixel> opacity, Pixel d,
                  const VX_LinearBlendingTables* t = nullptr) {
  VX_Xfer1Tables<Pixel>::Opacity()[mode](&s, t, opacity, &d);
  return d;
}
template <class Pixel>
Pixel WithMask(int32_t mode, const Pixel& s, Ch<Pixel> opacity, Ch<Pixel> mask, Pixel d,
               const VX_LinearBlendingTables* t = nullptr) {
  VX_Xfer1Tables<Pixel>::Opacity2()[mode](&s, t, opacity, mask, &d);
  return d;
}

using vxtest::SamePixel;

// Tables for c^gamma, with the float exponents of the same curve.
inline std::unique_ptr<VX_LinearBlendingTables> GammaTables(double gamma) {
  auto t = std::make_unique<VX_LinearBlendingTables>();
  for (int i = 0; i < 256; ++i)
    t->to_linear[i] = static_cast<uint16_t>(std::lround(32768.0 * std::pow(i / 255.0, gamma)));
  for (int i = 0; i <= 4096; ++i)
    t->from_linear[i] = static_cast<uint16_t>(std::lround(32768.0 * std::pow(i / 4096.0, 1.0 / gamma)));
  t->to_linear_gamma = static_cast<float>(gamma);
  t->from_linear_gamma = static_cast<float>(1.0 / gamma);
  return t;
}

// The recolour modes as commonly defined, with this package's luma weights,
// over int32_t (rounded luma, truncating divisions) or double. Sorting by
// the standard library: ties change no integer result.
template <class T>
struct RecolourRef {
  typedef std::array<T, 3> C;
  T white;
  static T Luma(const C& c) {
    if constexpr (std::is_integral_v<T>)
      return (c[0] * 9798 + c[1] * 19235 + c[2] * 3735 + 16384) >> 15;
    else
      return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2];
  }
  static T Sat(const C& c) { return *std::max_element(c.begin(), c.end()) - *std::min_element(c.begin(), c.end()); }
  static C WithSat(const C& c, T sat) {
    const int hi = int(std::max_element(c.begin(), c.end()) - c.begin());
    const int lo = int(std::min_element(c.begin(), c.end()) - c.begin());
    C out{};
    if (c[hi] == c[lo]) return out;
    out[3 - hi - lo] = (c[3 - hi - lo] - c[lo]) * sat / (c[hi] - c[lo]);
    out[hi] = sat;
    return out;
  }
  // Moves c to luma L and clips it into 0..white around L.
  C WithLum(C c, T L) const {
    const T e = L - Luma(c);
    for (T& v : c) v += e;
    const T n = *std::min_element(c.begin(), c.end());
    if (n < 0)
      for (T& v : c) v = L + (v - L) * L / (L - n);
    const T x = *std::max_element(c.begin(), c.end());
    if (x > white)
      for (T& v : c) v = L + (v - L) * (white - L) / (x - L);
    return c;
  }
  C operator()(int32_t mode, const C& s, const C& d) const {
    switch (mode) {
      case XferHue:
        return WithLum(WithSat(s, Sat(d)), Luma(d));
      case XferSaturation:
        return WithLum(WithSat(d, Sat(s)), Luma(d));
      case XferColor:
        return WithLum(s, Luma(d));
      case XferLuminosity:
        return WithLum(d, Luma(s));
      case XferLighterColor:
        return Luma(s) > Luma(d) ? s : d;
      default:
        return Luma(s) < Luma(d) ? s : d;
    }
  }
};

// The per-pixel modes, for loops.
constexpr int32_t kModes = VX_kXferPixelModes;

inline std::string ModeName(int32_t mode) { return VX_XferModeName(mode) ? VX_XferModeName(mode) : "?"; }

}  // namespace xt

typedef ::testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat> XferDepths;
