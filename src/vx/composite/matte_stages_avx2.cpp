// The 8-bit matte stages in 256-bit registers, eight pixels a step. The
// unpacks and packs work within each 128-bit half, so pixels come back in
// their places.
#include <immintrin.h>

#include "composite/MatteStagesWide.h"

namespace {

struct W256 {
  typedef __m256i I;
  static constexpr int32_t kPixels = 8;
  static I Set16(int16_t v) { return _mm256_set1_epi16(v); }
  static I Repeat16(short a, short b, short c, short d, short e, short f, short g, short h) {
    return _mm256_setr_epi16(a, b, c, d, e, f, g, h, a, b, c, d, e, f, g, h);
  }
  template <class... C>
  static I Repeat8(C... c) { return _mm256_setr_epi8(static_cast<char>(c)..., static_cast<char>(c)...); }
  static I Add16(I a, I b) { return _mm256_add_epi16(a, b); }
  static I Sub16(I a, I b) { return _mm256_sub_epi16(a, b); }
  static I Mul16(I a, I b) { return _mm256_mullo_epi16(a, b); }
  static I Shr16(I a, int n) { return _mm256_srli_epi16(a, n); }
  static I Gt16(I a, I b) { return _mm256_cmpgt_epi16(a, b); }
  static I Eq16(I a, I b) { return _mm256_cmpeq_epi16(a, b); }
  static I AndNot(I m, I a) { return _mm256_andnot_si256(m, a); }
  static I Select(I m, I yes, I no) { return _mm256_blendv_epi8(no, yes, m); }
  static I Shuffle8(I a, I order) { return _mm256_shuffle_epi8(a, order); }
  static I UnpackLo8(I a, I b) { return _mm256_unpacklo_epi8(a, b); }
  static I UnpackHi8(I a, I b) { return _mm256_unpackhi_epi8(a, b); }
  static I Low16(I a, I zero) { return _mm256_unpacklo_epi16(a, zero); }
  static I High16(I a, I zero) { return _mm256_unpackhi_epi16(a, zero); }
  static I DivTrunc(I n, I d) {
    return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(n), _mm256_cvtepi32_ps(d)));
  }
  static I Pack32(I a, I b) { return _mm256_packs_epi32(a, b); }
  static I PackUs16(I a, I b) { return _mm256_packus_epi16(a, b); }
  static I Load(const VX_Pixel8* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
  static void Store(VX_Pixel8* p, I v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
};

}  // namespace

VX_SpanFunc8 VXp_MatteStage8_AVX2(int32_t stage) { return vx::matte_wide::StageFor<W256>(stage); }
