// Nodes: short-lived objects that read textures and write one. A pipeline
// builds a node on its stack, fills its parameters, calls process, and tests
// the interrupt record before the next node.
//
// Two families. Imager nodes (Generator, Sampler, Combiner) run over a region
// of their target, in passes, each pass's rows shared among threads in bands.
// FnImgProc nodes work in place or over several textures that are only read.
#pragma once

#include <cstdint>

#include "vx/opticalflow/MultiProcess.h"
#include "vx/opticalflow/Texture.h"

class Imager : public FnInteruptable {
 public:
  enum : uint32_t { kClip = 1, kTargetWindow = 2, kCallingThreadOnly = 4, kSubRegion = 8 };

  // A sub-region of the target, right and bottom exclusive; it is clipped to
  // the target's window when the node runs.
  void setRegion(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    x0 = left, y0 = top, x1 = right, y1 = bottom;
    flags |= kSubRegion | kClip;
  }
  // Rows of the region that belong to this thread in the current pass.
  FnBand rowBand(int32_t threadIndex) const;
  // Threads sharing the current pass (1 on the calling thread only).
  int32_t threadCount() const { return threads_; }
  // Whether a row belongs to the field being written (0: all rows).
  bool inField(int32_t y) const { return field == 0 || (y & 1) == (field == 2 ? 1 : 0); }

  // Runs body(y) on each row of the thread's band in the field, testing for
  // interruption before each; stops when the test is true.
  template <class Body>
  void forEachRow(int32_t threadIndex, Body&& body) const {
    const FnBand b = rowBand(threadIndex);
    for (int32_t y = b.begin; y < b.end; ++y) {
      if (!inField(y)) continue;
      if (interrupted(threadIndex)) break;
      body(y);
    }
  }

  uint32_t flags = 0;
  int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  int32_t passes = 1;
  int32_t pass = 0;
  float xScale = 1.0f, yScale = 1.0f;
  int32_t field = 0;  // 0 all rows, 1 even rows only, 2 odd rows only
  FnTexIndexer* target = nullptr;
  int32_t width = 0, height = 0;

 protected:
  // Steps of the contract shared by the three families: false (after the
  // family's line on standard error) for a null or bogus target.
  bool attach(FnTexIndexer* t, bool hasPixels, const char* nullText, const char* bogusText);
  // The passes: interruption test, prePass, rows on the threads.
  void runPassLoop();
  virtual void prePassHook() {}
  virtual void rowsHook(int32_t threadIndex) = 0;

 private:
  static void RunRows(const uint64_t* args, int32_t argumentCount, int32_t threadIndex);
  int32_t threads_ = 1;
};

extern const char* const FnGeneratorNullText;
extern const char* const FnGeneratorBogusText;
extern const char* const FnSamplerBogusText;
extern const char* const FnCombinerNullText;
// Writes one of the lines above to the standard error stream.
void FnPrintNodeLine(const char* text);

template <class TargetTex>
class Generator : public virtual Imager {
 public:
  using Target = TargetTex;
  virtual ~Generator() = default;
  virtual void initialise(Target* t) {}
  virtual void processRows(Target* t, int32_t threadIndex) {}
  virtual void terminate(Target* t) {}

  void process(Target* t) {
    if (!attach(t, t && t->data, FnGeneratorNullText, FnGeneratorBogusText)) return;
    out_ = t;
    initialise(t);
    runPassLoop();
    terminate(t);
    out_ = nullptr;
  }

 protected:
  void rowsHook(int32_t threadIndex) override { processRows(out_, threadIndex); }
  Target* out_ = nullptr;
};

template <class SourceTex, class TargetTex>
class Sampler : public virtual Imager {
 public:
  using Source = SourceTex;
  using Target = TargetTex;
  virtual ~Sampler() = default;
  virtual void initialise(const Source* s, Target* t) {}
  virtual void processRows(const Source* s, Target* t, int32_t threadIndex) {}
  virtual void terminate(const Source* s, Target* t) {}
  virtual void prePass(const Source* s, Target* t) {}

  // `t` may be `s` only for a node whose rows are independent.
  void process(const Source* s, Target* t) {
    if (!attach(t, t && t->data, FnGeneratorNullText, FnSamplerBogusText)) return;
    if (!s || s->empty()) {
      FnPrintNodeLine(FnSamplerBogusText);
      return;
    }
    in_ = s;
    out_ = t;
    initialise(s, t);
    runPassLoop();
    terminate(s, t);
    in_ = nullptr;
    out_ = nullptr;
  }

 protected:
  void prePassHook() override { prePass(in_, out_); }
  void rowsHook(int32_t threadIndex) override { processRows(in_, out_, threadIndex); }
  const Source* in_ = nullptr;
  Target* out_ = nullptr;
};

template <class ATex, class BTex, class TargetTex>
class Combiner : public virtual Imager {
 public:
  using SourceA = ATex;
  using SourceB = BTex;
  using Target = TargetTex;
  virtual ~Combiner() = default;
  virtual void initialise(const SourceA* a, const SourceB* b, Target* t) {}
  virtual void processRows(const SourceA* a, const SourceB* b, Target* t, int32_t threadIndex) {}
  virtual void terminate(const SourceA* a, const SourceB* b, Target* t) {}
  virtual void prePass(const SourceA* a, const SourceB* b, Target* t) {}

