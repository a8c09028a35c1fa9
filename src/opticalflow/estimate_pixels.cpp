// From blocks to pixels: every pixel takes its block's vector, then the
// best of the neighbouring blocks' vectors, then a few passes of a search
// among its neighbours' vectors.
#include <cmath>

#include "vx/opticalflow/Estimate.h"

float FnPixelMatchCost(const FnFloatTexture& A, float b, int32_t x, int32_t y, HvVec2 c, float matchWeight) {
  const float a = A.sampleOrZero(float(x) + 0.5f - c.x, float(y) + 0.5f + c.y);
  return std::fabs(a - b) * matchWeight / 123.0f * 65535.0f;
}

void FnMotionEstimateGradientSmoothVectorsInitialAssignment::processRows(int32_t threadIndex) {
  const FnVectorTexture& in = *source_;
  FnVectorTexture& out = *target_;
  const int32_t sx = int32_t(blockWidths[0]) - blockOverlap / 2;
  const int32_t sy = int32_t(blockHeights[0]) - blockOverlap / 2;
  const int32_t offsets[8][2] = {{-sx, -sy}, {-sx, 0}, {-sx, sy}, {0, -sy}, {0, sy}, {sx, -sy}, {sx, 0}, {sx, sy}};
  const int32_t w = in.width(), h = in.height();
  FnFlowRandom random;
  int64_t costs = 0;
  forEachRow(threadIndex, [&](int32_t y) {
    const float* b = lumaB->rawRow(y);
    const float* m = mask ? mask->rawRow(y) : nullptr;
    HvVec2* row = out.rawRow(y);
    for (int32_t x = x0; x < x1; ++x) {
      // The vectors of the neighbouring blocks, so that a pixel near a block
      // edge can take the other block's motion; then the pixel's own.
      HvVec2 list[9];
      int32_t n = 0;
      for (const auto& o : offsets) {
        const int32_t px = x + o[0], py = y + o[1];
        if (px >= 0 && py >= 0 && px < w && py < h) list[n++] = in.rawRow(py)[px];
      }
      list[n++] = in.rawRow(y)[x];
      n = FnCompactCandidates(list, n);
      random.shuffle(list, n);
      if (n == 0) continue;
      if (n == 1 || (m && m[x] > 0.5f)) {
        row[x] = list[0];
        continue;
      }
      float best = 0.0f;
      HvVec2 winner = list[0];
      for (int32_t i = 0; i < n; ++i) {
        const float cost = FnPixelMatchCost(*lumaA, b[x], x, y, list[i], matchWeight);
        if (i == 0 || cost < best) best = cost, winner = list[i];
      }
      costs += n;
      row[x] = winner;
    }
  });
  costsComputed.fetch_add(costs, std::memory_order_relaxed);
}

void FnMotionEstimateGradientSmoothVectorsSinglePass::processRows(int32_t threadIndex) {
  if (!monitor) return;
  FnVectorTexture& field = *image_;
  FnFlowRandom random;
  int64_t costs = 0;
  const float masked = matchWeight / 123.0f * 65535.0f * 123.0f;
  forEachRow(threadIndex, [&](int32_t y) {
    const float* b = lumaB->rawRow(y);
    const float* m = mask ? mask->rawRow(y) : nullptr;
    HvVec2* row = field.rawRow(y);
    for (int32_t x = x0; x < x1; ++x) {
      HvVec2 list[9];
      const int32_t found = monitor->neighbours(x, y, list + 1);
      if (found == 0) continue;
      list[0] = row[x];
      const int32_t n = FnCompactCandidates(list, found + 1);
      random.shuffle(list, n);
      if (n == 0) continue;
      if (n == 1) {
        row[x] = list[0];
        continue;
      }
      const HvVec2 mean = monitor->neighbourMean(x, y);
      float best = 0.0f;
      HvVec2 winner = list[0];
      for (int32_t i = 0; i < n; ++i) {
        const HvVec2 c = list[i];
        const float match = (m && m[x] > 0.5f) ? masked : FnPixelMatchCost(*lumaA, b[x], x, y, c, matchWeight);
        const float cost = (std::fabs(c.y - mean.y) + std::fabs(c.x - mean.x)) * smoothWeight * 8.0f + match;
        if (i == 0 || cost < best) best = cost, winner = c;
      }
      costs += n;
      row[x] = winner;
    }
  });
  costsComputed.fetch_add(costs, std::memory_order_relaxed);
}

