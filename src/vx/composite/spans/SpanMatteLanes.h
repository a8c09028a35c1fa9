// The matte-family modes on lanes, eight or sixteen pixels a step. One
// kernel serves two passes:
// - the whole blend pipeline of the mode in one pass: flatten the
//   destination, the mode's colours (its own XferOp formula on lanes),
//   merge the alpha, lift, and keep the old alpha when asked; each step is
//   the pipeline's stage rule on lanes, so the result is the staged
//   pipeline's, bit for bit, at every depth;
// - the colours alone, on a destination the staged pipeline has flattened
//   (when a stage was replaced, or in linear light).
// 8-bit pixels go sixteen a step on 16-bit lanes, except in exclusion,
// whose partial form scales a signed difference.
//
// The body of the AVX2 and AVX-512 forms: include only from the
// translation unit of one instruction set and depth (VX_MATTE_LANES_UNIT).
#pragma once

#include "composite/formulas/ModeEntries.h"
#include "composite/formulas/XferMatteModes.h"
#include "composite/formulas/XferSoftLightLanes.h"
#include "composite/mattes/MatteStages.h"
#include "composite/spans/SpanLanes.h"
#include "composite/spans/SpanVector.h"

namespace {

using namespace vx::simd;

template <class T>
struct RowState {
  T opacity;
  bool scale;         // the colours' alpha scales by opacity (opacity not white)
  bool stages;        // flatten, merge and lift run: the whole pipeline
  bool merge;         // the alpha merge runs (opacity not 0)
  bool merge_scales;  // the merge scales by opacity (opacity below white)
  bool keep;          // the old alpha is restored
};

template <class Pixel, class L, int32_t Mode, bool HasMask>
struct MatteLanes {
  typedef typename L::M M;
  typedef typename M::T T;
  typedef vx::XferOp<Mode, Pixel, M> Op;
  typedef vx::MatteRules<VXp_MatteColourOf(VX_XferFamilyOf(Mode)), M> Matte;

  static VX_INLINE void Block(const Pixel* src, const Pixel* mask, const RowState<T>& row, Pixel* dst) {
    const T white(M::kWhite), zero(0);
    T s[4], d[4], m[4];
    L::Load(src, s);
    if constexpr (HasMask) L::Load(mask, m);
    // The colours' source alpha, and the merge's (which scales only below white).
    T sa = s[0];
    if (row.scale) sa = M::mul(sa, row.opacity);
    if constexpr (HasMask) sa = M::mul(sa, m[0]);
    T ta = sa;
    if (row.scale && !row.merge_scales) ta = HasMask ? M::mul(s[0], m[0]) : s[0];
    L::Load(dst, d);
    const T da = d[0];
    const auto none = sa == zero, opaque = da == white;
    if (All(row.stages ? none & opaque : none)) return;
    T c[3];
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 3; ++k) c[k] = d[k + 1];
    if (row.stages && !All(opaque))
      _Pragma("GCC unroll 4")
      for (int k = 0; k < 3; ++k) c[k] = M::Select(opaque, c[k], M::Keep(Matte::Flatten(c[k], da)));
    if (!All(none)) {
      const auto full = sa == white;
      _Pragma("GCC unroll 4")
      for (int k = 0; k < 3; ++k) {
        T x;
        if (All(full))
          x = Op::F(s[k + 1], c[k]);
        else if (None(full))
          x = Op::P(s[k + 1], sa, c[k]);
        else
          x = M::Select(full, Op::F(s[k + 1], c[k]), Op::P(s[k + 1], sa, c[k]));
        c[k] = M::Select(none, c[k], M::Keep(x));
      }
    }
    T ra = da;
    if (row.stages) {
      if (row.merge) ra = M::Keep(M::Union(ta, da));
      // In place the lift leaves alpha at white alone and clears a
      // transparent pixel lifted off black.
      const auto lifted = ra == white;
      if (!All(lifted))
        _Pragma("GCC unroll 4")
        for (int k = 0; k < 3; ++k) {
          T x = M::Keep(Matte::Lift(c[k], ra));
          if constexpr (VXp_MatteColourOf(VX_XferFamilyOf(Mode)) == VXp_MatteColour::Black)
            x = M::Select(ra == zero, zero, x);
          c[k] = M::Select(lifted, c[k], x);
        }
    }
    d[0] = row.keep ? da : ra;
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 3; ++k) d[k + 1] = c[k];
    L::Store(dst, d);
  }

  // The row's state is copied into the loop, so that the stores to the
  // destination can't be taken to change it and it stays in registers.
  static VX_Err Run(int32_t count, const Pixel* src, const Pixel* mask, const RowState<T> row, Pixel* dst) {
    EachBlockOf<L::kPixels>(count, src, mask, dst,
                            [row](const Pixel* s, const Pixel* m, Pixel* d) VX_INLINE_LAMBDA { Block(s, m, row, d); });
    return VX_Err_None;
  }
};

template <class Pixel, int32_t Mode>
VX_Err Entry(int32_t count, const Pixel* src, const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel opacity,
             bool stages, bool keep_alpha, Pixel* dst) {
  typedef vx::LanesOf<Pixel, Mode != XferExclusion> L;
  typedef typename L::M M;
  typedef typename M::T T;
  if (count <= 0) return VX_Err_None;
  const RowState<T> row{T(opacity), opacity != M::kWhite, stages, stages && opacity != 0, opacity < M::kWhite,
                        stages && keep_alpha};
  return mask ? MatteLanes<Pixel, L, Mode, true>::Run(count, src, mask, row, dst)
              : MatteLanes<Pixel, L, Mode, false>::Run(count, src, mask, row, dst);
}

// The entry of a mode, null outside the matte family.
template <class Pixel>
VXp_MatteLanesProc<Pixel> MatteLanesEntry(int32_t mode) {
  typedef VXp_MatteLanesProc<Pixel> Proc;
  return VXp_EntryForMode<Proc>(mode, [](auto number, auto family) -> Proc {
    if constexpr (VXp_IsMatteFamily(family())) return &Entry<Pixel, number()>;
    return nullptr;
  });
}

}  // namespace

// A unit's instantiation: the matte-family entries of one depth with one
// instruction set.
#define VX_MATTE_LANES_UNIT(Pixel, Isa)                                                     \
  template <class P>                                                                        \
  VXp_MatteLanesProc<P> VXp_MatteLanes_##Isa(int32_t mode) {                                \
    return MatteLanesEntry<P>(mode);                                                        \
  }                                                                                         \
  template VXp_MatteLanesProc<Pixel> VXp_MatteLanes_##Isa<Pixel>(int32_t);
