// Building the linear blending tables of a profile.
#include <vector>

#include "color/LinearTables.h"
#include "color/ORXLink.h"
#include "vx/ColorTransforms.h"
#include "vx/PixelTraits.h"

void VXp_InvertLinearization(VX_LinearBlendingTables& tables) {
  constexpr int32_t kLast = 4096;
  std::vector<uint16_t> forward(kLast + 1);
  for (uint32_t i = 0; i <= kLast; ++i) {
    const uint32_t v = (((i << 15) | 0x800) >> 12) & 0xFFFF;  // i x 8
    forward[i] = VX_LinearFromStored16(tables, v);
  }
  // A curve that falls somewhere still inverts: flatten the dips.
  for (int32_t i = 1; i <= kLast; ++i)
    if (forward[i] < forward[i - 1]) forward[i] = forward[i - 1];

  int32_t j = 0, base = 0, next = 8;
  int32_t lo = forward[0], hi = forward[1];
  for (int32_t i = 0; i <= kLast; ++i) {
    const int32_t v = i * 8;
    while (j + 1 < kLast && v >= forward[j + 1]) {
      ++j;
      base = 8 * j;
      next = base + 8;
      lo = hi;
      hi = forward[j + 1];
    }
    int32_t stored;
    if (v >= hi)
      stored = next;
    else if (v >= lo)  // and below hi, so hi > lo
      stored = ((v - lo) * 8 + ((hi - lo) >> 1)) / (hi - lo) + base;
    else
      stored = base;
    tables.from_linear[i] = static_cast<uint16_t>(stored);
  }
}

std::shared_ptr<VX_LinearBlendingTables> VX_MakeLinearizationTables(std::shared_ptr<TNT_ORX_Profile> profile) {
  const TNT_ORX_Transform transform = VX_GetLinearizeTransform(profile, profile, true);

  std::vector<VX_Pixel16> ramp(256);
  for (uint32_t i = 0; i < 256; ++i) {
    const auto v = static_cast<uint16_t>((i * 0x808080u + 33200u) >> 16);
    ramp[i] = VX_Pixel16{32768, v, v, v};
  }
  // The exact curve, not the engine's precalculated approximation of it.
  _t_ORX_Options options;
  options.Set(ORX_OptKey_Precise, 1);
  VXp_ORXCall(&VXp_ORXProcs::apply, transform.Get(), static_cast<const void*>(ramp.data()),
              static_cast<void*>(ramp.data()), int32_t{256}, ORX_Format_ARGB16, ORX_Format_ARGB16,
              static_cast<const _t_ORX_Options*>(&options));

  auto tables = std::make_shared<VX_LinearBlendingTables>();
  for (int32_t i = 0; i < 256; ++i) tables->to_linear[i] = ramp[i].red;
  VXp_InvertLinearization(*tables);

  float red = 0, green = 0, blue = 0;
  VX_GetCalRGBGammas(profile.get(), &red, &green, &blue);
  tables->to_linear_gamma = green;
  tables->from_linear_gamma = 1.0f / green;
  return tables;
}
