// VX_TransferRect of a UHD layer onto an opaque comp buffer, single thread,
// at each depth, for a set of modes, with and without a luma track matte and
// linear blending tables, on three layers:
//   realistic  smooth blobs, about 30% transparent, 30% opaque, 40% partial
//   opaque     every pixel opaque
//   partial    every pixel partly transparent
// Yardsticks of each group, measured in the same run: a memcpy of the frame,
// and a pass that reads two frames and writes one (dst = (a + b) >> 1 per
// byte). The destination keeps what each pass leaves, as a stack would.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/BenchWorlds.h"

namespace {

using vxbench::Frame;

// A smooth field in 0..1 made of a few low-frequency waves.
double Field(int32_t x, int32_t y, uint32_t seed) {
  const double u = x / 3840.0, v = y / 2160.0, k = 1 + seed % 7;
  return 0.5 + 0.25 * std::sin(6.1 * u * k + 1.3 * seed) * std::cos(4.7 * v + 0.7 * k) +
         0.25 * std::sin(9.3 * (u + v) + 2.9 * k) * std::sin(3.1 * v * k);
}

// Alpha of the realistic layer: the field's lowest 30% transparent, its
// highest 30% opaque, and a ramp between.
struct Thresholds {
  double low, high;
};
Thresholds FieldThresholds(uint32_t seed) {
  std::vector<double> sample;
  for (int32_t y = 0; y < 2160; y += 37)
    for (int32_t x = 0; x < 3840; x += 41) sample.push_back(Field(x, y, seed));
  std::sort(sample.begin(), sample.end());
  return {sample[sample.size() * 30 / 100], sample[sample.size() * 70 / 100]};
}

enum Layer { kRealistic, kOpaque, kPartial };

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
  const Thresholds t = FieldThresholds(seed);
  VX_LayerDef* def = f.get();
  for (int32_t y = 0; y < def->height; ++y) {
    auto* row = reinterpret_cast<Pixel*>(static_cast<char*>(def->data) + static_cast<ptrdiff_t>(y) * def->row_stride);
    for (int32_t x = 0; x < def->width; ++x) {
      double a = 1.0;
      if (layer == kPartial) {
        a = 0.1 + 0.8 * Field(x, y, seed);
      } else if (layer == kRealistic) {
        const double v = Field(x, y, seed);
        a = v <= t.low ? 0.0 : (v >= t.high ? 1.0 : (v - t.low) / (t.high - t.low));
      }
      row[x].alpha = FromUnit<C>(a);
    }
  }
}

template <class Pixel>
void Transfer(benchmark::State& state, int32_t mode, Layer layer, bool matte, bool linear) {
  constexpr int32_t depth = VX_PixelTraits<Pixel>::kDepth;
  Frame src(depth), dst(depth), matte_frame(depth);
  Paint<Pixel>(src, layer, 3);
  Paint<Pixel>(dst, kOpaque, 4);
  Paint<Pixel>(matte_frame, kRealistic, 5);
  const VX_TrackMatte track{*matte_frame.get(), 0, 0, 2};
  const VX_CompositeModePlus plus(mode, 1.0f, nullptr, false, 17);
  const VX_LinearBlendingTables* tables = linear ? vxbench::Gamma22Tables() : nullptr;
  for (auto _ : state) {
    const VX_Err err = VX_TransferRect(nullptr, 0, 0, 0, nullptr, src.get(), &plus, tables, matte ? &track : nullptr,
                                       0, 0, dst.get());
    if (err) state.SkipWithError("transfer failed");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * vxbench::kWidth * vxbench::kHeight);
}

void Memcpy(benchmark::State& state, int32_t depth) {
  Frame a(depth), b(depth);
  a.Randomize(1);
  for (auto _ : state) {
    std::memcpy(b.get()->data, a.get()->data, a.bytes());
    benchmark::ClobberMemory();
  }
}

// Floor average of each byte, eight bytes a word.
void ReadTwoWriteOne(benchmark::State& state, int32_t depth) {
  Frame a(depth), b(depth), c(depth);
  a.Randomize(1);
  b.Randomize(2);
  const size_t words = a.bytes() / 8;
  for (auto _ : state) {
    const auto* x = static_cast<const uint64_t*>(a.get()->data);
    const auto* y = static_cast<const uint64_t*>(b.get()->data);
    auto* z = static_cast<uint64_t*>(c.get()->data);
    for (size_t i = 0; i < words; ++i) z[i] = (x[i] & y[i]) + (((x[i] ^ y[i]) & 0xFEFEFEFEFEFEFEFEull) >> 1);
    benchmark::ClobberMemory();
  }
}

struct ModeCase {
  int32_t mode;
  const char* name;
};
constexpr ModeCase kModes[] = {{XferOver, "over"},       {XferAdd, "add"},
                               {XferMultiply, "multiply"}, {XferScreen, "screen"},
                               {XferOverlay, "overlay"},   {XferSoftLight, "soft_light"},
                               {XferHue, "hue"},           {XferDissolve, "dissolve"}};
constexpr const char* kLayers[] = {"realistic", "opaque", "partial"};

template <class Pixel>
void RegisterDepth(const std::string& group) {
  const int32_t depth = VX_PixelTraits<Pixel>::kDepth;
  benchmark::RegisterBenchmark((group + "/yardstick_memcpy").c_str(), Memcpy, depth)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark((group + "/yardstick_read2write1").c_str(), ReadTwoWriteOne, depth)
      ->Unit(benchmark::kMillisecond);
  for (const ModeCase& m : kModes)
    for (int layer = 0; layer < 3; ++layer)
      for (bool matte : {false, true})
        for (bool linear : {false, true}) {
          const std::string name = group + "/" + m.name + "_" + kLayers[layer] + (matte ? "_luma_matte" : "") +
                                   (linear ? "_linear" : "");
          benchmark::RegisterBenchmark(name.c_str(), Transfer<Pixel>, m.mode, static_cast<Layer>(layer), matte,
                                       linear)
              ->Unit(benchmark::kMillisecond);
        }
}

const bool registered = [] {
  RegisterDepth<VX_Pixel8>("transfer8");
  RegisterDepth<VX_Pixel16>("transfer16");
  RegisterDepth<VX_PixelFloat>("transferF");
  return true;
}();

}  // namespace
