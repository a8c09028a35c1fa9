// Dissolve rows eight at a time: when and how the transfer may run them so.
#include <algorithm>

#include "composite/spans/SpanVector.h"

bool VXp_DissolveRowsUsable(const VX_BlendModeDescriptor<VX_Pixel8>& d, bool has_mask, VXp_Isa isa) {
  if (d.mode.transfer_mode != XferDissolve || has_mask || d.tables || isa < VXp_Isa::AVX2) return false;
  // A host's replacement kernel sees every row itself.
  VX_InnerBlendingFunc<VX_Pixel8> own{nullptr};
  return !VX_GetInnerBlendingFunc<VX_Pixel8, false, false>(XferDissolve, &own) && own.func &&
         own.func == d.blend_func.func;
}

namespace {

// Whether any row's source bytes meet any row's destination bytes. Rows one
// by one would see the rows written before them; side by side they don't.
bool Meet(int32_t count, const VXp_DissolveRow8 *rows) {
  const auto bytes = static_cast<size_t>(count) * sizeof(VX_Pixel8);
  auto lo = [](auto p) { return reinterpret_cast<uintptr_t>(p); };
  uintptr_t src_lo = UINTPTR_MAX, src_hi = 0, dst_lo = UINTPTR_MAX, dst_hi = 0;
  for (int k = 0; k < 8; ++k) {
    src_lo = std::min(src_lo, lo(rows[k].src));
    src_hi = std::max(src_hi, lo(rows[k].src) + bytes);
    dst_lo = std::min(dst_lo, lo(rows[k].dst));
    dst_hi = std::max(dst_hi, lo(rows[k].dst) + bytes);
  }
  // Rows come at one stride; closer than a row, destinations meet too.
  const auto stride =
      lo(rows[1].dst) > lo(rows[0].dst) ? lo(rows[1].dst) - lo(rows[0].dst) : lo(rows[0].dst) - lo(rows[1].dst);
  return (src_lo < dst_hi && dst_lo < src_hi) || stride < bytes;
}

}  // namespace

bool VXp_DissolveRowGroup8(int32_t count, const VX_BlendModeDescriptor<VX_Pixel8> &d, VXp_DissolveRow8 *rows) {
  if (Meet(count, rows)) return false;
  const int32_t done = VXp_DissolveRows8_AVX2(count, d.mode.opacity, d.mode.keep_alpha, rows);
  if (done == count) return true;
  VX_BlendModeDescriptor<VX_Pixel8> tail = d;
  for (int k = 0; k < 8; ++k) {
    tail.mode.dissolve_seed = static_cast<int32_t>(rows[k].seed);
    d.blend_func.func(count - done, &tail, nullptr, rows[k].src + done, nullptr, rows[k].dst + done);
  }
  return true;
}
