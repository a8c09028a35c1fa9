// Copies between worlds, of the same depth or converting between depths,
// with optional dither and field selection.
#include <algorithm>
#include <cstring>

#include "core/DepthConvert.h"
#include "core/Internal.h"
#include "vx/World.h"

void VXp_FloatRowTo8_SSE2(const VX_PixelFloat* src, VX_Pixel8* dst, int32_t count);

namespace {

struct CopyPlan {
  GEO_LRect dst;  // destination rectangle, clipped
  int32_t src_left, src_top;
  bool Empty() const { return dst.left >= dst.right || dst.top >= dst.bottom; }
};

CopyPlan PlanCopy(const VX_World& dst, const VX_World& src, const GEO_LRect& rect, int32_t x, int32_t y) {
  const int32_t dx = x - rect.left, dy = y - rect.top;
  CopyPlan plan;
  plan.dst.left = std::max(std::max(rect.left, 0) + dx, 0);
  plan.dst.right = std::min(dst.width, std::min(src.width, rect.right) + dx);
  plan.dst.top = std::max(std::max(rect.top, 0) + dy, 0);
  plan.dst.bottom = std::min(dst.height, std::min(src.height, rect.bottom) + dy);
  plan.src_left = plan.dst.left - dx;
  plan.src_top = plan.dst.top - dy;
  return plan;
}

template <class Dst, class Src>
void ConvertRow(const Src* s, Dst* d, int32_t n, bool dither) {
  if constexpr (std::is_same_v<Dst, Src>) {
    std::memmove(d, s, static_cast<size_t>(n) * sizeof(Dst));
  } else if constexpr (std::is_same_v<Src, VX_Pixel16> && std::is_same_v<Dst, VX_Pixel8>) {
    if (dither) {
      for (int32_t i = 0; i < n; ++i) {
        d[i].alpha = vxconv::Dither16To8(s[i].alpha, VXp_NextNoise());
        d[i].red = vxconv::Dither16To8(s[i].red, VXp_NextNoise());
        d[i].green = vxconv::Dither16To8(s[i].green, VXp_NextNoise());
        d[i].blue = vxconv::Dither16To8(s[i].blue, VXp_NextNoise());
      }
      return;
    }
    for (int32_t i = 0; i < n; ++i) d[i] = vxconv::Pixel<Dst>(s[i]);
  } else if constexpr (std::is_same_v<Src, VX_PixelFloat>) {
    if (dither) {
      for (int32_t i = 0; i < n; ++i) {
        d[i].alpha = vxconv::DitherFloat<Dst>(s[i].alpha, VXp_NextNoise());
        d[i].red = vxconv::DitherFloat<Dst>(s[i].red, VXp_NextNoise());
        d[i].green = vxconv::DitherFloat<Dst>(s[i].green, VXp_NextNoise());
        d[i].blue = vxconv::DitherFloat<Dst>(s[i].blue, VXp_NextNoise());
      }
      return;
    }
    if constexpr (std::is_same_v<Dst, VX_Pixel8>) {
      if (VXp_HasSSE2() && (reinterpret_cast<uintptr_t>(d) & 15) == 0) {
        VXp_FloatRowTo8_SSE2(s, d, n);
        return;
      }
    }
    for (int32_t i = 0; i < n; ++i) d[i] = vxconv::Pixel<Dst>(s[i]);
  } else {
    for (int32_t i = 0; i < n; ++i) d[i] = vxconv::Pixel<Dst>(s[i]);
  }
}

// Copies the planned rows from a source of type Src; `row_wanted` picks rows
// by their destination index.
template <class Dst, class Src, class RowWanted>
void CopyRows(VX_WorldX<Dst>& dst, const VX_World* src_world, const CopyPlan& plan, bool dither,
              const VX_ProgressInfo* progress, RowWanted row_wanted) {
  const auto& src = static_cast<const VX_WorldX<Src>&>(*src_world);
  const int32_t n = plan.dst.right - plan.dst.left;
  const int32_t total = plan.dst.bottom - plan.dst.top;
  for (int32_t row = 0; row < total; ++row) {
    const int32_t y = plan.dst.top + row;
    if (row_wanted(y)) ConvertRow(src.PixelAt(plan.src_left, plan.src_top + row), dst.PixelAt(plan.dst.left, y), n, dither);
    VXp_CheckProgress64(progress, row, total);
  }
}

// Dispatches on the source depth; an unknown one is told to the user with
// `unknown_text`, and what that report gives is thrown.
template <class Dst, class RowWanted>
void CopyFromAnyDepth(VX_WorldX<Dst>& dst, const VX_World* src, const CopyPlan& plan, bool dither,
                      const VX_ProgressInfo* progress, RowWanted row_wanted, const char* unknown_text) {
  const VXp_UnknownDepth unknown{unknown_text, 0, VXp_Site(0x6E), true};
  VXp_ThrowIf(VXp_DispatchDepth(src->Depth(), unknown, [&](auto pixel) {
    CopyRows<Dst, decltype(pixel)>(dst, src, plan, dither, progress, row_wanted);
  }));
}

}  // namespace

