// The table of replaceable operations. Exported routines with more than one
// implementation jump through a slot of VXp_G_OverFuncs, so a host or an
// acceleration module can replace them; VX_Birth fills it.
//
// VX_OVER_SLOT_LIST is the one list of the slots: each one's name, number
// and routine type. The slot enum and the typed installers and readers are
// made from it, so a routine of the wrong type for its slot doesn't compile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "vx/Blend.h"
#include "vx/Callbacks.h"
#include "vx/CopyBits.h"
#include "vx/Fill.h"
#include "vx/Filters.h"
#include "vx/Iterate.h"
#include "vx/Sampling.h"
#include "vx/Transfer.h"
#include "vx/Transform.h"
#include "vx/Types.h"
#include "vx/UnoScan.h"

constexpr int VX_kOverFuncCount = 118;
extern void* VXp_G_OverFuncs[VX_kOverFuncCount];

// Writes one slot (1..117), whatever the routine's type: for hosts that
// replace operations by number. Returns 3 for an index out of range.
VX_Err VX_SetOverrideFunc(int32_t index, void* function);

// Marks instead of routine types. Reserved slots stay null. Unsettled slots
// belong to operation families whose routine type is not fixed yet: the
// typed installers and readers refuse them until the family's type replaces
// the mark here.
struct VX_ReservedSlotMark;
struct VX_UnsettledSlotMark;
typedef VX_ReservedSlotMark* VX_ReservedSlot;
typedef VX_UnsettledSlotMark* VX_UnsettledSlot;

