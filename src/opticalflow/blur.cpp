// Gaussian blur by running boxes: rows first, then columns in strips.
#include <algorithm>
#include <cmath>
#include <vector>

#include "FilterSpans.h"
#include "vx/opticalflow/Blur.h"

namespace {

constexpr int32_t kStripColumns = 64;

// The chain of filters of one axis over a buffer of `count` values padded
// by `pad` on each side; `step` moves from one value to the next (1 along a
// row, the strip's stride down columns). The result lands in *result at
// [pad, pad + count).
struct AxisFilter {
  FnBoxRadius r;
  int32_t boxes;
  const std::vector<float>* kernel;

  int32_t pad() const { return kernel->empty() ? boxes * (r.n + 1) : int32_t(kernel->size() / 2); }
  float weight() const { return 1.0f / (2.0f * r.n + 1.0f + 2.0f * r.f); }
};

float* FilterRow(const AxisFilter& a, int32_t count, float* buf, float* spare) {
  const int32_t pad = a.pad();
  if (!a.kernel->empty()) {
    FnKernelSpan(buf + pad, spare + pad, count, a.kernel->data(), int32_t(a.kernel->size()));
    return spare;
  }
  const int32_t reach = a.r.n + 1;
  for (int32_t k = 1; k <= a.boxes; ++k) {
    const int32_t off = k * reach;
    FnBoxSpan(buf + off, spare + off, count + 2 * (pad - off), a.r.n, a.r.f, a.weight());
    std::swap(buf, spare);
  }
  return buf;
}

float* FilterStrip(const AxisFilter& a, int32_t rows, int32_t stride, int32_t width, float* buf, float* spare,
                   float* sums) {
  const int32_t pad = a.pad();
  if (!a.kernel->empty()) {
    FnKernelColumns(buf + ptrdiff_t(pad) * stride, spare + ptrdiff_t(pad) * stride, stride, width, rows,
                    a.kernel->data(), int32_t(a.kernel->size()));
    return spare;
  }
  const int32_t reach = a.r.n + 1;
  for (int32_t k = 1; k <= a.boxes; ++k) {
    const int32_t off = k * reach;
    FnBoxColumns(buf + ptrdiff_t(off) * stride, spare + ptrdiff_t(off) * stride, stride, width,
                 rows + 2 * (pad - off), a.r.n, a.r.f, a.weight(), sums);
    std::swap(buf, spare);
  }
  return buf;
}

}  // namespace

FnBoxRadius FnBoxRadiusFor(float sigma, int32_t boxes, float limit) {
  if (!(sigma > 0.0f) || boxes < 1) return {0, 0.0f};
  // A box of integer radius n has variance n(n+1)/3; the fraction f at
  // distance n+1 makes up the rest of sigma^2 / boxes.
  const double v = double(sigma) * sigma / boxes;
  int32_t n = 0;
  while ((n + 1.0) * (n + 2.0) / 3.0 <= v && n < (1 << 20)) ++n;
  const double a = n * (n + 1.0) * (2.0 * n + 1.0) / 3.0;
  double f = (v * (2.0 * n + 1.0) - a) / (2.0 * ((n + 1.0) * (n + 1.0) - v));
  f = std::clamp(f, 0.0, 1.0);
  double r = n + f;
  if (limit >= 0.0f && r > limit) r = limit;
  const int32_t whole = static_cast<int32_t>(std::floor(r));
  return {whole, static_cast<float>(r - whole)};
}

std::vector<float> FnBoxCascadeKernel(FnBoxRadius r, int32_t boxes) {
  std::vector<double> h{1.0};
  const double w = 1.0 / (2.0 * r.n + 1.0 + 2.0 * r.f);
  for (int32_t b = 0; b < boxes; ++b) {
    std::vector<double> next(h.size() + 2 * size_t(r.n + 1), 0.0);
    for (size_t i = 0; i < h.size(); ++i)
      for (int32_t d = 0; d <= 2 * (r.n + 1); ++d) next[i + size_t(d)] += h[i] * ((d == 0 || d == 2 * (r.n + 1)) ? r.f * w : w);
    h.swap(next);
  }
  return std::vector<float>(h.begin(), h.end());
}

