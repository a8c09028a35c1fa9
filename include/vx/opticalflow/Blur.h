// Gaussian blur of float textures by running-box passes, and the filter by
// a sampled kernel that the pyramid can use instead.
#pragma once

#include <vector>

#include "vx/opticalflow/Nodes.h"

// One running box of radius r = n + f: weight 1 within n pixels, f at n + 1,
// all divided by 2n + 1 + 2f.
struct FnBoxRadius {
  int32_t n;
  float f;
};
// The box radius whose `boxes` passes add up to the variance sigma^2, capped
// at `limit`.
FnBoxRadius FnBoxRadiusFor(float sigma, int32_t boxes, float limit);
// The weights of `boxes` such boxes in a row, as one kernel of odd length.
std::vector<float> FnBoxCascadeKernel(FnBoxRadius r, int32_t boxes);

// Source to target of the same size: pass 0 filters rows (bands of rows),
// pass 1 filters columns of the target in place (bands of columns). Edges
// follow the source's edge rules in both passes. Sigma is in pixels of an
// image of scale 1 (divided by xScale/yScale); each axis's radius is at most
// a third of the image's size along it.
template <class E, class A, int Scale>
class BlurGeneralGauss : public Sampler<FnTexture<E, A>, FnTexture<E, A>> {
  static_assert(std::is_same_v<E, float> && std::is_same_v<A, float>, "blurs run on float textures");

 public:
  enum : int32_t { kHorizontal = 1, kVertical = 2 };
  BlurGeneralGauss() { this->passes = 2; }

  void setSigma(float x, float y) { sigmaX = x, sigmaY = y; }
  // A sampled kernel (odd length) instead of boxes, the same in both axes.
  void setKernel(const std::vector<float>& weights) { kernel = weights; }

  void initialise(const FnTexture<E, A>* s, FnTexture<E, A>* t) override;
  void processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) override;

  float sigmaX = 1.0f, sigmaY = 1.0f;
  int32_t mode = kHorizontal | kVertical;
  int32_t boxes = 3;
  std::vector<float> kernel;  // empty: boxes

 private:
  void filterRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex);
  void filterColumns(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex);
  FnBoxRadius rx_{0, 0.0f}, ry_{0, 0.0f};
  bool sameSize_ = false;
};

extern template class BlurGeneralGauss<float, float, 1>;