template <class Pixel>
void VX_WorldX<Pixel>::CopyRect(const VX_World* src, const GEO_LRect& rect, int32_t x, int32_t y) {
  if (!src || src->Depth() != Depth()) {
    KU_ReportFailedVerification(VXp_Site(0x6D), __LINE__, 0,
                                "Src and dest bitdepths are different in VX_World::CopyRect");
    throw VX_Err(VX_Err_BadParam);
  }
  const CopyPlan plan = PlanCopy(*this, *src, rect, x, y);
  if (plan.Empty()) return;
  CopyRows<Pixel, Pixel>(*this, src, plan, false, nullptr, [](int32_t) { return true; });
}

template <class Pixel>
void VX_WorldX<Pixel>::CopyRectPossiblyDifferentBitdepth(const VX_World* src, const GEO_LRect& rect, bool dither,
                                                         int32_t x, int32_t y, VX_ProgressInfo* progress) {
  if (!src) throw VX_Err(VX_Err_BadParam);
  const CopyPlan plan = PlanCopy(*this, *src, rect, x, y);
  if (plan.Empty()) return;
  CopyFromAnyDepth(*this, src, plan, dither, progress, [](int32_t) { return true; },
                   "Unknown bit depth in VX_World::CopyRectPossiblyDifferentBitdepths");
}

template <class Pixel>
void VX_WorldX<Pixel>::CopyRectPossiblyDifferentBitdepthWithField(const VX_World* src, const GEO_LRect& rect,
                                                                  int32_t field) {
  if (!src) throw VX_Err(VX_Err_BadParam);
  const CopyPlan plan = PlanCopy(*this, *src, rect, 0, 0);
  if (plan.Empty()) return;
  auto row_wanted = [field](int32_t y) { return field == 1 ? (y & 1) == 0 : field == 2 ? (y & 1) == 1 : true; };
  CopyFromAnyDepth(*this, src, plan, false, nullptr, row_wanted,
                   "Unknown bit depth in VX_World::CopyRectPossiblyDifferentBitdepthsWithField");
}

#define VX_INSTANTIATE(P)                                                                                    \
  template void VX_WorldX<P>::CopyRect(const VX_World*, const GEO_LRect&, int32_t, int32_t);                \
  template void VX_WorldX<P>::CopyRectPossiblyDifferentBitdepth(const VX_World*, const GEO_LRect&, bool,     \
                                                                int32_t, int32_t, VX_ProgressInfo*);         \
  template void VX_WorldX<P>::CopyRectPossiblyDifferentBitdepthWithField(const VX_World*, const GEO_LRect&, \
                                                                         int32_t);
VX_INSTANTIATE(VX_Pixel8)
VX_INSTANTIATE(VX_Pixel16)
VX_INSTANTIATE(VX_PixelFloat)
