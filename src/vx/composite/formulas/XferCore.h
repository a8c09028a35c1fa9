// The core of every per-pixel mode: the mode's formula inside its family's
// steps, on a source, a source alpha already scaled by opacity and mask, and
// the destination. The family comes from the list of modes.
#pragma once

#include "composite/formulas/ModeEntries.h"
#include "composite/formulas/XferAlphaOnly.h"
#include "composite/formulas/XferDirect.h"
#include "composite/formulas/XferMatteFamily.h"
#include "composite/formulas/XferMatteModes.h"
#include "composite/formulas/XferRecolour.h"
#include "composite/formulas/XferSoftLight.h"
#include "composite/formulas/XferThreeTerm.h"

namespace vx {
inline namespace VX_ISA_NS {

template <class Pixel, int32_t Mode>
VX_INLINE void XferCore(const Pixel& s, typename Arith<Pixel>::T sa, Pixel& d) {
  constexpr VX_XferFamily family = VX_XferFamilyOf(Mode);
  if constexpr (VXp_IsMatteFamily(family))
    XferMatteFamily<Pixel, Mode>::Run(s, sa, d);
  else if constexpr (family == VX_XferFamily::ThreeTerm)
    XferThreeTermFamily<Pixel, Mode>::Run(s, sa, d);
  else if constexpr (family == VX_XferFamily::Recolour)
    XferRecolourFamily<Pixel, Mode>::Run(s, sa, d);
  else if constexpr (family == VX_XferFamily::Direct || family == VX_XferFamily::Dissolve ||
                     family == VX_XferFamily::AlphaOnly)
    XferOp<Mode, Pixel>::Run(s, sa, d);
  else
    static_assert(Mode != Mode, "no per-pixel core for this mode");
}

}  // namespace VX_ISA_NS
}  // namespace vx
