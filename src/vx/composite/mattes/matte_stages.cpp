// Scalar matte stages and their place in the table of replaceable operations.
#include "composite/mattes/MatteStages.h"
#include "composite/mattes/MatteStagesVector.h"
#include "core/Internal.h"
#include "core/Slots.h"

namespace {

template <class S, class Pixel>
VX_Err RunStage(int32_t count, const Pixel* src, Pixel* dst) {
  return vx::RunMatteStage<S, Pixel>(count, src, dst);
}

template <class Pixel>
VX_Err AlphaMerge(int32_t count, const Pixel* src, typename VX_PixelTraits<Pixel>::Channel opacity, const Pixel* mask,
                  Pixel* dst) {
  return vx::RunAlphaMerge<Pixel>(count, src, opacity, mask, dst);
}

template <class Pixel>
VX_SpanFunc<Pixel> ScalarStage(int32_t stage) {
#define VX_MATTE_RUNNER(S) RunStage<S, Pixel>
  switch (stage) {
    VX_MATTE_STAGES(VX_MATTE_STAGE_ENTRY)
    default:
      return nullptr;
  }
#undef VX_MATTE_RUNNER
}

static_assert(VX_MatteStageSlots<VX_Pixel8>::kCount == VXp_kMatteStageCount, "one slot for each stage");

// The stages of one depth, then its alpha merge.
template <class Pixel>
void InstallDepth() {
  for (int32_t stage = 0; stage < VXp_kMatteStageCount; ++stage)
    VXp_InstallIn<VX_MatteStageSlots<Pixel>>(stage, ScalarStage<Pixel>(stage));
  VXp_Install<VX_DepthSlots<Pixel>::kAlphaMerge>(&AlphaMerge<Pixel>);
}

// What the package installed in the stage slots of each depth, the alpha
// merge last.
const void* g_own_stages[3][VXp_kAlphaMergeStage + 1];

template <class Pixel>
void RememberOwnStages() {
  const void** own = g_own_stages[VX_PixelTraits<Pixel>::kDepthIndex];
  for (int32_t stage = 0; stage < VXp_kMatteStageCount; ++stage)
    own[stage] = reinterpret_cast<const void*>(VXp_GetIn<VX_MatteStageSlots<Pixel>>(stage));
  own[VXp_kAlphaMergeStage] = reinterpret_cast<const void*>(VXp_GetSlot<VX_DepthSlots<Pixel>::kAlphaMerge>());
}

}  // namespace

template <class Pixel>
bool VXp_IsPackageStage(int32_t stage, const void* f) {
  return stage >= 0 && stage <= VXp_kAlphaMergeStage && f &&
         g_own_stages[VX_PixelTraits<Pixel>::kDepthIndex][stage] == f;
}
template bool VXp_IsPackageStage<VX_Pixel8>(int32_t, const void*);
template bool VXp_IsPackageStage<VX_Pixel16>(int32_t, const void*);
template bool VXp_IsPackageStage<VX_PixelFloat>(int32_t, const void*);

void VXp_InstallMatteStageSlots() {
  InstallDepth<VX_Pixel8>();
  InstallDepth<VX_Pixel16>();
  InstallDepth<VX_PixelFloat>();
  // Vector forms over the plain ones; 16 bits stay scalar.
  for (int32_t stage = 0; stage < VXp_kMatteStageCount; ++stage) {
    if (VXp_HasSSSE3()) VXp_InstallIn<VX_MatteStageSlots<VX_Pixel8>>(stage, VXp_MatteStage8_SSSE3(stage));
    if (VXp_HasAVX2()) VXp_InstallIn<VX_MatteStageSlots<VX_Pixel8>>(stage, VXp_MatteStage8_AVX2(stage));
    if (VXp_HasSSE2()) VXp_InstallIn<VX_MatteStageSlots<VX_PixelFloat>>(stage, VXp_MatteStageF_SSE2(stage));
  }
  if (VXp_HasSSE2()) VXp_Install<VX_Slot_AlphaMerge8>(&VXp_AlphaMerge8_SSE2);
  RememberOwnStages<VX_Pixel8>();
  RememberOwnStages<VX_Pixel16>();
  RememberOwnStages<VX_PixelFloat>();
}

// Scalar forms by name, for callers that must not take a replaced slot and
// for tests comparing vector forms against them.
template <class Pixel>
VX_SpanFunc<Pixel> VXp_ScalarMatteStage(int32_t stage) {
  return ScalarStage<Pixel>(stage);
}

template <class Pixel>
VX_AlphaMergeFunc<Pixel> VXp_ScalarAlphaMerge() {
  return &AlphaMerge<Pixel>;
}

template VX_SpanFunc<VX_Pixel8> VXp_ScalarMatteStage<VX_Pixel8>(int32_t);
template VX_SpanFunc<VX_Pixel16> VXp_ScalarMatteStage<VX_Pixel16>(int32_t);
template VX_SpanFunc<VX_PixelFloat> VXp_ScalarMatteStage<VX_PixelFloat>(int32_t);
template VX_AlphaMergeFunc<VX_Pixel8> VXp_ScalarAlphaMerge<VX_Pixel8>();
template VX_AlphaMergeFunc<VX_Pixel16> VXp_ScalarAlphaMerge<VX_Pixel16>();
template VX_AlphaMergeFunc<VX_PixelFloat> VXp_ScalarAlphaMerge<VX_PixelFloat>();
