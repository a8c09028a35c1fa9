// Applying a transform to pixels. Colours go through Little CMS; the alpha is
// carried from source to destination by the standard depth rules. The precise
// path runs everything in float in small chunks, with no precalculated tables.
#include <algorithm>
#include <type_traits>

#include "orx/Engine.h"

namespace {

constexpr int32_t kChunk = 4096;        // pixels a Little CMS call
constexpr int32_t kPreciseChunk = 512;  // pixels of the float buffer

// One channel from one depth to another: 8 and 16 bits by their integer
// rules, float clamped and rounded on the way to an integer.
template <class S, class D>
D Convert(S v) {
  if constexpr (std::is_same_v<S, D>) {
    return v;
  } else if constexpr (std::is_same_v<S, uint8_t> && std::is_same_v<D, uint16_t>) {
    return static_cast<uint16_t>((v * 32768u + 128u) / 255u);
  } else if constexpr (std::is_same_v<S, uint16_t> && std::is_same_v<D, uint8_t>) {
    return static_cast<uint8_t>((v * 255u + 16384u) >> 15);
  } else if constexpr (std::is_same_v<S, uint8_t>) {
    return static_cast<float>(v * (1.0 / 255.0));
  } else if constexpr (std::is_same_v<S, uint16_t>) {
    return static_cast<float>(v) * (1.0f / 32768.0f);
  } else {
    constexpr float white = std::is_same_v<D, uint8_t> ? 255.0f : 32768.0f;
    const float x = v * white;
    if (!(x >= 0.0f)) return 0;
    if (x > white) return static_cast<D>(white);
    return static_cast<D>(x + 0.5f);
  }
}

inline float Clip01(float v) { return !(v >= 0.0f) ? 0.0f : v > 1.0f ? 1.0f : v; }

template <class S, class D>
void CopyAlpha(const void* source, void* destination, int32_t count) {
  const S* s = static_cast<const S*>(source);
  D* d = static_cast<D*>(destination);
  for (int32_t i = 0; i < count; ++i) d[i * 4] = Convert<S, D>(s[i * 4]);
}

template <class S>
void LoadColours(const void* source, float* out, int32_t count) {
  const S* s = static_cast<const S*>(source);
  for (int32_t i = 0; i < count * 4; i += 4)
    for (int c = 1; c < 4; ++c) out[i + c] = Convert<S, float>(s[i + c]);
}

template <class D>
void StoreColours(const float* in, void* destination, int32_t count, bool clip) {
  D* d = static_cast<D*>(destination);
  for (int32_t i = 0; i < count * 4; i += 4)
    for (int c = 1; c < 4; ++c) {
      if constexpr (std::is_same_v<D, float>)
        d[i + c] = clip ? Clip01(in[i + c]) : in[i + c];
      else
        d[i + c] = Convert<float, D>(in[i + c]);
    }
}

// Calls body(S{}) for the channel type of a format.
template <class Body>
void ByChannel(uint32_t format, Body&& body) {
  switch (format) {
    case ORX_Format_ARGB8:
      return body(uint8_t{});
    case ORX_Format_ARGB16:
      return body(uint16_t{});
    default:
      return body(float{});
  }
}

void CarryAlpha(const void* source, uint32_t sf, void* destination, uint32_t df, int32_t count) {
  ByChannel(sf, [&](auto s) {
    ByChannel(df, [&](auto d) { CopyAlpha<decltype(s), decltype(d)>(source, destination, count); });
  });
}

// Pixels go through in chunks, so that the alpha is carried while the chunk
// is still in the cache.
template <class Body>
void InChunks(const void* source, uint32_t sf, void* destination, uint32_t df, int32_t count, int32_t chunk,
              bool carry_alpha, Body&& body) {
  const int32_t sbytes = orx::BytesPerChannel(sf) * 4, dbytes = orx::BytesPerChannel(df) * 4;
  for (int32_t at = 0; at < count; at += chunk) {
    const int32_t n = std::min(chunk, count - at);
    const char* s = static_cast<const char*>(source) + static_cast<ptrdiff_t>(at) * sbytes;
    char* d = static_cast<char*>(destination) + static_cast<ptrdiff_t>(at) * dbytes;
    body(s, d, n);
    if (carry_alpha) CarryAlpha(s, sf, d, df, n);
  }
}

ORX_Error ApplyPrecise(ORXTransform* t, const void* source, void* destination, int32_t count, uint32_t sf,
                       uint32_t df, bool clip, bool carry_alpha) {
  ORX_Error err = ORX_Err_None;
  cmsHTRANSFORM h = orx::BuiltFor(t, TYPE_ARGB_FLT, TYPE_ARGB_FLT, true, &err);
  if (!h) return err;
  std::vector<float> buffer(static_cast<size_t>(kPreciseChunk) * 4, 0.0f);
  InChunks(source, sf, destination, df, count, kPreciseChunk, carry_alpha, [&](const char* s, char* d, int32_t n) {
    ByChannel(sf, [&](auto c) { LoadColours<decltype(c)>(s, buffer.data(), n); });
    cmsDoTransform(h, buffer.data(), buffer.data(), static_cast<cmsUInt32Number>(n));
    ByChannel(df, [&](auto c) { StoreColours<decltype(c)>(buffer.data(), d, n, clip); });
  });
  return ORX_Err_None;
}

ORX_Error ApplyBuilt(ORXTransform* t, const void* source, void* destination, int32_t count, uint32_t sf,
                     uint32_t df, bool clip, bool carry_alpha) {
  ORX_Error err = ORX_Err_None;
  cmsHTRANSFORM h = orx::BuiltFor(t, orx::LcmsFormat(sf), orx::LcmsFormat(df), false, &err);
  if (!h) return err;
  const bool clip_floats = clip && df == ORX_Format_ARGBFloat;
  InChunks(source, sf, destination, df, count, kChunk, carry_alpha, [&](const char* s, char* d, int32_t n) {
    cmsDoTransform(h, s, d, static_cast<cmsUInt32Number>(n));
    if (!clip_floats) return;
    float* f = reinterpret_cast<float*>(d);
    for (int32_t i = 0; i < n * 4; i += 4)
      for (int c = 1; c < 4; ++c) f[i + c] = Clip01(f[i + c]);
  });
  return ORX_Err_None;
}

}  // namespace

