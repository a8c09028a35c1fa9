// The lane types of the translation unit's widths: 128 bits always, 256 bits
// where it is compiled for AVX2 or wider.
#pragma once

#include "simd/Lanes128.h"
#if defined(__AVX2__)
#include "simd/Lanes256.h"
#endif
