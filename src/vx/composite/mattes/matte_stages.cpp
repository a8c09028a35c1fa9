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

constexpr int32_t kFirstStageSlot[3] = {VX_Slot_MatteBlack8, VX_Slot_MatteBlack16, VX_Slot_MatteBlackF};
constexpr int32_t kSlotsPerDepth = VXp_kAlphaMergeStage + 1;

// The stages of one depth, then its alpha merge, go to consecutive slots.
template <class Pixel>
void InstallDepth() {
  const int32_t first = kFirstStageSlot[VX_PixelTraits<Pixel>::kDepthIndex];
  for (int32_t stage = 0; stage < VXp_kMatteStageCount; ++stage)
    VXp_G_OverFuncs[first + stage] = reinterpret_cast<void*>(ScalarStage<Pixel>(stage));
  VXp_G_OverFuncs[first + VXp_kAlphaMergeStage] = reinterpret_cast<void*>(&AlphaMerge<Pixel>);
}

// What the package installed in the stage slots of each depth.
const void* g_own_stages[3][kSlotsPerDepth];

int32_t DepthOfSlot(int32_t slot) {
  for (int32_t depth = 0; depth < 3; ++depth)
    if (slot >= kFirstStageSlot[depth] && slot < kFirstStageSlot[depth] + kSlotsPerDepth) return depth;
  return -1;
}

}  // namespace

bool VXp_IsPackageStage(int32_t slot, const void* f) {
  const int32_t depth = DepthOfSlot(slot);
  return depth >= 0 && f && g_own_stages[depth][slot - kFirstStageSlot[depth]] == f;
}

void VXp_InstallMatteStageSlots() {
  InstallDepth<VX_Pixel8>();
  InstallDepth<VX_Pixel16>();
  InstallDepth<VX_PixelFloat>();
  // Vector forms over the plain ones; 16 bits stay scalar.
  for (int32_t stage = 0; stage < VXp_kMatteStageCount; ++stage) {
    if (VXp_HasSSSE3())
      VXp_G_OverFuncs[VX_Slot_MatteBlack8 + stage] = reinterpret_cast<void*>(VXp_MatteStage8_SSSE3(stage));
    if (VXp_HasAVX2())
      VXp_G_OverFuncs[VX_Slot_MatteBlack8 + stage] = reinterpret_cast<void*>(VXp_MatteStage8_AVX2(stage));
    if (VXp_HasSSE2())
      VXp_G_OverFuncs[VX_Slot_MatteBlackF + stage] = reinterpret_cast<void*>(VXp_MatteStageF_SSE2(stage));
  }
  if (VXp_HasSSE2()) VXp_G_OverFuncs[VX_Slot_AlphaMerge8] = reinterpret_cast<void*>(&VXp_AlphaMerge8_SSE2);
  for (int32_t depth = 0; depth < 3; ++depth)
    for (int32_t i = 0; i < kSlotsPerDepth; ++i) g_own_stages[depth][i] = VXp_G_OverFuncs[kFirstStageSlot[depth] + i];
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
