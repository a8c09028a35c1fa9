// The 8-bit matte stages in 128-bit registers, four pixels a step.
#include "composite/mattes/MatteStageLanes.h"
#include "composite/mattes/MatteStagesVector.h"

VX_SpanFunc8 VXp_MatteStage8_SSSE3(int32_t stage) {
#define VX_MATTE_RUNNER(Stage) vx::matte_lanes::Packed8<128, Stage>
  switch (stage) {
    VX_MATTE_STAGES(VX_MATTE_STAGE_ENTRY)
    default:
      return nullptr;
  }
#undef VX_MATTE_RUNNER
}
