// Inner loops of the blurs and zooms: small pure functions over spans of
// floats, free of edge tests, written for the compiler to vectorise.
#pragma once

#include <cstddef>
#include <cstdint>

// out[i] = w * (sum of in[i-n..i+n] + f * (in[i-n-1] + in[i+n+1])) for i in
// [0, len): one running box along a span; in[-n-1] .. in[len+n] are read.
void FnBoxSpan(const float* in, float* out, int32_t len, int32_t n, float f, float w);
// out[i] = sum over k of weights[k] * in[i - taps/2 + k].
void FnKernelSpan(const float* in, float* out, int32_t len, const float* weights, int32_t taps);

// Column forms over a strip of rows `stride` floats apart, `width` columns:
// the same filters down each column, for `len` output rows starting at `in`
// and `out` (whose rows -n-1 .. len+n, or the kernel's reach, are read).
void FnBoxColumns(const float* in, float* out, int32_t stride, int32_t width, int32_t len, int32_t n, float f,
                  float w, float* sums);
void FnKernelColumns(const float* in, float* out, int32_t stride, int32_t width, int32_t len, const float* weights,
                     int32_t taps);

// acc[i] += k * in[i]: one tap of a filter down columns, a row at a time.
void FnAxpySpan(const float* in, float* acc, float k, int32_t len);
// out[x] = sum over i of weights[i] * in[2x + i]: a row filter evaluated at
// every second position.
void FnHalvingSpan(const float* in, float* out, int32_t len, const float* weights, int32_t taps);
