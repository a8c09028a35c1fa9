// XferOver at 8 bits, eight pixels a block: the SSSE3 form's steps in
// 256-bit registers (see span_over_ssse3.cpp for the reasoning of the
// divide). Exact against the divide table.
#include <immintrin.h>

#include "composite/SpanVector.h"
#include "composite/XferDirect.h"

namespace {

struct Lanes {
  __m256i zero = _mm256_setzero_si256();
  __m256i low_byte = _mm256_set1_epi32(0xFF);
  __m256i k255 = _mm256_set1_epi16(255);
  __m256i k128 = _mm256_set1_epi16(128);
  __m256i k127 = _mm256_set1_epi16(127);
  __m256i alpha_lanes = _mm256_setr_epi16(-1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0);
  __m256i broadcast_alpha = _mm256_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12, 0, 0, 0, 0, 4, 4,
                                             4, 4, 8, 8, 8, 8, 12, 12, 12, 12);
  __m256 two = _mm256_set1_ps(2.0f);
  __m256 bias = _mm256_set1_ps(2e-3f);
};

inline __m256i MulRound(__m256i v, __m256i a, __m256i round) {
  const __m256i t = _mm256_add_epi16(_mm256_mullo_epi16(v, a), round);
  return _mm256_srli_epi16(_mm256_add_epi16(t, _mm256_srli_epi16(t, 8)), 8);
}

inline __m256i Lerp8(__m256i d, __m256i s, __m256i a, const Lanes& k) {
  const __m256i up = _mm256_subs_epu16(s, d), down = _mm256_subs_epu16(d, s);
  return _mm256_sub_epi16(_mm256_add_epi16(d, MulRound(up, a, k.k128)), MulRound(down, a, k.k127));
}

inline __m256i Mul8x32(__m256i v, __m256i a) {
  const __m256i t = _mm256_add_epi32(_mm256_mullo_epi16(v, a), _mm256_set1_epi32(128));
  return _mm256_srli_epi32(_mm256_add_epi32(t, _mm256_srli_epi32(t, 8)), 8);
}

inline __m256i Quotient(__m256i n, __m256i r, const Lanes& k) {
  const __m256 rf = _mm256_cvtepi32_ps(r);
  __m256 y = _mm256_rcp_ps(rf);
  y = _mm256_mul_ps(y, _mm256_sub_ps(k.two, _mm256_mul_ps(rf, y)));
  return _mm256_cvttps_epi32(_mm256_add_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(n), y), k.bias));
}

inline __m256i Div8(__m256i r, __m256i x, const Lanes& k) {
  const __m256i n = _mm256_add_epi16(_mm256_mullo_epi16(x, k.k255), _mm256_srli_epi16(r, 1));
  const __m256i lo = Quotient(_mm256_unpacklo_epi16(n, k.zero), _mm256_unpacklo_epi16(r, k.zero), k);
  const __m256i hi = Quotient(_mm256_unpackhi_epi16(n, k.zero), _mm256_unpackhi_epi16(r, k.zero), k);
  return _mm256_blendv_epi8(k.k255, _mm256_packs_epi32(lo, hi), _mm256_cmpgt_epi16(r, x));
}

inline __m256i General(__m256i s, __m256i a, __m256i d, __m256i da, const Lanes& k) {
  const __m256i x = Lerp8(MulRound(d, da, k.k128), s, a, k);
  const __m256i r =
      _mm256_sub_epi16(k.k255, MulRound(_mm256_sub_epi16(k.k255, a), _mm256_sub_epi16(k.k255, da), k.k128));
  return _mm256_blendv_epi8(Div8(r, x, k), r, k.alpha_lanes);
}

inline bool AllLanes(__m256i mask) { return _mm256_movemask_epi8(mask) == -1; }

