// Moving lanes across registers. 256 bits.
#pragma once

#include "simd/Lanes.h"

#if defined(__AVX2__)

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

// 8x8 transpose of 32-bit lanes: v[k] lane i becomes v[i] lane k.
VX_INLINE void Transpose8(__m256i v[8]) {
  __m256i a[8], b[8];
#pragma GCC unroll 8
  for (int k = 0; k < 8; k += 2) {
    a[k] = _mm256_unpacklo_epi32(v[k], v[k + 1]);
    a[k + 1] = _mm256_unpackhi_epi32(v[k], v[k + 1]);
  }
#pragma GCC unroll 8
  for (int k = 0; k < 8; k += 4)
#pragma GCC unroll 8
    for (int j = 0; j < 2; ++j) {
      b[k + j] = _mm256_unpacklo_epi64(a[k + j], a[k + j + 2]);
      b[k + j + 2] = _mm256_unpackhi_epi64(a[k + j], a[k + j + 2]);
    }
  // b[j] holds column column[j] of rows 0-3 in its low half and column
  // column[j] + 4 in its high half; b[j + 4] the same of rows 4-7.
  const int column[4] = {0, 2, 1, 3};
#pragma GCC unroll 8
  for (int j = 0; j < 4; ++j) {
    v[column[j]] = _mm256_permute2x128_si256(b[j], b[j + 4], 0x20);
    v[column[j] + 4] = _mm256_permute2x128_si256(b[j], b[j + 4], 0x31);
  }
}

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx

#endif  // __AVX2__
