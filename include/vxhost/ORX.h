// ORX: the host's colour engine, and TNT, the colour library's classes around
// it.
//
// The engine works on reference-counted profiles (ORXProfile) and transforms
// (ORXTransform). Its procedures return an ORX_Error and never throw. They are
// registered with the broker at load, in the table "ORXInterface2" (and the
// small "ORXBitDepthConverterInterface"), where clients find them by name.
//
// The TNT classes own one reference to an engine object each and throw
// TNT_ORX_Error, a KU_CodedException that carries the engine's code.
//
// How a host sets the engine up:
//   - Monitor profiles: TNT_ORX_SetMonitorProfile(nullptr, profile) sets the
//     main monitor's profile; TNT_ORX_SetMonitorProfile(handle, profile) the
//     profile of one monitor (any pointer that names it). An empty profile
//     forgets the setting. Without a setting the main monitor is sRGB, and a
//     monitor without its own profile has the main monitor's.
//   - ICC files: TNT_ORX_Profile::FromICCFile(path) (or FromICCData) loads an
//     RGB, grey or any other ICC profile; data that isn't an ICC profile throws
//     TNT_ORX_Error with ORX_Err_BadProfile, a missing file ORX_Err_FileNotFound.
//     Transforms need RGB profiles (ORX_Err_NotRGB otherwise).
//   - A working space of its own: TNT_ORX_Profile::FromCurve(name, white and
//     primaries, curve samples).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "vxhost/KU.h"
#include "vxhost/Misc.h"

struct ORXProfile;
struct ORXTransform;

// ---------------------------------------------------------------------------
// Errors: 0 or a four-character code.

typedef int32_t ORX_Error;
constexpr ORX_Error ORX_Err_None = 0;
constexpr ORX_Error ORX_Err_NoInterface = 0x67656E20;                            // "gen ": no engine interface
constexpr ORX_Error ORX_Err_BadParameter = static_cast<ORX_Error>(HOST_FourCC("parm"));
constexpr ORX_Error ORX_Err_BadProfile = static_cast<ORX_Error>(HOST_FourCC("bprf"));  // not an ICC profile
constexpr ORX_Error ORX_Err_FileNotFound = static_cast<ORX_Error>(HOST_FourCC("fnf "));
constexpr ORX_Error ORX_Err_NotRGB = static_cast<ORX_Error>(HOST_FourCC("nrgb"));  // needs an RGB matrix-shaper profile
constexpr ORX_Error ORX_Err_UnknownCode = static_cast<ORX_Error>(HOST_FourCC("code"));
constexpr ORX_Error ORX_Err_BadFormat = static_cast<ORX_Error>(HOST_FourCC("bfmt"));  // unknown pixel format
constexpr ORX_Error ORX_Err_BadIntent = static_cast<ORX_Error>(HOST_FourCC("bint"));
constexpr ORX_Error ORX_Err_TransformFailed = static_cast<ORX_Error>(HOST_FourCC("xfrm"));
constexpr ORX_Error ORX_Err_OutOfMemory = static_cast<ORX_Error>(HOST_FourCC("mem "));

// ---------------------------------------------------------------------------
// Built-in profiles. All are RGB matrix-shaper profiles; colorants are adapted
// to the D50 connection space.

enum ORX_ProfileCode : int32_t {
  // IEC 61966-2-1 sRGB: Rec. 709 primaries, D65 white, the sRGB curve
  // (linear below 0.04045, else exponent 2.4 with offset 0.055). The default.
  ORX_Profile_sRGB = 1,
  // sRGB primaries and white with linear curves: scene-linear light.
  ORX_Profile_LinearSRGB = 2,
  // Rec. 709 (HDTV): sRGB primaries, D65, the inverse of the Rec. 709 camera
  // curve (linear below 0.0812, else exponent 1/0.45 with offset 0.0993,
  // the unrounded constants that make it continuous).
  ORX_Profile_Rec709 = 3,
  // Rec. 2020 (UHDTV): its wide primaries, D65, the same camera curve.
  ORX_Profile_Rec2020 = 4,
  // Rec. 2020 primaries and white with linear curves.
  ORX_Profile_LinearRec2020 = 5,
  // Display P3: DCI-P3 primaries, D65 white, the sRGB curve.
  ORX_Profile_DisplayP3 = 6,
  // ProPhoto (ROMM) RGB: very wide primaries, D50 white, exponent 1.8 with a
  // linear toe below 1/32.
  ORX_Profile_ProPhoto = 7,
};

