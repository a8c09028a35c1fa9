// The behind and recolour stages of a row in one pass, eight pixels at a
// time in registers, when both of the descriptor's stages are the package's
// own kernels: an acceleration module may have replaced either slot, and
// then the staged path runs.
#include <cstring>
#include <memory>
#include <new>

#include "composite/spans/SpanTable.h"
#include "composite/spans/SpanVector.h"
#include "core/Internal.h"
#include "vx/Blend.h"

namespace {

using vx::XferLinearPixel;

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
// to round as the staged path does.
template <class Pixel>
VX_Err RecolourInLinearLight(int32_t count, const VX_BlendModeDescriptor<Pixel>* d, const Pixel* source,
                             const Pixel* mask, Pixel* destination) {
  typedef VX_Pixel16 L;
  const VXp_SpanRecolourProc<L> proc = VXp_SpanRecolourWidest<L>(d->mode.transfer_mode);
  if (count <= 0) return VX_Err_None;
  const VX_LinearBlendingTables& t = *d->tables;
  const size_t n = static_cast<size_t>(count);
  std::unique_ptr<L[]> rows(new (std::nothrow) L[n * (mask ? 3 : 2)]);
  if (!rows) return VX_Err_OutOfMemory;
  L* ls = rows.get();
  L* ld = ls + n;
  L* lm = mask ? ld + n : nullptr;
  vx::ToLinearRow(t, source, count, ls);
  vx::ToLinearRow(t, destination, count, ld);
  if (mask)
    for (size_t i = 0; i < n; ++i) lm[i] = L{static_cast<uint16_t>(vx::LinearAlpha(Pixel{}, mask[i].alpha)), 0, 0, 0};
  const VX_BlendingMode<L> linear{d->mode.transfer_mode, d->mode.dissolve_seed,
                                  static_cast<uint16_t>(vx::LinearAlpha(Pixel{}, d->mode.opacity)), d->mode.keep_alpha};
  // The staged path rounds the whole row between the stages; when the
  // trip is stable that moves only the pixels behind changed.
  const bool stable = std::is_same_v<Pixel, VX_Pixel8> && LinearTripIsStable(t);
  const VX_LinearBlendingTables* round = stable ? &t : nullptr;
  if (mask)
    BehindInLinearLight<Pixel, true>(count, linear, ls, lm, ld, round);
  else
    BehindInLinearLight<Pixel, false>(count, linear, ls, lm, ld, round);
  if (!stable) {
    vx::FromLinearRow(t, ld, count, destination);
    vx::ToLinearRow(t, destination, count, ld);
  }
  if (const VX_Err err = proc(count, ls, lm, linear.opacity, linear.keep_alpha, false, ld)) return err;
  vx::FromLinearRow(t, ld, count, destination);
  return VX_Err_None;
}

}  // namespace

template <class Pixel>
bool VXp_RunFusedRecolour(int32_t count, const VX_BlendModeDescriptor<Pixel>* d, const Pixel* source,
                          const Pixel* mask, Pixel* destination, VX_Err* err) {
  constexpr bool kFloat = std::is_same_v<Pixel, VX_PixelFloat>;
  const int32_t mode = d->mode.transfer_mode;
  const bool tables = d->tables != nullptr;
  if ((tables && kFloat) || d->uses_matte || !d->needs_behind || VX_XferFamilyOf(mode) != VX_XferFamily::Recolour ||
      !VXp_HasAVX2())
    return false;
  VX_InnerBlendingFunc<Pixel> behind{nullptr}, blend{nullptr};
  const VX_GetInnerBlendingProc<Pixel> get =
      tables ? (mask ? &VX_GetInnerBlendingFunc<Pixel, true, true> : &VX_GetInnerBlendingFunc<Pixel, false, true>)
             : (mask ? &VX_GetInnerBlendingFunc<Pixel, true, false> : &VX_GetInnerBlendingFunc<Pixel, false, false>);
  if (get(XferBehind, &behind) || get(mode, &blend)) return false;
  if (behind.func != d->behind_func.func || blend.func != d->blend_func.func) return false;
  if constexpr (!kFloat) {
    if (tables) {
      if (!VXp_SpanRecolourWidest<VX_Pixel16>(mode)) return false;
      *err = RecolourInLinearLight(count, d, source, mask, destination);
      return true;
    }
  }
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
