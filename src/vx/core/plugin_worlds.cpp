// Worlds for plug-ins (version 1 flags and pixel-format tags), the retired
// platform-data and batch-sampling entries, and the CPU data routines.
#include "core/Internal.h"
#include "vx/Callbacks.h"
#include "vx/EffectWorld.h"
#include "vxhost/Misc.h"

VX_Err VX_NewWorldForPlugin(void* caller_ref, int32_t width, int32_t height, int32_t flags, VX_LayerDef* world) {
  const int32_t depth = (flags & VX_NewWorldFlag_Deep) ? 16 : 8;
  return VX_NewEffectWorld(caller_ref, width, height, depth, (flags & VX_NewWorldFlag_Clear) != 0, false, world);
}

VX_Err VX_NewWorldByFormat(void* caller_ref, int32_t width, int32_t height, bool clear, VX_PixelFormat format,
                           VX_LayerDef* world) {
  int32_t depth = 0;
  VXp_ForEachPixelType([&](auto pixel) {
    typedef VX_PixelTraits<decltype(pixel)> Traits;
    if (format == Traits::kFormat) depth = Traits::kDepth;
  });
  if (!depth) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "Unsupported VX_PixelFormat");
    return VX_Err_BadParam;
  }
  return VX_NewEffectWorld(caller_ref, width, height, depth, clear, false, world);
}

VX_Err VX_GetPlatformData(void*, int32_t which, void* data_out) {
  if (which == 0 && data_out) *static_cast<void**>(data_out) = HOST_GetMainWindow();
  // Retired: callers are told so every time, even when the handle was stored.
  VXp_ReportMessage(VXp_Site(0x38), VXp_Msg_BadCallbackParameter);
  return VX_Err_Reported;
}

VX_Err VX_BatchSampleStub(...) {
  KU_ReportFailedVerification(VXp_Site(0x2E), __LINE__, 0,
                              "Batch Sampling has been deprecated; please update your plug-in calling code");
  return VX_Err_BadParam;
}
