// Bodies behind the compositing slots that have no public name of their own.
#pragma once

#include "vx/Transfer.h"

// The body of VX_TransferRectPlus, a VX_TransferRectPlusProc.
VX_Err VXp_TransferRectPlus_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                              const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeModePlus* mode,
                              const VX_LinearBlendingTables* tables, const VX_TrackMatte* mask,
                              void* const* row_buffers, int32_t dest_x, int32_t dest_y, VX_LayerDef* destination);
