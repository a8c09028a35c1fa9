// The named suites, registered with the host's suite registry when its plug-in
// scan has finished, in the order below. A plug-in acquires one by its exact
// name and version through the host's basic suite (ADDN_GetHBBasicSuite) and
// releases it when done.
//
// A suite is a copy of the routines as they stood at the end of the scan: a
// later VX_SetOverrideFunc reaches the package's thin entries but not the
// suites. Entries of families this build doesn't have yet are null.
#pragma once

#include "vx/Callbacks.h"

// Suite names: plug-ins ask for these exact strings (mind the case of the two
// iterate suites).
constexpr const char* VX_kCPUDataSuite = "QM CPU Data Suite";
constexpr const char* VX_kANSISuite = "VX ANSI Suite";
constexpr const char* VX_kHandleSuite = "VX Handle Suite";
constexpr const char* VX_kColorSuite = "VX Color Suite";
constexpr const char* VX_kColor16Suite = "VX Color16 Suite";
constexpr const char* VX_kColorFloatSuite = "VX ColorFloat Suite";
constexpr const char* VX_kBatchSamplingSuite = "VX Batch Sampling Suite";
constexpr const char* VX_kSampling8Suite = "VX Sampling8 Suite";
constexpr const char* VX_kSampling16Suite = "VX Sampling16 Suite";
constexpr const char* VX_kSamplingFloatSuite = "VX SamplingFloat Suite";
constexpr const char* VX_kWorldSuite = "VX World Suite";  // versions 1 and 2
constexpr const char* VX_kIterate8Suite = "VX Iterate8 Suite";
constexpr const char* VX_kIterate16Suite = "VX iterate16 Suite";
constexpr const char* VX_kIterateFloatSuite = "VX iterateFloat Suite";
constexpr const char* VX_kWorldTransformSuite = "VX World Transform Suite";
constexpr const char* VX_kFillMatteSuite = "VX Fill Matte Suite";
constexpr const char* VX_kPixelDataSuite = "VX Pixel Data Suite";

// Version 1: each routine stores 1 when the processor field is set, else 0.
typedef VX_Err (*VX_CPUFlagProc)(uint8_t* out);
struct VX_CPUDataSuite1 {
  VX_CPUFlagProc field0;  // fields 0 to 3 of the host's CPU record
  VX_CPUFlagProc field1;
  VX_CPUFlagProc field2;
  VX_CPUFlagProc field3;
};

// Version 1: the first 19 entries of VX_ANSICallbacks; `spare` isn't part of
// the suite and must not be read.
typedef VX_ANSICallbacks VX_ANSISuite1;
constexpr int32_t VX_kANSISuiteCount = 19;

// Version 2.
struct VX_HandleSuite2 {
  VX_NewHandleProc new_handle;
  VX_LockHandleProc lock_handle;
  VX_UnlockHandleProc unlock_handle;
  VX_DisposeHandleProc dispose_handle;
  VX_HandleSizeProc handle_size;
  VX_ResizeHandleProc resize_handle;
};

// Version 1, for the three colour suites: the straight forms of the depth.
struct VX_ColorSuite1 {
  VX_RoutineAddress rgb_to_hls;
  VX_RoutineAddress hls_to_rgb;
  VX_RoutineAddress rgb_to_yiq;
  VX_RoutineAddress yiq_to_rgb;
  VX_RoutineAddress luminance;
  VX_RoutineAddress hue;
  VX_RoutineAddress lightness;
  VX_RoutineAddress saturation;
};

// Version 1: four retired stubs.
struct VX_BatchSamplingSuite1 {
  VX_BatchSampleProc stubs[4];
};

// Version 1, for the three sampling suites: nearest neighbour, subpixel and
// area sampling of the depth.
struct VX_SamplingSuite1 {
  VX_RoutineAddress nn_sample;
  VX_RoutineAddress subpixel_sample;
  VX_RoutineAddress area_sample;
};

struct VX_WorldSuite1 {
  VX_NewWorldProc new_world;
  VX_DisposeWorldProc dispose_world;
};

struct VX_Iterate8Suite1 {
  VX_IterateProc iterate;
  VX_IterateOriginProc iterate_origin;
  VX_IterateLUTProc iterate_lut;
  VX_IterateOriginProc iterate_origin_unclipped;
  VX_IterateGenericProc iterate_generic;  // runs on the host's workers when it installed them
};

struct VX_Iterate16Suite1 {
  VX_Iterate16Proc iterate;
  VX_IterateOrigin16Proc iterate_origin;
  VX_IterateOrigin16Proc iterate_origin_unclipped;
};

struct VX_IterateFloatSuite1 {
  VX_IterateFloatProc iterate;
  VX_IterateOriginFloatProc iterate_origin;
  VX_IterateOriginFloatProc iterate_origin_unclipped;
};

struct VX_WorldTransformSuite1 {
  VX_RoutineAddress composite_rect;  // best, straight
  VX_RoutineAddress blend;           // straight
  VX_RoutineAddress convolve;
  VX_RoutineAddress copy;     // draft
  VX_RoutineAddress copy_hq;  // best, straight
  VX_TransferRectForPluginProc transfer_rect;
  VX_TransformWorldForPluginProc transform_world;
};

// Version 2.
struct VX_FillMatteSuite2 {
  VX_FillProc fill;
  VX_Fill16Proc fill16;
  VX_FillFloatProc fill_float;
  VX_PremulProc premul;
  VX_PremulColorProc premul_color;
  VX_PremulColor16Proc premul_color16;
  VX_PremulColorFloatProc premul_color_float;
};

struct VX_PixelDataSuite1 {
  VX_GetPixelData8Proc get_pixel_data8;
  VX_GetPixelData16Proc get_pixel_data16;
  VX_GetPixelDataFloatProc get_pixel_data_float;
};

// Version 2.
struct VX_WorldSuite2 {
  VX_NewWorldByFormatProc new_world;
  VX_DisposeWorldProc dispose_world;
  VX_GetPixelFormatProc get_pixel_format;
};
