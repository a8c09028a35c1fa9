// The per-pixel iterators: walk a rectangle row by row, left to right, calling
// the client, with progress after each row.
#include <algorithm>

#include "core/Internal.h"
#include "vx/EffectWorld.h"
#include "vx/Iterate.h"
#include "vx/World.h"

namespace {

// Progress of the plain iterators: after each row, when a total is given.
// 517 stops the walk; any other answer is kept and becomes the result.
class RowProgress {
 public:
  RowProgress(VX_IterateHost* host, int32_t start, int32_t total) : host_(host), start_(start), total_(total) {}
  // False when the walk must stop with `result()`.
  bool AfterRow(int32_t rows_done) {
    if (total_ == 0 || !host_ || !host_->progress) return true;
    kept_ = host_->progress(host_->caller_ref, rows_done + start_, total_);
    return kept_ != VX_Err_Interrupted;
  }
  VX_Err result() const { return kept_; }

 private:
  VX_IterateHost* host_;
  int32_t start_, total_;
  VX_Err kept_ = VX_Err_None;
};

// The clip shared by the iterators; false when there is nothing to walk.
// `src_limit` is the source's extent in destination coordinates (its size,
// plus the origin for the origin forms), or null.
bool ClipArea(const GEO_LRect* area, const VX_LayerDef& dst, const GEO_LPoint* src_limit, GEO_LRect* out) {
  GEO_LRect r{0, 0, dst.width, dst.height};
  if (area) {
    if (area->right < 1 || area->left > dst.width || area->bottom < 1 || area->top > dst.height) return false;
    if (src_limit && (area->left > src_limit->x || area->top > src_limit->y)) return false;
    r = GEO_LRect{std::max(area->left, 0), std::max(area->top, 0), std::min(area->right, dst.width),
                  std::min(area->bottom, dst.height)};
  }
  if (src_limit) {
    r.right = std::min(r.right, src_limit->x);
    r.bottom = std::min(r.bottom, src_limit->y);
  }
  *out = r;
  return r.top < r.bottom;
}

template <class Pixel>
Pixel* PixelOf(const VX_LayerDef& w, int32_t x, int32_t y) {
  return reinterpret_cast<Pixel*>(static_cast<char*>(w.data) + static_cast<ptrdiff_t>(y) * w.row_stride) + x;
}

// Compares depths when both worlds are given; the flag stops the work later.
bool DepthsDiffer(const VX_LayerDef* src, const VX_LayerDef* dst) {
  if (!src || VXp_WorldDepth(src) == VXp_WorldDepth(dst)) return false;
  KU_ReportFailedVerification(VXp_Site(0x0E), __LINE__, 0, "VX_Iterate requires source and dst worlds to be same depth");
  return true;
}

template <class Pixel>
VX_Err IterateRows(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                   const GEO_LRect& r, void* refcon, VX_IterateFunc func, VX_LayerDef* dst) {
  typedef VX_Err (*TypedFunc)(void*, int32_t, int32_t, Pixel*, Pixel*);
  const auto typed = reinterpret_cast<TypedFunc>(func);
  RowProgress progress(host, progress_start, progress_total);
  const int32_t width = static_cast<int16_t>(r.right - r.left);
  for (int32_t y = r.top; y < r.bottom; ++y) {
    Pixel* out = PixelOf<Pixel>(*dst, r.left, y);
    Pixel* in = src ? PixelOf<Pixel>(*src, r.left, y) : out;
    int32_t x = r.left;
    // A first group of width mod 8 pixels, then groups of eight.
    for (int32_t n = width % 8; n > 0; --n, ++x, ++in, ++out)
      if (VX_Err err = typed(refcon, x, y, in, out)) return err;
    for (int32_t groups = width / 8; groups > 0; --groups)
      for (int32_t k = 0; k < 8; ++k, ++x, ++in, ++out)
        if (VX_Err err = typed(refcon, x, y, in, out)) return err;
    if (!progress.AfterRow(y - r.top + 1)) return VX_Err_Interrupted;
  }
  return progress.result();
}

}  // namespace

