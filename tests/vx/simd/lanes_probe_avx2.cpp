// The lane forms the lane test checks, on 256-bit registers. Kept apart
// from the test itself so that only this file has AVX2 code.
#include "composite/formulas/XferSoftLightLanes.h"
#include "vx/simd/WordLanesProbe.h"

using namespace vx::simd;

// The 16-bit lane divide, eight quotients at a time.
void VXtest_Div16Lanes(const int32_t* a, const int32_t* v, int32_t* q, int32_t n) {
  for (int32_t i = 0; i + 8 <= n; i += 8) Depth16<256>::div(I32x8::Load(a + i), I32x8::Load(v + i)).Store(q + i);
}

// Quotients by one divisor a lane, through the lanes' reciprocal form.
void VXtest_DivisorLanes(const int32_t* n, const int32_t* d, int32_t* q, int32_t count) {
  for (int32_t i = 0; i + 8 <= count; i += 8)
    IntDepth<256>::DivideBy(I32x8::Load(d + i))(I32x8::Load(n + i)).Store(q + i);
}

// The float soft-light curve each lane picks for d, dark where `dark` is
// nonzero, eight values at a time.
void VXtest_SoftLightFLanes(const float* d, const int32_t* dark, float* out, int32_t count) {
  for (int32_t i = 0; i + 8 <= count; i += 8)
    vx::XferSoftLightLanes<DepthF<256>>::Curve(I32x8::Load(dark + i) != I32x8(0), F32x8::Load(d + i)).Store(out + i);
}

void VXtest_WordLanes8(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out, int32_t count) {
  RunWordLanes8<256>(op, a, b, c, out, count);
}
void VXtest_Div8Lanes(const int32_t* a, const int32_t* v, int32_t* q, int32_t count) {
  RunDiv8Lanes<256>(a, v, q, count);
}

// The 16-bit soft-light curve each lane picks for d, dark where `dark` is
// nonzero, and a x b / den through the 16-bit lanes, eight at a time.
void VXtest_SoftLight16Lanes(const int32_t* d, const int32_t* dark, int32_t* out, int32_t count) {
  for (int32_t i = 0; i + 8 <= count; i += 8)
    vx::XferSoftLightLanes<Depth16<256>>::Curve(I32x8::Load(dark + i) != I32x8(0), I32x8::Load(d + i)).Store(out + i);
}
void VXtest_ScaledQuot16Lanes(const int32_t* a, const int32_t* b, const int32_t* den, int32_t* q, int32_t count) {
  for (int32_t i = 0; i + 8 <= count; i += 8)
    Depth16<256>::ScaledQuot(I32x8::Load(a + i), I32x8::Load(b + i), I32x8::Load(den + i)).Store(q + i);
}
