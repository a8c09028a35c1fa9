// Transforms the package makes: to and from the linear twin of a profile,
// from the working space to a display, and between built-in profiles.
#include <string>

#include "color/ORXLink.h"
#include "core/Internal.h"
#include "vx/ColorTransforms.h"
#include "vxhost/OPTS.h"

namespace {

constexpr const char* kPrefsOwner = "VX";
constexpr const char* kDisplaySection = "Display Transform Section";
constexpr const char* kClipOverRangeKey = "Clip over range in Display Transform when not Theater Preview";
// The optimisation level asked of a fast display transform.
constexpr uint32_t kOptimizeKey = 0x6F70744C;
constexpr int32_t kOptimizeLevel = 100;

bool ClipOverRangePreference() {
  std::string text;
  bool found = false;
  VXp_ThrowIf(OPTS_GetTextPrefData(OPTS_GetPrefsHandle(kPrefsOwner), kDisplaySection, kClipOverRangeKey, &text,
                                   &found));
  return found && OPTS_TextIsTrue(text, false);
}

int32_t IntentFor(bool over) { return over ? ORX_Intent_Unclipped : ORX_Intent_RelativeColorimetric; }

// The part of a display transform before the display: through the simulated
// device, and first through the output device when there is one.
TNT_ORX_Transform ToSimulation(const TNT_ORX_Profile& working, const TNT_ORX_Profile* output,
                               const TNT_ORX_Profile& simulation, const TNT_ORX_Transform& last, bool over,
                               bool skip_output_step) {
  const _t_ORX_Options& defaults = TNT_GetDefaultORXOptions();
  const _t_ORX_Options& fast = TNT_GetFastORXOptions();
  if (output) {
    over = over || output->IsOverRange();
    TNT_ORX_Transform head = VXp_MakeTransform(working, *output, IntentFor(over), defaults);
    if (!skip_output_step)
      head = VXp_ConcatTransforms(head, VXp_MakeTransform(*output, simulation, ORX_Intent_RelativeColorimetric, fast));
    return VXp_ConcatTransforms(head, last);
  }
  if (skip_output_step) {
    VXp_ORXCall(&VXp_ORXProcs::reference, last.Get());
    return TNT_ORX_Transform(last.Get());
  }
  const TNT_ORX_Transform first = over ? VXp_MakeTransform(working, simulation, ORX_Intent_Unclipped, defaults)
                                       : VXp_MakeTransform(working, simulation, ORX_Intent_RelativeColorimetric, fast);
  return VXp_ConcatTransforms(first, last);
}

// Releases a transform through the interface that made it, on every exit.
struct InterfaceRelease {
  ORX_TransformRefFn unreference;
  ORXTransform* transform;
  ~InterfaceRelease() {
    if (transform) unreference(transform);
  }
};

}  // namespace

TNT_ORX_Transform VX_GetLinearizeTransform(std::shared_ptr<TNT_ORX_Profile> a, std::shared_ptr<TNT_ORX_Profile> b,
                                           bool into_linear) {
  if (!a) a = TNT_ORX_GetDefaultProfile();
  if (!b) b = TNT_ORX_GetDefaultProfile();
  const std::shared_ptr<TNT_ORX_Profile> linear = TNT_ORX_GetLinearRGBProfile(into_linear ? b : a);
  const _t_ORX_Options& options = TNT_GetDefaultORXOptions();
  return into_linear ? VXp_MakeTransform(*a, *linear, ORX_Intent_RelativeColorimetric, options)
                     : VXp_MakeTransform(*linear, *b, ORX_Intent_RelativeColorimetric, options);
}

TNT_ORX_Profile VX_GetPlatformDisplayProfile(const void* monitor) {
  ORXProfile* p = nullptr;
  if (monitor)
    VXp_ORXCall(&VXp_ORXProcs::monitor_n, &p, monitor);
  else
    VXp_ORXCall(&VXp_ORXProcs::main_monitor, &p);
  TNT_ORX_Profile profile;
  profile.SetProfile(p);
  return profile;
}

void VX_GetCalRGBGammas(const TNT_ORX_Profile* profile, float* red, float* green, float* blue) {
  std::shared_ptr<TNT_ORX_Profile> fallback;
  if (!profile) {
    fallback = TNT_ORX_GetDefaultProfile();
    profile = fallback.get();
  }
  ORX_CalRGB cal{};
  VXp_ORXCall(&VXp_ORXProcs::extract_cal_rgb, profile->Get(), &cal, static_cast<void*>(nullptr));
  if (red) *red = static_cast<float>(cal.red_gamma);
  if (green) *green = static_cast<float>(cal.green_gamma);
  if (blue) *blue = static_cast<float>(cal.blue_gamma);
}

TNT_ORX_Transform VX_NewDisplayTransform(const TNT_ORX_Profile& working, const TNT_ORX_Profile& display,
                                         const TNT_ORX_Profile* output, const TNT_ORX_Profile* simulation,
                                         bool skip_output_step, bool fast) {
  const bool fast_options = ClipOverRangePreference() || fast;
  const _t_ORX_Options& options_a = fast_options ? TNT_GetFastORXOptions() : TNT_GetDefaultORXOptions();
  const _t_ORX_Options& options_b = TNT_GetDefaultORXOptions();
  const _t_ORX_Options& options_c = TNT_GetFastORXOptions();
  const bool over = working.IsOverRange();

  TNT_ORX_Transform result;
  if (!simulation) {
    result = over ? VXp_MakeTransform(working, display, ORX_Intent_Unclipped, options_b)
                  : VXp_MakeTransform(working, display, ORX_Intent_RelativeColorimetric, options_a);
  } else {
    const TNT_ORX_Transform last =
        VXp_MakeTransform(*simulation, display, ORX_Intent_RelativeColorimetric, options_c);
    result = ToSimulation(working, output, *simulation, last, over, skip_output_step);
  }
  if (fast) {
    _t_ORX_Options level;
    level.Set(kOptimizeKey, kOptimizeLevel);
    ORXTransform* optimized = nullptr;
    VXp_ORXCall(&VXp_ORXProcs::optimize, &optimized, result.Get(), static_cast<const _t_ORX_Options*>(&level));
    result.SetTransform(optimized);
  }
  return result;
}

void VX_ConvertProfileToProfile(ORX_ProfileCode source_code, ORX_ProfileCode destination_code,
                                const VX_World* source, VX_World* destination, bool keep_alpha,
                                VX_ProgressInfo* progress) {
  const TNT_ORX_Profile from = VXp_ProfileFromCode(source_code);
  const TNT_ORX_Profile to = VXp_ProfileFromCode(destination_code);
  ORXTransform* t = nullptr;
  VXp_ORXCall(&VXp_ORXProcs::make, &t, from.Get(), to.Get(), static_cast<int32_t>(ORX_Intent_RelativeColorimetric),
              &TNT_GetDefaultORXOptions());
  const InterfaceRelease release{VXp_ORX()->unreference, t};
  VX_ORXApplyTransform(t, source, destination, keep_alpha, progress);
}
