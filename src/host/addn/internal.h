// Shared state of the plug-in library.
#pragma once

#include <mutex>
#include <vector>

#include "vxhost/ADDN.h"

namespace addn {

struct Scan {
  int32_t flags;
  std::vector<uint32_t> types;
  ADDN_ModuleFoundProc module_found;
  ADDN_ScanFinishedProc scan_finished;
  void* refcon;
};

// Scans may install or remove scans from their callbacks, hence recursive.
inline std::recursive_mutex& ScanLock() {
  static auto* lock = new std::recursive_mutex;
  return *lock;
}
std::vector<Scan>& Scans();

}  // namespace addn
