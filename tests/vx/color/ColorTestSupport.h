// Shared pieces of the colour tests: the sRGB curve computed here, worlds
// that free themselves, and a world of a depth the package doesn't know.
#pragma once

#include <cmath>
#include <memory>

#include "support/TestWorlds.h"

namespace colortest {

inline double SRGBToLinear(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }

// An owning world that is deleted at the end of the scope.
inline std::unique_ptr<VX_World> NewWorld(int32_t width, int32_t height, int16_t depth) {
  return std::unique_ptr<VX_World>(VX_World::New(width, height, depth, VX_WorldFlag_Clear));
}

// The engine's interface is missing until the scope ends.
struct NoEngineScope {
  NoEngineScope() { KLB_UnregisterInterface(ORX_kInterfaceName); }
  ~NoEngineScope() { ORX_RegisterInterfaces(); }
};

// The code of the colour library's exception that `body` throws, 0 if none.
template <class Body>
int32_t EngineErrorOf(Body&& body) {
  try {
    body();
  } catch (const TNT_ORX_Error& e) {
    return e.Code();
  }
  return 0;
}

// The plain code that `body` throws, 0 if none.
template <class Body>
int32_t ThrownCode(Body&& body) {
  try {
    body();
  } catch (VX_Err e) {
    return e;
  }
  return 0;
}

// A world of 24 bits a pixel: no operation of it is ever meant to run.
class OddWorld final : public VX_World {
 public:
  OddWorld(int32_t w, int32_t h) {
    width = w, height = h, row_stride = w * 12;
    data = storage_;
  }
  int16_t Depth() const override { return 24; }
  bool IsReference() const override { return true; }
  void Clear(const GEO_LRect*) override {}
  void ClearExceptRect(const GEO_LRect&) override {}
  void Fill(const VX_PixelFloat&, const GEO_LRect*) override {}
  void Fill(const VX_Pixel16&, const GEO_LRect*) override {}
  void FillAlpha() override {}
  void InvertAlpha() override {}
  void Premultiply() override {}
  void Unmultiply() override {}
  void PremulColor(const VX_Pixel16&) override {}
  void UnmulColor(const VX_Pixel16&) override {}
  void CopyRect(const VX_World*, const GEO_LRect&, int32_t, int32_t) override {}
  void CopyRectPossiblyDifferentBitdepth(const VX_World*, const GEO_LRect&, bool, int32_t, int32_t,
                                         VX_ProgressInfo*) override {}
  void CopyRectPossiblyDifferentBitdepthWithField(const VX_World*, const GEO_LRect&, int32_t) override {}
  bool SubWorldSafetyGutterHasBeenOverWritten() const override { return false; }
  void* DetachMemory() override { return nullptr; }

 private:
  char storage_[12 * 16] = {};
};

}  // namespace colortest
