// Helpers for tests: worlds that free themselves, random pixels, reports.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/FailAllocations.h"
#include "vx/VX.h"
#include "vxhost/Host.h"

namespace vxtest {

// An effect world that is disposed at the end of the scope.
class EffectWorld {
 public:
  EffectWorld(int32_t width, int32_t height, int32_t depth, bool clear = true);
  ~EffectWorld();
  EffectWorld(const EffectWorld&) = delete;
  EffectWorld& operator=(const EffectWorld&) = delete;
  VX_LayerDef* get() { return &def_; }
  VX_LayerDef* operator->() { return &def_; }
  template <class Pixel>
  Pixel* At(int32_t x, int32_t y) {
    return reinterpret_cast<Pixel*>(static_cast<char*>(def_.data) + static_cast<ptrdiff_t>(y) * def_.row_stride) + x;
  }

 private:
  VX_LayerDef def_{};
};

// Random pixels with a fixed seed.
class Random {
 public:
  explicit Random(uint32_t seed = 12345) : engine_(seed) {}
  uint32_t Next() { return static_cast<uint32_t>(engine_()); }
  int32_t Int(int32_t lo, int32_t hi) { return std::uniform_int_distribution<int32_t>(lo, hi)(engine_); }
  float Float(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(engine_); }
  VX_Pixel8 Pixel8() {
    return VX_Pixel8{uint8_t(Int(0, 255)), uint8_t(Int(0, 255)), uint8_t(Int(0, 255)), uint8_t(Int(0, 255))};
  }
  VX_Pixel16 Pixel16() {
    return VX_Pixel16{uint16_t(Int(0, 32768)), uint16_t(Int(0, 32768)), uint16_t(Int(0, 32768)),
                      uint16_t(Int(0, 32768))};
  }
  VX_PixelFloat PixelFloat() { return VX_PixelFloat{Float(0, 1), Float(0, 1), Float(0, 1), Float(0, 1)}; }
  template <class Pixel>
  Pixel Any();
  std::mt19937& engine() { return engine_; }

 private:
  std::mt19937 engine_;
};
template <>
inline VX_Pixel8 Random::Any<VX_Pixel8>() { return Pixel8(); }
template <>
inline VX_Pixel16 Random::Any<VX_Pixel16>() { return Pixel16(); }
template <>
inline VX_PixelFloat Random::Any<VX_PixelFloat>() { return PixelFloat(); }

// Fills every pixel of a world with random values.
template <class Pixel>
void FillRandom(VX_LayerDef* world, Random& random) {
  for (int32_t y = 0; y < world->height; ++y) {
    auto* row = reinterpret_cast<Pixel*>(static_cast<char*>(world->data) + static_cast<ptrdiff_t>(y) * world->row_stride);
    for (int32_t x = 0; x < world->width; ++x) row[x] = random.Any<Pixel>();
  }
}

// Reports taken since the last call, and searches in them.
std::vector<KU_ReportRecord> TakeReports();
bool HasReport(const std::vector<KU_ReportRecord>& reports, const std::string& text_part);

// The one pixel equality of the tests: the same bits in every channel,
// except that any NaN equals any NaN.
template <class Pixel>
bool SamePixel(const Pixel& a, const Pixel& b) {
  const auto same = [](auto x, auto y) { return std::memcmp(&x, &y, sizeof x) == 0 || (x != x && y != y); };
  return same(a.alpha, b.alpha) && same(a.red, b.red) && same(a.green, b.green) && same(a.blue, b.blue);
}

// Sets the CPU record's vector fields for the scope, and puts back what they
// were when it ends (scopes nest).
struct CPUScope {
  CPUScope(int sse2, int ssse3, int avx2, int avx512 = 1)
      : saved{KU_CPUHas(KU_CPU_SSE2), KU_CPUHas(KU_CPU_SSSE3), KU_CPUHas(KU_CPU_AVX2), KU_CPUHas(KU_CPU_AVX512)} {
    KU_SetCPUFeatures(sse2, ssse3, avx2, avx512);
  }
  ~CPUScope() { KU_SetCPUFeatures(saved[0], saved[1], saved[2], saved[3]); }
  int saved[4];
};

// Allocations fail after n successes, until the scope ends.
}  // namespace vxtest

inline std::ostream& operator<<(std::ostream& os, const VX_Pixel8& p) {
  return os << "(" << int(p.alpha) << "," << int(p.red) << "," << int(p.green) << "," << int(p.blue) << ")";
}
inline std::ostream& operator<<(std::ostream& os, const VX_Pixel16& p) {
  return os << "(" << p.alpha << "," << p.red << "," << p.green << "," << p.blue << ")";
}
inline std::ostream& operator<<(std::ostream& os, const VX_PixelFloat& p) {
  return os << "(" << p.alpha << "," << p.red << "," << p.green << "," << p.blue << ")";
}
