// The recolour modes in float on AVX2 lanes, with AVX-512's mask registers.
#include "composite/spans/SpanRecolour.h"

VX_RECOLOUR_UNIT(VX_PixelFloat, AVX512)
