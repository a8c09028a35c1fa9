// Gradient motion estimation: a block-based, coarse-to-fine estimator on
// two luminance images of one size.
//
// The vector convention of every flow node: a field on the grid of image B
// that points into image A satisfies B(x,y) = A(x - vx, y + vy) where the
// motion is found. The x component is subtracted and the y component added;
// the asymmetry is the convention and stays.
//
// On each pyramid level, from the coarsest, every block of the level's grid
// gets a vector by up to ten Gauss-Newton steps; the vectors are quantised
// and smoothed among neighbours by a candidate search, then carried to the
// next finer level. estimateField gives the block field of level 0;
// spreadToPixels turns it into one vector a pixel and refines those by a
// second candidate search.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "vx/opticalflow/Basic.h"
#include "vx/opticalflow/Pyramid.h"

// ---- Parameter blocks.

struct FnMotionEstimateGradientQuantisable {
  float quantum = 0.1f;  // grid step of vector components, in level-0 pixels
};

struct FnMotionEstimateGradientBlockParameters {
  static constexpr int32_t kMaxLevels = 1000;
  FnMotionEstimateGradientBlockParameters() { setBlockSize(6.0f); }

  void setBlockSize(float size) {
    for (int32_t i = 0; i < kMaxLevels; ++i) blockWidths[i] = blockHeights[i] = size;
  }
  // From the smoothness s: below 0 the error weighs 1-s, otherwise the
  // vector difference weighs 1+s.
  void setSmoothness(float s) {
    errorWeight = s < 0.0f ? 1.0f - s : 1.0f;
    smoothnessWeight = s < 0.0f ? 1.0f : 1.0f + s;
  }

  float blockWidths[kMaxLevels];
  float blockHeights[kMaxLevels];
  int32_t blockOverlap = 2;
  float errorWeight = 1.0f;
  float smoothnessWeight = 1.0f;
  float convergence = 0.01f;  // mean absolute error below which a block is done
};

// Optional outputs of the finest level: block centres, per-block mean errors
// and gradient energies (Sxx + Syy). Null: not wanted.
struct FnMotionEstimateGradientInfoParameters {
  FnVectorTexture* positionsOut = nullptr;
  FnFloatTexture* errorOut = nullptr;
  FnFloatTexture* textureOut = nullptr;
};

struct FnMotionEstimateGradientPyramidParameters {
  FnMotionEstimateMapStackHolder<float, float, 1>* lumaPyramidA = nullptr;
  FnMotionEstimateMapStackHolder<float, float, 1>* lumaPyramidB = nullptr;
  FnMotionEstimateMapStackHolder<float, float, 1>* maskPyramid = nullptr;
  bool useRowColumnMode = false;
  int32_t levels = 0;
  int32_t stopLevel = 0;
  int32_t smoothPasses = 5;
  bool nearestUpsample = true;
  bool monitorError = false;
};

// What a caller of estimateField and spreadToPixels chooses; the defaults
// are the frame blender's.
struct FnEstimateSettings {
  float blockSize = 6.0f;
  float blockSmoothness = 500.0f;  // s of the block search
  float pixelSmoothness = 500.0f;  // s2 of the pixel search
  int32_t vectorPasses = 5;        // pixel-search passes
  float threshold = 0.01f;         // convergence
  bool monitorError = false;       // solve only blocks of above-mean texture
  bool useRowColumnMode = false;   // solve on row and column profiles
};

// ---- Small shared pieces.

// The search's random generator: one 32-bit word, two LCG steps a draw.
struct FnFlowRandom {
  uint32_t state = 0;
  uint32_t draw() {
    const uint32_t s1 = state * 1103515245u + 12345u;
    const uint32_t s2 = s1 * 1103515245u + 12345u;
    state = s2;
    return ((s2 >> 16) & 255u) ^ (((s1 >> 16) & 255u) << 7);
  }
  // (n-1)/2+1 swaps of two drawn entries.
  template <class T>
  void shuffle(T* v, int32_t n) {
    if (n <= 1) return;
    for (int32_t k = (n - 1) / 2 + 1; k > 0; --k) {
      const uint32_t i = draw() % uint32_t(n), j = draw() % uint32_t(n);
      const T t = v[i];
      v[i] = v[j];
      v[j] = t;
    }
  }
};

