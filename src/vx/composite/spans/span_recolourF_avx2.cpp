// The recolour modes in float on AVX2 lanes.
#include "composite/spans/SpanRecolour.h"

VX_RECOLOUR_UNIT(VX_PixelFloat, AVX2)
