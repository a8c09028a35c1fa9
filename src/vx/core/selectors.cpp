// Numbered look-up of one routine. Selectors from 1 up name entries of the
// callback block, so both give the same routine for the same quality and
// flags; the negative ones name slots and named routines of their own.
#include <cstddef>
#include <cstring>

#include "core/Internal.h"
#include "core/NamedRoutines.h"
#include "vx/Callbacks.h"

namespace {

enum class Source : uint8_t { None, Block, Slot, Named, FastBlur };

struct Selector {
  Source source;
  size_t where;  // block offset, slot or named routine
};

constexpr Selector Block(size_t offset) { return {Source::Block, offset}; }
constexpr Selector Slot(VX_OverSlot slot) { return {Source::Slot, static_cast<size_t>(slot)}; }
constexpr Selector Named(VXp_NamedRoutine name) { return {Source::Named, static_cast<size_t>(name)}; }
constexpr Selector kNone{Source::None, 0};

#define VXP_BLOCK(field) Block(offsetof(VX_CallbackBlock, field))

// Indexed by selector - VX_kFirstSelector.
constexpr Selector kSelectors[VX_kLastSelector - VX_kFirstSelector + 1] = {
    Slot(VX_Slot_BoxBlurDeepUnoScan),                     // -13
    Slot(VX_Slot_SubpixelSampleNoClip_Straight),          // -12
    Slot(VX_Slot_SubpixelSamplePlus_Straight),            // -11
    kNone,                                                // -10
    Slot(VX_Slot_SubpixelSampleTranslateNoClip_Straight), // -9
    Slot(VX_Slot_SubpixelSampleComputeWeight),            // -8
    kNone,                                                // -7
    Slot(VX_Slot_BoxBlurUnoScan),                         // -6
    Named(VXp_Named_GaussianValue),                       // -5
    Named(VXp_Named_InsertPlanes),                        // -4
    Named(VXp_Named_ExtractPlanes),                       // -3
    {Source::FastBlur, 0},                                // -2
    Named(VXp_Named_PaintSpot),                           // -1
    kNone,                                                // 0
    VXP_BLOCK(reserved_slot0),
    VXP_BLOCK(sample),
    VXP_BLOCK(area_sample),
    VXP_BLOCK(batch_sample),
    VXP_BLOCK(reserved_slot1),
    VXP_BLOCK(composite_rect),
    VXP_BLOCK(blend),
    VXP_BLOCK(convolve),
    VXP_BLOCK(copy),
    VXP_BLOCK(fill),  // 10
    VXP_BLOCK(gaussian_kernel),
    VXP_BLOCK(iterate),
    VXP_BLOCK(premul),
    VXP_BLOCK(premul_color),
    VXP_BLOCK(rgb_to_hls),  // 15
    VXP_BLOCK(hls_to_rgb),
    VXP_BLOCK(rgb_to_yiq),
    VXP_BLOCK(yiq_to_rgb),
    VXP_BLOCK(luminance),
    VXP_BLOCK(hue),  // 20
    VXP_BLOCK(lightness),
    VXP_BLOCK(saturation),
    VXP_BLOCK(new_world),
    VXP_BLOCK(dispose_world),
    VXP_BLOCK(iterate_origin),  // 25
    VXP_BLOCK(iterate_lut),
    VXP_BLOCK(transfer_rect),
    VXP_BLOCK(transform_world),
    VXP_BLOCK(iterate_origin_unclipped),
    VXP_BLOCK(iterate_generic),  // 30
    VXP_BLOCK(sample16),
    VXP_BLOCK(area_sample16),
    VXP_BLOCK(fill16),
    VXP_BLOCK(premul_color16),
    VXP_BLOCK(iterate16),  // 35
    VXP_BLOCK(iterate_origin16),
    VXP_BLOCK(iterate_origin_unclipped16),
};
#undef VXP_BLOCK

void* Resolve(const Selector& s, int32_t quality, int32_t flags) {
  switch (s.source) {
    case Source::Block: {
      VX_CallbackBlock block;
      VX_GetCallbackBlock(quality, flags, &block);
      void* address;
      std::memcpy(&address, reinterpret_cast<const char*>(&block) + s.where, sizeof address);
      return address;
    }
    case Source::Slot:
      return VXp_SlotAddress(static_cast<VX_OverSlot>(s.where));
    case Source::Named:
      return VXp_GetNamedRoutine(static_cast<VXp_NamedRoutine>(s.where));
    case Source::FastBlur:
      return VXp_SlotAddress((flags & VX_CallbackFlag_Straight) ? VX_Slot_FastBlur_Straight : VX_Slot_FastBlur_Premul);
    case Source::None:
      break;
  }
  return nullptr;
}

}  // namespace

VX_Err VX_GetCallbackAddr(void*, int32_t quality, int32_t flags, int32_t selector, void** address_out) {
  if (!address_out) return VXp_BadParameter(1);
  *address_out = nullptr;
  const bool in_range = selector >= VX_kFirstSelector && selector <= VX_kLastSelector;
  const Selector& s = kSelectors[in_range ? selector - VX_kFirstSelector : 0];
  if (!in_range || s.source == Source::None) {
    VXp_ReportMessage(VXp_Site(1), VXp_Msg_InvalidSelector);
    return VX_Err_Obsolete;
  }
  *address_out = Resolve(s, quality, flags);
  // The reserved words are null by design; any other null is a family this
  // build doesn't have yet.
  const bool reserved = selector == VX_Sel_ReservedSlot0 || selector == VX_Sel_ReservedSlot1;
  return *address_out || reserved ? VX_Err_None : VX_Err_Unimplemented;
}
