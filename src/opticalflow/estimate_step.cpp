// The Gauss-Newton step of one block, the solve of a level, and the small
// pieces the searches share (grid, rectangles, quantising, candidate lists).
#include <algorithm>
#include <cmath>
#include <vector>

#include "Warp.h"
#include "vx/opticalflow/Estimate.h"

int32_t FnCompactCandidates(HvVec2* v, int32_t n) {
  if (n > 0 && !FnIsInvalid(v[0])) {
    // The common case of a uniform neighbourhood: all one vector.
    int32_t i = 1;
    while (i < n && v[i] == v[0]) ++i;
    if (i == n) return 1;
  }
  int32_t m = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (FnIsInvalid(v[i])) continue;
    bool seen = false;
    for (int32_t k = 0; k < m && !seen; ++k) seen = v[k] == v[i];
    if (!seen) v[m++] = v[i];
  }
  return m;
}

HvVec2 FnQuantise(HvVec2 v, float q) {
  auto one = [q](float c) { return c == FnInvalidValue ? c : q * std::floor((q * 0.5f + c) / q); };
  return {one(v.x), one(v.y)};
}

int32_t FnBlockCount(int32_t size, float block, int32_t overlap) {
  const float step = block - float(overlap);
  if (!(step > 0.0f)) return 1;
  const float n = std::ceil((float(size) - float(overlap)) / step);
  return n < 2.0f ? 1 : int32_t(n);
}

FnBlockRect FnBlockRectangle(int32_t bx, int32_t by, float blockWidth, float blockHeight, int32_t overlap,
                             int32_t imageWidth, int32_t imageHeight) {
  FnBlockRect r;
  r.left = int32_t((blockWidth - float(overlap)) * float(bx));
  r.right = r.left + int32_t(blockWidth);
  r.bottom = int32_t((blockHeight - float(overlap)) * float(by));
  r.top = r.bottom + int32_t(blockHeight);
  if (r.right > imageWidth) {
    r.left = std::max(0, r.left - (r.right - imageWidth));
    r.right = imageWidth;
  }
  if (r.top > imageHeight) {
    r.bottom = std::max(0, r.bottom - (r.top - imageHeight));
    r.top = imageHeight;
  }
  return r;
}

namespace {

// Per-block buffers: on the stack for the block sizes in use.
template <class T, int32_t kLocal = 128>
class LocalBuffer {
 public:
  explicit LocalBuffer(int32_t n) {
    if (n > kLocal) heap_.resize(size_t(n));
    p_ = n > kLocal ? heap_.data() : local_;
  }
  T* get() { return p_; }

 private:
  T local_[kLocal];
  std::vector<T> heap_;
  T* p_;
};

struct StepSums {
  double See = 0, Sae = 0, Sxx = 0, Syy = 0, Sxy = 0, Sxe = 0, Sye = 0;
  int32_t used = 0, total = 0;
};

}  // namespace

