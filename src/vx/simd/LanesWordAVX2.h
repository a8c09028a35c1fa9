// The 8-bit arithmetic on sixteen 16-bit lanes: twice the pixels of the
// int32 lanes a step, with the same names (mul, inv, div, lerp, dbl, ...),
// each giving exactly what the scalar form gives. A product of two
// channels (at most 255 x 255) plus its rounding fits an unsigned 16-bit
// lane, so mul and dbl shift logically; mul takes both factors in 0..255.
// Divides and table reads run on the two int32 halves. Include only from
// *_avx2.cpp or *_avx512.cpp.
#pragma once

#include "simd/LanesAVX2.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace lanes {

// Sixteen int16 lanes.
struct W {
  __m256i v;
  W() = default;
  W(__m256i x) : v(x) {}
  W(int32_t c) : v(_mm256_set1_epi16(static_cast<int16_t>(c))) {}
};

VX_INLINE W operator+(W a, W b) { return _mm256_add_epi16(a.v, b.v); }
VX_INLINE W operator-(W a, W b) { return _mm256_sub_epi16(a.v, b.v); }
VX_INLINE W operator*(W a, W b) { return _mm256_mullo_epi16(a.v, b.v); }
VX_INLINE W operator&(W a, W b) { return _mm256_and_si256(a.v, b.v); }
VX_INLINE Mask operator<(W a, W b) { return {_mm256_cmpgt_epi16(b.v, a.v)}; }
VX_INLINE Mask operator>(W a, W b) { return {_mm256_cmpgt_epi16(a.v, b.v)}; }
VX_INLINE Mask operator>=(W a, W b) { return !(a < b); }
VX_INLINE Mask operator<=(W a, W b) { return !(a > b); }
VX_INLINE Mask operator==(W a, W b) { return {_mm256_cmpeq_epi16(a.v, b.v)}; }
VX_INLINE Mask operator!=(W a, W b) { return !(a == b); }
#if defined(__AVX512VL__)
VX_INLINE W Select(Mask c, W a, W b) { return _mm256_mask_blend_epi16(_mm256_test_epi16_mask(c.m, c.m), b.v, a.v); }
#else
VX_INLINE W Select(Mask c, W a, W b) { return _mm256_blendv_epi8(b.v, a.v, c.m); }
#endif

// The lanes as two int32 vectors, sign-extended: per 128 bits, words 0-3
// go to Lower and 4-7 to Upper, which hold pixels 0-7 and 8-15 of a block
// of WordPixels8. Join puts them back (saturating beyond int16).
VX_INLINE V Lower(W x) { return _mm256_unpacklo_epi16(x.v, _mm256_srai_epi16(x.v, 15)); }
VX_INLINE V Upper(W x) { return _mm256_unpackhi_epi16(x.v, _mm256_srai_epi16(x.v, 15)); }
VX_INLINE W Join(V lo, V hi) { return _mm256_packs_epi32(lo.v, hi.v); }
// f applied to the int32 halves of the operands.
template <class F, class... Ws>
VX_INLINE W OnHalves(F f, Ws... x) {
  return Join(f(Lower(x)...), f(Upper(x)...));
}

