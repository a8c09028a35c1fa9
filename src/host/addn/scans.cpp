// Installed scans: who wants to be offered which module files.
#include <algorithm>
#include <mutex>
#include <vector>

#include "addn/internal.h"
#include "vxhost/Misc.h"

namespace addn {

std::vector<Scan>& Scans() {
  static auto* scans = new std::vector<Scan>;
  return *scans;
}

}  // namespace addn

KU_Err ADDN_CheckVersions(int32_t site, int32_t version) { return HOSTp_CheckSiblingVersion("ADDN", site, version); }

KU_Err ADDN_InstallScan(int32_t flags, int32_t type_count, const uint32_t* types, ADDN_ModuleFoundProc module_found,
                        ADDN_ScanFinishedProc scan_finished, void* refcon) {
  if (type_count < 0 || (type_count > 0 && !types) || !module_found) return 3;
  std::lock_guard<std::recursive_mutex> guard(addn::ScanLock());
  addn::Scan scan{flags, std::vector<uint32_t>(types, types + type_count), module_found, scan_finished, refcon};
  addn::Scans().push_back(scan);
  return 0;
}

KU_Err ADDN_RemoveScan(ADDN_ModuleFoundProc module_found, ADDN_ScanFinishedProc scan_finished) {
  std::lock_guard<std::recursive_mutex> guard(addn::ScanLock());
  auto& scans = addn::Scans();
  const auto before = scans.size();
  scans.erase(std::remove_if(scans.begin(), scans.end(),
                             [&](const addn::Scan& s) {
                               return s.module_found == module_found && s.scan_finished == scan_finished;
                             }),
              scans.end());
  return scans.size() == before ? 3 : 0;
}
