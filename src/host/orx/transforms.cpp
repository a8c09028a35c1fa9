// Engine transforms: a chain of links from profile to profile. Little CMS
// runs a chain as one multi-profile transform, in which each link's
// destination hands its device values to the next link's source.
#include <algorithm>
#include <cstring>

#include "orx/Engine.h"

namespace {

std::atomic<int32_t> g_live_transforms{0};

constexpr int32_t kDefaultOptimizeLevel = 50;

cmsUInt32Number LcmsIntent(int32_t intent) {
  switch (intent) {
    case ORX_Intent_Perceptual:
      return INTENT_PERCEPTUAL;
    case ORX_Intent_Saturation:
      return INTENT_SATURATION;
    default:  // relative colorimetric, clipped or not: clipping is ours
      return INTENT_RELATIVE_COLORIMETRIC;
  }
}

cmsUInt32Number LcmsFlags(int32_t level, bool precise) {
  if (precise || level <= 0) return cmsFLAGS_NOOPTIMIZE;
  if (level < 50) return cmsFLAGS_HIGHRESPRECALC;
  if (level < 100) return 0;
  return cmsFLAGS_LOWRESPRECALC;
}

cmsHTRANSFORM Build(const ORXTransform& t, cmsUInt32Number source, cmsUInt32Number destination, bool precise) {
  const size_t n = t.links.size() * 2;
  if (n == 0 || n > 254) return nullptr;
  std::vector<cmsHPROFILE> profiles;
  std::vector<cmsBool> bpc;
  std::vector<cmsUInt32Number> intents;
  std::vector<cmsFloat64Number> adaptation(n, 1.0);
  for (const ORXLink& link : t.links) {
    const cmsBool black = link.options.Get(ORX_OptKey_BlackPoint, 0) != 0;
    for (ORXProfile* p : {link.from, link.to}) {
      profiles.push_back(p->handle);
      bpc.push_back(black);
      intents.push_back(LcmsIntent(link.intent));
    }
  }
  return cmsCreateExtendedTransform(orx::Context(), static_cast<cmsUInt32Number>(n), profiles.data(), bpc.data(),
                                    intents.data(), adaptation.data(), nullptr, 0, source, destination,
                                    LcmsFlags(orx::OptimizeLevel(&t), precise));
}

// A new transform with these links (references taken) and a first build, so
// that a chain Little CMS can't run fails here and not when pixels come. The
// exact float build is the cheapest to make, and the precise path uses it.
ORX_Error NewTransform(std::vector<ORXLink> links, int32_t optimize_override, ORXTransform** out) {
  auto* t = new ORXTransform;
  for (ORXLink& link : links) {
    orx::Retain(link.from);
    orx::Retain(link.to);
  }
  t->links = std::move(links);
  t->optimize_override = optimize_override;
  ORX_Error err = ORX_Err_None;
  if (!orx::BuiltFor(t, TYPE_ARGB_FLT, TYPE_ARGB_FLT, true, &err)) {
    orx::Release(t);
    return err;
  }
  *out = t;
  return ORX_Err_None;
}

}  // namespace

ORXTransform::ORXTransform() { ++g_live_transforms; }

ORXTransform::~ORXTransform() {
  for (Built& b : built) cmsDeleteTransform(b.handle);
  for (ORXLink& link : links) {
    orx::Release(link.from);
    orx::Release(link.to);
  }
  --g_live_transforms;
}

int32_t ORX_LiveTransforms() { return g_live_transforms.load(); }

namespace orx {

void Retain(ORXTransform* transform) {
  if (transform) transform->refs.fetch_add(1, std::memory_order_relaxed);
}

void Release(ORXTransform* transform) {
  if (transform && transform->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete transform;
}

int32_t OptimizeLevel(const ORXTransform* t) {
  if (t->optimize_override >= 0) return t->optimize_override;
  int32_t level = 100;
  for (const ORXLink& link : t->links) level = std::min(level, link.options.Get(ORX_OptKey_Optimize, kDefaultOptimizeLevel));
  return level;
}

cmsHTRANSFORM BuiltFor(ORXTransform* t, cmsUInt32Number source, cmsUInt32Number destination, bool precise,
                       ORX_Error* err) {
  std::lock_guard<std::mutex> guard(t->built_lock);
  for (const ORXTransform::Built& b : t->built)
    if (b.source == source && b.destination == destination && b.precise == precise) return b.handle;
  cmsHTRANSFORM handle = Build(*t, source, destination, precise);
  if (!handle) {
    *err = ORX_Err_TransformFailed;
    return nullptr;
  }
  t->built.push_back(ORXTransform::Built{source, destination, precise, handle});
  return handle;
}

}  // namespace orx

ORX_Error ORX_MakeColorTransformProc(ORXTransform** out, ORXProfile* source, ORXProfile* destination,
                                     int32_t intent, const _t_ORX_Options* options) {
  if (!out || !source || !destination) return ORX_Err_BadParameter;
  *out = nullptr;
  if (intent < ORX_Intent_Perceptual || intent > ORX_Intent_Unclipped) return ORX_Err_BadIntent;
  if (!source->rgb || !destination->rgb) return ORX_Err_NotRGB;
  return orx::Guard([&] {
    return NewTransform({ORXLink{source, destination, intent, options ? *options : _t_ORX_Options{}}}, -1, out);
  });
}

ORX_Error ORX_ConcatTransformsProc(ORXTransform** out, ORXTransform* first, ORXTransform* second) {
  if (!out || !first || !second) return ORX_Err_BadParameter;
  *out = nullptr;
  return orx::Guard([&] {
    std::vector<ORXLink> links = first->links;
    links.insert(links.end(), second->links.begin(), second->links.end());
    return NewTransform(std::move(links), -1, out);
  });
}

ORX_Error ORX_OptimizeTransformProc(ORXTransform** out, ORXTransform* transform, const _t_ORX_Options* options) {
  if (!out || !transform) return ORX_Err_BadParameter;
  *out = nullptr;
  const int32_t level = options ? options->Get(ORX_OptKey_Optimize, 100) : 100;
  return orx::Guard([&] { return NewTransform(transform->links, std::clamp(level, 0, 100), out); });
}

ORX_Error ORX_ReferenceTransformProc(ORXTransform* transform) {
  if (!transform) return ORX_Err_BadParameter;
  orx::Retain(transform);
  return ORX_Err_None;
}

ORX_Error ORX_UnReferenceTransformProc(ORXTransform* transform) {
  if (!transform) return ORX_Err_BadParameter;
  orx::Release(transform);
  return ORX_Err_None;
}

ORX_Error ORX_DescribeTransform(const ORXTransform* transform, ORX_TransformInfo* out) {
  if (!transform || !out) return ORX_Err_BadParameter;
  out->links.clear();
  for (const ORXLink& link : transform->links) {
    ORX_LinkInfo info{};
    std::memcpy(info.source_id, link.from->id, 16);
    std::memcpy(info.destination_id, link.to->id, 16);
    info.intent = link.intent;
    info.options = link.options;
    out->links.push_back(info);
  }
  out->optimize_level = orx::OptimizeLevel(transform);
  out->optimized = transform->optimize_override >= 0;
  return ORX_Err_None;
}