// X(name, number, routine type), in number order; numbers not listed are
// unused. Comments stay inside the list as /* */, since a line comment would
// swallow the line joins.
#define VX_OVER_SLOT_LIST(X)                                                                          \
  X(Reserved0, 0, VX_ReservedSlot)                                                                   \
  X(Reserved1, 1, VX_ReservedSlot)                                                                   \
  /* Samplers, 8 bits. */                                                                            \
  X(NNSample, 2, VX_SampleProc8)                                                                     \
  X(SubpixelSample_Straight, 3, VX_SampleProc8)                                                      \
  X(SubpixelSample_Premul, 4, VX_SampleProc8)                                                        \
  X(AreaSample_Straight, 5, VX_SampleProc8)                                                          \
  X(AreaSample_Premul, 6, VX_SampleProc8)                                                            \
  X(CompositeRectDraft_Straight, 7, VX_CompositeRectProc)                                            \
  X(CompositeRectDraft_Premul, 8, VX_CompositeRectProc)                                              \
  X(CompositeRectBest_Straight, 9, VX_CompositeRectProc)                                             \
  X(CompositeRectBest_Premul, 10, VX_CompositeRectProc)                                              \
  /* 8-bit row operations on two packed source rows (VX_PackedRowSlots). */                          \
  X(PackedRow0, 17, VX_UnsettledSlot)                                                                \
  X(PackedRow1, 18, VX_UnsettledSlot)                                                                \
  X(PackedRow2, 19, VX_UnsettledSlot)                                                                \
  X(PackedRow3, 20, VX_UnsettledSlot)                                                                \
  X(PackedRow4, 21, VX_UnsettledSlot)                                                                \
  X(PackedRow5, 22, VX_UnsettledSlot)                                                                \
  X(CopyBits_Draft, 23, VX_CopyBitsProc)                                                             \
  X(CopyBits_HQ_Straight, 24, VX_CopyBitsProc)                                                       \
  X(CopyBits_HQ_Premul, 25, VX_CopyBitsProc)                                                         \
  X(FastBlur_Straight, 26, VX_BlurProc)                                                              \
  X(FastBlur_Premul, 27, VX_BlurProc)                                                                \
  X(Convolve, 28, VX_ConvolveProc)                                                                   \
  X(TransferRect, 31, VX_TransferRectProc)                                                           \
  X(TransformWorld, 32, VX_TransformWorldProc)                                                       \
  /* Matte stages of each depth (VX_MatteStageSlots), then its alpha merge. */                       \
  X(MatteBlack8, 35, VX_SpanFunc8)                                                                   \
  X(UnmatteBlack8, 36, VX_SpanFunc8)                                                                 \
  X(MatteWhite8, 37, VX_SpanFunc8)                                                                   \
  X(UnmatteWhite8, 38, VX_SpanFunc8)                                                                 \
  X(MatteGrey8, 39, VX_SpanFunc8)                                                                    \
  X(UnmatteGrey8, 40, VX_SpanFunc8)                                                                  \
  X(AlphaMerge8, 41, VX_BlendAlphaProc<VX_Pixel8>)                                                   \
  X(Iterate, 42, VX_IterateProc)                                                                     \
  X(IterateOrigin, 43, VX_IterateOriginProc)                                                         \
  X(IterateLUT, 44, VX_IterateLUTProc)                                                               \
  X(OpenDestination, 45, VX_OpenDestinationProc)                                                     \
  X(CloseDestination, 46, VX_CloseDestinationProc)                                                   \
  X(CompositeModeHelper, 47, VX_TransferFlagsProc)                                                   \
  X(TransformHelper, 48, VX_UnsettledSlot)                                                           \
  X(IterateOriginUnclipped, 51, VX_IterateOriginProc)                                                \
  X(PremulRect, 52, VX_PremulRectProc)                                                               \
  X(IterateGeneric, 53, VX_IterateGenericProc)                                                       \
  X(BoxBlurUnoScan, 54, VX_UnoScanProc8)                                                             \
  /* Mask rows: merge into a world's alpha (world depth, then mask depth), */                        \
  /* accumulate and transfer between mask buffers. */                                               \
  X(MergeMaskAlpha8, 55, VX_UnsettledSlot)                                                           \
  X(AccumulateUno8, 56, VX_UnsettledSlot)                                                            \
  X(SubpixelSampleComputeWeight, 57, VX_SampleWeightsProc)                                           \
  X(SubpixelSampleTranslateNoClip_Straight, 58, VX_TranslateSampleProc8)                             \
  X(SubpixelSamplePlus_Straight, 60, VX_PlusSampleProc8)                                             \
  X(SubpixelSampleNoClip_Straight, 61, VX_SampleProc8)                                               \
  X(MergeMaskAlpha16_8, 62, VX_UnsettledSlot)                                                        \
  /* Samplers, 16 bits. */                                                                           \
  X(NNSample16, 63, VX_SampleProc16)                                                                 \
  X(SubpixelSample_Straight16, 64, VX_SampleProc16)                                                  \
  X(AreaSample16, 65, VX_SampleProc16)                                                               \
  X(SubpixelSampleTranslateNoClip_Straight16, 68, VX_TranslateSampleProc16)                          \
  X(SubpixelSamplePlus_Straight16, 70, VX_PlusSampleProc16)                                          \
  X(SubpixelSampleNoClip_Straight16, 71, VX_SampleProc16)                                            \
  X(MatteBlack16, 72, VX_SpanFunc16)                                                                 \
  X(UnmatteBlack16, 73, VX_SpanFunc16)                                                               \
  X(MatteWhite16, 74, VX_SpanFunc16)                                                                 \
  X(UnmatteWhite16, 75, VX_SpanFunc16)                                                               \
  X(MatteGrey16, 76, VX_SpanFunc16)                                                                  \
  X(UnmatteGrey16, 77, VX_SpanFunc16)                                                                \
  X(AlphaMerge16, 78, VX_BlendAlphaProc<VX_Pixel16>)                                                 \
  X(AccumulateUno8To16, 81, VX_UnsettledSlot)                                                        \
  X(MaskRow16To8, 82, VX_UnsettledSlot)                                                              \
  X(SubpixelSampleNoClip_Straight_4, 83, VX_SampleQuadProc)                                          \
  X(SubpixelSampleTranslateNoClip_Straight_4, 84, VX_TranslateSampleQuadProc)                        \
  X(AccumulateUno16, 85, VX_UnsettledSlot)                                                           \
  X(SubpixelSpanSampleTranslateNoClip_Straight, 86, VX_SpanSampleProc8)                              \
  X(SubpixelSpanSampleTranslateNoClip_Straight16, 87, VX_SpanSampleProc16)                           \
  X(TransferUno8, 88, VX_UnsettledSlot)                                                              \
  X(TransferUno16, 89, VX_UnsettledSlot)                                                             \
  X(BoxBlurDeepUnoScan, 92, VX_UnoScanProc16)                                                        \
  X(MergeMaskAlpha16, 93, VX_UnsettledSlot)                                                          \
  /* VX_GetInnerBlendingFunc by (mask, tables), each at 8, 16 bits and float */                      \
  /* (VX_InnerBlendingSlots). */                                                                     \
  X(InnerBlending8, 94, VX_GetInnerBlendingProc<VX_Pixel8>)                                          \
  X(InnerBlending16, 95, VX_GetInnerBlendingProc<VX_Pixel16>)                                        \
  X(InnerBlendingF, 96, VX_GetInnerBlendingProc<VX_PixelFloat>)                                      \
  X(InnerBlendingMask8, 97, VX_GetInnerBlendingProc<VX_Pixel8>)                                      \
  X(InnerBlendingMask16, 98, VX_GetInnerBlendingProc<VX_Pixel16>)                                    \
  X(InnerBlendingMaskF, 99, VX_GetInnerBlendingProc<VX_PixelFloat>)                                  \
  X(InnerBlendingTables8, 100, VX_GetInnerBlendingProc<VX_Pixel8>)                                   \
  X(InnerBlendingTables16, 101, VX_GetInnerBlendingProc<VX_Pixel16>)                                 \
  X(InnerBlendingTablesF, 102, VX_GetInnerBlendingProc<VX_PixelFloat>)                               \
  X(InnerBlendingMaskTables8, 103, VX_GetInnerBlendingProc<VX_Pixel8>)                               \
  X(InnerBlendingMaskTables16, 104, VX_GetInnerBlendingProc<VX_Pixel16>)                             \
  X(InnerBlendingMaskTablesF, 105, VX_GetInnerBlendingProc<VX_PixelFloat>)                           \
  X(MatteBlackF, 106, VX_SpanFuncFloat)                                                              \
  X(UnmatteBlackF, 107, VX_SpanFuncFloat)                                                            \
  X(MatteWhiteF, 108, VX_SpanFuncFloat)                                                              \
  X(UnmatteWhiteF, 109, VX_SpanFuncFloat)                                                            \
  X(MatteGreyF, 110, VX_SpanFuncFloat)                                                               \
  X(UnmatteGreyF, 111, VX_SpanFuncFloat)                                                             \
  X(AlphaMergeF, 112, VX_BlendAlphaProc<VX_PixelFloat>)                                              \
  X(MergeMaskAlphaF_8, 113, VX_UnsettledSlot)                                                        \
  X(MergeMaskAlphaF_16, 114, VX_UnsettledSlot)                                                       \
  X(TransferRectPlus, 115, VX_TransferRectPlusProc)                                                  \
  X(TransferKernel2, 116, VX_UnsettledSlot)                                                          \
  X(TransferKernel3, 117, VX_UnsettledSlot)