VX_Err VX_Iterate_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                         const GEO_LRect* area, void* refcon, VX_IterateFunc func, VX_LayerDef* dst) {
  if ((src && !src->data) || !dst || !dst->data || !func) return VXp_BadParameter(14);
  const bool mismatch = DepthsDiffer(src, dst);
  return VXp_DispatchDepth(dst, {"Unknown world bitdepth in VX_Iterate", __LINE__},
                           [&](auto pixel) -> VX_Err {
                             typedef decltype(pixel) Pixel;
                             if (mismatch) return VX_Err_BadParam;
                             GEO_LRect r;
                             const GEO_LPoint limit{src ? src->width : 0, src ? src->height : 0};
                             if (!ClipArea(area, *dst, src ? &limit : nullptr, &r)) return VX_Err_None;
                             return IterateRows<Pixel>(host, progress_start, progress_total, src, r, refcon, func,
                                                       dst);
                           });
}

VX_Err VX_Iterate(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                  const GEO_LRect* area, void* refcon, VX_IterateFunc func, VX_LayerDef* dst) {
  return VXp_GetSlot<VX_Slot_Iterate>()(host, progress_start, progress_total, src, area, refcon, func,
                                                    dst);
}

namespace {

VX_Err IterateLUTRows(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                      const GEO_LRect& r, const uint8_t* luts[4], VX_LayerDef* dst) {
  RowProgress progress(host, progress_start, progress_total);
  const int32_t width = r.right - r.left;
  for (int32_t y = r.top; y < r.bottom; ++y) {
    VX_Pixel8* out = PixelOf<VX_Pixel8>(*dst, r.left, y);
    const VX_Pixel8* in = src ? PixelOf<VX_Pixel8>(*src, r.left, y) : out;
    for (int32_t x = 0; x < width; ++x) {
      const VX_Pixel8 p = in[x];
      out[x] = VX_Pixel8{luts[0][p.alpha], luts[1][p.red], luts[2][p.green], luts[3][p.blue]};
    }
    if (!progress.AfterRow(y - r.top + 1)) return VX_Err_Interrupted;
  }
  return progress.result();
}

}  // namespace

VX_Err VX_IterateLUT_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                            VX_LayerDef* src, const GEO_LRect* area, const uint8_t* a_lut, const uint8_t* r_lut,
                            const uint8_t* g_lut, const uint8_t* b_lut, VX_LayerDef* dst) {
  // 8-bit worlds only; the test is the 16-bit flag, so float isn't refused here.
  if ((src && !src->data) || !dst || !dst->data || (src && (src->depth_flags & VX_DepthFlag_Deep)) ||
      (dst->depth_flags & VX_DepthFlag_Deep))
    return VXp_BadParameter(14);
  uint8_t identity[256];
  for (int i = 0; i < 256; ++i) identity[i] = static_cast<uint8_t>(i);
  const uint8_t* luts[4] = {a_lut ? a_lut : identity, r_lut ? r_lut : identity, g_lut ? g_lut : identity,
                            b_lut ? b_lut : identity};
  GEO_LRect r;
  const GEO_LPoint limit{src ? src->width : 0, src ? src->height : 0};
  if (!ClipArea(area, *dst, src ? &limit : nullptr, &r)) return VX_Err_None;
  return IterateLUTRows(host, progress_start, progress_total, src, r, luts, dst);
}

VX_Err VX_IterateLUT(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                     const GEO_LRect* area, const uint8_t* a_lut, const uint8_t* r_lut, const uint8_t* g_lut,
                     const uint8_t* b_lut, VX_LayerDef* dst) {
  return VXp_GetSlot<VX_Slot_IterateLUT>()(host, progress_start, progress_total, src, area, a_lut,
                                                          r_lut, g_lut, b_lut, dst);
}

VX_Err VX_IterateGeneric_Static(int32_t iterations, void* refcon, VX_IterateGenericFunc func) {
  if (!func) return VXp_BadParameter(70);
  if (iterations == -1) return func(refcon, 0, 0, 1);
  VX_Err result = VX_Err_None;
  for (int32_t i = 0; i < iterations; ++i)
    if ((result = func(refcon, 0, i, iterations))) break;
  return result;
}

VX_Err VX_IterateGeneric(int32_t iterations, void* refcon, VX_IterateGenericFunc func) {
  return VXp_GetSlot<VX_Slot_IterateGeneric>()(iterations, refcon, func);
}