struct Lanes8W {
  typedef W T;
  static constexpr bool kFloat = false, k8 = true, k16 = false;
  static constexpr int32_t kWhite = 255, kGrey = 128, kWhite2 = 256;
  static VX_INLINE W Min(W a, W b) { return _mm256_min_epi16(a.v, b.v); }
  static VX_INLINE W Max(W a, W b) { return _mm256_max_epi16(a.v, b.v); }
  static VX_INLINE W Abs(W a) { return _mm256_abs_epi16(a.v); }
  static VX_INLINE W Select(Mask c, W a, W b) { return lanes::Select(c, a, b); }
  static VX_INLINE bool Any(Mask m) { return !None(m); }
  // (t + (t >> 8)) >> 8 on an unsigned lane.
  static VX_INLINE W Round(W t) { return _mm256_srli_epi16(_mm256_add_epi16(t.v, _mm256_srli_epi16(t.v, 8)), 8); }
  static VX_INLINE W mul(W a, W b) { return Round(a * b + W(128)); }
  static VX_INLINE W inv(W a) { return W(255) - a; }
  static VX_INLINE W div(W a, W v) {
    return OnHalves([](V x, V y) VX_INLINE_LAMBDA { return Lanes8::div(x, y); }, a, v);
  }
  // The difference c - d is signed. The int32 form's arithmetic shifts
  // round a product -p as -((w + (w >> 8)) >> 8) with w = p + 127, so the
  // magnitude rounds like mul with 127 in place of 128.
  static VX_INLINE W lerp(W d, W c, W a) {
    const W x = c - d;
    const W r = Round(Abs(x) * a + W(128) + W(_mm256_srai_epi16(x.v, 15)));
    return (d + W(_mm256_sign_epi16(r.v, x.v))) & W(0xFF);
  }
  // x is a product of two channels.
  static VX_INLINE W dbl(W x) {
    const W t = x + W(128);
    return W(_mm256_srli_epi16((t + W(_mm256_srli_epi16(t.v, 8))).v, 7)) & W(~1);
  }
  static VX_INLINE W Keep(W x) { return x & W(0xFF); }
#if defined(__AVX512VBMI__)
  // Byte permutes read a 256-entry byte table, where a gather a half costs
  // more than the rest of the blend. Each word's high byte reads entry 0,
  // which is 0, so the words come out whole. x(1 - x) is exactly
  // mul(d, 255 - d) at every d, so only D(x) - x is read. Four 256-bit
  // permutes, not two 512-bit ones: a 512-bit instruction closes one of the
  // three vector ports to everything else in the loop (8-bit soft light on
  // the opaque layer, 14.2 ms with 512-bit permutes, 12.2 ms with these).
  static VX_INLINE W Lookup256(const uint8_t* table, W d) {
    const auto part = [&](int k) VX_INLINE_LAMBDA {
      const __m256i* t = reinterpret_cast<const __m256i*>(table + 64 * k);
      return _mm256_permutex2var_epi8(_mm256_loadu_si256(t), d.v, _mm256_loadu_si256(t + 1));
    };
    const __mmask32 bit6 = _mm256_test_epi8_mask(d.v, _mm256_set1_epi8(0x40));
    const __m256i low = _mm256_mask_blend_epi8(bit6, part(0), part(1));
    const __m256i high = _mm256_mask_blend_epi8(bit6, part(2), part(3));
    return _mm256_mask_blend_epi8(_mm256_movepi8_mask(d.v), low, high);
  }
  static VX_INLINE W SoftLightCurve(Mask dark, W d) {
    return Select(dark, mul(d, inv(d)), Lookup256(VXp_G_SoftLightA_8, d));
  }
#else
  static VX_INLINE W SoftLightCurve(Mask dark, W d) {
    return OnHalves([](V k, V x) VX_INLINE_LAMBDA { return Lanes8::SoftLightCurve(Mask(k.v), x); }, W(dark.m), d);
  }
#endif

