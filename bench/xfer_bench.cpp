// Per-pixel transfer modes through the exported tables, a million pixels a
// pass, against a per-pixel copy called through a function pointer over the
// same pixels. The span kernels are to be measured against these. The
// destination keeps what each pass leaves, as a stack of layers would.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include "support/BenchWorlds.h"

namespace {

constexpr int32_t kSide = 1024;

template <class Pixel>
struct Rows {
  vxbench::Frame src, dst;
  Rows() : src(VX_PixelTraits<Pixel>::kDepth, kSide, kSide), dst(VX_PixelTraits<Pixel>::kDepth, kSide, kSide) {
    src.Randomize(3);
    dst.Randomize(4);
  }
  // Walked as one run of kSide x kSide pixels, which the frame holds whatever
  // its row padding.
  const Pixel* s() { return static_cast<const Pixel*>(src.get()->data); }
  Pixel* d() { return static_cast<Pixel*>(dst.get()->data); }
};

template <class Pixel>
void CopyPixel(const Pixel* s, const VX_LinearBlendingTables*, Pixel* d) {
  *d = *s;
}

template <class Pixel>
void Run(benchmark::State& state, VX_Xfer1Func<Pixel> f, const VX_LinearBlendingTables* tables) {
  Rows<Pixel> rows;
  benchmark::DoNotOptimize(f);
  const Pixel* s = rows.s();
  Pixel* d = rows.d();
  for (auto _ : state) {
    for (int32_t i = 0; i < kSide * kSide; ++i) f(s + i, tables, d + i);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

template <class Pixel>
void Yardstick(benchmark::State& state) {
  Run<Pixel>(state, &CopyPixel<Pixel>, nullptr);
}

template <class Pixel>
void Mode(benchmark::State& state) {
  Run<Pixel>(state, VX_Xfer1Tables<Pixel>::Plain()[state.range(0)], nullptr);
}

// Linear light with a gamma of 2.2.
template <class Pixel>
void LinearMode(benchmark::State& state) {
  Run<Pixel>(state, VX_Xfer1Tables<Pixel>::Plain()[state.range(0)], vxbench::Gamma22Tables());
}

}  // namespace

#define VX_XFER_BENCH(group, Pixel, name, mode) \
  BENCHMARK(Mode<Pixel>)->Name(group "/" name)->Arg(mode)->Unit(benchmark::kMillisecond);
#define VX_XFER_BENCHES(group, Pixel)                                                                \
  BENCHMARK(Yardstick<Pixel>)->Name(group "/yardstick_pointer_copy")->Unit(benchmark::kMillisecond); \
  VX_XFER_BENCH(group, Pixel, "over", XferOver)                                                      \
  VX_XFER_BENCH(group, Pixel, "multiply", XferMultiply)                                              \
  VX_XFER_BENCH(group, Pixel, "soft_light", XferSoftLight)                                           \
  VX_XFER_BENCH(group, Pixel, "hue", XferHue)                                                        \
  VX_XFER_BENCH(group, Pixel, "vivid_light", XferVividLight)                                         \
  BENCHMARK(LinearMode<Pixel>)->Name(group "/over_linear")->Arg(XferOver)->Unit(benchmark::kMillisecond);

VX_XFER_BENCHES("xfer8", VX_Pixel8)
VX_XFER_BENCHES("xfer16", VX_Pixel16)
VX_XFER_BENCHES("xfer32", VX_PixelFloat)
