// Pyramid levels: a blur of the level above, halved by exact decimation.
#include <algorithm>
#include <cmath>
#include <new>
#include <utility>
#include <vector>

#include "FilterSpans.h"
#include "vx/opticalflow/Pyramid.h"

template <class E, class A, int Scale>
int32_t FnMotionEstimateMapStackHolder<E, A, Scale>::levelsFor(int32_t width, int32_t height) {
  int32_t c = 1, w = width / 2, h = height / 2;
  while (w / 4 >= 2 && h / 4 >= 2 && c < kMaxLevels) {
    ++c;
    w /= 2;
    h /= 2;
  }
  return c;
}

template <class E, class A, int Scale>
int32_t FnMotionEstimateMapStackHolder<E, A, Scale>::build(FnTexture<E, A>* levelZero, int32_t levels) {
  clear();
  error = 0;
  if (!levelZero || levels < 1) return error;
  if (levels > kMaxLevels) levels = kMaxLevels;
  maps_[0] = levelZero;
  owned_[0] = false;
  count_ = 1;
  int32_t w = levelZero->width(), h = levelZero->height();
  for (int32_t i = 1; i < levels; ++i) {
    w /= 2;
    h /= 2;
    auto* level = new (std::nothrow) FnTexture<E, A>(w, h);
    if (!level || level->allocFailed) {
      delete level;
      clear();
      error = 4;
      return error;
    }
    level->setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
    maps_[i] = level;
    owned_[i] = true;
    count_ = i + 1;
  }
  return error;
}

template <class E, class A, int Scale>
void FnMotionEstimateMapStackHolder<E, A, Scale>::clear() {
  for (int32_t i = 0; i < count_; ++i) {
    if (owned_[i]) delete maps_[i];
    maps_[i] = nullptr;
    owned_[i] = false;
  }
  count_ = 0;
}

template <class E, class A, int Scale>
void FnFilteredPyramid<E, A, Scale>::initialise(FnTexture<E, A>* levelZero) {
  if (!stack) return;
  levels = stack->levels();
  for (int32_t level = 1; level < levels; ++level) {
    if (this->interrupted(0)) return;
    if (!reduce(stack->level(level - 1), stack->level(level))) return;
    if (!levelHook(level)) return;
  }
}

namespace {

// The blur and the halving of a level in one: the separable filter is
// evaluated only where the halving reads it, at even rows and columns, so a
// level costs a quarter of a full-size blur and needs no scratch image. The
// result is the blurred level's pixel (2x, 2y), as a zoom by exactly 2 reads.
class HalvingBlur : public Sampler<FnFloatTexture, FnFloatTexture> {
 public:
  HalvingBlur(std::vector<float> x, std::vector<float> y) : kx(std::move(x)), ky(std::move(y)) {}

  void processRows(const FnFloatTexture* s, FnFloatTexture* t, int32_t threadIndex) override {
    const int32_t rx = int32_t(kx.size() / 2), ry = int32_t(ky.size() / 2);
    const int32_t count = x1 - x0;
    if (count <= 0) return;
    const int32_t wide = 2 * count + 2 * rx;
    std::vector<float> acc(static_cast<size_t>(wide)), row(static_cast<size_t>(wide));
    forEachRow(threadIndex, [&](int32_t y) {
      std::fill(acc.begin(), acc.end(), 0.0f);
      for (size_t j = 0; j < ky.size(); ++j) {
        s->readRow(2 * y + int32_t(j) - ry + s->yAxis.start, 2 * x0 - rx + s->xAxis.start, wide, row.data());
        FnAxpySpan(row.data(), acc.data(), ky[j], wide);
      }
      FnHalvingSpan(acc.data(), t->rawRow(y) + x0, count, kx.data(), int32_t(kx.size()));
    });
  }

  std::vector<float> kx, ky;
};

}  // namespace

template <class E, class A, int Scale>
bool FnFilteredPyramid<E, A, Scale>::reduce(const FnTexture<E, A>* source, FnTexture<E, A>* out) {
  if (!source || !out || source->empty() || out->empty()) {
    this->abortWith(4);
    return false;
  }
  std::vector<float> kx, ky;
  if (useKernel) {
    const int32_t taps = filterWidth < 1 ? 1 : (filterWidth | 1);
    for (int32_t i = 0; i < taps; ++i) {
      const float k = float(taps / 2 - i);
      kx.push_back(std::exp(-(k * k) / (variance * 2.0f)));
    }
    float sum = 0.0f;
    for (float w : kx) sum += w;
    for (float& w : kx) w /= sum;
    ky = kx;
  } else {
    // The boxes BlurGeneralGauss runs for sigma filterWidth/3, as kernels.
    const float sigma = float(filterWidth / 3);
    kx = FnBoxCascadeKernel(FnBoxRadiusFor(sigma, 3, float(source->width()) / 3.0f), 3);
    ky = FnBoxCascadeKernel(FnBoxRadiusFor(sigma, 3, float(source->height()) / 3.0f), 3);
  }
  HalvingBlur halve(std::move(kx), std::move(ky));
  halve.interrupt = this->interrupt;
  halve.process(source, out);
  return !this->interrupted(0);
}

template <class E, class A, int Scale>
bool FnFilteredPyramidAlpha<E, A, Scale>::levelHook(int32_t level) {
  if (!mask) return true;
  return this->reduce(mask->level(level - 1), mask->level(level));
}

template class FnMotionEstimateMapStackHolder<float, float, 1>;
template class FnMotionEstimateMapStackHolder<HvVec2, HvVec2, 1>;
template class FnFilteredPyramid<float, float, 1>;
template class FnFilteredPyramidAlpha<float, float, 1>;
