// The process contract of the node families.
#include <algorithm>
#include <cstdio>

#include "vx/opticalflow/Nodes.h"

const char* const FnGeneratorNullText = "Map passed into Generator::process is NULL\n";
const char* const FnGeneratorBogusText = "Map passed into Generator::process is bogus\n";
const char* const FnSamplerBogusText = "Map passed into Sampler::process is bogus\n";
const char* const FnCombinerNullText = "Map passed into Combiner::process is NULL\n";

void FnPrintNodeLine(const char* text) { std::fputs(text, stderr); }

namespace {

// The window of an axis as a half-open range.
void WindowOf(const FnTexAxis& axis, int32_t* begin, int32_t* end) {
  *begin = axis.first;
  *end = axis.count > 0 ? axis.first + axis.count : axis.first;
}

}  // namespace

bool Imager::attach(FnTexIndexer* t, bool hasPixels, const char* nullText, const char* bogusText) {
  if (!t) {
    FnPrintNodeLine(nullText);
    return false;
  }
  if (t->width() < 1 || t->height() < 1 || !hasPixels) {
    FnPrintNodeLine(bogusText);
    return false;
  }
  width = t->width();
  height = t->height();
  target = t;
  int32_t wx0, wx1, wy0, wy1;
  WindowOf(t->xAxis, &wx0, &wx1);
  WindowOf(t->yAxis, &wy0, &wy1);
  if (flags & kSubRegion) {
    x0 = std::max(x0, wx0), x1 = std::min(x1, wx1);
    y0 = std::max(y0, wy0), y1 = std::min(y1, wy1);
    if (x1 < x0) x1 = x0;
    if (y1 < y0) y1 = y0;
  } else {
    x0 = wx0, x1 = wx1, y0 = wy0, y1 = wy1;
  }
  return true;
}

FnBand Imager::rowBand(int32_t threadIndex) const { return FnThreadBand(y0, y1, threads_, threadIndex); }

void Imager::RunRows(const uint64_t* args, int32_t, int32_t threadIndex) {
  reinterpret_cast<Imager*>(args[0])->rowsHook(threadIndex);
}

void Imager::runPassLoop() {
  for (pass = 0; pass < passes; ++pass) {
    if (interrupted(0)) break;
    prePassHook();
    if (flags & kCallingThreadOnly) {
      threads_ = 1;
      rowsHook(0);
    } else {
      threads_ = FnMultiProcessor::getThreadCount();
      const bool ran = FnMultiProcessor::runOnAllThreads(RunRows, static_cast<Imager*>(this));
      threads_ = 1;
      if (!ran) abortWith(4);
    }
  }
}

void FnImgProc::process(FnTexIndexer* texture) {
  if (!texture) return;
  target = texture;
  width = texture->width();
  height = texture->height();
  if (!regionSet) x0 = 0, y0 = 0, x1 = width, y1 = height;
  initialise();
  runPasses();
  terminate();
  target = nullptr;
}
