// The vector lane layer: what every kernel with vector forms is built on.
// Lane types come in register widths (128 bits for SSE2 and SSSE3, 256 for
// AVX2, with AVX-512's mask registers and byte permutes where the unit is
// compiled for them); the depth arithmetic (Depth.h) is written once over
// them, and gives lane by lane exactly what the scalar primitives of
// ChannelMath.h give.
//
// Include only from a translation unit named after its instruction set
// (foo_sse2.cpp, foo_ssse3.cpp, foo_avx2.cpp, foo_avx512.cpp), which gets the
// compiler flags and its own inline namespace.
#pragma once

#include <cstdint>

#include "core/ChannelMath.h"

// Lets a lambda inline into the loop that calls it, so that its constants
// stay in registers.
#define VX_INLINE_LAMBDA __attribute__((always_inline))

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

// Lanes of int32, int16 and float in a register of `Bits` bits, and a lane
// condition (all ones where true) of the same width. Each width specialises
// them with its intrinsics; everything above is written over Bits.
template <int Bits>
struct I32;
template <int Bits>
struct I16;
template <int Bits>
struct F32;
template <int Bits>
struct Mask;

// A pixel's four channels, each a lane vector (one pixel a lane).
template <class T>
struct LanePixel {
  T alpha, red, green, blue;
};

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx
