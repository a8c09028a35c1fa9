// The picture: both frames warped along the tween's vectors, zoomed to
// frame size, and blended by t, at the three pixel depths.
#include <cmath>
#include <memory>

#include "PictureLanes.h"
#include "core/Internal.h"
#include "vx/opticalflow/Tween.h"

int32_t FnLongFilterWeights(float u, float weights[2 * FnLongFilterRadius + 1]) {
  constexpr int32_t R = FnLongFilterRadius;
  constexpr double kPi = 3.14159265358979323846;
  // Tap m (distance d = m - f from the position, f its fraction) by angle
  // sums, so that a position costs four trigonometric calls, not 42:
  // sin(pi d) = -(-1)^m sin(pi f), cos(pi d / R) from cos and sin of
  // pi m / R and pi f / R.
  static const struct Table {
    double c[2 * R + 1], s[2 * R + 1];
    Table() {
      for (int32_t m = -R; m <= R; ++m) c[m + R] = std::cos(kPi * m / R), s[m + R] = std::sin(kPi * m / R);
    }
  } table;
  const double fl = std::floor(double(u)), f = double(u) - fl;
  const int32_t first = int32_t(fl) - R;
  const double sinF = std::sin(kPi * f), cosFR = std::cos(kPi * f / R), sinFR = std::sin(kPi * f / R);
  double sum = 0.0;
  double w[2 * R + 1];
  for (int32_t m = -R; m <= R; ++m) {
    const double d = double(m) - f;
    // A raised-cosine window over sin(pi d)/d; the centre weighs 1.0 against
    // that (not pi), which sharpens the filter, and is kept.
    const double window = 0.5 * (1.0 + table.c[m + R] * cosFR + table.s[m + R] * sinFR);
    const double sine = (m % 2 == 0 ? -1.0 : 1.0) * sinF;
    w[m + R] = d == 0.0 ? 1.0 : window * sine / d;
    sum += w[m + R];
  }
  for (int32_t k = 0; k <= 2 * R; ++k) weights[k] = float(w[k] / sum);
  return first;
}

namespace {

template <class P>
constexpr float kScale = std::is_same_v<P, FnPixel8> ? 255.0f : std::is_same_v<P, FnPixel16> ? 32768.0f : 1.0f;

FnPixelF Scaled(const FnPixelF& p, float s) {
  FnPixelF o;
  o.alpha = p.alpha * s, o.red = p.red * s, o.green = p.green * s, o.blue = p.blue * s;
  return o;
}

FnPixelF Marker() {
  FnPixelF o;
  o.alpha = 0.0f, o.red = o.green = o.blue = -1.0f;
  return o;
}

FnPixelF All(float v) {
  FnPixelF o;
  o.alpha = o.red = o.green = o.blue = v;
  return o;
}

bool NearInteger(float f) { return f <= 0.01f || f >= 0.99f; }

// FnFromAccumulate's rounding and clamping, with the truncation of a value
// known positive done by conversion (no library call without SSE4.1).
template <class P>
inline P ToPixel(const FnPixelF& c) {
  if constexpr (!P::kInteger) {
    return FnFromAccumulate<P>(c);
  } else {
    auto one = [](float v) {
      using C = typename P::Channel;
      if (!(v > float(P::kMin))) return C(P::kMin);
      if (v >= float(P::kMax)) return C(P::kMax);
      return C(int32_t(v + 0.5f));
    };
    P p;
    p.alpha = one(c.alpha), p.red = one(c.red), p.green = one(c.green), p.blue = one(c.blue);
    return p;
  }
}

// The bilinear sample of a frame whose window is the whole image and whose
// origin is 0, where the four pixels lie inside: the arithmetic of
// FnTexture::sample without its edge handling. False elsewhere.
template <class P>
inline bool InsideBilinear(const FnTexture<P, FnPixelF>& f, float x, float y, FnPixelF* out) {
  const float u = x - 0.5f, v = y - 0.5f;
  if (!(u >= 0.0f && v >= 0.0f && u < float(f.width() - 1) && v < float(f.height() - 1))) return false;
  const int32_t i = int32_t(u), j = int32_t(v);
  const float fx = u - float(i), fy = v - float(j);
  const P* r0 = f.rawRow(j) + i;
  const P* r1 = f.rawRow(j + 1) + i;
  auto channel = [&](auto member) {
    const float top = FnLerp(float(r0[0].*member), float(r0[1].*member), fx);
    const float bottom = FnLerp(float(r1[0].*member), float(r1[1].*member), fx);
    return FnLerp(top, bottom, fy);
  };
  out->alpha = channel(&P::alpha), out->red = channel(&P::red), out->green = channel(&P::green),
  out->blue = channel(&P::blue);
  return true;
}

}  // namespace

