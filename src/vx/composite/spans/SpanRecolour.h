// The recolour modes on vector lanes: the modes' own formulas
// (XferOp::Triple and XferRecolourMath) run on 16 x int16 lanes at 8 bits
// and on 8 x int32 or 8 x float lanes at 16 bits and float, one channel of
// a block of pixels a lane vector; two blocks side by side (simd/Twice.h),
// because the steps are one long chain of latency.
//
// The body of the AVX2 and AVX-512 forms: include only from the
// translation unit of one instruction set and depth (VX_RECOLOUR_UNIT).
#pragma once

#include <cstring>

#include "composite/formulas/ModeEntries.h"
#include "composite/spans/SpanKernels.h"
#include "composite/spans/SpanLanes.h"
#include "composite/spans/SpanVector.h"
#include "simd/Twice.h"

namespace {

using namespace vx::simd;

// Two blocks of pixels as channel lanes on paired operands; stores keep each
// channel to its bits first, as the scalar stores do.
template <class Pixel>
struct TwoBlocks {
  typedef vx::LanesOf<Pixel> One;
  typedef Twice<typename One::M> L;
  typedef typename L::T T;
  typedef typename One::T OneT;
  static constexpr int32_t kPixels = 2 * One::kPixels;
  static VX_INLINE void Load(const Pixel* p, LanePixel<T>& q) {
    OneT a[4], b[4];
    One::Load(p, a);
    One::Load(p + One::kPixels, b);
    q = {{a[0], b[0]}, {a[1], b[1]}, {a[2], b[2]}, {a[3], b[3]}};
  }
  static VX_INLINE T Alpha(const Pixel* p) {
    OneT a[4], b[4];
    One::Load(p, a);
    One::Load(p + One::kPixels, b);
    return {a[0], b[0]};
  }
  static VX_INLINE void Store(const LanePixel<T>& q, Pixel* p) {
    typedef typename One::M M;
    const OneT a[4] = {M::Keep(q.alpha.lo), M::Keep(q.red.lo), M::Keep(q.green.lo), M::Keep(q.blue.lo)};
    const OneT b[4] = {M::Keep(q.alpha.hi), M::Keep(q.red.hi), M::Keep(q.green.hi), M::Keep(q.blue.hi)};
    One::Store(p, a);
    One::Store(p + One::kPixels, b);
  }
  // The lanes' values in pixel order.
  static VX_INLINE void Spill(T x, typename vx::Arith<Pixel>::T* out) {
    if constexpr (std::is_same_v<OneT, I16x16>) {
      vx::simd::WordPixels8::Spill(x.lo, out);
      vx::simd::WordPixels8::Spill(x.hi, out + One::kPixels);
    } else {
      std::memcpy(out, &x.lo.v, sizeof x.lo.v);
      std::memcpy(out + One::kPixels, &x.hi.v, sizeof x.hi.v);
    }
  }
};

template <class Pixel>
using IO = TwoBlocks<Pixel>;
template <class Pixel>
using Lane = typename IO<Pixel>::L::T;

struct RecolourRow {
  bool scale;   // the alpha scales by opacity (opacity not white)
  bool behind;  // the behind stage runs first
  bool keep;    // keep_alpha
};

// A block of pixels: the source alpha after opacity and mask, the behind
// stage (per pixel, only where the destination isn't opaque), then the
// mode's triple mixed in where the scaled alpha isn't 0.
template <class Pixel, int32_t Mode, bool HasMask>
VX_INLINE void Block(const Pixel* src, const Pixel* mask, Lane<Pixel> opacity, const RecolourRow& row, Pixel* dst) {
  typedef IO<Pixel> io;
  typedef typename io::L L;
  typedef typename L::T T;
  typedef vx::XferRecolourMath<Pixel, L> R;
  LanePixel<T> s;
  io::Load(src, s);
  T sa = s.alpha;
  if (row.scale) sa = L::mul(sa, opacity);
  if (HasMask) sa = L::mul(sa, io::Alpha(mask));
  const auto none = sa == T(0);
  if (All(none)) return;
  if (row.behind && !None(!none && io::Alpha(dst) != T(L::kWhite))) {
    typename vx::Arith<Pixel>::T alpha[io::kPixels];
    io::Spill(sa, alpha);
    for (int j = 0; j < io::kPixels; ++j)
      if (alpha[j] != 0) vx::BehindPixel(src[j], alpha[j], row.keep, dst[j]);
  }
  LanePixel<T> d;
  io::Load(dst, d);
  T c[3];
  const auto mixes = vx::XferOp<Mode, Pixel, L>::Triple(s, d, d, c) && !none;
  R::Mix(c, sa, mixes, d);
  io::Store(d, dst);
}

template <class Pixel, int32_t Mode>
VX_Err Entry(int32_t count, const Pixel* src, const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel opacity,
             bool keep_alpha, bool behind, Pixel* dst) {
  if (count <= 0) return VX_Err_None;
  const Lane<Pixel> op(opacity);
  const RecolourRow row{opacity != VX_PixelTraits<Pixel>::kWhite, behind, keep_alpha};
  const auto run = [&](auto with_mask) {
    // The row's state goes into the loop by value: stores to the
    // destination can't be taken to change it.
    EachBlockOf<IO<Pixel>::kPixels>(count, src, mask, dst, [op, row](const Pixel* s, const Pixel* m, Pixel* d) VX_INLINE_LAMBDA {
      Block<Pixel, Mode, decltype(with_mask)::value>(s, m, op, row, d);
    });
    return VX_Err_None;
  };
  return mask ? run(std::true_type{}) : run(std::false_type{});
}

// The entry of a mode, null outside the recolour family.
template <class Pixel>
VXp_SpanRecolourProc<Pixel> RecolourEntry(int32_t mode) {
  typedef VXp_SpanRecolourProc<Pixel> Proc;
  return VXp_EntryForMode<Proc>(mode, [](auto number, auto family) -> Proc {
    if constexpr (family() == VX_XferFamily::Recolour) return &Entry<Pixel, number()>;
    return nullptr;
  });
}

}  // namespace

// A unit's instantiation: the recolour entries of one depth with one
// instruction set.
#define VX_RECOLOUR_UNIT(Pixel, Isa)                                  \
  template <class P>                                                  \
  VXp_SpanRecolourProc<P> VXp_SpanRecolour_##Isa(int32_t mode) {      \
    return RecolourEntry<P>(mode);                                    \
  }                                                                   \
  template VXp_SpanRecolourProc<Pixel> VXp_SpanRecolour_##Isa<Pixel>(int32_t);
