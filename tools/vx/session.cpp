#include "Session.h"

#include "ToolError.h"
#include "vx/VX.h"
#include "vxhost/Host.h"

namespace vxtool {

Session::Session() {
  KU_TakeReports();
  if (VX_CheckVersions(0, VX_kPackageVersion) != 0) throw ToolError("the library's versions don't match: " + TakeLastReport());
  if (VX_Err err = VX_Birth()) {
    VX_Death();
    throw ToolError("the library did not start (error " + std::to_string(err) + ")");
  }
  HOST_StartWorkers(0);
  VX_SetOverrideFunc(VX_Slot_IterateGeneric, reinterpret_cast<void*>(&HOST_IterateGeneric));
  // Broken module files are reported and skipped; the tool goes on without them.
  ADDN_RunPluginScan();
  KU_TakeReports();
}

Session::~Session() {
  VX_Death();
  HOST_StopWorkers();
}

std::string TakeLastReport() {
  const auto reports = KU_TakeReports();
  return reports.empty() ? std::string() : reports.back().text;
}

void Check(int32_t err, const std::string& what) {
  if (err == 0) return;
  if (err == 517) throw ToolError("interrupted", kInterruptedExit);
  std::string message = what + " failed (error " + std::to_string(err) + ")";
  const std::string report = TakeLastReport();
  if (!report.empty()) message += ": " + report;
  throw ToolError(message);
}

}  // namespace vxtool
