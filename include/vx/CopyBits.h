// Copying a rectangle of one world to a rectangle of another, stretching
// when their sizes differ: the routine type of the copy slots (draft, high
// quality straight, high quality premultiplied).
#pragma once

#include "vx/Types.h"

// (progress or null, source, destination, source rect or null, destination
// rect or null); a null rectangle is the whole world.
typedef VX_Err (*VX_CopyBitsProc)(VX_ProgressInfo* progress, VX_LayerDef* source, VX_LayerDef* destination,
                                  const GEO_LRect* source_rect, const GEO_LRect* dest_rect);
