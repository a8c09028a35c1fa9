// The motion of a pair of frames, end to end: luminance proxies of both
// frames, and the pixel fields in both directions.
#pragma once

#include "vx/opticalflow/Estimate.h"

// Luminance weights of the red, green and blue channels.
struct FnLumaWeights {
  double red = 0.2988804, green = 0.58676529, blue = 0.11435428;
};

// A float luminance texture of `frame` (0 to 1 whatever the depth), blurred
// by sigma r/3 with r = frame width / proxy width, and resampled to proxyWidth
// by proxyHeight through the scale matrix r; clamped edges. 0, 3 or 4.
template <class P>
int32_t FnLuminanceProxy(const FnTexture<P, FnPixelF>* frame, int32_t proxyWidth, int32_t proxyHeight,
                         const FnLumaWeights& weights, FnInterruptRecord* interrupt, FnFloatTexture* proxy);

struct FnFlowPair {
  FnFloatTexture lumaA, lumaB;
  FnVectorTexture fieldA;  // on A's grid, pointing into B
  FnVectorTexture fieldB;  // on B's grid, pointing into A
};

// Proxies at `detail` of the frames' size (at least 1 by 1), then fieldB =
// the pixel field with A sampled and B as reference, and fieldA the other way.
template <class P>
int32_t FnEstimatePair(const FnTexture<P, FnPixelF>* frameA, const FnTexture<P, FnPixelF>* frameB, float detail,
                       const FnEstimateSettings& settings, FnInterruptRecord* interrupt, FnFlowPair* pair);
