// Frames for benchmarks: a UHD world of a depth, filled with reproducible
// content, disposed at the end.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>

#include "vx/VX.h"

namespace vxbench {

constexpr int32_t kWidth = 3840, kHeight = 2160;

class Frame {
 public:
  Frame(int32_t depth, int32_t width = kWidth, int32_t height = kHeight) {
    VX_NewEffectWorld(nullptr, width, height, depth, true, false, &def_);
  }
  ~Frame() { VX_DisposeEffectWorld(nullptr, &def_); }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;
  VX_LayerDef* get() { return &def_; }
  size_t bytes() const { return static_cast<size_t>(def_.row_stride) * def_.height; }
  // Random bytes in every channel; float worlds get values in 0..1.
  void Randomize(uint32_t seed) {
    std::mt19937 engine(seed);
    for (int32_t y = 0; y < def_.height; ++y) {
      auto* row = static_cast<uint8_t*>(def_.data) + static_cast<ptrdiff_t>(y) * def_.row_stride;
      const int32_t depth = VXp_WorldDepth(&def_);
      const int32_t channels = def_.width * 4;
      if (depth == 8) {
        for (int32_t i = 0; i < channels; ++i) row[i] = static_cast<uint8_t>(engine());
      } else if (depth == 16) {
        auto* c = reinterpret_cast<uint16_t*>(row);
        for (int32_t i = 0; i < channels; ++i) c[i] = static_cast<uint16_t>(engine() % 32769);
      } else {
        auto* c = reinterpret_cast<float*>(row);
        for (int32_t i = 0; i < channels; ++i) c[i] = static_cast<float>(engine() % 65536) / 65535.0f;
      }
    }
  }

 private:
  VX_LayerDef def_{};
};

// Linear-light tables of a plain 2.2 gamma, made once.
inline const VX_LinearBlendingTables* Gamma22Tables() {
  static const std::unique_ptr<VX_LinearBlendingTables> tables = [] {
    auto t = std::make_unique<VX_LinearBlendingTables>();
    for (int i = 0; i < 256; ++i) t->to_linear[i] = static_cast<uint16_t>(std::lround(32768 * std::pow(i / 255.0, 2.2)));
    for (int i = 0; i <= 4096; ++i)
      t->from_linear[i] = static_cast<uint16_t>(std::lround(32768 * std::pow(i / 4096.0, 1 / 2.2)));
    t->to_linear_gamma = 2.2f;
    t->from_linear_gamma = 1 / 2.2f;
    return t;
  }();
  return tables.get();
}

}  // namespace vxbench
