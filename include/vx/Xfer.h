// Transfer modes: their numbers, names and families, and the nine per-pixel
// tables (plain, with opacity, with opacity and mask, at each depth).
//
// One list names every mode; the enum, the name lookup, the tables and the
// span kernels are all generated from it, so a mode is added in one place.
#pragma once

#include <cstdint>

#include "vx/LinearBlending.h"
#include "vx/PixelTraits.h"
#include "vx/Types.h"

// How a mode computes, which decides the steps around its formula:
// Direct       its own rule on the whole pixel
// Dissolve     random survival, done by the span kernel; no per-pixel effect
// BlackMatte,  the destination is flattened onto a matte of that colour, the
// WhiteMatte,  mode works on the flattened colour, the result is lifted off
// GreyMatte    the matte again with the union alpha
// ThreeTerm    the source-only, destination-only and overlap regions weighted
// Recolour     composite behind, then replace hue, saturation or luminance
// AlphaOnly    only the destination alpha changes
// SpanOnly     exists for whole rows only
enum class VX_XferFamily : int8_t {
  None,
  SpanOnly,
  Direct,
  Dissolve,
  BlackMatte,
  WhiteMatte,
  GreyMatte,
  ThreeTerm,
  Recolour,
  AlphaOnly
};

// X(number, name, family). Span-only modes first, then the per-pixel modes in
// slot order.
#define VX_XFER_SPAN_MODES(X)  \
  X(-3, XferReplace, SpanOnly) \
  X(-2, XferMaskMix, SpanOnly)

#define VX_XFER_PIXEL_MODES(X)          \
  X(0, XferCopy, Direct)                \
  X(1, XferBehind, Direct)              \
  X(2, XferOver, Direct)                \
  X(3, XferDissolve, Dissolve)          \
  X(4, XferAdd, BlackMatte)             \
  X(5, XferMultiply, WhiteMatte)        \
  X(6, XferScreen, BlackMatte)          \
  X(7, XferOverlay, GreyMatte)          \
  X(8, XferSoftLight, GreyMatte)        \
  X(9, XferHardLight, GreyMatte)        \
  X(10, XferDarken, WhiteMatte)         \
  X(11, XferLighten, BlackMatte)        \
  X(12, XferDifference, BlackMatte)     \
  X(13, XferHue, Recolour)              \
  X(14, XferSaturation, Recolour)       \
  X(15, XferColor, Recolour)            \
  X(16, XferLuminosity, Recolour)       \
  X(17, XferAlphaMul, AlphaOnly)        \
  X(18, XferLumaMul, AlphaOnly)         \
  X(19, XferAlphaMulInverse, AlphaOnly) \
  X(20, XferLumaMulInverse, AlphaOnly)  \
  X(21, XferAddPremul, Direct)          \
  X(22, XferAlphaAdd, Direct)           \
  X(23, XferDodge, BlackMatte)          \
  X(24, XferBurn, WhiteMatte)           \
  X(25, XferExclusion, BlackMatte)      \
  X(26, XferDifference2, ThreeTerm)     \
  X(27, XferDodge2, ThreeTerm)          \
  X(28, XferBurn2, ThreeTerm)           \
  X(29, XferLinearDodge, ThreeTerm)     \
  X(30, XferLinearBurn, ThreeTerm)      \
  X(31, XferLinearLight, ThreeTerm)     \
  X(32, XferVividLight, ThreeTerm)      \
  X(33, XferPinLight, ThreeTerm)        \
  X(34, XferHardMix, ThreeTerm)         \
  X(35, XferLighterColor, Recolour)     \
  X(36, XferDarkerColor, Recolour)      \
  X(37, XferSubtract, ThreeTerm)        \
  X(38, XferDivide, ThreeTerm)

#define VX_XFER_MODES(X) VX_XFER_SPAN_MODES(X) VX_XFER_PIXEL_MODES(X)

// The transfer-mode number. -1 means no mode.
enum VX_XferMode : int32_t {
  XferNone = -1,
#define VX_XFER_ENUMERATOR(number, name, family) name = number,
  VX_XFER_MODES(VX_XFER_ENUMERATOR)
#undef VX_XFER_ENUMERATOR
};

// Per-pixel tables have a slot for each of modes 0..38 and an empty last one.
constexpr int32_t VX_kXferPixelModes = 39;
constexpr int32_t VX_kXferTableSlots = 40;

// The family of a mode; None for a number that is no mode.
constexpr VX_XferFamily VX_XferFamilyOf(int32_t mode) {
  switch (mode) {
#define VX_XFER_FAMILY_CASE(number, name, family) \
  case number:                                    \
    return VX_XferFamily::family;
    VX_XFER_MODES(VX_XFER_FAMILY_CASE)
#undef VX_XFER_FAMILY_CASE
    default:
      return VX_XferFamily::None;
  }
}

