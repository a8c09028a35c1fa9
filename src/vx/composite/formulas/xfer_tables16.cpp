// The per-pixel transfer table of VX_Pixel16 without opacity.
#include "composite/formulas/XferEntries.h"

#define VX_XFER1_PIXEL VX_Pixel16
VX_XFER1_DEFINE_PLAIN(16)
