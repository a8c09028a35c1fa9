// The word-lane probe of the lane test, compiled once per instruction set
// (lanes_probe_avx2.cpp, lanes_probe_avx512.cpp).
#pragma once

#include "simd/LanesWordAVX2.h"

namespace {

// The 8-bit arithmetic on 16-bit lanes, sixteen values at a time:
// op 0 mul(a, b), 1 lerp(a, b, c), 2 dbl(a x b), 3 div(a, b), 4 the
// soft-light curve at a, dark where b is nonzero, 5 a x b / c, 6 the
// same through the divisor by c that the clip pulls use, for signed a.
VX_INLINE void RunWordLanes8(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out,
                            int32_t count) {
  using vx::lanes::Lanes8W;
  using vx::lanes::W;
  for (int32_t i = 0; i + 16 <= count; i += 16) {
    const W x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a + i));
    const W y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b + i));
    const W z = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(c + i));
    W r;
    switch (op) {
      case 0: r = Lanes8W::mul(x, y); break;
      case 1: r = Lanes8W::lerp(x, y, z); break;
      case 2: r = Lanes8W::dbl(x * y); break;
      case 3: r = Lanes8W::div(x, y); break;
      case 4: r = Lanes8W::SoftLightCurve(y != W(0), x); break;
      case 5: r = Lanes8W::ScaledQuot(x, y, z); break;
      default: r = Lanes8W::DivideBy(z).Scaled(x, y); break;
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), r.v);
  }
}

}  // namespace
