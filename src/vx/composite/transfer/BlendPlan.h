// A row of the blend pipeline, planned once for all the rows of a call: the
// one-pass forms that stand for the staged pipeline where nothing in it was
// replaced, for the instruction set of the call, and what the tables' trip
// to linear light allows. The plan reads its descriptor at each row (the
// dissolve seed moves from row to row) and owns nothing.
#pragma once

#include "composite/spans/SpanVector.h"
#include "core/Internal.h"
#include "vx/Blend.h"

template <class Pixel>
class VXp_BlendPlan {
 public:
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  VXp_BlendPlan(const VX_BlendModeDescriptor<Pixel>& d, bool has_mask, VXp_Isa isa = VXp_WidestIsa());
  // The pipeline on one row; `scratch` holds the saved alphas.
  VX_Err Run(int32_t count, const Pixel* source, const Pixel* mask, Channel* scratch, Pixel* destination) const;
  // Bytes of the scratch pool's third buffer a row of `count` pixels may
  // take (its linear rows); a call reserves them before its first row.
  int64_t ScratchBytes(int32_t count) const;

 private:
  const VX_BlendModeDescriptor<Pixel>& d_;
  VXp_MatteLanesProc<Pixel> matte_pass_;
  VXp_RecolourPass<Pixel> recolour_pass_;
};
