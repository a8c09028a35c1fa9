// The engine's Little CMS context. Little CMS knows 16-bit pixels with white
// at 65535 only, so the context carries formatters for white at 32768: the
// integer pipelines and their precalculated tables then serve 16-bit worlds
// without a scaling pass.
#include <lcms2_plugin.h>

#include "orx/Engine.h"

namespace {

// A bit Little CMS leaves unused marks our 16-bit format.
constexpr cmsUInt32Number kWhite32768Flag = 1u << 29;
constexpr cmsUInt32Number kLcmsARGB16 = TYPE_ARGB_16 | kWhite32768Flag;

// 0..32768 to 0..65535 and back, both rounded; values above white clamp.
inline cmsUInt16Number Widen(uint16_t v) {
  const uint32_t c = v > 32768 ? 32768u : v;
  return static_cast<cmsUInt16Number>((c * 65535u + 16384u) >> 15);
}
inline uint16_t Narrow(cmsUInt16Number w) { return static_cast<uint16_t>((w * 32768u + 32767u) / 65535u); }

cmsUInt8Number* Unroll16(struct _cmstransform_struct*, cmsUInt16Number values[], cmsUInt8Number* buffer,
                         cmsUInt32Number) {
  const auto* p = reinterpret_cast<const uint16_t*>(buffer);
  for (int c = 0; c < 3; ++c) values[c] = Widen(p[c + 1]);
  return buffer + 8;
}

cmsUInt8Number* Pack16(struct _cmstransform_struct*, cmsUInt16Number values[], cmsUInt8Number* buffer,
                       cmsUInt32Number) {
  auto* p = reinterpret_cast<uint16_t*>(buffer);
  for (int c = 0; c < 3; ++c) p[c + 1] = Narrow(values[c]);
  return buffer + 8;
}

cmsUInt8Number* UnrollFloat(struct _cmstransform_struct*, cmsFloat32Number values[], cmsUInt8Number* buffer,
                            cmsUInt32Number) {
  const auto* p = reinterpret_cast<const uint16_t*>(buffer);
  for (int c = 0; c < 3; ++c) values[c] = static_cast<float>(p[c + 1]) * (1.0f / 32768.0f);
  return buffer + 8;
}

cmsUInt8Number* PackFloat(struct _cmstransform_struct*, cmsFloat32Number values[], cmsUInt8Number* buffer,
                          cmsUInt32Number) {
  auto* p = reinterpret_cast<uint16_t*>(buffer);
  for (int c = 0; c < 3; ++c) {
    const float x = values[c] * 32768.0f;
    p[c + 1] = !(x >= 0.0f) ? 0 : x > 32768.0f ? 32768 : static_cast<uint16_t>(x + 0.5f);
  }
  return buffer + 8;
}

cmsFormatter Factory(cmsUInt32Number type, cmsFormatterDirection direction, cmsUInt32Number flags) {
  cmsFormatter f;
  f.Fmt16 = nullptr;
  if (type != kLcmsARGB16) return f;
  const bool input = direction == cmsFormatterInput;
  if (flags & CMS_PACK_FLAGS_FLOAT)
    f.FmtFloat = input ? UnrollFloat : PackFloat;
  else
    f.Fmt16 = input ? Unroll16 : Pack16;
  return f;
}

cmsPluginFormatters g_plugin = {{cmsPluginMagicNumber, 2080, cmsPluginFormattersSig, nullptr}, Factory};

void Quiet(cmsContext, cmsUInt32Number, const char*) {}

}  // namespace

namespace orx {

cmsContext Context() {
  static cmsContext context = [] {
    cmsContext c = cmsCreateContext(&g_plugin, nullptr);
    cmsSetLogErrorHandlerTHR(c, Quiet);
    return c;
  }();
  return context;
}

cmsUInt32Number LcmsFormat(uint32_t format) {
  switch (format) {
    case ORX_Format_ARGB8:
      return TYPE_ARGB_8;
    case ORX_Format_ARGB16:
      return kLcmsARGB16;
    case ORX_Format_ARGBFloat:
      return TYPE_ARGB_FLT;
    default:
      return 0;
  }
}

int32_t BytesPerChannel(uint32_t format) {
  switch (format) {
    case ORX_Format_ARGB8:
      return 1;
    case ORX_Format_ARGB16:
      return 2;
    case ORX_Format_ARGBFloat:
      return 4;
    default:
      return 0;
  }
}

}  // namespace orx

uint32_t ORX_FormatForBytes(int32_t bytes_per_channel) {
  switch (bytes_per_channel) {
    case 1:
      return ORX_Format_ARGB8;
    case 2:
      return ORX_Format_ARGB16;
    case 4:
      return ORX_Format_ARGBFloat;
    default:
      return 0;
  }
}

bool _t_ORX_Options::Set(uint32_t key, int32_t value) {
  for (int32_t i = 0; i < count; ++i)
    if (entries[i].key == key) {
      entries[i].value = value;
      return true;
    }
  if (count >= kMaxEntries) return false;
  entries[count++] = Entry{key, value};
  return true;
}

int32_t _t_ORX_Options::Get(uint32_t key, int32_t fallback) const {
  for (int32_t i = 0; i < count && i < kMaxEntries; ++i)
    if (entries[i].key == key) return entries[i].value;
  return fallback;
}

bool _t_ORX_Options::Has(uint32_t key) const {
  for (int32_t i = 0; i < count && i < kMaxEntries; ++i)
    if (entries[i].key == key) return true;
  return false;
}