template <class E, class A, int Scale>
void BlurGeneralGauss<E, A, Scale>::initialise(const FnTexture<E, A>* s, FnTexture<E, A>* t) {
  sameSize_ = s->width() == t->width() && s->height() == t->height();
  if (!sameSize_) {
    FnPrintNodeLine(FnSamplerBogusText);
    return;
  }
  // The blur covers the whole target window.
  this->x0 = t->xAxis.first, this->x1 = t->xAxis.first + t->xAxis.count;
  this->y0 = t->yAxis.first, this->y1 = t->yAxis.first + t->yAxis.count;
  rx_ = FnBoxRadiusFor(sigmaX / this->xScale, boxes, float(t->width()) / 3.0f);
  ry_ = FnBoxRadiusFor(sigmaY / this->yScale, boxes, float(t->height()) / 3.0f);
  if (!kernel.empty() && kernel.size() % 2 == 0) kernel.push_back(0.0f);  // odd, centred
}

template <class E, class A, int Scale>
void BlurGeneralGauss<E, A, Scale>::processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) {
  if (!sameSize_) return;
  if (this->pass == 0) filterRows(s, t, threadIndex);
  if (this->pass == 1 && (mode & kVertical)) filterColumns(s, t, threadIndex);
}

template <class E, class A, int Scale>
void BlurGeneralGauss<E, A, Scale>::filterRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) {
  const int32_t count = this->x1 - this->x0;
  if (count <= 0) return;
  const AxisFilter a{rx_, boxes, &kernel};
  const int32_t pad = (mode & kHorizontal) ? a.pad() : 0;
  std::vector<float> buf(size_t(count) + 2 * size_t(pad)), spare(buf.size());
  this->forEachRow(threadIndex, [&](int32_t y) {
    float* out = t->rawRow(y) + this->x0;
    if (!(mode & kHorizontal)) {
      if (static_cast<const void*>(s) == t) return;  // in place: the row is there already
      s->readRow(y + s->yAxis.start, this->x0 + s->xAxis.start, count, out);
      return;
    }
    s->readRow(y + s->yAxis.start, this->x0 - pad + s->xAxis.start, count + 2 * pad, buf.data());
    const float* result = FilterRow(a, count, buf.data(), spare.data());
    std::copy(result + pad, result + pad + count, out);
  });
}

template <class E, class A, int Scale>
void BlurGeneralGauss<E, A, Scale>::filterColumns(const FnTexture<E, A>* s, FnTexture<E, A>* t,
                                                   int32_t threadIndex) {
  const int32_t rows = this->y1 - this->y0;
  const FnBand columns = FnThreadBand(this->x0, this->x1, this->threadCount(), threadIndex);
  if (rows <= 0 || columns.end <= columns.begin) return;
  const AxisFilter a{ry_, boxes, &kernel};
  const int32_t pad = a.pad();
  const int32_t stride = kStripColumns;
  const size_t height = size_t(rows) + 2 * size_t(pad);
  std::vector<float> buf(height * stride), spare(height * stride), sums(stride);
  for (int32_t c0 = columns.begin; c0 < columns.end; c0 += stride) {
    if (this->interrupted(threadIndex)) break;
    const int32_t width = std::min(stride, columns.end - c0);
    // The strip of the row-filtered target, its margins by the source's rules.
    for (int32_t r = -pad; r < rows + pad; ++r) {
      float* dst = buf.data() + size_t(r + pad) * stride;
      const int32_t src = s->yAxis.resolve(this->y0 + r);
      if (src < 0)
        std::fill(dst, dst + width, s->outsideValue);
      else
        std::copy(t->rawRow(src) + c0, t->rawRow(src) + c0 + width, dst);
    }
    const float* result = FilterStrip(a, rows, stride, width, buf.data(), spare.data(), sums.data());
    for (int32_t r = 0; r < rows; ++r) {
      const float* src = result + size_t(r + pad) * stride;
      std::copy(src, src + width, t->rawRow(this->y0 + r) + c0);
    }
  }
}

template class BlurGeneralGauss<float, float, 1>;
