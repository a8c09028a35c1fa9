// The lane types on 256-bit registers: AVX2, and AVX-512 (VL, BW) where the
// translation unit is compiled for it.
#pragma once

#include <immintrin.h>

#include "simd/Base.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

template <>
struct Mask<256> {
  __m256i m;
  Mask() = default;
  Mask(__m256i x) : m(x) {}
  explicit Mask(bool b) : m(_mm256_set1_epi32(b ? -1 : 0)) {}
};

VX_INLINE Mask<256> operator|(Mask<256> a, Mask<256> b) { return _mm256_or_si256(a.m, b.m); }
VX_INLINE Mask<256> operator&(Mask<256> a, Mask<256> b) { return _mm256_and_si256(a.m, b.m); }
VX_INLINE Mask<256> operator&&(Mask<256> a, Mask<256> b) { return a & b; }
VX_INLINE Mask<256> operator||(Mask<256> a, Mask<256> b) { return a | b; }
VX_INLINE Mask<256> operator!(Mask<256> a) { return _mm256_xor_si256(a.m, _mm256_set1_epi32(-1)); }
VX_INLINE bool All(Mask<256> a) { return _mm256_movemask_epi8(a.m) == -1; }
VX_INLINE bool None(Mask<256> a) { return _mm256_testz_si256(a.m, a.m) != 0; }

// ---- int32 ------------------------------------------------------------------

