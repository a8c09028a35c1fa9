// How effect plug-ins reach the package: a flat block of routine pointers, a
// numbered look-up of one routine, and named suites (vx/Suites.h). All three
// read VXp_G_OverFuncs, so a replaced operation is seen everywhere; the block
// and the selectors read it when they are asked, the suites at the end of the
// host's plug-in scan. Beside them stand the small services a plug-in uses:
// handles, chunks, destinations, worlds by format and platform data.
//
// Routines of operation families that this build doesn't have yet appear as
// null entries. Their type is VX_RoutineAddress (an untyped address): cast it
// to the type its family's header declares.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vx/CompositeMode.h"
#include "vx/Fill.h"
#include "vx/Iterate.h"
#include "vx/Modules.h"
#include "vx/Types.h"
#include "vxhost/KU.h"

typedef void* VX_RoutineAddress;

// ---------------------------------------------------------------------------
// Routine types of the entries that plug-ins call.

typedef VX_Err (*VX_FillProc)(void* caller_ref, const VX_Pixel8* color, const GEO_LRect* rect, VX_LayerDef* world);
typedef VX_Err (*VX_Fill16Proc)(void* caller_ref, const VX_Pixel16* color, const GEO_LRect* rect,
                                VX_LayerDef* world);
typedef VX_Err (*VX_FillFloatProc)(void* caller_ref, const VX_PixelFloat* color, const GEO_LRect* rect,
                                   VX_LayerDef* world);
typedef VX_Err (*VX_PremulProc)(void* caller_ref, int32_t forward, VX_LayerDef* world);
typedef VX_Err (*VX_PremulColorProc)(void* caller_ref, VX_LayerDef* src, const VX_Pixel8* color, int32_t forward,
                                     VX_LayerDef* dst);
typedef VX_Err (*VX_PremulColor16Proc)(void* caller_ref, VX_LayerDef* src, const VX_Pixel16* color,
                                       int32_t forward, VX_LayerDef* dst);
typedef VX_Err (*VX_PremulColorFloatProc)(void* caller_ref, VX_LayerDef* src, const VX_PixelFloat* color,
                                          int32_t forward, VX_LayerDef* dst);

// The iterators with 16-bit and float callbacks: the same bodies as the 8-bit
// forms of vx/Iterate.h.
typedef VX_Err (*VX_Iterate16Proc)(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                   VX_LayerDef* src, const GEO_LRect* area, void* refcon, VX_IterateFunc16 func,
                                   VX_LayerDef* dst);
typedef VX_Err (*VX_IterateOrigin16Proc)(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                         VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin,
                                         void* refcon, VX_IterateFunc16 func, VX_LayerDef* dst);
typedef VX_Err (*VX_IterateFloatProc)(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                      VX_LayerDef* src, const GEO_LRect* area, void* refcon,
                                      VX_IterateFuncFloat func, VX_LayerDef* dst);
typedef VX_Err (*VX_IterateOriginFloatProc)(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                            VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin,
                                            void* refcon, VX_IterateFuncFloat func, VX_LayerDef* dst);

// Worlds for plug-ins. Version 1: bit 0 of flags clears, bit 1 asks for 16
// bits, else 8. By format: the depth named by a VX_PixelFormat tag.
enum : int32_t { VX_NewWorldFlag_Clear = 0x1, VX_NewWorldFlag_Deep = 0x2 };
typedef VX_Err (*VX_NewWorldProc)(void* caller_ref, int32_t width, int32_t height, int32_t flags,
                                  VX_LayerDef* world);
typedef VX_Err (*VX_NewWorldByFormatProc)(void* caller_ref, int32_t width, int32_t height, bool clear,
                                          VX_PixelFormat format, VX_LayerDef* world);
typedef VX_Err (*VX_DisposeWorldProc)(void* caller_ref, VX_LayerDef* world);
typedef VX_Err (*VX_GetPixelFormatProc)(const VX_LayerDef* world, VX_PixelFormat* format_out);
typedef VX_Err (*VX_GetPixelData8Proc)(VX_LayerDef* world, VX_Pixel8* pixels, VX_Pixel8** data_out);
typedef VX_Err (*VX_GetPixelData16Proc)(VX_LayerDef* world, VX_Pixel16* pixels, VX_Pixel16** data_out);
typedef VX_Err (*VX_GetPixelDataFloatProc)(VX_LayerDef* world, VX_PixelFloat* pixels, VX_PixelFloat** data_out);

