// Row fill, scalar form.
#include <cstring>

#include "core/FillRows.h"

template <class Pixel>
void VXp_FillRow_Scalar(Pixel* row, int32_t count, const Pixel& value) {
  if (count <= 0) return;
  if (VXp_AllBitsZero(value)) {
    std::memset(row, 0, static_cast<size_t>(count) * sizeof(Pixel));
    return;
  }
  for (int32_t i = 0; i < count; ++i) row[i] = value;
}

template void VXp_FillRow_Scalar(VX_Pixel8*, int32_t, const VX_Pixel8&);
template void VXp_FillRow_Scalar(VX_Pixel16*, int32_t, const VX_Pixel16&);
template void VXp_FillRow_Scalar(VX_PixelFloat*, int32_t, const VX_PixelFloat&);
