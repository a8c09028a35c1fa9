// The 8-bit matte stages in 256-bit registers, eight pixels a step. The
// unpacks and packs work within each 128-bit half, so pixels come back in
// their places.
#include "composite/mattes/MatteStageLanes.h"
#include "composite/mattes/MatteStagesVector.h"

VX_SpanFunc8 VXp_MatteStage8_AVX2(int32_t stage) {
#define VX_MATTE_RUNNER(Stage) vx::matte_lanes::Packed8<256, Stage>
  switch (stage) {
    VX_MATTE_STAGES(VX_MATTE_STAGE_ENTRY)
    default:
      return nullptr;
  }
#undef VX_MATTE_RUNNER
}
