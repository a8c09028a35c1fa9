// The file-type map, the event log, the random table and the window-creation
// bracket.
#include <atomic>
#include <cctype>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "vxhost/Misc.h"

namespace {

struct ExtensionMap {
  std::string extension;  // lower case, with the dot
  uint32_t type;
  uint32_t flags;
};

std::string Lower(const char* s) {
  std::string out(s ? s : "");
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::mutex g_fio_lock;
std::vector<ExtensionMap>& Extensions() {
  static auto* maps = new std::vector<ExtensionMap>;
  return *maps;
}

std::mutex g_log_lock;
std::vector<TLOG_Entry>& LogEntries() {
  static auto* entries = new std::vector<TLOG_Entry>;
  return *entries;
}
constexpr size_t kLogLimit = 4096;

std::atomic<int32_t> g_gdiw_depth{0};

}  // namespace

KU_Err FIO_AddExtensionMap(const char* extension, uint32_t type, uint32_t flags) {
  if (!extension || extension[0] != '.') return 3;
  std::lock_guard<std::mutex> guard(g_fio_lock);
  const std::string ext = Lower(extension);
  for (ExtensionMap& m : Extensions()) {
    if (m.extension == ext) {
      m.type = type;
      m.flags = flags;
      return 0;
    }
  }
  Extensions().push_back({ext, type, flags});
  return 0;
}

uint32_t FIO_TypeForFileName(const char* file_name) {
  const char* dot = file_name ? std::strrchr(file_name, '.') : nullptr;
  if (!dot) return 0;
  const std::string ext = Lower(dot);
  std::lock_guard<std::mutex> guard(g_fio_lock);
  for (const ExtensionMap& m : Extensions())
    if (m.extension == ext) return m.type;
  return 0;
}

void TLOG_Log(int32_t level, const char* module, const char* event, const char* text) {
  std::lock_guard<std::mutex> guard(g_log_lock);
  auto& entries = LogEntries();
  if (entries.size() >= kLogLimit) entries.erase(entries.begin());
  entries.push_back({level, module ? module : "", event ? event : "", text ? text : ""});
}

std::vector<TLOG_Entry> TLOG_TakeEntries() {
  std::lock_guard<std::mutex> guard(g_log_lock);
  std::vector<TLOG_Entry> out;
  out.swap(LogEntries());
  return out;
}

KU_Err RNG_GetPrimeSizedTable(const uint32_t** base, int32_t* count) {
  if (!base || !count) return 3;
  // Filled once from a fixed seed with splitmix64, so every process sees the
  // same noise.
  static const std::vector<uint32_t> table = [] {
    std::vector<uint32_t> t(RNG_kPrimeTableSize);
    uint64_t state = 0x5658204E6F697365ull;  // "VX Noise"
    for (uint32_t& v : t) {
      uint64_t z = (state += 0x9E3779B97F4A7C15ull);
      z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
      z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
      v = static_cast<uint32_t>((z ^ (z >> 31)) >> 16);
    }
    return t;
  }();
  *base = table.data();
  *count = static_cast<int32_t>(table.size());
  return 0;
}

void GDIW_BeginGdiMinimalisticWindowCreationMode() { ++g_gdiw_depth; }
void GDIW_EndGdiMinimalisticWindowCreationMode() {
  if (g_gdiw_depth > 0) --g_gdiw_depth;
}
int32_t GDIW_CreationModeDepth() { return g_gdiw_depth.load(); }

namespace {
std::atomic<void*> g_main_window{nullptr};
}  // namespace

void HOST_SetMainWindow(void* window) { g_main_window.store(window); }
void* HOST_GetMainWindow() { return g_main_window.load(); }
