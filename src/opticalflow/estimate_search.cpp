// The changed-neighbours monitor and the block-level candidate search.
#include <cmath>

#include "vx/opticalflow/Estimate.h"

// ---- Monitor.

void FnMotionEstimateGradientChangedNeighboursMonitor::initialise() {
  FnVectorTexture* vectors = image_;
  if (!first) {
    passes = 1;
    allChanged = false;
    sawInvalid.store(false, std::memory_order_relaxed);
    if (!changed || !previous) passes = 0;
    return;
  }
  // The first run: everything counts as changed, and no pass runs.
  passes = 0;
  allChanged = true;
  sawInvalid.store(false, std::memory_order_relaxed);
  const int32_t w = vectors->width(), h = vectors->height();
  changed = std::make_unique<FnIntTexture>(w, h);
  previous = std::make_unique<FnVectorTexture>(w, h);
  if (changed->allocFailed || previous->allocFailed) {
    changed.reset();
    previous.reset();
    abortWith(4);
    return;
  }
  ColouredFrameGenerator<int, int, 1> ones(1);
  ones.interrupt = interrupt;
  ones.process(changed.get());
  SimpleCopySampler<HvVec2, HvVec2> copy;
  copy.interrupt = interrupt;
  copy.process(vectors, previous.get());
}

void FnMotionEstimateGradientChangedNeighboursMonitor::processRows(int32_t threadIndex) {
  const FnVectorTexture* vectors = image_;
  bool invalid = false;
  forEachRow(threadIndex, [&](int32_t y) {
    const HvVec2* v = vectors->rawRow(y);
    HvVec2* p = previous->rawRow(y);
    int* c = changed->rawRow(y);
    for (int32_t x = x0; x < x1; ++x) {
      if (FnIsInvalid(v[x])) invalid = true;
      if (v[x] == p[x]) {
        c[x] = 0;
      } else {
        p[x] = v[x];
        c[x] = 1;
      }
    }
  });
  if (invalid) sawInvalid.store(true, std::memory_order_relaxed);
}

int32_t FnMotionEstimateGradientChangedNeighboursMonitor::neighbours(int32_t x, int32_t y, HvVec2* out) const {
  if (!previous) return 0;
  static constexpr int32_t kOffsets[8][2] = {{-1, 1}, {0, 1}, {1, 1}, {-1, 0}, {1, 0}, {-1, -1}, {0, -1}, {1, -1}};
  const int32_t w = previous->width(), h = previous->height();
  if (x >= 1 && y >= 1 && x < w - 1 && y < h - 1) {
    // Inside: no bounds to test, rows read once.
    const HvVec2* rows[3] = {previous->rawRow(y + 1) + x, previous->rawRow(y) + x, previous->rawRow(y - 1) + x};
    if (allChanged) {
      out[0] = rows[0][-1], out[1] = rows[0][0], out[2] = rows[0][1], out[3] = rows[1][-1];
      out[4] = rows[1][1], out[5] = rows[2][-1], out[6] = rows[2][0], out[7] = rows[2][1];
      return 8;
    }
    const int* flags[3] = {changed->rawRow(y + 1) + x, changed->rawRow(y) + x, changed->rawRow(y - 1) + x};
    int32_t n = 0;
    for (const auto& o : kOffsets)
      if (flags[1 - o[1]][o[0]]) out[n++] = rows[1 - o[1]][o[0]];
    return n;
  }
  int32_t n = 0;
  for (const auto& o : kOffsets) {
    const int32_t nx = x + o[0], ny = y + o[1];
    if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
    if (!allChanged && changed->rawRow(ny)[nx] == 0) continue;
    out[n++] = previous->rawRow(ny)[nx];
  }
  return n;
}

