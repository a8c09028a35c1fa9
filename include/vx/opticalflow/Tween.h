// Tweening: from the two dense fields of a pair of frames (fieldA on A's
// grid pointing into B, fieldB on B's grid pointing into A) to an in-between
// frame at time t (0 at A, 1 at B).
//
// At proxy size the tweener projects both fields to time t, where they
// become candidates, and picks at every pixel a vector a into B and b into A
// by a cost over luminance match, smoothness and symmetry (a ~ -b). At frame
// size the picture warps both frames along the chosen vectors and blends
// them by t. In the in-between frame a reaches B at (x + 0.5 - a.x*(1-t),
// y + 0.5 + a.y*(1-t)) and b reaches A at (x + 0.5 - b.x*t, y + 0.5 + b.y*t).
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "vx/opticalflow/Estimate.h"

// The fractional part of t rounded to steps of 0.005, so that near times give
// identical frames.
float FnRoundTweenTime(double t);

// ---- Candidate lists: one small growable array of vectors a pixel.

struct FnCandidateList {
  static constexpr int32_t kInPlace = 3;
  int32_t size = 0, capacity = kInPlace;
  HvVec2 local[kInPlace];
  HvVec2* heap = nullptr;

  const HvVec2* data() const { return heap ? heap : local; }
  bool contains(HvVec2 v) const;
  void add(HvVec2 v);  // throws std::bad_alloc when it can't grow
  void clear() { size = 0; }
  void release();
};

// width*height lists; the array comes from texture memory (so it can fail
// like a texture), growth beyond the lists' room from the heap.
class FnCandidateLists {
 public:
  FnCandidateLists() = default;
  FnCandidateLists(const FnCandidateLists&) = delete;
  FnCandidateLists& operator=(const FnCandidateLists&) = delete;
  ~FnCandidateLists() { release(); }
  bool allocate(int32_t width, int32_t height);
  void release();
  void clearAll();
  bool empty() const { return !lists_; }
  FnCandidateList& at(int32_t x, int32_t y) { return lists_[size_t(y) * size_t(width_) + size_t(x)]; }
  const FnCandidateList& at(int32_t x, int32_t y) const { return lists_[size_t(y) * size_t(width_) + size_t(x)]; }

 private:
  FnCandidateList* lists_ = nullptr;
  int32_t width_ = 0, height_ = 0;
};

// ---- Parameters.

enum : uint32_t {
  FnTween_Blender = 1,        // set by the frame blender; no node tests it
  FnTween_VectorsGiven = 2,   // vectorsA and vectorsB are the caller's
  FnTween_OcclusionGiven = 4, // occlusion is the caller's
  FnTween_Default8 = 8,       // no effect
  FnTween_GuessOcclusion = 16,
  FnTween_LongFilter = 0x100, // the picture samples with the long filter
  FnTween_FillMode = 0x800,   // a side with no candidates takes the other's negated
};

enum : int32_t {
  FnLabel_Both = 0,
  FnLabel_OnlyB = 1,  // only B-side vectors (b) are wanted
  FnLabel_OnlyA = 2,  // only A-side vectors (a) are wanted
  FnLabel_Undecided = 3,
  FnLabel_NotGuessed = 666,
};

template <class E, class A>
struct FnMotionEstimateGradientTweeningParameters {
  int32_t width = 0, height = 0;
  float time = 0.5f;
  int32_t iterations = 5;
  float flowScale = 33.178879f;
  float smoothWeight = 1.0f;
  float matchWeight = 1.0f;
  float symmetryWeight = 10.0f;
  float reserved = 1.0f;
  uint32_t flags = 0x438;
  int32_t occlusionPasses = 1;
  FnCandidateLists* candidatesA = nullptr;
  FnCandidateLists* candidatesB = nullptr;
  const FnVectorTexture* fieldA = nullptr;
  const FnVectorTexture* fieldB = nullptr;
  const FnVectorTexture* prevField = nullptr;
  const FnVectorTexture* nextField = nullptr;
  FnIntTexture* occlusion = nullptr;
  FnVectorTexture* vectorsA = nullptr;
  FnVectorTexture* vectorsB = nullptr;
  const FnTexture<E, A>* mask = nullptr;
  const FnTexture<E, A>* lumaPrev = nullptr;
  const FnTexture<E, A>* lumaA = nullptr;
  const FnTexture<E, A>* lumaB = nullptr;
  const FnTexture<E, A>* lumaNext = nullptr;

  // From s2: below 0 the match weighs 1-s2, otherwise smoothness weighs s2+1.
  void setPixelSmoothness(float s2) {
    smoothWeight = s2 < 0.0f ? 1.0f : s2 + 1.0f;
    matchWeight = s2 < 0.0f ? 1.0f - s2 : 1.0f;
  }
};
using FnTweeningParameters = FnMotionEstimateGradientTweeningParameters<float, float>;

// ---- Nodes of the tween.

// Projects a field to time t into the candidate lists. Lists of pixels in
// other bands are written, so it runs on the calling thread.
class FnMotionEstimateGradientTweenerGenerateTemporalCandidates : public FnMultiProcessor,
                                                                  public FnTweeningParameters {
 public:
  enum : uint32_t { kSideA = 1, kExtrapolate = 2 };
  FnMotionEstimateGradientTweenerGenerateTemporalCandidates() { setThreaded(false); }
  void processRows(int32_t threadIndex) override;
  uint32_t which = 0;
};