template <class P>
FnPixelF FnMotionEstimateGradientTweenerBuildPicture<P>::at(const Frame* frame, float x, float y) const {
  if (!(params.flags & FnTween_LongFilter)) {
    FnPixelF p;
    if (plain_ && InsideBilinear(*frame, x, y, &p)) return p;
    return frame->sample(x, y);
  }
  const float u = x - 0.5f - frame->xAxis.originF, v = y - 0.5f - frame->yAxis.originF;
  if (!(std::fabs(u) < 1.0e9f && std::fabs(v) < 1.0e9f)) return frame->sample(x, y);
  const float fx = std::fabs(u - std::floor(u)), fy = std::fabs(v - std::floor(v));
  if (NearInteger(fx) && NearInteger(fy)) return frame->sample(x, y);
  constexpr int32_t N = 2 * FnLongFilterRadius + 1;
  float wx[N], wy[N];
  const int32_t i0 = FnLongFilterWeights(u, wx), j0 = FnLongFilterWeights(v, wy);
  FnPixelF sum = All(0.0f);
  const bool inside = i0 >= frame->xAxis.first && i0 + N - 1 <= frame->xAxis.last && j0 >= frame->yAxis.first &&
                      j0 + N - 1 <= frame->yAxis.last;
  for (int32_t j = 0; j < N; ++j) {
    FnPixelF row = All(0.0f);
    const P* direct = inside ? frame->rawRow(j0 + j) + i0 : nullptr;
    for (int32_t i = 0; i < N; ++i) {
      const FnPixelF p = FnToAccumulate<FnPixelF>(direct ? direct[i] : frame->readData(i0 + i, j0 + j));
      row.alpha += p.alpha * wx[i], row.red += p.red * wx[i], row.green += p.green * wx[i], row.blue += p.blue * wx[i];
    }
    sum.alpha += row.alpha * wy[j], sum.red += row.red * wy[j], sum.green += row.green * wy[j],
        sum.blue += row.blue * wy[j];
  }
  return sum;
}

template <class P>
void FnMotionEstimateGradientTweenerBuildPicture<P>::initialise(Frame*) {
  auto plain = [](const Frame* f) {
    return f && f->xAxis.originF == 0.0f && f->yAxis.originF == 0.0f && f->xAxis.first == 0 &&
           f->yAxis.first == 0 && f->xAxis.count == f->width() && f->yAxis.count == f->height();
  };
  plain_ = plain(frameA) && plain(frameB);
  isa_ = int32_t(VXp_WidestIsa());
}

