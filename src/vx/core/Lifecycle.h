// Private pieces of start-up and shut-down.
#pragma once

#include "vx/Types.h"
#include "vxhost/ADDN.h"
#include "vxhost/SEQ.h"

// The module list: (routine, entry point) records of loaded modules.
SEQ_List VXp_ModuleList();
void VXp_SetModuleList(SEQ_List list);

// The scan's callbacks, installed by VX_Birth.
VX_Err VXp_ModuleFound(void* refcon, ADDN_Module module);
VX_Err VXp_ScanFinished(void* refcon);
// Calls each module with selector 1 and releases it; disposes of the list.
VX_Err VXp_UnloadModules();
// Registers the named suites from the table as it stands.
VX_Err VXp_RegisterSuites();

// Globals that are made on first use (colour management) register how to
// release them; VX_Death runs these only when shut-down has gone well.
void VXp_AddShutdownRelease(void (*release)());
void VXp_RunShutdownReleases();
