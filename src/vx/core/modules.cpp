// Acceleration modules: offered by the host's scan, loaded into the table of
// replaceable operations, unloaded at shut-down.
#include <cstdlib>
#include <cstring>

#include "core/Internal.h"
#include "core/Lifecycle.h"
#include "vx/Modules.h"
#include "vxhost/ADDN.h"
#include "vxhost/SEQ.h"

namespace {

// A record of the module list: 16 bytes.
struct ModuleRecord {
  ADDN_Routine routine;
  VX_ModuleEntryProc entry;
};
static_assert(sizeof(ModuleRecord) == 16);

VX_Err ReportFromModule(int32_t number, const char* text) {
  KUp_ReportErrString(VXp_Site(number), 8, text);
  return VX_Err_None;
}

// Loads one routine; true when it was taken. Throws or returns the error.
VX_Err LoadRoutine(ADDN_Module module, int32_t index) {
  ADDN_RoutineInfo info{};
  if (VX_Err err = ADDN_GetRoutineInfo(module, index, &info)) return err;
  if (info.type != VX_kModuleRoutineType || !(info.flags & VX_kModuleRoutineFlag)) return VX_Err_None;

  ADDN_TagList tags = nullptr;
  if (VX_Err err = ADDN_GetRoutineTagList(module, index, &tags)) return err;
  int16_t version = 0;
  const VX_Err prop_err = ADDN_GetTagLProp(tags, VX_kModuleVersionKey, sizeof version, &version);
  ADDN_DisposeTagL(tags);
  if (prop_err || version != VX_kModuleVersion) return VX_Err_None;

  ADDN_Routine routine = nullptr;
  if (VX_Err err = ADDN_RegisterRoutine(module, index, &routine)) return err;
  void* saved[VX_kOverFuncCount];
  std::memcpy(saved, VXp_G_OverFuncs, sizeof saved);
  void* entry_address = nullptr;
  if (VX_Err err = ADDN_PrepRoutine(routine, &entry_address)) {
    ADDN_UnregisterRoutine(routine);
    return err;
  }
  auto entry = reinterpret_cast<VX_ModuleEntryProc>(entry_address);

  const int32_t word = 2;
  VX_ModuleHostBlock host{};
  host.report = ReportFromModule;
  VXp_FillANSICallbacks(&host.ansi[0]);
  VXp_FillANSICallbacks(&host.ansi[1]);
  host.calloc = std::calloc;
  host.free = std::free;
  host.malloc = std::malloc;
  host.realloc = std::realloc;
  host.exit = std::exit;
  host.fcm_table = VXp_G_fcm_table;
  host.fcd_table = VXp_G_fcd_table;
  VX_ModuleTableBlock table{2, 1, VXp_G_OverFuncs};

  VX_Err err = entry ? entry(VX_ModuleSelector_Load, &word, &host, &table) : VX_Err_BadParam;
  if (!err) {
    const ModuleRecord record{routine, entry};
    err = SEQ_Insert(VXp_ModuleList(), SEQ_kAppend, &record);
  }
  if (err) {
    // A failed module leaves the table as it found it.
    std::memcpy(VXp_G_OverFuncs, saved, sizeof saved);
    ADDN_UnprepRoutine(routine);
    ADDN_UnregisterRoutine(routine);
    VXp_ReportMessage(VXp_Site(5), VXp_Msg_ModuleProblem);
  }
  return err;
}

}  // namespace

VX_Err VXp_ModuleFound(void*, ADDN_Module module) {
  return VXp_Guard([&]() -> VX_Err {
    int32_t count = 0;
    if (VX_Err err = ADDN_GetRoutineCount(module, &count)) return err;
    for (int32_t i = count - 1; i >= 0; --i)
      if (VX_Err err = LoadRoutine(module, i)) return err;
    return VX_Err_None;
  });
}

VX_Err VXp_ScanFinished(void*) { return VXp_RegisterSuites(); }

VX_Err VXp_UnloadModules() {
  SEQ_List list = VXp_ModuleList();
  if (!list) return VX_Err_None;
  VX_Err err = VX_Err_None;
  const int32_t count = SEQ_Count(list);
  for (int32_t i = 0; i < count && !err; ++i) {
    ModuleRecord record{};
    if ((err = SEQ_Get(list, i, &record))) break;
    err = record.entry(VX_ModuleSelector_Unload, nullptr, nullptr, nullptr);
    const VX_Err unprep = ADDN_UnprepRoutine(record.routine);
    const VX_Err unreg = ADDN_UnregisterRoutine(record.routine);
    if (!err) err = unprep ? unprep : unreg;
  }
  SEQ_Unlock(list);
  const VX_Err dispose = SEQ_Dispose(list, 0);
  VXp_SetModuleList(nullptr);
  return err ? err : dispose;
}

int32_t VX_LoadedModuleCount() { return VXp_ModuleList() ? SEQ_Count(VXp_ModuleList()) : 0; }
