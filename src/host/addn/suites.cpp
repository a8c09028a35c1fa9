// The suite registry: named, versioned tables of routines, acquired and
// released by exact name and version.
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "addn/internal.h"

namespace {

struct Suite {
  int32_t internal_version;
  std::shared_ptr<std::vector<const void*>> table;
  int32_t acquired = 0;
};

struct Registry {
  std::mutex lock;
  std::map<std::pair<std::string, int32_t>, Suite> suites;
  std::vector<std::pair<std::string, int32_t>> order;  // keys by first registration
  // Tables replaced by a later registration stay valid for whoever holds them.
  std::vector<std::shared_ptr<std::vector<const void*>>> retired;
};

Registry& TheRegistry() {
  static auto* registry = new Registry;
  return *registry;
}

KU_Err Acquire(const char* name, int32_t version, const void** suite) {
  if (!name || !suite) return 3;
  *suite = nullptr;
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  auto it = r.suites.find({name, version});
  if (it == r.suites.end()) return ADDN_kErrNoSuchSuite;
  ++it->second.acquired;
  *suite = it->second.table->data();
  return 0;
}

KU_Err Release(const char* name, int32_t version) {
  if (!name) return 3;
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  auto it = r.suites.find({name, version});
  if (it == r.suites.end()) return ADDN_kErrNoSuchSuite;
  if (it->second.acquired <= 0) return 3;
  --it->second.acquired;
  return 0;
}

int32_t AcquireCount(const char* name, int32_t version) {
  if (!name) return -1;
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  auto it = r.suites.find({name, version});
  return it == r.suites.end() ? -1 : it->second.acquired;
}

int32_t RoutineCount(const char* name, int32_t version) {
  if (!name) return -1;
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  auto it = r.suites.find({name, version});
  return it == r.suites.end() ? -1 : static_cast<int32_t>(it->second.table->size());
}

const ADDN_HBBasicSuite kBasicSuite = {Acquire, Release, AcquireCount, RoutineCount};

}  // namespace

KU_Err ADDN_AddHBSuite(int32_t, int32_t, const char* name, int32_t version, int32_t internal_version, int32_t count,
                       const void* table) {
  if (!name || !*name || count < 0 || (count > 0 && !table)) return 3;
  if (!KUp_AllocationPermitted()) return 4;
  const auto* routines = static_cast<const void* const*>(table);
  auto copy = std::make_shared<std::vector<const void*>>(routines, routines + count);
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  auto [it, added] = r.suites.try_emplace(std::make_pair(std::string(name), version));
  if (added) r.order.push_back(it->first);
  Suite& suite = it->second;
  if (suite.table) r.retired.push_back(suite.table);
  suite.internal_version = internal_version;
  suite.table = std::move(copy);
  return 0;
}

void ADDN_RemoveAllSuites() {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  r.suites.clear();
  r.order.clear();
  r.retired.clear();
}

int32_t ADDN_GetSuiteCount() {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  return static_cast<int32_t>(r.order.size());
}

KU_Err ADDN_GetSuiteInfo(int32_t index, ADDN_SuiteInfo* info) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> guard(r.lock);
  if (!info || index < 0 || index >= static_cast<int32_t>(r.order.size())) return 3;
  auto it = r.suites.find(r.order[index]);
  *info = ADDN_SuiteInfo{it->first.first.c_str(), it->first.second, it->second.internal_version,
                         static_cast<int32_t>(it->second.table->size())};
  return 0;
}

const ADDN_HBBasicSuite* ADDN_GetHBBasicSuite() { return &kBasicSuite; }
