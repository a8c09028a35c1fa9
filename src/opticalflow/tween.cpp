// The tweener at proxy size: time, candidate lists, temporal candidates,
// the occlusion guess, and the stages that tie them to the spatial search.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "vx/opticalflow/Tween.h"

float FnRoundTweenTime(double t) {
  float f = float(t - std::floor(t));
  return std::floor((f + 0.0025f) / 0.005f) * 0.005f;
}

// ---- Candidate lists.

bool FnCandidateList::contains(HvVec2 v) const {
  const HvVec2* d = data();
  for (int32_t i = 0; i < size; ++i)
    if (d[i] == v) return true;
  return false;
}

void FnCandidateList::add(HvVec2 v) {
  if (size == capacity) {
    const int32_t grown = capacity * 2;
    HvVec2* bigger = new HvVec2[size_t(grown)];
    std::memcpy(bigger, data(), sizeof(HvVec2) * size_t(size));
    delete[] heap;
    heap = bigger;
    capacity = grown;
  }
  (heap ? heap : local)[size++] = v;
}

void FnCandidateList::release() {
  delete[] heap;
  heap = nullptr;
  size = 0;
  capacity = kInPlace;
}

bool FnCandidateLists::allocate(int32_t width, int32_t height) {
  release();
  if (width < 1 || height < 1) return true;
  const size_t n = size_t(width) * size_t(height);
  void* memory = FnAllocateTexturePixels(n * sizeof(FnCandidateList));
  if (!memory) return false;
  lists_ = static_cast<FnCandidateList*>(memory);
  for (size_t i = 0; i < n; ++i) new (&lists_[i]) FnCandidateList();
  width_ = width, height_ = height;
  return true;
}

void FnCandidateLists::release() {
  if (!lists_) return;
  const size_t n = size_t(width_) * size_t(height_);
  for (size_t i = 0; i < n; ++i) lists_[i].release();
  FnFreeTexturePixels(lists_);
  lists_ = nullptr;
  width_ = height_ = 0;
}

void FnCandidateLists::clearAll() {
  if (!lists_) return;
  const size_t n = size_t(width_) * size_t(height_);
  for (size_t i = 0; i < n; ++i) lists_[i].release();
}

// ---- Temporal candidates.

void FnMotionEstimateGradientTweenerGenerateTemporalCandidates::processRows(int32_t threadIndex) {
  const bool sideA = (which & kSideA) != 0, extrapolate = (which & kExtrapolate) != 0;
  const FnVectorTexture* field = sideA ? (extrapolate ? prevField : fieldA) : (extrapolate ? nextField : fieldB);
  FnCandidateLists* lists = sideA ? candidatesA : candidatesB;
  if (!field || field->empty() || !lists || lists->empty()) return;
  const float w = sideA ? time : 1.0f - time;
  const FnBand rows = band(0, std::min(field->height(), height), threadIndex);
  const int32_t columns = std::min(field->width(), width);
  try {
    for (int32_t y = rows.begin; y < rows.end; ++y) {
      if (interrupted(threadIndex)) break;
      const HvVec2* row = field->rawRow(y);
      for (int32_t x = 0; x < columns; ++x) {
        const HvVec2 v = row[x];
        if (FnIsInvalid(v)) continue;
        // Where the vector passes at time t; extrapolated ones go on past
        // the frame.
        const float px = extrapolate ? v.x * w + v.x : v.x * w;
        const float py = extrapolate ? v.y * w + v.y : v.y * w;
        const float tx = std::floor(float(x) + 0.5f - px), ty = std::floor(float(y) + 0.5f + py);
        if (!(tx >= 0.0f && ty >= 0.0f && tx < float(width) && ty < float(height))) continue;
        FnCandidateList& list = lists->at(int32_t(tx), int32_t(ty));
        if (!list.contains(v)) list.add(v);
      }
    }
  } catch (const std::bad_alloc&) {
    abortWith(4);
  }
}

// ---- Occlusion guess.

namespace {

// A copy of the labels, read while the pass writes the texture.
bool CopyLabels(const FnIntTexture& labels, std::vector<int>* copy) {
  const int32_t w = labels.width(), h = labels.height();
  copy->resize(size_t(w) * size_t(h));
  for (int32_t y = 0; y < h; ++y) std::memcpy(copy->data() + size_t(y) * size_t(w), labels.rawRow(y), sizeof(int) * size_t(w));
  return true;
}

}  // namespace

