// XferOver at 8 bits, four pixels a block. Blocks whose source alphas are
// all 0 are skipped and all 255 copied; a transparent destination block takes
// the source, an opaque one a lerp; the rest divide by the union alpha with a
// refined reciprocal. Its error stays far below the least distance of a
// non-integer quotient n / r (r <= 255) from an integer, so a small bias
// before truncation gives the divide table's value exactly.
#include <tmmintrin.h>

#include "composite/SpanVector.h"
#include "composite/XferDirect.h"

namespace {

struct Lanes {
  __m128i zero = _mm_setzero_si128();
  __m128i low_byte = _mm_set1_epi32(0xFF);
  __m128i k255 = _mm_set1_epi16(255);
  __m128i k128 = _mm_set1_epi16(128);
  __m128i k127 = _mm_set1_epi16(127);
  __m128i alpha_lanes = _mm_set_epi16(0, 0, 0, -1, 0, 0, 0, -1);
  __m128i broadcast_alpha = _mm_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12);
  __m128 two = _mm_set1_ps(2.0f);
  __m128 bias = _mm_set1_ps(2e-3f);
};

inline __m128i Select(__m128i mask, __m128i yes, __m128i no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// (t + (t >> 8)) >> 8 with t = v x a + round, in 16-bit lanes of 0..255.
inline __m128i MulRound(__m128i v, __m128i a, __m128i round) {
  const __m128i t = _mm_add_epi16(_mm_mullo_epi16(v, a), round);
  return _mm_srli_epi16(_mm_add_epi16(t, _mm_srli_epi16(t, 8)), 8);
}

// lerp8(d, s, a): mul8 of a negative difference -y equals -(the same form
// with 127 in place of 128) of y, so both signs stay unsigned.
inline __m128i Lerp8(__m128i d, __m128i s, __m128i a, const Lanes& k) {
  const __m128i up = _mm_subs_epu16(s, d), down = _mm_subs_epu16(d, s);
  return _mm_sub_epi16(_mm_add_epi16(d, MulRound(up, a, k.k128)), MulRound(down, a, k.k127));
}

// mul8 in 32-bit lanes of 0..255: the 16-bit product fills the low half.
inline __m128i Mul8x32(__m128i v, __m128i a) {
  const __m128i t = _mm_add_epi32(_mm_mullo_epi16(v, a), _mm_set1_epi32(128));
  return _mm_srli_epi32(_mm_add_epi32(t, _mm_srli_epi32(t, 8)), 8);
}

inline __m128i Quotient(__m128i n, __m128i r, const Lanes& k) {
  const __m128 rf = _mm_cvtepi32_ps(r);
  __m128 y = _mm_rcp_ps(rf);
  y = _mm_mul_ps(y, _mm_sub_ps(k.two, _mm_mul_ps(rf, y)));
  return _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(n), y), k.bias));
}

// div8(r, x): 255 where x >= r.
inline __m128i Div8(__m128i r, __m128i x, const Lanes& k) {
  const __m128i n = _mm_add_epi16(_mm_mullo_epi16(x, k.k255), _mm_srli_epi16(r, 1));
  const __m128i lo = Quotient(_mm_unpacklo_epi16(n, k.zero), _mm_unpacklo_epi16(r, k.zero), k);
  const __m128i hi = Quotient(_mm_unpackhi_epi16(n, k.zero), _mm_unpackhi_epi16(r, k.zero), k);
  return Select(_mm_cmpgt_epi16(r, x), _mm_packs_epi32(lo, hi), k.k255);
}

// Two pixels in 16-bit lanes, destination alpha partial somewhere.
inline __m128i General(__m128i s, __m128i a, __m128i d, __m128i da, const Lanes& k) {
  const __m128i x = Lerp8(MulRound(d, da, k.k128), s, a, k);
  const __m128i r = _mm_sub_epi16(k.k255, MulRound(_mm_sub_epi16(k.k255, a), _mm_sub_epi16(k.k255, da), k.k128));
  return Select(k.alpha_lanes, r, Div8(r, x, k));
}

inline bool AllLanes(__m128i mask) { return _mm_movemask_epi8(mask) == 0xFFFF; }

