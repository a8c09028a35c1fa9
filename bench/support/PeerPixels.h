// Pixels in the form the open-source peers composite, and a comparison of
// pictures that allows for their arithmetic. The package keeps colours
// straight, ARGB with alpha first; the peers keep them premultiplied by
// alpha, which is how a host built on them would hold its buffers. So a
// benchmark converts once, outside its timed loop, and compares after
// converting the peer's result back. Needs no peer library.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "vx/VX.h"

namespace vxbench {

template <class Pixel>
Pixel* RowOf(const VX_LayerDef& world, int32_t y) {
  return reinterpret_cast<Pixel*>(static_cast<char*>(world.data) + static_cast<ptrdiff_t>(y) * world.row_stride);
}

// One 8-bit pixel premultiplied and packed as a 32-bit word with alpha in
// the top byte, red, green, blue below it (a8r8g8b8). c x a / 255 is never
// a half, so adding 127 rounds it to nearest.
inline uint32_t PremulArgb32(const VX_Pixel8& p) {
  const uint32_t a = p.alpha;
  const auto scale = [a](uint32_t c) { return (c * a + 127) / 255; };
  return a << 24 | scale(p.red) << 16 | scale(p.green) << 8 | scale(p.blue);
}

// Back to straight colours, rounded to nearest; clear pixels become zero.
inline VX_Pixel8 StraightFromArgb32(uint32_t w) {
  const uint32_t a = w >> 24;
  if (a == 0) return VX_Pixel8{0, 0, 0, 0};
  const auto unscale = [a](uint32_t c) { return static_cast<uint8_t>(std::min<uint32_t>(255, (c * 255 + a / 2) / a)); };
  return VX_Pixel8{static_cast<uint8_t>(a), unscale(w >> 16 & 0xFF), unscale(w >> 8 & 0xFF), unscale(w & 0xFF)};
}

// Float pixels premultiplied, red, green, blue, alpha (rgba_float).
struct RgbaF {
  float r, g, b, a;
};
inline RgbaF PremulRgbaF(const VX_PixelFloat& p) {
  return RgbaF{p.red * p.alpha, p.green * p.alpha, p.blue * p.alpha, p.alpha};
}
inline VX_PixelFloat StraightFromRgbaF(const RgbaF& p) {
  if (p.a == 0) return VX_PixelFloat{0, 0, 0, 0};
  return VX_PixelFloat{p.a, p.r / p.a, p.g / p.a, p.b / p.a};
}

// The peer's form of a whole world, rows packed: uint32_t words at 8 bits,
// RgbaF at float.
template <class Pixel>
struct PeerPixelOf;
template <>
struct PeerPixelOf<VX_Pixel8> {
  typedef uint32_t Type;
  static Type From(const VX_Pixel8& p) { return PremulArgb32(p); }
  static VX_Pixel8 Back(Type w) { return StraightFromArgb32(w); }
};
template <>
struct PeerPixelOf<VX_PixelFloat> {
  typedef RgbaF Type;
  static Type From(const VX_PixelFloat& p) { return PremulRgbaF(p); }
  static VX_PixelFloat Back(const Type& p) { return StraightFromRgbaF(p); }
};

template <class Pixel>
std::vector<typename PeerPixelOf<Pixel>::Type> PremultipliedCopy(const VX_LayerDef& world) {
  std::vector<typename PeerPixelOf<Pixel>::Type> out(static_cast<size_t>(world.width) * world.height);
  for (int32_t y = 0; y < world.height; ++y) {
    const Pixel* row = RowOf<Pixel>(world, y);
    for (int32_t x = 0; x < world.width; ++x) out[static_cast<size_t>(y) * world.width + x] = PeerPixelOf<Pixel>::From(row[x]);
  }
  return out;
}

template <class Pixel>
void StraightInto(const std::vector<typename PeerPixelOf<Pixel>::Type>& peer, VX_LayerDef& world) {
  for (int32_t y = 0; y < world.height; ++y) {
    Pixel* row = RowOf<Pixel>(world, y);
    for (int32_t x = 0; x < world.width; ++x) row[x] = PeerPixelOf<Pixel>::Back(peer[static_cast<size_t>(y) * world.width + x]);
  }
}

// How far two pictures of the same size are apart. A colour's distance is
// weighed by the larger of the two alphas, |c1 - c2| x alpha / white: the
// distance of the premultiplied values, in code values at 8 bits and in
// units of white at float. Straight colours of nearly clear pixels carry
// almost nothing, and a premultiplied peer cannot hold them closer.
struct PictureDiff {
  double worst_colour = 0, worst_alpha = 0;
  int64_t outside = 0;  // pixels past either tolerance
  int32_t x = -1, y = -1;  // the first of them
  std::string Describe() const {
    char text[160];
    std::snprintf(text, sizeof text, "%lld pixels differ, the first at (%d, %d); worst colour %.3g, alpha %.3g",
                  static_cast<long long>(outside), x, y, worst_colour, worst_alpha);
    return text;
  }
};

template <class Pixel>
PictureDiff ComparePictures(const VX_LayerDef& a, const VX_LayerDef& b, double colour_tolerance, double alpha_tolerance) {
  const double white = VX_PixelTraits<Pixel>::kWhite;
  PictureDiff diff;
  for (int32_t y = 0; y < a.height; ++y) {
    const Pixel *pa = RowOf<Pixel>(a, y), *pb = RowOf<Pixel>(b, y);
    for (int32_t x = 0; x < a.width; ++x) {
      const double alpha = std::abs(double(pa[x].alpha) - pb[x].alpha);
      const double weight = std::max<double>(pa[x].alpha, pb[x].alpha) / white;
      const double r = weight * std::abs(double(pa[x].red) - pb[x].red);
      const double g = weight * std::abs(double(pa[x].green) - pb[x].green);
      const double b = weight * std::abs(double(pa[x].blue) - pb[x].blue);
      diff.worst_colour = std::max({diff.worst_colour, r, g, b});
      diff.worst_alpha = std::max(diff.worst_alpha, alpha);
      // Each test on its own, so that a NaN anywhere counts as outside.
      const bool inside = r <= colour_tolerance && g <= colour_tolerance && b <= colour_tolerance &&
                          alpha <= alpha_tolerance;
      if (!inside && diff.outside++ == 0) diff.x = x, diff.y = y;
    }
  }
  return diff;
}

}  // namespace vxbench
