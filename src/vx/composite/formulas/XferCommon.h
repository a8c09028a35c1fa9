// Pieces shared by the transfer-mode formulas of every family: the depth's
// arithmetic with a few extra terms, channel access by index, and the
// primary template that each mode specialises with its formula.
#pragma once

#include <algorithm>
#include <type_traits>

#include "core/ChannelMath.h"
#include "vx/Xfer.h"

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

// The depth's arithmetic, plus what the mode formulas need beyond it.
template <class Pixel>
struct XferMath : Arith<Pixel> {
  typedef Arith<Pixel> A;
  typedef typename A::T T;
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  static constexpr bool kFloat = std::is_floating_point_v<T>;
  static constexpr bool k8 = !kFloat && A::kWhite == 255;
  static constexpr bool k16 = !kFloat && !k8;
  // The white subtracted in 2s - W: 2s with bit 8 dropped at 8 bits.
  static constexpr T kWhite2 = kFloat ? T(1) : (k8 ? T(256) : T(32768));

  // Integer results are kept to the channel's bits, as a store would keep
  // them; an 8-bit value must be a byte before it indexes the divide table.
  static VX_INLINE T Keep(T x) {
    if constexpr (kFloat)
      return x;
    else
      return x & (k8 ? 0xFF : 0xFFFF);
  }
  // The union of two alphas.
  static VX_INLINE T Union(T sa, T da) { return A::inv(A::mul(A::inv(sa), A::inv(da))); }
  static VX_INLINE T Min(T a, T b) { return std::min(a, b); }
  static VX_INLINE T Max(T a, T b) { return std::max(a, b); }
  static VX_INLINE T Abs(T a) { return a < 0 ? -a : a; }
  static VX_INLINE T Luma(const Pixel& p) { return A::luma(p.red, p.green, p.blue); }
  // Formulas that may run on vector lanes choose with Select rather than
  // branch; both sides are computed, so each must be valid for any input.
  static VX_INLINE T Select(bool c, T a, T b) { return c ? a : b; }
  // Entry d (taken to 8 bits) of a 256-entry table.
  static VX_INLINE T Lookup8(const uint8_t* table, T d) { return table[d & 0xFF]; }
  // Interpolated entry of a 4097-entry table (soft light at 16 bits, float).
  static VX_INLINE T Lookup16(const int16_t* table, T d) { return SoftLightLookup16(table, d); }
  static VX_INLINE T LookupF(const float* table, T d) { return SoftLightLookupF(table, d); }
  // A float divisor that divides to 1.0: zero or denormal.
  static VX_INLINE bool Tiny(T a) { return zero_or_denormal(a); }
};

// Colour channel i (0 red, 1 green, 2 blue) of a pixel.
template <class Pixel>
VX_INLINE auto& Colour(Pixel& p, int i) {
  return i == 0 ? p.red : (i == 1 ? p.green : p.blue);
}
template <class Pixel>
VX_INLINE const auto& Colour(const Pixel& p, int i) {
  return i == 0 ? p.red : (i == 1 ? p.green : p.blue);
}

template <class Pixel>
VX_INLINE typename VX_PixelTraits<Pixel>::Channel ToChannel(typename Arith<Pixel>::T v) {
  return static_cast<typename VX_PixelTraits<Pixel>::Channel>(v);
}

// The formula of mode `Mode`, specialised in the family headers:
//   matte families and three-term: F(s, d) for a full source and, for the
//     matte families, P(s, sa, d) for a partial one, on colour channels;
//   recolour: Triple(s, before, after, c) forms the colour to mix in;
//   direct, dissolve and alpha-only: Run(s, sa, d) on the whole pixel.
// Each specialisation is a template over the pixel type, with M the depth's
// arithmetic and T its working type. M is XferMath<Pixel> for one pixel; the
// matte-family formulas also take the lane arithmetic of the vector kernels,
// which has the same functions over several pixels at once.
template <int32_t Mode, class Pixel, class M = XferMath<Pixel>>
struct XferOp;

}  // namespace VX_ISA_NS
}  // namespace vx
