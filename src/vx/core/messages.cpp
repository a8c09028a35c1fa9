// The message table and the reporting helpers built on it.
#include "core/Internal.h"

namespace {

const char* const kEntries[VXp_kMessageCount] = {
    "$$$/QM/VX/LStr/0000=invalid callback selector",
    "$$$/QM/VX/LStr/0001=invalid parameter",
    "$$$/QM/VX/LStr/0002=effects modules should only dispose worlds they have allocated",
    "$$$/QM/VX/LStr/0003=image plane buffer",
    "$$$/QM/VX/LStr/0004=bad parameter passed to effect callback",
    "$$$/QM/VX/LStr/0005=problem opening plug-in acceleration module.",
    "$$$/QM/VX/LStr/0006=unimplemented blending mode.",
    "$$$/QM/VX/LStr/0007=noise table.",
    "$$$/QM/VX/LStr/0008=Unable to guess alpha channel.",
    "$$$/QM/VX/LStr/0009=Obsolete routine",
    "$$$/QM/VX/LStr/0010=memory for blurring",
    "$$$/QM/VX/LStr/0011=memory for mask buffer",
    "$$$/QM/VX/LStr/0012=damaged mask buffer",
    "$$$/QM/VX/LStr/0013=can#{rsquo}t unlock VX Mask Buffer",
    "$$$/QM/VX/LStr/0014=gaussian weight array",
    "$$$/QM/VX/LStr/0015=blending scratch buffer",
    "$$$/QM/VX/LStr/0016=can#{rsquo}t copy different channel worlds",
    "$$$/QM/VX/LStr/0017=out of memory for channel chunk",
    "$$$/QM/VX/LStr/0018=image buffer",
    "$$$/QM/VX/LStr/0019=effect plug-in passed invalid world to get_platform_refs",
};

}  // namespace

VX_Err VXp_CreateMessageTable() {
  if (VX_G_zref) return VX_Err_None;
  VX_G_zref = KU_NewZStringTable(kEntries, VXp_kMessageCount);
  return VX_G_zref ? VX_Err_None : VX_Err_OutOfMemory;
}

void VXp_DisposeMessageTable() {
  KU_DisposeZStringTable(VX_G_zref);
  VX_G_zref = nullptr;
}

const char* VXp_MessageText(int32_t index) { return KU_ZLookupLStrCache(VX_G_zref, index, 0, 0); }

VX_Err VXp_ReportMessage(int32_t site, int32_t index) {
  const char* text = VXp_MessageText(index);
  if (!text) {
    // Before start-up there is no table; the English text still reaches the user.
    if (index < 0 || index >= VXp_kMessageCount) return VX_Err_BadParam;
    return KUp_ReportErrString(site, 8, KU_ZStringToMBString(kEntries[index]).c_str());
  }
  return KUp_ReportErrString(site, 8, text);
}

VX_Err VXp_BadParameter(int32_t number) {
  VXp_ReportMessage(VXp_Site(number), VXp_Msg_BadCallbackParameter);
  return VX_Err_BadParam;
}

VX_Err VXp_ReportUnknownDepth(const VXp_UnknownDepth& unknown) {
  if (!unknown.text) return VX_Err_BadParam;
  if (unknown.to_user) return KUp_ReportErrString(unknown.site, 8, unknown.text);
  KU_ReportFailedVerification(unknown.site, unknown.line, 0, unknown.text);
  return VX_Err_BadParam;
}
