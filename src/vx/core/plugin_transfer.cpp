// Transfer and transform for plug-ins: the plain compositing record becomes a
// VX_CompositeModePlus and the call goes through the slot as it stands now.
#include "core/Internal.h"
#include "vx/Callbacks.h"

namespace {

VX_CompositeModePlus PlusFromPlain(const VX_CompositeMode& mode) {
  VX_CompositeModePlus plus(mode);
  plus.tables = nullptr;  // plug-ins blend without linear-light tables
  return plus;
}

}  // namespace

VX_Err VX_TransferRectForPlugin(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                                const GEO_LRect* source_rect, VX_LayerDef* source, const VX_CompositeMode* mode,
                                const VX_TrackMatte* mask, int32_t dest_x, int32_t dest_y,
                                VX_LayerDef* destination) {
  if (!mode) return VXp_BadParameter(0x1F);
  auto body = VXp_GetSlot<VX_Slot_TransferRect>();
  if (!body) return VX_Err_Unimplemented;
  const VX_CompositeModePlus plus = PlusFromPlain(*mode);
  return body(progress, quality, flags, field, source_rect, source, &plus, nullptr, mask, dest_x, dest_y,
              destination);
}

VX_Err VX_TransformWorldForPlugin(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                                  VX_LayerDef* source, const VX_CompositeMode* mode, const VX_TrackMatte* mask,
                                  const GEO_Matrix3* matrices, int32_t matrix_count, bool src2dst,
                                  const GEO_LRect* dest_rect, VX_LayerDef* destination) {
  if (!mode) return VXp_BadParameter(0x20);
  auto body = VXp_GetSlot<VX_Slot_TransformWorld>();
  if (!body) return VX_Err_Unimplemented;
  const VX_CompositeModePlus plus = PlusFromPlain(*mode);
  return body(progress, quality, flags, field, source, &plus, mask, matrices, matrix_count, src2dst, dest_rect,
              destination);
}
