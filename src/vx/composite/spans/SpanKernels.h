// The span kernels: one template over mode, depth and mask generates the
// inner blending function of every mode from the same formula structs as the
// per-pixel tables. The decisions that are constant over a row (opacity
// full or not, mask or not) are taken once, outside the pixel loop.
//
// Where a row differs from the per-pixel path, on purpose:
// - matte families write colours only, on a destination the pipeline has
//   flattened; the pipeline merges alpha and lifts;
// - the recolour family sees the destination after the pipeline's behind
//   stage, so the lighter and darker colour modes compare with that;
// - copy and replace write colours also where the alpha is 0;
// - behind copies the source's colours onto a transparent destination;
// - dissolve draws its noise here; mask mix exists only here.
#pragma once

#include <cstring>
#include <type_traits>

#include "composite/formulas/ModeEntries.h"
#include "composite/formulas/XferCore.h"
#include "core/Rand.h"
#include "vx/Blend.h"
#include "vx/Fill.h"

namespace vx {
inline namespace VX_ISA_NS {

template <class Pixel>
using Desc = VX_BlendModeDescriptor<Pixel>;

// The source alpha of pixel i after opacity and mask: mul(mul(a, opacity),
// mask alpha). Scale and HasMask are constant over a row.
template <class Pixel, bool Scale, bool HasMask>
VX_INLINE typename Arith<Pixel>::T SpanAlpha(typename Arith<Pixel>::T a, typename Arith<Pixel>::T opacity,
                                             const Pixel* mask, int32_t i) {
  typedef Arith<Pixel> A;
  if constexpr (Scale) a = A::mul(a, opacity);
  if constexpr (HasMask) a = A::mul(a, typename A::T(mask[i].alpha));
  return a;
}

// Runs body(s, sa, d) on every pixel whose source alpha after opacity and
// mask isn't 0. `start` gives the alpha a pixel starts from.
template <class Pixel, bool HasMask, class Start, class Body>
VX_INLINE void ForEachPixel(int32_t count, typename Arith<Pixel>::T opacity, const Pixel* src, const Pixel* mask,
                            Pixel* dst, Start start, Body body) {
  typedef Arith<Pixel> A;
  auto loop = [&](auto scale) {
    for (int32_t i = 0; i < count; ++i) {
      const Pixel s = src[i];
      const typename A::T sa = SpanAlpha<Pixel, decltype(scale)::value, HasMask>(start(s), opacity, mask, i);
      if (sa == 0) continue;
      body(s, sa, dst[i]);
    }
  };
  if (opacity != A::kWhite)
    loop(std::true_type{});
  else
    loop(std::false_type{});
}

template <class Pixel>
VX_INLINE typename Arith<Pixel>::T OwnAlpha(const Pixel& s) {
  return s.alpha;
}

// The colours of a matte-family mode on a flattened destination.
template <class Pixel, int32_t Mode>
VX_INLINE void MatteColours(const Pixel& s, typename Arith<Pixel>::T sa, Pixel& d) {
  typedef XferMath<Pixel> M;
  typedef XferOp<Mode, Pixel> Op;
  if (sa == M::kWhite) {
    for (int i = 0; i < 3; ++i) Colour(d, i) = ToChannel<Pixel>(M::Keep(Op::F(Colour(s, i), Colour(d, i))));
  } else {
    for (int i = 0; i < 3; ++i) Colour(d, i) = ToChannel<Pixel>(M::Keep(Op::P(Colour(s, i), sa, Colour(d, i))));
  }
}

// Recolour on a destination the behind stage has already composited.
template <class Pixel, int32_t Mode>
VX_INLINE void Recolour(const Pixel& s, typename Arith<Pixel>::T sa, Pixel& d) {
  typedef XferRecolourMath<Pixel> R;
  typename R::T c[3];
  if (XferOp<Mode, Pixel>::Triple(s, d, d, c)) R::Mix(c, sa, true, d);
}

// Behind: a transparent destination takes the source's colours; an opaque
// one is left alone; with keep_alpha the alpha isn't written.
template <class Pixel>
VX_INLINE void BehindPixel(const Pixel& s, typename Arith<Pixel>::T sa, bool keep_alpha, Pixel& d) {
  typedef XferMath<Pixel> M;
  const typename M::T da = d.alpha;
  if (da == M::kWhite) return;
  if (da == 0) {
    const auto kept = d.alpha;
    d = s;
    d.alpha = keep_alpha ? kept : ToChannel<Pixel>(sa);
    return;
  }
  const auto kept = d.alpha;
  XferOp<XferBehind, Pixel>::Run(s, sa, d);
  if (keep_alpha) d.alpha = kept;
}

// Copy and replace: every pixel's colours, and unless keep_alpha the scaled
// source alpha; one block copy when nothing scales.
template <class Pixel, bool HasMask>
VX_INLINE void CopyRow(int32_t count, const VX_BlendingMode<Pixel>& mode, const Pixel* src, const Pixel* mask,
                       Pixel* dst) {
  typedef Arith<Pixel> A;
  if (!HasMask && !mode.keep_alpha && mode.opacity == A::kWhite) {
    std::memmove(dst, src, sizeof(Pixel) * static_cast<size_t>(count));
    return;
  }
  auto loop = [&](auto scale) {
    for (int32_t i = 0; i < count; ++i) {
      const Pixel s = src[i];
      const auto kept = dst[i].alpha;
      dst[i] = s;
      dst[i].alpha = mode.keep_alpha
                         ? kept
                         : ToChannel<Pixel>(SpanAlpha<Pixel, decltype(scale)::value, HasMask>(s.alpha, mode.opacity,
                                                                                              mask, i));
    }
  };
  if (mode.opacity != A::kWhite)
    loop(std::true_type{});
  else
    loop(std::false_type{});
}

// Dissolve: a pixel survives when a draw of the noise falls at or below its
// alpha. The seed grows by one a pixel, and a draw moves it on further.
template <class Pixel>
VX_INLINE bool DissolveHit(int32_t draw, typename Arith<Pixel>::T a) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>)
    return static_cast<double>(a) >= static_cast<double>(draw) * static_cast<double>(3.051851e-5f);
  else if constexpr (std::is_same_v<Pixel, VX_Pixel16>)
    return (draw & 0xFFFF) <= a;
  else
    return (draw & 255) <= a;
}

