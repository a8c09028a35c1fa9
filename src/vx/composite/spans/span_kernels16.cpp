// The four VX_GetInnerBlendingFunc instances of VX_Pixel16.
#include "composite/spans/SpanTable.h"

VX_SPAN_INSTANTIATE(VX_Pixel16)
