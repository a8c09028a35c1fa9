// The scratch pool: seven fixed blocks and three growing row buffers, shared
// by the operations of one thread at a time (it has no lock).
#pragma once

#include "vx/Types.h"

struct VXp_ScratchSet {
  void* buffers[3];  // count x depth_code, count x 4 x depth_code, count x 4 x depth_code bytes
  void* blocks[7];   // the motion-blur blocks
};

// depth_code: 1 (8-bit), 2 (16-bit) or 4 (float). Grows the buffers to hold
// `count` pixels, or reallocates them to exactly that with `force`; all or
// nothing: on failure the old buffers stay and the result is 4. Fills
// `result` when non-null.
VX_Err VXp_ReallocScratch(int32_t count, int32_t depth_code, bool force, VXp_ScratchSet* result);
// Bytes the growing buffers can hold per buffer (count x 4 x depth_code).
size_t VXp_ScratchCapacity();
// Frees the whole pool (shut-down).
void VXp_FreeScratch();

// The seven blocks in a caller's array, independent of the pool.
VX_Err VX_AllocateMotionBlurScratch(void* blocks[7]);
VX_Err VX_DisposeMotionBlurScratch(void* blocks[7]);