// Drops invalid vectors and repeats (exact compare, the first kept) in place;
// the new length.
int32_t FnCompactCandidates(HvVec2* v, int32_t n);

// q*floor((q*0.5 + c)/q) on each valid component.
HvVec2 FnQuantise(HvVec2 v, float q);

// Blocks of a level: ceil((size - overlap) / (block - overlap)) in float,
// at least 1.
int32_t FnBlockCount(int32_t size, float block, int32_t overlap);

// A block's rectangle on an image: columns [left, right), rows [bottom, top),
// pushed back inside where it passes the far edges.
struct FnBlockRect {
  int32_t left, right, bottom, top;
};
FnBlockRect FnBlockRectangle(int32_t bx, int32_t by, float blockWidth, float blockHeight, int32_t overlap,
                             int32_t imageWidth, int32_t imageHeight);

// Mean of |B(x,y) - A(x - u, y + v)| over the rectangle, bilinear; pixels
// whose source lies outside A, or whose mask is above 0.5, are not counted;
// FnInvalidValue when a quarter of the area or less was counted.
float FnBlockError(const FnFloatTexture& A, const FnFloatTexture& B, const FnFloatTexture* mask,
                   const FnBlockRect& r, HvVec2 v);

// ---- The Gauss-Newton step and the solve of one block.

struct FnGradientStep {
  float result;   // 0 stops the block's steps; otherwise the mean abs error
  bool finished;  // the block is done (vector invalid, or it came invalid)
};
// One step on the block's vector (changed in place).
FnGradientStep FnGaussNewtonStep(const FnFloatTexture& A, const FnFloatTexture& B, const FnFloatTexture* mask,
                                 const FnBlockRect& r, float convergence, HvVec2* v);

// Up to ten steps on a block's vector. A step that finishes the block undoes
// itself when an earlier step of these ten left the block valid; when the
// first step finishes it, its verdict (the invalid vector) stands.
template <class Step>
HvVec2 FnSolveBlockSteps(HvVec2 v, Step&& step) {
  bool stepped = false;
  for (int32_t i = 0; i < 10; ++i) {
    const HvVec2 before = v;
    const FnGradientStep s = step(&v);
    if (s.finished) {
      if (stepped) v = before;
      break;
    }
    stepped = true;
    if (s.result == 0.0f) break;
  }
  return v;
}

// ---- Nodes.

// Rounds vectors to the grid of `quantum`, in place (source may be target).
class FnMotionEstimateGradientQuantise : public GeneralSampler<FnVectorTexture, FnVectorTexture>,
                                         public FnMotionEstimateGradientQuantisable {
 public:
  void processPixel(const HvVec2& source, HvVec2& target, int32_t) override { target = FnQuantise(source, quantum); }
};

// Keeps which vectors changed since its last run, and a copy of them from
// which the searches read neighbours (so no band reads what another writes).
class FnMotionEstimateGradientChangedNeighboursMonitor : public FnImgProc1<FnVectorTexture> {
 public:
  void initialise() override;
  void processRows(int32_t threadIndex) override;
  void terminate() override { first = false; }

  // Up to 8 neighbours of (x,y) from `previous`: the row above (y+1) left,
  // middle, right; left, right; the row below. Only changed ones unless
  // allChanged. 0 means nothing near the cell changed.
  int32_t neighbours(int32_t x, int32_t y, HvVec2* out) const;
  // Mean of the valid 8-neighbours in `previous` (all of them); (0,0) if none.
  HvVec2 neighbourMean(int32_t x, int32_t y) const;
  // Starts over: the next run allocates, marks all as changed and copies.
  void restart() {
    first = true;
    allChanged = true;
  }

  std::unique_ptr<FnIntTexture> changed;
  std::unique_ptr<FnVectorTexture> previous;
  bool first = true;
  bool allChanged = true;
  std::atomic<bool> sawInvalid{false};
};

