// Converting a world between the three depths. The integer depths share the
// stored encoding; float is linear, reached through the blending tables.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "core/DepthConvert.h"
#include "core/Internal.h"
#include "vx/LinearBlending.h"
#include "vx/World.h"

namespace {

constexpr const char* kUnknownDepth = "Unknown bit depth attempting to depth convert.";
constexpr float kInv32768 = 3.0517578125e-5f;  // 2^-15

// Float colour to a linear 16-bit value: clamped (NaN to 0) and rounded.
inline uint32_t LinearIndex(float c) {
  const double t = c * 32768.0;
  if (!(t >= 0.0)) return 0;
  if (t > 32768.0) return 32768;
  return std::min(static_cast<uint32_t>(t + 0.5), 32768u);  // the bound is for the compiler
}

// One colour channel between depths; the alpha follows the plain rules.
template <class S, class D>
typename VX_PixelTraits<D>::Channel Colour(const VX_LinearBlendingTables* t, typename VX_PixelTraits<S>::Channel c) {
  if constexpr (std::is_same_v<S, VX_PixelFloat>) {
    const uint16_t stored = VX_StoredFromLinear16(*t, LinearIndex(c));
    if constexpr (std::is_same_v<D, VX_Pixel8>) return VX_Convert16To8(stored);
    else return stored;
  } else if constexpr (std::is_same_v<D, VX_PixelFloat>) {
    // 16-bit values above white would index past the table.
    const uint32_t linear = std::is_same_v<S, VX_Pixel8> ? VX_LinearFromStored8(*t, static_cast<uint8_t>(c))
                                                         : VX_LinearFromStored16(*t, c > 32768 ? 32768u : c);
    return static_cast<float>(linear) * kInv32768;
  } else {
    return vxconv::Channel<D, S>(c);
  }
}

template <class S, class D>
typename VX_PixelTraits<D>::Channel Alpha(typename VX_PixelTraits<S>::Channel a) {
  if constexpr (std::is_same_v<S, VX_Pixel8> && std::is_same_v<D, VX_PixelFloat>)
    return a * 0.003921569f;
  else if constexpr (std::is_same_v<S, VX_Pixel16> && std::is_same_v<D, VX_PixelFloat>)
    return a * kInv32768;
  else if constexpr (std::is_same_v<S, VX_PixelFloat>)  // no clamp: the low bits are kept
    return static_cast<typename VX_PixelTraits<D>::Channel>(
        vxconv::TruncToInt(a * static_cast<double>(VX_PixelTraits<D>::kWhite) + 0.5));
  else
    return vxconv::Channel<D, S>(a);
}

template <class S, class D>
void ConvertRows(const VX_LinearBlendingTables* tables, const VX_World* source, VX_World* destination) {
  const auto& s = static_cast<const VX_WorldX<S>&>(*source);
  auto& d = static_cast<VX_WorldX<D>&>(*destination);
  const int32_t width = s.width;
  if constexpr (std::is_same_v<S, D>) {
    for (int32_t y = 0; y < s.height; ++y) std::memmove(d.Row(y), s.Row(y), sizeof(S) * width);
  } else {
    constexpr bool needs_tables = std::is_same_v<S, VX_PixelFloat> || std::is_same_v<D, VX_PixelFloat>;
    if (needs_tables && !tables) {
      KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "Depth conversion to or from float needs linear blending tables.");
      return;
    }
    for (int32_t y = 0; y < s.height; ++y) {
      const S* in = s.Row(y);
      D* out = d.Row(y);
      for (int32_t x = 0; x < width; ++x)
        out[x] = D{Alpha<S, D>(in[x].alpha), Colour<S, D>(tables, in[x].red), Colour<S, D>(tables, in[x].green),
                   Colour<S, D>(tables, in[x].blue)};
    }
  }
}

}  // namespace

void VX_DepthConvertWorld(const VX_LinearBlendingTables* tables, const VX_World* source, VX_World* destination) {
  if (!source || !destination) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "Missing world in VX_DepthConvertWorld.");
    return;
  }
  if (source->width != destination->width || source->height != destination->height) return;
  // Either side unknown: reported, and the destination stays as it was.
  VXp_DispatchDepths(source->Depth(), {kUnknownDepth, 226}, destination->Depth(), {kUnknownDepth, 195},
                     [&](auto s, auto d) { ConvertRows<decltype(s), decltype(d)>(tables, source, destination); });
}
