// The entries of the per-pixel tables. The three variants differ only in how
// they form the source alpha (the pixel's own, times opacity, times mask);
// then a zero alpha leaves the destination alone, and the core runs either
// directly or in linear light.
#pragma once

#include "composite/formulas/XferCore.h"
#include "composite/formulas/XferLinear.h"

namespace vx {
inline namespace VX_ISA_NS {

// The mode's core on the stored pixels, or in linear light with tables.
template <class Pixel, int32_t Mode>
VX_INLINE void XferRun(const Pixel& s, typename Arith<Pixel>::T sa, const VX_LinearBlendingTables* tables, Pixel* dst) {
  if (sa == 0) return;
  if (!tables) {
    XferCore<Pixel, Mode>(s, sa, *dst);
    return;
  }
  RunInLinearLight(*tables, s, sa, *dst,
                   [](const auto& ls, auto lsa, auto& ld) { XferCore<std::decay_t<decltype(ld)>, Mode>(ls, lsa, ld); });
}

// The source alpha the variants start from: the pixel's own, except for
// the premultiplied add, which starts from white (its core scales the
// source's premultiplied channels, alpha included, by what the variant forms).
template <class Pixel, int32_t Mode>
VX_INLINE typename Arith<Pixel>::T XferStartAlpha(const Pixel& s) {
  if constexpr (Mode == XferAddPremul)
    return Arith<Pixel>::kWhite;
  else
    return s.alpha;
}

template <class Pixel, int32_t Mode>
void Xfer1(const Pixel* src, const VX_LinearBlendingTables* tables, Pixel* dst) {
  const Pixel s = *src;
  XferRun<Pixel, Mode>(s, XferStartAlpha<Pixel, Mode>(s), tables, dst);
}

template <class Pixel, int32_t Mode>
void Xfer1Opacity(const Pixel* src, const VX_LinearBlendingTables* tables,
                  typename VX_PixelTraits<Pixel>::Channel opacity, Pixel* dst) {
  typedef Arith<Pixel> A;
  const Pixel s = *src;
  typename A::T sa = XferStartAlpha<Pixel, Mode>(s);
  if (opacity != A::kWhite) sa = A::mul(opacity, sa);
  XferRun<Pixel, Mode>(s, sa, tables, dst);
}

template <class Pixel, int32_t Mode>
void Xfer1Opacity2(const Pixel* src, const VX_LinearBlendingTables* tables,
                   typename VX_PixelTraits<Pixel>::Channel opacity, typename VX_PixelTraits<Pixel>::Channel mask,
                   Pixel* dst) {
  typedef Arith<Pixel> A;
  const Pixel s = *src;
  typename A::T sa = XferStartAlpha<Pixel, Mode>(s);
  if (opacity != A::kWhite) sa = A::mul(opacity, sa);
  if (mask != A::kWhite) sa = A::mul(mask, sa);
  XferRun<Pixel, Mode>(s, sa, tables, dst);
}

}  // namespace VX_ISA_NS
}  // namespace vx

// The three tables of the depth VX_XFER1_PIXEL, generated from the list of
// modes in slot order, slot 39 null; each table is a unit of its own, so
// that the depth's formulas compile on both cores.
#define VX_XFER1_ENTRY(number, name, family) &vx::Xfer1<VX_XFER1_PIXEL, number>,
#define VX_XFER1_OPACITY_ENTRY(number, name, family) &vx::Xfer1Opacity<VX_XFER1_PIXEL, number>,
#define VX_XFER1_OPACITY2_ENTRY(number, name, family) &vx::Xfer1Opacity2<VX_XFER1_PIXEL, number>,
#define VX_XFER1_DEFINE_PLAIN(suffix)                                                \
  const VX_Xfer1Func<VX_XFER1_PIXEL> VXp_G_Xfer1_table##suffix[VX_kXferTableSlots] = { \
      VX_XFER_PIXEL_MODES(VX_XFER1_ENTRY) nullptr};
#define VX_XFER1_DEFINE_OPACITY(suffix)                                                               \
  const VX_Xfer1OpacityFunc<VX_XFER1_PIXEL> VXp_G_Xfer1_Opacity_table##suffix[VX_kXferTableSlots] = { \
      VX_XFER_PIXEL_MODES(VX_XFER1_OPACITY_ENTRY) nullptr};
#define VX_XFER1_DEFINE_OPACITY2(suffix)                                                                \
  const VX_Xfer1Opacity2Func<VX_XFER1_PIXEL> VXp_G_Xfer1_Opacity2_table##suffix[VX_kXferTableSlots] = { \
      VX_XFER_PIXEL_MODES(VX_XFER1_OPACITY2_ENTRY) nullptr};