void FnMotionEstimateGradientTweenerGuessOcclusion::runPasses() {
  FnIntTexture* labels = occlusion;
  if (!labels || labels->empty() || !candidatesA || !candidatesB) return;
  const int32_t w = labels->width(), h = labels->height();
  std::vector<int> before;
  for (passesRun = 0; passesRun < 10;) {
    if (interrupted(0)) return;
    CopyLabels(*labels, &before);
    ++passesRun;
    bool changed = false;
    for (int32_t y = 0; y < h; ++y)
      for (int32_t x = 0; x < w; ++x) {
        const int L = before[size_t(y) * size_t(w) + size_t(x)];
        if (L >= 0 && L <= 2) continue;
        int next;
        if (L == FnLabel_Undecided) {
          int c1 = 0, c2 = 0;
          for (int32_t j = y - 1; j <= y + 1; ++j)
            for (int32_t i = x - 1; i <= x + 1; ++i) {
              if (i < 0 || j < 0 || i >= w || j >= h || (i == x && j == y)) continue;
              const int n = before[size_t(j) * size_t(w) + size_t(i)];
              c1 += n == FnLabel_OnlyB, c2 += n == FnLabel_OnlyA;
            }
          next = c1 > c2 ? FnLabel_OnlyB : c1 < c2 ? FnLabel_OnlyA : FnLabel_Undecided;
        } else {
          const bool emptyA = candidatesA->at(x, y).size == 0, emptyB = candidatesB->at(x, y).size == 0;
          next = !emptyA && !emptyB ? FnLabel_Both
                 : emptyA && emptyB ? FnLabel_Undecided
                 : emptyA           ? FnLabel_OnlyA
                                    : FnLabel_OnlyB;
        }
        if (next != L) {
          labels->rawRow(y)[x] = next;
          changed = true;
        }
      }
    if (!changed) break;
  }
}

void FnMotionEstimateGradientTweenerGuessOcclusionSmoother::runPasses() {
  FnIntTexture* labels = occlusion;
  if (!labels || labels->empty()) return;
  const int32_t w = labels->width(), h = labels->height();
  std::vector<int> before;
  for (passesRun = 0; passesRun < occlusionPasses;) {
    if (interrupted(0)) return;
    CopyLabels(*labels, &before);
    ++passesRun;
    bool changed = false;
    for (int32_t y = 0; y < h; ++y)
      for (int32_t x = 0; x < w; ++x) {
        int c0 = 0, c1 = 0, c2 = 0;
        for (int32_t j = y - 1; j <= y + 1; ++j)
          for (int32_t i = x - 1; i <= x + 1; ++i) {
            if (i < 0 || j < 0 || i >= w || j >= h) continue;
            const int n = before[size_t(j) * size_t(w) + size_t(i)];
            c1 += n == FnLabel_OnlyB, c2 += n == FnLabel_OnlyA, c0 += n != FnLabel_OnlyB && n != FnLabel_OnlyA;
          }
        const int L = before[size_t(y) * size_t(w) + size_t(x)];
        int next = L;
        if (L == FnLabel_Both) {
          next = c1 > c0 && c1 > c2 ? FnLabel_OnlyB : c2 > c0 && c2 > c1 ? FnLabel_OnlyA : FnLabel_Both;
        } else if (L == FnLabel_OnlyB) {
          next = c1 < c0 ? FnLabel_Both : c1 < c2 ? FnLabel_OnlyA : FnLabel_OnlyB;
        } else if (c2 < c0) {
          next = FnLabel_Both;
        } else if (c1 > c2) {
          next = FnLabel_OnlyB;
        }
        if (next != L) {
          labels->rawRow(y)[x] = next;
          changed = true;
        }
      }
    if (!changed) break;
  }
}

void FnMotionEstimateGradientTweenerGuessOcclusionBlanker::processRows(int32_t threadIndex) {
  FnIntTexture* labels = occlusion;
  if (!labels || labels->empty() || !candidatesA || !candidatesB) return;
  const int32_t w = labels->width(), h = labels->height();
  for (int32_t y = 0; y < h; ++y) {
    if (interrupted(threadIndex)) return;
    for (int32_t x = 0; x < w; ++x) {
      const int L = labels->rawRow(y)[x];
      if (L != FnLabel_OnlyB && L != FnLabel_OnlyA) continue;
      // A pixel seen from one side only: its own side's first candidate is
      // followed to the other side's list there.
      FnCandidateLists* own = L == FnLabel_OnlyB ? candidatesA : candidatesB;
      FnCandidateLists* other = L == FnLabel_OnlyB ? candidatesB : candidatesA;
      FnCandidateList& list = own->at(x, y);
      if (list.size == 0) continue;
      const HvVec2 v = list.data()[0];
      list.clear();
      const float tx = std::floor(float(x) + 0.5f - v.x), ty = std::floor(float(y) + 0.5f + v.y);
      if (!(tx >= 0.0f && ty >= 0.0f && tx < float(w) && ty < float(h))) continue;
      const FnCandidateList& there = other->at(int32_t(tx), int32_t(ty));
      if (there.size == 0) continue;
      const HvVec2 first = there.data()[0];
      FnCandidateList& mine = other->at(x, y);
      mine.clear();
      mine.add(first);
    }
  }
}

