// Running boxes and sampled kernels along rows and down columns.
#include "FilterSpans.h"

namespace {

// Narrow boxes are summed in full, a pass over the span per tap, which
// vectorises; the running sum below carries a dependency from pixel to pixel
// and only pays for itself on wide boxes.
constexpr int32_t kDirectBoxLimit = 4;

void DirectBoxSpan(const float* __restrict in, float* __restrict out, int32_t len, int32_t n, float f, float w) {
  for (int32_t i = 0; i < len; ++i) out[i] = in[i - n];
  for (int32_t d = -n + 1; d <= n; ++d)
    for (int32_t i = 0; i < len; ++i) out[i] += in[i + d];
  for (int32_t i = 0; i < len; ++i) out[i] = w * (out[i] + f * (in[i - n - 1] + in[i + n + 1]));
}

}  // namespace

void FnBoxSpan(const float* __restrict in, float* __restrict out, int32_t len, int32_t n, float f, float w) {
  if (n <= kDirectBoxLimit) return DirectBoxSpan(in, out, len, n, f, w);
  float s = 0.0f;
  for (int32_t d = -n; d <= n; ++d) s += in[d];
  for (int32_t i = 0; i < len; ++i) {
    out[i] = w * (s + f * (in[i - n - 1] + in[i + n + 1]));
    s += in[i + n + 1] - in[i - n];
  }
}

void FnKernelSpan(const float* __restrict in, float* __restrict out, int32_t len, const float* weights, int32_t taps) {
  const float* base = in - taps / 2;
  for (int32_t i = 0; i < len; ++i) {
    float s = 0.0f;
    for (int32_t k = 0; k < taps; ++k) s += weights[k] * base[i + k];
    out[i] = s;
  }
}

void FnBoxColumns(const float* __restrict in, float* __restrict out, int32_t stride, int32_t width, int32_t len, int32_t n, float f,
                  float w, float* __restrict sums) {
  if (n <= kDirectBoxLimit) {
    // The same sums in the same order as DirectBoxSpan, a row at a time.
    for (int32_t i = 0; i < len; ++i) {
      const float* __restrict c = in + ptrdiff_t(i) * stride;
      float* __restrict o = out + ptrdiff_t(i) * stride;
      const float* first = c - ptrdiff_t(n) * stride;
      for (int32_t j = 0; j < width; ++j) o[j] = first[j];
      for (int32_t d = -n + 1; d <= n; ++d) {
        const float* row = c + ptrdiff_t(d) * stride;
        for (int32_t j = 0; j < width; ++j) o[j] += row[j];
      }
      const float* lo = c - ptrdiff_t(n + 1) * stride;
      const float* hi = c + ptrdiff_t(n + 1) * stride;
      for (int32_t j = 0; j < width; ++j) o[j] = w * (o[j] + f * (lo[j] + hi[j]));
    }
    return;
  }
  for (int32_t j = 0; j < width; ++j) sums[j] = 0.0f;
  for (int32_t d = -n; d <= n; ++d) {
    const float* row = in + ptrdiff_t(d) * stride;
    for (int32_t j = 0; j < width; ++j) sums[j] += row[j];
  }
  for (int32_t i = 0; i < len; ++i) {
    const float* lo = in + ptrdiff_t(i - n - 1) * stride;
    const float* hi = in + ptrdiff_t(i + n + 1) * stride;
    const float* leave = in + ptrdiff_t(i - n) * stride;
    float* __restrict o = out + ptrdiff_t(i) * stride;
    for (int32_t j = 0; j < width; ++j) {
      o[j] = w * (sums[j] + f * (lo[j] + hi[j]));
      sums[j] += hi[j] - leave[j];
    }
  }
}

void FnKernelColumns(const float* __restrict in, float* __restrict out, int32_t stride, int32_t width, int32_t len, const float* weights,
                     int32_t taps) {
  for (int32_t i = 0; i < len; ++i) {
    float* __restrict o = out + ptrdiff_t(i) * stride;
    for (int32_t j = 0; j < width; ++j) o[j] = 0.0f;
    for (int32_t k = 0; k < taps; ++k) {
      const float* row = in + ptrdiff_t(i - taps / 2 + k) * stride;
      const float wk = weights[k];
      for (int32_t j = 0; j < width; ++j) o[j] += wk * row[j];
    }
  }
}

void FnAxpySpan(const float* __restrict in, float* __restrict acc, float k, int32_t len) {
  for (int32_t i = 0; i < len; ++i) acc[i] += k * in[i];
}

void FnHalvingSpan(const float* __restrict in, float* __restrict out, int32_t len, const float* __restrict weights,
                   int32_t taps) {
  for (int32_t x = 0; x < len; ++x) out[x] = 0.0f;
  for (int32_t k = 0; k < taps; ++k) {
    const float wk = weights[k];
    const float* src = in + k;
    for (int32_t x = 0; x < len; ++x) out[x] += wk * src[2 * x];
  }
}
