// The span kernels of VX_Pixel8 in linear light, with and without a mask.
#include "composite/spans/SpanTable.h"

VX_SPAN_INSTANTIATE(VX_Pixel8, true)
