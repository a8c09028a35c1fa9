// The small pixel operations of the world objects: clear, fill, alpha,
// premultiply.
#include <algorithm>
#include <cstring>

#include "core/DepthConvert.h"
#include "core/FillRows.h"
#include "core/Internal.h"
#include "vx/Fill.h"
#include "vx/World.h"

namespace {

// Cuts a rectangle to the world; false when nothing is left.
bool CutToWorld(const VX_World& w, const GEO_LRect* rect, GEO_LRect* out) {
  const GEO_LRect bounds{0, 0, w.width, w.height};
  if (!rect) {
    *out = bounds;
    return w.width > 0 && w.height > 0;
  }
  return GEO_SectLRect(rect, &bounds, out);
}

}  // namespace

template <class Pixel>
void VX_WorldX<Pixel>::FillPixel(const Pixel& value, const GEO_LRect& r) {
  const VXp_FillRowFunc<Pixel> fill = VXp_ChooseFillRow<Pixel>();
  for (int32_t y = r.top; y < r.bottom; ++y) fill(PixelAt(r.left, y), r.right - r.left, value);
}

template <class Pixel>
void VX_WorldX<Pixel>::Clear(const GEO_LRect* rect) {
  GEO_LRect r;
  if (!CutToWorld(*this, rect, &r)) return;
  const size_t row_bytes = static_cast<size_t>(r.right - r.left) * sizeof(Pixel);
  if (row_bytes == static_cast<size_t>(row_stride)) {
    // Contiguous rows: one clear of the world's pixel count from the first row
    // of the rectangle, kept inside the image.
    const size_t pixels = std::min<size_t>(static_cast<size_t>(width) * height,
                                           static_cast<size_t>(height - r.top) * width);
    std::memset(Row(r.top), 0, pixels * sizeof(Pixel));
    return;
  }
  for (int32_t y = r.top; y < r.bottom; ++y) std::memset(PixelAt(r.left, y), 0, row_bytes);
}

template <class Pixel>
void VX_WorldX<Pixel>::ClearExceptRect(const GEO_LRect& rect) {
  GEO_LRect r;
  if (!CutToWorld(*this, &rect, &r)) {
    Clear(nullptr);
    return;
  }
  if (r.left == 0 && r.top == 0 && r.right == width && r.bottom == height) return;
  for (int32_t y = 0; y < height; ++y) {
    if (y < r.top || y >= r.bottom) {
      std::memset(Row(y), 0, static_cast<size_t>(width) * sizeof(Pixel));
    } else {
      std::memset(Row(y), 0, static_cast<size_t>(r.left) * sizeof(Pixel));
      std::memset(PixelAt(r.right, y), 0, static_cast<size_t>(width - r.right) * sizeof(Pixel));
    }
  }
}

template <class Pixel>
void VX_WorldX<Pixel>::Fill(const VX_PixelFloat& color, const GEO_LRect* rect) {
  GEO_LRect r;
  if (CutToWorld(*this, rect, &r)) FillPixel(vxconv::FillColor<Pixel>(color), r);
}

template <class Pixel>
void VX_WorldX<Pixel>::Fill(const VX_Pixel16& color, const GEO_LRect* rect) {
  GEO_LRect r;
  if (CutToWorld(*this, rect, &r)) FillPixel(vxconv::FillColor<Pixel>(color), r);
}

template <class Pixel>
void VX_WorldX<Pixel>::FillAlpha() {
  for (int32_t y = 0; y < height; ++y) {
    Pixel* p = Row(y);
    for (int32_t x = 0; x < width; ++x) p[x].alpha = VX_PixelTraits<Pixel>::kWhite;
  }
}

template <class Pixel>
void VX_WorldX<Pixel>::InvertAlpha() {
  for (int32_t y = 0; y < height; ++y) {
    Pixel* p = Row(y);
    for (int32_t x = 0; x < width; ++x) {
      if constexpr (std::is_same_v<Pixel, VX_Pixel8>)
        p[x].alpha = static_cast<uint8_t>(~p[x].alpha);
      else if constexpr (std::is_same_v<Pixel, VX_Pixel16>)
        p[x].alpha = static_cast<uint16_t>(32768 - p[x].alpha);
      else
        p[x].alpha = 1.0f - p[x].alpha;
    }
  }
}

template <class Pixel>
void VX_WorldX<Pixel>::Premultiply() {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) throw VX_Err(VX_Err_BadParam);
  VXp_ThrowIf(VX_Premul(nullptr, 1, this));
}

template <class Pixel>
void VX_WorldX<Pixel>::Unmultiply() {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) throw VX_Err(VX_Err_BadParam);
  VXp_ThrowIf(VX_Premul(nullptr, 0, this));
}

namespace {

template <class Pixel>
void PremulWorldColor(VX_WorldX<Pixel>& world, const VX_Pixel16& color, int32_t forward) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    throw VX_Err(VX_Err_BadParam);
  } else if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    const VX_Pixel8 c8 = vxconv::Pixel<VX_Pixel8>(color);
    VXp_ThrowIf(VX_PremulColor(nullptr, &world, &c8, forward, &world));
  } else {
    VXp_ThrowIf(VX_PremulColor16(nullptr, &world, &color, forward, &world));
  }
}

}  // namespace

template <class Pixel>
void VX_WorldX<Pixel>::PremulColor(const VX_Pixel16& color) {
  PremulWorldColor(*this, color, 1);
}

template <class Pixel>
void VX_WorldX<Pixel>::UnmulColor(const VX_Pixel16& color) {
  PremulWorldColor(*this, color, 0);
}

#define VX_INSTANTIATE(P)                                                        \
  template void VX_WorldX<P>::FillPixel(const P&, const GEO_LRect&);             \
  template void VX_WorldX<P>::Clear(const GEO_LRect*);                           \
  template void VX_WorldX<P>::ClearExceptRect(const GEO_LRect&);                 \
  template void VX_WorldX<P>::Fill(const VX_PixelFloat&, const GEO_LRect*);      \
  template void VX_WorldX<P>::Fill(const VX_Pixel16&, const GEO_LRect*);         \
  template void VX_WorldX<P>::FillAlpha();                                       \
  template void VX_WorldX<P>::InvertAlpha();                                     \
  template void VX_WorldX<P>::Premultiply();                                     \
  template void VX_WorldX<P>::Unmultiply();                                      \
  template void VX_WorldX<P>::PremulColor(const VX_Pixel16&);                    \
  template void VX_WorldX<P>::UnmulColor(const VX_Pixel16&);
VX_INSTANTIATE(VX_Pixel8)
VX_INSTANTIATE(VX_Pixel16)
VX_INSTANTIATE(VX_PixelFloat)
