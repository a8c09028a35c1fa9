// Pixels to channel lanes and back. Planar: a block of pixels becomes four
// lane vectors, one a channel, each lane a pixel (PixelLanes at every
// depth on 256 bits; WordPixels8, sixteen 8-bit pixels on 16-bit lanes).
// Packed: 8-bit pixels stay in place and each byte widens to a word
// (PackedPixels8, at any width), for kernels that treat the four channels
// alike. Stores expect values already kept to the channel's bits.
#pragma once

#include "simd/Lanes.h"
#include "vx/PixelTraits.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace simd {

template <int B>
struct PackedPixels8 {
  static constexpr int32_t kPixels = B / 32;
  // Each pixel's bytes as four words: the first and last kPixels / 2 pixels
  // of each 128 bits.
  static VX_INLINE I16<B> Low(I32<B> x) { return BytesLow(x); }
  static VX_INLINE I16<B> High(I32<B> x) { return BytesHigh(x); }
  static VX_INLINE I32<B> Pack(I16<B> lo, I16<B> hi) { return PackBytes(lo, hi); }
  // The alpha words of unpacked pixels.
  static VX_INLINE Mask<B> AlphaWords() { return Mask<B>(I16<B>::Repeat(-1, 0, 0, 0, -1, 0, 0, 0).v); }
#if defined(__SSSE3__)
  // Each pixel's alpha byte in all four of its bytes.
  static VX_INLINE I32<B> BroadcastAlpha(I32<B> x) {
    return ShuffleBytes(x, I32<B>::RepeatBytes(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12));
  }
  // ... in its three colour bytes, and zero in its alpha byte.
  static VX_INLINE I32<B> BroadcastAlphaToColours(I32<B> x) {
    return ShuffleBytes(x, I32<B>::RepeatBytes(-1, 0, 0, 0, -1, 4, 4, 4, -1, 8, 8, 8, -1, 12, 12, 12));
  }
  // A word value of each pixel's lane (its low 16 bits) in the four words
  // of that pixel in Low and High.
  static VX_INLINE I16<B> WordsLow(I32<B> x) {
    return AsWords(ShuffleBytes(x, I32<B>::RepeatBytes(0, 1, 0, 1, 0, 1, 0, 1, 4, 5, 4, 5, 4, 5, 4, 5)));
  }
  static VX_INLINE I16<B> WordsHigh(I32<B> x) {
    return AsWords(ShuffleBytes(x, I32<B>::RepeatBytes(8, 9, 8, 9, 8, 9, 8, 9, 12, 13, 12, 13, 12, 13, 12, 13)));
  }
#endif
};

#if defined(__AVX2__)

template <class Pixel, int B = 256>
struct PixelLanes;

template <>
struct PixelLanes<VX_Pixel8, 256> {
  typedef I32x8 T;
  static constexpr int32_t kPixels = 8;
  static VX_INLINE void Load(const VX_Pixel8* p, T c[4]) {
    const T x = T::Load(p);
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 4; ++k) c[k] = Srl(x, 8 * k) & T(0xFF);
  }
  static VX_INLINE void Store(VX_Pixel8* p, const T c[4]) {
    T x = c[0];
    _Pragma("GCC unroll 4")
    for (int k = 1; k < 4; ++k) x = x | (c[k] << (8 * k));
    x.Store(p);
  }
};

template <>
struct PixelLanes<VX_Pixel16, 256> {
  typedef I32x8 T;
  static constexpr int32_t kPixels = 8;
  // Per 128 bits: two pixels a r g b -> a a r r g g b b; then four pixels'
  // channels gathered in 64-bit groups.
  static VX_INLINE __m256i Group(__m256i x) {
    const __m256i by_channel = _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15, 0, 1, 8, 9, 2,
                                                3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(x, by_channel), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
  }
  static VX_INLINE void Load(const VX_Pixel16* p, T c[4]) {
    const __m256i lo = Group(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    const __m256i hi = Group(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 4)));
    const __m256i ag = _mm256_unpacklo_epi64(lo, hi), rb = _mm256_unpackhi_epi64(lo, hi);
    c[0] = _mm256_cvtepu16_epi32(_mm256_castsi256_si128(ag));
    c[1] = _mm256_cvtepu16_epi32(_mm256_castsi256_si128(rb));
    c[2] = _mm256_cvtepu16_epi32(_mm256_extracti128_si256(ag, 1));
    c[3] = _mm256_cvtepu16_epi32(_mm256_extracti128_si256(rb, 1));
  }
  static VX_INLINE void Store(VX_Pixel16* p, const T c[4]) {
    // Values are already kept to 16 bits, so the unsigned pack doesn't clamp.
    const __m256i ar = _mm256_packus_epi32(c[0].v, c[1].v), gb = _mm256_packus_epi32(c[2].v, c[3].v);
    const __m256i ag = _mm256_unpacklo_epi16(ar, gb), rb = _mm256_unpackhi_epi16(ar, gb);
    const __m256i p01 = _mm256_unpacklo_epi16(ag, rb), p23 = _mm256_unpackhi_epi16(ag, rb);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_permute2x128_si256(p01, p23, 0x20));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 4), _mm256_permute2x128_si256(p01, p23, 0x31));
  }
};

