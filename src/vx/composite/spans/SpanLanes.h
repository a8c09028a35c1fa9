// The lanes the vector span kernels run on, by depth: a block of pixels as
// four channel vectors (IO), and the depth's arithmetic on them (M). 8-bit
// pixels take the 16-bit lanes, sixteen a block, unless a kernel asks for
// int32 lanes. 256 bits; include only from *_avx2.cpp or *_avx512.cpp.
#pragma once

#include "simd/Blocks.h"
#include "simd/Depth.h"
#include "simd/Pixels.h"

namespace vx {
inline namespace VX_ISA_NS {

template <class Pixel, bool Words = true>
struct LanesOf;

template <class IO_, class M_>
struct LanesOfBase : IO_ {
  typedef IO_ IO;
  typedef M_ M;
  typedef typename M_::T T;
  static constexpr int32_t kPixels = IO_::kPixels;
};

template <>
struct LanesOf<VX_Pixel8, true> : LanesOfBase<simd::WordPixels8, simd::Depth8W<256>> {};
template <>
struct LanesOf<VX_Pixel8, false> : LanesOfBase<simd::PixelLanes<VX_Pixel8>, simd::Depth8<256>> {};
template <bool Words>
struct LanesOf<VX_Pixel16, Words> : LanesOfBase<simd::PixelLanes<VX_Pixel16>, simd::Depth16<256>> {};
template <bool Words>
struct LanesOf<VX_PixelFloat, Words> : LanesOfBase<simd::PixelLanes<VX_PixelFloat>, simd::DepthF<256>> {};

// Loads a block of source pixels into s and gives their alpha scaled as the
// scalar kernels scale it: by the opacity, then by the mask's alpha.
template <class L, bool Scale, bool HasMask, class Pixel, class T>
VX_INLINE T LoadScaledSource(const Pixel* src, const Pixel* mask, T opacity, T s[4]) {
  typedef typename L::M M;
  L::Load(src, s);
  T sa = s[0];
  if constexpr (Scale) sa = M::mul(sa, opacity);
  if constexpr (HasMask) {
    T m[4];
    L::Load(mask, m);
    sa = M::mul(sa, m[0]);
  }
  return sa;
}

}  // namespace VX_ISA_NS
}  // namespace vx
