// Private to the colour engine: the objects behind the handles and the Little
// CMS context they live in.
#pragma once

#include <lcms2.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "vxhost/ORX.h"

struct ORXProfile {
  std::atomic<int32_t> refs{1};
  cmsHPROFILE handle = nullptr;
  std::wstring name;
  uint8_t id[16] = {};
  bool rgb = false;            // RGB device space, usable in transforms
  bool matrix_shaper = false;  // curves and colorants, so it has a linear twin
  bool over_range = false;     // linear curves

  // The calibration, fitted on first request: the fit is costly and a
  // profile never changes.
  std::mutex cal_lock;
  bool cal_known = false;
  ORX_Error cal_error = ORX_Err_None;
  ORX_CalRGB cal{};

  ORXProfile();
  ~ORXProfile();
  ORXProfile(const ORXProfile&) = delete;
  ORXProfile& operator=(const ORXProfile&) = delete;
};

// One step of a transform: from one profile to another.
struct ORXLink {
  ORXProfile* from;
  ORXProfile* to;
  int32_t intent;
  _t_ORX_Options options;
};

struct ORXTransform {
  std::atomic<int32_t> refs{1};
  std::vector<ORXLink> links;  // each link holds a reference to both profiles
  int32_t optimize_override = -1;  // set by OptimizeTransform
  uint32_t bound_source = 0, bound_destination = 0;  // formats of a bit-depth converter

  // Little CMS transforms, made per pair of formats on first use.
  struct Built {
    uint32_t source, destination;
    bool precise;
    cmsHTRANSFORM handle;
  };
  std::mutex built_lock;
  std::vector<Built> built;

  ORXTransform();
  ~ORXTransform();
  ORXTransform(const ORXTransform&) = delete;
  ORXTransform& operator=(const ORXTransform&) = delete;
};

namespace orx {

// The engine's Little CMS context; it knows the 16-bit format with white 32768.
cmsContext Context();
// The Little CMS format of an engine format; 0 for an unknown format.
cmsUInt32Number LcmsFormat(uint32_t format);
int32_t BytesPerChannel(uint32_t format);

void Retain(ORXProfile* profile);
void Release(ORXProfile* profile);
void Retain(ORXTransform* transform);
void Release(ORXTransform* transform);

// Wraps a Little CMS profile (taking it over, and closing it on failure) and
// works out its identity and kind. `name` replaces the profile's own
// description when not empty. `file` holds the bytes a profile was read from;
// without it the profile was made here.
ORXProfile* WrapProfile(cmsHPROFILE handle, const std::wstring& name, ORX_Error* err,
                        const std::vector<uint8_t>* file = nullptr);
// The built-in profile of a code, one shared object per code (a new reference).
ORX_Error BuiltInProfile(int32_t code, ORXProfile** out);

// The level a transform runs at: its override, or the finest of its links.
int32_t OptimizeLevel(const ORXTransform* transform);
// The transform's Little CMS transform for two formats; null with `err` set
// when it can't be made.
cmsHTRANSFORM BuiltFor(ORXTransform* transform, cmsUInt32Number source, cmsUInt32Number destination, bool precise,
                       ORX_Error* err);

// Runs a procedure body, turning exceptions into engine errors.
template <class Body>
ORX_Error Guard(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return ORX_Err_OutOfMemory;
  } catch (...) {
    return ORX_Err_TransformFailed;
  }
}

}  // namespace orx
