// Luminance proxies and the two fields of a pair of frames.
#include <algorithm>
#include <cmath>
#include <type_traits>

#include "vx/opticalflow/Pair.h"

namespace {

template <class P>
constexpr float kWhite = std::is_same_v<P, FnPixel8> ? 255.0f : std::is_same_v<P, FnPixel16> ? 32768.0f : 1.0f;

template <class P>
class LuminanceSampler : public GeneralSampler<FnTexture<P, FnPixelF>, FnFloatTexture> {
 public:
  void processPixel(const P& p, float& out, int32_t) override { out = Luma(p); }
  // Rows of the frame inside its window are read directly.
  void processRows(const FnTexture<P, FnPixelF>* s, FnFloatTexture* t, int32_t threadIndex) override {
    const bool direct = s->xAxis.start == 0 && s->yAxis.start == 0 && s->xAxis.first == 0 &&
                        s->xAxis.count >= this->x1 && s->yAxis.first == 0;
    this->forEachRow(threadIndex, [&](int32_t y) {
      float* out = t->rawRow(y);
      if (direct && y < s->yAxis.count) {
        const P* in = s->rawRow(y);
        for (int32_t x = this->x0; x < this->x1; ++x) out[x] = Luma(in[x]);
      } else {
        for (int32_t x = this->x0; x < this->x1; ++x) out[x] = Luma(s->readData(x, y));
      }
    });
  }
  float Luma(const P& p) const { return (float(p.red) * wr + float(p.green) * wg + float(p.blue) * wb) / kWhite<P>; }
  float wr = 0, wg = 0, wb = 0;
};

}  // namespace

template <class P>
int32_t FnLuminanceProxy(const FnTexture<P, FnPixelF>* frame, int32_t proxyWidth, int32_t proxyHeight,
                         const FnLumaWeights& weights, FnInterruptRecord* interrupt, FnFloatTexture* proxy) {
  if (!frame || frame->empty() || !proxy || proxyWidth < 1 || proxyHeight < 1) return 3;
  FnInterruptRecord local;
  FnInterruptRecord* record = interrupt ? interrupt : &local;
  const int32_t W = frame->width(), H = frame->height();
  FnFloatTexture luma(W, H), blurred(W, H);
  if (luma.allocFailed || blurred.allocFailed || !proxy->reallocate(proxyWidth, proxyHeight)) {
    proxy->reallocate(0, 0);
    return 4;
  }
  LuminanceSampler<P> lum;
  double sum = weights.red + weights.green + weights.blue;
  const bool zero = sum == 0.0;
  lum.wr = zero ? 1.0f : float(weights.red / sum);
  lum.wg = zero ? 1.0f : float(weights.green / sum);
  lum.wb = zero ? 1.0f : float(weights.blue / sum);
  lum.interrupt = record;
  lum.process(frame, &luma);
  luma.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  const float r = float(W) / float(proxyWidth);
  BlurGeneralGauss<float, float, 1> blur;
  blur.setSigma(r / 3.0f, r / 3.0f);
  blur.interrupt = record;
  blur.process(&luma, &blurred);
  blurred.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  FnMoveSampler<float, float, 1> move;
  move.setScale(r, r);
  move.interpolation = FnMove_Bilinear;
  move.interrupt = record;
  move.process(&blurred, proxy);
  proxy->setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  if (record->aborted || record->error) {
    proxy->reallocate(0, 0);
    return record->error ? record->error : 4;
  }
  return 0;
}

template <class P>
int32_t FnEstimatePair(const FnTexture<P, FnPixelF>* frameA, const FnTexture<P, FnPixelF>* frameB, float detail,
                       const FnEstimateSettings& settings, FnInterruptRecord* interrupt, FnFlowPair* pair) {
  if (!frameA || !frameB || !pair || frameA->empty() || frameB->empty()) return 3;
  if (frameA->width() != frameB->width() || frameA->height() != frameB->height()) return 3;
  const int32_t wp = std::max(1, int32_t(float(frameA->width()) * detail));
  const int32_t hp = std::max(1, int32_t(float(frameA->height()) * detail));
  const FnLumaWeights weights;
  int32_t error = FnLuminanceProxy(frameA, wp, hp, weights, interrupt, &pair->lumaA);
  if (!error) error = FnLuminanceProxy(frameB, wp, hp, weights, interrupt, &pair->lumaB);
  if (!error) error = estimatePixelField(settings, &pair->lumaA, &pair->lumaB, interrupt, &pair->fieldB);
  if (!error) error = estimatePixelField(settings, &pair->lumaB, &pair->lumaA, interrupt, &pair->fieldA);
  if (error) {
    pair->fieldA.reallocate(0, 0);
    pair->fieldB.reallocate(0, 0);
  }
  return error;
}

#define VX_FLOW_PAIR(P)                                                                                        \
  template int32_t FnLuminanceProxy<P>(const FnTexture<P, FnPixelF>*, int32_t, int32_t, const FnLumaWeights&,  \
                                       FnInterruptRecord*, FnFloatTexture*);                                   \
  template int32_t FnEstimatePair<P>(const FnTexture<P, FnPixelF>*, const FnTexture<P, FnPixelF>*, float,      \
                                     const FnEstimateSettings&, FnInterruptRecord*, FnFlowPair*);
VX_FLOW_PAIR(FnPixel8)
VX_FLOW_PAIR(FnPixel16)
VX_FLOW_PAIR(FnPixelF)
#undef VX_FLOW_PAIR