FnGradientStep FnGaussNewtonStep(const FnFloatTexture& A, const FnFloatTexture& B, const FnFloatTexture* mask,
                                 const FnBlockRect& r, float convergence, HvVec2* vec) {
  if (FnIsInvalid(*vec)) return {0.0f, true};
  const float u = vec->x, v = vec->y;
  const FnShift shift = FnSplitShift(*vec);
  const int32_t W = A.width(), H = A.height();
  const int32_t n = r.right - r.left;
  if (n <= 0 || r.top <= r.bottom) {
    *vec = FnInvalidVector;
    return {0.0f, true};
  }
  LocalBuffer<float> rowA(n), rowB(n);
  float* const bufA = rowA.get();
  float* const bufB = rowB.get();
  const float* previous = nullptr;
  // Columns whose source has both neighbours in A (all with no displacement).
  LocalBuffer<char> ok(n);
  char* columnOk = ok.get();
  for (int32_t k = 0; k < n; ++k) columnOk[k] = shift.zero || FnSourceInside(float(r.left + k) + 0.5f - u, W);
  StepSums s;
  bool havePrevious = false;
  // Inside A (the usual case) rows are read by pointer; the zero vector
  // reads A's rows themselves.
  const bool inside = FnWarpInside(A, shift, r.left, r.right, r.bottom, r.top) && A.xAxis.start == 0 &&
                      A.yAxis.start == 0;
  const bool direct = inside && shift.zero;
  for (int32_t y = std::min(r.top - 1, H - 1); y >= r.bottom; --y) {
    const float sourceRow = float(y) + 0.5f + v;
    if (!FnSourceInside(sourceRow, H)) continue;  // floor below 0 or ceil at or past H
    const float* current;
    if (direct) {
      current = A.rawRow(y) + r.left;
    } else {
      float* buffer = previous == bufA ? bufB : bufA;
      if (inside)
        FnWarpRowInside(A, shift, y, r.left, n, buffer);
      else
        FnWarpRow(A, shift, y, r.left, r.right, buffer);
      current = buffer;
    }
    if (havePrevious) {
      const float* b = B.rawRow(y) + r.left;
      const float* m = mask ? mask->rawRow(y) + r.left : nullptr;
      for (int32_t k = 1; k < n; ++k) {
        ++s.total;
        if (!columnOk[k] || (m && m[k] > 0.5f)) continue;
        const double e = double(b[k]) - current[k];
        const double gx = double(current[k]) - current[k - 1];
        const double gy = double(current[k]) - previous[k];
        ++s.used;
        s.See += e * e, s.Sae += std::fabs(e);
        s.Sxx += gx * gx, s.Syy += gy * gy, s.Sxy += gx * gy;
        s.Sxe += gx * e, s.Sye += gy * e;
      }
    }
    previous = current;
    havePrevious = true;
  }
  if (s.used <= s.total / 6) {
    *vec = FnInvalidVector;
    return {0.0f, true};
  }
  const double used = s.used;
  const double m = s.Sae / used;
  if (double(convergence) > m) return {0.0f, false};
  const double Sxx = s.Sxx / used, Syy = s.Syy / used, Sxy = s.Sxy / used;
  const double Sxe = s.Sxe / used, Sye = s.Sye / used, See = s.See / used;
  const double t = Sxx + Syy;
  const double d = std::sqrt(std::max(0.0, t * t - (Sxx * Syy - Sxy * Sxy) * 4.0));
  const double l1 = (t - d) * 0.5, l2 = (t + d) * 0.5;
  const double hi = std::max(std::fabs(l1), std::fabs(l2)), lo = std::min(std::fabs(l1), std::fabs(l2));
  if (lo != 0.0 && !(hi / lo > 10.0)) {
    // Well conditioned: a regularised solve whose regulariser grows with
    // the conditioning and the mean squared error.
    const double k = (hi / lo) * 0.1 * See;
    const double P = Syy + k, Q = Sxx + k, D = 1.0 / (P * Q - Sxy * Sxy);
    vec->x = float(u - D * (P * Sxe - Sxy * Sye));
    vec->y = float(v - D * (Q * Sye - Sxy * Sxe));
    return {float(m), false};
  }
  if (hi > 0.0) {
    // The aperture case: step along the strongest gradient only. With Sxy
    // zero the eigenvalues are Sxx and Syy themselves, so the larger one's
    // eigenvector is the axis of the larger diagonal term: an edge with all
    // its gradient along x (a vertical edge) moves along x.
    double e2x, e2y, e1x, e1y;
    if (Sxy != 0.0) {
      e2x = 1.0, e2y = (l2 - Sxx) / Sxy;
      e1x = 1.0, e1y = (l1 - Sxx) / Sxy;
      const double n2 = std::sqrt(e2x * e2x + e2y * e2y), n1 = std::sqrt(e1x * e1x + e1y * e1y);
      e2x /= n2, e2y /= n2, e1x /= n1, e1y /= n1;
    } else if (Sxx >= Syy) {
      e2x = 1.0, e2y = 0.0, e1x = 0.0, e1y = 1.0;
    } else {
      e2x = 0.0, e2y = 1.0, e1x = 1.0, e1y = 0.0;
    }
    const bool second = std::fabs(l2) > std::fabs(l1);
    const double ex = second ? e2x : e1x, ey = second ? e2y : e1y;
    const double step = (ey * Sye + ex * Sxe) / hi;
    vec->x = float(u - ex * step);
    vec->y = float(v - ey * step);
    return {float(m), false};
  }
  *vec = FnInvalidVector;  // no gradient at all
  return {0.0f, true};
}

