// The named suites, registered when the host's plug-in scan has finished.
// Each is a copy of the routines as they stand then, modules' replacements
// included.
#include "core/Internal.h"
#include "core/Lifecycle.h"
#include "core/NamedRoutines.h"
#include "vx/Callbacks.h"
#include "vx/EffectWorld.h"
#include "vxhost/ADDN.h"

namespace {

template <int Field>
VX_Err CPUFlag(uint8_t* out) {
  if (!out) return VXp_BadParameter(0x3A);
  *out = (*KU_G_CPU_DataP)[Field] != 0 ? 1 : 0;
  return VX_Err_None;
}

VX_ColorSuite1 ColorSuite(VXp_ColorForm form) {
  VX_ColorSuite1 s{};
  VX_RoutineAddress* entries[VXp_kColorStemCount] = {&s.rgb_to_hls, &s.hls_to_rgb, &s.rgb_to_yiq, &s.yiq_to_rgb,
                                                     &s.luminance,  &s.hue,        &s.lightness,  &s.saturation};
  for (int32_t stem = 0; stem < VXp_kColorStemCount; ++stem)
    *entries[stem] = VXp_GetNamedRoutine(VXp_NamedColor(form, stem));
  return s;
}

VX_SamplingSuite1 SamplingSuite(void* nn, void* subpixel, void* area) { return {nn, subpixel, area}; }

// Every suite's table, built at once from the table as it stands.
struct SuiteTables {
  VX_CPUDataSuite1 cpu{CPUFlag<0>, CPUFlag<1>, CPUFlag<2>, CPUFlag<3>};
  VX_ANSISuite1 ansi{};
  VX_HandleSuite2 handle{VX_NewHandle, VX_LockHandle, VX_UnlockHandle, VX_DisposeHandle, VX_HandleSize,
                         VX_ResizeHandle};
  VX_ColorSuite1 color = ColorSuite(VXp_Color_Straight);
  VX_ColorSuite1 color16 = ColorSuite(VXp_Color_Straight16);
  VX_ColorSuite1 color_float = ColorSuite(VXp_Color_StraightFloat);
  VX_BatchSamplingSuite1 batch{{VX_BatchSampleStub, VX_BatchSampleStub, VX_BatchSampleStub, VX_BatchSampleStub}};
  VX_SamplingSuite1 sampling8 = SamplingSuite(VXp_SlotAddress(VX_Slot_NNSample),
                                              VXp_SlotAddress(VX_Slot_SubpixelSample_Straight),
                                              VXp_SlotAddress(VX_Slot_AreaSample_Straight));
  VX_SamplingSuite1 sampling16 = SamplingSuite(VXp_SlotAddress(VX_Slot_NNSample16),
                                               VXp_SlotAddress(VX_Slot_SubpixelSample_Straight16),
                                               VXp_SlotAddress(VX_Slot_AreaSample16));
  VX_SamplingSuite1 sampling_float =
      SamplingSuite(VXp_GetNamedRoutine(VXp_Named_NNSampleFloat), VXp_GetNamedRoutine(VXp_Named_SubpixelCPlusPlusFloat),
                    VXp_GetNamedRoutine(VXp_Named_AreaSampleCPlusPlusFloat));
  VX_WorldSuite1 world1{VX_NewWorldForPlugin, VX_DisposeEffectWorld};
  VX_Iterate8Suite1 iterate8{};
  VX_Iterate16Suite1 iterate16{};
  VX_IterateFloatSuite1 iterate_float{};
  VX_WorldTransformSuite1 world_transform{VXp_SlotAddress(VX_Slot_CompositeRectBest_Straight),
                                          VXp_GetNamedRoutine(VXp_Named_Blend_Straight),
                                          VXp_SlotAddress(VX_Slot_Convolve),
                                          VXp_SlotAddress(VX_Slot_CopyBits_Draft),
                                          VXp_SlotAddress(VX_Slot_CopyBits_HQ_Straight),
                                          VX_TransferRectForPlugin,
                                          VX_TransformWorldForPlugin};
  VX_FillMatteSuite2 fill_matte{VX_Fill,         VX_Fill16,      VX_FillFloat,       VX_Premul,
                                VX_PremulColor,  VX_PremulColor16, VX_PremulColorFloat};
  VX_PixelDataSuite1 pixel_data{VX_GetPixelData8, VX_GetPixelData16, VX_GetPixelDataFloat};
  VX_WorldSuite2 world2{VX_NewWorldByFormat, VX_DisposeEffectWorld, VXp_GetPixelFormat};

