// The matte stages: flatten a row onto a black, white or grey matte, lift it
// off again, and merge a source alpha into the destination alpha. The same
// span functions serve premultiplication (black, white) and the blend
// pipeline.
//
// Each rule is written once over the arithmetic M: XferMath for one pixel,
// or a lane arithmetic of simd/Depth.h for a register of pixels, so the
// scalar stages, their vector forms and the fused pipeline all run the same
// rule. Rules choose with Select, so both sides must be valid for any input.
#pragma once

#include <type_traits>

#include "composite/formulas/XferCommon.h"
#include "vx/Fill.h"

// X(stage, kind, direction), in slot order: each kind's flatten, then its
// lift. The enum, the scalar and vector stage tables and the slots are made
// from this list.
#define VX_MATTE_STAGES(X)        \
  X(MatteBlack, Black, Flatten)   \
  X(UnmatteBlack, Black, Lift)    \
  X(MatteWhite, White, Flatten)   \
  X(UnmatteWhite, White, Lift)    \
  X(MatteGrey, Grey, Flatten)     \
  X(UnmatteGrey, Grey, Lift)

enum VXp_MatteStage : int32_t {
#define VX_MATTE_STAGE_ENUMERATOR(stage, kind, direction) VXp_Stage_##stage,
  VX_MATTE_STAGES(VX_MATTE_STAGE_ENUMERATOR)
#undef VX_MATTE_STAGE_ENUMERATOR
  VXp_kMatteStageCount
};
// A switch case for each stage, returning the function VX_MATTE_RUNNER(Stage)
// makes of its rule type (defined where the case is used).
#define VX_MATTE_STAGE_ENTRY(stage, kind, direction) \
  case VXp_Stage_##stage:                             \
    return &VX_MATTE_RUNNER(vx::stage);
// The alpha merge follows the six stages in each depth's slots.
constexpr int32_t VXp_kAlphaMergeStage = VXp_kMatteStageCount;

// The colour of a matte.
enum class VXp_MatteColour : int32_t { Black, White, Grey };

