// The behind and recolour stages of a row in one pass, eight pixels at a
// time in registers, when both of the descriptor's stages are the package's
// own kernels: an acceleration module may have replaced either slot, and
// then the staged path runs.
#include "composite/SpanVector.h"
#include "core/Internal.h"
#include "vx/Blend.h"

template <class Pixel>
bool VXp_RunFusedRecolour(int32_t count, const VX_BlendModeDescriptor<Pixel>* d, const Pixel* source,
                          const Pixel* mask, Pixel* destination, VX_Err* err) {
  const int32_t mode = d->mode.transfer_mode;
  if (d->tables || d->uses_matte || !d->needs_behind || VX_XferFamilyOf(mode) != VX_XferFamily::Recolour ||
      !VXp_HasAVX2())
    return false;
  VX_InnerBlendingFunc<Pixel> behind{nullptr}, blend{nullptr};
  const VX_GetInnerBlendingProc<Pixel> get =
      mask ? &VX_GetInnerBlendingFunc<Pixel, true, false> : &VX_GetInnerBlendingFunc<Pixel, false, false>;
  if (get(XferBehind, &behind) || get(mode, &blend)) return false;
  if (behind.func != d->behind_func.func || blend.func != d->blend_func.func) return false;
  const VXp_SpanRecolourProc<Pixel> proc = VXp_SpanRecolourWidest<Pixel>(mode);
  if (!proc) return false;
  *err = proc(count, source, mask, d->mode.opacity, d->mode.keep_alpha, true, destination);
  return true;
}

template bool VXp_RunFusedRecolour(int32_t, const VX_BlendModeDescriptor<VX_Pixel8>*, const VX_Pixel8*,
                                   const VX_Pixel8*, VX_Pixel8*, VX_Err*);
template bool VXp_RunFusedRecolour(int32_t, const VX_BlendModeDescriptor<VX_Pixel16>*, const VX_Pixel16*,
                                   const VX_Pixel16*, VX_Pixel16*, VX_Err*);
template bool VXp_RunFusedRecolour(int32_t, const VX_BlendModeDescriptor<VX_PixelFloat>*, const VX_PixelFloat*,
                                   const VX_PixelFloat*, VX_PixelFloat*, VX_Err*);
