// The table of 41 span kernels of one VX_GetInnerBlendingFunc instance,
// generated from the list of modes: the plain kernel of each mode, the
// linear-light wrapper around it when the instance has tables, and the
// vector forms chosen per call where they exist.
#pragma once

#include <memory>
#include <new>

#include "composite/formulas/ModeEntries.h"
#include "composite/spans/SpanKernels.h"
#include "composite/spans/SpanVector.h"
#include "composite/formulas/XferLinear.h"
#include "core/Internal.h"

namespace vx {
inline namespace VX_ISA_NS {

// Runs the row on a vector form where the CPU has one for the mode and
// depth, into *err; false leaves the row to the scalar body.
template <class Pixel, int32_t Mode, bool HasMask>
VX_INLINE bool VectorSpan(int32_t count, const VX_BlendingMode<Pixel>& mode, const Pixel* src, const Pixel* mask,
                          Pixel* dst, VX_Err* err) {
  const Pixel* m = HasMask ? mask : nullptr;
  constexpr VX_XferFamily family = VX_XferFamilyOf(Mode);
  constexpr bool k8 = std::is_same_v<Pixel, VX_Pixel8>;
  if constexpr (k8 && Mode == XferOver) {
    if (VXp_HasAVX2()) return *err = VXp_SpanOver8_AVX2(count, src, m, mode.opacity, dst), true;
    if (VXp_HasSSSE3()) return *err = VXp_SpanOver8_SSSE3(count, src, m, mode.opacity, dst), true;
  }
  if constexpr (!k8 && Mode == XferOver) {
    if (VXp_HasAVX2()) return *err = VXp_SpanOverDeep_AVX2(count, src, m, mode.opacity, dst), true;
  }
  if constexpr (VXp_IsMatteFamily(family)) {
    if (VXp_HasAVX2())
      return *err = VXp_MatteLanesWidest<Pixel>(Mode)(count, src, m, mode.opacity, false, false, dst), true;
  }
  if constexpr (k8 && Mode == XferCopy) {
    const bool block = !HasMask && !mode.keep_alpha && mode.opacity == 255;
    if (!block && count > 0 && VXp_HasSSE2())
      return *err = VXp_SpanCopy8_SSE2(count, src, m, mode.opacity, mode.keep_alpha, dst), true;
  }
  if constexpr (family == VX_XferFamily::Recolour) {
    if (VXp_HasAVX2())
      return *err = VXp_SpanRecolourWidest<Pixel>(Mode)(count, src, m, mode.opacity, mode.keep_alpha, false, dst), true;
  }
  return false;
}

template <class Pixel, int32_t Mode, bool HasMask>
VX_Err SpanKernel(int32_t count, const Desc<Pixel>* desc, const VX_LinearBlendingTables*, const Pixel* src,
                  const Pixel* mask, Pixel* dst) {
  VX_Err err = VX_Err_None;
  if (!VectorSpan<Pixel, Mode, HasMask>(count, desc->mode, src, mask, dst, &err))
    SpanBody<Pixel, Mode, HasMask>(count, desc->mode, src, mask, dst);
  return err;
}

// A row to linear light and back; at 8 and 16 bits vector forms take the
// leading blocks where the CPU has them.
template <class Pixel, class L>
VX_INLINE void ToLinearRow(const VX_LinearBlendingTables& t, const Pixel* in, int32_t n, L* out) {
  int32_t i = 0;
  if constexpr (std::is_same_v<L, VX_Pixel16>)
    if (VXp_HasAVX2()) i = VXp_ToLinearRow_AVX2(t, in, n, out);
  for (; i < n; ++i) out[i] = ToLinear(t, in[i]);
}
template <class Pixel, class L>
VX_INLINE void FromLinearRow(const VX_LinearBlendingTables& t, const L* in, int32_t n, Pixel* out) {
  int32_t i = 0;
  if constexpr (std::is_same_v<L, VX_Pixel16>)
    if (VXp_HasAVX2()) i = VXp_FromLinearRow_AVX2(t, in, n, out);
  for (; i < n; ++i) FromLinear(t, in[i], out[i]);
}

// The same mode in linear light: source, destination and the mask's alpha
// go to linear rows (16-bit for 8 and 16 bits, float for float), the
// kernel runs there, and the destination comes back.
template <class Pixel, int32_t Mode, bool HasMask>
VX_Err LinearSpanKernel(int32_t count, const Desc<Pixel>* desc, const VX_LinearBlendingTables* tables,
                        const Pixel* src, const Pixel* mask, Pixel* dst) {
  typedef typename XferLinearPixel<Pixel>::type L;
  typedef typename VX_PixelTraits<L>::Channel LChannel;
  if (!tables) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, 4206, 0, "Invalid tables for linearized blending");
    return VX_Err_BadParam;
  }
  if (count <= 0) return VX_Err_None;
  const size_t n = static_cast<size_t>(count);
  std::unique_ptr<L[]> rows(new (std::nothrow) L[n * (mask ? 3 : 2)]);
  if (!rows) return VX_Err_OutOfMemory;
  L* ls = rows.get();
  L* ld = ls + n;
  L* lm = mask ? ld + n : nullptr;
  ToLinearRow(*tables, src, count, ls);
  ToLinearRow(*tables, dst, count, ld);
  // Only the mask's alpha is read, but vector kernels load whole pixels.
  if (mask)
    for (size_t i = 0; i < n; ++i) lm[i] = L{static_cast<LChannel>(LinearAlpha(Pixel{}, mask[i].alpha)), 0, 0, 0};
  const VX_BlendingMode<Pixel>& mode = desc->mode;
  const VX_BlendingMode<L> linear{mode.transfer_mode, mode.dissolve_seed,
                                  static_cast<LChannel>(LinearAlpha(Pixel{}, mode.opacity)), mode.keep_alpha};
  VX_Err err = VX_Err_None;
  if (!VectorSpan<L, Mode, HasMask>(count, linear, ls, lm, ld, &err))
    SpanBody<L, Mode, HasMask>(count, linear, ls, lm, ld);
  if (err) return err;
  FromLinearRow(*tables, ld, count, dst);
  return VX_Err_None;
}

