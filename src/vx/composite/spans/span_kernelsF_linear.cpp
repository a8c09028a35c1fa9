// The span kernels of VX_PixelFloat in linear light, with and without a mask.
#include "composite/spans/SpanTable.h"

VX_SPAN_INSTANTIATE(VX_PixelFloat, true)