template <>
struct PixelLanes<VX_PixelFloat, 256> {
  typedef F32x8 T;
  static constexpr int32_t kPixels = 8;
  // A 4 x 4 transpose in each 128-bit half: pixels 0..3 below, 4..7 above.
  static VX_INLINE void Transpose(__m256 x[4]) {
    const __m256 t0 = _mm256_unpacklo_ps(x[0], x[1]), t1 = _mm256_unpackhi_ps(x[0], x[1]);
    const __m256 t2 = _mm256_unpacklo_ps(x[2], x[3]), t3 = _mm256_unpackhi_ps(x[2], x[3]);
    x[0] = _mm256_shuffle_ps(t0, t2, 0x44);
    x[1] = _mm256_shuffle_ps(t0, t2, 0xEE);
    x[2] = _mm256_shuffle_ps(t1, t3, 0x44);
    x[3] = _mm256_shuffle_ps(t1, t3, 0xEE);
  }
  static VX_INLINE void Load(const VX_PixelFloat* p, T c[4]) {
    const float* f = &p->alpha;
    __m256 x[4];
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 4; ++k)
      x[k] = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(f + 4 * k)), _mm_loadu_ps(f + 16 + 4 * k), 1);
    Transpose(x);
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 4; ++k) c[k] = x[k];
  }
  static VX_INLINE void Store(VX_PixelFloat* p, const T c[4]) {
    float* f = &p->alpha;
    __m256 x[4] = {c[0].v, c[1].v, c[2].v, c[3].v};
    Transpose(x);
    _Pragma("GCC unroll 4")
    for (int k = 0; k < 4; ++k) {
      _mm_storeu_ps(f + 4 * k, _mm256_castps256_ps128(x[k]));
      _mm_storeu_ps(f + 16 + 4 * k, _mm256_extractf128_ps(x[k], 1));
    }
  }
};

// Sixteen 8-bit pixels to four channel vectors of 16-bit lanes and back.
// The lanes hold pixels 0-3, 8-11, 4-7, 12-15, the order the unpacks leave
// them in; every operand is loaded alike, and Store undoes it.
struct WordPixels8 {
  typedef I16x16 T;
  static constexpr int32_t kPixels = 16;
  // Per 128 bits, four pixels a r g b to a a a a r r r r ..., and back.
  static VX_INLINE __m256i Transpose(__m256i x) {
    const __m128i order = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm256_shuffle_epi8(x, _mm256_broadcastsi128_si256(order));
  }
  static VX_INLINE void Load(const VX_Pixel8* p, T c[4]) {
    const __m256i y0 = Transpose(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    const __m256i y1 = Transpose(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 8)));
    const __m256i ar = _mm256_unpacklo_epi32(y0, y1), gb = _mm256_unpackhi_epi32(y0, y1);
    const __m256i zero = _mm256_setzero_si256();
    c[0] = _mm256_unpacklo_epi8(ar, zero);
    c[1] = _mm256_unpackhi_epi8(ar, zero);
    c[2] = _mm256_unpacklo_epi8(gb, zero);
    c[3] = _mm256_unpackhi_epi8(gb, zero);
  }
  static VX_INLINE void Store(VX_Pixel8* p, const T c[4]) {
    const __m256i ar = _mm256_packus_epi16(c[0].v, c[1].v), gb = _mm256_packus_epi16(c[2].v, c[3].v);
    const __m256i t0 = _mm256_unpacklo_epi32(ar, gb), t1 = _mm256_unpackhi_epi32(ar, gb);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), Transpose(_mm256_unpacklo_epi32(t0, t1)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 8), Transpose(_mm256_unpackhi_epi32(t0, t1)));
  }
  // The lanes' values in pixel order, as int32.
  static VX_INLINE void Spill(T x, int32_t* out) {
    Lower(x).Store(out);
    Upper(x).Store(out + 8);
  }
};

#endif  // __AVX2__

}  // namespace simd
}  // namespace VX_ISA_NS
}  // namespace vx
