// Transfer rectangles: clip a rectangle of one world onto another, plan the
// row once, and run the blend pipeline row by row with the track matte's
// mask rows, field selection, progress and the dissolve seed.
#include <climits>
#include <cstring>
#include <utility>

#include "composite/spans/SpanVector.h"
#include "composite/transfer/BlendPlan.h"
#include "composite/transfer/TrackMatte.h"
#include "composite/transfer/TransferSlots.h"
#include "core/Internal.h"
#include "vx/Blend.h"
#include "vx/EffectWorld.h"
#include "vx/Scratch.h"
#include "vx/Transfer.h"
#include "vx/World.h"
#include "vxhost/GEO.h"

namespace {

// What differs between the two named transfers.
struct Caller {
  int32_t site;
  int32_t line;
  const char* depth_text;
  void* const* row_buffers;  // the caller's, or null for the scratch pool
};

VX_Err NoProgress(void*, int32_t, int32_t) { return VX_Err_None; }

// The opacity in channel units; integer depths hold no more than full.
template <class Pixel>
typename VX_PixelTraits<Pixel>::Channel OpacityOf(float opacity) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    return opacity;
  } else {
    const double clamped = opacity > 1.0f ? 1.0 : (opacity > 0.0f ? static_cast<double>(opacity) : 0.0);
    return static_cast<typename VX_PixelTraits<Pixel>::Channel>(
        static_cast<int32_t>(static_cast<double>(VX_PixelTraits<Pixel>::kWhite) * clamped + 0.5));
  }
}

// The clipped destination rectangle and the source's offset from it; false
// when nothing is left.
bool Clip(const GEO_LRect& source_rect, const VX_LayerDef& source, const VX_LayerDef& destination,
          const VX_TrackMatte* mask, int32_t dest_x, int32_t dest_y, GEO_LRect* out, int32_t* dx, int32_t* dy) {
  const GEO_LRect source_bounds{0, 0, source.width, source.height};
  GEO_LRect r;
  if (!GEO_SectLRect(&source_rect, &source_bounds, &r)) return false;
  // An offset beyond 32 bits moves the rectangle past every destination.
  const int64_t offset_x = int64_t(dest_x) - source_rect.left, offset_y = int64_t(dest_y) - source_rect.top;
  if (offset_x != int32_t(offset_x) || offset_y != int32_t(offset_y)) return false;
  *dx = int32_t(offset_x);
  *dy = int32_t(offset_y);
  GEO_OffsetLRect(&r, *dx, *dy);
  const GEO_LRect dest_bounds{0, 0, destination.width, destination.height};
  if (!GEO_SectLRect(&r, &dest_bounds, &r)) return false;
  // Outside an inverted matte the layer shows fully, so only plain mattes clip.
  if (mask && !VX_MatteKindInverts(mask->matte_kind)) {
    GEO_LRect matte_bounds{0, 0, mask->matte.width, mask->matte.height};
    GEO_OffsetLRect(&matte_bounds, mask->offset_x, mask->offset_y);
    if (!GEO_SectLRect(&r, &matte_bounds, &r)) return false;
  }
  *out = r;
  return true;
}

bool BadMatte(const VX_TrackMatte* mask, int16_t depth) {
  return mask && (!mask->matte.data || VXp_WorldDepth(&mask->matte) != depth || !VX_IsMatteKind(mask->matte_kind));
}

// The rows of a transfer, from top: which are blended (field parity) and
// the dissolve seed each starts from.
struct RowWalk {
  int32_t y, bottom, parity;
  uint32_t seed;
  bool Blends() const { return (y & 1) != parity; }
  // Progress is reported after these rows.
  bool Reports() const { return (y & 127) == 0; }
  void Next() { seed += 12281u * static_cast<uint32_t>(y++); }
};

// Dissolve's rows are independent chains of draws, so at 8 bits eight
// blended rows run side by side when none of them is followed by a progress
// report except the last. Returns whether the walk moved past such a group;
// *report says a report is due for the row before walk->y.
template <class Pixel, class RowAt>
bool RunDissolveGroup(const VX_BlendModeDescriptor<Pixel>& d, int32_t count, RowAt row_at, RowWalk* walk,
                      bool* report) {
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    VXp_DissolveRow8 rows[8];
    RowWalk next = *walk;
    int n = 0;
    bool reports = false;
    while (next.y < next.bottom && n < 8 && !reports) {
      if (next.Blends()) {
        const auto [src, dst] = row_at(next.y);
        rows[n++] = {src, dst, next.seed};
      }
      reports = next.Reports();
      next.Next();
    }
    if (n < 8 || !VXp_DissolveRowGroup8(count, d, rows)) return false;
    *walk = next;
    *report = reports;
    return true;
  } else {
    return false;
  }
}

