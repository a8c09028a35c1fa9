// The registry of routines reached by name.
#include "core/NamedRoutines.h"

namespace {
void* g_named[VXp_kNamedRoutineCount];
}  // namespace

void VXp_SetNamedRoutine(VXp_NamedRoutine name, void* routine) {
  if (name >= 0 && name < VXp_kNamedRoutineCount) g_named[name] = routine;
}

void* VXp_GetNamedRoutine(VXp_NamedRoutine name) {
  return name >= 0 && name < VXp_kNamedRoutineCount ? g_named[name] : nullptr;
}
