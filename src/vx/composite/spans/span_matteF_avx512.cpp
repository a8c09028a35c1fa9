// The matte-family modes in float on AVX2 lanes, with AVX-512's mask
// registers and byte permutes.
#include "composite/spans/SpanMatteLanes.h"

VX_MATTE_LANES_UNIT(VX_PixelFloat, AVX512)
