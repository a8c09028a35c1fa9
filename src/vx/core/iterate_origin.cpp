// The origin iterators: the source is placed at an origin in destination
// coordinates; the unclipped form hands a zero pixel where it has none.
#include <algorithm>
#include <cstring>

#include "core/Internal.h"
#include "vx/EffectWorld.h"
#include "vx/Iterate.h"

namespace {

template <class Pixel>
Pixel* PixelOf(const VX_LayerDef& w, int32_t x, int32_t y) {
  return reinterpret_cast<Pixel*>(static_cast<char*>(w.data) + static_cast<ptrdiff_t>(y) * w.row_stride) + x;
}

struct Walk {
  VX_IterateHost* host;
  int32_t progress_start, progress_total;
  void* refcon;
  VX_IterateFunc func;
};

// Progress after a row, as in VX_Iterate. Returns false to stop with *result.
bool AfterRow(const Walk& w, int32_t rows_done, VX_Err* kept) {
  if (w.progress_total == 0 || !w.host || !w.host->progress) return true;
  *kept = w.host->progress(w.host->caller_ref, rows_done + w.progress_start, w.progress_total);
  return *kept != VX_Err_Interrupted;
}

template <class Pixel>
VX_Err WalkWithSource(const Walk& w, VX_LayerDef* src, const GEO_LPoint& origin, const GEO_LRect& r,
                      VX_LayerDef* dst) {
  typedef VX_Err (*TypedFunc)(void*, int32_t, int32_t, Pixel*, Pixel*);
  const auto func = reinterpret_cast<TypedFunc>(w.func);
  Pixel zero;
  VX_Err kept = VX_Err_None;
  for (int32_t y = r.top; y < r.bottom; ++y) {
    const int32_t sy = y - origin.y;
    Pixel* out = PixelOf<Pixel>(*dst, r.left, y);
    Pixel* in = PixelOf<Pixel>(*src, std::max(r.left - origin.x, 0), std::max(sy, 0));
    for (int32_t x = r.left; x < r.right; ++x, ++out) {
      const int32_t sx = x - origin.x;
      Pixel* p = in;
      if (sx < 0 || sx >= src->width || sy < 0 || sy >= src->height) {
        std::memset(&zero, 0, sizeof zero);  // outside the source: a zero pixel
        p = &zero;
      } else {
        ++in;
      }
      if (VX_Err err = func(w.refcon, x, y, p, out)) return err;
    }
    if (!AfterRow(w, y - r.top + 1, &kept)) return VX_Err_Interrupted;
  }
  return kept;
}

// Without a source the walk keeps an old irregularity that clients rely on
// not at all: x steps by two while `out` steps by one pixel, and each row
// advances as if it had been walked whole. Clients use x and y, not `out`.
template <class Pixel>
VX_Err WalkWithoutSource(const Walk& w, const GEO_LRect& r, VX_LayerDef* dst) {
  typedef VX_Err (*TypedFunc)(void*, int32_t, int32_t, Pixel*, Pixel*);
  const auto func = reinterpret_cast<TypedFunc>(w.func);
  VX_Err kept = VX_Err_None;
  char* out = reinterpret_cast<char*>(PixelOf<Pixel>(*dst, r.left, r.top));
  const ptrdiff_t row_step = dst->row_stride - static_cast<ptrdiff_t>(r.right - r.left) * sizeof(Pixel);
  for (int32_t y = r.top; y < r.bottom; ++y) {
    for (int32_t x = r.left; x < r.right; x += 2, out += sizeof(Pixel))
      if (VX_Err err = func(w.refcon, x, y, nullptr, reinterpret_cast<Pixel*>(out))) return err;
    out += row_step;
    if (!AfterRow(w, y - r.top + 1, &kept)) return VX_Err_Interrupted;
  }
  return kept;
}

VX_Err IterateOrigin(bool clip, VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                     VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin_in, void* refcon,
                     VX_IterateFunc func, VX_LayerDef* dst) {
  if (!dst || (src && !src->data) || !dst->data || !func) return VXp_BadParameter(0x52);
  const GEO_LPoint origin = origin_in ? *origin_in : GEO_LPoint{0, 0};
  bool mismatch = false;
  if (src && VXp_WorldDepth(src) != VXp_WorldDepth(dst)) {
    KU_ReportFailedVerification(VXp_Site(0x0E), __LINE__, 0,
                                "VX_Iterate requires source and dst worlds to be same depth");
    mismatch = true;
  }
  return VXp_DispatchDepth(dst, {"Unknown world bitdepth in VX_IterateOrigin", __LINE__},
                           [&](auto pixel) -> VX_Err {
                             typedef decltype(pixel) Pixel;
                             if (mismatch) return VX_Err_BadParam;
                             GEO_LRect r{0, 0, dst->width, dst->height};
                             if (area) {
                               if (area->right < 1 || area->left > dst->width || area->bottom < 1 ||
                                   area->top > dst->height)
                                 return VX_Err_None;
                               if (clip && src &&
                                   (area->left > src->width + origin.x || area->top > src->height + origin.y))
                                 return VX_Err_None;
                               r = GEO_LRect{std::max(area->left, 0), std::max(area->top, 0),
                                             std::min(area->right, dst->width), std::min(area->bottom, dst->height)};
                             }
                             if (clip && src) {
                               r.right = std::min(r.right, src->width + origin.x);
                               r.bottom = std::min(r.bottom, src->height + origin.y);
                               r.left = std::max(r.left, origin.x);
                               r.top = std::max(r.top, origin.y);
                             }
                             if (r.right - r.left == 0 || r.bottom - r.top <= 0) return VX_Err_None;
                             const Walk walk{host, progress_start, progress_total, refcon, func};
                             if (src) return WalkWithSource<Pixel>(walk, src, origin, r, dst);
                             return WalkWithoutSource<Pixel>(walk, r, dst);
                           });
}

}  // namespace

VX_Err VX_IterateOrigin_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                               VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin, void* refcon,
                               VX_IterateFunc func, VX_LayerDef* dst) {
  return IterateOrigin(true, host, progress_start, progress_total, src, area, origin, refcon, func, dst);
}

VX_Err VX_IterateOriginUnclipped_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                        VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin,
                                        void* refcon, VX_IterateFunc func, VX_LayerDef* dst) {
  return IterateOrigin(false, host, progress_start, progress_total, src, area, origin, refcon, func, dst);
}

VX_Err VX_IterateOrigin(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                        const GEO_LRect* area, const GEO_LPoint* origin, void* refcon, VX_IterateFunc func,
                        VX_LayerDef* dst) {
  return VXp_GetSlot<VX_Slot_IterateOrigin>()(host, progress_start, progress_total, src, area,
                                                                origin, refcon, func, dst);
}

VX_Err VX_IterateOriginUnclipped(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                 VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin, void* refcon,
                                 VX_IterateFunc func, VX_LayerDef* dst) {
  return VXp_GetSlot<VX_Slot_IterateOriginUnclipped>()(host, progress_start, progress_total, src,
                                                                         area, origin, refcon, func, dst);
}
