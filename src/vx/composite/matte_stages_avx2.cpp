// The 8-bit matte stages in 256-bit registers, four pixels per 16-bit-lane
// register: the SSSE3 forms' steps (see matte_stages_ssse3.cpp), twice as
// wide. Bit-exact against the scalar rules.
#include <immintrin.h>

#include "composite/MatteStages.h"
#include "composite/MatteStagesVector.h"

namespace {

struct Lanes {
  __m256i zero = _mm256_setzero_si256();
  __m256i k255 = _mm256_set1_epi16(255);
  __m256i k128 = _mm256_set1_epi16(128);
  __m256i k127 = _mm256_set1_epi16(127);
  // Lanes 0, 4, 8 and 12 hold the four pixels' alphas.
  __m256i alpha_lanes = _mm256_setr_epi16(-1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0);
  __m256i broadcast_alpha = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9, 0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9);
};

inline __m256i Select(__m256i mask, __m256i yes, __m256i no) { return _mm256_blendv_epi8(no, yes, mask); }

// mul8 in 16-bit lanes of values 0..255.
inline __m256i Mul8(__m256i c, __m256i a, const Lanes& k) {
  const __m256i t = _mm256_add_epi16(_mm256_mullo_epi16(c, a), k.k128);
  return _mm256_srli_epi16(_mm256_add_epi16(t, _mm256_srli_epi16(t, 8)), 8);
}

inline __m256 Half(__m256i x, bool high, const Lanes& k) {
  return _mm256_cvtepi32_ps(high ? _mm256_unpackhi_epi16(x, k.zero) : _mm256_unpacklo_epi16(x, k.zero));
}

// div8(a, v): 255 when v >= a, else (v x 255 + (a >> 1)) / a.
inline __m256i Div8(__m256i a, __m256i v, const Lanes& k) {
  const __m256i n = _mm256_add_epi16(_mm256_mullo_epi16(v, k.k255), _mm256_srli_epi16(a, 1));
  const __m256i q_lo = _mm256_cvttps_epi32(_mm256_div_ps(Half(n, false, k), Half(a, false, k)));
  const __m256i q_hi = _mm256_cvttps_epi32(_mm256_div_ps(Half(n, true, k), Half(a, true, k)));
  const __m256i below = _mm256_cmpgt_epi16(a, v);
  return Select(below, _mm256_packs_epi32(q_lo, q_hi), k.k255);
}

struct BlackFlatten {
  static __m256i Colors(__m256i c, __m256i a, bool, const Lanes& k) { return Mul8(c, a, k); }
};

struct BlackLift {
  static __m256i Colors(__m256i c, __m256i a, bool in_place, const Lanes& k) {
    const __m256i lifted = Div8(a, c, k);
    // In place a transparent pixel becomes zero; out of place the table stands.
    return in_place ? _mm256_andnot_si256(_mm256_cmpeq_epi16(a, k.zero), lifted) : lifted;
  }
};

struct WhiteFlatten {
  static __m256i Colors(__m256i c, __m256i a, bool, const Lanes& k) {
    return _mm256_sub_epi16(k.k255, Mul8(_mm256_sub_epi16(k.k255, c), a, k));
  }
};

struct WhiteLift {
  static __m256i Colors(__m256i c, __m256i a, bool, const Lanes& k) {
    return _mm256_sub_epi16(k.k255, Div8(a, _mm256_sub_epi16(k.k255, c), k));
  }
};

struct GreyFlatten {
  static __m256i Colors(__m256i c, __m256i a, bool, const Lanes& k) {
    const __m256i upper = _mm256_cmpgt_epi16(c, k.k127);
    const __m256i above = _mm256_add_epi16(k.k128, Mul8(_mm256_sub_epi16(c, k.k128), a, k));
    const __m256i below = _mm256_add_epi16(c, Mul8(_mm256_sub_epi16(k.k255, a), _mm256_sub_epi16(k.k128, c), k));
    return Select(upper, above, below);
  }
};

struct GreyLift {
  static __m256i Colors(__m256i c, __m256i a, bool, const Lanes& k) {
    const __m256i upper = _mm256_cmpgt_epi16(c, k.k127);
    const __m256i distance = Select(upper, _mm256_sub_epi16(c, k.k128), _mm256_sub_epi16(k.k128, c));
    const __m256i u = Div8(a, distance, k);
    const __m256i near = _mm256_cmpgt_epi16(k.k128, u);
    const __m256i above = Select(near, _mm256_add_epi16(k.k128, u), k.k255);
    const __m256i below = Select(near, _mm256_sub_epi16(k.k128, u), k.zero);
    return Select(upper, above, below);
  }
};

template <class Op>
inline __m256i FourPixels(__m256i x, bool in_place, const Lanes& k) {
  const __m256i a = _mm256_shuffle_epi8(x, k.broadcast_alpha);
  return Select(k.alpha_lanes, x, Op::Colors(x, a, in_place, k));
}

template <class Op, template <class> class Rule>
VX_Err Run(int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  if (count <= 0) return VX_Err_None;
  const bool in_place = !src || src == dst;
  const VX_Pixel8* s = in_place ? dst : src;
  const Lanes k;
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
    const __m256i lo = FourPixels<Op>(_mm256_unpacklo_epi8(v, k.zero), in_place, k);
    const __m256i hi = FourPixels<Op>(_mm256_unpackhi_epi8(v, k.zero), in_place, k);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), _mm256_packus_epi16(lo, hi));
  }
  return vx::RunMatteStage<Rule, VX_Pixel8>(count - i, in_place ? nullptr : src + i, dst + i);
}

}  // namespace

VX_SpanFunc8 VXp_MatteStage8_AVX2(int32_t stage) {
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
