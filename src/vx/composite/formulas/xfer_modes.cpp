// Names of the transfer modes, from the list of modes.
#include <cstring>

#include "vx/Xfer.h"

namespace {

struct ModeName {
  int32_t number;
  const char* name;
};

#define VX_XFER_NAME_ENTRY(number, name, family) {number, #name},
constexpr ModeName kNames[] = {VX_XFER_MODES(VX_XFER_NAME_ENTRY)};
#undef VX_XFER_NAME_ENTRY

// The per-pixel modes must come in slot order, one a slot.
constexpr bool PixelModesFillTheSlots() {
  int32_t next = 0;
#define VX_XFER_SLOT_CHECK(number, name, family) \
  if (number != next++) return false;
  VX_XFER_PIXEL_MODES(VX_XFER_SLOT_CHECK)
#undef VX_XFER_SLOT_CHECK
  return next == VX_kXferPixelModes && next + 1 == VX_kXferTableSlots;
}
static_assert(PixelModesFillTheSlots());

}  // namespace

const char* VX_XferModeName(int32_t mode) {
  for (const ModeName& m : kNames)
    if (m.number == mode) return m.name;
  return nullptr;
}

int32_t VX_XferModeFromName(const char* name) {
  if (!name) return XferNone;
  for (const ModeName& m : kNames)
    if (std::strcmp(m.name, name) == 0) return m.number;
  return XferNone;
}