  // The recolour steps. Colours there reach +-1024, so luma's weighted sum
  // and the products that are divided are formed on the int32 halves.
  static VX_INLINE W luma(W r, W g, W b) {
    const __m256i rg = _mm256_set1_epi32((19235 << 16) | 9798), bk = _mm256_set1_epi32((16384 << 16) | 3735);
    const auto half = [&](__m256i x, __m256i y) VX_INLINE_LAMBDA {
      return V(_mm256_add_epi32(_mm256_madd_epi16(x, rg), _mm256_madd_epi16(y, bk))) >> 15;
    };
    const __m256i one = _mm256_set1_epi16(1);
    return Join(half(_mm256_unpacklo_epi16(r.v, g.v), _mm256_unpacklo_epi16(b.v, one)),
                half(_mm256_unpackhi_epi16(r.v, g.v), _mm256_unpackhi_epi16(b.v, one)));
  }
  static VX_INLINE W Luma(const LanePixel<W>& p) { return luma(p.red, p.green, p.blue); }
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
    W den, below, R;
    explicit Divisor(W d) : den(d), below(d - W(1)) {
      const __m256i zero = _mm256_setzero_si256();
      const auto reciprocal = [](__m256i x) VX_INLINE_LAMBDA {
        return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_set1_ps(65536.0f), _mm256_cvtepi32_ps(x)));
      };
      R = _mm256_packus_epi32(reciprocal(_mm256_unpacklo_epi16(d.v, zero)),
                              reciprocal(_mm256_unpackhi_epi16(d.v, zero)));
    }
    // |n| / den for n = |a| x b, taken as unsigned.
    VX_INLINE W Unsigned(W n) const {
      const W q = _mm256_mulhi_epu16(n.v, R.v);
      return q - W((n - q * den > below).m);
    }
    VX_INLINE W Scaled(W a, W b) const { return _mm256_sign_epi16(Unsigned(Abs(a) * b).v, a.v); }
  };
  static VX_INLINE Divisor DivideBy(W den) { return Divisor(den); }
  // a x b / den truncated, for a, b in 0..255 and a quotient within 0..255
  // (saturation's). A reciprocal estimate puts the float quotient within
  // 0.1 of it; the remainder, below 2 den in size, is exact in a 16-bit
  // lane, and one step on it corrects the truncated estimate. (Shorter in
  // latency than the divisor's exact reciprocal, which matters here: the
  // recolour steps are one long chain.)
  static VX_INLINE W ScaledQuot(W a, W b, W den) {
    const W n = a * b;
    const __m256i zero = _mm256_setzero_si256();
    const auto estimate = [](__m256i x, __m256i y) VX_INLINE_LAMBDA {
      const __m256 f = _mm256_cvtepi32_ps(x), g = _mm256_cvtepi32_ps(y);
      return V(_mm256_cvttps_epi32(_mm256_mul_ps(f, _mm256_rcp_ps(g))));
    };
    W q = Join(estimate(_mm256_unpacklo_epi16(n.v, zero), _mm256_unpacklo_epi16(den.v, zero)),
               estimate(_mm256_unpackhi_epi16(n.v, zero), _mm256_unpackhi_epi16(den.v, zero)));
    const W rem = n - q * den;
    return q + W((rem < W(0)).m) - W((rem >= den).m);
  }
};

// Sixteen 8-bit pixels to four channel vectors of 16-bit lanes and back.
// The lanes hold pixels 0-3, 8-11, 4-7, 12-15, the order the unpacks leave
// them in; every operand is loaded alike, and Store undoes it.
struct WordPixels8 {
  typedef Lanes8W M;
  static constexpr int32_t kPixels = 16;
  // Per 128 bits, four pixels a r g b to a a a a r r r r ..., and back.
  static VX_INLINE __m256i Transpose(__m256i x) {
    const __m128i order = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm256_shuffle_epi8(x, _mm256_broadcastsi128_si256(order));
  }
  static VX_INLINE void Load(const VX_Pixel8* p, W c[4]) {
    const __m256i y0 = Transpose(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    const __m256i y1 = Transpose(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 8)));
    const __m256i ar = _mm256_unpacklo_epi32(y0, y1), gb = _mm256_unpackhi_epi32(y0, y1);
    const __m256i zero = _mm256_setzero_si256();
    c[0] = _mm256_unpacklo_epi8(ar, zero);
    c[1] = _mm256_unpackhi_epi8(ar, zero);
    c[2] = _mm256_unpacklo_epi8(gb, zero);
    c[3] = _mm256_unpackhi_epi8(gb, zero);
  }
  // Values are already kept to 8 bits.
  static VX_INLINE void Store(VX_Pixel8* p, const W c[4]) {
    const __m256i ar = _mm256_packus_epi16(c[0].v, c[1].v), gb = _mm256_packus_epi16(c[2].v, c[3].v);
    const __m256i t0 = _mm256_unpacklo_epi32(ar, gb), t1 = _mm256_unpackhi_epi32(ar, gb);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), Transpose(_mm256_unpacklo_epi32(t0, t1)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 8), Transpose(_mm256_unpackhi_epi32(t0, t1)));
  }
};

}  // namespace lanes
}  // namespace VX_ISA_NS
}  // namespace vx
