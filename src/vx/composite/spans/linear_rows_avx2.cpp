// Rows to and from linear light at 8 and 16 bits, eight pixels a step, for
// the blending tables: the same lookups and interpolations as the per-pixel
// forms in XferLinear.h, value for value. The colour tables are read by
// 32-bit gathers of neighbouring entries; those reads stay inside the
// tables' struct.
#include "composite/spans/SpanVector.h"
#include "simd/Pixels.h"

namespace {

using namespace vx::simd;
typedef I32x8 V;

// Entries i and i + 1 of a 16-bit table, as the low and high halves of a lane.
VX_INLINE V Pair(const uint16_t* table, V i) {
  return _mm256_i32gather_epi32(reinterpret_cast<const int*>(table), i.v, 2);
}
VX_INLINE V Low16(V x) { return x & V(0xFFFF); }
VX_INLINE V High16(V x) { return Srl(x, 16); }

// Stored 16-bit to linear: between the entries of the two nearest 8-bit codes.
VX_INLINE V LinearFromStored16(const VX_LinearBlendingTables& t, V v) {
  const V x = Min(v, V(32768)) * V(255);
  const V pair = Pair(t.to_linear, x >> 15);
  const V lo = Low16(pair);
  return lo + (((x & V(0x7FFF)) * (High16(pair) - lo) + V(16384)) >> 15);
}
// Linear to stored 16-bit: 3 fractional bits between entries of the reverse
// curve, values above white read as white.
VX_INLINE V StoredFromLinear(const VX_LinearBlendingTables& t, V v) {
  const V x = Min(v, V(32768));
  const V pair = Pair(t.from_linear, x >> 3);
  const V lo = Low16(pair);
  return lo + (((x & V(7)) * (High16(pair) - lo) + V(4)) >> 3);
}
// (v x 32768 + 128) / 255: the numerator is below 2^23, so the rounded float
// quotient truncates to the integer one.
VX_INLINE V Convert8To16(V v) {
  return Truncate(ToFloat(v * V(32768) + V(128)) / F32x8(255.0f));
}
VX_INLINE V Convert16To8(V v) { return (v * V(255) + V(16384)) >> 15; }

template <class Pixel>
struct Linearize;

template <>
struct Linearize<VX_Pixel8> {
  static VX_INLINE void To(const VX_LinearBlendingTables& t, const VX_Pixel8* in, VX_Pixel16* out) {
    V c[4];
    PixelLanes<VX_Pixel8>::Load(in, c);
    c[0] = Convert8To16(c[0]);
    for (int k = 1; k < 4; ++k) c[k] = Low16(Pair(t.to_linear, c[k]));
    PixelLanes<VX_Pixel16>::Store(out, c);
  }
  static VX_INLINE void From(const VX_LinearBlendingTables& t, const VX_Pixel16* in, VX_Pixel8* out) {
    V c[4];
    PixelLanes<VX_Pixel16>::Load(in, c);
    c[0] = Convert16To8(c[0]);
    for (int k = 1; k < 4; ++k) c[k] = Convert16To8(StoredFromLinear(t, c[k]));
    PixelLanes<VX_Pixel8>::Store(out, c);
  }
};

template <>
struct Linearize<VX_Pixel16> {
  static VX_INLINE void To(const VX_LinearBlendingTables& t, const VX_Pixel16* in, VX_Pixel16* out) {
    V c[4];
    PixelLanes<VX_Pixel16>::Load(in, c);
    for (int k = 1; k < 4; ++k) c[k] = LinearFromStored16(t, c[k]);
    PixelLanes<VX_Pixel16>::Store(out, c);
  }
  static VX_INLINE void From(const VX_LinearBlendingTables& t, const VX_Pixel16* in, VX_Pixel16* out) {
    V c[4];
    PixelLanes<VX_Pixel16>::Load(in, c);
    for (int k = 1; k < 4; ++k) c[k] = StoredFromLinear(t, c[k]);
    PixelLanes<VX_Pixel16>::Store(out, c);
  }
};

}  // namespace

template <class Pixel>
int32_t VXp_ToLinearRow_AVX2(const VX_LinearBlendingTables& t, const Pixel* in, int32_t count, VX_Pixel16* out) {
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) Linearize<Pixel>::To(t, in + i, out + i);
  return i;
}

template <class Pixel>
int32_t VXp_FromLinearRow_AVX2(const VX_LinearBlendingTables& t, const VX_Pixel16* in, int32_t count, Pixel* out) {
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) Linearize<Pixel>::From(t, in + i, out + i);
  return i;
}

template int32_t VXp_ToLinearRow_AVX2<VX_Pixel8>(const VX_LinearBlendingTables&, const VX_Pixel8*, int32_t,
                                                 VX_Pixel16*);
template int32_t VXp_ToLinearRow_AVX2<VX_Pixel16>(const VX_LinearBlendingTables&, const VX_Pixel16*, int32_t,
                                                  VX_Pixel16*);
template int32_t VXp_FromLinearRow_AVX2<VX_Pixel8>(const VX_LinearBlendingTables&, const VX_Pixel16*, int32_t,
                                                   VX_Pixel8*);
template int32_t VXp_FromLinearRow_AVX2<VX_Pixel16>(const VX_LinearBlendingTables&, const VX_Pixel16*, int32_t,
                                                    VX_Pixel16*);
