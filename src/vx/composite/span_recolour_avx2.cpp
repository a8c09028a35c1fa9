// The recolour modes, eight pixels a step at each depth: the modes' own
// formulas (XferOp::Triple and XferRecolourMath) run on lanes of 8 x int32
// or 8 x float, one channel of eight pixels a lane vector.
//
// Quotients: at 8 bits every numerator is below 2^23 and numerator plus
// divisor below 2^24, so the correctly rounded float quotient truncates to
// the integer one; at 16 bits the int32 products (wrapped as the scalar
// products are) divide in double, exact for any int32 pair.
#include <immintrin.h>

#include "composite/SpanKernels.h"
#include "composite/SpanVector.h"

namespace {

struct Mask {
  __m256i m;
  Mask(__m256i x) : m(x) {}
  explicit Mask(bool b) : m(_mm256_set1_epi32(b ? -1 : 0)) {}
};
inline Mask operator&&(Mask a, Mask b) { return _mm256_and_si256(a.m, b.m); }
inline Mask operator||(Mask a, Mask b) { return _mm256_or_si256(a.m, b.m); }
inline Mask operator!(Mask a) { return _mm256_xor_si256(a.m, _mm256_set1_epi32(-1)); }

// Eight int32 lanes.
struct V {
  __m256i v;
  V() = default;
  V(__m256i x) : v(x) {}
  V(int32_t c) : v(_mm256_set1_epi32(c)) {}
};
inline V operator+(V a, V b) { return _mm256_add_epi32(a.v, b.v); }
inline V operator-(V a, V b) { return _mm256_sub_epi32(a.v, b.v); }
inline V operator*(V a, V b) { return _mm256_mullo_epi32(a.v, b.v); }
inline V operator>>(V a, int n) { return _mm256_srai_epi32(a.v, n); }
inline V operator&(V a, V b) { return _mm256_and_si256(a.v, b.v); }
inline Mask operator<(V a, V b) { return _mm256_cmpgt_epi32(b.v, a.v); }
inline Mask operator>(V a, V b) { return _mm256_cmpgt_epi32(a.v, b.v); }
inline Mask operator<=(V a, V b) { return !(a > b); }
inline Mask operator==(V a, V b) { return _mm256_cmpeq_epi32(a.v, b.v); }
inline Mask operator!=(V a, V b) { return !(a == b); }

// Eight float lanes; comparisons keep C's meaning for NaN.
struct F {
  __m256 v;
  F() = default;
  F(__m256 x) : v(x) {}
  F(float c) : v(_mm256_set1_ps(c)) {}
};
inline F operator+(F a, F b) { return _mm256_add_ps(a.v, b.v); }
inline F operator-(F a, F b) { return _mm256_sub_ps(a.v, b.v); }
inline F operator*(F a, F b) { return _mm256_mul_ps(a.v, b.v); }
inline F operator/(F a, F b) { return _mm256_div_ps(a.v, b.v); }
template <int Op>
inline Mask Compare(F a, F b) {
  return _mm256_castps_si256(_mm256_cmp_ps(a.v, b.v, Op));
}
inline Mask operator<(F a, F b) { return Compare<_CMP_LT_OQ>(a, b); }
inline Mask operator>(F a, F b) { return Compare<_CMP_GT_OQ>(a, b); }
inline Mask operator<=(F a, F b) { return Compare<_CMP_LE_OQ>(a, b); }
inline Mask operator==(F a, F b) { return Compare<_CMP_EQ_OQ>(a, b); }
inline Mask operator!=(F a, F b) { return Compare<_CMP_NEQ_UQ>(a, b); }

template <class T>
struct LanePixel {
  T alpha, red, green, blue;
};

inline bool AnyOf(Mask m) { return !_mm256_testz_si256(m.m, m.m); }
inline bool AllOf(Mask m) { return _mm256_movemask_epi8(m.m) == -1; }

// The integer arithmetic both integer depths share.
struct LanesInt {
  typedef V T;
  static constexpr bool kFloat = false;
  static V Min(V a, V b) { return _mm256_min_epi32(a.v, b.v); }
  static V Max(V a, V b) { return _mm256_max_epi32(a.v, b.v); }
  static V Select(Mask c, V a, V b) { return _mm256_blendv_epi8(b.v, a.v, c.m); }
  static bool Any(Mask m) { return AnyOf(m); }
  static V luma(V r, V g, V b) { return (r * V(9798) + g * V(19235) + b * V(3735) + V(16384)) >> 15; }
  static V Luma(const LanePixel<V>& p) { return luma(p.red, p.green, p.blue); }
};

struct Lanes8 : LanesInt {
  static constexpr bool k8 = true, k16 = false;
  static constexpr int32_t kWhite = 255;
  static V mul(V a, V b) {
    const V t = a * b + V(128);
    return (t + (t >> 8)) >> 8;
  }
  static V lerp(V d, V c, V a) { return (d + mul(c - d, a)) & V(0xFF); }
  static V Narrow16(V x) { return _mm256_srai_epi32(_mm256_slli_epi32(x.v, 16), 16); }
  static V Quot(V a, V b) {
    return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(a.v), _mm256_cvtepi32_ps(b.v)));
  }
};

