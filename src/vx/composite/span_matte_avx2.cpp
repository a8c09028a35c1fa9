// The colours of the 8-bit matte-family modes, eight pixels a step: the
// modes' own formulas (XferOp) run on lanes of 8 x int32, one channel of
// eight pixels a lane vector, with the 8-bit arithmetic written for lanes.
// The divide runs in float: for numerators below 2^16 the correctly rounded
// quotient truncates to the divide table's value.
#include <immintrin.h>

#include "composite/LanesAVX2.h"
#include "composite/ModeEntries.h"
#include "composite/SpanVector.h"
#include "composite/XferMatteModes.h"
#include "composite/XferSoftLight.h"

namespace {

using vx::lanes::Lanes8;
using vx::lanes::Mask;
using vx::lanes::V;

// Eight pixels: colours of the flattened destination from F (full source) or
// P (partial); pixels whose scaled alpha is 0, and the alphas, stay.
template <int32_t Mode, bool Scale, bool HasMask>
inline void Block(const VX_Pixel8* src, const VX_Pixel8* mask, V opacity, VX_Pixel8* dst) {
  typedef vx::XferOp<Mode, VX_Pixel8, Lanes8> Op;
  const V s = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
  V sa = s & V(0xFF);
  if (Scale) sa = Lanes8::mul(sa, opacity);
  if (HasMask) sa = Lanes8::mul(sa, V(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(mask))) & V(0xFF));
  const Mask none = sa == V(0);
  if (_mm256_movemask_epi8(none.m) == -1) return;
  const Mask full = sa == V(255);
  auto* out = reinterpret_cast<__m256i*>(dst);
  const V d = _mm256_loadu_si256(out);
  V result = d & V(0xFF);
  for (int shift = 8; shift < 32; shift += 8) {
    const V sc = _mm256_srli_epi32(s.v, shift) & V(0xFF), dc = _mm256_srli_epi32(d.v, shift) & V(0xFF);
    V c = Lanes8::Keep(Lanes8::Select(full, Op::F(sc, dc), Op::P(sc, sa, dc)));
    c = Lanes8::Select(none, dc, c);
    result = _mm256_or_si256(result.v, _mm256_slli_epi32(c.v, shift));
  }
  _mm256_storeu_si256(out, result.v);
}

template <int32_t Mode, bool Scale, bool HasMask>
VX_Err Run(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8* dst) {
  const V op(opacity);
  vx::lanes::EachBlockOf8(count, src, mask, dst,
                          [&](const VX_Pixel8* s, const VX_Pixel8* m, VX_Pixel8* d)
                              VX_INLINE_LAMBDA { Block<Mode, Scale, HasMask>(s, m, op, d); });
  return VX_Err_None;
}

template <int32_t Mode>
VX_Err Entry(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity, VX_Pixel8* dst) {
  if (count <= 0) return VX_Err_None;
  const bool scale = opacity != 255;
  if (mask) return scale ? Run<Mode, true, true>(count, src, mask, opacity, dst)
                         : Run<Mode, false, true>(count, src, mask, opacity, dst);
  return scale ? Run<Mode, true, false>(count, src, mask, opacity, dst)
               : Run<Mode, false, false>(count, src, mask, opacity, dst);
}

}  // namespace

VXp_SpanColoursProc8 VXp_SpanMatteColours8_AVX2(int32_t mode) {
  return VXp_EntryForMode<VXp_SpanColoursProc8>(mode, [](auto number, auto family) -> VXp_SpanColoursProc8 {
    if constexpr (VXp_IsMatteFamily(family())) return &Entry<number()>;
    return nullptr;
  });
}