template <>
struct I32<256> {
  static constexpr int kLanes = 8;
  __m256i v;
  I32() = default;
  I32(__m256i x) : v(x) {}
  I32(int32_t c) : v(_mm256_set1_epi32(c)) {}
  explicit I32(Mask<256> c) : v(c.m) {}
  static VX_INLINE I32 Load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
  VX_INLINE void StoreAligned(void* p) const { _mm256_store_si256(static_cast<__m256i*>(p), v); }
  static VX_INLINE I32 LoadAligned(const void* p) { return _mm256_load_si256(static_cast<const __m256i*>(p)); }
  VX_INLINE void Store(void* p) const { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
  // Sixteen bytes in each 128 bits.
  template <class... C>
  static VX_INLINE I32 RepeatBytes(C... c) {
    return _mm256_setr_epi8(static_cast<char>(c)..., static_cast<char>(c)...);
  }
};
typedef I32<256> I32x8;

VX_INLINE I32x8 operator+(I32x8 a, I32x8 b) { return _mm256_add_epi32(a.v, b.v); }
VX_INLINE I32x8 operator-(I32x8 a, I32x8 b) { return _mm256_sub_epi32(a.v, b.v); }
VX_INLINE I32x8 operator*(I32x8 a, I32x8 b) { return _mm256_mullo_epi32(a.v, b.v); }
VX_INLINE I32x8 operator>>(I32x8 a, int n) { return _mm256_srai_epi32(a.v, n); }
VX_INLINE I32x8 operator<<(I32x8 a, int n) { return _mm256_slli_epi32(a.v, n); }
VX_INLINE I32x8 operator&(I32x8 a, I32x8 b) { return _mm256_and_si256(a.v, b.v); }
VX_INLINE I32x8 operator|(I32x8 a, I32x8 b) { return _mm256_or_si256(a.v, b.v); }
VX_INLINE Mask<256> operator<(I32x8 a, I32x8 b) { return _mm256_cmpgt_epi32(b.v, a.v); }
VX_INLINE Mask<256> operator>(I32x8 a, I32x8 b) { return _mm256_cmpgt_epi32(a.v, b.v); }
VX_INLINE Mask<256> operator>=(I32x8 a, I32x8 b) { return !(a < b); }
VX_INLINE Mask<256> operator<=(I32x8 a, I32x8 b) { return !(a > b); }
VX_INLINE Mask<256> operator==(I32x8 a, I32x8 b) { return _mm256_cmpeq_epi32(a.v, b.v); }
VX_INLINE Mask<256> operator!=(I32x8 a, I32x8 b) { return !(a == b); }
VX_INLINE I32x8 Srl(I32x8 a, int n) { return _mm256_srli_epi32(a.v, n); }
VX_INLINE I32x8 AndNot(I32x8 m, I32x8 a) { return _mm256_andnot_si256(m.v, a.v); }
VX_INLINE I32x8 Min(I32x8 a, I32x8 b) { return _mm256_min_epi32(a.v, b.v); }
VX_INLINE I32x8 Max(I32x8 a, I32x8 b) { return _mm256_max_epi32(a.v, b.v); }
VX_INLINE I32x8 Abs(I32x8 a) { return _mm256_abs_epi32(a.v); }
// |q| with the sign of s (q where s > 0, -q where s < 0, 0 where s is 0).
VX_INLINE I32x8 SignOf(I32x8 q, I32x8 s) { return _mm256_sign_epi32(q.v, s.v); }
// Products of the low 16 bits of each lane: exact for factors in 0..65535
// whose product fits 16 bits, at a fraction of a 32-bit multiply's cost.
VX_INLINE I32x8 MulLow16(I32x8 a, I32x8 b) { return _mm256_mullo_epi16(a.v, b.v); }
#if defined(__AVX512VL__)
// g++ 12 with AVX-512 BW and VL drops the negation of a compare that feeds a
// byte blend (r >= a as !(a > r) blends the wrong way); a blend on a mask
// register is compiled as written.
VX_INLINE I32x8 Select(Mask<256> c, I32x8 a, I32x8 b) {
  return _mm256_mask_blend_epi32(_mm256_test_epi32_mask(c.m, c.m), b.v, a.v);
}
#else
VX_INLINE I32x8 Select(Mask<256> c, I32x8 a, I32x8 b) { return _mm256_blendv_epi8(b.v, a.v, c.m); }
#endif
VX_INLINE bool AllZero(I32x8 a) { return _mm256_testz_si256(a.v, a.v) != 0; }
// Bytes of each 128-bit half rearranged by `order` (a byte index a lane, or
// negative for zero).
VX_INLINE I32x8 ShuffleBytes(I32x8 a, I32x8 order) { return _mm256_shuffle_epi8(a.v, order.v); }


// ---- int16 ------------------------------------------------------------------

template <>
struct I16<256> {
  static constexpr int kLanes = 16;
  __m256i v;
  I16() = default;
  I16(__m256i x) : v(x) {}
  I16(int32_t c) : v(_mm256_set1_epi16(static_cast<int16_t>(c))) {}
  explicit I16(Mask<256> c) : v(c.m) {}
  static VX_INLINE I16 Load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
  VX_INLINE void Store(void* p) const { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
  // Eight words in each 128 bits.
  static VX_INLINE I16 Repeat(short a, short b, short c, short d, short e, short f, short g, short h) {
    return _mm256_setr_epi16(a, b, c, d, e, f, g, h, a, b, c, d, e, f, g, h);
  }
};
typedef I16<256> I16x16;

VX_INLINE I16x16 operator+(I16x16 a, I16x16 b) { return _mm256_add_epi16(a.v, b.v); }
VX_INLINE I16x16 operator-(I16x16 a, I16x16 b) { return _mm256_sub_epi16(a.v, b.v); }
VX_INLINE I16x16 operator*(I16x16 a, I16x16 b) { return _mm256_mullo_epi16(a.v, b.v); }
VX_INLINE I16x16 operator>>(I16x16 a, int n) { return _mm256_srai_epi16(a.v, n); }
VX_INLINE I16x16 operator&(I16x16 a, I16x16 b) { return _mm256_and_si256(a.v, b.v); }
VX_INLINE I16x16 operator|(I16x16 a, I16x16 b) { return _mm256_or_si256(a.v, b.v); }
VX_INLINE Mask<256> operator<(I16x16 a, I16x16 b) { return _mm256_cmpgt_epi16(b.v, a.v); }
VX_INLINE Mask<256> operator>(I16x16 a, I16x16 b) { return _mm256_cmpgt_epi16(a.v, b.v); }
VX_INLINE Mask<256> operator>=(I16x16 a, I16x16 b) { return !(a < b); }
VX_INLINE Mask<256> operator<=(I16x16 a, I16x16 b) { return !(a > b); }
VX_INLINE Mask<256> operator==(I16x16 a, I16x16 b) { return _mm256_cmpeq_epi16(a.v, b.v); }
VX_INLINE Mask<256> operator!=(I16x16 a, I16x16 b) { return !(a == b); }
VX_INLINE I16x16 Srl(I16x16 a, int n) { return _mm256_srli_epi16(a.v, n); }
VX_INLINE I16x16 SubSaturated(I16x16 a, I16x16 b) { return _mm256_subs_epu16(a.v, b.v); }
VX_INLINE I16x16 MulHigh(I16x16 a, I16x16 b) { return _mm256_mulhi_epu16(a.v, b.v); }
VX_INLINE I16x16 Min(I16x16 a, I16x16 b) { return _mm256_min_epi16(a.v, b.v); }
VX_INLINE I16x16 Max(I16x16 a, I16x16 b) { return _mm256_max_epi16(a.v, b.v); }
VX_INLINE I16x16 Abs(I16x16 a) { return _mm256_abs_epi16(a.v); }
VX_INLINE I16x16 SignOf(I16x16 q, I16x16 s) { return _mm256_sign_epi16(q.v, s.v); }
#if defined(__AVX512VL__)
VX_INLINE I16x16 Select(Mask<256> c, I16x16 a, I16x16 b) {
  return _mm256_mask_blend_epi16(_mm256_test_epi16_mask(c.m, c.m), b.v, a.v);
}
#else
VX_INLINE I16x16 Select(Mask<256> c, I16x16 a, I16x16 b) { return _mm256_blendv_epi8(b.v, a.v, c.m); }
#endif

// Words and int32 lanes of the same register. Per 128 bits, words 0-3 go to
// the lower half and 4-7 to the upper, sign-extended or zero-extended; Join
// puts them back, saturating beyond int16.
VX_INLINE I32x8 Lower(I16x16 x) { return _mm256_unpacklo_epi16(x.v, _mm256_srai_epi16(x.v, 15)); }
VX_INLINE I32x8 Upper(I16x16 x) { return _mm256_unpackhi_epi16(x.v, _mm256_srai_epi16(x.v, 15)); }
VX_INLINE I32x8 LowerUnsigned(I16x16 x) { return _mm256_unpacklo_epi16(x.v, _mm256_setzero_si256()); }
VX_INLINE I32x8 UpperUnsigned(I16x16 x) { return _mm256_unpackhi_epi16(x.v, _mm256_setzero_si256()); }
VX_INLINE I16x16 Join(I32x8 lo, I32x8 hi) { return _mm256_packs_epi32(lo.v, hi.v); }
VX_INLINE I16x16 JoinUnsigned(I32x8 lo, I32x8 hi) { return _mm256_packus_epi32(lo.v, hi.v); }
// Words of a and b alternating, from the lower or upper four of each 128 bits.
VX_INLINE I16x16 InterleaveLow(I16x16 a, I16x16 b) { return _mm256_unpacklo_epi16(a.v, b.v); }
VX_INLINE I16x16 InterleaveHigh(I16x16 a, I16x16 b) { return _mm256_unpackhi_epi16(a.v, b.v); }
// Pairs of words multiplied and added into int32 lanes: a0 b0 + a1 b1.
VX_INLINE I32x8 MulAddPairs(I16x16 a, I16x16 b) { return _mm256_madd_epi16(a.v, b.v); }
// Words from the bytes of each 128-bit half, zero-extended, and back (values
// in 0..255).
VX_INLINE I16x16 BytesLow(I32x8 x) { return _mm256_unpacklo_epi8(x.v, _mm256_setzero_si256()); }
VX_INLINE I16x16 BytesHigh(I32x8 x) { return _mm256_unpackhi_epi8(x.v, _mm256_setzero_si256()); }
VX_INLINE I32x8 PackBytes(I16x16 lo, I16x16 hi) { return _mm256_packus_epi16(lo.v, hi.v); }
VX_INLINE I16x16 AsWords(I32x8 x) { return x.v; }
VX_INLINE I32x8 AsInts(I16x16 x) { return x.v; }

// ---- float ------------------------------------------------------------------

template <>
struct F32<256> {
  static constexpr int kLanes = 8;
  __m256 v;
  F32() = default;
  F32(__m256 x) : v(x) {}
  F32(float c) : v(_mm256_set1_ps(c)) {}
  static VX_INLINE F32 Load(const float* p) { return _mm256_loadu_ps(p); }
  VX_INLINE void Store(float* p) const { _mm256_storeu_ps(p, v); }
};
typedef F32<256> F32x8;

VX_INLINE F32x8 operator+(F32x8 a, F32x8 b) { return _mm256_add_ps(a.v, b.v); }
VX_INLINE F32x8 operator-(F32x8 a, F32x8 b) { return _mm256_sub_ps(a.v, b.v); }
VX_INLINE F32x8 operator*(F32x8 a, F32x8 b) { return _mm256_mul_ps(a.v, b.v); }
VX_INLINE F32x8 operator/(F32x8 a, F32x8 b) { return _mm256_div_ps(a.v, b.v); }
VX_INLINE F32x8 operator-(F32x8 a) { return _mm256_xor_ps(a.v, _mm256_set1_ps(-0.0f)); }
// Ordered comparisons: false for NaN, as in C++.
VX_INLINE Mask<256> FloatMask(__m256 c) { return _mm256_castps_si256(c); }
VX_INLINE Mask<256> operator<(F32x8 a, F32x8 b) { return FloatMask(_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)); }
VX_INLINE Mask<256> operator>(F32x8 a, F32x8 b) { return FloatMask(_mm256_cmp_ps(a.v, b.v, _CMP_GT_OQ)); }
VX_INLINE Mask<256> operator<=(F32x8 a, F32x8 b) { return FloatMask(_mm256_cmp_ps(a.v, b.v, _CMP_LE_OQ)); }
VX_INLINE Mask<256> operator>=(F32x8 a, F32x8 b) { return FloatMask(_mm256_cmp_ps(a.v, b.v, _CMP_GE_OQ)); }
VX_INLINE Mask<256> operator==(F32x8 a, F32x8 b) { return FloatMask(_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)); }
VX_INLINE Mask<256> operator!=(F32x8 a, F32x8 b) { return FloatMask(_mm256_cmp_ps(a.v, b.v, _CMP_NEQ_UQ)); }
VX_INLINE F32x8 Select(Mask<256> c, F32x8 a, F32x8 b) { return _mm256_blendv_ps(b.v, a.v, _mm256_castsi256_ps(c.m)); }
// std::min and std::max: the first argument unless the second is beyond it.
VX_INLINE F32x8 Min(F32x8 a, F32x8 b) { return _mm256_min_ps(b.v, a.v); }
VX_INLINE F32x8 Max(F32x8 a, F32x8 b) { return _mm256_max_ps(b.v, a.v); }
VX_INLINE F32x8 Reciprocal(F32x8 a) { return _mm256_rcp_ps(a.v); }
VX_INLINE F32x8 ToFloat(I32x8 a) { return _mm256_cvtepi32_ps(a.v); }
VX_INLINE I32x8 Truncate(F32x8 a) { return _mm256_cvttps_epi32(a.v); }
// a / b truncated, in double: exact for any int32 pair.
VX_INLINE I32x8 ExactQuotient(I32x8 a, I32x8 b) {
  const __m256d lo = _mm256_div_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(a.v)),
                                   _mm256_cvtepi32_pd(_mm256_castsi256_si128(b.v)));
  const __m256d hi = _mm256_div_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(a.v, 1)),
                                   _mm256_cvtepi32_pd(_mm256_extracti128_si256(b.v, 1)));
  return _mm256_set_m128i(_mm256_cvttpd_epi32(hi), _mm256_cvttpd_epi32(lo));
}
// float(double(a) * s) on each lane: the product rounded once to float, as
// the scalar form that multiplies in double.
VX_INLINE F32x8 MulInDouble(F32x8 a, double s) {
  const __m256d f = _mm256_set1_pd(s);
  const __m128 lo = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(a.v)), f));
  const __m128 hi = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(a.v, 1)), f));
  return _mm256_set_m128(hi, lo);
}
// Eight pairs of floats from p (x0 y0 x1 y1 ...): the firsts and the seconds.
VX_INLINE void LoadPairs(const float* p, F32x8* first, F32x8* second) {
  const __m256 a = _mm256_loadu_ps(p), b = _mm256_loadu_ps(p + 8);
  const __m256 e = _mm256_shuffle_ps(a, b, 0x88), o = _mm256_shuffle_ps(a, b, 0xDD);
  first->v = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(e), 0xD8));
  second->v = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(o), 0xD8));
}
VX_INLINE I32x8 Bits(F32x8 a) { return _mm256_castps_si256(a.v); }
VX_INLINE F32x8 FromBits(I32x8 a) { return _mm256_castsi256_ps(a.v); }

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx
