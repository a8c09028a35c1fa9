// Float to 8-bit rows, four pixels a step: x = v x 255, clamped to 0..255
// (NaN to 0), plus 0.5, truncated; the same arithmetic as the scalar rule.
#include <emmintrin.h>

#include "vx/PixelTraits.h"

void VXp_FloatRowTo8_SSE2(const VX_PixelFloat* src, VX_Pixel8* dst, int32_t count) {
  const __m128 k255 = _mm_set1_ps(255.0f), half = _mm_set1_ps(0.5f), zero = _mm_setzero_ps();
  auto convert = [&](const VX_PixelFloat* p) {
    __m128 x = _mm_mul_ps(_mm_loadu_ps(&p->alpha), k255);
    x = _mm_min_ps(_mm_max_ps(x, zero), k255);  // max(x, 0) gives 0 for NaN
    return _mm_cvttps_epi32(_mm_add_ps(x, half));
  };
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const __m128i lo = _mm_packs_epi32(convert(src + i), convert(src + i + 1));
    const __m128i hi = _mm_packs_epi32(convert(src + i + 2), convert(src + i + 3));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(lo, hi));
  }
  for (; i < count; ++i) dst[i] = VX_Pixel8{VX_ConvertFloatTo8(src[i].alpha), VX_ConvertFloatTo8(src[i].red),
                                            VX_ConvertFloatTo8(src[i].green), VX_ConvertFloatTo8(src[i].blue)};
}
