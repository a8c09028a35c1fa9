// Profile and display transforms: the thin layer between worlds and the
// colour engine. These are class-level calls: they throw TNT_ORX_Error for
// engine failures (ORX_Err_NoInterface, 0x67656E20, when the engine's
// interface is missing) and a plain VX_Err for the rest.
#pragma once

#include <cstdint>
#include <memory>

#include "vx/Types.h"
#include "vxhost/ORX.h"

class VX_World;

// The transform from a profile into the linear twin of another (into_linear),
// or from the linear twin of one to another. Null profiles are sRGB.
TNT_ORX_Transform VX_GetLinearizeTransform(std::shared_ptr<TNT_ORX_Profile> a, std::shared_ptr<TNT_ORX_Profile> b,
                                           bool into_linear);

// The profile of a monitor (null: the main monitor) as the host set it.
TNT_ORX_Profile VX_GetPlatformDisplayProfile(const void* monitor);

// The transform from the working space to the display, through an output
// and a simulated device when asked. Transforms that over-range values may
// pass use ORX_Intent_Unclipped, all others relative colorimetric. The
// package preference "Clip over range in Display Transform when not Theater
// Preview" (section "Display Transform Section") asks for fast options on
// the direct path as `fast` does.
TNT_ORX_Transform VX_NewDisplayTransform(const TNT_ORX_Profile& working, const TNT_ORX_Profile& display,
                                         const TNT_ORX_Profile* output, const TNT_ORX_Profile* simulation,
                                         bool skip_output_step, bool fast);

// Converts `source` into `destination` (at least as large) from one built-in
// profile to another.
void VX_ConvertProfileToProfile(ORX_ProfileCode source_code, ORX_ProfileCode destination_code,
                                const VX_World* source, VX_World* destination, bool keep_alpha,
                                VX_ProgressInfo* progress);

// Applies a transform from `source` into `destination` (at least as large;
// depths may differ). With keep_alpha the depths must agree and the
// destination's alpha becomes the source's, untouched by the engine. Rows
// without padding and without keep_alpha go to the engine in one call;
// otherwise row by row, with progress every 64 rows.
void VX_ORXApplyTransform(ORXTransform* transform, const VX_World* source, VX_World* destination, bool keep_alpha,
                          VX_ProgressInfo* progress);

// The gammas fitted to a profile's curves (null: sRGB). Null outputs are skipped.
void VX_GetCalRGBGammas(const TNT_ORX_Profile* profile, float* red, float* green, float* blue);

// Row helpers: one channel (0 alpha, 1 red, 2 green, 3 blue) of `count`
// four-channel pixels into a plane, and a plane back into that channel.
template <class Channel>
void VX_Deinterleave1(const Channel* pixels, Channel* plane, int32_t count, int32_t channel) {
  for (int32_t i = 0; i < count; ++i) plane[i] = pixels[i * 4 + channel];
}
template <class Channel>
void VX_Interleave1to4(const Channel* plane, Channel* pixels, int32_t count, int32_t channel) {
  for (int32_t i = 0; i < count; ++i) pixels[i * 4 + channel] = plane[i];
}
