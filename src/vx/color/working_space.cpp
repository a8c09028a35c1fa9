// The emergency colour settings and the working-space name.
#include "core/Lifecycle.h"
#include "vx/ColorSettings.h"

namespace {

TNT_ORX_ProfilePool* g_emergency_pool = nullptr;
VX_ColorSettings* g_emergency_settings = nullptr;

void ReleaseEmergency() {
  delete g_emergency_settings;
  g_emergency_settings = nullptr;
  delete g_emergency_pool;
  g_emergency_pool = nullptr;
}

// Localised texts are UTF-8; the name is wide.
std::wstring Widen(const std::string& text) {
  std::wstring out;
  for (size_t i = 0; i < text.size();) {
    const auto b = static_cast<unsigned char>(text[i]);
    const int extra = b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : 0;
    uint32_t c = extra ? b & (0x3F >> extra) : b;
    size_t k = 1;
    for (; k <= static_cast<size_t>(extra) && i + k < text.size(); ++k)
      c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    out.push_back(static_cast<wchar_t>(c));
    i += k;
  }
  return out;
}

}  // namespace

const VX_ColorSettings* VX_GetEmergencyColorSettings() {
  if (!g_emergency_settings) {
    g_emergency_pool = new TNT_ORX_ProfilePool;
    g_emergency_settings = new VX_ColorSettings(g_emergency_pool);
    VXp_AddShutdownRelease(ReleaseEmergency);
    g_emergency_settings->SetProfile(TNT_ORX_GetDefaultProfile());
    g_emergency_settings->SetLinearize(true);
  }
  return g_emergency_settings;
}

std::wstring VX_GetWorkingSpaceProfileName(const VX_ColorSettings* settings) {
  std::wstring name = Widen(KU_ZStringToMBString("$$$/QM/VX/VX_ColorManagement/ColorProfile/PWS=Working Space - "));
  if (!settings || !settings->IsValid())
    name += Widen(KU_ZStringToMBString("$$$/QM/VX/VX_ColorManagement/ColorProfile/None=None"));
  else
    name += settings->GetAdjustedProfile()->GetName();
  return name;
}
