// TNT: the colour library's classes over the engine's handles.
#include <cstring>

#include "orx/Engine.h"

const _t_ORX_ID ORX_EmptyProfile_ID = {};

const char* TNT_ORX_ErrorText(ORX_Error code) {
  switch (code) {
    case ORX_Err_None:
      return "no error";
    case ORX_Err_NoInterface:
      return "couldn't init CORX";
    case ORX_Err_BadParameter:
      return "bad parameter to the colour engine";
    case ORX_Err_BadProfile:
      return "not a usable ICC profile";
    case ORX_Err_FileNotFound:
      return "profile file not found";
    case ORX_Err_NotRGB:
      return "the colour engine needs an RGB matrix-shaper profile here";
    case ORX_Err_UnknownCode:
      return "unknown built-in profile code";
    case ORX_Err_BadFormat:
      return "unknown pixel format";
    case ORX_Err_BadIntent:
      return "unknown render intent";
    case ORX_Err_TransformFailed:
      return "the colour engine could not make the transform";
    case ORX_Err_OutOfMemory:
      return "the colour engine ran out of memory";
    default:
      return "colour engine error";
  }
}

TNT_ORX_Error::TNT_ORX_Error(ORX_Error code) : code_(code), text_(TNT_ORX_ErrorText(code)) {}

void TNT_ORX_ETX(ORX_Error code) {
  if (code != ORX_Err_None) throw TNT_ORX_Error(code);
}

bool TNT_EqualORXIDs(const _t_ORX_ID& a, const _t_ORX_ID& b) { return std::memcmp(a.bytes, b.bytes, 16) == 0; }

// ---------------------------------------------------------------------------

TNT_ORX_Profile::TNT_ORX_Profile(const TNT_ORX_Profile& other) : handle_(other.handle_) { orx::Retain(handle_); }

