// The benchmarks run with the package started, single-threaded unless a
// benchmark installs the worker pool itself.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "vx/VX.h"
#include "vxhost/Host.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (VX_CheckVersions(0, VX_kPackageVersion) || VX_Birth()) {
    std::fprintf(stderr, "vx_bench: the package did not start\n");
    return 1;
  }
  ADDN_RunPluginScan();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return VX_Death();
}
