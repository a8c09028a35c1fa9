// Effect worlds: plain records made, wrapped, queried and disposed.
#include <cstring>

#include "core/Internal.h"
#include "vx/EffectWorld.h"
#include "vx/World.h"

uint32_t VXp_DepthFlagsFor(int32_t depth) {
  uint32_t flags = 0xFFFFFFFF;
  VXp_DispatchDepth(depth, VXp_kQuietDepth,
                    [&](auto pixel) { flags = VX_PixelTraits<decltype(pixel)>::kDepthFlags; });
  return flags;
}

int32_t VXp_DepthOfFlags(uint32_t depth_flags) {
  // The format code in the top byte names the depth; bit 0 only repeats it.
  int32_t depth = 0;
  VXp_ForEachPixelType([&](auto pixel) {
    typedef VX_PixelTraits<decltype(pixel)> Traits;
    if (depth_flags >> 24 == Traits::kDepthFlags >> 24) depth = Traits::kDepth;
  });
  return depth;
}

int16_t VXp_WorldDepth(const VX_LayerDef* world) {
  if (!world) return 8;
  if (world->world_object) return world->world_object->Depth();
  const int32_t depth = VXp_DepthOfFlags(world->depth_flags);
  if (depth) return static_cast<int16_t>(depth);
  KU_ReportFailedVerification(VXp_kSiteCatchAll, 182, 0, "Unknown pixel format");
  return 8;
}

VX_Err VX_NewEffectWorld(void*, int32_t width, int32_t height, int32_t depth, bool clear, bool rb_backed,
                         VX_LayerDef* world) {
  if (!world) return VX_Err_None;
  const int32_t flags = (depth == 16 ? VX_WorldFlag_Deep : 0) | (clear ? VX_WorldFlag_Clear : 0) |
                        (rb_backed ? VX_WorldFlag_RBBacked : 0);
  return VXp_Guard([&]() -> VX_Err {
    if (depth != 8 && depth != 16 && depth != 32) throw VX_Err(VX_Err_BadParam);
    VX_World* object = VX_World::New(width, height, static_cast<int16_t>(depth), flags);
    if (!object) return VX_Err_OutOfMemory;
    uint32_t depth_flags = 0;
    if (VX_Err err = VXp_DispatchDepth(object->Depth(), {"Unknown pixel format", 159}, [&](auto pixel) {
          depth_flags = VX_PixelTraits<decltype(pixel)>::kDepthFlags;
        })) {
      delete object;
      throw err;
    }
    *world = VX_LayerDef{};
    world->data = object->data;
    world->row_stride = object->row_stride;
    world->width = object->width;
    world->height = object->height;
    world->content_rect = object->content_rect;
    world->depth_flags = depth_flags;
    world->world_object = object;
    world->rb_world = object->rb_world;
    world->ownership_tag = VX_kOwnedByEffect;
    return VX_Err_None;
  });
}

VX_Err VX_DisposeEffectWorld(void*, VX_LayerDef* world) {
  int32_t problem = -1;
  if (!world)
    problem = VXp_Msg_InvalidParameter;
  else if (world->ownership_tag != VX_kOwnedByEffect || !world->world_object)
    problem = VXp_Msg_DisposeForeignWorld;
  if (problem >= 0) {
    VXp_ReportMessage(VXp_Site(3), problem);
    return VX_Err_Reported;
  }
  if (world->world_object) delete world->world_object;
  *world = VX_LayerDef{};
  return VX_Err_None;
}

VX_Err VX_EffectWorldFromRBWorld(RB_WorldH rb_world, VX_LayerDef* world) {
  const int16_t bits = rb_world && *rb_world ? (*rb_world)->bits_per_pixel : 0;
  if ((bits != 128 && bits != 64 && bits != 32) || !world) {
    KU_ReportFailedVerification(VXp_Site(0x51), 1596, 0, "VX_Worlds can only be 128, 64 or 32 bits per pixel");
    return VX_Err_BadParam;
  }
  *world = VX_LayerDef{};
  world->depth_flags = VXp_DepthFlagsFor(bits / 4);
  const RB_World& bitmap = **rb_world;
  world->data = bitmap.pixels ? bitmap.pixels : RBp_GetPixBaseAddr(rb_world);
  world->row_stride = bitmap.row_stride;
  world->width = bitmap.width;
  world->height = bitmap.height;
  world->rb_world = rb_world;
  return VX_Err_None;
}

VX_Err VX_GetEffectWorldDepth(const VX_LayerDef* world, int32_t* depth_out) {
  if (!depth_out) return VX_Err_BadParam;
  *depth_out = VXp_WorldDepth(world);
  return VX_Err_None;
}

int16_t VX_DepthOfRBWorld(RB_WorldH rb_world) {
  return rb_world && *rb_world ? static_cast<int16_t>((*rb_world)->bits_per_pixel / 4) : 0;
}

namespace {

template <class Pixel>
VX_Err GetPixelData(VX_LayerDef* world, Pixel* pixels, Pixel** data_out, int32_t site, const char* text) {
  if (!data_out) return VX_Err_BadParam;
  *data_out = nullptr;
  if (!world) {
    KUp_ReportErrString(site, 8, text);
    return VX_Err_Reported;
  }
  if (VXp_WorldDepth(world) != VX_PixelTraits<Pixel>::kDepth) return VX_Err_None;
  *data_out = pixels ? pixels : static_cast<Pixel*>(world->data);
  return VX_Err_None;
}

}  // namespace

VX_Err VX_GetPixelData8(VX_LayerDef* world, VX_Pixel8* pixels, VX_Pixel8** data_out) {
  return GetPixelData(world, pixels, data_out, VXp_Site(0x53), "bad parameter passed to VX_GetPixelData8");
}

VX_Err VX_GetPixelData16(VX_LayerDef* world, VX_Pixel16* pixels, VX_Pixel16** data_out) {
  // The 16-bit routine has always shared the 8-bit routine's text.
  return GetPixelData(world, pixels, data_out, VXp_Site(0x54), "bad parameter passed to VX_GetPixelData8");
}

VX_Err VX_GetPixelDataFloat(VX_LayerDef* world, VX_PixelFloat* pixels, VX_PixelFloat** data_out) {
  return GetPixelData(world, pixels, data_out, VXp_kSiteCatchAll, "bad parameter passed to VX_GetPixelDataFloat");
}

VX_Err VXp_GetPixelFormat(const VX_LayerDef* world, VX_PixelFormat* format_out) {
  if (!world || !format_out) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, 328, 0, "Bad parameter to VXp_GetPixelFormat()");
    return VX_Err_BadParam;
  }
  return VXp_DispatchDepth(world, {"Unsupported pixel depth in VXp_GetPixelFormat()", 346},
                           [&](auto pixel) { *format_out = VX_PixelTraits<decltype(pixel)>::kFormat; });
}
