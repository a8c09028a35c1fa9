// XferOver at 8 bits, four pixels a block, in four members: opacity full or
// not, and the destination aligned like the source or not. The first pixels
// go one at a time until the source is 16-byte aligned.
#include "composite/spans/SpanOver8.h"

VX_Err VXp_SpanOver8_SSSE3(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                           VX_Pixel8* dst) {
  using namespace vx::over8;
  const uintptr_t s = reinterpret_cast<uintptr_t>(src), d = reinterpret_cast<uintptr_t>(dst);
  const int32_t head = static_cast<int32_t>(((16 - s) & 15) >> 2);
  const bool aligned = (s & 15) == (d & 15) && (s & 3) == 0;
  return ByOpacityAndMask(count, mask, opacity, [&](auto scale, auto with_mask) {
    constexpr bool kScale = decltype(scale)::value, kMask = decltype(with_mask)::value;
    return aligned ? Run<128, kScale, kMask, true>(count, head, src, mask, opacity, dst)
                   : Run<128, kScale, kMask, false>(count, head, src, mask, opacity, dst);
  });
}