float FnBlockError(const FnFloatTexture& A, const FnFloatTexture& B, const FnFloatTexture* mask,
                   const FnBlockRect& r, HvVec2 v) {
  const int32_t n = r.right - r.left;
  const int32_t area = n * (r.top - r.bottom);
  if (n <= 0 || area <= 0 || FnIsInvalid(v)) return FnInvalidValue;
  const FnShift shift = FnSplitShift(v);
  const int32_t W = A.width(), H = A.height();
  LocalBuffer<float> row(n);
  float* warped = row.get();
  const bool inside = shift.zero || (FnSourceInside(float(r.left) + 0.5f - v.x, W) &&
                                     FnSourceInside(float(r.right - 1) + 0.5f - v.x, W) &&
                                     FnSourceInside(float(r.bottom) + 0.5f + v.y, H) &&
                                     FnSourceInside(float(r.top - 1) + 0.5f + v.y, H));
  double sum = 0.0;
  int32_t counted = 0;
  if (inside && !mask) {
    // Every pixel counts: one plain loop (a copy of A's rows for zero).
    const bool pointers = FnWarpInside(A, shift, r.left, r.right, r.bottom, r.top) && A.xAxis.start == 0 &&
                          A.yAxis.start == 0;
    for (int32_t y = r.bottom; y < r.top; ++y) {
      const float* b = B.rawRow(y) + r.left;
      const float* a = shift.zero ? A.rawRow(y) + r.left : warped;
      if (!shift.zero) {
        if (pointers)
          FnWarpRowInside(A, shift, y, r.left, n, warped);
        else
          FnWarpRow(A, shift, y, r.left, r.right, warped);
      }
      float rowSum = 0.0f;
      for (int32_t k = 0; k < n; ++k) rowSum += std::fabs(b[k] - a[k]);
      sum += rowSum;
    }
    counted = area;
  } else {
    LocalBuffer<char> ok(n);
    char* columnOk = ok.get();
    for (int32_t k = 0; k < n; ++k) columnOk[k] = shift.zero || FnSourceInside(float(r.left + k) + 0.5f - v.x, W);
    for (int32_t y = r.bottom; y < r.top; ++y) {
      if (!shift.zero && !FnSourceInside(float(y) + 0.5f + v.y, H)) continue;
      FnWarpRow(A, shift, y, r.left, r.right, warped);
      const float* b = B.rawRow(y) + r.left;
      const float* m = mask ? mask->rawRow(y) + r.left : nullptr;
      float rowSum = 0.0f;
      for (int32_t k = 0; k < n; ++k) {
        if (!columnOk[k] || (m && m[k] > 0.5f)) continue;
        rowSum += std::fabs(b[k] - warped[k]);
        ++counted;
      }
      sum += rowSum;
    }
  }
  if (counted <= area / 4) return FnInvalidValue;
  return float(sum / counted);
}

// ---- The solve of one level.

HvVec2 FnMotionEstimateGradient::solveBlock(const FnBlockRect& r, HvVec2 v) const {
  if (useRowColumnMode) return solveProfiles(r, v);
  // A step that finishes the block (no gradient, or too little of the block
  // left in A) undoes itself only when an earlier step of this solve left
  // the block valid: that vector stands. When the very first step finishes
  // the block, nothing of this level vouches for the vector, and the invalid
  // vector stands, for the search to fill from neighbours. So a flat block
  // ends invalid, while a block walked out of the image keeps where it was.
  return FnSolveBlockSteps(v, [&](HvVec2* vec) {
    return FnGaussNewtonStep(*first_, *second_, mask, r, convergence, vec);
  });
}

void FnMotionEstimateGradient::initialise() {
  passes = monitorError ? 2 : 1;
  if (!monitorError) return;
  texture_ = std::make_unique<FnFloatTexture>(target_->width(), target_->height());
  if (texture_->allocFailed) {
    texture_.reset();
    abortWith(4);
  }
}

