// Zooms by a factor and resampling through a matrix.
#include <cmath>
#include <vector>

#include "vx/opticalflow/Zoom.h"

namespace {

template <class E>
E DivideVector(const E& v, float xFactor, float yFactor) {
  if constexpr (std::is_same_v<E, HvVec2>) {
    if (FnIsInvalid(v)) return v;
    return HvVec2{v.x / xFactor, v.y / yFactor};
  } else {
    return v;  // only vectors have components to rescale
  }
}

template <class E, class A>
E NearestOrOutside(const FnTexture<E, A>& s, int32_t ix, int32_t iy) {
  const FnTexAxis& ax = s.xAxis;
  const FnTexAxis& ay = s.yAxis;
  if (ix < ax.first || ix >= ax.first + ax.count || iy < ay.first || iy >= ay.first + ay.count)
    return s.outsideValue;
  return s.rawRow(iy)[ix];
}

// Truncation towards zero of a product that may be huge or negative.
int32_t TruncIndex(float v) {
  if (!(v > -1.0e9f)) return -1000000000;
  if (v > 1.0e9f) return 1000000000;
  return static_cast<int32_t>(v);
}

}  // namespace

template <class E, class A>
void ImageZoomerBase<E, A>::initialise(const FnTexture<E, A>* s, FnTexture<E, A>* t) {
  if (zoomFlags & FnZoom_KeepFactors) return;
  xFactor = float(s->width()) / float(t->width());
  yFactor = float(s->height()) / float(t->height());
}

template <class E, class A>
void ImageZoomerBase<E, A>::processPixel(int32_t x, int32_t y, E& target, int32_t) {
  const FnTexture<E, A>& s = *this->in_;
  E v;
  if (zoomFlags & FnZoom_Nearest)
    v = NearestOrOutside(s, TruncIndex(float(x) * xFactor), TruncIndex(float(y) * yFactor));
  else
    v = FnFromAccumulate<E>(s.sample(float(x) * xFactor + 0.5f, float(y) * yFactor + 0.5f));
  if (zoomFlags & FnZoom_ScaleVectors) v = DivideVector(v, xFactor, yFactor);
  target = v;
}

// Nearest zooms read the same source columns on every row: found once.
template <class E, class A>
void ImageZoomerBase<E, A>::processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) {
  if (!(zoomFlags & FnZoom_Nearest)) return GeneralSamplerPos<FnTexture<E, A>, FnTexture<E, A>>::processRows(s, t, threadIndex);
  const int32_t n = this->x1 - this->x0;
  if (n <= 0) return;
  std::vector<int32_t> cols(static_cast<size_t>(n));
  for (int32_t k = 0; k < n; ++k) cols[size_t(k)] = TruncIndex(float(this->x0 + k) * xFactor);
  const bool scale = (zoomFlags & FnZoom_ScaleVectors) != 0;
  this->forEachRow(threadIndex, [&](int32_t y) {
    const int32_t iy = TruncIndex(float(y) * yFactor);
    E* out = t->rawRow(y) + this->x0;
    for (int32_t k = 0; k < n; ++k) {
      const E v = NearestOrOutside(*s, cols[size_t(k)], iy);
      out[k] = scale ? DivideVector(v, xFactor, yFactor) : v;
    }
  });
}

template <class E, class A, int S, class TE, class TA, int TS>
void FnImageZoomSampler<E, A, S, TE, TA, TS>::initialise(const FnTexture<E, A>* s, FnTexture<TE, TA>* t) {
  if (zoomFlags & FnZoom_KeepFactors) return;
  xFactor = float(s->width()) / float(t->width());
  yFactor = float(s->height()) / float(t->height());
}