void FnMotionEstimateGradientSmoothVectors::initialise() {
  passes = 1;
  singlePasses = 0;
}

void FnMotionEstimateGradientSmoothVectors::runPasses() {
  FnVectorTexture* out = target_;
  if (!lumaA || !lumaB || lumaA->empty() || lumaB->empty()) {
    ColouredFrameGenerator<HvVec2, HvVec2, 1> zero;
    zero.interrupt = interrupt;
    zero.process(out);
    return;
  }
  auto share = [this](auto& node) {
    static_cast<FnMotionEstimateGradientSmoothVectorsParameters&>(node) = *this;
    static_cast<FnMotionEstimateGradientReferenceParameters<float, float>&>(node) = *this;
    static_cast<FnMotionEstimateGradientBlockParameters&>(node) = *this;
    node.interrupt = interrupt;
  };
  FnMotionEstimateGradientSmoothVectorsInitialAssignment initial;
  share(initial);
  initial.matchWeight = 1.0f;
  initial(source_, out);
  if (interrupted(0)) return;
  FnMotionEstimateGradientChangedNeighboursMonitor monitor;
  monitor.interrupt = interrupt;
  monitor(out);
  for (int32_t i = 0; i < iterations; ++i) {
    if (interrupted(0)) return;
    FnMotionEstimateGradientSmoothVectorsSinglePass single;
    share(single);
    single.monitor = &monitor;
    single(out);
    ++singlePasses;
    if (i + 1 < iterations) monitor(out);
  }
}

int32_t spreadToPixels(const FnEstimateSettings& settings, const FnFloatTexture* A, const FnFloatTexture* B,
                       FnInterruptRecord* interrupt, const FnVectorTexture* blockField,
                       FnVectorTexture* pixelField) {
  if (!A || !B || A->empty() || B->empty() || A->width() != B->width() || A->height() != B->height() ||
      !blockField || blockField->empty() || !pixelField)
    return 3;
  FnInterruptRecord local;
  FnInterruptRecord* record = interrupt ? interrupt : &local;
  auto fail = [&]() {
    pixelField->reallocate(0, 0);
    return record->error ? record->error : 4;
  };
  if (record->aborted) return fail();
  const int32_t W = B->width(), H = B->height();
  if ((pixelField->width() != W || pixelField->height() != H || pixelField->empty()) &&
      !pixelField->reallocate(W, H)) {
    record->aborted = 1, record->error = 4;
    return fail();
  }
  FnVectorTexture zoomed(W, H);
  if (zoomed.allocFailed) {
    record->aborted = 1, record->error = 4;
    return fail();
  }
  // Every pixel gets its block's vector, as it is.
  ImageZoomerBase<HvVec2, HvVec2> zoom;
  zoom.zoomFlags = FnZoom_Nearest;
  zoom.interrupt = record;
  zoom.process(blockField, &zoomed);
  if (record->aborted) return fail();
  FnFloatTexture viewA, viewB;
  viewA.alias(*A);
  viewB.alias(*B);
  viewA.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  viewB.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnMotionEstimateGradientSmoothVectors smooth;
  smooth.iterations = settings.vectorPasses;
  smooth.setBlockSize(settings.blockSize);
  smooth.blockOverlap = 2;
  smooth.setPixelSmoothness(settings.pixelSmoothness);
  smooth.lumaA = smooth.lumaPrev = &viewA;
  smooth.lumaB = smooth.lumaNext = &viewB;
  smooth.interrupt = record;
  smooth(&zoomed, pixelField);
  if (record->aborted) return fail();
  return 0;
}
