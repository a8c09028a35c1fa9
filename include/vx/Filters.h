// Filters over whole worlds: the routine types of the blur and convolution
// slots of the table of replaceable operations.
#pragma once

#include <cstdint>

#include "vx/Types.h"

// A one-dimensional blur between two world objects of equal depth. `channels`:
// bit 0 alpha, 1 red, 2 green, 3 blue, 4 renormalise at the edges. The fast
// blur slots have this type; their built-in bodies only return 5.
typedef VX_Err (*VX_BlurProc)(VX_ProgressInfo* progress, const VX_World* source, float radius, int32_t channels,
                              bool src_vertical, bool src_premul, bool dst_vertical, bool dst_premul,
                              bool force_copy, VX_World* destination);

// An odd-sized integer kernel per channel, in row order (one row with flag
// 1). Flags: 1 one-dimensional, 2 normalise, 4 unclamped, 32 (with 1)
// vertical.
typedef VX_Err (*VX_ConvolveProc)(VX_ProgressInfo* progress, VX_LayerDef* source, const GEO_LRect* rect,
                                  int32_t flags, int32_t kernel_size, const int32_t* a_kernel,
                                  const int32_t* r_kernel, const int32_t* g_kernel, const int32_t* b_kernel,
                                  VX_LayerDef* destination);
