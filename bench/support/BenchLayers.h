// The layers and backgrounds that the compositing benchmarks paint, shared so
// that a peer is timed on exactly the pixels the package is:
//   realistic  smooth blobs, about 30% transparent, 30% opaque, 40% partial
//   opaque     every pixel opaque
//   partial    every pixel partly transparent
//   layered    a comp buffer after a stack of layers: about 15% partial
//              pixels in blobs, the rest opaque
// Colours are random; alpha follows a smooth field, so partial pixels come
// in runs, as soft edges and shadows do.
#pragma once

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <vector>

#include "support/BenchWorlds.h"

namespace vxbench {

enum Layer { kRealistic, kOpaque, kPartial, kLayered };

// A smooth field in 0..1 made of a few low-frequency waves.
inline double Field(int32_t x, int32_t y, uint32_t seed) {
  const double u = x / 3840.0, v = y / 2160.0, k = 1 + seed % 7;
  return 0.5 + 0.25 * std::sin(6.1 * u * k + 1.3 * seed) * std::cos(4.7 * v + 0.7 * k) +
         0.25 * std::sin(9.3 * (u + v) + 2.9 * k) * std::sin(3.1 * v * k);
}

// The field's value below which `percent` of a UHD frame lies, from a sample.
inline double FieldPercentile(uint32_t seed, int percent) {
  std::vector<double> sample;
  for (int32_t y = 0; y < kHeight; y += 37)
    for (int32_t x = 0; x < kWidth; x += 41) sample.push_back(Field(x, y, seed));
  std::sort(sample.begin(), sample.end());
  return sample[sample.size() * percent / 100];
}

// Alpha in 0..1 of a pixel of a layer kind, given its field value and the
// field's 15th, 30th and 70th percentiles.
struct Percentiles {
  double p15, p30, p70;
};
inline double LayerAlpha(Layer layer, double v, const Percentiles& t) {
  switch (layer) {
    case kOpaque:
      return 1.0;
    case kPartial:
      return 0.1 + 0.8 * v;
    case kRealistic:  // lowest 30% transparent, highest 30% opaque, a ramp between
      return v <= t.p30 ? 0.0 : (v >= t.p70 ? 1.0 : (v - t.p30) / (t.p70 - t.p30));
    case kLayered:  // lowest 15% partial, kept clear of both ends
      return v >= t.p15 ? 1.0 : 0.05 + 0.9 * v / t.p15;
  }
  return 1.0;
}

template <class Channel>
Channel FromUnit(double v) {
  if constexpr (std::is_same_v<Channel, float>)
    return static_cast<float>(v);
  else if constexpr (sizeof(Channel) == 1)
    return static_cast<Channel>(std::lround(v * 255));
  else
    return static_cast<Channel>(std::lround(v * 32768));
}

// Fills a frame: colours random, alpha by the layer kind.
template <class Pixel>
void Paint(Frame& f, Layer layer, uint32_t seed) {
  typedef typename VX_PixelTraits<Pixel>::Channel C;
  f.Randomize(seed);
  const Percentiles t{FieldPercentile(seed, 15), FieldPercentile(seed, 30), FieldPercentile(seed, 70)};
  VX_LayerDef* def = f.get();
  for (int32_t y = 0; y < def->height; ++y) {
    auto* row = reinterpret_cast<Pixel*>(static_cast<char*>(def->data) + static_cast<ptrdiff_t>(y) * def->row_stride);
    for (int32_t x = 0; x < def->width; ++x) row[x].alpha = FromUnit<C>(LayerAlpha(layer, Field(x, y, seed), t));
  }
}

}  // namespace vxbench
