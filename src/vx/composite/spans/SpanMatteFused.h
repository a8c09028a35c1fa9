// The whole blend pipeline of a matte-family mode in one pass, eight pixels
// in registers: flatten the destination, the mode's colours (its own XferOp
// formula on lanes), merge the alpha, lift, and keep the old alpha when
// asked. Each step is the pipeline's stage rule on lanes, so the result is
// the staged pipeline's, bit for bit, at every depth. 8-bit pixels go
// sixteen a step on 16-bit lanes.
//
// The body of the AVX2 and AVX-512 forms: include only from the
// translation unit of one instruction set.
#pragma once

#include "simd/LanesWordAVX2.h"
#include "composite/formulas/ModeEntries.h"
#include "composite/spans/SpanVector.h"
#include "composite/formulas/XferMatteModes.h"
#include "composite/formulas/XferSoftLight.h"

namespace {

using namespace vx::lanes;

// ---- the matte stage rules on lanes (in place: alpha at white is left) ----

template <VX_XferFamily Kind, class M>
struct LaneMatte;

template <class M>
struct LaneMatte<VX_XferFamily::BlackMatte, M> {
  typedef typename M::T T;
  static VX_INLINE T Flatten(T c, T a) { return M::mul(c, a); }
  // A transparent pixel becomes all zero.
  static VX_INLINE T Lift(T c, T a) {
    if constexpr (M::kFloat)
      return M::Select(a == T(0), T(0), c / a);
    else
      return M::Select(a == T(0), T(0), M::div(a, c));
  }
  static VX_INLINE T LiftAlpha(T a) { return M::Select(a == T(0), T(0), a); }
};

template <class M>
struct LaneMatte<VX_XferFamily::WhiteMatte, M> {
  typedef typename M::T T;
  static VX_INLINE T Flatten(T c, T a) { return M::inv(M::mul(M::inv(c), a)); }
  static VX_INLINE T Lift(T c, T a) { return M::inv(M::div(a, M::inv(c))); }
  static VX_INLINE T LiftAlpha(T a) { return a; }
};

template <class M>
struct LaneMatte<VX_XferFamily::GreyMatte, M> {
  typedef typename M::T T;
  static VX_INLINE T Flatten(T c, T a) {
    const T g(M::kGrey);
    return M::Select(c >= g, g + M::mul(c - g, a), c + M::mul(M::inv(a), g - c));
  }
  static VX_INLINE T Lift(T c, T a) {
    const T g(M::kGrey);
    const T up = M::div(a, c - g), down = M::div(a, g - c);
    return M::Select(c >= g, M::Select(up < g, g + up, T(M::kWhite)), M::Select(down < g, g - down, T(0)));
  }
  static VX_INLINE T LiftAlpha(T a) { return a; }
};

// ---- one row ---------------------------------------------------------------

template <class T>
struct RowState {
  T opacity;
  bool merge;         // the alpha merge runs (opacity not 0)
  bool merge_scales;  // the merge scales by opacity (opacity below white)
  bool keep;          // the old alpha is restored
};

// IO loads and stores a block of pixels as channel lanes of its arithmetic M.
template <class Pixel, class IO, int32_t Mode, bool Scale, bool HasMask>
struct Fused {
  typedef typename IO::M M;
  typedef typename M::T T;
  typedef vx::XferOp<Mode, Pixel, M> Op;
  typedef LaneMatte<VX_XferFamilyOf(Mode), M> Kind;

  static VX_INLINE void Block(const Pixel* src, const Pixel* mask, const RowState<T>& row, Pixel* dst) {
    const T white(M::kWhite), zero(0);
    T s[4], d[4], m[4];
    IO::Load(src, s);
    if constexpr (HasMask) IO::Load(mask, m);
    // The colours' source alpha, and the merge's (which scales only below white).
    T sa = s[0];
    if constexpr (Scale) sa = M::mul(sa, row.opacity);
    if constexpr (HasMask) sa = M::mul(sa, m[0]);
    T ta = sa;
    if (Scale && !row.merge_scales) ta = HasMask ? M::mul(s[0], m[0]) : s[0];
    IO::Load(dst, d);
    const T da = d[0];
    const Mask none = sa == zero, opaque = da == white;
    if (All(none & opaque)) return;
    T c[3];
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 3; ++k) c[k] = d[k + 1];
    if (!All(opaque))
      _Pragma("GCC unroll 4")
      for (int k = 0; k < 3; ++k) c[k] = M::Select(opaque, c[k], M::Keep(Kind::Flatten(c[k], da)));
    if (!All(none)) {
      const Mask full = sa == white;
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
    T ra = row.merge ? M::Keep(M::inv(M::mul(M::inv(ta), M::inv(da)))) : da;
    const Mask lifted = ra == white;
    if (!All(lifted)) {
      _Pragma("GCC unroll 4")
      for (int k = 0; k < 3; ++k) c[k] = M::Select(lifted, c[k], M::Keep(Kind::Lift(c[k], ra)));
      ra = Kind::LiftAlpha(ra);
    }
    d[0] = row.keep ? da : ra;
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 3; ++k) d[k + 1] = c[k];
    IO::Store(dst, d);
  }

  static VX_Err Run(int32_t count, const Pixel* src, const Pixel* mask, const RowState<T>& row, Pixel* dst) {
    EachBlockOf<IO::kPixels>(count, src, mask, dst,
                 [&](const Pixel* s, const Pixel* m, Pixel* d) VX_INLINE_LAMBDA { Block(s, m, row, d); });
    return VX_Err_None;
  }
};

// 8-bit pixels take the 16-bit lanes, except in exclusion, whose partial
// form scales a signed difference.
template <class Pixel, int32_t Mode>
struct LanesFor {
  typedef PixelLanes<Pixel> IO;
};
template <int32_t Mode>
  requires(Mode != XferExclusion)
struct LanesFor<VX_Pixel8, Mode> {
  typedef WordPixels8 IO;
};

template <class Pixel, int32_t Mode>
VX_Err Entry(int32_t count, const Pixel* src, const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel opacity,
             bool keep_alpha, Pixel* dst) {
  typedef typename LanesFor<Pixel, Mode>::IO IO;
  typedef typename IO::M M;
  if (count <= 0) return VX_Err_None;
  const RowState<typename M::T> row{typename M::T(opacity), opacity != 0, opacity < M::kWhite, keep_alpha};
  const bool scale = opacity != M::kWhite;
  if (mask)
    return scale ? Fused<Pixel, IO, Mode, true, true>::Run(count, src, mask, row, dst)
                 : Fused<Pixel, IO, Mode, false, true>::Run(count, src, mask, row, dst);
  return scale ? Fused<Pixel, IO, Mode, true, false>::Run(count, src, mask, row, dst)
               : Fused<Pixel, IO, Mode, false, false>::Run(count, src, mask, row, dst);
}

// The entry of a mode, null outside the matte family.
template <class Pixel>
VXp_FusedMatteProc<Pixel> FusedMatteEntry(int32_t mode) {
  return VXp_EntryForMode<VXp_FusedMatteProc<Pixel>>(mode, [](auto number, auto family) -> VXp_FusedMatteProc<Pixel> {
    if constexpr (VXp_IsMatteFamily(family())) return &Entry<Pixel, number()>;
    return nullptr;
  });
}

}  // namespace
