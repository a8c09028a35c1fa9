// The callback block: every entry read from the table of replaceable
// operations or the named routines at the time of the call.
#include <cstring>

#include "core/Internal.h"
#include "core/NamedRoutines.h"
#include "vx/Callbacks.h"
#include "vx/EffectWorld.h"

namespace {

// The colour-space entries of the block, in their order.
VX_RoutineAddress VX_CallbackBlock::* const kColorEntries[VXp_kColorStemCount] = {
    &VX_CallbackBlock::rgb_to_hls, &VX_CallbackBlock::hls_to_rgb, &VX_CallbackBlock::rgb_to_yiq,
    &VX_CallbackBlock::yiq_to_rgb, &VX_CallbackBlock::luminance,  &VX_CallbackBlock::hue,
    &VX_CallbackBlock::lightness,  &VX_CallbackBlock::saturation};

// The entries that depend on quality and on the alpha interpretation.
void ApplyQuality(int32_t quality, int32_t flags, VX_CallbackBlock* b) {
  const bool draft = quality == 0;
  const bool straight = (flags & VX_CallbackFlag_Straight) != 0;
  if (draft) {
    b->sample = b->area_sample = VXp_SlotAddress(VX_Slot_NNSample);
    b->composite_rect =
        VXp_SlotAddress(straight ? VX_Slot_CompositeRectDraft_Straight : VX_Slot_CompositeRectDraft_Premul);
    b->copy = VXp_SlotAddress(VX_Slot_CopyBits_Draft);
    b->sample16 = b->area_sample16 = VXp_SlotAddress(VX_Slot_NNSample16);
  } else {
    b->sample = VXp_SlotAddress(straight ? VX_Slot_SubpixelSample_Straight : VX_Slot_SubpixelSample_Premul);
    b->area_sample = VXp_SlotAddress(straight ? VX_Slot_AreaSample_Straight : VX_Slot_AreaSample_Premul);
    b->composite_rect =
        VXp_SlotAddress(straight ? VX_Slot_CompositeRectBest_Straight : VX_Slot_CompositeRectBest_Premul);
    b->copy = VXp_SlotAddress(straight ? VX_Slot_CopyBits_HQ_Straight : VX_Slot_CopyBits_HQ_Premul);
    b->sample16 = VXp_SlotAddress(VX_Slot_SubpixelSample_Straight16);
    b->area_sample16 = VXp_SlotAddress(VX_Slot_AreaSample16);
  }
  b->blend = VXp_GetNamedRoutine(straight ? VXp_Named_Blend_Straight : VXp_Named_Blend_Premul);
  const VXp_ColorForm form = straight ? VXp_Color_Straight : VXp_Color_Premul;
  for (int32_t stem = 0; stem < VXp_kColorStemCount; ++stem)
    b->*kColorEntries[stem] = VXp_GetNamedRoutine(VXp_NamedColor(form, stem));
}

// The entries that are the same for every quality.
void FillFixedEntries(VX_CallbackBlock* b) {
  b->reserved_slot0 = VXp_SlotAddress(VX_Slot_Reserved0);
  b->reserved_slot1 = VXp_SlotAddress(VX_Slot_Reserved1);
  b->batch_sample = VX_BatchSampleStub;
  b->convolve = VXp_SlotAddress(VX_Slot_Convolve);
  b->fill = VX_Fill;
  b->gaussian_kernel = VXp_GetNamedRoutine(VXp_Named_GaussianKernel);
  b->iterate = VXp_GetSlot<VX_Slot_Iterate>();
  b->premul = VX_Premul;
  b->premul_color = VX_PremulColor;
  b->new_world = VX_NewWorldForPlugin;
  b->dispose_world = VX_DisposeEffectWorld;
  b->iterate_origin = VXp_GetSlot<VX_Slot_IterateOrigin>();
  b->iterate_lut = VXp_GetSlot<VX_Slot_IterateLUT>();
  b->transfer_rect = VX_TransferRectForPlugin;
  b->transform_world = VX_TransformWorldForPlugin;
  b->new_handle = VX_NewHandle;
  b->lock_handle = VX_LockHandle;
  b->unlock_handle = VX_UnlockHandle;
  b->dispose_handle = VX_DisposeHandle;
  b->get_callback_addr = VX_GetCallbackAddr;
  b->app = VX_AppCallback;
  VXp_FillANSICallbacks(&b->ansi);
  b->get_platform_data = VX_GetPlatformData;
  b->handle_size = VX_HandleSize;
  b->iterate_origin_unclipped = VXp_GetSlot<VX_Slot_IterateOriginUnclipped>();
  b->iterate_generic = VXp_GetSlot<VX_Slot_IterateGeneric>();
  b->resize_handle = VX_ResizeHandle;
  b->fill16 = VX_Fill16;
  b->premul_color16 = VX_PremulColor16;
  // One body serves every depth.
  VXp_Assign(b->iterate16, VXp_SlotAddress(VX_Slot_Iterate));
  VXp_Assign(b->iterate_origin16, VXp_SlotAddress(VX_Slot_IterateOrigin));
  VXp_Assign(b->iterate_origin_unclipped16, VXp_SlotAddress(VX_Slot_IterateOriginUnclipped));
  b->get_pixel_data8 = VX_GetPixelData8;
  b->get_pixel_data16 = VX_GetPixelData16;
}

}  // namespace

VX_Err VX_GetCallbackBlock(int32_t quality, int32_t flags, VX_CallbackBlock* block) {
  if (!block) return VXp_BadParameter(0x39);
  std::memset(static_cast<void*>(block), 0, sizeof *block);
  FillFixedEntries(block);
  ApplyQuality(quality, flags, block);
  return VX_Err_None;
}

VX_Err VX_SetCallbackBlockQuality(int32_t quality, int32_t flags, VX_CallbackBlock* block) {
  if (!block) return VXp_BadParameter(0x39);
  ApplyQuality(quality, flags, block);
  return VX_Err_None;
}
