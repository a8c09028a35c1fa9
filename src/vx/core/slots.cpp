// Start-up step 8: every operation family installs its operations into the
// table, the plain form first and the vector form over it where the CPU
// allows.
#include "core/Internal.h"
#include "core/Slots.h"

void VXp_FillOverFuncs() {
  VXp_InstallIterateSlots();
  VXp_InstallMatteStageSlots();
  VXp_InstallPremulSlots();
  VXp_InstallCompositeSlots();
}
