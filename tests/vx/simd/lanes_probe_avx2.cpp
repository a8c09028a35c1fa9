// The 16-bit lane divide, eight quotients at a time, for the divide test.
// Kept apart from the test itself so that only this file has AVX2 code.
#include "vx/simd/WordLanesProbe.h"

void VXtest_Div16Lanes(const int32_t* a, const int32_t* v, int32_t* q, int32_t n) {
  using vx::lanes::Lanes16;
  using vx::lanes::V;
  for (int32_t i = 0; i + 8 <= n; i += 8) {
    const V x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a + i));
    const V y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(v + i));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(q + i), Lanes16::div(x, y).v);
  }
}

// Quotients by one divisor a lane, through the lanes' reciprocal form.
void VXtest_DivisorLanes(const int32_t* n, const int32_t* d, int32_t* q, int32_t count) {
  using vx::lanes::V;
  for (int32_t i = 0; i + 8 <= count; i += 8) {
    const V x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(n + i));
    const V y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d + i));
    const V r = vx::lanes::IntLanes::DivideBy(y)(x);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(q + i), r.v);
  }
}

// The float soft-light curve each lane picks for d, dark where `dark` is
// nonzero, eight values at a time.
void VXtest_SoftLightFLanes(const float* d, const int32_t* dark, float* out, int32_t count) {
  using vx::lanes::LanesF;
  using vx::lanes::V;
  for (int32_t i = 0; i + 8 <= count; i += 8) {
    const V k = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(dark + i));
    const vx::lanes::VF x = _mm256_loadu_ps(d + i);
    _mm256_storeu_ps(out + i, LanesF::SoftLightCurve(k != V(0), x).v);
  }
}

void VXtest_WordLanes8(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out, int32_t count) {
  RunWordLanes8(op, a, b, c, out, count);
}

// The 16-bit soft-light curve each lane picks for d, dark where `dark` is
// nonzero, and a x b / den through the 16-bit lanes, eight at a time.
void VXtest_SoftLight16Lanes(const int32_t* d, const int32_t* dark, int32_t* out, int32_t count) {
  using vx::lanes::Lanes16;
  using vx::lanes::V;
  for (int32_t i = 0; i + 8 <= count; i += 8) {
    const V k = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(dark + i));
    const V x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d + i));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), Lanes16::SoftLightCurve(k != V(0), x).v);
  }
}
void VXtest_ScaledQuot16Lanes(const int32_t* a, const int32_t* b, const int32_t* den, int32_t* q, int32_t count) {
  using vx::lanes::V;
  const auto load = [](const int32_t* p) { return V(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))); };
  for (int32_t i = 0; i + 8 <= count; i += 8)
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(q + i),
                        vx::lanes::Lanes16::ScaledQuot(load(a + i), load(b + i), load(den + i)).v);
}
