// The plain fills, clearing alpha outside a rectangle, and small numeric
// helpers.
#include <algorithm>
#include <cmath>

#include "core/DepthConvert.h"
#include "core/Internal.h"
#include "core/Rand.h"
#include "vx/EffectWorld.h"
#include "vx/Fill.h"
#include "vx/World.h"

namespace {

// Sorts a rectangle and clamps each side into the world; null is the whole.
GEO_LRect SortAndClamp(const GEO_LRect* rect, int32_t width, int32_t height) {
  if (!rect) return GEO_LRect{0, 0, width, height};
  const int32_t l = std::min(rect->left, rect->right), r = std::max(rect->left, rect->right);
  const int32_t t = std::min(rect->top, rect->bottom), b = std::max(rect->top, rect->bottom);
  return GEO_LRect{std::clamp(l, 0, width), std::clamp(t, 0, height), std::clamp(r, 0, width),
                   std::clamp(b, 0, height)};
}

template <class ColorPixel>
VX_Err FillWorld(const ColorPixel* color, const GEO_LRect* rect, VX_LayerDef* world, const char* unknown_text) {
  if (!world) return VXp_BadParameter(13);
  return VXp_DispatchDepth(world, {unknown_text, __LINE__}, [&](auto pixel) -> VX_Err {
    typedef decltype(pixel) Pixel;
    VX_WorldX<Pixel> view(world, false);
    if (!view.data) return VXp_BadParameter(13);
    const Pixel value = color ? vxconv::Pixel<Pixel>(*color) : Pixel{};
    const GEO_LRect r = SortAndClamp(rect, view.width, view.height);
    if (r.left < r.right && r.top < r.bottom) view.FillPixel(value, r);
    return VX_Err_None;
  });
}

template <class Pixel>
void ClearAlphaOutside(VX_WorldX<Pixel>& w, const GEO_LRect& r) {
  for (int32_t y = 0; y < w.height; ++y) {
    Pixel* row = w.Row(y);
    const bool inside_rows = y >= r.top && y < r.bottom;
    for (int32_t x = 0; x < w.width; ++x)
      if (!inside_rows || x < r.left || x >= r.right) row[x].alpha = 0;
  }
}

}  // namespace

VX_Err VX_Fill(void*, const VX_Pixel8* color, const GEO_LRect* rect, VX_LayerDef* world) {
  return FillWorld(color, rect, world, "Unknown world bitdepth in VX_Fill");
}

VX_Err VX_Fill16(void*, const VX_Pixel16* color, const GEO_LRect* rect, VX_LayerDef* world) {
  return FillWorld(color, rect, world, "Unknown world bitdepth in VX_Fill16");
}

VX_Err VX_FillFloat(void*, const VX_PixelFloat* color, const GEO_LRect* rect, VX_LayerDef* world) {
  return FillWorld(color, rect, world, "Unknown world bitdepth in VX_FillFloat");
}

template <class Pixel>
void VXp_ClearAlphaExceptRect(VX_WorldX<Pixel>& world, const GEO_LRect& rect) {
  ClearAlphaOutside(world, SortAndClamp(&rect, world.width, world.height));
}
template void VXp_ClearAlphaExceptRect(VX_WorldX<VX_Pixel8>&, const GEO_LRect&);
template void VXp_ClearAlphaExceptRect(VX_WorldX<VX_Pixel16>&, const GEO_LRect&);
template void VXp_ClearAlphaExceptRect(VX_WorldX<VX_PixelFloat>&, const GEO_LRect&);

VX_Err VX_ClearAlphaExceptRect(void*, const GEO_LRect* rect, VX_LayerDef* world) {
  if (!world || !world->data) return VXp_BadParameter(13);
  return VXp_DispatchDepth(world, {"Unknown world bitdepth in VX_ClearAlphaExceptRect", __LINE__},
                           [&](auto pixel) -> VX_Err {
                             VX_WorldX<decltype(pixel)> view(world, false);
                             ClearAlphaOutside(view, SortAndClamp(rect, view.width, view.height));
                             return VX_Err_None;
                           });
}

double VX_Hypot(double x, double y) { return std::sqrt(x * x + y * y); }

int32_t VX_Rand(uint32_t* seed) {
  if (!seed) return 0;
  *seed = VXp_RandStep(*seed);
  return VXp_RandDraw(*seed);
}

void VX_ResetDitherRandomIndex() { VXp_ResetNoise(); }
