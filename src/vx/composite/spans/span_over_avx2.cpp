// XferOver at 8 bits, eight pixels a block, loads unaligned.
#include "composite/spans/SpanOver8.h"

VX_Err VXp_SpanOver8_AVX2(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                          VX_Pixel8* dst) {
  using namespace vx::over8;
  return ByOpacityAndMask(count, mask, opacity, [&](auto scale, auto with_mask) {
    return Run<256, decltype(scale)::value, decltype(with_mask)::value, false>(count, 0, src, mask, opacity, dst);
  });
}
