// Texture geometry, border rules, pixel memory and the instantiations of the
// element types.
#include <climits>
#include <cmath>
#include <utility>

#include "core/Internal.h"
#include "vx/EffectWorld.h"
#include "vx/opticalflow/MultiProcess.h"
#include "vx/opticalflow/Texture.h"
#include "vxhost/KU.h"

namespace {

constexpr int32_t kTextureSite = 0x250300;

// Mirror with the edge pixel repeated: ... 2 1 0 | 0 1 2 ... n-1 | n-1 n-2 ...
// Segment q of the mirrored line runs backwards when q is odd counting
// outwards from the image on the high side, and forwards when q is odd on the
// low side.
FnRun MirrorRun(int32_t c, int32_t n) {
  if (c < 0) {
    const int32_t k = -(c + 1);  // -c-1 without overflow at INT_MIN
    const int32_t q = k / n, r = k % n;
    if (q % 2 == 0) return {r, -1, r + 1};
    return {n - 1 - r, 1, r + 1};
  }
  const int32_t q = c / n, r = c % n;
  if (q % 2 == 1) return {n - 1 - r, -1, n - r};
  return {r, 1, n - r};
}

}  // namespace

FnRun FnEdgeRun(int32_t c, int32_t n, int32_t mode) {
  if (n <= 0) return {-1, 0, INT_MAX};
  if (c >= 0 && c < n) return {c, 1, n - c};
  const int32_t below = c == INT_MIN ? INT_MAX : -c;  // distance to the image from the low side
  switch (mode) {
    case FnEdge_None:
      return {-1, 0, c < 0 ? below : INT_MAX};
    case FnEdge_Clamp:
      return c < 0 ? FnRun{0, 0, below} : FnRun{n - 1, 0, INT_MAX};
    case FnEdge_Mirror:
      return MirrorRun(c, n);
    case FnEdge_Wrap: {
      const int32_t m = ((c % n) + n) % n;
      return {m, 1, n - m};
    }
    default:
      return {c, 1, INT_MAX};  // other modes leave the coordinate as it is
  }
}

int32_t FnEdgeIndex(int32_t c, int32_t n, int32_t mode) { return FnEdgeRun(c, n, mode).index; }

void FnTexIndexer::setActiveWindow(int32_t x0, int32_t x1, int32_t y0, int32_t y1) {
  auto set = [](FnTexAxis& axis, int32_t a, int32_t b) {
    if (a > b) std::swap(a, b);
    const int32_t top = axis.size - 1;
    a = a < 0 ? 0 : (a > top ? top : a);
    b = b < 0 ? 0 : (b > top ? top : b);
    axis.first = a;
    axis.last = b;
    axis.count = axis.size > 0 ? b - a + 1 : 0;
  };
  set(xAxis, x0, x1);
  set(yAxis, y0, y1);
}

void FnTexIndexer::setOrigin(int32_t x, int32_t y) {
  xAxis.origin = x, xAxis.originF = static_cast<float>(x);
  yAxis.origin = y, yAxis.originF = static_cast<float>(y);
}

void FnTexIndexer::setOrigin(float x, float y) {
  xAxis.originF = x, xAxis.origin = static_cast<int32_t>(std::floor(x + 0.5f));
  yAxis.originF = y, yAxis.origin = static_cast<int32_t>(std::floor(y + 0.5f));
}

namespace {

void* AttemptPixels(size_t bytes, void*) { return KU_AllocatePtr(kTextureSite, "Zephon image", bytes); }

}  // namespace

// Pixels come from the host's allocator under the global lock, through its
// purge loop so that caches can make room, and are booked in its account.
void* FnAllocateTexturePixels(size_t bytes) {
  FnGlobalLockGuard guard;
  return VXp_AllocateUnderPressure(bytes, AttemptPixels, nullptr);
}

void FnFreeTexturePixels(void* pixels) {
  if (!pixels) return;
  FnGlobalLockGuard guard;
  VXp_ReleaseBooked(KU_GetPtrSize(pixels));
  KU_FreePtr(pixels);
}

namespace {

template <class E>
constexpr int32_t kDepthOf = std::is_same_v<E, FnPixel8> ? 8 : std::is_same_v<E, FnPixel16> ? 16 : 32;

}  // namespace

template <class E, class A>
FnWorldTexture<E, A>::FnWorldTexture(const VX_LayerDef* world) {
  if (!world || !world->data || VXp_DepthOfFlags(world->depth_flags) != kDepthOf<E>) return;
  this->xAxis.reset(world->width > 0 ? world->width : 0);
  this->yAxis.reset(world->height > 0 ? world->height : 0);
  this->setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
  this->rowBytes = world->row_stride;
  if (this->xAxis.size > 0 && this->yAxis.size > 0) this->data = static_cast<E*>(world->data);
}

template class FnTexture<float, float>;
template class FnTexture<int, int>;
template class FnTexture<HvVec2, HvVec2>;
template class FnTexture<FnPixel8, FnPixelF>;
template class FnTexture<FnPixel16, FnPixelF>;
template class FnTexture<FnPixelF, FnPixelF>;
template class FnTexture<FnAccumPixel, FnAccumPixel>;
template class FnWorldTexture<FnPixel8, FnPixelF>;
template class FnWorldTexture<FnPixel16, FnPixelF>;
template class FnWorldTexture<FnPixelF, FnPixelF>;
