// Slots of the iteration frame and the destinations.
#include <cstring>

#include "core/Internal.h"
#include "core/Slots.h"
#include "vx/Iterate.h"

namespace {

// The built-in destinations: a record of four words.
VX_Err OpenDestination(void* a, void*, void* record[4]) {
  if (!record) return VXp_BadParameter(45);
  std::memset(record, 0, 4 * sizeof(void*));
  record[0] = a;
  return VX_Err_None;
}

VX_Err CloseDestination(void* record[4]) {
  if (!record) return VXp_BadParameter(46);
  std::memset(record, 0, 4 * sizeof(void*));
  return VX_Err_None;
}

}  // namespace

void VXp_InstallIterateSlots() {
  VXp_G_OverFuncs[VX_Slot_Iterate] = reinterpret_cast<void*>(&VX_Iterate_Static);
  VXp_G_OverFuncs[VX_Slot_IterateOrigin] = reinterpret_cast<void*>(&VX_IterateOrigin_Static);
  VXp_G_OverFuncs[VX_Slot_IterateLUT] = reinterpret_cast<void*>(&VX_IterateLUT_Static);
  VXp_G_OverFuncs[VX_Slot_IterateOriginUnclipped] = reinterpret_cast<void*>(&VX_IterateOriginUnclipped_Static);
  VXp_G_OverFuncs[VX_Slot_IterateGeneric] = reinterpret_cast<void*>(&VX_IterateGeneric_Static);
  VXp_G_OverFuncs[VX_Slot_OpenDestination] = reinterpret_cast<void*>(&OpenDestination);
  VXp_G_OverFuncs[VX_Slot_CloseDestination] = reinterpret_cast<void*>(&CloseDestination);
}
