// The per-pixel transfer tables of VX_Pixel8.
#include "composite/formulas/XferEntries.h"

#define VX_XFER1_PIXEL VX_Pixel8
VX_XFER1_DEFINE_TABLES(8)
