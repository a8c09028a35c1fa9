// Vector forms of the 8-bit span kernels, chosen per call through the CPU
// record. Each takes the scaled-alpha inputs of the scalar kernel: a mask
// row (alpha read) or null, and the opacity (255 is full).
#pragma once

#include "vx/Types.h"

// XferOver. The block path divides with a refined reciprocal and agrees with
// the divide table; heads and tails run the per-pixel formula.
VX_Err VXp_SpanOver8_SSSE3(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                           VX_Pixel8* dst);
VX_Err VXp_SpanOver8_AVX2(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                          VX_Pixel8* dst);
// XferCopy when something scales or the alpha is kept (otherwise the row is
// one block copy).
VX_Err VXp_SpanCopy8_SSE2(int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask, uint8_t opacity,
                          bool keep_alpha, VX_Pixel8* dst);
