// The 128-bit integer and float intrinsics under the common names that the
// width-generic kernels use (Wide256.h has the same names at 256 bits).
// SSSE3 at most; include only from a *_ssse3.cpp translation unit.
#pragma once

#include <tmmintrin.h>

#include "vx/Types.h"

namespace vx {
inline namespace VX_ISA_NS {

struct W128 {
  typedef __m128i I;
  typedef __m128 F;
  static constexpr int32_t kPixels = 4;
  static I Set16(int16_t v) { return _mm_set1_epi16(v); }
  static I Set32(int32_t v) { return _mm_set1_epi32(v); }
  static I Repeat16(short a, short b, short c, short d, short e, short f, short g, short h) {
    return _mm_setr_epi16(a, b, c, d, e, f, g, h);
  }
  template <class... C>
  static I Repeat8(C... c) {
    return _mm_setr_epi8(static_cast<char>(c)...);
  }
  static I Add16(I a, I b) { return _mm_add_epi16(a, b); }
  static I Sub16(I a, I b) { return _mm_sub_epi16(a, b); }
  static I SubSatU16(I a, I b) { return _mm_subs_epu16(a, b); }
  static I Mul16(I a, I b) { return _mm_mullo_epi16(a, b); }
  static I Shr16(I a, int n) { return _mm_srli_epi16(a, n); }
  static I Add32(I a, I b) { return _mm_add_epi32(a, b); }
  static I Shr32(I a, int n) { return _mm_srli_epi32(a, n); }
  static I Gt16(I a, I b) { return _mm_cmpgt_epi16(a, b); }
  static I Eq16(I a, I b) { return _mm_cmpeq_epi16(a, b); }
  static I Eq32(I a, I b) { return _mm_cmpeq_epi32(a, b); }
  static I And(I a, I b) { return _mm_and_si128(a, b); }
  static I Or(I a, I b) { return _mm_or_si128(a, b); }
  static I AndNot(I m, I a) { return _mm_andnot_si128(m, a); }
  static I Select(I m, I yes, I no) { return _mm_or_si128(_mm_and_si128(m, yes), _mm_andnot_si128(m, no)); }
  static bool AllSet(I m) { return _mm_movemask_epi8(m) == 0xFFFF; }
  static bool AllZero(I a) { return _mm_movemask_epi8(_mm_cmpeq_epi32(a, _mm_setzero_si128())) == 0xFFFF; }
  static I Shuffle8(I a, I order) { return _mm_shuffle_epi8(a, order); }
  static I UnpackLo8(I a, I b) { return _mm_unpacklo_epi8(a, b); }
  static I UnpackHi8(I a, I b) { return _mm_unpackhi_epi8(a, b); }
  static I Low16(I a, I zero) { return _mm_unpacklo_epi16(a, zero); }
  static I High16(I a, I zero) { return _mm_unpackhi_epi16(a, zero); }
  static I Pack32(I a, I b) { return _mm_packs_epi32(a, b); }
  static I PackUs16(I a, I b) { return _mm_packus_epi16(a, b); }
  static F SetF(float v) { return _mm_set1_ps(v); }
  static F ToFloat(I a) { return _mm_cvtepi32_ps(a); }
  static I Trunc(F a) { return _mm_cvttps_epi32(a); }
  static F AddF(F a, F b) { return _mm_add_ps(a, b); }
  static F SubF(F a, F b) { return _mm_sub_ps(a, b); }
  static F MulF(F a, F b) { return _mm_mul_ps(a, b); }
  static F DivF(F a, F b) { return _mm_div_ps(a, b); }
  static F Rcp(F a) { return _mm_rcp_ps(a); }
  template <class P>
  static I Load(const P* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
  template <class P>
  static I LoadAligned(const P* p) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(p));
  }
  template <class P>
  static void Store(P* p, I v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