VX_Err VX_NewWorldForPlugin(void* caller_ref, int32_t width, int32_t height, int32_t flags, VX_LayerDef* world);
// An unknown tag is a failed check and gives 3.
VX_Err VX_NewWorldByFormat(void* caller_ref, int32_t width, int32_t height, bool clear, VX_PixelFormat format,
                           VX_LayerDef* world);

// Transfer and transform for plug-ins: the plain compositing record is turned
// into a VX_CompositeModePlus (the 8-bit opacity wins when the two opacities
// disagree by a level or more), then the call goes through slot 31 or 32 as
// it stands at the time of the call. While the slot is empty the result is 5.
typedef VX_Err (*VX_TransferRectForPluginProc)(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                               int32_t field, const GEO_LRect* source_rect, VX_LayerDef* source,
                                               const VX_CompositeMode* mode, const VX_TrackMatte* mask,
                                               int32_t dest_x, int32_t dest_y, VX_LayerDef* destination);
typedef VX_Err (*VX_TransformWorldForPluginProc)(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                                 int32_t field, VX_LayerDef* source, const VX_CompositeMode* mode,
                                                 const VX_TrackMatte* mask, const GEO_Matrix3* matrices,
                                                 int32_t matrix_count, bool src2dst, const GEO_LRect* dest_rect,
                                                 VX_LayerDef* destination);
VX_Err VX_TransferRectForPlugin(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                                const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeMode* mode,
                                const VX_TrackMatte* mask, int32_t dest_x, int32_t dest_y,
                                VX_LayerDef* destination);
VX_Err VX_TransformWorldForPlugin(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                                  VX_LayerDef* source, const VX_CompositeMode* mode, const VX_TrackMatte* mask,
                                  const GEO_Matrix3* matrices, int32_t matrix_count, bool src2dst,
                                  const GEO_LRect* dest_rect, VX_LayerDef* destination);

// Retired: `which` 0 stores the host's main window through data_out; every
// call then reports and gives 516.
typedef VX_Err (*VX_GetPlatformDataProc)(void* caller_ref, int32_t which, void* data_out);
VX_Err VX_GetPlatformData(void* caller_ref, int32_t which, void* data_out);

// Batch sampling is retired: each stub reports a failed check and gives 3,
// whatever it is passed.
typedef VX_Err (*VX_BatchSampleProc)(...);
VX_Err VX_BatchSampleStub(...);

// Handles for plug-ins. Lock gives the block's address (null for null);
// unlock does nothing; dispose ignores null; size is 0 for null. Resize is
// quiet and returns 4 when memory is short.
typedef KU_Handle (*VX_NewHandleProc)(size_t size);
typedef void* (*VX_LockHandleProc)(KU_Handle handle);
typedef void (*VX_UnlockHandleProc)(KU_Handle handle);
typedef void (*VX_DisposeHandleProc)(KU_Handle handle);
typedef size_t (*VX_HandleSizeProc)(KU_Handle handle);
typedef VX_Err (*VX_ResizeHandleProc)(KU_Handle handle, size_t size);
KU_Handle VX_NewHandle(size_t size);
void* VX_LockHandle(KU_Handle handle);
void VX_UnlockHandle(KU_Handle handle);
void VX_DisposeHandle(KU_Handle handle);
size_t VX_HandleSize(KU_Handle handle);
VX_Err VX_ResizeHandle(KU_Handle handle, size_t size);

typedef VX_Err (*VX_GetCallbackAddrProc)(void* caller_ref, int32_t quality, int32_t flags, int32_t selector,
                                         void** address_out);
typedef VX_Err (*VX_AppCallbackProc)(void* reference, int32_t selector, ...);

// ---------------------------------------------------------------------------
// The callback block. `quality` 0 is draft, anything else best; bit 0 of
// `flags` set means straight colour, clear premultiplied.

enum : int32_t { VX_CallbackFlag_Straight = 0x1 };

