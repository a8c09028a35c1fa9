// The lane types on 128-bit registers: SSE2, with SSSE3's absolute values,
// signs and byte shuffles where the translation unit is compiled for them.
// Operations SSE2 lacks (32-bit products, minimum, maximum) are built from
// what it has, with the same results.
#pragma once

#include <emmintrin.h>
#if defined(__SSSE3__)
#include <tmmintrin.h>
#endif

#include "simd/Base.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

template <>
struct Mask<128> {
  __m128i m;
  Mask() = default;
  Mask(__m128i x) : m(x) {}
  explicit Mask(bool b) : m(_mm_set1_epi32(b ? -1 : 0)) {}
};

VX_INLINE Mask<128> operator|(Mask<128> a, Mask<128> b) { return _mm_or_si128(a.m, b.m); }
VX_INLINE Mask<128> operator&(Mask<128> a, Mask<128> b) { return _mm_and_si128(a.m, b.m); }
VX_INLINE Mask<128> operator&&(Mask<128> a, Mask<128> b) { return a & b; }
VX_INLINE Mask<128> operator||(Mask<128> a, Mask<128> b) { return a | b; }
VX_INLINE Mask<128> operator!(Mask<128> a) { return _mm_xor_si128(a.m, _mm_set1_epi32(-1)); }
VX_INLINE bool All(Mask<128> a) { return _mm_movemask_epi8(a.m) == 0xFFFF; }
VX_INLINE bool None(Mask<128> a) { return _mm_movemask_epi8(a.m) == 0; }
VX_INLINE __m128i SelectBits(__m128i m, __m128i a, __m128i b) {
  return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}

// ---- int32 ------------------------------------------------------------------