class FnMotionEstimateGradientTweenerGuessOcclusion : public FnMultiProcessor, public FnTweeningParameters {
 public:
  void runPasses() override;
  int32_t passesRun = 0;
};
class FnMotionEstimateGradientTweenerGuessOcclusionSmoother : public FnMultiProcessor, public FnTweeningParameters {
 public:
  void runPasses() override;
  int32_t passesRun = 0;
};
class FnMotionEstimateGradientTweenerGuessOcclusionBlanker : public FnMultiProcessor, public FnTweeningParameters {
 public:
  FnMotionEstimateGradientTweenerGuessOcclusionBlanker() { setThreaded(false); }
  void processRows(int32_t threadIndex) override;
};

// One pass of the spatial search over both vector textures.
class FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass : public FnMultiProcessor,
                                                                           public FnTweeningParameters {
 public:
  enum : uint32_t {
    kRestartMonitors = 2,
    kHoleMode = 4,
    kLabelledOnly = 8,
    kHoleFilled = 16,
    kPrevDiffers = 32,
    kNextDiffers = 64,
  };
  static constexpr int32_t kMaxCandidates = 200;

  void initialise() override;
  void processRows(int32_t threadIndex) override;
  void terminate() override;
  // The pass, as the driver runs it.
  void runOnce() { process(); }

  uint32_t passFlags = kRestartMonitors | kPrevDiffers | kNextDiffers;
  int32_t passCounter = 0;
  uint32_t randomSeed = 0;
  FnMotionEstimateGradientChangedNeighboursMonitor monitorA, monitorB;
  std::atomic<int64_t> pairCosts{0};  // pair costs computed (for tests)

 private:
  void pixel(int32_t x, int32_t y, FnFlowRandom& random, bool& filled, int64_t& costs);
  std::atomic<bool> filled_{false};
};

// Whether two textures differ: stops at the first difference; a pixel equal
// to the first pixel of `a` is skipped without comparing.
bool FnTexturesDiffer(const FnFloatTexture* a, const FnFloatTexture* b);

// The tweener: process(lumaA, lumaB, target) with the target setting the
// size (usually vectorsA). All its work is done in initialise, stage by
// stage, testing the interrupt record after each.
class FnMotionEstimateGradientTweener : public Combiner<FnFloatTexture, FnFloatTexture, FnVectorTexture> {
 public:
  FnMotionEstimateGradientTweener() { this->passes = 0; }
  void initialise(const FnFloatTexture* a, const FnFloatTexture* b, FnVectorTexture* t) override;

  FnTweeningParameters params;
  std::unique_ptr<FnIntTexture> ownOcclusion;
  std::unique_ptr<FnVectorTexture> ownVectorsA, ownVectorsB;
  FnCandidateLists listsA, listsB;

 private:
  bool stage() const { return !interrupted(0); }
  bool temporal(uint32_t which);
  bool guessOcclusion();
  bool spatial();
};

// ---- The picture.

// Weights of the long filter at index-space position u (pixel k's centre is
// at k): taps floor(u)-10 .. floor(u)+10, weight 0.5*(1 + cos(pi*d/10)) *
// sin(pi*d)/d of the distance d (1.0 at d = 0), divided by their sum.
// Returns the first tap.
constexpr int32_t FnLongFilterRadius = 10;
int32_t FnLongFilterWeights(float u, float weights[2 * FnLongFilterRadius + 1]);

template <class P>
class FnMotionEstimateGradientTweenerBuildPicture : public Generator<FnTexture<P, FnPixelF>> {
 public:
  using Frame = FnTexture<P, FnPixelF>;
  void initialise(Frame* target) override;
  void processRows(Frame* target, int32_t threadIndex) override;

  FnTweeningParameters params;  // vectorsA, vectorsB, occlusion at frame size
  float vectorScale = 1.0f;  // frame width / proxy width
  uint32_t mode = 2;
  const Frame* framePrev = nullptr;
  const Frame* frameA = nullptr;
  const Frame* frameB = nullptr;
  const Frame* frameNext = nullptr;

 private:
  FnPixelF at(const Frame* frame, float x, float y) const;
  bool plain_ = false;  // both frames' windows are whole, origins 0
  int32_t isa_ = 0;     // the widest vector forms allowed, read once a call
};

// ---- Entry points. 0, or the error of the interrupt record (4: out of
// memory, 3: bad input). On an error tween keeps no partial output; the
// picture's target (the caller's frame) may then be partly written.

struct FnTweenSettings {
  float pixelSmoothness = 500.0f;
  int32_t vectorPasses = 5;
  int32_t occlusionPasses = 2;
  uint32_t flags = 0x00F;  // add FnTween_GuessOcclusion to guess occlusion
  bool highQuality = false;  // the long filter in the picture
};

// Vectors a and b and labels at proxy size; the outputs are (re)allocated to
// the size of the luminance images.
int32_t tween(const FnTweenSettings& settings, double time, const FnFloatTexture* lumaA, const FnFloatTexture* lumaB,
              const FnVectorTexture* fieldA, const FnVectorTexture* fieldB, FnInterruptRecord* interrupt,
              FnVectorTexture* vectorsA, FnVectorTexture* vectorsB, FnIntTexture* occlusion);

// The in-between frame at full size from the proxy-size output of tween.
// At a rounded t of 0 or 1 a frame is copied without warping.
template <class P>
int32_t buildPicture(const FnTweenSettings& settings, double time, const FnTexture<P, FnPixelF>* frameA,
                     const FnTexture<P, FnPixelF>* frameB, const FnVectorTexture* vectorsA,
                     const FnVectorTexture* vectorsB, const FnIntTexture* occlusion, FnInterruptRecord* interrupt,
                     FnTexture<P, FnPixelF>* target);

extern template class FnMotionEstimateGradientTweenerBuildPicture<FnPixel8>;
extern template class FnMotionEstimateGradientTweenerBuildPicture<FnPixel16>;
extern template class FnMotionEstimateGradientTweenerBuildPicture<FnPixelF>;
