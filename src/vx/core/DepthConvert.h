// Converting pixels between depths: the standard channel rules, the fill
// colour table of the world objects (with its unclamped alpha), and whole
// rows with optional dither.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "core/Internal.h"
#include "vx/PixelTraits.h"

namespace vxconv {

// Truncation toward zero that is defined for every float: NaN gives 0 and
// values beyond the 32-bit range saturate.
inline int32_t TruncToInt(double v) {
  if (!(v == v)) return 0;
  if (v >= 2147483647.0) return std::numeric_limits<int32_t>::max();
  if (v <= -2147483648.0) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(v);
}

// One channel, standard rules (clamping where the target is an integer depth).
template <class To>
typename VX_PixelTraits<To>::Channel Channel8(uint8_t c);
template <>
inline uint8_t Channel8<VX_Pixel8>(uint8_t c) { return c; }
template <>
inline uint16_t Channel8<VX_Pixel16>(uint8_t c) { return VX_Convert8To16(c); }
template <>
inline float Channel8<VX_PixelFloat>(uint8_t c) { return VX_Convert8ToFloat(c); }

template <class To>
typename VX_PixelTraits<To>::Channel Channel16(uint16_t c);
template <>
inline uint8_t Channel16<VX_Pixel8>(uint16_t c) { return VX_Convert16To8(c); }
template <>
inline uint16_t Channel16<VX_Pixel16>(uint16_t c) { return c; }
template <>
inline float Channel16<VX_PixelFloat>(uint16_t c) { return VX_Convert16ToFloat(c); }

template <class To>
typename VX_PixelTraits<To>::Channel ChannelF(float c);
template <>
inline uint8_t ChannelF<VX_Pixel8>(float c) { return VX_ConvertFloatTo8(c); }
template <>
inline uint16_t ChannelF<VX_Pixel16>(float c) { return VX_ConvertFloatTo16(c); }
template <>
inline float ChannelF<VX_PixelFloat>(float c) { return c; }

template <class To, class From>
typename VX_PixelTraits<To>::Channel Channel(typename VX_PixelTraits<From>::Channel c) {
  if constexpr (std::is_same_v<From, VX_Pixel8>)
    return Channel8<To>(c);
  else if constexpr (std::is_same_v<From, VX_Pixel16>)
    return Channel16<To>(c);
  else
    return ChannelF<To>(c);
}

// A whole pixel by the standard rules.
template <class To, class From>
To Pixel(const From& p) {
  return To{Channel<To, From>(p.alpha), Channel<To, From>(p.red), Channel<To, From>(p.green),
            Channel<To, From>(p.blue)};
}

// The fill colour of the world objects. From 16 bits: as the standard rules,
// but float takes c x 2^-15 in float. From float: colours clamp, alpha does
// not: a x white + 0.5 truncated and cut to the channel's bits.
template <class To>
To FillColor(const VX_Pixel16& c) {
  if constexpr (std::is_same_v<To, VX_PixelFloat>) {
    const float k = 3.0517578e-5f;
    return To{c.alpha * k, c.red * k, c.green * k, c.blue * k};
  } else {
    return Pixel<To>(c);
  }
}

template <class To>
To FillColor(const VX_PixelFloat& c) {
  if constexpr (std::is_same_v<To, VX_PixelFloat>) {
    return c;
  } else {
    typedef typename VX_PixelTraits<To>::Channel Ch;
    const float white = static_cast<float>(VX_PixelTraits<To>::kWhite);
    To out = Pixel<To>(c);
    out.alpha = static_cast<Ch>(TruncToInt(c.alpha * white + 0.5f));
    return out;
  }
}

// Dithered channels: the noise takes the place of the fixed rounding term.
inline uint8_t Dither16To8(uint16_t c, uint32_t noise) {
  return static_cast<uint8_t>((static_cast<uint32_t>(c) * 255u + (noise & 0x7FFF)) >> 15);
}
template <class To>
typename VX_PixelTraits<To>::Channel DitherFloat(float v, uint32_t noise) {
  const float white = static_cast<float>(VX_PixelTraits<To>::kWhite);
  const float x = v * white;
  if (!(x >= 0.0f)) return 0;
  if (x > white) return VX_PixelTraits<To>::kWhite;
  return static_cast<typename VX_PixelTraits<To>::Channel>(x + (noise & 0x7FFF) * (1.0f / 32768.0f));
}

}  // namespace vxconv
