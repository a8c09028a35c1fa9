// Version checks of the sibling libraries. A host that carries an older
// library says so with HOST_SetSiblingVersion; the check then fails.
#include <cstdio>
#include <cstring>
#include <mutex>

#include "vxhost/GEO.h"
#include "vxhost/Misc.h"
#include "vxhost/RB.h"
#include "vxhost/SEQ.h"

namespace {

struct Sibling {
  const char* name;
  int32_t built;    // the version this layer implements
  int32_t current;  // the version the host reports
};

Sibling g_siblings[] = {
    {"KU", KU_kVersion, KU_kVersion},       {"TXT", TXT_kVersion, TXT_kVersion},
    {"RB", RB_kVersion, RB_kVersion},       {"GEO", GEO_kVersion, GEO_kVersion},
    {"FIO", FIO_kVersion, FIO_kVersion},    {"SEQ", SEQ_kVersion, SEQ_kVersion},
    {"QMFX", QMFX_kVersion, QMFX_kVersion}, {"ADDN", 11, 11},
};
std::mutex g_lock;

Sibling* Find(const char* name) {
  for (Sibling& s : g_siblings)
    if (name && std::strcmp(s.name, name) == 0) return &s;
  return nullptr;
}

}  // namespace

KU_Err HOST_SetSiblingVersion(const char* name, int32_t version) {
  std::lock_guard<std::mutex> guard(g_lock);
  Sibling* s = Find(name);
  if (!s) return 3;
  s->current = version;
  return 0;
}

void HOST_ResetSiblingVersions() {
  std::lock_guard<std::mutex> guard(g_lock);
  for (Sibling& s : g_siblings) s.current = s.built;
}

KU_Err HOSTp_CheckSiblingVersion(const char* name, int32_t site, int32_t wanted) {
  int32_t have;
  {
    std::lock_guard<std::mutex> guard(g_lock);
    Sibling* s = Find(name);
    if (!s) return 3;
    have = s->current;
  }
  if (have == wanted) return 0;
  char text[160];
  std::snprintf(text, sizeof text, "%s library version %d does not match the version %d wanted", name, have,
                wanted);
  KUp_ReportErrString(site, 8, text);
  return 7;
}

KU_Err KU_CheckVersions(int32_t site, int32_t version) { return HOSTp_CheckSiblingVersion("KU", site, version); }
KU_Err TXT_CheckVersions(int32_t site, int32_t version) { return HOSTp_CheckSiblingVersion("TXT", site, version); }
KU_Err RB_CheckVersions(int32_t site, int32_t version) { return HOSTp_CheckSiblingVersion("RB", site, version); }
KU_Err GEO_CheckVersions(int32_t site, int32_t version) { return HOSTp_CheckSiblingVersion("GEO", site, version); }
KU_Err FIO_CheckVersions(int32_t site, int32_t version) { return HOSTp_CheckSiblingVersion("FIO", site, version); }
KU_Err SEQ_CheckVersions(int32_t site, int32_t version) { return HOSTp_CheckSiblingVersion("SEQ", site, version); }
KU_Err QMFX_CheckVersions(int32_t site, int32_t version) {
  return HOSTp_CheckSiblingVersion("QMFX", site, version);
}
