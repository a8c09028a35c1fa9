// Textures: the images of the optical-flow nodes. FnTexIndexer is the
// geometry (two axis records with their border rules); FnTexture adds pixels.
#pragma once

#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vx/Types.h"
#include "vx/opticalflow/Elements.h"

enum FnEdgeMode : int32_t { FnEdge_None = 0, FnEdge_Clamp = 1, FnEdge_Mirror = 2, FnEdge_Wrap = 3 };

// Where a read starts and how far it can go: `length` pixels from `index`,
// moving by `step` (+1, -1 or 0), before the next edge event. An index of -1
// means "outside, read the outside value".
struct FnRun {
  int32_t index;
  int32_t step;
  int32_t length;
};

// Index of the pixel at c (relative to the first pixel of the window) on an
// axis of n pixels, or -1 for none. Pure so that it can be tested on its own.
int32_t FnEdgeIndex(int32_t c, int32_t n, int32_t mode);
FnRun FnEdgeRun(int32_t c, int32_t n, int32_t mode);

struct FnTexAxis {
  int32_t size = 0;
  float originF = 0.0f;
  int32_t origin = 0;
  int32_t edgeMode = FnEdge_None;
  int32_t first = 0;
  int32_t last = -1;
  int32_t count = 0;
  int32_t start = 0;
  uint32_t flags = 0;

  void reset(int32_t n) { *this = FnTexAxis{n, 0.0f, 0, FnEdge_None, 0, n - 1, n, 0, 0}; }
  // Data index of the pixel at data position p (edges at the window).
  int32_t resolve(int32_t p) const {
    const int32_t c = p - first;
    if (static_cast<uint32_t>(c) < static_cast<uint32_t>(count)) return p;
    const int32_t r = FnEdgeIndex(c, count, edgeMode);
    return r < 0 ? -1 : first + r;
  }
  // The same for an addressing coordinate, which counts from `start`.
  int32_t index(int32_t coordinate) const { return resolve(coordinate - start); }
  FnRun runFrom(int32_t coordinate) const {
    FnRun r = FnEdgeRun(coordinate - start - first, count, edgeMode);
    if (r.index >= 0) r.index += first;
    return r;
  }
};

// Splits a sampling position into its floor and fraction. Positions far
// outside any image (invalid vectors give 3.4e38) are pulled in first so the
// integer conversion stays defined; they read edge pixels all the same.
inline int32_t FnFloorSplit(float u, float* fraction) {
  if (!(u > -1.0e9f)) u = -1.0e9f;
  if (u > 1.0e9f) u = 1.0e9f;
  // The floor by conversion: exact in this range, and without the library
  // call that std::floor is on processors without SSE4.1.
  int32_t i = static_cast<int32_t>(u);
  if (static_cast<float>(i) > u) --i;
  *fraction = u - static_cast<float>(i);
  return i;
}

class FnTexIndexer {
 public:
  FnTexIndexer() = default;
  FnTexIndexer(int32_t width, int32_t height) {
    xAxis.reset(width > 0 ? width : 0);
    yAxis.reset(height > 0 ? height : 0);
  }
  FnTexIndexer(const FnTexIndexer&) = default;
  FnTexIndexer& operator=(const FnTexIndexer&) = default;
  virtual ~FnTexIndexer() = default;

  virtual void setActiveWindow(int32_t x0, int32_t x1, int32_t y0, int32_t y1);
  virtual void setEdgeMode(int32_t xMode, int32_t yMode) {
    xAxis.edgeMode = xMode;
    yAxis.edgeMode = yMode;
  }
  virtual void setOrigin(int32_t x, int32_t y);
  virtual void setOrigin(float x, float y);

  int32_t width() const { return xAxis.size; }
  int32_t height() const { return yAxis.size; }

  FnTexAxis xAxis, yAxis;
};

void* FnAllocateTexturePixels(size_t bytes);
void FnFreeTexturePixels(void* pixels);

template <class E, class A>
class FnTexture : public FnTexIndexer {
 public:
  using Element = E;
  using Accumulate = A;

