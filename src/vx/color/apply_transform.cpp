// Applying an engine transform to a world: one engine call for unpadded
// worlds, else row by row with the alpha kept out of the engine's way.
#include <vector>

#include "color/ORXLink.h"
#include "core/Internal.h"
#include "vx/ColorTransforms.h"
#include "vx/World.h"

namespace {

constexpr const char* kUnknownDepth = "Unknown world bitdepth in##CONDITIONNAME";

// Calls body(Channel{}) for the channel type of a depth; an unknown depth is
// reported at `line` and throws 3.
template <class Body>
void ByChannel(int32_t depth, int32_t line, Body&& body) {
  VXp_ThrowIf(VXp_DispatchDepth(depth, {kUnknownDepth, line}, [&](auto pixel) {
    body(typename VX_PixelTraits<decltype(pixel)>::Channel{});
  }));
}

char* RowOf(const VX_World* w, int32_t y) {
  return static_cast<char*>(w->data) + static_cast<ptrdiff_t>(y) * w->row_stride;
}

void CheckWorlds(const VX_World* source, const VX_World* destination) {
  if (!source || !destination || !source->data || !destination->data) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "Missing world in VX_ORXApplyTransform.");
    throw VX_Err{VX_Err_BadParam};
  }
  if (destination->width < source->width || destination->height < source->height) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "Destination smaller than source in VX_ORXApplyTransform.");
    throw VX_Err{VX_Err_BadParam};
  }
}

}  // namespace

void VX_ORXApplyTransform(ORXTransform* transform, const VX_World* source, VX_World* destination, bool keep_alpha,
                          VX_ProgressInfo* progress) {
  CheckWorlds(source, destination);
  const int32_t width = source->width, height = source->height;
  const int32_t source_depth = source->Depth(), destination_depth = destination->Depth();
  const int32_t source_bytes = source_depth / 8, destination_bytes = destination_depth / 8;
  const uint32_t source_format = ORX_FormatForBytes(source_bytes);
  const uint32_t destination_format = ORX_FormatForBytes(destination_bytes);
  const _t_ORX_Options& options = TNT_GetDefaultORXOptions();

  // The engine's per-call overhead is large: unpadded worlds go in one call.
  if (!keep_alpha && source_bytes * width * 4 == source->row_stride &&
      destination_bytes * width * 4 == destination->row_stride) {
    VXp_ORXCall(&VXp_ORXProcs::apply, transform, static_cast<const void*>(source->data), destination->data,
                width * height, source_format, destination_format, &options);
    return;
  }
  if (keep_alpha && height > 0 && source_depth != destination_depth) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, 174, 0, "Can't copy alpha if src and dst have different depth.");
    throw VX_Err{VX_Err_BadParam};
  }
  std::vector<char> plane(keep_alpha ? static_cast<size_t>(width) * source_bytes : 0);
  for (int32_t r = 0; r < height; ++r) {
    char* s = RowOf(source, r);
    char* d = RowOf(destination, r);
    if (keep_alpha)
      ByChannel(source_depth, 177, [&](auto c) {
        typedef decltype(c) Channel;
        VX_Deinterleave1(reinterpret_cast<const Channel*>(s), reinterpret_cast<Channel*>(plane.data()), width, 0);
      });
    VXp_ORXCall(&VXp_ORXProcs::apply, transform, static_cast<const void*>(s), static_cast<void*>(d), width,
                source_format, destination_format, &options);
    if (keep_alpha)
      ByChannel(destination_depth, 203, [&](auto c) {
        typedef decltype(c) Channel;
        VX_Interleave1to4(reinterpret_cast<const Channel*>(plane.data()), reinterpret_cast<Channel*>(d), width, 0);
      });
    VXp_CheckProgress64(progress, r, height);
  }
}
