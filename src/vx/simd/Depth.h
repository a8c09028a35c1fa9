// The arithmetic of each depth on lanes, with the names of the scalar forms
// (mul, inv, div, lerp, dbl, Keep, Min, Max, Select, luma, ...), so that a
// mode's formula, written once over its arithmetic M, runs on one pixel or
// on a register of pixels. Every operation gives, lane by lane, exactly what
// its scalar form in ChannelMath.h gives; each has one algorithm here.
//   Depth8<B>   8 bits on int32 lanes
//   Depth8W<B>  8 bits on int16 lanes: twice the pixels a register
//   Depth16<B>  16 bits (white 32768) on int32 lanes
//   DepthF<B>   float
#pragma once

#include "simd/Lanes.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

// What the integer depths on int32 lanes share.
template <int B>
struct IntDepth {
  typedef I32<B> T;
  typedef F32<B> F;
  static constexpr bool kFloat = false;
  static VX_INLINE T Min(T a, T b) { return simd::Min(a, b); }
  static VX_INLINE T Max(T a, T b) { return simd::Max(a, b); }
  static VX_INLINE T Abs(T a) { return simd::Abs(a); }
  static VX_INLINE T Select(Mask<B> c, T a, T b) { return simd::Select(c, a, b); }
  static VX_INLINE bool Any(Mask<B> m) { return !None(m); }
  static VX_INLINE T luma(T r, T g, T b) { return (r * T(9798) + g * T(19235) + b * T(3735) + T(16384)) >> 15; }
  static VX_INLINE T Luma(const LanePixel<T>& p) { return luma(p.red, p.green, p.blue); }
  // q within one of a / den (a >= 0, den > 0) moved to the truncated
  // quotient by its remainder.
  static VX_INLINE T Correct(T a, T q, T den) {
    const T rem = a - q * den;
    return q + T(rem < T(0)) - T(rem >= den);
  }
  // Quotients n / den truncated, for several n by one den != 0: one divide
  // for the reciprocal of |den|, then for each n a float product and a step
  // on the exact remainder. Three roundings leave the product within 2^-22
  // of the quotient relatively, so within one of it for quotients below
  // 2^20 (the recolour clips' stay below 2^17), whatever the int32 n.
  struct Divisor {
    T den, size;
    F r;
    explicit Divisor(T d) : den(d), size(simd::Abs(d)), r(F(1.0f) / ToFloat(size)) {}
    VX_INLINE T operator()(T n) const {
      const T a = simd::Abs(n);
      const T q = Truncate(ToFloat(a) * r);
      return SignOf(SignOf(Correct(a, q, size), n), den);
    }
  };
  static VX_INLINE Divisor DivideBy(T den) { return Divisor(den); }
};

// The 8-bit divide, (v x 255 + (a >> 1)) / a for v < a, on any lanes: one
// reciprocal R = floor(65536 / a) per divisor (the correctly rounded float
// quotient is within 2^-9 of 65536 / a, closer than a quotient by a <= 512
// that isn't whole comes to a whole number, so it truncates to the floor),
// then the high half of n x R, which is the quotient or one below it, and
// one step on the remainder, below 2a. A divisor made once serves every
// numerator over it (a pixel's three colours, say).
template <class T>
struct ByteDivisor;

template <int B>
VX_INLINE I32<B> ByteReciprocal(I32<B> a) {
  return Truncate(F32<B>(65536.0f) / ToFloat(a));
}

template <int B>
struct ByteDivisor<I32<B>> {
  typedef I32<B> T;
  T den, R;
  explicit ByteDivisor(T a) : den(a), R(ByteReciprocal(a)) {}
  VX_INLINE T Quotient(T v) const {
    const T n = v * T(255) + (den >> 1);
    const T q = Srl(n * R, 16);
    return q - T(n - q * den >= den);
  }
};

// On words, R saturates at 65535 for a = 1, where the one step still lands
// on the quotient.
template <int B>
struct ByteDivisor<I16<B>> {
  typedef I16<B> T;
  T den, R;
  ByteDivisor(T a, T r) : den(a), R(r) {}
  explicit ByteDivisor(T a)
      : den(a),
        R(JoinUnsigned(Min(ByteReciprocal(LowerUnsigned(a)), I32<B>(65535)),
                       Min(ByteReciprocal(UpperUnsigned(a)), I32<B>(65535)))) {}
  VX_INLINE T Quotient(T v) const {
    const T n = v * T(255) + Srl(den, 1);
    const T q = MulHigh(n, R);
    return q - T(n - q * den > den - T(1));
  }
};

