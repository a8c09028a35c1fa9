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
  VXp_Install<VX_Slot_Iterate>(&VX_Iterate_Static);
  VXp_Install<VX_Slot_IterateOrigin>(&VX_IterateOrigin_Static);
  VXp_Install<VX_Slot_IterateLUT>(&VX_IterateLUT_Static);
  VXp_Install<VX_Slot_IterateOriginUnclipped>(&VX_IterateOriginUnclipped_Static);
  VXp_Install<VX_Slot_IterateGeneric>(&VX_IterateGeneric_Static);
  VXp_Install<VX_Slot_OpenDestination>(&OpenDestination);
  VXp_Install<VX_Slot_CloseDestination>(&CloseDestination);
}
