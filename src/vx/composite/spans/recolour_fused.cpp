// The behind and recolour stages of a row in one pass, when both of the
// descriptor's stages are the package's own kernels: an acceleration module
// may have replaced either slot, and then the staged path runs. Planned once
// for the rows of a call.
#include <cstring>

#include "composite/spans/LinearRows.h"
#include "composite/spans/SpanKernels.h"
#include "composite/spans/SpanVector.h"
#include "core/Internal.h"
#include "vx/Blend.h"

namespace {

// Whether taking an 8-bit pixel to linear light, back and to linear again
// lands where the first step did, for every code of these tables. Then a
// pixel the behind stage leaves alone needs no trip back to stored between
// the stages: the staged path's rounding would not move it.
bool LinearTripIsStable(const VX_LinearBlendingTables& t) {
  for (uint32_t c = 0; c < 256; ++c) {
    const VX_Pixel8 p{static_cast<uint8_t>(c), static_cast<uint8_t>(c), static_cast<uint8_t>(c), static_cast<uint8_t>(c)};
    const VX_Pixel16 l = vx::ToLinear(t, p);
    VX_Pixel8 back;
    vx::FromLinear(t, l, back);
    const VX_Pixel16 again = vx::ToLinear(t, back);
    if (std::memcmp(&l, &again, sizeof l) != 0) return false;
  }
  return true;
}

// Behind on linear rows. It leaves an opaque destination alone, so only the
// runs of other pixels go through it. With `round`, the pixels it changed
// go to stored and back to linear, as the staged path's trip between the
// stages takes them.
template <class Pixel, bool HasMask>
void BehindInLinearLight(int32_t count, const VX_BlendingMode<VX_Pixel16>& linear, const VX_Pixel16* ls,
                         const VX_Pixel16* lm, VX_Pixel16* ld, const VX_LinearBlendingTables* round) {
  constexpr uint16_t kWhite = VX_PixelTraits<VX_Pixel16>::kWhite;
  VX_Pixel16 before[64];
  for (int32_t i = 0; i < count;) {
    if (ld[i].alpha == kWhite) {
      ++i;
      continue;
    }
    int32_t end = i + 1;
    while (end < count && end - i < 64 && ld[end].alpha != kWhite) ++end;
    const int32_t n = end - i;
    std::memcpy(before, ld + i, n * sizeof *ld);
    vx::SpanBody<VX_Pixel16, XferBehind, HasMask>(n, linear, ls + i, HasMask ? lm + i : nullptr, ld + i);
    if (round)
      for (int32_t k = 0; k < n; ++k) {
        if (std::memcmp(&ld[i + k], &before[k], sizeof *ld) == 0) continue;
        Pixel stored;
        vx::FromLinear(*round, ld[i + k], stored);
        ld[i + k] = vx::ToLinear(*round, stored);
      }
    i = end;
  }
}

// With tables the staged path takes the row to linear light and back around
// each of the two stages. Here the source goes once, and the destination
// goes back to stored and to linear between the stages only where it must
// to round as the staged path does. The pass runs on AVX2 or wider.
template <class Pixel>
VX_Err RecolourInLinearLight(const VXp_RecolourPass<Pixel>& pass, int32_t count, const VX_BlendModeDescriptor<Pixel>& d,
                             const Pixel* source, const Pixel* mask, Pixel* destination) {
  constexpr VXp_Isa kIsa = VXp_Isa::AVX2;
  if (count <= 0) return VX_Err_None;
  const VX_LinearBlendingTables& t = *d.tables;
  vx::LinearSpan<Pixel> rows;
  if (const VX_Err err = rows.template Open<kIsa>(t, d.mode, count, source, mask, destination)) return err;
  // The staged path rounds the whole row between the stages; when the
  // trip is stable that moves only the pixels behind changed.
  const VX_LinearBlendingTables* round = pass.stable ? &t : nullptr;
  if (mask)
    BehindInLinearLight<Pixel, true>(count, rows.mode, rows.src, rows.mask, rows.dst, round);
  else
    BehindInLinearLight<Pixel, false>(count, rows.mode, rows.src, rows.mask, rows.dst, round);
  if (!pass.stable) {
    vx::FromLinearRow<kIsa>(t, rows.dst, count, destination);
    vx::ToLinearRow<kIsa>(t, destination, count, rows.dst);
  }
  if (const VX_Err err = pass.linear(count, rows.src, rows.mask, rows.mode.opacity, rows.mode.keep_alpha, false, rows.dst))
    return err;
  rows.template Close<kIsa>(t, count, destination);
  return VX_Err_None;
}

}  // namespace

template <class Pixel>
VXp_RecolourPass<Pixel> VXp_PlanRecolourPass(const VX_BlendModeDescriptor<Pixel>& d, bool has_mask, VXp_Isa isa) {
  constexpr bool kFloat = std::is_same_v<Pixel, VX_PixelFloat>;
  VXp_RecolourPass<Pixel> pass;
  const int32_t mode = d.mode.transfer_mode;
  const bool tables = d.tables != nullptr;
  if ((tables && kFloat) || d.uses_matte || !d.needs_behind || VX_XferFamilyOf(mode) != VX_XferFamily::Recolour ||
      isa < VXp_Isa::AVX2)
    return pass;
  VX_InnerBlendingFunc<Pixel> behind{nullptr}, blend{nullptr};
  const VX_GetInnerBlendingProc<Pixel> get =
      tables ? (has_mask ? &VX_GetInnerBlendingFunc<Pixel, true, true> : &VX_GetInnerBlendingFunc<Pixel, false, true>)
             : (has_mask ? &VX_GetInnerBlendingFunc<Pixel, true, false> : &VX_GetInnerBlendingFunc<Pixel, false, false>);
  if (get(XferBehind, &behind) || get(mode, &blend)) return pass;
  if (behind.func != d.behind_func.func || blend.func != d.blend_func.func) return pass;
  if (tables) {
    pass.linear = VXp_SpanRecolourFor<VX_Pixel16>(isa, mode);
    pass.stable = std::is_same_v<Pixel, VX_Pixel8> && LinearTripIsStable(*d.tables);
  } else {
    pass.direct = VXp_SpanRecolourFor<Pixel>(isa, mode);
  }
  return pass;
}

template <class Pixel>
VX_Err VXp_RunRecolourPass(const VXp_RecolourPass<Pixel>& pass, int32_t count, const VX_BlendModeDescriptor<Pixel>& d,
                           const Pixel* source, const Pixel* mask, Pixel* destination) {
  if constexpr (!std::is_same_v<Pixel, VX_PixelFloat>)
    if (pass.linear) return RecolourInLinearLight(pass, count, d, source, mask, destination);
  return pass.direct(count, source, mask, d.mode.opacity, d.mode.keep_alpha, true, destination);
}

#define VX_RECOLOUR_PASS_INSTANTIATE(Pixel)                                                                        \
  template VXp_RecolourPass<Pixel> VXp_PlanRecolourPass(const VX_BlendModeDescriptor<Pixel>&, bool, VXp_Isa);    \
  template VX_Err VXp_RunRecolourPass(const VXp_RecolourPass<Pixel>&, int32_t, const VX_BlendModeDescriptor<Pixel>&, \
                                      const Pixel*, const Pixel*, Pixel*);
VX_RECOLOUR_PASS_INSTANTIATE(VX_Pixel8)
VX_RECOLOUR_PASS_INSTANTIATE(VX_Pixel16)
VX_RECOLOUR_PASS_INSTANTIATE(VX_PixelFloat)
