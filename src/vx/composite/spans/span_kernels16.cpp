// The span kernels of VX_Pixel16 in the stored encoding, with and without a mask.
#include "composite/spans/SpanTable.h"

VX_SPAN_INSTANTIATE(VX_Pixel16, false)
