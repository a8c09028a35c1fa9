// The rounding primitives of each depth, named once: every formula of the
// package is built from these. Integer forms are exact as written; float
// forms neither clamp nor round.
#pragma once

#include <cstdint>
#include <cstring>

#include "vx/Globals.h"
#include "vx/PixelTraits.h"

#ifndef VX_ISA_NS
#define VX_ISA_NS isa_base
#endif

#define VX_INLINE inline __attribute__((always_inline))

namespace vx {
inline namespace VX_ISA_NS {

// ---- 8 bits ---------------------------------------------------------------

// a x b / 255, rounded: t = a x b; (t + 128 + ((t + 128) >> 8)) >> 8.
VX_INLINE int32_t mul8(int32_t a, int32_t b) {
  const int32_t t = a * b + 128;
  return (t + (t >> 8)) >> 8;
}
VX_INLINE int32_t inv8(int32_t a) { return 255 - a; }
// The fast colour divide: 255 when v >= a, else (v x 255 + (a >> 1)) / a.
VX_INLINE int32_t div8(int32_t a, int32_t v) { return VXp_G_fcd_table[(a << 8) + v]; }
// 2 x mul8 for a product already formed: (((x + 128) >> 8) + x + 128) >> 7, bit 0 cleared.
VX_INLINE int32_t dbl8(int32_t x) { return ((((x + 128) >> 8) + x + 128) >> 7) & ~1; }
// d + mul8(c - d, a), kept to 8 bits; the difference may be negative.
VX_INLINE int32_t lerp8(int32_t d, int32_t c, int32_t a) { return (d + mul8(c - d, a)) & 0xFF; }

// ---- 16 bits (white 32768) --------------------------------------------------

VX_INLINE int32_t mul16(int32_t a, int32_t b) { return (a * b + 16383) >> 15; }
VX_INLINE int32_t inv16(int32_t a) { return 32768 - a; }
// 32768 when v >= a, else ((v << 15) + (a >> 1)) / a.
VX_INLINE int32_t div16(int32_t a, int32_t v) {
  return v >= a ? 32768 : static_cast<int32_t>(((static_cast<uint32_t>(v) << 15) + (a >> 1)) / a);
}
VX_INLINE int32_t dbl16(int32_t x) { return ((x + 16383) >> 14) & ~1; }
// d + (((c - d) x a) >> 15): a truncating shift, unlike mul16.
VX_INLINE int32_t lerp16(int32_t d, int32_t c, int32_t a) { return d + (((c - d) * a) >> 15); }

// ---- float ------------------------------------------------------------------

// Zero or denormal: exponent field zero.
VX_INLINE bool zero_or_denormal(float v) {
  uint32_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  return (bits & 0x7F800000u) == 0;
}
VX_INLINE float mulF(float a, float b) { return a * b; }
VX_INLINE float invF(float a) { return 1.0f - a; }
// v / a; a zero or denormal gives 1.0.
VX_INLINE float divF(float a, float v) { return zero_or_denormal(a) ? 1.0f : v / a; }
VX_INLINE float lerpF(float d, float c, float a) { return d + (c - d) * a; }
// 2 x product for a product already formed.
VX_INLINE float dblF(float x) { return 2.0f * x; }

// ---- luma -------------------------------------------------------------------

VX_INLINE int32_t luma_int(int32_t r, int32_t g, int32_t b) { return (r * 9798 + g * 19235 + b * 3735 + 16384) >> 15; }
VX_INLINE float lumaF(float r, float g, float b) { return r * 0.299f + g * 0.587f + b * 0.114f; }

// ---- per-depth families, for templates over the pixel type ---------------------

template <class Pixel>
struct Arith;

template <>
struct Arith<VX_Pixel8> {
  typedef int32_t T;
  static constexpr int32_t kWhite = 255;
  static constexpr int32_t kGrey = 128;
  static VX_INLINE T mul(T a, T b) { return mul8(a, b); }
  static VX_INLINE T inv(T a) { return inv8(a); }
  static VX_INLINE T div(T a, T v) { return div8(a, v); }
  static VX_INLINE T lerp(T d, T c, T a) { return lerp8(d, c, a); }
  static VX_INLINE T dbl(T x) { return dbl8(x); }
  static VX_INLINE T luma(T r, T g, T b) { return luma_int(r, g, b); }
};

template <>
struct Arith<VX_Pixel16> {
  typedef int32_t T;
  static constexpr int32_t kWhite = 32768;
  static constexpr int32_t kGrey = 16384;
  static VX_INLINE T mul(T a, T b) { return mul16(a, b); }
  static VX_INLINE T inv(T a) { return inv16(a); }
  static VX_INLINE T div(T a, T v) { return div16(a, v); }
  static VX_INLINE T lerp(T d, T c, T a) { return lerp16(d, c, a); }
  static VX_INLINE T dbl(T x) { return dbl16(x); }
  static VX_INLINE T luma(T r, T g, T b) { return luma_int(r, g, b); }
};

template <>
struct Arith<VX_PixelFloat> {
  typedef float T;
  static constexpr float kWhite = 1.0f;
  static constexpr float kGrey = 0.5f;
  static VX_INLINE T mul(T a, T b) { return mulF(a, b); }
  static VX_INLINE T inv(T a) { return invF(a); }
  static VX_INLINE T div(T a, T v) { return divF(a, v); }
  static VX_INLINE T lerp(T d, T c, T a) { return lerpF(d, c, a); }
  static VX_INLINE T dbl(T x) { return dblF(x); }
  static VX_INLINE T luma(T r, T g, T b) { return lumaF(r, g, b); }
};

}  // namespace VX_ISA_NS
}  // namespace vx