template <class Pixel>
VX_Err TransferAtDepth(const Caller& caller, VX_ProgressInfo* progress, int32_t field, const GEO_LRect* source_rect,
                       VX_LayerDef* source, const VX_CompositeModePlus& plus, const VX_LinearBlendingTables* tables,
                       const VX_TrackMatte* mask, int32_t dest_x, int32_t dest_y, VX_LayerDef* destination) {
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  VX_WorldX<Pixel> src_view(source, false), dst_view(destination, false);
  if (BadMatte(mask, VX_PixelTraits<Pixel>::kDepth)) return VXp_BadParameter(0x1F);
  const VX_BlendingMode<Pixel> mode{plus.transfer_mode, plus.dissolve_seed, OpacityOf<Pixel>(plus.opacity),
                                    plus.keep_alpha};
  const GEO_LRect whole{0, 0, source->width, source->height};
  const GEO_LRect requested = source_rect ? *source_rect : whole;

  GEO_LRect r;
  int32_t dx, dy;
  if (!Clip(requested, *source, *destination, mask, dest_x, dest_y, &r, &dx, &dy)) return VX_Err_None;
  const int32_t count = r.right - r.left;
  VX_BlendModeDescriptor<Pixel> descriptor(mode, mask != nullptr, tables);
  const VXp_Isa isa = VXp_WidestIsa();
  const VXp_BlendPlan<Pixel> plan(descriptor, mask != nullptr, isa);

  // Row buffers for the clipped width: the saved alpha and the mask row, the
  // first two of a caller's block (the other eight are spare), else from
  // the pool, which also holds the rows the plan's kernels take in linear
  // light; they are reserved here, so no row allocates.
  void* saved = nullptr;
  void* mask_row = nullptr;
  const bool own_buffers = caller.row_buffers && caller.row_buffers[0] && caller.row_buffers[1];
  const int64_t linear_bytes = plan.ScratchBytes(count);
  if (!own_buffers || linear_bytes > 0) {
    VXp_ScratchSet scratch;
    const int32_t depth_code = static_cast<int32_t>(sizeof(Channel));
    const int64_t for_linear = (linear_bytes + 4 * depth_code - 1) / (4 * depth_code);
    if (for_linear > INT32_MAX) return VX_Err_OutOfMemory;
    if (VX_Err err = VXp_ReallocScratch(std::max(count, static_cast<int32_t>(for_linear)), depth_code, false, &scratch))
      return err;
    saved = scratch.buffers[0];
    mask_row = scratch.buffers[1];
  }
  if (own_buffers) {
    saved = caller.row_buffers[0];
    mask_row = caller.row_buffers[1];
  }

  const int32_t parity = field == 1 ? 1 : (field == 2 ? 0 : 2);
  VX_ProgressFunc report = progress && progress->progress ? progress->progress : &NoProgress;
  void* refcon = progress ? progress->refcon : nullptr;
  auto report_progress = [&](int32_t y) { return report(refcon, y - r.top, r.bottom - r.top); };

  // A matte multiplied by nothing is empty outside the rectangle.
  if (plus.transfer_mode == XferAlphaMul || plus.transfer_mode == XferLumaMul)
    VXp_ClearAlphaExceptRect(dst_view, r);

  auto row_at = [&](int32_t y) {
    return std::pair<const Pixel*, Pixel*>(src_view.PixelAt(r.left - dx, y - dy), dst_view.PixelAt(r.left, y));
  };
  bool grouped = false;
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) grouped = VXp_DissolveRowsUsable(descriptor, mask != nullptr, isa);
  RowWalk walk{r.top, r.bottom, parity, static_cast<uint32_t>(plus.dissolve_seed) + static_cast<uint32_t>(r.left)};
  VX_Err err = VX_Err_None;
  while (walk.y < r.bottom && !err) {
    bool due = false;
    if (grouped && RunDissolveGroup(descriptor, count, row_at, &walk, &due)) {
      if (due) err = report_progress(walk.y - 1);
      continue;
    }
    const int32_t y = walk.y;
    const auto [src_row, dst_row] = row_at(y);
    const Pixel* mask_pixels = mask ? VXp_MatteRow<Pixel>(*mask, r.left, y, count, static_cast<Pixel*>(mask_row), isa)
                                    : nullptr;
    descriptor.mode.dissolve_seed = static_cast<int32_t>(walk.seed);
    if (walk.Blends())
      err = plan.Run(count, src_row, mask_pixels, static_cast<Channel*>(saved), dst_row);
    if (!err && walk.Reports()) err = report_progress(y);
    walk.Next();
  }
  return err;
}

