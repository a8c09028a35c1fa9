// The package's link to the colour engine: the broker's "ORXInterface2"
// (and "ORXBitDepthConverterInterface"), fetched by name on first use and
// fetched again whenever the broker's generation has moved.
#pragma once

#include "vxhost/ORX.h"

// (member, type, key, procedure name) of every procedure the package takes.
#define VXP_ORX_PROCS(X)                                                                        \
  X(apply, ORX_ApplyTransformFn, "ApplyTransform", "ORX_ApplyTransformProc2")                   \
  X(concat, ORX_ConcatTransformsFn, "ConcatTransforms", "ORX_ConcatTransformsProc")             \
  X(make, ORX_MakeColorTransformFn, "MakeColorTransform", "ORX_MakeColorTransformProc")         \
  X(optimize, ORX_OptimizeTransformFn, "OptimizeTransform", "ORX_OptimizeTransformProc")        \
  X(reference, ORX_TransformRefFn, "ReferenceTransform", "ORX_ReferenceTransformProc")          \
  X(unreference, ORX_TransformRefFn, "UnReferenceTransform", "ORX_UnReferenceTransformProc")    \
  X(extract_cal_rgb, ORX_ExtractCalRGBFn, "ExtractCalRGB", "ORX_ExtractCalRGBProc")             \
  X(profile_from_code, ORX_ProfileFromCodeFn, "ProfileFromCode", "ORX_ProfileFromCodeProc")     \
  X(main_monitor, ORX_MainMonitorProfileFn, "MainMonitorProfile", "ORX_MainMonitorProfileProc") \
  X(monitor_n, ORX_MonitorProfileNFn, "MonitorProfileN", "ORX_MonitorProfileNProc")

struct VXp_ORXProcs {
#define VXP_ORX_MEMBER(member, type, key, name) type member;
  VXP_ORX_PROCS(VXP_ORX_MEMBER)
#undef VXP_ORX_MEMBER
};

// The procedures, or null when the interface (or any procedure) is missing.
const VXp_ORXProcs* VXp_ORX();
// The bit-depth converter table, fetched with the interface; null if missing.
const ORX_InterfaceTable* VXp_ORXBitDepthConverters();

// Calls a procedure of the interface and throws its error through
// TNT_ORX_ETX; a missing interface is ORX_Err_NoInterface.
template <class Fn, class... Args>
void VXp_ORXCall(Fn VXp_ORXProcs::*proc, Args... args) {
  const VXp_ORXProcs* orx = VXp_ORX();
  TNT_ORX_ETX(orx ? (orx->*proc)(args...) : ORX_Err_NoInterface);
}

// Owning results of the procedures.
TNT_ORX_Transform VXp_MakeTransform(const TNT_ORX_Profile& from, const TNT_ORX_Profile& to, int32_t intent,
                                    const _t_ORX_Options& options);
TNT_ORX_Transform VXp_ConcatTransforms(const TNT_ORX_Transform& first, const TNT_ORX_Transform& second);
TNT_ORX_Profile VXp_ProfileFromCode(ORX_ProfileCode code);
