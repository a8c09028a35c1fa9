// The float matte stages, one pixel a register, and the 8-bit alpha merge,
// four pixels a register.
#include "composite/mattes/MatteStageLanes.h"
#include "composite/mattes/MatteStagesVector.h"

VX_SpanFuncFloat VXp_MatteStageF_SSE2(int32_t stage) {
#define VX_MATTE_RUNNER(Stage) vx::matte_lanes::Float1<Stage>
  switch (stage) {
    VX_MATTE_STAGES(VX_MATTE_STAGE_ENTRY)
    default:
      return nullptr;
  }
#undef VX_MATTE_RUNNER
}

VX_Err VXp_AlphaMerge8_SSE2(int32_t count, const VX_Pixel8* src, uint8_t opacity, const VX_Pixel8* mask,
                            VX_Pixel8* dst) {
  return vx::matte_lanes::AlphaMerge8<128>(count, src, opacity, mask, dst);
}