template <class P>
void FnMotionEstimateGradientTweenerBuildPicture<P>::processRows(Frame* target, int32_t threadIndex) {
  const FnTweeningParameters& p = params;
  if (!p.vectorsA || !p.vectorsB || !p.occlusion || !frameA || !frameB) return;
  const float t = p.time;
  const double rest = 1.0 - double(t);
  const float wa = (1.0f - t) * vectorScale, wb = t * vectorScale;
  const float toUnit = 1.0f / kScale<P>;
  const bool fast = plain_ && !(p.flags & FnTween_LongFilter);
  // A side's sample in 0..1 units, or the marker of a missing vector.
  auto side = [&](const Frame* frame, HvVec2 v, float w, float px, float py) {
    if (FnIsInvalid(v)) return Marker();
    const float sx = px - v.x * w, sy = py + v.y * w;
    if (!std::isfinite(sx) || !std::isfinite(sy)) return All(128.0f);
    FnPixelF sample;
    if (!(fast && InsideBilinear(*frame, sx, sy, &sample))) sample = at(frame, sx, sy);
    return Scaled(sample, toUnit);
  };
  // Eight pixels at a time at 8 bits where the processor has AVX2 (chosen
  // once a call); groups the lanes can't take fall back to the loop below.
  bool lanes = false;
  if constexpr (std::is_same_v<P, FnPixel8>)
    lanes = isa_ >= int32_t(VXp_Isa::AVX2) && fast && frameA->rowBytes % 4 == 0 && frameB->rowBytes % 4 == 0 &&
            int64_t(frameA->rowBytes) * frameA->height() < (int64_t(1) << 31) &&
            int64_t(frameB->rowBytes) * frameB->height() < (int64_t(1) << 31) && frameA->width() == frameB->width() &&
            frameA->height() == frameB->height();
  this->forEachRow(threadIndex, [&](int32_t y) {
    const HvVec2* va = p.vectorsA->rawRow(y);
    const HvVec2* vb = p.vectorsB->rawRow(y);
    const int* labels = p.occlusion->rawRow(y);
    P* out = target->rawRow(y);
    const float py = float(y) + 0.5f;
    FnPictureRow8 row{};
    if (lanes) {
      row.frameA = reinterpret_cast<const uint32_t*>(frameA->data);
      row.frameB = reinterpret_cast<const uint32_t*>(frameB->data);
      row.strideA = frameA->rowBytes / 4, row.strideB = frameB->rowBytes / 4;
      row.width = frameA->width(), row.height = frameA->height();
      row.vectorsA = va, row.vectorsB = vb, row.labels = labels;
      row.out = reinterpret_cast<uint32_t*>(out);
      row.t = t, row.wa = wa, row.wb = wb, row.py = py, row.rest = rest;
    }
    for (int32_t x = this->x0; x < this->x1; ++x) {
      if (lanes && (x - this->x0) % 8 == 0 && x + 8 <= this->x1 && FnPictureGroup8_AVX2(row, x)) {
        x += 7;
        continue;
      }
      const float px = float(x) + 0.5f;
      FnPixelF c;
      if (labels[x] == FnLabel_OnlyB) {
        c = side(frameA, vb[x], wb, px, py);
      } else if (labels[x] == FnLabel_OnlyA) {
        c = side(frameB, va[x], wa, px, py);
      } else {
        const FnPixelF sb = side(frameB, va[x], wa, px, py), sa = side(frameA, vb[x], wb, px, py);
        auto mix = [&](float b, float a) { return b * t + float(double(a) * rest); };
        c.alpha = mix(sb.alpha, sa.alpha), c.red = mix(sb.red, sa.red), c.green = mix(sb.green, sa.green),
        c.blue = mix(sb.blue, sa.blue);
      }
      out[x] = ToPixel<P>(Scaled(c, kScale<P>));
    }
  });
}

