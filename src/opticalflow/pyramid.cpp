// Pyramid levels: a blur of the level above, halved by exact decimation.
#include <cmath>
#include <new>
#include <vector>

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

template <class E, class A, int Scale>
bool FnFilteredPyramid<E, A, Scale>::reduce(const FnTexture<E, A>* source, FnTexture<E, A>* out) {
  if (!source || !out || source->empty() || out->empty()) {
    this->abortWith(4);
    return false;
  }
  FnTexture<E, A> scratch(source->width(), source->height());
  if (scratch.allocFailed) {
    this->abortWith(4);
    return false;
  }
  scratch.setEdgeMode(source->xAxis.edgeMode, source->yAxis.edgeMode);
  scratch.setOutsideValue(source->outsideValue);

  BlurGeneralGauss<E, A, Scale> blur;
  blur.interrupt = this->interrupt;
  if (useKernel) {
    const int32_t taps = filterWidth < 1 ? 1 : filterWidth;
    std::vector<float> weights(static_cast<size_t>(taps));
    float sum = 0.0f;
    for (int32_t i = 0; i < taps; ++i) {
      const float k = float(taps / 2 - i);
      weights[size_t(i)] = std::exp(-(k * k) / (variance * 2.0f));
      sum += weights[size_t(i)];
    }
    for (float& w : weights) w /= sum;
    blur.setKernel(weights);
  } else {
    const float sigma = float(filterWidth / 3);
    blur.setSigma(sigma, sigma);
    blur.boxes = 3;
  }
  blur.process(source, &scratch);
  if (this->interrupted(0)) return false;

  FnImageZoomSampler<E, A, Scale, E, A, Scale> zoom;
  zoom.interrupt = this->interrupt;
  zoom.zoomFlags = FnZoom_KeepFactors;
  zoom.xFactor = 2.0f;
  zoom.yFactor = 2.0f;
  zoom.process(&scratch, out);
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
