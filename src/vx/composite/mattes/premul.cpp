// Premultiplying against black or a matte colour, the black-matte row forms
// and moving premultiplied pixels onto a matte colour.
#include <algorithm>

#include "composite/mattes/MatteStages.h"
#include "core/DepthConvert.h"
#include "core/Internal.h"
#include "core/Slots.h"
#include "vx/EffectWorld.h"
#include "vx/Fill.h"
#include "vx/Iterate.h"
#include "vx/World.h"

namespace {

template <class Pixel>
struct PremulRows {
  VX_WorldX<Pixel>* src;  // null: in place
  VX_WorldX<Pixel>* dst;
  GEO_LRect rect;
  VX_SpanFunc<Pixel> kernel;
};

template <class Pixel>
VX_Err PremulRow(void* refcon, int32_t, int32_t i, int32_t) {
  auto* job = static_cast<PremulRows<Pixel>*>(refcon);
  const int32_t y = job->rect.top + i;
  Pixel* d = job->dst->PixelAt(job->rect.left, y);
  const Pixel* s = job->src ? job->src->PixelAt(job->rect.left, y) : d;
  return job->kernel(job->rect.right - job->rect.left, s, d);
}

// Runs the black row kernel over a rectangle, on the serial generic iterator
// (never a host's threaded one).
template <class Pixel>
VX_Err RunBlackKernel(VX_WorldX<Pixel>* src, VX_WorldX<Pixel>& dst, const GEO_LRect* rect, bool forward) {
  // Cut to the worlds, so a rectangle off the edge never reaches past them.
  GEO_LRect r{0, 0, dst.width, dst.height};
  if (rect) GEO_SectLRect(rect, &r, &r);
  if (src) {
    const GEO_LRect src_bounds{0, 0, src->width, src->height};
    GEO_SectLRect(&r, &src_bounds, &r);
  }
  if (r.left >= r.right || r.top >= r.bottom) return VX_Err_None;
  const int32_t stage = forward ? VXp_Stage_MatteBlack : VXp_Stage_UnmatteBlack;
  PremulRows<Pixel> job{src, &dst, r, VXp_GetIn<VX_MatteStageSlots<Pixel>>(stage)};
  return VX_IterateGeneric_Static(r.bottom - r.top, &job, &PremulRow<Pixel>);
}

}  // namespace

VX_Err VX_PremulRect_S(void*, int32_t forward, const GEO_LRect* rect, VX_LayerDef* world) {
  if (!world || !world->data) return VXp_BadParameter(13);
  return VXp_DispatchDepth(world, {"Unknown world bitdepth in VX_PremulRect", __LINE__},
                           [&](auto pixel) -> VX_Err {
                             VX_WorldX<decltype(pixel)> view(world, false);
                             return RunBlackKernel<decltype(pixel)>(nullptr, view, rect, forward != 0);
                           });
}

VX_Err VX_PremulRect(void* caller_ref, int32_t forward, const GEO_LRect* rect, VX_LayerDef* world) {
  return VXp_GetSlot<VX_Slot_PremulRect>()(caller_ref, forward, rect, world);
}

VX_Err VX_Premul(void* caller_ref, int32_t forward, VX_LayerDef* world) {
  return VX_PremulRect(caller_ref, forward, nullptr, world);
}

