// Worlds for the tool's tests: random contents, and a byte-for-byte compare.
#pragma once

#include <cstring>

#include "Image.h"
#include "support/TestWorlds.h"

namespace vxtest {

template <class Pixel>
vxtool::WorldPtr RandomToolWorld(int32_t w, int32_t h, uint32_t seed) {
  vxtool::WorldPtr world = vxtool::NewWorld(w, h, VX_PixelTraits<Pixel>::kDepth);
  Random random(seed);
  FillRandom<Pixel>(world.get(), random);
  return world;
}

inline bool SameBytes(const VX_World& a, const VX_World& b) {
  if (a.width != b.width || a.height != b.height || a.Depth() != b.Depth()) return false;
  for (int32_t y = 0; y < a.height; ++y)
    if (std::memcmp(static_cast<char*>(a.data) + y * a.row_stride, static_cast<char*>(b.data) + y * b.row_stride,
                    static_cast<size_t>(a.width) * a.PixelSize()) != 0)
      return false;
  return true;
}

}  // namespace vxtest
