// Track matte rows at every depth.
#include "composite/transfer/TrackMatte.h"

#include <algorithm>

#include "core/ChannelMath.h"
#include "core/Internal.h"
#include "vx/Transfer.h"

namespace {

template <class Pixel>
struct MatteValue {
  typedef vx::Arith<Pixel> A;
  typedef typename A::T T;
  // luma x alpha; at float clamped to 0..1, with tiny values taken as 0.
  static T LumaAlpha(const Pixel& p) {
    const T v = A::mul(T(p.alpha), A::luma(p.red, p.green, p.blue));
    if constexpr (std::is_same_v<T, float>) return v > 1.0f ? 1.0f : (v < 1e-16f ? 0.0f : v);
    return v;
  }
  template <int32_t Kind>
  static T Of(const Pixel& p) {
    switch (Kind) {
      case VX_MatteKind_AlphaInverted:
        return A::inv(T(p.alpha));
      case VX_MatteKind_Luma:
        return LumaAlpha(p);
      case VX_MatteKind_LumaInverted:
        return A::inv(LumaAlpha(p));
      default:
        return p.alpha;
    }
  }
};

// One kind's values for n matte pixels, the kind fixed for the whole row.
template <class Pixel, int32_t Kind>
void MatteValues(uint32_t n, const Pixel* row, Pixel* out, VXp_Isa isa) {
  uint32_t j = 0;
  if constexpr (Kind == VX_MatteKind_Luma || Kind == VX_MatteKind_LumaInverted)
    if (isa >= VXp_Isa::AVX2) j = VXp_LumaMatte_AVX2(n, row, VX_MatteKindInverts(Kind), out);
  for (; j < n; ++j)
    out[j].alpha = static_cast<typename VX_PixelTraits<Pixel>::Channel>(MatteValue<Pixel>::template Of<Kind>(row[j]));
}

template <class Pixel>
void MatteValuesOfKind(int32_t kind, uint32_t n, const Pixel* row, Pixel* out, VXp_Isa isa) {
  switch (kind) {
    case VX_MatteKind_AlphaInverted:
      return MatteValues<Pixel, VX_MatteKind_AlphaInverted>(n, row, out, isa);
    case VX_MatteKind_Luma:
      return MatteValues<Pixel, VX_MatteKind_Luma>(n, row, out, isa);
    case VX_MatteKind_LumaInverted:
      return MatteValues<Pixel, VX_MatteKind_LumaInverted>(n, row, out, isa);
    default:
      return MatteValues<Pixel, VX_MatteKind_Alpha>(n, row, out, isa);
  }
}

}  // namespace

template <class Pixel>
void VXp_PrepMatteRow(uint32_t count, const Pixel* row, int32_t offset, uint32_t width, int32_t matte_kind,
                      Pixel* out, VXp_Isa isa) {
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;
  const Channel fill = VX_MatteKindInverts(matte_kind) ? VX_PixelTraits<Pixel>::kWhite : Channel(0);
  uint32_t lead = 0;
  if (offset < 0) {
    const uint32_t skip = static_cast<uint32_t>(-static_cast<int64_t>(offset));
    row += std::min(skip, width);
    width = width > skip ? width - skip : 0;
  } else {
    lead = static_cast<uint32_t>(offset);
  }
  uint32_t i = 0;
  for (const uint32_t end = std::min(lead, count); i < end; ++i) out[i].alpha = fill;
  const uint32_t n = std::min(count - i, width);
  MatteValuesOfKind(matte_kind, n, row, out + i, isa);
  i += n;
  for (; i < count; ++i) out[i].alpha = fill;
}

template <class Pixel>
const Pixel* VXp_MatteRow(const VX_TrackMatte& m, int32_t x, int32_t y, int32_t count, Pixel* buffer, VXp_Isa isa) {
  const int32_t mx = x - m.offset_x, my = y - m.offset_y;
  auto row = [&](int32_t r) {
    return reinterpret_cast<const Pixel*>(static_cast<const char*>(m.matte.data) +
                                          static_cast<ptrdiff_t>(r) * m.matte.row_stride);
  };
  if (m.matte_kind == VX_MatteKind_Alpha) return row(my) + mx;
  if (my < 0 || my >= m.matte.height) {
    for (int32_t i = 0; i < count; ++i) buffer[i].alpha = VX_PixelTraits<Pixel>::kWhite;
    return buffer;
  }
  VXp_PrepMatteRow<Pixel>(static_cast<uint32_t>(count), row(my), -mx, static_cast<uint32_t>(m.matte.width),
                          m.matte_kind, buffer, isa);
  return buffer;
}

#define VX_MATTE_INSTANTIATE(Pixel)                                                                      \
  template void VXp_PrepMatteRow<Pixel>(uint32_t, const Pixel*, int32_t, uint32_t, int32_t, Pixel*, VXp_Isa); \
  template const Pixel* VXp_MatteRow<Pixel>(const VX_TrackMatte&, int32_t, int32_t, int32_t, Pixel*, VXp_Isa);
VX_MATTE_INSTANTIATE(VX_Pixel8)
VX_MATTE_INSTANTIATE(VX_Pixel16)
VX_MATTE_INSTANTIATE(VX_PixelFloat)

VX_Err VX_PrepTrackMatteUniv(uint32_t count, const void* source_row, int32_t offset, uint32_t width,
                             int32_t matte_kind, bool deep, void* out_row) {
  if (!out_row || (!source_row && width > 0)) return VX_Err_BadParam;
  if (deep)
    VXp_PrepMatteRow(count, static_cast<const VX_Pixel16*>(source_row), offset, width, matte_kind,
                     static_cast<VX_Pixel16*>(out_row), VXp_WidestIsa());
  else
    VXp_PrepMatteRow(count, static_cast<const VX_Pixel8*>(source_row), offset, width, matte_kind,
                     static_cast<VX_Pixel8*>(out_row), VXp_WidestIsa());
  return VX_Err_None;
}
