// Two blocks of lanes as one operand: every operation runs on both, so a
// long formula's two independent chains sit side by side in the instruction
// stream. The recolour steps are a chain of about 130 cycles a block with a
// divide in it twice, longer than the processor's window reaches across
// blocks; paired, the window holds twice the independent work.
#pragma once

#include <type_traits>

#include "simd/Base.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

template <class X>
struct Two {
  X lo, hi;
  Two() = default;
  Two(X a, X b) : lo(a), hi(b) {}
  template <class C, class = std::enable_if_t<std::is_arithmetic_v<C>>>
  Two(C c) : lo(X(c)), hi(X(c)) {}
};

#define VX_TWO_BINARY(op)                                                      \
  template <class X>                                                           \
  VX_INLINE auto operator op(Two<X> a, Two<X> b)->Two<decltype(a.lo op b.lo)> { \
    return {a.lo op b.lo, a.hi op b.hi};                                       \
  }
VX_TWO_BINARY(+)
VX_TWO_BINARY(-)
VX_TWO_BINARY(*)
VX_TWO_BINARY(&)
VX_TWO_BINARY(|)
VX_TWO_BINARY(<)
VX_TWO_BINARY(>)
VX_TWO_BINARY(<=)
VX_TWO_BINARY(>=)
VX_TWO_BINARY(==)
VX_TWO_BINARY(!=)
VX_TWO_BINARY(&&)
VX_TWO_BINARY(||)
#undef VX_TWO_BINARY

template <class X>
VX_INLINE auto operator!(Two<X> a) -> Two<decltype(!a.lo)> {
  return {!a.lo, !a.hi};
}
template <class M>
VX_INLINE bool All(Two<M> m) {
  return All(m.lo & m.hi);
}
template <class M>
VX_INLINE bool None(Two<M> m) {
  return None(m.lo | m.hi);
}

// The arithmetic L on pairs of its operands, with the same names.
template <class L>
struct Twice {
  typedef Two<typename L::T> T;
  typedef decltype(typename L::T() < typename L::T()) LaneMask;
  typedef Two<LaneMask> B;
  static constexpr bool kFloat = L::kFloat, k8 = L::k8, k16 = L::k16;
  static constexpr auto kWhite = L::kWhite, kGrey = L::kGrey, kWhite2 = L::kWhite2;

  static VX_INLINE T Min(T a, T b) { return {L::Min(a.lo, b.lo), L::Min(a.hi, b.hi)}; }
  static VX_INLINE T Max(T a, T b) { return {L::Max(a.lo, b.lo), L::Max(a.hi, b.hi)}; }
  static VX_INLINE T Select(B c, T a, T b) { return {L::Select(c.lo, a.lo, b.lo), L::Select(c.hi, a.hi, b.hi)}; }
  static VX_INLINE bool Any(B m) { return L::Any(m.lo | m.hi); }
  static VX_INLINE T mul(T a, T b) { return {L::mul(a.lo, b.lo), L::mul(a.hi, b.hi)}; }
  static VX_INLINE T inv(T a) { return {L::inv(a.lo), L::inv(a.hi)}; }
  static VX_INLINE T lerp(T d, T c, T a) { return {L::lerp(d.lo, c.lo, a.lo), L::lerp(d.hi, c.hi, a.hi)}; }
  static VX_INLINE T Keep(T a) { return {L::Keep(a.lo), L::Keep(a.hi)}; }
  static VX_INLINE T luma(T r, T g, T b) { return {L::luma(r.lo, g.lo, b.lo), L::luma(r.hi, g.hi, b.hi)}; }
  static VX_INLINE T Luma(const LanePixel<T>& p) { return luma(p.red, p.green, p.blue); }
  static VX_INLINE T Quot(T a, T b) { return {L::Quot(a.lo, b.lo), L::Quot(a.hi, b.hi)}; }
  static VX_INLINE T ScaledQuot(T a, T b, T den)
    requires requires(typename L::T x) { L::ScaledQuot(x, x, x); }
  {
    return {L::ScaledQuot(a.lo, b.lo, den.lo), L::ScaledQuot(a.hi, b.hi, den.hi)};
  }
  template <class D>
  struct Divisor {
    D lo, hi;
    VX_INLINE T operator()(T n) const
      requires requires(const D& d, typename L::T x) { d(x); }
    {
      return {lo(n.lo), hi(n.hi)};
    }
    VX_INLINE T Scaled(T a, T b) const
      requires requires(const D& d, typename L::T x) { d.Scaled(x, x); }
    {
      return {lo.Scaled(a.lo, b.lo), hi.Scaled(a.hi, b.hi)};
    }
  };
  static VX_INLINE auto DivideBy(T den)
    requires requires(typename L::T x) { L::DivideBy(x); }
  {
    typedef decltype(L::DivideBy(den.lo)) D;
    return Divisor<D>{L::DivideBy(den.lo), L::DivideBy(den.hi)};
  }
};

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx
