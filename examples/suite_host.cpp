// A host that runs the example effect of suite_effect.cpp: it starts the
// package, puts its worker pool into the table, runs the plug-in scan (at the
// end of which the suites are registered) and hands the effect the basic
// suite.
#include <cstdio>

#include "vx/VX.h"
#include "vxhost/Host.h"

extern "C" int VXExampleEffect_Render(const ADDN_HBBasicSuite* basic, int32_t width, int32_t height);

int main() {
  if (VX_CheckVersions(0, VX_kPackageVersion) || VX_Birth()) {
    std::fprintf(stderr, "suite host: the package didn't start\n");
    return 1;
  }
  HOST_StartWorkers(0);
  VX_SetOverrideFunc(VX_Slot_IterateGeneric, reinterpret_cast<void*>(&HOST_IterateGeneric));
  // Broken or refused modules are reported and skipped; the suites come anyway.
  ADDN_RunPluginScan();

  const ADDN_HBBasicSuite* basic = ADDN_GetHBBasicSuite();
  int result = VXExampleEffect_Render(basic, 640, 360);
  // The effect must have released what it acquired.
  for (const char* name : {VX_kFillMatteSuite, VX_kWorldSuite}) {
    const int32_t version = 2;
    if (basic->AcquireCount(name, version) != 0) {
      std::fprintf(stderr, "suite host: %s still acquired\n", name);
      result = 1;
    }
  }
  if (basic->AcquireCount(VX_kIterate8Suite, 1) != 0) result = 1;

  for (const KU_ReportRecord& r : KU_TakeReports()) std::fprintf(stderr, "report: %s\n", r.text.c_str());
  const VX_Err death = VX_Death();
  HOST_StopWorkers();
  std::printf("suite host: effect %s, shut down with %d\n", result == 0 ? "succeeded" : "failed", death);
  return result == 0 && death == 0 ? 0 : 1;
}
