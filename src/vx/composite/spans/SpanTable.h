// The table of 41 span kernels of one VX_GetInnerBlendingFunc instance,
// generated from the list of modes: the plain kernel of each mode, the
// linear-light wrapper around it when the instance has tables, and a row of
// them for each instruction set, with the vector forms where they exist.
#pragma once

#include <array>

#include "composite/formulas/ModeEntries.h"
#include "composite/spans/LinearRows.h"
#include "composite/spans/SpanKernels.h"
#include "composite/spans/SpanVector.h"
#include "core/Internal.h"

namespace vx {
inline namespace VX_ISA_NS {

// Whether a mode has a vector form at a depth for an instruction set.
template <class Pixel, int32_t Mode, VXp_Isa Isa>
constexpr bool HasVectorSpan() {
  constexpr VX_XferFamily family = VX_XferFamilyOf(Mode);
  constexpr bool k8 = std::is_same_v<Pixel, VX_Pixel8>;
  if constexpr (Mode == XferOver) return Isa >= (k8 ? VXp_Isa::SSSE3 : VXp_Isa::AVX2);
  if constexpr (Mode == XferCopy) return k8 && Isa >= VXp_Isa::SSE2;
  if constexpr (VXp_IsMatteFamily(family) || family == VX_XferFamily::Recolour) return Isa >= VXp_Isa::AVX2;
  return false;
}

// Runs the row on the mode's vector form for the instruction set, into
// *err; false leaves the row to the scalar body.
template <class Pixel, int32_t Mode, bool HasMask, VXp_Isa Isa>
VX_INLINE bool VectorSpan(int32_t count, const VX_BlendingMode<Pixel>& mode, const Pixel* src, const Pixel* mask,
                          Pixel* dst, VX_Err* err) {
  const Pixel* m = HasMask ? mask : nullptr;
  constexpr VX_XferFamily family = VX_XferFamilyOf(Mode);
  constexpr bool k8 = std::is_same_v<Pixel, VX_Pixel8>, k512 = Isa == VXp_Isa::AVX512;
  if constexpr (!HasVectorSpan<Pixel, Mode, Isa>()) {
    return false;
  } else if constexpr (Mode == XferOver) {
    if constexpr (!k8)
      *err = VXp_SpanOverDeep_AVX2(count, src, m, mode.opacity, dst);
    else if constexpr (Isa >= VXp_Isa::AVX2)
      *err = VXp_SpanOver8_AVX2(count, src, m, mode.opacity, dst);
    else
      *err = VXp_SpanOver8_SSSE3(count, src, m, mode.opacity, dst);
  } else if constexpr (Mode == XferCopy) {
    // Nothing to scale or keep: the scalar body's one block copy.
    if (!HasMask && !mode.keep_alpha && mode.opacity == 255) return false;
    *err = VXp_SpanCopy8_SSE2(count, src, m, mode.opacity, mode.keep_alpha, dst);
  } else if constexpr (VXp_IsMatteFamily(family)) {
    const auto proc = k512 ? VXp_MatteLanes_AVX512<Pixel>(Mode) : VXp_MatteLanes_AVX2<Pixel>(Mode);
    *err = proc(count, src, m, mode.opacity, false, false, dst);
  } else {
    const auto proc = k512 ? VXp_SpanRecolour_AVX512<Pixel>(Mode) : VXp_SpanRecolour_AVX2<Pixel>(Mode);
    *err = proc(count, src, m, mode.opacity, mode.keep_alpha, false, dst);
  }
  return true;
}

// The scalar kernel of a mode, and its form for an instruction set, which
// falls back on it (made once, not inlined into every form).
template <class Pixel, int32_t Mode, bool HasMask>
VX_Err ScalarSpanKernel(int32_t count, const Desc<Pixel>* desc, const VX_LinearBlendingTables*, const Pixel* src,
                        const Pixel* mask, Pixel* dst) {
  SpanBody<Pixel, Mode, HasMask>(count, desc->mode, src, mask, dst);
  return VX_Err_None;
}
template <class Pixel, int32_t Mode, bool HasMask, VXp_Isa Isa>
VX_Err SpanKernel(int32_t count, const Desc<Pixel>* desc, const VX_LinearBlendingTables* tables, const Pixel* src,
                  const Pixel* mask, Pixel* dst) {
  VX_Err err = VX_Err_None;
  if (VectorSpan<Pixel, Mode, HasMask, Isa>(count, desc->mode, src, mask, dst, &err)) return err;
  return ScalarSpanKernel<Pixel, Mode, HasMask>(count, desc, tables, src, mask, dst);
}

// The same mode in linear light: the span goes to linear rows, the
// kernel runs there, and the destination comes back.
template <class Pixel, int32_t Mode, bool HasMask, VXp_Isa Isa>
VX_Err LinearSpanKernel(int32_t count, const Desc<Pixel>* desc, const VX_LinearBlendingTables* tables,
                        const Pixel* src, const Pixel* mask, Pixel* dst) {
  typedef typename XferLinearPixel<Pixel>::type L;
  if (!tables) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, 4206, 0, "Invalid tables for linearized blending");
    return VX_Err_BadParam;
  }
  if (count <= 0) return VX_Err_None;
  LinearSpan<Pixel> rows;
  if (const VX_Err err = rows.template Open<Isa>(*tables, desc->mode, count, src, mask, dst)) return err;
  VX_Err err = VX_Err_None;
  if (!VectorSpan<L, Mode, HasMask, Isa>(count, rows.mode, rows.src, rows.mask, rows.dst, &err))
    SpanBody<L, Mode, HasMask>(count, rows.mode, rows.src, rows.mask, rows.dst);
  if (err) return err;
  rows.template Close<Isa>(*tables, count, dst);
  return VX_Err_None;
}

