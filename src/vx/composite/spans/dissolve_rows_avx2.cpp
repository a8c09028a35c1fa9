// Dissolve at 8 bits, eight rows a pass: lane k carries row k's generator,
// so the eight serial chains of draws advance together. Alphas reach the
// lanes by a transpose of each 8x8 block, and the hits go back the same way.
// The small loops are unrolled so that a block stays in registers: left as
// loops, the blocks went through the stack and a 4K frame took twice as long.
#include "composite/spans/SpanVector.h"
#include "simd/Depth.h"
#include "simd/Transpose.h"

namespace {

using vx::simd::Transpose8;

// One step of the generator on every lane, as the scalar step: the quotient
// by 44488 is ((s >> 3) x 790873317) >> 42, exact for every 32-bit s.
VX_INLINE __m256i RandStep(__m256i s) {
  const __m256i magic = _mm256_set1_epi32(790873317);
  const __m256i x = _mm256_srli_epi32(s, 3);
  const __m256i even = _mm256_srli_epi64(_mm256_mul_epu32(x, magic), 42);
  const __m256i odd = _mm256_srli_epi64(_mm256_mul_epu32(_mm256_srli_epi64(x, 32), magic), 10);
  const __m256i q = _mm256_blend_epi32(even, odd, 0xAA);
  const __m256i fix = _mm256_and_si256(_mm256_cmpeq_epi32(s, _mm256_setzero_si256()), _mm256_set1_epi32(0x7FFFFFFF));
  const __m256i t = _mm256_add_epi32(_mm256_mullo_epi32(s, _mm256_set1_epi32(48271)), fix);
  return _mm256_sub_epi32(t, _mm256_mullo_epi32(q, _mm256_set1_epi32(2147476849)));
}

// The span alpha of eight pixels: the source's, times the opacity. Each
// alpha sits in the low word of its lane with a zero word above, which the
// word arithmetic keeps zero.
VX_INLINE __m256i SpanAlphas(__m256i s, __m256i opacity, bool scale) {
  using namespace vx::simd;
  const I32x8 a = I32x8(s) & I32x8(0xFF);
  if (!scale) return a.v;
  return AsInts(Depth8W<256>::mul(AsWords(a), AsWords(opacity))).v;
}

VX_INLINE __m256i Partial(__m256i a) {
  return _mm256_and_si256(_mm256_cmpgt_epi32(a, _mm256_setzero_si256()), _mm256_cmpgt_epi32(_mm256_set1_epi32(255), a));
}

// The hits of one block, row-major in and out; seeds steps the lanes' states.
// A partial alpha draws (the state steps first); every pixel moves its
// state on by one; a hit is a draw's low byte at or below the alpha, and
// every opaque pixel hits.
VX_INLINE void DrawBlock(__m256i alpha[8], __m256i &seeds) {
  Transpose8(alpha);
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) {
    const __m256i a = alpha[i];
    seeds = _mm256_blendv_epi8(seeds, RandStep(seeds), Partial(a));
    const __m256i draw = _mm256_and_si256(_mm256_srli_epi32(seeds, 7), _mm256_set1_epi32(0xFF));
    alpha[i] = _mm256_andnot_si256(_mm256_cmpgt_epi32(draw, a), _mm256_cmpgt_epi32(a, _mm256_setzero_si256()));
    seeds = _mm256_add_epi32(seeds, _mm256_set1_epi32(1));
  }
  Transpose8(alpha);
}

}  // namespace

int32_t VXp_DissolveRows8_AVX2(int32_t count, uint8_t opacity, bool keep_alpha, VXp_DissolveRow8 *rows) {
  const __m256i low = _mm256_set1_epi32(0xFF), scale_by = _mm256_set1_epi32(opacity);
  const bool scale = opacity != 255;
  __m256i seeds =
      _mm256_setr_epi32(int32_t(rows[0].seed), int32_t(rows[1].seed), int32_t(rows[2].seed), int32_t(rows[3].seed),
                        int32_t(rows[4].seed), int32_t(rows[5].seed), int32_t(rows[6].seed), int32_t(rows[7].seed));
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) {
    __m256i s[8], hit[8], partial = _mm256_setzero_si256();
#pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) {
      s[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(rows[k].src + i));
      hit[k] = SpanAlphas(s[k], scale_by, scale);
      partial = _mm256_or_si256(partial, Partial(hit[k]));
    }
    if (_mm256_testz_si256(partial, partial)) {
// Nothing draws: every lane steps over the block, every visible pixel hits.
#pragma GCC unroll 8
      for (int k = 0; k < 8; ++k) hit[k] = _mm256_cmpgt_epi32(hit[k], _mm256_setzero_si256());
      seeds = _mm256_add_epi32(seeds, _mm256_set1_epi32(8));
    } else {
      DrawBlock(hit, seeds);
    }
#pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) {
      __m256i *out = reinterpret_cast<__m256i *>(rows[k].dst + i);
      const __m256i d = _mm256_loadu_si256(out);
      const __m256i p = keep_alpha ? _mm256_blendv_epi8(s[k], d, low) : _mm256_or_si256(s[k], low);
      _mm256_storeu_si256(out, _mm256_blendv_epi8(d, p, hit[k]));
    }
  }
  alignas(32) uint32_t lanes[8];
  _mm256_store_si256(reinterpret_cast<__m256i *>(lanes), seeds);
#pragma GCC unroll 8
  for (int k = 0; k < 8; ++k) rows[k].seed = lanes[k];
  return i;
}
