// The plug-in scan: module files found in the scan directories are opened,
// described and offered to the installed scans; routines that a client
// registers keep their file open.
#include <dirent.h>
#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "addn/internal.h"
#include "vxhost/Misc.h"

struct ADDN_ModuleRec {
  std::string path;
  void* library = nullptr;
  const ADDN_ModuleDescription* description = nullptr;
  int32_t registered = 0;  // routines registered from this file
  bool offering = false;   // being offered to the scans: keep open
};

struct ADDN_RoutineRec {
  ADDN_Module module;
  int32_t index;
  bool prepped;
};

struct ADDN_TagListRec {
  std::vector<ADDN_Property> properties;
};

namespace {

constexpr int32_t kSite = 0x0A0001;
constexpr const char* kExtension = ".QMX";

std::vector<std::string>& Directories() {
  static auto* dirs = new std::vector<std::string>;
  return *dirs;
}

std::vector<ADDN_Module>& LiveModules() {
  static auto* modules = new std::vector<ADDN_Module>;
  return *modules;
}

int32_t g_registered_routines = 0;

void Report(const std::string& text) { KUp_ReportErrString(kSite, 8, text.c_str()); }

bool EndsWithExtension(const std::string& name) {
  const size_t n = std::strlen(kExtension);
  return name.size() > n && name.compare(name.size() - n, n, kExtension) == 0;
}

// The canonical form of a path, so that one file reached by two spellings is
// loaded once; empty when the path doesn't exist.
std::string Canonical(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) ? std::string(resolved) : std::string();
}

// The directories to look in: those added, then VX_MODULE_PATH, once each.
std::vector<std::string> ScanDirectories() {
  std::vector<std::string> dirs = Directories();
  if (const char* env = std::getenv("VX_MODULE_PATH")) {
    std::string path(env);
    size_t start = 0;
    while (start <= path.size()) {
      const size_t colon = path.find(':', start);
      const std::string dir = path.substr(start, colon == std::string::npos ? std::string::npos : colon - start);
      if (!dir.empty()) dirs.push_back(dir);
      if (colon == std::string::npos) break;
      start = colon + 1;
    }
  }
  std::vector<std::string> unique;
  for (const std::string& d : dirs) {
    const std::string canonical = Canonical(d);
    if (canonical.empty()) {
      Report("plug-in folder can't be read: " + d);
      continue;
    }
    if (std::find(unique.begin(), unique.end(), canonical) == unique.end()) unique.push_back(canonical);
  }
  return unique;
}

std::vector<std::string> ModuleFiles(const std::string& dir) {
  std::vector<std::string> files;
  DIR* d = opendir(dir.c_str());
  if (!d) {
    Report("plug-in folder can't be read: " + dir);
    return files;
  }
  while (dirent* entry = readdir(d)) {
    const std::string name = entry->d_name;
    if (!EndsWithExtension(name)) continue;
    const std::string canonical = Canonical(dir + "/" + name);
    if (!canonical.empty()) files.push_back(canonical);
  }
  closedir(d);
  std::sort(files.begin(), files.end());
  return files;
}

bool AlreadyLoaded(const std::string& path) {
  for (ADDN_Module m : LiveModules())
    if (m->path == path) return true;
  return false;
}

// Opens a file and reads its description; null (after a report) if broken.
ADDN_Module OpenModule(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    const char* why = dlerror();
    Report("plug-in module can't be opened: " + path + (why ? std::string(": ") + why : std::string()));
    return nullptr;
  }
  auto describe = reinterpret_cast<ADDN_DescribeModuleProc>(dlsym(library, ADDN_kDescribeSymbol));
  const ADDN_ModuleDescription* description = describe ? describe() : nullptr;
  if (!description || description->description_version != ADDN_kDescriptionVersion ||
      description->routine_count < 0 || (description->routine_count > 0 && !description->routines)) {
    Report("plug-in module doesn't describe its routines: " + path);
    dlclose(library);
    return nullptr;
  }
  auto* module = new ADDN_ModuleRec;
  module->path = path;
  module->library = library;
  module->description = description;
  return module;
}

void CloseIfUnused(ADDN_Module module) {
  if (module->registered > 0 || module->offering) return;
  auto& live = LiveModules();
  live.erase(std::remove(live.begin(), live.end(), module), live.end());
  dlclose(module->library);
  delete module;
}

bool ScanWants(const addn::Scan& scan, ADDN_Module module, uint32_t file_type) {
  for (uint32_t type : scan.types) {
    if (type == file_type && file_type != 0) return true;
    for (int32_t i = 0; i < module->description->routine_count; ++i)
      if (module->description->routines[i].type == type) return true;
  }
  return false;
}

bool ValidIndex(ADDN_Module module, int32_t index) {
  return module && index >= 0 && index < module->description->routine_count;
}

}  // namespace

