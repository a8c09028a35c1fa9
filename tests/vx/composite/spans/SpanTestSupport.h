// Helpers for the span-level tests: one row through the blend pipeline as a
// transfer would run it, and random rows.
#pragma once

#include <vector>

#include "vx/composite/formulas/XferTestSupport.h"
#include "core/ChannelMath.h"
#include "support/TestWorlds.h"
#include "vx/Blend.h"

namespace st {

template <class Pixel>
using Ch = xt::Ch<Pixel>;

template <class Pixel>
std::vector<Pixel> RandomRow(vxtest::Random& r, size_t n) {
  std::vector<Pixel> row(n);
  for (Pixel& p : row) p = xt::RandomPixel<Pixel>(r);
  return row;
}

// Runs `mode` over the row; `mask` may be null.
template <class Pixel>
VX_Err Pipeline(int32_t mode, Ch<Pixel> opacity, bool keep_alpha, const std::vector<Pixel>& src,
                const std::vector<Pixel>* mask, std::vector<Pixel>& dst, const VX_LinearBlendingTables* tables = nullptr,
                int32_t seed = 0) {
  const VX_BlendingMode<Pixel> m{mode, seed, opacity, keep_alpha};
  const VX_BlendModeDescriptor<Pixel> descriptor(m, mask != nullptr, tables);
  std::vector<Ch<Pixel>> scratch(src.size());
  return VX_BlendPipeline<Pixel>(nullptr, static_cast<int32_t>(src.size()), &descriptor, src.data(),
                                 mask ? mask->data() : nullptr, scratch.data(), dst.data());
}

// The source alpha after opacity and mask.
template <class Pixel>
typename vx::Arith<Pixel>::T ScaledAlpha(Ch<Pixel> a, Ch<Pixel> opacity, Ch<Pixel> mask) {
  typedef vx::Arith<Pixel> A;
  return A::mul(A::mul(a, opacity), mask);
}

// Dissolve written out: a pixel of partial alpha draws once from VX_Rand at
// the running seed, which the draw moves on; an opaque pixel survives and a
// clear one doesn't, drawing nothing. Callers step the seed by one a pixel.
template <class Pixel>
bool DissolveSurvives(typename vx::Arith<Pixel>::T a, uint32_t& seed) {
  if (a == 0) return false;
  if (a == xt::kW<Pixel>) return true;
  const int32_t draw = VX_Rand(&seed);
  if constexpr (xt::kFloat<Pixel>)
    return a >= draw * static_cast<double>(3.051851e-5f);
  else
    return (draw & (xt::kW<Pixel> == 255 ? 0xFF : 0xFFFF)) <= a;
}

// Runs check with AVX2 as the widest set and again, where the processor has
// it, with AVX-512, so both vector forms meet the same expectations.
template <class F>
void OnEachWideForm(F check) {
  for (int avx512 : {0, 1}) {
    if (avx512 && !KU_CPUHas(KU_CPU_AVX512)) continue;
    SCOPED_TRACE(avx512 ? "AVX-512" : "AVX2");
    vxtest::CPUScope cpu(1, 1, 1, avx512);
    check();
  }
}

}  // namespace st
