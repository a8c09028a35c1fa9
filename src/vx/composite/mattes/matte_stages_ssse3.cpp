// The 8-bit matte stages in 128-bit registers, four pixels a step.
#include "composite/mattes/MatteStagesWide.h"
#include "simd/Wide128.h"

VX_SpanFunc8 VXp_MatteStage8_SSSE3(int32_t stage) { return vx::matte_wide::StageFor<vx::W128>(stage); }
