// Tables built at start-up: soft light and the vector constants.
#include <cmath>
#include <cstring>

#include "core/Internal.h"

namespace {

// v x 32768 + 0.5 truncated, cut to its low 16 bits as a signed number.
int16_t To16(double v) { return static_cast<int16_t>(static_cast<uint16_t>(static_cast<int64_t>(v * 32768.0 + 0.5))); }

void Fill(VX_Vector128& v, uint32_t lane) {
  for (uint32_t& u : v.u32) u = lane;
}
void FillF(VX_Vector128& v, float lane) {
  for (float& f : v.f32) f = lane;
}

}  // namespace

void VXp_BuildSoftLightTables() {
  for (int i = 0; i < 4096; ++i) {
    const double x = i * (1.0 / 4096.0);
    const double d = x <= 0.25 ? ((16.0 * x - 12.0) * x + 4.0) * x : std::sqrt(x);
    const double a = d - x;
    const double b = x * (1.0 - x);
    VXp_G_SoftLightA_F[i] = static_cast<float>(a);
    VXp_G_SoftLightB_F[i] = static_cast<float>(b);
    VXp_G_SoftLightA_16[i] = To16(a);
    VXp_G_SoftLightB_16[i] = To16(b);
  }
  VXp_G_SoftLightA_F[4096] = VXp_G_SoftLightB_F[4096] = 0.0f;
  VXp_G_SoftLightA_16[4096] = VXp_G_SoftLightB_16[4096] = 0;
}

void VXp_SetVectorConstants() {
  // The 16-bit lane constants, then the exported masks, then doubles and floats.
  Fill(VX_G_viLoWordMask, 0xFFFF);
  Fill(VX_G_vi128_32, 128);
  std::memset(&VX_G_BGRMask32, 0xFF, sizeof VX_G_BGRMask32);
  VX_G_BGRMask32.u32[0] = 0;
  std::memset(&VX_G_AlphaMask32, 0, sizeof VX_G_AlphaMask32);
  VX_G_AlphaMask32.u32[0] = 0xFFFFFFFF;
  Fill(VX_G_viLoByteMask32, 255);
  FillF(VX_G_vfHalf, 0.5f);
  FillF(VX_G_vf255, 255.0f);
}

void VXp_ClearVectorConstants() {
  for (VX_Vector128* v : {&VX_G_viLoWordMask, &VX_G_vi128_32, &VX_G_vfHalf, &VX_G_BGRMask32, &VX_G_AlphaMask32,
                          &VX_G_viLoByteMask32, &VX_G_vf255})
    std::memset(v, 0, sizeof *v);
}
