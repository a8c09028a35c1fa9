// The installers of VXp_G_OverFuncs, one for each operation family.
#pragma once

void VXp_InstallIterateSlots();
void VXp_InstallMatteStageSlots();
void VXp_InstallPremulSlots();
void VXp_InstallCompositeSlots();
