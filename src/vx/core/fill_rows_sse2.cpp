// Row fill with 16-byte stores: single pixels up to 16-byte alignment, then
// aligned blocks, then the tail.
#include <cstring>

#include "core/FillRows.h"
#include "simd/Lanes.h"

template <class Pixel>
void VXp_FillRow_SSE2(Pixel* row, int32_t count, const Pixel& value) {
  constexpr int32_t kPerBlock = 16 / sizeof(Pixel);
  const auto address = reinterpret_cast<uintptr_t>(row);
  if (count <= 0) return;
  if (VXp_AllBitsZero(value) || address % sizeof(Pixel) != 0) {
    VXp_FillRow_Scalar(row, count, value);  // a byte clear, or one pixel at a time off a pixel boundary
    return;
  }
  Pixel pattern[kPerBlock];
  for (Pixel& p : pattern) p = value;
  const vx::simd::I32x4 block = vx::simd::I32x4::Load(pattern);

  int32_t i = 0;
  const int32_t head = static_cast<int32_t>(((16 - (address & 15)) & 15) / sizeof(Pixel));
  if (count >= head + kPerBlock) {
    for (; i < head; ++i) row[i] = value;
    for (; i + kPerBlock <= count; i += kPerBlock) block.StoreAligned(row + i);
  }
  for (; i < count; ++i) row[i] = value;
}

template void VXp_FillRow_SSE2(VX_Pixel8*, int32_t, const VX_Pixel8&);
template void VXp_FillRow_SSE2(VX_Pixel16*, int32_t, const VX_Pixel16&);
template void VXp_FillRow_SSE2(VX_PixelFloat*, int32_t, const VX_PixelFloat&);
