// Compositing options: the plain record older callers fill in, the record the
// transfers read, and the track matte argument.
#pragma once

#include <cmath>

#include "vx/LinearBlending.h"
#include "vx/Types.h"

// The plain record of the callback block and the suites.
struct VX_CompositeMode {
  int32_t transfer_mode;
  int32_t dissolve_seed;
  uint8_t opacity;    // 255 is full
  uint8_t keep_alpha; // keep the destination's alpha
  uint16_t opacity16; // 32768 is full
};

struct VX_CompositeModePlus {
  int32_t transfer_mode;
  int32_t dissolve_seed;
  bool keep_alpha;
  const VX_LinearBlendingTables* tables;  // stored, not read by the transfers
  float opacity;                          // 1.0 is full

  // Leaves every field as it is.
  VX_CompositeModePlus() {}
  VX_CompositeModePlus(int32_t mode, float opacity_, const VX_LinearBlendingTables* tables_, bool keep_alpha_,
                       int32_t dissolve_seed_)
      : transfer_mode(mode), dissolve_seed(dissolve_seed_), keep_alpha(keep_alpha_), tables(tables_),
        opacity(opacity_) {}
  // The 8-bit opacity wins when the two disagree by a level or more; the finer
  // one is used otherwise. `tables` is left as it is.
  explicit VX_CompositeModePlus(const VX_CompositeMode& mode)
      : transfer_mode(mode.transfer_mode), dissolve_seed(mode.dissolve_seed), keep_alpha(mode.keep_alpha != 0) {
    const float a = mode.opacity / 255.0f;
    const float b = mode.opacity16 * 3.0517578e-5f;
    opacity = std::fabs(static_cast<double>(a) - static_cast<double>(b)) >= 0.00392156862745098 ? a : b;
  }
};

// What a track matte masks with; the odd kinds are inverted.
enum VX_MatteKind : int32_t {
  VX_MatteKind_Alpha = 0,
  VX_MatteKind_AlphaInverted = 1,
  VX_MatteKind_Luma = 2,  // luma x alpha
  VX_MatteKind_LumaInverted = 3
};
constexpr bool VX_IsMatteKind(int32_t kind) { return kind >= VX_MatteKind_Alpha && kind <= VX_MatteKind_LumaInverted; }
constexpr bool VX_MatteKindInverts(int32_t kind) { return (kind & 1) != 0; }

// A world whose alpha or luma masks a transfer (matte_kind a VX_MatteKind).
struct VX_TrackMatte {
  VX_LayerDef matte;
  int32_t offset_x;  // the matte's top-left corner in destination coordinates
  int32_t offset_y;
  int32_t matte_kind;
};

typedef VX_Err (*VX_TransferRectProc)(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                                      const GEO_LRect* source_rect, VX_LayerDef* source,
                                      const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables,
                                      const VX_TrackMatte* mask, int32_t dest_x, int32_t dest_y,
                                      VX_LayerDef* destination);
