// The plain nodes: fill with one value, copy rows.
#pragma once

#include <cstring>

#include "vx/opticalflow/Nodes.h"

// Fills the target's region with one value. A zero value clears rows byte by
// byte; any other is written across the band's first row, which is then
// block-copied to the band's other rows.
template <class E, class A, int Scale>
class ColouredFrameGenerator : public Generator<FnTexture<E, A>> {
 public:
  ColouredFrameGenerator() { setValue(E{}); }
  explicit ColouredFrameGenerator(const E& v) { setValue(v); }

  void setValue(const E& v) {
    value = v;
    const E zero{};
    isZero = std::memcmp(&v, &zero, sizeof(E)) == 0;
  }

  void processRows(FnTexture<E, A>* t, int32_t threadIndex) override {
    const int32_t n = this->x1 - this->x0;
    if (n <= 0) return;
    const E* model = nullptr;
    this->forEachRow(threadIndex, [&](int32_t y) {
      E* row = t->rawRow(y) + this->x0;
      if (isZero) {
        std::memset(static_cast<void*>(row), 0, sizeof(E) * size_t(n));
      } else if (model) {
        std::memcpy(static_cast<void*>(row), model, sizeof(E) * size_t(n));
      } else {
        for (int32_t x = 0; x < n; ++x) row[x] = value;
        model = row;
      }
    });
  }

  E value{};
  bool isZero = true;
};

// Copies the source into the target's region, reading the source by runs
// (its edge rules apply where the region reaches past it).
template <class E, class A>
class SimpleCopySampler : public Sampler<FnTexture<E, A>, FnTexture<E, A>> {
 public:
  void processRows(const FnTexture<E, A>* s, FnTexture<E, A>* t, int32_t threadIndex) override {
    const int32_t n = this->x1 - this->x0;
    if (n <= 0) return;
    this->forEachRow(threadIndex, [&](int32_t y) {
      s->readRow(y + s->yAxis.start, this->x0 + s->xAxis.start, n, t->rawRow(y) + this->x0);
    });
  }
};

// The same copy as an in-place-family node: source into target, row by row.
template <class E, class A>
class SimpleLineCopier : public FnImgProc2<FnTexture<E, A>, FnTexture<E, A>> {
 public:
  void processRows(int32_t threadIndex) override {
    const int32_t n = this->x1 - this->x0;
    if (n <= 0 || this->source_->empty()) return;
    this->forEachRow(threadIndex, [&](int32_t y) {
      const FnTexture<E, A>* s = this->source_;
      s->readRow(y + s->yAxis.start, this->x0 + s->xAxis.start, n, this->target_->rawRow(y) + this->x0);
    });
  }
};

#define VX_FLOW_BASIC_NODES(E, A, S)                  \
  extern template class ColouredFrameGenerator<E, A, S>; \
  extern template class SimpleCopySampler<E, A>;      \
  extern template class SimpleLineCopier<E, A>;
VX_FLOW_BASIC_NODES(float, float, 1)
VX_FLOW_BASIC_NODES(int, int, 1)
VX_FLOW_BASIC_NODES(HvVec2, HvVec2, 1)
VX_FLOW_BASIC_NODES(FnPixel8, FnPixelF, 255)
VX_FLOW_BASIC_NODES(FnPixel16, FnPixelF, 32768)
VX_FLOW_BASIC_NODES(FnPixelF, FnPixelF, 1)
VX_FLOW_BASIC_NODES(FnAccumPixel, FnAccumPixel, 1)
#undef VX_FLOW_BASIC_NODES
extern template class ColouredFrameGenerator<HvVec2, HvVec2, 123>;