void FnMotionEstimateGradient::processRows(int32_t threadIndex) {
  const FnFloatTexture& A = *first_;
  const FnFloatTexture& B = *second_;
  const float bw = blockWidths[level], bh = blockHeights[level];
  const bool measuring = monitorError && pass == 0;
  if (monitorError && !texture_) return;
  forEachRow(threadIndex, [&](int32_t by) {
    HvVec2* row = target_->rawRow(by);
    for (int32_t bx = x0; bx < x1; ++bx) {
      const FnBlockRect r = FnBlockRectangle(bx, by, bw, bh, blockOverlap, A.width(), A.height());
      if (measuring) {
        // Texture of the block: absolute differences of B from its mean.
        double mean = 0.0, sad = 0.0;
        const int32_t count = (r.right - r.left) * (r.top - r.bottom);
        for (int32_t y = r.bottom; y < r.top; ++y)
          for (int32_t x = r.left; x < r.right; ++x) mean += B.rawRow(y)[x];
        mean = count > 0 ? mean / count : 0.0;
        for (int32_t y = r.bottom; y < r.top; ++y)
          for (int32_t x = r.left; x < r.right; ++x) sad += std::fabs(B.rawRow(y)[x] - mean);
        texture_->rawRow(by)[bx] = float(sad);
        continue;
      }
      if (monitorError && texture_->rawRow(by)[bx] < textureMean_) {
        row[bx] = FnInvalidVector;
        continue;
      }
      row[bx] = solveBlock(r, row[bx]);
    }
  });
}

void FnMotionEstimateGradient::postPass() {
  if (!monitorError || pass != 0 || !texture_) return;
  FnMeanCalculator mean;
  mean.interrupt = interrupt;
  mean.measure(texture_.get());
  textureMean_ = mean.mean;
}

void FnMotionEstimateGradient::terminate() {
  texture_.reset();
  if (level != 0 || interrupted(0)) return;
  const FnFloatTexture& A = *first_;
  const FnFloatTexture& B = *second_;
  const int32_t gw = target_->width(), gh = target_->height();
  auto fits = [&](const FnTexIndexer* t) { return t && t->width() == gw && t->height() == gh; };
  const bool positions = fits(positionsOut) && positionsOut->data;
  const bool errors = fits(errorOut) && errorOut->data;
  const bool energies = fits(textureOut) && textureOut->data;
  if (!positions && !errors && !energies) return;
  for (int32_t by = 0; by < gh; ++by)
    for (int32_t bx = 0; bx < gw; ++bx) {
      const FnBlockRect r = FnBlockRectangle(bx, by, blockWidths[0], blockHeights[0], blockOverlap, A.width(),
                                             A.height());
      if (positions) positionsOut->rawRow(by)[bx] = {float(r.left + r.right) * 0.5f, float(r.bottom + r.top) * 0.5f};
      if (errors) errorOut->rawRow(by)[bx] = FnBlockError(A, B, mask, r, target_->rawRow(by)[bx]);
      if (energies) {
        double e = 0.0;
        for (int32_t y = r.bottom; y < r.top; ++y)
          for (int32_t x = r.left + 1; x < r.right; ++x) {
            const double gx = double(B.rawRow(y)[x]) - B.rawRow(y)[x - 1];
            const double gy = y + 1 < r.top ? double(B.rawRow(y + 1)[x]) - B.rawRow(y)[x] : 0.0;
            e += gx * gx + gy * gy;
          }
        textureOut->rawRow(by)[bx] = float(e);
      }
    }
}

// ---- Mean of a float texture.

void FnMeanCalculator::initialise(const FnFloatTexture*, FnFloatTexture*) {
  const int32_t threads = FnMultiProcessor::getThreadCount();
  sums_.assign(size_t(threads), 0.0);
  counts_.assign(size_t(threads), 0);
}

void FnMeanCalculator::processRows(const FnFloatTexture* s, FnFloatTexture*, int32_t threadIndex) {
  double sum = 0.0;
  int64_t count = 0;
  forEachRow(threadIndex, [&](int32_t y) {
    const float* row = s->rawRow(y);
    for (int32_t x = x0; x < x1; ++x) sum += row[x];
    count += x1 - x0;
  });
  if (size_t(threadIndex) < sums_.size()) sums_[size_t(threadIndex)] += sum, counts_[size_t(threadIndex)] += count;
}

void FnMeanCalculator::terminate(const FnFloatTexture*, FnFloatTexture*) {
  double sum = 0.0;
  int64_t count = 0;
  for (size_t i = 0; i < sums_.size(); ++i) sum += sums_[i], count += counts_[i];
  mean = count > 0 ? float(sum / double(count)) : 0.0f;
}
