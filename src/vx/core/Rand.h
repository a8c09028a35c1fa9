// One step of the package's random generator, inline so that rows can draw
// without a call (VX_Rand is this step on a caller's seed).
#pragma once

#include <cstdint>

// Schrage's split of s by 44488 with the generator's stored constants, the
// second term added in wrapping 32-bit arithmetic:
//   (s % 44488) x 48271 + (s / 44488) x 3399
//   = s x 48271 - (s / 44488) x (44488 x 48271 - 3399)   (mod 2^32),
// which leaves one quotient by a constant and two products. A zero result
// becomes 0x7FFFFFFF.
inline uint32_t VXp_RandStep(uint32_t s) {
  const uint32_t v = s * 48271u - (s / 44488u) * 2147476849u;
  return v == 0 ? 0x7FFFFFFFu : v;
}

// The draw a state gives: 15 bits.
inline int32_t VXp_RandDraw(uint32_t state) { return static_cast<int32_t>((state >> 7) & 0x7FFF); }
