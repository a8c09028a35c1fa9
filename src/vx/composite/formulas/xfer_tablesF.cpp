// The per-pixel transfer table of VX_PixelFloat without opacity.
#include "composite/formulas/XferEntries.h"

#define VX_XFER1_PIXEL VX_PixelFloat
VX_XFER1_DEFINE_PLAIN(F)
