// Start-up and shut-down in their exact order, version checks, and the
// package's memory entry points.
#include <cstdio>
#include <cstring>
#include <vector>

#include "core/Internal.h"
#include "core/Lifecycle.h"
#include "vx/Lifecycle.h"
#include "vx/Scratch.h"
#include "vxhost/Broker.h"
#include "vxhost/GEO.h"
#include "vxhost/Misc.h"

namespace {

bool g_versions_asked = false;
SEQ_List g_module_list = nullptr;
bool g_broker_linked = false;
std::vector<void*> g_broker_tables;
std::vector<void (*)()>& ShutdownReleases() {
  static auto* releases = new std::vector<void (*)()>;
  return *releases;
}

constexpr uint32_t kTypeEFST = 0x65465354;    // 'eFST'
constexpr uint32_t kTypeModule = 0x2E514D58;  // '.QMX'

// Step 9: the broker's link step. A missing table throws the broker's error.
VX_Err LinkBroker() {
  KLB_AddressProc proc = nullptr;
  if (VX_Err err = TNT_GetKLBAddressProc(&proc)) return err;
  g_broker_linked = true;
  g_broker_tables.clear();
  for (int32_t i = 0; i < KLB_kCoreInterfaceCount; ++i) {
    void* table = proc(KLB_kCoreInterfaceNames[i]);
    if (!table) throw KLB_Error("Missing Interface");
    g_broker_tables.push_back(table);
  }
  return KLB_LinkStep() ? VX_Err_None : VX_Err_BirthFailed;
}

VX_Err RegisterForScan() {
  SEQ_List list = nullptr;
  if (VX_Err err = SEQ_New(2, 16, 1, 1, &list)) return err;
  g_module_list = list;
  if (VX_Err err = FIO_AddExtensionMap(".QMX", kTypeModule, 0xFFFFFFFF)) return err;
  const uint32_t types[2] = {kTypeEFST, kTypeModule};
  return ADDN_InstallScan(0, 2, types, VXp_ModuleFound, VXp_ScanFinished, nullptr);
}

}  // namespace

SEQ_List VXp_ModuleList() { return g_module_list; }
void VXp_SetModuleList(SEQ_List list) { g_module_list = list; }

void VXp_AddShutdownRelease(void (*release)()) { ShutdownReleases().push_back(release); }

void VXp_RunShutdownReleases() {
  auto& releases = ShutdownReleases();
  for (auto it = releases.rbegin(); it != releases.rend(); ++it) (*it)();
  releases.clear();
}

VX_Err VX_CheckVersions(int32_t site, int32_t version) {
  VX_Err siblings = VX_Err_None;
  if (!g_versions_asked) {
    g_versions_asked = true;
    const int32_t s = VXp_Site(0x63);
    siblings = KU_CheckVersions(s, 61) | TXT_CheckVersions(s, 3) | RB_CheckVersions(s, 31) |
               GEO_CheckVersions(s, 18) | FIO_CheckVersions(s, 39) | SEQ_CheckVersions(s, 9) |
               QMFX_CheckVersions(s, 8) | ADDN_CheckVersions(s, 11);
  }
  if (version != VX_kPackageVersion) {
    KUp_SetThreadLastError(0);
    std::snprintf(KUp_GetThreadLoggingBuffer(), KU_kLoggingBufferSize,
                  "Plug-in version mismatch detected (did you install over an older version of Zendra?). Try "
                  "uninstalling and re-installing. (%s package v%d != %s.h v%d)",
                  "VX", VX_kPackageVersion, "VX", version);
    KUp_ReportError(site, 16);
    return VX_Err_VersionMismatch;
  }
  return siblings ? VX_Err_VersionMismatch : VX_Err_None;
}

VX_Err VX_Birth() {
  VX_Err err = VX_Err_None;
  // Steps 1 to 3 always run.
  TLOG_Log(10, "VX", "Birth", "VX Birth");
  if (VXp_HasSSE2()) VXp_SetVectorConstants();
  std::memset(VXp_G_OverFuncs, 0, sizeof VXp_G_OverFuncs);
  VX_G_LiveWorlds = 0;
  VX_G_LiveChunks = 0;
  for (int i = 0; i < 256; ++i) VXp_G_FloatRamp[i] = static_cast<float>(i);
  VXp_CreateMessageTable();

  err = VXp_Guard([] {
    VX_Err e = GEO_PrepareFCMD(1, 0, 0, &VXp_G_fcm_table, &VXp_G_fcd_table);
    if (!e) {
      const uint32_t* base = nullptr;
      int32_t count = 0;
      e = RNG_GetPrimeSizedTable(&base, &count);
      if (!e) VXp_SetNoiseTable(base, count);
    }
    return e;
  });
  if (!err) err = VXp_Guard([] { VXp_BuildSoftLightTables(); });
  if (!err) err = VXp_Guard([] { return VXp_ReallocScratch(1024, 1, false, nullptr); });
  if (!err) err = VXp_Guard(RegisterForScan);
  if (!err) err = VXp_Guard([] { VXp_FillOverFuncs(); });
  if (!err) err = VXp_Guard(LinkBroker);
  return err;
}

VX_Err VX_Death() {
  TLOG_Log(10, "VX", "Death", "VX Death");
  VX_Err err = GEO_UnprepareFCMD();
  VXp_G_fcm_table = VXp_G_fcd_table = nullptr;

  const VX_Err unload = VXp_Guard(VXp_UnloadModules);
  if (!err) err = unload;
  ADDN_RemoveScan(VXp_ModuleFound, VXp_ScanFinished);

  VXp_FreeScratch();

  // A failed shut-down leaves the colour-management globals in place on purpose.
  if (!err) VXp_RunShutdownReleases();

  if (g_broker_linked) {
    for (void*& table : g_broker_tables) table = nullptr;
    g_broker_tables.clear();
    g_broker_linked = false;
  }

  // Back to the state before start-up, so a host may start the package again.
  VXp_DisposeMessageTable();
  VXp_SetNoiseTable(nullptr, 0);
  VXp_ClearVectorConstants();
  g_versions_asked = false;
  return err;
}

int32_t VX_PkgObjectVersion() { return 0x110000; }

VX_Err VX_FreeUpSomeMemory() { return VXp_ReallocScratch(1024, 1, true, nullptr); }

VX_Err VX_OverrideStdFuncs() {
  VXp_ReportMessage(VXp_Site(0x2F), VXp_Msg_Obsolete);
  return VX_Err_Obsolete;
}
