// The matte-family modes at 16 bits on AVX2 lanes.
#include "composite/spans/SpanMatteLanes.h"

VX_MATTE_LANES_UNIT(VX_Pixel16, AVX2)
