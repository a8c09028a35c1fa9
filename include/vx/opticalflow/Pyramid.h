// Image pyramids: a stack of textures, level 0 the caller's, each level half
// the size of the one before, made by a blur and a reduction.
#pragma once

#include <memory>
#include <vector>

#include "vx/opticalflow/Blur.h"
#include "vx/opticalflow/Zoom.h"

template <class E, class A, int Scale>
class FnMotionEstimateMapStackHolder {
 public:
  static constexpr int32_t kMaxLevels = 32;

  FnMotionEstimateMapStackHolder() = default;
  // Level 0 is `levelZero` (not owned); levels 1 to levels-1 are allocated,
  // each of half the width and height of the one before (integer division),
  // with clamped edges. On a failed allocation every level made is freed and
  // `error` is 4.
  FnMotionEstimateMapStackHolder(FnTexture<E, A>* levelZero, int32_t levels) { build(levelZero, levels); }
  FnMotionEstimateMapStackHolder(const FnMotionEstimateMapStackHolder&) = delete;
  FnMotionEstimateMapStackHolder& operator=(const FnMotionEstimateMapStackHolder&) = delete;
  ~FnMotionEstimateMapStackHolder() { clear(); }

  int32_t build(FnTexture<E, A>* levelZero, int32_t levels);
  void clear();

  // Levels of a coarse-to-fine search over a W by H image: one more for each
  // halving while a quarter of the halved size is at least 2 in both axes.
  static int32_t levelsFor(int32_t width, int32_t height);

  int32_t levels() const { return count_; }
  FnTexture<E, A>* level(int32_t i) const { return (i >= 0 && i < count_) ? maps_[i] : nullptr; }
  bool owns(int32_t i) const { return i >= 0 && i < count_ && owned_[i]; }

  int32_t error = 0;

 private:
  FnTexture<E, A>* maps_[kMaxLevels] = {};
  bool owned_[kMaxLevels] = {};
  int32_t count_ = 0;
};

// Builds the levels of a stack from its level 0: each level is the level
// above blurred (the boxes of BlurGeneralGauss for sigma filterWidth/3 in
// integer division, or with useKernel a sampled kernel of filterWidth taps
// and weights exp(-k^2 / (2*variance))) and halved by exact decimation, the
// zoom by 2 that reads pixel (2x, 2y). Only the pixels kept are filtered.
// Run it by process(stack level 0) or build().
template <class E, class A, int Scale>
class FnFilteredPyramid : public Generator<FnTexture<E, A>> {
 public:
  explicit FnFilteredPyramid(FnMotionEstimateMapStackHolder<E, A, Scale>* s) : stack(s) {
    this->passes = 0;
    levels = s ? s->levels() : 0;
  }
  void build() { this->process(stack ? stack->level(0) : nullptr); }
  void initialise(FnTexture<E, A>* levelZero) override;

  FnMotionEstimateMapStackHolder<E, A, Scale>* stack;
  int32_t filterWidth = 3;
  float variance = 2.25f;
  int32_t levels = 0;
  bool useKernel = false;

 protected:
  // Called when `level` has been made; false stops the build.
  virtual bool levelHook(int32_t level) { return true; }
  // Blurs `source` into `scratch` and reduces it into `out`; false on a
  // failure that the interrupt record now holds.
  bool reduce(const FnTexture<E, A>* source, FnTexture<E, A>* out);
};

// The pyramid with a mask: when `mask` is set, its stack's levels are made
// alongside, the same way, from its level 0 (which the caller fills).
template <class E, class A, int Scale>
class FnFilteredPyramidAlpha : public FnFilteredPyramid<E, A, Scale> {
 public:
  using FnFilteredPyramid<E, A, Scale>::FnFilteredPyramid;
  FnMotionEstimateMapStackHolder<E, A, Scale>* mask = nullptr;

 protected:
  bool levelHook(int32_t level) override;
};

extern template class FnMotionEstimateMapStackHolder<float, float, 1>;
extern template class FnMotionEstimateMapStackHolder<HvVec2, HvVec2, 1>;
extern template class FnFilteredPyramid<float, float, 1>;
extern template class FnFilteredPyramidAlpha<float, float, 1>;