struct Lanes16 : LanesInt {
  static constexpr bool k8 = false, k16 = true;
  static constexpr int32_t kWhite = 32768;
  static V mul(V a, V b) { return (a * b + V(16383)) >> 15; }
  static V lerp(V d, V c, V a) { return d + (((c - d) * a) >> 15); }
  static V Quot(V a, V b) {
    const __m256d lo = _mm256_div_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(a.v)),
                                     _mm256_cvtepi32_pd(_mm256_castsi256_si128(b.v)));
    const __m256d hi = _mm256_div_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(a.v, 1)),
                                     _mm256_cvtepi32_pd(_mm256_extracti128_si256(b.v, 1)));
    return _mm256_set_m128i(_mm256_cvttpd_epi32(hi), _mm256_cvttpd_epi32(lo));
  }
};

// Float: the same operations in the same order as the scalar forms; Min and
// Max return what std::min and std::max would for NaN and signed zeros.
struct LanesF {
  typedef F T;
  static constexpr bool kFloat = true, k8 = false, k16 = false;
  static constexpr float kWhite = 1.0f;
  static F mul(F a, F b) { return a * b; }
  static F lerp(F d, F c, F a) { return d + (c - d) * a; }
  static F luma(F r, F g, F b) { return r * F(0.299f) + g * F(0.587f) + b * F(0.114f); }
  static F Luma(const LanePixel<F>& p) { return luma(p.red, p.green, p.blue); }
  static F Min(F a, F b) { return _mm256_min_ps(b.v, a.v); }
  static F Max(F a, F b) { return _mm256_max_ps(b.v, a.v); }
  static F Select(Mask c, F a, F b) { return _mm256_blendv_ps(b.v, a.v, _mm256_castsi256_ps(c.m)); }
  static bool Any(Mask m) { return AnyOf(m); }
  static F Quot(F a, F b) { return a / b; }
};

// Loading eight pixels into channel lanes and storing them back.
template <class Pixel>
struct IO;

template <>
struct IO<VX_Pixel8> {
  typedef Lanes8 L;
  static V Channel(V v, int shift) { return _mm256_srli_epi32(v.v, shift) & V(0xFF); }
  static void Load(const VX_Pixel8* p, LanePixel<V>& q) {
    const V v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    q = {v & V(0xFF), Channel(v, 8), Channel(v, 16), Channel(v, 24)};
  }
  static V Alpha(const VX_Pixel8* p) { return V(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))) & V(0xFF); }
  static void Store(const LanePixel<V>& q, VX_Pixel8* p) {
    const __m256i byte = _mm256_set1_epi32(0xFF);
    __m256i v = _mm256_and_si256(q.alpha.v, byte);
    v = _mm256_or_si256(v, _mm256_slli_epi32(_mm256_and_si256(q.red.v, byte), 8));
    v = _mm256_or_si256(v, _mm256_slli_epi32(_mm256_and_si256(q.green.v, byte), 16));
    v = _mm256_or_si256(v, _mm256_slli_epi32(q.blue.v, 24));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
  }
};

// Each pixel is two dwords (alpha|red, green|blue); they are gathered into
// one vector of eight alpha|red and one of eight green|blue.
template <>
struct IO<VX_Pixel16> {
  typedef Lanes16 L;
  static void Load(const VX_Pixel16* p, LanePixel<V>& q) {
    const __m256i split = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    const __m256i a = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)), split);
    const __m256i b = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 4)), split);
    const V ar = _mm256_permute2x128_si256(a, b, 0x20), gb = _mm256_permute2x128_si256(a, b, 0x31);
    q = {ar & V(0xFFFF), _mm256_srli_epi32(ar.v, 16), gb & V(0xFFFF), _mm256_srli_epi32(gb.v, 16)};
  }
  static V Alpha(const VX_Pixel16* p) {
    LanePixel<V> q;
    Load(p, q);
    return q.alpha;
  }
  static void Store(const LanePixel<V>& q, VX_Pixel16* p) {
    const V low(0xFFFF);
    const __m256i ar = _mm256_or_si256((q.alpha & low).v, _mm256_slli_epi32((q.red & low).v, 16));
    const __m256i gb = _mm256_or_si256((q.green & low).v, _mm256_slli_epi32(q.blue.v, 16));
    const __m256i join = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p),
                        _mm256_permutevar8x32_epi32(_mm256_permute2x128_si256(ar, gb, 0x20), join));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 4),
                        _mm256_permutevar8x32_epi32(_mm256_permute2x128_si256(ar, gb, 0x31), join));
  }
};

// A 4 x 8 transpose: pixels i and i + 4 share a register, then each 128-bit
// half is transposed as 4 x 4.
template <>
struct IO<VX_PixelFloat> {
  typedef LanesF L;
  static void Load(const VX_PixelFloat* p, LanePixel<F>& q) {
    const float* f = &p->alpha;
    const __m256 r0 = _mm256_loadu_ps(f), r1 = _mm256_loadu_ps(f + 8), r2 = _mm256_loadu_ps(f + 16),
                 r3 = _mm256_loadu_ps(f + 24);
    const __m256 t0 = _mm256_permute2f128_ps(r0, r2, 0x20), t1 = _mm256_permute2f128_ps(r0, r2, 0x31),
                 t2 = _mm256_permute2f128_ps(r1, r3, 0x20), t3 = _mm256_permute2f128_ps(r1, r3, 0x31);
    const __m256 u0 = _mm256_unpacklo_ps(t0, t1), u1 = _mm256_unpackhi_ps(t0, t1), u2 = _mm256_unpacklo_ps(t2, t3),
                 u3 = _mm256_unpackhi_ps(t2, t3);
    q = {_mm256_shuffle_ps(u0, u2, 0x44), _mm256_shuffle_ps(u0, u2, 0xEE), _mm256_shuffle_ps(u1, u3, 0x44),
         _mm256_shuffle_ps(u1, u3, 0xEE)};
  }
  static F Alpha(const VX_PixelFloat* p) {
    LanePixel<F> q;
    Load(p, q);
    return q.alpha;
  }
  static void Store(const LanePixel<F>& q, VX_PixelFloat* p) {
    const __m256 u0 = _mm256_unpacklo_ps(q.alpha.v, q.red.v), u1 = _mm256_unpackhi_ps(q.alpha.v, q.red.v),
                 u2 = _mm256_unpacklo_ps(q.green.v, q.blue.v), u3 = _mm256_unpackhi_ps(q.green.v, q.blue.v);
    const __m256 t0 = _mm256_shuffle_ps(u0, u2, 0x44), t1 = _mm256_shuffle_ps(u0, u2, 0xEE),
                 t2 = _mm256_shuffle_ps(u1, u3, 0x44), t3 = _mm256_shuffle_ps(u1, u3, 0xEE);
    float* f = &p->alpha;
    _mm256_storeu_ps(f, _mm256_permute2f128_ps(t0, t1, 0x20));
    _mm256_storeu_ps(f + 8, _mm256_permute2f128_ps(t2, t3, 0x20));
    _mm256_storeu_ps(f + 16, _mm256_permute2f128_ps(t0, t1, 0x31));
    _mm256_storeu_ps(f + 24, _mm256_permute2f128_ps(t2, t3, 0x31));
  }
};

template <class Pixel>
using Lane = typename IO<Pixel>::L::T;

