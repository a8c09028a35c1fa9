// The four VX_GetInnerBlendingFunc instances of VX_PixelFloat.
#include "composite/spans/SpanTable.h"

VX_SPAN_INSTANTIATE(VX_PixelFloat)
