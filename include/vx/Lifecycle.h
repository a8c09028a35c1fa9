// Start-up, shut-down, version checks and memory.
#pragma once

#include "vx/Types.h"

// Checks the host's sibling libraries (first call only) and the version the
// caller was built against (VX_kPackageVersion). Returns 0 or 7.
VX_Err VX_CheckVersions(int32_t site, int32_t version);
// Once, before anything else: fills the operation table and the global
// tables, registers for the plug-in scan and links the broker.
VX_Err VX_Birth();
// Once, last: undoes VX_Birth.
VX_Err VX_Death();
// 0x110000: version 17 in the upper half.
int32_t VX_PkgObjectVersion();
// Gives back scratch memory beyond the start-up size.
VX_Err VX_FreeUpSomeMemory();
// Obsolete: reports and returns 515.
VX_Err VX_OverrideStdFuncs();