KU_Err ADDN_AddScanDirectory(const char* dir) {
  if (!dir || !*dir) return 3;
  std::lock_guard<std::recursive_mutex> guard(addn::ScanLock());
  Directories().push_back(dir);
  return 0;
}

void ADDN_ClearScanDirectories() {
  std::lock_guard<std::recursive_mutex> guard(addn::ScanLock());
  Directories().clear();
}

KU_Err ADDN_RunPluginScan() {
  std::lock_guard<std::recursive_mutex> guard(addn::ScanLock());
  KU_Err first_error = 0;
  for (const std::string& dir : ScanDirectories()) {
    for (const std::string& path : ModuleFiles(dir)) {
      if (AlreadyLoaded(path)) continue;
      ADDN_Module module = OpenModule(path);
      if (!module) continue;
      LiveModules().push_back(module);
      module->offering = true;
      const uint32_t file_type = FIO_TypeForFileName(path.c_str());
      const std::vector<addn::Scan> scans = addn::Scans();
      for (const addn::Scan& scan : scans) {
        if (!ScanWants(scan, module, file_type)) continue;
        if (KU_Err err = scan.module_found(scan.refcon, module)) {
          char code[32];
          std::snprintf(code, sizeof code, " (error %d)", err);
          Report("plug-in module failed to load: " + path + code);
          if (!first_error) first_error = err;
        }
      }
      module->offering = false;
      CloseIfUnused(module);
    }
  }
  const std::vector<addn::Scan> scans = addn::Scans();
  for (const addn::Scan& scan : scans) {
    if (!scan.scan_finished) continue;
    KU_Err err = scan.scan_finished(scan.refcon);
    if (err && !first_error) first_error = err;
  }
  return first_error;
}

KU_Err ADDN_GetRoutineCount(ADDN_Module module, int32_t* count) {
  if (!module || !count) return 3;
  *count = module->description->routine_count;
  return 0;
}

KU_Err ADDN_GetRoutineInfo(ADDN_Module module, int32_t index, ADDN_RoutineInfo* info) {
  if (!ValidIndex(module, index) || !info) return 3;
  const ADDN_RoutineDescription& r = module->description->routines[index];
  *info = ADDN_RoutineInfo{r.type, r.flags, r.name};
  return 0;
}

KU_Err ADDN_GetRoutineTagList(ADDN_Module module, int32_t index, ADDN_TagList* list) {
  if (!ValidIndex(module, index) || !list) return 3;
  const ADDN_RoutineDescription& r = module->description->routines[index];
  auto* tags = new ADDN_TagListRec;
  if (r.properties && r.property_count > 0) tags->properties.assign(r.properties, r.properties + r.property_count);
  *list = tags;
  return 0;
}

KU_Err ADDN_GetTagLProp(ADDN_TagList list, uint32_t key, int32_t size, void* value) {
  if (!list || !value || (size != 1 && size != 2 && size != 4)) return 3;
  for (const ADDN_Property& p : list->properties) {
    if (p.key != key) continue;
    if (size == 1) {
      const int8_t v = static_cast<int8_t>(p.value);
      std::memcpy(value, &v, 1);
    } else if (size == 2) {
      const int16_t v = static_cast<int16_t>(p.value);
      std::memcpy(value, &v, 2);
    } else {
      std::memcpy(value, &p.value, 4);
    }
    return 0;
  }
  return 3;
}

KU_Err ADDN_DisposeTagL(ADDN_TagList list) {
  if (!list) return 3;
  delete list;
  return 0;
}

KU_Err ADDN_RegisterRoutine(ADDN_Module module, int32_t index, ADDN_Routine* routine) {
  if (!ValidIndex(module, index) || !routine) return 3;
  std::lock_guard<std::recursive_mutex> guard(addn::ScanLock());
  *routine = new ADDN_RoutineRec{module, index, false};
  ++module->registered;
  ++g_registered_routines;
  return 0;
}

KU_Err ADDN_PrepRoutine(ADDN_Routine routine, void** entry) {
  if (!routine || !entry) return 3;
  *entry = routine->module->description->routines[routine->index].entry;
  if (!*entry) return 3;
  routine->prepped = true;
  return 0;
}

KU_Err ADDN_UnprepRoutine(ADDN_Routine routine) {
  if (!routine) return 3;
  routine->prepped = false;
  return 0;
}

KU_Err ADDN_UnregisterRoutine(ADDN_Routine routine) {
  if (!routine) return 3;
  std::lock_guard<std::recursive_mutex> guard(addn::ScanLock());
  ADDN_Module module = routine->module;
  delete routine;
  --module->registered;
  --g_registered_routines;
  CloseIfUnused(module);
  return 0;
}

int32_t ADDN_RegisteredRoutineCount() { return g_registered_routines; }
