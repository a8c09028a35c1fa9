// Handles for plug-ins: the handle suite and the block's handle entries.
#include "core/Internal.h"
#include "vx/Callbacks.h"

KU_Handle VX_NewHandle(size_t size) { return KU_AllocateHandleQuiet(size); }

void* VX_LockHandle(KU_Handle handle) { return handle ? *handle : nullptr; }

// Handles never move while in use, so there is nothing to undo.
void VX_UnlockHandle(KU_Handle) {}

void VX_DisposeHandle(KU_Handle handle) { KU_FreeHandle(handle); }

size_t VX_HandleSize(KU_Handle handle) { return handle ? KU_GetHandleSize(handle) : 0; }

VX_Err VX_ResizeHandle(KU_Handle handle, size_t size) {
  // Quiet: a plug-in that can't grow its data decides itself what to tell.
  if (VX_Err err = KU_StartQuietErrorsOnCurrentThread()) return err;
  const VX_Err resized = KU_ResizeHandle(VXp_Site(0x38), handle, "effect handle data", size);
  const VX_Err ended = KU_EndQuietErrorsOnCurrentThread();
  return resized ? resized : ended;
}
