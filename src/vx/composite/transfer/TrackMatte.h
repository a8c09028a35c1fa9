// Mask rows from a track matte: the matte's alpha in place, or its inverted
// alpha, luma x alpha or inverted luma x alpha converted into a row buffer.
#pragma once

#include "core/Internal.h"
#include "vx/CompositeMode.h"

// One mask row from `count` pixels of a matte row of `width` pixels whose
// first pixel lies `offset` outputs to the right of the first output
// (negative: to the left). Outputs outside the matte get the fill: white for
// inverted kinds, 0 for the others. Only alphas are written. `isa` is the
// call's instruction set.
template <class Pixel>
void VXp_PrepMatteRow(uint32_t count, const Pixel* row, int32_t offset, uint32_t width, int32_t matte_kind,
                      Pixel* out, VXp_Isa isa);

// The mask row for destination pixels (x .. x + count - 1, y): a pointer into
// the matte for plain alpha (the transfer has clipped to the matte), else
// `buffer` filled as above, or all white in rows off an inverted matte.
template <class Pixel>
const Pixel* VXp_MatteRow(const VX_TrackMatte& matte, int32_t x, int32_t y, int32_t count, Pixel* buffer,
                          VXp_Isa isa);

// The luma kinds of a matte row with AVX2, from its start, eight
// pixels at a time; returns how many it wrote, the rest is the caller's.
template <class Pixel>
uint32_t VXp_LumaMatte_AVX2(uint32_t count, const Pixel* row, bool invert, Pixel* out);
