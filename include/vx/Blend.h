// The blend pipeline: one row of source pixels composited onto one row of
// destination pixels. A descriptor says which span stages run around a
// mode's inner blending function (flatten, behind, blend, merge alpha, lift,
// save and restore alpha); the pipeline runs them a whole row at a time.
#pragma once

#include <cstdint>

#include "vx/LinearBlending.h"
#include "vx/PixelTraits.h"
#include "vx/Types.h"
#include "vx/Xfer.h"

// The mode as a span kernel sees it; opacity in channel units (255, 32768 or
// 1.0 is full).
template <class Pixel>
struct VX_BlendingMode {
  int32_t transfer_mode;  // -3..38, not -1
  int32_t dissolve_seed;  // seed of XferDissolve for the row's first pixel
  typename VX_PixelTraits<Pixel>::Channel opacity;
  bool keep_alpha;  // the destination's alpha must survive
};

template <class Pixel>
struct VX_BlendModeDescriptor;

// Inner blending functions work on `count` pixels; `mask` is a row of pixels
// of which only alpha is read, or null.
template <class Pixel>
using VX_InnerBlendingProc = VX_Err (*)(int32_t count, const VX_BlendModeDescriptor<Pixel>* descriptor,
                                        const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                                        Pixel* dst);
template <class Pixel>
struct VX_InnerBlendingFunc {
  VX_InnerBlendingProc<Pixel> func;
};

// The alpha merge of the pipeline: the union of the scaled source alpha with
// the destination's.
template <class Pixel>
using VX_BlendAlphaProc = VX_Err (*)(int32_t count, const Pixel* src, typename VX_PixelTraits<Pixel>::Channel opacity,
                                     const Pixel* mask, Pixel* dst);
// Flatten and lift: (count, null, row), in place.
template <class Pixel>
using VX_BlendSpanProc = VX_Err (*)(int32_t count, const Pixel* src, Pixel* dst);

// Chooses the kernel of `transfer_mode` for rows with (HasMask) or without a
// mask and with (HasTables) or without linear blending tables. An unknown
// mode is reported ("unimplemented blending mode.") and gives 5. The twelve
// instances are reached through slots 94..105 (VX_InnerBlendingSlots).
template <class Pixel, bool HasMask, bool HasTables>
VX_Err VX_GetInnerBlendingFunc(int32_t transfer_mode, VX_InnerBlendingFunc<Pixel>* out);
template <class Pixel>
using VX_GetInnerBlendingProc = VX_Err (*)(int32_t transfer_mode, VX_InnerBlendingFunc<Pixel>* out);

template <class Pixel>
struct VX_BlendModeDescriptor {
  VX_BlendingMode<Pixel> mode;
  VX_InnerBlendingFunc<Pixel> behind_func;  // XferBehind for the same mask and table variant
  VX_BlendSpanProc<Pixel> matte_func;       // flattens the destination, or null
  VX_BlendSpanProc<Pixel> unmatte_func;     // lifts it again, or null
  VX_InnerBlendingFunc<Pixel> blend_func;   // the mode's own kernel
  VX_BlendAlphaProc<Pixel> alpha_func;      // merges the source alpha
  bool uses_matte;
  bool needs_behind;
  bool saves_alpha;
  bool merges_alpha;
  const VX_LinearBlendingTables* tables;  // null: blend in the stored encoding

  // Takes its functions from the table of replaceable operations. A mode
  // with no kernel is reported and leaves blend_func null; callers validate
  // the mode first (VX_IsXferMode).
  VX_BlendModeDescriptor(const VX_BlendingMode<Pixel>& mode, bool has_mask, const VX_LinearBlendingTables* tables);
};

// Composites one row: save alpha, flatten or behind, blend, merge alpha,
// lift, restore alpha, as the descriptor says. `scratch` holds `count`
// channels and is used only when the alpha is saved. Returns the first
// stage's error; later stages are skipped then.
template <class Pixel>
VX_Err VX_BlendPipeline(VX_ProgressInfo* progress, int32_t count, const VX_BlendModeDescriptor<Pixel>* descriptor,
                        const Pixel* source, const Pixel* mask, typename VX_PixelTraits<Pixel>::Channel* scratch,
                        Pixel* destination);

// Moves the alpha of each destination pixel toward `value` by the weight
// mul(mask[i], opacity); other channels are left alone.
template <class Pixel, class Channel>
void VX_BlendSingleChannel(int32_t count, Channel opacity, Channel value, const Channel* mask, Pixel* destination);
