// Picks a vector kernel's entry for a transfer mode from the one mode list:
// `make(number, family)` runs for the mode's own case with both as
// compile-time constants, so it can instantiate the mode's template or
// decline with null; numbers outside the list give null.
#pragma once

#include <type_traits>

#include "vx/Xfer.h"

template <class Proc, class Make>
inline Proc VXp_EntryForMode(int32_t mode, Make make) {
  switch (mode) {
#define VX_ENTRY_CASE(number, name, family)                 \
  case number:                                              \
    return make(std::integral_constant<int32_t, number>{}, \
                std::integral_constant<VX_XferFamily, VX_XferFamily::family>{});
    VX_XFER_PIXEL_MODES(VX_ENTRY_CASE)
#undef VX_ENTRY_CASE
    default:
      return nullptr;
  }
}

// The families whose colours run on a destination flattened onto a matte.
constexpr bool VXp_IsMatteFamily(VX_XferFamily f) {
  return f == VX_XferFamily::BlackMatte || f == VX_XferFamily::WhiteMatte || f == VX_XferFamily::GreyMatte;
}
