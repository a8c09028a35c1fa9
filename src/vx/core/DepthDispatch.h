// The one place where a depth becomes a pixel type. Every routine that
// chooses a kernel by depth goes through VXp_DispatchDepth, so the set of
// depths and the way an unknown one is reported are written once.
#pragma once

#include <type_traits>

#include "vx/EffectWorld.h"
#include "vx/PixelTraits.h"
#include "vx/Types.h"
#include "vxhost/KU.h"

// Sites: 0x250000 plus a small number; 0x2503E7 is the catch-all.
constexpr int32_t VXp_Site(int32_t n) { return 0x250000 | n; }
constexpr int32_t VXp_kSiteCatchAll = 0x2503E7;

// Calls body(Pixel{}) for each pixel type a world can hold, in depth-index
// order.
template <class Body>
constexpr void VXp_ForEachPixelType(Body&& body) {
  body(VX_Pixel8{});
  body(VX_Pixel16{});
  body(VX_PixelFloat{});
}

// How a caller has an unknown depth reported: a failed verification with
// `text` at `site` and `line`, or with `to_user` a message of severity 8 at
// `site`. A null text reports nothing.
struct VXp_UnknownDepth {
  const char* text = nullptr;
  int32_t line = 0;
  int32_t site = VXp_kSiteCatchAll;
  bool to_user = false;
};
constexpr VXp_UnknownDepth VXp_kQuietDepth{};

// Reports as `unknown` says. Gives 3, or for a message to the user what the
// report gave.
VX_Err VXp_ReportUnknownDepth(const VXp_UnknownDepth& unknown);

// A body may give an error code or nothing (then 0).
template <class Body, class... Pixels>
VX_Err VXp_RunDepthBody(Body& body, Pixels... pixels) {
  if constexpr (std::is_void_v<decltype(body(pixels...))>) {
    body(pixels...);
    return VX_Err_None;
  } else {
    return body(pixels...);
  }
}

// Calls body(Pixel{}) for the pixel type of `depth` (8, 16 or 32) and gives
// what the body gives. Any other depth is reported as `unknown` says, and
// the report's code is the result. Values other than codes leave the body
// through its captures.
template <class Body>
VX_Err VXp_DispatchDepth(int32_t depth, const VXp_UnknownDepth& unknown, Body&& body) {
  bool known = false;
  VX_Err err = VX_Err_None;
  VXp_ForEachPixelType([&](auto pixel) {
    if (!known && depth == VX_PixelTraits<decltype(pixel)>::kDepth) {
      known = true;
      err = VXp_RunDepthBody(body, pixel);
    }
  });
  return known ? err : VXp_ReportUnknownDepth(unknown);
}

// The same by the depth of a plain world record (VXp_WorldDepth).
template <class Body>
VX_Err VXp_DispatchDepth(const VX_LayerDef* world, const VXp_UnknownDepth& unknown, Body&& body) {
  return VXp_DispatchDepth(VXp_WorldDepth(world), unknown, static_cast<Body&&>(body));
}

// Two depths at once, for conversions: body(FirstPixel{}, SecondPixel{}).
// The first depth is tested first, so only one unknown depth is reported.
template <class Body>
VX_Err VXp_DispatchDepths(int32_t first, const VXp_UnknownDepth& unknown_first, int32_t second,
                          const VXp_UnknownDepth& unknown_second, Body&& body) {
  return VXp_DispatchDepth(first, unknown_first, [&](auto a) {
    return VXp_DispatchDepth(second, unknown_second, [&](auto b) { return VXp_RunDepthBody(body, a, b); });
  });
}
