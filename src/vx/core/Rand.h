// One step of the package's random generator, inline so that rows can draw
// without a call (VX_Rand is this step on a caller's seed).
#pragma once

#include <cstdint>

// Schrage's split of s by 44488 with the generator's stored constants, the
// second term added in wrapping 32-bit arithmetic:
//   (s % 44488) x 48271 + (s / 44488) x 3399
//   = s x 48271 - (s / 44488) x (44488 x 48271 - 3399)   (mod 2^32),
// which leaves one quotient by a constant and two products. A zero result
// becomes 0x7FFFFFFF. The two terms are below 2^31 and 2^29, so their sum
// never wraps and is zero only for s = 0: the fix-up is taken from s, off
// the path through the quotient, which is what bounds a row of dissolve
// draws (each one seeds the next).
inline uint32_t VXp_RandStep(uint32_t s) {
  uint32_t t = s * 48271u + (s == 0 ? 0x7FFFFFFFu : 0u);
  // Keeps the compiler from moving the fix-up back after the subtraction.
  __asm__("" : "+r"(t));
  return t - (s / 44488u) * 2147476849u;
}

// The draw a state gives: 15 bits.
inline int32_t VXp_RandDraw(uint32_t state) { return static_cast<int32_t>((state >> 7) & 0x7FFF); }