namespace {

// The matte colour's rule for one pixel, in the refcon of the iterator.
template <class Pixel>
struct ColorMatte {
  Pixel color;
  bool forward;
};

template <class Pixel>
VX_Err ColorMattePixel(void* refcon, int32_t, int32_t, Pixel* in, Pixel* out) {
  typedef vx::Arith<Pixel> A;
  typedef typename A::T T;
  const auto& job = *static_cast<const ColorMatte<Pixel>*>(refcon);
  *out = *in;
  const T a = out->alpha;
  if (job.forward) {
    if (a >= A::kWhite) return VX_Err_None;
    // m + mul(c - m, a), on the signed difference.
    out->red = static_cast<decltype(out->red)>(job.color.red + A::mul(T(in->red) - T(job.color.red), a));
    out->green = static_cast<decltype(out->green)>(job.color.green + A::mul(T(in->green) - T(job.color.green), a));
    out->blue = static_cast<decltype(out->blue)>(job.color.blue + A::mul(T(in->blue) - T(job.color.blue), a));
    return VX_Err_None;
  }
  if (a == 0 || a == A::kWhite) return VX_Err_None;
  const T w = A::kWhite - a;
  auto bring_back = [&](T c, T m) -> T {
    const T rest = c - A::mul(m, w);
    if constexpr (std::is_same_v<T, float>)
      return rest / a;
    else
      return A::div(a, std::max<T>(rest, 0));
  };
  out->red = static_cast<decltype(out->red)>(bring_back(in->red, job.color.red));
  out->green = static_cast<decltype(out->green)>(bring_back(in->green, job.color.green));
  out->blue = static_cast<decltype(out->blue)>(bring_back(in->blue, job.color.blue));
  return VX_Err_None;
}

template <class ColorPixel>
VX_Err PremulColorRect(VX_LayerDef* src, const GEO_LRect* rect, const ColorPixel* color, int32_t forward,
                       VX_LayerDef* dst) {
  if (!dst || !dst->data || (src && !src->data)) return VXp_BadParameter(13);
  return VXp_DispatchDepth(dst, {"Unknown world bitdepth in VX_PremulColorRect", __LINE__},
                           [&](auto pixel) -> VX_Err {
                             typedef decltype(pixel) Pixel;
                             const Pixel m = color ? vxconv::Pixel<Pixel>(*color) : Pixel{};
                             if (m.red == 0 && m.green == 0 && m.blue == 0) {
                               if (src && VXp_WorldDepth(src) != VXp_WorldDepth(dst)) {
                                 KU_ReportFailedVerification(VXp_Site(0x0E), __LINE__, 0,
                                                             "VX_Iterate requires source and dst worlds to be same depth");
                                 return VX_Err_BadParam;
                               }
                               VX_WorldX<Pixel> dview(dst, false);
                               if (!src || src == dst) return RunBlackKernel<Pixel>(nullptr, dview, rect, forward != 0);
                               VX_WorldX<Pixel> sview(src, false);
                               return RunBlackKernel<Pixel>(&sview, dview, rect, forward != 0);
                             }
                             ColorMatte<Pixel> job{m, forward != 0};
                             return VX_Iterate_Static(nullptr, 0, 0, src == dst ? nullptr : src, rect, &job,
                                                      reinterpret_cast<VX_IterateFunc>(&ColorMattePixel<Pixel>), dst);
                           });
}

}  // namespace

VX_Err VX_PremulColor(void*, VX_LayerDef* src, const VX_Pixel8* color, int32_t forward, VX_LayerDef* dst) {
  return PremulColorRect(src, nullptr, color, forward, dst);
}

VX_Err VX_PremulColor16(void*, VX_LayerDef* src, const VX_Pixel16* color, int32_t forward, VX_LayerDef* dst) {
  return PremulColorRect(src, nullptr, color, forward, dst);
}

VX_Err VX_PremulColorFloat(void*, VX_LayerDef* src, const VX_PixelFloat* color, int32_t forward, VX_LayerDef* dst) {
  return PremulColorRect(src, nullptr, color, forward, dst);
}

VX_Err VX_PremulColorRect(void*, VX_LayerDef* src, const GEO_LRect* rect, const VX_Pixel16* color, int32_t forward,
                          VX_LayerDef* dst) {
  return PremulColorRect(src, rect, color, forward, dst);
}

VX_Err VX_PremulColorRectFloat(void*, VX_LayerDef* src, const GEO_LRect* rect, const VX_PixelFloat* color,
                               int32_t forward, VX_LayerDef* dst) {
  return PremulColorRect(src, rect, color, forward, dst);
}

void VXp_InstallPremulSlots() {
  VXp_Install<VX_Slot_PremulRect>(&VX_PremulRect_S);
}