  SuiteTables() {
    VXp_FillANSICallbacks(&ansi);
    iterate8.iterate = VXp_GetSlot<VX_Slot_Iterate>();
    iterate8.iterate_origin = VXp_GetSlot<VX_Slot_IterateOrigin>();
    iterate8.iterate_lut = VXp_GetSlot<VX_Slot_IterateLUT>();
    iterate8.iterate_origin_unclipped = VXp_GetSlot<VX_Slot_IterateOriginUnclipped>();
    iterate8.iterate_generic = VXp_GetSlot<VX_Slot_IterateGeneric>();
    VXp_Assign(iterate16.iterate, VXp_SlotAddress(VX_Slot_Iterate));
    VXp_Assign(iterate16.iterate_origin, VXp_SlotAddress(VX_Slot_IterateOrigin));
    VXp_Assign(iterate16.iterate_origin_unclipped, VXp_SlotAddress(VX_Slot_IterateOriginUnclipped));
    VXp_Assign(iterate_float.iterate, VXp_SlotAddress(VX_Slot_Iterate));
    VXp_Assign(iterate_float.iterate_origin, VXp_SlotAddress(VX_Slot_IterateOrigin));
    VXp_Assign(iterate_float.iterate_origin_unclipped, VXp_SlotAddress(VX_Slot_IterateOriginUnclipped));
  }
};

struct Registration {
  const char* name;
  int32_t version;
  int32_t internal_version;
  const void* table;
  int32_t count;
};

template <class Suite>
Registration Register(const char* name, int32_t version, int32_t internal_version, const Suite& suite,
                      int32_t count = static_cast<int32_t>(sizeof(Suite) / sizeof(void*))) {
  static_assert(sizeof(Suite) % sizeof(void*) == 0, "a suite is a table of routine addresses");
  return {name, version, internal_version, &suite, count};
}

}  // namespace

VX_Err VXp_RegisterSuites() {
  return VXp_Guard([]() -> VX_Err {
    const SuiteTables t;
    const Registration suites[] = {
        Register(VX_kCPUDataSuite, 1, 1, t.cpu),
        Register(VX_kANSISuite, 1, 1, t.ansi, VX_kANSISuiteCount),
        Register(VX_kHandleSuite, 2, 1, t.handle),
        Register(VX_kColorSuite, 1, 1, t.color),
        Register(VX_kColor16Suite, 1, 1, t.color16),
        Register(VX_kColorFloatSuite, 1, 1, t.color_float),
        Register(VX_kBatchSamplingSuite, 1, 1, t.batch),
        Register(VX_kSampling8Suite, 1, 1, t.sampling8),
        Register(VX_kSampling16Suite, 1, 1, t.sampling16),
        Register(VX_kSamplingFloatSuite, 1, 1, t.sampling_float),
        Register(VX_kWorldSuite, 1, 1, t.world1),
        Register(VX_kIterate8Suite, 1, 1, t.iterate8),
        Register(VX_kIterate16Suite, 1, 1, t.iterate16),
        Register(VX_kIterateFloatSuite, 1, 1, t.iterate_float),
        Register(VX_kWorldTransformSuite, 1, 1, t.world_transform),
        Register(VX_kFillMatteSuite, 2, 2, t.fill_matte),
        Register(VX_kPixelDataSuite, 1, 1, t.pixel_data),
        Register(VX_kWorldSuite, 2, 2, t.world2),
    };
    // A suite that can't be registered stops all that follow.
    for (const Registration& r : suites)
      if (VX_Err err = ADDN_AddHBSuite(0, 0, r.name, r.version, r.internal_version, r.count, r.table)) return err;
    return VX_Err_None;
  });
}
