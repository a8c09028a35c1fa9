// The 8-bit matte stages on 16-bit lanes, written once over a register
// width W (W128 for SSSE3, W256 for AVX2: the intrinsics of one width under
// common names). Each unpacked register holds W::kPixels / 2 pixels. The
// divide of the lifts runs in float: for numerators below 2^16 the correctly
// rounded quotient truncates to the same integer as the exact one, so the
// result is the divide table's. Include only from the instruction set's own
// translation unit.
#pragma once

#include "composite/mattes/MatteStages.h"
#include "composite/mattes/MatteStagesVector.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace matte_wide {

template <class W>
struct Consts {
  typedef typename W::I I;
  I zero = W::Set16(0), k255 = W::Set16(255), k128 = W::Set16(128), k127 = W::Set16(127);
  // Lanes 0 and 4 of each 128 bits hold the two pixels' alphas.
  I alpha_lanes = W::Repeat16(-1, 0, 0, 0, -1, 0, 0, 0);
  I broadcast_alpha = W::Repeat8(0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9);
};

// mul8 in 16-bit lanes of values 0..255.
template <class W>
inline typename W::I Mul8(typename W::I c, typename W::I a, const Consts<W>& k) {
  const typename W::I t = W::Add16(W::Mul16(c, a), k.k128);
  return W::Shr16(W::Add16(t, W::Shr16(t, 8)), 8);
}

// div8(a, v): 255 when v >= a, else (v x 255 + (a >> 1)) / a.
template <class W>
inline typename W::I Div8(typename W::I a, typename W::I v, const Consts<W>& k) {
  const typename W::I n = W::Add16(W::Mul16(v, k.k255), W::Shr16(a, 1));
  auto quotient = [](typename W::I n32, typename W::I a32) {
    return W::Trunc(W::DivF(W::ToFloat(n32), W::ToFloat(a32)));
  };
  const typename W::I q_lo = quotient(W::Low16(n, k.zero), W::Low16(a, k.zero));
  const typename W::I q_hi = quotient(W::High16(n, k.zero), W::High16(a, k.zero));
  return W::Select(W::Gt16(a, v), W::Pack32(q_lo, q_hi), k.k255);
}

template <class W>
struct Rules {
  typedef typename W::I I;
  typedef Consts<W> K;
  struct BlackFlatten {
    static I Colors(I c, I a, bool, const K& k) { return Mul8(c, a, k); }
  };
  struct BlackLift {
    static I Colors(I c, I a, bool in_place, const K& k) {
      const I lifted = Div8(a, c, k);
      // In place a transparent pixel becomes zero; out of place the table stands.
      return in_place ? W::AndNot(W::Eq16(a, k.zero), lifted) : lifted;
    }
  };
  struct WhiteFlatten {
    static I Colors(I c, I a, bool, const K& k) { return W::Sub16(k.k255, Mul8(W::Sub16(k.k255, c), a, k)); }
  };
  struct WhiteLift {
    static I Colors(I c, I a, bool, const K& k) { return W::Sub16(k.k255, Div8(a, W::Sub16(k.k255, c), k)); }
  };
  struct GreyFlatten {
    static I Colors(I c, I a, bool, const K& k) {
      const I upper = W::Gt16(c, k.k127);
      const I above = W::Add16(k.k128, Mul8(W::Sub16(c, k.k128), a, k));
      const I below = W::Add16(c, Mul8(W::Sub16(k.k255, a), W::Sub16(k.k128, c), k));
      return W::Select(upper, above, below);
    }
  };
  struct GreyLift {
    static I Colors(I c, I a, bool, const K& k) {
      const I upper = W::Gt16(c, k.k127);
      const I distance = W::Select(upper, W::Sub16(c, k.k128), W::Sub16(k.k128, c));
      const I u = Div8(a, distance, k);
      const I near = W::Gt16(k.k128, u);
      const I above = W::Select(near, W::Add16(k.k128, u), k.k255);
      const I below = W::Select(near, W::Sub16(k.k128, u), k.zero);
      return W::Select(upper, above, below);
    }
  };
};

template <class W, class Op>
inline typename W::I Unpacked(typename W::I x, bool in_place, const Consts<W>& k) {
  const typename W::I a = W::Shuffle8(x, k.broadcast_alpha);
  return W::Select(k.alpha_lanes, x, Op::Colors(x, a, in_place, k));
}

template <class W, class Op, template <class> class Rule>
VX_Err Run(int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  typedef typename W::I I;
  if (count <= 0) return VX_Err_None;
  const bool in_place = !src || src == dst;
  const VX_Pixel8* s = in_place ? dst : src;
  const Consts<W> k;
  int32_t i = 0;
  for (; i + W::kPixels <= count; i += W::kPixels) {
    const I v = W::Load(s + i);
    const I lo = Unpacked<W, Op>(W::UnpackLo8(v, k.zero), in_place, k);
    const I hi = Unpacked<W, Op>(W::UnpackHi8(v, k.zero), in_place, k);
    W::Store(dst + i, W::PackUs16(lo, hi));
  }
  return RunMatteStage<Rule, VX_Pixel8>(count - i, in_place ? nullptr : src + i, dst + i);
}

template <class W>
VX_SpanFunc8 StageFor(int32_t stage) {
  typedef Rules<W> R;
  switch (stage) {
    case VXp_Stage_MatteBlack:
      return &Run<W, typename R::BlackFlatten, MatteBlack>;
    case VXp_Stage_UnmatteBlack:
      return &Run<W, typename R::BlackLift, UnmatteBlack>;
    case VXp_Stage_MatteWhite:
      return &Run<W, typename R::WhiteFlatten, MatteWhite>;
    case VXp_Stage_UnmatteWhite:
      return &Run<W, typename R::WhiteLift, UnmatteWhite>;
    case VXp_Stage_MatteGrey:
      return &Run<W, typename R::GreyFlatten, MatteGrey>;
    case VXp_Stage_UnmatteGrey:
      return &Run<W, typename R::GreyLift, UnmatteGrey>;
    default:
      return nullptr;
  }
}

}  // namespace matte_wide
}  // namespace VX_ISA_NS
}  // namespace vx
