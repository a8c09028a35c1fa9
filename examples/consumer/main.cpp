// A third-party program on the installed package: start it, make two worlds,
// fill and premultiply one, copy it into the other at another depth, and
// check a pixel.
#include <cstdio>

#include <vx/VX.h>
#include <vxhost/Host.h>

int main() {
  if (VX_CheckVersions(0, VX_kPackageVersion) || VX_Birth()) {
    std::fprintf(stderr, "consumer: the package did not start\n");
    return 1;
  }
  VX_LayerDef eight{}, sixteen{};
  VX_NewEffectWorld(nullptr, 64, 32, 8, true, false, &eight);
  VX_NewEffectWorld(nullptr, 64, 32, 16, true, false, &sixteen);
  const VX_Pixel8 color{128, 255, 200, 0};
  VX_Fill(nullptr, &color, nullptr, &eight);
  VX_Premul(nullptr, 1, &eight);
  sixteen.world_object->CopyRectPossiblyDifferentBitdepth(eight.world_object, GEO_LRect{0, 0, 64, 32}, false, 0,
                                                          0, nullptr);
  const auto* p = static_cast<const VX_Pixel16*>(sixteen.data);
  std::printf("consumer: premultiplied (128, 255, 200, 0) reads (%u, %u, %u, %u) at 16 bits\n", p->alpha, p->red,
              p->green, p->blue);
  const bool right = p->alpha == 16448 && p->red == 16448 && p->green == 12850 && p->blue == 0;
  VX_DisposeEffectWorld(nullptr, &eight);
  VX_DisposeEffectWorld(nullptr, &sixteen);
  return VX_Death() == 0 && right ? 0 : 1;
}