bool FnTexturesDiffer(const FnFloatTexture* a, const FnFloatTexture* b) {
  if (a == b) return false;
  if (!a || !b || a->empty() || b->empty()) return a != b;
  if (a->width() != b->width() || a->height() != b->height()) return true;
  const float skip = a->rawRow(0)[0];
  for (int32_t y = 0; y < a->height(); ++y) {
    const float* ra = a->rawRow(y);
    const float* rb = b->rawRow(y);
    for (int32_t x = 0; x < a->width(); ++x) {
      if (ra[x] == skip) continue;
      if (ra[x] != rb[x]) return true;
    }
  }
  return false;
}

// ---- The tweener's stages.

bool FnMotionEstimateGradientTweener::temporal(uint32_t which) {
  FnMotionEstimateGradientTweenerGenerateTemporalCandidates node;
  static_cast<FnTweeningParameters&>(node) = params;
  node.which = which;
  node.interrupt = interrupt;
  node.process();
  return stage();
}

bool FnMotionEstimateGradientTweener::guessOcclusion() {
  FnMotionEstimateGradientTweenerGuessOcclusion guess;
  static_cast<FnTweeningParameters&>(guess) = params;
  guess.interrupt = interrupt;
  guess.process();
  if (!stage()) return false;
  FnMotionEstimateGradientTweenerGuessOcclusionSmoother smoother;
  static_cast<FnTweeningParameters&>(smoother) = params;
  smoother.interrupt = interrupt;
  smoother.process();
  if (!stage()) return false;
  FnMotionEstimateGradientTweenerGuessOcclusionBlanker blanker;
  static_cast<FnTweeningParameters&>(blanker) = params;
  blanker.interrupt = interrupt;
  blanker.process();
  return stage();
}

void FnMotionEstimateGradientTweener::initialise(const FnFloatTexture* a, const FnFloatTexture* b,
                                                 FnVectorTexture* t) {
  FnTweeningParameters& p = params;
  p.width = t->width();
  p.height = t->height();
  if (!p.lumaA) p.lumaA = a;
  if (!p.lumaB) p.lumaB = b;
  if (!p.lumaPrev) p.lumaPrev = p.lumaA;
  if (!p.lumaNext) p.lumaNext = p.lumaB;
  if (!(p.flags & FnTween_OcclusionGiven)) {
    ownOcclusion = std::make_unique<FnIntTexture>(p.width, p.height);
    if (ownOcclusion->allocFailed) return abortWith(4);
    p.occlusion = ownOcclusion.get();
  }
  if (!p.occlusion || p.occlusion->empty()) return abortWith(3);
  ColouredFrameGenerator<int, int, 1> labels((p.flags & FnTween_GuessOcclusion) ? int(FnLabel_NotGuessed) : 0);
  labels.interrupt = interrupt;
  labels.process(p.occlusion);
  if (!stage()) return;
  if (!(p.flags & FnTween_VectorsGiven)) {
    ownVectorsA = std::make_unique<FnVectorTexture>(p.width, p.height);
    ownVectorsB = std::make_unique<FnVectorTexture>(p.width, p.height);
    if (ownVectorsA->allocFailed || ownVectorsB->allocFailed) return abortWith(4);
    p.vectorsA = ownVectorsA.get(), p.vectorsB = ownVectorsB.get();
  }
  if (!p.vectorsA || !p.vectorsB || p.vectorsA->empty() || p.vectorsB->empty()) return abortWith(3);
  for (FnVectorTexture* v : {p.vectorsA, p.vectorsB}) {
    v->setEdgeMode(FnEdge_None, FnEdge_None);
    v->setOutsideValue(HvVec2{0.0f, 0.0f});
    ColouredFrameGenerator<HvVec2, HvVec2, 1> invalid(FnInvalidVector);
    invalid.interrupt = interrupt;
    invalid.process(v);
  }
  if (!stage()) return;
  if (!listsA.allocate(p.width, p.height) || !listsB.allocate(p.width, p.height)) return abortWith(4);
  p.candidatesA = &listsA, p.candidatesB = &listsB;
  if (!temporal(0) || !temporal(FnMotionEstimateGradientTweenerGenerateTemporalCandidates::kSideA)) return;
  if ((p.flags & FnTween_GuessOcclusion) && !guessOcclusion()) return;
  using Temporal = FnMotionEstimateGradientTweenerGenerateTemporalCandidates;
  if (p.prevField && !temporal(Temporal::kSideA | Temporal::kExtrapolate)) return;
  if (p.nextField && !temporal(Temporal::kExtrapolate)) return;
  spatial();
}