HvVec2 FnMotionEstimateGradientChangedNeighboursMonitor::neighbourMean(int32_t x, int32_t y) const {
  if (!previous) return {0.0f, 0.0f};
  const int32_t w = previous->width(), h = previous->height();
  float sx = 0.0f, sy = 0.0f;
  int32_t n = 0;
  if (x >= 1 && y >= 1 && x < w - 1 && y < h - 1) {
    // Inside: the same sums in the same order, without bounds to test.
    for (int32_t ny = y - 1; ny <= y + 1; ++ny) {
      const HvVec2* row = previous->rawRow(ny) + x;
      for (int32_t k = -1; k <= 1; ++k) {
        if ((k == 0 && ny == y) || FnIsInvalid(row[k])) continue;
        sx += row[k].x, sy += row[k].y;
        ++n;
      }
    }
    if (n == 0) return {0.0f, 0.0f};
    return {sx / float(n), sy / float(n)};
  }
  for (int32_t ny = y - 1; ny <= y + 1; ++ny) {
    if (ny < 0 || ny >= h) continue;
    const HvVec2* row = previous->rawRow(ny);
    for (int32_t nx = x - 1; nx <= x + 1; ++nx) {
      if (nx < 0 || nx >= w || (nx == x && ny == y) || FnIsInvalid(row[nx])) continue;
      sx += row[nx].x, sy += row[nx].y;
      ++n;
    }
  }
  if (n == 0) return {0.0f, 0.0f};
  return {sx / float(n), sy / float(n)};
}

// ---- Block-level search.

void FnMotionEstimateGradientSmooth::initialise() {
  if (blockError) return;
  blockError = std::make_unique<FnFloatTexture>(image_->width(), image_->height());
  if (blockError->allocFailed) {
    blockError.reset();
    abortWith(4);
    return;
  }
  ColouredFrameGenerator<float, float, 1> fill(FnInvalidValue);
  fill.interrupt = interrupt;
  fill.process(blockError.get());
}

void FnMotionEstimateGradientSmooth::processRows(int32_t threadIndex) {
  if (!blockError || !monitor || !imageA || !imageB) return;
  FnFlowRandom random;  // each call of a row worker starts from 0
  forEachRow(threadIndex, [&](int32_t y) {
    HvVec2* row = image_->rawRow(y);
    for (int32_t x = x0; x < x1; ++x) searchCell(x, y, &row[x], random);
  });
}

void FnMotionEstimateGradientSmooth::searchCell(int32_t x, int32_t y, HvVec2* cell, FnFlowRandom& random) {
  HvVec2 list[9];
  const int32_t found = monitor->neighbours(x, y, list + 1);
  if (found == 0) return;
  list[0] = *cell;
  const int32_t n = FnCompactCandidates(list, found + 1);
  random.shuffle(list, n);
  float& storedError = blockError->rawRow(y)[x];
  if (n == 0) return;
  if (n == 1) {
    if (!(list[0] == *cell)) storedError = FnInvalidValue;
    *cell = list[0];
    return;
  }
  const HvVec2 mean = monitor->neighbourMean(x, y);
  const FnBlockRect r =
      FnBlockRectangle(x, y, blockWidths[level], blockHeights[level], blockOverlap, imageA->width(), imageA->height());
  float best = FnInvalidValue;
  HvVec2 winner = *cell;
  float winnerError = 0.0f;
  for (int32_t i = 0; i < n && best != 0.0f; ++i) {
    const HvVec2 c = list[i];
    const float smoothness = ((std::fabs(c.y - mean.y) + std::fabs(c.x - mean.x)) / 400.0f / 255.0f) * smoothnessWeight;
    if (!(smoothness < best)) continue;
    // The stored error of the cell's own vector is reused, weighted once
    // more: with an error weight of 1 that changes nothing.
    const float err = (c == *cell && storedError != FnInvalidValue) ? storedError
                                                                     : FnBlockError(*imageA, *imageB, mask, r, c);
    const float weighted = err == FnInvalidValue ? errorWeight * 2.0f : err * errorWeight;
    float total = weighted + smoothness;
    if (double(total) < 1e-6) total = 0.0f;
    if (best > total) {
      best = total;
      winner = c;
      winnerError = weighted;
    }
  }
  *cell = winner;
  storedError = winnerError;
}
