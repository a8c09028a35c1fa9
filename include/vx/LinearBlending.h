// Tables for blending in linear light: stored encoding to linear and back, as
// 16-bit lookups for integer pixels and exponents for float pixels. Built
// once from a profile, shared read-only between threads.
#pragma once

#include <cstdint>
#include <memory>

#include "vx/Types.h"

class TNT_ORX_Profile;
class VX_World;

struct VX_LinearBlendingTables {
  uint16_t to_linear[256];     // stored 8-bit code -> linear 0..32768
  uint16_t from_linear[4097];  // linear value / 8 -> stored 0..32768
  float to_linear_gamma;       // stored -> linear exponent for float pixels
  float from_linear_gamma;     // 1 / to_linear_gamma
};

// The three lookups.
inline uint16_t VX_LinearFromStored8(const VX_LinearBlendingTables& t, uint8_t c) { return t.to_linear[c]; }

// Stored 16-bit v to linear: interpolates between the entries for the two
// nearest 8-bit codes.
inline uint16_t VX_LinearFromStored16(const VX_LinearBlendingTables& t, uint32_t v) {
  const uint32_t i = (v * 255) >> 15, f = (v * 255) & 0x7FFF;
  int32_t r = t.to_linear[i];
  if (f) r += (static_cast<int32_t>(f) * (t.to_linear[i + 1] - r) + 16384) >> 15;
  return static_cast<uint16_t>(r);
}

// Linear 16-bit v to stored: 3 fractional bits between table entries.
inline uint16_t VX_StoredFromLinear16(const VX_LinearBlendingTables& t, uint32_t v) {
  const uint32_t i = v >> 3;
  int32_t r = t.from_linear[i];
  if (v & 7) r += (static_cast<int32_t>(v & 7) * (t.from_linear[i + 1] - r) + 4) >> 3;
  return static_cast<uint16_t>(r);
}

// Builds the tables of a profile (null: sRGB): the integer tables from the
// profile's true curve through the colour engine, the exponents from a gamma
// fit. Throws the engine's errors.
std::shared_ptr<VX_LinearBlendingTables> VX_MakeLinearizationTables(std::shared_ptr<TNT_ORX_Profile> profile);

// Converts a world into another of the same size and any depth; float is the
// linear encoding, so `tables` are needed (and read) only when exactly one
// side is float. Worlds of different sizes are left alone without a word;
// an unknown depth or missing tables are reported and leave the destination
// untouched.
void VX_DepthConvertWorld(const VX_LinearBlendingTables* tables, const VX_World* source, VX_World* destination);
