// The 8-bit matte stages in 128-bit registers, four pixels a step.
#include <tmmintrin.h>

#include "composite/MatteStagesWide.h"

namespace {

struct W128 {
  typedef __m128i I;
  static constexpr int32_t kPixels = 4;
  static I Set16(int16_t v) { return _mm_set1_epi16(v); }
  static I Repeat16(short a, short b, short c, short d, short e, short f, short g, short h) {
    return _mm_setr_epi16(a, b, c, d, e, f, g, h);
  }
  template <class... C>
  static I Repeat8(C... c) { return _mm_setr_epi8(static_cast<char>(c)...); }
  static I Add16(I a, I b) { return _mm_add_epi16(a, b); }
  static I Sub16(I a, I b) { return _mm_sub_epi16(a, b); }
  static I Mul16(I a, I b) { return _mm_mullo_epi16(a, b); }
  static I Shr16(I a, int n) { return _mm_srli_epi16(a, n); }
  static I Gt16(I a, I b) { return _mm_cmpgt_epi16(a, b); }
  static I Eq16(I a, I b) { return _mm_cmpeq_epi16(a, b); }
  static I AndNot(I m, I a) { return _mm_andnot_si128(m, a); }
  static I Select(I m, I yes, I no) { return _mm_or_si128(_mm_and_si128(m, yes), _mm_andnot_si128(m, no)); }
  static I Shuffle8(I a, I order) { return _mm_shuffle_epi8(a, order); }
  static I UnpackLo8(I a, I b) { return _mm_unpacklo_epi8(a, b); }
  static I UnpackHi8(I a, I b) { return _mm_unpackhi_epi8(a, b); }
  static I Low16(I a, I zero) { return _mm_unpacklo_epi16(a, zero); }
  static I High16(I a, I zero) { return _mm_unpackhi_epi16(a, zero); }
  static I DivTrunc(I n, I d) { return _mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(n), _mm_cvtepi32_ps(d))); }
  static I Pack32(I a, I b) { return _mm_packs_epi32(a, b); }
  static I PackUs16(I a, I b) { return _mm_packus_epi16(a, b); }
  static I Load(const VX_Pixel8* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static void Store(VX_Pixel8* p, I v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
};

}  // namespace

VX_SpanFunc8 VXp_MatteStage8_SSSE3(int32_t stage) { return vx::matte_wide::StageFor<W128>(stage); }
