// A span in linear light: source, destination and the mask's alphas go to
// linear rows (16-bit for 8 and 16 bits, float for float) in the scratch
// pool's third buffer, a kernel runs there, and the destination comes back.
#pragma once

#include <cstdint>
#include <type_traits>

#include "composite/formulas/XferLinear.h"
#include "composite/spans/SpanVector.h"
#include "core/Internal.h"
#include "vx/Blend.h"
#include "vx/Scratch.h"

namespace vx {
inline namespace VX_ISA_NS {

// A row to linear light and back; at 8 and 16 bits the AVX2 form takes the
// leading blocks when the call runs on AVX2.
template <VXp_Isa Isa, class Pixel, class L>
VX_INLINE void ToLinearRow(const VX_LinearBlendingTables& t, const Pixel* in, int32_t n, L* out) {
  int32_t i = 0;
  if constexpr (std::is_same_v<L, VX_Pixel16> && Isa >= VXp_Isa::AVX2) i = VXp_ToLinearRow_AVX2(t, in, n, out);
  for (; i < n; ++i) out[i] = ToLinear(t, in[i]);
}
template <VXp_Isa Isa, class Pixel, class L>
VX_INLINE void FromLinearRow(const VX_LinearBlendingTables& t, const L* in, int32_t n, Pixel* out) {
  int32_t i = 0;
  if constexpr (std::is_same_v<L, VX_Pixel16> && Isa >= VXp_Isa::AVX2) i = VXp_FromLinearRow_AVX2(t, in, n, out);
  for (; i < n; ++i) FromLinear(t, in[i], out[i]);
}

// Bytes of the pool's third buffer that the linear rows of a span of
// `count` pixels take: source, destination and mask rows.
template <class Pixel>
constexpr int64_t LinearScratchBytes(int32_t count) {
  return int64_t(count < 0 ? 0 : count) * 3 * int64_t(sizeof(typename XferLinearPixel<Pixel>::type));
}

// The pool with its third buffer at least `bytes` long, at one byte a
// channel; 4 when that can't be had (or can't be asked for).
inline VX_Err VXp_ScratchForBytes(int64_t bytes, VXp_ScratchSet* out) {
  const int64_t count = (bytes + 3) / 4;
  if (count > INT32_MAX) return VX_Err_OutOfMemory;
  return VXp_ReallocScratch(static_cast<int32_t>(count), 1, false, out);
}

template <class Pixel>
struct LinearSpan {
  typedef typename XferLinearPixel<Pixel>::type L;
  typedef typename VX_PixelTraits<L>::Channel LChannel;
  L* src = nullptr;
  L* dst = nullptr;
  L* mask = nullptr;
  VX_BlendingMode<L> mode{};

  // Takes the rows from the pool (a transfer has reserved them, so they
  // come without a new allocation) and converts the span into them.
  template <VXp_Isa Isa>
  VX_Err Open(const VX_LinearBlendingTables& t, const VX_BlendingMode<Pixel>& m, int32_t count, const Pixel* s,
              const Pixel* mk, const Pixel* d) {
    VXp_ScratchSet pool;
    if (const VX_Err err = VXp_ScratchForBytes(LinearScratchBytes<Pixel>(count), &pool)) return err;
    src = static_cast<L*>(pool.buffers[2]);
    dst = src + count;
    mask = mk ? dst + count : nullptr;
    ToLinearRow<Isa>(t, s, count, src);
    ToLinearRow<Isa>(t, d, count, dst);
    // Only the mask's alpha is read, but vector kernels load whole pixels.
    if (mk)
      for (int32_t i = 0; i < count; ++i) mask[i] = L{static_cast<LChannel>(LinearAlpha(Pixel{}, mk[i].alpha)), 0, 0, 0};
    mode = VX_BlendingMode<L>{m.transfer_mode, m.dissolve_seed, static_cast<LChannel>(LinearAlpha(Pixel{}, m.opacity)),
                              m.keep_alpha};
    return VX_Err_None;
  }
  template <VXp_Isa Isa>
  void Close(const VX_LinearBlendingTables& t, int32_t count, Pixel* d) const {
    FromLinearRow<Isa>(t, dst, count, d);
  }
};

}  // namespace VX_ISA_NS
}  // namespace vx
