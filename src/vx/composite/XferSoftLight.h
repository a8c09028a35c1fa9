// Soft light: the destination moved along a curve chosen by the source. A
// dark source pulls d down by x(1 - x) (tables B), a light one pushes it up
// by D(x) - x (tables A), D(x) = ((16x - 12)x + 4)x up to x = 0.25 and
// sqrt(x) above. 8 bits read 256-entry constants; 16 bits and float
// interpolate in the 4097-entry tables built at start-up.
#pragma once

#include "composite/XferCommon.h"

// The 8-bit tables, indexed by d.
extern const uint8_t VXp_G_SoftLightA_8[256];
extern const uint8_t VXp_G_SoftLightB_8[256];

namespace vx {
inline namespace VX_ISA_NS {

// Entry d of a 4097-entry 16-bit table, with 3 fractional bits.
VX_INLINE int32_t SoftLightLookup16(const int16_t* table, int32_t d) {
  d = std::min(d, 32768);  // keeps stray values inside the table
  const int32_t i = d >> 3, f = d & 7;
  const int32_t v = table[i];
  return f ? v + ((f * (table[i + 1] - v) + 4) >> 3) : v;
}

// The float tables are read with d clamped to 0..1 (NaN reads entry 0).
VX_INLINE float SoftLightLookupF(const float* table, float d) {
  const float x = !(d > 0.0f) ? 0.0f : (d > 1.0f ? 1.0f : d);
  const float u = x * 4096.0f;
  const int32_t i = static_cast<int32_t>(u);
  const float f = u - static_cast<float>(i);
  return f != 0.0f ? table[i] + (table[i + 1] - table[i]) * f : table[i];
}

template <class Pixel, class M>
struct XferOp<XferSoftLight, Pixel, M> {
  typedef typename M::T T;

  // x(1 - x) and D(x) - x at d, as the depth reads them.
  static VX_INLINE T Darken(T d) {
    if constexpr (M::k8)
      return M::Lookup8(VXp_G_SoftLightB_8, d);
    else if constexpr (M::k16)
      return SoftLightLookup16(VXp_G_SoftLightB_16, d);
    else
      return SoftLightLookupF(VXp_G_SoftLightB_F, d);
  }
  static VX_INLINE T Lighten(T d) {
    if constexpr (M::k8)
      return M::Lookup8(VXp_G_SoftLightA_8, d);
    else if constexpr (M::k16)
      return SoftLightLookup16(VXp_G_SoftLightA_16, d);
    else
      return SoftLightLookupF(VXp_G_SoftLightA_F, d);
  }

  static VX_INLINE T F(T s, T d) {
    if constexpr (M::kFloat) {
      if (s >= 0.5f) return (2 * s - 1) * Lighten(d) + d;
      return d - (1 - 2 * s) * Darken(d);
    } else {
      return M::Select(s < M::kGrey, d - M::mul(Darken(d), M::inv(2 * s)), d + M::mul(Lighten(d), 2 * s - M::kWhite2));
    }
  }
  static VX_INLINE T P(T s, T sa, T d) {
    if constexpr (M::kFloat) {
      if (s >= 0.5f) return d + sa * ((2 * s - 1) * Lighten(d));
      return d - (1 - 2 * s) * Darken(d) * sa;
    } else {
      return M::Select(s < M::kGrey, d - M::mul(sa, M::mul(Darken(d), M::inv(2 * s))),
                       d + M::mul(sa, M::mul(Lighten(d), 2 * s - M::kWhite2)));
    }
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
