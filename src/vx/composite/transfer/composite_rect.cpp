// The old composite-rectangle entries: a rectangle of one 8-bit world put
// behind another, premultiplied or straight. Draft and best are the same
// operation. Rows and columns that fall off either world are skipped, so a
// caller's mistake can't write outside the pixels.
#include <algorithm>

#include "core/Internal.h"
#include "vx/EffectWorld.h"
#include "vx/Transfer.h"

namespace {

inline uint8_t Fcm(int32_t a, int32_t b) { return VXp_G_fcm_table[(a << 8) + b]; }

// Premultiplied: the opacity scales all four channels; the source fills what
// the destination leaves uncovered.
inline void PremulPixel(VX_Pixel8 s, int32_t opacity, VX_Pixel8& d) {
  if (d.alpha == 255) return;
  if (opacity < 255) s = VX_Pixel8{Fcm(opacity, s.alpha), Fcm(opacity, s.red), Fcm(opacity, s.green), Fcm(opacity, s.blue)};
  if (d.alpha == 0) {
    d = s;
    return;
  }
  const int32_t w = 255 - d.alpha;
  d.alpha = static_cast<uint8_t>(d.alpha + Fcm(w, s.alpha));
  d.red = static_cast<uint8_t>(d.red + Fcm(w, s.red));
  d.green = static_cast<uint8_t>(d.green + Fcm(w, s.green));
  d.blue = static_cast<uint8_t>(d.blue + Fcm(w, s.blue));
}

// Straight: weights in units of 255^3 keep 24 bits of precision.
inline void StraightPixel(const VX_Pixel8& s, int32_t opacity, VX_Pixel8& d) {
  if (d.alpha == 255) return;
  if (d.alpha == 0) {
    d = s;
    d.alpha = Fcm(opacity, s.alpha);
    return;
  }
  const int64_t w = int64_t(255 - d.alpha) * opacity * s.alpha, k = int64_t(d.alpha) * 65025, n = k + w;
  auto mix = [&](uint8_t sc, uint8_t dc) { return static_cast<uint8_t>((sc * w + dc * k) / n); };
  d.red = mix(s.red, d.red);
  d.green = mix(s.green, d.green);
  d.blue = mix(s.blue, d.blue);
  d.alpha = static_cast<uint8_t>(n / 65025);
}

template <bool Premul>
VX_Err CompositeRect(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity, VX_LayerDef* source,
                     int32_t dest_x, int32_t dest_y, int32_t field, VX_LayerDef* destination) {
  if (!source || !destination || !source->data || !destination->data) return VXp_BadParameter(0x1F);
  if (VXp_WorldDepth(source) != 8 || VXp_WorldDepth(destination) != 8) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "VX_CompositeRect handles 8-bit worlds only");
    return VX_Err_BadParam;
  }
  if (opacity == 0) return VX_Err_None;
  const GEO_LRect r = source_rect ? *source_rect : GEO_LRect{0, 0, source->width, source->height};
  const int32_t width = static_cast<int16_t>(r.right - r.left), height = static_cast<int16_t>(r.bottom - r.top);
  if (height <= 0) return VX_Err_None;
  // Columns inside both worlds.
  const int32_t first = std::max({0, -r.left, -dest_x});
  const int32_t last = std::min({width, source->width - r.left, destination->width - dest_x});
  for (int32_t j = 0, k = height - 1; k >= 0; ++j, --k) {
    const int32_t y = dest_y + j, sy = r.top + j;
    const bool drawn = field == 0 || (field == 1 ? (y & 1) == 0 : (y & 1) == 1);
    if (!drawn) continue;
    if ((k & 31) == 0 && progress && progress->progress)
      if (VX_Err err = progress->progress(progress->refcon, height - k, height)) return err;
    if (y < 0 || y >= destination->height || sy < 0 || sy >= source->height) continue;
    const auto* s = reinterpret_cast<const VX_Pixel8*>(static_cast<const char*>(source->data) +
                                                       static_cast<ptrdiff_t>(sy) * source->row_stride);
    auto* d = reinterpret_cast<VX_Pixel8*>(static_cast<char*>(destination->data) +
                                           static_cast<ptrdiff_t>(y) * destination->row_stride);
    for (int32_t i = first; i < last; ++i) {
      if constexpr (Premul)
        PremulPixel(s[r.left + i], opacity, d[dest_x + i]);
      else
        StraightPixel(s[r.left + i], opacity, d[dest_x + i]);
    }
  }
  return VX_Err_None;
}

}  // namespace

VX_Err VX_CompositeRectDraft_Premul(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                    VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field, int32_t,
                                    VX_LayerDef* destination) {
  return CompositeRect<true>(progress, source_rect, opacity, source, dest_x, dest_y, field, destination);
}
VX_Err VX_CompositeRectBest_Premul(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                   VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field, int32_t,
                                   VX_LayerDef* destination) {
  return CompositeRect<true>(progress, source_rect, opacity, source, dest_x, dest_y, field, destination);
}
VX_Err VX_CompositeRectDraft_Straight(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                      VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field, int32_t,
                                      VX_LayerDef* destination) {
  return CompositeRect<false>(progress, source_rect, opacity, source, dest_x, dest_y, field, destination);
}
VX_Err VX_CompositeRectBest_Straight(VX_ProgressInfo* progress, const GEO_LRect* source_rect, uint8_t opacity,
                                     VX_LayerDef* source, int32_t dest_x, int32_t dest_y, int32_t field, int32_t,
                                     VX_LayerDef* destination) {
  return CompositeRect<false>(progress, source_rect, opacity, source, dest_x, dest_y, field, destination);
}
