// The preference store: texts by owner, section and key, in memory.
#include <algorithm>
#include <atomic>
#include <cctype>
#include <map>
#include <mutex>
#include <string>

#include "vxhost/OPTS.h"

struct OPTS_Store {
  std::map<std::pair<std::string, std::string>, std::string> texts;
};

namespace {

struct Stores {
  std::mutex lock;
  std::map<std::string, OPTS_Store*> by_owner;
};
Stores& TheStores() {
  static auto* stores = new Stores;
  return *stores;
}
std::atomic<KU_Err> g_read_failure{0};

}  // namespace

OPTS_PrefsH OPTS_GetPrefsHandle(const char* owner) {
  if (!owner) return nullptr;
  Stores& s = TheStores();
  std::lock_guard<std::mutex> guard(s.lock);
  OPTS_Store*& store = s.by_owner[owner];
  if (!store) store = new OPTS_Store;
  return store;
}

KU_Err OPTS_GetTextPrefData(OPTS_PrefsH prefs, const char* section, const char* key, std::string* text,
                            bool* found) {
  if (!prefs || !section || !key || !text || !found) return 3;
  if (KU_Err err = g_read_failure.load()) return err;
  Stores& s = TheStores();
  std::lock_guard<std::mutex> guard(s.lock);
  auto it = prefs->texts.find({section, key});
  *found = it != prefs->texts.end();
  if (*found) *text = it->second;
  return 0;
}

KU_Err OPTS_SetTextPrefData(OPTS_PrefsH prefs, const char* section, const char* key, const char* text) {
  if (!prefs || !section || !key || !text) return 3;
  Stores& s = TheStores();
  std::lock_guard<std::mutex> guard(s.lock);
  prefs->texts[{section, key}] = text;
  return 0;
}

KU_Err OPTS_RemovePrefData(OPTS_PrefsH prefs, const char* section, const char* key) {
  if (!prefs || !section || !key) return 3;
  Stores& s = TheStores();
  std::lock_guard<std::mutex> guard(s.lock);
  prefs->texts.erase({section, key});
  return 0;
}

bool OPTS_TextIsTrue(const std::string& text, bool fallback) {
  std::string t = text;
  std::transform(t.begin(), t.end(), t.begin(), [](unsigned char c) { return std::tolower(c); });
  if (t == "1" || t == "true" || t == "yes" || t == "on") return true;
  if (t == "0" || t == "false" || t == "no" || t == "off") return false;
  return fallback;
}

void OPTS_SetReadFailure(KU_Err code) { g_read_failure.store(code); }
