// Bitmap worlds: pixels in a block of their own (or the host's), reached
// through a handle, locked while in use.
#include <cstdlib>
#include <cstring>

#include "vxhost/RB.h"

namespace {

bool ValidBits(int16_t bits) { return bits == 32 || bits == 64 || bits == 128; }

KU_Err NewHandle(RB_WorldH* out, RB_World** world_out) {
  if (!KUp_AllocationPermitted()) return 4;
  auto* master = static_cast<RB_World**>(std::malloc(sizeof(RB_World*)));
  auto* world = static_cast<RB_World*>(std::calloc(1, sizeof(RB_World)));
  if (!master || !world) {
    std::free(master);
    std::free(world);
    return 4;
  }
  *master = world;
  *out = master;
  *world_out = world;
  return 0;
}

}  // namespace

KU_Err RB_NewWorld(int32_t, int32_t, const GEO_Rect* bounds, int16_t bits_per_pixel, int32_t, int32_t,
                   RB_WorldH* out) {
  if (!out) return 3;
  *out = nullptr;
  if (!bounds || !ValidBits(bits_per_pixel)) return 3;
  const int32_t width = bounds->right - bounds->left, height = bounds->bottom - bounds->top;
  if (width <= 0 || height <= 0) return 3;
  const int32_t row_stride = ((width * (bits_per_pixel / 8)) + 15) & ~15;
  const size_t bytes = static_cast<size_t>(row_stride) * height;
  if (!KUp_AllocationPermitted()) return 4;
  void* base = nullptr;
  if (posix_memalign(&base, 16, bytes) != 0 || !base) return 4;
  std::memset(base, 0, bytes);
  RB_WorldH handle;
  RB_World* world;
  if (KU_Err err = NewHandle(&handle, &world)) {
    std::free(base);
    return err;
  }
  world->width = static_cast<int16_t>(width);
  world->height = static_cast<int16_t>(height);
  world->bits_per_pixel = bits_per_pixel;
  world->pixels = nullptr;  // set while locked
  world->row_stride = row_stride;
  world->base = base;
  world->bytes = bytes;
  world->channel_order = RB_ChannelOrder_ARGB;
  world->owns_pixels = true;
  *out = handle;
  return 0;
}

KU_Err RB_NewWorldOnPixels(void* pixels, int16_t width, int16_t height, int16_t bits_per_pixel, int32_t row_stride,
                           int32_t channel_order, RB_WorldH* out) {
  if (!out) return 3;
  *out = nullptr;
  if (!pixels || width <= 0 || height <= 0 || !ValidBits(bits_per_pixel)) return 3;
  RB_WorldH handle;
  RB_World* world;
  if (KU_Err err = NewHandle(&handle, &world)) return err;
  world->width = width;
  world->height = height;
  world->bits_per_pixel = bits_per_pixel;
  world->pixels = pixels;  // the host's memory is always at hand
  world->row_stride = row_stride;
  world->base = pixels;
  world->bytes = static_cast<size_t>(row_stride > 0 ? row_stride : -row_stride) * height;
  world->channel_order = channel_order;
  world->owns_pixels = false;
  *out = handle;
  return 0;
}

KU_Err RB_DisposeWorld(RB_WorldH world) {
  if (!world || !*world) return 3;
  if ((*world)->owns_pixels) std::free((*world)->base);
  std::free(*world);
  std::free(world);
  return 0;
}

KU_Err RB_LoadLockPixels(RB_WorldH world, int32_t) { return RB_LockPixels(world); }

KU_Err RB_LockPixels(RB_WorldH world) {
  if (!world || !*world) return 3;
  RB_World* w = *world;
  ++w->lock_count;
  w->pixels = w->base;
  return 0;
}

KU_Err RB_UnlockPixels(RB_WorldH world) {
  if (!world || !*world) return 3;
  RB_World* w = *world;
  if (w->lock_count > 0 && --w->lock_count == 0 && w->owns_pixels) w->pixels = nullptr;
  return 0;
}

void* RBp_GetPixBaseAddr(RB_WorldH world) { return world && *world ? (*world)->base : nullptr; }

int32_t RB_GetChannelOrder(RB_WorldH world) { return world && *world ? (*world)->channel_order : 0; }

void RB_SetChannelOrder(RB_WorldH world, int32_t order) {
  if (world && *world) (*world)->channel_order = order;
}
