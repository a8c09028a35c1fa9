// The engine's broker tables, monitor profiles and bit-depth converters. The
// tables are registered when the layer loads, so every client of a fresh
// process finds them.
#include <cstring>

#include "orx/Engine.h"
#include "vxhost/Broker.h"

namespace {

#define ORX_ENTRY(key, proc) {key, #proc, reinterpret_cast<void*>(&proc)}

const ORX_ProcEntry kEntries[] = {
    ORX_ENTRY("ApplyTransform", ORX_ApplyTransformProc2),
    ORX_ENTRY("ConcatTransforms", ORX_ConcatTransformsProc),
    ORX_ENTRY("MakeColorTransform", ORX_MakeColorTransformProc),
    ORX_ENTRY("OptimizeTransform", ORX_OptimizeTransformProc),
    ORX_ENTRY("ReferenceTransform", ORX_ReferenceTransformProc),
    ORX_ENTRY("UnReferenceTransform", ORX_UnReferenceTransformProc),
    ORX_ENTRY("ExtractCalRGB", ORX_ExtractCalRGBProc),
    ORX_ENTRY("ProfileFromCode", ORX_ProfileFromCodeProc),
    ORX_ENTRY("MainMonitorProfile", ORX_MainMonitorProfileProc),
    ORX_ENTRY("MonitorProfileN", ORX_MonitorProfileNProc),
    ORX_ENTRY("ReferenceProfile", ORX_ReferenceProfileProc),
    ORX_ENTRY("UnReferenceProfile", ORX_UnReferenceProfileProc),
    ORX_ENTRY("ProfileFromICCData", ORX_ProfileFromICCDataProc),
    ORX_ENTRY("ProfileFromICCFile", ORX_ProfileFromICCFileProc),
    ORX_ENTRY("ProfileToICCData", ORX_ProfileToICCDataProc),
    ORX_ENTRY("ProfileFromCurve", ORX_ProfileFromCurveProc),
    ORX_ENTRY("LinearRGBProfile", ORX_LinearRGBProfileProc),
    ORX_ENTRY("GetProfileName", ORX_GetProfileNameProc),
    ORX_ENTRY("GetProfileID", ORX_GetProfileIDProc),
    ORX_ENTRY("ProfileIsOverRange", ORX_ProfileIsOverRangeProc),
    ORX_ENTRY("SetMonitorProfile", ORX_SetMonitorProfileProc),
};

const ORX_ProcEntry kConverterEntries[] = {
    ORX_ENTRY("NewColorSpaceConverter", ORXNewBitDepthConverterColorSpaceProc),
    ORX_ENTRY("NewProfileConverter", ORXNewBitDepthConverterProfileProc),
    ORX_ENTRY("Convert", ORXBitDepthConverterConvertProc),
};

#undef ORX_ENTRY

const ORX_InterfaceTable kInterface = {2, static_cast<int32_t>(sizeof(kEntries) / sizeof(kEntries[0])), kEntries};
const ORX_InterfaceTable kConverterInterface = {
    1, static_cast<int32_t>(sizeof(kConverterEntries) / sizeof(kConverterEntries[0])), kConverterEntries};

struct Registrar {
  Registrar() { ORX_RegisterInterfaces(); }
} g_registrar;

// Monitor profiles as the host set them; each entry holds a reference.
struct Monitors {
  std::mutex lock;
  ORXProfile* main = nullptr;
  std::vector<std::pair<const void*, ORXProfile*>> others;
};
Monitors& TheMonitors() {
  static auto* monitors = new Monitors;
  return *monitors;
}

ORX_Error MainLocked(Monitors& m, ORXProfile** out) {
  if (!m.main) return orx::BuiltInProfile(ORX_Profile_sRGB, out);
  orx::Retain(m.main);
  *out = m.main;
  return ORX_Err_None;
}

}  // namespace

