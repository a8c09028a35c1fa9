// An acceleration module whose start fails half way: it has already written
// into the table when it returns 7, so the package must put every slot back.
// It shows that a module may give up at load without leaving damage.
#include "vx/Modules.h"
#include "vx/OverFuncs.h"
#include "vxhost/ADDN.h"

namespace {

VX_Err Refuse(...) { return 7; }

VX_Err Entry(int32_t selector, const int32_t*, const VX_ModuleHostBlock*, VX_ModuleTableBlock* table) {
  if (selector != VX_ModuleSelector_Load || !table || !table->over_funcs) return 0;
  // Scribble over a filled slot, an empty one and the last one, with a
  // routine of no slot's type: raw writes, as a broken module would make ...
  table->over_funcs[VX_Slot_PremulRect] = reinterpret_cast<void*>(&Refuse);
  table->over_funcs[VX_Slot_TransferRect] = reinterpret_cast<void*>(&Refuse);
  table->over_funcs[VX_kOverFuncCount - 1] = reinterpret_cast<void*>(&Refuse);
  // ... then find the processor unsuitable.
  return 7;
}

const ADDN_Property kProperties[] = {{VX_kModuleVersionKey, VX_kModuleVersion}};
const ADDN_RoutineDescription kRoutines[] = {
    {VX_kModuleRoutineType, VX_kModuleRoutineFlag, "vxfail", reinterpret_cast<void*>(&Entry), kProperties, 1}};
const ADDN_ModuleDescription kDescription = {ADDN_kDescriptionVersion, 1, kRoutines};

}  // namespace

extern "C" const ADDN_ModuleDescription* ADDN_DescribeModule(void) { return &kDescription; }
