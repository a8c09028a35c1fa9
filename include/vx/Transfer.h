// Compositing one world onto another: transfer rectangles, track mattes and
// the old composite-rectangle entries.
#pragma once

#include "vx/CompositeMode.h"
#include "vx/Types.h"

// Composites `source_rect` of `source` (null: all of it) onto `destination`
// with its top-left corner at (dest_x, dest_y), in the mode, opacity and
// matte given. `quality` and `flags` are not read. `field` 1 draws the even
// destination rows, 2 the odd ones, any other value all. Jumps through
// slot 31 (VX_TransferRect_S after start-up).
VX_Err VX_TransferRect(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                       const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeModePlus* mode,
                       const VX_LinearBlendingTables* tables, const VX_TrackMatte* mask, int32_t dest_x,
                       int32_t dest_y, VX_LayerDef* destination);
VX_Err VX_TransferRect_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                         const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeModePlus* mode,
                         const VX_LinearBlendingTables* tables, const VX_TrackMatte* mask, int32_t dest_x,
                         int32_t dest_y, VX_LayerDef* destination);
// The same with the caller's row buffers (a block of ten pointers, each
// holding a row of the source rectangle's width in the widest pixel), or
// null to take them from the scratch pool. Buffer 0 holds the saved alpha,
// buffer 1 the mask row; the rest are spare. Through slot 115.
VX_Err VX_TransferRectPlus(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                           const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeModePlus* mode,
                           const VX_LinearBlendingTables* tables, const VX_TrackMatte* mask,
                           void* const* row_buffers, int32_t dest_x, int32_t dest_y, VX_LayerDef* destination);
typedef VX_Err (*VX_TransferRectPlusProc)(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                                          const GEO_LRect* source_rect, VX_LayerDef* source,
                                          const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables,
                                          const VX_TrackMatte* mask, void* const* row_buffers, int32_t dest_x,
                                          int32_t dest_y, VX_LayerDef* destination);

// 1 for modes -3, 0, 1, 2, 4, 5, 6, 7, 9..16, 22, 25, 37, 38; 0 for the rest,
// also outside -3..60.
int32_t VX_GetTransferFlags(int32_t transfer_mode);
typedef int32_t (*VX_TransferFlagsProc)(int32_t transfer_mode);

// One mask row from a row of a matte, in the alpha channel of out_row, at
// 8 bits (deep false) or 16 bits. matte_kind as in VX_TrackMatte.
VX_Err VX_PrepTrackMatteUniv(uint32_t count, const void* source_row, int32_t offset, uint32_t width,
                             int32_t matte_kind, bool deep, void* out_row);

// Old entries that put a rectangle of one 8-bit world behind another.
// Draft and best are the same operation.
typedef VX_Err (*VX_CompositeRectProc)(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                       VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field,
                                       int32_t unused, VX_LayerDef* destination);
VX_Err VX_CompositeRectDraft_Premul(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                    VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field,
                                    int32_t unused, VX_LayerDef* destination);
VX_Err VX_CompositeRectBest_Premul(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                   VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field,
                                   int32_t unused, VX_LayerDef* destination);
VX_Err VX_CompositeRectDraft_Straight(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                      VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field,
                                      int32_t unused, VX_LayerDef* destination);
VX_Err VX_CompositeRectBest_Straight(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                     VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field,
                                     int32_t unused, VX_LayerDef* destination);
