// Resizing nodes: zoom by a factor, and resampling through a 3 by 3 matrix.
#pragma once

#include "vx/opticalflow/Nodes.h"

enum : uint32_t {
  FnZoom_Nearest = 1,      // nearest pixel instead of bilinear
  FnZoom_ScaleVectors = 2,  // vector values are divided by the factors
  FnZoom_KeepFactors = 4,   // factors as given, not from the two sizes
};

// The zoom of one target pixel (x,y): with FnZoom_Nearest the source pixel
// (trunc(x*xFactor), trunc(y*yFactor)), outside reads giving the source's
// outside value; otherwise the bilinear sample at (x*xFactor + 0.5,
// y*yFactor + 0.5). Unless FnZoom_KeepFactors, the factors are source size /
// target size.
template <class E, class A>
class ImageZoomerBase : public GeneralSamplerPos<FnTexture<E, A>, FnTexture<E, A>> {
 public:
  void initialise(const FnTexture<E, A>* s, FnTexture<E, A>* t) override;
  void processPixel(int32_t x, int32_t y, E& target, int32_t threadIndex) override;
  void processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) override;

  float xFactor = 1.0f, yFactor = 1.0f;
  uint32_t zoomFlags = 0;
};

// The zoom of fields: a valid vector is divided by the factors (so that with
// half the blocks a vector doubles); an invalid one passes unchanged.
template <class E, class A>
class ImageZoomerGP : public ImageZoomerBase<E, A> {
 public:
  ImageZoomerGP() { this->zoomFlags = FnZoom_ScaleVectors; }
};

// The zoom of float textures, row at a time.
template <class E, class A, int S, class TE, class TA, int TS>
class FnImageZoomSampler : public Sampler<FnTexture<E, A>, FnTexture<TE, TA>> {
  static_assert(std::is_same_v<E, float> && std::is_same_v<TE, float>, "zooms float textures");

 public:
  void initialise(const FnTexture<E, A>* s, FnTexture<TE, TA>* t) override;
  void processRows(const FnTexture<E, A>* s, FnTexture<TE, TA>* t, int32_t threadIndex) override;

  float xFactor = 1.0f, yFactor = 1.0f;
  uint32_t zoomFlags = 0;
};

enum : int32_t { FnMove_Nearest = 0, FnMove_Bilinear = 1 };

// Resampling through a matrix m (by rows): target pixel (x,y), centre (px,py)
// = (x+0.5, y+0.5), reads the source at (px*m0 + py*m3 + m6, px*m1 + py*m4 +
// m7), bilinear or the nearest pixel. FnDualMoveSampler moves a second pair
// of textures along the same walk.
template <class E, class A, int Scale>
class FnMoveSampler : public Sampler<FnTexture<E, A>, FnTexture<E, A>> {
 public:
  void setScale(float sx, float sy) {
    setIdentity();
    matrix[0] = sx, matrix[4] = sy;
  }
  void setIdentity() {
    for (int i = 0; i < 9; ++i) matrix[i] = (i % 4 == 0) ? 1.0f : 0.0f;
  }
  void processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) override;

  float matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  int32_t interpolation = FnMove_Bilinear;
  float filterScale = 1.0f;
  uint32_t moveFlags = 0;

 protected:
  void moveRow(const FnTexture<E, A>* s, E* out, int32_t y) const;
  // Without rotation and bilinear: column positions found once a band.
  bool axisAligned() const;
  void moveBandAligned(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex, FnTexture<E, A>* second,
                       const FnTexture<E, A>* secondSource);
};

template <class E, class A, int Scale>
class FnDualMoveSampler : public FnMoveSampler<E, A, Scale> {
 public:
  void processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) override;

  const FnTexture<E, A>* secondSource = nullptr;  // moved into secondTarget when both are set
  FnTexture<E, A>* secondTarget = nullptr;
};

extern template class ImageZoomerBase<float, float>;
extern template class ImageZoomerBase<int, int>;
extern template class ImageZoomerBase<HvVec2, HvVec2>;
extern template class ImageZoomerGP<float, float>;
extern template class ImageZoomerGP<HvVec2, HvVec2>;
extern template class FnImageZoomSampler<float, float, 1, float, float, 1>;
extern template class FnMoveSampler<float, float, 1>;
extern template class FnMoveSampler<HvVec2, HvVec2, 1>;
extern template class FnMoveSampler<FnPixel8, FnPixelF, 255>;
extern template class FnMoveSampler<FnPixel16, FnPixelF, 32768>;
extern template class FnMoveSampler<FnPixelF, FnPixelF, 1>;
extern template class FnDualMoveSampler<float, float, 1>;
extern template class FnDualMoveSampler<HvVec2, HvVec2, 1>;
