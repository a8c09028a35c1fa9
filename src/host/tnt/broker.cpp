// The broker: named interface tables, a generation counter and the link step.
#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "vxhost/Broker.h"

const char* const KLB_kCoreInterfaceNames[] = {
    "KLBRegisterProcAddress", "KLBReportError", "KLBUnregisterInterface", "KLBGetUnregisterCountAddr",
    "KLBIsMultiThreaded",     "KLBContainerInterface", "KLBErrorInterface",  "KLBProgressInterface",
    "KLBCacheInterface",
};

namespace {

// Core interfaces: small tables that only have to exist for clients to link.
struct CoreInterface {
  uint32_t version;
  const char* name;
};

constexpr int32_t kCoreCount = 9;

struct Broker {
  std::mutex lock;
  std::map<std::string, void*> tables;
  std::atomic<uint32_t> generation{1};
  std::atomic<bool> link_answer{true};
  CoreInterface core[kCoreCount];

  Broker() {
    for (int32_t i = 0; i < kCoreCount; ++i) {
      core[i] = CoreInterface{1, KLB_kCoreInterfaceNames[i]};
      tables[KLB_kCoreInterfaceNames[i]] = &core[i];
    }
  }
};

Broker& TheBroker() {
  static Broker* broker = new Broker;
  return *broker;
}

void* LookUp(const char* name) {
  if (!name) return nullptr;
  Broker& b = TheBroker();
  std::lock_guard<std::mutex> guard(b.lock);
  auto it = b.tables.find(name);
  return it == b.tables.end() ? nullptr : it->second;
}

}  // namespace

const int32_t KLB_kCoreInterfaceCount = kCoreCount;
static_assert(sizeof(KLB_kCoreInterfaceNames) / sizeof(KLB_kCoreInterfaceNames[0]) == kCoreCount);

KU_Err TNT_GetKLBAddressProc(KLB_AddressProc* out) {
  if (!out) return 3;
  *out = &LookUp;
  return 0;
}

void KLB_RegisterInterface(const char* name, void* table) {
  if (!name) return;
  Broker& b = TheBroker();
  {
    std::lock_guard<std::mutex> guard(b.lock);
    b.tables[name] = table;
  }
  ++b.generation;
}

void KLB_UnregisterInterface(const char* name) {
  if (!name) return;
  Broker& b = TheBroker();
  {
    std::lock_guard<std::mutex> guard(b.lock);
    b.tables.erase(name);
  }
  ++b.generation;
}

uint32_t KLB_Generation() { return TheBroker().generation.load(); }

bool KLB_LinkStep() { return TheBroker().link_answer.load(); }

void HOST_SetBrokerLinkAnswer(bool yes) { TheBroker().link_answer.store(yes); }
