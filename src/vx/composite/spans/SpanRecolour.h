// The recolour modes on vector lanes: the modes' own formulas
// (XferOp::Triple and XferRecolourMath) run on 16 x int16 lanes at 8 bits
// and on 8 x int32 or 8 x float lanes at 16 bits and float, one channel of
// a block of pixels a lane vector.
//
// Quotients are exact: see Quot in LanesAVX2.h.
//
// The body of the AVX2 and AVX-512 forms: include only from the
// translation unit of one instruction set.
#pragma once
#include <immintrin.h>

#include "simd/LanesTwice.h"
#include "composite/formulas/ModeEntries.h"
#include "composite/spans/SpanKernels.h"
#include "composite/spans/SpanVector.h"

namespace {

using namespace vx::lanes;

// Pixels as channel lanes, 8-bit ones sixteen a block on 16-bit lanes;
// stores keep each channel to its bits first, as the scalar stores do.
template <class Pixel>
struct LanesOf {
  typedef PixelLanes<Pixel> P;
};
template <>
struct LanesOf<VX_Pixel8> {
  typedef WordPixels8 P;
};

template <class Pixel>
struct OneBlock {
  typedef typename LanesOf<Pixel>::P P;
  typedef typename P::M L;
  typedef typename L::T T;
  static constexpr int32_t kPixels = P::kPixels;
  static VX_INLINE void Load(const Pixel* p, LanePixel<T>& q) {
    T c[4];
    P::Load(p, c);
    q = {c[0], c[1], c[2], c[3]};
  }
  static VX_INLINE T Alpha(const Pixel* p) {
    T c[4];
    P::Load(p, c);
    return c[0];
  }
  static VX_INLINE void Store(const LanePixel<T>& q, Pixel* p) {
    const T c[4] = {L::Keep(q.alpha), L::Keep(q.red), L::Keep(q.green), L::Keep(q.blue)};
    P::Store(p, c);
  }
  // The lanes' values in pixel order.
  static VX_INLINE void Spill(T x, typename vx::Arith<Pixel>::T* out) {
    if constexpr (std::is_same_v<T, W>) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), Lower(x).v);
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 8), Upper(x).v);
    } else {
      std::memcpy(out, &x.v, sizeof x.v);
    }
  }
};

// Two blocks as one, on paired lanes.
template <class Pixel>
struct TwoBlocks {
  typedef OneBlock<Pixel> One;
  typedef Twice<typename One::L> L;
  typedef typename L::T T;
  static constexpr int32_t kPixels = 2 * One::kPixels;
  static VX_INLINE void Load(const Pixel* p, LanePixel<T>& q) {
    LanePixel<typename One::T> a, b;
    One::Load(p, a);
    One::Load(p + One::kPixels, b);
    q = {{a.alpha, b.alpha}, {a.red, b.red}, {a.green, b.green}, {a.blue, b.blue}};
  }
  static VX_INLINE T Alpha(const Pixel* p) { return {One::Alpha(p), One::Alpha(p + One::kPixels)}; }
  static VX_INLINE void Store(const LanePixel<T>& q, Pixel* p) {
    One::Store({q.alpha.lo, q.red.lo, q.green.lo, q.blue.lo}, p);
    One::Store({q.alpha.hi, q.red.hi, q.green.hi, q.blue.hi}, p + One::kPixels);
  }
  static VX_INLINE void Spill(T x, typename vx::Arith<Pixel>::T* out) {
    One::Spill(x.lo, out);
    One::Spill(x.hi, out + One::kPixels);
  }
};

#ifndef VX_RECOLOUR_BLOCKS
#define VX_RECOLOUR_BLOCKS OneBlock
#endif
template <class Pixel>
using IO = VX_RECOLOUR_BLOCKS<Pixel>;

template <class Pixel>
using Lane = typename IO<Pixel>::L::T;

// A block of pixels: the source alpha after opacity and mask, the behind stage
// (per pixel, only where the destination isn't opaque), then the mode's
// triple mixed in where the scaled alpha isn't 0.
template <class Pixel, int32_t Mode, bool Scale, bool HasMask, bool Behind>
VX_INLINE void Block(const Pixel* src, const Pixel* mask, Lane<Pixel> opacity, bool keep, Pixel* dst) {
  typedef IO<Pixel> io;
  typedef typename io::L L;
  typedef typename L::T T;
  typedef vx::XferRecolourMath<Pixel, L> R;
  LanePixel<T> s;
  io::Load(src, s);
  T sa = s.alpha;
  if (Scale) sa = L::mul(sa, opacity);
  if (HasMask) sa = L::mul(sa, io::Alpha(mask));
  const auto none = sa == T(0);
  if (All(none)) return;
  if constexpr (Behind) {
    if (!None(!none && io::Alpha(dst) != T(L::kWhite))) {
      typename vx::Arith<Pixel>::T alpha[io::kPixels];
      io::Spill(sa, alpha);
      for (int j = 0; j < io::kPixels; ++j)
        if (alpha[j] != 0) vx::BehindPixel(src[j], alpha[j], keep, dst[j]);
    }
  }
  LanePixel<T> d;
  io::Load(dst, d);
  T c[3];
  const auto mixes = vx::XferOp<Mode, Pixel, L>::Triple(s, d, d, c) && !none;
  R::Mix(c, sa, mixes, d);
  io::Store(d, dst);
}

template <class Pixel, int32_t Mode, bool Scale, bool HasMask, bool Behind>
VX_Err Run(int32_t count, const Pixel* src, const Pixel* mask, Lane<Pixel> opacity, bool keep, Pixel* dst) {
  constexpr int32_t kBlock = IO<Pixel>::kPixels;
  EachBlockOf<kBlock>(count, src, mask, dst, [&](const Pixel* s, const Pixel* m, Pixel* d) VX_INLINE_LAMBDA {
    Block<Pixel, Mode, Scale, HasMask, Behind>(s, m, opacity, keep, d);
  });
  return VX_Err_None;
}

template <class Pixel, int32_t Mode>
VX_Err Entry(int32_t count, const Pixel* src, const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel opacity,
             bool keep_alpha, bool behind, Pixel* dst) {
  if (count <= 0) return VX_Err_None;
  const Lane<Pixel> op(opacity);
  auto run = [&](auto scale, auto with_mask, auto with_behind) {
    return Run<Pixel, Mode, decltype(scale)::value, decltype(with_mask)::value, decltype(with_behind)::value>(
        count, src, mask, op, keep_alpha, dst);
  };
  auto pick_behind = [&](auto scale, auto with_mask) {
    return behind ? run(scale, with_mask, std::true_type{}) : run(scale, with_mask, std::false_type{});
  };
  auto pick_mask = [&](auto scale) {
    return mask ? pick_behind(scale, std::true_type{}) : pick_behind(scale, std::false_type{});
  };
  return opacity != VX_PixelTraits<Pixel>::kWhite ? pick_mask(std::true_type{}) : pick_mask(std::false_type{});
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
