// The coarse-to-fine level loop and estimateField.
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "vx/opticalflow/Estimate.h"

namespace {

void FillZero(FnVectorTexture* vectors, FnInterruptRecord* interrupt) {
  ColouredFrameGenerator<HvVec2, HvVec2, 1> zero;
  zero.interrupt = interrupt;
  zero.process(vectors);
}

// Row and column sums of one image for the one-dimensional mode.
struct ProfileImages {
  std::unique_ptr<FnFloatTexture> rows, columns;
  bool make(const FnFloatTexture* image, int32_t blockWidth, int32_t blockHeight, FnInterruptRecord* interrupt) {
    rows = std::make_unique<FnFloatTexture>(image->width(), image->height());
    columns = std::make_unique<FnFloatTexture>(image->width(), image->height());
    if (rows->allocFailed || columns->allocFailed) return false;
    rows->setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
    columns->setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
    FnMotionEstimateGradientRow row;
    row.window = blockWidth;
    row.interrupt = interrupt;
    row(image, rows.get());
    FnMotionEstimateGradientColumn column;
    column.window = blockHeight;
    column.interrupt = interrupt;
    column(image, columns.get());
    return true;
  }
};

}  // namespace

bool FnMotionEstimateGradientPyramid::runLevel(int32_t L, FnVectorTexture* vectors, bool firstRun) {
  const FnFloatTexture* A = lumaPyramidA->level(L);
  const FnFloatTexture* B = lumaPyramidB->level(L);
  const FnFloatTexture* mask = maskPyramid ? maskPyramid->level(L) : nullptr;
  FnInterruptRecord* record = this->interrupt;
  if (firstRun) FillZero(vectors, record);
  if (L >= stopLevel) {
    FnMotionEstimateGradient solve;
    static_cast<FnMotionEstimateGradientBlockParameters&>(solve) = *this;
    solve.quantum = quantum;
    solve.level = L;
    solve.mask = mask;
    solve.monitorError = monitorError;
    solve.useRowColumnMode = useRowColumnMode;
    solve.interrupt = record;
    if (L == 0) static_cast<FnMotionEstimateGradientInfoParameters&>(solve) = *this;
    ProfileImages profilesA, profilesB;
    if (useRowColumnMode) {
      const int32_t bw = int32_t(blockWidths[L]), bh = int32_t(blockHeights[L]);
      if (!profilesA.make(A, bw, bh, record) || !profilesB.make(B, bw, bh, record)) {
        abortWith(4);
        return false;
      }
      solve.rowsA = profilesA.rows.get(), solve.columnsA = profilesA.columns.get();
      solve.rowsB = profilesB.rows.get(), solve.columnsB = profilesB.columns.get();
    }
    vectors->setEdgeMode(FnEdge_Mirror, FnEdge_Mirror);
    solve(A, B, vectors);
    if (interrupted(0)) return false;
  }
  // Coarser levels get a finer grid in their own pixels: the same grid in
  // pixels of level 0.
  FnMotionEstimateGradientQuantise quantise;
  quantise.quantum = quantum * std::pow(0.5f, float(L));
  quantise.interrupt = record;
  quantise.process(vectors, vectors);
  if (interrupted(0)) return false;

  FnMotionEstimateGradientChangedNeighboursMonitor monitor;
  monitor.interrupt = record;
  monitor(vectors);
  if (interrupted(0)) return false;
  FnMotionEstimateGradientSmooth search;
  static_cast<FnMotionEstimateGradientBlockParameters&>(search) = *this;
  search.level = L;
  search.imageA = A, search.imageB = B, search.mask = mask;
  search.monitor = &monitor;
  search.interrupt = record;
  int32_t runs = 0;
  auto round = [&]() {
    search(vectors);
    if (interrupted(0)) return false;
    monitor(vectors);
    ++runs;
    return !interrupted(0);
  };
  if (L >= stopLevel)
    for (int32_t i = 0; i < smoothPasses; ++i)
      if (!round()) return false;
  for (int32_t i = 0; i < 100 && monitor.sawInvalid.load(); ++i)
    if (!round()) return false;
  searchPasses[size_t(L)] = runs;
  // A wrong vector is worse than none: a level that stays invalid is zeroed.
  if (monitor.sawInvalid.load()) {
    FillZero(vectors, record);
    zeroedLevels[size_t(L)] = true;
  }
  return !interrupted(0);
}

