// The 8-bit matte stages, two pixels per 16-bit-lane register. The divide of
// the lifts runs in float: for numerators below 2^16 the correctly rounded
// quotient truncates to the same integer as the exact one, so the result is
// the divide table's.
#include <tmmintrin.h>

#include "composite/MatteStages.h"
#include "composite/MatteStagesVector.h"

namespace {

struct Lanes {
  __m128i zero = _mm_setzero_si128();
  __m128i k255 = _mm_set1_epi16(255);
  __m128i k128 = _mm_set1_epi16(128);
  __m128i k127 = _mm_set1_epi16(127);
  // Lanes 0 and 4 hold the two pixels' alphas.
  __m128i alpha_lanes = _mm_set_epi16(0, 0, 0, -1, 0, 0, 0, -1);
  __m128i broadcast_alpha = _mm_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9);
};

inline __m128i Select(__m128i mask, __m128i yes, __m128i no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// mul8 in 16-bit lanes of values 0..255.
inline __m128i Mul8(__m128i c, __m128i a, const Lanes& k) {
  const __m128i t = _mm_add_epi16(_mm_mullo_epi16(c, a), k.k128);
  return _mm_srli_epi16(_mm_add_epi16(t, _mm_srli_epi16(t, 8)), 8);
}

inline __m128 Half(__m128i x, bool high, const Lanes& k) {
  return _mm_cvtepi32_ps(high ? _mm_unpackhi_epi16(x, k.zero) : _mm_unpacklo_epi16(x, k.zero));
}

// div8(a, v): 255 when v >= a, else (v x 255 + (a >> 1)) / a.
inline __m128i Div8(__m128i a, __m128i v, const Lanes& k) {
  const __m128i n = _mm_add_epi16(_mm_mullo_epi16(v, k.k255), _mm_srli_epi16(a, 1));
  const __m128i q_lo = _mm_cvttps_epi32(_mm_div_ps(Half(n, false, k), Half(a, false, k)));
  const __m128i q_hi = _mm_cvttps_epi32(_mm_div_ps(Half(n, true, k), Half(a, true, k)));
  const __m128i below = _mm_cmpgt_epi16(a, v);
  return Select(below, _mm_packs_epi32(q_lo, q_hi), k.k255);
}

struct BlackFlatten {
  static __m128i Colors(__m128i c, __m128i a, bool, const Lanes& k) { return Mul8(c, a, k); }
};

struct BlackLift {
  static __m128i Colors(__m128i c, __m128i a, bool in_place, const Lanes& k) {
    const __m128i lifted = Div8(a, c, k);
    // In place a transparent pixel becomes zero; out of place the table stands.
    return in_place ? _mm_andnot_si128(_mm_cmpeq_epi16(a, k.zero), lifted) : lifted;
  }
};

struct WhiteFlatten {
  static __m128i Colors(__m128i c, __m128i a, bool, const Lanes& k) {
    return _mm_sub_epi16(k.k255, Mul8(_mm_sub_epi16(k.k255, c), a, k));
  }
};

struct WhiteLift {
  static __m128i Colors(__m128i c, __m128i a, bool, const Lanes& k) {
    return _mm_sub_epi16(k.k255, Div8(a, _mm_sub_epi16(k.k255, c), k));
  }
};

struct GreyFlatten {
  static __m128i Colors(__m128i c, __m128i a, bool, const Lanes& k) {
    const __m128i upper = _mm_cmpgt_epi16(c, k.k127);
    const __m128i above = _mm_add_epi16(k.k128, Mul8(_mm_sub_epi16(c, k.k128), a, k));
    const __m128i below = _mm_add_epi16(c, Mul8(_mm_sub_epi16(k.k255, a), _mm_sub_epi16(k.k128, c), k));
    return Select(upper, above, below);
  }
};

struct GreyLift {
  static __m128i Colors(__m128i c, __m128i a, bool, const Lanes& k) {
    const __m128i upper = _mm_cmpgt_epi16(c, k.k127);
    const __m128i distance = Select(upper, _mm_sub_epi16(c, k.k128), _mm_sub_epi16(k.k128, c));
    const __m128i u = Div8(a, distance, k);
    const __m128i near = _mm_cmpgt_epi16(k.k128, u);
    const __m128i above = Select(near, _mm_add_epi16(k.k128, u), k.k255);
    const __m128i below = Select(near, _mm_sub_epi16(k.k128, u), k.zero);
    return Select(upper, above, below);
  }
};

template <class Op>
inline __m128i TwoPixels(__m128i x, bool in_place, const Lanes& k) {
  const __m128i a = _mm_shuffle_epi8(x, k.broadcast_alpha);
  return Select(k.alpha_lanes, x, Op::Colors(x, a, in_place, k));
}

template <class Op, template <class> class Rule>
VX_Err Run(int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  if (count <= 0) return VX_Err_None;
  const bool in_place = !src || src == dst;
  const VX_Pixel8* s = in_place ? dst : src;
  const Lanes k;
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    const __m128i lo = TwoPixels<Op>(_mm_unpacklo_epi8(v, k.zero), in_place, k);
    const __m128i hi = TwoPixels<Op>(_mm_unpackhi_epi8(v, k.zero), in_place, k);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(lo, hi));
  }
  return vx::RunMatteStage<Rule, VX_Pixel8>(count - i, in_place ? nullptr : src + i, dst + i);
}

}  // namespace

VX_SpanFunc8 VXp_MatteStage8_SSSE3(int32_t stage) {
  switch (stage) {
    case VXp_Stage_MatteBlack:
      return &Run<BlackFlatten, vx::MatteBlack>;
    case VXp_Stage_UnmatteBlack:
      return &Run<BlackLift, vx::UnmatteBlack>;
    case VXp_Stage_MatteWhite:
      return &Run<WhiteFlatten, vx::MatteWhite>;
    case VXp_Stage_UnmatteWhite:
      return &Run<WhiteLift, vx::UnmatteWhite>;
    case VXp_Stage_MatteGrey:
      return &Run<GreyFlatten, vx::MatteGrey>;
    case VXp_Stage_UnmatteGrey:
      return &Run<GreyLift, vx::UnmatteGrey>;
    default:
      return nullptr;
  }
}