VX_Err Transfer(const Caller& caller, VX_ProgressInfo* progress, int32_t field, const GEO_LRect* source_rect,
                VX_LayerDef* source, const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables,
                const VX_TrackMatte* mask, int32_t dest_x, int32_t dest_y, VX_LayerDef* destination) {
  return VXp_Guard([&]() -> VX_Err {
    if (!source || !destination || !mode || !source->data || !destination->data) return VXp_BadParameter(0x1F);
    const int16_t depth = VXp_WorldDepth(destination);
    if (VXp_WorldDepth(source) != depth) {
      KU_ReportFailedVerification(caller.site, caller.line, 0, caller.depth_text);
      return VX_Err_BadParam;
    }
    if (!VX_IsXferMode(mode->transfer_mode)) {
      VXp_ReportMessage(VXp_Site(0x33), VXp_Msg_UnimplementedBlendingMode);
      return VX_Err_Unimplemented;
    }
    return VXp_DispatchDepth(depth, {"Unknown world bitdepth in##CONDITIONNAME", 769}, [&](auto pixel) {
      return TransferAtDepth<decltype(pixel)>(caller, progress, field, source_rect, source, *mode, tables, mask,
                                              dest_x, dest_y, destination);
    });
  });
}

}  // namespace

VX_Err VX_TransferRect(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                       const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeModePlus* mode,
                       const VX_LinearBlendingTables* tables, const VX_TrackMatte* mask, int32_t dest_x,
                       int32_t dest_y, VX_LayerDef* destination) {
  auto body = VXp_GetSlot<VX_Slot_TransferRect>();
  if (!body) return VX_Err_Unimplemented;
  return body(progress, quality, flags, field, source_rect, source, mode, tables, mask, dest_x, dest_y, destination);
}

VX_Err VX_TransferRect_S(VX_ProgressInfo* progress, int32_t, int32_t, int32_t field, const GEO_LRect* source_rect,
                         VX_LayerDef* source, const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables,
                         const VX_TrackMatte* mask, int32_t dest_x, int32_t dest_y, VX_LayerDef* destination) {
  const Caller caller{VXp_Site(0x4F), 760, "VX_TransferRect requires src and dst worlds to have same bit depth",
                      nullptr};
  return Transfer(caller, progress, field, source_rect, source, mode, tables, mask, dest_x, dest_y, destination);
}

VX_Err VX_TransferRectPlus(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                           const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeModePlus* mode,
                           const VX_LinearBlendingTables* tables, const VX_TrackMatte* mask, void* const* row_buffers,
                           int32_t dest_x, int32_t dest_y, VX_LayerDef* destination) {
  auto body = VXp_GetSlot<VX_Slot_TransferRectPlus>();
  if (!body) return VX_Err_Unimplemented;
  return body(progress, quality, flags, field, source_rect, source, mode, tables, mask, row_buffers, dest_x, dest_y,
              destination);
}

VX_Err VXp_TransferRectPlus_S(VX_ProgressInfo* progress, int32_t, int32_t, int32_t field, const GEO_LRect* source_rect,
                              VX_LayerDef* source, const VX_CompositeModePlus* mode,
                              const VX_LinearBlendingTables* tables, const VX_TrackMatte* mask,
                              void* const* row_buffers, int32_t dest_x, int32_t dest_y, VX_LayerDef* destination) {
  const Caller caller{VXp_kSiteCatchAll, 834, "VX_TransferRectPlus requires src and dst worlds to have same bit depth",
                      row_buffers};
  return Transfer(caller, progress, field, source_rect, source, mode, tables, mask, dest_x, dest_y, destination);
}

int32_t VX_GetTransferFlags(int32_t transfer_mode) {
  if (transfer_mode < -3 || transfer_mode > 60) return 0;
  return static_cast<int32_t>((0x300120FF7B9ull >> (transfer_mode + 3)) & 1);
}
