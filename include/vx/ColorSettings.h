// The colour space a composition works in: a profile (by its identifier in a
// pool), whether values are linearised, whether blending is in linear light.
// What derives from the profile is computed on first use and cached in the
// object, without a lock: share an object between threads only after its
// caches are filled, or give each thread its own copy (copies start empty).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "vx/LinearBlending.h"
#include "vxhost/ORX.h"
#include "vxhost/tessacore.h"

class VX_ColorSettings {
 public:
  // No profile, both flags off, not valid.
  explicit VX_ColorSettings(TNT_ORX_ProfilePool* pool);
  // Takes pool, identifier, flags and validity only from a source with a
  // pool; caches are never copied.
  VX_ColorSettings(const VX_ColorSettings& other);
  // Nothing for itself or a source without a pool. With a pool of its own it
  // takes the source's profile into that pool; without, it takes the
  // source's identifier and pool and keeps its caches. Then the flags and
  // validity of the source.
  VX_ColorSettings& operator=(const VX_ColorSettings& other);
  ~VX_ColorSettings();

  const _t_ORX_ID& GetProfileID() const { return profile_id; }
  TNT_ORX_ProfilePool* GetProfilePool() const { return profile_pool; }
  void SetProfilePool(TNT_ORX_ProfilePool* pool) { profile_pool = pool; }
  // Setting the flags drops no cache.
  bool GetLinearBlending() const { return linear_blending; }
  void SetLinearBlending(bool on) { linear_blending = on; }
  bool GetLinearize() const { return linearize; }
  void SetLinearize(bool on) { linearize = on; }
  bool IsValid() const { return valid; }

  // The pool's profile for the identifier; null without a pool.
  std::shared_ptr<TNT_ORX_Profile> GetProfile() const;
  // Puts the profile in the pool and takes its identifier; throws 3 without
  // a pool. Like SetProfileID it drops the caches and clears both flags, so
  // set the flags after the profile.
  void SetProfile(std::shared_ptr<TNT_ORX_Profile> profile);
  void SetProfileID(const _t_ORX_ID& id);

  // The linear twin when linearising (cached), else the profile; sRGB when
  // there is no profile.
  std::shared_ptr<TNT_ORX_Profile> GetAdjustedProfile() const;
  // Tables for blending in linear light, owned by this object: null unless
  // blending is linear in a space that isn't linearised already, or `force`.
  // They are of the profile as stored.
  const VX_LinearBlendingTables* GetLinearBlendingTables(bool force) const;
  // The green gamma of the adjusted profile (all three are cached).
  float GetCalGrayGamma() const;

  // Same flags, the same pool and the same profile object from it.
  bool operator==(VX_ColorSettings other) const;
  bool operator!=(VX_ColorSettings other) const;
  // The order the host keeps settings in. Only the linearize comparison
  // reaches the result; the host's stored order depends on that.
  int32_t GetSortOrder(const VX_ColorSettings& other) const;
  // Stands for the settings in render caches: identifier and flags, not the
  // pool. Traced on channel "MixHashGuid" at level 6.
  tessacore::utility::Guid GetRenderGuid() const;

 private:
  void VXp_TransferColorSettings(const VX_ColorSettings& other);
  void InvalidateCachedValues(_t_ORX_ID id);

  mutable bool gammas_cached = false;
  mutable float gammas[3] = {0, 0, 0};
  _t_ORX_ID profile_id = ORX_EmptyProfile_ID;
  mutable std::shared_ptr<TNT_ORX_Profile> adjusted_profile;
  bool linearize = false;
  bool linear_blending = false;
  mutable std::shared_ptr<VX_LinearBlendingTables> blending_tables;
  TNT_ORX_ProfilePool* profile_pool = nullptr;  // not owned
  bool valid = false;
};

// One process-wide sRGB, linearised setting for operations given none. Made
// on the first call (make that call on one thread first), released at
// shut-down.
const VX_ColorSettings* VX_GetEmergencyColorSettings();

// "Working Space - " and the adjusted profile's name, or "None" for null or
// invalid settings (localised).
std::wstring VX_GetWorkingSpaceProfileName(const VX_ColorSettings* settings);