template <>
struct I32<128> {
  static constexpr int kLanes = 4;
  __m128i v;
  I32() = default;
  I32(__m128i x) : v(x) {}
  I32(int32_t c) : v(_mm_set1_epi32(c)) {}
  explicit I32(Mask<128> c) : v(c.m) {}
  static VX_INLINE I32 Load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
  VX_INLINE void StoreAligned(void* p) const { _mm_store_si128(static_cast<__m128i*>(p), v); }
  static VX_INLINE I32 LoadAligned(const void* p) { return _mm_load_si128(static_cast<const __m128i*>(p)); }
  VX_INLINE void Store(void* p) const { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
  // Sixteen bytes in each 128 bits.
  template <class... C>
  static VX_INLINE I32 RepeatBytes(C... c) {
    return _mm_setr_epi8(static_cast<char>(c)...);
  }
};
typedef I32<128> I32x4;

VX_INLINE I32x4 operator+(I32x4 a, I32x4 b) { return _mm_add_epi32(a.v, b.v); }
VX_INLINE I32x4 operator-(I32x4 a, I32x4 b) { return _mm_sub_epi32(a.v, b.v); }
// The low 32 bits of each product, from the even and odd lanes' 64-bit ones.
VX_INLINE I32x4 operator*(I32x4 a, I32x4 b) {
  const __m128i even = _mm_mul_epu32(a.v, b.v);
  const __m128i odd = _mm_mul_epu32(_mm_srli_si128(a.v, 4), _mm_srli_si128(b.v, 4));
  return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, 0x08), _mm_shuffle_epi32(odd, 0x08));
}
VX_INLINE I32x4 operator>>(I32x4 a, int n) { return _mm_srai_epi32(a.v, n); }
VX_INLINE I32x4 operator<<(I32x4 a, int n) { return _mm_slli_epi32(a.v, n); }
VX_INLINE I32x4 operator&(I32x4 a, I32x4 b) { return _mm_and_si128(a.v, b.v); }
VX_INLINE I32x4 operator|(I32x4 a, I32x4 b) { return _mm_or_si128(a.v, b.v); }
VX_INLINE Mask<128> operator<(I32x4 a, I32x4 b) { return _mm_cmplt_epi32(a.v, b.v); }
VX_INLINE Mask<128> operator>(I32x4 a, I32x4 b) { return _mm_cmpgt_epi32(a.v, b.v); }
VX_INLINE Mask<128> operator>=(I32x4 a, I32x4 b) { return !(a < b); }
VX_INLINE Mask<128> operator<=(I32x4 a, I32x4 b) { return !(a > b); }
VX_INLINE Mask<128> operator==(I32x4 a, I32x4 b) { return _mm_cmpeq_epi32(a.v, b.v); }
VX_INLINE Mask<128> operator!=(I32x4 a, I32x4 b) { return !(a == b); }
VX_INLINE I32x4 Srl(I32x4 a, int n) { return _mm_srli_epi32(a.v, n); }
VX_INLINE I32x4 AndNot(I32x4 m, I32x4 a) { return _mm_andnot_si128(m.v, a.v); }
VX_INLINE I32x4 Select(Mask<128> c, I32x4 a, I32x4 b) { return SelectBits(c.m, a.v, b.v); }
VX_INLINE I32x4 Min(I32x4 a, I32x4 b) { return Select(b < a, b, a); }
VX_INLINE I32x4 Max(I32x4 a, I32x4 b) { return Select(b > a, b, a); }
VX_INLINE I32x4 MulLow16(I32x4 a, I32x4 b) { return _mm_mullo_epi16(a.v, b.v); }
VX_INLINE bool AllZero(I32x4 a) { return _mm_movemask_epi8(_mm_cmpeq_epi32(a.v, _mm_setzero_si128())) == 0xFFFF; }
#if defined(__SSSE3__)
VX_INLINE I32x4 Abs(I32x4 a) { return _mm_abs_epi32(a.v); }
VX_INLINE I32x4 SignOf(I32x4 q, I32x4 s) { return _mm_sign_epi32(q.v, s.v); }
VX_INLINE I32x4 ShuffleBytes(I32x4 a, I32x4 order) { return _mm_shuffle_epi8(a.v, order.v); }
#else
VX_INLINE I32x4 Abs(I32x4 a) {
  const I32x4 s = a >> 31;
  return (I32x4(_mm_xor_si128(a.v, s.v))) - s;
}
VX_INLINE I32x4 SignOf(I32x4 q, I32x4 s) {
  const I32x4 negative = s >> 31;
  return AndNot(I32x4(s == I32x4(0)), I32x4(_mm_xor_si128(q.v, negative.v)) - negative);
}
#endif

// ---- int16 ------------------------------------------------------------------

