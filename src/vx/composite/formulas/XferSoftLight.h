// Soft light: the destination moved along a curve chosen by the source. A
// dark source pulls d down by x(1 - x) (tables B), a light one pushes it up
// by D(x) - x (tables A), D(x) = ((16x - 12)x + 4)x up to x = 0.25 and
// sqrt(x) above. 8 bits read 256-entry constants; 16 bits and float
// interpolate in the 4097-entry tables built at start-up.
#pragma once

#include <type_traits>

#include "composite/formulas/XferCommon.h"

// The 8-bit tables, indexed by d.
extern const uint8_t VXp_G_SoftLightA_8[256];
extern const uint8_t VXp_G_SoftLightB_8[256];
// Both as int32, A then B, for vector code that gathers either curve at once.
extern const int32_t* const VXp_G_SoftLightWide_8;

namespace vx {
inline namespace VX_ISA_NS {

// The curve each lane's source picks, for a lane arithmetic M: specialised
// in XferSoftLightLanes.h, where the lanes read the tables at once.
template <class M>
struct XferSoftLightLanes;

template <class Pixel, class M>
struct XferOp<XferSoftLight, Pixel, M> {
  typedef typename M::T T;

  // x(1 - x) and D(x) - x at d, as the depth reads them.
  static VX_INLINE T Darken(T d) {
    if constexpr (M::k8)
      return M::Lookup8(VXp_G_SoftLightB_8, d);
    else if constexpr (M::k16)
      return M::Lookup16(VXp_G_SoftLightB_16, d);
    else
      return M::LookupF(VXp_G_SoftLightB_F, d);
  }
  static VX_INLINE T Lighten(T d) {
    if constexpr (M::k8)
      return M::Lookup8(VXp_G_SoftLightA_8, d);
    else if constexpr (M::k16)
      return M::Lookup16(VXp_G_SoftLightA_16, d);
    else
      return M::LookupF(VXp_G_SoftLightA_F, d);
  }

  // The curve the source picks: x(1 - x) where it is dark, D(x) - x
  // elsewhere.
  template <class B>
  static VX_INLINE T Curve(B dark, T d) {
    if constexpr (std::is_arithmetic_v<T>)
      return M::Select(dark, Darken(d), Lighten(d));
    else
      return XferSoftLightLanes<M>::Curve(dark, d);
  }
  // How far the integer forms move d: curve x (1 - 2s) down for a dark
  // source, curve x (2s - 1) up for a light one.
  template <class B>
  static VX_INLINE T Amount(B dark, T s, T d) {
    return M::mul(Curve(dark, d), M::Select(dark, M::inv(2 * s), 2 * s - M::kWhite2));
  }

  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat) {
      const auto light = s >= 0.5f;
      const T c = Curve(!light, d);
      return M::Select(light, (2 * s - 1) * c + d, d - (1 - 2 * s) * c);
    } else {
      const auto dark = s < M::kGrey;
      const T m = Amount(dark, s, d);
      return M::Select(dark, d - m, d + m);
    }
  }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat) {
      const auto light = s >= 0.5f;
      const T c = Curve(!light, d);
      return M::Select(light, d + sa * ((2 * s - 1) * c), d - (1 - 2 * s) * c * sa);
    } else {
      const auto dark = s < M::kGrey;
      const T m = M::mul(sa, Amount(dark, s, d));
      return M::Select(dark, d - m, d + m);
    }
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
