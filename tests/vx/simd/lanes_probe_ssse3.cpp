// The 8-bit lane arithmetic on 128-bit registers, for the lane test.
#include "vx/simd/WordLanesProbe.h"

void VXtest_WordLanes8_SSSE3(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out,
                             int32_t count) {
  RunWordLanes8<128>(op, a, b, c, out, count);
}
void VXtest_Div8Lanes_SSSE3(const int32_t* a, const int32_t* v, int32_t* q, int32_t count) {
  RunDiv8Lanes<128>(a, v, q, count);
}
