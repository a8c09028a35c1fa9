// Destinations: thin entries through slots 45 and 46.
#include "core/Internal.h"
#include "vx/Callbacks.h"

VX_Err VX_OpenDestination(void* a, void* b, void* record[4]) {
  return VXp_GetSlot<VX_Slot_OpenDestination>()(a, b, record);
}

VX_Err VX_CloseDestination(void* record[4]) {
  return VXp_GetSlot<VX_Slot_CloseDestination>()(record);
}