TNT_ORX_Profile& TNT_ORX_Profile::operator=(TNT_ORX_Profile other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

TNT_ORX_Profile::~TNT_ORX_Profile() { orx::Release(handle_); }

void TNT_ORX_Profile::SetProfile(ORXProfile* adopted) {
  orx::Release(handle_);
  handle_ = adopted;
}

bool TNT_ORX_Profile::IsOverRange() const {
  int32_t over = 0;
  TNT_ORX_ETX(ORX_ProfileIsOverRangeProc(handle_, &over));
  return over != 0;
}

std::wstring TNT_ORX_Profile::GetName() const {
  if (!handle_) TNT_ORX_ETX(ORX_Err_BadParameter);
  return handle_->name;
}

_t_ORX_ID TNT_ORX_Profile::GetID() const {
  _t_ORX_ID id;
  TNT_ORX_ETX(ORX_GetProfileIDProc(handle_, id.bytes));
  return id;
}

namespace {

std::shared_ptr<TNT_ORX_Profile> Adopt(ORX_Error err, ORXProfile* p) {
  TNT_ORX_ETX(err);
  return std::make_shared<TNT_ORX_Profile>(p);
}

}  // namespace

std::shared_ptr<TNT_ORX_Profile> TNT_ORX_Profile::FromCode(ORX_ProfileCode code) {
  ORXProfile* p = nullptr;
  const ORX_Error err = ORX_ProfileFromCodeProc(&p, code);
  return Adopt(err, p);
}

std::shared_ptr<TNT_ORX_Profile> TNT_ORX_Profile::FromICCFile(const std::string& path) {
  ORXProfile* p = nullptr;
  const ORX_Error err = ORX_ProfileFromICCFileProc(&p, path.c_str());
  return Adopt(err, p);
}

std::shared_ptr<TNT_ORX_Profile> TNT_ORX_Profile::FromICCData(const void* data, size_t size) {
  ORXProfile* p = nullptr;
  const ORX_Error err = ORX_ProfileFromICCDataProc(&p, data, size);
  return Adopt(err, p);
}

std::shared_ptr<TNT_ORX_Profile> TNT_ORX_Profile::FromCurve(const std::wstring& name, const double xy[8],
                                                            const std::vector<uint16_t>& curve) {
  ORXProfile* p = nullptr;
  const ORX_Error err =
      ORX_ProfileFromCurveProc(&p, name.c_str(), xy, curve.data(), static_cast<int32_t>(curve.size()));
  return Adopt(err, p);
}

std::vector<uint8_t> TNT_ORX_Profile::ToICCData() const {
  size_t size = 0;
  TNT_ORX_ETX(ORX_ProfileToICCDataProc(handle_, nullptr, &size));
  std::vector<uint8_t> data(size);
  TNT_ORX_ETX(ORX_ProfileToICCDataProc(handle_, data.data(), &size));
  data.resize(size);
  return data;
}

// ---------------------------------------------------------------------------

TNT_ORX_Transform::TNT_ORX_Transform(const TNT_ORX_Transform& other) : handle_(other.handle_) {
  orx::Retain(handle_);
}

TNT_ORX_Transform& TNT_ORX_Transform::operator=(TNT_ORX_Transform other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

TNT_ORX_Transform::~TNT_ORX_Transform() { orx::Release(handle_); }

void TNT_ORX_Transform::SetTransform(ORXTransform* adopted) {
  orx::Release(handle_);
  handle_ = adopted;
}

void TNT_ORX_Transform::Release() { SetTransform(nullptr); }

// ---------------------------------------------------------------------------

_t_ORX_ID TNT_ORX_ProfilePool::AddProfile(std::shared_ptr<TNT_ORX_Profile> profile) {
  if (!profile || profile->IsEmpty()) return ORX_EmptyProfile_ID;
  const _t_ORX_ID id = profile->GetID();
  std::lock_guard<std::mutex> guard(lock_);
  for (const auto& entry : profiles_)
    if (TNT_EqualORXIDs(entry.first, id)) return id;
  profiles_.emplace_back(id, std::move(profile));
  return id;
}

std::shared_ptr<TNT_ORX_Profile> TNT_ORX_ProfilePool::GetProfile(const _t_ORX_ID& id) const {
  std::lock_guard<std::mutex> guard(lock_);
  for (const auto& entry : profiles_)
    if (TNT_EqualORXIDs(entry.first, id)) return entry.second;
  return nullptr;
}

size_t TNT_ORX_ProfilePool::Count() const {
  std::lock_guard<std::mutex> guard(lock_);
  return profiles_.size();
}

// ---------------------------------------------------------------------------

std::shared_ptr<TNT_ORX_Profile> TNT_ORX_GetDefaultProfile() {
  static const std::shared_ptr<TNT_ORX_Profile> profile = TNT_ORX_Profile::FromCode(ORX_Profile_sRGB);
  return profile;
}

std::shared_ptr<TNT_ORX_Profile> TNT_ORX_GetLinearRGBProfile(const std::shared_ptr<TNT_ORX_Profile>& profile) {
  const std::shared_ptr<TNT_ORX_Profile> base = profile && !profile->IsEmpty() ? profile : TNT_ORX_GetDefaultProfile();
  ORXProfile* p = nullptr;
  const ORX_Error err = ORX_LinearRGBProfileProc(&p, base->Get());
  return Adopt(err, p);
}

const _t_ORX_Options& TNT_GetDefaultORXOptions() {
  static const _t_ORX_Options options = [] {
    _t_ORX_Options o;
    o.Set(ORX_OptKey_Optimize, 50);
    return o;
  }();
  return options;
}

const _t_ORX_Options& TNT_GetFastORXOptions() {
  static const _t_ORX_Options options = [] {
    _t_ORX_Options o;
    o.Set(ORX_OptKey_Optimize, 100);
    return o;
  }();
  return options;
}

void TNT_ORX_SetMonitorProfile(const void* monitor, const TNT_ORX_Profile& profile) {
  TNT_ORX_ETX(ORX_SetMonitorProfileProc(monitor, profile.Get()));
}
