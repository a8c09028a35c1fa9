// The picture at 8 bits on eight lanes: the scalar arithmetic lane by lane
// (the same lerps in the same order, the product by 1 - t in double), the
// four neighbours of each sample gathered as whole pixels.
#include "PictureLanes.h"
#include "simd/Lanes.h"
#include "simd/Tables.h"

namespace {

using namespace vx::simd;

// The bilinear sample of eight positions known inside, in 0..1 units.
VX_INLINE LanePixel<F32x8> Sample(const uint32_t* frame, int32_t stride, F32x8 u, F32x8 v, float toUnit) {
  const I32x8 i = Truncate(u), j = Truncate(v);
  const F32x8 fx = u - ToFloat(i), fy = v - ToFloat(j);
  const I32x8 at = j * I32x8(stride) + i;
  const auto* table = reinterpret_cast<const int32_t*>(frame);
  const I32x8 p00 = Gather(table, at), p10 = Gather(table, at + I32x8(1));
  const I32x8 p01 = Gather(table, at + I32x8(stride)), p11 = Gather(table, at + I32x8(stride + 1));
  auto channel = [&](int shift) VX_INLINE_LAMBDA {
    auto c = [&](I32x8 p) VX_INLINE_LAMBDA { return ToFloat(Srl(p, shift) & I32x8(0xFF)); };
    const F32x8 a00 = c(p00), a10 = c(p10), a01 = c(p01), a11 = c(p11);
    const F32x8 top = (a10 - a00) * fx + a00, bottom = (a11 - a01) * fx + a01;
    return ((bottom - top) * fy + top) * F32x8(toUnit);
  };
  return {channel(0), channel(8), channel(16), channel(24)};
}

VX_INLINE I32x8 ToByte(F32x8 v) {
  const I32x8 r = Truncate(v + F32x8(0.5f));
  return Select(v >= F32x8(255.0f), I32x8(255), Select(v > F32x8(0.0f), r, I32x8(0)));
}

VX_INLINE Mask<256> Inside(F32x8 u, F32x8 v, int32_t width, int32_t height) {
  return u >= F32x8(0.0f) && v >= F32x8(0.0f) && u < F32x8(float(width - 1)) && v < F32x8(float(height - 1));
}

}  // namespace

bool FnPictureGroup8_AVX2(const FnPictureRow8& row, int32_t x) {
  if (!AllZero(I32x8::Load(row.labels + x))) return false;
  F32x8 ax, ay, bx, by;
  LoadPairs(&row.vectorsA[x].x, &ax, &ay);
  LoadPairs(&row.vectorsB[x].x, &bx, &by);
  const F32x8 invalid(FnInvalidValue);
  if (!None((ax == invalid) || (ay == invalid) || (bx == invalid) || (by == invalid))) return false;
  static const int32_t kLane[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  const F32x8 px = ToFloat(I32x8(x) + I32x8::Load(kLane)) + F32x8(0.5f);
  const F32x8 py(row.py);
  // a reaches B, b reaches A; positions as the scalar form computes them.
  const F32x8 uB = (px - ax * F32x8(row.wa)) - F32x8(0.5f), vB = (py + ay * F32x8(row.wa)) - F32x8(0.5f);
  const F32x8 uA = (px - bx * F32x8(row.wb)) - F32x8(0.5f), vA = (py + by * F32x8(row.wb)) - F32x8(0.5f);
  if (!All(Inside(uB, vB, row.width, row.height) && Inside(uA, vA, row.width, row.height))) return false;
  const float toUnit = 1.0f / 255.0f;
  const LanePixel<F32x8> sb = Sample(row.frameB, row.strideB, uB, vB, toUnit);
  const LanePixel<F32x8> sa = Sample(row.frameA, row.strideA, uA, vA, toUnit);
  const F32x8 t(row.t);
  auto mix = [&](F32x8 b, F32x8 a) VX_INLINE_LAMBDA { return ToByte((b * t + MulInDouble(a, row.rest)) * F32x8(255.0f)); };
  const I32x8 alpha = mix(sb.alpha, sa.alpha), red = mix(sb.red, sa.red), green = mix(sb.green, sa.green),
              blue = mix(sb.blue, sa.blue);
  (alpha | (red << 8) | (green << 16) | (blue << 24)).Store(row.out + x);
  return true;
}
