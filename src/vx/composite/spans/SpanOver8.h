// Over at 8 bits on packed pixels, written once over a register width B
// (128 bits for SSSE3, 256 for AVX2), from over's own rule (OverColour) on
// the 8-bit word arithmetic. Blocks whose source alphas are all 0 are
// skipped and all 255 copied; a transparent destination block takes the
// source, an opaque one a lerp; the rest run the whole rule. Include only
// from the instruction set's own translation unit.
#pragma once

#include "composite/formulas/XferDirect.h"
#include "composite/spans/SpanVector.h"
#include "simd/Depth.h"
#include "simd/Pixels.h"

namespace vx {
inline namespace VX_ISA_NS {
namespace over8 {

using namespace simd;

template <int B, bool Scale, bool HasMask, bool Aligned>
VX_INLINE void Block(const VX_Pixel8* src, const VX_Pixel8* mask, I32<B> opacity, VX_Pixel8* dst) {
  typedef I32<B> T;
  typedef I16<B> W;
  typedef Depth8W<B> M;
  typedef PackedPixels8<B> P;
  const T low_byte(0xFF);
  T s = T::Load(src);
  // Alphas sit in the low word of each lane with a zero word above, which
  // the word arithmetic keeps zero.
  T a = s & low_byte;
  if (Scale) a = AsInts(M::mul(AsWords(a), AsWords(opacity)));
  if (HasMask) a = AsInts(M::mul(AsWords(a), AsWords(T::Load(mask) & low_byte)));
  if (AllZero(a)) return;
  if (Scale || HasMask) s = AndNot(low_byte, s) | a;
  if (All(a == low_byte)) {
    s.Store(dst);
    return;
  }
  const T d = Aligned ? T::LoadAligned(dst) : T::Load(dst);
  const T da = d & low_byte;
  const Mask<B> a_zero = a == T(0);
  if (AllZero(da)) {  // pixels with nothing to add keep their colours
    Select(a_zero, d, s).Store(dst);
    return;
  }
  // Each pixel's alpha in its colour bytes, zero in its alpha byte: a lerp
  // by it leaves the alpha where it was.
  const T colour_alpha = P::BroadcastAlphaToColours(s);
  const W s_lo = P::Low(s), s_hi = P::High(s), d_lo = P::Low(d), d_hi = P::High(d);
  const W a_lo = P::Low(colour_alpha), a_hi = P::High(colour_alpha);
  if (All(da == low_byte)) {  // over an opaque destination the rule is a lerp
    P::Pack(M::lerp(d_lo, s_lo, a_lo), M::lerp(d_hi, s_hi, a_hi)).Store(dst);
    return;
  }
  // One divisor a pixel, by the union alpha, for its three colours: the
  // union and its reciprocal on the pixels' lanes, spread to their words.
  const T ra = AsInts(M::Union(AsWords(a), AsWords(da)));
  const T reciprocal = Min(ByteReciprocal(ra), T(65535));
  const T db = P::BroadcastAlpha(d);
  const auto rule = [&](W sc, W sa, W dc, W dca, W ra_w, W r_w) VX_INLINE_LAMBDA {
    const ByteDivisor<W> by(ra_w, r_w);
    const W c = OverColourBy<M>(sc, sa, dc, dca, [&](W x) VX_INLINE_LAMBDA {
      return M::Select(x >= ra_w, W(255), by.Quotient(x));
    });
    return Select(P::AlphaWords(), ra_w, c);
  };
  T res = P::Pack(rule(s_lo, a_lo, d_lo, P::Low(db), P::WordsLow(ra), P::WordsLow(reciprocal)),
                  rule(s_hi, a_hi, d_hi, P::High(db), P::WordsHigh(ra), P::WordsHigh(reciprocal)));
  res = Select(da == T(0), s, res);
  Select(a_zero, d, res).Store(dst);
}

template <bool Scale, bool HasMask>
VX_INLINE void Single(const VX_Pixel8& s, const VX_Pixel8* mask, int32_t opacity, VX_Pixel8& d) {
  int32_t a = s.alpha;
  if (Scale) a = mul8(a, opacity);
  if (HasMask) a = mul8(a, mask->alpha);
  if (a != 0) XferOp<XferOver, VX_Pixel8>::Run(s, a, d);
}

// How far ahead of a block its destination is fetched. Over at 8 bits on
// a 3840x2160 layer with 30% clear pixels in blobs: 6.0 ms without, 3.1 ms
// with (AVX2, 2.25 GHz).
constexpr int32_t kPrefetchPixels = 128;

// `head` pixels one at a time, then whole blocks, then the rest one at a
// time.
template <int B, bool Scale, bool HasMask, bool Aligned>
VX_Err Run(int32_t count, int32_t head, const VX_Pixel8* src, const VX_Pixel8* mask, int32_t opacity,
           VX_Pixel8* dst) {
  constexpr int32_t kPixels = PackedPixels8<B>::kPixels;
  const I32<B> op(opacity);
  if (head > count) head = count;
  int32_t i = 0;
  for (; i < head; ++i) Single<Scale, HasMask>(src[i], HasMask ? mask + i : nullptr, opacity, dst[i]);
  for (; i + kPixels <= count; i += kPixels) {
    // Skipped blocks leave gaps in the destination stream, which lose the
    // hardware prefetcher; fetching ahead keeps the loads that follow them
    // from waiting on memory.
    __builtin_prefetch(dst + i + kPrefetchPixels, 1);
    Block<B, Scale, HasMask, Aligned>(src + i, HasMask ? mask + i : nullptr, op, dst + i);
  }
  for (; i < count; ++i) Single<Scale, HasMask>(src[i], HasMask ? mask + i : nullptr, opacity, dst[i]);
  return VX_Err_None;
}

// The opacity and mask members; `run` takes them as template flags.
template <class Run>
VX_Err ByOpacityAndMask(int32_t count, const VX_Pixel8* mask, uint8_t opacity, Run run) {
  if (count <= 0) return VX_Err_None;
  if (mask) return opacity != 255 ? run(std::true_type{}, std::true_type{}) : run(std::false_type{}, std::true_type{});
  return opacity != 255 ? run(std::true_type{}, std::false_type{}) : run(std::false_type{}, std::false_type{});
}

}  // namespace over8
}  // namespace VX_ISA_NS
}  // namespace vx
