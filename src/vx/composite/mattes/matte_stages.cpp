// Scalar matte stages and their place in the table of replaceable operations.
#include "composite/mattes/MatteStages.h"
#include "composite/mattes/MatteStagesVector.h"
#include "core/Internal.h"
#include "core/Slots.h"

namespace {

template <template <class> class Rule, class Pixel>
VX_Err Stage(int32_t count, const Pixel* src, Pixel* dst) {
  return vx::RunMatteStage<Rule, Pixel>(count, src, dst);
}

template <class Pixel>
VX_Err AlphaMerge(int32_t count, const Pixel* src, typename VX_PixelTraits<Pixel>::Channel opacity, const Pixel* mask,
                  Pixel* dst) {
  return vx::RunAlphaMerge<Pixel>(count, src, opacity, mask, dst);
}

// The seven stages of one depth go to consecutive slots from `first`.
template <class Pixel>
void InstallDepth(int32_t first) {
  VXp_G_OverFuncs[first + 0] = reinterpret_cast<void*>(&Stage<vx::MatteBlack, Pixel>);
  VXp_G_OverFuncs[first + 1] = reinterpret_cast<void*>(&Stage<vx::UnmatteBlack, Pixel>);
  VXp_G_OverFuncs[first + 2] = reinterpret_cast<void*>(&Stage<vx::MatteWhite, Pixel>);
  VXp_G_OverFuncs[first + 3] = reinterpret_cast<void*>(&Stage<vx::UnmatteWhite, Pixel>);
  VXp_G_OverFuncs[first + 4] = reinterpret_cast<void*>(&Stage<vx::MatteGrey, Pixel>);
  VXp_G_OverFuncs[first + 5] = reinterpret_cast<void*>(&Stage<vx::UnmatteGrey, Pixel>);
  VXp_G_OverFuncs[first + 6] = reinterpret_cast<void*>(&AlphaMerge<Pixel>);
}

// What the package installed in the seven stage slots of each depth.
const void* g_own_stages[3][7];

int32_t DepthOfSlot(int32_t slot) {
  if (slot >= VX_Slot_MatteBlack8 && slot <= VX_Slot_AlphaMerge8) return 0;
  if (slot >= VX_Slot_MatteBlack16 && slot <= VX_Slot_AlphaMerge16) return 1;
  if (slot >= VX_Slot_MatteBlackF && slot <= VX_Slot_AlphaMergeF) return 2;
  return -1;
}

constexpr int32_t kFirstStageSlot[3] = {VX_Slot_MatteBlack8, VX_Slot_MatteBlack16, VX_Slot_MatteBlackF};

}  // namespace

bool VXp_IsPackageStage(int32_t slot, const void* f) {
  const int32_t depth = DepthOfSlot(slot);
  return depth >= 0 && f && g_own_stages[depth][slot - kFirstStageSlot[depth]] == f;
}

void VXp_InstallMatteStageSlots() {
  InstallDepth<VX_Pixel8>(VX_Slot_MatteBlack8);
  InstallDepth<VX_Pixel16>(VX_Slot_MatteBlack16);
  InstallDepth<VX_PixelFloat>(VX_Slot_MatteBlackF);
  // Vector forms over the plain ones; 16 bits stay scalar.
  for (int32_t stage = VXp_Stage_MatteBlack; stage <= VXp_Stage_UnmatteGrey; ++stage) {
    if (VXp_HasSSSE3())
      VXp_G_OverFuncs[VX_Slot_MatteBlack8 + stage] = reinterpret_cast<void*>(VXp_MatteStage8_SSSE3(stage));
    if (VXp_HasAVX2())
      VXp_G_OverFuncs[VX_Slot_MatteBlack8 + stage] = reinterpret_cast<void*>(VXp_MatteStage8_AVX2(stage));
    if (VXp_HasSSE2())
      VXp_G_OverFuncs[VX_Slot_MatteBlackF + stage] = reinterpret_cast<void*>(VXp_MatteStageF_SSE2(stage));
  }
  if (VXp_HasSSE2()) VXp_G_OverFuncs[VX_Slot_AlphaMerge8] = reinterpret_cast<void*>(&VXp_AlphaMerge8_SSE2);
  for (int32_t depth = 0; depth < 3; ++depth)
    for (int32_t i = 0; i < 7; ++i) g_own_stages[depth][i] = VXp_G_OverFuncs[kFirstStageSlot[depth] + i];
}

// Scalar forms by name, for callers that must not take a replaced slot and
// for tests comparing vector forms against them.
template <class Pixel>
VX_SpanFunc<Pixel> VXp_ScalarMatteStage(int32_t stage) {
  switch (stage) {
    case 0:
      return &Stage<vx::MatteBlack, Pixel>;
    case 1:
      return &Stage<vx::UnmatteBlack, Pixel>;
    case 2:
      return &Stage<vx::MatteWhite, Pixel>;
    case 3:
      return &Stage<vx::UnmatteWhite, Pixel>;
    case 4:
      return &Stage<vx::MatteGrey, Pixel>;
    case 5:
      return &Stage<vx::UnmatteGrey, Pixel>;
    default:
      return nullptr;
  }
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
