// The matte-family modes at 16 bits on AVX2 lanes, with AVX-512's mask
// registers and byte permutes.
#include "composite/spans/SpanMatteLanes.h"

VX_MATTE_LANES_UNIT(VX_Pixel16, AVX512)
