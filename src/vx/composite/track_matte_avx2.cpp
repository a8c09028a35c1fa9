// Luma-times-alpha matte rows at 8 bits, eight pixels a step: the scalar
// rule (the product of alpha and luma, inverted for kind 3) on lanes. Only
// the alpha bytes of the output change, as in the scalar loop.
#include "composite/LanesAVX2.h"
#include "composite/TrackMatte.h"

uint32_t VXp_LumaMatte8_AVX2(uint32_t count, const VX_Pixel8* row, bool invert, VX_Pixel8* out) {
  using vx::lanes::Lanes8;
  using vx::lanes::V;
  const __m256i alpha_bytes = _mm256_set1_epi32(0xFF);
  uint32_t i = 0;
  for (; i + 8 <= count; i += 8) {
    V c[4];
    vx::lanes::PixelLanes<VX_Pixel8>::Load(row + i, c);
    V v = Lanes8::mul(c[0], Lanes8::luma(c[1], c[2], c[3]));
    if (invert) v = Lanes8::inv(v);
    auto* at = reinterpret_cast<__m256i*>(out + i);
    _mm256_storeu_si256(at, _mm256_blendv_epi8(_mm256_loadu_si256(at), v.v, alpha_bytes));
  }
  return i;
}