template <int B>
struct Depth8 : IntDepth<B> {
  typedef I32<B> T;
  static constexpr bool k8 = true, k16 = false;
  static constexpr int32_t kWhite = 255, kGrey = 128, kWhite2 = 256;
  static VX_INLINE T mul(T a, T b) {
    const T t = a * b + T(128);
    return (t + (t >> 8)) >> 8;
  }
  static VX_INLINE T inv(T a) { return T(255) - a; }
  // 255 where v >= a, else (v x 255 + (a >> 1)) / a: the divide table's.
  static VX_INLINE T div(T a, T v) { return Select(v >= a, T(255), ByteDivisor<T>(a).Quotient(v)); }
  static VX_INLINE T lerp(T d, T c, T a) { return (d + mul(c - d, a)) & T(0xFF); }
  static VX_INLINE T dbl(T x) { return (((((x + T(128)) >> 8) + x + T(128)) >> 7) & T(~1)); }
  static VX_INLINE T Keep(T x) { return x & T(0xFF); }
  static VX_INLINE T Union(T a, T b) { return inv(mul(inv(a), inv(b))); }
  // a / b truncated: every numerator is below 2^23 and numerator plus
  // divisor below 2^24, so the correctly rounded float quotient truncates to
  // the integer one.
  static VX_INLINE T Quot(T a, T b) { return Truncate(ToFloat(a) / ToFloat(b)); }
  using IntDepth<B>::Select;
};

template <int B>
struct Depth16 : IntDepth<B> {
  typedef I32<B> T;
  static constexpr bool k8 = false, k16 = true;
  static constexpr int32_t kWhite = 32768, kGrey = 16384, kWhite2 = 32768;
  static VX_INLINE T mul(T a, T b) { return (a * b + T(16383)) >> 15; }
  static VX_INLINE T inv(T a) { return T(32768) - a; }
  // Below a the quotient is under 2^15 and the float estimate within one of
  // it; one step on the exact remainder corrects it.
  static VX_INLINE T div(T a, T v) {
    const T n = (v << 15) + (a >> 1);
    const T q = Truncate(ToFloat(n) / ToFloat(a));
    const T r = n - q * a;
    return Select(v >= a, T(32768), q + T(r < T(0)) - T(r >= a));
  }
  static VX_INLINE T lerp(T d, T c, T a) { return d + (((c - d) * a) >> 15); }
  static VX_INLINE T dbl(T x) { return ((x + T(16383)) >> 14) & T(~1); }
  static VX_INLINE T Keep(T x) { return x & T(0xFFFF); }
  static VX_INLINE T Union(T a, T b) { return inv(mul(inv(a), inv(b))); }
  // a / b truncated for any int32 pair.
  static VX_INLINE T Quot(T a, T b) { return ExactQuotient(a, b); }
  // a x b / den truncated, for a product in 0..2^31 - 1 and a quotient below
  // 2^16, as saturation forms them: the float quotient is within one of it,
  // and a step on the exact remainder corrects it.
  static VX_INLINE T ScaledQuot(T a, T b, T den) {
    const T n = a * b;
    return IntDepth<B>::Correct(n, Truncate(ToFloat(n) / ToFloat(den)), den);
  }
  using IntDepth<B>::Select;
};

// Float: no clamps; a zero or denormal divisor gives 1.0.
template <int B>
struct DepthF {
  typedef F32<B> T;
  static constexpr bool kFloat = true, k8 = false, k16 = false;
  static constexpr float kWhite = 1.0f, kGrey = 0.5f, kWhite2 = 1.0f;
  static VX_INLINE Mask<B> Tiny(T a) { return (Bits(a) & I32<B>(0x7F800000)) == I32<B>(0); }
  static VX_INLINE T mul(T a, T b) { return a * b; }
  static VX_INLINE T inv(T a) { return T(1.0f) - a; }
  static VX_INLINE T div(T a, T v) { return simd::Select(Tiny(a), T(1.0f), v / a); }
  static VX_INLINE T lerp(T d, T c, T a) { return d + (c - d) * a; }
  static VX_INLINE T dbl(T x) { return T(2.0f) * x; }
  static VX_INLINE T Keep(T x) { return x; }
  static VX_INLINE T Union(T a, T b) { return inv(mul(inv(a), inv(b))); }
  static VX_INLINE T Min(T a, T b) { return simd::Min(a, b); }
  static VX_INLINE T Max(T a, T b) { return simd::Max(a, b); }
  static VX_INLINE T Abs(T a) { return simd::Select(a < T(0.0f), -a, a); }
  static VX_INLINE T Select(Mask<B> c, T a, T b) { return simd::Select(c, a, b); }
  static VX_INLINE bool Any(Mask<B> m) { return !None(m); }
  static VX_INLINE T Quot(T a, T b) { return a / b; }
  static VX_INLINE T luma(T r, T g, T b) { return r * T(0.299f) + g * T(0.587f) + b * T(0.114f); }
  static VX_INLINE T Luma(const LanePixel<T>& p) { return luma(p.red, p.green, p.blue); }
};

// f applied to the int32 halves of word operands, sign-extended.
template <class Fn, int B, class... Ws>
VX_INLINE I16<B> OnHalves(Fn f, I16<B> x, Ws... more) {
  return Join(f(Lower(x), Lower(more)...), f(Upper(x), Upper(more)...));
}

