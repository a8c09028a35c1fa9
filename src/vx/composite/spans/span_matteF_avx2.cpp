// The matte-family modes in float on AVX2 lanes.
#include "composite/spans/SpanMatteLanes.h"

VX_MATTE_LANES_UNIT(VX_PixelFloat, AVX2)