// Render intents. Values outside 0..1 that float pixels may carry pass only a
// transform whose last step is ORX_Intent_Unclipped; the others clip float
// results to 0..1 (integer results are always within white).
enum ORX_RenderIntent : int32_t {
  ORX_Intent_Perceptual = 0,
  ORX_Intent_RelativeColorimetric = 1,
  ORX_Intent_Saturation = 2,
  ORX_Intent_Unclipped = 3,  // relative colorimetric, over-range values kept
};

// Pixel formats of ApplyTransform: ARGB, alpha first, by bytes a channel.
constexpr uint32_t ORX_Format_ARGB8 = 0x70726762;      // bytes "bgrp" in memory; white 255
constexpr uint32_t ORX_Format_ARGB16 = 0x50524742;     // white 32768
constexpr uint32_t ORX_Format_ARGBFloat = 0x66524742;  // white 1.0
// The format for 1, 2 or 4 bytes a channel; 0 for any other size.
uint32_t ORX_FormatForBytes(int32_t bytes_per_channel);

// ---------------------------------------------------------------------------
// Options: a short list of (key, value) pairs.

// Evaluate every pixel through the full curves, with no precalculated tables
// (slow, exact to the last level). Read by ApplyTransform.
constexpr uint32_t ORX_OptKey_Precise = HOST_FourCC("ctpk");
// Optimisation level 0..100: 0 evaluates exactly, 1..49 precalculates finely,
// 50..99 normally, 100 coarsely (fastest). Missing means 50.
constexpr uint32_t ORX_OptKey_Optimize = 0x6F70744C;  // "optL"
// Black-point compensation, 0 or 1.
constexpr uint32_t ORX_OptKey_BlackPoint = HOST_FourCC("bpc ");

struct _t_ORX_Options {
  static constexpr int32_t kMaxEntries = 8;
  struct Entry {
    uint32_t key;
    int32_t value;
  };
  int32_t count = 0;
  Entry entries[kMaxEntries] = {};

  // Replaces the value of a key or appends it; false when the list is full.
  bool Set(uint32_t key, int32_t value);
  // The value of a key, or `fallback` when absent.
  int32_t Get(uint32_t key, int32_t fallback) const;
  bool Has(uint32_t key) const;
};

// Calibrated RGB of a matrix-shaper profile: the gammas first.
struct ORX_CalRGB {
  double red_gamma, green_gamma, blue_gamma;  // fitted to the profile's curves
  double white[3];                            // media white, XYZ (D50-adapted)
  double matrix[9];                           // XYZ of red, green, blue, one after another
};

// ---------------------------------------------------------------------------
// The engine's procedures. Each "out" argument receives a new reference that
// the caller releases.

ORX_Error ORX_ApplyTransformProc2(ORXTransform* transform, const void* source, void* destination, int32_t count,
                                  uint32_t source_format, uint32_t destination_format,
                                  const _t_ORX_Options* options);
ORX_Error ORX_ConcatTransformsProc(ORXTransform** out, ORXTransform* first, ORXTransform* second);
ORX_Error ORX_MakeColorTransformProc(ORXTransform** out, ORXProfile* source, ORXProfile* destination,
                                     int32_t intent, const _t_ORX_Options* options);
ORX_Error ORX_OptimizeTransformProc(ORXTransform** out, ORXTransform* transform, const _t_ORX_Options* options);
ORX_Error ORX_ReferenceTransformProc(ORXTransform* transform);
ORX_Error ORX_UnReferenceTransformProc(ORXTransform* transform);
ORX_Error ORX_ExtractCalRGBProc(ORXProfile* profile, ORX_CalRGB* out, void* reserved);
ORX_Error ORX_ProfileFromCodeProc(ORXProfile** out, int32_t code);
ORX_Error ORX_MainMonitorProfileProc(ORXProfile** out);
ORX_Error ORX_MonitorProfileNProc(ORXProfile** out, const void* monitor);
ORX_Error ORX_ReferenceProfileProc(ORXProfile* profile);
ORX_Error ORX_UnReferenceProfileProc(ORXProfile* profile);
ORX_Error ORX_ProfileFromICCDataProc(ORXProfile** out, const void* data, size_t size);
ORX_Error ORX_ProfileFromICCFileProc(ORXProfile** out, const char* path);
// A matrix-shaper RGB profile of the host's own: white and primaries as CIE
// x, y pairs (white, then red, green, blue), and one curve for the three
// channels, sampled at `count` (2..4096) even steps from 0 to 1 in 0..65535.
ORX_Error ORX_ProfileFromCurveProc(ORXProfile** out, const wchar_t* name, const double xy[8], const uint16_t* curve,
                                   int32_t count);
