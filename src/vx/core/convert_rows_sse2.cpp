// Float to 8-bit rows, four pixels a step: x = v x 255, clamped to 0..255
// (NaN to 0), plus 0.5, truncated; the same arithmetic as the scalar rule.
#include "simd/Lanes.h"
#include "vx/PixelTraits.h"

void VXp_FloatRowTo8_SSE2(const VX_PixelFloat* src, VX_Pixel8* dst, int32_t count) {
  using namespace vx::simd;
  const F32x4 k255(255.0f), half(0.5f), zero(0.0f);
  auto convert = [&](const VX_PixelFloat* p) {
    // std::max(0, x) is 0 for NaN.
    const F32x4 x = Min(Max(zero, F32x4::Load(&p->alpha) * k255), k255);
    return Truncate(x + half);
  };
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const I16x8 lo = Join(convert(src + i), convert(src + i + 1));
    const I16x8 hi = Join(convert(src + i + 2), convert(src + i + 3));
    PackBytes(lo, hi).Store(dst + i);
  }
  for (; i < count; ++i) dst[i] = VX_Pixel8{VX_ConvertFloatTo8(src[i].alpha), VX_ConvertFloatTo8(src[i].red),
                                            VX_ConvertFloatTo8(src[i].green), VX_ConvertFloatTo8(src[i].blue)};
}
