// Planning a row: which span stages run around a mode's kernel, taken from
// the table of replaceable operations so that a host's replacements apply.
#include "composite/mattes/MatteStages.h"
#include "composite/spans/SpanVector.h"
#include "core/Internal.h"
#include "vx/Blend.h"

namespace {

template <class Pixel>
void TakeMattePair(VX_BlendModeDescriptor<Pixel>& d, int32_t stage) {
  d.uses_matte = d.saves_alpha = d.merges_alpha = true;
  d.matte_func = VXp_GetIn<VX_MatteStageSlots<Pixel>>(stage);
  d.unmatte_func = VXp_GetIn<VX_MatteStageSlots<Pixel>>(stage + 1);
}

}  // namespace

template <class Pixel>
VX_BlendModeDescriptor<Pixel>::VX_BlendModeDescriptor(const VX_BlendingMode<Pixel>& mode_, bool has_mask,
                                                      const VX_LinearBlendingTables* tables_)
    : mode(mode_),
      behind_func{nullptr},
      matte_func(nullptr),
      unmatte_func(nullptr),
      blend_func{nullptr},
      alpha_func(nullptr),
      uses_matte(false),
      needs_behind(false),
      saves_alpha(false),
      merges_alpha(false),
      tables(tables_) {
  const int32_t variant = VX_InnerBlendingIndex(has_mask, tables_ != nullptr);
  if (auto get = VXp_GetIn<VX_InnerBlendingSlots<Pixel>>(variant)) {
    get(mode.transfer_mode, &blend_func);
    get(XferBehind, &behind_func);
  }
  alpha_func = VXp_GetSlot<VX_DepthSlots<Pixel>::kAlphaMerge>();
  switch (VX_XferFamilyOf(mode.transfer_mode)) {
    case VX_XferFamily::SpanOnly:
    case VX_XferFamily::Dissolve:
    case VX_XferFamily::AlphaOnly:
      break;
    case VX_XferFamily::Direct:
      // Copy and behind keep the destination's alpha themselves.
      saves_alpha = mode.transfer_mode != XferCopy && mode.transfer_mode != XferBehind;
      break;
    case VX_XferFamily::ThreeTerm:
      saves_alpha = true;
      break;
    case VX_XferFamily::Recolour:
      needs_behind = saves_alpha = true;
      break;
    case VX_XferFamily::BlackMatte:
    case VX_XferFamily::WhiteMatte:
    case VX_XferFamily::GreyMatte:
      TakeMattePair(*this, VXp_MatteStageOf(VX_XferFamilyOf(mode.transfer_mode)));
      break;
    case VX_XferFamily::None:
      VXp_ReportMessage(VXp_Site(0x35), VXp_Msg_UnimplementedBlendingMode);
      break;
  }
}

template struct VX_BlendModeDescriptor<VX_Pixel8>;
template struct VX_BlendModeDescriptor<VX_Pixel16>;
template struct VX_BlendModeDescriptor<VX_PixelFloat>;

template <class Pixel>
VXp_MatteLanesProc<Pixel> VXp_FusedMatteFor(const VX_BlendModeDescriptor<Pixel>& d, bool has_mask, VXp_Isa isa) {
  if (!d.uses_matte || !d.merges_alpha || d.tables || isa < VXp_Isa::AVX2) return nullptr;
  const int32_t mode = d.mode.transfer_mode;
  const int32_t stage = VXp_MatteStageOf(VX_XferFamilyOf(mode));
  if (stage < 0) return nullptr;
  if (!VXp_IsPackageStage<Pixel>(stage, reinterpret_cast<const void*>(d.matte_func)) ||
      !VXp_IsPackageStage<Pixel>(stage + 1, reinterpret_cast<const void*>(d.unmatte_func)) ||
      !VXp_IsPackageStage<Pixel>(VXp_kAlphaMergeStage, reinterpret_cast<const void*>(d.alpha_func)))
    return nullptr;
  VX_InnerBlendingFunc<Pixel> own{nullptr};
  const VX_Err err = has_mask ? VX_GetInnerBlendingFunc<Pixel, true, false>(mode, &own)
                              : VX_GetInnerBlendingFunc<Pixel, false, false>(mode, &own);
  if (err || !own.func || own.func != d.blend_func.func) return nullptr;
  return VXp_MatteLanesFor<Pixel>(isa, mode);
}

template VXp_MatteLanesProc<VX_Pixel8> VXp_FusedMatteFor(const VX_BlendModeDescriptor<VX_Pixel8>&, bool, VXp_Isa);
template VXp_MatteLanesProc<VX_Pixel16> VXp_FusedMatteFor(const VX_BlendModeDescriptor<VX_Pixel16>&, bool, VXp_Isa);
template VXp_MatteLanesProc<VX_PixelFloat> VXp_FusedMatteFor(const VX_BlendModeDescriptor<VX_PixelFloat>&, bool, VXp_Isa);
