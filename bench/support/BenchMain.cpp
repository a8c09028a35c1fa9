// The benchmarks run with the package started, single-threaded unless a
// benchmark installs the worker pool itself. VX_BENCH_ISA=avx2, ssse3 or
// scalar caps the vector forms, to time what a processor without the wider
// sets would run. The open-source peers linked in, if any, are named first.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/Peers.h"
#include "vx/VX.h"
#include "vxhost/Host.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (VX_CheckVersions(0, VX_kPackageVersion) || VX_Birth()) {
    std::fprintf(stderr, "vx_bench: the package did not start\n");
    return 1;
  }
  if (const char* isa = std::getenv("VX_BENCH_ISA")) {
    const bool scalar = std::strcmp(isa, "scalar") == 0;
    const bool ssse3 = std::strcmp(isa, "ssse3") == 0;
    KU_SetCPUFeatures(!scalar, !scalar, !scalar && !ssse3, 0);
  }
  ADDN_RunPluginScan();
  vxbench::StartPeers(argv[0]);
  std::fprintf(stderr, "vx_bench: peers linked: %s\n", vxbench::PeersLinked().c_str());
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return VX_Death();
}
