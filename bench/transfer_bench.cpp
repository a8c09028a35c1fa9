// VX_TransferRect of a UHD layer onto an opaque comp buffer, single thread,
// at each depth, for a set of modes, with and without a luma track matte and
// linear blending tables, on the realistic, opaque and partial layers of
// support/BenchLayers.h.
// Yardsticks of each group, measured in the same run: a memcpy of the frame,
// and a pass that reads two frames and writes one (dst = (a + b) >> 1 per
// byte). The destination keeps what each pass leaves, as a stack would.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "support/BenchLayers.h"
#include "support/BenchWorlds.h"

namespace {

using vxbench::Frame;
using vxbench::kOpaque;
using vxbench::kRealistic;
using vxbench::Layer;
using vxbench::Paint;

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