// Eight pixels: the source alpha after opacity and mask, the behind stage
// (per pixel, only where the destination isn't opaque), then the mode's
// triple mixed in where the scaled alpha isn't 0.
template <class Pixel, int32_t Mode, bool Scale, bool HasMask, bool Behind>
inline void Block(const Pixel* src, const Pixel* mask, Lane<Pixel> opacity, bool keep, Pixel* dst) {
  typedef IO<Pixel> io;
  typedef typename io::L L;
  typedef typename L::T T;
  typedef vx::XferRecolourMath<Pixel, L> R;
  LanePixel<T> s;
  io::Load(src, s);
  T sa = s.alpha;
  if (Scale) sa = L::mul(sa, opacity);
  if (HasMask) sa = L::mul(sa, io::Alpha(mask));
  const Mask none = sa == T(0);
  if (AllOf(none)) return;
  if constexpr (Behind) {
    if (AnyOf(!none && io::Alpha(dst) != T(L::kWhite))) {
      alignas(32) typename vx::Arith<Pixel>::T alpha[8];
      std::memcpy(alpha, &sa.v, sizeof alpha);
      for (int j = 0; j < 8; ++j)
        if (alpha[j] != 0) vx::BehindPixel(src[j], alpha[j], keep, dst[j]);
    }
  }
  LanePixel<T> d;
  io::Load(dst, d);
  T c[3];
  const Mask mixes = vx::XferOp<Mode, Pixel, L>::Triple(s, d, d, c) && !none;
  R::Mix(c, sa, mixes, d);
  io::Store(d, dst);
}

template <class Pixel, int32_t Mode, bool Scale, bool HasMask, bool Behind>
VX_Err Run(int32_t count, const Pixel* src, const Pixel* mask, Lane<Pixel> opacity, bool keep, Pixel* dst) {
  int32_t i = 0;
  for (; i + 8 <= count; i += 8)
    Block<Pixel, Mode, Scale, HasMask, Behind>(src + i, HasMask ? mask + i : nullptr, opacity, keep, dst + i);
  if (i == count) return VX_Err_None;
  // The last few pixels through a padded block: padding has alpha 0.
  Pixel s[8] = {}, m[8] = {}, d[8] = {};
  const int32_t n = count - i;
  for (int32_t j = 0; j < n; ++j) {
    s[j] = src[i + j];
    d[j] = dst[i + j];
    if (HasMask) m[j] = mask[i + j];
  }
  Block<Pixel, Mode, Scale, HasMask, Behind>(s, m, opacity, keep, d);
  for (int32_t j = 0; j < n; ++j) dst[i + j] = d[j];
  return VX_Err_None;
}

template <class Pixel, int32_t Mode>
VX_Err Entry(int32_t count, const Pixel* src, const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel opacity,
             bool keep_alpha, bool behind, Pixel* dst) {
  if (count <= 0) return VX_Err_None;
  const Lane<Pixel> op(opacity);
  auto run = [&](auto scale, auto with_mask, auto with_behind) {
    return Run<Pixel, Mode, decltype(scale)::value, decltype(with_mask)::value, decltype(with_behind)::value>(
        count, src, mask, op, keep_alpha, dst);
  };
  auto pick_behind = [&](auto scale, auto with_mask) {
    return behind ? run(scale, with_mask, std::true_type{}) : run(scale, with_mask, std::false_type{});
  };
  auto pick_mask = [&](auto scale) {
    return mask ? pick_behind(scale, std::true_type{}) : pick_behind(scale, std::false_type{});
  };
  return opacity != VX_PixelTraits<Pixel>::kWhite ? pick_mask(std::true_type{}) : pick_mask(std::false_type{});
}

}  // namespace

template <class Pixel>
VXp_SpanRecolourProc<Pixel> VXp_SpanRecolour_AVX2(int32_t mode) {
  switch (mode) {
#define VX_RECOLOUR_LANE_CASE(number, name, family)                 \
  case number:                                                      \
    if constexpr (VX_XferFamily::family == VX_XferFamily::Recolour) \
      return &Entry<Pixel, number>;                                 \
    return nullptr;
    VX_XFER_PIXEL_MODES(VX_RECOLOUR_LANE_CASE)
#undef VX_RECOLOUR_LANE_CASE
    default:
      return nullptr;
  }
}

template VXp_SpanRecolourProc<VX_Pixel8> VXp_SpanRecolour_AVX2<VX_Pixel8>(int32_t);
template VXp_SpanRecolourProc<VX_Pixel16> VXp_SpanRecolour_AVX2<VX_Pixel16>(int32_t);
template VXp_SpanRecolourProc<VX_PixelFloat> VXp_SpanRecolour_AVX2<VX_PixelFloat>(int32_t);
