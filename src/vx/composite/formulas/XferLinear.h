// Blending in linear light: pixels are taken from the stored encoding to a
// linear one, the mode's core runs there, and the destination is taken back.
// 8-bit and 16-bit pixels blend at 16 bits through the tables; float pixels
// stay float and go through the tables' exponents.
#pragma once

#include <cmath>

#include "composite/formulas/XferCommon.h"
#include "vx/LinearBlending.h"

namespace vx {
inline namespace VX_ISA_NS {

// The pixel type a depth blends at in linear light.
template <class Pixel>
struct XferLinearPixel {
  typedef VX_Pixel16 type;
};
template <>
struct XferLinearPixel<VX_PixelFloat> {
  typedef VX_PixelFloat type;
};

// sign(c) x |c|^gamma.
VX_INLINE float SignedPow(float c, float gamma) { return c >= 0.0f ? std::pow(c, gamma) : -std::pow(-c, gamma); }

// Stored to linear. Alpha goes to 16 bits at 8 bits and is kept otherwise.
VX_INLINE VX_Pixel16 ToLinear(const VX_LinearBlendingTables& t, const VX_Pixel8& p) {
  return VX_Pixel16{VX_Convert8To16(p.alpha), VX_LinearFromStored8(t, p.red), VX_LinearFromStored8(t, p.green),
                    VX_LinearFromStored8(t, p.blue)};
}
// Values above white are read as white, so that no lookup leaves the table.
VX_INLINE VX_Pixel16 ToLinear(const VX_LinearBlendingTables& t, const VX_Pixel16& p) {
  auto c = [&](uint16_t v) { return VX_LinearFromStored16(t, std::min<uint32_t>(v, 32768)); };
  return VX_Pixel16{p.alpha, c(p.red), c(p.green), c(p.blue)};
}
VX_INLINE VX_PixelFloat ToLinear(const VX_LinearBlendingTables& t, const VX_PixelFloat& p) {
  const float g = t.to_linear_gamma;
  return VX_PixelFloat{p.alpha, SignedPow(p.red, g), SignedPow(p.green, g), SignedPow(p.blue, g)};
}

// A source alpha in the linear pixel's units.
VX_INLINE int32_t LinearAlpha(VX_Pixel8, int32_t a) { return VX_Convert8To16(static_cast<uint32_t>(a)); }
VX_INLINE int32_t LinearAlpha(VX_Pixel16, int32_t a) { return a; }
VX_INLINE float LinearAlpha(VX_PixelFloat, float a) { return a; }

// Linear to stored, into `out`.
VX_INLINE uint16_t StoredFromLinear(const VX_LinearBlendingTables& t, uint16_t v) {
  return VX_StoredFromLinear16(t, std::min<uint32_t>(v, 32768));
}
VX_INLINE void FromLinear(const VX_LinearBlendingTables& t, const VX_Pixel16& p, VX_Pixel8& out) {
  out = VX_Pixel8{VX_Convert16To8(p.alpha), VX_Convert16To8(StoredFromLinear(t, p.red)),
                  VX_Convert16To8(StoredFromLinear(t, p.green)), VX_Convert16To8(StoredFromLinear(t, p.blue))};
}
VX_INLINE void FromLinear(const VX_LinearBlendingTables& t, const VX_Pixel16& p, VX_Pixel16& out) {
  out = VX_Pixel16{p.alpha, StoredFromLinear(t, p.red), StoredFromLinear(t, p.green), StoredFromLinear(t, p.blue)};
}
VX_INLINE void FromLinear(const VX_LinearBlendingTables& t, const VX_PixelFloat& p, VX_PixelFloat& out) {
  const float g = t.from_linear_gamma;
  out = VX_PixelFloat{p.alpha, SignedPow(p.red, g), SignedPow(p.green, g), SignedPow(p.blue, g)};
}

// Runs `core` (a callable on linear source, alpha and destination) in linear
// light for one pixel.
template <class Pixel, class Core>
VX_INLINE void RunInLinearLight(const VX_LinearBlendingTables& t, const Pixel& s, typename Arith<Pixel>::T sa, Pixel& d,
                                Core core) {
  typedef typename XferLinearPixel<Pixel>::type L;
  const L ls = ToLinear(t, s);
  L ld = ToLinear(t, d);
  core(ls, LinearAlpha(Pixel{}, sa), ld);
  FromLinear(t, ld, d);
}

}  // namespace VX_ISA_NS
}  // namespace vx