ORX_Error ORX_ApplyTransformProc2(ORXTransform* transform, const void* source, void* destination, int32_t count,
                                  uint32_t source_format, uint32_t destination_format,
                                  const _t_ORX_Options* options) {
  if (!transform || count < 0 || (count > 0 && (!source || !destination))) return ORX_Err_BadParameter;
  if (!orx::LcmsFormat(source_format) || !orx::LcmsFormat(destination_format)) return ORX_Err_BadFormat;
  // In place only within one format: pixels of two sizes would overrun each other.
  if (source == destination && source_format != destination_format) return ORX_Err_BadParameter;
  if (count == 0) return ORX_Err_None;
  const bool precise = options && options->Get(ORX_OptKey_Precise, 0) != 0;
  const bool clip = transform->links.back().intent != ORX_Intent_Unclipped;
  const bool carry_alpha = source != destination;  // in place, the alpha is already there
  return orx::Guard([&] {
    return precise ? ApplyPrecise(transform, source, destination, count, source_format, destination_format, clip,
                                  carry_alpha)
                   : ApplyBuilt(transform, source, destination, count, source_format, destination_format, clip,
                                carry_alpha);
  });
}

ORX_Error ORXBitDepthConverterConvertProc(ORXTransform* converter, const void* source, void* destination,
                                          int32_t count) {
  if (!converter || !converter->bound_source) return ORX_Err_BadParameter;
  return ORX_ApplyTransformProc2(converter, source, destination, count, converter->bound_source,
                                 converter->bound_destination, nullptr);
}