// The profile as ICC data: with a null buffer only *size is set to the bytes
// needed; otherwise *size must be at least that.
ORX_Error ORX_ProfileToICCDataProc(ORXProfile* profile, void* buffer, size_t* size);
// The twin of a matrix-shaper RGB profile with linear curves; a profile that
// is linear already is its own twin.
ORX_Error ORX_LinearRGBProfileProc(ORXProfile** out, ORXProfile* profile);
// The profile's description, cut to fit `size` wide characters with the end.
ORX_Error ORX_GetProfileNameProc(ORXProfile* profile, wchar_t* buffer, int32_t size);
// 16 bytes: the MD5 of the profile's contents, so equal profiles have equal IDs.
ORX_Error ORX_GetProfileIDProc(ORXProfile* profile, uint8_t* id16);
// True for profiles whose curves are linear: values above white are meaningful.
ORX_Error ORX_ProfileIsOverRangeProc(ORXProfile* profile, int32_t* over_range);
// Sets (or with a null profile forgets) the profile of a monitor; a null
// monitor is the main one.
ORX_Error ORX_SetMonitorProfileProc(const void* monitor, ORXProfile* profile);

// Bit-depth converters: a transform bound to its two pixel formats, released
// with ORX_UnReferenceTransformProc.
ORX_Error ORXNewBitDepthConverterColorSpaceProc(ORXTransform** out, int32_t source_code, int32_t destination_code,
                                                uint32_t source_format, uint32_t destination_format);
ORX_Error ORXNewBitDepthConverterProfileProc(ORXTransform** out, ORXProfile* source, ORXProfile* destination,
                                             uint32_t source_format, uint32_t destination_format);
ORX_Error ORXBitDepthConverterConvertProc(ORXTransform* converter, const void* source, void* destination,
                                          int32_t count);

// Procedure types, as clients cast the table's entries.
typedef decltype(&ORX_ApplyTransformProc2) ORX_ApplyTransformFn;
typedef decltype(&ORX_ConcatTransformsProc) ORX_ConcatTransformsFn;
typedef decltype(&ORX_MakeColorTransformProc) ORX_MakeColorTransformFn;
typedef decltype(&ORX_OptimizeTransformProc) ORX_OptimizeTransformFn;
typedef decltype(&ORX_ReferenceTransformProc) ORX_TransformRefFn;
typedef decltype(&ORX_ExtractCalRGBProc) ORX_ExtractCalRGBFn;
typedef decltype(&ORX_ProfileFromCodeProc) ORX_ProfileFromCodeFn;
typedef decltype(&ORX_MainMonitorProfileProc) ORX_MainMonitorProfileFn;
typedef decltype(&ORX_MonitorProfileNProc) ORX_MonitorProfileNFn;

// ---------------------------------------------------------------------------
// The broker tables.

constexpr const char* ORX_kInterfaceName = "ORXInterface2";
constexpr const char* ORX_kBitDepthConverterInterfaceName = "ORXBitDepthConverterInterface";

struct ORX_ProcEntry {
  const char* key;   // "ApplyTransform"
  const char* name;  // "ORX_ApplyTransformProc2"
  void* proc;
};
struct ORX_InterfaceTable {
  int32_t version;
  int32_t count;
  const ORX_ProcEntry* entries;
};
const ORX_InterfaceTable* ORX_GetInterface();
const ORX_InterfaceTable* ORX_GetBitDepthConverterInterface();
// The procedure of a table by its name; null when the table lacks it.
void* ORX_FindProc(const ORX_InterfaceTable* table, const char* name);
// Registers both tables with the broker (done when the layer loads).
void ORX_RegisterInterfaces();

// ---------------------------------------------------------------------------
// Looking inside a transform (for tests and diagnostics).

struct ORX_LinkInfo {
  uint8_t source_id[16];
  uint8_t destination_id[16];
  int32_t intent;
  _t_ORX_Options options;
};
struct ORX_TransformInfo {
  std::vector<ORX_LinkInfo> links;  // the steps, in order
  int32_t optimize_level;           // level the transform runs at
  bool optimized;                   // made by OptimizeTransform
};
ORX_Error ORX_DescribeTransform(const ORXTransform* transform, ORX_TransformInfo* out);
// Engine objects alive now (leak checks).
int32_t ORX_LiveProfiles();
int32_t ORX_LiveTransforms();

