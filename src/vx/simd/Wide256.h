// The 256-bit integer and float intrinsics under the common names that the
// width-generic kernels use (Wide128.h has the same names at 128 bits).
// AVX2; include only from an *_avx2.cpp translation unit.
#pragma once

#include <immintrin.h>

#include "vx/Types.h"

namespace vx {
inline namespace VX_ISA_NS {

struct W256 {
  typedef __m256i I;
  typedef __m256 F;
  static constexpr int32_t kPixels = 8;
  static I Set16(int16_t v) { return _mm256_set1_epi16(v); }
  static I Set32(int32_t v) { return _mm256_set1_epi32(v); }
  static I Repeat16(short a, short b, short c, short d, short e, short f, short g, short h) {
    return _mm256_setr_epi16(a, b, c, d, e, f, g, h, a, b, c, d, e, f, g, h);
  }
  template <class... C>
  static I Repeat8(C... c) {
    return _mm256_setr_epi8(static_cast<char>(c)..., static_cast<char>(c)...);
  }
  static I Add16(I a, I b) { return _mm256_add_epi16(a, b); }
  static I Sub16(I a, I b) { return _mm256_sub_epi16(a, b); }
  static I SubSatU16(I a, I b) { return _mm256_subs_epu16(a, b); }
  static I Mul16(I a, I b) { return _mm256_mullo_epi16(a, b); }
  static I Shr16(I a, int n) { return _mm256_srli_epi16(a, n); }
  static I Add32(I a, I b) { return _mm256_add_epi32(a, b); }
  static I Shr32(I a, int n) { return _mm256_srli_epi32(a, n); }
  static I Gt16(I a, I b) { return _mm256_cmpgt_epi16(a, b); }
  static I Eq16(I a, I b) { return _mm256_cmpeq_epi16(a, b); }
  static I Eq32(I a, I b) { return _mm256_cmpeq_epi32(a, b); }
  static I And(I a, I b) { return _mm256_and_si256(a, b); }
  static I Or(I a, I b) { return _mm256_or_si256(a, b); }
  static I AndNot(I m, I a) { return _mm256_andnot_si256(m, a); }
  static I Select(I m, I yes, I no) { return _mm256_blendv_epi8(no, yes, m); }
  static bool AllSet(I m) { return _mm256_movemask_epi8(m) == -1; }
  static bool AllZero(I a) { return _mm256_testz_si256(a, a) != 0; }
  static I Shuffle8(I a, I order) { return _mm256_shuffle_epi8(a, order); }
  static I UnpackLo8(I a, I b) { return _mm256_unpacklo_epi8(a, b); }
  static I UnpackHi8(I a, I b) { return _mm256_unpackhi_epi8(a, b); }
  static I Low16(I a, I zero) { return _mm256_unpacklo_epi16(a, zero); }
  static I High16(I a, I zero) { return _mm256_unpackhi_epi16(a, zero); }
  static I Pack32(I a, I b) { return _mm256_packs_epi32(a, b); }
  static I PackUs16(I a, I b) { return _mm256_packus_epi16(a, b); }
  static F SetF(float v) { return _mm256_set1_ps(v); }
  static F ToFloat(I a) { return _mm256_cvtepi32_ps(a); }
  static I Trunc(F a) { return _mm256_cvttps_epi32(a); }
  static F AddF(F a, F b) { return _mm256_add_ps(a, b); }
  static F SubF(F a, F b) { return _mm256_sub_ps(a, b); }
  static F MulF(F a, F b) { return _mm256_mul_ps(a, b); }
  static F DivF(F a, F b) { return _mm256_div_ps(a, b); }
  static F Rcp(F a) { return _mm256_rcp_ps(a); }
  template <class P>
  static I Load(const P* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  }
  template <class P>
  static I LoadAligned(const P* p) {
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(p));
  }
  template <class P>
  static void Store(P* p, I v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
