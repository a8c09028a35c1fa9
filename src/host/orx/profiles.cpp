// Engine profiles: wrapping, the built-in codes, ICC data and files, the
// linear twin, and what a profile tells about itself.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <fstream>
#include <iterator>

#include "orx/Engine.h"
#include "orx/Identity.h"

namespace {

std::atomic<int32_t> g_live_profiles{0};

// Parameters of Little CMS curve type 4: Y = (aX + b)^g above d, cX below.
struct Curve {
  bool linear;
  double params[5];
};
struct BuiltIn {
  int32_t code;
  const wchar_t* name;
  cmsCIExyY white;
  cmsCIExyYTRIPLE primaries;
  Curve curve;
};

constexpr cmsCIExyY kD65 = {0.3127, 0.3290, 1.0};
constexpr cmsCIExyY kD50 = {0.3457, 0.3585, 1.0};
constexpr cmsCIExyYTRIPLE kRec709 = {{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
constexpr cmsCIExyYTRIPLE kRec2020 = {{0.708, 0.292, 1.0}, {0.170, 0.797, 1.0}, {0.131, 0.046, 1.0}};
constexpr cmsCIExyYTRIPLE kP3 = {{0.680, 0.320, 1.0}, {0.265, 0.690, 1.0}, {0.150, 0.060, 1.0}};
constexpr cmsCIExyYTRIPLE kROMM = {{0.7347, 0.2653, 1.0}, {0.1596, 0.8404, 1.0}, {0.0366, 0.0001, 1.0}};

// The camera curve of Rec. 709 and Rec. 2020 with the unrounded constants:
// the rounded ones (1.099, 0.018) leave a step at the break that no inverse
// can undo.
constexpr double kAlpha = 1.09929682680944, kBeta = 0.018053968510807;
constexpr Curve kLinear = {true, {}};
constexpr Curve kSRGBCurve = {false, {2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045}};
constexpr Curve kCameraCurve = {false, {1.0 / 0.45, 1.0 / kAlpha, (kAlpha - 1.0) / kAlpha, 1.0 / 4.5, 4.5 * kBeta}};
constexpr Curve kROMMCurve = {false, {1.8, 1.0, 0.0, 1.0 / 16.0, 1.0 / 32.0}};

const BuiltIn kBuiltIns[] = {
    {ORX_Profile_sRGB, L"sRGB IEC61966-2.1", kD65, kRec709, kSRGBCurve},
    {ORX_Profile_LinearSRGB, L"Linear sRGB", kD65, kRec709, kLinear},
    {ORX_Profile_Rec709, L"HDTV (Rec. 709)", kD65, kRec709, kCameraCurve},
    {ORX_Profile_Rec2020, L"UHDTV (Rec. 2020)", kD65, kRec2020, kCameraCurve},
    {ORX_Profile_LinearRec2020, L"Linear Rec. 2020", kD65, kRec2020, kLinear},
    {ORX_Profile_DisplayP3, L"Display P3", kD65, kP3, kSRGBCurve},
    {ORX_Profile_ProPhoto, L"ProPhoto RGB", kD50, kROMM, kROMMCurve},
};
constexpr int32_t kBuiltInCount = sizeof(kBuiltIns) / sizeof(kBuiltIns[0]);

const cmsTagSignature kTRCs[3] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
const cmsTagSignature kColorants[3] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};

bool WriteName(cmsHPROFILE handle, const std::wstring& name) {
  cmsMLU* mlu = cmsMLUalloc(orx::Context(), 1);
  if (!mlu) return false;
  const bool ok = cmsMLUsetWide(mlu, "en", "US", name.c_str()) && cmsWriteTag(handle, cmsSigProfileDescriptionTag, mlu);
  cmsMLUfree(mlu);
  return ok;
}

std::wstring ReadName(cmsHPROFILE handle) {
  const cmsUInt32Number bytes = cmsGetProfileInfo(handle, cmsInfoDescription, "en", "US", nullptr, 0);
  if (bytes < sizeof(wchar_t) * 2) return L"Untitled profile";
  std::wstring text(bytes / sizeof(wchar_t), L'\0');
  cmsGetProfileInfo(handle, cmsInfoDescription, "en", "US", text.data(), bytes);
  text.resize(std::wcslen(text.c_str()));
  return text.empty() ? std::wstring(L"Untitled profile") : text;
}

bool CurvesAreLinear(cmsHPROFILE handle) {
  for (cmsTagSignature sig : kTRCs) {
    auto* curve = static_cast<cmsToneCurve*>(cmsReadTag(handle, sig));
    if (!curve || !cmsIsToneCurveLinear(curve)) return false;
  }
  return true;
}

cmsToneCurve* MakeCurve(const Curve& curve) {
  return curve.linear ? cmsBuildGamma(orx::Context(), 1.0)
                      : cmsBuildParametricToneCurve(orx::Context(), 4, curve.params);
}

ORX_Error MakeBuiltIn(const BuiltIn& b, ORXProfile** out) {
  cmsToneCurve* curve = MakeCurve(b.curve);
  if (!curve) return ORX_Err_OutOfMemory;
  cmsToneCurve* curves[3] = {curve, curve, curve};
  cmsHPROFILE handle = cmsCreateRGBProfileTHR(orx::Context(), &b.white, &b.primaries, curves);
  cmsFreeToneCurve(curve);
  if (!handle) return ORX_Err_OutOfMemory;
  ORX_Error err = ORX_Err_None;
  *out = orx::WrapProfile(handle, b.name, &err);
  return err;
}

// Built-in profiles are made once and shared: they never change.
struct BuiltInCache {
  std::mutex lock;
  ORXProfile* profiles[kBuiltInCount] = {};
};
BuiltInCache& TheCache() {
  static auto* cache = new BuiltInCache;
  return *cache;
}

// A linear twin: colorants, white and adaptation of the profile, linear curves.
cmsHPROFILE LinearTwin(cmsHPROFILE source) {
  cmsHPROFILE twin = cmsCreateProfilePlaceholder(orx::Context());
  if (!twin) return nullptr;
  cmsSetProfileVersion(twin, 4.3);
  cmsSetDeviceClass(twin, cmsSigDisplayClass);
  cmsSetColorSpace(twin, cmsSigRgbData);
  cmsSetPCS(twin, cmsSigXYZData);
  bool ok = true;
  for (cmsTagSignature sig : {cmsSigMediaWhitePointTag, cmsSigChromaticAdaptationTag}) {
    if (void* tag = cmsReadTag(source, sig)) ok = ok && cmsWriteTag(twin, sig, tag);
  }
  if (!cmsIsTag(twin, cmsSigMediaWhitePointTag)) ok = ok && cmsWriteTag(twin, cmsSigMediaWhitePointTag, cmsD50_XYZ());
  for (cmsTagSignature sig : kColorants) ok = ok && cmsWriteTag(twin, sig, cmsReadTag(source, sig));
  cmsToneCurve* linear = cmsBuildGamma(orx::Context(), 1.0);
  for (cmsTagSignature sig : kTRCs) ok = ok && linear && cmsWriteTag(twin, sig, linear);
  if (linear) cmsFreeToneCurve(linear);
  if (!ok) {
    cmsCloseProfile(twin);
    return nullptr;
  }
  return twin;
}

// The size an ICC header declares: a truncated file declares more than it has.
size_t DeclaredSize(const void* data) {
  const auto* b = static_cast<const uint8_t*>(data);
  return (size_t(b[0]) << 24) | (size_t(b[1]) << 16) | (size_t(b[2]) << 8) | size_t(b[3]);
}

// An RGB profile must describe its device one way or another.
bool Usable(cmsHPROFILE handle) {
  if (cmsGetColorSpace(handle) != cmsSigRgbData || cmsGetDeviceClass(handle) == cmsSigLinkClass) return true;
  return cmsIsMatrixShaper(handle) || cmsIsCLUT(handle, INTENT_PERCEPTUAL, LCMS_USED_AS_INPUT) ||
         cmsIsCLUT(handle, INTENT_PERCEPTUAL, LCMS_USED_AS_OUTPUT);
}

}  // namespace

ORXProfile::ORXProfile() { ++g_live_profiles; }
ORXProfile::~ORXProfile() {
  if (handle) cmsCloseProfile(handle);
  --g_live_profiles;
}

int32_t ORX_LiveProfiles() { return g_live_profiles.load(); }

namespace orx {

void Retain(ORXProfile* profile) {
  if (profile) profile->refs.fetch_add(1, std::memory_order_relaxed);
}

void Release(ORXProfile* profile) {
  if (profile && profile->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete profile;
}

namespace {

std::vector<uint8_t> Serialise(cmsHPROFILE handle) {
  cmsUInt32Number size = 0;
  if (!cmsSaveProfileToMem(handle, nullptr, &size) || size < 128) return {};
  std::vector<uint8_t> bytes(size);
  if (!cmsSaveProfileToMem(handle, bytes.data(), &size)) return {};
  return bytes;
}

// A profile made here carries a zero creation date, so that its bytes, and
// with them its ID, depend on its content only. Little CMS stamps the time
// of creation and has no setter, so the profile is read back from its own
// bytes with the date cleared. Takes over `handle`.
cmsHPROFILE WithoutDate(cmsHPROFILE handle) {
  std::vector<uint8_t> bytes = Serialise(handle);
  cmsCloseProfile(handle);
  if (bytes.empty()) return nullptr;
  std::fill_n(bytes.begin() + 24, 12, 0);
  return cmsOpenProfileFromMemTHR(orx::Context(), bytes.data(), static_cast<cmsUInt32Number>(bytes.size()));
}

}  // namespace

ORXProfile* WrapProfile(cmsHPROFILE handle, const std::wstring& name, ORX_Error* err, const std::vector<uint8_t>* file) {
  auto fail = [&](ORX_Error code, cmsHPROFILE h) -> ORXProfile* {
    if (h) cmsCloseProfile(h);
    *err = code;
    return nullptr;
  };
  if (!name.empty() && !WriteName(handle, name)) return fail(ORX_Err_OutOfMemory, handle);
  if (!file && !(handle = WithoutDate(handle))) return fail(ORX_Err_OutOfMemory, nullptr);
  // A file keeps the ID it carries when that ID matches its bytes; anything
  // else is identified by its bytes without the date.
  if (file && CarriesValidID(file->data(), file->size())) {
    cmsProfileID own;
    std::memcpy(own.ID8, file->data() + 84, 16);
    cmsSetHeaderProfileID(handle, own.ID8);
  } else {
    const std::vector<uint8_t> bytes = Serialise(handle);
    if (bytes.empty()) return fail(ORX_Err_BadProfile, handle);
    uint8_t digest[16];
    DigestProfileBytes(bytes.data(), bytes.size(), true, digest);
    cmsSetHeaderProfileID(handle, digest);
  }
  auto* p = new ORXProfile;
  p->handle = handle;
  p->name = name.empty() ? ReadName(handle) : name;
  const cmsProfileClassSignature kind = cmsGetDeviceClass(handle);
  p->rgb = cmsGetColorSpace(handle) == cmsSigRgbData && kind != cmsSigLinkClass && kind != cmsSigAbstractClass &&
           kind != cmsSigNamedColorClass;
  p->matrix_shaper = p->rgb && cmsIsMatrixShaper(handle);
  p->over_range = p->matrix_shaper && CurvesAreLinear(handle);
  cmsGetHeaderProfileID(handle, p->id);
  *err = ORX_Err_None;
  return p;
}

ORX_Error BuiltInProfile(int32_t code, ORXProfile** out) {
  for (int32_t i = 0; i < kBuiltInCount; ++i) {
    if (kBuiltIns[i].code != code) continue;
    BuiltInCache& cache = TheCache();
    std::lock_guard<std::mutex> guard(cache.lock);
    if (!cache.profiles[i])
      if (ORX_Error err = MakeBuiltIn(kBuiltIns[i], &cache.profiles[i])) return err;
    Retain(cache.profiles[i]);
    *out = cache.profiles[i];
    return ORX_Err_None;
  }
  return ORX_Err_UnknownCode;
}

}  // namespace orx

ORX_Error ORX_ProfileFromCodeProc(ORXProfile** out, int32_t code) {
  if (!out) return ORX_Err_BadParameter;
  *out = nullptr;
  return orx::Guard([&] { return orx::BuiltInProfile(code, out); });
}

ORX_Error ORX_ReferenceProfileProc(ORXProfile* profile) {
  if (!profile) return ORX_Err_BadParameter;
  orx::Retain(profile);
  return ORX_Err_None;
}

ORX_Error ORX_UnReferenceProfileProc(ORXProfile* profile) {
  if (!profile) return ORX_Err_BadParameter;
  orx::Release(profile);
  return ORX_Err_None;
}

ORX_Error ORX_ProfileFromICCDataProc(ORXProfile** out, const void* data, size_t size) {
  if (!out || (!data && size)) return ORX_Err_BadParameter;
  *out = nullptr;
  if (size < 128 || size > 0xFFFFFFFFu || DeclaredSize(data) > size) return ORX_Err_BadProfile;
  return orx::Guard([&] {
    cmsHPROFILE handle = cmsOpenProfileFromMemTHR(orx::Context(), data, static_cast<cmsUInt32Number>(size));
    if (!handle) return ORX_Err_BadProfile;
    if (!Usable(handle)) {
      cmsCloseProfile(handle);
      return ORX_Err_BadProfile;
    }
    ORX_Error err = ORX_Err_None;
    const auto* bytes = static_cast<const uint8_t*>(data);
    const std::vector<uint8_t> file(bytes, bytes + DeclaredSize(data));
    *out = orx::WrapProfile(handle, std::wstring(), &err, &file);
    return err;
  });
}

ORX_Error ORX_ProfileFromICCFileProc(ORXProfile** out, const char* path) {
  if (!out || !path) return ORX_Err_BadParameter;
  *out = nullptr;
  return orx::Guard([&] {
    std::ifstream file(path, std::ios::binary);
    if (!file) return ORX_Err_FileNotFound;
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return ORX_ProfileFromICCDataProc(out, bytes.data(), bytes.size());
  });
}

ORX_Error ORX_ProfileFromCurveProc(ORXProfile** out, const wchar_t* name, const double xy[8], const uint16_t* curve,
                                   int32_t count) {
  if (!out || !xy || !curve || count < 2 || count > 4096) return ORX_Err_BadParameter;
  *out = nullptr;
  return orx::Guard([&] {
    const cmsCIExyY white = {xy[0], xy[1], 1.0};
    const cmsCIExyYTRIPLE primaries = {{xy[2], xy[3], 1.0}, {xy[4], xy[5], 1.0}, {xy[6], xy[7], 1.0}};
    cmsToneCurve* t = cmsBuildTabulatedToneCurve16(orx::Context(), static_cast<cmsUInt32Number>(count), curve);
    if (!t) return ORX_Err_OutOfMemory;
    cmsToneCurve* curves[3] = {t, t, t};
    cmsHPROFILE handle = cmsCreateRGBProfileTHR(orx::Context(), &white, &primaries, curves);
    cmsFreeToneCurve(t);
    if (!handle) return ORX_Err_BadParameter;
    ORX_Error err = ORX_Err_None;
    *out = orx::WrapProfile(handle, name && *name ? name : L"Custom RGB", &err);
    return err;
  });
}

ORX_Error ORX_ProfileToICCDataProc(ORXProfile* profile, void* buffer, size_t* size) {
  if (!profile || !size) return ORX_Err_BadParameter;
  cmsUInt32Number needed = 0;
  if (!cmsSaveProfileToMem(profile->handle, nullptr, &needed)) return ORX_Err_BadProfile;
  if (!buffer) {
    *size = needed;
    return ORX_Err_None;
  }
  if (*size < needed) return ORX_Err_BadParameter;
  if (!cmsSaveProfileToMem(profile->handle, buffer, &needed)) return ORX_Err_BadProfile;
  *size = needed;
  return ORX_Err_None;
}

ORX_Error ORX_LinearRGBProfileProc(ORXProfile** out, ORXProfile* profile) {
  if (!out || !profile) return ORX_Err_BadParameter;
  *out = nullptr;
  if (!profile->matrix_shaper) return ORX_Err_NotRGB;
  if (profile->over_range) {
    orx::Retain(profile);
    *out = profile;
    return ORX_Err_None;
  }
  return orx::Guard([&] {
    cmsHPROFILE twin = LinearTwin(profile->handle);
    if (!twin) return ORX_Err_BadProfile;
    ORX_Error err = ORX_Err_None;
    *out = orx::WrapProfile(twin, profile->name + L" (linear)", &err);
    return err;
  });
}

namespace {

ORX_Error FitCalRGB(cmsHPROFILE handle, ORX_CalRGB* out) {
  double* gammas[3] = {&out->red_gamma, &out->green_gamma, &out->blue_gamma};
  for (int c = 0; c < 3; ++c) {
    auto* curve = static_cast<cmsToneCurve*>(cmsReadTag(handle, kTRCs[c]));
    // A large precision bound asks for the best fit however far the curve
    // is from a pure power.
    const double g = curve ? cmsEstimateGamma(curve, 1e6) : -1.0;
    if (!(g > 0.0)) return ORX_Err_BadProfile;
    *gammas[c] = g;
  }
  const auto* white = static_cast<const cmsCIEXYZ*>(cmsReadTag(handle, cmsSigMediaWhitePointTag));
  if (!white) white = cmsD50_XYZ();
  out->white[0] = white->X, out->white[1] = white->Y, out->white[2] = white->Z;
  for (int c = 0; c < 3; ++c) {
    const auto* xyz = static_cast<const cmsCIEXYZ*>(cmsReadTag(handle, kColorants[c]));
    if (!xyz) return ORX_Err_BadProfile;
    out->matrix[c * 3] = xyz->X, out->matrix[c * 3 + 1] = xyz->Y, out->matrix[c * 3 + 2] = xyz->Z;
  }
  return ORX_Err_None;
}

}  // namespace

ORX_Error ORX_ExtractCalRGBProc(ORXProfile* profile, ORX_CalRGB* out, void*) {
  if (!profile || !out) return ORX_Err_BadParameter;
  if (!profile->matrix_shaper) return ORX_Err_NotRGB;
  std::lock_guard<std::mutex> guard(profile->cal_lock);
  if (!profile->cal_known) {
    profile->cal_error = orx::Guard([&] { return FitCalRGB(profile->handle, &profile->cal); });
    profile->cal_known = true;
  }
  if (!profile->cal_error) *out = profile->cal;
  return profile->cal_error;
}

ORX_Error ORX_GetProfileNameProc(ORXProfile* profile, wchar_t* buffer, int32_t size) {
  if (!profile || !buffer || size < 1) return ORX_Err_BadParameter;
  const size_t n = std::min(profile->name.size(), static_cast<size_t>(size - 1));
  std::wmemcpy(buffer, profile->name.data(), n);
  buffer[n] = L'\0';
  return ORX_Err_None;
}

ORX_Error ORX_GetProfileIDProc(ORXProfile* profile, uint8_t* id16) {
  if (!profile || !id16) return ORX_Err_BadParameter;
  std::memcpy(id16, profile->id, 16);
  return ORX_Err_None;
}

ORX_Error ORX_ProfileIsOverRangeProc(ORXProfile* profile, int32_t* over_range) {
  if (!profile || !over_range) return ORX_Err_BadParameter;
  *over_range = profile->over_range ? 1 : 0;
  return ORX_Err_None;
}