// How many pixels from p on are opaque, at most n. At 8 bits eight pixels
// are checked at once: their alpha bytes all 0xFF.
template <class Pixel>
VX_INLINE int32_t OpaqueRunLength(const Pixel* p, int32_t n) {
  int32_t k = 0;
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    constexpr uint64_t kAlphas = 0x000000FF000000FFull;
    for (; k + 8 <= n; k += 8) {
      uint64_t w[4];
      std::memcpy(w, p + k, sizeof w);
      if ((w[0] & w[1] & w[2] & w[3] & kAlphas) != kAlphas) break;
    }
  }
  while (k < n && p[k].alpha == Arith<Pixel>::kWhite) ++k;
  return k;
}

// Opaque source pixels over the destination, its alpha kept when asked.
template <class Pixel>
VX_INLINE void CopyOpaqueRun(const Pixel* src, int32_t n, bool keep, Pixel* dst) {
  if (!keep) {
    std::memcpy(dst, src, static_cast<size_t>(n) * sizeof(Pixel));
    return;
  }
  for (int32_t k = 0; k < n; ++k) {
    const auto kept = dst[k].alpha;
    dst[k] = src[k];
    dst[k].alpha = kept;
  }
}

// Writes p over *d where hit, without a branch: hits are random at partial
// alphas. Pixels of one or two words blend by a mask; wider ones write a
// miss to a sink.
template <class Pixel>
VX_INLINE void StoreIfHit(bool hit, const Pixel& p, Pixel* d) {
  if constexpr (sizeof(Pixel) == 4 || sizeof(Pixel) == 8) {
    typedef std::conditional_t<sizeof(Pixel) == 4, uint32_t, uint64_t> U;
    U x, y;
    std::memcpy(&x, &p, sizeof x);
    std::memcpy(&y, d, sizeof y);
    const U m = U(0) - U(hit);
    y = (x & m) | (y & ~m);
    std::memcpy(d, &y, sizeof y);
  } else {
    Pixel sink;
    const uintptr_t miss = uintptr_t(0) - uintptr_t(!hit);
    *reinterpret_cast<Pixel*>((reinterpret_cast<uintptr_t>(d) & ~miss) | (reinterpret_cast<uintptr_t>(&sink) & miss)) =
        p;
  }
}

template <class Pixel, bool Scale, bool HasMask>
VX_INLINE void DissolveRowAt(int32_t count, const VX_BlendingMode<Pixel>& mode, const Pixel* src, const Pixel* mask,
                             Pixel* dst) {
  typedef Arith<Pixel> A;
  const bool keep = mode.keep_alpha;
  uint32_t r = static_cast<uint32_t>(mode.dissolve_seed);
  for (int32_t i = 0; i < count; ++i, ++r) {
    const typename A::T a = SpanAlpha<Pixel, Scale, HasMask>(src[i].alpha, mode.opacity, mask, i);
    if (a == 0) continue;
    bool hit = true;
    if (a != A::kWhite) {
      r = VXp_RandStep(r);
      hit = DissolveHit<Pixel>(VXp_RandDraw(r), a);
    } else if constexpr (!Scale && !HasMask) {
      // The alpha is the source's own: a run of opaque pixels draws
      // nothing, so it is copied whole and the seed steps over it.
      const int32_t n = 1 + OpaqueRunLength(src + i + 1, count - i - 1);
      CopyOpaqueRun(src + i, n, keep, dst + i);
      i += n - 1;
      r += static_cast<uint32_t>(n - 1);
      continue;
    }
    Pixel p = src[i];
    p.alpha = keep ? dst[i].alpha : ToChannel<Pixel>(A::kWhite);
    StoreIfHit(hit, p, dst + i);
  }
}

