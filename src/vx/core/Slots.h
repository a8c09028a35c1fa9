// The installers of VXp_G_OverFuncs, one for each operation family. Each
// writes through the typed VXp_Install and VXp_InstallIn (vx/OverFuncs.h).
#pragma once

void VXp_InstallIterateSlots();
void VXp_InstallMatteStageSlots();
void VXp_InstallPremulSlots();
void VXp_InstallCompositeSlots();