// True for -3..38 except -1.
constexpr bool VX_IsXferMode(int32_t mode) { return VX_XferFamilyOf(mode) != VX_XferFamily::None; }

// "XferCopy" ... "XferDivide", or null for a number that is no mode.
const char* VX_XferModeName(int32_t mode);
// The number of a mode named as above, or -1 (XferNone).
int32_t VX_XferModeFromName(const char* name);

// Entries of the per-pixel tables. Each changes only *dst. `tables` null:
// blend in the stored encoding; otherwise in linear light. `opacity` and
// `mask` are channel values (white is full).
template <class Pixel>
using VX_Xfer1Func = void (*)(const Pixel* src, const VX_LinearBlendingTables* tables, Pixel* dst);
template <class Pixel>
using VX_Xfer1OpacityFunc = void (*)(const Pixel* src, const VX_LinearBlendingTables* tables,
                                     typename VX_PixelTraits<Pixel>::Channel opacity, Pixel* dst);
template <class Pixel>
using VX_Xfer1Opacity2Func = void (*)(const Pixel* src, const VX_LinearBlendingTables* tables,
                                      typename VX_PixelTraits<Pixel>::Channel opacity,
                                      typename VX_PixelTraits<Pixel>::Channel mask, Pixel* dst);

typedef VX_Xfer1Func<VX_Pixel8> VX_Xfer1Func8;
typedef VX_Xfer1Func<VX_Pixel16> VX_Xfer1Func16;
typedef VX_Xfer1Func<VX_PixelFloat> VX_Xfer1FuncF;
typedef VX_Xfer1OpacityFunc<VX_Pixel8> VX_Xfer1OpacityFunc8;
typedef VX_Xfer1OpacityFunc<VX_Pixel16> VX_Xfer1OpacityFunc16;
typedef VX_Xfer1OpacityFunc<VX_PixelFloat> VX_Xfer1OpacityFuncF;
typedef VX_Xfer1Opacity2Func<VX_Pixel8> VX_Xfer1Opacity2Func8;
typedef VX_Xfer1Opacity2Func<VX_Pixel16> VX_Xfer1Opacity2Func16;
typedef VX_Xfer1Opacity2Func<VX_PixelFloat> VX_Xfer1Opacity2FuncF;

// Slot n holds mode n; slot 39 is null.
extern const VX_Xfer1Func8 VXp_G_Xfer1_table8[VX_kXferTableSlots];
extern const VX_Xfer1Func16 VXp_G_Xfer1_table16[VX_kXferTableSlots];
extern const VX_Xfer1FuncF VXp_G_Xfer1_tableF[VX_kXferTableSlots];
extern const VX_Xfer1OpacityFunc8 VXp_G_Xfer1_Opacity_table8[VX_kXferTableSlots];
extern const VX_Xfer1OpacityFunc16 VXp_G_Xfer1_Opacity_table16[VX_kXferTableSlots];
extern const VX_Xfer1OpacityFuncF VXp_G_Xfer1_Opacity_tableF[VX_kXferTableSlots];
extern const VX_Xfer1Opacity2Func8 VXp_G_Xfer1_Opacity2_table8[VX_kXferTableSlots];
extern const VX_Xfer1Opacity2Func16 VXp_G_Xfer1_Opacity2_table16[VX_kXferTableSlots];
extern const VX_Xfer1Opacity2FuncF VXp_G_Xfer1_Opacity2_tableF[VX_kXferTableSlots];

// The three tables of a depth, for code written over the pixel type.
template <class Pixel>
struct VX_Xfer1Tables;

#define VX_XFER_TABLES_OF(Pixel, suffix)                                                                \
  template <>                                                                                           \
  struct VX_Xfer1Tables<Pixel> {                                                                        \
    static const VX_Xfer1Func<Pixel>* Plain() { return VXp_G_Xfer1_table##suffix; }                     \
    static const VX_Xfer1OpacityFunc<Pixel>* Opacity() { return VXp_G_Xfer1_Opacity_table##suffix; }    \
    static const VX_Xfer1Opacity2Func<Pixel>* Opacity2() { return VXp_G_Xfer1_Opacity2_table##suffix; } \
  };
VX_XFER_TABLES_OF(VX_Pixel8, 8)
VX_XFER_TABLES_OF(VX_Pixel16, 16)
VX_XFER_TABLES_OF(VX_PixelFloat, F)
#undef VX_XFER_TABLES_OF