// Copy and replace don't blend colours, so their table instances are the
// plain kernels.
template <class Pixel, bool HasMask, bool HasTables, int32_t Mode>
constexpr VX_InnerBlendingProc<Pixel> KernelOf() {
  if constexpr (HasTables && Mode != XferCopy && Mode != XferReplace)
    return &LinearSpanKernel<Pixel, Mode, HasMask>;
  else
    return &SpanKernel<Pixel, Mode, HasMask>;
}

}  // namespace VX_ISA_NS
}  // namespace vx

// The 41 kernels at index mode + 3; index 2 (mode -1) is empty.
constexpr int32_t VXp_kSpanKernelSlots = 42;

#define VX_SPAN_KERNEL_ENTRY(number, name, family) vx::KernelOf<Pixel, HasMask, HasTables, number>(),

template <class Pixel, bool HasMask, bool HasTables>
VX_Err VX_GetInnerBlendingFunc(int32_t transfer_mode, VX_InnerBlendingFunc<Pixel>* out) {
  static constexpr VX_InnerBlendingProc<Pixel> kKernels[VXp_kSpanKernelSlots] = {
      VX_XFER_SPAN_MODES(VX_SPAN_KERNEL_ENTRY) nullptr, VX_XFER_PIXEL_MODES(VX_SPAN_KERNEL_ENTRY)};
  if (transfer_mode < -3 || transfer_mode > 38 || transfer_mode == XferNone) {
    VXp_ReportMessage(VXp_Site(0x33), VXp_Msg_UnimplementedBlendingMode);
    return VX_Err_Unimplemented;
  }
  if (out) out->func = kKernels[transfer_mode + 3];
  return VX_Err_None;
}

#define VX_SPAN_INSTANTIATE(Pixel)                                                                     \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, false, false>(int32_t, VX_InnerBlendingFunc<Pixel>*); \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, true, false>(int32_t, VX_InnerBlendingFunc<Pixel>*);  \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, false, true>(int32_t, VX_InnerBlendingFunc<Pixel>*);  \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, true, true>(int32_t, VX_InnerBlendingFunc<Pixel>*);
