// Private steps of building the linear blending tables.
#pragma once

#include "vx/LinearBlending.h"

// Fills from_linear from to_linear: samples the stored-16-bit-to-linear
// lookup every 8 levels, makes the samples non-decreasing, and inverts them
// by segments with rounding.
void VXp_InvertLinearization(VX_LinearBlendingTables& tables);