// The gradient solve of one level: FnImgProc3(A, B, vectors), a pass over the
// rows of the block grid. With monitorError a first pass measures each
// block's texture and the second solves only blocks at or above the mean.
class FnMotionEstimateGradient : public FnImgProc3<FnVectorTexture, FnFloatTexture, FnFloatTexture>,
                                 public FnMotionEstimateGradientBlockParameters,
                                 public FnMotionEstimateGradientQuantisable,
                                 public FnMotionEstimateGradientInfoParameters {
 public:
  void initialise() override;
  void processRows(int32_t threadIndex) override;
  void postPass() override;
  void terminate() override;

  // The vector of one block after up to ten steps.
  HvVec2 solveBlock(const FnBlockRect& r, HvVec2 v) const;

  int32_t level = 0;
  const FnFloatTexture* mask = nullptr;
  bool monitorError = false;
  bool useRowColumnMode = false;
  // Row and column sums of A and B for the row/column mode (made by the
  // driver with FnMotionEstimateGradientRow/Column).
  const FnFloatTexture *rowsA = nullptr, *rowsB = nullptr, *columnsA = nullptr, *columnsB = nullptr;

 private:
  HvVec2 solveProfiles(const FnBlockRect& r, HvVec2 v) const;
  std::unique_ptr<FnFloatTexture> texture_;  // per-block texture measure
  float textureMean_ = 0.0f;
};

// Sliding sums of `window` pixels along rows (Row) or columns (Column), by a
// running sum over run reads of the source. Pixel p holds the sum of the
// window that starts at p.
class FnMotionEstimateGradientRow : public FnImgProc2<FnFloatTexture, FnFloatTexture> {
 public:
  void processRows(int32_t threadIndex) override;
  int32_t window = 6;
};
class FnMotionEstimateGradientColumn : public FnImgProc2<FnFloatTexture, FnFloatTexture> {
 public:
  void processRows(int32_t threadIndex) override;
  int32_t window = 6;
};

// Mean of a float texture, summed per thread into a slot of its own.
class FnMeanCalculator : public Sampler<FnFloatTexture, FnFloatTexture> {
 public:
  void initialise(const FnFloatTexture* s, FnFloatTexture* t) override;
  void processRows(const FnFloatTexture* s, FnFloatTexture* t, int32_t threadIndex) override;
  void terminate(const FnFloatTexture* s, FnFloatTexture* t) override;
  void measure(const FnFloatTexture* texture) { process(texture, const_cast<FnFloatTexture*>(texture)); }
  float mean = 0.0f;

 private:
  std::vector<double> sums_;
  std::vector<int64_t> counts_;
};

// The block-level candidate search: in place on the level's vectors, reading
// neighbours from the monitor's copy.
class FnMotionEstimateGradientSmooth : public FnImgProc1<FnVectorTexture>,
                                       public FnMotionEstimateGradientBlockParameters {
 public:
  void initialise() override;
  void processRows(int32_t threadIndex) override;

  int32_t level = 0;
  const FnFloatTexture* imageA = nullptr;
  const FnFloatTexture* imageB = nullptr;
  const FnFloatTexture* mask = nullptr;
  FnMotionEstimateGradientChangedNeighboursMonitor* monitor = nullptr;
  std::unique_ptr<FnFloatTexture> blockError;  // weighted error of each cell's vector

 private:
  void searchCell(int32_t x, int32_t y, HvVec2* cell, FnFlowRandom& random);
};

// The coarse-to-fine driver. Run it by process(level-0 vectors): the target
// is the block field, of the grid of level 0.
class FnMotionEstimateGradientPyramid : public Generator<FnVectorTexture>,
                                        public FnMotionEstimateGradientPyramidParameters,
                                        public FnMotionEstimateGradientQuantisable,
                                        public FnMotionEstimateGradientBlockParameters,
                                        public FnMotionEstimateGradientInfoParameters {
 public:
  FnMotionEstimateGradientPyramid() { this->passes = 0; }
  void initialise(FnVectorTexture* levelZero) override;

  // Passes of the level's search and monitor since the level began, and
  // whether the level was zeroed for staying invalid (for tests).
  std::vector<int32_t> searchPasses;
  std::vector<bool> zeroedLevels;

 private:
  bool runLevel(int32_t level, FnVectorTexture* vectors, bool firstRun);
};

