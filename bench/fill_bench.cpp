// Fill, premultiply and unmultiply of a UHD frame at each depth, against a
// memcpy of the same frame.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "support/BenchWorlds.h"

namespace {

void Yardstick(benchmark::State& state) {
  vxbench::Frame a(static_cast<int32_t>(state.range(0))), b(static_cast<int32_t>(state.range(0)));
  for (auto _ : state) {
    std::memcpy(b.get()->data, a.get()->data, a.bytes());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(a.bytes()));
}

void Fill(benchmark::State& state) {
  vxbench::Frame f(static_cast<int32_t>(state.range(0)));
  const VX_Pixel8 color{200, 10, 20, 30};
  for (auto _ : state) {
    VX_Fill(nullptr, &color, nullptr, f.get());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(f.bytes()));
}

void Premultiply(benchmark::State& state, int32_t forward) {
  vxbench::Frame f(static_cast<int32_t>(state.range(0)));
  f.Randomize(7);
  for (auto _ : state) {
    VX_Premul(nullptr, forward, f.get());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(f.bytes()));
}

void Premul(benchmark::State& state) { Premultiply(state, 1); }
void Unmul(benchmark::State& state) { Premultiply(state, 0); }

}  // namespace

#define VX_FILL_BENCHES(depth)                                                                     \
  BENCHMARK(Yardstick)->Name("fill" #depth "/yardstick_memcpy")->Arg(depth)->Unit(benchmark::kMillisecond); \
  BENCHMARK(Fill)->Name("fill" #depth "/fill")->Arg(depth)->Unit(benchmark::kMillisecond);                  \
  BENCHMARK(Premul)->Name("fill" #depth "/premultiply")->Arg(depth)->Unit(benchmark::kMillisecond);         \
  BENCHMARK(Unmul)->Name("fill" #depth "/unmultiply")->Arg(depth)->Unit(benchmark::kMillisecond);

VX_FILL_BENCHES(8)
VX_FILL_BENCHES(16)
VX_FILL_BENCHES(32)
