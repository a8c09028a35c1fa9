// Routines that plug-ins reach by name rather than through a slot of
// VXp_G_OverFuncs. Each operation family registers its own at start-up (from
// its slot installer); the callback block, the selectors and the suites read
// the registry, so a family that arrives later is picked up without change
// there. An unregistered name reads as null.
#pragma once

#include <cstdint>

enum VXp_NamedRoutine : int32_t {
  VXp_Named_Blend_Straight,
  VXp_Named_Blend_Premul,
  VXp_Named_GaussianKernel,
  VXp_Named_GaussianValue,
  VXp_Named_PaintSpot,
  VXp_Named_ExtractPlanes,
  VXp_Named_InsertPlanes,
  VXp_Named_NNSampleFloat,
  VXp_Named_SubpixelCPlusPlusFloat,
  VXp_Named_AreaSampleCPlusPlusFloat,
  // The colour-space routines: VXp_NamedColor(form, stem).
  VXp_Named_ColorFirst,
  VXp_kNamedRoutineCount = VXp_Named_ColorFirst + 4 * 8
};

// Stems in their block and suite order.
enum VXp_ColorStem : int32_t {
  VXp_Color_RGBtoHLS,
  VXp_Color_HLStoRGB,
  VXp_Color_RGBtoYIQ,
  VXp_Color_YIQtoRGB,
  VXp_Color_Luminance,
  VXp_Color_Hue,
  VXp_Color_Lightness,
  VXp_Color_Saturation,
  VXp_kColorStemCount
};
// _Straight, _Premul (8 bits only), _Straight16, _StraightFloat.
enum VXp_ColorForm : int32_t { VXp_Color_Straight, VXp_Color_Premul, VXp_Color_Straight16, VXp_Color_StraightFloat };

constexpr VXp_NamedRoutine VXp_NamedColor(VXp_ColorForm form, int32_t stem) {
  return static_cast<VXp_NamedRoutine>(int32_t(VXp_Named_ColorFirst) + int32_t(form) * int32_t(VXp_kColorStemCount) +
                                       stem);
}

void VXp_SetNamedRoutine(VXp_NamedRoutine name, void* routine);
void* VXp_GetNamedRoutine(VXp_NamedRoutine name);

// Typed read of a named routine.
template <class F>
inline F VXp_Named(VXp_NamedRoutine name) {
  return reinterpret_cast<F>(VXp_GetNamedRoutine(name));
}

// Stores an untyped address into a routine entry of whatever type it has.
template <class F>
inline void VXp_Assign(F& entry, void* routine) {
  entry = reinterpret_cast<F>(routine);
}