// ---- Pixel-level search.

struct FnMotionEstimateGradientSmoothVectorsParameters {
  int32_t iterations = 5;
  float smoothWeight = 1.0f;
  float matchWeight = 1.0f;
  // From s2: below 0 the match weighs 1-s2, otherwise smoothness weighs 1+s2.
  void setPixelSmoothness(float s2) {
    smoothWeight = s2 < 0.0f ? 1.0f : 1.0f + s2;
    matchWeight = s2 < 0.0f ? 1.0f - s2 : 1.0f;
  }
};

template <class E, class A>
struct FnMotionEstimateGradientReferenceParameters {
  const FnTexture<E, A>* lumaPrev = nullptr;  // sampled image, preceding frame slot
  const FnTexture<E, A>* lumaA = nullptr;     // sampled image
  const FnTexture<E, A>* lumaB = nullptr;     // reference image
  const FnTexture<E, A>* lumaNext = nullptr;  // reference image, following frame slot
  const FnTexture<E, A>* mask = nullptr;
};

// The match cost of a pixel-level candidate: |A at the displaced centre -
// B(x,y)| * matchWeight / 123 * 65535.
float FnPixelMatchCost(const FnFloatTexture& A, float b, int32_t x, int32_t y, HvVec2 c, float matchWeight);

class FnMotionEstimateGradientSmoothVectors : public FnImgProc2<FnVectorTexture, FnVectorTexture>,
                                              public FnMotionEstimateGradientSmoothVectorsParameters,
                                              public FnMotionEstimateGradientReferenceParameters<float, float>,
                                              public FnMotionEstimateGradientBlockParameters {
 public:
  // Source: the block field zoomed to pixels; target: the pixel field.
  void initialise() override;
  void runPasses() override;

  // How many single passes ran (for tests).
  int32_t singlePasses = 0;
};

// Its two row workers.
class FnMotionEstimateGradientSmoothVectorsInitialAssignment
    : public FnImgProc2<FnVectorTexture, FnVectorTexture>,
      public FnMotionEstimateGradientSmoothVectorsParameters,
      public FnMotionEstimateGradientReferenceParameters<float, float>,
      public FnMotionEstimateGradientBlockParameters {
 public:
  void processRows(int32_t threadIndex) override;
  // Costs computed (for tests: single-candidate pixels compute none).
  std::atomic<int64_t> costsComputed{0};
};

class FnMotionEstimateGradientSmoothVectorsSinglePass
    : public FnImgProc1<FnVectorTexture>,
      public FnMotionEstimateGradientSmoothVectorsParameters,
      public FnMotionEstimateGradientReferenceParameters<float, float>,
      public FnMotionEstimateGradientBlockParameters {
 public:
  void processRows(int32_t threadIndex) override;
  FnMotionEstimateGradientChangedNeighboursMonitor* monitor = nullptr;
  std::atomic<int64_t> costsComputed{0};
};

// ---- Entry points. Both return 0, or the error of the interrupt record (4:
// out of memory). On an error the output is left empty: no partial field.

// The block field of `B`'s grid pointing into `A` (allocated to the grid of
// level 0 when it isn't already). A and B must be of one size (3 otherwise).
int32_t estimateField(const FnEstimateSettings& settings, const FnFloatTexture* A, const FnFloatTexture* B,
                      FnInterruptRecord* interrupt, FnVectorTexture* blockField);
// One vector a pixel of B from the block field (allocated to B's size).
int32_t spreadToPixels(const FnEstimateSettings& settings, const FnFloatTexture* A, const FnFloatTexture* B,
                       FnInterruptRecord* interrupt, const FnVectorTexture* blockField,
                       FnVectorTexture* pixelField);
// Both in a row, with a block field of its own.
int32_t estimatePixelField(const FnEstimateSettings& settings, const FnFloatTexture* A, const FnFloatTexture* B,
                           FnInterruptRecord* interrupt, FnVectorTexture* pixelField);
