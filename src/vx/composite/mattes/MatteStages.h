// The matte stages: flatten a row onto a black, white or grey matte, lift it
// off again, and merge a source alpha into the destination alpha. The same
// span functions serve premultiplication (black, white) and the blend
// pipeline. Each stage is one per-pixel rule; the loops are shared.
#pragma once

#include <type_traits>

#include "core/ChannelMath.h"
#include "vx/Fill.h"
#include "vx/Xfer.h"

namespace vx {
inline namespace VX_ISA_NS {

// Applies f(alpha, colour) to the three colour channels; alpha is kept.
template <class Pixel, class F>
VX_INLINE Pixel MapColors(const Pixel& p, F f) {
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  Pixel out = p;
  out.red = static_cast<Channel>(f(p.alpha, p.red));
  out.green = static_cast<Channel>(f(p.alpha, p.green));
  out.blue = static_cast<Channel>(f(p.alpha, p.blue));
  return out;
}

// Each rule gives Convert(pixel) and whether an in-place pass may leave a
// pixel alone (alpha at white changes nothing in any of them).
template <class Pixel>
struct MatteBlack {
  typedef Arith<Pixel> A;
  typedef typename A::T T;
  static VX_INLINE Pixel Convert(const Pixel& p) {
    return MapColors(p, [](T a, T c) { return A::mul(c, a); });
  }
};

// Lift off black. In place, alpha 0 gives an all-zero pixel (see
// RunMatteStage). Out of place the divide of each depth stands as it is:
// 8 bits read the divide table (whose row 0 is 255), 16 bits give 0, float
// keeps the colour (a factor of 1).
template <class Pixel>
struct UnmatteBlack {
  typedef Arith<Pixel> A;
  typedef typename A::T T;
  static VX_INLINE T Lift(T a, T c) {
    if constexpr (std::is_same_v<T, float>)
      return a == 0.0f ? c : c / a;
    else if constexpr (A::kWhite == 32768)
      return a == 0 ? 0 : A::div(a, c);
    else
      return A::div(a, c);
  }
  static VX_INLINE Pixel Convert(const Pixel& p) { return MapColors(p, Lift); }
};

template <class Pixel>
struct MatteWhite {
  typedef Arith<Pixel> A;
  typedef typename A::T T;
  static VX_INLINE Pixel Convert(const Pixel& p) {
    return MapColors(p, [](T a, T c) { return A::inv(A::mul(A::inv(c), a)); });
  }
};

// Lift off white; there is no test for alpha 0.
template <class Pixel>
struct UnmatteWhite {
  typedef Arith<Pixel> A;
  typedef typename A::T T;
  static VX_INLINE Pixel Convert(const Pixel& p) {
    return MapColors(p, [](T a, T c) { return A::inv(A::div(a, A::inv(c))); });
  }
};

template <class Pixel>
struct MatteGrey {
  typedef Arith<Pixel> A;
  typedef typename A::T T;
  static VX_INLINE Pixel Convert(const Pixel& p) {
    return MapColors(p, [](T a, T c) {
      constexpr T G = A::kGrey;
      return c >= G ? G + A::mul(c - G, a) : c + A::mul(A::inv(a), G - c);
    });
  }
};

template <class Pixel>
struct UnmatteGrey {
  typedef Arith<Pixel> A;
  typedef typename A::T T;
  static VX_INLINE Pixel Convert(const Pixel& p) {
    return MapColors(p, [](T a, T c) {
      constexpr T G = A::kGrey;
      if (c >= G) {
        const T u = A::div(a, c - G);
        return u < G ? G + u : A::kWhite;
      }
      const T u = A::div(a, G - c);
      return u < G ? G - u : T(0);
    });
  }
};

// Runs a rule over a row: out of place when src is non-null and differs from
// dst (every pixel converted, alpha copied), else in place (pixels at white
// alpha skipped; the black lift zeroes pixels of alpha 0).
template <template <class> class Rule, class Pixel>
VX_Err RunMatteStage(int32_t count, const Pixel* src, Pixel* dst) {
  typedef Rule<Pixel> R;
  if (count <= 0) return VX_Err_None;
  if (src && src != dst) {
    for (int32_t i = 0; i < count; ++i) dst[i] = R::Convert(src[i]);
    return VX_Err_None;
  }
  for (int32_t i = 0; i < count; ++i) {
    if (dst[i].alpha == Arith<Pixel>::kWhite) continue;
    if (std::is_same_v<R, UnmatteBlack<Pixel>> && dst[i].alpha == 0)
      dst[i] = Pixel{};
    else
      dst[i] = R::Convert(dst[i]);
  }
  return VX_Err_None;
}

// Union of the source alpha (scaled by opacity and the mask's alpha) with the
// destination alpha. With opacity 0 the stage does nothing.
template <class Pixel>
VX_Err RunAlphaMerge(int32_t count, const Pixel* src, typename VX_PixelTraits<Pixel>::Channel opacity,
                     const Pixel* mask, Pixel* dst) {
  typedef Arith<Pixel> A;
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  if (count <= 0 || opacity == 0) return VX_Err_None;
  const bool scale = opacity < A::kWhite;
  for (int32_t i = 0; i < count; ++i) {
    typename A::T t = src[i].alpha;
    if (scale) t = A::mul(t, opacity);
    if (mask) t = A::mul(t, mask[i].alpha);
    dst[i].alpha = static_cast<Channel>(A::inv(A::mul(A::inv(t), A::inv(dst[i].alpha))));
  }
  return VX_Err_None;
}

}  // namespace VX_ISA_NS
}  // namespace vx

// The alpha-merge span function of each depth (slots 41, 78, 112).
template <class Pixel>
using VX_AlphaMergeFunc = VX_Err (*)(int32_t count, const Pixel* src, typename VX_PixelTraits<Pixel>::Channel opacity,
                                     const Pixel* mask, Pixel* dst);

// The stages in slot order: 0 black flatten, 1 black lift, 2 white flatten,
// 3 white lift, 4 grey flatten, 5 grey lift.
enum VXp_MatteStage : int32_t {
  VXp_Stage_MatteBlack = 0,
  VXp_Stage_UnmatteBlack = 1,
  VXp_Stage_MatteWhite = 2,
  VXp_Stage_UnmatteWhite = 3,
  VXp_Stage_MatteGrey = 4,
  VXp_Stage_UnmatteGrey = 5
};
// The flatten stage of a matte family (its lift is the next), or -1.
constexpr int32_t VXp_MatteStageOf(VX_XferFamily family) {
  switch (family) {
    case VX_XferFamily::BlackMatte:
      return VXp_Stage_MatteBlack;
    case VX_XferFamily::WhiteMatte:
      return VXp_Stage_MatteWhite;
    case VX_XferFamily::GreyMatte:
      return VXp_Stage_MatteGrey;
    default:
      return -1;
  }
}
// The scalar forms, whatever the table holds.
template <class Pixel>
VX_SpanFunc<Pixel> VXp_ScalarMatteStage(int32_t stage);
template <class Pixel>
VX_AlphaMergeFunc<Pixel> VXp_ScalarAlphaMerge();
// Whether `f` is what the package itself put in matte-stage slot `slot` at
// start, rather than a replacement.
bool VXp_IsPackageStage(int32_t slot, const void* f);
