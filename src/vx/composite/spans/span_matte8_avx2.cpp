// The matte-family modes at 8 bits on AVX2 lanes.
#include "composite/spans/SpanMatteLanes.h"

VX_MATTE_LANES_UNIT(VX_Pixel8, AVX2)