// The instruction set whose forms a mode takes when `Isa` is allowed: only
// the matte-family and recolour modes have forms of their own for AVX-512.
template <int32_t Mode>
constexpr VXp_Isa FormIsa(VXp_Isa isa) {
  constexpr VX_XferFamily family = VX_XferFamilyOf(Mode);
  if (isa == VXp_Isa::AVX512 && !VXp_IsMatteFamily(family) && family != VX_XferFamily::Recolour) return VXp_Isa::AVX2;
  return isa;
}

// Copy and replace don't blend colours, so their table instances are the
// plain kernels. A form for an instruction set is made only where it
// differs from the one below it; elsewhere that one stands.
template <class Pixel, bool HasMask, bool HasTables, VXp_Isa Isa, int32_t Mode>
constexpr VX_InnerBlendingProc<Pixel> KernelOf() {
  typedef typename XferLinearPixel<Pixel>::type L;
  if constexpr (FormIsa<Mode>(Isa) != Isa) {
    return KernelOf<Pixel, HasMask, HasTables, FormIsa<Mode>(Isa), Mode>();
  } else if constexpr (HasTables && Mode != XferCopy && Mode != XferReplace) {
    // Linear rows have a vector form at 16 bits with AVX2.
    constexpr bool own = Isa == VXp_Isa::Scalar || HasVectorSpan<L, Mode, Isa>() ||
                         (std::is_same_v<L, VX_Pixel16> && Isa >= VXp_Isa::AVX2);
    if constexpr (own)
      return &LinearSpanKernel<Pixel, Mode, HasMask, Isa>;
    else
      return KernelOf<Pixel, HasMask, HasTables, VXp_Isa::Scalar, Mode>();
  } else if constexpr (HasVectorSpan<Pixel, Mode, Isa>()) {
    return &SpanKernel<Pixel, Mode, HasMask, Isa>;
  } else {
    return &ScalarSpanKernel<Pixel, Mode, HasMask>;
  }
}

}  // namespace VX_ISA_NS
}  // namespace vx

// The 41 kernels at index mode + 3; index 2 (mode -1) is empty.
constexpr int32_t VXp_kSpanKernelSlots = 42;

#define VX_SPAN_KERNEL_ENTRY(number, name, family) vx::KernelOf<Pixel, HasMask, HasTables, Isa, number>(),

template <class Pixel, bool HasMask, bool HasTables, VXp_Isa Isa>
constexpr std::array<VX_InnerBlendingProc<Pixel>, VXp_kSpanKernelSlots> VXp_SpanKernelRow() {
  return {VX_XFER_SPAN_MODES(VX_SPAN_KERNEL_ENTRY) nullptr, VX_XFER_PIXEL_MODES(VX_SPAN_KERNEL_ENTRY)};
}

// The kernel of a mode for the instruction sets the CPU record allows when
// it is asked for: a descriptor made once per call carries that choice into
// every row.
template <class Pixel, bool HasMask, bool HasTables>
VX_Err VX_GetInnerBlendingFunc(int32_t transfer_mode, VX_InnerBlendingFunc<Pixel>* out) {
  static constexpr std::array<VX_InnerBlendingProc<Pixel>, VXp_kSpanKernelSlots> kKernels[] = {
      VXp_SpanKernelRow<Pixel, HasMask, HasTables, VXp_Isa::Scalar>(),
      VXp_SpanKernelRow<Pixel, HasMask, HasTables, VXp_Isa::SSE2>(),
      VXp_SpanKernelRow<Pixel, HasMask, HasTables, VXp_Isa::SSSE3>(),
      VXp_SpanKernelRow<Pixel, HasMask, HasTables, VXp_Isa::AVX2>(),
      VXp_SpanKernelRow<Pixel, HasMask, HasTables, VXp_Isa::AVX512>()};
  if (transfer_mode < -3 || transfer_mode > 38 || transfer_mode == XferNone) {
    VXp_ReportMessage(VXp_Site(0x33), VXp_Msg_UnimplementedBlendingMode);
    return VX_Err_Unimplemented;
  }
  if (out) out->func = kKernels[static_cast<int32_t>(VXp_WidestIsa())][transfer_mode + 3];
  return VX_Err_None;
}

// A depth's instances in the stored encoding, and in linear light (two
// units, so that a depth's kernels compile on both cores).
#define VX_SPAN_INSTANTIATE(Pixel, HasTables)                                                              \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, false, HasTables>(int32_t, VX_InnerBlendingFunc<Pixel>*); \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, true, HasTables>(int32_t, VX_InnerBlendingFunc<Pixel>*);
