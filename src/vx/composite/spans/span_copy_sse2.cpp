// XferCopy at 8 bits when the row isn't one block copy: the source's colours
// everywhere, and the source alpha scaled by opacity and mask, or the
// destination's alpha kept. Four pixels a register.
#include "composite/spans/SpanVector.h"
#include "simd/Depth.h"

namespace {

using namespace vx::simd;

// Each alpha sits in the low word of its lane with a zero word above, which
// the word arithmetic keeps zero.
VX_INLINE I32x4 MulAlpha(I32x4 a, I32x4 b) { return AsInts(Depth8W<128>::mul(AsWords(a), AsWords(b))); }

template <bool Keep, bool Scale, bool Mask>
VX_Err Run(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8* dst) {
  const I32x4 low_byte(0xFF), op(opacity);
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const I32x4 s = I32x4::Load(src + i);
    I32x4 a;
    if (Keep) {
      a = I32x4::Load(dst + i) & low_byte;
    } else {
      a = s & low_byte;
      if (Scale) a = MulAlpha(a, op);
      if (Mask) a = MulAlpha(a, I32x4::Load(mask + i) & low_byte);
    }
    (AndNot(low_byte, s) | a).Store(dst + i);
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
