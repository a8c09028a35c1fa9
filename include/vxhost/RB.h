// RB: the host's bitmap library — frames (raw pixel blocks) and bitmap worlds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vxhost/GEO.h"
#include "vxhost/KU.h"

constexpr int32_t RB_kVersion = 31;
KU_Err RB_CheckVersions(int32_t site, int32_t version);

// Frames: blocks that are 8-byte aligned and, on purpose, not always 16-byte
// aligned, so that callers exercise their own alignment step. `zero` non-zero
// clears the block. Returns 0, or 4 with *out null.
KU_Err RB_AllocateFrameQuiet(size_t bytes, int32_t zero, void** out);
// `bytes` must be the size the frame was allocated with.
void RB_FreeFrame(void* frame, size_t bytes);
long RB_LiveFrameCount();

enum RB_ChannelOrder : int32_t {
  RB_ChannelOrder_ARGB = 0,  // alpha first, the package's order
  RB_ChannelOrder_BGRA = 1
};

// A bitmap world. `pixels` is the stored pixel pointer: set while the pixels
// are locked, null when unlocked (RBp_GetPixBaseAddr always answers).
struct RB_World {
  int16_t width;
  int16_t height;
  int16_t bits_per_pixel;  // 32, 64 or 128
  void* pixels;
  int32_t row_stride;
  // Private to the library.
  void* base;
  size_t bytes;
  int32_t lock_count;
  int32_t channel_order;
  bool owns_pixels;
};
typedef RB_World** RB_WorldH;

// bounds: (0, 0, height, width) as top, left, bottom, right. Rows are 16-byte
// aligned. Returns 0, 3 for bad arguments, 4 when memory runs out.
KU_Err RB_NewWorld(int32_t flags, int32_t depth_hint, const GEO_Rect* bounds, int16_t bits_per_pixel,
                   int32_t, int32_t, RB_WorldH* out);
// A world over pixels the host owns; the world never frees them.
KU_Err RB_NewWorldOnPixels(void* pixels, int16_t width, int16_t height, int16_t bits_per_pixel,
                           int32_t row_stride, int32_t channel_order, RB_WorldH* out);
KU_Err RB_DisposeWorld(RB_WorldH world);
KU_Err RB_LoadLockPixels(RB_WorldH world, int32_t load);
KU_Err RB_LockPixels(RB_WorldH world);
KU_Err RB_UnlockPixels(RB_WorldH world);
void* RBp_GetPixBaseAddr(RB_WorldH world);
int32_t RB_GetChannelOrder(RB_WorldH world);
void RB_SetChannelOrder(RB_WorldH world, int32_t order);
// Reports that a world of this size could not be had and returns `code`.
KU_Err RB_ReportWorldAllocationFailure(KU_Err code, int32_t row_stride, int32_t width, int32_t height,
                                       int32_t bits_per_pixel);
