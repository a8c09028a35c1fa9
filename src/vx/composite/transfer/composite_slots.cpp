// The compositing entries of the table of replaceable operations:
//   7..10    the composite rectangles
//   31       VX_TransferRect_S
//   47       VX_GetTransferFlags, the composite-mode helper
//   94..105  the twelve VX_GetInnerBlendingFunc instances
//   115      the body of VX_TransferRectPlus
// 116 and 117 stay empty: the two transfers above cover every caller.
#include "composite/transfer/TransferSlots.h"
#include "core/Internal.h"
#include "core/Slots.h"
#include "vx/Blend.h"

namespace {

template <class F>
void Put(int32_t slot, F* f) {
  VXp_G_OverFuncs[slot] = reinterpret_cast<void*>(f);
}

template <bool HasMask, bool HasTables>
void PutInnerBlending() {
  Put(VX_InnerBlendingSlot(HasMask, HasTables, 0), &VX_GetInnerBlendingFunc<VX_Pixel8, HasMask, HasTables>);
  Put(VX_InnerBlendingSlot(HasMask, HasTables, 1), &VX_GetInnerBlendingFunc<VX_Pixel16, HasMask, HasTables>);
  Put(VX_InnerBlendingSlot(HasMask, HasTables, 2), &VX_GetInnerBlendingFunc<VX_PixelFloat, HasMask, HasTables>);
}

}  // namespace

void VXp_InstallCompositeSlots() {
  Put(VX_Slot_CompositeRectDraft_Straight, &VX_CompositeRectDraft_Straight);
  Put(VX_Slot_CompositeRectDraft_Premul, &VX_CompositeRectDraft_Premul);
  Put(VX_Slot_CompositeRectBest_Straight, &VX_CompositeRectBest_Straight);
  Put(VX_Slot_CompositeRectBest_Premul, &VX_CompositeRectBest_Premul);
  Put(VX_Slot_TransferRect, &VX_TransferRect_S);
  Put(VX_Slot_CompositeModeHelper, &VX_GetTransferFlags);
  PutInnerBlending<false, false>();
  PutInnerBlending<true, false>();
  PutInnerBlending<false, true>();
  PutInnerBlending<true, true>();
  Put(VX_Slot_TransferRectPlus, &VXp_TransferRectPlus_S);
}
