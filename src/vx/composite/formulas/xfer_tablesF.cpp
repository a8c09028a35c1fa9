// The per-pixel transfer tables of VX_PixelFloat.
#include "composite/formulas/XferEntries.h"

#define VX_XFER1_PIXEL VX_PixelFloat
VX_XFER1_DEFINE_TABLES(F)
