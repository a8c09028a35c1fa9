// The blend pipeline over one row, and the single-channel blend.
#include "composite/spans/LinearRows.h"
#include "composite/transfer/BlendPlan.h"
#include "core/ChannelMath.h"

template <class Pixel>
VXp_BlendPlan<Pixel>::VXp_BlendPlan(const VX_BlendModeDescriptor<Pixel>& d, bool has_mask, VXp_Isa isa)
    : d_(d),
      matte_pass_(VXp_FusedMatteFor(d, has_mask, isa)),
      recolour_pass_(VXp_PlanRecolourPass(d, has_mask, isa)) {}

template <class Pixel>
int64_t VXp_BlendPlan<Pixel>::ScratchBytes(int32_t count) const {
  return d_.tables ? vx::LinearScratchBytes<Pixel>(count) : 0;
}

template <class Pixel>
VX_Err VXp_BlendPlan<Pixel>::Run(int32_t count, const Pixel* source, const Pixel* mask, Channel* scratch,
                                 Pixel* destination) const {
  const VX_BlendModeDescriptor<Pixel>& d = d_;
  const bool save = d.saves_alpha && d.mode.keep_alpha && scratch;
  // Matte-family modes in one pass when nothing in the stages was replaced.
  if (matte_pass_) return matte_pass_(count, source, mask, d.mode.opacity, true, save, destination);
  if (save)
    for (int32_t i = 0; i < count; ++i) scratch[i] = destination[i].alpha;
  VX_Err err = VX_Err_None;
  // Behind and a recolour mode may run as one pass over the row.
  const bool fused = recolour_pass_.Runs();
  if (fused)
    err = VXp_RunRecolourPass(recolour_pass_, count, d, source, mask, destination);
  else if (d.uses_matte)
    err = d.matte_func ? d.matte_func(count, nullptr, destination) : VX_Err_None;
  else if (d.needs_behind && d.behind_func.func)
    err = d.behind_func.func(count, &d, d.tables, source, mask, destination);
  if (!err && !fused) err = d.blend_func.func(count, &d, d.tables, source, mask, destination);
  if (!err && d.merges_alpha && d.alpha_func) err = d.alpha_func(count, source, d.mode.opacity, mask, destination);
  if (!err && d.uses_matte && d.unmatte_func) err = d.unmatte_func(count, nullptr, destination);
  if (err) return err;
  if (save)
    for (int32_t i = 0; i < count; ++i) destination[i].alpha = scratch[i];
  return VX_Err_None;
}

template <class Pixel>
VX_Err VX_BlendPipeline(VX_ProgressInfo*, int32_t count, const VX_BlendModeDescriptor<Pixel>* d, const Pixel* source,
                        const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel* scratch, Pixel* destination) {
  if (!d) return VX_Err_BadParam;
  if (!d->blend_func.func) return VX_Err_Unimplemented;
  return VXp_BlendPlan<Pixel>(*d, mask != nullptr).Run(count, source, mask, scratch, destination);
}

namespace {

// The alpha a moved toward v by the weight t, at each depth.
inline uint8_t Toward(uint8_t a, uint8_t v, int32_t t) {
  const int32_t d = v - a;
  const int32_t x = t * d - (d < 0 ? 1 : 0) + 128;
  return static_cast<uint8_t>(a + ((x + (x >> 8)) >> 8));
}
inline uint16_t Toward(uint16_t a, uint16_t v, int32_t t) {
  return static_cast<uint16_t>(v <= a ? a - vx::mul16(t, a - v) : a + vx::mul16(t, v - a));
}

}  // namespace

template <class Pixel, class Channel>
void VX_BlendSingleChannel(int32_t count, Channel opacity, Channel value, const Channel* mask, Pixel* destination) {
  typedef vx::Arith<Pixel> A;
  for (int32_t i = 0; i < count; ++i) {
    Channel& a = destination[i].alpha;
    if constexpr (std::is_same_v<Channel, float>)
      a = a + mask[i] * opacity * (value - a);
    else
      a = Toward(a, value, A::mul(mask[i], opacity));
  }
}

#define VX_PIPELINE_INSTANTIATE(Pixel, Channel)                                                                   \
  template class VXp_BlendPlan<Pixel>;                                                                            \
  template VX_Err VX_BlendPipeline<Pixel>(VX_ProgressInfo*, int32_t, const VX_BlendModeDescriptor<Pixel>*,        \
                                          const Pixel*, const Pixel*, Channel*, Pixel*);                          \
  template void VX_BlendSingleChannel<Pixel, Channel>(int32_t, Channel, Channel, const Channel*, Pixel*);
VX_PIPELINE_INSTANTIATE(VX_Pixel8, uint8_t)
VX_PIPELINE_INSTANTIATE(VX_Pixel16, uint16_t)
VX_PIPELINE_INSTANTIATE(VX_PixelFloat, float)
