// The package's global tables and counters.
#include "core/Internal.h"

void* VXp_G_OverFuncs[VX_kOverFuncCount];

const uint8_t* VXp_G_fcm_table = nullptr;
const uint8_t* VXp_G_fcd_table = nullptr;
KU_ZRef VX_G_zref = nullptr;
float VXp_G_FloatRamp[256];

float VXp_G_SoftLightA_F[VX_kSoftLightTableSize];
float VXp_G_SoftLightB_F[VX_kSoftLightTableSize];
int16_t VXp_G_SoftLightA_16[VX_kSoftLightTableSize];
int16_t VXp_G_SoftLightB_16[VX_kSoftLightTableSize];

VX_Vector128 VX_G_viLoWordMask;
VX_Vector128 VX_G_vi128_32;
VX_Vector128 VX_G_vfHalf;
VX_Vector128 VX_G_BGRMask32;
VX_Vector128 VX_G_AlphaMask32;
VX_Vector128 VX_G_viLoByteMask32;
VX_Vector128 VX_G_vf255;
double VX_G_ZeroData[16];

long VX_G_LiveWorlds = 0;
long VX_G_LiveChunks = 0;

namespace {
const uint32_t* g_noise_base = nullptr;
const uint32_t* g_noise_end = nullptr;
const uint32_t* g_noise_cursor = nullptr;
}  // namespace

void VXp_SetNoiseTable(const uint32_t* base, int32_t count) {
  g_noise_base = g_noise_cursor = base;
  g_noise_end = base ? base + count : nullptr;
}

uint32_t VXp_NextNoise() {
  if (!g_noise_cursor) return 0x4000;  // no table before start-up: the middle of the rounding range
  const uint32_t value = *g_noise_cursor;
  if (++g_noise_cursor >= g_noise_end) g_noise_cursor = g_noise_base;
  return value;
}

void VXp_ResetNoise() { g_noise_cursor = g_noise_base; }

VX_Err VX_SetOverrideFunc(int32_t index, void* function) {
  if (index < 1 || index >= VX_kOverFuncCount) return VX_Err_BadParam;
  VXp_G_OverFuncs[index] = function;
  return VX_Err_None;
}