template <class E, class A, int S, class TE, class TA, int TS>
void FnImageZoomSampler<E, A, S, TE, TA, TS>::processRows(const FnTexture<E, A>* s, FnTexture<TE, TA>* t,
                                                          int32_t threadIndex) {
  const bool nearest = (zoomFlags & FnZoom_Nearest) != 0;
  const FnTexAxis& ax = s->xAxis;
  const float xf = xFactor, yf = yFactor;
  // The columns' source positions are the same on every row: found once.
  const int32_t n = this->x1 - this->x0;
  if (n <= 0) return;
  std::vector<int32_t> cols(static_cast<size_t>(n));
  std::vector<float> fracs(static_cast<size_t>(n));
  for (int32_t k = 0; k < n; ++k)
    cols[size_t(k)] = nearest ? TruncIndex(float(this->x0 + k) * xf)
                              : FnFloorSplit(float(this->x0 + k) * xf + 0.5f - 0.5f - ax.originF, &fracs[size_t(k)]);
  this->forEachRow(threadIndex, [&](int32_t y) {
    float* out = t->rawRow(y) + this->x0;
    if (nearest) {
      const int32_t iy = TruncIndex(float(y) * yf);
      for (int32_t k = 0; k < n; ++k) out[k] = NearestOrOutside(*s, cols[size_t(k)], iy);
      return;
    }
    // One source row pair and one vertical fraction a row; two neighbours
    // are read directly wherever both are in the window.
    float fy;
    const int32_t j = FnFloorSplit(float(y) * yf + 0.5f - 0.5f - s->yAxis.originF, &fy);
    const int32_t j0 = s->yAxis.resolve(j), j1 = s->yAxis.resolve(j + 1);
    const float* r0 = j0 < 0 ? nullptr : s->rawRow(j0);
    const float* r1 = j1 < 0 ? nullptr : s->rawRow(j1);
    for (int32_t k = 0; k < n; ++k) {
      const int32_t i = cols[size_t(k)];
      const float fx = fracs[size_t(k)];
      float p00, p10, p01, p11;
      if (r0 && r1 && i >= ax.first && i < ax.last) {
        p00 = r0[i], p10 = r0[i + 1], p01 = r1[i], p11 = r1[i + 1];
      } else {
        const int32_t i0 = ax.resolve(i), i1 = ax.resolve(i + 1);
        auto at = [&](const float* r, int32_t c) { return (r && c >= 0) ? r[c] : s->outsideValue; };
        p00 = at(r0, i0), p10 = at(r0, i1), p01 = at(r1, i0), p11 = at(r1, i1);
      }
      out[k] = FnLerp(FnLerp(p00, p10, fx), FnLerp(p01, p11, fx), fy);
    }
  });
}

template <class E, class A, int Scale>
void FnMoveSampler<E, A, Scale>::moveRow(const FnTexture<E, A>* s, E* out, int32_t y) const {
  const float* m = matrix;
  const float py = float(y) + 0.5f;
  const float rowX = py * m[3] + m[6], rowY = py * m[4] + m[7];
  for (int32_t x = this->x0; x < this->x1; ++x) {
    // Each position from the row's start and x times the step, so the walk
    // doesn't drift along long rows.
    const float px = float(x) + 0.5f;
    const float sx = px * m[0] + rowX, sy = px * m[1] + rowY;
    if (interpolation == FnMove_Nearest) {
      float fx, fy;
      const int32_t i = FnFloorSplit(sx - s->xAxis.originF, &fx);
      const int32_t j = FnFloorSplit(sy - s->yAxis.originF, &fy);
      out[x] = s->readData(i, j);
    } else {
      out[x] = FnFromAccumulate<E>(s->sample(sx, sy));
    }
  }
}

template <class E, class A, int Scale>
bool FnMoveSampler<E, A, Scale>::axisAligned() const {
  return matrix[1] == 0.0f && matrix[3] == 0.0f && interpolation == FnMove_Bilinear;
}