namespace vx {
inline namespace VX_ISA_NS {

// ---- the rules of each matte, on one colour c of a pixel of alpha a -------

template <VXp_MatteColour Colour, class M>
struct MatteRules;

template <class M>
struct MatteRules<VXp_MatteColour::Black, M> {
  typedef typename M::T T;
  static VX_INLINE T Flatten(T c, T a) { return M::mul(c, a); }
  // Each depth's divide stands: 8 bits read the divide table (255 at alpha
  // 0), 16 bits give 0, float keeps the colour.
  static VX_INLINE T Lift(T c, T a) {
    if constexpr (M::kFloat)
      return M::Select(a == T(0), c, c / a);
    else if constexpr (M::k16)
      return M::Select(a == T(0), T(0), M::div(a, c));
    else
      return M::div(a, c);
  }
};

template <class M>
struct MatteRules<VXp_MatteColour::White, M> {
  typedef typename M::T T;
  static VX_INLINE T Flatten(T c, T a) { return M::inv(M::mul(M::inv(c), a)); }
  // No test for alpha 0: the float divide gives 1.0 there.
  static VX_INLINE T Lift(T c, T a) { return M::inv(M::div(a, M::inv(c))); }
};

template <class M>
struct MatteRules<VXp_MatteColour::Grey, M> {
  typedef typename M::T T;
  static VX_INLINE T Flatten(T c, T a) {
    const T g(M::kGrey);
    return M::Select(c >= g, g + M::mul(c - g, a), c + M::mul(M::inv(a), g - c));
  }
  // One divide, of the distance from grey on whichever side c lies.
  static VX_INLINE T Lift(T c, T a) {
    const T g(M::kGrey);
    const auto upper = c >= g;
    const T u = M::div(a, M::Select(upper, c - g, g - c));
    const auto near = u < g;
    return M::Select(upper, M::Select(near, g + u, T(M::kWhite)), M::Select(near, g - u, T(0)));
  }
};

// A stage of the list: its rule on a colour, and whether an in-place run
// clears transparent pixels (lifting off black does: a pixel of alpha 0
// becomes all zero).
template <VXp_MatteColour Matte, bool Lifts>
struct MatteStageOf {
  static constexpr bool kClearsTransparent = Lifts && Matte == VXp_MatteColour::Black;
  template <class M>
  static VX_INLINE typename M::T Colour(typename M::T c, typename M::T a) {
    if constexpr (Lifts)
      return MatteRules<Matte, M>::Lift(c, a);
    else
      return MatteRules<Matte, M>::Flatten(c, a);
  }
};

#define VX_MATTE_STAGE_TYPE(stage, kind, direction) \
  typedef MatteStageOf<VXp_MatteColour::kind, VX_MATTE_DIRECTION_##direction> stage;
#define VX_MATTE_DIRECTION_Flatten false
#define VX_MATTE_DIRECTION_Lift true
VX_MATTE_STAGES(VX_MATTE_STAGE_TYPE)
#undef VX_MATTE_STAGE_TYPE
#undef VX_MATTE_DIRECTION_Flatten
#undef VX_MATTE_DIRECTION_Lift

// Applies f(alpha, colour) to the three colour channels; alpha is kept.
template <class Pixel, class F>
VX_INLINE Pixel MapColors(const Pixel& p, F f) {
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  typedef typename Arith<Pixel>::T T;
  Pixel out = p;
  out.red = static_cast<Channel>(f(T(p.alpha), T(p.red)));
  out.green = static_cast<Channel>(f(T(p.alpha), T(p.green)));
  out.blue = static_cast<Channel>(f(T(p.alpha), T(p.blue)));
  return out;
}

// One pixel through a stage.
template <class Stage, class Pixel>
VX_INLINE Pixel ConvertPixel(const Pixel& p) {
  typedef XferMath<Pixel> M;
  return MapColors(p, [](typename M::T a, typename M::T c) { return Stage::template Colour<M>(c, a); });
}

// Runs a stage over a row: out of place when src is non-null and differs
// from dst (every pixel converted, alpha copied), else in place (pixels at
// white alpha skipped, transparent ones cleared where the stage says).
template <class Stage, class Pixel>
VX_Err RunMatteStage(int32_t count, const Pixel* src, Pixel* dst) {
  if (count <= 0) return VX_Err_None;
  if (src && src != dst) {
    for (int32_t i = 0; i < count; ++i) dst[i] = ConvertPixel<Stage>(src[i]);
    return VX_Err_None;
  }
  for (int32_t i = 0; i < count; ++i) {
    if (dst[i].alpha == Arith<Pixel>::kWhite) continue;
    if (Stage::kClearsTransparent && dst[i].alpha == 0)
      dst[i] = Pixel{};
    else
      dst[i] = ConvertPixel<Stage>(dst[i]);
  }
  return VX_Err_None;
}

// The alpha the merge starts from: the source's, scaled by opacity below
// white and by the mask's alpha.
template <class M>
VX_INLINE typename M::T MergedAlpha(typename M::T sa, bool scale, typename M::T opacity, bool has_mask,
                                    typename M::T mask_alpha, typename M::T da) {
  if (scale) sa = M::mul(sa, opacity);
  if (has_mask) sa = M::mul(sa, mask_alpha);
  return M::Union(sa, da);
}

// Union of the source alpha (scaled by opacity and the mask's alpha) with the
// destination alpha. With opacity 0 the stage does nothing.
template <class Pixel>
VX_Err RunAlphaMerge(int32_t count, const Pixel* src, typename VX_PixelTraits<Pixel>::Channel opacity,
                     const Pixel* mask, Pixel* dst) {
  typedef XferMath<Pixel> M;
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  if (count <= 0 || opacity == 0) return VX_Err_None;
  const bool scale = opacity < M::kWhite;
  for (int32_t i = 0; i < count; ++i) {
    const typename M::T m = mask ? typename M::T(mask[i].alpha) : typename M::T(0);
    dst[i].alpha = static_cast<Channel>(MergedAlpha<M>(src[i].alpha, scale, opacity, mask != nullptr, m, dst[i].alpha));
  }
  return VX_Err_None;
}

}  // namespace VX_ISA_NS
}  // namespace vx

// The alpha-merge span function of each depth (slots 41, 78, 112).
template <class Pixel>
using VX_AlphaMergeFunc = VX_Err (*)(int32_t count, const Pixel* src, typename VX_PixelTraits<Pixel>::Channel opacity,
                                     const Pixel* mask, Pixel* dst);

// The matte of a matte family.
constexpr VXp_MatteColour VXp_MatteColourOf(VX_XferFamily family) {
  return family == VX_XferFamily::WhiteMatte  ? VXp_MatteColour::White
         : family == VX_XferFamily::GreyMatte ? VXp_MatteColour::Grey
                                              : VXp_MatteColour::Black;
}
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
// Whether `f` is what the package itself put in the slot of `stage` (0 to
// VXp_kAlphaMergeStage) at start, rather than a replacement.
template <class Pixel>
bool VXp_IsPackageStage(int32_t stage, const void* f);
