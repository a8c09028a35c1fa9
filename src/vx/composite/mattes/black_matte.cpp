// Black-matte rows on raw 8-bit memory (alpha first or last), and moving
// premultiplied pixels from black onto a matte colour.
#include "composite/mattes/MatteStages.h"
#include "core/Internal.h"
#include "vx/EffectWorld.h"
#include "vx/World.h"

namespace {
// Memory with alpha in byte 3.
struct PixelBGRA8 {
  uint8_t blue, green, red, alpha;
};
}  // namespace

template <>
struct VX_PixelTraits<PixelBGRA8> : VX_PixelTraits<VX_Pixel8> {};
namespace vx {
inline namespace VX_ISA_NS {
template <>
struct Arith<PixelBGRA8> : Arith<VX_Pixel8> {};
}  // namespace VX_ISA_NS
}  // namespace vx

namespace {

template <class Stage, class Pixel>
VX_Err MatteRow(int32_t count, const void* src, void* dst) {
  if (count < 1 || !dst) return VX_Err_None;
  return vx::RunMatteStage<Stage, Pixel>(count, static_cast<const Pixel*>(src), static_cast<Pixel*>(dst));
}

template <class Pixel>
VX_Err MatteBlackToColor(VX_LayerDef* world, const VX_Pixel8* color, const char* wrong_depth_text) {
  if (!world || !world->data) return VXp_BadParameter(13);
  if (VXp_WorldDepth(world) != 8) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, wrong_depth_text);
    return VX_Err_BadParam;
  }
  if (!color || (color->red == 0 && color->green == 0 && color->blue == 0)) return VX_Err_None;
  // The matte's share for each alpha: the colour premultiplied by 255 - alpha.
  VX_Pixel8 share[256];
  for (int32_t i = 0; i < 256; ++i) {
    const int32_t a = 255 - i;
    share[i] = VX_Pixel8{static_cast<uint8_t>(a), static_cast<uint8_t>(vx::mul8(color->red, a)),
                         static_cast<uint8_t>(vx::mul8(color->green, a)), static_cast<uint8_t>(vx::mul8(color->blue, a))};
  }
  auto add = [](uint8_t c, uint8_t s) { return static_cast<uint8_t>(std::min(c + s, 255)); };
  for (int32_t y = 0; y < world->height; ++y) {
    auto* p = reinterpret_cast<Pixel*>(static_cast<char*>(world->data) + static_cast<ptrdiff_t>(y) * world->row_stride);
    for (int32_t x = 0; x < world->width; ++x) {
      const VX_Pixel8& s = share[p[x].alpha];
      p[x].red = add(p[x].red, s.red);
      p[x].green = add(p[x].green, s.green);
      p[x].blue = add(p[x].blue, s.blue);
    }
  }
  return VX_Err_None;
}

}  // namespace

VX_Err VX_BlackMatte(void*, int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  return MatteRow<vx::MatteBlack, VX_Pixel8>(count, src, dst);
}
VX_Err VX_DeBlackMatte(void*, int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  return MatteRow<vx::UnmatteBlack, VX_Pixel8>(count, src, dst);
}
VX_Err VX_BlackMatteARGB(void*, int32_t count, const void* src, void* dst) {
  return MatteRow<vx::MatteBlack, VX_Pixel8>(count, src, dst);
}
VX_Err VX_DeBlackMatteARGB(void*, int32_t count, const void* src, void* dst) {
  return MatteRow<vx::UnmatteBlack, VX_Pixel8>(count, src, dst);
}
VX_Err VX_BlackMatteBGRA(void*, int32_t count, const void* src, void* dst) {
  return MatteRow<vx::MatteBlack, PixelBGRA8>(count, src, dst);
}
VX_Err VX_DeBlackMatteBGRA(void*, int32_t count, const void* src, void* dst) {
  return MatteRow<vx::UnmatteBlack, PixelBGRA8>(count, src, dst);
}

VX_Err VX_MatteBlackToMatteColorARGB(VX_LayerDef* world, const VX_Pixel8* color, int32_t) {
  return MatteBlackToColor<VX_Pixel8>(world, color, "VX_MatteBlackToMatteColorARGB only works on 8bpc worlds");
}

VX_Err VX_MatteBlackToMatteColorBGRA(VX_LayerDef* world, const VX_Pixel8* color, int32_t) {
  return MatteBlackToColor<PixelBGRA8>(world, color, "VX_MatteBlackToMatteColorBGRA only works on 8bpc worlds");
}
