// The per-pixel transfer table of VX_Pixel16 with opacity and mask.
#include "composite/formulas/XferEntries.h"

#define VX_XFER1_PIXEL VX_Pixel16
VX_XFER1_DEFINE_OPACITY2(16)