template <class Pixel, bool HasMask>
VX_INLINE void DissolveRow(int32_t count, const VX_BlendingMode<Pixel>& mode, const Pixel* src, const Pixel* mask,
                           Pixel* dst) {
  if (mode.opacity != Arith<Pixel>::kWhite)
    DissolveRowAt<Pixel, true, HasMask>(count, mode, src, mask, dst);
  else
    DissolveRowAt<Pixel, false, HasMask>(count, mode, src, mask, dst);
}

// Mask mix: the mask's alpha w mixes source and destination, each weighted
// by its own alpha. Without a mask the row is left alone.
template <class Pixel>
struct MaskMixMath {
  typedef int64_t W;
  static constexpr int64_t kWhite = Arith<Pixel>::kWhite;
  static VX_INLINE void Run(const Pixel& s, int64_t w, bool keep_alpha, Pixel& d) {
    typedef typename VX_PixelTraits<Pixel>::Channel C;
    if (w >= kWhite) {
      const C kept = d.alpha;
      d = s;
      if (keep_alpha) d.alpha = kept;
      return;
    }
    const int64_t t = s.alpha * w, u = (kWhite - w) * d.alpha, n = t + u;
    if (w <= 0 || n <= 0) return;
    for (int i = 0; i < 3; ++i) Colour(d, i) = static_cast<C>((Colour(s, i) * t + (n >> 1) + Colour(d, i) * u) / n);
    if (!keep_alpha) d.alpha = static_cast<C>((n + (kWhite + 1) / 2) / kWhite);
  }
};
template <>
struct MaskMixMath<VX_PixelFloat> {
  static VX_INLINE void Run(const VX_PixelFloat& s, float w, bool keep_alpha, VX_PixelFloat& d) {
    if (w >= 1.0f) {
      const float kept = d.alpha;
      d = s;
      if (keep_alpha) d.alpha = kept;
      return;
    }
    const float t = s.alpha * w, u = (1.0f - w) * d.alpha, n = t + u;
    if (!(w > 0.0f) || !(n > 0.0f)) return;
    for (int i = 0; i < 3; ++i) Colour(d, i) = (Colour(s, i) * t + Colour(d, i) * u) / n;
    if (!keep_alpha) d.alpha = n;
  }
};

// The body of one mode at one depth, with or without a mask, in the stored
// encoding.
template <class Pixel, int32_t Mode, bool HasMask>
VX_INLINE void SpanBody(int32_t count, const VX_BlendingMode<Pixel>& mode, const Pixel* src, const Pixel* mask,
                        Pixel* dst) {
  typedef Arith<Pixel> A;
  constexpr VX_XferFamily family = VX_XferFamilyOf(Mode);
  if (count <= 0) return;
  const typename A::T opacity = mode.opacity;
  if constexpr (Mode == XferCopy || Mode == XferReplace) {
    CopyRow<Pixel, HasMask>(count, mode, src, mask, dst);
  } else if constexpr (Mode == XferDissolve) {
    DissolveRow<Pixel, HasMask>(count, mode, src, mask, dst);
  } else if constexpr (Mode == XferMaskMix) {
    if (!mask) return;
    for (int32_t i = 0; i < count; ++i) MaskMixMath<Pixel>::Run(src[i], mask[i].alpha, mode.keep_alpha, dst[i]);
  } else if constexpr (Mode == XferBehind) {
    const bool keep = mode.keep_alpha;
    ForEachPixel<Pixel, HasMask>(count, opacity, src, mask, dst, OwnAlpha<Pixel>,
                                 [keep](const Pixel& s, auto sa, Pixel& d) { BehindPixel(s, sa, keep, d); });
  } else if constexpr (Mode == XferAddPremul) {
    ForEachPixel<Pixel, HasMask>(
        count, opacity, src, mask, dst, [](const Pixel&) { return typename A::T(A::kWhite); },
        [](const Pixel& s, auto sa, Pixel& d) { XferOp<Mode, Pixel>::Run(s, sa, d); });
  } else if constexpr (VXp_IsMatteFamily(family)) {
    ForEachPixel<Pixel, HasMask>(count, opacity, src, mask, dst, OwnAlpha<Pixel>,
                                 [](const Pixel& s, auto sa, Pixel& d) { MatteColours<Pixel, Mode>(s, sa, d); });
  } else if constexpr (family == VX_XferFamily::Recolour) {
    ForEachPixel<Pixel, HasMask>(count, opacity, src, mask, dst, OwnAlpha<Pixel>,
                                 [](const Pixel& s, auto sa, Pixel& d) { Recolour<Pixel, Mode>(s, sa, d); });
  } else {
    // Over, alpha add, the three-term and alpha-only families: the per-pixel
    // core as it stands.
    ForEachPixel<Pixel, HasMask>(count, opacity, src, mask, dst, OwnAlpha<Pixel>,
                                 [](const Pixel& s, auto sa, Pixel& d) { XferCore<Pixel, Mode>(s, sa, d); });
  }
}

}  // namespace VX_ISA_NS
}  // namespace vx