struct VX_CallbackBlock {
  VX_RoutineAddress reserved_slot0;  // slot 0, always null
  VX_RoutineAddress sample;          // slot 3 or 4; draft slot 2
  VX_RoutineAddress area_sample;     // slot 5 or 6; draft slot 2
  VX_BatchSampleProc batch_sample;
  VX_RoutineAddress reserved_slot1;  // slot 1, always null
  VX_RoutineAddress composite_rect;  // slot 9 or 10; draft slot 7 or 8
  VX_RoutineAddress blend;           // straight or premultiplied by flags
  VX_RoutineAddress convolve;        // slot 28
  VX_RoutineAddress copy;            // slot 24 or 25; draft slot 23
  VX_FillProc fill;
  VX_RoutineAddress gaussian_kernel;
  VX_IterateProc iterate;
  VX_PremulProc premul;
  VX_PremulColorProc premul_color;
  VX_NewWorldProc new_world;
  VX_DisposeWorldProc dispose_world;
  VX_IterateOriginProc iterate_origin;
  VX_IterateLUTProc iterate_lut;
  VX_TransferRectForPluginProc transfer_rect;
  VX_TransformWorldForPluginProc transform_world;
  VX_NewHandleProc new_handle;
  VX_LockHandleProc lock_handle;
  VX_UnlockHandleProc unlock_handle;
  VX_DisposeHandleProc dispose_handle;
  VX_GetCallbackAddrProc get_callback_addr;
  VX_AppCallbackProc app;
  VX_ANSICallbacks ansi;
  // Colour space, 8 bits: straight or premultiplied by flags.
  VX_RoutineAddress rgb_to_hls;
  VX_RoutineAddress hls_to_rgb;
  VX_RoutineAddress rgb_to_yiq;
  VX_RoutineAddress yiq_to_rgb;
  VX_RoutineAddress luminance;
  VX_RoutineAddress hue;
  VX_RoutineAddress lightness;
  VX_RoutineAddress saturation;
  VX_GetPlatformDataProc get_platform_data;
  VX_HandleSizeProc handle_size;
  VX_IterateOriginProc iterate_origin_unclipped;
  VX_IterateGenericProc iterate_generic;
  VX_ResizeHandleProc resize_handle;
  VX_RoutineAddress sample16;       // slot 64; draft slot 63
  VX_RoutineAddress area_sample16;  // slot 65; draft slot 63
  VX_Fill16Proc fill16;
  VX_PremulColor16Proc premul_color16;
  VX_Iterate16Proc iterate16;
  VX_IterateOrigin16Proc iterate_origin16;
  VX_IterateOrigin16Proc iterate_origin_unclipped16;
  VX_GetPixelData8Proc get_pixel_data8;
  VX_GetPixelData16Proc get_pixel_data16;
  void* spare[16];  // zero
};

// Fills the whole block for this quality and alpha interpretation.
VX_Err VX_GetCallbackBlock(int32_t quality, int32_t flags, VX_CallbackBlock* block);
// Changes only the entries that depend on quality and flags.
VX_Err VX_SetCallbackBlockQuality(int32_t quality, int32_t flags, VX_CallbackBlock* block);

// ---------------------------------------------------------------------------
// Selectors: one routine by number, −13 to 37. An unknown selector writes null,
// reports "invalid callback selector" and gives 515. A known selector whose
// routine this build doesn't have yet writes null and gives 5 (selectors 1 and
// 5 name the reserved words and always give null with 0). A null address_out
// gives 3.

