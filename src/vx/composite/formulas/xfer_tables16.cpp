// The per-pixel transfer tables of VX_Pixel16.
#include "composite/formulas/XferEntries.h"

#define VX_XFER1_PIXEL VX_Pixel16
VX_XFER1_DEFINE_TABLES(16)
