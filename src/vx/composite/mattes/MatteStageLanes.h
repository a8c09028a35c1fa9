// The matte stages on lanes, from the same rules as the scalar stages.
// 8-bit pixels stay packed, their bytes widened to words (any width); float
// pixels go one to a 128-bit register. Include only from the instruction
// set's own translation unit.
#pragma once

#include "composite/mattes/MatteStages.h"
#include "simd/Depth.h"
#include "simd/Pixels.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace matte_lanes {

using namespace simd;

#if defined(__SSSE3__)
// 8 bits: each pixel's channels as four words beside its alpha broadcast,
// the rule on all of them, the alpha words kept.
template <int B, class Stage>
VX_Err Packed8(int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  typedef Depth8W<B> M;
  typedef PackedPixels8<B> P;
  typedef I16<B> T;
  if (count <= 0) return VX_Err_None;
  const bool in_place = !src || src == dst;
  const VX_Pixel8* s = in_place ? dst : src;
  const Mask<B> alpha_words = P::AlphaWords();
  const auto half = [&](T c, T a) VX_INLINE_LAMBDA {
    T out = Stage::template Colour<M>(c, a);
    if (in_place && Stage::kClearsTransparent) out = Select(a == T(0), T(0), out);
    return Select(alpha_words, c, out);
  };
  int32_t i = 0;
  for (; i + P::kPixels <= count; i += P::kPixels) {
    const I32<B> x = I32<B>::Load(s + i), a = P::BroadcastAlpha(x);
    P::Pack(half(P::Low(x), P::Low(a)), half(P::High(x), P::High(a))).Store(dst + i);
  }
  return RunMatteStage<Stage, VX_Pixel8>(count - i, in_place ? nullptr : src + i, dst + i);
}
#endif

// Float, one pixel a register: the rule on all four lanes, the alpha lane
// kept; in place a pixel at full alpha is left exactly as it is.
template <class Stage>
VX_Err Float1(int32_t count, const VX_PixelFloat* src, VX_PixelFloat* dst) {
  typedef DepthF<128> M;
  typedef F32<128> T;
  if (count <= 0) return VX_Err_None;
  const bool in_place = !src || src == dst;
  const VX_PixelFloat* s = in_place ? dst : src;
  const Mask<128> alpha_lane(_mm_setr_epi32(-1, 0, 0, 0));
  for (int32_t i = 0; i < count; ++i) {
    const T x = T::Load(&s[i].alpha);
    const T a = _mm_shuffle_ps(x.v, x.v, 0);
    T out = Select(alpha_lane, x, Stage::template Colour<M>(x, a));
    if (in_place) {
      out = Select(a == T(1.0f), x, out);
      if (Stage::kClearsTransparent) out = Select(a == T(0.0f), T(0.0f), out);
    }
    out.Store(&dst[i].alpha);
  }
  return VX_Err_None;
}

// The 8-bit alpha merge, one pixel a 32-bit lane: the merged alpha in the
// low byte, the colours kept. Each alpha sits in the low word of its lane
// with a zero word above, which the word arithmetic keeps zero.
template <int B>
VX_Err AlphaMerge8(int32_t count, const VX_Pixel8* src, uint8_t opacity, const VX_Pixel8* mask, VX_Pixel8* dst) {
  typedef I32<B> T;
  typedef Depth8W<B> M;
  if (count <= 0 || opacity == 0) return VX_Err_None;
  const T low_byte(0xFF), op(opacity);
  const bool scale = opacity < 255;
  const auto alpha = [&](const VX_Pixel8* p) VX_INLINE_LAMBDA { return AsWords(T::Load(p) & low_byte); };
  int32_t i = 0;
  for (; i + T::kLanes <= count; i += T::kLanes) {
    const T d = T::Load(dst + i);
    const I16<B> m = mask ? alpha(mask + i) : I16<B>(0);
    const I16<B> merged = MergedAlpha<M>(alpha(src + i), scale, AsWords(op), mask != nullptr, m, AsWords(d & low_byte));
    (AndNot(low_byte, d) | AsInts(merged)).Store(dst + i);
  }
  return RunAlphaMerge<VX_Pixel8>(count - i, src + i, opacity, mask ? mask + i : nullptr, dst + i);
}

}  // namespace matte_lanes
}  // namespace VX_ISA_NS
}  // namespace vx