enum VX_CallbackSelector : int32_t {
  VX_Sel_BoxBlurDeepUnoScan = -13,
  VX_Sel_SubpixelSampleNoClip = -12,           // slot 61
  VX_Sel_SubpixelSamplePlus = -11,             // slot 60
  VX_Sel_SubpixelSampleTranslateNoClip = -9,   // slot 58
  VX_Sel_SubpixelSampleComputeWeight = -8,
  VX_Sel_BoxBlurUnoScan = -6,
  VX_Sel_GaussianValue = -5,
  VX_Sel_InsertPlanes = -4,
  VX_Sel_ExtractPlanes = -3,
  VX_Sel_FastBlur = -2,
  VX_Sel_PaintSpot = -1,
  VX_Sel_ReservedSlot0 = 1,
  VX_Sel_Sample = 2,
  VX_Sel_AreaSample = 3,
  VX_Sel_BatchSample = 4,
  VX_Sel_ReservedSlot1 = 5,
  VX_Sel_CompositeRect = 6,
  VX_Sel_Blend = 7,
  VX_Sel_Convolve = 8,
  VX_Sel_Copy = 9,
  VX_Sel_Fill = 10,
  VX_Sel_GaussianKernel = 11,
  VX_Sel_Iterate = 12,
  VX_Sel_Premul = 13,
  VX_Sel_PremulColor = 14,
  VX_Sel_RGBtoHLS = 15,
  VX_Sel_HLStoRGB = 16,
  VX_Sel_RGBtoYIQ = 17,
  VX_Sel_YIQtoRGB = 18,
  VX_Sel_Luminance = 19,
  VX_Sel_Hue = 20,
  VX_Sel_Lightness = 21,
  VX_Sel_Saturation = 22,
  VX_Sel_NewWorld = 23,
  VX_Sel_DisposeWorld = 24,
  VX_Sel_IterateOrigin = 25,
  VX_Sel_IterateLUT = 26,
  VX_Sel_TransferRect = 27,
  VX_Sel_TransformWorld = 28,
  VX_Sel_IterateOriginUnclipped = 29,
  VX_Sel_IterateGeneric = 30,
  VX_Sel_Sample16 = 31,
  VX_Sel_AreaSample16 = 32,
  VX_Sel_Fill16 = 33,
  VX_Sel_PremulColor16 = 34,
  VX_Sel_Iterate16 = 35,
  VX_Sel_IterateOrigin16 = 36,
  VX_Sel_IterateOriginUnclipped16 = 37
};
constexpr int32_t VX_kFirstSelector = -13;
constexpr int32_t VX_kLastSelector = 37;

VX_Err VX_GetCallbackAddr(void* caller_ref, int32_t quality, int32_t flags, int32_t selector, void** address_out);

// ---------------------------------------------------------------------------
// Chunks: blocks of samples of a named type, held in a handle.

// Sample types: four characters, the first in the top byte.
enum : uint32_t {
  VX_ChunkType_FIX4 = 0x46495834,
  VX_ChunkType_FLT4 = 0x464C5434,
  VX_ChunkType_LON4 = 0x4C4F4E34,
  VX_ChunkType_UFX4 = 0x55465834,
  VX_ChunkType_DBL8 = 0x44424C38,
  VX_ChunkType_SHT2 = 0x53485432,
  VX_ChunkType_UST2 = 0x55535432,
  VX_ChunkType_CHR1 = 0x43485231,
  VX_ChunkType_UBT1 = 0x55425431,
  VX_ChunkType_RGB3 = 0x52424720  // "RBG "
};

struct VX_Chunk {
  void* reserved0;
  void* reserved1;
  int32_t width;
  int32_t height;
  int32_t channels;
  int32_t row_stride;  // width x channels x sample size
  uint32_t data_type;
  KU_Handle handle;
  void* data;  // the locked address, or null
};

// Sizes must be positive and the row must fit in 32 bits; otherwise
// "invalid parameter" is reported and the result is 516. The samples are
// cleared, the chunk comes back locked.
VX_Err VX_NewChunk(int32_t width, int32_t height, int32_t channels, uint32_t data_type, VX_Chunk* chunk);
VX_Err VX_DisposeChunk(VX_Chunk* chunk);
VX_Err VX_LockChunk(VX_Chunk* chunk);
VX_Err VX_UnlockChunk(VX_Chunk* chunk);
// Bytes a sample: an unknown type gives 1.
VX_Err VX_ChunkDataSize(uint32_t data_type, int32_t* size_out);

// ---------------------------------------------------------------------------
// Destinations: a record of four words, through slots 45 and 46. The built-in
// open stores `a` in the first word and zeroes the rest; close zeroes all.

typedef VX_Err (*VX_OpenDestinationProc)(void* a, void* b, void* record[4]);
typedef VX_Err (*VX_CloseDestinationProc)(void* record[4]);
VX_Err VX_OpenDestination(void* a, void* b, void* record[4]);
VX_Err VX_CloseDestination(void* record[4]);

#include "vx/Suites.h"
