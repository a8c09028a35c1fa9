// A module built for another table version ('vers' 1): the package must leave
// it out without calling it. If it were called it would empty slot 52.
#include "vx/Modules.h"
#include "vx/OverFuncs.h"
#include "vxhost/ADDN.h"

namespace {

VX_Err Entry(int32_t selector, const int32_t*, const VX_ModuleHostBlock*, VX_ModuleTableBlock* table) {
  if (selector == VX_ModuleSelector_Load && table && table->over_funcs)
    VX_InstallSlot<VX_Slot_PremulRect>(table->over_funcs, nullptr);
  return 0;
}

const ADDN_Property kProperties[] = {{VX_kModuleVersionKey, 1}};
const ADDN_Property kCurrent[] = {{VX_kModuleVersionKey, VX_kModuleVersion}};
const ADDN_RoutineDescription kRoutines[] = {
    {VX_kModuleRoutineType, VX_kModuleRoutineFlag, "vxoldvers", reinterpret_cast<void*>(&Entry), kProperties, 1},
    // Right version but without flag bit 3: also not for the package.
    {VX_kModuleRoutineType, 0, "vxoldvers-unflagged", reinterpret_cast<void*>(&Entry), kCurrent, 1}};
const ADDN_ModuleDescription kDescription = {ADDN_kDescriptionVersion, 2, kRoutines};

}  // namespace

extern "C" const ADDN_ModuleDescription* ADDN_DescribeModule(void) { return &kDescription; }
