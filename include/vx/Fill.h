// Fill, premultiply and matte operations on whole rectangles and raw rows.
#pragma once

#include "vx/Types.h"

// Fills a rectangle of a world of any depth with a colour, converted to the
// world's depth. A null colour is transparent black; a null rect the whole
// world; the rect is sorted and clamped.
VX_Err VX_Fill(void* caller_ref, const VX_Pixel8* color, const GEO_LRect* rect, VX_LayerDef* world);
VX_Err VX_Fill16(void* caller_ref, const VX_Pixel16* color, const GEO_LRect* rect, VX_LayerDef* world);
VX_Err VX_FillFloat(void* caller_ref, const VX_PixelFloat* color, const GEO_LRect* rect, VX_LayerDef* world);

// Premultiplies (forward non-zero) or unmultiplies a rectangle against black,
// in place. Through slot 52 to VX_PremulRect_S.
VX_Err VX_PremulRect(void* caller_ref, int32_t forward, const GEO_LRect* rect, VX_LayerDef* world);
VX_Err VX_PremulRect_S(void* caller_ref, int32_t forward, const GEO_LRect* rect, VX_LayerDef* world);
VX_Err VX_Premul(void* caller_ref, int32_t forward, VX_LayerDef* world);
typedef VX_Err (*VX_PremulRectProc)(void* caller_ref, int32_t forward, const GEO_LRect* rect, VX_LayerDef* world);

// Premultiplies against (forward) or unmultiplies from a matte colour, from
// src (null: dst in place) into dst. The colour is converted to the world's
// depth; an all-black colour takes the black row kernels.
VX_Err VX_PremulColor(void* caller_ref, VX_LayerDef* src, const VX_Pixel8* color, int32_t forward,
                      VX_LayerDef* dst);
VX_Err VX_PremulColor16(void* caller_ref, VX_LayerDef* src, const VX_Pixel16* color, int32_t forward,
                        VX_LayerDef* dst);
VX_Err VX_PremulColorFloat(void* caller_ref, VX_LayerDef* src, const VX_PixelFloat* color, int32_t forward,
                           VX_LayerDef* dst);
// The same on a rectangle of dst (null: all of it).
VX_Err VX_PremulColorRect(void* caller_ref, VX_LayerDef* src, const GEO_LRect* rect, const VX_Pixel16* color,
                          int32_t forward, VX_LayerDef* dst);
VX_Err VX_PremulColorRectFloat(void* caller_ref, VX_LayerDef* src, const GEO_LRect* rect,
                               const VX_PixelFloat* color, int32_t forward, VX_LayerDef* dst);

// Row forms on raw 8-bit memory: forward against black (mul8) and reverse
// (the divide table). src may be null or equal to dst for in place. A count
// below 1 does nothing. VX_BlackMatte works on ARGB pixels, as do the ARGB
// forms; the BGRA forms take byte 3 as alpha.
VX_Err VX_BlackMatte(void* caller_ref, int32_t count, const VX_Pixel8* src, VX_Pixel8* dst);
VX_Err VX_DeBlackMatte(void* caller_ref, int32_t count, const VX_Pixel8* src, VX_Pixel8* dst);
VX_Err VX_BlackMatteARGB(void* caller_ref, int32_t count, const void* src, void* dst);
VX_Err VX_DeBlackMatteARGB(void* caller_ref, int32_t count, const void* src, void* dst);
VX_Err VX_BlackMatteBGRA(void* caller_ref, int32_t count, const void* src, void* dst);
VX_Err VX_DeBlackMatteBGRA(void* caller_ref, int32_t count, const void* src, void* dst);

// Moves premultiplied 8-bit pixels from a black matte onto a matte colour:
// each pixel gets the colour's share (255 - alpha) added. `flag` is not read.
VX_Err VX_MatteBlackToMatteColorARGB(VX_LayerDef* world, const VX_Pixel8* color, int32_t flag);
VX_Err VX_MatteBlackToMatteColorBGRA(VX_LayerDef* world, const VX_Pixel8* color, int32_t flag);

// Zeroes the alpha of every pixel outside rect; colours are not touched.
VX_Err VX_ClearAlphaExceptRect(void* reference, const GEO_LRect* rect, VX_LayerDef* world);

double VX_Hypot(double x, double y);
// Park-Miller minimal standard (48271) in Schrage form; 15-bit results.
int32_t VX_Rand(uint32_t* seed);
// Puts the dither noise cursor back to the start of the noise table.
void VX_ResetDitherRandomIndex();

// Row kernels of the table (slots 35..41, 72..78, 106..112). A kernel takes
// (count, src, dst); src may be null or equal to dst, meaning in place.
typedef VX_Err (*VX_SpanFunc8)(int32_t count, const VX_Pixel8* src, VX_Pixel8* dst);
typedef VX_Err (*VX_SpanFunc16)(int32_t count, const VX_Pixel16* src, VX_Pixel16* dst);
typedef VX_Err (*VX_SpanFuncFloat)(int32_t count, const VX_PixelFloat* src, VX_PixelFloat* dst);
template <class Pixel>
using VX_SpanFunc = VX_Err (*)(int32_t count, const Pixel* src, Pixel* dst);