// A scale and offset without rotation: every row reads the same columns, so
// their positions are found once for the band and each row finds its own
// pair of source rows once. The arithmetic is moveRow's, position for
// position; pixels whose neighbourhood leaves the window take moveRow's way.
template <class E, class A, int Scale>
void FnMoveSampler<E, A, Scale>::moveBandAligned(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex,
                                                 FnTexture<E, A>* second, const FnTexture<E, A>* secondSource) {
  const float* m = matrix;
  const int32_t n = this->x1 - this->x0;
  if (n <= 0) return;
  std::vector<float> xs(static_cast<size_t>(n)), fxs(static_cast<size_t>(n));
  std::vector<int32_t> is(static_cast<size_t>(n));
  const float rowX = 0.0f * m[3] + m[6];
  for (int32_t k = 0; k < n; ++k) {
    const float px = float(this->x0 + k) + 0.5f;
    xs[size_t(k)] = px * m[0] + rowX;
    is[size_t(k)] = FnFloorSplit(xs[size_t(k)] - 0.5f - s->xAxis.originF, &fxs[size_t(k)]);
  }
  auto row = [&](const FnTexture<E, A>* src, E* out, float sy) {
    const FnTexAxis& ax = src->xAxis;
    const FnTexAxis& ay = src->yAxis;
    float fy;
    const int32_t j = FnFloorSplit(sy - 0.5f - ay.originF, &fy);
    const bool rowsInside = j >= ay.first && j < ay.last;
    const E* r0 = rowsInside ? src->rawRow(j) : nullptr;
    const E* r1 = rowsInside ? src->rawRow(j + 1) : nullptr;
    for (int32_t k = 0; k < n; ++k) {
      const int32_t i = is[size_t(k)];
      if (rowsInside && i >= ax.first && i < ax.last) {
        const float fx = fxs[size_t(k)];
        const A top = FnLerp(FnToAccumulate<A>(r0[i]), FnToAccumulate<A>(r0[i + 1]), fx);
        const A bottom = FnLerp(FnToAccumulate<A>(r1[i]), FnToAccumulate<A>(r1[i + 1]), fx);
        out[this->x0 + k] = FnFromAccumulate<E>(FnLerp(top, bottom, fy));
      } else {
        out[this->x0 + k] = FnFromAccumulate<E>(src->sample(xs[size_t(k)], sy));
      }
    }
  };
  this->forEachRow(threadIndex, [&](int32_t y) {
    const float py = float(y) + 0.5f;
    const float sy = 0.0f * m[1] + (py * m[4] + m[7]);
    row(s, t->rawRow(y), sy);
    if (second) row(secondSource, second->rawRow(y), sy);
  });
}

template <class E, class A, int Scale>
void FnMoveSampler<E, A, Scale>::processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) {
  if (axisAligned()) return moveBandAligned(s, t, threadIndex, nullptr, nullptr);
  this->forEachRow(threadIndex, [&](int32_t y) { moveRow(s, t->rawRow(y), y); });
}

template <class E, class A, int Scale>
void FnDualMoveSampler<E, A, Scale>::processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t,
                                                 int32_t threadIndex) {
  const bool second = secondSource && !secondSource->empty() && secondTarget && !secondTarget->empty() &&
                      secondTarget->width() >= this->x1 && secondTarget->height() >= this->y1;
  if (this->axisAligned())
    return this->moveBandAligned(s, t, threadIndex, second ? secondTarget : nullptr, second ? secondSource : nullptr);
  this->forEachRow(threadIndex, [&](int32_t y) {
    this->moveRow(s, t->rawRow(y), y);
    if (second) this->moveRow(secondSource, secondTarget->rawRow(y), y);
  });
}

template class ImageZoomerBase<float, float>;
template class ImageZoomerBase<int, int>;
template class ImageZoomerBase<HvVec2, HvVec2>;
template class ImageZoomerGP<float, float>;
template class ImageZoomerGP<HvVec2, HvVec2>;
template class FnImageZoomSampler<float, float, 1, float, float, 1>;
template class FnMoveSampler<float, float, 1>;
template class FnMoveSampler<HvVec2, HvVec2, 1>;
template class FnMoveSampler<FnPixel8, FnPixelF, 255>;
template class FnMoveSampler<FnPixel16, FnPixelF, 32768>;
template class FnMoveSampler<FnPixelF, FnPixelF, 1>;
template class FnDualMoveSampler<float, float, 1>;
template class FnDualMoveSampler<HvVec2, HvVec2, 1>;
