// The span kernels of VX_PixelFloat in the stored encoding, with and without a mask.
#include "composite/spans/SpanTable.h"

VX_SPAN_INSTANTIATE(VX_PixelFloat, false)
