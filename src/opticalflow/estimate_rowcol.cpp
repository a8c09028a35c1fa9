// The one-dimensional mode of the solve: images replaced by sliding sums
// along rows and columns, and a block solved on its two profiles.
#include <cmath>
#include <vector>

#include "vx/opticalflow/Estimate.h"

void FnMotionEstimateGradientRow::processRows(int32_t threadIndex) {
  const int32_t n = x1 - x0, w = window < 1 ? 1 : window;
  if (n <= 0) return;
  std::vector<float> line(size_t(n + w - 1));
  forEachRow(threadIndex, [&](int32_t y) {
    source_->readRow(y + source_->yAxis.start, x0 + source_->xAxis.start, n + w - 1, line.data());
    float* out = target_->rawRow(y) + x0;
    // A running sum: the entering pixel added, the leaving one subtracted.
    double sum = 0.0;
    for (int32_t k = 0; k < w; ++k) sum += line[size_t(k)];
    for (int32_t x = 0; x < n; ++x) {
      out[x] = float(sum);
      if (x + 1 < n) sum += double(line[size_t(x + w)]) - line[size_t(x)];
    }
  });
}

void FnMotionEstimateGradientColumn::processRows(int32_t threadIndex) {
  const int32_t n = x1 - x0, w = window < 1 ? 1 : window;
  if (n <= 0) return;
  std::vector<float> line(static_cast<size_t>(n));
  std::vector<double> sum(static_cast<size_t>(n));
  const FnBand b = rowBand(threadIndex);
  if (b.begin >= b.end) return;
  auto add = [&](int32_t y, double sign) {
    source_->readRow(y + source_->yAxis.start, x0 + source_->xAxis.start, n, line.data());
    for (int32_t x = 0; x < n; ++x) sum[size_t(x)] += sign * line[size_t(x)];
  };
  for (int32_t k = 0; k < w; ++k) add(b.begin + k, 1.0);
  for (int32_t y = b.begin; y < b.end; ++y) {
    if (interrupted(threadIndex)) break;
    float* out = target_->rawRow(y) + x0;
    for (int32_t x = 0; x < n; ++x) out[x] = float(sum[size_t(x)]);
    add(y + w, 1.0);
    add(y, -1.0);
  }
}

namespace {

// One Gauss-Newton step on a profile: p(k) of the block image against the
// sampled profile q(k + d); returns the change of d (0 with no gradient) and
// the mean absolute error, per pixel of the window.
struct ProfileStep {
  double change;
  double error;
  bool solved;
};

template <class Reference, class Sampled>
ProfileStep StepProfile(int32_t n, double sign, double window, Reference p, Sampled q) {
  double sgg = 0.0, sge = 0.0, sae = 0.0;
  double last = q(0);
  for (int32_t k = 1; k < n; ++k) {
    const double w = q(k);
    const double e = p(k) - w;
    const double g = w - last;
    sgg += g * g, sge += g * e, sae += std::fabs(e);
    last = w;
  }
  const double error = n > 1 ? sae / (n - 1) / window : 0.0;
  if (sgg == 0.0) return {0.0, error, false};
  return {sign * sge / sgg, error, true};
}

}  // namespace

HvVec2 FnMotionEstimateGradient::solveProfiles(const FnBlockRect& r, HvVec2 v) const {
  if (!rowsA || !rowsB || !columnsA || !columnsB) return v;
  const int32_t nx = r.right - r.left, ny = r.top - r.bottom;
  const double bw = double(nx), bh = double(ny);
  for (int32_t i = 0; i < 10 && !FnIsInvalid(v); ++i) {
    const float u = v.x, w = v.y;
    // Along x: column sums of the block's rows; the sampled one is displaced
    // by -u (x subtracted). Along y: row sums, displaced by +v.
    const ProfileStep sx = StepProfile(
        nx, -1.0, bh, [&](int32_t k) { return double(columnsB->rawRow(r.bottom)[r.left + k]); },
        [&](int32_t k) { return double(columnsA->sample(float(r.left + k) + 0.5f - u, float(r.bottom) + 0.5f + w)); });
    const ProfileStep sy = StepProfile(
        ny, 1.0, bw, [&](int32_t k) { return double(rowsB->rawRow(r.bottom + k)[r.left]); },
        [&](int32_t k) { return double(rowsA->sample(float(r.left) + 0.5f - u, float(r.bottom + k) + 0.5f + w)); });
    if (!sx.solved && !sy.solved) return FnInvalidVector;
    const double result = std::sqrt(sx.error * sx.error + sy.error * sy.error);
    if (result < double(convergence)) break;
    double du = sx.change, dv = sy.change;
    const double length = std::sqrt(du * du + dv * dv);
    if (length > 1.0) du /= length, dv /= length;
    v.x = float(u + du);
    v.y = float(w + dv);
  }
  return v;
}
