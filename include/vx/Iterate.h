// Iteration: walking a rectangle and calling the client for each pixel, each
// channel value through tables, or each slice of work.
#pragma once

#include "vx/Types.h"

// Per-pixel callbacks, (refcon, x, y, in, out). `in` and `out` have the
// world's own pixel type; the typed forms below forward to the same body.
typedef VX_Err (*VX_IterateFunc)(void* refcon, int32_t x, int32_t y, VX_Pixel8* in, VX_Pixel8* out);
typedef VX_Err (*VX_IterateFunc16)(void* refcon, int32_t x, int32_t y, VX_Pixel16* in, VX_Pixel16* out);
typedef VX_Err (*VX_IterateFuncFloat)(void* refcon, int32_t x, int32_t y, VX_PixelFloat* in,
                                      VX_PixelFloat* out);
// Generic callbacks, (refcon, thread_index, i, iterations).
typedef VX_Err (*VX_IterateGenericFunc)(void* refcon, int32_t thread_index, int32_t i, int32_t iterations);

typedef VX_Err (*VX_IterateProc)(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                 VX_LayerDef* src, const GEO_LRect* area, void* refcon, VX_IterateFunc func,
                                 VX_LayerDef* dst);
typedef VX_Err (*VX_IterateOriginProc)(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                       VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin,
                                       void* refcon, VX_IterateFunc func, VX_LayerDef* dst);
typedef VX_Err (*VX_IterateLUTProc)(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                    VX_LayerDef* src, const GEO_LRect* area, const uint8_t* a_lut,
                                    const uint8_t* r_lut, const uint8_t* g_lut, const uint8_t* b_lut,
                                    VX_LayerDef* dst);
typedef VX_Err (*VX_IterateGenericProc)(int32_t iterations, void* refcon, VX_IterateGenericFunc func);

// Thin entries: each jumps through its slot of VXp_G_OverFuncs.
VX_Err VX_Iterate(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                  const GEO_LRect* area, void* refcon, VX_IterateFunc func, VX_LayerDef* dst);
VX_Err VX_IterateOrigin(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                        const GEO_LRect* area, const GEO_LPoint* origin, void* refcon, VX_IterateFunc func,
                        VX_LayerDef* dst);
VX_Err VX_IterateOriginUnclipped(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                 VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin, void* refcon,
                                 VX_IterateFunc func, VX_LayerDef* dst);
VX_Err VX_IterateLUT(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                     const GEO_LRect* area, const uint8_t* a_lut, const uint8_t* r_lut, const uint8_t* g_lut,
                     const uint8_t* b_lut, VX_LayerDef* dst);
VX_Err VX_IterateGeneric(int32_t iterations, void* refcon, VX_IterateGenericFunc func);

// Built-in bodies, installed in the table by VX_Birth.
VX_Err VX_Iterate_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                         const GEO_LRect* area, void* refcon, VX_IterateFunc func, VX_LayerDef* dst);
VX_Err VX_IterateOrigin_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                               VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin, void* refcon,
                               VX_IterateFunc func, VX_LayerDef* dst);
VX_Err VX_IterateOriginUnclipped_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                        VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin,
                                        void* refcon, VX_IterateFunc func, VX_LayerDef* dst);
VX_Err VX_IterateLUT_Static(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                            VX_LayerDef* src, const GEO_LRect* area, const uint8_t* a_lut, const uint8_t* r_lut,
                            const uint8_t* g_lut, const uint8_t* b_lut, VX_LayerDef* dst);
VX_Err VX_IterateGeneric_Static(int32_t iterations, void* refcon, VX_IterateGenericFunc func);

// Typed forms for 16-bit and float callbacks. Templates, so that a null
// callback still picks the plain form.
template <class Pixel>
inline VX_Err VX_Iterate(VX_IterateHost* host, int32_t progress_start, int32_t progress_total, VX_LayerDef* src,
                         const GEO_LRect* area, void* refcon,
                         VX_Err (*func)(void*, int32_t, int32_t, Pixel*, Pixel*), VX_LayerDef* dst) {
  return VX_Iterate(host, progress_start, progress_total, src, area, refcon,
                    reinterpret_cast<VX_IterateFunc>(func), dst);
}
template <class Pixel>
inline VX_Err VX_IterateOrigin(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                               VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin, void* refcon,
                               VX_Err (*func)(void*, int32_t, int32_t, Pixel*, Pixel*), VX_LayerDef* dst) {
  return VX_IterateOrigin(host, progress_start, progress_total, src, area, origin, refcon,
                          reinterpret_cast<VX_IterateFunc>(func), dst);
}
template <class Pixel>
inline VX_Err VX_IterateOriginUnclipped(VX_IterateHost* host, int32_t progress_start, int32_t progress_total,
                                        VX_LayerDef* src, const GEO_LRect* area, const GEO_LPoint* origin,
                                        void* refcon, VX_Err (*func)(void*, int32_t, int32_t, Pixel*, Pixel*),
                                        VX_LayerDef* dst) {
  return VX_IterateOriginUnclipped(host, progress_start, progress_total, src, area, origin, refcon,
                                   reinterpret_cast<VX_IterateFunc>(func), dst);
}

// Table services for old clients. Selectors 2, 3: multiply or divide table
// (argument: const uint8_t**); 4, 5: trigonometry table (const
// GEO_FTrigTable**); 6, 7 and 8, 9 release them. Others return 0.
VX_Err VX_AppCallback(void* reference, int32_t selector, ...);
