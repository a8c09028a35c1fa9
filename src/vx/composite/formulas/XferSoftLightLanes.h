// The soft-light curve on lanes: each lane reads the curve its source
// picks, from the same tables as the scalar form. Include only from a
// vector translation unit, before the kernels that blend in soft light.
#pragma once

#include "composite/formulas/XferSoftLight.h"
#include "simd/Depth.h"
#include "simd/Tables.h"

namespace vx {
inline namespace VX_ISA_NS {

using simd::Depth16;
using simd::Depth8;
using simd::Depth8W;
using simd::DepthF;

// 8 bits on int32 lanes: one gather over both tables, A then B.
template <>
struct XferSoftLightLanes<Depth8<256>> {
  typedef simd::I32x8 T;
  static VX_INLINE T Curve(simd::Mask<256> dark, T d) {
    return simd::Gather(VXp_G_SoftLightWide_8, (d & T(0xFF)) + (T(dark) & T(256)));
  }
};

// 8 bits on int16 lanes. x(1 - x) is exactly mul(d, 255 - d) at every d, so
// with byte permutes only D(x) - x is read; without them the int32 halves
// gather.
template <>
struct XferSoftLightLanes<Depth8W<256>> {
  typedef simd::I16x16 T;
  typedef Depth8W<256> M;
  static VX_INLINE T Curve(simd::Mask<256> dark, T d) {
#if defined(__AVX512VBMI__)
    return M::Select(dark, M::mul(d, M::inv(d)), simd::LookupBytes(VXp_G_SoftLightA_8, d));
#else
    return simd::OnHalves(
        [](simd::I32x8 k, simd::I32x8 x) VX_INLINE_LAMBDA {
          return XferSoftLightLanes<Depth8<256>>::Curve(simd::Mask<256>(k.v), x);
        },
        T(dark), d);
#endif
  }
};

// 16 bits and float: one interpolated lookup, its dark lanes moved from
// table A to table B, when the two lie within reach of a lane's offset.
template <>
struct XferSoftLightLanes<Depth16<256>> {
  typedef simd::I32x8 T;
  static VX_INLINE T Curve(simd::Mask<256> dark, T d) {
    if (const int32_t apart = simd::TablesApart<char>(reinterpret_cast<const char*>(VXp_G_SoftLightA_16),
                                                      reinterpret_cast<const char*>(VXp_G_SoftLightB_16)))
      return simd::LookupInterpolated(VXp_G_SoftLightA_16, T(dark) & T(apart), d);
    return simd::Select(dark, simd::LookupInterpolated(VXp_G_SoftLightB_16, T(0), d),
                        simd::LookupInterpolated(VXp_G_SoftLightA_16, T(0), d));
  }
};

template <>
struct XferSoftLightLanes<DepthF<256>> {
  typedef simd::F32x8 T;
  static VX_INLINE T Curve(simd::Mask<256> dark, T d) {
    if (const int32_t apart = simd::TablesApart(VXp_G_SoftLightA_F, VXp_G_SoftLightB_F))
      return simd::LookupInterpolated(VXp_G_SoftLightA_F, simd::I32x8(dark) & simd::I32x8(apart), d);
    return simd::Select(dark, simd::LookupInterpolated(VXp_G_SoftLightB_F, simd::I32x8(0), d),
                        simd::LookupInterpolated(VXp_G_SoftLightA_F, simd::I32x8(0), d));
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
