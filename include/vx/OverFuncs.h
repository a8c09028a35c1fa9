// The table of replaceable operations. Exported routines with more than one
// implementation jump through a slot of VXp_G_OverFuncs, so a host or an
// acceleration module can replace them; VX_Birth fills it.
#pragma once

#include "vx/Types.h"

constexpr int VX_kOverFuncCount = 118;
extern void* VXp_G_OverFuncs[VX_kOverFuncCount];

// Writes one slot (1..117). Returns 3 for an index out of range.
VX_Err VX_SetOverrideFunc(int32_t index, void* function);

// Slot numbers. Slots not named here are unused.
enum VX_OverSlot : int32_t {
  VX_Slot_NNSample = 2,
  VX_Slot_SubpixelSample_Straight = 3,
  VX_Slot_SubpixelSample_Premul = 4,
  VX_Slot_AreaSample_Straight = 5,
  VX_Slot_AreaSample_Premul = 6,
  VX_Slot_CompositeRectDraft_Straight = 7,
  VX_Slot_CompositeRectDraft_Premul = 8,
  VX_Slot_CompositeRectBest_Straight = 9,
  VX_Slot_CompositeRectBest_Premul = 10,
  VX_Slot_PackedRowFirst = 17,  // 17..22: 8-bit row operations on two packed source rows
  VX_Slot_CopyBits_Draft = 23,
  VX_Slot_CopyBits_HQ_Straight = 24,
  VX_Slot_CopyBits_HQ_Premul = 25,
  VX_Slot_FastBlur_Straight = 26,
  VX_Slot_FastBlur_Premul = 27,
  VX_Slot_Convolve = 28,
  VX_Slot_TransferRect = 31,
  VX_Slot_TransformWorld = 32,
  // Premultiply row kernels, 8-bit; +37 gives the 16-bit slot, +71 the float one.
  VX_Slot_MatteBlack8 = 35,
  VX_Slot_UnmatteBlack8 = 36,
  VX_Slot_MatteWhite8 = 37,
  VX_Slot_UnmatteWhite8 = 38,
  VX_Slot_MatteGrey8 = 39,
  VX_Slot_UnmatteGrey8 = 40,
  VX_Slot_AlphaMerge8 = 41,
  VX_Slot_Iterate = 42,
  VX_Slot_IterateOrigin = 43,
  VX_Slot_IterateLUT = 44,
  VX_Slot_OpenDestination = 45,
  VX_Slot_CloseDestination = 46,
  VX_Slot_CompositeModeHelper = 47,
  VX_Slot_TransformHelper = 48,
  VX_Slot_IterateOriginUnclipped = 51,
  VX_Slot_PremulRect = 52,
  VX_Slot_IterateGeneric = 53,
  VX_Slot_BoxBlurUnoScan = 54,
  VX_Slot_SubpixelSampleComputeWeight = 57,
  VX_Slot_SubpixelSampleTranslateNoClip_Straight = 58,
  VX_Slot_SubpixelSamplePlus_Straight = 60,
  VX_Slot_SubpixelSampleNoClip_Straight = 61,
  VX_Slot_NNSample16 = 63,
  VX_Slot_SubpixelSample_Straight16 = 64,
  VX_Slot_AreaSample16 = 65,
  VX_Slot_SubpixelSampleTranslateNoClip_Straight16 = 68,
  VX_Slot_SubpixelSamplePlus_Straight16 = 70,
  VX_Slot_SubpixelSampleNoClip_Straight16 = 71,
  VX_Slot_MatteBlack16 = 72,
  VX_Slot_UnmatteBlack16 = 73,
  VX_Slot_MatteWhite16 = 74,
  VX_Slot_UnmatteWhite16 = 75,
  VX_Slot_MatteGrey16 = 76,
  VX_Slot_UnmatteGrey16 = 77,
  VX_Slot_AlphaMerge16 = 78,
  VX_Slot_MaskRow16To8 = 82,
  VX_Slot_SubpixelSampleNoClip_Straight_4 = 83,
  VX_Slot_SubpixelSampleTranslateNoClip_Straight_4 = 84,
  VX_Slot_SubpixelSpanSampleTranslateNoClip_Straight = 86,
  VX_Slot_SubpixelSpanSampleTranslateNoClip_Straight16 = 87,
  VX_Slot_BoxBlurDeepUnoScan = 92,
  VX_Slot_InnerBlendingFirst = 94,  // 94..105, see VX_InnerBlendingSlot
  VX_Slot_MatteBlackF = 106,
  VX_Slot_UnmatteBlackF = 107,
  VX_Slot_MatteWhiteF = 108,
  VX_Slot_UnmatteWhiteF = 109,
  VX_Slot_MatteGreyF = 110,
  VX_Slot_UnmatteGreyF = 111,
  VX_Slot_AlphaMergeF = 112,
  VX_Slot_TransferRectPlus = 115,
  VX_Slot_TransferKernel2 = 116,
  VX_Slot_TransferKernel3 = 117
};

// The slot of a VX_GetInnerBlendingFunc instance: for each combination of
// (has_mask, has_tables) in the order (F, F), (T, F), (F, T), (T, T), the
// 8-bit, 16-bit and float instances.
constexpr int32_t VX_InnerBlendingSlot(bool has_mask, bool has_tables, int depth_index) {
  return VX_Slot_InnerBlendingFirst + 3 * ((has_mask ? 1 : 0) + (has_tables ? 2 : 0)) + depth_index;
}

// Typed read of a slot.
template <class F>
inline F VXp_Slot(int32_t index) {
  return reinterpret_cast<F>(VXp_G_OverFuncs[index]);
}
