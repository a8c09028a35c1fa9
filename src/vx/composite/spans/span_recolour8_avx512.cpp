// The recolour modes at 8 bits on AVX2 lanes, with AVX-512's mask registers.
#include "composite/spans/SpanRecolour.h"

VX_RECOLOUR_UNIT(VX_Pixel8, AVX512)
