// Factories of VX_World, sub-world arithmetic and the record helpers.
#include <algorithm>

#include "core/Internal.h"
#include "vx/EffectWorld.h"
#include "vx/World.h"

namespace {

// Runs make(VX_PixelX{}) for the depth; an unknown depth is reported as
// `unknown` says and throws 3.
template <class Make>
VX_World* ByDepth(int32_t depth, const VXp_UnknownDepth& unknown, Make&& make) {
  VX_World* world = nullptr;
  VXp_ThrowIf(VXp_DispatchDepth(depth, unknown, [&](auto pixel) { world = make(pixel); }));
  return world;
}

bool OutsideOf(const GEO_LRect& rect, int32_t width, int32_t height) {
  return rect.left < 0 || width < rect.right || rect.top < 0 || height < rect.bottom;
}

// The parent's content hint cut to the rectangle, moved to its origin.
GEO_LRect CutHint(const GEO_LRect& hint, const GEO_LRect& rect) {
  return GEO_LRect{std::max(hint.left, rect.left) - rect.left, std::max(hint.top, rect.top) - rect.top,
                   std::min(hint.right, rect.right) - rect.left, std::min(hint.bottom, rect.bottom) - rect.top};
}

}  // namespace

VX_World* VX_World::New(int32_t width, int32_t height, int16_t depth, int32_t flags) {
  return ByDepth(depth, VXp_kQuietDepth, [&](auto pixel) -> VX_World* {
    return new VX_WorldX<decltype(pixel)>(width, height, flags);
  });
}

VX_World* VX_World::New(const GEO_LRect& rect, int16_t depth, int32_t flags) {
  return New(rect.right - rect.left, rect.bottom - rect.top, depth, flags);
}

VX_World* VX_World::NewMatchingWorld(const VX_World* model, int32_t flags) {
  if (!model) throw VX_Err(VX_Err_BadParam);
  return New(model->width, model->height, model->Depth(), flags);
}

VX_World* VX_World::NewReference(VX_World* parent, const GEO_LRect& rect) {
  if (!parent) throw VX_Err(VX_Err_BadParam);
  return ByDepth(parent->Depth(), VXp_kQuietDepth, [&](auto pixel) -> VX_World* {
    typedef VX_WorldX<decltype(pixel)> W;
    return new W(static_cast<W*>(parent), rect);
  });
}

VX_World* VX_World::NewReference(VX_World* parent, const GEO_Rect& rect) {
  return NewReference(parent, GEO_RectToLRect(rect));
}

VX_World* VX_World::NewReference(RB_WorldH rb) {
  if (!rb || !*rb) throw VX_Err(VX_Err_BadParam);
  return ByDepth((*rb)->bits_per_pixel / 4, VXp_kQuietDepth, [&](auto pixel) -> VX_World* {
    return new VX_WorldX<decltype(pixel)>(rb, nullptr);
  });
}

VX_World* VX_World::NewReference(RB_WorldH rb, const GEO_Rect& rect) {
  if (!rb || !*rb) throw VX_Err(VX_Err_BadParam);
  return ByDepth((*rb)->bits_per_pixel / 4, VXp_kQuietDepth, [&](auto pixel) -> VX_World* {
    return new VX_WorldX<decltype(pixel)>(rb, &rect);
  });
}

VX_World* VX_World::NewReference(VX_LayerDef* world) {
  if (!world) throw VX_Err(VX_Err_BadParam);
  const int32_t depth = world->world_object ? world->world_object->Depth() : VXp_DepthOfFlags(world->depth_flags);
  return ByDepth(depth, {"Unexpected bitdepth in VX_World::NewReference(VX_EffectWorld)", __LINE__},
                 [&](auto pixel) -> VX_World* {
                   auto* w = new VX_WorldX<decltype(pixel)>(world->data, world->width, world->height,
                                                            world->row_stride);
                   if (w) {
                     w->depth_flags = world->depth_flags;
                     w->content_rect = world->content_rect;
                   }
                   return w;
                 });
}

