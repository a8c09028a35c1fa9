// The compositing entries of the table of replaceable operations: the
// composite rectangles, VX_TransferRect_S, the composite-mode helper
// (VX_GetTransferFlags), the twelve VX_GetInnerBlendingFunc instances and
// the body of VX_TransferRectPlus. The two other transfer kernels stay
// empty: the two transfers cover every caller.
#include "composite/transfer/TransferSlots.h"
#include "core/Internal.h"
#include "core/Slots.h"
#include "vx/Blend.h"

namespace {

template <class Pixel>
void InstallInnerBlending() {
  typedef VX_InnerBlendingSlots<Pixel> Run;
  VXp_InstallIn<Run>(VX_InnerBlendingIndex(false, false), &VX_GetInnerBlendingFunc<Pixel, false, false>);
  VXp_InstallIn<Run>(VX_InnerBlendingIndex(true, false), &VX_GetInnerBlendingFunc<Pixel, true, false>);
  VXp_InstallIn<Run>(VX_InnerBlendingIndex(false, true), &VX_GetInnerBlendingFunc<Pixel, false, true>);
  VXp_InstallIn<Run>(VX_InnerBlendingIndex(true, true), &VX_GetInnerBlendingFunc<Pixel, true, true>);
}

}  // namespace

void VXp_InstallCompositeSlots() {
  VXp_Install<VX_Slot_CompositeRectDraft_Straight>(&VX_CompositeRectDraft_Straight);
  VXp_Install<VX_Slot_CompositeRectDraft_Premul>(&VX_CompositeRectDraft_Premul);
  VXp_Install<VX_Slot_CompositeRectBest_Straight>(&VX_CompositeRectBest_Straight);
  VXp_Install<VX_Slot_CompositeRectBest_Premul>(&VX_CompositeRectBest_Premul);
  VXp_Install<VX_Slot_TransferRect>(&VX_TransferRect_S);
  VXp_Install<VX_Slot_CompositeModeHelper>(&VX_GetTransferFlags);
  InstallInnerBlending<VX_Pixel8>();
  InstallInnerBlending<VX_Pixel16>();
  InstallInnerBlending<VX_PixelFloat>();
  VXp_Install<VX_Slot_TransferRectPlus>(&VXp_TransferRectPlus_S);
}