enum VX_OverSlot : int32_t {
#define VX_SLOT_ENUMERATOR(name, number, type) VX_Slot_##name = number,
  VX_OVER_SLOT_LIST(VX_SLOT_ENUMERATOR)
#undef VX_SLOT_ENUMERATOR
  VX_Slot_PackedRowFirst = VX_Slot_PackedRow0,
  VX_Slot_InnerBlendingFirst = VX_Slot_InnerBlending8
};

// Each listed number lies in the table and is listed once.
constexpr int32_t VX_kListedSlots[] = {
#define VX_SLOT_NUMBER(name, number, type) number,
    VX_OVER_SLOT_LIST(VX_SLOT_NUMBER)
#undef VX_SLOT_NUMBER
};
constexpr bool VXp_EachSlotListedOnce() {
  bool seen[VX_kOverFuncCount] = {};
  for (int32_t n : VX_kListedSlots) {
    if (n < 0 || n >= VX_kOverFuncCount || seen[n]) return false;
    seen[n] = true;
  }
  return true;
}
static_assert(VXp_EachSlotListedOnce(), "a slot number lies outside the table or is listed twice");

// What the list says of one slot.
template <class Proc>
constexpr bool VX_IsRoutineType = std::is_pointer_v<Proc> && std::is_function_v<std::remove_pointer_t<Proc>>;

template <VX_OverSlot S>
struct VX_SlotTraits {
  static constexpr bool kListed = false;
  static constexpr bool kTyped = false;
  typedef void Proc;
};
#define VX_SLOT_TRAITS(name, number, type)                                                                     \
  template <>                                                                                                 \
  struct VX_SlotTraits<VX_Slot_##name> {                                                                      \
    static constexpr bool kListed = true;                                                                     \
    static constexpr bool kTyped = VX_IsRoutineType<type>;                                                    \
    typedef type Proc;                                                                                        \
    static_assert(kTyped || std::is_same_v<Proc, VX_ReservedSlot> || std::is_same_v<Proc, VX_UnsettledSlot>, \
                  "a slot holds a routine, or is marked reserved or unsettled");                              \
  };
VX_OVER_SLOT_LIST(VX_SLOT_TRAITS)
#undef VX_SLOT_TRAITS

template <VX_OverSlot S>
using VX_SlotProc = typename VX_SlotTraits<S>::Proc;

// Typed access to a table laid out as VXp_G_OverFuncs, such as the one a
// module is handed at load. Only a routine of the slot's own type goes in;
// reserved and unsettled slots take none.
template <VX_OverSlot S>
  requires VX_SlotTraits<S>::kTyped