template <class P>
int32_t buildPicture(const FnTweenSettings& settings, double time, const FnTexture<P, FnPixelF>* frameA,
                     const FnTexture<P, FnPixelF>* frameB, const FnVectorTexture* vectorsA,
                     const FnVectorTexture* vectorsB, const FnIntTexture* occlusion, FnInterruptRecord* interrupt,
                     FnTexture<P, FnPixelF>* target) {
  if (!frameA || !frameB || !target || frameA->empty() || frameB->empty() || target->empty()) return 3;
  const int32_t W = target->width(), H = target->height();
  if (frameA->width() != W || frameA->height() != H || frameB->width() != W || frameB->height() != H) return 3;
  FnInterruptRecord local;
  FnInterruptRecord* record = interrupt ? interrupt : &local;
  auto result = [&]() { return record->aborted || record->error ? (record->error ? record->error : 4) : 0; };
  if (record->aborted) return result();
  const float t = FnRoundTweenTime(time);
  if (t == 0.0f || t == 1.0f) {
    // An end of the interval: that frame, unwarped.
    SimpleCopySampler<P, FnPixelF> copy;
    copy.interrupt = record;
    copy.process(t == 0.0f ? frameA : frameB, target);
    return result();
  }
  if (!vectorsA || !vectorsB || !occlusion || vectorsA->empty() || vectorsB->empty() || occlusion->empty() ||
      vectorsB->width() != vectorsA->width() || vectorsB->height() != vectorsA->height())
    return 3;
  const float r = float(W) / float(vectorsA->width());
  FnVectorTexture fullA(W, H), fullB(W, H);
  FnIntTexture fullLabels(W, H);
  if (fullA.allocFailed || fullB.allocFailed || fullLabels.allocFailed) {
    record->aborted = 1, record->error = 4;
    return 4;
  }
  // The vectors keep their values (proxy pixels); they are read through
  // clamped views so that border pixels keep their vectors instead of
  // fading towards the outside value.
  FnVectorTexture viewA, viewB;
  viewA.alias(*vectorsA);
  viewB.alias(*vectorsB);
  viewA.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  viewB.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnDualMoveSampler<HvVec2, HvVec2, 1> zoom;
  zoom.setScale(1.0f / r, 1.0f / r);
  zoom.interpolation = FnMove_Bilinear;
  zoom.secondSource = &viewB;
  zoom.secondTarget = &fullB;
  zoom.interrupt = record;
  zoom.process(&viewA, &fullA);
  ImageZoomerBase<int, int> labels;
  labels.zoomFlags = FnZoom_Nearest;
  labels.interrupt = record;
  labels.process(occlusion, &fullLabels);
  if (record->aborted) return result();
  FnMotionEstimateGradientTweenerBuildPicture<P> picture;
  FnTweeningParameters& p = picture.params;
  p.time = t;
  p.flags = settings.flags | FnTween_VectorsGiven | FnTween_OcclusionGiven | FnTween_GuessOcclusion |
            (settings.highQuality ? uint32_t(FnTween_LongFilter) : 0u);
  p.vectorsA = &fullA, p.vectorsB = &fullB, p.occlusion = &fullLabels;
  picture.vectorScale = r;
  picture.frameA = picture.framePrev = frameA;
  picture.frameB = picture.frameNext = frameB;
  picture.interrupt = record;
  picture.process(target);
  return result();
}

template class FnMotionEstimateGradientTweenerBuildPicture<FnPixel8>;
template class FnMotionEstimateGradientTweenerBuildPicture<FnPixel16>;
template class FnMotionEstimateGradientTweenerBuildPicture<FnPixelF>;
template int32_t buildPicture<FnPixel8>(const FnTweenSettings&, double, const FnTexture8*, const FnTexture8*,
                                        const FnVectorTexture*, const FnVectorTexture*, const FnIntTexture*,
                                        FnInterruptRecord*, FnTexture8*);
template int32_t buildPicture<FnPixel16>(const FnTweenSettings&, double, const FnTexture16*, const FnTexture16*,
                                         const FnVectorTexture*, const FnVectorTexture*, const FnIntTexture*,
                                         FnInterruptRecord*, FnTexture16*);
template int32_t buildPicture<FnPixelF>(const FnTweenSettings&, double, const FnTextureF*, const FnTextureF*,
                                        const FnVectorTexture*, const FnVectorTexture*, const FnIntTexture*,
                                        FnInterruptRecord*, FnTextureF*);
