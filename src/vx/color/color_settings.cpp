// Colour settings: the profile by identifier and pool, the flags, and the
// caches derived from them.
#include "color/ORXLink.h"
#include "core/Internal.h"
#include "vx/ColorSettings.h"

VX_ColorSettings::VX_ColorSettings(TNT_ORX_ProfilePool* pool) : profile_pool(pool) {}

VX_ColorSettings::VX_ColorSettings(const VX_ColorSettings& other) : VX_ColorSettings(nullptr) {
  if (!other.profile_pool) return;
  profile_pool = other.profile_pool;
  profile_id = other.profile_id;
  linearize = other.linearize;
  linear_blending = other.linear_blending;
  valid = other.valid;
}

VX_ColorSettings& VX_ColorSettings::operator=(const VX_ColorSettings& other) {
  if (this != &other) VXp_TransferColorSettings(other);
  return *this;
}

VX_ColorSettings::~VX_ColorSettings() = default;

void VX_ColorSettings::VXp_TransferColorSettings(const VX_ColorSettings& other) {
  if (!other.profile_pool) return;
  if (profile_pool) {
    SetProfile(other.profile_pool->GetProfile(other.profile_id));
  } else {
    profile_id = other.profile_id;
    profile_pool = other.profile_pool;
  }
  linearize = other.linearize;
  linear_blending = other.linear_blending;
  valid = other.valid;
}

std::shared_ptr<TNT_ORX_Profile> VX_ColorSettings::GetProfile() const {
  return profile_pool ? profile_pool->GetProfile(profile_id) : nullptr;
}

void VX_ColorSettings::SetProfile(std::shared_ptr<TNT_ORX_Profile> profile) {
  if (!profile_pool) {
    KU_ReportFailedVerification(VXp_Site(0), 504, 0, "You have to have a valid profile pool to set a profile.");
    throw VX_Err{VX_Err_BadParam};
  }
  InvalidateCachedValues(profile_pool->AddProfile(std::move(profile)));
}

void VX_ColorSettings::SetProfileID(const _t_ORX_ID& id) { InvalidateCachedValues(id); }

void VX_ColorSettings::InvalidateCachedValues(_t_ORX_ID id) {
  profile_id = id;
  blending_tables.reset();
  gammas_cached = false;
  adjusted_profile.reset();
  linear_blending = false;
  linearize = false;
  valid = !TNT_EqualORXIDs(id, ORX_EmptyProfile_ID);
}

std::shared_ptr<TNT_ORX_Profile> VX_ColorSettings::GetAdjustedProfile() const {
  const std::shared_ptr<TNT_ORX_Profile> p = GetProfile();
  if (linearize && p) {
    if (!adjusted_profile) adjusted_profile = TNT_ORX_GetLinearRGBProfile(p);
    return adjusted_profile;
  }
  if (!p) return TNT_ORX_GetDefaultProfile();
  return p;
}

const VX_LinearBlendingTables* VX_ColorSettings::GetLinearBlendingTables(bool force) const {
  // A linearised working space needs no conversion.
  if (!force && (!linear_blending || linearize)) return nullptr;
  if (!blending_tables) blending_tables = VX_MakeLinearizationTables(GetProfile());
  return blending_tables.get();
}

float VX_ColorSettings::GetCalGrayGamma() const {
  if (!gammas_cached) {
    std::shared_ptr<TNT_ORX_Profile> p = GetAdjustedProfile();
    if (!p) p = TNT_ORX_GetDefaultProfile();
    ORX_CalRGB cal{};
    VXp_ORXCall(&VXp_ORXProcs::extract_cal_rgb, p->Get(), &cal, static_cast<void*>(nullptr));
    gammas[0] = static_cast<float>(cal.red_gamma);
    gammas[1] = static_cast<float>(cal.green_gamma);
    gammas[2] = static_cast<float>(cal.blue_gamma);
    gammas_cached = true;
  }
  return gammas[1];
}

bool VX_ColorSettings::operator==(VX_ColorSettings other) const {
  return linearize == other.linearize && linear_blending == other.linear_blending &&
         GetProfile() == other.GetProfile() && profile_pool == other.profile_pool;
}

bool VX_ColorSettings::operator!=(VX_ColorSettings other) const { return !(*this == std::move(other)); }

namespace {

template <class T>
int32_t Compare(T a, T b) {
  return a < b ? -1 : a > b ? 1 : 0;
}

}  // namespace

int32_t VX_ColorSettings::GetSortOrder(const VX_ColorSettings& other) const {
  // Each step runs only when the one before found equality, and only the
  // last reaches the result: the host's stored order was made this way.
  const int32_t a = Compare(reinterpret_cast<uintptr_t>(profile_pool), reinterpret_cast<uintptr_t>(other.profile_pool));
  int32_t b = 0;
  if (a == 0)
    b = Compare(reinterpret_cast<uintptr_t>(GetProfile().get()), reinterpret_cast<uintptr_t>(other.GetProfile().get()));
  int32_t c = 0;
  if (b == 0) c = Compare(static_cast<int32_t>(linear_blending), static_cast<int32_t>(other.linear_blending));
  int32_t d = 0;
  if (c == 0) d = Compare(static_cast<int32_t>(linearize), static_cast<int32_t>(other.linearize));
  return d;
}
