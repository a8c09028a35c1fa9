// Vector forms of the matte stages. Each agrees bit for bit with the scalar
// stage for every input, in place and out of place. Null for a stage
// outside the list.
#pragma once

#include "vx/Fill.h"

// 8 bits, SSSE3 and AVX2 (slots 35..40 in stage order).
VX_SpanFunc8 VXp_MatteStage8_SSSE3(int32_t stage);
VX_SpanFunc8 VXp_MatteStage8_AVX2(int32_t stage);
// Float, SSE2 (slots 106..111 in stage order).
VX_SpanFuncFloat VXp_MatteStageF_SSE2(int32_t stage);
// 8-bit alpha merge, SSE2 (slot 41).
VX_Err VXp_AlphaMerge8_SSE2(int32_t count, const VX_Pixel8* src, uint8_t opacity, const VX_Pixel8* mask,
                            VX_Pixel8* dst);
