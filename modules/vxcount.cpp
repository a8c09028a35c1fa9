// An acceleration module that counts the calls of one operation: it replaces
// slot 52 (VX_PremulRect_S) with a wrapper that counts and hands the call to
// the routine it replaced, and puts that routine back when it is unloaded.
//
// Everything a module needs:
//   - export ADDN_DescribeModule, describing one routine of type 'eFST' with
//     flag bit 3 and the property 'vers' = 2 (other routines are ignored);
//   - the routine is a VX_ModuleEntryProc: selector 0 at load, with the table
//     of replaceable operations in the table block; selector 1 at unload, with
//     null records. A non-zero result at load makes the package undo every
//     change to the table.
#include <atomic>

#include "vx/Fill.h"
#include "vx/Modules.h"
#include "vx/OverFuncs.h"
#include "vxhost/ADDN.h"

namespace {

std::atomic<long> g_calls{0};
VX_PremulRectProc g_original = nullptr;
void** g_table = nullptr;

VX_Err CountingPremulRect(void* caller_ref, int32_t forward, const GEO_LRect* rect, VX_LayerDef* world) {
  g_calls.fetch_add(1, std::memory_order_relaxed);
  return g_original(caller_ref, forward, rect, world);
}

VX_Err Entry(int32_t selector, const int32_t*, const VX_ModuleHostBlock* host, VX_ModuleTableBlock* table) {
  switch (selector) {
    case VX_ModuleSelector_Load:
      if (!table || table->version != 2 || !table->over_funcs) return 7;
      g_table = table->over_funcs;
      g_original = VX_ReadSlot<VX_Slot_PremulRect>(g_table);
      if (!g_original) {
        host->report(0x60, "vxcount: nothing to wrap in slot 52");
        return 5;
      }
      g_calls = 0;
      VX_InstallSlot<VX_Slot_PremulRect>(g_table, &CountingPremulRect);
      return 0;
    case VX_ModuleSelector_Unload:
      // This code is about to go away: leave the original behind, unless
      // someone replaced the wrapper meanwhile.
      if (g_table && VX_ReadSlot<VX_Slot_PremulRect>(g_table) == &CountingPremulRect)
        VX_InstallSlot<VX_Slot_PremulRect>(g_table, g_original);
      g_table = nullptr;
      return 0;
    default:
      return 0;
  }
}

const ADDN_Property kProperties[] = {{VX_kModuleVersionKey, VX_kModuleVersion}};
const ADDN_RoutineDescription kRoutines[] = {
    {VX_kModuleRoutineType, VX_kModuleRoutineFlag, "vxcount", reinterpret_cast<void*>(&Entry), kProperties, 1}};
const ADDN_ModuleDescription kDescription = {ADDN_kDescriptionVersion, 1, kRoutines};

}  // namespace

extern "C" const ADDN_ModuleDescription* ADDN_DescribeModule(void) { return &kDescription; }

// Calls of VX_PremulRect since this module was loaded.
extern "C" long vxcount_calls(void) { return g_calls.load(); }