VX_World* VX_World::NewReference(void* data, int32_t width, int32_t height, int16_t depth, int32_t row_stride) {
  return ByDepth(depth, {"Unexpected bitdepth in VX_World::NewReference()", __LINE__}, [&](auto pixel) -> VX_World* {
    return new VX_WorldX<decltype(pixel)>(data, width, height, row_stride);
  });
}

RB_WorldH VX_World::GetRBWorld() {
  if (!rb_world) throw VX_Err(VX_Err_NoBacking);
  return rb_world;
}

void VX_World::CopyWorld(const VX_World* src) {
  if (!src) throw VX_Err(VX_Err_BadParam);
  CopyRect(src, GEO_LRect{0, 0, src->width, src->height}, 0, 0);
}

void VX_World::ShrinkToSubRect(const GEO_LRect& rect) {
  if (OutsideOf(rect, width, height)) {
    KU_ReportFailedVerification(VXp_Site(0x6F), __LINE__, 0, "bad sub rect in ShrinkToSubRect");
    throw VX_Err(VX_Err_BadParam);
  }
  if (rb_world) {
    KU_ReportFailedVerification(VXp_Site(0x6F), __LINE__, 0, "Can't Shrink a VX_World which is backed by a RB_World");
    throw VX_Err(VX_Err_BadParam);
  }
  data = OffsetData(data, rect.left, rect.top, row_stride);
  width = rect.right - rect.left;
  height = rect.bottom - rect.top;
  content_rect = CutHint(content_rect, rect);
}

void VX_World::ReReference(VX_World* parent, const GEO_LRect& rect) {
  const char* problem = nullptr;
  if (!parent || parent->Depth() != Depth())
    problem = "can't change bit depth in ReReference";
  else if (OutsideOf(rect, parent->width, parent->height))
    problem = "bad sub rect in ReReference";
  else if (parent == this)
    problem = "can't ReReference self";
  if (problem) {
    KU_ReportFailedVerification(VXp_Site(0x70), __LINE__, 0, problem);
    throw VX_Err(VX_Err_BadParam);
  }
  // The body is zeroed: a world that owned memory loses the link to it.
  static_cast<VX_LayerDef&>(*this) = VX_LayerDef{};
  alloc_width = alloc_height = 0;
  TakeSubWorldOf(*parent, rect);
}

void VX_World::TakeSubWorldOf(const VX_World& parent, const GEO_LRect& rect) {
  width = rect.right - rect.left;
  height = rect.bottom - rect.top;
  row_stride = parent.row_stride;
  data = OffsetData(parent.data, rect.left, rect.top, parent.row_stride);
  depth_flags = parent.depth_flags;
  inherited_ref = parent.inherited_ref;
  content_rect = CutHint(parent.content_rect, rect);
  world_object = this;
  rb_world = nullptr;
  allocation = nullptr;
}

void* VX_World::OffsetData(void* base, int32_t x, int32_t y, int32_t stride) const {
  return static_cast<char*>(base) + static_cast<ptrdiff_t>(x) * PixelSize() + static_cast<ptrdiff_t>(y) * stride;
}

bool VX_World::RefersTo(const VX_World* other) const {
  if (!other || !IsReference() || Depth() != other->Depth() || row_stride != other->row_stride ||
      width > other->width || height > other->height)
    return false;
  const ptrdiff_t d = static_cast<const char*>(data) - static_cast<const char*>(other->data);
  if (d < 0) return false;
  if (row_stride == 0) return true;
  return d / row_stride < other->height;
}

void VX_World::FillOutEffectWorld(VX_LayerDef* world) const {
  if (!world) return;
  *world = VX_LayerDef{};
  world->data = data;
  world->row_stride = row_stride;
  world->width = width;
  world->height = height;
  world->content_rect = content_rect;
  world->depth_flags = VXp_DepthFlagsFor(Depth());
  world->world_object = const_cast<VX_World*>(this);
  world->rb_world = rb_world;
}