void FnMotionEstimateGradientPyramid::initialise(FnVectorTexture* levelZero) {
  if (!lumaPyramidA || !lumaPyramidB) return;
  levels = std::min(lumaPyramidA->levels(), lumaPyramidB->levels());
  searchPasses.assign(size_t(std::max(levels, 0)), 0);
  zeroedLevels.assign(size_t(std::max(levels, 0)), false);
  // The vectors of each level live on that level's block grid.
  std::vector<std::unique_ptr<FnVectorTexture>> owned(size_t(std::max(levels, 1)));
  std::vector<FnVectorTexture*> fields(size_t(std::max(levels, 1)), nullptr);
  fields[0] = levelZero;
  for (int32_t L = 1; L < levels; ++L) {
    const FnFloatTexture* image = lumaPyramidA->level(L);
    const int32_t gw = FnBlockCount(image->width(), blockWidths[L], blockOverlap);
    const int32_t gh = FnBlockCount(image->height(), blockHeights[L], blockOverlap);
    owned[size_t(L)] = std::make_unique<FnVectorTexture>(gw, gh);
    if (owned[size_t(L)]->allocFailed) {
      abortWith(4);
      return;
    }
    fields[size_t(L)] = owned[size_t(L)].get();
  }
  bool firstRun = true;
  for (int32_t L = levels - 1; L >= 0; --L) {
    if (interrupted(0)) return;
    FnVectorTexture* vectors = fields[size_t(L)];
    if (!vectors || vectors->empty()) continue;
    if (!runLevel(L, vectors, firstRun)) return;
    firstRun = false;
    if (L > 0 && fields[size_t(L - 1)] && !fields[size_t(L - 1)]->empty()) {
      // Half the blocks: nearest vectors, each divided by the zoom factor.
      ImageZoomerGP<HvVec2, HvVec2> zoom;
      zoom.zoomFlags = FnZoom_ScaleVectors | (nearestUpsample ? FnZoom_Nearest : 0u);
      zoom.interrupt = this->interrupt;
      zoom.process(vectors, fields[size_t(L - 1)]);
    }
  }
}

namespace {

// A clamped-edge view of a caller's image, so edges never read as zero.
void ClampedView(const FnFloatTexture* image, FnFloatTexture* view) {
  view->alias(*image);
  view->setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
}

int32_t Finish(FnInterruptRecord* record, FnVectorTexture* out) {
  if (record->error == 0 && !record->aborted) return 0;
  const int32_t error = record->error ? record->error : 4;
  if (out) out->reallocate(0, 0);
  return error;
}

bool SameSize(const FnFloatTexture* A, const FnFloatTexture* B) {
  return A && B && !A->empty() && !B->empty() && A->width() == B->width() && A->height() == B->height();
}

}  // namespace

int32_t estimateField(const FnEstimateSettings& settings, const FnFloatTexture* A, const FnFloatTexture* B,
                      FnInterruptRecord* interrupt, FnVectorTexture* blockField) {
  if (!SameSize(A, B) || !blockField) return 3;
  FnInterruptRecord local;
  FnInterruptRecord* record = interrupt ? interrupt : &local;
  if (record->aborted) return Finish(record, blockField);
  FnFloatTexture viewA, viewB;
  ClampedView(A, &viewA);
  ClampedView(B, &viewB);
  const int32_t W = A->width(), H = A->height();
  const int32_t levels = FnMotionEstimateMapStackHolder<float, float, 1>::levelsFor(W, H);
  FnMotionEstimateMapStackHolder<float, float, 1> pyramidA(&viewA, levels), pyramidB(&viewB, levels);
  if (pyramidA.error || pyramidB.error) {
    record->aborted = 1, record->error = 4;
    return Finish(record, blockField);
  }
  for (auto* stack : {&pyramidA, &pyramidB}) {
    FnFilteredPyramidAlpha<float, float, 1> build(stack);
    build.filterWidth = 3;
    build.interrupt = record;
    build.build();
    if (record->aborted) return Finish(record, blockField);
  }
  const int32_t gw = FnBlockCount(W, settings.blockSize, 2), gh = FnBlockCount(H, settings.blockSize, 2);
  if ((blockField->width() != gw || blockField->height() != gh || blockField->empty()) &&
      !blockField->reallocate(gw, gh)) {
    record->aborted = 1, record->error = 4;
    return Finish(record, blockField);
  }
  FnMotionEstimateGradientPyramid driver;
  driver.lumaPyramidA = &pyramidA;
  driver.lumaPyramidB = &pyramidB;
  driver.monitorError = settings.monitorError;
  driver.useRowColumnMode = settings.useRowColumnMode;
  driver.setBlockSize(settings.blockSize);
  driver.setSmoothness(settings.blockSmoothness);
  driver.convergence = settings.threshold;
  driver.interrupt = record;
  driver.process(blockField);
  return Finish(record, blockField);
}

int32_t estimatePixelField(const FnEstimateSettings& settings, const FnFloatTexture* A, const FnFloatTexture* B,
                           FnInterruptRecord* interrupt, FnVectorTexture* pixelField) {
  FnVectorTexture blocks;
  const int32_t error = estimateField(settings, A, B, interrupt, &blocks);
  if (error) {
    if (pixelField) pixelField->reallocate(0, 0);
    return error;
  }
  return spreadToPixels(settings, A, B, interrupt, &blocks, pixelField);
}