  void process(const SourceA* a, const SourceB* b, Target* t) {
    if (!attach(t, t && t->data, FnCombinerNullText, FnGeneratorBogusText)) return;
    if (!a || a->empty() || !b || b->empty()) {
      FnPrintNodeLine(FnGeneratorBogusText);
      return;
    }
    a_ = a, b_ = b, out_ = t;
    initialise(a, b, t);
    runPassLoop();
    terminate(a, b, t);
    a_ = nullptr, b_ = nullptr, out_ = nullptr;
  }

 protected:
  void prePassHook() override { prePass(a_, b_, out_); }
  void rowsHook(int32_t threadIndex) override { processRows(a_, b_, out_, threadIndex); }
  const SourceA* a_ = nullptr;
  const SourceB* b_ = nullptr;
  Target* out_ = nullptr;
};

// Leaf classes write one pixel at a time; the row walk is theirs.
template <class SourceTex, class TargetTex>
class GeneralSampler : public Sampler<SourceTex, TargetTex> {
 public:
  using SE = typename SourceTex::Element;
  using TE = typename TargetTex::Element;
  virtual void processPixel(const SE& source, TE& target, int32_t threadIndex) = 0;
  void processRows(const SourceTex* s, TargetTex* t, int32_t threadIndex) override {
    this->forEachRow(threadIndex, [&](int32_t y) {
      TE* out = t->rawRow(y);
      for (int32_t x = this->x0; x < this->x1; ++x) processPixel(s->readData(x, y), out[x], threadIndex);
    });
  }
};

template <class SourceTex, class TargetTex>
class GeneralSamplerPos : public Sampler<SourceTex, TargetTex> {
 public:
  using TE = typename TargetTex::Element;
  // The source is this->in_; x and y are the target pixel's data position.
  virtual void processPixel(int32_t x, int32_t y, TE& target, int32_t threadIndex) = 0;
  void processRows(const SourceTex* s, TargetTex* t, int32_t threadIndex) override {
    this->forEachRow(threadIndex, [&](int32_t y) {
      TE* out = t->rawRow(y);
      for (int32_t x = this->x0; x < this->x1; ++x) processPixel(x, y, out[x], threadIndex);
    });
  }
};

template <class ATex, class BTex, class TargetTex>
class GeneralCombiner : public Combiner<ATex, BTex, TargetTex> {
 public:
  using AE = typename ATex::Element;
  using BE = typename BTex::Element;
  using TE = typename TargetTex::Element;
  virtual void processPixel(const AE& a, const BE& b, TE& target, int32_t threadIndex) = 0;
  void processRows(const ATex* a, const BTex* b, TargetTex* t, int32_t threadIndex) override {
    this->forEachRow(threadIndex, [&](int32_t y) {
      TE* out = t->rawRow(y);
      for (int32_t x = this->x0; x < this->x1; ++x)
        processPixel(a->readData(x, y), b->readData(x, y), out[x], threadIndex);
    });
  }
};

// Row-sliced, multi-pass work on one texture in place or on several that are
// only read. The region is the whole target unless one was set.
class FnImgProc : public FnMultiProcessor {
 public:
  virtual void process(FnTexIndexer* texture);
  using FnMultiProcessor::process;

  void setRegion(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    x0 = left, y0 = top, x1 = right, y1 = bottom;
    regionSet = true;
  }
  // Rows of the region that belong to this thread.
  FnBand rowBand(int32_t threadIndex) const { return band(y0, y1, threadIndex); }
  template <class Body>
  void forEachRow(int32_t threadIndex, Body&& body) const {
    const FnBand b = rowBand(threadIndex);
    for (int32_t y = b.begin; y < b.end; ++y) {
      if (interrupted(threadIndex)) break;
      body(y);
    }
  }

  int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  bool regionSet = false;
  float xScale = 1.0f, yScale = 1.0f;
  FnTexIndexer* target = nullptr;
  int32_t width = 0, height = 0;
};

template <class A>
class FnImgProc1 : public FnImgProc {
 public:
  virtual void run(A* image) { (*this)(image); }
  virtual void operator()(A* image) {
    image_ = image;
    process(image);
    image_ = nullptr;
  }

 protected:
  A* image_ = nullptr;
};

template <class A, class B>
class FnImgProc2 : public FnImgProc {
 public:
  virtual void run(const B* source, A* target) { (*this)(source, target); }
  virtual void operator()(const B* source, A* target) {
    target_ = target, source_ = source;
    if (source) process(target);
    target_ = nullptr, source_ = nullptr;
  }

 protected:
  A* target_ = nullptr;
  const B* source_ = nullptr;
};

template <class A, class B, class C>
class FnImgProc3 : public FnImgProc {
 public:
  virtual void run(const B* first, const C* second, A* target) { (*this)(first, second, target); }
  virtual void operator()(const B* first, const C* second, A* target) {
    target_ = target, first_ = first, second_ = second;
    if (first && second) process(target);
    target_ = nullptr, first_ = nullptr, second_ = nullptr;
  }

 protected:
  A* target_ = nullptr;
  const B* first_ = nullptr;
  const C* second_ = nullptr;
};