// ---------------------------------------------------------------------------
// TNT: the colour library's classes.

class TNT_ORX_Error : public KU_CodedException {
 public:
  explicit TNT_ORX_Error(ORX_Error code);
  const char* what() const noexcept override { return text_.c_str(); }
  KU_Err Code() const noexcept override { return code_; }

 private:
  ORX_Error code_;
  std::string text_;
};
// The text of an engine error ("couldn't init CORX" for a missing interface).
const char* TNT_ORX_ErrorText(ORX_Error code);
// Throws TNT_ORX_Error for any error.
void TNT_ORX_ETX(ORX_Error code);

struct _t_ORX_ID {
  uint8_t bytes[16];
};
extern const _t_ORX_ID ORX_EmptyProfile_ID;  // all zero
bool TNT_EqualORXIDs(const _t_ORX_ID& a, const _t_ORX_ID& b);

class TNT_ORX_Profile {
 public:
  TNT_ORX_Profile() = default;
  explicit TNT_ORX_Profile(ORXProfile* adopted) : handle_(adopted) {}
  TNT_ORX_Profile(const TNT_ORX_Profile& other);
  TNT_ORX_Profile(TNT_ORX_Profile&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  TNT_ORX_Profile& operator=(TNT_ORX_Profile other) noexcept;
  ~TNT_ORX_Profile();

  // Takes over one reference of `adopted`, releasing the one held before.
  void SetProfile(ORXProfile* adopted);
  ORXProfile* Get() const { return handle_; }
  bool IsEmpty() const { return handle_ == nullptr; }
  // These throw TNT_ORX_Error, ORX_Err_BadParameter for an empty profile.
  bool IsOverRange() const;
  std::wstring GetName() const;
  _t_ORX_ID GetID() const;

  static std::shared_ptr<TNT_ORX_Profile> FromCode(ORX_ProfileCode code);
  static std::shared_ptr<TNT_ORX_Profile> FromICCFile(const std::string& path);
  static std::shared_ptr<TNT_ORX_Profile> FromICCData(const void* data, size_t size);
  std::vector<uint8_t> ToICCData() const;
  // See ORX_ProfileFromCurveProc.
  static std::shared_ptr<TNT_ORX_Profile> FromCurve(const std::wstring& name, const double xy[8],
                                                    const std::vector<uint16_t>& curve);

 private:
  ORXProfile* handle_ = nullptr;
};

class TNT_ORX_Transform {
 public:
  TNT_ORX_Transform() = default;
  explicit TNT_ORX_Transform(ORXTransform* adopted) : handle_(adopted) {}
  TNT_ORX_Transform(const TNT_ORX_Transform& other);
  TNT_ORX_Transform(TNT_ORX_Transform&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  TNT_ORX_Transform& operator=(TNT_ORX_Transform other) noexcept;
  ~TNT_ORX_Transform();

  void SetTransform(ORXTransform* adopted);
  ORXTransform* Get() const { return handle_; }
  bool IsEmpty() const { return handle_ == nullptr; }
  void Release();

 private:
  ORXTransform* handle_ = nullptr;
};

// Profiles by identifier. Adding a profile whose identifier is there already
// keeps the first one, so one identifier always gives one object.
class TNT_ORX_ProfilePool {
 public:
  // The profile's identifier; ORX_EmptyProfile_ID for a null or empty profile.
  _t_ORX_ID AddProfile(std::shared_ptr<TNT_ORX_Profile> profile);
  // Null for an unknown identifier.
  std::shared_ptr<TNT_ORX_Profile> GetProfile(const _t_ORX_ID& id) const;
  size_t Count() const;

 private:
  mutable std::mutex lock_;
  std::vector<std::pair<_t_ORX_ID, std::shared_ptr<TNT_ORX_Profile>>> profiles_;
};

// sRGB, one object for the process.
std::shared_ptr<TNT_ORX_Profile> TNT_ORX_GetDefaultProfile();
// The same primaries and white with linear curves; null gives the default's twin.
std::shared_ptr<TNT_ORX_Profile> TNT_ORX_GetLinearRGBProfile(const std::shared_ptr<TNT_ORX_Profile>& profile);
// Default: optimisation level 50. Fast: level 100.
const _t_ORX_Options& TNT_GetDefaultORXOptions();
const _t_ORX_Options& TNT_GetFastORXOptions();
// See the top of this file.
void TNT_ORX_SetMonitorProfile(const void* monitor, const TNT_ORX_Profile& profile);