bool FnMotionEstimateGradientTweener::spatial() {
  if (params.iterations == 0) return true;
  using Pass = FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass;
  Pass single;
  static_cast<FnTweeningParameters&>(single) = params;
  single.interrupt = interrupt;
  single.monitorA.interrupt = interrupt;
  single.monitorB.interrupt = interrupt;
  single.passFlags = Pass::kRestartMonitors;
  if (FnTexturesDiffer(params.lumaPrev, params.lumaA)) single.passFlags |= Pass::kPrevDiffers;
  if (FnTexturesDiffer(params.lumaNext, params.lumaB)) single.passFlags |= Pass::kNextDiffers;
  for (int32_t i = 0; i < params.iterations; ++i) {
    if (!stage()) return false;
    single.runOnce();
  }
  if (params.flags & FnTween_GuessOcclusion) {
    // Holes of the wanted sides first, then another as many passes over the
    // pixels of one side only.
    single.flags &= ~uint32_t(FnTween_FillMode);
    single.passFlags |= Pass::kRestartMonitors | Pass::kHoleMode;
    int32_t runs = 0;
    do {
      if (!stage()) return false;
      single.runOnce();
      ++runs;
    } while ((single.passFlags & Pass::kHoleFilled) && runs < 101);
    single.passFlags &= ~uint32_t(Pass::kHoleMode);
    single.passFlags |= Pass::kRestartMonitors | Pass::kLabelledOnly;
    for (int32_t i = 0; i < runs; ++i) {
      if (!stage()) return false;
      single.runOnce();
    }
    single.passFlags &= ~uint32_t(Pass::kLabelledOnly);
  }
  // Hole filling: pixels without a vector take one from their neighbours.
  single.flags |= FnTween_FillMode;
  single.passFlags |= Pass::kRestartMonitors | Pass::kHoleMode;
  for (int32_t i = 0; i < 101; ++i) {
    if (!stage()) return false;
    single.runOnce();
    if (!(single.passFlags & Pass::kHoleFilled)) break;
  }
  return stage();
}

int32_t tween(const FnTweenSettings& settings, double time, const FnFloatTexture* lumaA, const FnFloatTexture* lumaB,
              const FnVectorTexture* fieldA, const FnVectorTexture* fieldB, FnInterruptRecord* interrupt,
              FnVectorTexture* vectorsA, FnVectorTexture* vectorsB, FnIntTexture* occlusion) {
  if (!lumaA || !lumaB || lumaA->empty() || lumaB->empty() || lumaA->width() != lumaB->width() ||
      lumaA->height() != lumaB->height() || !fieldA || !fieldB || !vectorsA || !vectorsB || !occlusion)
    return 3;
  const int32_t W = lumaA->width(), H = lumaA->height();
  if (fieldA->width() != W || fieldA->height() != H || fieldB->width() != W || fieldB->height() != H) return 3;
  FnInterruptRecord local;
  FnInterruptRecord* record = interrupt ? interrupt : &local;
  auto fail = [&](int32_t code) {
    vectorsA->reallocate(0, 0);
    vectorsB->reallocate(0, 0);
    occlusion->reallocate(0, 0);
    return code;
  };
  if (record->aborted) return fail(record->error ? record->error : 4);
  auto fit = [&](auto* t) { return (t->width() == W && t->height() == H && !t->empty()) || t->reallocate(W, H); };
  if (!fit(vectorsA) || !fit(vectorsB) || !fit(occlusion)) return fail(4);
  FnFloatTexture viewA, viewB;
  viewA.alias(*lumaA);
  viewB.alias(*lumaB);
  viewA.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  viewB.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnMotionEstimateGradientTweener tweener;
  FnTweeningParameters& p = tweener.params;
  p.time = FnRoundTweenTime(time);
  p.iterations = settings.vectorPasses;
  p.setPixelSmoothness(settings.pixelSmoothness);
  p.flags = settings.flags | FnTween_VectorsGiven | FnTween_OcclusionGiven;
  p.occlusionPasses = settings.occlusionPasses;
  p.fieldA = fieldA, p.fieldB = fieldB;
  p.vectorsA = vectorsA, p.vectorsB = vectorsB, p.occlusion = occlusion;
  p.lumaA = p.lumaPrev = &viewA;
  p.lumaB = p.lumaNext = &viewB;
  tweener.interrupt = record;
  tweener.process(&viewA, &viewB, vectorsA);
  if (record->aborted || record->error) return fail(record->error ? record->error : 4);
  return 0;
}