template <bool Scale, bool Mask>
inline void Block(const VX_Pixel8* src, const VX_Pixel8* mask, __m256i opacity, VX_Pixel8* dst, const Lanes& k) {
  __m256i s = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
  __m256i a = _mm256_and_si256(s, k.low_byte);
  if (Scale) a = Mul8x32(a, opacity);
  if (Mask) a = Mul8x32(a, _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(mask)), k.low_byte));
  if (_mm256_testz_si256(a, a)) return;
  if (Scale || Mask) s = _mm256_or_si256(_mm256_andnot_si256(k.low_byte, s), a);
  auto* out = reinterpret_cast<__m256i*>(dst);
  if (AllLanes(_mm256_cmpeq_epi32(a, k.low_byte))) {
    _mm256_storeu_si256(out, s);
    return;
  }
  const __m256i d = _mm256_loadu_si256(out);
  const __m256i da = _mm256_and_si256(d, k.low_byte);
  const __m256i a_zero = _mm256_cmpeq_epi32(a, k.zero);
  if (_mm256_testz_si256(da, da)) {  // pixels with nothing to add keep their colours
    _mm256_storeu_si256(out, _mm256_blendv_epi8(s, d, a_zero));
    return;
  }
  const __m256i ab = _mm256_shuffle_epi8(s, k.broadcast_alpha);
  const __m256i s_lo = _mm256_unpacklo_epi8(s, k.zero), s_hi = _mm256_unpackhi_epi8(s, k.zero);
  const __m256i d_lo = _mm256_unpacklo_epi8(d, k.zero), d_hi = _mm256_unpackhi_epi8(d, k.zero);
  const __m256i a_lo = _mm256_unpacklo_epi8(ab, k.zero), a_hi = _mm256_unpackhi_epi8(ab, k.zero);
  if (AllLanes(_mm256_cmpeq_epi32(da, k.low_byte))) {
    const __m256i lo = _mm256_blendv_epi8(Lerp8(d_lo, s_lo, a_lo, k), d_lo, k.alpha_lanes);
    const __m256i hi = _mm256_blendv_epi8(Lerp8(d_hi, s_hi, a_hi, k), d_hi, k.alpha_lanes);
    _mm256_storeu_si256(out, _mm256_packus_epi16(lo, hi));
    return;
  }
  const __m256i db = _mm256_shuffle_epi8(d, k.broadcast_alpha);
  const __m256i da_lo = _mm256_unpacklo_epi8(db, k.zero), da_hi = _mm256_unpackhi_epi8(db, k.zero);
  __m256i res = _mm256_packus_epi16(General(s_lo, a_lo, d_lo, da_lo, k), General(s_hi, a_hi, d_hi, da_hi, k));
  res = _mm256_blendv_epi8(res, s, _mm256_cmpeq_epi32(da, k.zero));
  res = _mm256_blendv_epi8(res, d, a_zero);
  _mm256_storeu_si256(out, res);
}

template <bool Scale, bool Mask>
inline void Single(const VX_Pixel8& s, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8& d) {
  int32_t a = s.alpha;
  if (Scale) a = vx::mul8(a, opacity);
  if (Mask) a = vx::mul8(a, mask->alpha);
  if (a != 0) vx::XferOp<XferOver, VX_Pixel8>::Run(s, a, d);
}

template <bool Scale, bool Mask>
VX_Err Run(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8* dst) {
  const Lanes k;
  const __m256i op = _mm256_set1_epi32(opacity);
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) Block<Scale, Mask>(src + i, Mask ? mask + i : nullptr, op, dst + i, k);
  for (; i < count; ++i) Single<Scale, Mask>(src[i], Mask ? mask + i : nullptr, opacity, dst[i]);
  return VX_Err_None;
}

}  // namespace

VX_Err VXp_SpanOver8_AVX2(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                          VX_Pixel8* dst) {
  if (count <= 0) return VX_Err_None;
  if (mask) return opacity != 255 ? Run<true, true>(count, src, mask, opacity, dst)
                                  : Run<false, true>(count, src, mask, opacity, dst);
  return opacity != 255 ? Run<true, false>(count, src, mask, opacity, dst)
                        : Run<false, false>(count, src, mask, opacity, dst);
}
