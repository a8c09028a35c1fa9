// Running boxes and sampled kernels along rows and down columns.
#include "FilterSpans.h"

void FnBoxSpan(const float* in, float* out, int32_t len, int32_t n, float f, float w) {
  float s = 0.0f;
  for (int32_t d = -n; d <= n; ++d) s += in[d];
  for (int32_t i = 0; i < len; ++i) {
    out[i] = w * (s + f * (in[i - n - 1] + in[i + n + 1]));
    s += in[i + n + 1] - in[i - n];
  }
}

void FnKernelSpan(const float* in, float* out, int32_t len, const float* weights, int32_t taps) {
  const float* base = in - taps / 2;
  for (int32_t i = 0; i < len; ++i) {
    float s = 0.0f;
    for (int32_t k = 0; k < taps; ++k) s += weights[k] * base[i + k];
    out[i] = s;
  }
}

void FnBoxColumns(const float* in, float* out, int32_t stride, int32_t width, int32_t len, int32_t n, float f,
                  float w, float* sums) {
  for (int32_t j = 0; j < width; ++j) sums[j] = 0.0f;
  for (int32_t d = -n; d <= n; ++d) {
    const float* row = in + ptrdiff_t(d) * stride;
    for (int32_t j = 0; j < width; ++j) sums[j] += row[j];
  }
  for (int32_t i = 0; i < len; ++i) {
    const float* lo = in + ptrdiff_t(i - n - 1) * stride;
    const float* hi = in + ptrdiff_t(i + n + 1) * stride;
    const float* leave = in + ptrdiff_t(i - n) * stride;
    float* o = out + ptrdiff_t(i) * stride;
    for (int32_t j = 0; j < width; ++j) {
      o[j] = w * (sums[j] + f * (lo[j] + hi[j]));
      sums[j] += hi[j] - leave[j];
    }
  }
}

void FnKernelColumns(const float* in, float* out, int32_t stride, int32_t width, int32_t len, const float* weights,
                     int32_t taps) {
  for (int32_t i = 0; i < len; ++i) {
    float* o = out + ptrdiff_t(i) * stride;
    for (int32_t j = 0; j < width; ++j) o[j] = 0.0f;
    for (int32_t k = 0; k < taps; ++k) {
      const float* row = in + ptrdiff_t(i - taps / 2 + k) * stride;
      const float wk = weights[k];
      for (int32_t j = 0; j < width; ++j) o[j] += wk * row[j];
    }
  }
}
