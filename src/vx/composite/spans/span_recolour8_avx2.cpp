// The recolour modes at 8 bits on AVX2 lanes.
#include "composite/spans/SpanRecolour.h"

VX_RECOLOUR_UNIT(VX_Pixel8, AVX2)