  FnTexture() = default;
  FnTexture(int32_t width, int32_t height) : FnTexIndexer(width, height) { allocatePixels(); }
  // A view of caller memory: clamped edges, rows `rowBytes` apart, not owned.
  FnTexture(int32_t width, int32_t height, void* pixels, int32_t rowBytes) : FnTexIndexer(width, height) {
    setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
    if (xAxis.size > 0 && yAxis.size > 0) data = static_cast<E*>(pixels);
    this->rowBytes = rowBytes;
  }
  // Same geometry and outside value, pixels of its own (contents not copied).
  FnTexture(const FnTexture& other) : FnTexIndexer(other), outsideValue(other.outsideValue) { allocatePixels(); }
  FnTexture& operator=(const FnTexture&) = delete;
  ~FnTexture() override {
    release();
    FnFreeTexturePixels(extraPlanes[0]);
    FnFreeTexturePixels(extraPlanes[1]);
  }

  virtual void alias(const FnTexture& other) {
    if (&other == this) return;
    release();
    xAxis = other.xAxis;
    yAxis = other.yAxis;
    outsideValue = other.outsideValue;
    rowBytes = other.rowBytes;
    data = other.data;
    ownsData = 0;
  }
  virtual void setOutsideValue(const E& value) { outsideValue = value; }
  virtual A sampleAreaCorners(float x0, float y0, float x1, float y1) const {
    return sample((x0 + x1) * 0.5f, (y0 + y1) * 0.5f);
  }
  virtual A sampleAreaCentred(float x, float y, float rx, float ry) const {
    return sampleAreaCorners(x - rx, y - ry, x + rx, y + ry);
  }

  // New geometry with pixels of its own; edges, origins and window reset.
  // False when the pixels could not be had (allocFailed is then set).
  bool reallocate(int32_t width, int32_t height) {
    release();
    xAxis.reset(width > 0 ? width : 0);
    yAxis.reset(height > 0 ? height : 0);
    allocatePixels();
    return data || xAxis.size == 0 || yAxis.size == 0;
  }
  bool empty() const { return !data || xAxis.size < 1 || yAxis.size < 1; }

  E* rawRow(int32_t r) { return reinterpret_cast<E*>(reinterpret_cast<char*>(data) + ptrdiff_t(r) * rowBytes); }
  const E* rawRow(int32_t r) const {
    return reinterpret_cast<const E*>(reinterpret_cast<const char*>(data) + ptrdiff_t(r) * rowBytes);
  }
  // Pixel addressing counts from the axes' `start`; no edge rules.
  E& at(int32_t x, int32_t y) { return rawRow(y - yAxis.start)[x - xAxis.start]; }
  const E& at(int32_t x, int32_t y) const { return rawRow(y - yAxis.start)[x - xAxis.start]; }

  // Reads by coordinates, following the edge rules.
  E read(int32_t x, int32_t y) const { return readRaw(xAxis.index(x), yAxis.index(y)); }
  // Reads by data position, edges at the window.
  E readData(int32_t px, int32_t py) const { return readRaw(xAxis.resolve(px), yAxis.resolve(py)); }

  // `n` pixels of row y from coordinate x on, edge rules included, by runs.
  void readRow(int32_t y, int32_t x, int32_t n, E* out) const {
    const int32_t ry = yAxis.index(y);
    if (ry < 0) {
      for (int32_t i = 0; i < n; ++i) out[i] = outsideValue;
      return;
    }
    const E* row = rawRow(ry);
    while (n > 0) {
      const FnRun run = xAxis.runFrom(x);
      const int32_t len = run.length < n ? run.length : n;
      if (run.index < 0) {
        for (int32_t i = 0; i < len; ++i) out[i] = outsideValue;
      } else if (run.step == 1) {
        std::memcpy(static_cast<void*>(out), row + run.index, sizeof(E) * size_t(len));
      } else {
        for (int32_t i = 0; i < len; ++i) out[i] = row[run.index + i * run.step];
      }
      out += len;
      x += len;
      n -= len;
    }
  }

  // Bilinear sample; pixel centres lie at half-integers past `originF`.
  A sample(float x, float y) const {
    float fx, fy;
    const int32_t i = FnFloorSplit(x - 0.5f - xAxis.originF, &fx);
    const int32_t j = FnFloorSplit(y - 0.5f - yAxis.originF, &fy);
    return bilinear(i, j, fx, fy);
  }
  // From the raw image without origins; 0 where the neighbourhood starts
  // more than a pixel outside.
  A sampleOrZero(float x, float y) const {
    float fx, fy;
    const int32_t i = FnFloorSplit(x - 0.5f, &fx);
    const int32_t j = FnFloorSplit(y - 0.5f, &fy);
    if (i < -1 || j < -1 || i >= xAxis.size || j >= yAxis.size) return A{};
    return bilinear(i, j, fx, fy);
  }

