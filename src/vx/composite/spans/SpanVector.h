// Vector forms of the span kernels, each in the units of its instruction
// set; a call picks them once, for the instruction set the CPU record
// allows. Each takes the inputs of the scalar kernel: a mask row (alpha
// read) or null, and the opacity (white is full).
#pragma once

#include "core/Internal.h"
#include "vx/Blend.h"
#include "vx/LinearBlending.h"
#include "vx/PixelTraits.h"
#include "vx/Types.h"

// XferOver at 8 bits; heads and tails run the per-pixel formula.
VX_Err VXp_SpanOver8_SSSE3(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                           VX_Pixel8* dst);
VX_Err VXp_SpanOver8_AVX2(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                          VX_Pixel8* dst);
// XferOver at 16 bits and float with AVX2, bit-exact with the scalar rule.
template <class Pixel>
VX_Err VXp_SpanOverDeep_AVX2(int32_t count, const Pixel* src, const Pixel* mask,
                             typename VX_PixelTraits<Pixel>::Channel opacity, Pixel* dst);
// XferCopy when something scales or the alpha is kept (otherwise the row is
// one block copy).
VX_Err VXp_SpanCopy8_SSE2(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                          bool keep_alpha, VX_Pixel8* dst);

// The recolour modes at each depth on vector lanes, from the modes' own
// formulas; with `behind` the behind stage runs first on the same pixels.
// Null for other modes.
template <class Pixel>
using VXp_SpanRecolourProc = VX_Err (*)(int32_t count, const Pixel* src, const Pixel* mask,
                                        typename VX_PixelTraits<Pixel>::Channel opacity, bool keep_alpha, bool behind,
                                        Pixel* dst);
template <class Pixel>
VXp_SpanRecolourProc<Pixel> VXp_SpanRecolour_AVX2(int32_t mode);
template <class Pixel>
VXp_SpanRecolourProc<Pixel> VXp_SpanRecolour_AVX512(int32_t mode);
// The form for an instruction set of AVX2 or wider.
template <class Pixel>
VXp_SpanRecolourProc<Pixel> VXp_SpanRecolourFor(VXp_Isa isa, int32_t mode) {
  return isa == VXp_Isa::AVX512 ? VXp_SpanRecolour_AVX512<Pixel>(mode) : VXp_SpanRecolour_AVX2<Pixel>(mode);
}

// The behind and recolour stages of a row in one pass, when the
// descriptor's are the package's own and the CPU has the vector form: on
// the stored pixels, or with tables on linear rows (8 and 16 bits), where
// `stable` says the tables' trip from 8 bits to linear and back lands where
// it started. Planned once for the rows of a call.
template <class Pixel>
struct VXp_RecolourPass {
  VXp_SpanRecolourProc<Pixel> direct = nullptr;
  VXp_SpanRecolourProc<VX_Pixel16> linear = nullptr;
  bool stable = false;
  bool Runs() const { return direct || linear; }
};
template <class Pixel>
VXp_RecolourPass<Pixel> VXp_PlanRecolourPass(const VX_BlendModeDescriptor<Pixel>& d, bool has_mask, VXp_Isa isa);
template <class Pixel>
VX_Err VXp_RunRecolourPass(const VXp_RecolourPass<Pixel>& pass, int32_t count, const VX_BlendModeDescriptor<Pixel>& d,
                           const Pixel* source, const Pixel* mask, Pixel* destination);

// A matte-family mode on lanes (null for other modes), in one of two passes:
// with `stages` the whole pipeline in one pass (flatten, colours, alpha
// merge, lift, and the old alpha kept with keep_alpha), bit for bit the
// staged pipeline with the package's own stages; without, the colours
// alone on a destination the pipeline has flattened.
template <class Pixel>
using VXp_MatteLanesProc = VX_Err (*)(int32_t count, const Pixel* src, const Pixel* mask,
                                      typename VX_PixelTraits<Pixel>::Channel opacity, bool stages, bool keep_alpha,
                                      Pixel* dst);
template <class Pixel>
VXp_MatteLanesProc<Pixel> VXp_MatteLanes_AVX2(int32_t mode);
template <class Pixel>
VXp_MatteLanesProc<Pixel> VXp_MatteLanes_AVX512(int32_t mode);
// The form for an instruction set of AVX2 or wider.
template <class Pixel>
VXp_MatteLanesProc<Pixel> VXp_MatteLanesFor(VXp_Isa isa, int32_t mode) {
  return isa == VXp_Isa::AVX512 ? VXp_MatteLanes_AVX512<Pixel>(mode) : VXp_MatteLanes_AVX2<Pixel>(mode);
}
// The one-pass pipeline for a descriptor, when it may stand for the staged
// pipeline: AVX2, no linear tables, the mask as the kernel expects it, and
// the package's own kernel and stages (a replaced slot keeps the stages).
template <class Pixel>
VXp_MatteLanesProc<Pixel> VXp_FusedMatteFor(const VX_BlendModeDescriptor<Pixel>& d, bool has_mask, VXp_Isa isa);

// Rows to linear light (8 and 16 bits to the 16-bit linear pixel) and back,
// through the blending tables, eight pixels a step; each returns how many
// leading pixels it converted (a multiple of eight), leaving the rest.
template <class Pixel>
int32_t VXp_ToLinearRow_AVX2(const VX_LinearBlendingTables& t, const Pixel* in, int32_t count, VX_Pixel16* out);
template <class Pixel>
int32_t VXp_FromLinearRow_AVX2(const VX_LinearBlendingTables& t, const VX_Pixel16* in, int32_t count, Pixel* out);

// Dissolve at 8 bits on eight rows side by side. A row's draws form one
// serial chain (each draw seeds the next), but rows are independent, so each
// row's chain takes one vector lane. Runs the leading multiple of eight
// pixels of every row, leaves each row's seed where its tail starts, and
// returns how many pixels it ran. The rows must not overlap one another.
struct VXp_DissolveRow8 {
  const VX_Pixel8* src;
  VX_Pixel8* dst;
  uint32_t seed;
};
int32_t VXp_DissolveRows8_AVX2(int32_t count, uint8_t opacity, bool keep_alpha, VXp_DissolveRow8* rows);
// Whether a descriptor's rows may run eight at a time: the package's own
// dissolve kernel at 8 bits, no mask or tables, and AVX2 or wider.
bool VXp_DissolveRowsUsable(const VX_BlendModeDescriptor<VX_Pixel8>& d, bool has_mask, VXp_Isa isa);
// Eight rows of a usable descriptor, tails included; false, with nothing
// written, when the rows' source and destination bytes meet.
bool VXp_DissolveRowGroup8(int32_t count, const VX_BlendModeDescriptor<VX_Pixel8>& d, VXp_DissolveRow8* rows);
