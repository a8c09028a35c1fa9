// Effect worlds: making, wrapping, querying and disposing plain world records.
#pragma once

#include "vx/Types.h"

// Makes a world object of the depth (8, 16 or 32) and fills the record from
// it. A null record does nothing and returns 0.
VX_Err VX_NewEffectWorld(void* caller_ref, int32_t width, int32_t height, int32_t depth, bool clear,
                         bool rb_backed, VX_LayerDef* world);
// Releases a record made by VX_NewEffectWorld and zeroes it.
VX_Err VX_DisposeEffectWorld(void* caller_ref, VX_LayerDef* world);
// Fills a record that refers to a bitmap's pixels, without ownership.
VX_Err VX_EffectWorldFromRBWorld(RB_WorldH rb_world, VX_LayerDef* world);
VX_Err VX_GetEffectWorldDepth(const VX_LayerDef* world, int32_t* depth_out);
// The depth a record's flag word names, 0 for an unknown format.
int32_t VXp_DepthOfFlags(uint32_t depth_flags);
// 8, 16 or 32; 8 after a report for an unknown format.
int16_t VXp_WorldDepth(const VX_LayerDef* world);
int16_t VX_DepthOfRBWorld(RB_WorldH rb_world);
// Typed access: `pixels` if non-null, else the world's data; null when the
// world has another depth.
VX_Err VX_GetPixelData8(VX_LayerDef* world, VX_Pixel8* pixels, VX_Pixel8** data_out);
VX_Err VX_GetPixelData16(VX_LayerDef* world, VX_Pixel16* pixels, VX_Pixel16** data_out);
VX_Err VX_GetPixelDataFloat(VX_LayerDef* world, VX_PixelFloat* pixels, VX_PixelFloat** data_out);
VX_Err VXp_GetPixelFormat(const VX_LayerDef* world, VX_PixelFormat* format_out);
// The depth flag word for a depth (8, 16, 32); 0xFFFFFFFF for others.
uint32_t VXp_DepthFlagsFor(int32_t depth);