  int32_t ownsData = 0;
  E* data = nullptr;
  int32_t allocFailed = 0;
  E outsideValue{};
  void* extraPlanes[2] = {nullptr, nullptr};  // freed with the texture
  int32_t extraPlaneCount = 0;
  int32_t rowBytes = 0;

 private:
  E readRaw(int32_t ix, int32_t iy) const { return (ix < 0 || iy < 0) ? outsideValue : rawRow(iy)[ix]; }

  A bilinear(int32_t i, int32_t j, float fx, float fy) const {
    E p00, p10, p01, p11;
    if (i >= xAxis.first && i < xAxis.last && j >= yAxis.first && j < yAxis.last) {
      const E* r0 = rawRow(j) + i;
      const E* r1 = rawRow(j + 1) + i;
      p00 = r0[0], p10 = r0[1], p01 = r1[0], p11 = r1[1];
    } else {
      p00 = readData(i, j), p10 = readData(i + 1, j), p01 = readData(i, j + 1), p11 = readData(i + 1, j + 1);
    }
    const A top = FnLerp(FnToAccumulate<A>(p00), FnToAccumulate<A>(p10), fx);
    const A bottom = FnLerp(FnToAccumulate<A>(p01), FnToAccumulate<A>(p11), fx);
    return FnLerp(top, bottom, fy);
  }

  void allocatePixels() {
    ownsData = 1;
    allocFailed = 0;
    data = nullptr;
    rowBytes = 0;
    if (xAxis.size < 1 || yAxis.size < 1) return;
    if (size_t(xAxis.size) > size_t(INT32_MAX) / sizeof(E)) {
      allocFailed = 1;
      return;
    }
    rowBytes = static_cast<int32_t>(sizeof(E) * size_t(xAxis.size));
    data = static_cast<E*>(FnAllocateTexturePixels(size_t(rowBytes) * size_t(yAxis.size)));
    if (!data) allocFailed = 1;
  }
  void release() {
    if (ownsData && data) FnFreeTexturePixels(data);
    data = nullptr;
    ownsData = 0;
  }
};

// A texture over the pixels of a caller's world of the matching depth: the
// world's size and row bytes, clamped edges, nothing owned. A world of
// another depth (or none) gives an empty texture, which nodes refuse.
template <class E, class A>
class FnWorldTexture : public FnTexture<E, A> {
 public:
  explicit FnWorldTexture(const VX_LayerDef* world);
};

using FnWorldTexture8 = FnWorldTexture<FnPixel8, FnPixelF>;
using FnWorldTexture16 = FnWorldTexture<FnPixel16, FnPixelF>;
using FnWorldTextureF = FnWorldTexture<FnPixelF, FnPixelF>;

using FnFloatTexture = FnTexture<float, float>;
using FnIntTexture = FnTexture<int, int>;
using FnVectorTexture = FnTexture<HvVec2, HvVec2>;
using FnTexture8 = FnTexture<FnPixel8, FnPixelF>;
using FnTexture16 = FnTexture<FnPixel16, FnPixelF>;
using FnTextureF = FnTexture<FnPixelF, FnPixelF>;
using FnAccumTexture = FnTexture<FnAccumPixel, FnAccumPixel>;

extern template class FnTexture<float, float>;
extern template class FnTexture<int, int>;
extern template class FnTexture<HvVec2, HvVec2>;
extern template class FnTexture<FnPixel8, FnPixelF>;
extern template class FnTexture<FnPixel16, FnPixelF>;
extern template class FnTexture<FnPixelF, FnPixelF>;
extern template class FnTexture<FnAccumPixel, FnAccumPixel>;
extern template class FnWorldTexture<FnPixel8, FnPixelF>;
extern template class FnWorldTexture<FnPixel16, FnPixelF>;
extern template class FnWorldTexture<FnPixelF, FnPixelF>;