const ORX_InterfaceTable* ORX_GetInterface() { return &kInterface; }
const ORX_InterfaceTable* ORX_GetBitDepthConverterInterface() { return &kConverterInterface; }

void* ORX_FindProc(const ORX_InterfaceTable* table, const char* name) {
  if (!table || !name) return nullptr;
  for (int32_t i = 0; i < table->count; ++i)
    if (std::strcmp(table->entries[i].name, name) == 0) return table->entries[i].proc;
  return nullptr;
}

void ORX_RegisterInterfaces() {
  KLB_RegisterInterface(ORX_kInterfaceName, const_cast<ORX_InterfaceTable*>(&kInterface));
  KLB_RegisterInterface(ORX_kBitDepthConverterInterfaceName, const_cast<ORX_InterfaceTable*>(&kConverterInterface));
}

ORX_Error ORX_SetMonitorProfileProc(const void* monitor, ORXProfile* profile) {
  Monitors& m = TheMonitors();
  std::lock_guard<std::mutex> guard(m.lock);
  orx::Retain(profile);
  if (!monitor) {
    orx::Release(m.main);
    m.main = profile;
    return ORX_Err_None;
  }
  for (auto it = m.others.begin(); it != m.others.end(); ++it) {
    if (it->first != monitor) continue;
    orx::Release(it->second);
    if (profile)
      it->second = profile;
    else
      m.others.erase(it);
    return ORX_Err_None;
  }
  if (profile) m.others.emplace_back(monitor, profile);
  return ORX_Err_None;
}

ORX_Error ORX_MainMonitorProfileProc(ORXProfile** out) {
  if (!out) return ORX_Err_BadParameter;
  *out = nullptr;
  Monitors& m = TheMonitors();
  std::lock_guard<std::mutex> guard(m.lock);
  return orx::Guard([&] { return MainLocked(m, out); });
}

ORX_Error ORX_MonitorProfileNProc(ORXProfile** out, const void* monitor) {
  if (!out) return ORX_Err_BadParameter;
  *out = nullptr;
  Monitors& m = TheMonitors();
  std::lock_guard<std::mutex> guard(m.lock);
  for (const auto& entry : m.others)
    if (entry.first == monitor) {
      orx::Retain(entry.second);
      *out = entry.second;
      return ORX_Err_None;
    }
  return orx::Guard([&] { return MainLocked(m, out); });
}

ORX_Error ORXNewBitDepthConverterProfileProc(ORXTransform** out, ORXProfile* source, ORXProfile* destination,
                                             uint32_t source_format, uint32_t destination_format) {
  if (!out) return ORX_Err_BadParameter;
  *out = nullptr;
  if (!orx::LcmsFormat(source_format) || !orx::LcmsFormat(destination_format)) return ORX_Err_BadFormat;
  ORXTransform* t = nullptr;
  if (ORX_Error err = ORX_MakeColorTransformProc(&t, source, destination, ORX_Intent_RelativeColorimetric,
                                                 &TNT_GetDefaultORXOptions()))
    return err;
  t->bound_source = source_format;
  t->bound_destination = destination_format;
  *out = t;
  return ORX_Err_None;
}

ORX_Error ORXNewBitDepthConverterColorSpaceProc(ORXTransform** out, int32_t source_code, int32_t destination_code,
                                                uint32_t source_format, uint32_t destination_format) {
  if (!out) return ORX_Err_BadParameter;
  *out = nullptr;
  TNT_ORX_Profile source, destination;
  ORXProfile* p = nullptr;
  if (ORX_Error err = ORX_ProfileFromCodeProc(&p, source_code)) return err;
  source.SetProfile(p);
  if (ORX_Error err = ORX_ProfileFromCodeProc(&p, destination_code)) return err;
  destination.SetProfile(p);
  return ORXNewBitDepthConverterProfileProc(out, source.Get(), destination.Get(), source_format, destination_format);
}
