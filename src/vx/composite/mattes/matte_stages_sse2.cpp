// The float matte stages, one pixel a register, and the 8-bit alpha merge,
// four pixels a register. Same operations in the same order as the scalar
// rules, so the results agree bit for bit.
#include <emmintrin.h>

#include <type_traits>

#include "composite/mattes/MatteStages.h"
#include "composite/mattes/MatteStagesVector.h"

namespace {

inline __m128 SelectPs(__m128 mask, __m128 yes, __m128 no) {
  return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
}

struct Floats {
  __m128 one = _mm_set1_ps(1.0f);
  __m128 half = _mm_set1_ps(0.5f);
  __m128 zero = _mm_setzero_ps();
  __m128 alpha_lane = _mm_castsi128_ps(_mm_set_epi32(0, 0, 0, -1));
  __m128i exponent = _mm_set1_epi32(0x7F800000);
};

// divF(a, v): v / a, and 1.0 where a is zero or denormal.
inline __m128 DivF(__m128 a, __m128 v, const Floats& k) {
  const __m128i tiny = _mm_cmpeq_epi32(_mm_and_si128(_mm_castps_si128(a), k.exponent), _mm_setzero_si128());
  return SelectPs(_mm_castsi128_ps(tiny), k.one, _mm_div_ps(v, a));
}

struct BlackFlatten {
  static __m128 Colors(__m128 c, __m128 a, bool, const Floats&) { return _mm_mul_ps(c, a); }
};
struct BlackLift {
  static __m128 Colors(__m128 c, __m128 a, bool in_place, const Floats& k) {
    const __m128 transparent = _mm_cmpeq_ps(a, k.zero);
    if (in_place) return _mm_andnot_ps(transparent, _mm_div_ps(c, a));
    return SelectPs(transparent, c, _mm_div_ps(c, a));
  }
};
struct WhiteFlatten {
  static __m128 Colors(__m128 c, __m128 a, bool, const Floats& k) {
    return _mm_sub_ps(k.one, _mm_mul_ps(_mm_sub_ps(k.one, c), a));
  }
};
struct WhiteLift {
  static __m128 Colors(__m128 c, __m128 a, bool, const Floats& k) {
    return _mm_sub_ps(k.one, DivF(a, _mm_sub_ps(k.one, c), k));
  }
};
struct GreyFlatten {
  static __m128 Colors(__m128 c, __m128 a, bool, const Floats& k) {
    const __m128 upper = _mm_cmpge_ps(c, k.half);
    const __m128 above = _mm_add_ps(k.half, _mm_mul_ps(_mm_sub_ps(c, k.half), a));
    const __m128 below = _mm_add_ps(c, _mm_mul_ps(_mm_sub_ps(k.one, a), _mm_sub_ps(k.half, c)));
    return SelectPs(upper, above, below);
  }
};
struct GreyLift {
  static __m128 Colors(__m128 c, __m128 a, bool, const Floats& k) {
    const __m128 upper = _mm_cmpge_ps(c, k.half);
    const __m128 u_above = DivF(a, _mm_sub_ps(c, k.half), k);
    const __m128 u_below = DivF(a, _mm_sub_ps(k.half, c), k);
    const __m128 above = SelectPs(_mm_cmplt_ps(u_above, k.half), _mm_add_ps(k.half, u_above), k.one);
    const __m128 below = SelectPs(_mm_cmplt_ps(u_below, k.half), _mm_sub_ps(k.half, u_below), k.zero);
    return SelectPs(upper, above, below);
  }
};

template <class Op>
VX_Err RunFloat(int32_t count, const VX_PixelFloat* src, VX_PixelFloat* dst) {
  if (count <= 0) return VX_Err_None;
  const bool in_place = !src || src == dst;
  const VX_PixelFloat* s = in_place ? dst : src;
  const Floats k;
  for (int32_t i = 0; i < count; ++i) {
    const __m128 x = _mm_loadu_ps(&s[i].alpha);
    const __m128 a = _mm_shuffle_ps(x, x, 0);
    __m128 out = SelectPs(k.alpha_lane, x, Op::Colors(x, a, in_place, k));
    // In place a pixel at full alpha is left exactly as it is.
    if (in_place) out = SelectPs(_mm_cmpeq_ps(a, k.one), x, out);
    // ... and lifting off black, a transparent one becomes all zero.
    if (in_place && std::is_same_v<Op, BlackLift>) out = _mm_andnot_ps(_mm_cmpeq_ps(a, k.zero), out);
    _mm_storeu_ps(&dst[i].alpha, out);
  }
  return VX_Err_None;
}

// mul8 in 32-bit lanes of values 0..255.
inline __m128i Mul8(__m128i c, __m128i a) {
  const __m128i t = _mm_add_epi32(_mm_mullo_epi16(c, a), _mm_set1_epi32(128));
  return _mm_srli_epi32(_mm_add_epi32(t, _mm_srli_epi32(t, 8)), 8);
}

}  // namespace

VX_SpanFuncFloat VXp_MatteStageF_SSE2(int32_t stage) {
  switch (stage) {
    case VXp_Stage_MatteBlack:
      return &RunFloat<BlackFlatten>;
    case VXp_Stage_UnmatteBlack:
      return &RunFloat<BlackLift>;
    case VXp_Stage_MatteWhite:
      return &RunFloat<WhiteFlatten>;
    case VXp_Stage_UnmatteWhite:
      return &RunFloat<WhiteLift>;
    case VXp_Stage_MatteGrey:
      return &RunFloat<GreyFlatten>;
    case VXp_Stage_UnmatteGrey:
      return &RunFloat<GreyLift>;
    default:
      return nullptr;
  }
}

VX_Err VXp_AlphaMerge8_SSE2(int32_t count, const VX_Pixel8* src, uint8_t opacity, const VX_Pixel8* mask,
                            VX_Pixel8* dst) {
  if (count <= 0 || opacity == 0) return VX_Err_None;
  const __m128i low_byte = _mm_set1_epi32(0xFF), k255 = _mm_set1_epi32(255), op = _mm_set1_epi32(opacity);
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    __m128i t = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)), low_byte);
    if (opacity < 255) t = Mul8(t, op);
    if (mask) t = Mul8(t, _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + i)), low_byte));
    const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(dst + i));
    const __m128i da = _mm_and_si128(d, low_byte);
    const __m128i merged = _mm_sub_epi32(k255, Mul8(_mm_sub_epi32(k255, t), _mm_sub_epi32(k255, da)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_or_si128(_mm_andnot_si128(low_byte, d), merged));
  }
  return vx::RunAlphaMerge<VX_Pixel8>(count - i, src + i, opacity, mask ? mask + i : nullptr, dst + i);
}
