// One pass of the tweener's spatial search: at every pixel, the best pair
// (a, b) from the pixel's own vectors, its neighbours' and its temporal
// candidates.
#include <algorithm>
#include <cmath>

#include "vx/opticalflow/Tween.h"

namespace {

constexpr int32_t kMax = FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::kMaxCandidates;
constexpr float kLosing = 16711681.0f;  // luminance of a position off the image: the pair loses

// The list of one side: the current vector, the changed neighbours, the
// temporal candidates; at most kMax, invalid ones and repeats dropped.
int32_t BuildList(HvVec2 current, const FnMotionEstimateGradientChangedNeighboursMonitor& monitor, int32_t x,
                  int32_t y, const FnCandidateLists* lists, HvVec2* out) {
  int32_t n = 0;
  out[n++] = current;
  n += monitor.neighbours(x, y, out + n);
  if (lists && !lists->empty()) {
    const FnCandidateList& l = lists->at(x, y);
    const HvVec2* d = l.data();
    for (int32_t i = 0; i < l.size && n < kMax; ++i) out[n++] = d[i];
  }
  return FnCompactCandidates(out, n);
}

void ShuffleEach(HvVec2* v, int32_t n, FnFlowRandom& random) {
  for (int32_t i = 0; i < n; ++i) {
    const uint32_t j = random.draw() % uint32_t(n);
    const HvVec2 t = v[i];
    v[i] = v[j];
    v[j] = t;
  }
}

// Luminance at the end of a vector scaled by w, read directly for a zero
// displacement.
float LumaAt(const FnFloatTexture& luma, int32_t x, int32_t y, HvVec2 v, float w) {
  if (FnIsInvalid(v)) return 128.0f;
  const float dx = v.x * w, dy = v.y * w;
  if (dx == 0.0f && dy == 0.0f) return luma.rawRow(y)[x];
  const float px = float(x) + 0.5f - dx, py = float(y) + 0.5f + dy;
  if (px < 0.0f || py < 0.0f || px > float(luma.width()) || py > float(luma.height())) return kLosing;
  return luma.sampleOrZero(px, py);
}

float SmoothTerm(HvVec2 mean, HvVec2 c) { return std::fabs(mean.x - c.x) * 8.0f + std::fabs(mean.y - c.y) * 8.0f; }

}  // namespace

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::initialise() {
  if (passFlags & kRestartMonitors) {
    monitorA.restart();
    monitorB.restart();
    monitorA.interrupt = monitorB.interrupt = interrupt;
    monitorA(vectorsA);
    monitorB(vectorsB);
    passFlags &= ~uint32_t(kRestartMonitors);
  }
  passFlags &= ~uint32_t(kHoleFilled);
  filled_.store(false, std::memory_order_relaxed);
}

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::terminate() {
  if (filled_.load(std::memory_order_relaxed)) passFlags |= kHoleFilled;
  // The temporal candidates count in the first pass only.
  if (passCounter == 0) {
    if (candidatesA) candidatesA->clearAll();
    if (candidatesB) candidatesB->clearAll();
  }
  monitorA(vectorsA);
  monitorB(vectorsB);
  ++passCounter;
  ++randomSeed;
}

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::processRows(int32_t threadIndex) {
  if (!vectorsA || !vectorsB || !occlusion || !lumaA || !lumaB) return;
  FnFlowRandom random;
  random.state = randomSeed;  // pass n starts every thread at n
  bool filled = false;
  int64_t costs = 0;
  const FnBand rows = band(0, std::min(height, vectorsA->height()), threadIndex);
  for (int32_t y = rows.begin; y < rows.end; ++y) {
    if (interrupted(threadIndex)) break;
    for (int32_t x = 0; x < width; ++x) pixel(x, y, random, filled, costs);
  }
  if (filled) filled_.store(true, std::memory_order_relaxed);
  pairCosts.fetch_add(costs, std::memory_order_relaxed);
}

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::pixel(int32_t x, int32_t y,
                                                                            FnFlowRandom& random, bool& filled,
                                                                            int64_t& costs) {
  int& label = occlusion->rawRow(y)[x];
  int L = label;
  HvVec2& storedA = vectorsA->rawRow(y)[x];
  HvVec2& storedB = vectorsB->rawRow(y)[x];
  const HvVec2 a = storedA, b = storedB;
  const bool holes = (passFlags & kHoleMode) != 0;
  if (holes && ((L != FnLabel_OnlyB && !FnIsInvalid(a)) || (L != FnLabel_OnlyA && !FnIsInvalid(b)))) return;
  if ((passFlags & kLabelledOnly) && L == FnLabel_Both) return;

  HvVec2 listA[kMax + 9], listB[kMax + 9];
  int32_t nA = BuildList(a, monitorA, x, y, candidatesA, listA);
  int32_t nB = BuildList(b, monitorB, x, y, candidatesB, listB);
  const bool fill = (flags & FnTween_FillMode) != 0;
  if (L == FnLabel_Both && nA * nB == 0 && !fill) return;

  HvVec2 winA = a, winB = b;
  auto finish = [&]() {
    if (!(winA == a)) storedA = winA;
    if (!(winB == b)) storedB = winB;
    if (holes && ((L != FnLabel_OnlyB && !FnIsInvalid(winA)) || (L != FnLabel_OnlyA && !FnIsInvalid(winB))))
      filled = true;
  };
  if (nA == 1 && nB == 1) {
    winA = listA[0], winB = listB[0];
    return finish();
  }
  const float sm = smoothWeight;
  const float mw = (mask && mask->rawRow(y)[x] > 0.5f) ? 0.0f : matchWeight * 65535.0f;
  HvVec2 mA{0.0f, 0.0f}, mB{0.0f, 0.0f};
  if (!(L == FnLabel_OnlyA && nB > 0)) {
    ShuffleEach(listA, nA, random);
    mA = monitorA.neighbourMean(x, y);
  }
  if (!(L == FnLabel_OnlyB && nA > 0)) {
    ShuffleEach(listB, nB, random);
    mB = monitorB.neighbourMean(x, y);
  }
  if (fill) {
    // A vector on one side makes up for a hole on the other.
    if (nA == 0 && nB > 0) {
      for (int32_t i = 0; i < nB; ++i) listA[i] = {-listB[i].x, -listB[i].y};
      nA = nB, mA = {-mB.x, -mB.y};
    } else if (nB == 0 && nA > 0) {
      for (int32_t i = 0; i < nA; ++i) listB[i] = {-listA[i].x, -listA[i].y};
      nB = nA, mB = {-mA.x, -mA.y};
    }
  }
  if (L == FnLabel_OnlyB || L == FnLabel_OnlyA) {
    // One side only: the smoothest of its candidates.
    const bool sideB = L == FnLabel_OnlyB;
    const HvVec2* list = sideB ? listB : listA;
    const int32_t n = sideB ? nB : nA;
    const HvVec2 mean = sideB ? mB : mA;
    float best = 1.7014117e38f;
    for (int32_t i = 0; i < n; ++i) {
      const float cost = SmoothTerm(mean, list[i]) * sm;
      if (best > cost) best = cost, (sideB ? winB : winA) = list[i];
    }
    return finish();
  }
  if (L != FnLabel_Both) {
    label = FnLabel_Both;
    L = FnLabel_Both;
  }
  if (nA * nB == 0) return finish();
  const float t = time, ta = 1.0f - time;
  float ib[kMax + 9], smoothB[kMax + 9];
  float best = 1.7014117e38f;
  for (int32_t i = 0; i < nA; ++i) {
    const HvVec2 ca = listA[i];
    const float ia = LumaAt(*lumaB, x, y, ca, ta);
    const float smoothA = SmoothTerm(mA, ca);
    for (int32_t j = 0; j < nB; ++j) {
      const HvVec2 cb = listB[j];
      if (i == 0) {
        ib[j] = LumaAt(*lumaA, x, y, cb, t);
        smoothB[j] = SmoothTerm(mB, cb);
      }
      const float match = std::fabs(ib[j] - ia) * mw;
      const float symmetry = (std::fabs(cb.x + ca.x) + std::fabs(cb.y + ca.y)) * symmetryWeight;
      const float smooth = (smoothA + smoothB[j]) * sm;
      const float cost = symmetry + match + smooth;
      if (best > cost) best = cost, winA = ca, winB = cb;
    }
  }
  costs += int64_t(nA) * nB;
  finish();
}
