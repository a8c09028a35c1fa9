// What the algorithms need to know about a pixel type, and the standard
// conversions of one channel value between depths.
#pragma once

#include <cstdint>

#include "vx/Types.h"

template <class Pixel>
struct VX_PixelTraits;

template <>
struct VX_PixelTraits<VX_Pixel8> {
  typedef uint8_t Channel;
  static constexpr int16_t kDepth = 8;
  static constexpr int kDepthIndex = 0;
  static constexpr uint32_t kDepthFlags = VX_DepthFlags_8;
  static constexpr VX_PixelFormat kFormat = VX_PixelFormat_ARGB32;  // the world suite's tag
  static constexpr uint8_t kWhite = 255;
  static constexpr uint8_t kGrey = 128;
};

template <>
struct VX_PixelTraits<VX_Pixel16> {
  typedef uint16_t Channel;
  static constexpr int16_t kDepth = 16;
  static constexpr int kDepthIndex = 1;
  static constexpr uint32_t kDepthFlags = VX_DepthFlags_16;
  static constexpr VX_PixelFormat kFormat = VX_PixelFormat_ARGB64;  // the world suite's tag
  static constexpr uint16_t kWhite = 32768;
  static constexpr uint16_t kGrey = 16384;
};

template <>
struct VX_PixelTraits<VX_PixelFloat> {
  typedef float Channel;
  static constexpr int16_t kDepth = 32;
  static constexpr int kDepthIndex = 2;
  static constexpr uint32_t kDepthFlags = VX_DepthFlags_Float;
  static constexpr VX_PixelFormat kFormat = VX_PixelFormat_ARGB128;  // the world suite's tag
  static constexpr float kWhite = 1.0f;
  static constexpr float kGrey = 0.5f;
};

// Channel conversions between depths.
// 8 -> 16: (v x 32768 + 128) / 255, the same as (v x 0x808080 + 33200) >> 16.
constexpr uint16_t VX_Convert8To16(uint32_t v) { return static_cast<uint16_t>((v * 32768u + 128u) / 255u); }
// 16 -> 8: (v x 255 + 16384) >> 15.
constexpr uint8_t VX_Convert16To8(uint32_t v) { return static_cast<uint8_t>((v * 255u + 16384u) >> 15); }
// 8 -> float: v x (1/255) in double, stored as float.
inline float VX_Convert8ToFloat(uint32_t v) { return static_cast<float>(v * 0.00392156862745098); }
// 16 -> float: v / 32768.
inline float VX_Convert16ToFloat(uint32_t v) { return static_cast<float>(v) * 3.0517578125e-5f; }
// float -> 8: x = v x 255 in float; 0 below 0, 255 above 255, else x + 0.5 truncated.
inline uint8_t VX_ConvertFloatTo8(float v) {
  float x = v * 255.0f;
  if (!(x >= 0.0f)) return 0;  // also NaN
  if (x > 255.0f) return 255;
  return static_cast<uint8_t>(x + 0.5f);
}
// float -> 16: x = v x 32768 in float; 0 below 0, 32768 above, else x + 0.5 truncated.
inline uint16_t VX_ConvertFloatTo16(float v) {
  float x = v * 32768.0f;
  if (!(x >= 0.0f)) return 0;  // also NaN
  if (x > 32768.0f) return 32768;
  return static_cast<uint16_t>(x + 0.5f);
}