template <>
struct I16<128> {
  static constexpr int kLanes = 8;
  __m128i v;
  I16() = default;
  I16(__m128i x) : v(x) {}
  I16(int32_t c) : v(_mm_set1_epi16(static_cast<int16_t>(c))) {}
  explicit I16(Mask<128> c) : v(c.m) {}
  static VX_INLINE I16 Load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
  VX_INLINE void Store(void* p) const { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
  // Eight words in each 128 bits.
  static VX_INLINE I16 Repeat(short a, short b, short c, short d, short e, short f, short g, short h) {
    return _mm_setr_epi16(a, b, c, d, e, f, g, h);
  }
};
typedef I16<128> I16x8;

VX_INLINE I16x8 operator+(I16x8 a, I16x8 b) { return _mm_add_epi16(a.v, b.v); }
VX_INLINE I16x8 operator-(I16x8 a, I16x8 b) { return _mm_sub_epi16(a.v, b.v); }
VX_INLINE I16x8 operator*(I16x8 a, I16x8 b) { return _mm_mullo_epi16(a.v, b.v); }
VX_INLINE I16x8 operator>>(I16x8 a, int n) { return _mm_srai_epi16(a.v, n); }
VX_INLINE I16x8 operator&(I16x8 a, I16x8 b) { return _mm_and_si128(a.v, b.v); }
VX_INLINE I16x8 operator|(I16x8 a, I16x8 b) { return _mm_or_si128(a.v, b.v); }
VX_INLINE Mask<128> operator<(I16x8 a, I16x8 b) { return _mm_cmplt_epi16(a.v, b.v); }
VX_INLINE Mask<128> operator>(I16x8 a, I16x8 b) { return _mm_cmpgt_epi16(a.v, b.v); }
VX_INLINE Mask<128> operator>=(I16x8 a, I16x8 b) { return !(a < b); }
VX_INLINE Mask<128> operator<=(I16x8 a, I16x8 b) { return !(a > b); }
VX_INLINE Mask<128> operator==(I16x8 a, I16x8 b) { return _mm_cmpeq_epi16(a.v, b.v); }
VX_INLINE Mask<128> operator!=(I16x8 a, I16x8 b) { return !(a == b); }
VX_INLINE I16x8 Srl(I16x8 a, int n) { return _mm_srli_epi16(a.v, n); }
VX_INLINE I16x8 SubSaturated(I16x8 a, I16x8 b) { return _mm_subs_epu16(a.v, b.v); }
VX_INLINE I16x8 MulHigh(I16x8 a, I16x8 b) { return _mm_mulhi_epu16(a.v, b.v); }
VX_INLINE I16x8 Min(I16x8 a, I16x8 b) { return _mm_min_epi16(a.v, b.v); }
VX_INLINE I16x8 Max(I16x8 a, I16x8 b) { return _mm_max_epi16(a.v, b.v); }
VX_INLINE I16x8 Select(Mask<128> c, I16x8 a, I16x8 b) { return SelectBits(c.m, a.v, b.v); }
#if defined(__SSSE3__)
VX_INLINE I16x8 Abs(I16x8 a) { return _mm_abs_epi16(a.v); }
VX_INLINE I16x8 SignOf(I16x8 q, I16x8 s) { return _mm_sign_epi16(q.v, s.v); }
#else
VX_INLINE I16x8 Abs(I16x8 a) { return Max(a, I16x8(0) - a); }
VX_INLINE I16x8 SignOf(I16x8 q, I16x8 s) {
  const I16x8 negative = s >> 15;
  const I16x8 flipped = I16x8(_mm_xor_si128(q.v, negative.v)) - negative;
  return I16x8(_mm_andnot_si128((s == I16x8(0)).m, flipped.v));
}
#endif

VX_INLINE I32x4 Lower(I16x8 x) { return _mm_unpacklo_epi16(x.v, _mm_srai_epi16(x.v, 15)); }
VX_INLINE I32x4 Upper(I16x8 x) { return _mm_unpackhi_epi16(x.v, _mm_srai_epi16(x.v, 15)); }
VX_INLINE I32x4 LowerUnsigned(I16x8 x) { return _mm_unpacklo_epi16(x.v, _mm_setzero_si128()); }
VX_INLINE I32x4 UpperUnsigned(I16x8 x) { return _mm_unpackhi_epi16(x.v, _mm_setzero_si128()); }
VX_INLINE I16x8 Join(I32x4 lo, I32x4 hi) { return _mm_packs_epi32(lo.v, hi.v); }
// For values in 0..65535 (the unsigned pack is SSE4.1's): moved to the
// signed range, packed, and moved back.
VX_INLINE I16x8 JoinUnsigned(I32x4 lo, I32x4 hi) {
  const I16x8 bias(-32768);
  return _mm_xor_si128(Join(lo - I32x4(32768), hi - I32x4(32768)).v, bias.v);
}
VX_INLINE I16x8 InterleaveLow(I16x8 a, I16x8 b) { return _mm_unpacklo_epi16(a.v, b.v); }
VX_INLINE I16x8 InterleaveHigh(I16x8 a, I16x8 b) { return _mm_unpackhi_epi16(a.v, b.v); }
VX_INLINE I32x4 MulAddPairs(I16x8 a, I16x8 b) { return _mm_madd_epi16(a.v, b.v); }
VX_INLINE I16x8 BytesLow(I32x4 x) { return _mm_unpacklo_epi8(x.v, _mm_setzero_si128()); }
VX_INLINE I16x8 BytesHigh(I32x4 x) { return _mm_unpackhi_epi8(x.v, _mm_setzero_si128()); }
VX_INLINE I32x4 PackBytes(I16x8 lo, I16x8 hi) { return _mm_packus_epi16(lo.v, hi.v); }
VX_INLINE I16x8 AsWords(I32x4 x) { return x.v; }
VX_INLINE I32x4 AsInts(I16x8 x) { return x.v; }

// ---- float ------------------------------------------------------------------

template <>
struct F32<128> {
  static constexpr int kLanes = 4;
  __m128 v;
  F32() = default;
  F32(__m128 x) : v(x) {}
  F32(float c) : v(_mm_set1_ps(c)) {}
  static VX_INLINE F32 Load(const float* p) { return _mm_loadu_ps(p); }
  VX_INLINE void Store(float* p) const { _mm_storeu_ps(p, v); }
};
typedef F32<128> F32x4;

VX_INLINE F32x4 operator+(F32x4 a, F32x4 b) { return _mm_add_ps(a.v, b.v); }
VX_INLINE F32x4 operator-(F32x4 a, F32x4 b) { return _mm_sub_ps(a.v, b.v); }
VX_INLINE F32x4 operator*(F32x4 a, F32x4 b) { return _mm_mul_ps(a.v, b.v); }
VX_INLINE F32x4 operator/(F32x4 a, F32x4 b) { return _mm_div_ps(a.v, b.v); }
VX_INLINE F32x4 operator-(F32x4 a) { return _mm_xor_ps(a.v, _mm_set1_ps(-0.0f)); }
VX_INLINE Mask<128> FloatMask(__m128 c) { return _mm_castps_si128(c); }
VX_INLINE Mask<128> operator<(F32x4 a, F32x4 b) { return FloatMask(_mm_cmplt_ps(a.v, b.v)); }
VX_INLINE Mask<128> operator>(F32x4 a, F32x4 b) { return FloatMask(_mm_cmpgt_ps(a.v, b.v)); }
VX_INLINE Mask<128> operator<=(F32x4 a, F32x4 b) { return FloatMask(_mm_cmple_ps(a.v, b.v)); }
VX_INLINE Mask<128> operator>=(F32x4 a, F32x4 b) { return FloatMask(_mm_cmpge_ps(a.v, b.v)); }
VX_INLINE Mask<128> operator==(F32x4 a, F32x4 b) { return FloatMask(_mm_cmpeq_ps(a.v, b.v)); }
VX_INLINE Mask<128> operator!=(F32x4 a, F32x4 b) { return FloatMask(_mm_cmpneq_ps(a.v, b.v)); }
VX_INLINE F32x4 Select(Mask<128> c, F32x4 a, F32x4 b) {
  return _mm_castsi128_ps(SelectBits(c.m, _mm_castps_si128(a.v), _mm_castps_si128(b.v)));
}
VX_INLINE F32x4 Min(F32x4 a, F32x4 b) { return _mm_min_ps(b.v, a.v); }
VX_INLINE F32x4 Max(F32x4 a, F32x4 b) { return _mm_max_ps(b.v, a.v); }
VX_INLINE F32x4 Reciprocal(F32x4 a) { return _mm_rcp_ps(a.v); }
VX_INLINE F32x4 ToFloat(I32x4 a) { return _mm_cvtepi32_ps(a.v); }
VX_INLINE I32x4 Truncate(F32x4 a) { return _mm_cvttps_epi32(a.v); }
VX_INLINE I32x4 Bits(F32x4 a) { return _mm_castps_si128(a.v); }
VX_INLINE F32x4 FromBits(I32x4 a) { return _mm_castsi128_ps(a.v); }

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx
