// The 8-bit matte stages in 256-bit registers, eight pixels a step. The
// unpacks and packs work within each 128-bit half, so pixels come back in
// their places.
#include "composite/mattes/MatteStagesWide.h"
#include "simd/Wide256.h"

VX_SpanFunc8 VXp_MatteStage8_AVX2(int32_t stage) { return vx::matte_wide::StageFor<vx::W256>(stage); }