inline void VX_InstallSlot(void** table, VX_SlotProc<S> routine) {
  table[S] = reinterpret_cast<void*>(routine);
}
template <VX_OverSlot S>
  requires VX_SlotTraits<S>::kTyped
inline VX_SlotProc<S> VX_ReadSlot(void* const* table) {
  return reinterpret_cast<VX_SlotProc<S>>(table[S]);
}

// The same on the package's own table.
template <VX_OverSlot S>
  requires VX_SlotTraits<S>::kTyped
inline void VXp_Install(VX_SlotProc<S> routine) {
  VX_InstallSlot<S>(VXp_G_OverFuncs, routine);
}
template <VX_OverSlot S>
  requires VX_SlotTraits<S>::kTyped
inline VX_SlotProc<S> VXp_GetSlot() {
  return VX_ReadSlot<S>(VXp_G_OverFuncs);
}
// The address as it stands, for tables handed to plug-ins untyped.
inline void* VXp_SlotAddress(VX_OverSlot slot) { return VXp_G_OverFuncs[slot]; }

// A run of slots of one routine type whose member is chosen at run time:
// member i (0 <= i < Count) is slot First + i x Stride.
template <VX_OverSlot First, int32_t Count, int32_t Stride = 1>
struct VX_SlotRun {
  typedef VX_SlotProc<First> Proc;
  static constexpr int32_t kCount = Count;
  static constexpr bool Has(int32_t i) { return i >= 0 && i < Count; }
  static constexpr VX_OverSlot At(int32_t i) { return static_cast<VX_OverSlot>(First + i * Stride); }

 private:
  template <std::size_t... I>
  static constexpr bool Uniform(std::index_sequence<I...>) {
    return ((VX_SlotTraits<At(I)>::kListed && std::is_same_v<VX_SlotProc<At(I)>, Proc>)&&...);
  }
  static_assert(Uniform(std::make_index_sequence<Count>()), "every member of a run is listed, with one type");
};

// Members out of range are never written and read as null.
template <class Run>
  requires VX_IsRoutineType<typename Run::Proc>
inline void VXp_InstallIn(int32_t i, typename Run::Proc routine) {
  if (Run::Has(i)) VXp_G_OverFuncs[Run::At(i)] = reinterpret_cast<void*>(routine);
}
template <class Run>
  requires VX_IsRoutineType<typename Run::Proc>
inline typename Run::Proc VXp_GetIn(int32_t i) {
  return Run::Has(i) ? reinterpret_cast<typename Run::Proc>(VXp_G_OverFuncs[Run::At(i)]) : nullptr;
}

// The slots of each depth that come in runs.
template <class Pixel>
struct VX_DepthSlots;
template <>
struct VX_DepthSlots<VX_Pixel8> {
  static constexpr VX_OverSlot kMatteBlack = VX_Slot_MatteBlack8;
  static constexpr VX_OverSlot kAlphaMerge = VX_Slot_AlphaMerge8;
  static constexpr VX_OverSlot kInnerBlending = VX_Slot_InnerBlending8;
};
template <>
struct VX_DepthSlots<VX_Pixel16> {
  static constexpr VX_OverSlot kMatteBlack = VX_Slot_MatteBlack16;
  static constexpr VX_OverSlot kAlphaMerge = VX_Slot_AlphaMerge16;
  static constexpr VX_OverSlot kInnerBlending = VX_Slot_InnerBlending16;
};
template <>
struct VX_DepthSlots<VX_PixelFloat> {
  static constexpr VX_OverSlot kMatteBlack = VX_Slot_MatteBlackF;
  static constexpr VX_OverSlot kAlphaMerge = VX_Slot_AlphaMergeF;
  static constexpr VX_OverSlot kInnerBlending = VX_Slot_InnerBlendingF;
};

// The six matte stages of a depth: flatten and lift against black, white
// and grey, in that order.
template <class Pixel>
using VX_MatteStageSlots = VX_SlotRun<VX_DepthSlots<Pixel>::kMatteBlack, 6>;
// The four VX_GetInnerBlendingFunc instances of a depth, by
// VX_InnerBlendingIndex.
template <class Pixel>
using VX_InnerBlendingSlots = VX_SlotRun<VX_DepthSlots<Pixel>::kInnerBlending, 4, 3>;
constexpr int32_t VX_InnerBlendingIndex(bool has_mask, bool has_tables) {
  return (has_mask ? 1 : 0) + (has_tables ? 2 : 0);
}
using VX_PackedRowSlots = VX_SlotRun<VX_Slot_PackedRow0, 6>;
