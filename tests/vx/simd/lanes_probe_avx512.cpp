// The word-lane probe with AVX-512, whose 8-bit soft-light curve is read
// with byte permutes.
#include "vx/simd/WordLanesProbe.h"

void VXtest_WordLanes8_AVX512(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out,
                              int32_t count) {
  RunWordLanes8<256>(op, a, b, c, out, count);
}
