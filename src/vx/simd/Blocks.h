// Walking a row in blocks of a kernel's width.
#pragma once

#include <cstddef>

#include "simd/Base.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

// How far ahead of a block its destination is fetched. Over at 16 bits on a
// 3840x2160 layer with 30% clear pixels in blobs: 15.9 ms without, 10.0 ms
// with; at float 14.8 and 13.0 (AVX2, 2.25 GHz).
constexpr int32_t kPrefetchBytes = 2048;

// Runs block(src, mask, dst) on each run of N pixels; the last few go
// through a padded block whose padding is zero (alpha 0). The mask is null
// when there is none.
template <int32_t N, class Pixel, class Block>
VX_INLINE void EachBlockOf(int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst, Block block) {
  int32_t i = 0;
  for (; i + N <= count; i += N) {
    // Blocks that return early leave gaps in the destination stream, which
    // lose the hardware prefetcher; fetching ahead keeps later loads from
    // waiting on memory.
    _Pragma("GCC unroll 2")
    for (size_t line = 0; line < N * sizeof(Pixel); line += 64)
      __builtin_prefetch(reinterpret_cast<const char*>(dst + i) + kPrefetchBytes + line, 1);
    block(src + i, mask ? mask + i : nullptr, dst + i);
  }
  if (i >= count) return;
  Pixel s[N] = {}, m[N] = {}, d[N] = {};
  const int32_t n = count - i;
  for (int32_t j = 0; j < n; ++j) {
    s[j] = src[i + j];
    d[j] = dst[i + j];
    if (mask) m[j] = mask[i + j];
  }
  block(s, mask ? m : nullptr, d);
  for (int32_t j = 0; j < n; ++j) dst[i + j] = d[j];
}

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx
