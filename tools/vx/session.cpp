#include "Session.h"

#include <unistd.h>

#include <climits>
#include <filesystem>

#include "Interrupt.h"
#include "ToolError.h"
#include "vx/VX.h"
#include "vxhost/Host.h"

namespace vxtool {
namespace {

// Installed modules live in lib/vx/modules beside the tool's bin folder.
void AddInstalledModules() {
  char exe[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return;
  exe[n] = 0;
  const std::filesystem::path dir = std::filesystem::path(exe).parent_path().parent_path() / "lib" / "vx" / "modules";
  std::error_code ec;
  if (std::filesystem::is_directory(dir, ec)) ADDN_AddScanDirectory(dir.c_str());
}

}  // namespace

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
  AddInstalledModules();
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
  if (err == VX_Err_Interrupted) throw ToolError("interrupted while " + what, InterruptExitCode());
  std::string message = what + " failed (error " + std::to_string(err) + ")";
  const std::string report = TakeLastReport();
  if (!report.empty()) message += ": " + report;
  throw ToolError(message);
}

}  // namespace vxtool
