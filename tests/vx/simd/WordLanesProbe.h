// The word-lane probe of the lane test, compiled once per instruction set
// (lanes_probe_ssse3.cpp, lanes_probe_avx2.cpp, lanes_probe_avx512.cpp).
#pragma once

#include "simd/Depth.h"
#if defined(__AVX2__)
#include "composite/formulas/XferSoftLightLanes.h"
#endif

namespace {

// The 8-bit arithmetic on 16-bit lanes of width B, a register at a time:
// op 0 mul(a, b), 1 lerp(a, b, c), 2 dbl(a x b), 3 div(a, b); at 256 bits
// also 4 the soft-light curve at a, dark where b is nonzero, 5 a x b / c,
// 6 the same through the divisor by c that the clip pulls use, for signed a.
template <int B>
VX_INLINE void RunWordLanes8(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out,
                            int32_t count) {
  using namespace vx::simd;
  typedef Depth8W<B> M;
  typedef I16<B> W;
  for (int32_t i = 0; i + W::kLanes <= count; i += W::kLanes) {
    const W x = W::Load(a + i), y = W::Load(b + i), z = W::Load(c + i);
    W r;
    switch (op) {
      case 0: r = M::mul(x, y); break;
      case 1: r = M::lerp(x, y, z); break;
      case 2: r = M::dbl(x * y); break;
      case 3: r = M::div(x, y); break;
#if defined(__AVX2__)
      case 4: r = vx::XferSoftLightLanes<M>::Curve(y != W(0), x); break;
      case 5: r = M::ScaledQuot(x, y, z); break;
      case 6: r = M::DivideBy(z).Scaled(x, y); break;
#endif
      default: return;
    }
    r.Store(out + i);
  }
}

// The 8-bit divide on int32 lanes, a register at a time.
template <int B>
VX_INLINE void RunDiv8Lanes(const int32_t* a, const int32_t* v, int32_t* q, int32_t count) {
  using namespace vx::simd;
  typedef I32<B> T;
  for (int32_t i = 0; i + T::kLanes <= count; i += T::kLanes) Depth8<B>::div(T::Load(a + i), T::Load(v + i)).Store(q + i);
}

}  // namespace
