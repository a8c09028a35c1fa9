// The installers of VXp_G_OverFuncs, one for each subsystem.
#pragma once

void VXp_InstallIterateSlots();
void VXp_InstallPremulSlots();
