// Table reads on lanes: each lane reads its own entry. 256 bits only.
#pragma once

#include "simd/Lanes.h"

#if defined(__AVX2__)

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

// Entry `index` of an int32 table, a lane each.
VX_INLINE I32x8 Gather(const int32_t* table, I32x8 index) { return _mm256_i32gather_epi32(table, index.v, 4); }

// A 4097-entry int16 table at d in 0..32768 with 3 fraction bits, entries
// i and i + 1 interpolated, the table moved by a per-lane byte offset: the
// pair comes from one 32-bit gather. d = 32768 reads the last pair with a
// fraction of 8, which lands on entry 4096 exactly; a fraction of 0 gives
// entry i, as the scalar form's skipped step does.
VX_INLINE I32x8 LookupInterpolated(const int16_t* base, I32x8 offset, I32x8 d) {
  d = Min(d, I32x8(32768));
  const I32x8 i = Min(d >> 3, I32x8(4095)), f = d - (i << 3);
  const I32x8 pair = _mm256_i32gather_epi32(reinterpret_cast<const int*>(base), (offset + (i << 1)).v, 1);
  const I32x8 lo = (pair << 16) >> 16, hi = pair >> 16;
  return lo + ((f * (hi - lo) + I32x8(4)) >> 3);
}

// A 4097-entry float table at d clamped to 0..1 (NaN reads entry 0),
// entries i and i + 1 interpolated, the table moved by a per-lane offset in
// entries. The pairs come from two gathers of four 64-bit values; d = 1
// reads entry 4096 alone, through the pair below it.
VX_INLINE F32x8 LookupInterpolated(const float* base, I32x8 offset, F32x8 d) {
  const F32x8 x = Select(d > F32x8(0.0f), Select(d > F32x8(1.0f), F32x8(1.0f), d), F32x8(0.0f));
  const F32x8 u = x * F32x8(4096.0f);
  const I32x8 i = Truncate(u);
  const F32x8 f = u - ToFloat(i);
  const __m256i at = (Min(i, I32x8(4095)) + offset).v;
  const auto* pairs = reinterpret_cast<const long long*>(base);
  const __m256 p0 = _mm256_castsi256_ps(_mm256_i32gather_epi64(pairs, _mm256_castsi256_si128(at), 4));
  const __m256 p1 = _mm256_castsi256_ps(_mm256_i32gather_epi64(pairs, _mm256_extracti128_si256(at, 1), 4));
  const F32x8 a = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(_mm256_shuffle_ps(p0, p1, 0x88)), 0xD8));
  const F32x8 b = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(_mm256_shuffle_ps(p0, p1, 0xDD)), 0xD8));
  const F32x8 v = Select(i == I32x8(4096), b, a);
  return Select(f != F32x8(0.0f), v + (b - v) * f, v);
}

// How far apart two tables lie in units of U, when a per-lane offset can
// reach from one to the other (within +-2^28 units); 0 when it can't.
template <class U>
VX_INLINE int32_t TablesApart(const U* from, const U* to) {
  const intptr_t apart = (reinterpret_cast<intptr_t>(to) - reinterpret_cast<intptr_t>(from)) / intptr_t(sizeof(U));
  return apart > -(intptr_t(1) << 28) && apart < (intptr_t(1) << 28) && apart != 0 ? static_cast<int32_t>(apart) : 0;
}

#if defined(__AVX512VBMI__)
// Entry d (0..255, in each word's low byte) of a 256-entry byte table, by
// byte permutes, where a gather a half costs more than the rest of a blend.
// Each word's high byte reads entry 0, which must be 0, so the words come
// out whole. Four 256-bit permutes, not two 512-bit ones: a 512-bit
// instruction closes one of the three vector ports to everything else in
// the loop (8-bit soft light on the opaque layer, 14.2 ms with 512-bit
// permutes, 12.2 ms with these).
VX_INLINE I16x16 LookupBytes(const uint8_t* table, I16x16 d) {
  const auto part = [&](int k) VX_INLINE_LAMBDA {
    const __m256i* t = reinterpret_cast<const __m256i*>(table + 64 * k);
    return _mm256_permutex2var_epi8(_mm256_loadu_si256(t), d.v, _mm256_loadu_si256(t + 1));
  };
  const __mmask32 bit6 = _mm256_test_epi8_mask(d.v, _mm256_set1_epi8(0x40));
  const __m256i low = _mm256_mask_blend_epi8(bit6, part(0), part(1));
  const __m256i high = _mm256_mask_blend_epi8(bit6, part(2), part(3));
  return _mm256_mask_blend_epi8(_mm256_movepi8_mask(d.v), low, high);
}
#endif

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx

#endif  // __AVX2__
