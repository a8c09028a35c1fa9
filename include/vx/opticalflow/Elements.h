// Element types of the optical-flow textures and the per-channel arithmetic
// every node shares: conversion to the accumulation type, the lerp of
// bilinear sampling, and what "invalid" means for a motion vector.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

// A motion vector. A component equal to the largest finite float marks "no
// vector here"; zero is a real vector.
struct HvVec2 {
  float x, y;
};
constexpr float FnInvalidValue = 3.4028235e38f;
constexpr HvVec2 FnInvalidVector{FnInvalidValue, FnInvalidValue};
inline bool operator==(const HvVec2& a, const HvVec2& b) { return a.x == b.x && a.y == b.y; }
inline bool FnIsInvalid(const HvVec2& v) { return v.x == FnInvalidValue || v.y == FnInvalidValue; }

// Stored pixel layouts. The value arguments: stored minimum, stored maximum,
// the value of full scale, and 1 when the stored type is an integer.
template <class T, int Min, int Max, int Full, int IsInteger>
struct FnARGBBase {
  using Channel = T;
  static constexpr int kMin = Min, kMax = Max, kFull = Full;
  static constexpr bool kInteger = IsInteger != 0;
  T alpha, red, green, blue;
};
template <class T, int Min, int Max, int Full, int IsInteger>
struct FnRGBABase {
  using Channel = T;
  static constexpr int kMin = Min, kMax = Max, kFull = Full;
  static constexpr bool kInteger = IsInteger != 0;
  T red, green, blue, alpha;
};
template <class T, int Min, int Max, int Full, int IsInteger>
struct FnRGBBase {
  using Channel = T;
  static constexpr int kMin = Min, kMax = Max, kFull = Full;
  static constexpr bool kInteger = IsInteger != 0;
  T red, green, blue;
};
template <class Base>
struct FnRGBACol : Base {};
template <class Base>
struct FnRGBCol : Base {};

using FnPixel8 = FnRGBACol<FnARGBBase<unsigned char, 0, 255, 255, 1>>;
using FnPixel16 = FnRGBACol<FnARGBBase<unsigned short, 0, 65535, 65535, 1>>;
using FnPixelF = FnRGBACol<FnARGBBase<float, 0, 1, 1, 0>>;
using FnAccumPixel = FnRGBACol<FnRGBABase<float, 0, 1, 1, 0>>;
using FnWeightRGB = FnRGBCol<FnRGBBase<float, 0, 1, 1, 0>>;

template <class E>
concept FnFourChannel = requires(E e) {
  e.alpha;
  e.red;
  e.green;
  e.blue;
};
template <class E>
concept FnThreeChannel = !FnFourChannel<E> && requires(E e) {
  e.red;
  e.green;
  e.blue;
};

// Applies f channel by channel; the result has Out's layout.
template <class Out, class In, class F>
inline Out FnMap(const In& a, F f) {
  using C = decltype(Out{}.red);
  Out o{};
  if constexpr (FnFourChannel<In>) {
    o.alpha = static_cast<C>(f(a.alpha));
    o.red = static_cast<C>(f(a.red));
    o.green = static_cast<C>(f(a.green));
    o.blue = static_cast<C>(f(a.blue));
  } else {
    o.red = static_cast<C>(f(a.red));
    o.green = static_cast<C>(f(a.green));
    o.blue = static_cast<C>(f(a.blue));
  }
  return o;
}

// Stored element to the element sums are formed in: the channel values as
// floats, in the stored units (conversions to 0..1 belong to the nodes, which
// know the scale).
template <class A, class E>
inline A FnToAccumulate(const E& e) {
  if constexpr (std::is_arithmetic_v<E> || std::is_same_v<E, HvVec2>)
    return static_cast<A>(e);
  else
    return FnMap<A>(e, [](auto c) { return static_cast<float>(c); });
}

// Back to the stored element: integer layouts are rounded to nearest and
// clamped to their stored range.
template <class E, class A>
inline E FnFromAccumulate(const A& a) {
  if constexpr (std::is_arithmetic_v<E> || std::is_same_v<E, HvVec2>) {
    return static_cast<E>(a);
  } else if constexpr (E::kInteger) {
    return FnMap<E>(a, [](float c) {
      if (!(c > float(E::kMin))) return float(E::kMin);
      if (c >= float(E::kMax)) return float(E::kMax);
      return std::trunc(c + 0.5f);
    });
  } else {
    return FnMap<E>(a, [](float c) { return c; });
  }
}

// (r - l) * f + l, channel by channel: the one lerp of bilinear sampling.
inline float FnLerp(float l, float r, float f) { return (r - l) * f + l; }
inline int FnLerp(int l, int r, float f) { return static_cast<int>(float(r - l) * f + float(l)); }
inline HvVec2 FnLerp(const HvVec2& l, const HvVec2& r, float f) {
  return {(r.x - l.x) * f + l.x, (r.y - l.y) * f + l.y};
}
template <class A>
  requires(FnFourChannel<A> || FnThreeChannel<A>)
inline A FnLerp(const A& l, const A& r, float f) {
  A o{};
  o.red = (r.red - l.red) * f + l.red;
  o.green = (r.green - l.green) * f + l.green;
  o.blue = (r.blue - l.blue) * f + l.blue;
  if constexpr (FnFourChannel<A>) o.alpha = (r.alpha - l.alpha) * f + l.alpha;
  return o;
}