template <bool Scale, bool Mask, bool Aligned>
inline void Block(const VX_Pixel8* src, const VX_Pixel8* mask, __m128i opacity, VX_Pixel8* dst, const Lanes& k) {
  __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
  __m128i a = _mm_and_si128(s, k.low_byte);
  if (Scale) a = Mul8x32(a, opacity);
  if (Mask) a = Mul8x32(a, _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mask)), k.low_byte));
  const __m128i a_zero = _mm_cmpeq_epi32(a, k.zero);
  if (AllLanes(a_zero)) return;
  if (Scale || Mask) s = _mm_or_si128(_mm_andnot_si128(k.low_byte, s), a);
  auto* out = reinterpret_cast<__m128i*>(dst);
  if (AllLanes(_mm_cmpeq_epi32(a, k.low_byte))) {
    _mm_storeu_si128(out, s);
    return;
  }
  const __m128i d = Aligned ? _mm_load_si128(out) : _mm_loadu_si128(out);
  const __m128i da = _mm_and_si128(d, k.low_byte);
  const __m128i da_zero = _mm_cmpeq_epi32(da, k.zero);
  if (AllLanes(da_zero)) {  // pixels with nothing to add keep their colours
    _mm_storeu_si128(out, Select(a_zero, d, s));
    return;
  }
  const __m128i ab = _mm_shuffle_epi8(s, k.broadcast_alpha), db = _mm_shuffle_epi8(d, k.broadcast_alpha);
  const __m128i s_lo = _mm_unpacklo_epi8(s, k.zero), s_hi = _mm_unpackhi_epi8(s, k.zero);
  const __m128i d_lo = _mm_unpacklo_epi8(d, k.zero), d_hi = _mm_unpackhi_epi8(d, k.zero);
  const __m128i a_lo = _mm_unpacklo_epi8(ab, k.zero), a_hi = _mm_unpackhi_epi8(ab, k.zero);
  if (AllLanes(_mm_cmpeq_epi32(da, k.low_byte))) {
    const __m128i lo = Select(k.alpha_lanes, d_lo, Lerp8(d_lo, s_lo, a_lo, k));
    const __m128i hi = Select(k.alpha_lanes, d_hi, Lerp8(d_hi, s_hi, a_hi, k));
    _mm_storeu_si128(out, _mm_packus_epi16(lo, hi));
    return;
  }
  const __m128i da_lo = _mm_unpacklo_epi8(db, k.zero), da_hi = _mm_unpackhi_epi8(db, k.zero);
  __m128i res = _mm_packus_epi16(General(s_lo, a_lo, d_lo, da_lo, k), General(s_hi, a_hi, d_hi, da_hi, k));
  res = Select(da_zero, s, res);
  res = Select(a_zero, d, res);
  _mm_storeu_si128(out, res);
}

template <bool Scale, bool Mask>
inline void Single(const VX_Pixel8& s, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8& d) {
  int32_t a = s.alpha;
  if (Scale) a = vx::mul8(a, opacity);
  if (Mask) a = vx::mul8(a, mask->alpha);
  if (a != 0) vx::XferOp<XferOver, VX_Pixel8>::Run(s, a, d);
}

// One of the four members (opacity full or not, destination aligned like
// the source or not), with or without a mask.
template <bool Scale, bool Mask, bool Aligned>
VX_Err Run(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8* dst) {
  const Lanes k;
  const __m128i op = _mm_set1_epi32(opacity);
  int32_t head = static_cast<int32_t>(((16 - reinterpret_cast<uintptr_t>(src)) & 15) >> 2);
  if (head > count) head = count;
  int32_t i = 0;
  for (; i < head; ++i) Single<Scale, Mask>(src[i], Mask ? mask + i : nullptr, opacity, dst[i]);
  for (; i + 4 <= count; i += 4) Block<Scale, Mask, Aligned>(src + i, Mask ? mask + i : nullptr, op, dst + i, k);
  for (; i < count; ++i) Single<Scale, Mask>(src[i], Mask ? mask + i : nullptr, opacity, dst[i]);
  return VX_Err_None;
}

template <bool Scale, bool Mask>
VX_Err ByAlignment(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8* dst) {
  const uintptr_t s = reinterpret_cast<uintptr_t>(src), d = reinterpret_cast<uintptr_t>(dst);
  const bool same = (s & 15) == (d & 15) && (s & 3) == 0;
  return same ? Run<Scale, Mask, true>(count, src, mask, opacity, dst)
              : Run<Scale, Mask, false>(count, src, mask, opacity, dst);
}

}  // namespace

VX_Err VXp_SpanOver8_SSSE3(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                           VX_Pixel8* dst) {
  if (count <= 0) return VX_Err_None;
  if (mask)
    return opacity != 255 ? ByAlignment<true, true>(count, src, mask, opacity, dst)
                          : ByAlignment<false, true>(count, src, mask, opacity, dst);
  return opacity != 255 ? ByAlignment<true, false>(count, src, mask, opacity, dst)
                        : ByAlignment<false, false>(count, src, mask, opacity, dst);
}