// 8 bits on int16 lanes. A product of two channels (at most 255 x 255) plus
// its rounding fits an unsigned 16-bit lane, so mul and dbl shift
// logically; mul takes both factors in 0..255. Divides and table reads run
// on the int32 halves.
template <int B>
struct Depth8W {
  typedef I16<B> T;
  typedef I32<B> Wide;
  static constexpr bool kFloat = false, k8 = true, k16 = false;
  static constexpr int32_t kWhite = 255, kGrey = 128, kWhite2 = 256;
  static VX_INLINE T Min(T a, T b) { return simd::Min(a, b); }
  static VX_INLINE T Max(T a, T b) { return simd::Max(a, b); }
  static VX_INLINE T Abs(T a) { return simd::Abs(a); }
  static VX_INLINE T Select(Mask<B> c, T a, T b) { return simd::Select(c, a, b); }
  static VX_INLINE bool Any(Mask<B> m) { return !None(m); }
  // (t + (t >> 8)) >> 8 on an unsigned lane.
  static VX_INLINE T Round(T t) { return Srl(t + Srl(t, 8), 8); }
  static VX_INLINE T mul(T a, T b) { return Round(a * b + T(128)); }
  static VX_INLINE T inv(T a) { return T(255) - a; }
  static VX_INLINE T div(T a, T v) { return Select(v >= a, T(255), ByteDivisor<T>(a).Quotient(v)); }
  // The difference c - d is signed. The int32 form's arithmetic shifts
  // round a product -p as -((w + (w >> 8)) >> 8) with w = p + 127, so the
  // magnitude rounds like mul with 127 in place of 128.
  static VX_INLINE T lerp(T d, T c, T a) {
    const T x = c - d;
    const T r = Round(simd::Abs(x) * a + T(128) + (x >> 15));
    return (d + SignOf(r, x)) & T(0xFF);
  }
  // x is a product of two channels.
  static VX_INLINE T dbl(T x) {
    const T t = x + T(128);
    return Srl(t + Srl(t, 8), 7) & T(~1);
  }
  static VX_INLINE T Keep(T x) { return x & T(0xFF); }
  static VX_INLINE T Union(T a, T b) { return inv(mul(inv(a), inv(b))); }

  // The recolour steps. Colours there reach +-1024, so luma's weighted sum
  // and the products that are divided are formed on the int32 halves.
  static VX_INLINE T luma(T r, T g, T b) {
    const T rg = InterleaveLow(T(9798), T(19235)), bk = InterleaveLow(T(3735), T(16384));
    const auto half = [&](T x, T y) VX_INLINE_LAMBDA { return (MulAddPairs(x, rg) + MulAddPairs(y, bk)) >> 15; };
    return Join(half(InterleaveLow(r, g), InterleaveLow(b, T(1))), half(InterleaveHigh(r, g), InterleaveHigh(b, T(1))));
  }
  static VX_INLINE T Luma(const LanePixel<T>& p) { return luma(p.red, p.green, p.blue); }
  // Products a x b divided by one den in 1..512, truncated toward zero, for
  // |a| x b below 2^16 and quotients below 2^15 (the recolour steps':
  // saturation's a x b / top, and the clip pulls', whose |c - L| and k stay
  // within 255 and den within 510). R = floor(65536 / den): the float
  // quotient is within 2^-9 of 65536 / den, closer than any non-integer
  // quotient by den <= 512 comes to an integer, so it truncates to the
  // floor (den = 1 saturates to 65535). Then the high half of |a| b x R is
  // the quotient or one below it, and the remainder, below 2 den, is exact
  // in a 16-bit lane and says which.
  struct Divisor {
    T den, below, R;
    explicit Divisor(T d) : den(d), below(d - T(1)) {
      const auto reciprocal = [](Wide x) VX_INLINE_LAMBDA { return Truncate(F32<B>(65536.0f) / ToFloat(x)); };
      R = JoinUnsigned(reciprocal(LowerUnsigned(d)), reciprocal(UpperUnsigned(d)));
    }
    // |n| / den for n = |a| x b, taken as unsigned.
    VX_INLINE T Unsigned(T n) const {
      const T q = MulHigh(n, R);
      return q - T(n - q * den > below);
    }
    VX_INLINE T Scaled(T a, T b) const { return SignOf(Unsigned(simd::Abs(a) * b), a); }
  };
  static VX_INLINE Divisor DivideBy(T den) { return Divisor(den); }
  // a x b / den truncated, for a, b in 0..255 and a quotient within 0..255
  // (saturation's). A reciprocal estimate puts the float quotient within 0.1
  // of it; the remainder, below 2 den in size, is exact in a 16-bit lane,
  // and one step on it corrects the truncated estimate. (Shorter in latency
  // than the divisor's exact reciprocal, which matters here: the recolour
  // steps are one long chain.)
  static VX_INLINE T ScaledQuot(T a, T b, T den) {
    const T n = a * b;
    const auto estimate = [](Wide x, Wide y) VX_INLINE_LAMBDA { return Truncate(ToFloat(x) * Reciprocal(ToFloat(y))); };
    const T q = Join(estimate(LowerUnsigned(n), LowerUnsigned(den)), estimate(UpperUnsigned(n), UpperUnsigned(den)));
    const T rem = n - q * den;
    return q + T(rem < T(0)) - T(rem >= den);
  }
};

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx
