// One-line blurs of single-channel mask samples: the routine type of the box
// scan slots. `width` is the length of `line`; [start, end) the part whose
// change is wanted; `scratch` a line buffer of the caller.
#pragma once

#include <cstdint>

#include "vx/Types.h"

template <class Sample>
using VX_UnoScanProc = VX_Err (*)(int32_t kind, int32_t width, int32_t start, int32_t end, VX_Fix16 radius,
                                  Sample* scratch, Sample* line);
typedef VX_UnoScanProc<uint8_t> VX_UnoScanProc8;
typedef VX_UnoScanProc<uint16_t> VX_UnoScanProc16;
