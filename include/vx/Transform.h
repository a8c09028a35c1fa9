// Drawing a world through 3 x 3 matrices, with a transfer mode, a mask and
// motion blur along the matrices: the routine type of the transform slot.
#pragma once

#include <cstdint>

#include "vx/CompositeMode.h"
#include "vx/Types.h"
#include "vxhost/GEO.h"

// `quality` 0 is draft, 1 high; `flags` is handed on; `field` 0 all rows, 1
// and 2 one field. With `src2dst` the matrices map source to destination,
// else the other way.
typedef VX_Err (*VX_TransformWorldProc)(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                                        VX_LayerDef* source, const VX_CompositeModePlus* mode,
                                        const VX_TrackMatte* mask, const GEO_Matrix3* matrices,
                                        int32_t matrix_count, bool src2dst, const GEO_LRect* dest_rect,
                                        VX_LayerDef* destination);
