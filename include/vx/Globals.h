// Global tables of the package, readable by plug-ins and acceleration modules
// between VX_Birth and VX_Death.
#pragma once

#include <cstdint>

#include "vx/Types.h"
#include "vxhost/KU.h"

// The geometry library's fast multiply and divide tables, indexed by
// alpha x 256 + colour.
extern const uint8_t* VXp_G_fcm_table;
extern const uint8_t* VXp_G_fcd_table;

// The message table.
extern KU_ZRef VX_G_zref;

// 256 floats 0.0, 1.0 ... 255.0.
extern float VXp_G_FloatRamp[256];

// Soft-light tables, 4097 entries each, for x = i / 4096 and entry 4096 zero:
// A = D(x) - x with D(x) = ((16x - 12)x + 4)x for x <= 0.25 and sqrt(x) above;
// B = x(1 - x). As float, and as 16-bit values v x 32768 + 0.5 truncated.
constexpr int VX_kSoftLightTableSize = 4097;
extern float VXp_G_SoftLightA_F[VX_kSoftLightTableSize];
extern float VXp_G_SoftLightB_F[VX_kSoftLightTableSize];
extern int16_t VXp_G_SoftLightA_16[VX_kSoftLightTableSize];
extern int16_t VXp_G_SoftLightB_16[VX_kSoftLightTableSize];

// 16-byte vector constants, set by VX_Birth when the processor has SSE2.
union alignas(16) VX_Vector128 {
  uint32_t u32[4];
  uint16_t u16[8];
  float f32[4];
  double f64[2];
};
extern VX_Vector128 VX_G_viLoWordMask;    // four 32-bit lanes of 0xFFFF
extern VX_Vector128 VX_G_vi128_32;        // four lanes of 128
extern VX_Vector128 VX_G_vfHalf;          // four floats 0.5
extern VX_Vector128 VX_G_BGRMask32;       // lane 0 zero, lanes 1..3 all ones
extern VX_Vector128 VX_G_AlphaMask32;     // lane 0 all ones, lanes 1..3 zero
extern VX_Vector128 VX_G_viLoByteMask32;  // four lanes of 255
extern VX_Vector128 VX_G_vf255;           // four floats 255.0
extern double VX_G_ZeroData[16];          // zeros

// Live objects: raised on allocation, lowered on release. Unsynchronised.
extern long VX_G_LiveWorlds;
extern long VX_G_LiveChunks;
