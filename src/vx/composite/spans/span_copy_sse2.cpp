// XferCopy at 8 bits when the row isn't one block copy: the source's colours
// everywhere, and the source alpha scaled by opacity and mask, or the
// destination's alpha kept. Four pixels a register.
#include <emmintrin.h>

#include "composite/spans/SpanVector.h"
#include "core/ChannelMath.h"

namespace {

inline __m128i Mul8x32(__m128i v, __m128i a) {
  const __m128i t = _mm_add_epi32(_mm_mullo_epi16(v, a), _mm_set1_epi32(128));
  return _mm_srli_epi32(_mm_add_epi32(t, _mm_srli_epi32(t, 8)), 8);
}

template <bool Keep, bool Scale, bool Mask>
VX_Err Run(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8* dst) {
  const __m128i low_byte = _mm_set1_epi32(0xFF), op = _mm_set1_epi32(opacity);
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    auto* out = reinterpret_cast<__m128i*>(dst + i);
    __m128i a;
    if (Keep) {
      a = _mm_and_si128(_mm_loadu_si128(out), low_byte);
    } else {
      a = _mm_and_si128(s, low_byte);
      if (Scale) a = Mul8x32(a, op);
      if (Mask) a = Mul8x32(a, _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + i)), low_byte));
    }
    _mm_storeu_si128(out, _mm_or_si128(_mm_andnot_si128(low_byte, s), a));
  }
  for (; i < count; ++i) {
    const uint8_t kept = dst[i].alpha;
    int32_t a = src[i].alpha;
    if (Scale) a = vx::mul8(a, opacity);
    if (Mask) a = vx::mul8(a, mask[i].alpha);
    dst[i] = src[i];
    dst[i].alpha = Keep ? kept : static_cast<uint8_t>(a);
  }
  return VX_Err_None;
}

}  // namespace

VX_Err VXp_SpanCopy8_SSE2(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                          bool keep_alpha, VX_Pixel8* dst) {
  if (count <= 0) return VX_Err_None;
  if (keep_alpha) return Run<true, false, false>(count, src, mask, opacity, dst);
  const bool scale = opacity != 255;
  if (mask) return scale ? Run<false, true, true>(count, src, mask, opacity, dst)
                         : Run<false, false, true>(count, src, mask, opacity, dst);
  return scale ? Run<false, true, false>(count, src, mask, opacity, dst)
               : Run<false, false, false>(count, src, mask, opacity, dst);
}
